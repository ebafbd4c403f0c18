#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>

#include "app/tessel_gen.h"
#include "tests/support/test_support.h"

using tessel_test::Exists;
using tessel_test::FakeInvocations;
using tessel_test::FakeRun;
using tessel_test::ReadFile;
using tessel_test::ScratchDir;
using tessel_test::WriteFakeRules;

namespace {

bool EndsWith(const std::string& text, const std::string& tail) {
  return text.size() >= tail.size() &&
         text.compare(text.size() - tail.size(), tail.size(), tail) == 0;
}

bool AnyInvocationMentions(const std::string& word) {
  for (const std::string& line : FakeInvocations()) {
    if (line.find(word) != std::string::npos) {
      return true;
    }
  }
  return false;
}

}  // namespace

// A native fake compiler: its hello-world program passes the host check and
// every other program prints 4, a size the type stage can read.
const char kNativeRules[] =
    "if has 'hello world'; then program_prints 'hello world'; "
    "else program_prints 4; fi\n";

TEST(DriverStage, CompleteRunEndsWithCompletedOk) {
  ScratchDir scratch;
  ASSERT_EQ(0, mkdir("personality", 0755));
  WriteFakeRules(kNativeRules);
  FakeRun run(true, false);
  EXPECT_EQ(0, run.tg->run());
  EXPECT_TRUE(EndsWith(run.console.str(), "\nCompleted OK\n"))
      << run.console.str();
  EXPECT_TRUE(EndsWith(ReadFile(run.tg->log.fileName()),
                       "\n[+        0ms][INFO] Completed OK\n"));
  EXPECT_TRUE(Exists("personality/TesselPerson.p_c"));
  EXPECT_FALSE(run.tg->isCross);
}

TEST(DriverStage, OutputPathWithoutSlashWritesIntoTheCurrentDirectory) {
  ScratchDir scratch;
  WriteFakeRules(kNativeRules);
  FakeRun run(false, false);
  run.tg->outputPath = "plain.p_c";
  EXPECT_EQ(0, run.tg->run());
  EXPECT_TRUE(Exists("plain.p_c"));
  EXPECT_FALSE(Exists("personality"));
}

TEST(DriverStage, NativeRunWhoseHostCheckFailsGoesOnAsACrossRun) {
  ScratchDir scratch;
  ASSERT_EQ(0, mkdir("personality", 0755));
  WriteFakeRules("program_prints 'not hello'\n");
  FakeRun run(true, false);
  EXPECT_EQ(0, run.tg->run());
  EXPECT_TRUE(run.tg->isCross);
  EXPECT_TRUE(EndsWith(run.console.str(), "\nCompleted OK\n"));
}

TEST(DriverStage, CrossRunSkipsTheHostCheck) {
  ScratchDir scratch;
  ASSERT_EQ(0, mkdir("personality", 0755));
  FakeRun run(true, true);
  EXPECT_EQ(0, run.tg->run());
  EXPECT_TRUE(AnyInvocationMentions("tmp_obj_test"));
  EXPECT_FALSE(AnyInvocationMentions("tmp_exe_test"));
  EXPECT_TRUE(EndsWith(run.console.str(), "Completed OK\n"));
}

TEST(DriverStage, UndiscoverableObjectExtensionEndsTheRunWithStatusOne) {
  ScratchDir scratch;
  ASSERT_EQ(0, mkdir("personality", 0755));
  WriteFakeRules("no_output\n");
  FakeRun run(true, false);
  EXPECT_EQ(1, run.tg->run());
  EXPECT_EQ(std::string::npos, run.console.str().find("Completed OK"));
  EXPECT_FALSE(AnyInvocationMentions("tmp_exe_test"));
  EXPECT_EQ("", ReadFile("personality/TesselPerson.p_c"));
}
