#ifndef TESSEL_PROBES_TYPE_SIZES_H_
#define TESSEL_PROBES_TYPE_SIZES_H_

#include <ostream>
#include <string>

class TesselGen;

/// Fills `tg.scalarTypes` with the ten basic types, in the order the
/// personality lists them, with the kind, size and alignment that stand when
/// a type's tests fail: int, char, short, long, long long, float, double,
/// long double, int* ("dataptr") and zorv_fun ("codeptr").
void SetupBasicTypes(TesselGen& tg);

/// The scalar pass: sizes and alignments of the ten basic types written as
/// "-s <name>=<bits>" and "-a <name>=<align>" lines (skipped for a type whose
/// size came out as 0), the "-u+"/"-u-" line of plain char for C only, and
/// then the intrinsic type pass. Each type is measured by the procedures of
/// "probes/type_measure.h".
void RunScalarPass(TesselGen& tg, std::ostream& personality);

#endif  // TESSEL_PROBES_TYPE_SIZES_H_
