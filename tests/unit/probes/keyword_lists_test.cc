#include "probes/keyword_lists.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <map>
#include <set>
#include <sstream>
#include <string>

#include "tests/support/test_support.h"

using tessel_test::FakeRun;
using tessel_test::ReadFile;
using tessel_test::ScratchDir;
using tessel_test::WriteFile;

using StringSet = std::set<std::string>;
using StringMap = std::map<std::string, std::string>;

TEST(KeywordLists, PathsAreConfigSlashFileName) {
  EXPECT_EQ("config/ignore_keywords.txt", kIgnoreKeywordsPath);
  EXPECT_EQ("config/ignore_reserved_words.txt", kIgnoreReservedWordsPath);
  EXPECT_EQ("config/c_keywords.txt", kCKeywordsPath);
  EXPECT_EQ("config/cpp_keywords.txt", kCppKeywordsPath);
  EXPECT_EQ("config/c_replace_keywords.txt", kCReplaceKeywordsPath);
  EXPECT_EQ("config/cpp_replace_keywords.txt", kCppReplaceKeywordsPath);
  EXPECT_EQ("config/vell_extension_keywords.txt", kExtensionKeywordsPath);
  EXPECT_EQ("config/builtin_replace_keywords.txt", kBuiltinReplaceKeywordsPath);
  EXPECT_EQ("config/context_keywords.txt", kContextKeywordsPath);
}

TEST(KeywordLists, ListDropsCarriageReturnsAndKeepsEmptyLineAndLastLine) {
  ScratchDir scratch;
  WriteFile("list.txt", "foo\r\n\r\nbar");
  StringSet set;
  std::ostringstream out;
  LoadKeywordList("list.txt", set, out);
  EXPECT_EQ((StringSet{"", "bar", "foo"}), set);
  EXPECT_EQ("", out.str());
}

TEST(KeywordLists, ListDropsStrayCarriageReturnInsideLine) {
  ScratchDir scratch;
  WriteFile("list.txt", "a\rb\r\ncd\r\n");
  StringSet set;
  std::ostringstream out;
  LoadKeywordList("list.txt", set, out);
  EXPECT_EQ((StringSet{"ab", "cd"}), set);
}

TEST(KeywordLists, ListKeepsBlanksCommentsAndCollapsesRepeats) {
  ScratchDir scratch;
  WriteFile("list.txt", " __x\t\n# not a comment\n// nor this\n__y\n__y\n");
  StringSet set;
  std::ostringstream out;
  LoadKeywordList("list.txt", set, out);
  EXPECT_EQ((StringSet{" __x\t", "# not a comment", "// nor this", "__y"}),
            set);
}

TEST(KeywordLists, ListIgnoresEmptyUnterminatedLastLine) {
  ScratchDir scratch;
  WriteFile("list.txt", "one\n\r");
  StringSet set;
  std::ostringstream out;
  LoadKeywordList("list.txt", set, out);
  EXPECT_EQ((StringSet{"one"}), set);
}

TEST(KeywordLists, ListAddsToWhatTheSetHolds) {
  ScratchDir scratch;
  WriteFile("list.txt", "b\n");
  StringSet set{"a"};
  std::ostringstream out;
  LoadKeywordList("list.txt", set, out);
  EXPECT_EQ((StringSet{"a", "b"}), set);
}

TEST(KeywordLists, MissingListPrintsErrorAndLeavesSetEmpty) {
  ScratchDir scratch;
  StringSet set;
  std::ostringstream out;
  LoadKeywordList("config/none.txt", set, out);
  EXPECT_EQ("Error: Cannot open; config/none.txt\n", out.str());
  EXPECT_TRUE(set.empty());
}

TEST(KeywordLists, MapDropsUnterminatedLastLine) {
  ScratchDir scratch;
  WriteFile("map.txt", "a=b\nx=y");
  StringMap map;
  std::ostringstream out;
  LoadReplaceMap("map.txt", map, out);
  EXPECT_EQ((StringMap{{"a", "b"}}), map);
  EXPECT_EQ("", out.str());
}

TEST(KeywordLists, MapSplitsAtFirstEqualsWithoutTrimming) {
  ScratchDir scratch;
  WriteFile("map.txt", "  key = value\na=b=c\r\n");
  StringMap map;
  std::ostringstream out;
  LoadReplaceMap("map.txt", map, out);
  EXPECT_EQ((StringMap{{"  key ", " value"}, {"a", "b=c"}}), map);
}

TEST(KeywordLists, MapLineWithoutEqualsMapsToItselfAndEmptyLineToEmpty) {
  ScratchDir scratch;
  WriteFile("map.txt", "inline\n\n=\n");
  StringMap map;
  std::ostringstream out;
  LoadReplaceMap("map.txt", map, out);
  // The empty line comes first, so it decides the empty key.
  EXPECT_EQ((StringMap{{"", ""}, {"inline", "inline"}}), map);
}

TEST(KeywordLists, MapFirstLineForAKeyWins) {
  ScratchDir scratch;
  WriteFile("map.txt", "__k=first\n__k=second\n__k\n");
  StringMap map;
  std::ostringstream out;
  LoadReplaceMap("map.txt", map, out);
  EXPECT_EQ((StringMap{{"__k", "first"}}), map);
}

TEST(KeywordLists, MissingMapPrintsErrorAndLeavesMapEmpty) {
  ScratchDir scratch;
  StringMap map;
  std::ostringstream out;
  LoadReplaceMap("config/none.txt", map, out);
  EXPECT_EQ("Error: Cannot open; config/none.txt\n", out.str());
  EXPECT_TRUE(map.empty());
}

// Writes one distinct entry into each of the nine configuration files, so
// that a test can see which of them a run read.
static void write_marked_config() {
  WriteFile("config/c_keywords.txt", "c_kw\n");
  WriteFile("config/cpp_keywords.txt", "cpp_kw\n");
  WriteFile("config/c_replace_keywords.txt", "c_r=1\n");
  WriteFile("config/cpp_replace_keywords.txt", "cpp_r=2\n");
  WriteFile("config/ignore_keywords.txt", "ign\n");
  WriteFile("config/ignore_reserved_words.txt", "res\n");
  WriteFile("config/vell_extension_keywords.txt", "ext=e\n");
  WriteFile("config/builtin_replace_keywords.txt",
            "__builtin_b=__builtin_b=0\n");
  WriteFile("config/context_keywords.txt", "ctx\n");
}

TEST(KeywordLists, CRunReadsOnlyTheCFiles) {
  ScratchDir scratch;
  write_marked_config();
  FakeRun run(true, false);
  LoadKeywordConfiguration(*run.tg);
  const TesselGen& tg = *run.tg;
  EXPECT_EQ((StringMap{{"c_r", "1"}}), tg.replaceKeywords);
  EXPECT_EQ((StringSet{"c_kw"}), tg.languageKeywords);
  EXPECT_EQ((StringSet{"ign"}), tg.ignoreKeywords);
  EXPECT_EQ((StringSet{"res"}), tg.ignoreReservedWords);
  EXPECT_EQ((StringMap{{"ext", "e"}}), tg.extensionKeywords);
  EXPECT_EQ((StringMap{{"__builtin_b", "__builtin_b=0"}}),
            tg.builtinReplaceKeywords);
  EXPECT_EQ("", run.console.str());
}

TEST(KeywordLists, CppRunReadsOnlyTheCppFiles) {
  ScratchDir scratch;
  write_marked_config();
  FakeRun run(false, false);
  LoadKeywordConfiguration(*run.tg);
  EXPECT_EQ((StringMap{{"cpp_r", "2"}}), run.tg->replaceKeywords);
  EXPECT_EQ((StringSet{"cpp_kw"}), run.tg->languageKeywords);
  EXPECT_EQ("", run.console.str());
}

TEST(KeywordLists, CppRunDoesNotMissTheCFiles) {
  ScratchDir scratch;
  write_marked_config();
  std::remove("config/c_keywords.txt");
  std::remove("config/c_replace_keywords.txt");
  FakeRun run(false, false);
  LoadKeywordConfiguration(*run.tg);
  EXPECT_EQ("", run.console.str());
}

TEST(KeywordLists, CRunDoesNotMissTheCppFiles) {
  ScratchDir scratch;
  write_marked_config();
  std::remove("config/cpp_keywords.txt");
  std::remove("config/cpp_replace_keywords.txt");
  FakeRun run(true, false);
  LoadKeywordConfiguration(*run.tg);
  EXPECT_EQ("", run.console.str());
}

TEST(KeywordLists, MissingConfigDirectoryGivesSixErrorsInLoadOrder) {
  ScratchDir scratch;
  FakeRun run(true, false);
  const std::string logBefore = ReadFile(run.tg->log.fileName());
  LoadKeywordConfiguration(*run.tg);
  EXPECT_EQ(
      "Error: Cannot open; config/c_replace_keywords.txt\n"
      "Error: Cannot open; config/ignore_keywords.txt\n"
      "Error: Cannot open; config/ignore_reserved_words.txt\n"
      "Error: Cannot open; config/vell_extension_keywords.txt\n"
      "Error: Cannot open; config/builtin_replace_keywords.txt\n"
      "Error: Cannot open; config/c_keywords.txt\n",
      run.console.str());
  // Nothing goes to the run log.
  EXPECT_EQ(logBefore, ReadFile(run.tg->log.fileName()));
  const TesselGen& tg = *run.tg;
  EXPECT_TRUE(tg.replaceKeywords.empty());
  EXPECT_TRUE(tg.ignoreKeywords.empty());
  EXPECT_TRUE(tg.ignoreReservedWords.empty());
  EXPECT_TRUE(tg.extensionKeywords.empty());
  EXPECT_TRUE(tg.builtinReplaceKeywords.empty());
  EXPECT_TRUE(tg.languageKeywords.empty());
}

TEST(KeywordLists, MissingCppConfigNamesTheCppFiles) {
  ScratchDir scratch;
  FakeRun run(false, false);
  LoadKeywordConfiguration(*run.tg);
  EXPECT_EQ(
      "Error: Cannot open; config/cpp_replace_keywords.txt\n"
      "Error: Cannot open; config/ignore_keywords.txt\n"
      "Error: Cannot open; config/ignore_reserved_words.txt\n"
      "Error: Cannot open; config/vell_extension_keywords.txt\n"
      "Error: Cannot open; config/builtin_replace_keywords.txt\n"
      "Error: Cannot open; config/cpp_keywords.txt\n",
      run.console.str());
}
