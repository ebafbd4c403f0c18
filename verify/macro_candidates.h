#ifndef TESSEL_VERIFY_MACRO_CANDIDATES_H_
#define TESSEL_VERIFY_MACRO_CANDIDATES_H_

#include <set>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

/// A name pattern found in a compiler's strings, such as "__%s_MAX__":
/// the text before and after the "%s".
struct NameFormat {
  /// The text before "%s"; begins with "__".
  std::string prefix;
  /// The text after "%s"; at least three characters.
  std::string suffix;
  /// Ordered so that formats can be kept in a set.
  bool operator<(const NameFormat& other) const {
    return std::tie(prefix, suffix) < std::tie(other.prefix, other.suffix);
  }
};

/// What the strings of the compiler's files offer as macro names.
struct CompilerStrings {
  /// Every identifier of the strings.
  std::set<std::string> identifiers;
  /// The reserved-name formats among them.
  std::set<NameFormat> formats;
  /// Strings that begin a reserved name and end in "_" ("__CLANG_ATOMIC_").
  std::set<std::string> heads;
  /// Strings that end one: ending in "__" or beginning with one "_"
  /// ("FMTd__", "_LOCK_FREE").
  std::set<std::string> tails;
  /// Runs of three to 32 stems that stand next to each other in a file
  /// ("UQQ", "UHQ", "USQ"): a table of the type or mode names a compiler
  /// fills its name formats with.
  std::vector<std::vector<std::string>> stem_runs;
  /// The run the strings collected last belong to, until a string that is
  /// no stem (or `end_strings`) closes it.
  std::vector<std::string> open_run;
};

/// Adds the identifiers and the name formats of one string of a compiler
/// file to `strings`; a name after "-D" counts as an identifier of its own. A
/// format is a run of letters, digits and "_" around one "%s", whose text
/// before begins with "__" and whose text after is at least three characters
/// long ("__%s_MAX__"; not "__%s_" or "__x%s").
/// A string that is a stem of two or more characters (capitals and digits,
/// beginning with a capital) joins the open run of stems; any other string
/// closes it.
void collect_string(std::string_view text, CompilerStrings* strings);

/// Closes the open run of stems at the end of a file.
void end_strings(CompilerStrings* strings);

/// Reads the file at `path` as the header scan reads binary files and
/// collects each of its strings into `strings`.
void collect_file(const std::string& path, CompilerStrings* strings);

/// The names the formats make from the stems of `known` names: a known
/// name that a format's prefix begins and its suffix ends gives the text
/// between as a stem (from "__FLT16_MAX__" and "__%s_MAX__": "FLT16") when
/// it is capitals and digits beginning with a capital, and every format is
/// filled with every stem. A run of `stem_runs` that holds a stem so found
/// gives all its members as stems too, and a member of three characters
/// also its last two ("QQ" of "UQQ": a linker keeps a string that ends
/// another inside it). Names already in `known` are left out.
std::set<std::string> format_names(
    const std::set<NameFormat>& formats, const std::set<std::string>& known,
    const std::vector<std::vector<std::string>>& stem_runs = {});

/// The names that joining the strings' heads (and "__") and tails around
/// the stems of `known` names makes: a known name made of a head, a stem
/// of capitals, digits and "_" beginning with a capital, and a tail (with
/// a "_" between stem and a tail that does not begin with one) gives the
/// stem; every head, stem and tail are joined. A tail ending in "_FMT"
/// names a printf format and is joined as the compiler completes it: with
/// each integer conversion letter ("diouxX") and "__" ("_FMTd__"). Names
/// already in `known` are left out.
std::set<std::string> fragment_names(const CompilerStrings& strings,
                                     const std::set<std::string>& known);

/// True for names whose value changes with each use or each run
/// ("__LINE__", "__FILE__", "__COUNTER__", "__DATE__", "__TIME__",
/// "__TIMESTAMP__", "__INCLUDE_LEVEL__", "__BASE_FILE__", "__FILE_NAME__"):
/// never written with a fixed value.
bool is_varying_macro(const std::string& name);

#endif  // TESSEL_VERIFY_MACRO_CANDIDATES_H_
