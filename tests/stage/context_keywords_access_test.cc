// The C++ access classification of keywords that fit no position.
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "probes/context_keywords.h"
#include "probes/type_alignment.h"
#include "tests/support/test_support.h"

using tessel_test::FakeRun;
using tessel_test::ScratchDir;
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
