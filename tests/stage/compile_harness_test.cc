#include "harness/compile_harness.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "harness/globals.h"
#include "tests/fakes/fake_shell.h"
#include "tests/support/test_support.h"

using tessel_test::Exists;
using tessel_test::FakeInvocations;
using tessel_test::FakeRun;
using tessel_test::ReadFile;
using tessel_test::ScratchDir;
using tessel_test::WriteFakeRules;
using tessel_test::WriteFile;

namespace {

using RecordingShell = tessel_test::RunningRecordingShell;

// The three header lines of a directory test file, then a body.
const char kHeaders[] =
    "// Error:-ex no_fit\n"
    "// Success:-ex fits here\n"
    "// Execute\n"
    "int main(void) { return 0; }\n";
const char kCompileOnlyHeaders[] =
    "// Error:-ex no_fit\n"
    "// Success:-ex fits here\n"
    "int x;\n";

}  // namespace

TEST(CompileHarnessStage, FakeCompilerObjectPassesWithItsSize) {
  ScratchDir scratch;
  FakeRun run(true, false);
  WriteFakeRules("object_text 'abcd'\n");
  uint32_t size = 7;
  std::string output;
  EXPECT_TRUE(compileTest(*run.tg, "int x;\n", "tmp_t", &size, &output));
  EXPECT_EQ(4u, size);
  EXPECT_EQ("", output);
  EXPECT_EQ(1, run.shell.compiles);
  EXPECT_EQ(std::vector<std::string>{"-c tmp_t.c -otmp_t.o"},
            FakeInvocations());
}

TEST(CompileHarnessStage, ZeroSizeObjectPassesWithSizeZero) {
  ScratchDir scratch;
  FakeRun run(true, false);
  WriteFakeRules("object_text ''\n");
  uint32_t size = 7;
  EXPECT_TRUE(compileTest(*run.tg, "int x;\n", "tmp_t", &size, nullptr));
  EXPECT_EQ(0u, size);
  EXPECT_EQ("", ReadFile("tmp_t.o"));
}

TEST(CompileHarnessStage, MissingObjectGivesSizeZeroAndFailure) {
  ScratchDir scratch;
  FakeRun run(true, false);
  WriteFakeRules("say_out 'compiling'\nfail 'tmp_t.c:1: error: bad'\n");
  uint32_t size = 7;
  std::string output;
  EXPECT_FALSE(compileTest(*run.tg, "int x\n", "tmp_t", &size, &output));
  EXPECT_EQ(0u, size);
  EXPECT_EQ("compiling\ntmp_t.c:1: error: bad\n", output);
}

TEST(CompileHarnessStage, ObjectPresenceDecidesNotTheExitStatus) {
  ScratchDir scratch;
  FakeRun run(true, false);
  WriteFakeRules("say_err 'warning: odd'\nexit_status 3\n");
  uint32_t size = 0;
  std::string output;
  EXPECT_TRUE(compileTest(*run.tg, "int x;\n", "tmp_t", &size, &output));
  EXPECT_EQ(8u, size);  // "FAKEOBJ\n"
  EXPECT_EQ("warning: odd\n", output);
  EXPECT_FALSE(Exists("pass.txt"));
}

TEST(CompileHarnessStage, PassFileIsWrittenOnlyAfterStatusZero) {
  ScratchDir scratch;
  FakeRun run(true, false);
  EXPECT_TRUE(compileTest(*run.tg, "int x;\n", "tmp_t", nullptr, nullptr));
  EXPECT_EQ("Pass\n", ReadFile("pass.txt"));
  WriteFakeRules("fail 'no'\n");
  EXPECT_FALSE(compileTest(*run.tg, "int x;\n", "tmp_t", nullptr, nullptr));
  EXPECT_FALSE(Exists("pass.txt"));
}

TEST(CompileHarnessStage, CompilerThatIsNotFoundFailsWithTheShellsComplaint) {
  ScratchDir scratch;
  FakeRun run(true, false);
  run.tg->compilerExe = "./no_such_cc";
  std::string output;
  EXPECT_FALSE(compileTest(*run.tg, "int x;\n", "tmp_t", nullptr, &output));
  EXPECT_NE(std::string::npos, output.find("./no_such_cc"));
  EXPECT_NE(std::string::npos, output.find("not found"));
  EXPECT_EQ("", run.console.str());
}

TEST(CompileHarnessStage, CompileTypeTestCompilesTheTypeTestSource) {
  ScratchDir scratch;
  FakeRun run(false, false);
  uint32_t size = 0;
  EXPECT_TRUE(compileTypeTest(*run.tg, "long l;\n", &size, nullptr));
  EXPECT_EQ(8u, size);
  EXPECT_EQ("long l;\n", ReadFile("tmp_typetest.cpp"));
  EXPECT_EQ(std::vector<std::string>{"-c tmp_typetest.cpp -otmp_typetest.o"},
            FakeInvocations());
}

TEST(CompileHarnessStage, DirectoryTestPassesWithObjectBesideTheSource) {
  ScratchDir scratch("work");
  FakeRun run(true, false);
  WriteFile("../c_tests/t1.c", kCompileOnlyHeaders);
  std::string message;
  EXPECT_TRUE(runTestFile(*run.tg, "../c_tests/t1.c", "XXX=int ", &message));
  EXPECT_EQ("-ex fits here", message);
  EXPECT_EQ(std::vector<std::string>{"-c -DXXX=int ../c_tests/t1.c "
                                     "-o../c_tests/t1.o"},
            FakeInvocations());
  EXPECT_FALSE(Exists("../c_tests/t1.o"));
}

TEST(CompileHarnessStage, DirectoryTestPassesWithObjectInTheCurrentDirectory) {
  ScratchDir scratch("work");
  FakeRun run(true, false);
  run.tg->objExt = "";  // the compiler then names the object itself
  WriteFile("../c_tests/t1.c", kCompileOnlyHeaders);
  std::string message;
  EXPECT_TRUE(runTestFile(*run.tg, "../c_tests/t1.c", "", &message));
  EXPECT_EQ("-ex fits here", message);
  EXPECT_EQ(std::vector<std::string>{"-c ../c_tests/t1.c"}, FakeInvocations());
  EXPECT_FALSE(Exists("t1.o"));
}

TEST(CompileHarnessStage, DirectoryTestWithoutObjectFailsWithErrorMessage) {
  ScratchDir scratch("work");
  FakeRun run(true, false);
  WriteFakeRules("defined XXX && fail 'no'\n");
  WriteFile("../c_tests/t1.c", kCompileOnlyHeaders);
  std::string message;
  EXPECT_FALSE(runTestFile(*run.tg, "../c_tests/t1.c", "XXX", &message));
  EXPECT_EQ("-ex no_fit", message);
}

TEST(CompileHarnessStage, DirectoryTestRemovesStaleObjectsBeforeCompiling) {
  ScratchDir scratch("work");
  FakeRun run(true, false);
  WriteFakeRules("no_output\n");
  WriteFile("../c_tests/t1.c", kCompileOnlyHeaders);
  WriteFile("../c_tests/t1.o", "stale");
  WriteFile("t1*", "literal asterisk");
  WriteFile("t1_other.o", "kept");
  std::string message;
  EXPECT_FALSE(runTestFile(*run.tg, "../c_tests/t1.c", "", &message));
  EXPECT_EQ("-ex no_fit", message);
  EXPECT_FALSE(Exists("../c_tests/t1.o"));
  EXPECT_FALSE(Exists("t1*"));
  EXPECT_EQ("kept", ReadFile("t1_other.o"));
}

TEST(CompileHarnessStage, DirectoryTestMessageIsTextAfterFirstColon) {
  ScratchDir scratch;
  FakeRun run(true, false);
  WriteFile("t2.c",
            "/* note: Error: A: B */\n"
            "Success: type\n"
            "int x;\n");
  std::string message;
  EXPECT_TRUE(runTestFile(*run.tg, "t2.c", "", &message));
  EXPECT_EQ(" type", message);
  WriteFakeRules("fail\n");
  EXPECT_FALSE(runTestFile(*run.tg, "t2.c", "", &message));
  EXPECT_EQ(" Error: A: B */", message);
}

TEST(CompileHarnessStage, HeaderWordsCountOnlyOnTheirOwnLine) {
  ScratchDir scratch;
  FakeRun run(true, false);
  WriteFile("t3.c",
            "// Success:first line\n"
            "// Error:second line\n"
            "// Success: third line, Execute\n");
  std::string message = "unchanged";
  EXPECT_TRUE(runTestFile(*run.tg, "t3.c", "", &message));
  EXPECT_EQ("", message);
  // "Execute" is on the third line, so a program was built and run.
  EXPECT_EQ(std::vector<std::string>{"t3.c -ot3.exe"}, FakeInvocations());
}

TEST(CompileHarnessStage, UnreadableDirectoryTestHasNoMessageAndFails) {
  ScratchDir scratch;
  FakeRun run(true, false);
  std::string message = "unchanged";
  EXPECT_FALSE(runTestFile(*run.tg, "missing.c", "", &message));
  EXPECT_EQ("", message);
  EXPECT_EQ(1, run.shell.compiles);
}

TEST(CompileHarnessStage, ExecutedTestKeepsOutputContainingBits) {
  ScratchDir scratch;
  FakeRun run(true, false);
  WriteFakeRules("program_prints '-bits 16'\n");
  WriteFile("t4.c", kHeaders);
  std::string message;
  EXPECT_TRUE(runTestFile(*run.tg, "t4.c", "XXX", &message));
  EXPECT_EQ("-bits 16", message);
  EXPECT_EQ(std::vector<std::string>{"-DXXX t4.c -ot4.exe"}, FakeInvocations());
  EXPECT_FALSE(Exists("t4.exe"));
  EXPECT_EQ(2, run.shell.commands);
}

TEST(CompileHarnessStage, ExecutedTestOutputWithoutBitsIsDropped) {
  ScratchDir scratch;
  FakeRun run(true, false);
  WriteFakeRules("program_prints '-ex fits'\nprogram_prints_err 'bits'\n");
  WriteFile("t4.c", kHeaders);
  std::string message = "unchanged";
  EXPECT_TRUE(runTestFile(*run.tg, "t4.c", "", &message));
  EXPECT_EQ("", message);
}

TEST(CompileHarnessStage, ExecutedTestOutputIncludesStandardError) {
  ScratchDir scratch;
  FakeRun run(true, false);
  WriteFakeRules("program_prints 'size'\nprogram_prints_err ' -bits 32'\n");
  WriteFile("t4.c", kHeaders);
  std::string message;
  EXPECT_TRUE(runTestFile(*run.tg, "t4.c", "", &message));
  EXPECT_EQ("size -bits 32", message);
}

TEST(CompileHarnessStage, ExecutedTestRunsTheProgramNamedInTheCurrentDir) {
  ScratchDir scratch("work");
  FakeRun run(true, false);
  WriteFakeRules("program_prints '-bits 16'\n");
  WriteFile("../c_tests/t5.c", kHeaders);
  std::string message = "unchanged";
  // The program is built beside the source, but "./t5.exe" is what runs:
  // nothing prints "-bits", yet the test passes.
  EXPECT_TRUE(runTestFile(*run.tg, "../c_tests/t5.c", "", &message));
  EXPECT_EQ("", message);
  EXPECT_EQ(std::vector<std::string>{"../c_tests/t5.c -o../c_tests/t5.exe"},
            FakeInvocations());
  EXPECT_FALSE(Exists("../c_tests/t5.exe"));
}

TEST(CompileHarnessStage, ExecutedTestInCrossModeIsCompiledButNotRun) {
  ScratchDir scratch;
  FakeRun run(true, true);
  WriteFakeRules("program_prints '-bits 16'\n");
  WriteFile("t4.c", kHeaders);
  std::string message = "unchanged";
  EXPECT_FALSE(runTestFile(*run.tg, "t4.c", "", &message));
  EXPECT_EQ("", message);
  EXPECT_EQ(std::vector<std::string>{"-c t4.c -ot4.o"}, FakeInvocations());
  EXPECT_EQ(1, run.shell.commands);
}

TEST(CompileHarnessStage, RemoveMatchingDeletesEveryFileWithThePrefix) {
  ScratchDir scratch;
  RecordingShell shell;
  TesselGen tg("vellc", "cmp", "cc", "-o", "-c", "-D", ".o", "%c", shell,
               tessel_test::FrozenClock);
  WriteFile("tmp_x", "");
  WriteFile("tmp_x.c", "");
  WriteFile("tmp_x_old.o", "");
  WriteFile("keep_tmp_x.c", "");
  removeMatching(tg, "tmp_x");
  EXPECT_EQ(std::vector<std::string>{"rm  tmp_x* -f"}, shell.commands);
  EXPECT_FALSE(Exists("tmp_x"));
  EXPECT_FALSE(Exists("tmp_x.c"));
  EXPECT_FALSE(Exists("tmp_x_old.o"));
  EXPECT_TRUE(Exists("keep_tmp_x.c"));
}

TEST(CompileHarnessBinary, OrderStringWithoutPlaceholderEndsTheRunUnfinished) {
  ScratchDir scratch;
  tessel_test::ProcessResult result = tessel_test::RunProcess(
      tessel_test::ShellQuote(tessel_test::kTesselBinary) + " vellc cmp " +
      tessel_test::ShellQuote(tessel_test::kFakeCc) +
      " -o -c -D .o '%c %j %d%s %o' -op out.p_c");
  EXPECT_NE(0, result.exitCode);
  EXPECT_NE(std::string::npos, result.err.find("out_of_range"));
  EXPECT_TRUE(Exists("out.p_c"));
  EXPECT_EQ("", ReadFile("out.p_c"));
  EXPECT_EQ(std::string::npos, result.out.find("Completed OK"));
  EXPECT_EQ(std::string::npos, result.out.find("Can't discover"));
  EXPECT_FALSE(Exists("fakecc.argv"));
}
