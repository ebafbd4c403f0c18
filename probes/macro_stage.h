#ifndef TESSEL_PROBES_MACRO_STAGE_H_
#define TESSEL_PROBES_MACRO_STAGE_H_

#include <ostream>

class TesselGen;

/// The macro stage: finds which candidates the compiler predefines
/// (`PredefinedMacros`, see "probes/macro_discovery.h"), then their values
/// (`FoundDefines`, see "probes/macro_values.h"), and writes the define
/// lines (the user's "-xd" entries first) to `personality`.
void FindPredefinedMacros(TesselGen& tg, std::ostream& personality);

#endif  // TESSEL_PROBES_MACRO_STAGE_H_
