#ifndef TESSEL_PROBES_CONTEXT_KEYWORDS_H_
#define TESSEL_PROBES_CONTEXT_KEYWORDS_H_

#include <ostream>

class TesselGen;

/// Decides the analyser's treatment of every extension keyword found and
/// writes the keyword lines to `personality`.
void ScanContextKeywords(TesselGen& tg, std::ostream& personality,
                         bool contextMode);

#endif  // TESSEL_PROBES_CONTEXT_KEYWORDS_H_
