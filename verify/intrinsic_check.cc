#include "verify/intrinsic_check.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "app/tessel_gen.h"
#include "harness/compile_harness.h"
#include "verify/claim_batch.h"

namespace {

const char* const kIntrinsicNames[] = {"size_t", "ptrdiff_t", "wchar_t"};

// The scalar types an intrinsic type may be, in the order they are tried.
const char* const kCandidates[] = {
    "unsigned int",      "signed int",      "unsigned long",  "signed long",
    "unsigned longlong", "signed longlong", "unsigned short", "signed short",
    "unsigned char",     "signed char"};

// The snippet claiming that `name` is the scalar type `value`.
std::string same_type_claim(const std::string& name, const std::string& value,
                            std::size_t id) {
  const std::string pointer = "tg_p" + std::to_string(id);
  return "extern " + name + "* " + pointer + "; extern " +
         intrinsic_spelling(value) + "* " + pointer + ";\n";
}

// The test text recorded for `name` being `value`.
std::string test_text(const std::string& name, const std::string& value) {
  return "extern " + name + "* p; extern " + intrinsic_spelling(value) + "* p;";
}

// The scalar type that `name` is, tried one candidate at a time; empty
// when none is.
std::optional<std::string> find_scalar(TesselGen& tg, const std::string& name,
                                       const std::string& skip) {
  for (const char* candidate : kCandidates) {
    if (candidate != skip &&
        compiles_alone(tg, kIncludeStddef,
                       same_type_claim(name, candidate, 0))) {
      return std::string(candidate);
    }
  }
  return std::nullopt;
}

// Where an added "-it" line goes: after the last "-it" line, else after the
// last size or alignment line, else at the end.
std::size_t insert_point(const Personality& personality) {
  std::optional<std::size_t> afterType;
  std::optional<std::size_t> afterIntrinsic;
  for (std::size_t i = 0; i < personality.lines.size(); ++i) {
    const LineKind kind = personality.lines[i].kind;
    if (kind == LineKind::kIntrinsicType) {
      afterIntrinsic = i + 1;
    } else if (kind == LineKind::kSize || kind == LineKind::kAlignment ||
               kind == LineKind::kCharSign) {
      afterType = i + 1;
    }
  }
  return afterIntrinsic.value_or(afterType.value_or(personality.lines.size()));
}

// Settles one intrinsic type whose written line did not hold or is missing.
FactResult settle(TesselGen& tg, const std::string& name,
                  std::optional<std::size_t> at, Personality* personality) {
  FactResult result;
  result.kind = "intrinsic-type";
  result.name = name;
  result.hadWritten = at.has_value();
  result.written = at ? personality->lines[*at].value : "";
  if (!tg.isC && name == "wchar_t" &&
      compiles_alone(tg, "", "extern wchar_t tg_w;\n")) {
    // A type of the language itself: no scalar type stands for it.
    result.test = "wchar_t is a distinct type without a header";
    result.hasNow = false;
    result.status = at ? FactStatus::kCorrected : FactStatus::kConfirmed;
    if (at) {
      personality->lines.erase(personality->lines.begin() + *at);
    }
    return result;
  }
  const std::optional<std::string> scalar =
      find_scalar(tg, name, result.written);
  if (!scalar) {
    result.status = FactStatus::kUnchecked;
    result.now = result.written;
    result.hasNow = result.hadWritten;
    result.test = test_text(name, "*") + " matches no scalar type";
    return result;
  }
  result.now = *scalar;
  result.test = test_text(name, *scalar);
  const PersonalityLine line = make_intrinsic_type_line(name, *scalar);
  if (at) {
    personality->lines[*at] = line;
    result.status = FactStatus::kCorrected;
  } else {
    personality->lines.insert(
        personality->lines.begin() + insert_point(*personality), line);
    result.status = FactStatus::kAdded;
  }
  return result;
}

}  // namespace

std::string intrinsic_spelling(const std::string& value) {
  const std::string::size_type at = value.find("longlong");
  if (at == std::string::npos) {
    return value;
  }
  return value.substr(0, at) + "long long" + value.substr(at + 8);
}

std::vector<FactResult> check_intrinsic_types(TesselGen& tg,
                                              Personality* personality) {
  std::vector<std::string> claims;
  for (std::size_t i = 0; i < 3; ++i) {
    const std::optional<std::size_t> at =
        find_line(*personality, LineKind::kIntrinsicType, kIntrinsicNames[i]);
    claims.push_back(at ? same_type_claim(kIntrinsicNames[i],
                                          personality->lines[*at].value, i)
                        : std::string());
  }
  // Missing lines give empty snippets, which compile; they are settled
  // below whatever the batch says.
  const std::vector<bool> held = compile_claims(tg, kIncludeStddef, claims);
  std::vector<FactResult> results;
  for (std::size_t i = 0; i < 3; ++i) {
    const std::string name = kIntrinsicNames[i];
    const std::optional<std::size_t> at =
        find_line(*personality, LineKind::kIntrinsicType, name);
    if (at && held[i]) {
      FactResult result;
      result.kind = "intrinsic-type";
      result.name = name;
      result.written = result.now = personality->lines[*at].value;
      result.status = FactStatus::kConfirmed;
      result.test = test_text(name, result.now);
      results.push_back(result);
      continue;
    }
    FactResult result = settle(tg, name, at, personality);
    if (result.hadWritten || result.status == FactStatus::kAdded) {
      results.push_back(result);
    }
  }
  return results;
}
