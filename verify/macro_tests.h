#ifndef TESSEL_VERIFY_MACRO_TESTS_H_
#define TESSEL_VERIFY_MACRO_TESTS_H_

#include <optional>
#include <set>
#include <string>
#include <vector>

class TesselGen;

/// The base name of the macro checks' test files.
extern const char kMacroCheckBase[];  // "tmp_verify_macro"

/// Compiles `body` after a line that always compiles; true when the object
/// appeared and the messages do not name the missing header "ak12345".
bool claims_hold(TesselGen& tg, const std::string& body);

/// The indexes of `claims` (test source pieces, each of which compiles
/// only when its claim holds) whose claims fail: all of them are compiled
/// in one file, and only a failing group is split in halves.
std::vector<std::size_t> failing_claims(TesselGen& tg,
                                        const std::vector<std::string>& claims);

/// The lines that compile only when `name` is defined.
std::string defined_claim(const std::string& name);

/// The names of `candidates` that the compiler defines as macros. When it
/// prints the text of "#error" lines, one file of "#ifdef NAME" /
/// "#error tg_def_N NAME" blocks names them all (a compiler that stops
/// early is asked again from the last one named on); otherwise blocks that
/// include "ak12345" are tested in groups, splitting only groups that hit.
std::set<std::string> defined_macros(
    TesselGen& tg, const std::vector<std::string>& candidates);

/// The expansion of `name` as the compiler quotes it in the "file not
/// found" message for "#include M(yyy NAME zzz)"; empty when no message
/// quotes it with a value other than the name.
std::optional<std::string> message_value(TesselGen& tg,
                                         const std::string& name);

#endif  // TESSEL_VERIFY_MACRO_TESTS_H_
