#ifndef TESSEL_VERIFY_INCLUDE_CHECK_H_
#define TESSEL_VERIFY_INCLUDE_CHECK_H_

#include <map>
#include <set>
#include <string>
#include <vector>

#include "model/personality.h"
#include "verify/fact.h"

class TesselGen;

/// Checks the header directories of `personality` ("-i"/"-si" lines with
/// their "-q" partners) against the compiler's own messages: a directory
/// from which the compiler cannot include one of its headers is dropped,
/// and the directories are put in the order in which the compiler takes
/// the copies of headers they share. A directory of the user's ("-i") with
/// headers that no line names is added when the compiler takes a header
/// from it. Returns one fact per written or added directory; the include
/// section of `personality` is rewritten in place (first in the file when
/// it had none).
std::vector<FactResult> check_include_dirs(TesselGen& tg,
                                           Personality* personality);

/// The path of the file that the include on line 2 of `testFile` brought
/// in, read from the compiler's `output` after an "int x[" error inside
/// it: the file next to the test file in the include chain, whether the
/// chain is printed innermost first ("from inctest.c:2:" last) or
/// outermost first ("In file included from inctest.c:2:" first). Without
/// a chain, the file of the first error message. Empty when none is named.
std::string first_included_file(const std::string& output,
                                const std::string& testFile);

/// `path` with doubled "/" collapsed and "." and ".." components resolved
/// by text alone.
std::string lexical_path(const std::string& path);

/// One finding of an order test: `first` holds the copy of a header the
/// compiler took, ahead of each directory of `others` holding the same.
struct OrderEvidence {
  /// The directory whose copy was taken.
  std::string first;
  /// The other directories holding the header.
  std::set<std::string> others;
};

/// `written` reordered so that every evidence's `first` comes before its
/// `others`. Where no evidence decides, the directory of lowest `rank`
/// (0 when not given) that nothing must precede comes next, the earliest
/// written among equals. Contradictory evidence is resolved in written
/// order. When `ranked` is given, the directories that were ready
/// together (whose order no evidence decides) are added to it.
std::vector<std::string> combine_search_order(
    const std::vector<std::string>& written,
    const std::vector<OrderEvidence>& evidence,
    const std::map<std::string, int>& rank = {},
    std::set<std::string>* ranked = nullptr);

#endif  // TESSEL_VERIFY_INCLUDE_CHECK_H_
