// The check stage against the fake compiler playing a compiler with a table
// of facts (verify_fake_model.h): every calibration outcome, every kind of
// correction, the console table, the log and the JSON report.
#include "verify/check_stage.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "app/tessel_gen.h"
#include "tests/stage/verify/verify_fake_model.h"
#include "tests/support/test_support.h"

using tessel_test::FakeRun;
using tessel_test::Lines;
using tessel_test::ReadFile;
using tessel_test::ScratchDir;
using tessel_test::VerifyLp64Table;
using tessel_test::VerifyModelRules;
using tessel_test::WriteFakeRules;
using tessel_test::WriteFile;

namespace {

const char kPath[] = "person.p_c";
const char kStart[] = "\nVerifying the personality with the compiler...\n";
const char kTableHead[] =
    "Verification of the personality with the compiler:\n"
    "fact               confirmed corrected     added unchecked\n";

// What the type stages write for an LP64 compiler, keywords after them.
const char kLp64Personality[] =
    "-d __x86_64__=1\n"
    "-s int=32\n-a int=4\n-s char=8\n-a char=1\n-u-\n"
    "-s short=16\n-a short=2\n-s long=64\n-a long=8\n"
    "-s longlong=64\n-a longlong=8\n-s float=32\n-a float=4\n"
    "-s double=64\n-a double=8\n-s ldouble=128\n-a ldouble=16\n"
    "-s dataptr=64\n-a dataptr=8\n-s codeptr=64\n-a codeptr=8\n"
    "-it \"size_t=unsigned long\"\n-it \"ptrdiff_t=signed long\"\n"
    "-it \"wchar_t=signed int\"\n-xn 63\n-na 31\n"
    "-d \"_kiv_null_expression=0 kiv_ignore_paren\"\n"
    "-d kiv_ignore_paren=_ignore_paren\n"
    "-d \"__asm=asm\"\n-d __inline=inline\n";

// The model's facts for kLp64Personality, then `more` bash.
std::string Rules(const std::string& more = "") {
  return VerifyModelRules(VerifyLp64Table() +
                          "CHAR_SIGNED=1 XN=63 NA=31 KW=\"__asm __inline\"\n" +
                          more);
}

// Number of sources the fake compiler was given.
int Compiles() {
  int count = 0;
  for (const std::string& line : Lines(ReadFile("sources.log"))) {
    count += line == "----" ? 1 : 0;
  }
  return count;
}

// Runs the stage on `personality` written to kPath.
void Check(FakeRun& run, const std::string& personality) {
  WriteFile(kPath, personality);
  run.tg->outputPath = kPath;
  RunCheckStage(*run.tg, fact_checkers());
}

// The log lines after the stage's banner, stamps removed.
std::vector<std::string> StageLog(FakeRun& run) {
  std::vector<std::string> lines;
  bool in = false;
  for (const std::string& line : Lines(ReadFile(run.tg->log.fileName()))) {
    const std::string text = line.substr(line.find(']') + 1);
    in = in || text.find("Verifying the personality") != std::string::npos;
    if (in) {
      lines.push_back(text);
    }
  }
  return lines;
}

}  // namespace

TEST(CheckStage, TruePersonalityIsConfirmedInFewCompiles) {
  ScratchDir scratch;
  FakeRun run(true, false);
  WriteFakeRules(Rules());
  Check(run, kLp64Personality);
  EXPECT_EQ(kLp64Personality, ReadFile(kPath));
  EXPECT_EQ(std::string(kStart) + kTableHead +
                "size                      10         0         0         0\n"
                "alignment                 10         0         0         0\n"
                "char-sign                  1         0         0         0\n"
                "intrinsic-type             3         0         0         0\n"
                "identifier-length          2         0         0         0\n"
                "keyword                    2         0         0         0\n"
                "Corrections: 0\n",
            run.console.str());
  // Two calibration files, one for all sizes and alignments, one for the
  // char sign, one for the intrinsic types, two per identifier length and
  // three for the two keywords (the pair fails, then each alone).
  EXPECT_EQ(2 + 1 + 1 + 1 + 4 + 3, Compiles());
  const std::vector<std::string> log = StageLog(run);
  ASSERT_GE(log.size(), 3u);
  EXPECT_NE(
      std::find(log.begin(), log.end(),
                "[INFO] Verify size int: confirmed (sizeof(int)*8 == 32)"),
      log.end());
  EXPECT_EQ("[INFO] Verification compiles: 12", log.back());
}

TEST(CheckStage, ContradictedFactsAreCorrected) {
  ScratchDir scratch;
  FakeRun run(true, true);
  WriteFakeRules(Rules());
  std::string wrong = kLp64Personality;
  auto replace = [&wrong](const std::string& from, const std::string& to) {
    wrong.replace(wrong.find(from), from.size(), to);
  };
  replace("-s ldouble=128\n-a ldouble=16", "-s ldouble=96\n-a ldouble=8");
  replace("-u-", "-u+");
  replace("wchar_t=signed int", "wchar_t=unsigned int");
  replace("-xn 63", "-xn 16384");
  replace("-na 31", "-na 40");
  replace("-d __inline=inline\n", "-d __inline=inline\n-d __nokw=\n");
  Check(run, wrong);
  EXPECT_EQ(kLp64Personality, ReadFile(kPath));
  EXPECT_EQ(std::string(kStart) + kTableHead +
                "size                       9         1         0         0\n"
                "alignment                  9         1         0         0\n"
                "char-sign                  0         1         0         0\n"
                "intrinsic-type             2         1         0         0\n"
                "identifier-length          0         2         0         0\n"
                "keyword                    2         1         0         0\n"
                "Corrections: 7\n"
                "-s ldouble=96 -> -s ldouble=128\n"
                "-a ldouble=8 -> -a ldouble=16\n"
                "-u+ -> -u-\n"
                "-it \"wchar_t=unsigned int\" -> -it \"wchar_t=signed int\"\n"
                "-xn 16384 -> -xn 63\n"
                "-na 40 -> -na 31\n"
                "-d __nokw= -> (none)\n",
            run.console.str());
  const std::vector<std::string> log = StageLog(run);
  int warnings = 0;
  for (const std::string& line : log) {
    warnings += line.compare(0, 6, "[WARN]") == 0 ? 1 : 0;
  }
  EXPECT_EQ(7, warnings);
  EXPECT_NE(std::find(log.begin(), log.end(),
                      "[WARN] Verify corrected: -xn 16384 -> -xn 63"),
            log.end());
}

// A function the compiler declares before any header (sdcc's __fsadd)
// clashes with a declaration as a keyword does, but its address can be
// taken: its erasing line goes. An erased keyword (__data) stays, and so
// does a keyword replaced by a word, whose address is never asked for.
TEST(CheckStage, FunctionsTheCompilerDeclaresLoseTheirKeywordLines) {
  ScratchDir scratch;
  FakeRun run(true, false);
  WriteFakeRules(Rules("KW=\"__asm __inline __data\" DECL=__fsadd\n"));
  std::string written = kLp64Personality;
  written += "-d __data=\n-d __fsadd=\n";
  Check(run, written);
  EXPECT_EQ(std::string(kLp64Personality) + "-d __data=\n", ReadFile(kPath));
  EXPECT_NE(run.console.str().find(
                "keyword                    3         1         0         0\n"
                "Corrections: 1\n"
                "-d __fsadd= -> (none)\n"),
            std::string::npos)
      << run.console.str();
  const std::string report = ReadFile(std::string(kPath) + ".verify.json");
  EXPECT_NE(report.find("{\"kind\": \"keyword\", \"name\": \"__fsadd\", "
                        "\"written\": \"\", \"now\": null, \"status\": "
                        "\"corrected\", \"test\": \"int __fsadd = 1; return "
                        "__fsadd; fails; sizeof(&__fsadd) at file scope "
                        "compiles\"}"),
            std::string::npos)
      << report;
  // Only the two erased names are asked about: together (the pair fails),
  // then each alone.
  int asked = 0;
  for (const std::string& line : Lines(ReadFile("sources.log"))) {
    asked += line.find("sizeof(&") != std::string::npos ? 1 : 0;
  }
  EXPECT_EQ(4, asked);
}

TEST(CheckStage, MissingFactsAreAdded) {
  ScratchDir scratch;
  FakeRun run(true, false);
  WriteFakeRules(Rules());
  std::string missing = kLp64Personality;
  for (const std::string line :
       {"-s short=16\n", "-it \"wchar_t=signed int\"\n", "-u-\n"}) {
    missing.erase(missing.find(line), line.size());
  }
  Check(run, missing);
  std::string expected = kLp64Personality;
  // Added type lines go after the last type line, the intrinsic type after
  // the last "-it" line.
  expected.erase(expected.find("-s short=16\n"), 12);
  expected.erase(expected.find("-u-\n"), 4);
  expected.insert(expected.find("-it"), "-s short=16\n-u-\n");
  EXPECT_EQ(expected, ReadFile(kPath));
  EXPECT_NE(run.console.str().find(
                "size                       9         0         1         0\n"
                "alignment                 10         0         0         0\n"
                "char-sign                  0         0         1         0\n"
                "intrinsic-type             2         0         1         0\n"),
            std::string::npos)
      << run.console.str();
}

TEST(CheckStage, UnknownTypeIsLeftUnchecked) {
  ScratchDir scratch;
  FakeRun run(true, true);
  WriteFakeRules(Rules("unset 'S[long long]' 'A[long long]'\n"));
  Check(run, kLp64Personality);
  EXPECT_EQ(kLp64Personality, ReadFile(kPath));
  EXPECT_NE(run.console.str().find(
                "size                       9         0         0         1\n"
                "alignment                  9         0         0         1\n"),
            std::string::npos)
      << run.console.str();
}

TEST(CheckStage, BuiltinWcharLineIsRemovedForCpp) {
  ScratchDir scratch;
  FakeRun run(false, false);
  WriteFakeRules(Rules("BUILTIN_WCHAR=1\n"));
  // The C++ form of the LP64 personality: "-sd" defines, no char sign, no
  // identifier lengths; ptrdiff_t's line is missing.
  std::string cpp;
  for (const std::string& line : Lines(kLp64Personality)) {
    if (line == "-u-" || line.compare(0, 3, "-xn") == 0 ||
        line.compare(0, 3, "-na") == 0 || line.find("ptrdiff") != line.npos) {
      continue;
    }
    cpp +=
        (line.compare(0, 3, "-d ") == 0 ? "-s" + line.substr(1) : line) + "\n";
  }
  Check(run, cpp);
  std::string expected = cpp;
  const std::string wchar = "-it \"wchar_t=signed int\"\n";
  expected.replace(expected.find(wchar), wchar.size(),
                   "-it \"ptrdiff_t=signed long\"\n");
  EXPECT_EQ(expected, ReadFile(kPath));
  EXPECT_NE(run.console.str().find("-it \"wchar_t=signed int\" -> (none)\n"),
            std::string::npos)
      << run.console.str();
}

TEST(CheckStage, CompilerThatOnlyWarnsIsNotChecked) {
  ScratchDir scratch;
  FakeRun run(true, false);
  WriteFakeRules(Rules("MODE=warns\n"));
  Check(run, "-s int=16\n");
  EXPECT_EQ("-s int=16\n", ReadFile(kPath));
  EXPECT_EQ(std::string(kStart) +
                "The personality is not verified: the compiler accepts a "
                "negative array size (it only warns)\n",
            run.console.str());
  EXPECT_EQ(
      "{\"format\": \"tesselgen-verify\", \"version\": 1,\n"
      " \"personality\": \"person.p_c\",\n"
      " \"checked\": false,\n"
      " \"reason\": \"the compiler accepts a negative array size (it only "
      "warns)\",\n"
      " \"facts\": []}\n",
      ReadFile(std::string(kPath) + ".verify.json"));
  const std::vector<std::string> log = StageLog(run);
  ASSERT_EQ(2u, log.size());
  EXPECT_EQ(
      "[WARN] The personality is not verified: the compiler accepts a "
      "negative array size (it only warns)",
      log[1]);
  EXPECT_EQ(2, Compiles());
}

TEST(CheckStage, CompilerThatRejectsEverythingIsNotChecked) {
  ScratchDir scratch;
  FakeRun run(true, false);
  WriteFakeRules(Rules("MODE=rejects\n"));
  Check(run, "-s int=16\n");
  EXPECT_EQ("-s int=16\n", ReadFile(kPath));
  EXPECT_EQ(std::string(kStart) +
                "The personality is not verified: the compiler rejects a "
                "valid test file\n",
            run.console.str());
  EXPECT_NE(ReadFile(std::string(kPath) + ".verify.json")
                .find(" \"checked\": false,\n \"reason\": \"the compiler "
                      "rejects a valid test file\",\n"),
            std::string::npos);
  EXPECT_EQ(1, Compiles());
}

TEST(CheckStage, JsonReportHoldsEveryFact) {
  ScratchDir scratch;
  FakeRun run(true, false);
  WriteFakeRules(Rules());
  Check(run, "-s int=16\n-a int=4\n-xn 63\n-na 31\n-d __nokw=1\n");
  const std::string head =
      "{\"format\": \"tesselgen-verify\", \"version\": 1,\n"
      " \"personality\": \"person.p_c\",\n"
      " \"checked\": true,\n"
      " \"facts\": [\n"
      "  {\"kind\": \"size\", \"name\": \"int\", \"written\": \"16\", "
      "\"now\": \"32\", \"status\": \"corrected\", \"test\": "
      "\"sizeof(int)*8 == 32\"},\n";
  EXPECT_EQ(
      head,
      ReadFile(std::string(kPath) + ".verify.json").substr(0, head.size()));
  const std::string json = ReadFile(std::string(kPath) + ".verify.json");
  for (const char* fact :
       {"{\"kind\": \"alignment\", \"name\": \"int\", \"written\": \"4\", "
        "\"now\": \"4\", \"status\": \"confirmed\", \"test\": "
        "\"sizeof(struct {char c; int t;}) - sizeof(int) == 4\"}",
        "{\"kind\": \"size\", \"name\": \"short\", \"written\": null, "
        "\"now\": \"16\", \"status\": \"added\", \"test\": "
        "\"sizeof(short)*8 == 16\"}",
        "{\"kind\": \"keyword\", \"name\": \"__nokw\", \"written\": \"1\", "
        "\"now\": null, \"status\": \"corrected\", \"test\": "
        "\"int __nokw = 1; return __nokw; compiles\"}",
        "{\"kind\": \"identifier-length\", \"name\": \"external\", "
        "\"written\": \"63\", \"now\": \"63\", \"status\": \"confirmed\", "
        "\"test\": \"int N...a; long N...b; at file scope, 63 characters "
        "told apart\"}"}) {
    EXPECT_NE(json.find(fact), std::string::npos) << fact << "\n" << json;
  }
  EXPECT_EQ(" ]}\n", json.substr(json.size() - 4));
}
