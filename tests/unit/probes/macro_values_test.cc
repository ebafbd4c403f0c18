#include "probes/macro_values.h"

#include <gtest/gtest.h>

#include <set>
#include <sstream>
#include <stdexcept>
#include <string>

#include "tests/support/test_support.h"

using tessel_test::FakeRun;
using tessel_test::ScratchDir;

using Defines = std::set<std::string>;

TEST(MacroValues, BlanksAroundTheValueAreStripped) {
  ScratchDir scratch;
  FakeRun run(true, false);
  EXPECT_TRUE(RecordMacroValue(*run.tg, "  42  ", "ANSWER"));
  EXPECT_EQ(Defines({"ANSWER=42"}), run.tg->FoundDefines);
}

TEST(MacroValues, TabsAndNewlinesAreNotStripped) {
  ScratchDir scratch;
  FakeRun run(true, false);
  EXPECT_TRUE(RecordMacroValue(*run.tg, "\t7\n", "SEVEN"));
  EXPECT_EQ(Defines({"SEVEN=\t7\n"}), run.tg->FoundDefines);
}

TEST(MacroValues, EmptyValueRecordsTheNameAndEqualsSign) {
  ScratchDir scratch;
  FakeRun run(true, false);
  EXPECT_TRUE(RecordMacroValue(*run.tg, "", "EMPTY"));
  EXPECT_TRUE(RecordMacroValue(*run.tg, "    ", "BLANKS"));
  EXPECT_EQ(Defines({"BLANKS=", "EMPTY="}), run.tg->FoundDefines);
}

TEST(MacroValues, ValueWithABlankIsQuotedWhole) {
  ScratchDir scratch;
  FakeRun run(true, false);
  EXPECT_TRUE(RecordMacroValue(*run.tg, " 1 + 2 ", "SUM"));
  EXPECT_EQ(Defines({"\"SUM=1 + 2\""}), run.tg->FoundDefines);
}

TEST(MacroValues, ValueEqualToTheNameRecordsNothing) {
  ScratchDir scratch;
  FakeRun run(true, false);
  run.tg->candidateKeywords = {"SELF", "other"};
  EXPECT_FALSE(RecordMacroValue(*run.tg, " SELF ", "SELF"));
  EXPECT_TRUE(run.tg->FoundDefines.empty());
  EXPECT_EQ(Defines({"SELF", "other"}), run.tg->candidateKeywords);
  EXPECT_EQ("", run.console.str());
}

TEST(MacroValues, RecordedNameLeavesTheCandidates) {
  ScratchDir scratch;
  FakeRun run(true, false);
  run.tg->candidateKeywords = {"FOUND", "other"};
  EXPECT_TRUE(RecordMacroValue(*run.tg, "1", "FOUND"));
  EXPECT_EQ(Defines({"other"}), run.tg->candidateKeywords);
}

TEST(MacroValues, OddQuoteCountCutsBeforeTheLastQuote) {
  ScratchDir scratch;
  FakeRun run(true, false);
  EXPECT_TRUE(RecordMacroValue(*run.tg, "abc\"def", "CUT"));
  EXPECT_TRUE(RecordMacroValue(*run.tg, "\"4.7\"x\"y", "TAIL"));
  EXPECT_EQ(
      Defines({"CUT=abc", "TAIL=_KIV_STRINGIFY(4.7)x", "_KIV_STRINGIFY(x)=#x"}),
      run.tg->FoundDefines);
}

TEST(MacroValues, OddQuoteCountCanLeaveTheName) {
  ScratchDir scratch;
  FakeRun run(true, false);
  EXPECT_FALSE(RecordMacroValue(*run.tg, "NAME\"", "NAME"));
  EXPECT_TRUE(run.tg->FoundDefines.empty());
}

TEST(MacroValues, StringValueBecomesAStringifyCall) {
  ScratchDir scratch;
  FakeRun run(true, false);
  EXPECT_TRUE(RecordMacroValue(*run.tg, "\"4.7\"", "VERSION"));
  EXPECT_EQ(Defines({"VERSION=_KIV_STRINGIFY(4.7)", "_KIV_STRINGIFY(x)=#x"}),
            run.tg->FoundDefines);
}

TEST(MacroValues, EscapedQuotesBecomeAStringifyCall) {
  ScratchDir scratch;
  FakeRun run(true, false);
  EXPECT_TRUE(RecordMacroValue(*run.tg, " \\\"12.2.0\\\" ", "__VERSION__"));
  EXPECT_EQ(
      Defines({"_KIV_STRINGIFY(x)=#x", "__VERSION__=_KIV_STRINGIFY(12.2.0)"}),
      run.tg->FoundDefines);
}

TEST(MacroValues, EscapedQuotesInsideAStringNestTwoCalls) {
  ScratchDir scratch;
  FakeRun run(true, false);
  EXPECT_TRUE(RecordMacroValue(*run.tg, "\"a\\\"b\\\"\"", "NEST"));
  EXPECT_EQ(Defines({"NEST=_KIV_STRINGIFY(a_KIV_STRINGIFY(b))",
                     "_KIV_STRINGIFY(x)=#x"}),
            run.tg->FoundDefines);
}

TEST(MacroValues, StringWithABlankIsQuotedWhole) {
  ScratchDir scratch;
  FakeRun run(true, false);
  EXPECT_TRUE(RecordMacroValue(*run.tg, "\"gcc 12\"", "NAME"));
  EXPECT_EQ(
      Defines({"\"NAME=_KIV_STRINGIFY(gcc 12)\"", "_KIV_STRINGIFY(x)=#x"}),
      run.tg->FoundDefines);
}

TEST(MacroValues, FuncWithoutItsNameIsRecordedAsFunc) {
  ScratchDir scratch;
  FakeRun run(true, false);
  EXPECT_TRUE(RecordMacroValue(*run.tg, "\"main\"", "__func__"));
  EXPECT_EQ(Defines({"__func__=__func__"}), run.tg->FoundDefines);
}

TEST(MacroValues, FuncThatMentionsItselfKeepsItsValue) {
  ScratchDir scratch;
  FakeRun run(true, false);
  EXPECT_TRUE(RecordMacroValue(*run.tg, "(__func__)", "__func__"));
  EXPECT_FALSE(RecordMacroValue(*run.tg, "__func__", "__func__"));
  EXPECT_EQ(Defines({"__func__=(__func__)"}), run.tg->FoundDefines);
}

// A string that holds an escaped quote prints as "a\"b": its odd quote is
// cut, and the escaped quote left has no partner. The run ends there.
TEST(MacroValues, EscapedQuoteWithoutPartnerEndsTheRunOutOfRange) {
  ScratchDir scratch;
  FakeRun run(true, false);
  EXPECT_THROW(RecordMacroValue(*run.tg, "\"a\\\"b\"", "ODD"),
               std::out_of_range);
  EXPECT_THROW(RecordMacroValue(*run.tg, "\\\"abc\"", "ODD"),
               std::out_of_range);
  EXPECT_EQ(Defines({"_KIV_STRINGIFY(x)=#x"}), run.tg->FoundDefines);
}

TEST(MacroValues, UndeterminedDefinePrintsTwoLines) {
  ScratchDir scratch;
  FakeRun run(true, false);
  print_undetermined_define(*run.tg, "ODD");
  EXPECT_EQ(
      "define \"ODD\" couldn't be determined from the output from compiler.\n"
      "Please contact Corvane.\n",
      run.console.str());
}

TEST(MacroValues, UserDefinesComeFirstAsTyped) {
  ScratchDir scratch;
  FakeRun run(true, false);
  run.tg->implicitDefines = {"ZED=1", "ALPHA", "ZED=1"};
  run.tg->FoundDefines = {"AAA=1", "\"SUM=1 + 2\"", "_KIV_STRINGIFY(x)=#x",
                          "BBB=_KIV_STRINGIFY(b)"};
  std::ostringstream personality;
  WriteDefineLines(*run.tg, personality);
  EXPECT_EQ(
      "-d ZED=1\n"
      "-d ALPHA\n"
      "-d ZED=1\n"
      "-d \"SUM=1 + 2\"\n"
      "-d AAA=1\n"
      "-d BBB=_KIV_STRINGIFY(b)\n"
      "-d _KIV_STRINGIFY(x)=#x\n",
      personality.str());
}

TEST(MacroValues, CppDefineLinesUseTheCppPrefix) {
  ScratchDir scratch;
  FakeRun run(false, false);
  run.tg->implicitDefines = {"MINE"};
  run.tg->FoundDefines = {"A=1"};
  std::ostringstream personality;
  WriteDefineLines(*run.tg, personality);
  EXPECT_EQ("-sd MINE\n-sd A=1\n", personality.str());
}
