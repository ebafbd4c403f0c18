#ifndef TESSEL_VERIFY_KEYWORD_CHECK_H_
#define TESSEL_VERIFY_KEYWORD_CHECK_H_

#include <string>
#include <vector>

#include "model/personality.h"
#include "verify/fact.h"

class TesselGen;

/// The names that `personality` treats as keywords, in file order without
/// repeats: the names of the define lines ("-d"/"-sd") that the keyword
/// stages write after the type lines (after the first "-s" line), leaving
/// out function-like macros, the analyser's own helper names ("kiv_...",
/// "_kiv_...", "_KIV_...") and the compiler's built-ins ("..builtin_..").
std::vector<std::string> keyword_names(const Personality& personality);

/// The test source text that uses `name` as an ordinary identifier
/// with an initialiser (`int NAME = 1;` at file scope): it fails for a
/// keyword, a qualifier or a type word as well, which `int NAME;` would
/// leave as a declaration that declares nothing (a mere warning).
std::string identifier_use(const std::string& name);

/// Checks that every keyword name fails where an ordinary identifier
/// compiles. The names are compiled in groups: a group that compiles shows
/// every member to be an ordinary identifier at once; a group that fails is
/// split in halves. A name that compiles loses its define lines (status
/// corrected, nothing now); one that fails is confirmed. Returns one result
/// per name.
std::vector<FactResult> check_keywords(TesselGen& tg, Personality* personality);

#endif  // TESSEL_VERIFY_KEYWORD_CHECK_H_
