#include "verify/keyword_check.h"

#include <algorithm>
#include <cstddef>
#include <set>
#include <string>
#include <vector>

#include "app/tessel_gen.h"
#include "verify/claim_batch.h"

// True when `name` is a plain identifier.
static bool is_identifier(const std::string& name) {
  if (name.empty() || (name[0] >= '0' && name[0] <= '9')) {
    return false;
  }
  return std::all_of(name.begin(), name.end(), [](char c) {
    return c == '_' || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
           (c >= '0' && c <= '9');
  });
}

// True for names the keyword stages write that are not keywords of the
// compiler: the analyser's helpers and the compiler's built-in functions.
static bool is_helper(const std::string& name) {
  for (const char* prefix : {"kiv_", "_kiv_", "_KIV_"}) {
    if (name.compare(0, std::string(prefix).size(), prefix) == 0) {
      return true;
    }
  }
  return name.find("builtin_") != std::string::npos;
}

std::vector<std::string> keyword_names(const Personality& personality) {
  std::vector<std::string> names;
  std::set<std::string> seen;
  bool afterTypes = false;
  for (const PersonalityLine& line : personality.lines) {
    if (line.kind == LineKind::kSize) {
      afterTypes = true;
    }
    if (!afterTypes || line.kind != LineKind::kDefine ||
        !is_identifier(line.name) || is_helper(line.name)) {
      continue;
    }
    if (seen.insert(line.name).second) {
      names.push_back(line.name);
    }
  }
  return names;
}

std::string identifier_use(const std::string& name) {
  return "int " + name + " = 1; int tg_u_" + name + "(void) { return " + name +
         "; }\n";
}

// The first define line of `name` after the type lines; `name` comes from
// `keyword_names`, so there is one.
static const PersonalityLine* first_keyword_line(const Personality& personality,
                                                 const std::string& name) {
  bool afterTypes = false;
  for (const PersonalityLine& line : personality.lines) {
    afterTypes = afterTypes || line.kind == LineKind::kSize;
    if (afterTypes && line.kind == LineKind::kDefine && line.name == name) {
      return &line;
    }
  }
  return nullptr;
}

// Removes every define line of `name` that stands after the type lines.
static void remove_keyword_lines(const std::string& name,
                                 Personality* personality) {
  bool afterTypes = false;
  std::vector<PersonalityLine> kept;
  for (const PersonalityLine& line : personality->lines) {
    if (line.kind == LineKind::kSize) {
      afterTypes = true;
    }
    if (afterTypes && line.kind == LineKind::kDefine && line.name == name) {
      continue;
    }
    kept.push_back(line);
  }
  personality->lines = kept;
}

std::string declared_name_use(const std::string& name) {
  return "int tg_d_" + name + " = sizeof(&" + name + ");\n";
}

// Which of `names` (refused as ordinary identifiers) the compiler declares
// itself: of those the stages erase, the ones whose address can be taken.
static std::vector<bool> declared_names(TesselGen& tg,
                                        const Personality& personality,
                                        const std::vector<std::string>& names,
                                        const std::vector<bool>& compiled) {
  std::vector<std::size_t> asked;
  std::vector<std::string> uses;
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (!compiled[i] &&
        first_keyword_line(personality, names[i])->value.empty()) {
      asked.push_back(i);
      uses.push_back(declared_name_use(names[i]));
    }
  }
  std::vector<bool> declared(names.size(), false);
  if (uses.empty()) {
    return declared;
  }
  const std::vector<bool> answers = compile_claims(tg, "", uses);
  for (std::size_t k = 0; k < asked.size(); ++k) {
    declared[asked[k]] = answers[k];
  }
  return declared;
}

std::vector<FactResult> check_keywords(TesselGen& tg,
                                       Personality* personality) {
  const std::vector<std::string> names = keyword_names(*personality);
  std::vector<std::string> uses;
  for (const std::string& name : names) {
    uses.push_back(identifier_use(name));
  }
  const std::vector<bool> compiled = compile_claims(tg, "", uses);
  const std::vector<bool> declared =
      declared_names(tg, *personality, names, compiled);
  std::vector<FactResult> results;
  for (std::size_t i = 0; i < names.size(); ++i) {
    FactResult result;
    result.kind = "keyword";
    result.name = names[i];
    const PersonalityLine& line = *first_keyword_line(*personality, names[i]);
    result.written = line.value;
    result.test = "int " + names[i] + " = 1; return " + names[i] + ";";
    if (compiled[i]) {
      result.status = FactStatus::kCorrected;
      result.hasNow = false;
      result.test += " compiles";
      remove_keyword_lines(names[i], personality);
    } else if (declared[i]) {
      // A function or object the compiler declares before any header (sdcc's
      // __fsadd): a second declaration clashes, but it is no keyword, and
      // erasing it would break the headers that declare it.
      result.status = FactStatus::kCorrected;
      result.hasNow = false;
      result.test += " fails; sizeof(&" + names[i] + ") at file scope compiles";
      remove_keyword_lines(names[i], personality);
    } else {
      result.status = FactStatus::kConfirmed;
      result.now = result.written;
      result.test += " fails";
    }
    results.push_back(result);
  }
  return results;
}
