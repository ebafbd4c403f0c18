#include "probes/type_keywords.h"

#include "app/tessel_gen.h"

// Not built yet: the passes do nothing.
void RunIntrinsicTypePass(TesselGen& /*tg*/, std::ostream& /*personality*/) {}

void RunKeywordTypePass(TesselGen& /*tg*/,
                        const std::set<std::string>& /*keywords*/,
                        std::ostream& /*personality*/) {}
