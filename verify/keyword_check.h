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

/// The test source text that uses `name` as an ordinary identifier: a
/// file-scope variable with an initialiser, read by a function
/// (`int NAME = 1; int tg_u_NAME(void) { return NAME; }`). It fails for a
/// keyword: a qualifier or type word leaves the declaration without a
/// declarator (`int NAME;` alone would only warn), and a word like tcc's
/// `__asm`, accepted as a variable name, fails in the expression.
std::string identifier_use(const std::string& name);

/// The test source text that takes the address of `name` at file scope
/// (`int tg_d_NAME = sizeof(&NAME);`): it compiles only for a function or
/// object the compiler has declared, never for a keyword, a type name or an
/// unknown name.
std::string declared_name_use(const std::string& name);

/// Checks that every keyword name fails where an ordinary identifier
/// compiles, and that a name the stages erase (an empty replacement) is not
/// a function or object the compiler declares itself (`declared_name_use`
/// compiles), which clashes with a second declaration without being a
/// keyword. The names are compiled in groups: a group that compiles shows
/// every member to be an ordinary identifier at once; a group that fails is
/// split in halves. A name that compiles, or that the compiler declares,
/// loses its define lines (status corrected, nothing now); one that fails
/// is confirmed. Returns one result
/// per name.
std::vector<FactResult> check_keywords(TesselGen& tg, Personality* personality);

#endif  // TESSEL_VERIFY_KEYWORD_CHECK_H_
