#include "probes/macro_stage.h"

#include "probes/macro_discovery.h"
#include "probes/macro_values.h"

void FindPredefinedMacros(TesselGen& tg, std::ostream& personality) {
  DiscoverPredefinedMacros(tg);
  CalculateMacroValues(tg);
  WriteDefineLines(tg, personality);
}
