#ifndef TESSEL_TESTS_FUZZ_FUZZ_SUPPORT_H_
#define TESSEL_TESTS_FUZZ_FUZZ_SUPPORT_H_

#include <cstddef>
#include <cstdint>
#include <memory>
#include <sstream>
#include <string>

#include "app/tessel_gen.h"
#include "harness/shell.h"

namespace tessel_fuzz {

/// Makes the process's scratch directory the current directory while it
/// lives, and returns to the directory it found when it ends. The scratch
/// directory is made under $TMPDIR (or /tmp) on first use and removed when
/// the process exits normally. The readers write their files and the run
/// log there, never beside the fuzzer's corpus; and since the fuzzer reads
/// and writes its corpus only between inputs, relative corpus paths keep
/// working.
class ScratchScope {
 public:
  ScratchScope();
  ~ScratchScope();
  ScratchScope(const ScratchScope&) = delete;
  ScratchScope& operator=(const ScratchScope&) = delete;

 private:
  // The directory to return to, held open.
  int previous_;
};

/// Writes the `size` bytes at `data` to `path`, replacing what was there.
/// Aborts when the file cannot be written, since every later step would
/// then read something other than the fuzzer's input.
void WriteBytes(const std::string& path, const uint8_t* data, size_t size);

/// A shell for readers that must never start a process: any command is
/// reported on standard error and the process aborts, so that the fuzzer
/// records the input that made data reach the shell.
struct RefusingShell : Shell {
  /// Reports `command` and aborts.
  int Run(const std::string& command) override;
};

/// A TesselGen for one fuzz input: the C product, console output and errors
/// kept in `console`, a clock that never moves, and a shell that refuses
/// every command. Its run log is removed when this is destroyed, so that
/// a long fuzzing run does not fill the scratch directory.
struct FuzzRun {
  FuzzRun();
  ~FuzzRun();
  FuzzRun(const FuzzRun&) = delete;
  FuzzRun& operator=(const FuzzRun&) = delete;

  /// Keeps the scratch directory current while the object lives.
  ScratchScope scratch;
  /// Where `tg` writes its console output and errors.
  std::ostringstream console;
  /// The shell `tg` holds.
  RefusingShell shell;
  /// The object the readers fill.
  std::unique_ptr<TesselGen> tg;
};

}  // namespace tessel_fuzz

#endif  // TESSEL_TESTS_FUZZ_FUZZ_SUPPORT_H_
