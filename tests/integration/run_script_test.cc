// scripts/run.sh, the run command: its messages for bad presets and the run
// directory it lays out. A stand-in for TesselGen (a shell script given as
// TESSEL_BINARY) records what the tool would see, so these tests need no
// compiler and take a moment.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/test_support.h"

using tessel_test::Exists;
using tessel_test::Lines;
using tessel_test::ProcessResult;
using tessel_test::ReadFile;
using tessel_test::RunProcess;
using tessel_test::ScratchDir;
using tessel_test::ShellQuote;
using tessel_test::WriteFile;

namespace {

std::string RunScript(const std::string& arguments,
                      const std::string& environment = "") {
  return environment + " bash " +
         ShellQuote(std::string(tessel_test::kSourceDir) + "/scripts/run.sh") +
         " " + arguments;
}

// The value of the line of `output` that starts with `label`.
std::string Reported(const std::string& output, const std::string& label) {
  for (const std::string& line : Lines(output)) {
    if (line.compare(0, label.size(), label) == 0) {
      return line.substr(line.find_first_not_of(' ', label.size()));
    }
  }
  return "";
}

// A stand-in for TesselGen: it lists what it finds around it into
// "seen.txt", leaves a file behind, writes a personality and a run log, and
// exits with status 0.
const char kStandIn[] =
    "#!/bin/sh\n"
    "here=$(ls | tr '\\n' ' ')\n"
    "up=$(ls .. | tr '\\n' ' ')\n"
    "config=$(ls config | tr '\\n' ' ')\n"
    "printf 'args: %s\\nhere: %s\\nup: %s\\nconfig: %s\\n' \"$*\" "
    "\"$here\" \"$up\" \"$config\" > seen.txt\n"
    "touch leftover\n"
    "echo '-s int=32' > personality/TesselPerson.p_c\n"
    "echo log > TesselGen_20261122_120000.log\n"
    "echo 'Completed OK'\n";

}  // namespace

TEST(RunScript, UnknownPresetStopsWithTheListOfPresets) {
  ScratchDir scratch;
  ProcessResult result = RunProcess(RunScript("nosuch"));
  EXPECT_EQ(2, result.exitCode);
  EXPECT_EQ("", result.out);
  EXPECT_EQ(
      "Unknown preset: nosuch (known presets: gcc g++ clang clang++ tcc sdcc "
      "avr-gcc arm-none-eabi-gcc pcc cc65 x86_64-w64-mingw32-gcc "
      "powerpc-linux-gnu-gcc gcc-m32)\n",
      result.err);
}

TEST(RunScript, ListsThePresets) {
  ScratchDir scratch;
  ProcessResult result = RunProcess(RunScript("--list"));
  EXPECT_EQ(0, result.exitCode);
  EXPECT_EQ(
      "gcc g++ clang clang++ tcc sdcc avr-gcc arm-none-eabi-gcc pcc cc65 "
      "x86_64-w64-mingw32-gcc powerpc-linux-gnu-gcc gcc-m32\n",
      result.out);
}

// Each run works in a directory of its own, with "config" beside it and
// the four test directories one level up, and never sees an earlier run's
// files; the script names where the results are.
TEST(RunScript, EachRunGetsAFreshDirectoryLaidOutForTheTool) {
  ScratchDir scratch;
  WriteFile("standin.sh", kStandIn);
  ASSERT_EQ(0, RunProcess("chmod +x standin.sh").exitCode);
  const std::string environment = "TESSEL_BINARY=standin.sh TESSEL_RUNS_DIR=" +
                                  ShellQuote(scratch.work() + "/runs");
  const std::string arguments =
      "-- vellc cmp cc '-o ' -c -D .o '%c %j %d%s %o%e' -i /usr/include";

  ProcessResult first = RunProcess(RunScript(arguments, environment));
  ProcessResult second = RunProcess(RunScript(arguments, environment));

  ASSERT_EQ(0, first.exitCode) << first.err;
  ASSERT_EQ(0, second.exitCode) << second.err;
  const std::string work = Reported(second.out, "Run directory:");
  EXPECT_NE(Reported(first.out, "Run directory:"), work);
  EXPECT_EQ(0u, work.find(scratch.work() + "/runs/custom-"));
  EXPECT_EQ(work + "/personality/TesselPerson.p_c",
            Reported(second.out, "Personality:"));
  EXPECT_EQ("(none written)", Reported(second.out, "Force-include:"));
  EXPECT_EQ(work + "/TesselGen_20261122_120000.log",
            Reported(second.out, "Run log:"));
  EXPECT_TRUE(Exists(work + "/leftover"));

  std::vector<std::string> seen = Lines(ReadFile(work + "/seen.txt"));
  ASSERT_EQ(4u, seen.size());
  // Runs are verified unless --no-verify comes first.
  EXPECT_EQ(
      "args: vellc cmp cc -o  -c -D .o %c %j %d%s %o%e -i /usr/include "
      "-verify",
      seen[0]);
  ProcessResult plain =
      RunProcess(RunScript("--no-verify " + arguments, environment));
  ASSERT_EQ(0, plain.exitCode) << plain.err;
  EXPECT_EQ(
      "args: vellc cmp cc -o  -c -D .o %c %j %d%s %o%e -i /usr/include",
      Lines(ReadFile(Reported(plain.out, "Run directory:") + "/seen.txt"))[0]);
  EXPECT_EQ("here: config personality ", seen[1]);
  EXPECT_EQ("up: c_keyword_tests c_tests cpp_keyword_tests cpp_tests work ",
            seen[2]);
  std::string shipped;
  for (const std::string& name : Lines(
           RunProcess("ls " + ShellQuote(std::string(tessel_test::kSourceDir) +
                                         "/config"))
               .out)) {
    shipped += name + " ";
  }
  EXPECT_EQ("config: " + shipped, seen[3]);
}

// The presets come from scripts/presets.tsv beside the script: a copy of
// the script with a table of its own runs that table's presets.
TEST(RunScript, PresetsAreReadFromTheTableBesideTheScript) {
  ScratchDir scratch;
  ASSERT_EQ(0, RunProcess("mkdir -p top/scripts top/inc_a top/inc_b && cp " +
                          ShellQuote(std::string(tessel_test::kSourceDir) +
                                     "/scripts/run.sh") +
                          " top/scripts/")
                   .exitCode);
  WriteFile("top/scripts/presets.tsv",
            "# a comment line\n"
            "name\tproduct\tmode\tcompiler\toutput\tcompile\tdefine\tobject\t"
            "order\tswitches\theaders\n"
            "fake\tvellcpp\tccmp\t" +
                std::string(tessel_test::kFakeCc) +
                "\t-o \t-c\t-D\t.rel\t%c %j %d%o%e %s\t-m1 -m2\t" +
                scratch.work() + "/top/inc_a:/nowhere:" + scratch.work() +
                "/top/inc_b\n"
                "plain\tvellc\tcmp\t" +
                tessel_test::kFakeCc +
                "\t-o \t-c\t-D\t.o\t%c %j %d%s %o%e\t-\t" + scratch.work() +
                "/top/inc_a\n"
                "missing\tvellc\tcmp\tno-such-compiler-zorv\t-o \t-c\t-D\t.o\t"
                "%c %j %d%s %o%e\t-\t/usr/include\n");

  ProcessResult list = RunProcess("bash top/scripts/run.sh --list");
  EXPECT_EQ("fake plain missing\n", list.out);
  ProcessResult fake = RunProcess("bash top/scripts/run.sh --args fake");
  EXPECT_EQ(0, fake.exitCode) << fake.err;
  EXPECT_EQ("vellcpp\nccmp\n" + std::string(tessel_test::kFakeCc) +
                "\n-o \n-c\n-D\n.rel\n%c %j %d%o%e %s\n-i\n" + scratch.work() +
                "/top/inc_a\n-i\n" + scratch.work() +
                "/top/inc_b\n-xs\n-m1 "
                "-m2\n",
            fake.out);
  ProcessResult plain = RunProcess("bash top/scripts/run.sh --args plain");
  EXPECT_EQ("vellc\ncmp\n" + std::string(tessel_test::kFakeCc) +
                "\n-o \n-c\n-D\n.o\n%c %j %d%s %o%e\n-i\n" + scratch.work() +
                "/top/inc_a\n",
            plain.out);
  ProcessResult missing = RunProcess("bash top/scripts/run.sh missing");
  EXPECT_EQ(3, missing.exitCode);
  EXPECT_EQ(
      "Compiler not found for preset missing: no-such-compiler-zorv is not "
      "on PATH\n",
      missing.err);
  ProcessResult header = RunProcess("bash top/scripts/run.sh --args name");
  EXPECT_EQ(2, header.exitCode);
  EXPECT_EQ("Unknown preset: name (known presets: fake plain missing)\n",
            header.err);
}
