#include "tests/fuzz/fuzz_support.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <system_error>

namespace tessel_fuzz {

// The scratch directory, removed when the process exits normally.
static std::string& scratch_path() {
  static std::string path;
  return path;
}

static void remove_scratch() {
  std::error_code ignored;
  std::filesystem::remove_all(scratch_path(), ignored);
}

// Makes the scratch directory on the first call; returns its path.
static const std::string& scratch_directory() {
  if (scratch_path().empty()) {
    const char* base = std::getenv("TMPDIR");
    std::string pattern =
        std::string(base != nullptr && *base != '\0' ? base : "/tmp") +
        "/tessel_fuzz_XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) {
      std::perror("tessel fuzz: cannot make a scratch directory");
      std::abort();
    }
    scratch_path() = pattern;
    std::atexit(remove_scratch);
  }
  return scratch_path();
}

ScratchScope::ScratchScope() : previous_(open(".", O_RDONLY | O_DIRECTORY)) {
  if (previous_ < 0 || chdir(scratch_directory().c_str()) != 0) {
    std::perror("tessel fuzz: cannot enter the scratch directory");
    std::abort();
  }
}

ScratchScope::~ScratchScope() {
  if (fchdir(previous_) != 0) {
    std::perror("tessel fuzz: cannot leave the scratch directory");
    std::abort();
  }
  close(previous_);
}

void WriteBytes(const std::string& path, const uint8_t* data, size_t size) {
  std::ofstream out(path, std::ios::out | std::ios::binary | std::ios::trunc);
  out.write(reinterpret_cast<const char*>(data),
            static_cast<std::streamsize>(size));
  out.close();
  if (!out) {
    std::fprintf(stderr, "tessel fuzz: cannot write %s\n", path.c_str());
    std::abort();
  }
}

int RefusingShell::Run(const std::string& command) {
  std::fprintf(stderr, "tessel fuzz: a reader ran a command: %s\n",
               command.c_str());
  std::abort();
}

// A fixed moment, so that every run log has the same name and one input's
// log is always the one removed.
static int64_t frozen_clock() { return 1763000000LL * 1000000; }

FuzzRun::FuzzRun() {
  tg =
      std::make_unique<TesselGen>("vellc", "ccmp", "cc", "-o", "-c", "-D", ".o",
                                  "%c %j %d%s %o%e", shell, frozen_clock);
  tg->out = &console;
  tg->err = &console;
}

FuzzRun::~FuzzRun() {
  const std::string log = tg->log.fileName();
  tg.reset();
  if (!log.empty()) {
    std::remove(log.c_str());
  }
}

}  // namespace tessel_fuzz
