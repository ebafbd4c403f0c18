#ifndef TESSEL_PROBES_TYPE_TEST_RUN_H_
#define TESSEL_PROBES_TYPE_TEST_RUN_H_

#include <ostream>
#include <set>
#include <string>

class TesselGen;

/// The type stage as the driver runs it: prints "Conduct Vell Tests...",
/// runs every test file of "../c_tests" (C) or "../cpp_tests" (C++), then
/// the scalar pass (which ends with the intrinsic type pass) and, for C, the
/// external and internal identifier length searches; the test files' option
/// lines come last, sorted and without duplicates. A result that holds a
/// blank and no "-ex " is written in double quotes.
void RunTypeTests(TesselGen& tg, std::ostream& personality);

/// The test sources of the test directory `dir`: directory + "/" + name for
/// every entry whose name contains ".c" (C product) or ".cpp" (C++ product)
/// anywhere, in byte order. Empty when the directory cannot be opened.
/// The path reaches the compile command as it stands, so a path holding any
/// character other than letters, digits, "_", "-", ".", "/" and "+" is left
/// out, with a warning on `tg.err` and in the run log.
std::set<std::string> ListTestDirectory(TesselGen& tg, const std::string& dir);

/// One identifier length probe: compiles two external (`external`) or
/// local declarations whose names are `length` characters long and differ
/// only in the last one, under "tmp_id_e_test" or "tmp_id_i_test". True
/// when the compile failed (no object): the compiler keeps fewer
/// characters.
bool IdentifierLengthFails(TesselGen& tg, bool external, int length);

/// Finds how many characters of external (`external`) or internal
/// identifiers the compiler tells apart: 16384 when it manages that many,
/// otherwise a binary search down to 3. Writes "-xn <n>" or "-na <n>". For
/// the C++ product it does nothing at all.
void FindIdentifierLength(TesselGen& tg, std::ostream& personality,
                          bool external);

#endif  // TESSEL_PROBES_TYPE_TEST_RUN_H_
