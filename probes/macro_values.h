#ifndef TESSEL_PROBES_MACRO_VALUES_H_
#define TESSEL_PROBES_MACRO_VALUES_H_

#include <ostream>
#include <string>

class TesselGen;

/// The define text that lets the analyser rebuild string values:
/// "_KIV_STRINGIFY(x)=#x".
extern const char kStringifyDefine[];

/// The second half of the macro stage: finds the value of every name of
/// `tg.PredefinedMacros` and records it with `RecordMacroValue`. A native
/// compiler builds and runs a program that prints the stringified macro; a
/// cross compiler is made to quote the value in its "file not found"
/// message for an include named after it, and failing that the value is
/// read from a string literal in a binary object file.
void CalculateMacroValues(TesselGen& tg);

/// Cleans `value`, the text that the compiler gave for the macro `name`,
/// and records it in `tg.FoundDefines` as "NAME=VALUE" (the whole text in
/// double quotes when the value holds a blank), then removes `name` from
/// `tg.candidateKeywords`. Quotes become a call of "_KIV_STRINGIFY(...)",
/// whose definition is recorded as well. Returns false when nothing was
/// recorded: the value is the name itself, or its quotes cannot be turned
/// into a call (after a two-line console message). A value whose escaped
/// or plain quote has no partner left after the first one was replaced
/// raises std::out_of_range, which ends the run.
bool RecordMacroValue(TesselGen& tg, const std::string& value,
                      const std::string& name);

/// Prints the two console lines that say the value of `name` could not be
/// worked out from the compiler's output.
void print_undetermined_define(TesselGen& tg, const std::string& name);

/// Writes one define line per user "-xd" entry, as typed and in the order
/// given, then one per entry of `tg.FoundDefines` in set order, each led by
/// `tg.DefinePrefix` ("-d " or "-sd ").
void WriteDefineLines(const TesselGen& tg, std::ostream& personality);

#endif  // TESSEL_PROBES_MACRO_VALUES_H_
