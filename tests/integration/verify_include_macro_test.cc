// The include directory and macro checks against the real compilers of
// this machine. Each test hands the checks a personality that is wrong on
// purpose (the directories in the order the include stage finds, after
// /usr/include/linux, which no compiler searches as a root; only the
// macros the headers name, as the macro stage finds them, one value wrong,
// a macro that does not exist and one whose value changes with each use)
// and compares what they leave with what the compiler says about itself.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <iostream>
#include <memory>
#include <set>
#include <sstream>

#include "harness/globals.h"
#include "harness/shell.h"
#include "model/personality.h"
#include "probes/header_scan.h"
#include "probes/include_dirs.h"
#include "tests/integration/compiler_truth.h"
#include "tests/integration/search_order_truth.h"
#include "tests/support/test_support.h"
#include "verify/include_check.h"
#include "verify/macro_check.h"

namespace {

using Strings = std::vector<std::string>;

struct Compiler {
  std::string command;
  Strings switches;
  bool isC = true;
  std::string objExt = ".o";
  // Two directories (by a piece of their paths, the compiler's own first)
  // that share no header, where no header of one reaches the other with
  // include_next: no compile shows their order, and the check ranks the
  // compiler's own directory first. The test expects that order for them.
  std::string ownDir = "";
  std::string unorderedAgainst = "";
};

const char kNeverSearched[] = "/usr/include/linux";

bool IsDirectory(const std::string& path) {
  struct stat status;
  return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

// A directory as the compiler spells it and as a personality may spell
// it ("/usr/lib/gcc/avr/5.4.0/../../../avr/include") compare as one.
std::string Lexical(const std::string& dir) {
  return std::filesystem::path(dir).lexically_normal().string();
}

std::string TruthCommand(const Compiler& c) {
  std::string command = c.command;
  for (const std::string& sw : c.switches) {
    command += " " + sw;
  }
  return command;
}

// The define text of a macro as the macro stage writes it.
std::string Entry(const std::string& name, const std::string& value) {
  return tessel_test::DefineEntry(name, search_truth::PersonalityValue(value));
}

struct Outcome {
  Strings order;
  std::map<std::string, std::string> defines;
  Strings wrongValues;
  Strings notDefined;
};

class VerifyRun {
 public:
  explicit VerifyRun(const Compiler& c) : compiler_(c) {
    reset_globals_for_testing();
    tg_ = std::make_unique<TesselGen>(c.isC ? "vellc" : "vellcpp", "cmp",
                                      c.command, "-o ", "-c", "-D", c.objExt,
                                      "%c %j %d%s %o%e", shell_);
    tg_->out = &console_;
    tg_->err = &console_;
    for (const std::string& sw : c.switches) {
      tg_->implicitSwitches.push_back(sw);
    }
    tg_->languageKeywords = tessel_test::ShippedLanguageKeywords(c.isC);
    S_OBJEXT = c.objExt;
  }

  // The wrong personality: the include lines the include stage writes for
  // the directories, after those of the unsearched directory, and the
  // macros of `truth` less every seventh, one integer made wrong, plus a
  // macro that does not exist and __LINE__.
  std::string WrongPersonality(
      const std::map<std::string, std::string>& truth) {
    std::string text;
    text += (compiler_.isC ? "-i \"" : "-si \"") + std::string(kNeverSearched) +
            "\"\n-q \"" + kNeverSearched + "\"\n";
    auto inventory = tg_->HeaderInventory;
    tg_->HeaderInventory.erase(kNeverSearched);
    std::ostringstream stage;
    FindIncludeDirs(*tg_, stage, "personality_test.c");
    tg_->HeaderInventory = inventory;
    text += stage.str();
    // The macro stage finds the macros the headers name (and takes them
    // out of the candidates); the others are for the check to find.
    bool spoiled = false;
    for (const auto& [name, value] : truth) {
      if (search_truth::Varies(name) ||
          tg_->candidateKeywords.erase(name) == 0) {
        continue;
      }
      std::string entry = Entry(name, value);
      if (!spoiled && value == "1") {
        entry = name + "=12345";
        spoiled = true;
      }
      if (entry.find("_KIV_STRINGIFY(") != std::string::npos) {
        tg_->FoundDefines.insert("_KIV_STRINGIFY(x)=#x");
      }
      tg_->FoundDefines.insert(entry);
    }
    tg_->FoundDefines.insert("__TG_NEVER_DEFINED__=1");
    tg_->FoundDefines.insert("__LINE__=5");
    for (const std::string& entry : tg_->FoundDefines) {
      text += tg_->DefinePrefix + entry + "\n";
    }
    return text + "-s int=32\n";
  }

  Outcome Check(const Strings& listed,
                const std::map<std::string, std::string>& truth) {
    for (const std::string& dir : listed) {
      tg_->includeDirs.insert(dir);
    }
    ScanAllDirectories(*tg_);
    Strings withHeaders;
    for (const std::string& dir : listed) {
      if (!tg_->HeaderInventory[dir].empty() && dir != kNeverSearched) {
        withHeaders.push_back(dir);
      }
    }
    for (const std::string& dir : withHeaders) {
      expected_.push_back(Lexical(dir));
    }
    Personality personality;
    std::string err;
    EXPECT_TRUE(parse_personality(WrongPersonality(truth), &personality, &err))
        << err;
    const long before = shell_.compiles;
    auto start = std::chrono::steady_clock::now();
    check_include_dirs(*tg_, &personality);
    const long includeCompiles = shell_.compiles - before;
    check_macros(*tg_, &personality);
    auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(
                  std::chrono::steady_clock::now() - start)
                  .count();
    std::cout << "[ FIGURES  ] " << TruthCommand(compiler_) << ": "
              << includeCompiles << " include compiles, "
              << shell_.compiles - before - includeCompiles
              << " macro compiles, " << ms << " ms" << std::endl;
    return Read(personality, truth);
  }

  Outcome Read(const Personality& personality,
               const std::map<std::string, std::string>& truth) {
    Outcome outcome;
    for (const PersonalityLine& line : personality.lines) {
      if (line.kind == LineKind::kInclude) {
        outcome.order.push_back(Lexical(line.name));
      }
      if (line.kind != LineKind::kDefine || line.name == "_KIV_STRINGIFY(x)") {
        continue;
      }
      outcome.defines[line.name] = line.value;
      auto known = truth.find(line.name);
      if (known == truth.end()) {
        outcome.notDefined.push_back(line.name);
      } else if (search_truth::PersonalityValue(known->second) != line.value &&
                 search_truth::PersonalityValue(search_truth::Expanded(
                     TruthCommand(compiler_), compiler_.isC, known->second)) !=
                     line.value) {
        outcome.wrongValues.push_back(line.name + "=" + line.value +
                                      " (compiler: " + known->second + ")");
      }
    }
    return outcome;
  }

  const Strings& expected() const { return expected_; }

 private:
  Compiler compiler_;
  std::ostringstream console_;
  SystemShell realShell_;
  CountingShell shell_{realShell_};
  std::unique_ptr<TesselGen> tg_;
  Strings expected_;
};

std::string Joined(const Strings& items) {
  std::string text;
  for (const std::string& item : items) {
    text += item + "\n";
  }
  return text;
}

// The header names (paths below the directory) that `a` and `b` share.
Strings SharedHeaders(const std::string& a, const std::string& b) {
  namespace fs = std::filesystem;
  std::set<std::string> names;
  for (const auto& entry : fs::recursive_directory_iterator(a)) {
    if (entry.is_regular_file()) {
      names.insert(fs::relative(entry.path(), a).string());
    }
  }
  Strings shared;
  for (const auto& entry : fs::recursive_directory_iterator(b)) {
    const std::string name = fs::relative(entry.path(), b).string();
    if (entry.is_regular_file() && names.count(name) > 0) {
      shared.push_back(name);
    }
  }
  return shared;
}

// `expected` with the directory holding `c.ownDir` moved just before the
// one that is `c.unorderedAgainst`, after checking that the two share no
// header.
Strings WithRankedPair(const Compiler& c, Strings expected) {
  auto own = std::find_if(expected.begin(), expected.end(), [&](auto& d) {
    return d.find(c.ownDir) != std::string::npos;
  });
  auto other = std::find(expected.begin(), expected.end(), c.unorderedAgainst);
  if (c.ownDir.empty() || own == expected.end() || other == expected.end()) {
    return expected;
  }
  EXPECT_EQ("", Joined(SharedHeaders(*own, *other)));
  const std::string dir = *own;
  expected.erase(own);
  expected.insert(
      std::find(expected.begin(), expected.end(), c.unorderedAgainst), dir);
  return expected;
}

void CheckCompiler(const Compiler& c) {
  const std::string name = c.command.substr(0, c.command.find(' '));
  if (tessel_test::RunProcess("command -v " + name).exitCode != 0) {
    GTEST_SKIP() << "skipped: " << name << " not installed";
  }
  tessel_test::ScratchDir scratch;
  const std::string command = TruthCommand(c);
  Strings listed;
  for (const std::string& dir : search_truth::SearchList(command, c.isC)) {
    if (IsDirectory(dir)) {
      listed.push_back(dir);
    }
  }
  ASSERT_FALSE(listed.empty()) << command << " lists no directory";
  listed.push_back(kNeverSearched);
  std::map<std::string, std::string> truth =
      search_truth::Macros(command, c.isC);
  ASSERT_FALSE(truth.empty()) << command << " lists no macro";
  std::size_t fixed = 0;
  for (const auto& entry : truth) {
    fixed += search_truth::Varies(entry.first) ? 0 : 1;
  }

  VerifyRun run(c);
  Outcome outcome = run.Check(listed, truth);

  EXPECT_EQ(Joined(WithRankedPair(c, run.expected())), Joined(outcome.order));
  EXPECT_EQ("", Joined(outcome.notDefined));
  EXPECT_EQ("", Joined(outcome.wrongValues));
  for (const auto& entry : outcome.defines) {
    EXPECT_FALSE(search_truth::Varies(entry.first)) << entry.first;
  }
  Strings missing;
  for (const auto& entry : truth) {
    if (!search_truth::Varies(entry.first) &&
        outcome.defines.count(entry.first) == 0) {
      missing.push_back(entry.first);
    }
  }
  const std::size_t held = fixed - missing.size();
  std::cout << "[ FIGURES  ] " << command << ": " << held << " of " << fixed
            << " fixed macros (" << (100 * held / fixed) << " %)" << std::endl;
  EXPECT_GE(held * 100, fixed * 95) << "missing:\n" << Joined(missing);
}

}  // namespace

TEST(VerifyIncludeMacroGcc, MatchesSearchListAndMacros) {
  CheckCompiler({"gcc", {"-fno-diagnostics-show-caret"}});
}

TEST(VerifyIncludeMacroGpp, MatchesSearchListAndMacros) {
  CheckCompiler({"g++", {"-fno-diagnostics-show-caret"}, false});
}

TEST(VerifyIncludeMacroClang, MatchesSearchListAndMacros) {
  CheckCompiler({"clang", {"-fno-caret-diagnostics"}});
}

TEST(VerifyIncludeMacroClangpp, MatchesSearchListAndMacros) {
  CheckCompiler({"clang++", {"-fno-caret-diagnostics"}, false});
}

TEST(VerifyIncludeMacroTcc, MatchesSearchListAndMacros) {
  CheckCompiler({"tcc", {}});
}

TEST(VerifyIncludeMacroPcc, MatchesSearchListAndMacros) {
  // pcc searches /usr/include/x86_64-linux-gnu before its own directory;
  // the two share no header, so the check keeps its rank there.
  CheckCompiler(
      {"pcc", {}, true, ".o", "/pcc/", "/usr/include/x86_64-linux-gnu"});
}

TEST(VerifyIncludeMacroAvrGcc, MatchesSearchListAndMacros) {
  CheckCompiler(
      {"avr-gcc", {"-mmcu=atmega328p", "-fno-diagnostics-show-caret"}});
}

TEST(VerifyIncludeMacroArmNoneEabiGcc, MatchesSearchListAndMacros) {
  CheckCompiler(
      {"arm-none-eabi-gcc",
       {"-mcpu=cortex-m4", "-mthumb", "-fno-diagnostics-show-caret"}});
}

TEST(VerifyIncludeMacroMingw, MatchesSearchListAndMacros) {
  CheckCompiler({"x86_64-w64-mingw32-gcc", {"-fno-diagnostics-show-caret"}});
}

TEST(VerifyIncludeMacroPowerpc, MatchesSearchListAndMacros) {
  CheckCompiler({"powerpc-linux-gnu-gcc", {"-fno-diagnostics-show-caret"}});
}

TEST(VerifyIncludeMacroGccM32, MatchesSearchListAndMacros) {
  CheckCompiler({"gcc", {"-m32", "-fno-diagnostics-show-caret"}});
}

TEST(VerifyIncludeMacroSdcc, MatchesSearchListAndMacros) {
  CheckCompiler({"sdcc", {"-mmcs51"}, true, ".rel"});
}

TEST(VerifyIncludeMacroCc65, MatchesSearchListAndMacros) {
  CheckCompiler({"cl65", {"-t c64"}});
}
