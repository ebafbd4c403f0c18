#ifndef TESSEL_APP_TESSEL_GEN_H_
#define TESSEL_APP_TESSEL_GEN_H_

#include <cstdint>
#include <functional>
#include <iostream>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "app/log/run_log.h"
#include "app/settings.h"
#include "harness/shell.h"

/// The version text shown by "-v" and written to the run log.
extern const char kTesselVersion[];

/// What the type tests learn about one type. The scalar table holds ten of
/// these; the intrinsic and keyword type passes build their own.
struct TypeRecord {
  /// The type as spelled in test sources ("long long", "int*").
  std::string name;
  /// 0 integer, 1 pointer, 2 floating.
  int kind = 0;
  /// Size in bits; 0 means "not learned" for records that start at 0.
  int bits = 0;
  /// Alignment in bytes.
  int align = 0;
  /// 1 when the type is unsigned.
  int isUnsigned = 0;
  /// The name used in personality lines ("longlong", "dataptr").
  std::string personalityName;
};

/// The one main object of a run: the settings, the run log, the progress
/// counters, the keyword lists and every stage's results. Stages are free
/// functions that take it by reference and read and write its members.
class TesselGen : public RunSettings {
 public:
  /// Builds the object from the eight positionals (product, cross word,
  /// compiler command, output flag, compile-only flag, define flag, object
  /// extension, order string), opens the run log with the prefix
  /// "TesselGen_" and logs the settings. `shell` runs every command and
  /// `clock` stamps the log; both must outlive the object.
  TesselGen(const std::string& product, const std::string& cross,
            const std::string& compiler, const std::string& exe,
            const std::string& obj, const std::string& def,
            const std::string& ext, const std::string& order, Shell& shell,
            MicrosClock clock = system_clock_micros);

  /// Runs the whole generation; returns the process exit status (0 after
  /// "Completed OK", 1 when the personality file cannot be opened or a
  /// file of the output cannot be written whole, 2 when the settings would
  /// overwrite one of the user's inputs; see findInputConflict).
  int run();

  /// Starts the console progress indicator for `items` items; 0 does
  /// nothing.
  void progressStart(uint32_t items);
  /// Counts one item and prints the new percentage when it grew.
  void progressStep();
  /// Ends the indicator with "~" and a newline.
  void progressEnd();

  // ---- run control -------------------------------------------------------
  /// The run log, open from construction to destruction.
  RunLog log;
  /// Items expected by the progress indicator; 0 when it is idle.
  uint32_t progressTotal = 0;
  /// Items finished so far.
  uint32_t progressDone = 0;
  /// The last percentage shown.
  uint32_t progressPercent = 0;
  /// "-d " for the C analyser, "-sd " for the C++ analyser.
  std::string DefinePrefix;
  /// Set by the context keyword tests when a force-include header is needed.
  bool writeDefaultForceInclude = false;
  /// Console output (standard output in a real run).
  std::ostream* out = &std::cout;
  /// Console error output (standard error in a real run).
  std::ostream* err = &std::cerr;
  /// Runs every command of the run (compile script, programs, clean-up).
  Shell* shell;
  /// Called by the driver with a stage's name just before the stage runs,
  /// and with "end" when the last one has finished; benchmarks use it to
  /// time stages. Empty in a normal run.
  std::function<void(const std::string&)> stageStarted;

  // ---- type probing ------------------------------------------------------
  /// The scalar type table, filled by the basic type table set-up.
  std::vector<TypeRecord> scalarTypes;

  // ---- keyword configuration --------------------------------------------
  /// Identifiers the header scan never collects.
  std::set<std::string> ignoreKeywords;
  /// Reserved words that the C++ context keyword tests never test.
  std::set<std::string> ignoreReservedWords;
  /// The standard keywords of the product's language.
  std::set<std::string> languageKeywords;
  /// Keyword to replacement text, for the product's language.
  std::map<std::string, std::string> replaceKeywords;
  /// Known extension keywords of the analyser, keyword to treatment.
  std::map<std::string, std::string> extensionKeywords;
  /// Compiler built-ins to their replacement ("NAME=REPLACEMENT").
  std::map<std::string, std::string> builtinReplaceKeywords;

  // ---- header scan -------------------------------------------------------
  /// Full path of every file found by the directory walk, in walk order.
  std::vector<std::string> headerFiles;
  /// Directory to the header names found under it.
  std::map<std::string, std::set<std::string>> HeaderInventory;
  /// Identifiers met in the headers: the candidate keywords and macros.
  std::set<std::string> candidateKeywords;
  /// The scan mutex, one for the whole process. While the header scan's
  /// tasks run it guards the progress indicator (`progressTotal`,
  /// `progressDone`, `progressPercent` and the console they print on), the
  /// run log `log` and `candidateKeywords`.
  inline static std::mutex scanMutex;

  // ---- include directories -----------------------------------------------
  /// The compiler's implicit header directories in search order.
  std::vector<std::string> ImplicitIncludeDirs;
  /// Normalised compiler output for a header that does not exist.
  std::string FileNotFoundText;
  /// True until `FileNotFoundText` has been computed.
  bool fileNotFoundPending = true;

  // ---- macros ------------------------------------------------------------
  /// Names the compiler predefines as macros, byte-ordered.
  std::vector<std::string> PredefinedMacros;
  /// Define texts ("NAME=VALUE", quoted when the value holds a blank).
  std::set<std::string> FoundDefines;

  // ---- keywords ----------------------------------------------------------
  /// Candidates that the compiler treats as keywords.
  std::set<std::string> extensionKeywordsFound;
  /// True when the C++ compiler failed the class and namespace test.
  bool limitedCppSupport = false;
  /// Identifiers to declare in the force-include header.
  std::set<std::string> registerIdentifiers;
  /// Personality lines flagged for the user to review.
  std::vector<std::string> ReviewLines;
};

#endif  // TESSEL_APP_TESSEL_GEN_H_
