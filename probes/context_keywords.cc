#include "probes/context_keywords.h"

#include "app/tessel_gen.h"

// Not built yet: the stage does nothing.
void ScanContextKeywords(TesselGen& /*tg*/, std::ostream& /*personality*/,
                         bool /*contextMode*/) {}
