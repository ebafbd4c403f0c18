#include "probes/type_sizes.h"

#include "app/tessel_gen.h"

// Not built yet: the stage does nothing.
void SetupBasicTypes(TesselGen& /*tg*/) {}
