#include "probes/context_keywords.h"

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/test_support.h"

using tessel_test::FakeInvocations;
using tessel_test::FakeRun;
using tessel_test::Lines;
using tessel_test::ReadFile;
using tessel_test::ScratchDir;
using tessel_test::WriteFakeRules;
using tessel_test::WriteFile;

namespace {

using LineSet = std::set<std::string>;

const char kFixedC1[] = "-d \"_kiv_null_expression=0 kiv_ignore_paren\"";
const char kFixedC2[] = "-d kiv_ignore_paren=_ignore_paren";

// Writes one position test into `dir` (relative to the work directory):
// the comment header with the verdict, then `body`.
void WriteKeywordTest(const std::string& dir, const std::string& name,
                      const std::string& verdict, const std::string& body) {
  WriteFile(dir + "/" + name,
            "/*\nSuccess:" + verdict + "\n*/\n" + body + "\n");
}

// Rules for a compiler that accepts exactly the listed "file:keyword"
// pairs, the keyword being the value of the macro XXX.
std::string RulesAccepting(const std::vector<std::string>& pairs) {
  std::string rules = "k=$(define_value XXX)\ncase \"${FAKE_SRC##*/}:$k\" in\n";
  for (const std::string& pair : pairs) {
    rules += "  '" + pair + "') ;;\n";
  }
  return rules + "  *) fail \"error: syntax error\" ;;\nesac\n";
}

// The log lines of the run without their stamps.
std::vector<std::string> LogTexts(const FakeRun& run) {
  std::vector<std::string> texts;
  for (const std::string& line : Lines(ReadFile(run.tg->log.fileName()))) {
    texts.push_back(line.size() > 14 ? line.substr(14) : line);
  }
  return texts;
}

bool Logged(const FakeRun& run, const std::string& text) {
  for (const std::string& line : LogTexts(run)) {
    if (line == text) {
      return true;
    }
  }
  return false;
}

// The position tests shared by most cases below.
void WriteStandardTests(const std::string& dir) {
  WriteKeywordTest(dir, "k1_register.c", "decl", "int r = XXX; XXX = r;");
  WriteKeywordTest(dir, "k2_paren.c", "kiv_ignore_paren", "int v XXX((x));");
  WriteKeywordTest(dir, "k3_qualifier.c", "", "const XXX int v = 1;");
  WriteKeywordTest(dir, "k4_type.c", "type", "XXX v;");
}

}  // namespace

TEST(ContextKeywordsStage, NoKeywordsWriteOnlyTheTwoFixedLines) {
  ScratchDir scratch("work");
  FakeRun run(true, false);
  std::ostringstream personality;
  ScanContextKeywords(*run.tg, personality, false);
  EXPECT_EQ(std::string(kFixedC1) + "\n" + kFixedC2 + "\n", personality.str());
  EXPECT_TRUE(Logged(run, "[INFO] Conducting Keyword Tests"));
  EXPECT_EQ(0, run.shell.compiles);
}

TEST(ContextKeywordsStage, CppFixedLinesUseTheCppDefinePrefix) {
  ScratchDir scratch("work");
  FakeRun run(false, false);
  std::ostringstream personality;
  ScanContextKeywords(*run.tg, personality, false);
  EXPECT_EQ(
      "-sd \"_kiv_null_expression=0 kiv_ignore_paren\"\n"
      "-sd kiv_ignore_paren=_ignore_paren\n",
      personality.str());
}

TEST(ContextKeywordsStage, ContextModeUsesItsOwnDirectoryAndNoFixedLines) {
  ScratchDir scratch("work");
  FakeRun run(true, false);
  WriteKeywordTest("../c_keyword_tests", "a.c", "plain", "XXX");
  WriteKeywordTest("../c_context_keyword_tests", "a.c", "context", "XXX");
  WriteFakeRules(RulesAccepting({"a.c:__k"}));
  run.tg->extensionKeywordsFound = {"__k"};
  ContextKeywordFindings found = DecideContextKeywords(*run.tg, true);
  EXPECT_EQ(LineSet({"-d \"__k=context\""}), found.lines);
  EXPECT_TRUE(Logged(run, "[INFO] Conducting Context Dependent Keyword Tests"));
}

TEST(ContextKeywordsStage, FirstTestThatCompilesDecidesAndEndsTheTests) {
  ScratchDir scratch("work");
  FakeRun run(true, false);
  const std::string dir = "../c_keyword_tests";
  WriteKeywordTest(dir, "a_first.c", "first", "XXX");
  WriteKeywordTest(dir, "b_second.c", "second", "XXX");
  WriteKeywordTest(dir, "c_third.c", "third", "XXX");
  WriteFakeRules(RulesAccepting(
      {"a_first.c:__one", "b_second.c:__one", "b_second.c:__two"}));
  run.tg->extensionKeywordsFound = {"__one", "__two"};
  ContextKeywordFindings found = DecideContextKeywords(*run.tg, false);
  EXPECT_EQ(LineSet({"-d \"__one=first\"", "-d \"__two=second\"", kFixedC1,
                     kFixedC2}),
            found.lines);
  EXPECT_EQ(
      std::vector<std::string>({"-c -DXXX=__one ../c_keyword_tests/a_first.c "
                                "-o../c_keyword_tests/a_first.o",
                                "-c -DXXX=__two ../c_keyword_tests/a_first.c "
                                "-o../c_keyword_tests/a_first.o",
                                "-c -DXXX=__two ../c_keyword_tests/b_second.c "
                                "-o../c_keyword_tests/b_second.o"}),
      FakeInvocations());
  EXPECT_EQ("[  0%]~[ 50%]~[100%]~\n", run.console.str());
}

TEST(ContextKeywordsStage, TypeVerdictOnlyHandsTheKeywordToTheTypePass) {
  ScratchDir scratch("work");
  FakeRun run(true, false);
  WriteStandardTests("../c_keyword_tests");
  WriteFakeRules(RulesAccepting({"k4_type.c:__int99"}));
  run.tg->extensionKeywordsFound = {"__int99"};
  ContextKeywordFindings found = DecideContextKeywords(*run.tg, false);
  EXPECT_EQ(LineSet({kFixedC1, kFixedC2}), found.lines);
  EXPECT_EQ(std::set<std::string>({"__int99"}), found.typeKeywords);
  EXPECT_TRUE(run.tg->extensionKeywords.empty());
  EXPECT_TRUE(run.tg->ReviewLines.empty());
}

TEST(ContextKeywordsStage, CVerdictBecomesAQuotedDefineAfterExtensionLookups) {
  ScratchDir scratch("work");
  FakeRun run(true, false);
  WriteStandardTests("../c_keyword_tests");
  WriteFakeRules(
      RulesAccepting({"k3_qualifier.c:__far", "k2_paren.c:__attr__"}));
  run.tg->extensionKeywordsFound = {"__far", "__attr__"};
  ContextKeywordFindings found = DecideContextKeywords(*run.tg, false);
  EXPECT_EQ(LineSet({"-d \"__attr__=kiv_ignore_paren\"", "-d \"__far=\"",
                     kFixedC1, kFixedC2}),
            found.lines);
  // Every lookup leaves an empty entry behind.
  EXPECT_EQ((std::map<std::string, std::string>{
                {"__attr__", ""}, {"__far", ""}, {"attr", ""}, {"far", ""}}),
            run.tg->extensionKeywords);
}

TEST(ContextKeywordsStage, CDeclVerdictDeclaresARegisterIdentifier) {
  ScratchDir scratch("work");
  FakeRun run(true, false);
  WriteStandardTests("../c_keyword_tests");
  WriteFakeRules(RulesAccepting({"k1_register.c:PORTB", "k1_register.c:ACC"}));
  run.tg->extensionKeywordsFound = {"PORTB", "ACC"};
  ContextKeywordFindings found = DecideContextKeywords(*run.tg, false);
  EXPECT_EQ(LineSet({kFixedC1, kFixedC2}), found.lines);
  EXPECT_TRUE(run.tg->writeDefaultForceInclude);
  EXPECT_EQ(std::set<std::string>({"ACC", "PORTB"}),
            run.tg->registerIdentifiers);
}

TEST(ContextKeywordsStage, CDecoratedStandardKeywordsSortedAndUnique) {
  ScratchDir scratch("work");
  FakeRun run(true, false);
  WriteStandardTests("../c_keyword_tests");
  WriteFakeRules(
      RulesAccepting({"k3_qualifier.c:__inline", "k3_qualifier.c:__inline__"}));
  run.tg->languageKeywords = {"inline"};
  run.tg->extensionKeywords = {{"inline", "inline"}};
  run.tg->extensionKeywordsFound = {"__inline", "__inline__"};
  std::ostringstream personality;
  ScanContextKeywords(*run.tg, personality, false);
  EXPECT_EQ(
      "-d \"__inline=inline\"\n"
      "-d \"__inline__=inline\"\n"
      "-d \"_kiv_null_expression=0 kiv_ignore_paren\"\n"
      "-d kiv_ignore_paren=_ignore_paren\n"
      "-ex inline\n",
      personality.str());
}

TEST(ContextKeywordsStage, CDecoratedKeywordWithoutExtensionEntryIsDone) {
  ScratchDir scratch("work");
  FakeRun run(true, false);
  WriteStandardTests("../c_keyword_tests");
  WriteFakeRules(RulesAccepting({"k1_register.c:__const__"}));
  run.tg->languageKeywords = {"const"};
  run.tg->extensionKeywordsFound = {"__const__"};
  ContextKeywordFindings found = DecideContextKeywords(*run.tg, false);
  // The "decl" verdict does not apply once the stripped define is out.
  EXPECT_EQ(LineSet({"-d \"__const__=const\"", kFixedC1, kFixedC2}),
            found.lines);
  EXPECT_FALSE(run.tg->writeDefaultForceInclude);
  EXPECT_EQ((std::map<std::string, std::string>{{"const", ""}}),
            run.tg->extensionKeywords);
}

TEST(ContextKeywordsStage, CExtensionEntryOfTheKeywordGivesOnlyTheExLine) {
  ScratchDir scratch("work");
  FakeRun run(true, false);
  WriteStandardTests("../c_keyword_tests");
  WriteFakeRules(RulesAccepting({"k3_qualifier.c:__near"}));
  run.tg->extensionKeywords = {{"__near", "near_kw"}};
  run.tg->extensionKeywordsFound = {"__near"};
  ContextKeywordFindings found = DecideContextKeywords(*run.tg, false);
  EXPECT_EQ(LineSet({"-ex near_kw", kFixedC1, kFixedC2}), found.lines);
  EXPECT_EQ(
      (std::map<std::string, std::string>{{"__near", "near_kw"}, {"near", ""}}),
      run.tg->extensionKeywords);
}

TEST(ContextKeywordsStage, CExtensionEntryOfTheTrimmedKeywordAddsADefine) {
  ScratchDir scratch("work");
  FakeRun run(true, false);
  WriteStandardTests("../c_keyword_tests");
  WriteFakeRules(RulesAccepting({"k1_register.c:__far"}));
  run.tg->extensionKeywords = {{"far", "far"}};
  run.tg->extensionKeywordsFound = {"__far"};
  ContextKeywordFindings found = DecideContextKeywords(*run.tg, false);
  EXPECT_EQ(LineSet({"-d \"__far=far\"", "-ex far", kFixedC1, kFixedC2}),
            found.lines);
  EXPECT_FALSE(run.tg->writeDefaultForceInclude);
}

TEST(ContextKeywordsStage, CppVerdictsNeverConsultExtensionKeywords) {
  ScratchDir scratch("work");
  FakeRun run(false, false);
  const std::string dir = "../cpp_keyword_tests";
  WriteKeywordTest(dir, "k1_register.cpp", "decl", "XXX = 1;");
  WriteKeywordTest(dir, "k2_paren.cpp", "kiv_ignore_paren", "XXX((x))");
  WriteKeywordTest(dir, "k3_qualifier.cpp", "", "const XXX int v = 1;");
  WriteFakeRules(
      RulesAccepting({"k1_register.cpp:SFR1", "k2_paren.cpp:__attribute__",
                      "k3_qualifier.cpp:__inline", "k3_qualifier.cpp:__far"}));
  run.tg->languageKeywords = {"inline"};
  run.tg->extensionKeywords = {{"inline", "inline"}, {"far", "far"}};
  run.tg->extensionKeywordsFound = {"SFR1", "__attribute__", "__far",
                                    "__inline"};
  ContextKeywordFindings found = DecideContextKeywords(*run.tg, false);
  EXPECT_EQ(LineSet({"-sd \"__attribute__=kiv_ignore_paren\"", "-sd \"__far=\"",
                     "-sd \"__inline=inline\"",
                     "-sd \"_kiv_null_expression=0 kiv_ignore_paren\"",
                     "-sd kiv_ignore_paren=_ignore_paren"}),
            found.lines);
  EXPECT_EQ((std::map<std::string, std::string>{{"inline", "inline"},
                                                {"far", "far"}}),
            run.tg->extensionKeywords);
  EXPECT_TRUE(run.tg->writeDefaultForceInclude);
  EXPECT_EQ(std::set<std::string>({"SFR1"}), run.tg->registerIdentifiers);
}

TEST(ContextKeywordsStage, BuiltinsTakeTheirReplacementWithoutTests) {
  ScratchDir scratch("work");
  FakeRun run(true, false);
  WriteStandardTests("../c_keyword_tests");
  WriteFakeRules("");
  run.tg->builtinReplaceKeywords = {
      {"__builtin_va_list", "__builtin_va_list=char*"},
      {"my_builtin_x", "my_builtin_x=0"}};
  run.tg->extensionKeywordsFound = {"__builtin_va_list", "__builtin_other",
                                    "my_builtin_x"};
  ContextKeywordFindings found = DecideContextKeywords(*run.tg, false);
  EXPECT_EQ(LineSet({"-d __builtin_va_list=char*", "-d my_builtin_x=0",
                     kFixedC1, kFixedC2}),
            found.lines);
  EXPECT_EQ(0, run.shell.compiles);
  EXPECT_EQ(1u, run.tg->builtinReplaceKeywords.count("__builtin_other"));
  EXPECT_EQ("", run.tg->builtinReplaceKeywords["__builtin_other"]);
  EXPECT_TRUE(run.tg->ReviewLines.empty());
}

TEST(ContextKeywordsStage, CKeywordThatFitsNowhereIsReplacedOrReviewed) {
  ScratchDir scratch("work");
  FakeRun run(true, false);
  // No test directory: no position can compile.
  run.tg->languageKeywords = {"volatile"};
  run.tg->replaceKeywords = {{"__str", "_KIV_STRINGIFY(x)"},
                             {"__seg", "__far"}};
  run.tg->extensionKeywordsFound = {"__weird", "__str", "__seg", "__volatile"};
  std::ostringstream personality;
  ScanContextKeywords(*run.tg, personality, false);
  EXPECT_EQ(
      "-d \"__volatile=volatile\"\n"
      "-d \"_kiv_null_expression=0 kiv_ignore_paren\"\n"
      "-d _KIV_STRINGIFY(x)=#x\n"
      "-d __seg=__far\n"
      "-d __str=_KIV_STRINGIFY(x)\n"
      "-d __weird=\n"
      "-d kiv_ignore_paren=_ignore_paren\n",
      personality.str());
  EXPECT_EQ(std::vector<std::string>({"-d __weird="}), run.tg->ReviewLines);
  EXPECT_EQ(
      (std::map<std::string, std::string>{
          {"__seg", "__far"}, {"__str", "_KIV_STRINGIFY(x)"}, {"__weird", ""}}),
      run.tg->replaceKeywords);
  EXPECT_EQ(0, run.shell.compiles);
}

TEST(ContextKeywordsStage, CppKeywordThatFitsNowhereIsReviewed) {
  ScratchDir scratch("work");
  FakeRun run(false, false);
  WriteFakeRules("fail \"error: syntax error\"\n");
  run.tg->extensionKeywordsFound = {"__weird"};
  ContextKeywordFindings found = DecideContextKeywords(*run.tg, false);
  EXPECT_EQ(LineSet({"-sd \"_kiv_null_expression=0 kiv_ignore_paren\"",
                     "-sd __weird=", "-sd kiv_ignore_paren=_ignore_paren"}),
            found.lines);
  EXPECT_EQ(std::vector<std::string>({"-sd __weird="}), run.tg->ReviewLines);
}

TEST(ContextKeywordsStage, CppReservedWordsAreRemovedBeforeTheTests) {
  ScratchDir scratch("work");
  FakeRun run(false, false);
  WriteKeywordTest("../cpp_keyword_tests", "k.cpp", "", "XXX");
  WriteFakeRules(RulesAccepting({"k.cpp:__kw"}));
  run.tg->ignoreReservedWords = {"alignas", "unused"};
  run.tg->extensionKeywordsFound = {"alignas", "__kw"};
  ContextKeywordFindings found = DecideContextKeywords(*run.tg, false);
  EXPECT_EQ(std::set<std::string>({"__kw"}), run.tg->extensionKeywordsFound);
  EXPECT_EQ(
      std::vector<std::string>({"-c -DXXX=__kw ../cpp_keyword_tests/k.cpp "
                                "-o../cpp_keyword_tests/k.o"}),
      FakeInvocations());
  EXPECT_EQ("[  0%]~[100%]~\n", run.console.str());
}

TEST(ContextKeywordsStage, CKeepsReservedWordsAndTestsThem) {
  ScratchDir scratch("work");
  FakeRun run(true, false);
  WriteKeywordTest("../c_keyword_tests", "k.c", "", "XXX");
  WriteFakeRules(RulesAccepting({"k.c:__kw", "k.c:alignas"}));
  run.tg->ignoreReservedWords = {"alignas"};
  run.tg->extensionKeywordsFound = {"alignas", "__kw"};
  ContextKeywordFindings found = DecideContextKeywords(*run.tg, false);
  EXPECT_EQ(LineSet({"-d \"__kw=\"", "-d \"alignas=\"", kFixedC1, kFixedC2}),
            found.lines);
}
