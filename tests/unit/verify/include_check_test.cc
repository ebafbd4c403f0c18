#include "verify/include_check.h"

#include <gtest/gtest.h>

using Strings = std::vector<std::string>;

TEST(FirstIncludedFile, GccChainEndsWithTheTestFile) {
  const std::string output =
      "In file included from /usr/include/stdint.h:27,\n"
      "                 from /usr/lib/gcc/x86_64-linux-gnu/12/include/"
      "stdint.h:9,\n"
      "                 from inctest.c:2:\n"
      "/usr/include/x86_64-linux-gnu/bits/types.h:31:1: error: expected "
      "expression before 'typedef'\n";
  EXPECT_EQ("/usr/lib/gcc/x86_64-linux-gnu/12/include/stdint.h",
            first_included_file(output, "inctest.c"));
}

TEST(FirstIncludedFile, GccChainOfOneNamesTheErrorsFile) {
  const std::string output =
      "In file included from inctest.c:2:\n"
      "/usr/include/stdio.h:27:1: error: expected expression\n";
  EXPECT_EQ("/usr/include/stdio.h", first_included_file(output, "inctest.c"));
}

TEST(FirstIncludedFile, ClangChainBeginsWithTheTestFile) {
  const std::string output =
      "In file included from inctest.c:2:\n"
      "In file included from /usr/lib/llvm-14/lib/clang/14.0.6/include/"
      "stdint.h:52:\n"
      "In file included from /usr/include/stdint.h:27:\n"
      "/usr/include/x86_64-linux-gnu/bits/types.h:31:1: error: expected "
      "expression\n";
  EXPECT_EQ("/usr/lib/llvm-14/lib/clang/14.0.6/include/stdint.h",
            first_included_file(output, "inctest.c"));
}

TEST(FirstIncludedFile, WithoutChainTheFirstMessagesFile) {
  const std::string output =
      "/usr/include/x86_64-linux-gnu//bits/types.h, line 31: bad class "
      "keyword\n"
      "error: /usr/bin/x86_64-linux-gnu-ccom terminated with status 1\n";
  EXPECT_EQ("/usr/include/x86_64-linux-gnu//bits/types.h",
            first_included_file(output, "inctest.c"));
}

TEST(FirstIncludedFile, AnErrorInTheTestFileAloneNamesNothing) {
  EXPECT_EQ("", first_included_file("inctest.c:3:1: error: expected ']'\n",
                                    "inctest.c"));
}

TEST(LexicalPath, CollapsesDoubledSlashesAndDots) {
  EXPECT_EQ("/usr/include/bits/types.h",
            lexical_path("/usr/include/x86_64-linux-gnu/..//bits/./types.h"));
}

TEST(CombineSearchOrder, EvidenceMovesTheFirstCopyAhead) {
  const Strings written{"/usr/include", "/usr/local/include", "/gcc"};
  const std::vector<OrderEvidence> evidence{{"/gcc", {"/usr/include"}}};
  EXPECT_EQ((Strings{"/usr/local/include", "/gcc", "/usr/include"}),
            combine_search_order(written, evidence));
}

TEST(CombineSearchOrder, NoEvidenceKeepsTheWrittenOrder) {
  const Strings written{"/b", "/a", "/c"};
  EXPECT_EQ(written, combine_search_order(written, {}));
}

TEST(CombineSearchOrder, ChainsOfEvidenceAreFollowed) {
  const Strings written{"/c", "/b", "/a"};
  const std::vector<OrderEvidence> evidence{{"/a", {"/b"}}, {"/b", {"/c"}}};
  EXPECT_EQ((Strings{"/a", "/b", "/c"}),
            combine_search_order(written, evidence));
}

TEST(CombineSearchOrder, ContradictionKeepsTheWrittenOrder) {
  const Strings written{"/a", "/b"};
  const std::vector<OrderEvidence> evidence{{"/a", {"/b"}}, {"/b", {"/a"}}};
  EXPECT_EQ(written, combine_search_order(written, evidence));
}

TEST(CombineSearchOrder, RankDecidesWhereNoEvidenceDoes) {
  const Strings written{"/usr/include", "/usr/include/x86", "/usr/lib/gcc"};
  const std::vector<OrderEvidence> evidence{
      {"/usr/lib/gcc", {"/usr/include"}},
      {"/usr/include/x86", {"/usr/include"}}};
  const std::map<std::string, int> rank{
      {"/usr/include", 3}, {"/usr/include/x86", 2}, {"/usr/lib/gcc", 1}};
  EXPECT_EQ((Strings{"/usr/lib/gcc", "/usr/include/x86", "/usr/include"}),
            combine_search_order(written, evidence, rank));
  // Evidence outweighs rank.
  EXPECT_EQ((Strings{"/usr/include/x86", "/usr/include", "/usr/lib/gcc"}),
            combine_search_order(written,
                                 {{"/usr/include", {"/usr/lib/gcc"}},
                                  {"/usr/include/x86", {"/usr/include"}}},
                                 rank));
}

TEST(CombineSearchOrder, NamesTheDirectoriesOnlyTheRankOrders) {
  const Strings written{"/usr/include", "/usr/include/x86", "/usr/lib/pcc"};
  const std::vector<OrderEvidence> evidence{
      {"/usr/lib/pcc", {"/usr/include"}},
      {"/usr/include/x86", {"/usr/include"}}};
  const std::map<std::string, int> rank{
      {"/usr/lib/pcc", 1}, {"/usr/include/x86", 2}, {"/usr/include", 3}};
  std::set<std::string> ranked;
  EXPECT_EQ((Strings{"/usr/include/x86", "/usr/lib/pcc", "/usr/include"}),
            combine_search_order(written, evidence, {}, &ranked));
  EXPECT_EQ((std::set<std::string>{"/usr/include/x86", "/usr/lib/pcc"}),
            ranked);
  ranked.clear();
  EXPECT_EQ((Strings{"/usr/lib/pcc", "/usr/include/x86", "/usr/include"}),
            combine_search_order(written, evidence, rank, &ranked));
  EXPECT_EQ((std::set<std::string>{"/usr/include/x86", "/usr/lib/pcc"}),
            ranked);
  ranked.clear();
  combine_search_order(written,
                       {{"/usr/lib/pcc", {"/usr/include/x86"}},
                        {"/usr/include/x86", {"/usr/include"}}},
                       rank, &ranked);
  EXPECT_TRUE(ranked.empty());
}
