#ifndef TESSEL_TESTS_INTEGRATION_PRESET_RUN_CACHE_H_
#define TESSEL_TESTS_INTEGRATION_PRESET_RUN_CACHE_H_

// One personality per preset and build directory, shared by the test
// processes: CTest runs every test as a process of its own, and a preset run
// takes minutes, so the first test that needs a preset runs it and the
// others wait for it (a lock file per preset) and read its path.

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/test_support.h"

namespace tessel_test {

/// A preset as the export tests run it.
struct CachedPreset {
  /// The name, also the cache's file names.
  std::string name;
  /// The compiler command that must be on PATH.
  std::string compiler;
};

/// The presets of the export tests.
inline const std::vector<CachedPreset>& CachedPresets() {
  static const std::vector<CachedPreset> kPresets = {
      {"sdcc", "sdcc"},
      {"avr-gcc", "avr-gcc"},
      {"arm-none-eabi-gcc", "arm-none-eabi-gcc"},
      {"cc65", "cl65"},
      {"gcc", "gcc"}};
  return kPresets;
}

/// Holds an exclusive lock on a file for its lifetime.
class FileLock {
 public:
  /// Creates `path` if needed and waits for the lock.
  explicit FileLock(const std::string& path)
      : fd_(open(path.c_str(), O_RDWR | O_CREAT, 0644)) {
    if (fd_ >= 0) {
      flock(fd_, LOCK_EX);
    }
  }
  ~FileLock() {
    if (fd_ >= 0) {
      flock(fd_, LOCK_UN);
      close(fd_);
    }
  }
  FileLock(const FileLock&) = delete;
  FileLock& operator=(const FileLock&) = delete;

 private:
  int fd_;
};

/// The value after "Personality:" in run.sh's closing lines, or "".
inline std::string PersonalityLine(const std::string& output) {
  for (const std::string& line : Lines(output)) {
    if (line.rfind("Personality:", 0) == 0) {
      const std::string::size_type at = line.find('/');
      return at == std::string::npos ? "" : line.substr(at);
    }
  }
  return "";
}

/// The personality of `preset`: read from the cache under the build
/// directory, or produced by scripts/run.sh (which passes "-verify") with
/// the built TesselGen and cached. The end-to-end test of every preset and
/// the export tests share the runs. Empty with `why` set when the compiler is
/// missing or the run fails.
inline std::optional<std::string> PresetPersonality(const CachedPreset& preset,
                                                    std::string* why) {
  if (RunProcess("command -v " + ShellQuote(preset.compiler)).exitCode != 0) {
    *why = preset.compiler + " not installed";
    return std::nullopt;
  }
  namespace fs = std::filesystem;
  const fs::path cache =
      fs::path(kTesselBinary).parent_path() / "preset_run_cache";
  std::error_code ec;
  fs::create_directories(cache, ec);
  FileLock lock((cache / (preset.name + ".lock")).string());
  const std::string known = ReadFile((cache / (preset.name + ".path")));
  if (!known.empty() && Exists(known)) {
    return known;
  }
  std::string command =
      "TESSEL_BINARY=" + ShellQuote(kTesselBinary) +
      " TESSEL_RUNS_DIR=" + ShellQuote((cache / "runs").string()) + " " +
      ShellQuote(std::string(kSourceDir) + "/scripts/run.sh");
  command += " " + ShellQuote(preset.name);
  const auto start = std::chrono::steady_clock::now();
  const ProcessResult run = RunProcess(command);
  std::cout << "[ FIGURES  ] " << preset.name << ": whole run "
            << std::chrono::duration_cast<std::chrono::seconds>(
                   std::chrono::steady_clock::now() - start)
                   .count()
            << " s" << std::endl;
  const std::string path = PersonalityLine(run.out);
  if (run.exitCode != 0 || path.empty() || !Exists(path) ||
      run.out.find("\nCompleted OK\n") == std::string::npos) {
    *why = "scripts/run.sh " + preset.name + " failed (status " +
           std::to_string(run.exitCode) + "): " + run.out + run.err;
    return std::nullopt;
  }
  WriteFile((cache / (preset.name + ".path")).string(), path);
  return path;
}

}  // namespace tessel_test

#endif  // TESSEL_TESTS_INTEGRATION_PRESET_RUN_CACHE_H_
