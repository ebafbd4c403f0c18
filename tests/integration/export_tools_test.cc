// TesselExport's files checked by the tools they are for: clang must accept
// the compiler's own headers with the exported flags, clangd must accept a
// program that uses the compiler's extension keywords, cppcheck must load
// the project and use the compiler's int size, and the JSON document must
// parse and hold every line of the personality. The personalities come from
// whole preset runs, made once per build directory (preset_run_cache.h).
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <map>
#include <set>
#include <sstream>

#include "tests/integration/preset_run_cache.h"
#include "tests/support/test_support.h"

using tessel_test::CachedPreset;
using tessel_test::Lines;
using tessel_test::ProcessResult;
using tessel_test::RunProcess;
using tessel_test::ScratchDir;
using tessel_test::ShellQuote;
namespace fs = std::filesystem;

namespace {

// What the tests need to know of each preset's compiler.
struct ToolCase {
  // The preset's name.
  std::string preset;
  // The command that compiles "t.c" alone with the preset's switches.
  std::string accepts;
  // A small program using the compiler's extension keywords.
  std::string program;
  // The share of the compiler's headers clang must accept, in percent.
  long minimumPercent = 95;
  // Why a preset's share is lower.
  std::string note;
};

const ToolCase kCases[] = {
    {"sdcc", "sdcc -mmcs51 -c t.c -o t.rel",
     "__xdata unsigned char buffer[4];\n"
     "__sfr __at(0x80) P0;\n"
     "void timer(void) __interrupt(1) { P0 = buffer[0]; }\n"
     "int main(void) { buffer[1] = P0; return 0; }\n",
     80,
     "sdcc's register headers (at89x51.h, mcs51reg.h, the hc08 and ds390 "
     "ones) and serial headers write __at and __interrupt without "
     "parentheses (\"__sfr __at 0x80 P0;\", \"__interrupt 4 __using 1\"), "
     "and no macro can remove a keyword together with an argument that is "
     "not in parentheses"},
    {"avr-gcc", "avr-gcc -mmcu=atmega328p -fsyntax-only t.c",
     "#include <avr/io.h>\n#include <avr/interrupt.h>\n#include <stdint.h>\n"
     "static volatile uint8_t ticks;\n"
     "ISR(TIMER0_OVF_vect) { ticks++; }\n"
     "int main(void) {\n  DDRB = 0x20;\n  __asm__ __volatile__(\"nop\");\n"
     "  for (;;) { PORTB ^= 0x20; }\n}\n",
     95, ""},
    {"arm-none-eabi-gcc",
     "arm-none-eabi-gcc -mcpu=cortex-m4 -mthumb -fsyntax-only t.c",
     "#include <stdint.h>\n#include <string.h>\n"
     "static __inline uint32_t twice(uint32_t x) { return x * 2u; }\n"
     "__attribute__((naked)) void reset(void) { __asm volatile(\"nop\"); }\n"
     "int main(void) { char b[8]; memset(b, 0, sizeof b);\n"
     "  return (int)twice(b[0]); }\n",
     95, ""},
    {"cc65", "cl65 -t c64 -c -o t.o t.c",
     "#include <stdio.h>\n#include <string.h>\n"
     "void __fastcall__ put(unsigned char c);\n"
     "int main(void) { __asm__(\"nop\"); put(1); return __AX__; }\n",
     90,
     "cc65 declares its driver tables as arrays of void (\"extern void "
     "c64_65816_emd[];\" in c64.h, which conio.h, cbm.h and others include), "
     "which C forbids and clang rejects, and its stdbool.h declares _Bool, "
     "a keyword for clang"},
    {"gcc", "gcc -fsyntax-only t.c",
     "#include <stdio.h>\n#include <stdlib.h>\n"
     "__extension__ typedef long long big;\n"
     "static __inline int add(int* __restrict a, int* __restrict b) {\n"
     "  return *a + *b; }\n"
     "int main(void) { int x = 1, y = 2; printf(\"%d\\n\", add(&x, &y));\n"
     "  return 0; }\n",
     95, ""}};

// Why a test needing `tools` cannot run here, or "" when it can.
std::string MissingTool(const std::vector<std::string>& tools) {
  for (const std::string& tool : tools) {
    if (RunProcess("command -v " + ShellQuote(tool)).exitCode != 0) {
      return "skipped: " + tool + " not installed";
    }
  }
  return "";
}

const CachedPreset& PresetNamed(const std::string& name) {
  for (const CachedPreset& preset : tessel_test::CachedPresets()) {
    if (preset.name == name) {
      return preset;
    }
  }
  return tessel_test::CachedPresets().front();
}

std::string ExportBinary() {
  return (fs::path(tessel_test::kTesselBinary).parent_path() / "TesselExport")
      .string();
}

// Runs TesselExport FORMAT PERSONALITY -o DIR; fails the test on error.
void Export(const std::string& format, const std::string& personality,
            const std::string& dir) {
  const ProcessResult run =
      RunProcess(ShellQuote(ExportBinary()) + " " + format + " " +
                 ShellQuote(personality) + " -o " + ShellQuote(dir));
  std::cout << run.out;
  ASSERT_EQ(run.exitCode, 0) << run.err;
}

// The "-i" directories of a personality, read from its lines.
std::vector<std::string> IncludeDirs(const std::string& personality) {
  std::vector<std::string> dirs;
  for (const std::string& line : Lines(tessel_test::ReadFile(personality))) {
    if (line.rfind("-i \"", 0) == 0 && line.size() > 5) {
      const std::string dir = line.substr(4, line.size() - 5);
      if (std::find(dirs.begin(), dirs.end(), dir) == dirs.end()) {
        dirs.push_back(dir);
      }
    }
  }
  return dirs;
}

// Every header under the directories, by the name `#include <...>` finds
// it with, each file once (an earlier directory hides a later one's header
// of the same name, and a file reached through two directories counts
// under its first name). A directory of more than 1,500 headers (the
// system's /usr/include) gives its top level only.
std::vector<std::string> HeaderNames(const std::vector<std::string>& dirs) {
  std::set<std::string> seen;
  std::set<std::string> files;
  std::vector<std::string> names;
  for (const std::string& dir : dirs) {
    std::vector<std::string> here;
    std::error_code ec;
    for (fs::recursive_directory_iterator it(dir, ec), end; !ec && it != end;
         it.increment(ec)) {
      if (it->path().extension() == ".h" && it->is_regular_file(ec)) {
        here.push_back(it->path().lexically_relative(dir).string());
      }
    }
    const bool topOnly = here.size() > 1500;
    std::sort(here.begin(), here.end());
    for (const std::string& name : here) {
      const std::string file = fs::canonical(fs::path(dir) / name, ec).string();
      if ((!topOnly || name.find('/') == std::string::npos) &&
          seen.insert(name).second && files.insert(file).second) {
        names.push_back(name);
      }
    }
  }
  return names;
}

class ExportTools : public ::testing::TestWithParam<ToolCase> {
 protected:
  void SetUp() override {
    const std::string missing = MissingTool({"clang", "clangd", "python3"});
    if (!missing.empty()) {
      GTEST_SKIP() << missing;
    }
    std::string why;
    personality_ =
        tessel_test::PresetPersonality(PresetNamed(GetParam().preset), &why);
    if (!personality_) {
      GTEST_SKIP() << "skipped: " << why;
    }
  }
  std::optional<std::string> personality_;
};

TEST_P(ExportTools, ClangAcceptsTheHeadersTheCompilerAccepts) {
  ScratchDir scratch;
  Export("clang", *personality_, scratch.work() + "/out");
  std::string flags;
  for (const std::string& arg : Lines(
           tessel_test::ReadFile(scratch.work() + "/out/compile_flags.txt"))) {
    flags += " " + ShellQuote(arg);
  }
  // One shell loop compiles every header with the compiler, then with clang.
  std::string script;
  for (const std::string& name : HeaderNames(IncludeDirs(*personality_))) {
    script += "printf '#include <%s>\\n' " + ShellQuote(name) + " >t.c; if " +
              GetParam().accepts + " >/dev/null 2>&1; then if clang" + flags +
              " -fsyntax-only t.c >e.txt 2>&1; then echo OK; else echo "
              "\"FAIL " +
              name + ": $(grep -m1 'error:' e.txt)\"; fi; fi\n";
  }
  tessel_test::WriteFile("check.sh", script);
  const ProcessResult run = RunProcess("sh check.sh");
  long accepted = 0;
  std::vector<std::string> failures;
  for (const std::string& line : Lines(run.out)) {
    if (line == "OK") {
      ++accepted;
    } else if (line.rfind("FAIL ", 0) == 0) {
      failures.push_back(line.substr(5));
    }
  }
  const long total = accepted + static_cast<long>(failures.size());
  std::cout << "[ FIGURES  ] " << GetParam().preset << ": clang accepts "
            << accepted << " of the " << total
            << " headers the compiler accepts alone\n";
  for (const std::string& failure : failures) {
    std::cout << "  " << failure << "\n";
  }
  if (!GetParam().note.empty()) {
    std::cout << "  note: " << GetParam().note << "\n";
  }
  ASSERT_GT(total, 0);
  EXPECT_GE(accepted * 100, total * GetParam().minimumPercent);
}

// The output of `clangd --check=prog.c` in the current directory, and the
// lines that name an error.
std::string ClangdCheck(std::string* errors) {
  const ProcessResult run = RunProcess("clangd --check=prog.c");
  const std::string log = run.out + run.err;
  for (const std::string& line : Lines(log)) {
    if (line.find("E[") == 0 || line.find("error:") != std::string::npos) {
      *errors += line + "\n";
    }
  }
  return log;
}

TEST_P(ExportTools, ClangdChecksAProgramWithExtensionKeywords) {
  ScratchDir scratch;
  Export("clang", *personality_, scratch.work());
  tessel_test::WriteFile("prog.c", GetParam().program);
  std::string errors;
  std::string log = ClangdCheck(&errors);
  EXPECT_NE(log.find("All checks completed, 0 errors"), std::string::npos)
      << "with compile_flags.txt and .clangd:\n"
      << errors;
  // The .clangd fragment alone gives the same flags.
  fs::remove("compile_flags.txt");
  errors.clear();
  log = ClangdCheck(&errors);
  EXPECT_NE(log.find("All checks completed, 0 errors"), std::string::npos)
      << "with .clangd alone:\n"
      << errors;
}

TEST_P(ExportTools, TheJsonDocumentHoldsEveryLine) {
  ScratchDir scratch;
  Export("json", *personality_, scratch.work());
  // Lines per kind in the personality, counted by their option word.
  std::map<std::string, long> lines;
  std::set<std::string> includes;
  for (const std::string& line : Lines(tessel_test::ReadFile(*personality_))) {
    const std::string word = line.substr(0, line.find(' '));
    ++lines[word == "-sd" ? "-d" : word];
    if (word == "-i" || word == "-si") {
      includes.insert(line);
    }
  }
  const ProcessResult parsed = RunProcess(
      "python3 -c 'import json,sys\n"
      "d = json.load(open(\"tessel_personality.json\"))\n"
      "print(len(d[\"includeDirectories\"]), "
      "len(d[\"systemIncludeDirectories\"]), "
      "len(d[\"macros\"]) + len(d[\"keywords\"]), len(d[\"sizes\"]), "
      "len(d[\"alignments\"]), int(d[\"charSign\"] is not None), "
      "len(d[\"intrinsicTypes\"]), "
      "int(d[\"identifierLengths\"][\"external\"] is not None), "
      "int(d[\"identifierLengths\"][\"internal\"] is not None), "
      "len(d[\"extensions\"]), int(d[\"forceInclude\"] is not None), "
      "d[\"format\"], d[\"version\"])'");
  ASSERT_EQ(parsed.exitCode, 0) << parsed.err;
  std::ostringstream expected;
  expected << includes.size() << " " << lines["-q"] << " " << lines["-d"] << " "
           << lines["-s"] << " " << lines["-a"] << " "
           << lines["-u+"] + lines["-u-"] << " " << lines["-it"] << " "
           << lines["-xn"] << " " << lines["-na"] << " " << lines["-ex"] << " "
           << lines["-fi"] << " tesselgen-personality 1\n";
  EXPECT_EQ(parsed.out, expected.str());
}

std::string CaseName(const ::testing::TestParamInfo<ToolCase>& info) {
  std::string name = info.param.preset;
  std::replace(name.begin(), name.end(), '-', '_');
  return name;
}

INSTANTIATE_TEST_SUITE_P(Presets, ExportTools, ::testing::ValuesIn(kCases),
                         CaseName);

// Runs cppcheck on "int f(void){ int x = 1 << 20; return x; }" with the
// cppcheck export of `preset`; empty with `why` set when skipped.
std::optional<std::string> CppcheckShift(const std::string& preset,
                                         std::string* why) {
  *why = MissingTool({"cppcheck"});
  if (!why->empty()) {
    return std::nullopt;
  }
  const auto personality =
      tessel_test::PresetPersonality(PresetNamed(preset), why);
  if (!personality) {
    *why = "skipped: " + *why;
    return std::nullopt;
  }
  Export("cppcheck", *personality, ".");
  tessel_test::WriteFile("t.c", "int f(void){ int x = 1 << 20; return x; }\n");
  const ProcessResult run = RunProcess(
      "cppcheck --project=tessel.cppcheck "
      "--include=tessel_cppcheck_compat.h t.c");
  return run.out + run.err;
}

TEST(ExportCppcheck, TheAvrExportShiftsA16BitInt) {
  ScratchDir scratch;
  std::string why;
  const auto output = CppcheckShift("avr-gcc", &why);
  if (!output) {
    GTEST_SKIP() << why;
  }
  EXPECT_EQ(output->find("cppcheck: error"), std::string::npos) << *output;
  EXPECT_NE(output->find("Shifting 16-bit value by 20 bits is undefined "
                         "behaviour [shiftTooManyBits]"),
            std::string::npos)
      << *output;
}

TEST(ExportCppcheck, TheGccExportFindsNothing) {
  ScratchDir scratch;
  std::string why;
  const auto output = CppcheckShift("gcc", &why);
  if (!output) {
    GTEST_SKIP() << why;
  }
  EXPECT_EQ(output->find("error"), std::string::npos) << *output;
}

}  // namespace
