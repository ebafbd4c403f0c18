#include "app/driver.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <ctime>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "app/tessel_gen.h"
#include "harness/globals.h"
#include "tests/fakes/fake_shell.h"
#include "tests/support/test_support.h"

using tessel_test::Exists;
using tessel_test::FrozenClock;
using tessel_test::ReadFile;
using tessel_test::ScratchDir;
using tessel_test::WriteFile;

namespace {

using tessel_test::RecordingShell;

// Reads FrozenClock's moment, 2025-11-13 02:13:20, in UTC from the start;
// a member placed before the TesselGen it is meant for.
struct UtcZone {
  UtcZone() { tessel_test::UseUtc(); }
};

const char kLogName[] = "TesselGen_20251113_021320.log";

// The run log of a C-analyser TesselGen for "cc", up to the settings echo.
const char kLogEcho[] =
    "Started Logging at: Thu Nov 13 02:13:20 2025\n"
    "\n"
    "\n"
    "[+        0ms][INFO] TesselPersonGen v0.1 ()\n"
    "[+        0ms][INFO] [1] VellC=true\n"
    "[+        0ms][INFO] [2] Cross Compiling=false\n"
    "[+        0ms][INFO] [3] Compiler EXE=cc\n"
    "[+        0ms][INFO] [4] Compiler EXE Flag=-o\n"
    "[+        0ms][INFO] [5] Compiler Compile Flag=-c\n"
    "[+        0ms][INFO] [6] Compiler Define Flag=-D\n"
    "[+        0ms][INFO] [7] Object File Ext=.o\n"
    "[+        0ms][INFO] [8] Compiler Order String=%c %j %d%s %o%e\n";

// A TesselGen on which the driver is called directly, in a scratch
// directory, with its console in a string.
struct DriverRun {
  UtcZone zone;
  ScratchDir scratch;
  RecordingShell shell;
  std::ostringstream console;
  TesselGen tg{"vellc",           "cmp", "cc",       "-o", "-c", "-D", ".o",
               "%c %j %d%s %o%e", shell, FrozenClock};
  DriverRun() {
    reset_globals_for_testing();
    tg.out = &console;
    tg.err = &console;
  }
};

std::vector<std::string> DirectoryEntries() {
  std::vector<std::string> names;
  std::error_code ec;
  for (const auto& entry : std::filesystem::directory_iterator(".", ec)) {
    names.push_back(entry.path().filename().string());
  }
  return names;
}

}  // namespace

// ---- derived paths
// ------------------------------------------------------------

TEST(Driver, DefaultOutputPathPutsTestSourceAndForceIncludeBesideIt) {
  OutputPaths paths = derive_output_paths("personality/TesselPerson.p_c", true);
  EXPECT_EQ("personality/", paths.directory);
  EXPECT_EQ("personality/personality_test.c", paths.personalityTest);
  EXPECT_EQ("personality/kivforceinclude", paths.forceInclude);
}

TEST(Driver, OutputPathWithoutSlashUsesTheCurrentDirectory) {
  OutputPaths c = derive_output_paths("TesselPerson.p_c", true);
  EXPECT_EQ("", c.directory);
  EXPECT_EQ("personality_test.c", c.personalityTest);
  EXPECT_EQ("kivforceinclude", c.forceInclude);
  OutputPaths cpp = derive_output_paths("out.p_c", false);
  EXPECT_EQ("", cpp.directory);
  EXPECT_EQ("personality_test.cpp", cpp.personalityTest);
  EXPECT_EQ("kivforceinclude", cpp.forceInclude);
}

TEST(Driver, DirectoryEndsAtTheLastSlash) {
  OutputPaths paths = derive_output_paths("/abs/a.b/dir/p", false);
  EXPECT_EQ("/abs/a.b/dir/", paths.directory);
  EXPECT_EQ("/abs/a.b/dir/personality_test.cpp", paths.personalityTest);
  EXPECT_EQ("/abs/a.b/dir/kivforceinclude", paths.forceInclude);
  EXPECT_EQ("out/", derive_output_paths("out/", true).directory);
  EXPECT_EQ("", derive_output_paths("", true).directory);
}

// ---- the run
// ------------------------------------------------------------------

TEST(Driver, WithoutOptionsOnlyTheOutputPathIsLogged) {
  DriverRun run;
  EXPECT_EQ(1, run.tg.run());
  EXPECT_EQ(
      "Unable to open output personality file; personality/TesselPerson.p_c\n",
      run.console.str());
  EXPECT_EQ(std::string(kLogEcho) +
                "[+        0ms][INFO] \t-op personality/TesselPerson.p_c\n"
                "[+        0ms][CRIT] Unable to open output personality file; "
                "personality/TesselPerson.p_c\n",
            ReadFile(kLogName));
}

TEST(Driver, UnopenablePersonalityFileRunsNoStageAndWritesNoTestFile) {
  DriverRun run;
  EXPECT_EQ(1, run.tg.run());
  EXPECT_TRUE(run.shell.commands.empty());
  EXPECT_EQ(std::vector<std::string>{kLogName}, DirectoryEntries());
  EXPECT_EQ("", S_OBJEXT);
}

TEST(Driver, OptionsAreLoggedInTheirFixedOrder) {
  DriverRun run;
  run.tg.reducedFileSize = true;
  run.tg.subPersonalityPath = "subtree";
  run.tg.forceIncludePath = "fi.h";
  run.tg.templatePath = "t.p_c";
  run.tg.outputPath = "missing/out.p_c";
  run.tg.implicitSwitches = {"-x,-y", "-m32"};
  run.tg.implicitDefines = {"B=2", "A=1", "B=2"};
  run.tg.includeDirs = {"/z/inc", "/a/inc"};
  EXPECT_EQ(1, run.tg.run());
  EXPECT_EQ("Unable to open output personality file; missing/out.p_c\n",
            run.console.str());
  EXPECT_EQ(std::string(kLogEcho) +
                "[+        0ms][INFO] \t-i\n"
                "[+        0ms][INFO] \t\t/a/inc\n"
                "[+        0ms][INFO] \t\t/z/inc\n"
                "[+        0ms][INFO] \t-xd\n"
                "[+        0ms][INFO] \t\tB=2\n"
                "[+        0ms][INFO] \t\tA=1\n"
                "[+        0ms][INFO] \t\tB=2\n"
                "[+        0ms][INFO] \t-xs\n"
                "[+        0ms][INFO] \t\t-x,-y\n"
                "[+        0ms][INFO] \t\t-m32\n"
                "[+        0ms][INFO] \t-op missing/out.p_c\n"
                "[+        0ms][INFO] \t-tpl t.p_c\n"
                "[+        0ms][INFO] \t-fi fi.h\n"
                "[+        0ms][INFO] \t-sub subtree\n"
                "[+        0ms][INFO] \t-rfs \n"
                "[+        0ms][CRIT] Unable to open output personality file; "
                "missing/out.p_c\n",
            ReadFile(kLogName));
}

TEST(Driver, EmptyOutputPathIsNotLoggedAndCannotBeOpened) {
  DriverRun run;
  run.tg.outputPath = "";
  EXPECT_EQ(1, run.tg.run());
  EXPECT_EQ("Unable to open output personality file; \n", run.console.str());
  EXPECT_EQ(std::string(kLogEcho) +
                "[+        0ms][CRIT] Unable to open output personality file; "
                "\n",
            ReadFile(kLogName));
}

TEST(Driver, ExistingPersonalityIsEmptiedAndUndiscoverableObjectStopsTheRun) {
  DriverRun run;
  WriteFile("personality/TesselPerson.p_c", "-d OLD=1\n");
  EXPECT_EQ(1, run.tg.run());
  EXPECT_EQ("", ReadFile("personality/TesselPerson.p_c"));
  EXPECT_FALSE(run.shell.commands.empty());
  EXPECT_EQ(std::string::npos, run.console.str().find("Completed OK"));
  EXPECT_EQ(std::string::npos, ReadFile(kLogName).find("Completed OK"));
}
