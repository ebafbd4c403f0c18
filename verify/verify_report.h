#ifndef TESSEL_VERIFY_VERIFY_REPORT_H_
#define TESSEL_VERIFY_VERIFY_REPORT_H_

#include <string>
#include <vector>

#include "verify/fact.h"

/// The kinds of fact in the order the console table lists them.
extern const char* const kFactKinds[];
/// How many entries `kFactKinds` has.
extern const int kFactKindCount;

/// The personality line that states `fact`'s written value (`now` false)
/// or its present value (`now` true), as the console shows corrections:
/// "-s ldouble=128", "-it "wchar_t=signed int"", "-xn 63", "-u-";
/// "(none)" when there is no such line. `isC` picks "-d"/"-sd" and
/// "-i"/"-si".
std::string fact_line(const FactResult& fact, bool now, bool isC);

/// The console report: a table with one row per kind of fact that occurs
/// in `facts` (confirmed, corrected, added and unchecked counts), then
/// each correction as "old line -> new line", one a line.
std::string verify_table(const std::vector<FactResult>& facts, bool isC);

/// The JSON report of a check of the personality at `path`: the object
/// described beside `FactResult`. `checked` false writes `reason` and no
/// facts.
std::string verify_json(const std::string& path, bool checked,
                        const std::string& reason,
                        const std::vector<FactResult>& facts);

#endif  // TESSEL_VERIFY_VERIFY_REPORT_H_
