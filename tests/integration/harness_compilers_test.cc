// The compile harness and the object and host checks against real
// compilers: gcc and g++ natively, sdcc as a cross compiler with text
// objects.
#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "app/tessel_gen.h"
#include "harness/compile_harness.h"
#include "harness/globals.h"
#include "harness/object_checks.h"
#include "tests/support/test_support.h"

using tessel_test::Exists;
using tessel_test::Lines;
using tessel_test::ReadFile;
using tessel_test::ScratchDir;
using tessel_test::ShellQuote;
using tessel_test::WriteFile;

namespace {

bool Installed(const std::string& compiler) {
  return std::system(("command -v " + compiler + " >/dev/null 2>&1").c_str()) ==
         0;
}

#define REQUIRE_COMPILER(name)                         \
  if (!Installed(name)) {                              \
    GTEST_SKIP() << "skipped: " name " not installed"; \
  }

// A TesselGen for a real compiler with the usual flags "-o ", "-c", "-D"
// and the order string "%c %j %d%s %o%e".
struct RealRun {
  RealRun(const std::string& product, const std::string& cross,
          const std::string& compiler, const std::string& ext,
          const std::string& sw)
      : tg(product, cross, compiler, "-o ", "-c", "-D", ext, "%c %j %d%s %o%e",
           shell) {
    reset_globals_for_testing();
    tg.out = &console;
    tg.err = &console;
    tg.implicitSwitches.push_back(sw);
  }
  SystemShell shell;
  std::ostringstream console;
  TesselGen tg;
};

std::unique_ptr<RealRun> Gcc(const std::string& ext = ".o") {
  return std::make_unique<RealRun>("vellc", "cmp", "gcc", ext,
                                   "-fno-diagnostics-show-caret");
}

std::unique_ptr<RealRun> Sdcc(const std::string& ext) {
  return std::make_unique<RealRun>("vellc", "ccmp", "sdcc", ext, "-mmcs51");
}

// The fifth line of "compile.sh": the command that was run.
std::string LastCommand() { return Lines(ReadFile("compile.sh")).at(4); }

}  // namespace

TEST(HarnessGcc, DotOIsDiscoveredWithTheGivenExtension) {
  REQUIRE_COMPILER("gcc");
  ScratchDir scratch;
  auto run = Gcc(".o");
  S_OBJ_IS_BINARY = 0;
  ASSERT_TRUE(discoverObjectExtension(run->tg, S_OBJEXT, ".o"));
  EXPECT_EQ(".o", S_OBJEXT);
  EXPECT_EQ(1, S_OBJ_IS_BINARY);
  EXPECT_EQ("", run->console.str());
  EXPECT_EQ(
      "gcc -c -fno-diagnostics-show-caret -DXXX tmp_obj_test.c -o "
      "tmp_obj_test.o",
      LastCommand());
}

TEST(HarnessGcc, EmptyExtensionLetsGccNameTheObjectAndTakesItsExtension) {
  REQUIRE_COMPILER("gcc");
  ScratchDir scratch;
  auto run = Gcc("");
  ASSERT_TRUE(discoverObjectExtension(run->tg, S_OBJEXT, ""));
  EXPECT_EQ("gcc -c -fno-diagnostics-show-caret -DXXX tmp_obj_test.c ",
            LastCommand());
  EXPECT_TRUE(Exists("tmp_obj_test.o"));
  // Only a file the compile created counts, not the compile script, the
  // capture files or the run log that are there too.
  EXPECT_EQ(".o", S_OBJEXT);
  EXPECT_EQ(1, S_OBJ_IS_BINARY);
}

TEST(HarnessGcc, CompileTestPassesWithObjectAndFailsWithError) {
  REQUIRE_COMPILER("gcc");
  ScratchDir scratch;
  auto run = Gcc();
  S_OBJEXT = ".o";
  uint32_t size = 0;
  std::string output = "unchanged";
  EXPECT_TRUE(compileTest(run->tg, "int x;\n", "tmp_t", &size, &output));
  EXPECT_GT(size, 0u);
  EXPECT_EQ(size, objectSize("tmp_t.o"));
  EXPECT_EQ("", output);
  EXPECT_EQ("Pass\n", ReadFile("pass.txt"));
  EXPECT_FALSE(compileTest(run->tg, "int x = ;\n", "tmp_t", &size, &output));
  EXPECT_EQ(0u, size);
  EXPECT_NE(std::string::npos,
            output.find("tmp_t.c:1:9: error: expected expression before"))
      << output;
  EXPECT_FALSE(Exists("pass.txt"));
}

TEST(HarnessGcc, HostCheckPassesNatively) {
  REQUIRE_COMPILER("gcc");
  ScratchDir scratch;
  auto run = Gcc();
  checkHostExecution(run->tg);
  EXPECT_EQ("Native compilation OK.\n", run->console.str());
  EXPECT_FALSE(run->tg.isCross);
  EXPECT_EQ(
      "gcc  -fno-diagnostics-show-caret tmp_exe_test.c -o "
      "tmp_exe_test.exe",
      LastCommand());
}

TEST(HarnessGcc, HostCheckPassesNativelyForCppDespiteCompilerWarnings) {
  REQUIRE_COMPILER("g++");
  ScratchDir scratch;
  // g++ warns about the printf declaration and the string conversion; the
  // build's messages are discarded before the program runs.
  RealRun run("vellcpp", "cmp", "g++", ".o", "-Wall");
  checkHostExecution(run.tg);
  EXPECT_EQ("Native compilation OK.\n", run.console.str());
  EXPECT_FALSE(run.tg.isCross);
}

TEST(HarnessGcc, DirectoryTestProgramRunsNatively) {
  REQUIRE_COMPILER("gcc");
  ScratchDir scratch;
  auto run = Gcc();
  S_OBJEXT = ".o";
  WriteFile("bits.c",
            "// Error:none\n"
            "// Success:none\n"
            "// Execute\n"
            "int printf(const char *, ...);\n"
            "int main(void) { printf(\"-bits %d\", (int)sizeof(int) * 8); "
            "return 0; }\n");
  std::string message;
  EXPECT_TRUE(runTestFile(run->tg, "bits.c", "", &message));
  EXPECT_EQ("-bits 32", message);
  EXPECT_FALSE(Exists("bits.exe"));
}

TEST(HarnessGcc, HostCheckIsNotRunForACrossCompiler) {
  REQUIRE_COMPILER("gcc");
  ScratchDir scratch("work");
  WriteFile("personality/.keep", "");
  tessel_test::ProcessResult result = tessel_test::RunProcess(
      ShellQuote(tessel_test::kTesselBinary) +
      " vellc ccmp gcc '-o ' -c -D .o '%c %j %d%s %o%e' -xs "
      "-fno-diagnostics-show-caret");
  EXPECT_EQ(0, result.exitCode) << result.out << result.err;
  EXPECT_EQ(std::string::npos, result.out.find("Native compilation OK."));
  EXPECT_EQ(std::string::npos, result.out.find("Failed on executing"));
  EXPECT_EQ(std::string::npos, result.out.find("Failed to compile a test"));
  EXPECT_FALSE(Exists("tmp_exe_test.c"));
  EXPECT_FALSE(Exists("tmp_exe_test.exe"));
  EXPECT_NE(std::string::npos, result.out.find("Completed OK\n"));
}

TEST(HarnessSdcc, RelObjectIsFoundAndJudgedText) {
  REQUIRE_COMPILER("sdcc");
  ScratchDir scratch;
  auto run = Sdcc(".rel");
  S_OBJ_IS_BINARY = 1;
  ASSERT_TRUE(discoverObjectExtension(run->tg, S_OBJEXT, ".rel"));
  EXPECT_EQ(".rel", S_OBJEXT);
  EXPECT_EQ(0, S_OBJ_IS_BINARY);
  EXPECT_EQ("sdcc -c -mmcs51 -DXXX tmp_obj_test.c -o tmp_obj_test.rel",
            LastCommand());
  EXPECT_EQ("", run->console.str());
}

TEST(HarnessSdcc, AsmExtensionIsDiscoveredAsTextRel) {
  REQUIRE_COMPILER("sdcc");
  ScratchDir scratch;
  auto run = Sdcc(".asm");
  ASSERT_TRUE(discoverObjectExtension(run->tg, S_OBJEXT, ".asm"));
  EXPECT_EQ(".rel", S_OBJEXT);
  EXPECT_EQ(0, S_OBJ_IS_BINARY);
}

TEST(HarnessSdcc, CompileTestPassesWithRelObjectAndFailsWithError) {
  REQUIRE_COMPILER("sdcc");
  ScratchDir scratch;
  auto run = Sdcc(".rel");
  S_OBJEXT = ".rel";
  uint32_t size = 0;
  std::string output;
  EXPECT_TRUE(compileTest(run->tg, "int x;\n", "tmp_t", &size, &output));
  EXPECT_GT(size, 0u);
  EXPECT_EQ(0, ReadFile("tmp_t.rel").rfind("XH", 0));
  EXPECT_FALSE(compileTest(run->tg, "int x = ;\n", "tmp_t", &size, &output));
  EXPECT_EQ(0u, size);
  EXPECT_NE(std::string::npos, output.find("tmp_t.c:1:"));
  EXPECT_NE(std::string::npos, output.find("error"));
}
