#ifndef TESSEL_TESTS_SUPPORT_TEST_SUPPORT_H_
#define TESSEL_TESTS_SUPPORT_TEST_SUPPORT_H_

#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "app/tessel_gen.h"
#include "harness/shell.h"

namespace tessel_test {

/// Absolute path of the repository.
extern const char kSourceDir[];
/// Absolute path of the scriptable fake compiler.
extern const char kFakeCc[];
/// Absolute path of the built TesselGen executable.
extern const char kTesselBinary[];

/// A fresh directory under the system's temporary directory that the test
/// works in: the constructor changes into it (or into `subdir` below it, if
/// given), the destructor changes back and deletes the tree, unless the
/// environment sets TESSEL_KEEP_SCRATCH.
class ScratchDir {
 public:
  /// Creates the directory and changes into it (or into `subdir`).
  explicit ScratchDir(const std::string& subdir = "");
  /// Changes back and deletes the tree.
  ~ScratchDir();
  ScratchDir(const ScratchDir&) = delete;
  ScratchDir& operator=(const ScratchDir&) = delete;
  /// The top of the scratch tree.
  const std::string& root() const { return root_; }
  /// The directory the test works in.
  const std::string& work() const { return work_; }

 private:
  std::string previous_;
  std::string root_;
  std::string work_;
};

/// Whole content of `path` (binary); empty when unreadable.
std::string ReadFile(const std::string& path);
/// Writes `text` to `path`, creating parent directories.
void WriteFile(const std::string& path, const std::string& text);
/// True when `path` exists.
bool Exists(const std::string& path);
/// The lines of `text` (split at "\n"; a final newline ends the last line).
std::vector<std::string> Lines(const std::string& text);

/// Outcome of a process run by `RunProcess`.
struct ProcessResult {
  int exitCode = -1;
  std::string out;
  std::string err;
};

/// Runs `command` through /bin/sh with standard input from /dev/null,
/// capturing its standard output and error.
ProcessResult RunProcess(const std::string& command);

/// Runs the built TesselGen in the current directory with `args`. Core
/// dumps are switched off so that a deliberate abort leaves nothing behind,
/// and the shell waits for the status, so that its note about an abort
/// lands in the captured error output.
ProcessResult RunTessel(const std::vector<std::string>& args);

/// Quotes `text` for the shell.
std::string ShellQuote(const std::string& text);

/// A clock that never moves, so that log stamps read "[+        0ms]". Its
/// moment is 2025-11-13 02:13:20 UTC.
int64_t FrozenClock();

/// Makes the process's local time UTC, so that the dates and file names
/// made from FrozenClock's moment read as above.
void UseUtc();

/// The language keywords of the C (`isC`) or C++ product as a run loads
/// them: the shipped "config/c_keywords.txt" or "config/cpp_keywords.txt".
std::set<std::string> ShippedLanguageKeywords(bool isC);

/// Writes the rules of the fake compiler into the current directory.
void WriteFakeRules(const std::string& rules);

/// The rules line that sources the rules file `path` (relative to "tests/"
/// of the source tree): shared fake compiler models live in such files
/// beside the tests that use them, and a test's "fakecc.rules" sources them.
std::string SourceRules(const std::string& path);

/// Lines of "fakecc.argv": one per fake compiler invocation so far.
std::vector<std::string> FakeInvocations();

/// A TesselGen for the fake compiler with order string "%c %j %d%s %o%e",
/// flags "-o", "-c", "-D" and extension ".o"; product "vellc" when `isC`,
/// else "vellcpp"; cross ("ccmp") when `cross`. Console output goes to
/// `console` (and errors too), and S_OBJEXT is set to ".o".
struct FakeRun {
  FakeRun(bool isC, bool cross);
  std::ostringstream console;
  SystemShell realShell;
  CountingShell shell{realShell};
  std::unique_ptr<TesselGen> tg;
};

}  // namespace tessel_test

#endif  // TESSEL_TESTS_SUPPORT_TEST_SUPPORT_H_
