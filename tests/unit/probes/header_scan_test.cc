#include "probes/header_scan.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "tests/support/test_support.h"

using tessel_test::FakeRun;
using tessel_test::Lines;
using tessel_test::ReadFile;
using tessel_test::ScratchDir;
using tessel_test::WriteFile;

using StringSet = std::set<std::string>;
using Names = std::vector<std::string>;

namespace {

// Reads the log lines that a run wrote after the moment it was built.
class LogWatch {
 public:
  explicit LogWatch(const TesselGen& tg)
      : name_(tg.log.fileName()), start_(Lines(ReadFile(name_)).size()) {}
  Names NewLines() const {
    Names lines = Lines(ReadFile(name_));
    return Names(lines.begin() + static_cast<long>(start_), lines.end());
  }

 private:
  std::string name_;
  std::size_t start_;
};

const char kInfo[] = "[+        0ms][INFO] ";
const char kWarn[] = "[+        0ms][WARN] ";

}  // namespace

// ---- ScanDirectory ----

TEST(HeaderScan, DirectoryWithFilesListsThemAndWalksSubdirectories) {
  ScratchDir scratch;
  WriteFile("inc/a.h", "");
  WriteFile("inc/b.h", "");
  WriteFile("inc/sys/c.h", "");
  FakeRun run(true, true);
  LogWatch log(*run.tg);
  const std::string inc = scratch.work() + "/inc";
  EXPECT_EQ(1, ScanDirectory(*run.tg, inc));
  const TesselGen& tg = *run.tg;
  EXPECT_EQ((std::map<std::string, StringSet>{{inc, {"a.h", "b.h"}},
                                              {inc + "/sys", {"c.h"}}}),
            tg.HeaderInventory);
  Names files = tg.headerFiles;
  std::sort(files.begin(), files.end());
  EXPECT_EQ((Names{inc + "/a.h", inc + "/b.h", inc + "/sys/c.h"}), files);
  EXPECT_EQ(Names{}, log.NewLines());
}

TEST(HeaderScan, LinksAreFollowedAndABrokenLinkIsAFile) {
  ScratchDir scratch;
  WriteFile("real/sub/d.h", "");
  WriteFile("real/e.h", "");
  WriteFile("inc/a.h", "");
  ASSERT_EQ(0, symlink((scratch.work() + "/real/sub").c_str(), "inc/linked"));
  ASSERT_EQ(0, symlink((scratch.work() + "/real/e.h").c_str(), "inc/e.h"));
  ASSERT_EQ(0, symlink("nowhere.h", "inc/broken.h"));
  FakeRun run(true, true);
  const std::string inc = scratch.work() + "/inc";
  EXPECT_EQ(1, ScanDirectory(*run.tg, inc));
  // A link to a directory is walked like the directory; links to files,
  // found or not, are files.
  EXPECT_EQ((std::map<std::string, StringSet>{{inc, {"a.h", "broken.h", "e.h"}},
                                              {inc + "/linked", {"d.h"}}}),
            run.tg->HeaderInventory);
  Names files = run.tg->headerFiles;
  std::sort(files.begin(), files.end());
  EXPECT_EQ((Names{inc + "/a.h", inc + "/broken.h", inc + "/e.h",
                   inc + "/linked/d.h"}),
            files);
}

TEST(HeaderScan, DirectoryOfDirectoriesFoldsTheirFilesAndLogsThem) {
  ScratchDir scratch;
  WriteFile("inc/arch/sys/t.h", "");
  WriteFile("inc/arch/sys/u.h", "");
  FakeRun run(true, true);
  LogWatch log(*run.tg);
  const std::string inc = scratch.work() + "/inc";
  EXPECT_EQ(1, ScanDirectory(*run.tg, inc));
  EXPECT_EQ(
      (Names{
          std::string(kInfo) + "Handling an empty include dir: " + inc,
          std::string(kInfo) + "Handling an empty include dir: " + inc +
              "/arch",
          std::string(kInfo) + "  nested dir abs: " + inc +
              "/arch/sys rel: sys",
          std::string(kInfo) + "  nested dir abs: " + inc + "/arch rel: arch",
      }),
      log.NewLines());
  EXPECT_EQ(
      (std::map<std::string, StringSet>{{inc, {"arch/sys/t.h", "arch/sys/u.h"}},
                                        {inc + "/arch", {"sys/t.h", "sys/u.h"}},
                                        {inc + "/arch/sys", {"t.h", "u.h"}}}),
      run.tg->HeaderInventory);
}

TEST(HeaderScan, DirectoryOfTwoDirectoriesFoldsBoth) {
  ScratchDir scratch;
  WriteFile("inc/one/x.h", "");
  WriteFile("inc/two/y.h", "");
  WriteFile("inc/two/z.h", "");
  FakeRun run(true, true);
  LogWatch log(*run.tg);
  const std::string inc = scratch.work() + "/inc";
  ScanDirectory(*run.tg, inc);
  EXPECT_EQ((StringSet{"one/x.h", "two/y.h", "two/z.h"}),
            run.tg->HeaderInventory[inc]);
  // The nested lines follow the directory listing's order.
  Names lines = log.NewLines();
  ASSERT_EQ(3u, lines.size());
  EXPECT_EQ(std::string(kInfo) + "Handling an empty include dir: " + inc,
            lines[0]);
  std::sort(lines.begin() + 1, lines.end());
  EXPECT_EQ(std::string(kInfo) + "  nested dir abs: " + inc + "/one rel: one",
            lines[1]);
  EXPECT_EQ(std::string(kInfo) + "  nested dir abs: " + inc + "/two rel: two",
            lines[2]);
}

TEST(HeaderScan, EmptyDirectoryIsLoggedAndRecordedEmpty) {
  ScratchDir scratch;
  ASSERT_EQ(0, mkdir("inc", 0755));
  FakeRun run(true, true);
  LogWatch log(*run.tg);
  const std::string inc = scratch.work() + "/inc";
  EXPECT_EQ(1, ScanDirectory(*run.tg, inc));
  EXPECT_EQ(
      (Names{std::string(kInfo) + "Handling an empty include dir: " + inc}),
      log.NewLines());
  EXPECT_EQ((std::map<std::string, StringSet>{{inc, {}}}),
            run.tg->HeaderInventory);
}

TEST(HeaderScan, MissingDirectoryReturnsZeroSilently) {
  ScratchDir scratch;
  FakeRun run(true, true);
  LogWatch log(*run.tg);
  EXPECT_EQ(0, ScanDirectory(*run.tg, scratch.work() + "/none"));
  EXPECT_TRUE(run.tg->HeaderInventory.empty());
  EXPECT_TRUE(run.tg->headerFiles.empty());
  EXPECT_EQ(Names{}, log.NewLines());
}

TEST(HeaderScan, ExistingInventoryEntryIsKept) {
  ScratchDir scratch;
  WriteFile("inc/a.h", "");
  FakeRun run(true, true);
  const std::string inc = scratch.work() + "/inc";
  run.tg->HeaderInventory[inc] = {"old.h"};
  ScanDirectory(*run.tg, inc);
  EXPECT_EQ((StringSet{"old.h"}), run.tg->HeaderInventory[inc]);
  EXPECT_EQ((Names{inc + "/a.h"}), run.tg->headerFiles);
}

// ---- ScanAllDirectories ----

TEST(HeaderScan, TenFilesAreCountedAsTwelveItems) {
  ScratchDir scratch;
  for (int i = 0; i < 10; ++i) {
    WriteFile("inc/h" + std::to_string(i) + ".h",
              "int __kw" + std::to_string(i) + ";\n");
  }
  FakeRun run(true, true);
  run.tg->ignoreKeywords = {"int"};
  LogWatch log(*run.tg);
  const std::string inc = scratch.work() + "/inc";
  run.tg->includeDirs = {inc};
  ScanAllDirectories(*run.tg);
  EXPECT_EQ(
      "Scanning All Directories...\n"
      "Scanning 12 files...\n"
      "[  0%]~[  8%]~[ 16%]~[ 25%]~[ 33%]~[ 41%]~[ 50%]~[ 58%]~[ 66%]~[ 75%]"
      "~[ 83%]~[ 91%]~[100%]~\n",
      run.console.str());
  Names lines = log.NewLines();
  ASSERT_EQ(12u, lines.size());
  EXPECT_EQ(std::string(kInfo) + "Scanning All Directories...", lines[0]);
  EXPECT_EQ(std::string(kInfo) + "List of files to scan for keywords: ",
            lines[1]);
  // Tasks may run side by side, so the file lines come in any order.
  Names fileLines(lines.begin() + 2, lines.end());
  std::sort(fileLines.begin(), fileLines.end());
  for (int i = 0; i < 10; ++i) {
    EXPECT_EQ(std::string(kInfo) + inc + "/h" + std::to_string(i) + ".h",
              fileLines[static_cast<std::size_t>(i)]);
  }
  EXPECT_EQ((StringSet{"__kw0", "__kw1", "__kw2", "__kw3", "__kw4", "__kw5",
                       "__kw6", "__kw7", "__kw8", "__kw9"}),
            run.tg->candidateKeywords);
}

TEST(HeaderScan, WalksEveryIncludeDirectoryAndSkipsMissingOnes) {
  ScratchDir scratch;
  WriteFile("a/one.h", "#define __one_attr __attribute__\n");
  WriteFile("b/two.hpp", "namespace __two { }\n");
  FakeRun run(false, true);
  run.tg->ignoreKeywords = {"define", "namespace"};
  run.tg->includeDirs = {scratch.work() + "/a", scratch.work() + "/b",
                         scratch.work() + "/missing"};
  ScanAllDirectories(*run.tg);
  EXPECT_EQ((StringSet{"__attribute__", "__one_attr", "__two"}),
            run.tg->candidateKeywords);
  EXPECT_EQ(2u, run.tg->HeaderInventory.size());
  EXPECT_EQ(2u, run.tg->headerFiles.size());
  EXPECT_NE(std::string::npos, run.console.str().find("Scanning 4 files...\n"));
}

TEST(HeaderScan, NoDirectoriesScansNothingButTheTwoSteps) {
  ScratchDir scratch;
  FakeRun run(true, true);
  ScanAllDirectories(*run.tg);
  EXPECT_EQ(
      "Scanning All Directories...\n"
      "Scanning 2 files...\n"
      "[  0%]~[ 50%]~[100%]~\n",
      run.console.str());
  EXPECT_TRUE(run.tg->candidateKeywords.empty());
}

TEST(HeaderScan, TextExtensionsAreTokenisedWithoutLookingInside) {
  ScratchDir scratch;
  // Read as text, the zero byte separates "ab" and "cd"; read as binary,
  // the run before the zero would give "b" only.
  const std::string bytes("ab\0cd", 5);
  WriteFile("inc/notes.text", bytes);
  WriteFile("inc/a.t", bytes);
  FakeRun run(true, true);
  run.tg->includeDirs = {scratch.work() + "/inc"};
  ScanAllDirectories(*run.tg);
  EXPECT_EQ((StringSet{"ab", "cd"}), run.tg->candidateKeywords);
}

TEST(HeaderScan, FileWithDisallowedByteIsReadAsBinary) {
  ScratchDir scratch;
  WriteFile("inc/lib.so", std::string("\x01__attr_y 9z\0zzz", 16));
  FakeRun run(true, true);
  run.tg->includeDirs = {scratch.work() + "/inc"};
  ScanAllDirectories(*run.tg);
  EXPECT_EQ((StringSet{"__attr_y"}), run.tg->candidateKeywords);
}

TEST(HeaderScan, BinaryRunsSkipTheFirstByteAndKeepTheLast127) {
  ScratchDir scratch;
  const std::string longRun(130, 'x');
  WriteFile("inc/data.bin", std::string("ab\0", 3) + "\x02" + longRun +
                                std::string("\0int\0", 5) + "\x80q");
  FakeRun run(true, true);
  run.tg->ignoreKeywords = {"int"};
  run.tg->includeDirs = {scratch.work() + "/inc"};
  ScanAllDirectories(*run.tg);
  EXPECT_EQ((StringSet{"b", std::string(127, 'x')}), run.tg->candidateKeywords);
}

TEST(HeaderScan, PrintableFileWithOtherExtensionIsReadAsText) {
  ScratchDir scratch;
  WriteFile("inc/lib.so", "plain words\n");
  FakeRun run(true, true);
  run.tg->includeDirs = {scratch.work() + "/inc"};
  ScanAllDirectories(*run.tg);
  EXPECT_EQ((StringSet{"plain", "words"}), run.tg->candidateKeywords);
}

TEST(HeaderScan, PathWithoutDotIsSkippedWithWarningAndScanGoesOn) {
  ScratchDir scratch;
  WriteFile("inc/vector", "__vector_kw\n");
  WriteFile("inc/other.h", "__other_kw\n");
  FakeRun run(false, true);
  LogWatch log(*run.tg);
  // A relative directory keeps every "." out of the path.
  run.tg->includeDirs = {"inc"};
  ScanAllDirectories(*run.tg);
  EXPECT_EQ((StringSet{"__other_kw"}), run.tg->candidateKeywords);
  const Names lines = log.NewLines();
  EXPECT_EQ(1, std::count(lines.begin(), lines.end(),
                          std::string(kWarn) +
                              "File not scanned, no \".\" in its path: "
                              "inc/vector"));
  EXPECT_NE(std::string::npos, run.console.str().find("[100%]~\n"));
}

TEST(HeaderScan, DotInDirectoryLetsContentDecide) {
  ScratchDir scratch;
  WriteFile("inc.d/vector", "__vector_kw\n");
  FakeRun run(false, true);
  LogWatch log(*run.tg);
  run.tg->includeDirs = {"inc.d"};
  ScanAllDirectories(*run.tg);
  EXPECT_EQ((StringSet{"__vector_kw"}), run.tg->candidateKeywords);
}

TEST(HeaderScan, IncludeLinesContributeNotEvenTheHeaderName) {
  ScratchDir scratch;
  WriteFile("inc/x.h", "#include <__hidden_name.h>\n__seen\n");
  FakeRun run(true, true);
  run.tg->includeDirs = {scratch.work() + "/inc"};
  ScanAllDirectories(*run.tg);
  EXPECT_EQ((StringSet{"__seen"}), run.tg->candidateKeywords);
}

// ---- Template keywords ----

TEST(HeaderScan, TemplateTestSectionAddsItsLines) {
  ScratchDir scratch;
  WriteFile("tpl.p_c",
            "-d X=1\n<add>\n-d Y\n</add>\n<test>\n__foo\n__bar\n</test>\n"
            "__after\n");
  FakeRun run(true, true);
  run.tg->templatePath = "tpl.p_c";
  LogWatch log(*run.tg);
  ScanAllDirectories(*run.tg);
  EXPECT_EQ((StringSet{"__bar", "__foo"}), run.tg->candidateKeywords);
  EXPECT_EQ(
      (Names{std::string(kInfo) + "Scanning All Directories...",
             std::string(kInfo) + "List of files to scan for keywords: ",
             std::string(kInfo) +
                 "Additional keywords specified in the Template Personality:",
             std::string(kInfo) + "__foo", std::string(kInfo) + "__bar"}),
      log.NewLines());
}

TEST(HeaderScan, TemplateLinesAreTakenWholeAndOnlyAsIdentifiers) {
  ScratchDir scratch;
  WriteFile("tpl.p_c", "<test>\n __spaced \n\n__ok1\n1bad\n</test>\n");
  FakeRun run(true, true);
  run.tg->templatePath = "tpl.p_c";
  AddTemplateKeywords(*run.tg);
  // Lines are not trimmed, so a blank makes a line no identifier; an empty
  // line is passed over without a word.
  EXPECT_EQ((StringSet{"__ok1"}), run.tg->candidateKeywords);
  EXPECT_EQ(
      "Template keyword is not a C identifier and is not tested: ' __spaced ' "
      "(tpl.p_c line 2)\n"
      "Template keyword is not a C identifier and is not tested: '1bad' "
      "(tpl.p_c line 5)\n",
      run.console.str());
}

TEST(HeaderScan, TemplateTestSectionWithoutEndStopsAtEndOfFile) {
  ScratchDir scratch;
  WriteFile("tpl.p_c", "<test>\n__foo\n__bar");
  FakeRun run(true, true);
  run.tg->templatePath = "tpl.p_c";
  AddTemplateKeywords(*run.tg);
  EXPECT_EQ((StringSet{"__bar", "__foo"}), run.tg->candidateKeywords);
}

TEST(HeaderScan, TemplateWithoutTestSectionAddsAndLogsNothing) {
  ScratchDir scratch;
  WriteFile("tpl.p_c", "<add>\n-d A\n</add>\n");
  FakeRun run(true, true);
  run.tg->templatePath = "tpl.p_c";
  LogWatch log(*run.tg);
  AddTemplateKeywords(*run.tg);
  EXPECT_TRUE(run.tg->candidateKeywords.empty());
  EXPECT_EQ(Names{}, log.NewLines());
}

TEST(HeaderScan, MissingTemplateAddsNothing) {
  ScratchDir scratch;
  FakeRun run(true, true);
  run.tg->templatePath = "none.p_c";
  LogWatch log(*run.tg);
  AddTemplateKeywords(*run.tg);
  EXPECT_TRUE(run.tg->candidateKeywords.empty());
  EXPECT_EQ(Names{}, log.NewLines());
}

// ---- Force-include tokens ----

TEST(HeaderScan, ForceIncludeTokensAreRemovedAndLogged) {
  ScratchDir scratch;
  WriteFile("fi.h",
            "int __before;\n"
            "/* Any other items */\n"
            "int __reg1;\n"
            "#define __reg2 1\n"
            "int\t__tabbed;\n"
            "#else\n"
            "int __reg3;\n");
  FakeRun run(true, true);
  run.tg->forceIncludePath = "fi.h";
  run.tg->candidateKeywords = {"__before", "__reg1",   "__reg2",
                               "__reg3",   "__tabbed", "int"};
  LogWatch log(*run.tg);
  RemoveForceIncludeTokens(*run.tg);
  EXPECT_EQ((StringSet{"__before", "__reg3", "__tabbed"}),
            run.tg->candidateKeywords);
  EXPECT_EQ((Names{std::string(kInfo) + "FI token '__reg1' ignored as KW",
                   std::string(kInfo) + "FI token '__reg2' ignored as KW",
                   std::string(kInfo) + "FI token 'int' ignored as KW"}),
            log.NewLines());
}

TEST(HeaderScan, ForceIncludeBlockWithoutElseStopsAtEndOfFile) {
  ScratchDir scratch;
  WriteFile("fi.h", "// Any other items\nint __reg1;\nint __reg2;");
  FakeRun run(true, true);
  run.tg->forceIncludePath = "fi.h";
  run.tg->candidateKeywords = {"__reg1", "__reg2", "__kept"};
  RemoveForceIncludeTokens(*run.tg);
  EXPECT_EQ((StringSet{"__kept"}), run.tg->candidateKeywords);
}

TEST(HeaderScan, EveryAnyOtherItemsBlockCounts) {
  ScratchDir scratch;
  WriteFile("fi.h",
            "Any other items\n__a\n#else\n__b\nAny other items\n__c\n#else\n");
  FakeRun run(true, true);
  run.tg->forceIncludePath = "fi.h";
  run.tg->candidateKeywords = {"__a", "__b", "__c"};
  RemoveForceIncludeTokens(*run.tg);
  EXPECT_EQ((StringSet{"__b"}), run.tg->candidateKeywords);
}

TEST(HeaderScan, MissingForceIncludeRemovesNothing) {
  ScratchDir scratch;
  FakeRun run(true, true);
  run.tg->forceIncludePath = "none.h";
  run.tg->candidateKeywords = {"__a"};
  LogWatch log(*run.tg);
  RemoveForceIncludeTokens(*run.tg);
  EXPECT_EQ((StringSet{"__a"}), run.tg->candidateKeywords);
  EXPECT_EQ(Names{}, log.NewLines());
}

TEST(HeaderScan, ScanRemovesForceIncludeTokensAfterTemplateKeywords) {
  ScratchDir scratch;
  WriteFile("inc/x.h", "__from_header __reg\n");
  WriteFile("tpl.p_c", "<test>\n__from_template\n__reg_tpl\n</test>\n");
  WriteFile("fi.h", "Any other items\nint __reg, __reg_tpl;\n#else\n");
  FakeRun run(true, true);
  run.tg->includeDirs = {scratch.work() + "/inc"};
  run.tg->templatePath = "tpl.p_c";
  run.tg->forceIncludePath = "fi.h";
  ScanAllDirectories(*run.tg);
  EXPECT_EQ((StringSet{"__from_header", "__from_template"}),
            run.tg->candidateKeywords);
}

// ---- ScanFile ----

TEST(HeaderScan, ScanFileCountsLogsAndMergesOneFile) {
  ScratchDir scratch;
  WriteFile("one.h", "__a __b int\n");
  FakeRun run(true, true);
  run.tg->ignoreKeywords = {"int"};
  run.tg->candidateKeywords = {"__z"};
  run.tg->progressStart(4);
  LogWatch log(*run.tg);
  ScanFile(*run.tg, "one.h");
  EXPECT_EQ((StringSet{"__a", "__b", "__z"}), run.tg->candidateKeywords);
  EXPECT_EQ((Names{std::string(kInfo) + "one.h"}), log.NewLines());
  EXPECT_EQ("[  0%]~[ 25%]", run.console.str());
}

TEST(HeaderScan, UnreadableFileContributesNothing) {
  ScratchDir scratch;
  FakeRun run(true, true);
  ScanFile(*run.tg, "missing.h");
  EXPECT_TRUE(run.tg->candidateKeywords.empty());
}
