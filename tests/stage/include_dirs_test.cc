#include "probes/include_dirs.h"

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "harness/compile_harness.h"
#include "tests/support/test_support.h"

using tessel_test::FakeRun;
using tessel_test::Lines;
using tessel_test::ReadFile;
using tessel_test::ScratchDir;
using Strings = std::vector<std::string>;

namespace {

// A compiler imitated by fakecc with the rules of "include_dirs.rules"
// beside this file: it searches `search` in order for the header of the
// source's "#include <...>" among `files` (full paths). It reports a missing
// header as gcc does; with "int x[" in front of the include it reports an
// error inside the header, naming it by its path (or by `shown[dir]` + "/" +
// header when given); otherwise it complains about the second line. A file
// whose value in `files` is "next" includes the next copy of itself further
// down the search list, so both paths appear.
struct SearchingCompiler {
  Strings search;
  std::map<std::string, std::string> files;
  std::map<std::string, std::string> shown;
};

std::string Quote(const std::string& text) {
  return tessel_test::ShellQuote(text);
}

// The rule that appends the source text and a line "----" to "sources.txt".
const char kRecordSource[] =
    "printf '%s----\\n' \"$FAKE_TEXT\" >> sources.txt\n";

// The fakecc rules for `compiler`: its three tables as bash arrays, then
// the searching compiler's rules. Every compile also appends its source
// text and a line "----" to "sources.txt".
std::string Rules(const SearchingCompiler& compiler) {
  std::ostringstream rules;
  rules << "SEARCH=(";
  for (const std::string& dir : compiler.search) {
    rules << " " << Quote(dir);
  }
  rules << " )\ndeclare -A FILES=(";
  for (const auto& [path, kind] : compiler.files) {
    rules << " [" << Quote(path) << "]=" << Quote(kind);
  }
  rules << " )\ndeclare -A SHOWN=(";
  for (const auto& [dir, text] : compiler.shown) {
    rules << " [" << Quote(dir) << "]=" << Quote(text);
  }
  rules << " )\n";
  rules << tessel_test::SourceRules("stage/include_dirs.rules");
  return rules.str();
}

// Every file of every directory of `inventory`, for `files`.
std::map<std::string, std::string> FilesOf(
    const std::map<std::string, std::set<std::string>>& inventory) {
  std::map<std::string, std::string> files;
  for (const auto& [dir, headers] : inventory) {
    for (const std::string& header : headers) {
      files[dir + "/" + header] = "file";
    }
  }
  return files;
}

// The sources compiled so far, in order.
Strings Sources() {
  Strings sources;
  std::string current;
  for (const std::string& line : Lines(ReadFile("sources.txt"))) {
    if (line == "----") {
      sources.push_back(current);
      current.clear();
    } else {
      current += line + "\n";
    }
  }
  return sources;
}

// The run log's lines from the stage's first line on.
Strings StageLog(const TesselGen& tg) {
  Strings lines = Lines(ReadFile(tg.log.fileName()));
  Strings stage;
  bool started = false;
  for (const std::string& line : lines) {
    if (line ==
        "[+        0ms][INFO] Scanning for compiler include directories ") {
      started = true;
    }
    if (started) {
      stage.push_back(line);
    }
  }
  return stage;
}

const char kFoundSource[] =
    "this will cause an error - but not a file not found one!\n";

std::string FoundTest(const std::string& header) {
  return "#include <" + header + ">\n" + kFoundSource;
}

std::string FromTest(const std::string& header) {
  return "int x[\n#include <" + header + ">\n";
}

}  // namespace

TEST(IncludeDirsStage, SingleDirectoryIsAcceptedWithoutOrderWarning) {
  ScratchDir scratch;
  FakeRun run(true, false);
  TesselGen& tg = *run.tg;
  tg.HeaderInventory = {{"/opt/one/include", {"a.h", "b.h"}}};
  tessel_test::WriteFakeRules(
      Rules({{"/opt/one/include"}, FilesOf(tg.HeaderInventory), {}}));
  std::ostringstream personality;

  FindIncludeDirs(tg, personality, "personality_test.c");

  EXPECT_EQ(
      "\nScanning for compiler include directories (1)\n"
      "[  0%]~[100%]\tStage 1: /opt/one/include~\n"
      "\tStage 2\n"
      "\tStage 3\n"
      "[  0%]~[100%]~\n"
      "\nInclude paths detected:\n"
      "\t/opt/one/include\n"
      "\t\n",
      run.console.str());
  EXPECT_EQ(
      "-i \"/opt/one/include\"\n"
      "-q \"/opt/one/include\"\n",
      personality.str());
  EXPECT_EQ(
      (Strings{
          "[+        0ms][INFO] Scanning for compiler include directories ",
          "[+        0ms][INFO] \tStage 1: /opt/one/include",
          "[+        0ms][INFO] \tStage 2",
          "[+        0ms][INFO] \tStage 3",
          "[+        0ms][INFO] Include paths detected:",
          "[+        0ms][INFO] \t/opt/one/include",
      }),
      StageLog(tg));
  EXPECT_EQ((Strings{FoundTest("ak12345"), FoundTest("a.h")}), Sources());
  EXPECT_EQ(2, run.shell.compiles);
  EXPECT_EQ((Strings{"/opt/one/include"}), tg.ImplicitIncludeDirs);
  // The test source and the capture files are gone.
  EXPECT_FALSE(tessel_test::Exists("inctest.c"));
  EXPECT_FALSE(tessel_test::Exists("stdout.log"));
  EXPECT_FALSE(tessel_test::Exists("stderr.log"));
}

TEST(IncludeDirsStage, SingleDirectoryWithUnreachableHeaderIsNotListed) {
  ScratchDir scratch;
  FakeRun run(true, false);
  TesselGen& tg = *run.tg;
  tg.HeaderInventory = {{"/opt/one/include", {"a.h", "b.h"}}};
  tessel_test::WriteFakeRules(Rules({{"/usr/include"}, {}, {}}));
  std::ostringstream personality;

  FindIncludeDirs(tg, personality, "personality_test.c");

  EXPECT_EQ(
      "\nScanning for compiler include directories (1)\n"
      "[  0%]~[100%]~\n"
      "\tStage 2\n"
      "\tStage 3\n"
      "Couldn't determine compiler include paths.\n"
      "The search directory(s) you have specified are either not on the "
      "compiler path, or the compiler does not have an implicit include "
      "path.\n"
      "Please review the search directories and the compile command to "
      "ensure that the compiler can locate its own standard header files.\n",
      run.console.str());
  EXPECT_EQ("", personality.str());
  EXPECT_EQ(
      (Strings{
          "[+        0ms][INFO] Scanning for compiler include directories ",
          "[+        0ms][INFO] \tStage 2",
          "[+        0ms][INFO] \tStage 3",
          "[+        0ms][INFO] Couldn't determine compiler include paths.",
      }),
      StageLog(tg));
  EXPECT_TRUE(tg.ImplicitIncludeDirs.empty());
}

TEST(IncludeDirsStage, EmptyInventoryFindsNothingWithoutCompiling) {
  ScratchDir scratch;
  FakeRun run(true, false);
  TesselGen& tg = *run.tg;
  tg.HeaderInventory = {{"/usr/local/include", {}}};
  std::ostringstream personality;

  FindIncludeDirs(tg, personality, "personality_test.c");

  EXPECT_EQ(
      "\nScanning for compiler include directories (1)\n"
      "[  0%]~[100%]~\n"
      "\tStage 2\n"
      "\tStage 3\n"
      "Couldn't determine compiler include paths.\n"
      "The search directory(s) you have specified are either not on the "
      "compiler path, or the compiler does not have an implicit include "
      "path.\n"
      "Please review the search directories and the compile command to "
      "ensure that the compiler can locate its own standard header files.\n",
      run.console.str());
  EXPECT_EQ("", personality.str());
  EXPECT_EQ(0, run.shell.compiles);
  EXPECT_TRUE(tg.fileNotFoundPending);
}

TEST(IncludeDirsStage, IdenticalHeaderSetsAreSettledByTheErrorPath) {
  ScratchDir scratch;
  FakeRun run(true, false);
  TesselGen& tg = *run.tg;
  tg.HeaderInventory = {{"/opt/one/inc", {"x.h", "y.h"}},
                        {"/opt/two/inc", {"x.h", "y.h"}}};
  tessel_test::WriteFakeRules(Rules(
      {{"/opt/two/inc", "/opt/one/inc"}, FilesOf(tg.HeaderInventory), {}}));
  std::ostringstream personality;

  FindIncludeDirs(tg, personality, "personality_test.c");

  // Neither directory has a header of its own, so both reach Stage 2; the
  // message inside x.h names /opt/two/inc, which lacks the component "one".
  EXPECT_EQ(
      "\nScanning for compiler include directories (2)\n"
      "[  0%]~[ 50%]~[100%]~\n"
      "\tStage 2\n"
      "[  0%]~[ 50%]~[100%]\tStage 2: /opt/two/inc~\n"
      "\tStage 3\n"
      "[  0%]~[100%]~\n"
      "\nInclude paths detected:\n"
      "\t/opt/two/inc\n"
      "\t\n",
      run.console.str());
  EXPECT_EQ(
      "-i \"/opt/two/inc\"\n"
      "-q \"/opt/two/inc\"\n",
      personality.str());
  EXPECT_EQ(
      (Strings{
          "[+        0ms][INFO] Scanning for compiler include directories ",
          "[+        0ms][INFO] \tStage 2",
          "[+        0ms][INFO] \tStage 2: /opt/two/inc",
          "[+        0ms][INFO] \tStage 3",
          "[+        0ms][INFO] Include paths detected:",
          "[+        0ms][INFO] \t/opt/two/inc",
      }),
      StageLog(tg));
  EXPECT_EQ((Strings{FoundTest("ak12345"), FoundTest("x.h"), FoundTest("x.h"),
                     FoundTest("x.h"), FromTest("x.h"), FoundTest("x.h"),
                     FromTest("x.h")}),
            Sources());
  EXPECT_EQ(7, run.shell.compiles);
}

TEST(IncludeDirsStage, PathComponentsMatchAnywhereInTheErrorLine) {
  ScratchDir scratch;
  FakeRun run(true, false);
  TesselGen& tg = *run.tg;
  tg.HeaderInventory = {{"/usr/include", {"x.h"}},
                        {"/usr/local/include", {"x.h"}}};
  tessel_test::WriteFakeRules(Rules({{"/usr/local/include", "/usr/include"},
                                     FilesOf(tg.HeaderInventory),
                                     {}}));
  std::ostringstream personality;

  FindIncludeDirs(tg, personality, "personality_test.c");

  // "/usr/local/include/x.h" holds "include" and "usr", the components of
  // /usr/include, so Stage 2 accepts both; Stage 3 then puts the copy the
  // compiler named first.
  EXPECT_EQ(
      "\nScanning for compiler include directories (2)\n"
      "[  0%]~[ 50%]~[100%]~\n"
      "\tStage 2\n"
      "[  0%]~[ 50%]\tStage 2: /usr/include~[100%]"
      "\tStage 2: /usr/local/include~\n"
      "\tStage 3\n"
      "[  0%]~[ 50%]~[100%]~\n"
      "\nInclude paths detected:\n"
      "\t/usr/local/include\n"
      "\t/usr/include\n"
      "\t\n"
      "*** The order of these header directories may need to be reviewed "
      "***\n",
      run.console.str());
  EXPECT_EQ(
      "-i \"/usr/local/include\"\n"
      "-q \"/usr/local/include\"\n"
      "-i \"/usr/include\"\n"
      "-q \"/usr/include\"\n",
      personality.str());
}

TEST(IncludeDirsStage, StageTwoSkipsDirectoryWhoseHeadersStageOneFound) {
  ScratchDir scratch;
  FakeRun run(true, false);
  TesselGen& tg = *run.tg;
  tg.HeaderInventory = {{"/opt/a", {"a.h", "s.h"}}, {"/opt/s", {"s.h"}}};
  tessel_test::WriteFakeRules(
      Rules({{"/opt/a", "/opt/s"}, FilesOf(tg.HeaderInventory), {}}));
  std::ostringstream personality;

  FindIncludeDirs(tg, personality, "personality_test.c");

  // /opt/s reaches Stage 2, but s.h is already known from /opt/a: no test.
  EXPECT_EQ((Strings{FoundTest("ak12345"), FoundTest("a.h"), FoundTest("s.h")}),
            Sources());
  EXPECT_EQ((Strings{"/opt/a"}), tg.ImplicitIncludeDirs);
  EXPECT_EQ(
      "-i \"/opt/a\"\n"
      "-q \"/opt/a\"\n",
      personality.str());
}

TEST(IncludeDirsStage, UnreachableUniqueHeaderLeavesItsDirectoryOut) {
  ScratchDir scratch;
  FakeRun run(true, false);
  TesselGen& tg = *run.tg;
  tg.HeaderInventory = {{"/opt/cross/inc", {"v.h", "w.h", "x.h"}},
                        {"/usr/include", {"stdio.h", "x.h"}}};
  std::map<std::string, std::string> files = FilesOf(tg.HeaderInventory);
  tessel_test::WriteFakeRules(Rules({{"/usr/include"}, files, {}}));
  std::ostringstream personality;

  FindIncludeDirs(tg, personality, "personality_test.c");

  EXPECT_EQ(
      "\nScanning for compiler include directories (2)\n"
      "[  0%]~[ 50%]~[100%]\tStage 1: /usr/include~\n"
      "\tStage 2\n"
      "\tStage 3\n"
      "[  0%]~[100%]~\n"
      "\nInclude paths detected:\n"
      "\t/usr/include\n"
      "\t\n",
      run.console.str());
  EXPECT_EQ(
      "-i \"/usr/include\"\n"
      "-q \"/usr/include\"\n",
      personality.str());
  // Only the first unique header of each directory is tried.
  EXPECT_EQ(
      (Strings{FoundTest("ak12345"), FoundTest("v.h"), FoundTest("stdio.h")}),
      Sources());
}

TEST(IncludeDirsStage, StageThreeKeepsOrderWhenSecondPathIsAbsent) {
  ScratchDir scratch;
  FakeRun run(true, false);
  TesselGen& tg = *run.tg;
  tg.HeaderInventory = {{"/opt/a", {"a.h", "c1.h", "c2.h"}},
                        {"/opt/b", {"b.h", "c1.h", "c2.h"}}};
  tessel_test::WriteFakeRules(
      Rules({{"/opt/a", "/opt/b"}, FilesOf(tg.HeaderInventory), {}}));
  std::ostringstream personality;

  FindIncludeDirs(tg, personality, "personality_test.c");

  EXPECT_EQ(1, WhichDirFirst(tg, "/opt/a", "/opt/b", "c1.h"));
  // One "int x[" test for the pair: r = 1 ends it before c2.h.
  Strings sources = Sources();
  EXPECT_EQ((Strings{FoundTest("ak12345"), FoundTest("a.h"), FoundTest("b.h"),
                     FromTest("c1.h"), FromTest("c1.h")}),
            sources);
  EXPECT_EQ(
      "\nScanning for compiler include directories (2)\n"
      "[  0%]~[ 50%]\tStage 1: /opt/a~[100%]\tStage 1: /opt/b~\n"
      "\tStage 2\n"
      "\tStage 3\n"
      "[  0%]~[ 50%]~[100%]~\n"
      "\nInclude paths detected:\n"
      "\t/opt/a\n"
      "\t/opt/b\n"
      "\t\n"
      "*** The order of these header directories may need to be reviewed "
      "***\n",
      run.console.str());
  EXPECT_EQ(
      "-i \"/opt/a\"\n"
      "-q \"/opt/a\"\n"
      "-i \"/opt/b\"\n"
      "-q \"/opt/b\"\n",
      personality.str());
}

TEST(IncludeDirsStage, StageThreeGoesOnWhileBothCopiesAreNamed) {
  ScratchDir scratch;
  FakeRun run(true, false);
  TesselGen& tg = *run.tg;
  tg.HeaderInventory = {{"/opt/a", {"a.h", "c1.h", "c2.h"}},
                        {"/opt/b", {"b.h", "c1.h", "c2.h"}}};
  std::map<std::string, std::string> files = FilesOf(tg.HeaderInventory);
  // b's c1.h includes the next c1.h (a's): both paths appear, r = 0.
  files["/opt/b/c1.h"] = "next";
  tessel_test::WriteFakeRules(Rules({{"/opt/b", "/opt/a"}, files, {}}));
  std::ostringstream personality;

  FindIncludeDirs(tg, personality, "personality_test.c");

  EXPECT_EQ((Strings{FoundTest("ak12345"), FoundTest("a.h"), FoundTest("b.h"),
                     FromTest("c1.h"), FromTest("c2.h")}),
            Sources());
  EXPECT_EQ((Strings{"/opt/b", "/opt/a"}), tg.ImplicitIncludeDirs);
  EXPECT_EQ(
      "-i \"/opt/b\"\n"
      "-q \"/opt/b\"\n"
      "-i \"/opt/a\"\n"
      "-q \"/opt/a\"\n",
      personality.str());
}

TEST(IncludeDirsStage, ThreeDirectoriesAreExchangedPairByPair) {
  ScratchDir scratch;
  FakeRun run(true, false);
  TesselGen& tg = *run.tg;
  tg.HeaderInventory = {{"/opt/a", {"a.h", "ab.h", "ac.h"}},
                        {"/opt/b", {"ab.h", "b.h", "bc.h"}},
                        {"/opt/c", {"ac.h", "bc.h", "c.h"}}};
  // The compiler's true order is C, A, B.
  tessel_test::WriteFakeRules(
      Rules({{"/opt/c", "/opt/a", "/opt/b"}, FilesOf(tg.HeaderInventory), {}}));
  std::ostringstream personality;

  FindIncludeDirs(tg, personality, "personality_test.c");

  // Found A, B, C. (A,B): the compiler takes A's ab.h, no change.
  // (A,C): it takes C's ac.h, A and C trade places: C, B, A.
  // (B,C): it takes C's bc.h, B and C trade places: B, C, A.
  EXPECT_EQ(
      "\nScanning for compiler include directories (3)\n"
      "[  0%]~[ 33%]\tStage 1: /opt/a~[ 66%]\tStage 1: /opt/b~[100%]"
      "\tStage 1: /opt/c~\n"
      "\tStage 2\n"
      "\tStage 3\n"
      "[  0%]~[ 33%]~[ 66%]~[100%]~\n"
      "\nInclude paths detected:\n"
      "\t/opt/b\n"
      "\t/opt/c\n"
      "\t/opt/a\n"
      "\t\n"
      "*** The order of these header directories may need to be reviewed "
      "***\n",
      run.console.str());
  EXPECT_EQ(
      (Strings{
          "[+        0ms][INFO] Scanning for compiler include directories ",
          "[+        0ms][INFO] \tStage 1: /opt/a",
          "[+        0ms][INFO] \tStage 1: /opt/b",
          "[+        0ms][INFO] \tStage 1: /opt/c",
          "[+        0ms][INFO] \tStage 2",
          "[+        0ms][INFO] \tStage 3",
          "[+        0ms][INFO] Include paths detected:",
          "[+        0ms][INFO] \t/opt/b",
          "[+        0ms][INFO] \t/opt/c",
          "[+        0ms][INFO] \t/opt/a",
          "[+        0ms][WARN] The order of these header directories "
          "may need to be reviewed",
      }),
      StageLog(tg));
  EXPECT_EQ(
      "-i \"/opt/b\"\n"
      "-q \"/opt/b\"\n"
      "-i \"/opt/c\"\n"
      "-q \"/opt/c\"\n"
      "-i \"/opt/a\"\n"
      "-q \"/opt/a\"\n",
      personality.str());
  EXPECT_EQ((Strings{FoundTest("ak12345"), FoundTest("a.h"), FoundTest("b.h"),
                     FoundTest("c.h"), FromTest("ab.h"), FromTest("ac.h"),
                     FromTest("bc.h")}),
            Sources());
  EXPECT_EQ(7, run.shell.compiles);
}

TEST(IncludeDirsStage, CppProductWritesSiLinesAndCompilesInctestCpp) {
  ScratchDir scratch;
  FakeRun run(false, false);
  TesselGen& tg = *run.tg;
  tg.HeaderInventory = {{"/opt/a", {"a.h", "c.h"}}, {"/opt/b", {"b", "c.h"}}};
  tessel_test::WriteFakeRules(
      Rules({{"/opt/b", "/opt/a"}, FilesOf(tg.HeaderInventory), {}}));
  std::ostringstream personality;

  FindIncludeDirs(tg, personality, "personality_test.cpp");

  EXPECT_EQ(
      "-si \"/opt/b\"\n"
      "-q \"/opt/b\"\n"
      "-si \"/opt/a\"\n"
      "-q \"/opt/a\"\n",
      personality.str());
  Strings invocations = tessel_test::FakeInvocations();
  ASSERT_EQ(4u, invocations.size());
  for (const std::string& invocation : invocations) {
    EXPECT_EQ("-c inctest.cpp -oinctest.o", invocation);
  }
  EXPECT_FALSE(tessel_test::Exists("inctest.cpp"));
}

TEST(IncludeDirsStage, SilentCompilerFindsNoHeader) {
  ScratchDir scratch;
  FakeRun run(true, false);
  TesselGen& tg = *run.tg;
  tg.HeaderInventory = {{"/usr/include", {"stdio.h"}}};
  tessel_test::WriteFakeRules("fail\n");
  std::ostringstream personality;

  FindIncludeDirs(tg, personality, "personality_test.c");

  EXPECT_EQ("", tg.FileNotFoundText);
  EXPECT_TRUE(tg.ImplicitIncludeDirs.empty());
  EXPECT_EQ("", personality.str());
  EXPECT_EQ(2, run.shell.compiles);
}

TEST(IncludeDirsIsHeaderFound, ComputesTheNotFoundTextOnceAndCleansUp) {
  ScratchDir scratch;
  FakeRun run(true, false);
  TesselGen& tg = *run.tg;
  tessel_test::WriteFakeRules(
      Rules({{"/usr/include"}, {{"/usr/include/stdio.h", "file"}}, {}}));

  EXPECT_TRUE(IsHeaderFound(tg, "stdio.h"));
  EXPECT_FALSE(tg.fileNotFoundPending);
  EXPECT_EQ("inctest.c:::fatalerror::Nosuchfileordirectory",
            tg.FileNotFoundText);
  EXPECT_FALSE(IsHeaderFound(tg, "sys/missing.h"));

  EXPECT_EQ((Strings{FoundTest("ak12345"), FoundTest("stdio.h"),
                     FoundTest("sys/missing.h")}),
            Sources());
  EXPECT_EQ(3, run.shell.compiles);
  EXPECT_FALSE(tessel_test::Exists("inctest.c"));
  EXPECT_FALSE(tessel_test::Exists("stdout.log"));
  EXPECT_FALSE(tessel_test::Exists("stderr.log"));
}

TEST(IncludeDirsIsHeaderFound, UsesTheKeptNotFoundText) {
  ScratchDir scratch;
  FakeRun run(true, false);
  TesselGen& tg = *run.tg;
  tg.fileNotFoundPending = false;
  tg.FileNotFoundText = "inctest.c:::error:unknowntypename'this'";
  tessel_test::WriteFakeRules(
      Rules({{"/usr/include"}, {{"/usr/include/stdio.h", "file"}}, {}}));

  // The kept text is that of a found header, so a found header now counts
  // as missing and a missing one as found.
  EXPECT_FALSE(IsHeaderFound(tg, "stdio.h"));
  EXPECT_TRUE(IsHeaderFound(tg, "nothere.h"));
  EXPECT_EQ((Strings{FoundTest("stdio.h"), FoundTest("nothere.h")}), Sources());
}

TEST(IncludeDirsIsHeaderFromDir, NeedsEveryComponentInTheFirstNamingLine) {
  ScratchDir scratch;
  FakeRun run(true, false);
  TesselGen& tg = *run.tg;
  tessel_test::WriteFakeRules(
      std::string(kRecordSource) +
      "say_out 'warning: x.h: something'\n"
      "say_err $'/opt/one/inc/x.h:1:1: error: expected\\r'\n"
      "fail\n");

  // stdout comes first: its line names x.h without the directory.
  EXPECT_FALSE(IsHeaderFromDir(tg, "/opt/one/inc", "x.h"));
  tessel_test::WriteFakeRules(
      std::string(kRecordSource) +
      "say_out 'In file included from inctest.c:2:'\n"
      "say_err $'/opt/one/inc/x.h:1:1: error: expected\\r'\n"
      "fail\n");
  EXPECT_TRUE(IsHeaderFromDir(tg, "/opt/one/inc", "x.h"));
  EXPECT_TRUE(IsHeaderFromDir(tg, "/inc/one/opt", "x.h"));
  EXPECT_TRUE(IsHeaderFromDir(tg, "", "x.h"));
  EXPECT_FALSE(IsHeaderFromDir(tg, "/opt/two/inc", "x.h"));
  EXPECT_FALSE(IsHeaderFromDir(tg, "/opt/one/inc", "y.h"));
  Strings expected(5, FromTest("x.h"));
  expected.push_back(FromTest("y.h"));
  EXPECT_EQ(expected, Sources());
  EXPECT_FALSE(tessel_test::Exists("inctest.c"));
  EXPECT_FALSE(tessel_test::Exists("stdout.log"));
  EXPECT_FALSE(tessel_test::Exists("stderr.log"));
}

TEST(IncludeDirsWhichDirFirst, ResolvesDotPiecesInTheNamedPath) {
  ScratchDir scratch;
  FakeRun run(true, false);
  TesselGen& tg = *run.tg;
  SearchingCompiler compiler{{"/opt/b", "/opt/a"},
                             {{"/opt/a/x.h", "file"}, {"/opt/b/x.h", "file"}},
                             {{"/opt/b", "/opt/tools/bin/../.././b"}}};
  tessel_test::WriteFakeRules(Rules(compiler));

  EXPECT_EQ(2, WhichDirFirst(tg, "/opt/a", "/opt/b", "x.h"));
  EXPECT_EQ(1, WhichDirFirst(tg, "/opt/b", "/opt/a", "x.h"));
  EXPECT_EQ(1, WhichDirFirst(tg, "/opt/a", "/opt/c", "x.h"));

  compiler.files["/opt/b/x.h"] = "next";
  tessel_test::WriteFakeRules(Rules(compiler));
  EXPECT_EQ(0, WhichDirFirst(tg, "/opt/a", "/opt/b", "x.h"));
  EXPECT_EQ(Strings(4, FromTest("x.h")), Sources());
  EXPECT_FALSE(tessel_test::Exists("inctest.c"));
  EXPECT_FALSE(tessel_test::Exists("stdout.log"));
  EXPECT_FALSE(tessel_test::Exists("stderr.log"));
}
