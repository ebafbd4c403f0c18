#ifndef TESSEL_OUTPUT_SUBTREE_IMPORT_H_
#define TESSEL_OUTPUT_SUBTREE_IMPORT_H_

#include <ostream>
#include <string>

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
/// followed; pipes, sockets, devices and dangling links are passed over.
/// A file is never copied onto itself, and a destination that lies inside
/// `source` is not walked as part of it. Failures to create, open, read or
/// write are passed over silently.
void CopySubPersonality(const std::string& source, const std::string& parent,
                        std::ostream& personality);

#endif  // TESSEL_OUTPUT_SUBTREE_IMPORT_H_
