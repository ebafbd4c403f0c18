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
};

/// Adds the identifiers and the name formats of one string of a compiler
/// file to `strings`; a name after "-D" counts as an identifier of its own. A
/// format is a run of letters, digits and "_" around one "%s", whose text
/// before begins with "__" and whose text after is at least three characters
/// long ("__%s_MAX__"; not "__%s_" or "__x%s").
void collect_string(std::string_view text, CompilerStrings* strings);

/// Reads the file at `path` as the header scan reads binary files and
/// collects each of its strings into `strings`.
void collect_file(const std::string& path, CompilerStrings* strings);

/// The names the formats make from the stems of `known` names: a known
/// name that a format's prefix begins and its suffix ends gives the text
/// between as a stem (from "__FLT16_MAX__" and "__%s_MAX__": "FLT16") when
/// it is capitals and digits beginning with a capital, and every format is
/// filled with every stem. Names already in `known` are
/// left out.
std::set<std::string> format_names(const std::set<NameFormat>& formats,
                                   const std::set<std::string>& known);

/// The names that joining the strings' heads (and "__") and tails around
/// the stems of `known` names makes: a known name made of a head, a stem
/// of capitals, digits and "_" beginning with a capital, and a tail (with
/// a "_" between stem and a tail that does not begin with one) gives the
/// stem; every head, stem and tail are joined. Names already in `known`
/// are left out.
std::set<std::string> fragment_names(const CompilerStrings& strings,
                                     const std::set<std::string>& known);

/// True for names whose value changes with each use or each run
/// ("__LINE__", "__FILE__", "__COUNTER__", "__DATE__", "__TIME__",
/// "__TIMESTAMP__", "__INCLUDE_LEVEL__", "__BASE_FILE__", "__FILE_NAME__"):
/// never written with a fixed value.
bool is_varying_macro(const std::string& name);

#endif  // TESSEL_VERIFY_MACRO_CANDIDATES_H_
