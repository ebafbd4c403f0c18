#include "probes/extension_keywords.h"

#include "app/tessel_gen.h"

// Not built yet: the stage does nothing.
void ScanExtensionKeywords(TesselGen& /*tg*/) {}
