#ifndef TESSEL_VERIFY_MACRO_TESTS_H_
#define TESSEL_VERIFY_MACRO_TESTS_H_

#include <map>
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

/// The indexes of `claims` whose claims fail. Claim i is a test source
/// piece that compiles only when its claim holds, and whose failure names
/// the marker id i + 1 (see `claim_source`). All are compiled in one file;
/// the claims the messages name fail, and the rest is compiled again (a
/// compiler may stop after some errors). A failing group whose messages
/// name no claim is split in halves.
std::vector<std::size_t> failing_claims(TesselGen& tg,
                                        const std::vector<std::string>& claims);

/// The numbers N of `marker` + N in the compiler's `output`, in order of
/// appearance ("tg_def_" for the definition search's "#error" lines).
std::vector<int> marker_ids(const std::string& output, const char* marker);

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

/// The expansions of many `names` at once, where the compiler allows:
/// "#line 1 M(yyy NAME zzz)" before an error line that names
/// "tg_u_N" makes the message begin with the expansion as the file name.
/// Names the messages answer map to their expansion (a function-like macro
/// to its own name); the others are missing from the result. A compiler
/// that stops after some errors is asked again for the rest.
std::map<std::string, std::string> line_values(
    TesselGen& tg, const std::vector<std::string>& names);

#endif  // TESSEL_VERIFY_MACRO_TESTS_H_
