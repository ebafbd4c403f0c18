#include "output/subtree_import.h"

#include "app/tessel_gen.h"

// Not built yet: the stage does nothing.
void CopySubPersonality(const std::string& /*source*/, const std::string& /*parent*/,
                        std::ostream& /*personality*/) {}
