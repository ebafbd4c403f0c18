// The macro stage against the real gcc, natively and as a cross compiler
// (message method), checked against what "gcc -dM -E" reports.
#include <gtest/gtest.h>

#include <cctype>
#include <iostream>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "app/tessel_gen.h"
#include "harness/globals.h"
#include "probes/macro_discovery.h"
#include "probes/macro_values.h"
#include "tests/support/test_support.h"

using tessel_test::FrozenClock;
using tessel_test::ReadFile;
using tessel_test::RunProcess;
using tessel_test::ScratchDir;

namespace {

// A macro as "gcc -dM -E" prints it.
struct DumpedMacro {
  bool functionLike = false;
  std::string value;
};

// A shell that counts the compiles of each sweep: the sweep is told by the
// number of progress steps already printed on the console.
struct SweepCountingShell : Shell {
  explicit SweepCountingShell(const std::ostringstream& console)
      : console_(console) {}
  int Run(const std::string& command) override {
    ++commands;
    if (command.rfind("./compile.sh", 0) == 0) {
      ++compiles;
      const std::string text = console_.str();
      std::size_t steps = 0;
      for (std::size_t at = text.find("~["); at != std::string::npos;
           at = text.find("~[", at + 2)) {
        ++steps;
      }
      ++perStep[steps];
    }
    return real.Run(command);
  }
  SystemShell real;
  long commands = 0;
  long compiles = 0;
  std::map<std::size_t, long> perStep;

 private:
  const std::ostringstream& console_;
};

// The identifiers of `text`, found crudely: comments and strings included.
void add_identifiers(const std::string& text, std::set<std::string>* names) {
  std::string word;
  for (char c : text + " ") {
    if (std::isalnum(static_cast<unsigned char>(c)) || c == '_') {
      word += c;
      continue;
    }
    if (!word.empty() && !std::isdigit(static_cast<unsigned char>(word[0]))) {
      names->insert(word);
    }
    word.clear();
  }
}

std::map<std::string, DumpedMacro> dumped_macros() {
  std::map<std::string, DumpedMacro> macros;
  std::istringstream dump(RunProcess("gcc -dM -E -xc /dev/null").out);
  std::string line;
  while (std::getline(dump, line)) {
    if (line.rfind("#define ", 0) != 0) {
      continue;
    }
    std::string rest = line.substr(8);
    std::size_t end = rest.find_first_of(" (");
    DumpedMacro macro;
    macro.functionLike = end != std::string::npos && rest[end] == '(';
    if (end != std::string::npos && rest[end] == ' ') {
      macro.value = rest.substr(end + 1);
    }
    macros[rest.substr(0, end)] = macro;
  }
  return macros;
}

// `value` with every object-like macro of `macros` replaced by its own
// expansion, as the preprocessor does before it stringifies.
std::string expand(const std::string& value,
                   const std::map<std::string, DumpedMacro>& macros,
                   std::set<std::string> active) {
  std::string result;
  std::string word;
  bool inString = false;
  auto flush = [&]() {
    auto found = macros.find(word);
    if (!word.empty() && found != macros.end() && !found->second.functionLike &&
        active.count(word) == 0) {
      std::set<std::string> inner = active;
      inner.insert(word);
      result += expand(found->second.value, macros, inner);
    } else {
      result += word;
    }
    word.clear();
  };
  for (char c : value) {
    if (!inString &&
        (std::isalnum(static_cast<unsigned char>(c)) || c == '_')) {
      word += c;
      continue;
    }
    flush();
    if (c == '"') {
      inString = !inString;
    }
    result += c;
  }
  flush();
  return result;
}

// The define text that the stage should record for `name` with the
// stringified value `value`: strings become a stringify call, values with
// a blank are quoted whole.
std::string expected_define(const std::string& name, std::string value) {
  if (value.size() >= 2 && value.front() == '"' && value.back() == '"') {
    value = "_KIV_STRINGIFY(" + value.substr(1, value.size() - 2) + ")";
  }
  std::string define = name + "=" + value;
  return value.find(' ') == std::string::npos ? define : "\"" + define + "\"";
}

// What one run of the stage found, and what it cost.
struct StageRun {
  std::vector<std::string> macros;
  std::set<std::string> defines;
  std::string personality;
  long discoveryCompiles = 0;
  long valueCompiles = 0;
  long valueCommands = 0;
  long alternatives = 0;
  std::map<std::size_t, long> perStep;
};

StageRun run_stage(bool cross, const std::set<std::string>& candidates) {
  ScratchDir scratch;
  reset_globals_for_testing();
  S_OBJEXT = ".o";
  std::ostringstream console;
  SweepCountingShell shell(console);
  TesselGen tg("vellc", cross ? "ccmp" : "cmp", "gcc", "-o ", "-c", "-D", ".o",
               "%c %j %d%s %o%e", shell, FrozenClock);
  tg.out = &console;
  tg.err = &console;
  tg.implicitSwitches = {"-fno-diagnostics-show-caret"};
  tg.candidateKeywords = candidates;
  tg.languageKeywords = tessel_test::ShippedLanguageKeywords(true);

  StageRun result;
  DiscoverPredefinedMacros(tg);
  result.discoveryCompiles = shell.compiles;
  result.perStep = shell.perStep;
  const long commandsBefore = shell.commands;
  CalculateMacroValues(tg);
  std::ostringstream personality;
  WriteDefineLines(tg, personality);
  result.valueCompiles = shell.compiles - result.discoveryCompiles;
  result.valueCommands = shell.commands - commandsBefore;
  result.macros = tg.PredefinedMacros;
  result.defines = tg.FoundDefines;
  result.personality = personality.str();
  const std::string log = ReadFile(tg.log.fileName());
  for (std::size_t at = log.find("Alternative define tests for: ");
       at != std::string::npos;
       at = log.find("Alternative define tests for: ", at + 1)) {
    ++result.alternatives;
  }
  return result;
}

// The compiles that the halving sweeps need for `candidates` when exactly
// `found` are macros: one per chunk tested.
long needed_compiles(const std::vector<std::string>& candidates,
                     const std::set<std::string>& found) {
  std::vector<std::string> working = candidates;
  long compiles = 0;
  for (std::size_t batch = 16384; batch > 0; batch /= 2) {
    if (working.empty() || batch > working.size()) {
      continue;
    }
    std::vector<std::string> next;
    for (std::size_t first = 0; first < working.size(); first += batch) {
      ++compiles;
      std::size_t last = std::min(working.size(), first + batch);
      bool hit = false;
      for (std::size_t i = first; i < last; ++i) {
        hit = hit || found.count(working[i]) != 0;
      }
      if (hit) {
        next.insert(next.end(), working.begin() + first,
                    working.begin() + last);
      }
    }
    working = next;
  }
  return compiles;
}

void print_figures(const char* mode, const StageRun& run) {
  std::cout << mode << ": " << run.macros.size() << " macros, "
            << run.defines.size() << " defines; discovery compiles "
            << run.discoveryCompiles << " (per sweep:";
  for (const auto& [step, count] : run.perStep) {
    std::cout << " batch " << (16384 >> step) << ": " << count;
  }
  std::cout << "); value compiles " << run.valueCompiles << " ("
            << run.alternatives << " alternative tests), value commands "
            << run.valueCommands << std::endl;
}

}  // namespace

TEST(MacroGcc, NativeAndCrossFindEveryDumpedMacroWithItsValue) {
  if (RunProcess("command -v gcc").exitCode != 0) {
    GTEST_SKIP() << "skipped: gcc not installed";
  }
  const std::map<std::string, DumpedMacro> dumped = dumped_macros();
  ASSERT_GT(dumped.size(), 100u);
  std::set<std::string> candidates;
  for (const auto& [name, macro] : dumped) {
    candidates.insert(name);
  }
  const std::string gccInclude = RunProcess("gcc -print-file-name=include").out;
  const std::string dir = gccInclude.substr(0, gccInclude.find('\n'));
  for (const char* header :
       {"/stddef.h", "/stdarg.h", "/float.h", "/stdint-gcc.h", "/limits.h"}) {
    add_identifiers(ReadFile(dir + header), &candidates);
  }
  add_identifiers(ReadFile("/usr/include/stdio.h"), &candidates);
  const std::set<std::string> keywords =
      tessel_test::ShippedLanguageKeywords(true);
  std::vector<std::string> tested;
  for (const std::string& name : candidates) {
    if (keywords.count(name) == 0) {
      tested.push_back(name);
    }
  }
  std::cout << "candidates: " << candidates.size() << " (" << dumped.size()
            << " from gcc -dM -E)" << std::endl;

  const StageRun native = run_stage(false, candidates);
  print_figures("native", native);
  const StageRun cross = run_stage(true, candidates);
  print_figures("cross", cross);

  const std::set<std::string> found(native.macros.begin(), native.macros.end());
  for (const auto& [name, macro] : dumped) {
    EXPECT_EQ(1u, found.count(name)) << name << " not found";
    if (macro.functionLike) {
      continue;
    }
    const std::string define =
        expected_define(name, expand(macro.value, dumped, {name}));
    EXPECT_EQ(1u, native.defines.count(define)) << "native lacks " << define;
    EXPECT_EQ(1u, cross.defines.count(define)) << "cross lacks " << define;
  }
  // Both runs test the same way, so they find the same names; their values
  // agree for every name that gcc dumps (others, such as __LINE__, may
  // depend on the test file).
  EXPECT_EQ(native.macros, cross.macros);
  for (const std::string& define : native.defines) {
    std::string name = define.substr(define[0] == '"', std::string::npos);
    name = name.substr(0, name.find('='));
    if (dumped.count(name) != 0) {
      EXPECT_EQ(1u, cross.defines.count(define)) << "cross lacks " << define;
    }
  }
  for (const std::string& define : cross.defines) {
    std::string name = define.substr(define[0] == '"', std::string::npos);
    name = name.substr(0, name.find('='));
    if (dumped.count(name) != 0) {
      EXPECT_EQ(1u, native.defines.count(define)) << "native lacks " << define;
    }
  }
  // No compile beyond what the halving needs, and per macro only the
  // clean-up, the compile and (natively) the program run.
  EXPECT_EQ(needed_compiles(tested, found), native.discoveryCompiles);
  EXPECT_EQ(native.discoveryCompiles, cross.discoveryCompiles);
  const long count = static_cast<long>(native.macros.size());
  EXPECT_EQ(count, native.valueCompiles);
  EXPECT_EQ(count + cross.alternatives, cross.valueCompiles);
  EXPECT_GE(3 * count, native.valueCommands);
  EXPECT_EQ(2 * count + cross.alternatives, cross.valueCommands);
}
