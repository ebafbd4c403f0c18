#include "app/command_line.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <ctime>
#include <filesystem>
#include <list>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "app/tessel_gen.h"
#include "tests/fakes/fake_shell.h"
#include "tests/support/test_support.h"

using tessel_test::Exists;
using tessel_test::FrozenClock;
using tessel_test::ReadFile;
using tessel_test::ScratchDir;
using tessel_test::WriteFile;

namespace {

using tessel_test::RecordingShell;

// Date texts below are written for UTC.
using tessel_test::UseUtc;

const char kLogName[] = "TesselGen_20251113_021320.log";
const char kStartLine[] = "Start personality generation using Tessel\n";
const char kUsage[] =
    "Usage: TesselGen <vellc|vellcpp> <ccmp|cmp> <compiler_command> "
    "<compiler_exe_flag> <compiler_obj_flag> <compiler_def_flag> "
    "<object_file_extension> <compiler_order_str> <-i <search__dir>... "
    "[-if include_paths_file ] [-op peronality_destination_file] [-xd "
    "comma_separated_implicit_compiler_defines] [-xs "
    "comma_separated_implicit_compiler_switches] [-rfs]\n";

// The eight positionals used by the full-run tests.
const std::vector<std::string> kPositionals = {
    "vellc", "cmp", "cc", "-o ", "-c", "-D", ".o", "%c %j %d%s %o%e"};

// Their console echo, up to the blank line after "Additional Options:".
const char kEcho[] =
    "Start personality generation using Tessel\n"
    "[1] Product:              vellc\n"
    "[2] CrossCompiler:        cmp\n"
    "[3] CompilerExe:          cc\n"
    "[4] CompilerExeFlag:      -o \n"
    "[5] CompilerCmpFlag:      -c\n"
    "[6] CompilerDefFlag:      -D\n"
    "[7] Object File Ext Flag: .o\n"
    "[8] Compiler Order Str:   \"%c %j %d%s %o%e\"\n"
    "\n"
    "Additional Options:\n"
    "\n";

// Their settings echo in the run log, after the opening lines.
const char kLogEcho[] =
    "Started Logging at: Thu Nov 13 02:13:20 2025\n"
    "\n"
    "\n"
    "[+        0ms][INFO] TesselPersonGen v0.1 ()\n"
    "[+        0ms][INFO] [1] VellC=true\n"
    "[+        0ms][INFO] [2] Cross Compiling=false\n"
    "[+        0ms][INFO] [3] Compiler EXE=cc\n"
    "[+        0ms][INFO] [4] Compiler EXE Flag=-o \n"
    "[+        0ms][INFO] [5] Compiler Compile Flag=-c\n"
    "[+        0ms][INFO] [6] Compiler Define Flag=-D\n"
    "[+        0ms][INFO] [7] Object File Ext=.o\n"
    "[+        0ms][INFO] [8] Compiler Order String=%c %j %d%s %o%e\n";

const char kLogEnd[] =
    "\n"
    "Finished Logging at: Thu Nov 13 02:13:20 2025\n"
    "\n"
    "Total run time:         0s\n";

// What one call of run_command_line produced.
struct Outcome {
  int status = -1;
  std::string out;
  std::string err;
  std::vector<std::string> commands;
};

// Calls run_command_line with "TesselGen" and `args` as the command line.
Outcome Invoke(const std::vector<std::string>& args) {
  std::vector<const char*> argv = {"TesselGen"};
  for (const std::string& arg : args) {
    argv.push_back(arg.c_str());
  }
  argv.push_back(nullptr);
  RecordingShell shell;
  std::ostringstream out;
  std::ostringstream err;
  Outcome outcome;
  outcome.status = run_command_line(static_cast<int>(argv.size() - 1),
                                    argv.data(), shell, out, err, FrozenClock);
  outcome.out = out.str();
  outcome.err = err.str();
  outcome.commands = shell.commands;
  return outcome;
}

std::vector<std::string> WithPositionals(const std::vector<std::string>& more) {
  std::vector<std::string> args = kPositionals;
  args.insert(args.end(), more.begin(), more.end());
  return args;
}

bool DirectoryIsEmpty() {
  std::error_code ec;
  return std::filesystem::directory_iterator(".", ec) ==
         std::filesystem::directory_iterator();
}

// A TesselGen in a scratch directory for the option walk; console and
// errors go to strings.
struct OptionRun {
  ScratchDir scratch;
  RecordingShell shell;
  std::ostringstream out;
  std::ostringstream err;
  TesselGen tg{"vellc",           "cmp", "cc",       "-o", "-c", "-D", ".o",
               "%c %j %d%s %o%e", shell, FrozenClock};
  OptionRun() {
    tg.out = &out;
    tg.err = &err;
  }
  bool Apply(const std::vector<std::string>& options) {
    std::vector<const char*> argv;
    for (const std::string& option : options) {
      argv.push_back(option.c_str());
    }
    return applyOptions(tg, static_cast<int>(argv.size()), argv.data(), 0);
  }
  const std::string& cwd() const { return scratch.work(); }
};

}  // namespace

// ---- argument counts --------------------------------------------------------

TEST(CommandLine, TenArgumentsExitSilently) {
  ScratchDir scratch;
  Outcome outcome = Invoke(WithPositionals({"-rfs"}));
  EXPECT_EQ(0, outcome.status);
  EXPECT_EQ(kStartLine, outcome.out);
  EXPECT_EQ("", outcome.err);
  EXPECT_TRUE(outcome.commands.empty());
  EXPECT_TRUE(DirectoryIsEmpty());
}

TEST(CommandLine, ShortCommandLinesExitSilently) {
  ScratchDir scratch;
  for (size_t count : {0, 2, 3, 7, 8}) {
    std::vector<std::string> args(kPositionals.begin(),
                                  kPositionals.begin() + count);
    Outcome outcome = Invoke(args);
    EXPECT_EQ(0, outcome.status) << count;
    EXPECT_EQ(kStartLine, outcome.out) << count;
    EXPECT_EQ("", outcome.err) << count;
  }
  EXPECT_TRUE(DirectoryIsEmpty());
}

TEST(CommandLine, NoArgumentVectorAtAllExitsSilently) {
  ScratchDir scratch;
  const char* argv[] = {nullptr};
  RecordingShell shell;
  std::ostringstream out;
  std::ostringstream err;
  EXPECT_EQ(0, run_command_line(0, argv, shell, out, err, FrozenClock));
  EXPECT_EQ(kStartLine, out.str());
  EXPECT_EQ("", err.str());
}

TEST(CommandLine, LoneVersionOptionPrintsTheVersion) {
  ScratchDir scratch;
  for (const char* option : {"-v", "--version"}) {
    Outcome outcome = Invoke({option});
    EXPECT_EQ(0, outcome.status);
    EXPECT_EQ(std::string(kStartLine) + "TesselGen v0.1 ()\n", outcome.out);
    EXPECT_EQ("", outcome.err);
  }
  EXPECT_TRUE(DirectoryIsEmpty());
}

TEST(CommandLine, AnyOtherLoneArgumentPrintsTheUsage) {
  ScratchDir scratch;
  for (const char* arg : {"-h", "--help", "-V", "--Version", "vellc", ""}) {
    Outcome outcome = Invoke({arg});
    EXPECT_EQ(0, outcome.status) << arg;
    EXPECT_EQ(std::string(kStartLine) + kUsage, outcome.out) << arg;
    EXPECT_EQ("", outcome.err) << arg;
  }
  EXPECT_TRUE(DirectoryIsEmpty());
}

TEST(CommandLine, UsageTextIsKeptLetterForLetter) {
  EXPECT_EQ(std::string(kUsage), std::string(kUsageText) + "\n");
}

// ---- full runs through the command line ----------------------------------

TEST(CommandLine, FullRunEchoesEverythingAndStopsWithoutPersonalityDirectory) {
  ScratchDir scratch;
  UseUtc();
  Outcome outcome = Invoke(WithPositionals(
      {"-i", "/usr/include", "-xd", "A=1,,B", "-xs", "-x,-y", "-v", "-rfs"}));
  EXPECT_EQ(1, outcome.status);
  EXPECT_EQ(std::string(kEcho) +
                " -i /usr/include\n"
                "-xd A=1\n"
                "-xd B\n"
                "-xs -x,-y\n"
                "Ignoring unknown option: -v\n"
                "-rfs \n"
                "\n"
                "Unable to open output personality file; "
                "personality/TesselPerson.p_c\n",
            outcome.out);
  EXPECT_EQ("", outcome.err);
  EXPECT_TRUE(outcome.commands.empty());
  EXPECT_EQ(std::string(kLogEcho) +
                "[+        0ms][INFO] \t-i\n"
                "[+        0ms][INFO] \t\t/usr/include\n"
                "[+        0ms][INFO] \t-xd\n"
                "[+        0ms][INFO] \t\tA=1\n"
                "[+        0ms][INFO] \t\tB\n"
                "[+        0ms][INFO] \t-xs\n"
                "[+        0ms][INFO] \t\t-x,-y\n"
                "[+        0ms][INFO] \t-op personality/TesselPerson.p_c\n"
                "[+        0ms][INFO] \t-rfs \n"
                "[+        0ms][CRIT] Unable to open output personality "
                "file; personality/TesselPerson.p_c\n" +
                kLogEnd,
            ReadFile(kLogName));
}

TEST(CommandLine, MissingValueStopsTheRunWithStatusTwo) {
  for (const char* option :
       {"-i", "-if", "-op", "-xd", "-xs", "-tpl", "-fi", "-sub"}) {
    ScratchDir scratch;
    UseUtc();
    ASSERT_EQ(0, mkdir("personality", 0755));
    Outcome outcome = Invoke(WithPositionals({"-rfs", option}));
    EXPECT_EQ(2, outcome.status) << option;
    EXPECT_EQ(std::string(kEcho) + "-rfs \n", outcome.out) << option;
    EXPECT_EQ(std::string("Missing value for option ") + option + "\n",
              outcome.err);
    EXPECT_TRUE(outcome.commands.empty());
    EXPECT_FALSE(Exists("personality/TesselPerson.p_c"));
    EXPECT_EQ(std::string(kLogEcho) +
                  "[+        0ms][CRIT] Missing value for option " + option +
                  "\n" + kLogEnd,
              ReadFile(kLogName));
  }
}

// ---- makeAbsolute
// -------------------------------------------------------------

TEST(CommandLine, MakeAbsoluteKeepsAnAbsolutePath) {
  ScratchDir scratch;
  EXPECT_EQ("/usr/include", makeAbsolute("/usr/include"));
  EXPECT_EQ("/", makeAbsolute("/"));
  EXPECT_EQ("//a/../b/", makeAbsolute("//a/../b/"));
}

TEST(CommandLine, MakeAbsoluteTurnsDotIntoTheCurrentDirectory) {
  ScratchDir scratch;
  EXPECT_EQ(scratch.work(), makeAbsolute("."));
}

TEST(CommandLine, MakeAbsoluteJoinsRelativePathsWithoutNormalising) {
  ScratchDir scratch;
  EXPECT_EQ(scratch.work() + "/sub", makeAbsolute("sub"));
  EXPECT_EQ(scratch.work() + "/../a//b/", makeAbsolute("../a//b/"));
  EXPECT_EQ(scratch.work() + "/./x", makeAbsolute("./x"));
  EXPECT_EQ(scratch.work() + "/..", makeAbsolute(".."));
  EXPECT_EQ(scratch.work() + "/", makeAbsolute(""));
}

TEST(CommandLine, MakeAbsoluteWorksInAWorkingDirectoryLongerThan256Bytes) {
  const std::string level(200, 'd');
  ScratchDir scratch(level + "/" + level + "/" + level + "/" + level);
  ASSERT_GT(scratch.work().size(), 800u);
  EXPECT_EQ(scratch.work(), makeAbsolute("."));
  EXPECT_EQ(scratch.work() + "/sub", makeAbsolute("sub"));
}

// ---- the option walk
// ----------------------------------------------------------

TEST(CommandLine, IncludeDotAddsTheCurrentDirectory) {
  OptionRun run;
  EXPECT_TRUE(run.Apply({"-i", "."}));
  EXPECT_EQ(std::set<std::string>{run.cwd()}, run.tg.includeDirs);
  EXPECT_EQ(" -i " + run.cwd() + "\n", run.out.str());
}

TEST(CommandLine, IncludeRelativeDirectoryIsJoinedToTheCurrentDirectory) {
  OptionRun run;
  EXPECT_TRUE(run.Apply({"-i", "sub"}));
  EXPECT_EQ(std::set<std::string>{run.cwd() + "/sub"}, run.tg.includeDirs);
  EXPECT_EQ(" -i " + run.cwd() + "/sub\n", run.out.str());
}

TEST(CommandLine, IncludeAbsoluteDirectoryIsKeptUnchanged) {
  OptionRun run;
  EXPECT_TRUE(run.Apply({"-i", "/usr/include"}));
  EXPECT_EQ(std::set<std::string>{"/usr/include"}, run.tg.includeDirs);
  EXPECT_EQ(" -i /usr/include\n", run.out.str());
}

TEST(CommandLine, IncludeDirectoriesAreUniqueAndInByteOrder) {
  OptionRun run;
  EXPECT_TRUE(run.Apply(
      {"-i", "/z", "-i", "/a", "-i", "B", "-i", "/a", "-i", "a", "-i", "/Z"}));
  // The scratch directory (under "/tmp" or the like) sorts between "/a"
  // and "/z".
  ASSERT_LT(std::string("/a"), run.cwd());
  ASSERT_LT(run.cwd(), std::string("/z"));
  EXPECT_EQ((std::vector<std::string>{"/Z", "/a", run.cwd() + "/B",
                                      run.cwd() + "/a", "/z"}),
            std::vector<std::string>(run.tg.includeDirs.begin(),
                                     run.tg.includeDirs.end()));
  EXPECT_EQ(" -i /z\n -i /a\n -i " + run.cwd() + "/B\n -i /a\n -i " +
                run.cwd() + "/a\n -i /Z\n",
            run.out.str());
}

TEST(CommandLine, OptionNamesAreMatchedExactly) {
  OptionRun run;
  EXPECT_TRUE(run.Apply({"-I", "x", "-RFS", "-op2"}));
  EXPECT_TRUE(run.tg.includeDirs.empty());
  EXPECT_FALSE(run.tg.reducedFileSize);
  EXPECT_EQ("personality/TesselPerson.p_c", run.tg.outputPath);
  EXPECT_EQ(
      "Ignoring unknown option: -I\n"
      "Ignoring unknown option: x\n"
      "Ignoring unknown option: -RFS\n"
      "Ignoring unknown option: -op2\n",
      run.out.str());
}

TEST(CommandLine, VersionOptionAmongOthersIsAnUnknownOption) {
  OptionRun run;
  EXPECT_TRUE(run.Apply({"-v", "--version", "-rfs"}));
  EXPECT_EQ(
      "Ignoring unknown option: -v\n"
      "Ignoring unknown option: --version\n"
      "-rfs \n",
      run.out.str());
  EXPECT_TRUE(run.tg.reducedFileSize);
}

TEST(CommandLine, DefinesAreSplitAtCommasAndEmptyPiecesSkipped) {
  OptionRun run;
  EXPECT_TRUE(run.Apply({"-xd", "A,B,"}));
  EXPECT_EQ((std::list<std::string>{"A", "B"}), run.tg.implicitDefines);
  EXPECT_EQ("-xd A\n-xd B\n", run.out.str());
}

TEST(CommandLine, DefinesOfOnlyCommasYieldNothingAndEchoNothing) {
  OptionRun run;
  EXPECT_TRUE(run.Apply({"-xd", ",,"}));
  EXPECT_TRUE(run.tg.implicitDefines.empty());
  EXPECT_EQ("", run.out.str());
}

TEST(CommandLine, DefinesKeepCommandLineOrderAndDuplicates) {
  OptionRun run;
  EXPECT_TRUE(run.Apply({"-xd", ",Z=1,,B", "-xd", "Z=1", "-xd", "A=\"x y\""}));
  EXPECT_EQ((std::list<std::string>{"Z=1", "B", "Z=1", "A=\"x y\""}),
            run.tg.implicitDefines);
  EXPECT_EQ("-xd Z=1\n-xd B\n-xd Z=1\n-xd A=\"x y\"\n", run.out.str());
}

TEST(CommandLine, SwitchesAreNotSplitAtCommas) {
  OptionRun run;
  EXPECT_TRUE(run.Apply({"-xs", "-a,-b", "-xs", "-m32 -O0", "-xs", "-a,-b"}));
  EXPECT_EQ((std::list<std::string>{"-a,-b", "-m32 -O0", "-a,-b"}),
            run.tg.implicitSwitches);
  EXPECT_EQ("-xs -a,-b\n-xs -m32 -O0\n-xs -a,-b\n", run.out.str());
}

TEST(CommandLine, OutputPathGivenTwiceKeepsTheSecond) {
  OptionRun run;
  EXPECT_TRUE(run.Apply({"-op", "first.p_c", "-op", "out/second.p_c"}));
  EXPECT_EQ("out/second.p_c", run.tg.outputPath);
  EXPECT_EQ("-op first.p_c\n-op out/second.p_c\n", run.out.str());
}

TEST(CommandLine, OutputPathIsNotMadeAbsolute) {
  OptionRun run;
  EXPECT_TRUE(run.Apply({"-op", "../p/x.p_c"}));
  EXPECT_EQ("../p/x.p_c", run.tg.outputPath);
}

TEST(CommandLine, TemplateForceIncludeAndSubKeepTheirLastValues) {
  OptionRun run;
  EXPECT_TRUE(run.Apply({"-tpl", "t1", "-fi", "f1", "-sub", "s1", "-tpl", "t2",
                         "-fi", "f2", "-sub", "s2", "-rfs", "-rfs"}));
  EXPECT_EQ("t2", run.tg.templatePath);
  EXPECT_EQ("f2", run.tg.forceIncludePath);
  EXPECT_EQ("s2", run.tg.subPersonalityPath);
  EXPECT_TRUE(run.tg.reducedFileSize);
  EXPECT_EQ(
      "-tpl t1\n-fi f1\n-sub s1\n-tpl t2\n-fi f2\n-sub s2\n-rfs \n-rfs \n",
      run.out.str());
}

TEST(CommandLine, AValueOptionTakesTheNextArgumentWhateverItLooksLike) {
  OptionRun run;
  EXPECT_TRUE(run.Apply({"-op", "-rfs", "-xd", "-i", "-xs", "-xs"}));
  EXPECT_EQ("-rfs", run.tg.outputPath);
  EXPECT_FALSE(run.tg.reducedFileSize);
  EXPECT_EQ((std::list<std::string>{"-i"}), run.tg.implicitDefines);
  EXPECT_EQ((std::list<std::string>{"-xs"}), run.tg.implicitSwitches);
  EXPECT_EQ("-op -rfs\n-xd -i\n-xs -xs\n", run.out.str());
}

TEST(CommandLine, MissingValueIsReportedOnStandardError) {
  OptionRun run;
  EXPECT_FALSE(run.Apply({"-rfs", "-xd"}));
  EXPECT_TRUE(run.tg.reducedFileSize);
  EXPECT_TRUE(run.tg.implicitDefines.empty());
  EXPECT_EQ("-rfs \n", run.out.str());
  EXPECT_EQ("Missing value for option -xd\n", run.err.str());
}

// ---- includes files ("-if")
// ---------------------------------------------------

TEST(CommandLine, UnreadableIncludesFileIsReportedAndTheWalkGoesOn) {
  OptionRun run;
  EXPECT_TRUE(run.Apply({"-if", "missing.txt", "-i", "/x"}));
  EXPECT_EQ("Reading include file " + run.cwd() + "/missing.txt\n -i /x\n",
            run.out.str());
  EXPECT_EQ("Unable to open includes file " + run.cwd() + "/missing.txt\n",
            run.err.str());
  EXPECT_EQ(std::set<std::string>{"/x"}, run.tg.includeDirs);
}

TEST(CommandLine, IncludesFileLinesAreMadeAbsoluteAndNotTrimmed) {
  OptionRun run;
  WriteFile("lists/dirs.txt",
            "/usr/include\n"
            "\n"
            "rel/dir\n"
            "/with/blank \n"
            "/with/cr\r\n"
            "\n"
            "last");
  EXPECT_TRUE(run.Apply({"-if", "lists/dirs.txt"}));
  const std::string cwd = run.cwd();
  EXPECT_EQ("Reading include file " + cwd + "/lists/dirs.txt\n" +
                " -i /usr/include\n"
                " -i " +
                cwd + "/rel/dir\n" +
                " -i /with/blank \n"
                " -i /with/cr\r\n"
                " -i " +
                cwd + "/last\n",
            run.out.str());
  EXPECT_EQ("Empty line in include file \nEmpty line in include file \n",
            run.err.str());
  EXPECT_EQ((std::set<std::string>{"/usr/include", "/with/blank ", "/with/cr\r",
                                   cwd + "/last", cwd + "/rel/dir"}),
            run.tg.includeDirs);
}

TEST(CommandLine, IncludesFileGivenAbsolutelyIsNamedAsGiven) {
  OptionRun run;
  WriteFile("dirs.txt", ".\n");
  const std::string path = run.cwd() + "/dirs.txt";
  EXPECT_TRUE(run.Apply({"-if", path, "-i", "."}));
  EXPECT_EQ("Reading include file " + path + "\n -i " + run.cwd() + "\n -i " +
                run.cwd() + "\n",
            run.out.str());
  EXPECT_EQ("", run.err.str());
  EXPECT_EQ(std::set<std::string>{run.cwd()}, run.tg.includeDirs);
}

TEST(CommandLine, EmptyIncludesFileAddsNothing) {
  OptionRun run;
  WriteFile("empty.txt", "");
  EXPECT_TRUE(run.Apply({"-if", "empty.txt"}));
  EXPECT_EQ("Reading include file " + run.cwd() + "/empty.txt\n",
            run.out.str());
  EXPECT_EQ("", run.err.str());
  EXPECT_TRUE(run.tg.includeDirs.empty());
}

TEST(CommandLine, IncludesFilesAccumulateWithIncludeOptions) {
  OptionRun run;
  WriteFile("one.txt", "/b\n");
  WriteFile("two.txt", "/a\n/b\n");
  EXPECT_TRUE(run.Apply({"-i", "/c", "-if", "one.txt", "-if", "two.txt"}));
  EXPECT_EQ((std::set<std::string>{"/a", "/b", "/c"}), run.tg.includeDirs);
}
