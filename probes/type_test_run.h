#ifndef TESSEL_PROBES_TYPE_TEST_RUN_H_
#define TESSEL_PROBES_TYPE_TEST_RUN_H_

#include <ostream>

class TesselGen;

/// The type stage: directory tests, the scalar pass (with the intrinsic type
/// pass) and the identifier length searches; writes their lines.
void RunTypeTests(TesselGen& tg, std::ostream& personality);

#endif  // TESSEL_PROBES_TYPE_TEST_RUN_H_
