#include "output/template_merge.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <sstream>

#include "tests/support/test_support.h"

using tessel_test::Exists;
using tessel_test::FakeRun;
using tessel_test::ReadFile;
using tessel_test::ScratchDir;
using tessel_test::WriteFile;

static const char kReviewHeading[] =
    "The following keywords may need to be reviewed:\n";
static const char kIncorporating[] = "Incorporating Template Personality\n";

TEST(TemplateMergeSameOption, QuotedDefineWithBlankMatchesPlainDefine) {
  EXPECT_TRUE(SameOption("-d \"X=1 2\"", "-d X=3"));
}

TEST(TemplateMergeSameOption, MacroParametersAreIgnored) {
  EXPECT_TRUE(SameOption("-d F(a)=a", "-d F(b)=b"));
  EXPECT_TRUE(SameOption("-d F(a, b)=a", "-d F()=0"));
}

TEST(TemplateMergeSameOption, DifferentNamesDoNotMatch) {
  EXPECT_FALSE(SameOption("-d X=1", "-d Y=1"));
  EXPECT_FALSE(SameOption("-d X=1", "-sd X=1"));
  EXPECT_FALSE(SameOption("-d F(a)=a", "-d G(a)=a"));
}

TEST(TemplateMergeSameOption, KeyIsTheTextBeforeTheFirstEquals) {
  EXPECT_TRUE(SameOption("-d X", "-d X=1"));
  EXPECT_TRUE(SameOption("-d X=1=2", "-d X=3"));
  EXPECT_TRUE(SameOption("-i \"/usr/include\"", "-i /usr/ include"));
  EXPECT_FALSE(SameOption("-i /usr/include", "-i /usr/include/sys"));
}

TEST(TemplateMergeSameOption, OnlyTheFirstParenthesisPairIsErased) {
  EXPECT_TRUE(SameOption("-d F(a)(b)=1", "-d F(c)(b)=2"));
  EXPECT_FALSE(SameOption("-d F(a)(b)=1", "-d F(b)=1"));
  // A ")" before the "(" erases from the "(" to the end of the line.
  EXPECT_TRUE(SameOption("-d A)B(C=1", "-d A)B"));
}

TEST(TemplateMergeReader, EntriesAreCollectedPerKindInFileOrderAndTrimmed) {
  std::istringstream in(
      "header text ignored\n"
      "  <add>  \n"
      "  -d A=1  \n"
      "\t-d B=2\t\n"
      "</add>\n"
      "<test>\n"
      "keyword\n"
      "</test>\n"
      "<remove>\n"
      "-d R=1\n"
      "x </remove> y\n"
      "<modify>\n"
      "-d M=1\n"
      "</modify>\n"
      "<add>\n"
      "\n"
      "-d C=3\n"
      "</add>\n");
  TemplateSections sections = ReadTemplateSections(in);
  EXPECT_EQ((std::vector<std::string>{"-d A=1", "\t-d B=2\t", "", "-d C=3"}),
            sections.AddLines);
  EXPECT_EQ((std::vector<std::string>{"-d R=1"}), sections.RemoveLines);
  EXPECT_EQ((std::vector<std::string>{"-d M=1"}), sections.ModifyLines);
  EXPECT_TRUE(sections.unclosedSections.empty());
}

TEST(TemplateMergeReader, OtherTagsInsideASectionAreEntries) {
  std::istringstream in("<modify>\n<add>\n-d X=1\n</add>\n</modify>\n");
  TemplateSections sections = ReadTemplateSections(in);
  EXPECT_EQ((std::vector<std::string>{"<add>", "-d X=1", "</add>"}),
            sections.ModifyLines);
  EXPECT_TRUE(sections.AddLines.empty());
}

TEST(TemplateMergeReader, UnclosedSectionEndsAtEndOfFile) {
  std::istringstream in("<remove>\n-d R=1\n</remove>\n<add>\n-d A=1\n-d B=2");
  TemplateSections sections = ReadTemplateSections(in);
  EXPECT_EQ((std::vector<std::string>{"-d A=1", "-d B=2"}), sections.AddLines);
  EXPECT_EQ((std::vector<std::string>{"-d R=1"}), sections.RemoveLines);
  EXPECT_EQ((std::vector<std::string>{"<add>"}), sections.unclosedSections);
}

TEST(TemplateMerge, NoTemplatePrintsOnlyTheReviewListSortedWithoutDuplicates) {
  ScratchDir scratch;
  FakeRun run(true, false);
  WriteFile("p.p_c", "-d A=1\n-d B=2");
  run.tg->ReviewLines = {"-ks zz", "-ks aa", "-ks zz"};
  MergeTemplate(*run.tg, "p.p_c");
  EXPECT_EQ(std::string(kReviewHeading) + "-ks aa\n-ks zz\n",
            run.console.str());
  EXPECT_EQ("-d A=1\n-d B=2", ReadFile("p.p_c"));
}

TEST(TemplateMerge, NoTemplateAndNoReviewLinesPrintsNothing) {
  ScratchDir scratch;
  FakeRun run(true, false);
  WriteFile("p.p_c", "-d A=1\n");
  MergeTemplate(*run.tg, "p.p_c");
  EXPECT_EQ("", run.console.str());
  EXPECT_EQ("-d A=1\n", ReadFile("p.p_c"));
}

TEST(TemplateMerge, UnopenableTemplateLeavesTheFileAndStillListsReview) {
  ScratchDir scratch;
  FakeRun run(true, false);
  WriteFile("p.p_c", "-d A=1\n");
  run.tg->templatePath = "missing/t.tpl";
  run.tg->ReviewLines = {"-ks kw"};
  MergeTemplate(*run.tg, "p.p_c");
  EXPECT_EQ(std::string(kIncorporating) +
                "Cannot open template Personality File - missing/t.tpl\n" +
                kReviewHeading + "-ks kw\n",
            run.console.str());
  EXPECT_EQ("-d A=1\n", ReadFile("p.p_c"));
}

TEST(TemplateMerge, TemplateWithoutSectionsRewritesTheSameLines) {
  ScratchDir scratch;
  FakeRun run(true, false);
  WriteFile("p.p_c", "-d A=1\n\n  -d B=2 \n-d C=3");
  WriteFile("t.tpl", "just a comment\n");
  run.tg->templatePath = "t.tpl";
  MergeTemplate(*run.tg, "p.p_c");
  EXPECT_EQ(kIncorporating, run.console.str());
  EXPECT_EQ("-d A=1\n\n  -d B=2 \n-d C=3\n", ReadFile("p.p_c"));
}

TEST(TemplateMerge, ModifyReplacesTheLineSettingTheSameOption) {
  ScratchDir scratch;
  FakeRun run(true, false);
  WriteFile("p.p_c", "-d A=1\n-d \"F(x)=x y\"\n-d C=3\n");
  WriteFile("t.tpl", "<modify>\n  -d F(a)=a  \n</modify>\n");
  run.tg->templatePath = "t.tpl";
  MergeTemplate(*run.tg, "p.p_c");
  EXPECT_EQ(kIncorporating, run.console.str());
  EXPECT_EQ("-d A=1\n-d F(a)=a\n-d C=3\n", ReadFile("p.p_c"));
}

TEST(TemplateMerge, UnmatchedModifyIsAppendedAfterTheAdds) {
  ScratchDir scratch;
  FakeRun run(true, false);
  WriteFile("p.p_c", "-d A=1\n-d B=2\n");
  WriteFile("t.tpl",
            "<modify>\n-d NEW=5\n-d A=10\n</modify>\n"
            "<add>\n-d ADDED=1\n</add>\n");
  run.tg->templatePath = "t.tpl";
  MergeTemplate(*run.tg, "p.p_c");
  EXPECT_EQ("-d A=10\n-d B=2\n-d ADDED=1\n-d NEW=5\n", ReadFile("p.p_c"));
}

TEST(TemplateMerge, OneModifyEntryReplacesOnlyTheFirstOfTwoSameKeyLines) {
  ScratchDir scratch;
  FakeRun run(true, false);
  WriteFile("p.p_c", "-d X=1\n-d Y=0\n-d X=2\n");
  WriteFile("t.tpl", "<modify>\n-d X=10\n</modify>\n");
  run.tg->templatePath = "t.tpl";
  MergeTemplate(*run.tg, "p.p_c");
  EXPECT_EQ("-d X=10\n-d Y=0\n-d X=2\n", ReadFile("p.p_c"));
}

TEST(TemplateMerge, SecondSameKeyModifyEntryReplacesTheNextLine) {
  ScratchDir scratch;
  FakeRun run(true, false);
  WriteFile("p.p_c", "-d X=1\n-d Y=0\n-d X=2\n");
  WriteFile("t.tpl", "<modify>\n-d X=10\n-d X=20\n-d X=30\n</modify>\n");
  run.tg->templatePath = "t.tpl";
  MergeTemplate(*run.tg, "p.p_c");
  // The third entry finds no line left and is added at the end.
  EXPECT_EQ("-d X=10\n-d Y=0\n-d X=20\n-d X=30\n", ReadFile("p.p_c"));
}

TEST(TemplateMerge, UnclosedSectionIsReportedAndItsEntriesAreMerged) {
  ScratchDir scratch;
  FakeRun run(true, false);
  WriteFile("p.p_c", "-d A=1\n-d B=2\n");
  WriteFile("t.tpl", "<remove>\n-d B=2\n</remove>\n<add>\n-d C=3\n-d D=4\n");
  run.tg->templatePath = "t.tpl";
  run.tg->ReviewLines = {"-ks kw"};
  MergeTemplate(*run.tg, "p.p_c");
  EXPECT_EQ(std::string(kIncorporating) +
                "Template section <add> is not closed in t.tpl\n" +
                kReviewHeading + "-ks kw\n",
            run.console.str());
  EXPECT_EQ("-d A=1\n-d C=3\n-d D=4\n", ReadFile("p.p_c"));
}

TEST(TemplateMerge, UnclosedModifySectionStillModifies) {
  ScratchDir scratch;
  FakeRun run(true, false);
  WriteFile("p.p_c", "-d A=1\n");
  WriteFile("t.tpl", "<modify>\n-d A=2\n");
  run.tg->templatePath = "t.tpl";
  MergeTemplate(*run.tg, "p.p_c");
  EXPECT_EQ(std::string(kIncorporating) +
                "Template section <modify> is not closed in t.tpl\n",
            run.console.str());
  EXPECT_EQ("-d A=2\n", ReadFile("p.p_c"));
}

TEST(TemplateMerge, RemoveTakesOnlyTheFirstExactlyEqualLine) {
  ScratchDir scratch;
  FakeRun run(true, false);
  WriteFile("p.p_c", "-d R=1\n-d S=1\n-d R=1\n-d R=2\n");
  // The first entry is trimmed and then equal; the second differs inside.
  WriteFile("t.tpl", "<remove>\n   -d R=1 \n-d  R=2\n-d Q=0\n</remove>\n");
  run.tg->templatePath = "t.tpl";
  MergeTemplate(*run.tg, "p.p_c");
  EXPECT_EQ(kIncorporating, run.console.str());
  EXPECT_EQ("-d S=1\n-d R=1\n-d R=2\n", ReadFile("p.p_c"));
}

TEST(TemplateMerge, AddEntryAlreadyPresentIsNotAddedTwice) {
  ScratchDir scratch;
  FakeRun run(true, false);
  WriteFile("p.p_c", "-d A=1\n");
  WriteFile("t.tpl", "<add>\n-d A=1\n-d B=2\n</add>\n<add>\n-d B=2\n</add>\n");
  run.tg->templatePath = "t.tpl";
  MergeTemplate(*run.tg, "p.p_c");
  EXPECT_EQ("-d A=1\n-d B=2\n", ReadFile("p.p_c"));
}

TEST(TemplateMerge, ReviewLineModifiedOrRemovedIsNotListed) {
  ScratchDir scratch;
  FakeRun run(true, false);
  WriteFile("p.p_c", "-kw alpha=1\n-kw beta=1\n-kw gamma=1\n");
  WriteFile("t.tpl",
            "<modify>\n-kw alpha=2\n</modify>\n"
            "<remove>\n-kw beta=1\n</remove>\n");
  run.tg->templatePath = "t.tpl";
  run.tg->ReviewLines = {"-kw gamma=1", "-kw beta=1", "-kw alpha=1"};
  MergeTemplate(*run.tg, "p.p_c");
  EXPECT_EQ(std::string(kIncorporating) + kReviewHeading + "-kw gamma=1\n",
            run.console.str());
  EXPECT_EQ("-kw alpha=2\n-kw gamma=1\n", ReadFile("p.p_c"));
}

TEST(TemplateMerge, UnreadablePersonalityIsRewrittenWithAddsAndModifies) {
  ScratchDir scratch;
  FakeRun run(true, false);
  WriteFile("t.tpl",
            "<modify>\n-d M=1\n</modify>\n<add>\n-d A=1\n</add>\n"
            "<remove>\n-d A=1\n</remove>\n");
  run.tg->templatePath = "t.tpl";
  MergeTemplate(*run.tg, "p.p_c");
  EXPECT_EQ(std::string(kIncorporating) +
                "Cannot re-open Personality File (read) - p.p_c\n",
            run.console.str());
  EXPECT_EQ("-d A=1\n-d M=1\n", ReadFile("p.p_c"));
}

TEST(TemplateMerge, UnwritablePersonalityIsReportedBeforeTheReviewList) {
  ScratchDir scratch;
  FakeRun run(true, false);
  // A directory opens for reading but yields no line and cannot be written.
  ASSERT_EQ(0, mkdir("p.p_c", 0775));
  WriteFile("t.tpl", "<add>\n-d A=1\n</add>\n");
  run.tg->templatePath = "t.tpl";
  run.tg->ReviewLines = {"-ks kw"};
  MergeTemplate(*run.tg, "p.p_c");
  EXPECT_EQ(std::string(kIncorporating) +
                "Cannot re-open Personality File (write) - p.p_c\n" +
                kReviewHeading + "-ks kw\n",
            run.console.str());
  EXPECT_FALSE(Exists("p.p_c/-d A=1"));
}
