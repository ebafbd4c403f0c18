#include <gtest/gtest.h>

#include <iomanip>
#include <sstream>
#include <string>

#include "app/tessel_gen.h"
#include "tests/fakes/fake_shell.h"
#include "tests/support/test_support.h"

using tessel_test::FrozenClock;
using tessel_test::ReadFile;
using tessel_test::ScratchDir;

namespace {

using NoShell = tessel_test::RefusingShell;

// A TesselGen whose console is a string, in a scratch directory.
struct ProgressRun {
  ScratchDir scratch;
  NoShell shell;
  std::ostringstream console;
  TesselGen tg{"vellc",           "cmp", "cc",       "-o", "-c", "-D", ".o",
               "%c %j %d%s %o%e", shell, FrozenClock};
  ProgressRun() { tg.out = &console; }
  std::string LogText() const { return ReadFile(tg.log.fileName()); }
};

}  // namespace

TEST(Progress, ThreeItemsShowFourPercentagesOnOneLine) {
  ProgressRun run;
  run.tg.progressStart(3);
  EXPECT_EQ("[  0%]", run.console.str());
  run.tg.progressStep();
  run.tg.progressStep();
  run.tg.progressStep();
  EXPECT_EQ("[  0%]~[ 33%]~[ 66%]~[100%]", run.console.str());
  run.tg.progressEnd();
  EXPECT_EQ("[  0%]~[ 33%]~[ 66%]~[100%]~\n", run.console.str());
  EXPECT_EQ(0u, run.tg.progressTotal);
  EXPECT_EQ(0u, run.tg.progressDone);
  EXPECT_EQ(0u, run.tg.progressPercent);
}

TEST(Progress, FewItemsSkipPercentages) {
  ProgressRun run;
  run.tg.progressStart(7);
  for (int i = 0; i < 7; ++i) {
    run.tg.progressStep();
  }
  run.tg.progressEnd();
  EXPECT_EQ("[  0%]~[ 14%]~[ 28%]~[ 42%]~[ 57%]~[ 71%]~[ 85%]~[100%]~\n",
            run.console.str());
}

TEST(Progress, ManyItemsPrintOnlyWhenThePercentageGrows) {
  ProgressRun run;
  run.tg.progressStart(250);
  run.tg.progressStep();
  run.tg.progressStep();
  EXPECT_EQ("[  0%]", run.console.str());
  run.tg.progressStep();
  EXPECT_EQ("[  0%]~[  1%]", run.console.str());
  EXPECT_EQ(3u, run.tg.progressDone);
  EXPECT_EQ(1u, run.tg.progressPercent);
}

TEST(Progress, PercentagesAreRightAlignedWhateverTheStreamWasSetTo) {
  ProgressRun run;
  run.console << std::left;
  run.tg.progressStart(20);
  run.tg.progressStep();
  EXPECT_EQ("[  0%]~[  5%]", run.console.str());
}

TEST(Progress, PercentageIsComputedInUnsigned32BitArithmetic) {
  ProgressRun run;
  run.tg.progressStart(50000000);
  // The next item makes done * 100 wrap around to 4, so 4 / 50000000 = 0
  // is not above the last percentage and nothing is printed.
  run.tg.progressDone = 42949672;
  run.tg.progressPercent = 85;
  run.tg.progressStep();
  EXPECT_EQ("[  0%]", run.console.str());
  EXPECT_EQ(42949673u, run.tg.progressDone);
  EXPECT_EQ(85u, run.tg.progressPercent);
}

TEST(Progress, StartWithZeroItemsPrintsNothingAndAStepLogsTheWarning) {
  ProgressRun run;
  const std::string before = run.LogText();
  run.tg.progressStart(0);
  EXPECT_EQ("", run.console.str());
  run.tg.progressStep();
  EXPECT_EQ("", run.console.str());
  EXPECT_EQ(0u, run.tg.progressTotal);
  EXPECT_EQ(0u, run.tg.progressDone);
  EXPECT_EQ(0u, run.tg.progressPercent);
  EXPECT_EQ(before +
                "[+        0ms][INFO] warning: 0 items in progress "
                "indicator\n",
            run.LogText());
  run.tg.progressEnd();
  EXPECT_EQ("", run.console.str());
}

TEST(Progress, StepAfterEndLogsTheWarningAndChangesNothing) {
  ProgressRun run;
  run.tg.progressStart(2);
  run.tg.progressStep();
  run.tg.progressEnd();
  const std::string before = run.LogText();
  run.tg.progressStep();
  EXPECT_EQ("[  0%]~[ 50%]~\n", run.console.str());
  EXPECT_EQ(0u, run.tg.progressDone);
  EXPECT_EQ(
      before + "[+        0ms][INFO] warning: 0 items in progress indicator\n",
      run.LogText());
}

TEST(Progress, RestartBeginsFromZeroAgain) {
  ProgressRun run;
  run.tg.progressStart(2);
  run.tg.progressStep();
  run.tg.progressStep();
  run.tg.progressStart(4);
  EXPECT_EQ(4u, run.tg.progressTotal);
  EXPECT_EQ(0u, run.tg.progressDone);
  EXPECT_EQ(0u, run.tg.progressPercent);
  run.tg.progressStep();
  EXPECT_EQ("[  0%]~[ 50%]~[100%][  0%]~[ 25%]", run.console.str());
}
