// The type stage as the driver runs it, and the identifier length search,
// against the fake compiler. The scratch tree has the working directory
// "work" with the test directories beside it, as in a real run.
#include <gtest/gtest.h>

#include <sstream>

#include "probes/type_sizes.h"
#include "probes/type_test_run.h"
#include "tests/stage/types/type_fake_model.h"
#include "tests/support/test_support.h"

using tessel_test::FakeInvocations;
using tessel_test::FakeRun;
using tessel_test::Lp64Table;
using tessel_test::ReadFile;
using tessel_test::ScratchDir;
using tessel_test::TypeModelRules;
using tessel_test::WriteFakeRules;
using tessel_test::WriteFile;

namespace {

// Identifiers longer than `limit` characters collide: the compile fails.
std::string IdentifierLimitRule(int limit) {
  return "custom_rule() {\n"
         "  [[ $FAKE_TEXT =~ (int|extern\\ int)\\ (a+)[ab]\\; ]] || return 1\n"
         "  (( ${#BASH_REMATCH[2]} + 1 > " +
         std::to_string(limit) +
         " )) && fail 'error: redeclaration'\n"
         "  return 0\n"
         "}\n";
}

int CountLines(const std::vector<std::string>& lines,
               const std::string& piece) {
  int count = 0;
  for (const std::string& line : lines) {
    if (line.find(piece) != std::string::npos) {
      ++count;
    }
  }
  return count;
}

}  // namespace

TEST(TypeTestRunStage, CompilerKeepingAllCharactersNeedsOneProbeEach) {
  ScratchDir scratch;
  FakeRun run(true, false);
  std::ostringstream personality;
  FindIdentifierLength(*run.tg, personality, true);
  FindIdentifierLength(*run.tg, personality, false);
  EXPECT_EQ("-xn 16384\n-na 16384\n", personality.str());
  EXPECT_EQ(2, run.shell.compiles);
  EXPECT_EQ(
      "\nConducting External Identifier Tests...\n[  0%]~\n"
      "\nConducting Internal Identifier Tests...\n[  0%]~\n",
      run.console.str());
  const std::string a16383(16383, 'a');
  EXPECT_EQ("\nextern int " + a16383 + "a;\nextern int " + a16383 + "b;\n\n",
            ReadFile("tmp_id_e_test.c"));
  EXPECT_EQ("int main(void) {\nint " + a16383 + "a;\nint " + a16383 + "b;\n}\n",
            ReadFile("tmp_id_i_test.c"));
}

TEST(TypeTestRunStage, BinarySearchReportsLongestProbedLength) {
  ScratchDir scratch;
  FakeRun run(true, false);
  WriteFakeRules(TypeModelRules("", IdentifierLimitRule(31)));
  std::ostringstream personality;
  FindIdentifierLength(*run.tg, personality, true);
  // The search starts at 8192 and moves by 4096, 2048, ... 2 before its
  // last probe, so it probes even lengths only: a limit of 31 reads 30.
  EXPECT_EQ("-xn 30\n", personality.str());
  EXPECT_EQ(14, run.shell.compiles);
  EXPECT_EQ(
      "\nConducting External Identifier Tests...\n[  0%]~[  7%]~[ 14%]~[ 21%]"
      "~[ 28%]~[ 35%]~[ 42%]~[ 50%]~[ 57%]~[ 64%]~[ 71%]~[ 78%]~[ 85%]"
      "~[ 92%]~[100%]~\n",
      run.console.str());
}

TEST(TypeTestRunStage, InternalLimitIsSearchedApart) {
  ScratchDir scratch;
  FakeRun run(true, true);
  WriteFakeRules(TypeModelRules("", IdentifierLimitRule(6000)));
  std::ostringstream personality;
  FindIdentifierLength(*run.tg, personality, false);
  EXPECT_EQ("-na 6000\n", personality.str());
}

TEST(TypeTestRunStage, NothingCompilesGivesThree) {
  ScratchDir scratch;
  FakeRun run(true, false);
  WriteFakeRules("fail 'error'\n");
  std::ostringstream personality;
  FindIdentifierLength(*run.tg, personality, true);
  EXPECT_EQ("-xn 3\n", personality.str());
  // 16384, then 8192 down to 4, where the next length would be below 3.
  EXPECT_EQ(1 + 12, run.shell.compiles);
}

TEST(TypeTestRunStage, CppHasNoIdentifierSearchAtAll) {
  ScratchDir scratch;
  FakeRun run(false, false);
  std::ostringstream personality;
  FindIdentifierLength(*run.tg, personality, true);
  FindIdentifierLength(*run.tg, personality, false);
  EXPECT_EQ("", personality.str());
  EXPECT_EQ("", run.console.str());
  EXPECT_EQ(0, run.shell.compiles);
}

TEST(TypeTestRunStage, StageWritesLinesInOrderWithDirectoryResultsLast) {
  ScratchDir scratch("work");
  FakeRun run(true, false);
  // The fake accepts everything but sources holding "REJECT".
  WriteFakeRules(TypeModelRules(
      Lp64Table() + "",
      IdentifierLimitRule(16384) + "has REJECT && fail 'error: no'\n"));
  WriteFile("../c_tests/b_value.c",
            "/* Error:\n * Success:-zz 4\n */\nint b;\n");
  WriteFile("../c_tests/a_ext.c",
            "/* Error:\n * Success:-ex alpha beta\n */\nint a;\n");
  WriteFile("../c_tests/c_rejected.c",
            "/*Error:-no gamma\n * Success:-ex gamma\n */\nREJECT\n");
  WriteFile("../c_tests/d_same.c",
            "/* Error:\n * Success:-zz 4\n */\nint d;\n");
  WriteFile("../c_tests/e_quiet.c", "/* Error:\n * Success:\n */\nint e;\n");
  WriteFile("../c_tests/f_plain.cpp",
            "/* Error:\n * Success:-plain\n */\nint f;\n");
  WriteFile("../c_tests/notes.txt", "/* Error:\n * Success:-txt\n */\n");
  SetupBasicTypes(*run.tg);
  std::ostringstream personality;
  RunTypeTests(*run.tg, personality);
  const std::string text = personality.str();
  const std::string tail =
      "-it \"wchar_t=unsigned int\"\n"
      "-xn 16384\n"
      "-na 16384\n"
      "\"-no gamma\"\n"
      "\"-zz 4\"\n"
      "-ex alpha beta\n"
      "-plain\n";
  ASSERT_GT(text.size(), tail.size());
  EXPECT_EQ(tail, text.substr(text.size() - tail.size()));
  EXPECT_EQ(0u, text.find("-s int=32\n-a int=4\n-s char=8\n"));
  EXPECT_EQ(0u, run.console.str().find("Conduct Vell Tests...\n\n"
                                       "Conducting Scalar Type Tests(10)..."));
  EXPECT_NE(
      std::string::npos,
      ReadFile(run.tg->log.fileName()).find("[WARN] Conduct Vell Tests...\n"));
  // The six test files, each compiled once, in name order; the .txt never.
  std::vector<std::string> calls = FakeInvocations();
  ASSERT_GE(calls.size(), 6u);
  EXPECT_EQ("-c ../c_tests/a_ext.c -o../c_tests/a_ext.o", calls[0]);
  EXPECT_EQ("-c ../c_tests/f_plain.cpp -o../c_tests/f_plain.o", calls[5]);
  EXPECT_EQ(0, CountLines(calls, "notes"));
}

TEST(TypeTestRunStage, CppProductRunsCppTestsOnly) {
  ScratchDir scratch("work");
  FakeRun run(false, false);
  WriteFakeRules(TypeModelRules(Lp64Table(true)));
  WriteFile("../cpp_tests/one.cpp",
            "/* Error:\n * Success:-ex one\n */\nint a;\n");
  WriteFile("../cpp_tests/two.c", "/* Error:\n * Success:-ex two\n */\n");
  WriteFile("../c_tests/three.cpp", "/* Error:\n * Success:-ex three\n */\n");
  SetupBasicTypes(*run.tg);
  std::ostringstream personality;
  RunTypeTests(*run.tg, personality);
  const std::string text = personality.str();
  EXPECT_EQ("-it \"ptrdiff_t=signed long\"\n-ex one\n",
            text.substr(text.find("-it \"ptrdiff_t")));
  EXPECT_EQ(std::string::npos, run.console.str().find("Identifier"));
}

TEST(TypeTestRunStage, MissingTestDirectoryGivesNoDirectoryLines) {
  ScratchDir scratch("work");
  FakeRun run(true, true);
  WriteFakeRules(TypeModelRules(Lp64Table()));
  SetupBasicTypes(*run.tg);
  std::ostringstream personality;
  RunTypeTests(*run.tg, personality);
  const std::string text = personality.str();
  EXPECT_EQ("-it \"wchar_t=unsigned int\"\n-xn 16384\n-na 16384\n",
            text.substr(text.find("-it \"wchar_t")));
}

TEST(TypeTestRunStage, ListingMatchesNamesContainingTheExtension) {
  ScratchDir scratch;
  FakeRun c(true, false);
  WriteFile("tests/x.c", "");
  WriteFile("tests/y.cpp", "");
  WriteFile("tests/z.cc.bak", "");
  WriteFile("tests/w.h", "");
  std::set<std::string> expectC = {"tests/x.c", "tests/y.cpp",
                                   "tests/z.cc.bak"};
  EXPECT_EQ(expectC, ListTestDirectory(*c.tg, "tests"));
  FakeRun cpp(false, false);
  std::set<std::string> expectCpp = {"tests/y.cpp"};
  EXPECT_EQ(expectCpp, ListTestDirectory(*cpp.tg, "tests"));
  EXPECT_TRUE(ListTestDirectory(*cpp.tg, "missing").empty());
}
