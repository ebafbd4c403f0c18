// Whole runs against the real compilers of this machine: each test runs one
// preset of scripts/run.sh (with "-verify", as run.sh does by default) with
// the built TesselGen and checks two things against what the compiler says
// about itself. The verified personality must agree with the compiler on
// every fact. The stages' own answers, which the run's JSON report keeps
// as "written", must be what the stages' methods can learn: where a method
// cannot learn a fact as the compiler has it, the expectation is the
// method's answer and the case is named beside it. Every check is
// non-fatal, so one run reports every difference at once.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

#include "tests/integration/compiler_truth.h"
#include "tests/integration/personality_checks.h"
#include "tests/integration/preset_run_cache.h"
#include "tests/integration/verified_checks.h"
#include "tests/support/model_round_trip.h"
#include "tests/support/test_support.h"

using tessel_test::ExpectIncludeDirectories;
using tessel_test::ExpectKeywords;
using tessel_test::ExpectMacros;
using tessel_test::ExpectTypes;
using tessel_test::ParsePersonality;
using tessel_test::Personality;
using tessel_test::Preset;
using tessel_test::ProcessResult;
using tessel_test::Reported;
using tessel_test::RunProcess;
using tessel_test::ScratchDir;
using tessel_test::ShellQuote;
using tessel_test::Specified;
using tessel_test::VerifiedCases;
using Strings = std::vector<std::string>;

namespace {

// Why the test of `preset` does not run here, or "" when it runs.
std::string SkipReason(const Preset& preset) {
  if (RunProcess("command -v " + ShellQuote(preset.compiler)).exitCode != 0) {
    return "skipped: " + preset.compiler + " not installed";
  }
  return "";
}

// Runs `preset` end to end through run.sh with its run directory under
// `runs` and returns the path of its personality; `arguments` are run.sh's
// arguments.
std::string RunPreset(const Preset& preset, const std::string& arguments,
                      const std::string& runs) {
  auto start = std::chrono::steady_clock::now();
  ProcessResult run = RunProcess(
      "TESSEL_BINARY=" + ShellQuote(tessel_test::kTesselBinary) +
      " TESSEL_RUNS_DIR=" + ShellQuote(runs) + " bash " +
      ShellQuote(std::string(tessel_test::kSourceDir) + "/scripts/run.sh") +
      " " + arguments);
  auto seconds = std::chrono::duration_cast<std::chrono::seconds>(
                     std::chrono::steady_clock::now() - start)
                     .count();
  std::cout << "[ FIGURES  ] " << preset.name
            << (preset.cross ? " (cross)" : "") << ": whole run " << seconds
            << " s" << std::endl;
  EXPECT_EQ(0, run.exitCode) << run.out << run.err;
  EXPECT_NE(std::string::npos, run.out.find("\nCompleted OK\n")) << run.out;
  const std::string path = Reported(run.out, "Personality:");
  EXPECT_TRUE(tessel_test::Exists(path)) << run.out;
  return path;
}

// `dirs` with its first entry moved to the end.
Strings FirstMovedLast(Strings dirs) {
  if (!dirs.empty()) {
    dirs.push_back(dirs.front());
    dirs.erase(dirs.begin());
  }
  return dirs;
}

// `order` with the links to clang's own directory `own` that the header
// scan meets under /usr/include/clang/<version>/include placed where the
// pairwise exchange puts them: with the versions 14 and 14.0.6, the
// shorter name before `own` and the longer after it.
Strings WithClangLinks(Strings order, const std::string& own) {
  Strings links;
  std::error_code ec;
  const std::string target = std::filesystem::canonical(own, ec).string();
  for (const auto& entry :
       std::filesystem::directory_iterator("/usr/include/clang", ec)) {
    std::string link = entry.path().string() + "/include";
    std::error_code linkEc;
    if (std::filesystem::canonical(link, linkEc).string() == target) {
      links.push_back(link);
    }
  }
  // "14.0.6" sorts before "14/" byte by byte.
  std::sort(links.begin(), links.end());
  auto at = std::find(order.begin(), order.end(), own);
  if (at == order.end()) {
    return order;
  }
  if (links.size() == 2) {
    at = order.insert(at, links[1]) + 1;
    order.insert(at + 1, links[0]);
  } else {
    order.insert(at + 1, links.begin(), links.end());
  }
  return order;
}

// g++'s order from its search order c++/12, x86_64-linux-gnu/c++/12,
// c++/12/backward, the compiler's own, x86_64-linux-gnu, /usr/include:
// the C++ headers shadow complex.h and fenv.h of /usr/include (an
// exchange), fpu_control.h moves x86_64-linux-gnu before /usr/include,
// limits.h and stdint.h name both copies and stdatomic.h none, and
// directories that share no header keep their places from the name
// order. clang++ uses the same library directories and comes out alike.
Strings CppLibraryOrder(const Strings& e) {
  return e.size() == 6 ? Strings{e[0], e[4], e[2], e[5], e[1], e[3]} : e;
}

// The cases of the native presets where the specified method gives
// another answer than the compiler.
void NativeCases(const std::string& name, Specified& specified) {
  if (name == "gcc" || name == "gcc-m32" || name == "tcc") {
    // gcc searches its own directory first, but the one header it shares
    // with /usr/include (limits.h) holds only macros, so the "int x[" error
    // names neither copy and the pair keeps the name order: gcc's own
    // directory comes out last (with -m32 as well, which searches the same
    // directories less x86_64-linux-gnu). tcc's own directory shares no header
    // name with the system directories, so no pair with it is ever decided and
    // it stays last, in name order.
    specified.order = FirstMovedLast;
  } else if (name == "g++") {
    specified.order = CppLibraryOrder;
  } else if (name == "clang") {
    // clang's own directory shares inttypes.h, limits.h, stdint.h and
    // tgmath.h with /usr/include; limits.h names neither copy, which leaves
    // the pair as found and clang's directory last. The header scan also
    // walks /usr/include/clang/<version>/include, links to clang's own
    // directory. Their headers are clang's, so Stage 2 takes each: its
    // check only asks that every component of the directory's path (usr,
    // include, clang, the version) occur somewhere in the error line, and
    // the line naming clang's own copy holds them all.
    specified.order = [](const Strings& e) {
      return e.size() == 3 ? WithClangLinks({e[1], e[2], e[0]}, e[0]) : e;
    };
  } else if (name == "clang++") {
    // The C++ library directories come out as for g++, and clang's own
    // directory with its two links under /usr/include/clang as for clang.
    specified.order = [](const Strings& e) {
      return e.size() == 6 ? WithClangLinks(CppLibraryOrder(e), e[3]) : e;
    };
  } else if (name == "pcc") {
    // pcc names the main file, not the header, in an error ("t.c, line
    // 2: syntax error"), so no header reveals its directory and every
    // pair stays undecided: the directories keep their name order.
    specified.order = [](const Strings& e) {
      Strings sorted = e;
      std::sort(sorted.begin(), sorted.end());
      return sorted;
    };
  }
}

// The same for the cross presets.
void CrossCases(const std::string& name, Specified& specified) {
  if (name == "sdcc") {
    // sdcc searches its port directory (mcs51) before the common one, but
    // the two share no header name, so they come out in name order.
    specified.order = [](const Strings& e) {
      return Strings(e.rbegin(), e.rend());
    };
    // The storage classes, pointer kinds and function attributes of the
    // mcs51 port, from sdcc's manual. sdcc rejects old-style definitions,
    // so the names are tested by declarations alone. It also declares its
    // floating point and copy helpers (__fsadd, __memcpy, ...) itself and
    // calls a second declaration a "Duplicate symbol", which is not one of
    // the messages that mark a built-in name: the stages write them as
    // keywords (for the review list), which the check allows, since sdcc
    // refuses them as ordinary names. The verified personality keeps only
    // the keywords.
    specified.keywords = {
        "__data",   "__xdata",    "__idata",     "__pdata",
        "__code",   "__sfr",      "__sfr16",     "__sfr32",
        "__sbit",   "__bit",      "__at",        "__interrupt",
        "__using",  "__critical", "__naked",     "__reentrant",
        "__banked", "__near",     "__far",       "__asm",
        "__endasm", "__wparam",   "__nonbanked", "__preserves_regs"};
    specified.onlyKnownKeywords = true;
  } else if (name == "cc65") {
    // cc65 knows float and double (4 bytes each) but stops at a floating
    // constant ("Floating point type is currently unsupported"), so the
    // cross size test, which looks for the encoding of 0.1 in an object,
    // gets no object: both keep the table's sizes, and their alignment
    // comes from object sizes that are all 0, which the method reads as 8.
    specified.bits["double"] = 64;
    specified.align["float"] = 8;
    specified.align["double"] = 8;
  } else if (name == "avr-gcc") {
    // The only header that avr-gcc's own directory shares with avr-libc's
    // is stdint.h, whose error names both copies (gcc's wraps avr-libc's
    // with #include_next): the pair stays undecided and all three
    // directories keep their name order, avr-libc's first.
    specified.order = [](const Strings& e) {
      Strings sorted = e;
      std::sort(sorted.begin(), sorted.end());
      return sorted;
    };
  } else if (name == "arm-none-eabi-gcc") {
    // In name order newlib's directory comes first; stdatomic.h, which it
    // shares with gcc's own directory, names gcc's copy, so the two trade
    // places. include-fixed shares only limits.h with newlib, a header of
    // macros alone whose error names neither copy, so it stays last,
    // although the compiler searches it second.
    specified.order = [](const Strings& e) {
      return e.size() == 3 ? Strings{e[0], e[2], e[1]} : e;
    };
  }
}

// The same for the cross compilers of hosted targets.
void HostedCrossCases(const std::string& name, Specified& specified) {
  if (name == "x86_64-w64-mingw32-gcc") {
    // The 80-bit x87 long double, stored in 16 bytes, is found by its
    // "FB 3F 00 00" pattern, which the cross method reads as 96 bits (as
    // for gcc declared a cross compiler).
    specified.bits["ldouble"] = 96;
  } else if (name == "powerpc-linux-gnu-gcc") {
    // Its search list ends with /usr/include, whose linux/ subdirectory
    // the header scan also meets. Stage 2 takes it: its check only asks
    // that every component of the path (usr, include, linux) occur in the
    // error line, and a line naming a header under
    // /usr/powerpc-linux-gnu/include holds them all ("linux" within
    // "powerpc-linux-gnu"). It comes out first.
    specified.order = [](const Strings& e) {
      Strings order = {"/usr/include/linux"};
      order.insert(order.end(), e.begin(), e.end());
      return e.size() == 3 ? order : e;
    };
    // "-dM" lists the AltiVec words as macros, but "#ifdef" does not see
    // them, so the macro stage finds none of them.
    for (const char* altivec : {"__bool", "__pixel", "__vector"}) {
      specified.defines[altivec] = "";
    }
    // Big-endian: the cross size test looks for the little-endian
    // encodings of 0.1, finds none, and keeps the table's sizes; the
    // 128-bit long double (two doubles) is written as 64 bits.
    specified.bits["ldouble"] = 64;
  }
}

// What the specified method gives where it differs from the compiler, per
// preset; a preset without an entry is expected to come out as its
// compiler says.
Specified SpecifiedFor(const std::string& name) {
  Specified specified;
  NativeCases(name, specified);
  CrossCases(name, specified);
  HostedCrossCases(name, specified);
  return specified;
}

// The places of a verified personality that no compile can decide, per
// preset.
VerifiedCases VerifiedCasesFor(const std::string& name) {
  VerifiedCases cases;
  if (name == "pcc") {
    // pcc searches /usr/include/x86_64-linux-gnu before its own directory;
    // the two share no header, so no compile orders them and the check
    // ranks the compiler's own directory first.
    cases.order = [](const Strings& e) {
      Strings order = e;
      auto own = std::find_if(order.begin(), order.end(), [](auto& d) {
        return d.find("/pcc/") != std::string::npos;
      });
      auto other = std::find(order.begin(), order.end(),
                             "/usr/include/x86_64-linux-gnu");
      if (own != order.end() && other != order.end() && own > other) {
        std::rotate(other, own, own + 1);
      }
      return order;
    };
  }
  return cases;
}

// Checks the personality at `path`, written by a verified run of `preset`:
// the stages' answers against `specified`, the verified facts against the
// compiler.
void CheckRun(const Preset& preset, const std::string& path,
              const Specified& specified) {
  const std::string text = tessel_test::ReadFile(path);
  ASSERT_FALSE(text.empty()) << "no personality at " << path;
  // The personality model must read every line a run writes and give the
  // file back unchanged.
  EXPECT_EQ("", tessel_test::ModelRoundTripProblem(text));
  const std::string report = tessel_test::ReadFile(path + ".verify.json");
  ASSERT_NE(std::string::npos, report.find("\"checked\": true")) << report;
  const Personality verified = ParsePersonality(text, preset.isC);
  const Personality stages =
      tessel_test::StageView(verified, tessel_test::ReportedFacts(report));

  {
    SCOPED_TRACE("the stages' answers");
    ExpectIncludeDirectories(preset, stages, specified);
    ExpectMacros(preset, stages, specified);
    ExpectTypes(preset, stages, specified);
    ExpectKeywords(preset, stages, specified.keywords);
  }
  {
    SCOPED_TRACE("the verified personality");
    tessel_test::ExpectVerifiedIncludeDirectories(
        preset, verified, VerifiedCasesFor(preset.name));
    tessel_test::ExpectVerifiedMacros(preset, verified);
    tessel_test::ExpectVerifiedTypes(preset, verified, stages);
    tessel_test::ExpectVerifiedIdentifierLengths(preset, text);
    ExpectKeywords(preset, verified, specified.keywords);
    if (specified.onlyKnownKeywords) {
      for (const std::string& name : verified.keywords) {
        const bool helper = name.rfind("kiv_", 0) == 0 ||
                            name.rfind("_kiv_", 0) == 0 ||
                            name.find("builtin_") != std::string::npos;
        EXPECT_TRUE(helper || std::find(specified.keywords.begin(),
                                        specified.keywords.end(),
                                        name) != specified.keywords.end())
            << name << " is not a keyword of " << preset.compiler;
      }
    }
  }
}

// Runs the preset `name` end to end and checks the personality against the
// compiler. With `asCross`, the preset's arguments are given as a cross
// compiler ("ccmp"), so that the compile-only methods run on a compiler
// whose answers are known.
void CheckPreset(const std::string& name, const Specified& specified,
                 bool asCross = false) {
  Preset preset = tessel_test::LoadPreset(name);
  ASSERT_EQ(name, preset.name) << "no preset " << name << " in presets.tsv";
  const std::string skip = SkipReason(preset);
  // CI installs every preset's compiler and sets TESSEL_REQUIRE_COMPILERS=1:
  // a missing one is then a failure, not a skip.
  const char* required = std::getenv("TESSEL_REQUIRE_COMPILERS");
  if (!skip.empty() && required != nullptr && std::string(required) == "1") {
    FAIL() << skip << " (TESSEL_REQUIRE_COMPILERS=1)";
  }
  if (!skip.empty()) {
    GTEST_SKIP() << skip;
  }
  // The compiles that ask the compiler work in here.
  ScratchDir scratch;
  if (!asCross) {
    // The export tests read the same runs.
    std::string why;
    const std::optional<std::string> path =
        tessel_test::PresetPersonality({preset.name, preset.compiler}, &why);
    ASSERT_TRUE(path.has_value()) << why;
    CheckRun(preset, *path, specified);
    return;
  }
  // The preset's own arguments, as run.sh would give them, as a cross
  // compiler.
  preset.cross = true;
  std::string arguments = "-- vellc ccmp " + ShellQuote(preset.compiler);
  for (const std::string& argument :
       {preset.outputFlag, preset.compileFlag, preset.defineFlag, preset.objExt,
        preset.order}) {
    arguments += " " + ShellQuote(argument);
  }
  for (const std::string& dir : tessel_test::SearchList(preset)) {
    arguments += " -i " + ShellQuote(dir);
  }
  for (const std::string& sw : preset.switches) {
    arguments += " -xs " + ShellQuote(sw);
  }
  CheckRun(preset, RunPreset(preset, arguments, scratch.work()), specified);
}

}  // namespace

// Every preset of scripts/presets.tsv, one test each, named after it.
class EndToEnd : public testing::TestWithParam<std::string> {};

TEST_P(EndToEnd, PersonalityMatchesTheCompiler) {
  CheckPreset(GetParam(), SpecifiedFor(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(Presets, EndToEnd,
                         testing::ValuesIn(tessel_test::PresetNames()),
                         [](const testing::TestParamInfo<std::string>& param) {
                           std::string name;
                           for (char c : param.param) {
                             name += std::isalnum(static_cast<unsigned char>(c))
                                         ? c
                                     : c == '+' ? 'p'
                                                : '_';
                           }
                           return name;
                         });

// gcc declared a cross compiler: nothing is run, every fact comes from
// compiling alone. The 80-bit x87 long double, stored in 16 bytes, is found
// by its "FB 3F 00 00" pattern, which the method reads as 96 bits; its
// 16-byte alignment comes out as 8, the most the compile-only method can
// tell.
TEST(EndToEndCross, GccAsCrossCompilerPersonalityMatchesTheCompiler) {
  Specified specified = SpecifiedFor("gcc");
  specified.bits["ldouble"] = 96;
  CheckPreset("gcc", specified, true);
}
