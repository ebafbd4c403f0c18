#include "verify/check_stage.h"

#include <string>
#include <vector>

#include "app/tessel_gen.h"
#include "harness/compile_harness.h"
#include "verify/claim_batch.h"
#include "verify/identifier_check.h"
#include "verify/include_check.h"
#include "verify/keyword_check.h"
#include "verify/macro_check.h"
#include "verify/type_check.h"
#include "verify/verify_report.h"

const char kOnlyWarnsReason[] =
    "the compiler accepts a negative array size (it only warns)";
const char kRejectsAllReason[] = "the compiler rejects a valid test file";

std::vector<FactChecker> fact_checkers() {
  // In the order of the personality's sections: the include directories
  // first, since the later checks compile with the headers they find.
  return {check_include_dirs, check_macros, check_types,
          check_identifier_lengths, check_keywords};
}

std::string calibrate(TesselGen& tg) {
  if (!compiles_alone(tg, "", claim_typedef("tg_ok_1", "1"))) {
    return kRejectsAllReason;
  }
  if (compiles_alone(tg, "", claim_typedef("tg_ok_1", "0"))) {
    return kOnlyWarnsReason;
  }
  return "";
}

// Writes the JSON report beside the personality; says so when it cannot.
static void write_report(TesselGen& tg, bool checked, const std::string& reason,
                         const std::vector<FactResult>& facts) {
  const std::string path = tg.outputPath + ".verify.json";
  if (!writeWholeFile(path,
                      verify_json(tg.outputPath, checked, reason, facts))) {
    const std::string message = "Unable to write the check report " + path;
    *tg.out << message << std::endl;
    tg.log.warn(message);
  }
}

// Ends the stage without a check: prints and logs `reason` and writes the
// report with "checked": false.
static void skip_check(TesselGen& tg, const std::string& reason) {
  const std::string message = "The personality is not verified: " + reason;
  *tg.out << message << std::endl;
  tg.log.warn(message);
  write_report(tg, false, reason, {});
}

// Logs each fact at INFO and each correction again at WARN.
static void log_facts(TesselGen& tg, const std::vector<FactResult>& facts) {
  for (const FactResult& fact : facts) {
    tg.log.info("Verify " + fact.kind + " " + fact.name + ": " +
                fact_status_name(fact.status) + " (" + fact.test + ")");
    if (fact.status == FactStatus::kCorrected) {
      tg.log.warn("Verify corrected: " + fact_line(fact, false, tg.isC) +
                  " -> " + fact_line(fact, true, tg.isC));
    }
  }
}

void RunCheckStage(TesselGen& tg, const std::vector<FactChecker>& checkers) {
  *tg.out << "\nVerifying the personality with the compiler..." << std::endl;
  tg.log.info("Verifying the personality with the compiler");
  reset_verify_compile_count();
  Personality personality;
  std::string err;
  if (!read_personality_file(tg.outputPath, &personality, &err)) {
    skip_check(tg, "the personality cannot be read back: " + err);
    return;
  }
  const std::string reason = calibrate(tg);
  if (!reason.empty()) {
    removeMatching(tg, kVerifyTest);
    skip_check(tg, reason);
    return;
  }
  std::vector<FactResult> facts;
  for (FactChecker checker : checkers) {
    for (const FactResult& fact : checker(tg, &personality)) {
      facts.push_back(fact);
    }
  }
  removeMatching(tg, kVerifyTest);
  log_facts(tg, facts);
  if (!write_personality_file(tg.outputPath, personality, &err)) {
    *tg.out << err << std::endl;
    tg.log.warn(err);
  }
  *tg.out << verify_table(facts, tg.isC);
  tg.log.info("Verification compiles: " +
              std::to_string(verify_compile_count()));
  write_report(tg, true, "", facts);
}
