#ifndef TESSEL_TESTS_STAGE_MACRO_FAKE_COMPILER_H_
#define TESSEL_TESTS_STAGE_MACRO_FAKE_COMPILER_H_

#include <string>
#include <vector>

#include "tests/support/test_support.h"

namespace tessel_test {

/// One macro that the scripted compiler predefines.
struct FakeMacro {
  /// The macro's name.
  std::string name;
  /// What the native test program prints for it, or, for a cross compiler,
  /// what stands between the markers of its "file not found" message.
  std::string value;
};

/// Rules for fakecc that make it behave like a compiler predefining
/// `macros` (and every name given with -D): an "#ifdef" test file that
/// holds one of them fails on the missing header "ak12345"; a native value
/// program prints the value; a cross include of "yyy NAME zzz" fails with a
/// message that quotes the value. Every source compiled is kept as
/// "seen_<n>_<source>", n counting the invocations from 1.
inline std::string PredefiningCompilerRules(
    const std::vector<FakeMacro>& macros) {
  std::string rules =
      "cp \"$FAKE_SRC\" \"seen_$(wc -l < fakecc.argv)_$FAKE_SRC\"\n"
      "hit=0\n"
      "for d in \"${FAKE_DEFINES[@]}\"; do\n"
      "  if has $'#ifdef '\"${d%%=*}\"$'\\n'; then hit=1; fi\n"
      "done\n";
  for (const FakeMacro& macro : macros) {
    rules += "if has $'#ifdef " + macro.name + "\\n'; then hit=1; fi\n";
  }
  rules +=
      "if [ $hit = 1 ]; then\n"
      "  fail \"$FAKE_SRC:2:10: fatal error: ak12345: No such file or "
      "directory\"\n"
      "fi\n";
  for (const FakeMacro& macro : macros) {
    rules += "if has " + ShellQuote("M(" + macro.name + "));") +
             "; then program_prints " + ShellQuote(macro.value) + "; fi\n";
    rules += "if has " + ShellQuote("M(yyy " + macro.name + " zzz)") +
             "; then fail \"$FAKE_SRC:3:10: fatal error: \"" +
             ShellQuote("yyy " + macro.value + " zzz") +
             "\": No such file or directory\"; fi\n";
  }
  return rules;
}

/// The "#ifdef" blocks that test `names`, as the stage writes them.
inline std::string IfdefBlocks(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) {
    text += "#ifdef " + name + "\n#include \"ak12345\"\n#endif\n";
  }
  return text;
}

/// The run log's lines after the settings that the constructor logs.
inline std::vector<std::string> StageLogLines(const TesselGen& tg) {
  std::vector<std::string> lines = Lines(ReadFile(tg.log.fileName()));
  std::vector<std::string> stage;
  bool started = false;
  for (const std::string& line : lines) {
    started =
        started || line.find("[8] Compiler Order String=") != std::string::npos;
    if (started) {
      stage.push_back(line);
    }
  }
  if (!stage.empty()) {
    stage.erase(stage.begin());
  }
  return stage;
}

}  // namespace tessel_test

#endif  // TESSEL_TESTS_STAGE_MACRO_FAKE_COMPILER_H_
