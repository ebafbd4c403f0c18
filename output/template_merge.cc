#include "output/template_merge.h"

#include "app/tessel_gen.h"

// Not built yet: the stage does nothing.
void MergeTemplate(TesselGen& /*tg*/, const std::string& /*personalityPath*/) {}
