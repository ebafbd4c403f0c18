#include "harness/object_checks.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>
#include <vector>

#include "harness/compile_harness.h"
#include "harness/globals.h"
#include "tests/fakes/fake_shell.h"
#include "tests/support/test_support.h"

using tessel_test::Exists;
using tessel_test::FakeInvocations;
using tessel_test::FakeRun;
using tessel_test::Lines;
using tessel_test::ReadFile;
using tessel_test::ScratchDir;
using tessel_test::ShellQuote;
using tessel_test::WriteFakeRules;
using tessel_test::WriteFile;

namespace {

const char kNoExtension[] =
    "Can't discover object file extension, or the compile command failed to "
    "produce an object file of the specified extension!\n"
    "Please check the specified compile flags if this command is malformed.\n";

const char kNotBuilt[] =
    "Failed to compile a test file for execution! Please check the compile "
    "options used (or the compiler linker environment) for next time, however "
    "continuing in Cross Compiler mode\n";

std::string NotRunnable(const std::string& output) {
  return "Failed on executing a test file on this host system! Continuing in "
         "Cross Compiler mode\n"
         "Debug: " +
         output +
         "\n"
         "Please set the Cross Compiler checkbox/parameter if this is indeed "
         "the case.\n";
}

using RecordingShell = tessel_test::RunningRecordingShell;

// A fake run about to discover its object extension: S_OBJEXT is empty and
// the user's extension is `ext`.
std::unique_ptr<FakeRun> Discovery(const std::string& ext, bool isC = true) {
  auto run = std::make_unique<FakeRun>(isC, false);
  S_OBJEXT.clear();
  run->tg->objExt = ext;
  return run;
}

// The log lines of the run, without their time stamps.
std::vector<std::string> LogTexts(const TesselGen& tg) {
  std::vector<std::string> texts;
  for (const std::string& line : Lines(ReadFile(tg.log.fileName()))) {
    if (line.rfind("[+", 0) == 0) {
      texts.push_back(line.substr(line.find(']') + 1));
    }
  }
  return texts;
}

// Whether the log holds `first` directly followed by `second`.
bool LogHasPair(const TesselGen& tg, const std::string& first,
                const std::string& second) {
  std::vector<std::string> texts = LogTexts(tg);
  for (size_t i = 0; i + 1 < texts.size(); ++i) {
    if (texts[i] == first && texts[i + 1] == second) {
      return true;
    }
  }
  return false;
}

}  // namespace

TEST(ObjectExtension, GivenExtensionIsFoundAndLogged) {
  ScratchDir scratch;
  auto run = Discovery(".o");
  S_OBJ_IS_BINARY = 0;
  EXPECT_TRUE(discoverObjectExtension(*run->tg, S_OBJEXT, ".o"));
  EXPECT_EQ(".o", S_OBJEXT);
  EXPECT_EQ(1, S_OBJ_IS_BINARY);
  EXPECT_EQ("", run->console.str());
  EXPECT_EQ("char c;\n", ReadFile("tmp_obj_test.c"));
  EXPECT_EQ(
      std::vector<std::string>{"-c -DXXX tmp_obj_test.c -otmp_obj_test.o"},
      FakeInvocations());
  EXPECT_TRUE(LogHasPair(*run->tg, "[INFO] Discovered obj file extension: .o",
                         "[INFO] User provided: .o"));
}

TEST(ObjectExtension, CppProductCompilesACppSource) {
  ScratchDir scratch;
  auto run = Discovery(".obj", false);
  EXPECT_TRUE(discoverObjectExtension(*run->tg, S_OBJEXT, ".obj"));
  EXPECT_EQ(".obj", S_OBJEXT);
  EXPECT_EQ("char c;\n", ReadFile("tmp_obj_test.cpp"));
  EXPECT_EQ(
      std::vector<std::string>{"-c -DXXX tmp_obj_test.cpp -otmp_obj_test.obj"},
      FakeInvocations());
}

TEST(ObjectExtension, GivenExtensionIsFoundAmongOtherOutputs) {
  ScratchDir scratch;
  auto run = Discovery(".rel");
  WriteFakeRules(
      "also_write tmp_obj_test.asm 'asm'\n"
      "also_write tmp_obj_test.lst 'lst'\n"
      "also_write tmp_obj_test.sym 'sym'\n"
      "object_bytes '\\x01\\x02'\n");
  EXPECT_TRUE(discoverObjectExtension(*run->tg, S_OBJEXT, ".rel"));
  EXPECT_EQ(".rel", S_OBJEXT);
  EXPECT_EQ(1, S_OBJ_IS_BINARY);
}

TEST(ObjectExtension, EntryNeedsNoTestNamePrefix) {
  ScratchDir scratch;
  auto run = Discovery(".obj");
  WriteFakeRules("no_output\n");
  WriteFile("unrelated.obj", "");
  WriteFile("other.obj", "");
  EXPECT_TRUE(discoverObjectExtension(*run->tg, S_OBJEXT, ".obj"));
  EXPECT_EQ(".obj", S_OBJEXT);
  // Such files are named before the check, since one may be taken.
  const std::string warning =
      "Files with the object extension .obj are already here and may be "
      "taken for the compiler's output: other.obj, unrelated.obj";
  EXPECT_EQ(warning + "\n", run->console.str());
  const std::vector<std::string> texts = LogTexts(*run->tg);
  ASSERT_GE(texts.size(), 3u);
  EXPECT_EQ("[WARN] " + warning, texts[texts.size() - 3]);
}

TEST(ObjectExtension, NoWarningWithoutOldObjects) {
  ScratchDir scratch;
  auto run = Discovery(".o");
  WriteFile("notes.txt", "");
  EXPECT_TRUE(discoverObjectExtension(*run->tg, S_OBJEXT, ".o"));
  EXPECT_EQ("", run->console.str());
}

TEST(ObjectExtension, EmptyExtensionTakesTheFileTheCompileCreated) {
  ScratchDir scratch;
  auto run = Discovery("");
  // Dotted names that were here before the compile, the harness's own
  // files among them, are never taken.
  WriteFile("a.log", "");
  WriteFile("b.sh", "");
  WriteFile("compile.sh", "");
  EXPECT_TRUE(discoverObjectExtension(*run->tg, S_OBJEXT, ""));
  // Without an extension the command names no object, so the compiler
  // chose "tmp_obj_test.o" itself.
  EXPECT_EQ(std::vector<std::string>{"-c -DXXX tmp_obj_test.c"},
            FakeInvocations());
  EXPECT_EQ(".o", S_OBJEXT);
  EXPECT_TRUE(LogHasPair(*run->tg, "[INFO] Discovered obj file extension: .o",
                         "[INFO] User provided: "));
  EXPECT_EQ("", run->console.str());
}

TEST(ObjectExtension, EmptyExtensionTakesAnyCreatedFileWithoutTheTestName) {
  ScratchDir scratch;
  auto run = Discovery("");
  WriteFakeRules("output_name out.obj\n");
  // The fake compiler's own record of its command lines is no object.
  WriteFile("fakecc.argv", "");
  EXPECT_TRUE(discoverObjectExtension(*run->tg, S_OBJEXT, ""));
  EXPECT_EQ(".obj", S_OBJEXT);
}

TEST(ObjectExtension, EmptyExtensionAndNothingCreatedFails) {
  ScratchDir scratch;
  auto run = Discovery("");
  WriteFakeRules("no_output\n");
  WriteFile("fakecc.argv", "");
  WriteFile("old.o", "");
  EXPECT_FALSE(discoverObjectExtension(*run->tg, S_OBJEXT, ""));
  EXPECT_EQ(kNoExtension, run->console.str());
}

TEST(ObjectExtension, OldTestFilesAreRemovedBeforeCompiling) {
  ScratchDir scratch;
  auto run = Discovery(".obj");
  WriteFakeRules("no_output\n");
  WriteFile("tmp_obj_test_old.obj", "");
  EXPECT_FALSE(discoverObjectExtension(*run->tg, S_OBJEXT, ".obj"));
  EXPECT_FALSE(Exists("tmp_obj_test_old.obj"));
}

TEST(ObjectExtension, NoObjectPrintsTwoLinesAndFails) {
  ScratchDir scratch;
  auto run = Discovery(".o");
  WriteFakeRules("fail 'cc: bad flag'\n");
  EXPECT_FALSE(discoverObjectExtension(*run->tg, S_OBJEXT, ".o"));
  EXPECT_EQ(kNoExtension, run->console.str());
  EXPECT_EQ("", S_OBJEXT);
  for (const std::string& text : LogTexts(*run->tg)) {
    EXPECT_EQ(std::string::npos, text.find("Discovered")) << text;
  }
}

TEST(ObjectExtension, ObjectWithAnotherExtensionThanGivenFails) {
  ScratchDir scratch;
  auto run = Discovery(".obj");
  WriteFakeRules("output_name tmp_obj_test.o\n");
  EXPECT_FALSE(discoverObjectExtension(*run->tg, S_OBJEXT, ".obj"));
  EXPECT_TRUE(Exists("tmp_obj_test.o"));
  EXPECT_EQ(kNoExtension, run->console.str());
}

TEST(ObjectExtension, TestSourceItselfIsNeverTaken) {
  ScratchDir scratch;
  auto run = Discovery(".c");
  WriteFakeRules("no_output\n");
  EXPECT_FALSE(discoverObjectExtension(*run->tg, S_OBJEXT, ".c"));
  EXPECT_TRUE(Exists("tmp_obj_test.c"));
  EXPECT_EQ(kNoExtension, run->console.str());
}

TEST(ObjectExtension, AsmObjectBecomesRel) {
  ScratchDir scratch;
  auto run = Discovery(".asm");
  WriteFakeRules(
      "object_text $'\\t.module tmp_obj_test\\n_c::\\n\\t.ds 1\\n'\n");
  EXPECT_TRUE(discoverObjectExtension(*run->tg, S_OBJEXT, ".asm"));
  EXPECT_EQ(".rel", S_OBJEXT);
  EXPECT_EQ(0, S_OBJ_IS_BINARY);
  // The log names the extension as found, before it was replaced.
  EXPECT_TRUE(LogHasPair(*run->tg, "[INFO] Discovered obj file extension: .asm",
                         "[INFO] User provided: .asm"));
}

TEST(ObjectExtension, BinaryAsmObjectBecomesBinaryRel) {
  ScratchDir scratch;
  auto run = Discovery(".asm");
  WriteFakeRules("object_bytes '\\x00\\x01\\x02'\n");
  EXPECT_TRUE(discoverObjectExtension(*run->tg, S_OBJEXT, ".asm"));
  EXPECT_EQ(".rel", S_OBJEXT);
  EXPECT_EQ(1, S_OBJ_IS_BINARY);
}

TEST(ObjectExtension, TextRelObjectIsJudgedText) {
  ScratchDir scratch;
  auto run = Discovery(".rel");
  WriteFakeRules("object_text $'XH3\\nH 1 areas 2 global symbols\\nM x\\n'\n");
  S_OBJ_IS_BINARY = 1;
  EXPECT_TRUE(discoverObjectExtension(*run->tg, S_OBJEXT, ".rel"));
  EXPECT_EQ(".rel", S_OBJEXT);
  EXPECT_EQ(0, S_OBJ_IS_BINARY);
}

TEST(ObjectExtension, BinaryRelObjectIsJudgedBinary) {
  ScratchDir scratch;
  auto run = Discovery(".rel");
  WriteFakeRules("object_bytes 'XH3\\n\\x80\\x81'\n");
  EXPECT_TRUE(discoverObjectExtension(*run->tg, S_OBJEXT, ".rel"));
  EXPECT_EQ(1, S_OBJ_IS_BINARY);
}

TEST(ObjectExtension, TextObjectOfOtherExtensionCountsAsBinary) {
  ScratchDir scratch;
  auto run = Discovery(".o");
  WriteFakeRules("object_text 'plain text'\n");
  S_OBJ_IS_BINARY = 0;
  EXPECT_TRUE(discoverObjectExtension(*run->tg, S_OBJEXT, ".o"));
  EXPECT_EQ(1, S_OBJ_IS_BINARY);
}

TEST(ObjectExtensionBinary, NoObjectEndsTheRunWithStatusOne) {
  ScratchDir scratch;
  WriteFakeRules("no_output\n");
  tessel_test::ProcessResult result =
      tessel_test::RunProcess(ShellQuote(tessel_test::kTesselBinary) +
                              " vellc cmp " + ShellQuote(tessel_test::kFakeCc) +
                              " -o -c -D .o '%c %j %d%s %o%e' -op out.p_c");
  EXPECT_EQ(1, result.exitCode);
  std::vector<std::string> lines = Lines(result.out);
  ASSERT_GE(lines.size(), 3u);
  EXPECT_EQ("", lines[lines.size() - 3]);
  EXPECT_EQ(kNoExtension,
            lines[lines.size() - 2] + "\n" + lines[lines.size() - 1] + "\n");
  EXPECT_EQ("", result.err);
  EXPECT_TRUE(Exists("out.p_c"));
  EXPECT_EQ("", ReadFile("out.p_c"));
  // No stage ran after the discovery's one compile.
  EXPECT_EQ(1u, FakeInvocations().size());
}

TEST(HostCheck, ProgramPrintingHelloWorldPasses) {
  ScratchDir scratch;
  FakeRun run(true, false);
  WriteFakeRules("program_prints 'hello world'\n");
  checkHostExecution(*run.tg);
  EXPECT_EQ("Native compilation OK.\n", run.console.str());
  EXPECT_FALSE(run.tg->isCross);
  EXPECT_EQ(
      "int printf(char *, ...);"
      "int main() { printf(\"hello world\"); return 0; }",
      ReadFile("tmp_exe_test.c"));
  EXPECT_EQ(std::vector<std::string>{"tmp_exe_test.c -otmp_exe_test.exe"},
            FakeInvocations());
}

TEST(HostCheck, CppProductDeclaresPrintfWithCLinkage) {
  ScratchDir scratch;
  FakeRun run(false, false);
  WriteFakeRules("program_prints 'hello world'\n");
  checkHostExecution(*run.tg);
  EXPECT_EQ("Native compilation OK.\n", run.console.str());
  EXPECT_EQ(
      "extern \"C\" int printf(char *, ...);"
      "int main() { printf(\"hello world\"); return 0; }",
      ReadFile("tmp_exe_test.cpp"));
}

TEST(HostCheck, RunsCleanUpBuildAndProgramInThisOrder) {
  ScratchDir scratch;
  RecordingShell shell;
  TesselGen tg("vellc", "cmp", tessel_test::kFakeCc, "-o ", "-c", "-D", ".o",
               "%c %j %d%s %o%e", shell, tessel_test::FrozenClock);
  std::ostringstream console;
  tg.out = &console;
  WriteFakeRules("program_prints 'hello world'\n");
  checkHostExecution(tg);
  EXPECT_EQ((std::vector<std::string>{
                "rm  tmp_exe_test* -f", "./compile.sh >stdout.log 2>stderr.log",
                "./tmp_exe_test.exe >stdout.log 2>stderr.log"}),
            shell.commands);
  EXPECT_EQ("Native compilation OK.\n", console.str());
}

TEST(HostCheck, ProgramThatIsNotBuiltSwitchesToCrossMode) {
  ScratchDir scratch;
  FakeRun run(true, false);
  WriteFakeRules(
      "[ \"$FAKE_MODE\" = program ] && fail 'ld: cannot find -lc'\n");
  checkHostExecution(*run.tg);
  EXPECT_EQ(kNotBuilt, run.console.str());
  EXPECT_TRUE(run.tg->isCross);
  EXPECT_EQ(2, run.shell.commands);  // the clean-up and the build only
}

TEST(HostCheck, OldProgramIsRemovedBeforeBuilding) {
  ScratchDir scratch;
  FakeRun run(true, false);
  WriteFile("tmp_exe_test.exe", "#!/bin/sh\nprintf 'hello world'\n");
  chmod("tmp_exe_test.exe", 0755);
  WriteFakeRules("no_output\n");
  checkHostExecution(*run.tg);
  EXPECT_EQ(kNotBuilt, run.console.str());
  EXPECT_TRUE(run.tg->isCross);
}

TEST(HostCheck, HelloWorldWithNewlineFails) {
  ScratchDir scratch;
  FakeRun run(true, false);
  WriteFakeRules("program_prints $'hello world\\n'\n");
  checkHostExecution(*run.tg);
  EXPECT_EQ(NotRunnable("hello world\n"), run.console.str());
  EXPECT_TRUE(run.tg->isCross);
}

TEST(HostCheck, ProgramThatAlsoWritesStandardErrorFails) {
  ScratchDir scratch;
  FakeRun run(true, false);
  WriteFakeRules(
      "program_prints 'hello world'\n"
      "program_prints_err 'note: done'\n");
  checkHostExecution(*run.tg);
  EXPECT_EQ(NotRunnable("hello worldnote: done"), run.console.str());
  EXPECT_TRUE(run.tg->isCross);
}

TEST(HostCheck, ProgramPrintingSomethingElseFails) {
  ScratchDir scratch;
  FakeRun run(true, false);
  WriteFakeRules("program_prints 'Hello World'\n");
  checkHostExecution(*run.tg);
  EXPECT_EQ(NotRunnable("Hello World"), run.console.str());
  EXPECT_TRUE(run.tg->isCross);
}

TEST(
    HostCheck,
    CompilerWarningDuringBuildDoesNotFailTheCheckBecauseTheBuildOutputIsDiscarded) {
  ScratchDir scratch;
  FakeRun run(true, false);
  WriteFakeRules(
      "say_out 'building'\n"
      "say_err \"warning: conflicting types for built-in function 'printf'\"\n"
      "program_prints 'hello world'\n");
  checkHostExecution(*run.tg);
  EXPECT_EQ("Native compilation OK.\n", run.console.str());
  EXPECT_FALSE(run.tg->isCross);
  EXPECT_EQ("hello world", ReadFile("stdout.log"));
  EXPECT_EQ("", ReadFile("stderr.log"));
}

TEST(HostCheck, MessagesAreNotWrittenToTheLog) {
  ScratchDir scratch;
  FakeRun run(true, false);
  WriteFakeRules("program_prints 'hello'\n");
  std::vector<std::string> before = LogTexts(*run.tg);
  checkHostExecution(*run.tg);
  EXPECT_TRUE(run.tg->isCross);
  EXPECT_EQ(before, LogTexts(*run.tg));
}
