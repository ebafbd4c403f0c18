#include "probes/macro_discovery.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/test_support.h"

using tessel_test::FakeRun;
using tessel_test::ScratchDir;

using Names = std::vector<std::string>;

TEST(MacroDiscovery, PossibleDefineBlockIncludesTheMissingHeader) {
  EXPECT_EQ("#ifdef __GNUC__\n#include \"ak12345\"\n#endif\n",
            PrintPossibleDefines("__GNUC__"));
}

TEST(MacroDiscovery, CandidatesLeaveOutKeywordsAndUserDefines) {
  ScratchDir scratch;
  FakeRun run(true, false);
  run.tg->candidateKeywords = {"int",  "USER", "USERVAL", "a=b",
                               "Zeta", "_x",   "alpha",   "USERVAL2"};
  run.tg->languageKeywords = {"int", "while"};
  run.tg->implicitDefines = {"USER", "USERVAL=1", "a=b=c"};
  EXPECT_EQ(Names({"USERVAL2", "Zeta", "_x", "a=b", "alpha"}),
            macro_candidates(*run.tg));
}

TEST(MacroDiscovery, BatchIsSmallerWithReducedFileSize) {
  ScratchDir scratch;
  FakeRun run(true, false);
  EXPECT_EQ(16384, macro_batch_size(*run.tg));
  run.tg->reducedFileSize = true;
  EXPECT_EQ(1024, macro_batch_size(*run.tg));
}
