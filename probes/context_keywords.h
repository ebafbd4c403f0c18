#ifndef TESSEL_PROBES_CONTEXT_KEYWORDS_H_
#define TESSEL_PROBES_CONTEXT_KEYWORDS_H_

#include <ostream>
#include <set>
#include <string>

class TesselGen;

/// What the context keyword tests decided for the keywords of one run.
struct ContextKeywordFindings {
  /// The personality lines, byte-ordered; a line decided twice is kept once.
  std::set<std::string> lines;
  /// The keywords that name types, for the keyword type pass.
  std::set<std::string> typeKeywords;
};

/// `keyword` without any of its leading and trailing "_" characters
/// (inner ones stay): "__inline__" gives "inline", "_a_b_" gives "a_b".
std::string trimmed(const std::string& keyword);

/// True when `keyword` begins or ends with "_" and its `trimmed` form is
/// one of `tg.languageKeywords`: an underscore-decorated spelling of a
/// standard keyword such as "__const". The trimmed form goes to
/// `*standard` (which may be null) when the result is true.
bool decoratedStandardKeyword(const TesselGen& tg, const std::string& keyword,
                              std::string* standard);

/// Tells whether `keyword`, written where C++ expects an access specifier,
/// acts as "public", "protected" or "private"; empty when it cannot stand
/// there at all.
std::string ClassifyAccessKeyword(TesselGen& tg, const std::string& keyword);

/// Decides the treatment of every keyword of `tg.extensionKeywordsFound` by
/// compiling the test directory of the product (the context test directory
/// when `contextMode` is set) with the macro "XXX" standing for the
/// keyword, and returns the lines and type keywords decided. Sets
/// `tg.writeDefaultForceInclude`, `tg.registerIdentifiers` and
/// `tg.ReviewLines` on the way; for C++ it first removes
/// `tg.ignoreReservedWords` from `tg.extensionKeywordsFound`. Lookups of
/// the replacement maps leave an empty entry behind for every key asked.
ContextKeywordFindings DecideContextKeywords(TesselGen& tg, bool contextMode);

/// The stage: decides the treatment of every extension keyword found
/// (`DecideContextKeywords`), writes the lines to `personality` in byte
/// order, then runs the keyword type pass on the type keywords.
void ScanContextKeywords(TesselGen& tg, std::ostream& personality,
                         bool contextMode);

#endif  // TESSEL_PROBES_CONTEXT_KEYWORDS_H_
