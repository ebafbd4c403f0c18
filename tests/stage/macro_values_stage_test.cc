#include <gtest/gtest.h>

#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "harness/globals.h"
#include "probes/macro_discovery.h"
#include "probes/macro_stage.h"
#include "probes/macro_values.h"
#include "tests/stage/macro_fake_compiler.h"
#include "tests/support/test_support.h"

using tessel_test::FakeMacro;
using tessel_test::FakeRun;
using tessel_test::PredefiningCompilerRules;
using tessel_test::ReadFile;
using tessel_test::ScratchDir;
using tessel_test::StageLogLines;

using Names = std::vector<std::string>;
using Defines = std::set<std::string>;

static const char kSixCandidatesScan[] =
    "\nScanning for compiler defines(6)...\n\n"
    "[  0%]~[  6%]~[ 13%]~[ 20%]~[ 26%]~[ 33%]~[ 40%]~[ 46%]~[ 53%]~[ 60%]~"
    "[ 66%]~[ 73%]~[ 80%]~[ 86%]~[ 93%]~[100%]~\n"
    "\nCalculating compiler define values(5)...\n"
    "[  0%]~[ 20%]~[ 40%]~[ 60%]~[ 80%]~[100%]~\n";

static const char kDefineLines[] =
    "-d ZED=1\n"
    "-d ALPHA\n"
    "-d \"SUM=1 + 2\"\n"
    "-d EMPTY=\n"
    "-d NAME=_KIV_STRINGIFY(x)\n"
    "-d VERSION=_KIV_STRINGIFY(4.7)\n"
    "-d _KIV_STRINGIFY(x)=#x\n"
    "-d __func__=__func__\n";

static const Names kValueLog = {
    "[+        0ms][INFO] Scanning for compiler defines(6)...",
    "[+        0ms][INFO] Max number of implicit defines tested per file: "
    "16384",
    "[+        0ms][INFO] Calculating compiler define values(5)...",
    "[+        0ms][INFO] Testing macro: EMPTY",
    "[+        0ms][INFO] Testing macro: NAME",
    "[+        0ms][INFO] Testing macro: SUM",
    "[+        0ms][INFO] Testing macro: VERSION",
    "[+        0ms][INFO] Testing macro: __func__"};

// Five macros of every kind of value, a candidate that is no macro, and
// two defines of the user's own.
static void set_up_candidates(TesselGen& tg) {
  tg.candidateKeywords = {"EMPTY",   "NAME",     "SUM",
                          "VERSION", "__func__", "plain"};
  tg.implicitDefines = {"ZED=1", "ALPHA"};
}

TEST(MacroValuesStage, NativeValuesFollowTheUserDefines) {
  ScratchDir scratch;
  FakeRun run(true, false);
  set_up_candidates(*run.tg);
  tessel_test::WriteFakeRules(
      PredefiningCompilerRules({{"EMPTY", ""},
                                {"SUM", "1 + 2"},
                                {"VERSION", "\"4.7\""},
                                {"NAME", "\"x\""},
                                {"__func__", "\"main\""}}));
  std::ostringstream personality;
  FindPredefinedMacros(*run.tg, personality);
  EXPECT_EQ(kDefineLines, personality.str());
  EXPECT_EQ(kSixCandidatesScan, run.console.str());
  EXPECT_EQ(kValueLog, StageLogLines(*run.tg));
  EXPECT_EQ(Defines({"plain"}), run.tg->candidateKeywords);
  // The last value program, and its output left in the capture file.
  EXPECT_EQ(
      "#define S(X) #X\n"
      "#define M(X) S(X)\n"
      "int printf(char *, ...);\n"
      "int main(void) { printf(\"%s\", M(__func__)); return 0;}\n",
      ReadFile("tmp_def_test.c"));
  EXPECT_EQ("\"main\"", ReadFile("stdout.log"));
  EXPECT_EQ("-DZED=1 -DALPHA tmp_def_test.c -otmp_def_test.exe",
            tessel_test::FakeInvocations().back());
  // Sweeps: 4 + 2 names, three pairs, six alone; then one per value.
  EXPECT_EQ(2 + 3 + 6 + 5, run.shell.compiles);
}

TEST(MacroValuesStage, CrossValuesComeFromTheMissingFileMessage) {
  ScratchDir scratch;
  FakeRun run(true, true);
  set_up_candidates(*run.tg);
  // As a compiler quotes an include name: escapes stay as written.
  tessel_test::WriteFakeRules(
      PredefiningCompilerRules({{"EMPTY", ""},
                                {"SUM", "1 + 2"},
                                {"VERSION", "\\\"4.7\\\""},
                                {"NAME", "\\\"x\\\""},
                                {"__func__", "\\\"main\\\""}}));
  std::ostringstream personality;
  FindPredefinedMacros(*run.tg, personality);
  EXPECT_EQ(kDefineLines, personality.str());
  EXPECT_EQ(kSixCandidatesScan, run.console.str());
  EXPECT_EQ(kValueLog, StageLogLines(*run.tg));
  EXPECT_EQ(
      "#define S(X) #X\n"
      "#define M(X) S(X)\n"
      "#include M(yyy __func__ zzz)\n",
      ReadFile("tmp_def_test.c"));
  // Every compile went through the compile script; the last one is the
  // include test of the last macro, compiled only.
  EXPECT_EQ("-c -DZED=1 -DALPHA tmp_def_test.c -otmp_def_test.o",
            tessel_test::FakeInvocations().back());
  // Sweeps: 4 + 2 names, three pairs, six alone; then one per value.
  EXPECT_EQ(2 + 3 + 6 + 5, run.shell.compiles);
}

TEST(MacroValuesStage, CppDefineLinesStartWithSd) {
  ScratchDir scratch;
  FakeRun run(false, false);
  run.tg->candidateKeywords = {"ONE", "TWO"};
  tessel_test::WriteFakeRules(
      PredefiningCompilerRules({{"ONE", "1"}, {"TWO", "\"2\""}}));
  std::ostringstream personality;
  FindPredefinedMacros(*run.tg, personality);
  EXPECT_EQ(
      "-sd ONE=1\n"
      "-sd TWO=_KIV_STRINGIFY(2)\n"
      "-sd _KIV_STRINGIFY(x)=#x\n",
      personality.str());
  EXPECT_EQ(
      "#define S(X) #X\n"
      "#define M(X) S(X)\n"
      "extern \"C\" int printf(char *, ...);\n"
      "int main(void) { printf(\"%s\", M(TWO)); return 0;}\n",
      ReadFile("tmp_def_test.cpp"));
}

TEST(MacroValuesStage, CrossScanTriesEveryMarkerPair) {
  ScratchDir scratch;
  FakeRun run(true, true);
  run.tg->PredefinedMacros = {"ECHO", "NESTED", "SPLIT", "TWICE"};
  tessel_test::WriteFakeRules(
      "if has 'M(yyy ECHO zzz)'; then\n"
      "  say_err '    3 | #include M(yyy ECHO zzz)'\n"
      "  fail 'tmp_def_test.c:3:10: fatal error: yyy 1 zzz: not found'\n"
      "fi\n"
      "if has 'M(yyy NESTED zzz)'; then fail 'yyy yyy 2 zzz'; fi\n"
      "if has 'M(yyy SPLIT zzz)'; then fail $'yyy 3 \\nzzz'; fi\n"
      "if has 'M(yyy TWICE zzz)'; then\n"
      "  say_err 'error: yyy 4 zzz'\n"
      "  fail 'note: yyy 5 zzz'\n"
      "fi\n");
  CalculateMacroValues(*run.tg);
  EXPECT_EQ(Defines({"ECHO=1", "NESTED=2", "SPLIT=3", "TWICE=4", "TWICE=5"}),
            run.tg->FoundDefines);
  EXPECT_EQ(4, run.shell.compiles);
  EXPECT_EQ(
      "\nCalculating compiler define values(4)...\n"
      "[  0%]~[ 25%]~[ 50%]~[ 75%]~[100%]~\n",
      run.console.str());
}

TEST(MacroValuesStage, ObjectFileFallbackReadsTheStringLiteral) {
  ScratchDir scratch;
  FakeRun run(true, true);
  run.tg->PredefinedMacros = {"NUM", "STR"};
  run.tg->candidateKeywords = {"NUM", "STR", "other"};
  tessel_test::WriteFakeRules(
      "if has 'M(yyy '; then fail 'cannot open include file'; fi\n"
      "if has 'M(NUM)'; then object_bytes '\\x7fELF\\x00yyy42zzz\\x00'; fi\n"
      "if has 'M(STR)'; then object_text 'junk yyy\"4.7\"zzz yyy9zzz'; fi\n");
  CalculateMacroValues(*run.tg);
  EXPECT_EQ(
      Defines({"NUM=42", "STR=_KIV_STRINGIFY(4.7)", "_KIV_STRINGIFY(x)=#x"}),
      run.tg->FoundDefines);
  EXPECT_EQ(Defines({"other"}), run.tg->candidateKeywords);
  EXPECT_EQ(4, run.shell.compiles);
  EXPECT_EQ(
      "#define S(X) #X\n"
      "#define M(X) S(X)\n"
      "char s[] =  \"yyy\" M(STR) \"zzz\";\n",
      ReadFile("tmp_def_test.c"));
  EXPECT_EQ(Names({"[+        0ms][INFO] Calculating compiler define "
                   "values(2)...",
                   "[+        0ms][INFO] Testing macro: NUM",
                   "[+        0ms][INFO] Alternative define tests for: NUM",
                   "[+        0ms][INFO] Testing macro: STR",
                   "[+        0ms][INFO] Alternative define tests for: STR"}),
            StageLogLines(*run.tg));
}

TEST(MacroValuesStage, TextObjectGivesNoValue) {
  ScratchDir scratch;
  FakeRun run(true, true);
  S_OBJ_IS_BINARY = 0;
  run.tg->PredefinedMacros = {"NUM"};
  tessel_test::WriteFakeRules(
      "if has 'M(yyy '; then fail 'cannot open include file'; fi\n"
      "object_text 'yyy42zzz'\n");
  std::ostringstream personality;
  run.tg->implicitDefines = {"MINE=2"};
  CalculateMacroValues(*run.tg);
  WriteDefineLines(*run.tg, personality);
  EXPECT_TRUE(run.tg->FoundDefines.empty());
  EXPECT_EQ("-d MINE=2\n", personality.str());
  EXPECT_EQ(2, run.shell.compiles);
  EXPECT_EQ(
      "\nCalculating compiler define values(1)...\n"
      "[  0%]~[100%]~\n",
      run.console.str());
}

TEST(MacroValuesStage, CrossWithoutMarkersOrObjectRecordsNothing) {
  ScratchDir scratch;
  FakeRun run(true, true);
  run.tg->PredefinedMacros = {"NUM"};
  tessel_test::WriteFakeRules("fail 'internal error'\n");
  CalculateMacroValues(*run.tg);
  EXPECT_TRUE(run.tg->FoundDefines.empty());
  EXPECT_EQ(2, run.shell.compiles);
  EXPECT_EQ(
      "\nCalculating compiler define values(1)...\n"
      "[  0%]~[100%]~\n",
      run.console.str());
}

TEST(MacroValuesStage, NativeProgramMissingPrintsAndGoesOn) {
  ScratchDir scratch;
  FakeRun run(true, false);
  run.tg->PredefinedMacros = {"BROKEN", "FINE"};
  run.tg->candidateKeywords = {"BROKEN", "FINE"};
  tessel_test::WriteFakeRules(
      "if has 'M(BROKEN)'; then fail 'error: expected expression'; fi\n"
      "if has 'M(FINE)'; then program_prints '1'; fi\n");
  CalculateMacroValues(*run.tg);
  EXPECT_EQ(Defines({"FINE=1"}), run.tg->FoundDefines);
  EXPECT_EQ(Defines({"BROKEN"}), run.tg->candidateKeywords);
  EXPECT_EQ(
      "\nCalculating compiler define values(2)...\n"
      "[  0%]~[ 50%]tmp_def_test.c failed to compile! can't find value of: "
      "BROKEN\n"
      "~[100%]~\n",
      run.console.str());
}

TEST(MacroValuesStage, NativeProgramMissingDeletesTheCaptureFiles) {
  ScratchDir scratch;
  FakeRun run(true, false);
  run.tg->PredefinedMacros = {"BROKEN"};
  tessel_test::WriteFakeRules("say_out 'note'; fail 'error: no'\n");
  CalculateMacroValues(*run.tg);
  EXPECT_FALSE(tessel_test::Exists("stdout.log"));
  EXPECT_FALSE(tessel_test::Exists("stderr.log"));
}

// A string that holds an escaped quote prints as "a\"b"; the stage has no
// way to write it, and the run ends with the out-of-range error.
TEST(MacroValuesStage, StringWithEscapedQuoteEndsTheRun) {
  ScratchDir scratch;
  FakeRun run(true, false);
  run.tg->PredefinedMacros = {"QUOTED"};
  tessel_test::WriteFakeRules("program_prints '\"a\\\"b\"'\n");
  EXPECT_THROW(CalculateMacroValues(*run.tg), std::out_of_range);
}
