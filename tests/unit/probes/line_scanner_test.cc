#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "probes/header_scan.h"
#include "probes/name_table.h"

using Names = std::vector<std::string>;

// The identifiers that a fresh scanner finds in `text`, leaving out
// `ignore`.
static Names scan(const std::string& text,
                  const std::set<std::string>& ignore = {}) {
  NameTable table(ignore.size());
  for (const std::string& name : ignore) {
    table.Insert(name, NameTable::Hash(name), true);
  }
  LineScanner scanner(table);
  scanner.ScanText(text);
  return scanner.Identifiers();
}

TEST(LineScanner, SlashInsideIdentifierJoinsItsParts) {
  EXPECT_EQ((Names{"ab"}), scan("a/b\n"));
}

TEST(LineScanner, BlockCommentInsideIdentifierJoinsItsParts) {
  EXPECT_EQ((Names{"intx"}), scan("int/*c*/x\n"));
}

TEST(LineScanner, IncludeLineContributesNothing) {
  EXPECT_EQ((Names{}), scan("#include <sys/types.h>\n"));
  EXPECT_EQ((Names{}), scan("  #include \"local_name.h\" // more\n"));
}

TEST(LineScanner, IncludeAnywhereInLineEndsItAtTheHash) {
  // The words before the "#" still count.
  EXPECT_EQ((Names{"before"}), scan("before #x #include\n"));
}

TEST(LineScanner, DefineLineGivesDirectiveWordAndName) {
  EXPECT_EQ((Names{"__attr_x", "define"}), scan("#define __attr_x 1\n"));
  EXPECT_EQ((Names{"__attr_x"}), scan("#define __attr_x 1\n", {"define"}));
}

TEST(LineScanner, HashDoesNotEndAnIdentifier) {
  EXPECT_EQ((Names{"ab"}), scan("a#b\n"));
}

TEST(LineScanner, ContinuationLinesAreJoinedWithoutSeparator) {
  EXPECT_EQ((Names{"foobar"}), scan("foo \\\nbar\n"));
}

TEST(LineScanner, ContinuationIgnoresTrailingWhiteSpaceAfterBackslash) {
  EXPECT_EQ((Names{"foobar"}), scan("foo\\ \t\r\nbar\r\n"));
}

TEST(LineScanner, ContinuationPendingAtEndOfFileIsDropped) {
  EXPECT_EQ((Names{"first"}), scan("first\nlast \\\n"));
}

TEST(LineScanner, LastLineWithoutLineFeedIsScanned) {
  EXPECT_EQ((Names{"one", "two"}), scan("one\ntwo"));
}

TEST(LineScanner, BlockCommentRunsOverLines) {
  EXPECT_EQ((Names{"after"}), scan("/* start\n middle\n end */ after\n"));
}

TEST(LineScanner, EndOfLineEndsCommentThatFollowsAnIdentifier) {
  // "x" is still in progress when the comment starts, so the end of the
  // line records it and leaves the comment.
  EXPECT_EQ((Names{"w", "x", "z"}), scan("x/* y\n z */ w\n"));
}

TEST(LineScanner, LineCommentEndsTheLineOnly) {
  EXPECT_EQ((Names{"abc", "next"}), scan("abc // def\nnext\n"));
}

TEST(LineScanner, StringLiteralContentIsSkipped) {
  EXPECT_EQ((Names{"after", "puts"}), scan("puts(\"hello world\") after\n"));
}

TEST(LineScanner, OpenStringRunsIntoTheNextLine) {
  EXPECT_EQ((Names{"q"}), scan("\"abc\nxyz\" q\n"));
}

TEST(LineScanner, EscapesInStringsAreNotRecognised) {
  // The escaped quote closes the string; "b" is outside it, and the last
  // quote opens a string that swallows "c".
  EXPECT_EQ((Names{"b"}), scan("\"a\\\" b \" c\n"));
}

TEST(LineScanner, HighBytesAreSkippedInsideIdentifiers) {
  EXPECT_EQ((Names{"abcd"}), scan("ab\xc3\xa9"
                                  "cd\n"));
}

TEST(LineScanner, DigitsOnlyContinueAnIdentifier) {
  EXPECT_EQ((Names{"x", "x1"}), scan("x1 1x\n"));
}

TEST(LineScanner, CarriageReturnEndsLineLikeWhiteSpace) {
  EXPECT_EQ((Names{"abc", "def"}), scan("abc\r\ndef\r\n"));
}

TEST(LineScanner, IgnoredIdentifiersAreLeftOut) {
  EXPECT_EQ((Names{"__far"}), scan("int __far x;\n", {"int", "x"}));
}

TEST(LineScanner, StatesFollowTheLines) {
  NameTable none(0);
  LineScanner scanner(none);
  EXPECT_EQ(ScanState::kStart, scanner.state());
  scanner.ScanLine("abc");
  EXPECT_EQ(ScanState::kBetweenTokens, scanner.state());
  scanner.ScanLine(" /* open");
  EXPECT_EQ(ScanState::kBlockComment, scanner.state());
  scanner.ScanLine(" close */ \"str");
  EXPECT_EQ(ScanState::kString, scanner.state());
  scanner.ScanLine("ing\" id");
  EXPECT_EQ(ScanState::kBetweenTokens, scanner.state());
  scanner.ScanLine(" // rest");
  EXPECT_EQ(ScanState::kBetweenTokens, scanner.state());
  scanner.ScanLine(" tail");
  EXPECT_EQ(ScanState::kBetweenTokens, scanner.state());
  scanner.ScanLine("x y");
  EXPECT_EQ((Names{"abc", "id", "tail", "x", "y"}), scanner.Identifiers());
}

TEST(LineScanner, IdentifierInProgressStaysInStateIdentifierWithinLine) {
  NameTable none(0);
  LineScanner scanner(none);
  scanner.ScanLine("/");
  EXPECT_EQ(ScanState::kStart, scanner.state());
  scanner.ScanLine("a/");
  EXPECT_EQ(ScanState::kBetweenTokens, scanner.state());
}

TEST(LineScanner, TakeNamesHandsOverEveryIdentifierWithItsFlag) {
  NameTable ignore(1);
  ignore.Insert("int", NameTable::Hash("int"), true);
  LineScanner scanner(ignore);
  scanner.ScanText("int a int\n");
  NameTable taken = scanner.TakeNames();
  ASSERT_EQ(2u, taken.size());
  EXPECT_EQ("int", taken.name(0));
  EXPECT_FALSE(taken.flag(0));
  EXPECT_EQ("a", taken.name(1));
  EXPECT_TRUE(taken.flag(1));
  EXPECT_EQ(0u, scanner.names().size());
}

TEST(SplitPrintable, KeepsPiecesThatAreIdentifiers) {
  std::set<std::string> result;
  SplitPrintable("foo bar+baz_1 9lives (x)", result);
  EXPECT_EQ((std::set<std::string>{"bar", "baz_1", "foo", "x"}), result);
}

TEST(SplitPrintable, ControlOrHighByteAddsNothing) {
  std::set<std::string> result;
  SplitPrintable("int\t__reg;", result);
  SplitPrintable("a\x7f", result);
  SplitPrintable("b\xc3\xa9", result);
  EXPECT_TRUE(result.empty());
}

TEST(SplitPrintable, EmptyAndSeparatorOnlyTextAddNothing) {
  std::set<std::string> result;
  SplitPrintable("", result);
  SplitPrintable(" ;;()", result);
  EXPECT_TRUE(result.empty());
}

TEST(SplitPrintable, AddsToWhatResultHolds) {
  std::set<std::string> result{"old"};
  SplitPrintable("new", result);
  EXPECT_EQ((std::set<std::string>{"new", "old"}), result);
}
