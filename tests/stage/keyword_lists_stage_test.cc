#include <gtest/gtest.h>
#include <sys/stat.h>

#include <set>
#include <string>

#include "tests/support/test_support.h"

using tessel_test::FakeRun;
using tessel_test::ScratchDir;

TEST(KeywordListsStage, RunWithoutConfigDirectoryReportsSixFilesAndCompletes) {
  ScratchDir scratch;
  ASSERT_EQ(0, mkdir("personality", 0755));
  FakeRun run(true, true);
  EXPECT_EQ(0, run.tg->run());
  const std::string console = run.console.str();
  EXPECT_NE(
      std::string::npos,
      console.find("Error: Cannot open; config/c_replace_keywords.txt\n"
                   "Error: Cannot open; config/ignore_keywords.txt\n"
                   "Error: Cannot open; config/ignore_reserved_words.txt\n"
                   "Error: Cannot open; config/vell_extension_keywords.txt\n"
                   "Error: Cannot open; config/builtin_replace_keywords.txt\n"
                   "Error: Cannot open; config/c_keywords.txt\n"
                   "No \"config\" directory here: without the keyword "
                   "lists the keyword results are unreliable.\n"))
      << console;
  EXPECT_NE(std::string::npos, console.find("Completed OK\n")) << console;
  EXPECT_NE(std::string::npos,
            tessel_test::ReadFile(run.tg->log.fileName())
                .find("[WARN] No \"config\" directory here: without the "
                      "keyword lists the keyword results are unreliable.\n"));
  EXPECT_TRUE(run.tg->ignoreKeywords.empty());
  EXPECT_TRUE(run.tg->languageKeywords.empty());
}

TEST(KeywordListsStage, RunReadsTheProductsListsBeforeTheScan) {
  ScratchDir scratch;
  ASSERT_EQ(0, mkdir("personality", 0755));
  tessel_test::WriteFile("config/ignore_keywords.txt", "int\n");
  tessel_test::WriteFile("config/cpp_keywords.txt", "class\n");
  tessel_test::WriteFile("inc/x.h", "int __kw;\n");
  FakeRun run(false, true);
  run.tg->includeDirs = {scratch.work() + "/inc"};
  EXPECT_EQ(0, run.tg->run());
  const std::string console = run.console.str();
  EXPECT_EQ(std::string::npos, console.find("config/ignore_keywords.txt"));
  EXPECT_EQ(std::string::npos, console.find("config/cpp_keywords.txt"));
  EXPECT_NE(
      std::string::npos,
      console.find("Error: Cannot open; config/cpp_replace_keywords.txt"));
  EXPECT_EQ((std::set<std::string>{"class"}), run.tg->languageKeywords);
  // The scan ran after the ignore list was loaded.
  EXPECT_EQ(0u, run.tg->candidateKeywords.count("int"));
  EXPECT_EQ(1u, run.tg->HeaderInventory.count(scratch.work() + "/inc"));
}
