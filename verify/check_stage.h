#ifndef TESSEL_VERIFY_CHECK_STAGE_H_
#define TESSEL_VERIFY_CHECK_STAGE_H_

#include <string>
#include <vector>

#include "model/personality.h"
#include "verify/fact.h"

class TesselGen;

/// One checker of the stage: checks the facts of one kind in
/// `personality` against the compiler, corrects and adds lines in place,
/// and returns one result per fact.
using FactChecker = std::vector<FactResult> (*)(TesselGen& tg,
                                                Personality* personality);

/// The checkers of a "-verify" run in the order they run: include
/// directories, macros, types, identifier lengths, keywords.
std::vector<FactChecker> fact_checkers();

/// The reason written when the compiler accepts a negative array size.
extern const char kOnlyWarnsReason[];
/// The reason written when the compiler rejects a valid test file.
extern const char kRejectsAllReason[];

/// Compiles the true claim `typedef char tg_ok_1[(1)*2-1];` and the false
/// claim with 0: the checks can decide only when the first compiles and the
/// second fails. Returns an empty string then, otherwise the reason the
/// compiler cannot be checked (`kOnlyWarnsReason` or `kRejectsAllReason`).
std::string calibrate(TesselGen& tg);

/// The check stage of "-verify", run after the personality file is closed
/// and before the template merge. Reads the personality at `tg.outputPath`
/// back, calibrates, runs `checkers` in order, writes the personality back
/// with the corrections and additions, prints the report table on the
/// console, logs each check at INFO and each correction at WARN, and writes
/// the JSON report `tg.outputPath` + ".verify.json". When the personality
/// cannot be read or calibration fails it says so, writes the report with
/// "checked": false and the reason, and changes nothing.
void RunCheckStage(TesselGen& tg, const std::vector<FactChecker>& checkers);

#endif  // TESSEL_VERIFY_CHECK_STAGE_H_
