#ifndef TESSEL_VERIFY_INTRINSIC_CHECK_H_
#define TESSEL_VERIFY_INTRINSIC_CHECK_H_

#include <string>
#include <vector>

#include "model/personality.h"
#include "verify/fact.h"

class TesselGen;

/// Checks the "-it" lines of size_t, ptrdiff_t and wchar_t. Each claim is a
/// pointer redeclaration after "#include <stddef.h>":
/// `extern size_t* tg_p; extern unsigned long* tg_p;` compiles only when
/// both name the same type, so the exact scalar type and its signedness are
/// seen, not just the size. A wrong line is replaced by the type that
/// compiles, a missing one is added. In C++, where wchar_t is a type of its
/// own that no scalar type matches, the stages write no line for it; a line
/// that claims otherwise is removed. Returns one result per fact.
std::vector<FactResult> check_intrinsic_types(TesselGen& tg,
                                              Personality* personality);

/// The source spelling of an "-it" value: "unsigned longlong" is
/// "unsigned long long"; other values are spelled as written.
std::string intrinsic_spelling(const std::string& value);

#endif  // TESSEL_VERIFY_INTRINSIC_CHECK_H_
