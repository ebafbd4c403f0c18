#ifndef TESSEL_VERIFY_IDENTIFIER_CHECK_H_
#define TESSEL_VERIFY_IDENTIFIER_CHECK_H_

#include <string>
#include <vector>

#include "model/personality.h"
#include "verify/fact.h"

class TesselGen;

/// The longest identifier length the stages write: a compiler that tells
/// apart names this long is taken to have no limit.
extern const long kLongestIdentifier;  // 16384

/// The test source text claiming that the compiler tells apart two names
/// of `length` characters that differ only in the last one: the names are
/// defined with different types (`int tg...a; long tg...b;`), so names the
/// compiler mixes up collide and the file fails. External names are
/// defined at file scope, internal ones in a function body. `id` (a letter)
/// keeps the names of claims in one file apart.
std::string identifier_claim(bool external, long length, char id);

/// Checks the "-xn" and "-na" lines of a C personality: a written length N
/// holds when names differing in character N are told apart and names
/// differing only in character N + 1 are not (or N is the longest length
/// written). A wrong length is replaced by the exact length the compiler
/// tells apart, found by binary search; a missing line is added. Does
/// nothing for C++. Returns one result per fact.
std::vector<FactResult> check_identifier_lengths(TesselGen& tg,
                                                 Personality* personality);

#endif  // TESSEL_VERIFY_IDENTIFIER_CHECK_H_
