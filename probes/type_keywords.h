#ifndef TESSEL_PROBES_TYPE_KEYWORDS_H_
#define TESSEL_PROBES_TYPE_KEYWORDS_H_

#include <ostream>
#include <set>
#include <string>

class TesselGen;

/// Tells the analyser which scalar type each of "size_t", "ptrdiff_t" and
/// "wchar_t" is, with "-it " lines. Run at the end of the scalar pass.
void RunIntrinsicTypePass(TesselGen& tg, std::ostream& personality);

/// Writes a define line per type keyword in `keywords` that maps it to the
/// matching scalar type (and "-ex longlong" for C when that type is
/// "long long").
void RunKeywordTypePass(TesselGen& tg, const std::set<std::string>& keywords,
                        std::ostream& personality);

#endif  // TESSEL_PROBES_TYPE_KEYWORDS_H_
