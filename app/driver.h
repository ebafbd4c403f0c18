#ifndef TESSEL_APP_DRIVER_H_
#define TESSEL_APP_DRIVER_H_

// The generation driver is `TesselGen::run` (app/tessel_gen.h). The paths
// it derives from the personality path live in their own unit so that the
// checks made before the run starts can use them too.
#include "app/output_paths.h"  // IWYU pragma: export

#endif  // TESSEL_APP_DRIVER_H_
