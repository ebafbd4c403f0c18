// The checks of a run with "-verify": every fact of the personality it
// writes is compared with what the compiler says about itself, and the
// stages' own answers, which the run's JSON report keeps beside the
// corrected ones, are read back so that the end-to-end tests can check them
// as well. The truth comes from compiler_truth.h and search_order_truth.h,
// which share no code with the check stage. Header-only, since the
// integration tier compiles only its *_test.cc files.
#ifndef TESSEL_TESTS_INTEGRATION_VERIFIED_CHECKS_H_
#define TESSEL_TESTS_INTEGRATION_VERIFIED_CHECKS_H_

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "tests/integration/compiler_truth.h"
#include "tests/integration/personality_checks.h"
#include "tests/integration/search_order_truth.h"
#include "tests/support/test_support.h"

namespace tessel_test {

/// One fact of a ".verify.json" report.
struct ReportedFact {
  std::string kind;
  std::string name;
  /// Empty when the report says null.
  std::optional<std::string> written;
  std::optional<std::string> now;
  std::string status;
};

/// The string or null after `"field": ` in `line`, JSON escapes undone;
/// nothing when the field is null or missing.
inline std::optional<std::string> JsonField(const std::string& line,
                                            const std::string& field) {
  const std::string key = "\"" + field + "\": ";
  std::string::size_type at = line.find(key);
  if (at == std::string::npos ||
      line.compare(at + key.size(), 4, "null") == 0) {
    return std::nullopt;
  }
  std::string value;
  for (std::string::size_type i = at + key.size() + 1; i < line.size(); ++i) {
    if (line[i] == '"') {
      return value;
    }
    if (line[i] == '\\' && i + 1 < line.size()) {
      ++i;
      if (line[i] == 'u' && i + 4 < line.size()) {
        value +=
            static_cast<char>(std::stoi(line.substr(i + 1, 4), nullptr, 16));
        i += 4;
        continue;
      }
      value += line[i] == 'n' ? '\n' : line[i] == 't' ? '\t' : line[i];
      continue;
    }
    value += line[i];
  }
  return value;
}

/// The facts of a report, which writes one fact a line.
inline std::vector<ReportedFact> ReportedFacts(const std::string& json) {
  std::vector<ReportedFact> facts;
  for (const std::string& line : Lines(json)) {
    if (line.find("{\"kind\": ") == std::string::npos) {
      continue;
    }
    ReportedFact fact;
    fact.kind = JsonField(line, "kind").value_or("");
    fact.name = JsonField(line, "name").value_or("");
    fact.written = JsonField(line, "written");
    fact.now = JsonField(line, "now");
    fact.status = JsonField(line, "status").value_or("");
    facts.push_back(fact);
  }
  return facts;
}

/// What the stages wrote, before the check stage corrected it: the verified
/// personality `verified` with every fact of the report put back to its
/// written value (and the lines the check added taken out).
inline Personality StageView(Personality verified,
                             const std::vector<ReportedFact>& facts) {
  std::vector<std::pair<int, std::string>> places;
  bool hasInclude = false;
  for (const ReportedFact& fact : facts) {
    const std::string& name = fact.name;
    if (fact.kind == "include") {
      hasInclude = true;
      if (fact.written) {
        places.emplace_back(std::atoi(fact.written->c_str()), name);
      }
    } else if (fact.kind == "define") {
      if (fact.written) {
        verified.defines[name] = DefineEntry(name, *fact.written);
      } else {
        verified.defines.erase(name);
      }
    } else if (fact.kind == "size" || fact.kind == "alignment") {
      auto& table = fact.kind == "size" ? verified.bits : verified.align;
      if (fact.written) {
        table[name] = std::atoi(fact.written->c_str());
      } else {
        table.erase(name);
      }
    } else if (fact.kind == "char-sign" && fact.written) {
      verified.charSign = {"-u" + *fact.written};
    } else if (fact.kind == "intrinsic-type") {
      if (fact.written) {
        verified.intrinsic[name] = *fact.written;
      } else {
        verified.intrinsic.erase(name);
      }
    } else if (fact.kind == "keyword") {
      if (fact.written) {
        verified.keywords.insert(name);
      } else {
        verified.keywords.erase(name);
      }
    }
  }
  if (hasInclude) {
    std::sort(places.begin(), places.end());
    verified.includeDirs.clear();
    for (const auto& place : places) {
      verified.includeDirs.push_back(place.second);
    }
    verified.quoteDirs = verified.includeDirs;
  }
  return verified;
}

/// What a verified personality may still hold that differs from the
/// compiler, per preset: places that no compile can decide.
struct VerifiedCases {
  /// The include directory order given the compiler's search order of the
  /// directories that hold headers.
  std::function<Strings(const Strings&)> order = [](const Strings& dirs) {
    return dirs;
  };
};

/// Include lines: exactly the searched directories that hold headers, in
/// the compiler's own search order, each with its "-q" line.
inline void ExpectVerifiedIncludeDirectories(const Preset& preset,
                                             const Personality& p,
                                             const VerifiedCases& cases) {
  Strings searched;
  for (const std::string& dir : SearchList(preset)) {
    if (HoldsHeaders(dir)) {
      searched.push_back(dir);
    }
  }
  ASSERT_FALSE(searched.empty()) << "no search list from " << preset.compiler;
  EXPECT_EQ(cases.order(searched), p.includeDirs)
      << "verified include directories; the compiler searches:\n  "
      << testing::PrintToString(searched);
  EXPECT_EQ(p.includeDirs, p.quoteDirs) << "one -q line per include line";
}

/// Macro lines: each is a macro the compiler predefines, with its value,
/// none whose value changes with each use, and at least 95 % of the
/// macros the compiler predefines with a fixed value are there.
inline void ExpectVerifiedMacros(const Preset& preset, const Personality& p) {
  const std::string command = CompilerCommand(preset);
  const std::map<std::string, std::string> macros =
      search_truth::Macros(command, preset.isC);
  ASSERT_FALSE(macros.empty()) << "no macros from " << command;
  std::size_t fixed = 0;
  Strings missing;
  for (const auto& [name, body] : macros) {
    const std::string recorded =
        RecordedDefine(name, ExpandBody(macros, name, body));
    if (search_truth::Varies(name) || recorded.empty()) {
      continue;
    }
    ++fixed;
    auto found = p.defines.find(name);
    if (found == p.defines.end()) {
      missing.push_back(name);
      continue;
    }
    if (found->second != recorded) {
      // A value that "-dM" spells with other macros in it, as the
      // compiler's preprocessor expands it.
      EXPECT_EQ(DefineEntry(
                    name, search_truth::PersonalityValue(search_truth::Expanded(
                              command, preset.isC, body))),
                found->second)
          << "macro " << name << " defined by the compiler as: " << body;
    }
  }
  for (const auto& [name, define] : p.defines) {
    if (name == "_KIV_STRINGIFY(x)") {
      continue;
    }
    EXPECT_FALSE(search_truth::Varies(name)) << define;
    // A name the preprocessor knows without listing it, which expands to
    // itself (sdcc's __func__), is defined as far as "#ifdef" can tell.
    const bool selfNamed =
        define == name + "=" + name &&
        Compiles(preset, "#ifndef " + name + "\n#error no\n#endif\n");
    EXPECT_TRUE(macros.count(name) == 1 || selfNamed)
        << "define " << define << " is not a macro of " << command;
  }
  const std::size_t held = fixed - missing.size();
  std::cout << "[ FIGURES  ] " << preset.name << " verified: " << held << " of "
            << fixed << " fixed macros" << std::endl;
  EXPECT_GE(held * 100, fixed * 95)
      << "missing:\n  " << testing::PrintToString(missing);
}

/// The size in bits and alignment (offset after a char in a structure,
/// which is what the analyser lays out) of every scalar type the compiler
/// knows; a type it does not know keeps the stages' value.
inline void ExpectVerifiedTypes(const Preset& preset, const Personality& p,
                                const Personality& stages) {
  const std::string prelude =
      "#include <stddef.h>\n" + std::string(kCodePointer);
  for (const ScalarType& type : kScalarTypes) {
    const std::string& name = type.personalityName;
    const int bits = p.bits.count(name) ? p.bits.at(name) : -1;
    const int align = p.align.count(name) ? p.align.at(name) : -1;
    if (!Compiles(preset, prelude + type.name + " truth_v;\n")) {
      EXPECT_EQ(stages.bits.count(name) ? stages.bits.at(name) : -1, bits)
          << type.name << " is unknown and keeps its size";
      continue;
    }
    EXPECT_EQ(0, bits % 8) << type.name;
    EXPECT_TRUE(
        CaseEquals(preset, prelude, "sizeof(" + type.name + ")", bits / 8))
        << "size of " << type.name << ": " << bits;
    const std::string s =
        "struct truth_s_" + name + " { char c; " + type.name + " m; };\n";
    EXPECT_TRUE(CaseEquals(preset, prelude + s,
                           "offsetof(struct truth_s_" + name + ", m)", align))
        << "alignment of " << type.name << ": " << align;
  }
  const bool charSigned = Compiles(preset, Assertion("(char)-1 < 0"));
  if (preset.isC) {
    EXPECT_EQ(Strings{charSigned ? "-u-" : "-u+"}, p.charSign)
        << "plain char is " << (charSigned ? "signed" : "unsigned");
  }
  for (const char* name : {"size_t", "ptrdiff_t", "wchar_t"}) {
    auto found = p.intrinsic.find(name);
    if (!preset.isC && std::string(name) == "wchar_t") {
      EXPECT_TRUE(found == p.intrinsic.end()) << "C++ wchar_t is its own type";
      continue;
    }
    ASSERT_TRUE(found != p.intrinsic.end()) << name;
    std::string type = found->second;
    const std::string::size_type ll = type.find("longlong");
    if (ll != std::string::npos) {
      type.replace(ll, 8, "long long");
    }
    EXPECT_TRUE(SameType(preset, "#include <stddef.h>\n", name, type))
        << name << " = " << type;
  }
}

/// The "-xn" (external) and "-na" (internal) identifier lengths of `text`
/// are the longest the compiler tells apart (C only).
inline void ExpectVerifiedIdentifierLengths(const Preset& preset,
                                            const std::string& text) {
  if (!preset.isC) {
    return;
  }
  for (const auto& [label, external] :
       std::vector<std::pair<std::string, bool>>{{"-xn ", true},
                                                 {"-na ", false}}) {
    long n = -1;
    for (const std::string& line : Lines(text)) {
      if (line.rfind(label, 0) == 0) {
        n = std::atol(line.c_str() + label.size());
      }
    }
    ASSERT_GT(n, 0) << "no " << label << "line";
    EXPECT_TRUE(TellsApartNames(preset, external, n)) << label << n;
    if (n < 16384) {
      EXPECT_FALSE(TellsApartNames(preset, external, n + 1)) << label << n;
    }
  }
}

}  // namespace tessel_test

#endif  // TESSEL_TESTS_INTEGRATION_VERIFIED_CHECKS_H_
