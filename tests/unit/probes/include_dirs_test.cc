#include "probes/include_dirs.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using Components = std::vector<std::string>;

TEST(IncludeDirsSplitPath, AbsolutePathGivesComponentsLastFirst) {
  EXPECT_EQ((Components{"include", "local", "usr"}),
            SplitPath("/usr/local/include"));
}

TEST(IncludeDirsSplitPath, TextBeforeFirstSlashIsNoComponent) {
  EXPECT_EQ((Components{"include"}), SplitPath("usr/include"));
  EXPECT_EQ(Components{}, SplitPath("include"));
  EXPECT_EQ(Components{}, SplitPath(""));
}

TEST(IncludeDirsSplitPath, DoubledAndTrailingSlashesGiveEmptyComponents) {
  EXPECT_EQ((Components{"", "include", "", "usr"}),
            SplitPath("/usr//include/"));
  EXPECT_EQ((Components{""}), SplitPath("/"));
}

TEST(IncludeDirsNormaliseOutput, DropsDigitsAndWhiteSpace) {
  EXPECT_EQ(
      "inctest.c:::fatalerror:ak:Nosuchfileordirectory",
      normalise_output("inctest.c:1:10: fatal error: ak12345: No such file or "
                       "directory\n",
                       ""));
  EXPECT_EQ("ab", normalise_output("a\t\r\v\f 0123456789\nb", ""));
}

TEST(IncludeDirsNormaliseOutput, RemovesEveryOccurrenceOfTheName) {
  EXPECT_EQ(
      "inctest.c:::fatalerror::Nosuchfileordirectory",
      normalise_output("inctest.c:1:10: fatal error: stdio.h: No such file or "
                       "directory\n",
                       "stdio.h"));
  EXPECT_EQ("'':''", normalise_output("'x.h': 'x.h'", "x.h"));
}

TEST(IncludeDirsNormaliseOutput, SearchesAgainWhereTheNameWasErased) {
  // Erasing "ab" from "aabb" leaves "ab" one place before the position
  // where the search goes on, so it stays.
  EXPECT_EQ("ab", normalise_output("aabb", "ab"));
  EXPECT_EQ("x", normalise_output("ababx", "ab"));
}

TEST(IncludeDirsNormaliseOutput, MessagesForTwoMissingHeadersCompareEqual) {
  EXPECT_EQ(
      normalise_output("inctest.c:1:10: fatal error: ak12345: No such file or "
                       "directory\ncompilation terminated.\n",
                       "ak12345"),
      normalise_output("inctest.c:1:10: fatal error: sys/zz.h: No such file or "
                       "directory\ncompilation terminated.\n",
                       "sys/zz.h"));
}

TEST(IncludeDirsNormaliseOutput, CaretUnderlineFollowsTheNameLength) {
  // The source line and underline that some compilers print under a
  // message keep the underline's length, so two missing headers with names
  // of different lengths no longer compare equal.
  std::string missingProbe = normalise_output(
      "inctest.c:1:10: fatal error: ak12345: No such file or directory\n"
      "    1 | #include <ak12345>\n"
      "      |          ^~~~~~~~~\n",
      "ak12345");
  std::string missingShort = normalise_output(
      "inctest.c:1:10: fatal error: zz.h: No such file or directory\n"
      "    1 | #include <zz.h>\n"
      "      |          ^~~~~~\n",
      "zz.h");
  EXPECT_EQ(
      "inctest.c:::fatalerror::Nosuchfileordirectory|#include<>|^~~~~~~~~",
      missingProbe);
  EXPECT_EQ("inctest.c:::fatalerror::Nosuchfileordirectory|#include<>|^~~~~~",
            missingShort);
}

TEST(IncludeDirsNormalisePaths, DotDotRemovesThePieceBeforeIt) {
  EXPECT_EQ("/usr/lib/include/x.h",
            normalise_paths("/usr/lib/gcc/../include/x.h"));
  EXPECT_EQ("/usr/share/sdcc/include/stdarg.h:53: syntax error",
            normalise_paths("/usr/bin/../share/sdcc/include/stdarg.h:53: "
                            "syntax error"));
}

TEST(IncludeDirsNormalisePaths, SingleDotPiecesAreDropped) {
  EXPECT_EQ("/usr/include/x.h", normalise_paths("/usr/./include/./x.h"));
}

TEST(IncludeDirsNormalisePaths, OtherSeparatorsStartPiecesToo) {
  // A blank starts a piece, so "/.." removes the piece " a", blank and
  // all, and leaves the word before it.
  EXPECT_EQ("in/b", normalise_paths("in a/../b"));
  EXPECT_EQ("x\n/b", normalise_paths("x\n/a/../b"));
  EXPECT_EQ("x\t/b", normalise_paths("x\t/a/../b"));
  // "\.." is not "/.." on this platform and stays.
  EXPECT_EQ("c:\\a\\..\\b", normalise_paths("c:\\a\\..\\b"));
}

TEST(IncludeDirsNormalisePaths, OnlyWholePiecesCount) {
  EXPECT_EQ("/a/..b/.c/...", normalise_paths("/a/..b/.c/..."));
  EXPECT_EQ("/a/..:", normalise_paths("/a/..:"));
}

TEST(IncludeDirsNormalisePaths, LeadingDotDotRemovesTheEmptyStart) {
  EXPECT_EQ("/x", normalise_paths("/../x"));
  EXPECT_EQ("/x", normalise_paths("/../../x"));
  EXPECT_EQ("", normalise_paths(""));
}

TEST(IncludeDirsNormalisePaths, TextWithoutSeparatorsIsUnchanged) {
  EXPECT_EQ("error:x.h", normalise_paths("error:x.h"));
}
