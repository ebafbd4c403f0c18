#ifndef TESSEL_PROBES_INCLUDE_DIRS_H_
#define TESSEL_PROBES_INCLUDE_DIRS_H_

#include <ostream>
#include <string>

class TesselGen;

/// Finds which of the scanned header directories are on the compiler's own
/// include path and in which order it searches them; writes an "-i "/"-si "
/// and "-q " pair per directory to `personality`.
void FindIncludeDirs(TesselGen& tg, std::ostream& personality,
                     const std::string& personalityTestPath);

#endif  // TESSEL_PROBES_INCLUDE_DIRS_H_
