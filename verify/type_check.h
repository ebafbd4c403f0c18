#ifndef TESSEL_VERIFY_TYPE_CHECK_H_
#define TESSEL_VERIFY_TYPE_CHECK_H_

#include <string>
#include <vector>

#include "model/personality.h"
#include "verify/fact.h"

class TesselGen;

/// Checks the type facts of `personality` with compile-time claims and
/// corrects it in place: the size in bits ("-s") and alignment in bytes
/// ("-a") of each scalar type (int, char, short, long, longlong, float,
/// double, ldouble, dataptr, codeptr), the sign of plain char ("-u+"/"-u-",
/// C only), and the scalar type of size_t, ptrdiff_t and wchar_t ("-it").
/// A size is the type's whole storage (sizeof times 8); an alignment is
/// sizeof(struct {char c; T t;}) - sizeof(T), so alignments above 8 are
/// seen. A wrong value is replaced by the compiler's, a missing line is
/// added when the compiler knows the type, and a type the compiler rejects
/// leaves its lines unchecked. Returns one result per fact.
std::vector<FactResult> check_types(TesselGen& tg, Personality* personality);

/// The spelling in a test source of the scalar type that personality lines
/// call `personalityName` ("longlong" is "long long", "dataptr" "int*",
/// "codeptr" the function pointer type "tg_codeptr" that the type checks
/// declare first); empty for a name that is not a scalar type.
std::string scalar_spelling(const std::string& personalityName);

/// The spelling of the scalar type of an "-it" line's value ("unsigned
/// longlong" is "unsigned long long").
std::string intrinsic_spelling(const std::string& value);

#endif  // TESSEL_VERIFY_TYPE_CHECK_H_
