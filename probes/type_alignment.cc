#include "probes/type_alignment.h"

#include "app/tessel_gen.h"

// Not built yet.
void FindAlignment(TesselGen& /*tg*/, TypeRecord& /*type*/) {}

std::string ClassifyAccessKeyword(TesselGen& /*tg*/,
                                  const std::string& /*keyword*/) {
  return std::string();
}
