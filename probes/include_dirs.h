#ifndef TESSEL_PROBES_INCLUDE_DIRS_H_
#define TESSEL_PROBES_INCLUDE_DIRS_H_

#include <ostream>
#include <string>
#include <vector>

class TesselGen;

/// Base name of every test source of this stage; the product's source
/// extension (".c" or ".cpp") is appended.
extern const char kIncludeTestBase[];  // "inctest"

/// Finds which of the scanned header directories (`tg.HeaderInventory`) are
/// on the compiler's own include path and in which order it searches them.
/// No directory is ever passed to the compiler: each test includes one
/// header with the user's compile command alone and reads the messages.
/// Fills `tg.ImplicitIncludeDirs`, prints progress and findings on `*tg.out`,
/// logs them, and writes an "-i "/"-si " and a "-q " line per directory to
/// `personality`. `personalityTestPath` is not used by this stage.
void FindIncludeDirs(TesselGen& tg, std::ostream& personality,
                     const std::string& personalityTestPath);

/// True when the compiler can reach `#include <header>` without help: the
/// normalised messages of a compile that includes `header` differ from those
/// of a compile that includes the never-existing "ak12345". The latter are
/// computed once per run and kept in `tg.FileNotFoundText`.
bool IsHeaderFound(TesselGen& tg, const std::string& header);

/// True when the compiler took `header` from `dir`: the first message line
/// that names `header`, after an unfinished declaration in front of the
/// include, holds every component of `dir` (see `SplitPath`) as a substring.
bool IsHeaderFromDir(TesselGen& tg, const std::string& dir,
                     const std::string& header);

/// Asks the compiler which copy of `header` it takes: 1 when the path
/// `dirB`/`header` does not appear in its messages, 2 when it appears and
/// `dirA`/`header` does not, 0 when both appear (the answer is unknown).
int WhichDirFirst(TesselGen& tg, const std::string& dirA,
                  const std::string& dirB, const std::string& header);

/// The components of `path`, last first: "/usr/local/include" gives
/// "include", "local", "usr". The text before the first "/" is not a
/// component; empty components from doubled or trailing "/" are kept.
std::vector<std::string> SplitPath(const std::string& path);

/// Makes compiler messages comparable across headers: removes every
/// occurrence of `name` (when not empty) from `text`, then every decimal
/// digit and every white-space character, so that line and column numbers
/// and the header's name no longer matter.
std::string normalise_output(const std::string& text, const std::string& name);

/// Resolves "/.." and "/." pieces of the paths in `text`: the text is cut
/// before each blank, newline, tab, "/" and "\"; a piece "/.." removes the
/// piece kept before it and a piece "/." is dropped. So
/// "/usr/lib/gcc/../include/x.h" becomes "/usr/lib/include/x.h".
std::string normalise_paths(const std::string& text);

#endif  // TESSEL_PROBES_INCLUDE_DIRS_H_
