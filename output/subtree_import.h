#ifndef TESSEL_OUTPUT_SUBTREE_IMPORT_H_
#define TESSEL_OUTPUT_SUBTREE_IMPORT_H_

#include <ostream>
#include <string>
#include <vector>

/// What a sub-personality copy could not do.
struct CopyProblems {
  /// Entries passed over, each as its path and the reason in parentheses:
  /// pipes, sockets and devices, and directories met a second time (links
  /// back into the tree or to a directory copied already).
  std::vector<std::string> skipped;
  /// The first destination file that was opened but could not be written
  /// whole (disk full, write error); "" when every write succeeded.
  std::string failedFile;
};

/// Copies the sub-personality directory `source`, with everything below it,
/// into `parent` (a directory path ending in "/", or empty for the current
/// directory), and writes the pair of lines "-i \"DIR\"" and "-q \"DIR\"" to
/// `personality` for every directory it creates, the top one first and then
/// each sub-directory as the walk meets it (depth first, in the order the
/// directory yields its entries).
///
/// The copy is named after the text of `source` after its last "/", so a
/// `source` ending in "/" copies straight into `parent`. Directories are
/// created with mode 0775; files are copied byte for byte. Links are
/// followed, but each directory (by device and inode) is copied once, so a
/// link loop ends; pipes, sockets, devices and dangling links are passed
/// over. A file is never copied onto itself, and a destination that lies
/// inside `source` is not walked as part of it. Failures to create, open or
/// read are passed over silently. When `problems` is given it receives the
/// entries passed over and the first file that could not be written.
void CopySubPersonality(const std::string& source, const std::string& parent,
                        std::ostream& personality,
                        CopyProblems* problems = nullptr);

#endif  // TESSEL_OUTPUT_SUBTREE_IMPORT_H_
