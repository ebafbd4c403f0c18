#include "probes/context_keywords.h"

#include <gtest/gtest.h>

#include "tests/support/test_support.h"

using tessel_test::FakeRun;
using tessel_test::ScratchDir;

TEST(ContextKeywords, TrimmedRemovesOuterUnderscoresOnly) {
  EXPECT_EQ("inline", trimmed("__inline__"));
  EXPECT_EQ("a_b", trimmed("_a_b_"));
  EXPECT_EQ("far", trimmed("far"));
  EXPECT_EQ("", trimmed("___"));
  EXPECT_EQ("", trimmed(""));
}

TEST(ContextKeywords, DecoratedStandardKeywordGivesTheStandardSpelling) {
  ScratchDir scratch;
  FakeRun run(true, false);
  run.tg->languageKeywords = {"const", "inline"};
  std::string standard = "unchanged";
  EXPECT_TRUE(decoratedStandardKeyword(*run.tg, "__const", &standard));
  EXPECT_EQ("const", standard);
  EXPECT_TRUE(decoratedStandardKeyword(*run.tg, "inline__", &standard));
  EXPECT_EQ("inline", standard);
  EXPECT_TRUE(decoratedStandardKeyword(*run.tg, "__inline__", nullptr));
}

TEST(ContextKeywords, UndecoratedOrUnknownWordsAreNotStandardKeywords) {
  ScratchDir scratch;
  FakeRun run(true, false);
  run.tg->languageKeywords = {"const", "c_onst"};
  std::string standard = "unchanged";
  EXPECT_FALSE(decoratedStandardKeyword(*run.tg, "const", &standard));
  EXPECT_FALSE(decoratedStandardKeyword(*run.tg, "c_onst", &standard));
  EXPECT_FALSE(decoratedStandardKeyword(*run.tg, "__far", &standard));
  EXPECT_FALSE(decoratedStandardKeyword(*run.tg, "", &standard));
  EXPECT_EQ("unchanged", standard);
}
