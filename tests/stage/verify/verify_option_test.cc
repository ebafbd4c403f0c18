// The built TesselGen with and without "-verify", run as a user runs it with
// the fake compiler: without the option a run writes exactly what it wrote
// before the option existed (golden files captured then).
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>
#include <vector>

#include "tests/support/test_support.h"

using tessel_test::kFakeCc;
using tessel_test::kSourceDir;
using tessel_test::kTesselBinary;
using tessel_test::Lines;
using tessel_test::ProcessResult;
using tessel_test::ReadFile;
using tessel_test::ScratchDir;
using tessel_test::ShellQuote;
using tessel_test::WriteFakeRules;

namespace {

// A native fake compiler that compiles everything; programs print 4.
const char kRules[] =
    "if has 'hello world'; then program_prints 'hello world'; "
    "else program_prints 4; fi\n";

const char kPersonality[] = "personality/TesselPerson.p_c";

// Runs TesselGen on the fake compiler with the shipped keyword lists and
// `options` after "-xs -x -xd A=1"; the console has the fake compiler's path
// replaced by "<fakecc>".
ProcessResult RunWith(const std::vector<std::string>& options) {
  EXPECT_EQ(0, mkdir("personality", 0755));
  WriteFakeRules(kRules);
  std::string command =
      "cp -R " + ShellQuote(std::string(kSourceDir) + "/config") +
      " config && " + ShellQuote(kTesselBinary) + " vellc cmp " +
      ShellQuote(kFakeCc) + " -o -c -D .o '%c %j %d%s %o%e' -xs -x -xd A=1";
  for (const std::string& option : options) {
    command += " " + ShellQuote(option);
  }
  ProcessResult result = tessel_test::RunProcess(command);
  const std::string fake = kFakeCc;
  for (std::string::size_type at = result.out.find(fake);
       at != std::string::npos; at = result.out.find(fake)) {
    result.out.replace(at, fake.size(), "<fakecc>");
  }
  return result;
}

// The golden file `name` of this directory.
std::string Golden(const std::string& name) {
  return ReadFile(std::string(kSourceDir) + "/tests/stage/golden/" + name);
}

// The run log's lines without their stamps.
std::vector<std::string> LogTexts() {
  std::vector<std::string> texts;
  const ProcessResult logs = tessel_test::RunProcess("cat TesselGen_*.log");
  for (const std::string& line : Lines(logs.out)) {
    const std::string::size_type tag = line.find("][");
    texts.push_back(tag == std::string::npos ? line : line.substr(tag + 1));
  }
  return texts;
}

// The run log as the golden file holds it: stamps removed, the fake
// compiler's path as "<fakecc>", and the clock times of its first and last
// lines as "<time>".
std::string NormalizedLog() {
  std::string text;
  const std::string fake = kFakeCc;
  for (std::string line : LogTexts()) {
    for (const char* timed :
         {"Started Logging at:", "Finished Logging at:", "Total run time:"}) {
      if (line.rfind(timed, 0) == 0) {
        line = std::string(timed) + " <time>";
      }
    }
    const std::string::size_type at = line.find(fake);
    if (at != std::string::npos) {
      line.replace(at, fake.size(), "<fakecc>");
    }
    text += line + "\n";
  }
  return text;
}

}  // namespace

TEST(VerifyOption, RunWithoutItIsUnchanged) {
  ScratchDir scratch;
  const ProcessResult result = RunWith({});
  EXPECT_EQ(0, result.exitCode);
  EXPECT_EQ(Golden("run_without_verify.console"), result.out);
  EXPECT_EQ(Golden("run_without_verify.p_c"), ReadFile(kPersonality));
  EXPECT_EQ(Golden("run_without_verify.log"), NormalizedLog());
  EXPECT_FALSE(tessel_test::Exists(std::string(kPersonality) + ".verify.json"));
}

TEST(VerifyOption, IsEchoedAndLoggedOnceAndRunsTheStage) {
  ScratchDir scratch;
  const ProcessResult result = RunWith({"-verify", "-verify"});
  EXPECT_EQ(0, result.exitCode);
  const std::string golden = Golden("run_without_verify.console");
  // The echo follows the other options, once.
  const std::string echo = "-xd A=1\n-verify\n\n";
  EXPECT_NE(result.out.find(echo), std::string::npos) << result.out;
  EXPECT_EQ(result.out.find("-verify\n"), result.out.rfind("-verify\n"));
  // This fake compiler compiles a negative array too, so the stage says
  // so before "Completed OK" and leaves the personality as it was.
  const std::string tail =
      "\nVerifying the personality with the compiler...\n"
      "The personality is not verified: the compiler accepts a negative "
      "array size (it only warns)\n"
      "Completed OK\n";
  ASSERT_GE(result.out.size(), tail.size());
  EXPECT_EQ(tail, result.out.substr(result.out.size() - tail.size()));
  EXPECT_EQ(Golden("run_without_verify.p_c"), ReadFile(kPersonality));
  EXPECT_NE(ReadFile(std::string(kPersonality) + ".verify.json")
                .find("\"checked\": false"),
            std::string::npos);
  const std::vector<std::string> log = LogTexts();
  int verifyLines = 0;
  for (std::size_t i = 0; i < log.size(); ++i) {
    if (log[i] == "[INFO] \t-verify") {
      ++verifyLines;
      ASSERT_GT(i, 0u);
      EXPECT_EQ("[INFO] \t-op personality/TesselPerson.p_c", log[i - 1]);
    }
  }
  EXPECT_EQ(1, verifyLines);
}
