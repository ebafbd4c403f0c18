#include "probes/extension_keywords.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "tests/support/test_support.h"

using tessel_test::FakeInvocations;
using tessel_test::FakeRun;
using tessel_test::Lines;
using tessel_test::ReadFile;
using tessel_test::ScratchDir;
using tessel_test::WriteFakeRules;

namespace {

// The run log's lines from the stage's first line on, without their stamps.
std::vector<std::string> StageLog(const FakeRun& run) {
  std::vector<std::string> all = Lines(ReadFile(run.tg->log.fileName()));
  std::vector<std::string> tail;
  bool inStage = false;
  for (const std::string& line : all) {
    std::string text = line.size() > 14 ? line.substr(14) : line;
    if (text == "[INFO] Scanning for compiler extension keywords...") {
      inStage = true;
    }
    if (inStage) {
      tail.push_back(text);
    }
  }
  return tail;
}

// The "Number is now" lines of the log, in order.
std::vector<std::string> RoundLines(const FakeRun& run) {
  std::vector<std::string> rounds;
  for (const std::string& line : StageLog(run)) {
    if (line.find("Number is now") != std::string::npos) {
      rounds.push_back(line);
    }
  }
  return rounds;
}

// A compiler that rejects a second definition of one function name, as real
// compilers do, and rejects every name listed in `keywords` as a syntax
// error.
std::string RulesRejecting(const std::string& keywords) {
  return "dups=$(grep -o 'void func[0-9]*' \"$FAKE_SRC\" | sort | uniq -d)\n"
         "[ -n \"$dups\" ] && fail \"error: redefinition of '${dups#void }'\"\n"
         "for k in " +
         keywords +
         "; do\n"
         "  grep -q -w -- \"$k\" \"$FAKE_SRC\" && fail \"error: expected "
         "identifier before '$k'\"\n"
         "done\n"
         "cp \"$FAKE_SRC\" \"group$(wc -l < fakecc.argv).src\"\n";
}

const char kThirteenSteps[] =
    "[  0%]~[  7%]~[ 15%]~[ 23%]~[ 30%]~[ 38%]~[ 46%]~[ 53%]~[ 61%]~[ 69%]"
    "~[ 76%]~[ 84%]~[ 92%]~[100%]~\n";

}  // namespace

TEST(ExtensionKeywordsStage, EmptyCandidatesLogEveryRoundAndFindNothing) {
  ScratchDir scratch;
  FakeRun run(true, false);
  ScanExtensionKeywords(*run.tg);
  EXPECT_EQ(std::string("\nScanning for compiler extension keywords...\n") +
                kThirteenSteps,
            run.console.str());
  EXPECT_EQ(std::vector<std::string>(
                {"[INFO] Scanning for compiler extension keywords...",
                 "[INFO] All 0 keywords to be tested:",
                 "[INFO] \tNumber is now: 4096", "[INFO] \tNumber is now: 2048",
                 "[INFO] \tNumber is now: 1024", "[INFO] \tNumber is now: 512",
                 "[INFO] \tNumber is now: 256", "[INFO] \tNumber is now: 128",
                 "[INFO] \tNumber is now: 64", "[INFO] \tNumber is now: 32",
                 "[INFO] \tNumber is now: 16", "[INFO] \tNumber is now: 8",
                 "[INFO] \tNumber is now: 4", "[INFO] \tNumber is now: 2",
                 "[INFO] \tNumber is now: 1"}),
            StageLog(run));
  // The old-style check alone, which leaves no object behind.
  EXPECT_EQ(1, run.shell.compiles);
  EXPECT_FALSE(tessel_test::Exists("tmp_cmpext_test.o"));
  EXPECT_TRUE(run.tg->extensionKeywordsFound.empty());
  EXPECT_FALSE(run.tg->limitedCppSupport);
}

TEST(ExtensionKeywordsStage, TenSuspectsAreFirstTestedInGroupsOfEightAndTwo) {
  ScratchDir scratch;
  FakeRun run(true, false);
  WriteFakeRules(RulesRejecting(""));
  run.tg->candidateKeywords = {"a0", "a1", "a2", "a3", "a4",
                               "a5", "a6", "a7", "a8", "a9"};
  ScanExtensionKeywords(*run.tg);
  std::vector<std::string> log = StageLog(run);
  ASSERT_GE(log.size(), 12u);
  EXPECT_EQ("[INFO] All 10 keywords to be tested:", log[1]);
  EXPECT_EQ("[INFO] a0", log[2]);
  EXPECT_EQ("[INFO] a9", log[11]);
  EXPECT_EQ(13u, RoundLines(run).size());
  // After the old-style check both groups compiled: 4,096 down to 16 only
  // log, 8 tests, the rest have nothing left to test.
  EXPECT_EQ(3, run.shell.compiles);
  EXPECT_EQ(
      "void func9( a8) int a8; {}\nvoid func10( a9) int a9; {}\n"
      "#ifndef a8\nint a8[1];\n#endif\n#ifndef a9\nint a9[1];\n#endif\n",
      ReadFile("group3.src"));
  EXPECT_TRUE(run.tg->extensionKeywordsFound.empty());
  EXPECT_FALSE(tessel_test::Exists("stdout.log"));
  EXPECT_FALSE(tessel_test::Exists("stderr.log"));
}

TEST(ExtensionKeywordsStage, CGroupWithoutKeywordsCompilesAndIsDroppedWhole) {
  ScratchDir scratch;
  FakeRun run(true, false);
  WriteFakeRules(RulesRejecting(""));
  std::set<std::string> names;
  for (int i = 0; i < 100; ++i) {
    names.insert("name" + std::to_string(i));
  }
  run.tg->candidateKeywords = names;
  ScanExtensionKeywords(*run.tg);
  // The old-style check, then one group of 64 and one of 36 (4,096 down
  // to 128 are skipped).
  EXPECT_EQ(3, run.shell.compiles);
  EXPECT_TRUE(run.tg->extensionKeywordsFound.empty());
}

TEST(ExtensionKeywordsStage, KeywordIsFoundByHalvingTheFailedGroups) {
  ScratchDir scratch;
  FakeRun run(true, false);
  WriteFakeRules(RulesRejecting("__kw"));
  run.tg->candidateKeywords = {"alpha", "beta", "__kw", "gamma"};
  ScanExtensionKeywords(*run.tg);
  // The old-style check (func0); 4: one failing group; 2: {__kw, alpha}
  // fails, {beta, gamma} passes; 1: __kw fails, alpha passes.
  EXPECT_EQ(6, run.shell.compiles);
  EXPECT_EQ(std::set<std::string>({"__kw"}), run.tg->extensionKeywordsFound);
  EXPECT_EQ(
      "void func10( alpha) int alpha; {}\n#ifndef alpha\nint alpha[1];\n"
      "#endif\n",
      ReadFile("tmp_cmpext_test.c"));
  EXPECT_EQ(std::string("\nScanning for compiler extension keywords...\n") +
                kThirteenSteps,
            run.console.str());
}

TEST(ExtensionKeywordsStage, CandidateAlreadyDeclaredIsIgnoredAsBuiltin) {
  const char* messages[] = {"error: redefinition of '__bi'",
                            "error: declaration is incompatible with __bi",
                            "error: redeclaration of '__bi'"};
  for (const char* message : messages) {
    ScratchDir scratch;
    FakeRun run(true, false);
    WriteFakeRules(std::string("has __bi && fail \"") + message + "\"\n");
    run.tg->candidateKeywords = {"__bi", "other"};
    ScanExtensionKeywords(*run.tg);
    // After the old-style check, the group of two fails with the message
    // and goes on; alone, the message marks the name as a built-in.
    EXPECT_EQ(4, run.shell.compiles) << message;
    EXPECT_NE(std::string::npos,
              run.console.str().find("~[ 92%]~ignoring builtin: __bi\n~[100%]"))
        << run.console.str();
    EXPECT_TRUE(run.tg->extensionKeywordsFound.empty()) << message;
  }
}

TEST(ExtensionKeywordsStage, FailureWithoutBuiltinMessageFindsTheKeyword) {
  ScratchDir scratch;
  FakeRun run(true, false);
  WriteFakeRules("has __kw && fail \"error: redefined here\"\n");
  run.tg->candidateKeywords = {"__kw"};
  ScanExtensionKeywords(*run.tg);
  EXPECT_EQ(std::set<std::string>({"__kw"}), run.tg->extensionKeywordsFound);
  EXPECT_EQ(std::string::npos, run.console.str().find("ignoring builtin"));
}

TEST(ExtensionKeywordsStage, CppGroupsUseTheNamespaceTestNumberedAfterCheck) {
  ScratchDir scratch;
  FakeRun run(false, false);
  WriteFakeRules("");
  run.tg->candidateKeywords = {"k1", "k2"};
  ScanExtensionKeywords(*run.tg);
  EXPECT_FALSE(run.tg->limitedCppSupport);
  EXPECT_EQ(
      "namespace NS1 { class A_zorv; int k1 (A_zorv const &, int); }\n"
      "void foo1 (NS1::A_zorv const & a_zorv ) { int bar_zorv ( k1 (a_zorv, "
      "0) ); }\n"
      "namespace NS2 { class A_zorv; int k2 (A_zorv const &, int); }\n"
      "void foo2 (NS2::A_zorv const & a_zorv ) { int bar_zorv ( k2 (a_zorv, "
      "0) ); }\n"
      "#ifndef k1\nint k1[1];\n#endif\n#ifndef k2\nint k2[1];\n#endif\n",
      ReadFile("tmp_cmpext_test.cpp"));
  // The support check and the one group of two; the C old-style check
  // does not run for C++.
  EXPECT_EQ(2, run.shell.compiles);
  EXPECT_EQ(std::string::npos, run.console.str().find("limited"));
}

TEST(ExtensionKeywordsStage, LimitedCppSupportLeavesOnlyTheObjectNames) {
  ScratchDir scratch;
  FakeRun run(false, false);
  WriteFakeRules("has namespace && fail \"error: namespace unknown\"\n");
  run.tg->candidateKeywords = {"k1", "k2"};
  ScanExtensionKeywords(*run.tg);
  EXPECT_TRUE(run.tg->limitedCppSupport);
  EXPECT_EQ(std::string("\nScanning for compiler extension keywords...\n"
                        "Compiler has limited C++ support - intrinsic type "
                        "definitions may not be detected.\n") +
                kThirteenSteps,
            run.console.str());
  EXPECT_EQ("#ifndef k1\nint k1[1];\n#endif\n#ifndef k2\nint k2[1];\n#endif\n",
            ReadFile("tmp_cmpext_test.cpp"));
  EXPECT_TRUE(run.tg->extensionKeywordsFound.empty());
}

TEST(ExtensionKeywordsStage, ReducedFileSizeStartsWithGroupsOf1024) {
  ScratchDir scratch;
  FakeRun run(true, false);
  run.tg->reducedFileSize = true;
  ScanExtensionKeywords(*run.tg);
  std::vector<std::string> rounds = RoundLines(run);
  ASSERT_EQ(11u, rounds.size());
  EXPECT_EQ("[INFO] \tNumber is now: 1024", rounds.front());
  EXPECT_EQ(
      "\nScanning for compiler extension keywords...\n"
      "[  0%]~[  9%]~[ 18%]~[ 27%]~[ 36%]~[ 45%]~[ 54%]~[ 63%]~[ 72%]~[ 81%]"
      "~[ 90%]~[100%]~\n",
      run.console.str());
}

TEST(ExtensionKeywordsStage, PassMarkerWithoutObjectCountsAsCompiled) {
  ScratchDir scratch;
  FakeRun run(true, false);
  WriteFakeRules("no_output\n");
  run.tg->candidateKeywords = {"__kw"};
  ScanExtensionKeywords(*run.tg);
  // The old-style check and the group, both passed by the marker.
  EXPECT_EQ(2, run.shell.compiles);
  EXPECT_EQ(std::string::npos, run.console.str().find("limited"));
  EXPECT_TRUE(run.tg->extensionKeywordsFound.empty());
}

TEST(ExtensionKeywordsStage, GroupWhoseFileCannotBeWrittenIsDropped) {
  ScratchDir scratch;
  FakeRun run(true, false);
  WriteFakeRules("fail \"error: everything fails\"\n");
  tessel_test::WriteFile("tmp_cmpext_test.c/blocker", "");
  run.tg->candidateKeywords = {"__kw"};
  ScanExtensionKeywords(*run.tg);
  EXPECT_EQ(0, run.shell.compiles);
  EXPECT_TRUE(run.tg->extensionKeywordsFound.empty());
}

TEST(ExtensionKeywordsStage, CandidatesAreLeftUnchanged) {
  ScratchDir scratch;
  FakeRun run(true, false);
  WriteFakeRules("has __kw && fail \"error: expected identifier\"\n");
  run.tg->candidateKeywords = {"__kw", "x"};
  ScanExtensionKeywords(*run.tg);
  EXPECT_EQ(std::set<std::string>({"__kw", "x"}), run.tg->candidateKeywords);
  EXPECT_EQ(std::set<std::string>({"__kw"}), run.tg->extensionKeywordsFound);
  // The old-style check, the group of two, and each alone.
  EXPECT_EQ(4u, FakeInvocations().size());
}

TEST(ExtensionKeywordsStage, OldStyleCAcceptedKeepsTheDefinitionsInTheGroups) {
  ScratchDir scratch;
  FakeRun run(true, false);
  // The fake keeps a copy of every source, failed or not.
  WriteFakeRules("cp \"$FAKE_SRC\" \"group$(wc -l < fakecc.argv).src\"\n" +
                 RulesRejecting("__kw"));
  run.tg->candidateKeywords = {"__kw", "other"};
  ScanExtensionKeywords(*run.tg);
  EXPECT_EQ("void func0( foo) int foo; {}\n", ReadFile("group1.src"));
  EXPECT_EQ(
      "void func1( __kw) int __kw; {}\nvoid func2( other) int other; {}\n"
      "#ifndef __kw\nint __kw[1];\n#endif\n#ifndef other\nint other[1];\n"
      "#endif\n",
      ReadFile("group2.src"));
  EXPECT_EQ(std::string("\nScanning for compiler extension keywords...\n") +
                kThirteenSteps,
            run.console.str());
  std::vector<std::string> log = StageLog(run);
  ASSERT_GE(log.size(), 2u);
  EXPECT_EQ("[INFO] All 2 keywords to be tested:", log[1]);
  EXPECT_EQ(std::set<std::string>({"__kw"}), run.tg->extensionKeywordsFound);
}

// A compiler that rejects old-style definitions (as sdcc does) would fail
// every group; the groups then hold the object declarations alone, and
// only the real keyword is found.
TEST(ExtensionKeywordsStage, OldStyleCRejectedTestsByDeclarationsOnly) {
  ScratchDir scratch;
  FakeRun run(true, false);
  WriteFakeRules(
      "cp \"$FAKE_SRC\" \"group$(wc -l < fakecc.argv).src\"\n"
      "has ') int ' && fail \"error 7: Old style C declaration\"\n"
      "has __data && fail \"error: syntax error: token -> '__data'\"\n");
  run.tg->candidateKeywords = {"__data", "printf", "size_t"};
  ScanExtensionKeywords(*run.tg);
  EXPECT_EQ(std::string("\nScanning for compiler extension keywords...\n"
                        "Compiler has limited old-style C support - extension "
                        "keywords are tested by declarations only.\n") +
                kThirteenSteps,
            run.console.str());
  std::vector<std::string> log = StageLog(run);
  ASSERT_GE(log.size(), 3u);
  EXPECT_EQ(
      "[WARN] Compiler has limited old-style C support - extension keywords "
      "are tested by declarations only.",
      log[1]);
  EXPECT_EQ("[INFO] All 3 keywords to be tested:", log[2]);
  EXPECT_EQ("void func0( foo) int foo; {}\n", ReadFile("group1.src"));
  // Groups of 2 and 1, then each member of the failed group alone.
  EXPECT_EQ(
      "#ifndef __data\nint __data[1];\n#endif\n#ifndef printf\nint "
      "printf[1];\n#endif\n",
      ReadFile("group2.src"));
  EXPECT_EQ("#ifndef size_t\nint size_t[1];\n#endif\n", ReadFile("group3.src"));
  EXPECT_EQ("#ifndef printf\nint printf[1];\n#endif\n", ReadFile("group5.src"));
  EXPECT_EQ(5, run.shell.compiles);
  EXPECT_EQ(std::set<std::string>({"__data"}), run.tg->extensionKeywordsFound);
}
