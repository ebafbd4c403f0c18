#include "verify/identifier_check.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "app/tessel_gen.h"
#include "verify/claim_batch.h"

const long kLongestIdentifier = 16384;

// The shortest length searched: shorter names cannot hold the claim's
// own prefix.
static const long kShortest = 3;

std::string identifier_claim(bool external, long length, char id) {
  // "tg" + id + filler + last letter: `length` characters in all.
  const std::string same =
      std::string("t") + id +
      std::string(static_cast<std::size_t>(length - 3), 'x');
  const std::string pair = "int " + same + "a; long " + same + "b;";
  if (external) {
    return pair + "\n";
  }
  return std::string("void tg_f") + id + "(void) { " + pair + " }\n";
}

// True when names of `length` characters differing in the last are told
// apart.
static bool tells_apart(TesselGen& tg, bool external, long length) {
  return compiles_alone(tg, "", identifier_claim(external, length, 'a'));
}

// The longest length in [kShortest, kLongestIdentifier] that the compiler
// tells apart, by binary search between `known` (told apart, or 0 for
// none known) and `refused` (not told apart); empty when not even the
// shortest is.
static std::optional<long> search_length(TesselGen& tg, bool external,
                                         long known, long refused) {
  long low = known;     // told apart (0: none known yet)
  long high = refused;  // not told apart
  if (low == 0) {
    if (!tells_apart(tg, external, kShortest)) {
      return std::nullopt;
    }
    low = kShortest;
  }
  while (high - low > 1) {
    const long middle = low + (high - low) / 2;
    if (tells_apart(tg, external, middle)) {
      low = middle;
    } else {
      high = middle;
    }
  }
  return low;
}

// Checks one of the two lines (index `at`, or none) against the compiler.
static FactResult check_one(TesselGen& tg, bool external,
                            std::optional<std::size_t> at,
                            Personality* personality) {
  FactResult result;
  result.kind = "identifier-length";
  result.name = external ? "external" : "internal";
  result.hadWritten = at.has_value();
  std::optional<long> written;
  if (at) {
    written = numeric_value(personality->lines[*at]);
    result.written = personality->lines[*at].value;
  }
  std::optional<long> found;
  if (written && *written >= kShortest && *written <= kLongestIdentifier) {
    // A written length holds when it is told apart and the next is not;
    // a claim expected to fail cannot share a file, so these are two
    // compiles.
    const bool apart = tells_apart(tg, external, *written);
    const bool nextApart = apart && *written < kLongestIdentifier &&
                           tells_apart(tg, external, *written + 1);
    if (apart && !nextApart) {
      found = written;
    } else if (apart) {
      found =
          tells_apart(tg, external, kLongestIdentifier)
              ? kLongestIdentifier
              : search_length(tg, external, *written + 1, kLongestIdentifier);
    } else {
      found = search_length(tg, external, 0, *written);
    }
  } else {
    found = tells_apart(tg, external, kLongestIdentifier)
                ? std::optional<long>(kLongestIdentifier)
                : search_length(tg, external, 0, kLongestIdentifier);
  }
  const std::string shape = external ? "int N...a; long N...b; at file scope"
                                     : "int N...a; long N...b; in a function";
  if (!found) {
    result.status = FactStatus::kUnchecked;
    result.now = result.written;
    result.hasNow = result.hadWritten;
    result.test = shape + ": no length told apart";
    return result;
  }
  result.now = std::to_string(*found);
  result.test = shape + ", " + result.now + " characters told apart";
  if (written && *written == *found) {
    result.status = FactStatus::kConfirmed;
    return result;
  }
  const PersonalityLine line = make_id_length_line(external, *found);
  if (at) {
    result.status = FactStatus::kCorrected;
    personality->lines[*at] = line;
  } else {
    result.status = FactStatus::kAdded;
    personality->lines.push_back(line);
  }
  return result;
}

std::vector<FactResult> check_identifier_lengths(TesselGen& tg,
                                                 Personality* personality) {
  if (!tg.isC) {
    return {};
  }
  std::vector<FactResult> results;
  for (bool external : {true, false}) {
    const LineKind kind =
        external ? LineKind::kExternalIdLength : LineKind::kInternalIdLength;
    std::optional<std::size_t> at;
    for (std::size_t i = 0; i < personality->lines.size() && !at; ++i) {
      if (personality->lines[i].kind == kind) {
        at = i;
      }
    }
    results.push_back(check_one(tg, external, at, personality));
  }
  return results;
}
