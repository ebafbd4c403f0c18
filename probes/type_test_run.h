#ifndef TESSEL_PROBES_TYPE_TEST_RUN_H_
#define TESSEL_PROBES_TYPE_TEST_RUN_H_

#include <ostream>
#include <set>
#include <string>

class TesselGen;

/// The type stage: directory tests, the scalar pass (with the intrinsic type
/// pass) and the identifier length searches; writes their lines.
void RunTypeTests(TesselGen& tg, std::ostream& personality);

/// The test sources of the test directory `dir`: directory + "/" + name for
/// every entry whose name contains ".c" (C product) or ".cpp" (C++ product)
/// anywhere, in byte order. Empty when the directory cannot be opened.
std::set<std::string> ListTestDirectory(const TesselGen& tg,
                                        const std::string& dir);

#endif  // TESSEL_PROBES_TYPE_TEST_RUN_H_
