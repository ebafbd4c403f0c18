#include "app/tessel_gen.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <ctime>
#include <string>

#include "tests/fakes/fake_shell.h"
#include "tests/support/test_support.h"

using tessel_test::FrozenClock;
using tessel_test::ReadFile;
using tessel_test::ScratchDir;

namespace {

using NoShell = tessel_test::RefusingShell;

// Date texts below are written for UTC.
using tessel_test::UseUtc;

const char kLogName[] = "TesselGen_20251113_021320.log";

bool IsC(const std::string& product) {
  NoShell shell;
  TesselGen tg(product, "cmp", "cc", "-o", "-c", "-D", ".o", "%c", shell,
               FrozenClock);
  return tg.isC;
}

bool IsCross(const std::string& cross) {
  NoShell shell;
  TesselGen tg("vellc", cross, "cc", "-o", "-c", "-D", ".o", "%c", shell,
               FrozenClock);
  return tg.isCross;
}

}  // namespace

TEST(TesselGenSetup, OnlyTheExactWordVellcSelectsTheCAnalyser) {
  ScratchDir scratch;
  EXPECT_TRUE(IsC("vellc"));
  EXPECT_FALSE(IsC("vellcpp"));
  EXPECT_FALSE(IsC("VELLC"));
  EXPECT_FALSE(IsC("Vellc"));
  EXPECT_FALSE(IsC("vellc "));
  EXPECT_FALSE(IsC(""));
}

TEST(TesselGenSetup, OnlyTheExactWordCcmpSelectsCrossCompiling) {
  ScratchDir scratch;
  EXPECT_TRUE(IsCross("ccmp"));
  EXPECT_FALSE(IsCross("cmp"));
  EXPECT_FALSE(IsCross("CCMP"));
  EXPECT_FALSE(IsCross("ccmp "));
  EXPECT_FALSE(IsCross("cross"));
}

TEST(TesselGenSetup, DefinePrefixFollowsTheProduct) {
  ScratchDir scratch;
  NoShell shell;
  TesselGen c("vellc", "cmp", "cc", "-o", "-c", "-D", ".o", "%c", shell,
              FrozenClock);
  TesselGen cpp("vellcpp", "cmp", "cc", "-o", "-c", "-D", ".o", "%c", shell,
                FrozenClock);
  EXPECT_EQ("-d ", c.DefinePrefix);
  EXPECT_EQ("-sd ", cpp.DefinePrefix);
}

TEST(TesselGenSetup, PositionalsAreStoredAndOptionsStartAtTheirDefaults) {
  ScratchDir scratch;
  NoShell shell;
  TesselGen tg("vellc", "ccmp", "arm-gcc", "-o ", "-c", "DF", "",
               "%c %j %d%s %o%e", shell, FrozenClock);
  EXPECT_EQ("arm-gcc", tg.compilerExe);
  EXPECT_EQ("-o ", tg.exeFlag);
  EXPECT_EQ("-c", tg.objFlag);
  EXPECT_EQ("DF", tg.defFlag);
  EXPECT_EQ("", tg.objExt);
  EXPECT_EQ("%c %j %d%s %o%e", tg.orderStr);
  EXPECT_TRUE(tg.includeDirs.empty());
  EXPECT_TRUE(tg.implicitDefines.empty());
  EXPECT_TRUE(tg.implicitSwitches.empty());
  EXPECT_EQ("personality/TesselPerson.p_c", tg.outputPath);
  EXPECT_EQ("", tg.templatePath);
  EXPECT_EQ("", tg.forceIncludePath);
  EXPECT_EQ("", tg.subPersonalityPath);
  EXPECT_FALSE(tg.reducedFileSize);
  EXPECT_FALSE(tg.writeDefaultForceInclude);
  EXPECT_EQ(0u, tg.progressTotal);
  EXPECT_EQ(0u, tg.progressDone);
  EXPECT_EQ(0u, tg.progressPercent);
}

TEST(TesselGenSetup, LogEchoesTheSettingsForTheCAnalyser) {
  ScratchDir scratch;
  UseUtc();
  NoShell shell;
  TesselGen tg("vellc", "ccmp", "arm-gcc", "-o ", "-c", "-D", ".o",
               "%c %j %d%s %o%e", shell, FrozenClock);
  EXPECT_EQ(kLogName, tg.log.fileName());
  EXPECT_EQ(
      "Started Logging at: Thu Nov 13 02:13:20 2025\n"
      "\n"
      "\n"
      "[+        0ms][INFO] TesselPersonGen v0.1 ()\n"
      "[+        0ms][INFO] [1] VellC=true\n"
      "[+        0ms][INFO] [2] Cross Compiling=true\n"
      "[+        0ms][INFO] [3] Compiler EXE=arm-gcc\n"
      "[+        0ms][INFO] [4] Compiler EXE Flag=-o \n"
      "[+        0ms][INFO] [5] Compiler Compile Flag=-c\n"
      "[+        0ms][INFO] [6] Compiler Define Flag=-D\n"
      "[+        0ms][INFO] [7] Object File Ext=.o\n"
      "[+        0ms][INFO] [8] Compiler Order String=%c %j %d%s %o%e\n",
      ReadFile(kLogName));
}

TEST(TesselGenSetup, LogEchoForTheCppAnalyserHasNoNumberOnTheVellCLine) {
  ScratchDir scratch;
  UseUtc();
  NoShell shell;
  TesselGen tg("vellcpp", "cmp", "g++", "-o", "-c", "-D", "", "%c %s", shell,
               FrozenClock);
  EXPECT_EQ(
      "Started Logging at: Thu Nov 13 02:13:20 2025\n"
      "\n"
      "\n"
      "[+        0ms][INFO] TesselPersonGen v0.1 ()\n"
      "[+        0ms][INFO] VellC=false\n"
      "[+        0ms][INFO] [2] Cross Compiling=false\n"
      "[+        0ms][INFO] [3] Compiler EXE=g++\n"
      "[+        0ms][INFO] [4] Compiler EXE Flag=-o\n"
      "[+        0ms][INFO] [5] Compiler Compile Flag=-c\n"
      "[+        0ms][INFO] [6] Compiler Define Flag=-D\n"
      "[+        0ms][INFO] [7] Object File Ext=\n"
      "[+        0ms][INFO] [8] Compiler Order String=%c %s\n",
      ReadFile(kLogName));
}

TEST(TesselGenSetup, DestructionFinishesTheLog) {
  ScratchDir scratch;
  UseUtc();
  {
    NoShell shell;
    TesselGen tg("vellc", "cmp", "cc", "-o", "-c", "-D", ".o", "%c", shell,
                 FrozenClock);
  }
  const std::string text = ReadFile(kLogName);
  const std::string ending =
      "[+        0ms][INFO] [8] Compiler Order String=%c\n"
      "\n"
      "Finished Logging at: Thu Nov 13 02:13:20 2025\n"
      "\n"
      "Total run time:         0s\n";
  ASSERT_GE(text.size(), ending.size());
  EXPECT_EQ(ending, text.substr(text.size() - ending.size()));
}
