// The fake compiler's documented behaviours, checked by running it directly.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>
#include <vector>

#include "tests/support/test_support.h"

using tessel_test::Exists;
using tessel_test::FakeInvocations;
using tessel_test::ProcessResult;
using tessel_test::ReadFile;
using tessel_test::RunProcess;
using tessel_test::ScratchDir;
using tessel_test::ShellQuote;
using tessel_test::WriteFakeRules;
using tessel_test::WriteFile;

namespace {

// Runs the fake compiler with `args` (shell words) in the current directory.
ProcessResult FakeCc(const std::string& args) {
  return RunProcess(ShellQuote(tessel_test::kFakeCc) + " " + args);
}

bool IsExecutable(const std::string& path) {
  struct stat status;
  return stat(path.c_str(), &status) == 0 && (status.st_mode & S_IXUSR) != 0;
}

}  // namespace

TEST(FakeCc, CompileOnlyWritesObjectNamedAfterSource) {
  ScratchDir scratch;
  WriteFile("src/t.c", "int x;\n");
  ProcessResult result = FakeCc("-c src/t.c");
  EXPECT_EQ(0, result.exitCode);
  EXPECT_EQ("", result.out);
  EXPECT_EQ("", result.err);
  // Like a real compiler, the object lands in the current directory.
  EXPECT_EQ("FAKEOBJ\n", ReadFile("t.o"));
  EXPECT_FALSE(Exists("src/t.o"));
}

TEST(FakeCc, OutputFlagNamesTheOutputWithOrWithoutBlank) {
  ScratchDir scratch;
  WriteFile("t.c", "int x;\n");
  EXPECT_EQ(0, FakeCc("-c t.c -o one.obj").exitCode);
  EXPECT_EQ(0, FakeCc("-c t.c -otwo.obj").exitCode);
  EXPECT_EQ("FAKEOBJ\n", ReadFile("one.obj"));
  EXPECT_EQ("FAKEOBJ\n", ReadFile("two.obj"));
  EXPECT_FALSE(Exists("t.o"));
}

TEST(FakeCc, EveryInvocationIsRecorded) {
  ScratchDir scratch;
  WriteFile("t.c", "int x;\n");
  FakeCc("-c -DA=1 -w t.c -ot.o");
  FakeCc("missing.c");
  EXPECT_EQ((std::vector<std::string>{"-c -DA=1 -w t.c -ot.o", "missing.c"}),
            FakeInvocations());
}

TEST(FakeCc, MissingSourceIsAnError) {
  ScratchDir scratch;
  ProcessResult result = FakeCc("-c missing.c");
  EXPECT_EQ(1, result.exitCode);
  EXPECT_EQ("fakecc: missing.c: No such file or directory\n", result.err);
  EXPECT_FALSE(Exists("missing.o"));
}

TEST(FakeCc, NoSourceIsAnError) {
  ScratchDir scratch;
  ProcessResult result = FakeCc("-c -DA");
  EXPECT_EQ(1, result.exitCode);
  EXPECT_EQ("fakecc: no input files\n", result.err);
}

TEST(FakeCc, RulesExtensionNamesUnnamedObjects) {
  ScratchDir scratch;
  WriteFile("t.c", "int x;\n");
  WriteFakeRules("FAKE_OBJEXT=.rel\n");
  EXPECT_EQ(0, FakeCc("-c t.c").exitCode);
  EXPECT_TRUE(Exists("t.rel"));
  EXPECT_EQ(0, FakeCc("-c t.c -o named.o").exitCode);
  EXPECT_TRUE(Exists("named.o"));
}

TEST(FakeCc, ObjectBytesAreAPrintfFormat) {
  ScratchDir scratch;
  WriteFile("t.c", "int x;\n");
  WriteFakeRules("object_bytes '\\x01\\x00\\xff%%'\n");
  FakeCc("-c t.c");
  EXPECT_EQ(std::string("\x01\x00\xff%", 4), ReadFile("t.o"));
}

TEST(FakeCc, ObjectTextIsWrittenLiterally) {
  ScratchDir scratch;
  WriteFile("t.c", "int x;\n");
  WriteFakeRules("object_text 'a\\x01 %s'\n");
  FakeCc("-c t.c");
  EXPECT_EQ("a\\x01 %s", ReadFile("t.o"));
  WriteFakeRules("object_text ''\n");
  FakeCc("-c t.c");
  EXPECT_TRUE(Exists("t.o"));
  EXPECT_EQ("", ReadFile("t.o"));
}

TEST(FakeCc, FailPrintsOnStderrAndWritesNothing) {
  ScratchDir scratch;
  WriteFile("t.c", "int x;\n");
  WriteFakeRules("say_out 'step 1'\nfail 't.c:1: error: no'\n");
  ProcessResult result = FakeCc("-c t.c");
  EXPECT_EQ(1, result.exitCode);
  EXPECT_EQ("step 1\n", result.out);
  EXPECT_EQ("t.c:1: error: no\n", result.err);
  EXPECT_FALSE(Exists("t.o"));
}

TEST(FakeCc, FailWithoutTextPrintsNothing) {
  ScratchDir scratch;
  WriteFile("t.c", "int x;\n");
  WriteFakeRules("fail\n");
  ProcessResult result = FakeCc("-c t.c");
  EXPECT_EQ(1, result.exitCode);
  EXPECT_EQ("", result.err);
  EXPECT_FALSE(Exists("t.o"));
}

TEST(FakeCc, SayOutAndSayErrAddNewlines) {
  ScratchDir scratch;
  WriteFile("t.c", "int x;\n");
  WriteFakeRules("say_out 'o1'\nsay_err 'e1'\nsay_out 'o2'\n");
  ProcessResult result = FakeCc("-c t.c");
  EXPECT_EQ(0, result.exitCode);
  EXPECT_EQ("o1\no2\n", result.out);
  EXPECT_EQ("e1\n", result.err);
  EXPECT_TRUE(Exists("t.o"));
}

TEST(FakeCc, NoOutputSucceedsWithoutWritingAnything) {
  ScratchDir scratch;
  WriteFile("t.c", "int x;\n");
  WriteFakeRules("no_output\n");
  EXPECT_EQ(0, FakeCc("-c t.c").exitCode);
  EXPECT_EQ(0, FakeCc("t.c -o t.exe").exitCode);
  EXPECT_FALSE(Exists("t.o"));
  EXPECT_FALSE(Exists("t.exe"));
}

TEST(FakeCc, ProgramIsBuiltWithoutCompileFlag) {
  ScratchDir scratch;
  WriteFile("t.c", "int main(void) { return 0; }\n");
  WriteFakeRules("program_prints $'out \\'quoted\\' $HOME\\n'\n");
  EXPECT_EQ(0, FakeCc("t.c -o t.exe").exitCode);
  ASSERT_TRUE(IsExecutable("t.exe"));
  ProcessResult run = RunProcess("./t.exe");
  EXPECT_EQ(0, run.exitCode);
  EXPECT_EQ("out 'quoted' $HOME\n", run.out);
  EXPECT_EQ("", run.err);
}

TEST(FakeCc, UnnamedProgramIsAOut) {
  ScratchDir scratch;
  WriteFile("t.c", "int main(void) { return 0; }\n");
  EXPECT_EQ(0, FakeCc("t.c").exitCode);
  ASSERT_TRUE(IsExecutable("a.out"));
  EXPECT_EQ("", RunProcess("./a.out").out);
}

TEST(FakeCc, ProgramMayWriteStandardError) {
  ScratchDir scratch;
  WriteFile("t.c", "int main(void) { return 0; }\n");
  WriteFakeRules("program_prints 'hello'\nprogram_prints_err 'warn'\n");
  FakeCc("t.c -o t.exe");
  ProcessResult run = RunProcess("./t.exe");
  EXPECT_EQ("hello", run.out);
  EXPECT_EQ("warn", run.err);
}

TEST(FakeCc, RulesSeeModeSourceAndOutput) {
  ScratchDir scratch;
  WriteFile("t.c", "int x;\n");
  WriteFakeRules(
      "say_out \"$FAKE_MODE|$FAKE_SRC|$FAKE_OUT|${FAKE_SWITCHES[*]}|"
      "${FAKE_DEFINES[*]}|$FAKE_TEXT\"\n");
  EXPECT_EQ("object|t.c|t.o|-w -O2|A=1 B|int x;\n\n",
            FakeCc("-c -w -DA=1 -DB -O2 t.c").out);
  EXPECT_EQ("program|t.c|p.exe|||int x;\n\n", FakeCc("t.c -o p.exe").out);
}

TEST(FakeCc, HasLooksForTextInTheSource) {
  ScratchDir scratch;
  WriteFile("t.c", "__int128 x;\n");
  WriteFakeRules("has '__int128' || fail 'unknown type'\n");
  EXPECT_EQ(0, FakeCc("-c t.c").exitCode);
  WriteFile("t.c", "long x;\n");
  EXPECT_EQ(1, FakeCc("-c t.c").exitCode);
}

TEST(FakeCc, DefinedAndDefineValueReadTheDefines) {
  ScratchDir scratch;
  WriteFile("t.c", "int x;\n");
  WriteFakeRules(
      "defined A && say_out A\n"
      "defined B && say_out B\n"
      "defined C || say_out no-C\n"
      "say_out \"[$(define_value A)][$(define_value B)]\"\n");
  EXPECT_EQ("A\nB\nno-C\n[x=1][]\n", FakeCc("-c -DA=x=1 -DB t.c").out);
}

TEST(FakeCc, OutputNameOverridesTheCommandLine) {
  ScratchDir scratch;
  WriteFile("t.c", "int x;\n");
  WriteFakeRules("output_name own.obj\n");
  EXPECT_EQ(0, FakeCc("-c t.c -o asked.o").exitCode);
  EXPECT_EQ(0, FakeCc("-c t.c").exitCode);
  EXPECT_TRUE(Exists("own.obj"));
  EXPECT_FALSE(Exists("asked.o"));
  EXPECT_FALSE(Exists("t.o"));
}

TEST(FakeCc, AlsoWriteLeavesAnExtraFile) {
  ScratchDir scratch;
  WriteFile("t.c", "int x;\n");
  WriteFakeRules("also_write t.lst 'listing %d\\n'\n");
  EXPECT_EQ(0, FakeCc("-c t.c").exitCode);
  EXPECT_EQ("listing %d\\n", ReadFile("t.lst"));
  EXPECT_TRUE(Exists("t.o"));
}

TEST(FakeCc, ExitStatusKeepsTheOutputs) {
  ScratchDir scratch;
  WriteFile("t.c", "int x;\n");
  WriteFakeRules("exit_status 2\n");
  EXPECT_EQ(2, FakeCc("-c t.c").exitCode);
  EXPECT_EQ("FAKEOBJ\n", ReadFile("t.o"));
}
