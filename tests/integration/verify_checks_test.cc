// The check stage's own checkers on real compilers: each is given a
// deliberately wrong personality, and every fact it writes back is compared
// with what the compiler says about itself through the checks of verified
// personalities (verified_checks.h, on compiler_truth.h), whose tests
// (duplicate case labels, function redeclarations, offsetof, used
// variables) share no code with the checkers.
#include <gtest/gtest.h>

#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

#include "app/tessel_gen.h"
#include "harness/globals.h"
#include "harness/shell.h"
#include "model/personality.h"
#include "tests/integration/compiler_truth.h"
#include "tests/integration/verified_checks.h"
#include "tests/support/test_support.h"
#include "verify/check_stage.h"
#include "verify/keyword_check.h"

using tessel_test::IsOrdinaryIdentifier;
using tessel_test::Preset;
using tessel_test::ScratchDir;
using tessel_test::WriteFile;

namespace {

struct Compiler {
  const char* name;
  const char* command;
  bool isC;
  const char* objExt;
  std::vector<std::string> switches;
};

const Compiler kCompilers[] = {
    {"gcc", "gcc", true, ".o", {}},
    {"g++", "g++", false, ".o", {}},
    {"clang", "clang", true, ".o", {}},
    {"gcc-m32", "gcc", true, ".o", {"-m32"}},
    {"avr-gcc", "avr-gcc", true, ".o", {"-mmcu=atmega328p"}},
    {"arm-none-eabi-gcc",
     "arm-none-eabi-gcc",
     true,
     ".o",
     {"-mcpu=cortex-m4 -mthumb"}},
    {"tcc", "tcc", true, ".o", {}},
    {"pcc", "pcc", true, ".o", {}},
    {"sdcc", "sdcc", true, ".rel", {"-mmcs51"}},
    {"cc65", "cl65", true, ".o", {"-t c64"}},
    {"mingw", "x86_64-w64-mingw32-gcc", true, ".o", {}},
    {"powerpc", "powerpc-linux-gnu-gcc", true, ".o", {}},
};

// A personality wrong in every fact the checkers look at.
std::string WrongPersonality(bool isC) {
  std::string text = isC ? "-d __tg_first=1\n" : "-sd __tg_first=1\n";
  for (const tessel_test::ScalarType& type : tessel_test::kScalarTypes) {
    text += "-s " + type.personalityName + "=24\n-a " + type.personalityName +
            "=3\n";
  }
  text += isC ? "-u+\n" : "";
  text +=
      "-it \"size_t=unsigned char\"\n-it \"ptrdiff_t=signed char\"\n"
      "-it \"wchar_t=unsigned char\"\n";
  text += isC ? "-xn 5\n-na 5\n" : "";
  const std::string d = isC ? "-d " : "-sd ";
  return text + d + "__tg_plain_name=\n" + d + "__inline=inline\n" + d +
         "__asm=asm\n";
}

// Runs the checkers of the stage on the wrong personality with `compiler`;
// false when the compiler is missing (the test is then skipped).
bool RunChecks(const Compiler& compiler, Personality* result,
               std::string* console) {
  if (tessel_test::RunProcess(std::string("command -v ") + compiler.command +
                              " >/dev/null")
          .exitCode != 0) {
    return false;
  }
  reset_globals_for_testing();
  SystemShell shell;
  TesselGen tg(compiler.isC ? "vellc" : "vellcpp", "ccmp", compiler.command,
               "-o ", "-c", "-D", compiler.objExt, "%c %j %d%s %o%e", shell,
               tessel_test::FrozenClock);
  std::ostringstream out;
  tg.out = &out;
  for (const std::string& sw : compiler.switches) {
    tg.implicitSwitches.push_back(sw);
  }
  S_OBJEXT = compiler.objExt;
  tg.outputPath = "person.p_c";
  WriteFile(tg.outputPath, WrongPersonality(compiler.isC));
  RunCheckStage(tg, fact_checkers());
  *console = out.str();
  std::string err;
  EXPECT_TRUE(read_personality_file(tg.outputPath, result, &err)) << err;
  return true;
}

Preset TruthPreset(const Compiler& compiler) {
  Preset preset;
  preset.name = compiler.name;
  preset.compiler = compiler.command;
  preset.isC = compiler.isC;
  preset.objExt = compiler.objExt;
  preset.switches = compiler.switches;
  preset.compileFlag = "-c";
  preset.outputFlag = "-o ";
  return preset;
}

// The keyword lines of `p` are kept for exactly the names the compiler
// refuses as ordinary identifiers.
void ExpectKeywordLines(const Preset& truth, const Personality& p) {
  for (const char* name : {"__tg_plain_name", "__inline", "__asm"}) {
    const bool kept = find_line(p, LineKind::kDefine, name).has_value();
    EXPECT_EQ(!IsOrdinaryIdentifier(truth, name), kept) << name;
  }
}

void CheckCompiler(const Compiler& compiler) {
  ScratchDir scratch;
  Personality result;
  std::string console;
  if (!RunChecks(compiler, &result, &console)) {
    GTEST_SKIP() << compiler.command << " is not installed";
  }
  std::printf("%s:\n%s", compiler.name, console.c_str());
  ASSERT_NE(console.find("Corrections:"), std::string::npos) << console;
  const Preset truth = TruthPreset(compiler);
  const std::string text = write_personality(result);
  // A type the compiler does not know keeps the wrong personality's size.
  tessel_test::ExpectVerifiedTypes(
      truth, tessel_test::ParsePersonality(text, compiler.isC),
      tessel_test::ParsePersonality(WrongPersonality(compiler.isC),
                                    compiler.isC));
  tessel_test::ExpectVerifiedIdentifierLengths(truth, text);
  ExpectKeywordLines(truth, result);
}

}  // namespace

TEST(VerifyChecks, Gcc) { CheckCompiler(kCompilers[0]); }
TEST(VerifyChecks, Gxx) { CheckCompiler(kCompilers[1]); }
TEST(VerifyChecks, Clang) { CheckCompiler(kCompilers[2]); }
TEST(VerifyChecks, GccM32) { CheckCompiler(kCompilers[3]); }
TEST(VerifyChecks, AvrGcc) { CheckCompiler(kCompilers[4]); }
TEST(VerifyChecks, ArmNoneEabiGcc) { CheckCompiler(kCompilers[5]); }
TEST(VerifyChecks, Tcc) { CheckCompiler(kCompilers[6]); }
TEST(VerifyChecks, Pcc) { CheckCompiler(kCompilers[7]); }
TEST(VerifyChecks, SdccMcs51) { CheckCompiler(kCompilers[8]); }
TEST(VerifyChecks, Cc65) { CheckCompiler(kCompilers[9]); }
TEST(VerifyChecks, Mingw) { CheckCompiler(kCompilers[10]); }
TEST(VerifyChecks, PowerpcGcc) { CheckCompiler(kCompilers[11]); }
