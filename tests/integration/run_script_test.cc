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
      "avr-gcc arm-none-eabi-gcc)\n",
      result.err);
}

TEST(RunScript, ListsThePresets) {
  ScratchDir scratch;
  ProcessResult result = RunProcess(RunScript("--list"));
  EXPECT_EQ(0, result.exitCode);
  EXPECT_EQ("gcc g++ clang clang++ tcc sdcc avr-gcc arm-none-eabi-gcc\n",
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
