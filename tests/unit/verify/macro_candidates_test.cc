#include "verify/macro_candidates.h"

#include <gtest/gtest.h>

TEST(MacroCandidates, StringsGiveIdentifiersAndReservedFormats) {
  CompilerStrings strings;
  collect_string("__%s_HAS_DENORM__", &strings);
  collect_string("-D__%s_MAX__=%s", &strings);
  collect_string("__%s_", &strings);
  collect_string("FP_FAST_%s", &strings);
  collect_string("__x%s", &strings);
  EXPECT_EQ((std::set<std::string>{"__", "s_HAS_DENORM__", "D__", "s_MAX__",
                                   "s", "s_", "FP_FAST_", "__x", "__"}),
            strings.identifiers);
  ASSERT_EQ(2u, strings.formats.size());
  EXPECT_EQ("__", strings.formats.begin()->prefix);
  EXPECT_EQ("_HAS_DENORM__", strings.formats.begin()->suffix);
  EXPECT_EQ("_MAX__", strings.formats.rbegin()->suffix);
}

TEST(MacroCandidates, DriverDefinesGiveTheirNames) {
  CompilerStrings strings;
  collect_string("-D__amd64__ -D__STDC__=1 -D1", &strings);
  EXPECT_EQ(1u, strings.identifiers.count("__amd64__"));
  EXPECT_EQ(1u, strings.identifiers.count("__STDC__"));
  EXPECT_EQ(1u, strings.identifiers.count("D__amd64__"));
}

TEST(MacroCandidates, FormatsAreFilledWithTheStemsOfKnownNames) {
  const std::set<NameFormat> formats{{"__", "_HAS_DENORM__"}, {"__", "_MAX__"}};
  const std::set<std::string> known{"__FLT16_MAX__", "__DBL_HAS_DENORM__",
                                    "__MAX__", "FLT_MAX", "__int_least8_MAX__"};
  EXPECT_EQ((std::set<std::string>{"__DBL_MAX__", "__FLT16_HAS_DENORM__"}),
            format_names(formats, known));
}

TEST(MacroCandidates, ValuesThatChangeWithEachUseAreKnown) {
  for (const char* name : {"__LINE__", "__FILE__", "__COUNTER__", "__DATE__",
                           "__TIME__", "__TIMESTAMP__", "__INCLUDE_LEVEL__",
                           "__BASE_FILE__", "__FILE_NAME__"}) {
    EXPECT_TRUE(is_varying_macro(name)) << name;
  }
  EXPECT_FALSE(is_varying_macro("__STDC__"));
}

TEST(MacroCandidates, NeighbouringStemsFormRuns) {
  CompilerStrings strings;
  for (const char* text :
       {"FLT", "LDBL", "UQQ", "UHA", "a b", "AB", "CD", "x", "Q", "QQ"}) {
    collect_string(text, &strings);
  }
  end_strings(&strings);
  EXPECT_EQ(
      (std::vector<std::vector<std::string>>{{"FLT", "LDBL", "UQQ", "UHA"}}),
      strings.stem_runs);
  EXPECT_TRUE(strings.open_run.empty());
}

TEST(MacroCandidates, ARunWithAFoundStemGivesAllItsMembers) {
  const std::set<NameFormat> formats{{"__", "_FBIT__"}};
  const std::set<std::string> known{"__FLT_FBIT__"};
  const std::vector<std::vector<std::string>> runs{
      {"FLT", "LDBL", "UQQ", "UHA"}, {"ABC", "DEF", "GHI"}};
  EXPECT_EQ(
      (std::set<std::string>{"__LT_FBIT__", "__LDBL_FBIT__", "__UQQ_FBIT__",
                             "__QQ_FBIT__", "__UHA_FBIT__", "__HA_FBIT__"}),
      format_names(formats, known, runs));
}

TEST(MacroCandidates, AFormatTailTakesEachIntegerConversion) {
  CompilerStrings strings;
  collect_string("_FMT", &strings);
  collect_string("_TYPE__", &strings);
  const std::set<std::string> known{"__INT_FAST8_TYPE__"};
  EXPECT_EQ((std::set<std::string>{"__INT_FAST8_FMT", "__INT_FAST8_FMTd__",
                                   "__INT_FAST8_FMTi__", "__INT_FAST8_FMTo__",
                                   "__INT_FAST8_FMTu__", "__INT_FAST8_FMTx__",
                                   "__INT_FAST8_FMTX__"}),
            fragment_names(strings, known));
}
