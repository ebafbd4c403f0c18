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
/// `macros` (and every name given with -D): the names and values as bash
/// arrays, then the rules of "tests/stage/macro_compiler.rules". An
/// "#ifdef" test file that holds one of them fails on the missing header
/// "ak12345"; a native value program prints the value; a cross include of
/// "yyy NAME zzz" fails with a message that quotes the value. Every source
/// compiled is kept as "seen_<n>_<source>", n counting the invocations
/// from 1.
inline std::string PredefiningCompilerRules(
    const std::vector<FakeMacro>& macros) {
  std::string names = "MACRO_NAMES=(";
  std::string values = "MACRO_VALUES=(";
  for (const FakeMacro& macro : macros) {
    names += " " + ShellQuote(macro.name);
    values += " " + ShellQuote(macro.value);
  }
  return names + " )\n" + values + " )\n" +
         SourceRules("stage/macro_compiler.rules");
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
