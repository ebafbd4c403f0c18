#ifndef TESSEL_PROBES_TYPE_SIZES_H_
#define TESSEL_PROBES_TYPE_SIZES_H_

#include <string>

class TesselGen;

/// Fills `tg.scalarTypes` with the ten basic types and their defaults.
void SetupBasicTypes(TesselGen& tg);

#endif  // TESSEL_PROBES_TYPE_SIZES_H_
