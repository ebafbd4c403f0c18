// Feeds the includes file of "-if" (one directory per line) to the reader
// that the command line uses.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "app/command_line.h"
#include "tests/fuzz/fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  tessel_fuzz::FuzzRun run;
  tessel_fuzz::WriteBytes("includes.txt", data, size);
  readIncludesFile(*run.tg, "includes.txt");
  // Every directory the reader keeps has been made absolute.
  for (const std::string& dir : run.tg->includeDirs) {
    if (dir.empty() || dir[0] != '/') {
      std::fprintf(stderr, "include dir not absolute: '%s'\n", dir.c_str());
      std::abort();
    }
  }
  return 0;
}
