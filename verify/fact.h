#ifndef TESSEL_VERIFY_FACT_H_
#define TESSEL_VERIFY_FACT_H_

#include <string>
#include <vector>

/// What the check stage concluded about one fact of the personality.
enum class FactStatus {
  kConfirmed,  ///< the compiler agrees with the line the stages wrote
  kCorrected,  ///< the compiler contradicts it: the line was changed or
               ///< removed (then `now` is empty)
  kAdded,      ///< the stages wrote no line; the compiler showed the fact
  kUnchecked,  ///< no test could decide; the line is kept as written
};

/// One checked fact, as the console report, the run log and the JSON
/// report ("<personality>.verify.json") show it.
///
/// The JSON report is one object:
///   {"format": "tesselgen-verify", "version": 1,
///    "personality": "<path of the personality>",
///    "checked": true,            (false when calibration failed)
///    "reason": "...",            (only when "checked" is false)
///    "facts": [{"kind": ..., "name": ..., "written": ..., "now": ...,
///               "status": "confirmed|corrected|added|unchecked",
///               "test": ...}, ...]}
/// with `written`/`now` null where there was / is no line.
struct FactResult {
  /// "include" (a header directory; `written`/`now` are its 1-based place
  /// in the search order), "define", "size", "alignment", "char-sign",
  /// "intrinsic-type", "identifier-length" or "keyword".
  std::string kind;
  /// The directory, macro, type ("int", "ldouble", "size_t"), "external" /
  /// "internal" for identifier lengths, or the keyword; "char" for the sign.
  std::string name;
  /// The value the stages wrote; meaningful when `hadWritten` is true.
  std::string written;
  /// The value now in the personality; meaningful when `hasNow` is true.
  std::string now;
  /// False when the stages wrote no line for the fact (status `kAdded`).
  bool hadWritten = true;
  /// False when the fact's line was removed.
  bool hasNow = true;
  /// What was concluded.
  FactStatus status = FactStatus::kUnchecked;
  /// The shape of the test that decided, e.g. "sizeof(long double) == 16"
  /// or "#include <stdint.h> after int x[: first copy named".
  std::string test;
};

/// The lowercase word for `status` used in reports ("confirmed", ...).
const char* fact_status_name(FactStatus status);

#endif  // TESSEL_VERIFY_FACT_H_
