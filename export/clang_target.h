#ifndef TESSEL_EXPORT_CLANG_TARGET_H_
#define TESSEL_EXPORT_CLANG_TARGET_H_

#include <map>
#include <set>
#include <string>
#include <vector>

#include "export/export_facts.h"
#include "harness/shell.h"

/// One fact of a personality that a clang target can hold or not, as a
/// compile-time assertion.
struct TargetFact {
  /// The personality line the fact comes from ("-s int=16").
  std::string line;
  /// A constant expression that is true when the target holds the fact.
  std::string assertion;
};

/// What one candidate target made of the assertions.
struct TargetCheck {
  /// The target as given to "--target=".
  std::string target;
  /// False when clang could not compile for the target at all.
  bool usable = false;
  /// Indexes of the facts whose assertion failed.
  std::set<std::size_t> failed;
};

/// What clang itself does for one target.
struct TargetInfo {
  /// The macros clang predefines, name to value.
  std::map<std::string, std::string> predefined;
  /// The extension keywords clang already understands for the target.
  std::set<std::string> knownKeywords;
};

/// The installed clang, as the clang export asks it about targets. Tests
/// give a scripted one.
struct ClangTool {
  virtual ~ClangTool() = default;
  /// Compiles `source` once for each of `targets` (all at once) and says
  /// which assertions named "tessel-fact-N" failed for each.
  virtual std::vector<TargetCheck> CheckTargets(
      const std::vector<std::string>& targets, const std::string& source) = 0;
  /// Asks clang for the predefined macros of `target` and which of
  /// `keywords` it accepts without help. Returns false when clang cannot be
  /// run for the target.
  virtual bool DescribeTarget(const std::string& target,
                              const std::vector<std::string>& keywords,
                              TargetInfo* info) = 0;
};

/// The real clang, run through `shell` in a scratch directory that is
/// removed afterwards.
class InstalledClang : public ClangTool {
 public:
  /// Runs `clang` (a command name or path) through `shell`.
  InstalledClang(Shell& shell, std::string clang = "clang")
      : shell_(shell), clang_(std::move(clang)) {}
  /// See `ClangTool::CheckTargets`.
  std::vector<TargetCheck> CheckTargets(const std::vector<std::string>& targets,
                                        const std::string& source) override;
  /// See `ClangTool::DescribeTarget`.
  bool DescribeTarget(const std::string& target,
                      const std::vector<std::string>& keywords,
                      TargetInfo* info) override;

 private:
  Shell& shell_;
  std::string clang_;
};

/// The clang targets tried, most common first: each gives a different mix
/// of sizes, alignments and char sign.
const std::vector<std::string>& candidate_targets();

/// The facts of `facts` that a target can hold or not: sizes, alignments,
/// char sign and the sizes of size_t, ptrdiff_t and wchar_t.
std::vector<TargetFact> target_facts(const ExportFacts& facts);

/// A C file with one `_Static_assert` per fact, message "tessel-fact-N".
std::string target_check_source(const std::vector<TargetFact>& facts);

/// The C file that tells which of `keywords` clang knows: a typedef of
/// each keyword clang treats as an identifier, on line 3 * N + 2, so that
/// an error on that line means clang does not know keyword N.
std::string keyword_check_source(const std::vector<std::string>& keywords);

/// The chosen target: the usable check with the fewest failed facts, the
/// earlier candidate on a tie; `target` empty when none was usable.
TargetCheck choose_target(const std::vector<TargetCheck>& checks);

/// Parses "#define NAME VALUE" lines of clang's "-dM -E" output.
std::map<std::string, std::string> parse_predefined(const std::string& text);

/// The failed "tessel-fact-N" numbers in clang's error output.
std::set<std::size_t> failed_facts(const std::string& errors);

#endif  // TESSEL_EXPORT_CLANG_TARGET_H_
