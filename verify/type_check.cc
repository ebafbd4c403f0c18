#include "verify/type_check.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "app/tessel_gen.h"
#include "verify/claim_batch.h"
#include "verify/intrinsic_check.h"

namespace {

// The scalar types of the "-s"/"-a" lines, in the order the stages write
// them.
const char* const kScalarNames[] = {"int",      "char",   "short",  "long",
                                    "longlong", "float",  "double", "ldouble",
                                    "dataptr",  "codeptr"};

// Declares the function pointer type that "codeptr" stands for.
const char kTypePrelude[] = "typedef void (*tg_codeptr)(void);\n";

// The largest size or alignment in bytes that a search considers.
const long kLargest = 128;

// One size or alignment fact: the quantity `expr` (in bytes) times `scale`
// is the value the line holds.
struct NumericFact {
  std::string kind;
  std::string name;
  std::optional<std::size_t> line;
  std::optional<long> written;
  std::string decl;  // file-scope text that `expr` needs
  std::string expr;  // "@" stands for a number unique to one claim
  long scale = 1;
};

// `text` with every "@" replaced by `id`.
std::string with_id(std::string text, const std::string& id) {
  for (std::size_t at = text.find('@'); at != std::string::npos;
       at = text.find('@', at)) {
    text.replace(at, 1, id);
  }
  return text;
}

// The snippet claiming that the fact's value is `value`.
std::string equals_claim(const NumericFact& fact, long value,
                         const std::string& id) {
  return with_id(
      fact.decl + claim_typedef("tg_ok_@", fact.expr + "*" +
                                               std::to_string(fact.scale) +
                                               " == " + std::to_string(value)),
      id);
}

// The snippet claiming that the quantity is at most `bytes`.
std::string at_most_claim(const NumericFact& fact, long bytes) {
  return with_id(
      fact.decl +
          claim_typedef("tg_ok_@", fact.expr + " <= " + std::to_string(bytes)),
      "0");
}

// The quantity in bytes by binary search over "EXPR <= k"; empty when even
// the largest bound fails (the type does not compile).
std::optional<long> search_bytes(TesselGen& tg, const NumericFact& fact) {
  if (!compiles_alone(tg, kTypePrelude, at_most_claim(fact, kLargest))) {
    return std::nullopt;
  }
  long low = 1;  // every value below `low` is ruled out
  long high = kLargest;
  while (low < high) {
    const long middle = low + (high - low) / 2;
    if (compiles_alone(tg, kTypePrelude, at_most_claim(fact, middle))) {
      high = middle;
    } else {
      low = middle + 1;
    }
  }
  return low;
}

// The facts of the "-s" and "-a" lines, plus one for each known scalar
// type that has no line of its kind.
std::vector<NumericFact> numeric_facts(const Personality& personality) {
  std::vector<NumericFact> facts;
  for (const char* kind : {"size", "alignment"}) {
    const bool size = std::string(kind) == "size";
    for (const char* name : kScalarNames) {
      NumericFact fact;
      fact.kind = kind;
      fact.name = name;
      const std::string type = scalar_spelling(name);
      fact.line = find_line(
          personality, size ? LineKind::kSize : LineKind::kAlignment, name);
      if (fact.line) {
        fact.written = numeric_value(personality.lines[*fact.line]);
      }
      if (size) {
        fact.expr = "sizeof(" + type + ")";
        fact.scale = 8;
      } else {
        fact.decl = "typedef struct { char c; " + type + " t; } tg_s_@;\n";
        fact.expr = "(sizeof(tg_s_@) - sizeof(" + type + "))";
      }
      facts.push_back(fact);
    }
  }
  return facts;
}

// The test text recorded for a fact whose value is `value`.
std::string test_text(const NumericFact& fact, long value) {
  if (fact.kind == "size") {
    return fact.expr + "*8 == " + std::to_string(value);
  }
  return "sizeof(struct {char c; " + scalar_spelling(fact.name) +
         " t;}) - sizeof(" + scalar_spelling(fact.name) +
         ") == " + std::to_string(value);
}

// Where added type lines go: after the last size, alignment or char sign
// line, or at the end.
std::size_t type_insert_point(const Personality& personality) {
  std::size_t at = personality.lines.size();
  for (std::size_t i = 0; i < personality.lines.size(); ++i) {
    const LineKind kind = personality.lines[i].kind;
    if (kind == LineKind::kSize || kind == LineKind::kAlignment ||
        kind == LineKind::kCharSign) {
      at = i + 1;
    }
  }
  return at;
}

// Settles one fact whose written claim did not hold (or that has no line).
FactResult settle(TesselGen& tg, const NumericFact& fact,
                  Personality* personality) {
  FactResult result;
  result.kind = fact.kind;
  result.name = fact.name;
  result.hadWritten = fact.line.has_value();
  result.written = fact.written ? std::to_string(*fact.written) : "";
  const std::optional<long> bytes = search_bytes(tg, fact);
  if (!bytes) {
    result.status = FactStatus::kUnchecked;
    result.hasNow = result.hadWritten;
    result.now = result.written;
    result.test = fact.expr + " does not compile";
    return result;
  }
  const long value = *bytes * fact.scale;
  PersonalityLine line = fact.kind == "size"
                             ? make_size_line(fact.name, value)
                             : make_alignment_line(fact.name, value);
  result.now = std::to_string(value);
  result.test = test_text(fact, value);
  if (fact.line) {
    personality->lines[*fact.line] = line;
    result.status = FactStatus::kCorrected;
  } else {
    personality->lines.insert(
        personality->lines.begin() + type_insert_point(*personality), line);
    result.status = FactStatus::kAdded;
  }
  return result;
}

}  // namespace

std::string scalar_spelling(const std::string& personalityName) {
  if (personalityName == "longlong") {
    return "long long";
  }
  if (personalityName == "ldouble") {
    return "long double";
  }
  if (personalityName == "dataptr") {
    return "int*";
  }
  if (personalityName == "codeptr") {
    return "tg_codeptr";
  }
  for (const char* name : kScalarNames) {
    if (personalityName == name) {
      return personalityName;
    }
  }
  return "";
}

// Checks every size and alignment: the written values in one batch, then a
// search for each value that did not hold and each missing line.
static std::vector<FactResult> check_numeric(TesselGen& tg,
                                             Personality* personality) {
  const std::vector<NumericFact> facts = numeric_facts(*personality);
  std::vector<std::string> claims;
  std::vector<std::size_t> claimed;
  for (std::size_t i = 0; i < facts.size(); ++i) {
    if (facts[i].written) {
      claims.push_back(
          equals_claim(facts[i], *facts[i].written, std::to_string(i)));
      claimed.push_back(i);
    }
  }
  const std::vector<bool> held = compile_claims(tg, kTypePrelude, claims);
  std::vector<bool> confirmed(facts.size(), false);
  for (std::size_t c = 0; c < claimed.size(); ++c) {
    confirmed[claimed[c]] = held[c];
  }
  std::vector<FactResult> results;
  for (std::size_t i = 0; i < facts.size(); ++i) {
    const NumericFact& fact = facts[i];
    if (confirmed[i]) {
      FactResult result;
      result.kind = fact.kind;
      result.name = fact.name;
      result.written = result.now = std::to_string(*fact.written);
      result.status = FactStatus::kConfirmed;
      result.test = test_text(fact, *fact.written);
      results.push_back(result);
      continue;
    }
    FactResult result = settle(tg, fact, personality);
    if (result.hadWritten || result.status == FactStatus::kAdded) {
      results.push_back(result);
    }
  }
  return results;
}

// Checks the "-u+"/"-u-" line of a C personality, or adds one.
static std::vector<FactResult> check_char_sign(TesselGen& tg,
                                               Personality* personality) {
  std::optional<std::size_t> at;
  for (std::size_t i = 0; i < personality->lines.size() && !at; ++i) {
    if (personality->lines[i].kind == LineKind::kCharSign) {
      at = i;
    }
  }
  if (!tg.isC && !at) {
    return {};
  }
  FactResult result;
  result.kind = "char-sign";
  result.name = "char";
  result.hadWritten = at.has_value();
  result.written = at ? personality->lines[*at].value : "";
  // The written sign first: when it holds, one compile settles the fact.
  const bool claimUnsigned = at && result.written == "+";
  const char* const claims[2] = {"(char)-1 < 0", "(char)-1 > 0"};
  std::optional<bool> isUnsignedFound;
  if (compiles_alone(tg, "", claim_typedef("tg_ok_0", claims[claimUnsigned]))) {
    isUnsignedFound = claimUnsigned;
  } else if (compiles_alone(tg, "",
                            claim_typedef("tg_ok_0", claims[!claimUnsigned]))) {
    isUnsignedFound = !claimUnsigned;
  }
  if (!isUnsignedFound) {
    result.status = FactStatus::kUnchecked;
    result.now = result.written;
    result.hasNow = result.hadWritten;
    result.test = "(char)-1 < 0 undecided";
    return {result};
  }
  const bool isUnsigned = *isUnsignedFound;
  result.now = isUnsigned ? "+" : "-";
  result.test = isUnsigned ? "(char)-1 > 0" : "(char)-1 < 0";
  if (at && result.written == result.now) {
    result.status = FactStatus::kConfirmed;
  } else if (at) {
    result.status = FactStatus::kCorrected;
    personality->lines[*at] = make_char_sign_line(isUnsigned);
  } else {
    result.status = FactStatus::kAdded;
    personality->lines.insert(
        personality->lines.begin() + type_insert_point(*personality),
        make_char_sign_line(isUnsigned));
  }
  return {result};
}

std::vector<FactResult> check_types(TesselGen& tg, Personality* personality) {
  std::vector<FactResult> results = check_numeric(tg, personality);
  for (const FactResult& result : check_char_sign(tg, personality)) {
    results.push_back(result);
  }
  for (const FactResult& result : check_intrinsic_types(tg, personality)) {
    results.push_back(result);
  }
  return results;
}
