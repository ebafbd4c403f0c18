// Feeds a user's force-include header to its two readers: the copy that
// declares the register identifiers after each "Any other items" line, and
// the header scan's removal of the tokens listed there.

#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>

#include "output/force_include.h"
#include "probes/header_scan.h"
#include "tests/fuzz/fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  tessel_fuzz::FuzzRun run;
  tessel_fuzz::WriteBytes("fi.h", data, size);
  run.tg->forceIncludePath = "fi.h";
  run.tg->registerIdentifiers = {"__reg1", "__reg2"};
  run.tg->candidateKeywords = {"__reg1", "__sfr", "int", "volatile"};

  RemoveForceIncludeTokens(*run.tg);
  std::ostringstream personality;
  WriteForceInclude(*run.tg, "kivforceinclude", "fi.h", personality);
  return 0;
}
