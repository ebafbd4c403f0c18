#include "app/log/run_log.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <ctime>
#include <memory>
#include <vector>

#include "tests/support/test_support.h"

using tessel_test::Exists;
using tessel_test::ReadFile;
using tessel_test::ScratchDir;

namespace {

// 2025-11-13 02:13:20 UTC, in microseconds.
constexpr int64_t kStart = 1763000000LL * 1000000;

// A clock that returns the given times one after the other and then keeps
// returning the last one.
MicrosClock Scripted(std::vector<int64_t> times) {
  auto state = std::make_shared<std::pair<std::vector<int64_t>, size_t>>(
      std::move(times), 0);
  return [state]() {
    auto& [list, next] = *state;
    int64_t value = list[next < list.size() ? next : list.size() - 1];
    ++next;
    return value;
  };
}

// Date texts below are written for UTC.
using tessel_test::UseUtc;

const char kOpening[] = "Started Logging at: Thu Nov 13 02:13:20 2025\n\n\n";
const char kLogName[] = "TesselGen_20251113_021320.log";

}  // namespace

TEST(RunLog, FileIsNamedAfterTheStartTime) {
  ScratchDir scratch;
  UseUtc();
  RunLog log("TesselGen_", true, Scripted({kStart}));
  EXPECT_EQ(kLogName, log.fileName());
  EXPECT_TRUE(Exists(kLogName));
}

TEST(RunLog, OpeningWritesTheStartLineAndTwoEmptyLines) {
  ScratchDir scratch;
  UseUtc();
  RunLog log("TesselGen_", true, Scripted({kStart}));
  EXPECT_EQ(kOpening, ReadFile(kLogName));
}

TEST(RunLog, AnExistingFileOfTheSameNameIsEmptied) {
  ScratchDir scratch;
  UseUtc();
  tessel_test::WriteFile(kLogName, "old content that must go\n");
  RunLog log("TesselGen_", true, Scripted({kStart}));
  EXPECT_EQ(kOpening, ReadFile(kLogName));
}

TEST(RunLog, LevelsAreTaggedAndLinesInTheSameMillisecondShowZero) {
  ScratchDir scratch;
  UseUtc();
  RunLog log("TesselGen_", true, Scripted({kStart, kStart + 999}));
  log.info("one");
  log.warn("two");
  log.crit("three");
  EXPECT_EQ(std::string(kOpening) +
                "[+        0ms][INFO] one\n"
                "[+        0ms][WARN] two\n"
                "[+        0ms][CRIT] three\n",
            ReadFile(kLogName));
}

TEST(RunLog, StampIsTheGapSinceThePreviousLineInWholeMilliseconds) {
  ScratchDir scratch;
  UseUtc();
  RunLog log("TesselGen_", true,
             Scripted({kStart, kStart + 12999, kStart + 12999 + 1000,
                       kStart + 12999 + 1000 + 123456789000LL}));
  log.info("Completed OK");
  log.info("a");
  log.info("b");
  EXPECT_EQ(std::string(kOpening) +
                "[+       12ms][INFO] Completed OK\n"
                "[+        1ms][INFO] a\n"
                "[+123456789ms][INFO] b\n",
            ReadFile(kLogName));
}

TEST(RunLog, GapOfTenDigitsWidensTheStamp) {
  ScratchDir scratch;
  UseUtc();
  RunLog log("TesselGen_", true, Scripted({kStart, kStart + 1234567890000LL}));
  log.info("late");
  EXPECT_EQ(std::string(kOpening) + "[+1234567890ms][INFO] late\n",
            ReadFile(kLogName));
}

TEST(RunLog, WallClockFormShowsTheDateOfOneDayEarlier) {
  ScratchDir scratch;
  UseUtc();
  RunLog log("Wall_", false, Scripted({kStart}));
  log.info("text");
  EXPECT_EQ("Wall_20251113_021320.log", log.fileName());
  EXPECT_EQ(
      std::string(kOpening) + "Wed Nov 12 02:13:20 2025\n : [INFO] text\n",
      ReadFile("Wall_20251113_021320.log"));
}

TEST(RunLog, DayOfMonthIsPaddedWithABlank) {
  ScratchDir scratch;
  UseUtc();
  // 2025-11-04 23:46:40 UTC.
  RunLog log("TesselGen_", true, Scripted({1762300000LL * 1000000}));
  EXPECT_EQ("Started Logging at: Tue Nov  4 23:46:40 2025\n\n\n",
            ReadFile("TesselGen_20251104_234640.log"));
}

TEST(RunLog, FinishWritesEndLinesAndShortRunTakesZeroSeconds) {
  ScratchDir scratch;
  UseUtc();
  {
    RunLog log("TesselGen_", true,
               Scripted({kStart, kStart + 5000, kStart + 999999}));
    log.info("Completed OK");
  }
  EXPECT_EQ(std::string(kOpening) +
                "[+        5ms][INFO] Completed OK\n"
                "\n"
                "Finished Logging at: Thu Nov 13 02:13:20 2025\n"
                "\n"
                "Total run time:         0s\n",
            ReadFile(kLogName));
}

TEST(RunLog, TotalRunTimeIsWholeSecondsSinceTheStart) {
  ScratchDir scratch;
  UseUtc();
  {
    RunLog log("TesselGen_", true,
               Scripted({kStart, kStart + 30000000, kStart + 42999999}));
    log.info("x");
  }
  EXPECT_EQ(std::string(kOpening) +
                "[+    30000ms][INFO] x\n"
                "\n"
                "Finished Logging at: Thu Nov 13 02:14:02 2025\n"
                "\n"
                "Total run time:        42s\n",
            ReadFile(kLogName));
}

TEST(RunLog, FinishIsWrittenOnceWhenCalledBeforeTearDown) {
  ScratchDir scratch;
  UseUtc();
  {
    RunLog log("TesselGen_", true, Scripted({kStart}));
    log.finish();
    log.info("after the end");
  }
  EXPECT_EQ(std::string(kOpening) +
                "\n"
                "Finished Logging at: Thu Nov 13 02:13:20 2025\n"
                "\n"
                "Total run time:         0s\n",
            ReadFile(kLogName));
}

TEST(RunLog, UncreatableFileLosesLinesSilently) {
  ScratchDir scratch;
  UseUtc();
  {
    RunLog log("no_such_dir/TesselGen_", true, Scripted({kStart}));
    log.info("lost");
    EXPECT_EQ("no_such_dir/TesselGen_20251113_021320.log", log.fileName());
  }
  EXPECT_FALSE(Exists("no_such_dir"));
}
