#include "app/driver.h"

#include <sys/stat.h>

#include <fstream>

#include "app/input_guard.h"
#include "app/tessel_gen.h"
#include "harness/globals.h"
#include "harness/object_checks.h"
#include "output/force_include.h"
#include "output/subtree_import.h"
#include "output/template_merge.h"
#include "probes/context_keywords.h"
#include "probes/extension_keywords.h"
#include "probes/header_scan.h"
#include "probes/include_dirs.h"
#include "probes/keyword_lists.h"
#include "probes/macro_stage.h"
#include "probes/type_sizes.h"
#include "probes/type_test_run.h"
#include "verify/check_stage.h"

// Records the options of the run in the log, each only when present.
static void log_options(TesselGen& tg) {
  if (!tg.includeDirs.empty()) {
    tg.log.info("\t-i");
    for (const std::string& dir : tg.includeDirs) {
      tg.log.info("\t\t" + dir);
    }
  }
  if (!tg.implicitDefines.empty()) {
    tg.log.info("\t-xd");
    for (const std::string& define : tg.implicitDefines) {
      tg.log.info("\t\t" + define);
    }
  }
  if (!tg.implicitSwitches.empty()) {
    tg.log.info("\t-xs");
    for (const std::string& sw : tg.implicitSwitches) {
      tg.log.info("\t\t" + sw);
    }
  }
  if (!tg.outputPath.empty()) {
    tg.log.info("\t-op " + tg.outputPath);
  }
  if (!tg.templatePath.empty()) {
    tg.log.info("\t-tpl " + tg.templatePath);
  }
  if (!tg.forceIncludePath.empty()) {
    tg.log.info("\t-fi " + tg.forceIncludePath);
  }
  if (!tg.subPersonalityPath.empty()) {
    tg.log.info("\t-sub " + tg.subPersonalityPath);
  }
  if (tg.reducedFileSize) {
    tg.log.info("\t-rfs ");
  }
  if (tg.timeoutGiven) {
    tg.log.info("\t-timeout " + std::to_string(tg.timeoutSeconds));
  }
  if (tg.verify) {
    tg.log.info("\t-verify");
  }
}

// Writes `message` to standard error and to the run log, at CRIT when
// `stop` is set (the run ends), else at WARN.
static void report_problem(TesselGen& tg, const std::string& message,
                           bool stop) {
  *tg.err << message << std::endl;
  if (stop) {
    tg.log.crit(message);
  } else {
    tg.log.warn(message);
  }
}

// Ends the run after `file` could not be written whole: a personality or
// header cut short must never be followed by "Completed OK".
static int report_write_error(TesselGen& tg, const std::string& file) {
  report_problem(tg,
                 "Cannot write " + file +
                     " (disk full or write error); the personality is "
                     "incomplete.",
                 true);
  return 1;
}

// Reports a personality file that cannot be created.
static void report_unopened_personality(TesselGen& tg) {
  const std::string message =
      "Unable to open output personality file; " + tg.outputPath;
  *tg.out << message << std::endl;
  tg.log.crit(message);
}

// Reports a setting that would overwrite one of the user's inputs; true
// when the run must stop.
static bool refuse_input_conflict(TesselGen& tg, const OutputPaths& paths) {
  const std::string conflict = findInputConflict(tg, paths);
  if (!conflict.empty()) {
    report_problem(tg, conflict, true);
  }
  return !conflict.empty();
}

// Copies the sub-personality tree; false, after the report, when a file
// of the copy could not be written.
static bool import_sub_personality(TesselGen& tg, const OutputPaths& paths,
                                   std::ostream& personality) {
  CopyProblems problems;
  CopySubPersonality(tg.subPersonalityPath, paths.directory, personality,
                     &problems);
  for (const std::string& skipped : problems.skipped) {
    report_problem(tg, "Sub-personality entry skipped: " + skipped, false);
  }
  if (!problems.failedFile.empty()) {
    report_write_error(tg, problems.failedFile);
    return false;
  }
  return true;
}

// Writes the force-include header and closes the personality; false,
// after the report, when either was cut short.
static bool write_outputs(TesselGen& tg, const OutputPaths& paths,
                          std::ofstream& personality) {
  std::string failedHeader;
  if (!tg.forceIncludePath.empty()) {
    (void)WriteForceInclude(tg, paths.forceInclude, tg.forceIncludePath,
                            personality, &failedHeader);
  } else if (tg.writeDefaultForceInclude) {
    (void)WriteForceInclude(tg, paths.forceInclude, "kiv_forceinclude.h",
                            personality, &failedHeader);
  }
  if (!failedHeader.empty()) {
    report_write_error(tg, failedHeader);
    return false;
  }
  personality.close();
  if (personality.fail()) {
    report_write_error(tg, tg.outputPath);
    return false;
  }
  return true;
}

// The keyword lists come from "config" under the current directory; each
// missing list has its own message, and this one says what it costs.
static void warn_missing_config(TesselGen& tg) {
  struct stat status;
  if (stat("config", &status) != 0 || !S_ISDIR(status.st_mode)) {
    report_problem(tg,
                   "No \"config\" directory here: without the keyword lists "
                   "the keyword results are unreliable.",
                   false);
  }
}

int TesselGen::run() {
  const OutputPaths paths = derive_output_paths(outputPath, isC);
  log_options(*this);
  // Checked before the personality is opened, since opening empties it.
  if (refuse_input_conflict(*this, paths)) {
    return 2;
  }
  std::ofstream personality(outputPath, std::ios::out | std::ios::trunc);
  if (!personality.is_open()) {
    report_unopened_personality(*this);
    return 1;
  }

  shell->SetTimeLimit(timeoutSeconds);
  auto stage = [this](const char* name) {
    if (stageStarted) {
      stageStarted(name);
    }
  };
  stage("object extension");
  if (!discoverObjectExtension(*this, S_OBJEXT, objExt)) {
    return 1;
  }
  if (!isCross) {
    stage("host check");
    checkHostExecution(*this);
  }
  stage("keyword lists");
  SetupBasicTypes(*this);
  LoadKeywordConfiguration(*this);
  warn_missing_config(*this);
  if (!subPersonalityPath.empty()) {
    stage("sub-personality");
    if (!import_sub_personality(*this, paths, personality)) {
      return 1;
    }
  }
  stage("header scan");
  ScanAllDirectories(*this);
  stage("include directories");
  FindIncludeDirs(*this, personality, paths.personalityTest);
  stage("macros");
  FindPredefinedMacros(*this, personality);
  stage("extension keywords");
  ScanExtensionKeywords(*this);
  stage("types");
  RunTypeTests(*this, personality);
  stage("context keywords");
  ScanContextKeywords(*this, personality, false);
  stage("output");

  if (!write_outputs(*this, paths, personality)) {
    return 1;
  }
  if (verify) {
    stage("verify");
    RunCheckStage(*this, fact_checkers());
  }
  if (!MergeTemplate(*this, outputPath)) {
    return report_write_error(*this, outputPath);
  }

  *out << "Completed OK" << std::endl;
  log.info("Completed OK");
  stage("end");
  return 0;
}
