#ifndef TESSEL_APP_SETTINGS_H_
#define TESSEL_APP_SETTINGS_H_

#include <list>
#include <set>
#include <string>

/// The settings of one run, read from the command line and read-only once
/// the option walk has ended. Field order is the order of declaration that
/// the rest of the tool relies on.
struct RunSettings {
  /// True when positional 1 is exactly "vellc" (the C analyser); any other
  /// word selects the C++ analyser.
  bool isC = false;
  /// True when positional 2 is exactly "ccmp", or once the host check found
  /// that test programs cannot run here. Never cleared.
  bool isCross = false;
  /// The compiler command, substituted for "%c".
  std::string compilerExe;
  /// The compiler's output-file option ("-o"), substituted for "%o".
  std::string exeFlag;
  /// The compiler's compile-only option ("-c"), substituted for "%j".
  std::string objFlag;
  /// The compiler's define option ("-D"); "DF" and "DF " select the
  /// bracketed form DF(NAME=VALUE).
  std::string defFlag;
  /// The object-file extension the user expects; may be empty.
  std::string objExt;
  /// The compiler order string, the template of every compile command.
  std::string orderStr;
  /// Absolute header directories ("-i", "-if"), byte-ordered and unique.
  std::set<std::string> includeDirs;
  /// Implicit defines ("-xd"), in command-line order, duplicates kept.
  std::list<std::string> implicitDefines;
  /// Implicit switches ("-xs"), in command-line order, each kept whole.
  std::list<std::string> implicitSwitches;
  /// Where the personality is written ("-op").
  std::string outputPath = "personality/TesselPerson.p_c";
  /// Template personality to merge ("-tpl"); empty for none.
  std::string templatePath;
  /// Force-include header of the user's own ("-fi"); empty for none.
  std::string forceIncludePath;
  /// Sub-personality tree to import ("-sub"); empty for none.
  std::string subPersonalityPath;
  /// Smaller test files for compilers that choke on big ones ("-rfs").
  bool reducedFileSize = false;
  /// Seconds that one command of the harness may run before it is stopped
  /// ("-timeout"); 0 means no limit.
  int timeoutSeconds = 300;
  /// True when "-timeout" was given, so that only such runs echo and log it.
  bool timeoutGiven = false;
  /// Check the written personality with the compiler afterwards ("-verify");
  /// given twice it counts once.
  bool verify = false;
};

#endif  // TESSEL_APP_SETTINGS_H_
