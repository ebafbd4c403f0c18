#include "harness/compile_harness.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "harness/globals.h"
#include "tests/fakes/fake_shell.h"
#include "tests/support/test_support.h"

using tessel_test::ReadFile;
using tessel_test::ScratchDir;
using tessel_test::WriteFile;

namespace {

using tessel_test::RecordingShell;

// A TesselGen for the compiler "cc" with flags "-o", "-c", "-D", extension
// ".o" and the order string "%c %j %d%s %o%e", whose shell runs nothing.
struct Harness {
  explicit Harness(bool isC = true)
      : tg(isC ? "vellc" : "vellcpp", "cmp", "cc", "-o", "-c", "-D", ".o",
           "%c %j %d%s %o%e", shell, tessel_test::FrozenClock) {
    reset_globals_for_testing();
  }
  RecordingShell shell;
  TesselGen tg;
};

const char kScriptFor[] =
    "#!/bin/sh\n"
    "if [ -f pass.txt ]; then\n"
    "   rm -f pass.txt\n"
    "fi\n";
const char kScriptEnd[] =
    "if [ $? -eq 0 ]; then\n"
    "   echo \"Pass\" > pass.txt\n"
    "fi\n";

std::string ScriptFor(const std::string& command) {
  return kScriptFor + command + "\n" + kScriptEnd;
}

}  // namespace

TEST(CompileHarness, ObjectCommandFillsEveryPlaceholder) {
  ScratchDir scratch;
  Harness h;
  EXPECT_EQ("cc -c -DA=1 x.c -ox.o", buildCommand(h.tg, "x.c", false, "A=1"));
}

TEST(CompileHarness, OutputFlagWithTrailingBlankIsInsertedAsItStands) {
  ScratchDir scratch;
  Harness h;
  h.tg.compilerExe = "gcc";
  h.tg.exeFlag = "-o ";
  EXPECT_EQ("gcc -c -DXXX tmp_obj_test.c -o tmp_obj_test.o",
            buildCommand(h.tg, "tmp_obj_test.c", false, "XXX"));
}

TEST(CompileHarness, EmptyObjectExtensionDropsOutputFlagAndName) {
  ScratchDir scratch;
  Harness h;
  h.tg.orderStr = "%c %j %o%e %d%s";
  h.tg.objExt = "";
  EXPECT_EQ("cc -c  x.c", buildCommand(h.tg, "x.c", false, ""));
}

TEST(CompileHarness, EmptyOutputFlagDropsOutputFlagAndName) {
  ScratchDir scratch;
  Harness h;
  h.tg.exeFlag = "";
  EXPECT_EQ("cc -c x.c ", buildCommand(h.tg, "x.c", false, ""));
}

TEST(CompileHarness, ObjectNameUsesTheUsersExtension) {
  ScratchDir scratch;
  Harness h;
  h.tg.exeFlag = "-o ";
  h.tg.objExt = ".obj";
  S_OBJEXT = ".o";
  EXPECT_EQ("cc -c ../c_tests/t.c -o ../c_tests/t.obj",
            buildCommand(h.tg, "../c_tests/t.c", false, ""));
}

TEST(CompileHarness, ProgramCommandDropsCompileFlagAndNamesExe) {
  ScratchDir scratch;
  Harness h;
  h.tg.exeFlag = "-o ";
  h.tg.objExt = ".obj";
  EXPECT_EQ("cc  -DA=1 tmp_exe_test.c -o tmp_exe_test.exe",
            buildCommand(h.tg, "tmp_exe_test.c", true, "A=1"));
}

TEST(CompileHarness, ProgramIsNamedEvenWithoutObjectExtension) {
  ScratchDir scratch;
  Harness h;
  h.tg.objExt = "";
  EXPECT_EQ("cc  x.c -ox.exe", buildCommand(h.tg, "x.c", true, ""));
}

TEST(CompileHarness, PlaceholdersMayComeInAnyOrder) {
  ScratchDir scratch;
  Harness h;
  h.tg.orderStr = "%o%e|%s|%d|%j|%c";
  EXPECT_EQ("-ox.o|x.c|-DK |-c|cc", buildCommand(h.tg, "x.c", false, "K"));
}

TEST(CompileHarness, OnlyTheFirstOccurrenceOfEachPlaceholderIsFilled) {
  ScratchDir scratch;
  Harness h;
  h.tg.orderStr = "%c %c %j %j %d%d %s %s %o%e %o%e";
  EXPECT_EQ("cc %c -c %j -DK %d x.c %s -ox.o %o%e",
            buildCommand(h.tg, "x.c", false, "K"));
}

TEST(CompileHarness, BracketedDefineFlagWrapsEachDefine) {
  ScratchDir scratch;
  Harness h;
  h.tg.defFlag = "DF";
  h.tg.orderStr = "%c %j %d%s%o%e";
  h.tg.exeFlag = "";
  EXPECT_EQ("cc -c DF(A=1) x.c", buildCommand(h.tg, "x.c", false, "A=1"));
}

TEST(CompileHarness, BracketedDefineFlagWithBlankKeepsItsBlank) {
  ScratchDir scratch;
  Harness h;
  h.tg.defFlag = "DF ";
  h.tg.orderStr = "%c %j %d%s%o%e";
  h.tg.exeFlag = "";
  EXPECT_EQ("cc -c DF (A=1) x.c", buildCommand(h.tg, "x.c", false, "A=1"));
}

TEST(CompileHarness, OtherDefineFlagsArePrefixedWithoutBrackets) {
  ScratchDir scratch;
  Harness h;
  h.tg.orderStr = "%c %j %d%s%o%e";
  h.tg.exeFlag = "";
  EXPECT_EQ("cc -c -DA=1 x.c", buildCommand(h.tg, "x.c", false, "A=1"));
  h.tg.defFlag = "df";
  EXPECT_EQ("cc -c dfA=1 x.c", buildCommand(h.tg, "x.c", false, "A=1"));
  h.tg.defFlag = "DF  ";
  EXPECT_EQ("cc -c DF  A=1 x.c", buildCommand(h.tg, "x.c", false, "A=1"));
}

TEST(CompileHarness, SwitchesThenImplicitDefinesThenExtraDefine) {
  ScratchDir scratch;
  Harness h;
  h.tg.orderStr = "[%d]%c%j%s%o%e";
  h.tg.implicitSwitches = {"-w", "-x,-y"};
  h.tg.implicitDefines = {"B=2", "C", "B=2"};
  EXPECT_EQ("[-w -x,-y -DB=2 -DC -DB=2 -DA=1 ]cc-cx.c-ox.o",
            buildCommand(h.tg, "x.c", false, "A=1"));
}

TEST(CompileHarness, BracketedFormAppliesToImplicitDefinesToo) {
  ScratchDir scratch;
  Harness h;
  h.tg.defFlag = "DF";
  h.tg.orderStr = "[%d]%c%j%s%o%e";
  h.tg.implicitSwitches = {"-w"};
  h.tg.implicitDefines = {"B=2"};
  EXPECT_EQ("[-w DF(B=2) ]cc-cx.c-ox.o", buildCommand(h.tg, "x.c", false, ""));
}

TEST(CompileHarness, EmptyExtraDefineAddsNothing) {
  ScratchDir scratch;
  Harness h;
  h.tg.orderStr = "[%d]%c%j%s%o%e";
  EXPECT_EQ("[]cc-cx.c-ox.o", buildCommand(h.tg, "x.c", false, ""));
  h.tg.implicitDefines = {"B"};
  EXPECT_EQ("[-DB ]cc-cx.c-ox.o", buildCommand(h.tg, "x.c", false, ""));
}

TEST(CompileHarness, SourceWithoutDotUsesTheWholePathAsBase) {
  ScratchDir scratch;
  Harness h;
  EXPECT_EQ("cc -c tmpsrc -otmpsrc.o", buildCommand(h.tg, "tmpsrc", false, ""));
  EXPECT_EQ("cc  tmpsrc -otmpsrc.exe", buildCommand(h.tg, "tmpsrc", true, ""));
}

TEST(CompileHarness, BaseEndsAtTheLastDotOfTheWholePath) {
  ScratchDir scratch;
  Harness h;
  EXPECT_EQ("cc -c ../dir.d/t.x.c -o../dir.d/t.x.o",
            buildCommand(h.tg, "../dir.d/t.x.c", false, ""));
  // A dot in the directory part counts as well.
  EXPECT_EQ("cc -c ../dir/t -o..o", buildCommand(h.tg, "../dir/t", false, ""));
}

TEST(CompileHarness, MissingPlaceholderThrowsOutOfRange) {
  ScratchDir scratch;
  Harness h;
  for (const char* order :
       {"%j %d%s %o%e", "%c %j %d %o%e", "%c %d%s %o%e", "%c %j %d%s %e",
        "%c %j %d%s %o", "%c %j %s %o%e"}) {
    h.tg.orderStr = order;
    EXPECT_THROW(buildCommand(h.tg, "x.c", false, ""), std::out_of_range)
        << order;
    EXPECT_THROW(buildCommand(h.tg, "x.c", true, ""), std::out_of_range)
        << order;
  }
}

TEST(CompileHarness, SourceExtensionFollowsTheProduct) {
  ScratchDir scratch;
  Harness c(true);
  Harness cpp(false);
  EXPECT_EQ(".c", sourceExtension(c.tg));
  EXPECT_EQ(".cpp", sourceExtension(cpp.tg));
}

TEST(CompileHarness, PrintfDeclarationFollowsTheProduct) {
  ScratchDir scratch;
  Harness c(true);
  Harness cpp(false);
  EXPECT_EQ("int printf(char *, ...);", printfDeclaration(c.tg));
  EXPECT_EQ("extern \"C\" int printf(char *, ...);", printfDeclaration(cpp.tg));
}

TEST(CompileHarness, SharedSourcePiecesAreExact) {
  EXPECT_STREQ("#include <stddef.h>\n", kIncludeStddef);
  EXPECT_STREQ("#include <stdio.h>\n", kIncludeStdio);
  EXPECT_STREQ("#include <stdlib.h>\n", kIncludeStdlib);
  EXPECT_STREQ("int main(void) {", kMainStart);
  EXPECT_STREQ("return 0;", kReturnZero);
  EXPECT_STREQ("}", kCloseBrace);
  EXPECT_STREQ("#ifdef ", kIfdef);
  EXPECT_STREQ("#ifndef ", kIfndef);
  EXPECT_STREQ("#endif", kEndif);
  EXPECT_STREQ("#define S(X) #X", kStringifyS);
  EXPECT_STREQ("#define M(X) S(X)", kStringifyM);
  EXPECT_STREQ("ak12345", kMissingHeader);
}

TEST(CompileHarness, FixedFileNamesAreExact) {
  EXPECT_STREQ("compile.sh", kCompileScript);
  EXPECT_STREQ("pass.txt", kPassFile);
  EXPECT_STREQ("stdout.log", kStdoutLog);
  EXPECT_STREQ("stderr.log", kStderrLog);
  EXPECT_STREQ(".exe", kExeExt);
}

TEST(CompileHarness, CompileScriptHasExactlyEightLines) {
  ScratchDir scratch;
  Harness h;
  runCompileScript(h.tg, "cc -c x.c -ox.o");
  EXPECT_EQ(
      "#!/bin/sh\n"
      "if [ -f pass.txt ]; then\n"
      "   rm -f pass.txt\n"
      "fi\n"
      "cc -c x.c -ox.o\n"
      "if [ $? -eq 0 ]; then\n"
      "   echo \"Pass\" > pass.txt\n"
      "fi\n",
      ReadFile("compile.sh"));
}

TEST(CompileHarness, CompileScriptIsMadeReadableWritableAndExecutableByAll) {
  ScratchDir scratch;
  Harness h;
  WriteFile("compile.sh", "old");
  chmod("compile.sh", 0600);
  runCompileScript(h.tg, "cc x.c");
  struct stat status;
  ASSERT_EQ(0, stat("compile.sh", &status));
  EXPECT_EQ(0777u, status.st_mode & 07777u);
}

TEST(CompileHarness, CompileScriptRunsWithItsOutputCaptured) {
  ScratchDir scratch;
  Harness h;
  runCompileScript(h.tg, "cc x.c");
  ASSERT_EQ(1u, h.shell.commands.size());
  EXPECT_EQ("./compile.sh >stdout.log 2>stderr.log", h.shell.commands[0]);
}

TEST(CompileHarness, CompileScriptReplacesTheWholeOldScript) {
  ScratchDir scratch;
  Harness h;
  WriteFile("compile.sh", std::string(2000, '#'));
  runCompileScript(h.tg, "cc y.c");
  EXPECT_EQ(ScriptFor("cc y.c"), ReadFile("compile.sh"));
}

TEST(CompileHarness, CompileScriptNeverLeavesAnEarlierCompilesOutput) {
  ScratchDir scratch;
  Harness h;
  WriteFile("stdout.log", "out of an earlier compile");
  WriteFile("stderr.log", "err of an earlier compile");
  runCompileScript(h.tg, "cc y.c");
  EXPECT_FALSE(tessel_test::Exists("stdout.log"));
  EXPECT_FALSE(tessel_test::Exists("stderr.log"));
  EXPECT_EQ("", readCompilerOutput());
}

TEST(CompileHarness, CompileScriptIsANewFileNotTheOldOneRewritten) {
  ScratchDir scratch;
  Harness h;
  // A link named "compile.sh" is replaced, not written through.
  WriteFile("elsewhere.sh", "kept\n");
  ASSERT_EQ(0, symlink("elsewhere.sh", "compile.sh"));
  runCompileScript(h.tg, "cc y.c");
  EXPECT_EQ("kept\n", ReadFile("elsewhere.sh"));
  struct stat status;
  ASSERT_EQ(0, lstat("compile.sh", &status));
  EXPECT_TRUE(S_ISREG(status.st_mode));
  EXPECT_EQ(ScriptFor("cc y.c"), ReadFile("compile.sh"));
}

TEST(CompileHarness, TestSourceIsANewFileNotTheOldOneRewritten) {
  ScratchDir scratch;
  WriteFile("shipped.c", "int shipped;\n");
  ASSERT_EQ(0, symlink("shipped.c", "tmp_t.c"));
  EXPECT_TRUE(writeWholeFile("tmp_t.c", "int x;\n"));
  EXPECT_EQ("int shipped;\n", ReadFile("shipped.c"));
  EXPECT_EQ("int x;\n", ReadFile("tmp_t.c"));
}

TEST(CompileHarness, CompilerOutputIsStdoutThenStderr) {
  ScratchDir scratch;
  WriteFile("stdout.log", "out 1\nout 2");
  WriteFile("stderr.log", "err\n");
  EXPECT_EQ("out 1\nout 2err\n", readCompilerOutput());
}

TEST(CompileHarness, MissingCaptureFileContributesNothing) {
  ScratchDir scratch;
  EXPECT_EQ("", readCompilerOutput());
  WriteFile("stderr.log", "only err");
  EXPECT_EQ("only err", readCompilerOutput());
  std::remove("stderr.log");
  WriteFile("stdout.log", "only out");
  EXPECT_EQ("only out", readCompilerOutput());
}

TEST(CompileHarness, ObjectSizeOfMissingFileHasAllBitsSet) {
  ScratchDir scratch;
  EXPECT_EQ(0xFFFFFFFFu, objectSize("no_such.o"));
}

TEST(CompileHarness, ObjectSizeIsTheFileSizeInBytes) {
  ScratchDir scratch;
  WriteFile("empty.o", "");
  WriteFile("five.o", std::string("ab\0de", 5));
  EXPECT_EQ(0u, objectSize("empty.o"));
  EXPECT_EQ(5u, objectSize("five.o"));
}

TEST(CompileHarness, CompileTestWritesSourceAndScriptAndRemovesOldObject) {
  ScratchDir scratch;
  Harness h;
  S_OBJEXT = ".o";
  WriteFile("tmp_t.c", "old text that is longer than the new one");
  WriteFile("tmp_t.o", "stale object");
  WriteFile("stdout.log", "said by an earlier compile");
  uint32_t size = 7;
  std::string output;
  // The shell runs nothing, so no object appears: the stale one is gone,
  // and so is the earlier compile's output.
  EXPECT_FALSE(compileTest(h.tg, "int x;\n", "tmp_t", &size, &output));
  EXPECT_EQ(0u, size);
  EXPECT_EQ("", output);
  EXPECT_EQ("int x;\n", ReadFile("tmp_t.c"));
  EXPECT_FALSE(tessel_test::Exists("tmp_t.o"));
  EXPECT_EQ(ScriptFor("cc -c tmp_t.c -otmp_t.o"), ReadFile("compile.sh"));
}

TEST(CompileHarness, CompileTestLooksForTheDiscoveredExtension) {
  ScratchDir scratch;
  Harness h(false);
  S_OBJEXT = ".rel";
  h.tg.objExt = ".obj";
  WriteFile("tmp_t.rel", "stale");
  EXPECT_FALSE(compileTest(h.tg, "int x;\n", "tmp_t", nullptr, nullptr));
  EXPECT_FALSE(tessel_test::Exists("tmp_t.rel"));
  EXPECT_EQ(ScriptFor("cc -c tmp_t.cpp -otmp_t.obj"), ReadFile("compile.sh"));
}

TEST(CompileHarness, CompileTypeTestUsesTheTypeTestName) {
  ScratchDir scratch;
  Harness h;
  S_OBJEXT = ".o";
  EXPECT_FALSE(compileTypeTest(h.tg, "char c;\n", nullptr, nullptr));
  EXPECT_EQ("char c;\n", ReadFile("tmp_typetest.c"));
  EXPECT_EQ(ScriptFor("cc -c tmp_typetest.c -otmp_typetest.o"),
            ReadFile("compile.sh"));
}

TEST(CompileHarness, RemoveMatchingRunsRmWithTwoBlanks) {
  ScratchDir scratch;
  Harness h;
  removeMatching(h.tg, "tmp_obj_test");
  ASSERT_EQ(1u, h.shell.commands.size());
  EXPECT_EQ("rm  tmp_obj_test* -f", h.shell.commands[0]);
}

namespace {

// Records every command like RecordingShell and plays a compiler that
// builds "x.exe" with a warning on standard error, and a program that
// prints "42" (and "warn" on standard error when that is captured).
struct BuildingShell : Shell {
  int Run(const std::string& command) override {
    commands.push_back(command);
    if (command.rfind("./compile.sh", 0) == 0) {
      WriteFile("x.exe", "program");
      WriteFile("stderr.log", "x.c:1: warning");
    } else if (command.rfind("./x.exe", 0) == 0) {
      WriteFile("stdout.log", "42");
      if (command.find("2>stderr.log") != std::string::npos) {
        WriteFile("stderr.log", "warn");
      }
    }
    return 0;
  }
  std::vector<std::string> commands;
};

const char kBuildCommand[] = "./compile.sh >stdout.log 2>stderr.log";

}  // namespace

TEST(CompileHarness, BuildAndRunRemovesAnOldProgramBeforeTheBuild) {
  ScratchDir scratch;
  Harness h;
  WriteFile("x.exe", "older program");
  EXPECT_EQ(std::nullopt, build_and_run_program(h.tg, "x.c", "int main;\n",
                                                ProgramRunOptions()));
  EXPECT_EQ(std::vector<std::string>{kBuildCommand}, h.shell.commands);
  EXPECT_FALSE(tessel_test::Exists("x.exe"));
  EXPECT_EQ("int main;\n", ReadFile("x.c"));
  EXPECT_EQ(ScriptFor("cc  x.c -ox.exe"), ReadFile("compile.sh"));
}

TEST(CompileHarness, BuildAndRunMayRunAProgramLeftInPlace) {
  ScratchDir scratch;
  Harness h;
  WriteFile("x.exe", "older program");
  ProgramRunOptions options;
  options.removeOldProgram = false;
  EXPECT_EQ("", build_and_run_program(h.tg, "x.c", "", options));
  EXPECT_EQ((std::vector<std::string>{kBuildCommand, "./x.exe >stdout.log"}),
            h.shell.commands);
}

TEST(CompileHarness, BuildAndRunReadsWhatTheProgramPrinted) {
  ScratchDir scratch;
  Harness h;
  BuildingShell shell;
  h.tg.shell = &shell;
  EXPECT_EQ("42", build_and_run_program(h.tg, "x.c", "", ProgramRunOptions()));
  EXPECT_EQ((std::vector<std::string>{kBuildCommand, "./x.exe >stdout.log"}),
            shell.commands);
  EXPECT_FALSE(tessel_test::Exists("stderr.log"));
}

TEST(CompileHarness, BuildAndRunCanKeepTheBuildsMessages) {
  ScratchDir scratch;
  Harness h;
  BuildingShell shell;
  h.tg.shell = &shell;
  ProgramRunOptions options;
  options.dropBuildErrors = false;
  EXPECT_EQ("42", build_and_run_program(h.tg, "x.c", "", options));
  EXPECT_EQ("x.c:1: warning", ReadFile("stderr.log"));
}

TEST(CompileHarness, BuildAndRunCanCaptureTheProgramsErrors) {
  ScratchDir scratch;
  Harness h;
  BuildingShell shell;
  h.tg.shell = &shell;
  ProgramRunOptions options;
  options.captureErrors = true;
  EXPECT_EQ("42warn", build_and_run_program(h.tg, "x.c", "", options));
  EXPECT_EQ((std::vector<std::string>{kBuildCommand,
                                      "./x.exe >stdout.log 2>stderr.log"}),
            shell.commands);
}
