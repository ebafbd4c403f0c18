#ifndef TESSEL_PROBES_KEYWORD_LISTS_H_
#define TESSEL_PROBES_KEYWORD_LISTS_H_

#include <string>

class TesselGen;

/// Loads the six keyword configuration files from "config" in the run's
/// fixed order.
void LoadKeywordConfiguration(TesselGen& tg);

#endif  // TESSEL_PROBES_KEYWORD_LISTS_H_
