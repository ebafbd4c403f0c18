// The C++ access classification of keywords that fit no position.
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "probes/context_keywords.h"
#include "tests/stage/types/type_fake_model.h"
#include "tests/support/test_support.h"

using tessel_test::FakeRun;
using tessel_test::ReadFile;
using tessel_test::ScratchDir;
using tessel_test::TypeModelRules;
using tessel_test::WriteFakeRules;

namespace {

// A compiler for which `__pub` acts as "public", `__prot` as "protected"
// and `__priv` as "private" when written as an access specifier, and that
// rejects every other source.
const char kAccessRules[] =
    "case \"$FAKE_TEXT\" in\n"
    "  'class X {__pub:int a;};'*) ;;\n"
    "  'class X {__prot:int a;};'$'\\n''class Y'*) ;;\n"
    "  'class X {__prot:int a;};'$'\\n') ;;\n"
    "  'class X {__priv:int a;};'$'\\n') ;;\n"
    "  *) fail \"error: syntax error\" ;;\n"
    "esac\n";

// True when the access classification answers for a compiler that accepts
// everything; it is built separately from the keyword stages.
bool AccessClassificationBuilt() {
  ScratchDir scratch;
  FakeRun run(false, false);
  WriteFakeRules("");
  return !ClassifyAccessKeyword(*run.tg, "__probe").empty();
}

}  // namespace

TEST(ContextKeywordsAccessStage, CppKeywordActingAsAccessSpecifierIsReplaced) {
  if (!AccessClassificationBuilt()) {
    GTEST_SKIP() << "skipped: access keyword classification not built yet";
  }
  ScratchDir scratch("work");
  FakeRun run(false, false);
  WriteFakeRules(kAccessRules);
  run.tg->languageKeywords = {"private"};
  run.tg->extensionKeywordsFound = {"__priv", "__prot", "__pub", "__other"};
  ContextKeywordFindings found = DecideContextKeywords(*run.tg, false);
  // The access classification wins over the decorated spelling.
  EXPECT_EQ(std::set<std::string>(
                {"-sd \"__priv=private\"", "-sd \"__prot=protected\"",
                 "-sd \"__pub=public\"",
                 "-sd \"_kiv_null_expression=0 kiv_ignore_paren\"",
                 "-sd __other=", "-sd kiv_ignore_paren=_ignore_paren"}),
            found.lines);
  EXPECT_EQ(std::vector<std::string>({"-sd __other="}), run.tg->ReviewLines);
}

TEST(ContextKeywordsAccessStage, CNeverTriesTheAccessClassification) {
  ScratchDir scratch("work");
  FakeRun run(true, false);
  WriteFakeRules(kAccessRules);
  run.tg->extensionKeywordsFound = {"__pub"};
  ContextKeywordFindings found = DecideContextKeywords(*run.tg, false);
  EXPECT_EQ(
      std::set<std::string>({"-d \"_kiv_null_expression=0 kiv_ignore_paren\"",
                             "-d __pub=", "-d kiv_ignore_paren=_ignore_paren"}),
      found.lines);
  EXPECT_EQ(0, run.shell.compiles);
}

TEST(ContextKeywordsAccessStage, AccessKeywordPublicNeedsTwoCompiles) {
  ScratchDir scratch;
  FakeRun run(false, true);
  WriteFakeRules(TypeModelRules("", "custom_rule() { return 0; }\n"));
  EXPECT_EQ("public", ClassifyAccessKeyword(*run.tg, "__published"));
  EXPECT_EQ(2, run.shell.compiles);
  EXPECT_EQ(
      "class X {__published:int a;};\n----\n"
      "class X {__published:int a;};\nX x;\nint main() {x.a = 3;}\n----\n",
      ReadFile("sources.log"));
}

TEST(ContextKeywordsAccessStage,
     AccessKeywordProtectedReachedFromDerivedClass) {
  ScratchDir scratch;
  FakeRun run(false, true);
  WriteFakeRules(TypeModelRules(
      "",
      "custom_rule() { has 'x.a = 3' && fail 'error: protected'; "
      "return 0; }\n"));
  EXPECT_EQ("protected", ClassifyAccessKeyword(*run.tg, "prot"));
  EXPECT_EQ(3, run.shell.compiles);
  EXPECT_NE(std::string::npos,
            ReadFile("sources.log")
                .find("class X {prot:int a;};\nclass Y : public X {void "
                      "x(void) {int b = a;}};\n----\n"));
}

TEST(ContextKeywordsAccessStage, AccessKeywordPrivateWhenNothingReachesIt) {
  ScratchDir scratch;
  FakeRun run(false, true);
  WriteFakeRules(
      "has 'x.a = 3' && fail 'error: private'\n"
      "has 'int b = a' && fail 'error: private'\n");
  EXPECT_EQ("private", ClassifyAccessKeyword(*run.tg, "priv"));
  EXPECT_EQ(3, run.shell.compiles);
}

TEST(ContextKeywordsAccessStage, AccessKeywordEmptyWhenItCannotStandThere) {
  ScratchDir scratch;
  FakeRun run(false, true);
  WriteFakeRules("fail 'error: expected member name'\n");
  EXPECT_EQ("", ClassifyAccessKeyword(*run.tg, "__int64"));
  EXPECT_EQ(1, run.shell.compiles);
}
