#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "tests/support/test_support.h"
#include "verify/macro_check.h"

using tessel_test::FakeRun;
using tessel_test::ScratchDir;
using Strings = std::vector<std::string>;

namespace {

// A compiler imitated by fakecc that predefines `macros` and answers the
// checks' test files as a preprocessor would. A claim that fails prints
// its "#error" line or names its declaration (`marks`), or else ends the
// compile with the missing-header message that names no claim.
// "#ifdef NAME" / "#error tg_def_N NAME" blocks of defined names are
// printed as errors (all of them, or only the first when `marks` is
// false), and "#include M(yyy NAME zzz)" quotes the value.
std::string Rules(const std::map<std::string, std::string>& macros,
                  bool marks) {
  std::string rules = "declare -A MACROS=(";
  for (const auto& [name, value] : macros) {
    rules += " [" + name + "]=" + tessel_test::ShellQuote(value);
  }
  rules += std::string(" )\nMARK=") + (marks ? "1" : "0") + "\n";
  rules += R"(known() { [ -n "${MACROS[$1]+x}" ]; }
errors=0
# A failed claim: its message names it, or the compile ends unnamed.
bad() {
  [ $MARK = 1 ] || fail "$FAKE_SRC:1:10: fatal error: ak12345: No such file or directory"
  say_err "$FAKE_SRC:1:2: error: $1"
  errors=1
}
mapfile -t lines <<<"$FAKE_TEXT"
for ((i = 0; i < ${#lines[@]}; i++)); do
  l=${lines[$i]}
  next=${lines[$((i + 1))]}
  if [[ $l =~ ^#ifndef\ (.*)$ ]]; then
    known "${BASH_REMATCH[1]}" || bad "$next"
    ((i += 2))
  elif [[ $l =~ ^#if\ \!\(\(1\ (.*)\ \+\ 1\)\ ==\ 2\)$ ]]; then
    [ "${MACROS[${BASH_REMATCH[1]}]}" = "" ] || bad "$next"
    ((i += 2))
  elif [[ $l =~ ^#if\ \!\(\((.*)\)\ ==\ \((.*)\)\)$ ]]; then
    [ "${MACROS[${BASH_REMATCH[1]}]}" = "${BASH_REMATCH[2]}" ] || bad "$next"
    ((i += 2))
  elif [[ $l =~ ^typedef\ char\ (tg_ok_[0-9]+)\[\(\((.*)\)\ ==\ \((.*)\)\) ]]; then
    [ "${MACROS[${BASH_REMATCH[2]}]}" = "${BASH_REMATCH[3]}" ] ||
      bad "size of array '${BASH_REMATCH[1]}' is negative"
  elif [[ $l =~ ^extern\ (.*)\ (tg_v_[0-9]+)\;$ ]]; then
    type=${BASH_REMATCH[1]}
    var=${BASH_REMATCH[2]}
    [[ $next =~ ^extern\ (.*)\ tg_v ]]
    [ "${MACROS[${BASH_REMATCH[1]}]}" = "$type" ] ||
      bad "conflicting types for '$var'"
    ((i++))
  elif [[ $l =~ ^#ifdef\ (.*)$ ]]; then
    if known "${BASH_REMATCH[1]}"; then
      say_err "$FAKE_SRC:$i:2: error: $next"
      errors=1
      [ $MARK = 1 ] || exit 1
    fi
    ((i += 2))
  elif [[ $l =~ ^#error ]]; then
    fail "$FAKE_SRC:1:2: error: $l"
  elif [[ $l =~ ^#include\ M\(yyy\ (.*)\ zzz\)$ ]]; then
    n=${BASH_REMATCH[1]}
    known "$n" && fail "$FAKE_SRC:3:10: fatal error: yyy ${MACROS[$n]} zzz: No such file or directory"
    fail "$FAKE_SRC:3:10: fatal error: yyy $n zzz: No such file or directory"
  fi
done
[ $errors = 1 ] && exit 1
)";
  return rules;
}

const std::map<std::string, std::string> kMacros{
    {"A", "1"},   {"B", "3"},       {"F", "1.5F"},
    {"T", "int"}, {"V", "\"1.0\""}, {"D", "7"},
    {"G", ""},    {"U", "1"},       {"H", "long unsigned int"}};

// The macro stage's lines of a run that missed D, G and H, got B's value
// and T's type wrong, wrote C that the compiler does not define and
// __LINE__, whose value changes; then a keyword stage's line.
const char kWritten[] =
    "-i \"/usr/include\"\n"
    "-q \"/usr/include\"\n"
    "-d U=1\n"
    "-d A=1\n"
    "-d B=2\n"
    "-d C=1\n"
    "-d F=1.5F\n"
    "-d \"T=short int\"\n"
    "-d V=_KIV_STRINGIFY(1.0)\n"
    "-d _KIV_STRINGIFY(x)=#x\n"
    "-d __LINE__=3\n"
    "-d __asm=asm\n"
    "-s int=32\n";

std::string Check(const std::string& scratch, bool marks,
                  std::vector<FactResult>* facts) {
  FakeRun run(true, false);
  TesselGen& tg = *run.tg;
  tg.implicitDefines.push_back("U=1");
  tg.FoundDefines = {"A=1",
                     "B=2",
                     "C=1",
                     "F=1.5F",
                     "\"T=short int\"",
                     "V=_KIV_STRINGIFY(1.0)",
                     "_KIV_STRINGIFY(x)=#x",
                     "__LINE__=3"};
  // The names come from the compiler's installation: a library of its
  // own beside the program; the header scan's candidates were tested by
  // the macro stage already.
  const std::string top = scratch + "/inst";
  tessel_test::WriteFile(top + "/bin/fakecc",
                         "#!/bin/sh\nexec " +
                             tessel_test::ShellQuote(tessel_test::kFakeCc) +
                             " \"$@\"\n");
  tessel_test::RunProcess("chmod +x " +
                          tessel_test::ShellQuote(top + "/bin/fakecc"));
  tessel_test::WriteFile(top + "/lib/libfakecc.so",
                         std::string("\x7f\x7f\0D\0E\0G\0H\0A\0__asm\0", 19));
  tg.compilerExe = top + "/bin/fakecc";
  tg.candidateKeywords = {"E2"};
  tessel_test::WriteFakeRules(Rules(kMacros, marks));
  Personality personality;
  std::string err;
  EXPECT_TRUE(parse_personality(kWritten, &personality, &err)) << err;
  *facts = check_macros(tg, &personality);
  return write_personality(personality);
}

const char kChecked[] =
    "-i \"/usr/include\"\n"
    "-q \"/usr/include\"\n"
    "-d U=1\n"
    "-d \"H=long unsigned int\"\n"
    "-d A=1\n"
    "-d B=3\n"
    "-d D=7\n"
    "-d F=1.5F\n"
    "-d G=\n"
    "-d T=int\n"
    "-d V=_KIV_STRINGIFY(1.0)\n"
    "-d _KIV_STRINGIFY(x)=#x\n"
    "-d __asm=asm\n"
    "-s int=32\n";

std::string Summary(const std::vector<FactResult>& facts) {
  std::string text;
  for (const FactResult& f : facts) {
    text += f.name + " " + (f.hadWritten ? f.written : "-") + " -> " +
            (f.hasNow ? f.now : "-") + " " + fact_status_name(f.status) +
            " | " + f.test + "\n";
  }
  return text;
}

}  // namespace

TEST(VerifyMacroCheckStage, CorrectsRemovesAndAddsMacros) {
  ScratchDir scratch;
  std::vector<FactResult> facts;
  EXPECT_EQ(kChecked, Check(scratch.work(), true, &facts));
  EXPECT_EQ(
      "A 1 -> 1 confirmed | #if (A) == (VALUE)\n"
      "B 2 -> 3 corrected | #include M(yyy B zzz): value in the message\n"
      "C 1 -> - corrected | #ifndef C: not defined\n"
      "F 1.5F -> 1.5F confirmed | typedef char ok[((F) == (VALUE)) * 2 - 1]\n"
      "T short int -> int corrected | #include M(yyy T zzz): value in the "
      "message\n"
      "V _KIV_STRINGIFY(1.0) -> _KIV_STRINGIFY(1.0) confirmed | #include "
      "M(yyy V zzz): value in the message\n"
      "__LINE__ 3 -> - corrected | value changes with each use\n"
      "D - -> 7 added | #ifdef D: #error named; value from #include M(yyy D "
      "zzz)\n"
      "G - ->  added | #ifdef G: #error named; value from #include M(yyy G "
      "zzz)\n"
      "H - -> long unsigned int added | #ifdef H: #error named; value from "
      "#include M(yyy H zzz)\n",
      Summary(facts));
}

// A compiler that names no failed claim has the failing groups split, and
// one that stops at its first "#error" is asked again from the name after
// the last one it reported, until it reports none.
TEST(VerifyMacroCheckStage, UnnamedFailuresAndEarlyStopsGiveTheSameResult) {
  ScratchDir scratch;
  std::vector<FactResult> facts;
  EXPECT_EQ(kChecked, Check(scratch.work(), false, &facts));
  ASSERT_EQ(10u, facts.size());
  EXPECT_EQ("B", facts[1].name);
  EXPECT_EQ(FactStatus::kCorrected, facts[1].status);
  EXPECT_EQ("H", facts[9].name);
  EXPECT_EQ(FactStatus::kAdded, facts[9].status);
}
