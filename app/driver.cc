#include "app/driver.h"

#include <fstream>

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

OutputPaths derive_output_paths(const std::string& outputPath, bool isC) {
  OutputPaths paths;
  std::string::size_type slash = outputPath.rfind('/');
  if (slash != std::string::npos) {
    paths.directory = outputPath.substr(0, slash + 1);
  }
  paths.personalityTest =
      paths.directory + "personality_test" + (isC ? ".c" : ".cpp");
  paths.forceInclude = paths.directory + "kivforceinclude";
  return paths;
}

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
}

int TesselGen::run() {
  std::ofstream personality(outputPath, std::ios::out | std::ios::trunc);
  const OutputPaths paths = derive_output_paths(outputPath, isC);
  log_options(*this);
  if (!personality.is_open()) {
    const std::string message =
        "Unable to open output personality file; " + outputPath;
    *out << message << std::endl;
    log.crit(message);
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
  if (!subPersonalityPath.empty()) {
    stage("sub-personality");
    CopySubPersonality(subPersonalityPath, paths.directory, personality);
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

  if (!forceIncludePath.empty()) {
    WriteForceInclude(*this, paths.forceInclude, forceIncludePath, personality);
  } else if (writeDefaultForceInclude) {
    WriteForceInclude(*this, paths.forceInclude, "kiv_forceinclude.h",
                      personality);
  }
  personality.close();
  MergeTemplate(*this, outputPath);

  *out << "Completed OK" << std::endl;
  log.info("Completed OK");
  stage("end");
  return 0;
}
