#ifndef TESSEL_PROBES_EXTENSION_KEYWORDS_H_
#define TESSEL_PROBES_EXTENSION_KEYWORDS_H_

#include <string>

class TesselGen;

/// Finds which candidates the compiler treats as keywords.
void ScanExtensionKeywords(TesselGen& tg);

#endif  // TESSEL_PROBES_EXTENSION_KEYWORDS_H_
