#ifndef TESSEL_EXPORT_EXPORT_FACTS_H_
#define TESSEL_EXPORT_EXPORT_FACTS_H_

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "model/personality.h"

/// How an extension keyword line tells the analyser to treat the keyword.
enum class KeywordTreatment {
  kKeyword,          ///< replaced by a standard keyword ("__inline=inline")
  kRemove,           ///< removed ("__extension__=")
  kRemoveParen,      ///< removed with its parenthesised argument
  kType,             ///< a type keyword, replaced by a scalar type
  kText,             ///< replaced by other text ("__builtin_va_list=char*")
  kAnalyserOnly,     ///< a helper of the analyser itself ("kiv_ignore_paren")
  kAnalyserKeyword,  ///< replaced by one of the analyser's own extension
                     ///< keywords that a "-ex" line switches on
                     ///< ("__xdata=xdata" with "-ex xdata")
  kAnalyserKeywordParen,  ///< the same, for an analyser keyword that takes
                          ///< a parenthesised argument ("__at=at")
  kReview,  ///< fitted no rule: written unquoted as "NAME=" and listed for
            ///< review at the end of the run
};

/// One "-d"/"-sd" line, read as a macro or as a keyword treatment.
struct DefineFact {
  /// The macro or keyword, with any parameter list.
  std::string name;
  /// The value as written in the personality.
  std::string value;
  /// False for "-d NAME" without "=".
  bool hasValue = false;
  /// True when the run log lists the define among the user's "-xd" ones.
  bool userGiven = false;
  /// For keywords only: how the analyser treats it.
  KeywordTreatment treatment = KeywordTreatment::kText;
};

/// The settings a run echoes at the top of its run log.
struct LoggedSettings {
  /// The run log's path.
  std::string logPath;
  /// The tool version the log names ("TesselPersonGen v...").
  std::string version;
  /// "vellc" or "vellcpp"; empty when the log does not say.
  std::string product;
  /// True for a cross compiler run.
  bool cross = false;
  /// The eight positionals after product and cross, by label.
  std::string compiler, exeFlag, compileFlag, defineFlag, objectExtension,
      orderString;
  /// The "-i", "-xd" and "-xs" values, in order.
  std::vector<std::string> includeOptions, userDefines, switches;
};

/// Every fact of a personality, grouped by kind, as the exporters use them.
struct ExportFacts {
  /// The personality's path as given.
  std::string personalityPath;
  /// True for a C personality ("-d"/"-i"), false for C++ ("-sd"/"-si").
  bool isC = true;
  /// "-i"/"-si" directories in search order (each once).
  std::vector<std::string> includeDirs;
  /// "-q" directories in file order.
  std::vector<std::string> systemIncludeDirs;
  /// Defines before the first type line: the compiler's macros.
  std::vector<DefineFact> macros;
  /// Defines after it: extension keywords and their treatment.
  std::vector<DefineFact> keywords;
  /// "-s TYPE=BITS" in file order.
  std::vector<std::pair<std::string, long>> sizes;
  /// "-a TYPE=BYTES" in file order.
  std::vector<std::pair<std::string, long>> alignments;
  /// True when plain char is unsigned ("-u+"); empty without a sign line.
  std::optional<bool> charUnsigned;
  /// "-it NAME=SCALAR" in file order.
  std::vector<std::pair<std::string, std::string>> intrinsicTypes;
  /// "-xn" and "-na" values.
  std::optional<long> externalIdLength, internalIdLength;
  /// "-ex" names in file order.
  std::vector<std::string> extensions;
  /// The "-fi" path as written, and the file found for it (empty when none).
  std::optional<std::string> forceInclude;
  std::string forceIncludeFound;
  /// Lines of no known kind that are not empty.
  std::vector<std::string> otherLines;
  /// The settings of the run, when its log was found.
  std::optional<LoggedSettings> settings;
  /// The text of "<personality>.verify.json", when present.
  std::optional<std::string> verification;
};

/// The treatment a keyword line with `value` asks for.
KeywordTreatment keyword_treatment(const std::string& value);

/// The word used for `treatment` in exports: "keyword", "remove",
/// "remove-with-argument", "type", "text" or "analyser".
const char* keyword_treatment_name(KeywordTreatment treatment);

/// Groups the lines of `personality` (read from `path`) into facts. Fills
/// only what the personality itself holds: `settings`, `verification` and
/// `forceIncludeFound` are left for `load_export_facts`.
ExportFacts collect_facts(const Personality& personality,
                          const std::string& path);

/// Parses the settings echo at the top of a run log's `text`; empty when
/// the text holds none.
std::optional<LoggedSettings> parse_run_settings(const std::string& text);

/// Reads the personality at `path` and everything beside it: the newest run
/// log "TesselGen_*.log" of the run's working directory (the parent of the
/// personality's directory, else its own directory), the force-include
/// header and "<path>.verify.json". Returns false with `err` as the model
/// gives it ("PATH:N: reason") when the personality cannot be read.
[[nodiscard]] bool load_export_facts(const std::string& path,
                                     ExportFacts* facts, std::string* err);

/// The size in bits of a personality type name ("int", "ldouble",
/// "dataptr") or of a scalar type as "-it" lines write it ("unsigned
/// long"); empty when the personality does not give it.
std::optional<long> size_in_bits(const ExportFacts& facts,
                                 const std::string& type);

#endif  // TESSEL_EXPORT_EXPORT_FACTS_H_
