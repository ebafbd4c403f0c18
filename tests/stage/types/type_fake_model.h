#ifndef TESSEL_TESTS_STAGE_TYPES_TYPE_FAKE_MODEL_H_
#define TESSEL_TESTS_STAGE_TYPES_TYPE_FAKE_MODEL_H_

#include <string>

#include "tests/support/test_support.h"

namespace tessel_test {

/// Rules for the fake compiler that make it behave like a compiler with a
/// table of types: the model of "tests/stage/types/type_model.rules" (read
/// it for what the model answers), then `table`, one `model_type NAME BYTES
/// ALIGN SIGNED KIND [DECL]` line per type. `settings` comes first: it may
/// set TOO_LARGE_BITS, TEXT_OBJECTS or NO_LL and define a bash function
/// `custom_rule` that is asked before the model and returns 0 when it has
/// handled the source. Every compiled source is appended to "sources.log",
/// each followed by a line "----".
inline std::string TypeModelRules(const std::string& table,
                                  const std::string& settings = "") {
  return settings + "\n" + SourceRules("stage/types/type_model.rules") + table +
         "\ntype_model_answer\n";
}

/// The types of a 64-bit compiler with 32-bit int, 16-byte x87 long double
/// and the library types in <stddef.h>; "wchar_t" is built in when
/// `wcharBuiltIn` (as in C++).
inline std::string Lp64Table(bool wcharBuiltIn = false) {
  return std::string(
             "model_type int 4 4 1 i\n"
             "model_type char 1 1 1 i\n"
             "model_type short 2 2 1 i\n"
             "model_type long 8 8 1 i\n"
             "model_type 'long long' 8 8 1 i\n"
             "model_type float 4 4 1 f\n"
             "model_type double 8 8 1 f\n"
             "model_type 'long double' 16 16 1 f\n"
             "model_type 'int*' 8 8 0 p\n"
             "model_type zorv_fun 8 8 0 p 'typedef void (*zorv_fun)'\n"
             "model_type size_t 8 8 0 i '#include <stddef.h>'\n"
             "model_type ptrdiff_t 8 8 1 i '#include <stddef.h>'\n") +
         (wcharBuiltIn ? "model_type wchar_t 4 4 1 i\n"
                       : "model_type wchar_t 4 4 1 i '#include <stddef.h>'\n");
}

}  // namespace tessel_test

#endif  // TESSEL_TESTS_STAGE_TYPES_TYPE_FAKE_MODEL_H_
