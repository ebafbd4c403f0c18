#ifndef TESSEL_PROBES_TYPE_ALIGNMENT_H_
#define TESSEL_PROBES_TYPE_ALIGNMENT_H_

#include <string>

class TesselGen;
struct TypeRecord;

/// Learns the alignment in bytes of `type` and stores it in `type.align`.
void FindAlignment(TesselGen& tg, TypeRecord& type);

/// Tells whether `keyword`, written where C++ expects an access specifier,
/// acts as "public", "protected" or "private"; empty when it cannot stand
/// there at all.
std::string ClassifyAccessKeyword(TesselGen& tg, const std::string& keyword);

#endif  // TESSEL_PROBES_TYPE_ALIGNMENT_H_
