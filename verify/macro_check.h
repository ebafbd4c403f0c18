#ifndef TESSEL_VERIFY_MACRO_CHECK_H_
#define TESSEL_VERIFY_MACRO_CHECK_H_

#include <string>
#include <vector>

#include "model/personality.h"
#include "verify/fact.h"

class TesselGen;

/// Checks the defines that the macro stage wrote (those of
/// `tg.FoundDefines`; the user's "-xd" lines and the keyword stages' lines
/// are left alone): each must be defined with the written value. Then
/// looks for macros the compiler predefines that no line names, taking
/// candidate names from the compiler's own files and the header scan, and
/// adds them with their values. The macro stage's block of `personality`
/// is rewritten in place, in the order the stage writes it; names whose
/// value changes with each use are removed. Returns one fact per macro.
std::vector<FactResult> check_macros(TesselGen& tg, Personality* personality);

/// How a written value is checked in a batch.
enum class ValueShape {
  kEmpty,    ///< no text: "(1 NAME + 1) == 2" in "#if"
  kInteger,  ///< an integer expression: "(NAME) == (VALUE)" in "#if"
  kFloat,    ///< a floating constant: compared in an array size
  kType,     ///< type keywords: two declarations of one object
  kOther,    ///< strings and the rest: the value is read from a message
};

/// The shape of `value`, a define's value as written.
ValueShape value_shape(const std::string& value);

/// The source lines that compile only when NAME is defined and expands to
/// `value` of `shape` (for `kOther`: only when it is defined). Each way of
/// failing names `id` in the compiler's message: "#error tg_bad_ID", or the
/// declared names "tg_ok_ID" and "tg_v_ID".
std::string claim_source(const std::string& name, const std::string& value,
                         ValueShape shape, int id);

#endif  // TESSEL_VERIFY_MACRO_CHECK_H_
