// Whole runs against the real compilers of this machine: each test runs one
// preset of scripts/run.sh with the built TesselGen and checks the
// personality it writes against what the compiler says about itself. Every
// check is non-fatal, so one run reports every difference at once.
//
// Where the specified method cannot learn a fact as the compiler has it,
// the expectation is the method's answer and the case is named beside it.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <iostream>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "tests/integration/compiler_truth.h"
#include "tests/support/test_support.h"

using tessel_test::Compiles;
using tessel_test::Lines;
using tessel_test::Preset;
using tessel_test::ProcessResult;
using tessel_test::RunProcess;
using tessel_test::ScratchDir;
using tessel_test::ShellQuote;
using Strings = std::vector<std::string>;

namespace {

// Presets whose whole run takes too long for every test run, with the
// reason. They run only when the environment sets TESSEL_E2E_SLOW=1.
const std::map<std::string, std::string> kSlowPresets = {
    {"sdcc",
     "sdcc rejects the old-style definitions that the extension keyword "
     "test files hold, so every one of the ~11,000 identifiers of its "
     "headers becomes an extension keyword and goes through the position "
     "tests: about 40 minutes"}};

// Why the test of `preset` (whose compiler is the command of the same
// name) does not run here, or "" when it runs.
std::string SkipReason(const std::string& preset) {
  if (RunProcess("command -v " + ShellQuote(preset)).exitCode != 0) {
    return "skipped: " + preset + " not installed";
  }
  auto slow = kSlowPresets.find(preset);
  const char* all = std::getenv("TESSEL_E2E_SLOW");
  if (slow != kSlowPresets.end() &&
      (all == nullptr || std::string(all) != "1")) {
    return "skipped: " + slow->second + "; set TESSEL_E2E_SLOW=1 to run it";
  }
  return "";
}

// The parts of a personality file that the checks read.
struct Personality {
  // Directories of the "-i"/"-si" lines and of the "-q" lines, in order.
  Strings includeDirs;
  Strings quoteDirs;
  // The macro section: define text (after the prefix) by macro name.
  std::map<std::string, std::string> defines;
  // "-s" and "-a" values by personality name.
  std::map<std::string, int> bits;
  std::map<std::string, int> align;
  // The "-u+"/"-u-" lines.
  Strings charSign;
  // "-it" lines: type name to its value ("unsigned long").
  std::map<std::string, std::string> intrinsic;
};

bool StartsWith(const std::string& text, const std::string& start) {
  return text.compare(0, start.size(), start) == 0;
}

std::string Unquoted(const std::string& text) {
  if (text.size() >= 2 && text.front() == '"' && text.back() == '"') {
    return text.substr(1, text.size() - 2);
  }
  return text;
}

// The name a define text sets: the text before "=", without quotes.
std::string DefinedName(const std::string& define) {
  std::string text = Unquoted(define);
  return text.substr(0, text.find('='));
}

// Reads a personality. Its macro section is the run of define lines right
// after the include lines; the define lines of the keyword stage come later,
// after the type lines.
Personality ParsePersonality(const std::string& text, bool isC) {
  Personality p;
  const std::string include = isC ? "-i " : "-si ";
  const std::string define = isC ? "-d " : "-sd ";
  bool inMacros = true;
  for (const std::string& line : Lines(text)) {
    bool isInclude = StartsWith(line, include) || StartsWith(line, "-q ");
    bool isDefine = StartsWith(line, define);
    if (!isInclude && !isDefine) {
      inMacros = false;
    }
    if (StartsWith(line, include)) {
      p.includeDirs.push_back(Unquoted(line.substr(include.size())));
    } else if (StartsWith(line, "-q ")) {
      p.quoteDirs.push_back(Unquoted(line.substr(3)));
    } else if (isDefine && inMacros) {
      std::string entry = line.substr(define.size());
      p.defines[DefinedName(entry)] = entry;
    } else if (StartsWith(line, "-s ") || StartsWith(line, "-a ")) {
      std::string entry = line.substr(3);
      std::string::size_type equals = entry.find('=');
      auto& table = line[1] == 's' ? p.bits : p.align;
      table[entry.substr(0, equals)] = std::atoi(entry.c_str() + equals + 1);
    } else if (line == "-u+" || line == "-u-") {
      p.charSign.push_back(line);
    } else if (StartsWith(line, "-it ")) {
      std::string entry = Unquoted(line.substr(4));
      std::string::size_type equals = entry.find('=');
      p.intrinsic[entry.substr(0, equals)] = entry.substr(equals + 1);
    }
  }
  return p;
}

// The value of the line of `output` that starts with `label`.
std::string Reported(const std::string& output, const std::string& label) {
  for (const std::string& line : Lines(output)) {
    if (StartsWith(line, label)) {
      std::string::size_type start = line.find_first_not_of(' ', label.size());
      return start == std::string::npos ? "" : line.substr(start);
    }
  }
  return "";
}

// The scalar types in the order of the type table, with the spelling used
// in test sources and in the personality, and the size in bits the table
// starts with.
struct ScalarType {
  std::string name;
  std::string personalityName;
  int defaultBits;
};
const std::vector<ScalarType> kScalarTypes = {{"int", "int", 32},
                                              {"char", "char", 8},
                                              {"short", "short", 16},
                                              {"long", "long", 32},
                                              {"long long", "longlong", 64},
                                              {"float", "float", 32},
                                              {"double", "double", 64},
                                              {"long double", "ldouble", 64},
                                              {"int*", "dataptr", 32},
                                              {"zorv_fun", "codeptr", 32}};
const char kCodePointer[] = "typedef void (*zorv_fun) ();\n";

// The cases where the specified method gives another answer than the
// compiler, per preset; the rest of the expectations follow from the
// compiler's own answers.
struct Specified {
  // The include directory order the pairwise exchange produces, given the
  // compiler's search order of the directories that hold headers.
  std::function<Strings(const Strings&)> order = [](const Strings& dirs) {
    return dirs;
  };
  // Sizes in bits that the method reports instead of the compiler's, by
  // personality name.
  std::map<std::string, int> bits;
  // Macro define texts that the method records instead of the compiler's
  // value, by name.
  std::map<std::string, std::string> defines;
};

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

// Include lines: the searched directories that hold headers, each with its
// "-q" line, in the order the pairwise exchange gives (and with any other
// directory that the method accepts, named in `specified.order`).
void ExpectIncludeDirectories(const Preset& preset, const Personality& p,
                              const Specified& specified) {
  Strings searched;
  for (const std::string& dir : tessel_test::SearchList(preset)) {
    if (tessel_test::HoldsHeaders(dir)) {
      searched.push_back(dir);
    }
  }
  ASSERT_FALSE(searched.empty()) << "no search list from " << preset.compiler;
  const Strings expected = specified.order(searched);
  EXPECT_EQ(std::set<std::string>(expected.begin(), expected.end()),
            std::set<std::string>(p.includeDirs.begin(), p.includeDirs.end()))
      << "include directories; the compiler searches:\n  "
      << testing::PrintToString(searched);
  EXPECT_EQ(expected, p.includeDirs)
      << "include directory order; the compiler searches them in this "
         "order:\n  "
      << testing::PrintToString(searched);
  EXPECT_EQ(p.includeDirs, p.quoteDirs) << "one -q line per include line";
}

// Dynamic macros that "-dM" does not list, with the values the macro stage
// reads for them from its own test source: the program's printf line is
// line 4, the cross test's include line is line 3.
std::map<std::string, std::string> DynamicMacros(bool cross) {
  return {{"__LINE__", cross ? "__LINE__=3" : "__LINE__=4"},
          {"__FILE__", "__FILE__=_KIV_STRINGIFY(tmp_def_test.c)"},
          {"__COUNTER__", "__COUNTER__=0"},
          {"__INCLUDE_LEVEL__", "__INCLUDE_LEVEL__=0"},
          {"__BASE_FILE__", "__BASE_FILE__=_KIV_STRINGIFY(tmp_def_test.c)"}};
}

// Macro lines: every object-like macro of "-dM" whose name occurs in the
// scanned headers, with its value; no define the compiler does not make.
void ExpectMacros(const Preset& preset, const Personality& p,
                  const Specified& specified) {
  std::map<std::string, std::string> macros =
      tessel_test::PredefinedMacros(preset);
  ASSERT_FALSE(macros.empty()) << "no -dM listing from " << preset.compiler;
  std::set<std::string> names =
      tessel_test::HeaderIdentifiers(preset.dirs, preset.isC);
  int checked = 0;
  for (const auto& [name, body] : macros) {
    if (names.count(name) == 0) {
      continue;
    }
    ++checked;
    std::string expected = tessel_test::RecordedDefine(
        name, tessel_test::ExpandBody(macros, name, body));
    auto special = specified.defines.find(name);
    if (special != specified.defines.end()) {
      expected = special->second;
    }
    auto found = p.defines.find(name);
    EXPECT_EQ(expected, found == p.defines.end() ? "" : found->second)
        << "macro " << name << " defined by the compiler as: " << body;
  }
  std::map<std::string, std::string> dynamic = DynamicMacros(preset.cross);
  for (const auto& [name, define] : p.defines) {
    if (macros.count(name) != 0 || name == "_KIV_STRINGIFY(x)") {
      continue;
    }
    auto known = dynamic.find(name);
    EXPECT_TRUE(known != dynamic.end() && known->second == define)
        << "define " << define << " is not a macro of " << preset.compiler;
  }
  std::cout << "[ FIGURES  ] " << preset.name << ": " << checked
            << " predefined macros occur in the headers, " << p.defines.size()
            << " macro lines written" << std::endl;
}

// Facts about the scalar types, asked from the compiler one compile at a
// time.
struct TypeTruth {
  std::map<std::string, int> bytes;
  std::map<std::string, int> align;
};

TypeTruth AskTypes(const Preset& preset) {
  TypeTruth truth;
  const std::string alignof_ = preset.isC ? "_Alignof" : "alignof";
  for (const ScalarType& type : kScalarTypes) {
    const std::string prefix = type.personalityName == "codeptr"
                                   ? std::string(kCodePointer)
                                   : std::string();
    truth.bytes[type.personalityName] = tessel_test::SmallestSatisfying(
        preset, prefix, "sizeof(" + type.name + ") <= NUM");
    truth.align[type.personalityName] = tessel_test::SmallestSatisfying(
        preset, prefix, alignof_ + "(" + type.name + ") <= NUM");
  }
  return truth;
}

// The personality name of the first scalar integer type of `bytes` bytes:
// the intrinsic type pass matches types by kind and size alone.
std::string FirstIntegerOfSize(const TypeTruth& truth, int bytes) {
  for (const char* name : {"int", "char", "short", "long", "longlong"}) {
    if (truth.bytes.at(name) == bytes) {
      return name;
    }
  }
  return "int";
}

// "-it" line for `type`, whose real spelling among `candidates` the
// compiler tells. The pass decides signedness by name (size_t unsigned,
// ptrdiff_t signed, wchar_t unsigned) and writes the first scalar type of
// the same size, so a long-typed size_t where int is as wide comes out as
// int, and a signed wchar_t comes out unsigned.
void ExpectIntrinsic(const Preset& preset, const Personality& p,
                     const TypeTruth& truth, const std::string& type,
                     const Strings& candidates, bool unsignedByName) {
  const std::string header = "#include <stddef.h>\n";
  std::string real =
      tessel_test::TypeOf(preset, header, "(" + type + ")0", candidates);
  ASSERT_FALSE(real.empty()) << preset.compiler << " has no " << type;
  int bytes = tessel_test::SmallestSatisfying(preset, header,
                                              "sizeof(" + type + ") <= NUM");
  std::string expected = std::string(unsignedByName ? "unsigned " : "signed ") +
                         FirstIntegerOfSize(truth, bytes);
  auto found = p.intrinsic.find(type);
  EXPECT_EQ(expected, found == p.intrinsic.end() ? "" : found->second)
      << type << " is " << real << " (" << bytes << " bytes)";
}

// Size, alignment and signedness lines of the scalar types, and the "-it"
// lines of size_t, ptrdiff_t and (C only) wchar_t.
void ExpectTypes(const Preset& preset, const Personality& p,
                 const Specified& specified) {
  TypeTruth truth = AskTypes(preset);
  for (const ScalarType& type : kScalarTypes) {
    const std::string& name = type.personalityName;
    // A type the compiler does not know (sdcc's long double) keeps the
    // table's size, and its alignment comes from object sizes that are all
    // 0, which the compile-only method reads as 8.
    const bool unknown = truth.bytes[name] == 0;
    int expectedBits = unknown ? type.defaultBits : truth.bytes[name] * 8;
    auto special = specified.bits.find(name);
    if (special != specified.bits.end()) {
      expectedBits = special->second;
    }
    EXPECT_EQ(expectedBits, p.bits.count(name) ? p.bits.at(name) : -1)
        << "size of " << type.name;
    // The compile-only alignment method tells apart 1, 2, 4 and 8 only, and
    // the code pointer takes it even natively: its native test program
    // leaves out the typedef that names the type.
    bool compileOnly = preset.cross || name == "codeptr";
    int expectedAlign = unknown ? 8 : truth.align[name];
    if (compileOnly && expectedAlign > 8) {
      expectedAlign = 8;
    }
    EXPECT_EQ(expectedAlign, p.align.count(name) ? p.align.at(name) : -1)
        << "alignment of " << type.name;
  }
  bool charSigned =
      Compiles(preset, "typedef char t[((char)-1 < 0) ? 1 : -1];\n");
  if (preset.isC) {
    EXPECT_EQ(Strings{charSigned ? "-u-" : "-u+"}, p.charSign)
        << "plain char is " << (charSigned ? "signed" : "unsigned");
  } else {
    EXPECT_EQ(Strings{}, p.charSign) << "no -u line for C++";
  }
  const Strings unsignedTypes = {"unsigned int", "unsigned long",
                                 "unsigned long long", "unsigned short",
                                 "unsigned char"};
  const Strings signedTypes = {"int", "long", "long long", "short",
                               "signed char"};
  ExpectIntrinsic(preset, p, truth, "size_t", unsignedTypes, true);
  ExpectIntrinsic(preset, p, truth, "ptrdiff_t", signedTypes, false);
  if (preset.isC) {
    Strings any = signedTypes;
    any.insert(any.end(), unsignedTypes.begin(), unsignedTypes.end());
    ExpectIntrinsic(preset, p, truth, "wchar_t", any, true);
  } else {
    // C++ knows wchar_t without a header, so the pass leaves it out.
    EXPECT_EQ(0u, p.intrinsic.count("wchar_t"));
  }
}

// Runs `preset` end to end through run.sh with its run directory under
// `runs` and returns its personality; `arguments` are run.sh's arguments.
// The run is not verified: these tests hold the stages' own answers.
std::string RunPreset(const Preset& preset, const std::string& arguments,
                      const std::string& runs) {
  auto start = std::chrono::steady_clock::now();
  ProcessResult run = RunProcess(
      "TESSEL_BINARY=" + ShellQuote(tessel_test::kTesselBinary) +
      " TESSEL_RUNS_DIR=" + ShellQuote(runs) + " bash " +
      ShellQuote(std::string(tessel_test::kSourceDir) + "/scripts/run.sh") +
      " --no-verify " + arguments);
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
  return tessel_test::ReadFile(path);
}

// Runs the preset `name` end to end and checks the personality against the
// compiler. With `asCross`, the preset's arguments are given as a cross
// compiler ("ccmp"), so that the compile-only methods run on a compiler
// whose answers are known.
void CheckPreset(const std::string& name, const Specified& specified,
                 bool asCross = false) {
  Preset preset = tessel_test::LoadPreset(name);
  ASSERT_EQ(name, preset.name) << "run.sh --args " << name;
  std::string arguments = ShellQuote(name);
  if (asCross) {
    preset.cross = true;
    preset.args[1] = "ccmp";
    arguments = "--";
    for (const std::string& argument : preset.args) {
      arguments += " " + ShellQuote(argument);
    }
  }
  // The run and the compiles that ask the compiler both work in here.
  ScratchDir scratch;
  std::string text = RunPreset(preset, arguments, scratch.work());
  ASSERT_FALSE(text.empty()) << "no personality";
  Personality p = ParsePersonality(text, preset.isC);

  ExpectIncludeDirectories(preset, p, specified);
  ExpectMacros(preset, p, specified);
  ExpectTypes(preset, p, specified);
}

}  // namespace

TEST(EndToEnd, GccPersonalityMatchesTheCompiler) {
  const std::string skip = SkipReason("gcc");
  if (!skip.empty()) {
    GTEST_SKIP() << skip;
  }
  Specified specified;
  // gcc searches its own directory first, but the one header it shares
  // with /usr/include (limits.h) holds only macros, so the "int x[" error
  // names neither copy and the pair keeps the name order: gcc's own
  // directory comes out last.
  specified.order = FirstMovedLast;
  CheckPreset("gcc", specified);
}

TEST(EndToEnd, GppPersonalityMatchesTheCompiler) {
  const std::string skip = SkipReason("g++");
  if (!skip.empty()) {
    GTEST_SKIP() << skip;
  }
  Specified specified;
  specified.order = CppLibraryOrder;
  CheckPreset("g++", specified);
}

TEST(EndToEnd, ClangPersonalityMatchesTheCompiler) {
  const std::string skip = SkipReason("clang");
  if (!skip.empty()) {
    GTEST_SKIP() << skip;
  }
  Specified specified;
  // clang's own directory shares inttypes.h, limits.h, stdint.h and
  // tgmath.h with /usr/include; limits.h names neither copy, which leaves
  // the pair as found and clang's directory last. The header scan also
  // walks /usr/include/clang/<version>/include, links to clang's own
  // directory. Their headers are clang's, so Stage 2 takes each: its check
  // only asks that every component of the directory's path (usr, include,
  // clang, the version) occur somewhere in the error line, and the line
  // naming clang's own copy holds them all.
  specified.order = [](const Strings& e) {
    return e.size() == 3 ? WithClangLinks({e[1], e[2], e[0]}, e[0]) : e;
  };
  CheckPreset("clang", specified);
}

TEST(EndToEnd, ClangppPersonalityMatchesTheCompiler) {
  const std::string skip = SkipReason("clang++");
  if (!skip.empty()) {
    GTEST_SKIP() << skip;
  }
  Specified specified;
  // The C++ library directories come out as for g++, and clang's own
  // directory with its two links under /usr/include/clang as for clang.
  specified.order = [](const Strings& e) {
    return e.size() == 6 ? WithClangLinks(CppLibraryOrder(e), e[3]) : e;
  };
  CheckPreset("clang++", specified);
}

TEST(EndToEnd, TccPersonalityMatchesTheCompiler) {
  const std::string skip = SkipReason("tcc");
  if (!skip.empty()) {
    GTEST_SKIP() << skip;
  }
  Specified specified;
  // tcc's own directory shares no header name with the system directories,
  // so no pair with it is ever decided and it stays last, in name order.
  specified.order = FirstMovedLast;
  CheckPreset("tcc", specified);
}

TEST(EndToEnd, SdccPersonalityMatchesTheCompiler) {
  const std::string skip = SkipReason("sdcc");
  if (!skip.empty()) {
    GTEST_SKIP() << skip;
  }
  Specified specified;
  // sdcc searches its port directory (mcs51) before the common one, but
  // the two share no header name, so they come out in name order.
  specified.order = [](const Strings& e) {
    return Strings(e.rbegin(), e.rend());
  };
  CheckPreset("sdcc", specified);
}

TEST(EndToEnd, AvrGccPersonalityMatchesTheCompiler) {
  const std::string skip = SkipReason("avr-gcc");
  if (!skip.empty()) {
    GTEST_SKIP() << skip;
  }
  Specified specified;
  // The only header that avr-gcc's own directory shares with avr-libc's is
  // stdint.h, whose error names both copies (gcc's wraps avr-libc's with
  // #include_next): the pair stays undecided and all three directories
  // keep their name order, avr-libc's first.
  specified.order = [](const Strings& e) {
    Strings sorted = e;
    std::sort(sorted.begin(), sorted.end());
    return sorted;
  };
  CheckPreset("avr-gcc", specified);
}

TEST(EndToEnd, ArmNoneEabiGccPersonalityMatchesTheCompiler) {
  const std::string skip = SkipReason("arm-none-eabi-gcc");
  if (!skip.empty()) {
    GTEST_SKIP() << skip;
  }
  Specified specified;
  // In name order newlib's directory comes first; stdatomic.h, which it
  // shares with gcc's own directory, names gcc's copy, so the two trade
  // places. include-fixed shares only limits.h with newlib, a header of
  // macros alone whose error names neither copy, so it stays last,
  // although the compiler searches it second.
  specified.order = [](const Strings& e) {
    return e.size() == 3 ? Strings{e[0], e[2], e[1]} : e;
  };
  CheckPreset("arm-none-eabi-gcc", specified);
}

// gcc declared a cross compiler: nothing is run, every fact comes from
// compiling alone. The 80-bit x87 long double, stored in 16 bytes, is found
// by its "FB 3F 00 00" pattern, which the method reads as 96 bits; its
// 16-byte alignment comes out as 8, the most the compile-only method can
// tell.
TEST(EndToEnd, GccAsCrossCompilerPersonalityMatchesTheCompiler) {
  const std::string skip = SkipReason("gcc");
  if (!skip.empty()) {
    GTEST_SKIP() << skip;
  }
  Specified specified;
  specified.order = FirstMovedLast;
  specified.bits["ldouble"] = 96;
  CheckPreset("gcc", specified, true);
}
