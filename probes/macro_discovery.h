#ifndef TESSEL_PROBES_MACRO_DISCOVERY_H_
#define TESSEL_PROBES_MACRO_DISCOVERY_H_

#include <ostream>

class TesselGen;

/// The macro stage: finds which candidates the compiler predefines, then
/// their values, and writes the define lines to `personality`.
void FindPredefinedMacros(TesselGen& tg, std::ostream& personality);

#endif  // TESSEL_PROBES_MACRO_DISCOVERY_H_
