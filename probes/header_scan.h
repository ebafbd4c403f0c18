#ifndef TESSEL_PROBES_HEADER_SCAN_H_
#define TESSEL_PROBES_HEADER_SCAN_H_

#include <functional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "probes/directory_walk.h"
#include "probes/name_table.h"

class TesselGen;

/// Walks every header directory and scans its files, in parallel, for
/// candidate identifiers: fills `tg.headerFiles`, `tg.HeaderInventory` and
/// `tg.candidateKeywords`, then adds the template personality's "<test>"
/// keywords and removes the tokens of the user's force-include header.
/// Prints "Scanning All Directories..." and "Scanning N files..." (N is the
/// number of files plus 2) and drives the progress indicator.
void ScanAllDirectories(TesselGen& tg);

/// Tables that the tasks of one scan share, built once by the stage.
struct ScanTables {
  /// Hashes `ignoreKeywords` and the names already in `candidateKeywords`.
  ScanTables(const std::set<std::string>& ignoreKeywords,
             const std::set<std::string>& candidateKeywords);
  /// The ignore list; only read while tasks run.
  NameTable ignore;
  /// The names already in `candidateKeywords`, then every name the tasks
  /// merge; the stage puts the new ones into `candidateKeywords` once all
  /// tasks have ended. Guarded by `TesselGen::scanMutex` while tasks run.
  NameTable merged;
};

/// Scans one file, as one task of the header scan: counts it on the
/// progress indicator and logs `path`, then collects its identifiers (less
/// `tg.ignoreKeywords`) with one merge under `TesselGen::scanMutex`: into
/// `tables->merged` when tables are given, else into
/// `tg.candidateKeywords`. Text files are tokenised by `LineScanner`;
/// binary files contribute the identifiers of the printable runs that end
/// at zero bytes. A path without any "." is not scanned: a "[WARN] " log
/// line names it and the scan goes on with the other files. `tables` are
/// the stage's shared tables; without them the file is scanned on its own.
void ScanFile(TesselGen& tg, std::string path, ScanTables* tables = nullptr);

/// Splits `text` at every blank and every printable character that is not
/// a letter, digit or "_", and adds each piece that is a C identifier to
/// `result`. Text holding any byte below 32, 127 or above adds nothing.
void SplitPrintable(const std::string& text, std::set<std::string>& result);

/// Calls `visit` with each string of a binary file's `bytes`: every run of
/// printable bytes (at most 127, never the file's first byte) that ends
/// just before a zero byte. The header scan takes its identifiers from
/// these runs.
void ForEachBinaryString(std::string_view bytes,
                         const std::function<void(std::string_view)>& visit);

/// Adds the lines between the "<test>" and "</test>" lines of the template
/// personality (`tg.templatePath`, when given) to `tg.candidateKeywords`,
/// untrimmed, and logs each. Candidates become defines on compile command
/// lines, so a line that is not a C identifier is not added: it is named,
/// with its line number, on `tg.err` and at WARN in the run log (an empty
/// line is passed over silently). A missing "</test>" ends the section at
/// the end of the file.
void AddTemplateKeywords(TesselGen& tg);

/// Removes from `tg.candidateKeywords` the identifiers of the user's
/// force-include header (`tg.forceIncludePath`, when given and readable)
/// that stand between a line holding "Any other items" and the next line
/// holding "#else" (or the end of the file), logging
/// "FI token 'NAME' ignored as KW" for each one removed.
void RemoveForceIncludeTokens(TesselGen& tg);

/// The states of `LineScanner`. The numbers are the scanner's own; 5 is not
/// used.
enum class ScanState : int {
  kStart = 0,
  kBetweenTokens = 1,
  kBlockComment = 2,
  kRestOfLine = 3,
  kIdentifier = 4,
  kString = 6,
};

/// The tokeniser of one text file. It joins continuation lines into logical
/// lines and collects the identifiers outside comments, string literals and
/// "#include" lines. It is deliberately simple: a "/" or "#" inside an
/// identifier does not end it ("a/b" gives "ab"), escapes in strings are
/// not recognised, and the state carries over from one line to the next,
/// so block comments and open strings run on. Identifiers listed in the
/// ignore set are left out.
class LineScanner {
 public:
  /// A scanner in the start state that leaves out the names of `ignore`,
  /// which must outlive it and is only read.
  explicit LineScanner(const NameTable& ignore);

  /// Scans the whole text of a file: splits it at line feeds, trims each
  /// line's trailing white space, joins lines that end in a backslash (the
  /// backslash and the white space before it removed) with the line after
  /// them, without a separator, and scans each logical
  /// line. A continuation pending at the end of `text` is dropped.
  void ScanText(std::string_view text);

  /// Scans one logical line, carrying the state over from the line before.
  void ScanLine(std::string_view line);

  /// The current state.
  ScanState state() const { return state_; }

  /// Every identifier met so far, each flagged true when it is kept (not
  /// in the ignore list).
  const NameTable& names() const { return seen_; }

  /// Hands over every identifier met (see `names`), leaving the scanner's
  /// collection empty.
  NameTable TakeNames();

  /// The kept identifiers, sorted bytewise.
  std::vector<std::string> Identifiers() const;

 private:
  // Ends the identifier in progress: records it when it is not empty.
  void EndIdentifier();
  // Applies the end-of-line rules: an identifier in progress is recorded
  // (leaving any comment or string begun after it), a line comment ends.
  void EndLine();

  const NameTable& ignore_;
  ScanState state_ = ScanState::kStart;
  // The identifier in progress; reused so that scanning allocates only for
  // identifiers seen for the first time.
  std::string identifier_;
  // Every identifier met so far; the ignore list is consulted once for
  // each.
  NameTable seen_;
  // The lines of a continuation waiting for their last line.
  std::string pending_;
};

#endif  // TESSEL_PROBES_HEADER_SCAN_H_
