#include "output/force_include.h"

#include "app/tessel_gen.h"

// Not built yet: the stage does nothing.
void WriteForceInclude(TesselGen& /*tg*/, const std::string& /*directory*/,
                       const std::string& /*fileName*/, std::ostream& /*personality*/) {}
