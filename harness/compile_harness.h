#ifndef TESSEL_HARNESS_COMPILE_HARNESS_H_
#define TESSEL_HARNESS_COMPILE_HARNESS_H_

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

class TesselGen;

/// Fixed file names of the harness, all in the current directory.
extern const char kCompileScript[];  // "compile.sh"
extern const char kPassFile[];       // "pass.txt"
extern const char kStdoutLog[];      // "stdout.log"
extern const char kStderrLog[];      // "stderr.log"
extern const char kExeExt[];         // ".exe"

/// Shared pieces of test sources.
extern const char kIncludeStddef[];  // "#include <stddef.h>\n"
extern const char kIncludeStdio[];   // "#include <stdio.h>\n"
extern const char kIncludeStdlib[];  // "#include <stdlib.h>\n"
extern const char kMainStart[];      // "int main(void) {"
extern const char kReturnZero[];     // "return 0;"
extern const char kCloseBrace[];     // "}"
extern const char kIfdef[];          // "#ifdef "
extern const char kIfndef[];         // "#ifndef "
extern const char kEndif[];          // "#endif"
extern const char kStringifyS[];     // "#define S(X) #X"
extern const char kStringifyM[];     // "#define M(X) S(X)"

/// Appends each of `pieces` (strings, views or C strings) to `text`, in
/// order: test files of thousands of blocks are built this way without a
/// temporary string per piece.
template <typename... Pieces>
void appendPieces(std::string& text, const Pieces&... pieces) {
  (text.append(std::string_view(pieces)), ...);
}

/// The header name that never exists, included on purpose to provoke a
/// "file not found" message.
extern const char kMissingHeader[];  // "ak12345"

/// ".c" for the C product, ".cpp" for the C++ product.
std::string sourceExtension(const TesselGen& tg);

/// The printf declaration of the product: "int printf(char *, ...);" for C,
/// "extern \"C\" int printf(char *, ...);" for C++.
std::string printfDeclaration(const TesselGen& tg);

/// Fills the first occurrence of each placeholder of the order string for
/// the source `source`. `buildProgram` false compiles to an object, true
/// links a program named after the source with ".exe". `extraDefine` (may be
/// empty) follows the implicit switches and defines in "%d". A placeholder
/// missing from the order string raises std::out_of_range, which ends the
/// run: the order string is not checked in advance.
std::string buildCommand(const TesselGen& tg, const std::string& source,
                         bool buildProgram, const std::string& extraDefine);

/// Runs `command` on the run's shell. When the shell stopped it at the time
/// limit, says so on `tg.err` and at WARN in the run log, naming `shown`
/// (the command as the user would recognise it), and returns false.
bool runCommand(TesselGen& tg, const std::string& command,
                const std::string& shown);

/// Writes the eight-line "compile.sh" around `command`, makes it executable
/// and runs it with its output captured in "stdout.log" and "stderr.log".
/// The outcome is read from the files, not from the exit status; the result
/// is false only when the script was stopped at the time limit, in which
/// case the compile counts as failed.
bool runCompileScript(TesselGen& tg, const std::string& command);

/// The text of "stdout.log" followed directly by that of "stderr.log"; a
/// missing file contributes nothing.
std::string readCompilerOutput();

/// Writes `text` to `base` + source extension, compiles it to an object and
/// reports whether `base` + S_OBJEXT appeared. On success `*size` is the
/// object's size, else 0. `*output` receives the captured messages. Either
/// pointer may be null.
bool compileTest(TesselGen& tg, const std::string& text,
                 const std::string& base, uint32_t* size, std::string* output);

/// `compileTest` with the base name "tmp_typetest".
bool compileTypeTest(TesselGen& tg, const std::string& text, uint32_t* size,
                     std::string* output);

/// Size in bytes of the file at `path`, or 0xFFFFFFFF when it does not exist.
uint32_t objectSize(const std::string& path);

/// Compiles (and, natively, runs when the file asks for it) one test source
/// from a test directory at `path`, with `extraDefine` on the command line.
/// The first three lines of the file may carry "Error:" (failure message),
/// "Success:" (success message) and "Execute" (the test is a program to
/// run); each message is the text after the line's first ":". A compiled
/// test passes when its object appears in the current directory under the
/// test's name or beside the source; both are then deleted. An executed test
/// runs "./" + test name + ".exe" and always passes; `*message` is then the
/// program's output when it contains "-bits", else empty. In cross mode an
/// "Execute" test is only compiled and fails with an empty message. `message`
/// may be null.
bool runTestFile(TesselGen& tg, const std::string& path,
                 const std::string& extraDefine, std::string* message);

/// Deletes every file in the current directory whose name starts with
/// `prefix` ("rm  " + prefix + "* -f").
void removeMatching(TesselGen& tg, const std::string& prefix);

/// Reads the whole file at `path` in binary mode; empty when unreadable.
std::string readWholeFile(const std::string& path);

/// Replaces `path` with a new file holding `text` (an existing file is
/// deleted first, not emptied); false when the file cannot be created.
bool writeWholeFile(const std::string& path, const std::string& text);

/// True when `path` can be opened for reading.
bool canOpen(const std::string& path);

/// How `build_and_run_program` treats the files around the program. The
/// stages differ only in these points; everything else is the same sequence.
struct ProgramRunOptions {
  /// Deletes the program before it is built, so that a failed build cannot
  /// leave an older program in place to be run.
  bool removeOldProgram = true;
  /// Deletes "stderr.log" of the build as well as "stdout.log"; when false
  /// the build's error messages stay in "stderr.log" while the program runs.
  bool dropBuildErrors = true;
  /// Sends the program's standard error to "stderr.log" too; what it printed
  /// is then "stdout.log" followed by "stderr.log".
  bool captureErrors = false;
};

/// Runs "./" + `program` with its standard output in "stdout.log" (and its
/// standard error in "stderr.log" when `captureErrors`) and returns what it
/// printed: "stdout.log", followed by "stderr.log" when `captureErrors`.
/// `finished`, when given, is set false when the program was stopped at the
/// time limit.
std::string run_program(TesselGen& tg, const std::string& program,
                        bool captureErrors, bool* finished = nullptr);

/// Builds a program from `text` and runs it: writes `text` to `source`,
/// deletes the old program (see `options`), links `source` into its base
/// name + ".exe" with the compile script, deletes the build's capture files,
/// and, when the program appeared, runs it as `run_program` does. Returns
/// what the program printed, or nothing when the build made no program.
std::optional<std::string> build_and_run_program(
    TesselGen& tg, const std::string& source, const std::string& text,
    const ProgramRunOptions& options);

#endif  // TESSEL_HARNESS_COMPILE_HARNESS_H_
