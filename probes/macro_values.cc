#include "probes/macro_values.h"

#include <algorithm>
#include <optional>

#include "app/tessel_gen.h"
#include "harness/compile_harness.h"
#include "harness/globals.h"
#include "probes/macro_discovery.h"
#include "util/text.h"

const char kStringifyDefine[] = "_KIV_STRINGIFY(x)=#x";

// The markers around the value in the cross compiler's tests.
static const char kOpenMarker[] = "yyy";
static const char kCloseMarker[] = "zzz";
static const std::string::size_type kMarkerLength = 3;

void print_undetermined_define(TesselGen& tg, const std::string& name) {
  *tg.out << "define \"" << name
          << "\" couldn't be determined from the output from compiler."
          << std::endl
          << "Please contact Corvane." << std::endl;
}

// Turns the quoted part of `value`, from the first `quote` to the last,
// into a call of the stringify macro and records that macro's definition.
// Returns false when the closing quote would be the value's first
// character. When only one quote is left, rfind() gives npos and replace()
// throws std::out_of_range: such a value ends the run on purpose.
static bool quotes_to_stringify(TesselGen& tg, std::string& value,
                                const std::string& quote,
                                const std::string& name) {
  std::string::size_type first = value.find(quote);
  if (first == std::string::npos) {
    return true;
  }
  tg.FoundDefines.insert(kStringifyDefine);
  value.replace(first, quote.size(), "_KIV_STRINGIFY(");
  std::string::size_type last = value.rfind(quote);
  if (last == 0) {
    print_undetermined_define(tg, name);
    return false;
  }
  value.replace(last, quote.size(), ")");
  return true;
}

bool RecordMacroValue(TesselGen& tg, const std::string& text,
                      const std::string& name) {
  std::string value = trim_blanks(text);
  if (std::count(value.begin(), value.end(), '"') % 2 != 0) {
    value.erase(value.rfind('"'));
  }
  if (value == name) {
    return false;
  }
  if (name == "__func__" && value.find("__func__") == std::string::npos) {
    value = "__func__";
  }
  if (!quotes_to_stringify(tg, value, "\\\"", name) ||
      !quotes_to_stringify(tg, value, "\"", name)) {
    return false;
  }
  const std::string define = name + "=" + value;
  if (value.find(' ') == std::string::npos) {
    tg.FoundDefines.insert(define);
  } else {
    tg.FoundDefines.insert("\"" + define + "\"");
  }
  tg.candidateKeywords.erase(name);
  return true;
}

// Builds and runs a program that prints the stringified macro, and records
// what it printed. The program's output replaces the compile's in
// "stdout.log"; both capture files stay behind.
static void native_value(TesselGen& tg, const std::string& source,
                         const std::string& name) {
  ProgramRunOptions options;
  // The stage has already removed every file of the test's base name.
  options.removeOldProgram = false;
  const std::optional<std::string> printed = build_and_run_program(
      tg, source,
      std::string(kStringifyS) + "\n" + kStringifyM + "\n" +
          printfDeclaration(tg) + "\n" + kMainStart + " printf(\"%s\", M(" +
          name + ")); " + kReturnZero + kCloseBrace + "\n",
      options);
  if (printed) {
    RecordMacroValue(tg, *printed, name);
    return;
  }
  *tg.out << source << " failed to compile! can't find value of: " << name
          << std::endl;
}

// Tries every "yyy ... zzz" pair of the compiler's messages `text` as the
// value of `name`. A pair that holds another "yyy" is skipped in favour of
// the inner one; a value ends at the line's end if that comes first.
// Returns true when some pair was recorded.
static bool scan_marker_pairs(TesselGen& tg, const std::string& text,
                              const std::string& name) {
  bool found = false;
  std::string::size_type from = 0;
  for (;;) {
    std::string::size_type open = text.find(kOpenMarker, from);
    if (open == std::string::npos) {
      break;
    }
    std::string::size_type start = open + kMarkerLength;
    std::string::size_type close = text.find(kCloseMarker, start);
    if (close == std::string::npos) {
      break;
    }
    if (text.find(kOpenMarker, start) < close) {
      from = start;
      continue;
    }
    std::string::size_type end = std::min(close, text.find('\n', start));
    if (RecordMacroValue(tg, text.substr(start, end - start), name)) {
      found = true;
    }
    from = end;
  }
  return found;
}

// The fallback for a cross compiler whose messages did not show the value:
// the value, stringified between the markers, becomes a string literal
// that a binary object file carries as it stands.
static void object_value(TesselGen& tg, const std::string& source,
                         const std::string& name) {
  tg.log.info("Alternative define tests for: " + name);
  writeWholeFile(source, std::string(kStringifyS) + "\n" + kStringifyM +
                             "\nchar s[] =  \"" + kOpenMarker + "\" M(" + name +
                             ") \"" + kCloseMarker + "\";\n");
  runCompileScript(tg, buildCommand(tg, source, false, ""));
  if (!S_OBJ_IS_BINARY) {
    return;
  }
  const std::string object = readWholeFile(kDefineTestBase + S_OBJEXT);
  std::string::size_type open = object.find(kOpenMarker);
  if (open == std::string::npos) {
    return;
  }
  std::string::size_type start = open + kMarkerLength;
  std::string::size_type close = object.find(kCloseMarker, start);
  if (close != std::string::npos) {
    RecordMacroValue(tg, object.substr(start, close - start), name);
  }
}

// A cross compiler is asked to include a file named after the value; its
// "file not found" message then quotes the value between the markers.
static void cross_value(TesselGen& tg, const std::string& source,
                        const std::string& name) {
  writeWholeFile(source, std::string(kStringifyS) + "\n" + kStringifyM +
                             "\n#include M(" + kOpenMarker + " " + name + " " +
                             kCloseMarker + ")\n");
  runCompileScript(tg, buildCommand(tg, source, false, ""));
  if (!scan_marker_pairs(tg, readCompilerOutput(), name)) {
    object_value(tg, source, name);
  }
}

void CalculateMacroValues(TesselGen& tg) {
  const std::string count = std::to_string(tg.PredefinedMacros.size());
  *tg.out << "\nCalculating compiler define values(" << count << ")..."
          << std::endl;
  tg.log.info("Calculating compiler define values(" + count + ")...");
  tg.progressStart(static_cast<uint32_t>(tg.PredefinedMacros.size()));
  const std::string source = kDefineTestBase + sourceExtension(tg);
  for (const std::string& name : tg.PredefinedMacros) {
    removeMatching(tg, kDefineTestBase);
    tg.progressStep();
    tg.log.info("Testing macro: " + name);
    if (tg.isCross) {
      cross_value(tg, source, name);
    } else {
      native_value(tg, source, name);
    }
  }
  tg.progressEnd();
}

void WriteDefineLines(const TesselGen& tg, std::ostream& personality) {
  for (const std::string& define : tg.implicitDefines) {
    personality << tg.DefinePrefix << define << "\n";
  }
  for (const std::string& define : tg.FoundDefines) {
    personality << tg.DefinePrefix << define << "\n";
  }
}
