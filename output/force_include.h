#ifndef TESSEL_OUTPUT_FORCE_INCLUDE_H_
#define TESSEL_OUTPUT_FORCE_INCLUDE_H_

#include <ostream>
#include <string>

class TesselGen;

/// Writes the force-include header into `directory` and the "-q "/"-fi "
/// personality lines.
void WriteForceInclude(TesselGen& tg, const std::string& directory,
                       const std::string& fileName, std::ostream& personality);

#endif  // TESSEL_OUTPUT_FORCE_INCLUDE_H_
