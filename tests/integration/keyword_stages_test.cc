// The extension keyword scan and the keyword position tests against real
// compilers, with the shipped keyword test directories. The candidates are
// given here (known extension keywords of each compiler mixed with ordinary
// names); each table lists the treatment every keyword gets.
#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "app/tessel_gen.h"
#include "harness/globals.h"
#include "probes/context_keywords.h"
#include "probes/extension_keywords.h"
#include "tests/support/test_support.h"

using tessel_test::FrozenClock;
using tessel_test::kSourceDir;
using tessel_test::RunProcess;
using tessel_test::ScratchDir;

namespace {

// How to call one real compiler.
struct CompilerSetup {
  std::string exe;
  bool isC = true;
  bool cross = false;
  std::string objExt = ".o";
  std::vector<std::string> switches;
};

// A TesselGen for a real compiler, working in the current directory, with
// the shipped keyword test directory of its product one level above.
struct RealRun {
  explicit RealRun(const CompilerSetup& setup) {
    reset_globals_for_testing();
    tg = std::make_unique<TesselGen>(setup.isC ? "vellc" : "vellcpp",
                                     setup.cross ? "ccmp" : "cmp", setup.exe,
                                     "-o ", "-c", "-D", setup.objExt,
                                     "%c %j %d%s %o%e", shell, FrozenClock);
    tg->out = &console;
    tg->err = &console;
    for (const std::string& sw : setup.switches) {
      tg->implicitSwitches.push_back(sw);
    }
    S_OBJEXT = setup.objExt;
    const std::string dir = setup.isC ? "c_keyword_tests" : "cpp_keyword_tests";
    RunProcess("cp -R " + std::string(kSourceDir) + "/data/" + dir + " ../");
  }
  std::ostringstream console;
  SystemShell realShell;
  CountingShell shell{realShell};
  std::unique_ptr<TesselGen> tg;
};

bool Installed(const std::string& exe) {
  return RunProcess("command -v " + exe).exitCode == 0;
}

// Ordinary names that every compiler must leave out.
const std::set<std::string> kOrdinaryNames = {"alpha", "buffer_size", "count",
                                              "printf", "zeta_value"};

// The results of both stages for `keywords` plus the ordinary names.
struct KeywordResults {
  std::set<std::string> found;
  std::set<std::string> lines;
  std::set<std::string> typeKeywords;
  std::set<std::string> registers;
  std::vector<std::string> review;
  long scanCompiles = 0;
};

KeywordResults RunBothStages(RealRun& run,
                             const std::set<std::string>& keywords) {
  TesselGen& tg = *run.tg;
  tg.candidateKeywords = keywords;
  tg.candidateKeywords.insert(kOrdinaryNames.begin(), kOrdinaryNames.end());
  tg.languageKeywords = tessel_test::ShippedLanguageKeywords(tg.isC);
  tg.ignoreReservedWords = tessel_test::ShippedLanguageKeywords(false);
  tg.extensionKeywords = {{"asm", "asm"}};
  tg.builtinReplaceKeywords = {
      {"__builtin_va_list", "__builtin_va_list=char*"}};
  ScanExtensionKeywords(tg);
  KeywordResults results;
  results.scanCompiles = run.shell.compiles;
  results.found = tg.extensionKeywordsFound;
  ContextKeywordFindings findings = DecideContextKeywords(tg, false);
  results.lines = findings.lines;
  results.typeKeywords = findings.typeKeywords;
  results.registers = tg.registerIdentifiers;
  results.review = tg.ReviewLines;
  return results;
}

// `extra` plus the two fixed lines of the product's prefix.
std::set<std::string> WithFixedLines(const std::string& prefix,
                                     std::set<std::string> extra) {
  extra.insert(prefix + "kiv_ignore_paren=_ignore_paren");
  extra.insert(prefix + "\"_kiv_null_expression=0 kiv_ignore_paren\"");
  return extra;
}

}  // namespace

TEST(KeywordStagesGcc, CExtensionKeywordsGetTheirTreatment) {
  if (!Installed("gcc")) {
    GTEST_SKIP() << "skipped: gcc not installed";
  }
  ScratchDir scratch("work");
  RealRun run({"gcc", true, false, ".o", {"-fno-diagnostics-show-caret"}});
  KeywordResults r = RunBothStages(
      run,
      {"__attribute__", "__extension__", "__asm__", "__inline", "__inline__",
       "__restrict", "__int128", "__builtin_va_list", "_Float128", "__const",
       "__signed__", "__alignof__", "__thread", "__typeof__", "__label__"});
  EXPECT_EQ(std::set<std::string>(
                {"__alignof__", "__asm__", "__attribute__", "__builtin_va_list",
                 "__const", "__extension__", "__inline", "__inline__",
                 "__int128", "__label__", "__restrict", "__signed__",
                 "__thread", "__typeof__", "_Float128"}),
            r.found);
  EXPECT_EQ(WithFixedLines(
                "-d ", {"-d __builtin_va_list=char*",
                        "-d \"__alignof__=alignof\"", "-d \"__asm__=asm\"",
                        "-ex asm", "-d \"__attribute__=kiv_ignore_paren\"",
                        "-d \"__const=const\"", "-d \"__extension__=\"",
                        "-d \"__inline=inline\"", "-d \"__inline__=inline\"",
                        "-d \"__restrict=restrict\"",
                        "-d \"__signed__=signed\"", "-d \"__thread=\"",
                        "-d __label__=", "-d \"__typeof__=typeof\""}),
            r.lines);
  EXPECT_EQ(std::set<std::string>({"__int128", "_Float128"}), r.typeKeywords);
  // The shipped C keyword list holds C23's alignof and typeof, so the
  // underscored spellings are defined as those.
  EXPECT_EQ(std::vector<std::string>({"-d __label__="}), r.review);
  EXPECT_TRUE(r.registers.empty());
}

TEST(KeywordStagesGpp, CppExtensionKeywordsGetTheirTreatment) {
  if (!Installed("g++")) {
    GTEST_SKIP() << "skipped: g++ not installed";
  }
  ScratchDir scratch("work");
  RealRun run({"g++", false, false, ".o", {"-fno-diagnostics-show-caret"}});
  KeywordResults r = RunBothStages(
      run,
      {"__attribute__", "__extension__", "__asm__", "__inline", "__restrict",
       "__int128", "__builtin_va_list", "__const", "__signed__", "__alignof__",
       "__thread", "__null", "__typeof__", "alignas", "nullptr"});
  // The scan also finds the standard keywords among the candidates; the
  // reserved words are removed before the position tests.
  EXPECT_EQ(std::set<std::string>(
                {"__alignof__", "__asm__", "__attribute__", "__builtin_va_list",
                 "__const", "__extension__", "__inline", "__int128", "__null",
                 "__restrict", "__signed__", "__thread", "__typeof__",
                 "alignas", "nullptr"}),
            r.found);
  EXPECT_EQ(WithFixedLines(
                "-sd ", {"-sd __builtin_va_list=char*",
                         "-sd \"__alignof__=alignof\"", "-sd \"__asm__=asm\"",
                         "-sd \"__attribute__=kiv_ignore_paren\"",
                         "-sd \"__const=const\"", "-sd \"__extension__=\"",
                         "-sd \"__inline=inline\"", "-sd \"__null=0\"",
                         "-sd \"__restrict=\"", "-sd \"__signed__=signed\"",
                         "-sd \"__thread=\"", "-sd __typeof__="}),
            r.lines);
  EXPECT_EQ(std::set<std::string>({"__int128"}), r.typeKeywords);
  EXPECT_EQ(std::vector<std::string>({"-sd __typeof__="}), r.review);

  EXPECT_TRUE(r.registers.empty());
}

TEST(KeywordStagesClang, CExtensionKeywordsGetTheirTreatment) {
  if (!Installed("clang")) {
    GTEST_SKIP() << "skipped: clang not installed";
  }
  ScratchDir scratch("work");
  RealRun run({"clang", true, false, ".o", {"-fno-caret-diagnostics"}});
  KeywordResults r = RunBothStages(
      run, {"__attribute__", "__extension__", "__asm__", "__inline",
            "__restrict", "__int128", "__builtin_va_list", "_Nonnull",
            "_Nullable", "__fp16", "__alignof", "__stdcall", "__typeof__"});
  // clang declares __builtin_va_list itself and says so when it is
  // redefined alone.
  EXPECT_EQ(std::set<std::string>({"_Nonnull", "_Nullable", "__alignof",
                                   "__asm__", "__attribute__", "__extension__",
                                   "__fp16", "__inline", "__int128",
                                   "__restrict", "__stdcall", "__typeof__"}),
            r.found);
  EXPECT_NE(std::string::npos,
            run.console.str().find("~ignoring builtin: __builtin_va_list\n"));
  EXPECT_EQ(
      WithFixedLines("-d ", {"-d \"_Nonnull=\"", "-d \"_Nullable=\"",
                             "-d \"__alignof=alignof\"", "-d \"__asm__=asm\"",
                             "-ex asm", "-d \"__attribute__=kiv_ignore_paren\"",
                             "-d \"__extension__=\"", "-d \"__inline=inline\"",
                             "-d \"__restrict=restrict\"", "-d \"__stdcall=\"",
                             "-d \"__typeof__=typeof\""}),
      r.lines);
  EXPECT_EQ(std::set<std::string>({"__fp16", "__int128"}), r.typeKeywords);
  EXPECT_TRUE(r.review.empty());
}

TEST(KeywordStagesClang, CppExtensionKeywordsGetTheirTreatment) {
  if (!Installed("clang++")) {
    GTEST_SKIP() << "skipped: clang++ not installed";
  }
  ScratchDir scratch("work");
  RealRun run({"clang++", false, false, ".o", {"-fno-caret-diagnostics"}});
  KeywordResults r =
      RunBothStages(run, {"__attribute__", "__extension__", "__asm__",
                          "__inline", "__restrict", "__int128", "__null",
                          "_Nonnull", "__decltype", "__alignof"});
  EXPECT_EQ(
      std::set<std::string>({"_Nonnull", "__alignof", "__asm__",
                             "__attribute__", "__decltype", "__extension__",
                             "__inline", "__int128", "__null", "__restrict"}),
      r.found);
  EXPECT_EQ(WithFixedLines("-sd ",
                           {"-sd \"_Nonnull=\"", "-sd \"__alignof=alignof\"",
                            "-sd \"__asm__=asm\"",
                            "-sd \"__attribute__=kiv_ignore_paren\"",
                            "-sd \"__decltype=decltype\"",
                            "-sd \"__extension__=\"", "-sd \"__inline=inline\"",
                            "-sd \"__null=0\"", "-sd \"__restrict=\""}),
            r.lines);
  EXPECT_EQ(std::set<std::string>({"__int128"}), r.typeKeywords);
  EXPECT_TRUE(r.review.empty());
}

TEST(KeywordStagesSdcc, MemorySpacesAndRegistersGetTheirTreatment) {
  if (!Installed("sdcc")) {
    GTEST_SKIP() << "skipped: sdcc not installed";
  }
  ScratchDir scratch("work");
  RealRun run({"sdcc", true, true, ".rel", {"-mmcs51"}});
  KeywordResults r =
      RunBothStages(run, {"__data", "__xdata", "__idata", "__pdata", "__code",
                          "__sfr", "__sfr16", "__sbit", "__bit", "__at",
                          "__interrupt", "__using", "__reentrant", "__critical",
                          "__naked", "__asm", "__endasm", "__far"});
  // sdcc rejects old-style definitions, so the groups hold declarations
  // only; the ordinary names compile as such and are dropped, and so does
  // __endasm, which sdcc takes as an object name outside an __asm block.
  EXPECT_EQ(
      std::set<std::string>({"__asm", "__at", "__bit", "__code", "__critical",
                             "__data", "__far", "__idata", "__interrupt",
                             "__naked", "__pdata", "__reentrant", "__sbit",
                             "__sfr", "__sfr16", "__using", "__xdata"}),
      r.found);
  EXPECT_EQ(
      WithFixedLines(
          "-d ",
          {"-d \"__at=kiv_ignore_paren\"", "-d \"__code=\"",
           "-d \"__critical=\"", "-d \"__data=\"", "-d \"__far=\"",
           "-d \"__idata=\"", "-d \"__interrupt=kiv_ignore_paren\"",
           "-d \"__naked=\"", "-d \"__pdata=\"", "-d \"__reentrant=\"",
           "-d \"__using=kiv_ignore_paren\"", "-d \"__xdata=\"", "-d __asm="}),
      r.lines);
  EXPECT_EQ(std::set<std::string>({"__bit", "__sbit", "__sfr", "__sfr16"}),
            r.typeKeywords);
  EXPECT_EQ(std::vector<std::string>({"-d __asm="}), r.review);
}

TEST(KeywordStagesAvrGcc, AddressSpacesGetTheirTreatment) {
  if (!Installed("avr-gcc")) {
    GTEST_SKIP() << "skipped: avr-gcc not installed";
  }
  ScratchDir scratch("work");
  RealRun run({"avr-gcc",
               true,
               true,
               ".o",
               {"-mmcu=atmega328p", "-fno-diagnostics-show-caret"}});
  KeywordResults r = RunBothStages(
      run, {"__flash", "__memx", "__int24", "__uint24", "__attribute__",
            "__asm__", "__extension__", "__inline", "__int128"});
  // __int128 is a keyword that this target cannot use anywhere.
  EXPECT_EQ(std::set<std::string>({"__asm__", "__attribute__", "__extension__",
                                   "__flash", "__inline", "__int128", "__int24",
                                   "__memx", "__uint24"}),
            r.found);
  EXPECT_EQ(WithFixedLines("-d ", {"-d \"__asm__=asm\"", "-ex asm",
                                   "-d \"__attribute__=kiv_ignore_paren\"",
                                   "-d \"__extension__=\"", "-d \"__flash=\"",
                                   "-d \"__inline=inline\"", "-d \"__memx=\"",
                                   "-d __int128="}),
            r.lines);
  EXPECT_EQ(std::set<std::string>({"__int24", "__uint24"}), r.typeKeywords);
  EXPECT_EQ(std::vector<std::string>({"-d __int128="}), r.review);
}

TEST(KeywordStagesGcc, GroupsOfOrdinaryNamesCompileAndAreDroppedWhole) {
  if (!Installed("gcc")) {
    GTEST_SKIP() << "skipped: gcc not installed";
  }
  ScratchDir scratch("work");
  RealRun run({"gcc", true, false, ".o", {"-fno-diagnostics-show-caret"}});
  for (int i = 0; i < 40; ++i) {
    run.tg->candidateKeywords.insert("name_" + std::to_string(i));
  }
  ScanExtensionKeywords(*run.tg);
  // The old-style check, then one group of 32 and one of 8, each compiled
  // once.
  EXPECT_EQ(3, run.shell.compiles);
  EXPECT_TRUE(run.tg->extensionKeywordsFound.empty());
}
