#include <gtest/gtest.h>

#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

#include "probes/macro_discovery.h"
#include "tests/stage/macro_fake_compiler.h"
#include "tests/support/test_support.h"

using tessel_test::FakeMacro;
using tessel_test::FakeRun;
using tessel_test::IfdefBlocks;
using tessel_test::PredefiningCompilerRules;
using tessel_test::ReadFile;
using tessel_test::ScratchDir;
using tessel_test::StageLogLines;

using Names = std::vector<std::string>;

// The sweeps' progress line: 15 halvings from 16384 down to 0.
static const char kFifteenSteps[] =
    "[  0%]~[  6%]~[ 13%]~[ 20%]~[ 26%]~[ 33%]~[ 40%]~[ 46%]~[ 53%]~[ 60%]~"
    "[ 66%]~[ 73%]~[ 80%]~[ 86%]~[ 93%]~[100%]~\n";

// Names "n000" to "n099" (or up to `count` - 1).
static Names numbered(int count) {
  Names names;
  for (int i = 0; i < count; ++i) {
    char name[8];
    std::snprintf(name, sizeof name, "n%03d", i);
    names.push_back(name);
  }
  return names;
}

static Names slice(const Names& names, std::size_t first, std::size_t last) {
  return Names(names.begin() + first, names.begin() + last);
}

TEST(MacroDiscoveryStage, NoCandidatesSkipsEverySweep) {
  ScratchDir scratch;
  FakeRun run(true, false);
  tessel_test::WriteFile("tmp_def_test.c", "stale");
  DiscoverPredefinedMacros(*run.tg);
  EXPECT_EQ(
      std::string("\nScanning for compiler defines(0)...\n\n") + kFifteenSteps,
      run.console.str());
  EXPECT_TRUE(run.tg->PredefinedMacros.empty());
  EXPECT_EQ(0, run.shell.compiles);
  EXPECT_FALSE(tessel_test::Exists("tmp_def_test.c"));
  EXPECT_EQ(Names({"[+        0ms][INFO] Scanning for compiler defines(0)...",
                   "[+        0ms][INFO] Max number of implicit defines tested "
                   "per file: 16384"}),
            StageLogLines(*run.tg));
}

TEST(MacroDiscoveryStage, HundredCandidatesFirstCompileChunksOf64And36) {
  ScratchDir scratch;
  FakeRun run(true, false);
  Names names = numbered(100);
  run.tg->candidateKeywords.insert(names.begin(), names.end());
  tessel_test::WriteFakeRules(
      PredefiningCompilerRules({{"n007", "7"}, {"n050", "50"}}));
  DiscoverPredefinedMacros(*run.tg);
  EXPECT_EQ(Names({"n007", "n050"}), run.tg->PredefinedMacros);
  // 64 and 36; both hits lie in the first 64: 2 chunks of 32, 4 of 16, of 8,
  // of 4, of 2 and of 1.
  EXPECT_EQ(2 + 2 + 4 + 4 + 4 + 4 + 4, run.shell.compiles);
  EXPECT_EQ(IfdefBlocks(slice(names, 0, 64)),
            ReadFile("seen_1_tmp_def_test.c"));
  EXPECT_EQ(IfdefBlocks(slice(names, 64, 100)),
            ReadFile("seen_2_tmp_def_test.c"));
  EXPECT_EQ(IfdefBlocks(slice(names, 0, 32)),
            ReadFile("seen_3_tmp_def_test.c"));
  // The last sweep tests the four survivors of the chunks of 2 alone.
  EXPECT_EQ(IfdefBlocks({"n006"}), ReadFile("seen_21_tmp_def_test.c"));
  EXPECT_EQ(IfdefBlocks({"n007"}), ReadFile("seen_22_tmp_def_test.c"));
  EXPECT_EQ(IfdefBlocks({"n050"}), ReadFile("seen_23_tmp_def_test.c"));
  EXPECT_EQ(IfdefBlocks({"n051"}), ReadFile("seen_24_tmp_def_test.c"));
  EXPECT_EQ(std::string("\nScanning for compiler defines(100)...\n\n") +
                kFifteenSteps,
            run.console.str());
  std::vector<std::string> argv = tessel_test::FakeInvocations();
  ASSERT_EQ(24u, argv.size());
  EXPECT_EQ("-c tmp_def_test.c -otmp_def_test.o", argv[0]);
}

TEST(MacroDiscoveryStage, ChunkWithoutMacroIsDroppedAfterOneCompile) {
  ScratchDir scratch;
  FakeRun run(true, false);
  run.tg->candidateKeywords = {"a", "b", "c", "d"};
  tessel_test::WriteFakeRules(PredefiningCompilerRules({{"d", "1"}}));
  DiscoverPredefinedMacros(*run.tg);
  EXPECT_EQ(Names({"d"}), run.tg->PredefinedMacros);
  EXPECT_EQ(5, run.shell.compiles);
  EXPECT_EQ(IfdefBlocks({"a", "b", "c", "d"}),
            ReadFile("seen_1_tmp_def_test.c"));
  EXPECT_EQ(IfdefBlocks({"a", "b"}), ReadFile("seen_2_tmp_def_test.c"));
  EXPECT_EQ(IfdefBlocks({"c", "d"}), ReadFile("seen_3_tmp_def_test.c"));
  EXPECT_EQ(IfdefBlocks({"c"}), ReadFile("seen_4_tmp_def_test.c"));
  EXPECT_EQ(IfdefBlocks({"d"}), ReadFile("seen_5_tmp_def_test.c"));
}

TEST(MacroDiscoveryStage, UserDefinesAndKeywordsAreNeverCandidates) {
  ScratchDir scratch;
  FakeRun run(true, false);
  run.tg->candidateKeywords = {"USERDEF", "USERFLAG", "alpha", "beta", "int"};
  run.tg->languageKeywords = {"int", "return"};
  run.tg->implicitDefines = {"USERDEF=1", "USERFLAG"};
  // The compiler would report all three: the user's through -D.
  tessel_test::WriteFakeRules(PredefiningCompilerRules({{"int", "1"}}));
  DiscoverPredefinedMacros(*run.tg);
  EXPECT_TRUE(run.tg->PredefinedMacros.empty());
  EXPECT_EQ(1, run.shell.compiles);
  EXPECT_EQ(IfdefBlocks({"alpha", "beta"}), ReadFile("seen_1_tmp_def_test.c"));
  EXPECT_EQ(
      Names({"-c -DUSERDEF=1 -DUSERFLAG tmp_def_test.c -otmp_def_test.o"}),
      tessel_test::FakeInvocations());
  EXPECT_EQ(
      std::string("\nScanning for compiler defines(5)...\n\n") + kFifteenSteps,
      run.console.str());
}

TEST(MacroDiscoveryStage, MacrosComeOutInByteOrder) {
  ScratchDir scratch;
  FakeRun run(true, false);
  run.tg->candidateKeywords = {"zeta", "Alpha", "_under", "beta", "ZZ"};
  tessel_test::WriteFakeRules(PredefiningCompilerRules(
      {{"zeta", "1"}, {"_under", "1"}, {"Alpha", "1"}, {"ZZ", "1"}}));
  DiscoverPredefinedMacros(*run.tg);
  EXPECT_EQ(Names({"Alpha", "ZZ", "_under", "zeta"}), run.tg->PredefinedMacros);
}

TEST(MacroDiscoveryStage, ReducedFileSizeTestsChunksOf1024) {
  ScratchDir scratch;
  FakeRun run(false, false);
  run.tg->reducedFileSize = true;
  Names numbers = numbered(1100);
  run.tg->candidateKeywords.insert(numbers.begin(), numbers.end());
  // Byte order puts "n1000" before "n101" and "n999" last.
  Names names(run.tg->candidateKeywords.begin(),
              run.tg->candidateKeywords.end());
  ASSERT_EQ("n999", names.back());
  tessel_test::WriteFakeRules(PredefiningCompilerRules({{"n999", "1"}}));
  DiscoverPredefinedMacros(*run.tg);
  EXPECT_EQ(Names({"n999"}), run.tg->PredefinedMacros);
  EXPECT_EQ(IfdefBlocks(slice(names, 0, 1024)),
            ReadFile("seen_1_tmp_def_test.cpp"));
  EXPECT_EQ(IfdefBlocks(slice(names, 1024, 1100)),
            ReadFile("seen_2_tmp_def_test.cpp"));
  // 1024 + 76; the 76 survivors as 64 + 12; the 12 as 8 + 4; 4; 2 + 2;
  // 1 + 1.
  EXPECT_EQ(2 + 2 + 2 + 1 + 2 + 2, run.shell.compiles);
  EXPECT_EQ(
      "\nScanning for compiler defines(1100)...\n\n"
      "[  0%]~[  9%]~[ 18%]~[ 27%]~[ 36%]~[ 45%]~[ 54%]~[ 63%]~[ 72%]~[ 81%]~"
      "[ 90%]~[100%]~\n",
      run.console.str());
  EXPECT_EQ(Names({"[+        0ms][INFO] Scanning for compiler "
                   "defines(1100)...",
                   "[+        0ms][INFO] Max number of implicit defines tested "
                   "per file: 1024"}),
            StageLogLines(*run.tg));
}

TEST(MacroDiscoveryStage, CompilerThatNeverNamesTheHeaderFindsNothing) {
  ScratchDir scratch;
  FakeRun run(true, false);
  run.tg->candidateKeywords = {"a", "b", "c", "d"};
  tessel_test::WriteFakeRules("fail 'cannot open source file'\n");
  DiscoverPredefinedMacros(*run.tg);
  EXPECT_TRUE(run.tg->PredefinedMacros.empty());
  EXPECT_EQ(1, run.shell.compiles);
}

TEST(MacroDiscoveryStage, HitIsSeenOnStandardOutputToo) {
  ScratchDir scratch;
  FakeRun run(true, false);
  run.tg->candidateKeywords = {"a", "b"};
  tessel_test::WriteFakeRules(
      "if has $'#ifdef b\\n'; then say_out 'ak12345 missing'; fi\n");
  DiscoverPredefinedMacros(*run.tg);
  EXPECT_EQ(Names({"b"}), run.tg->PredefinedMacros);
}
