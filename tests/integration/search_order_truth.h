// What a compiler says about itself, asked with its own reporting options:
// its header search list ("-v", "tcc -vv", pcc's preprocessor arguments,
// "sdcc --print-search-dirs") and its predefined macros ("-dM -E"; for
// cc65, which has neither, what its manual documents). The checks of include
// directories and macros are compared with these answers; nothing here is
// shared with the code that checks, so that one mistake cannot pass in both.
#ifndef TESSEL_TESTS_INTEGRATION_SEARCH_ORDER_TRUTH_H_
#define TESSEL_TESTS_INTEGRATION_SEARCH_ORDER_TRUTH_H_

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <iterator>
#include <map>
#include <string>
#include <vector>

#include "tests/support/test_support.h"

namespace search_truth {

/// True when `command` starts with the program `program`.
inline bool Runs(const std::string& command, const std::string& program) {
  return command.compare(0, program.size(), program) == 0 &&
         (command.size() == program.size() || command[program.size()] == ' ');
}

/// cc65 reports neither its search list nor its macros; its manual names
/// the one directory it searches (without CC65_INC) and the macros it may
/// predefine, which the preprocessor is asked about one by one.
const char kCc65IncludeDir[] = "/usr/share/cc65/include";
const char* const kCc65DocumentedMacros[] = {
    "__APPLE2__",   "__APPLE2ENH__",    "__ATARI__",        "__ATARIXL__",
    "__ATMOS__",    "__C128__",         "__C16__",          "__C64__",
    "__CBM__",      "__CBM510__",       "__CBM610__",       "__CC65__",
    "__CC65_STD__", "__CC65_STD_C89__", "__CC65_STD_C99__", "__CC65_STD_CC65__",
    "__CX16__",     "__DATE__",         "__EAGERINLINE__",  "__FILE__",
    "__GEOS__",     "__LINE__",         "__LUNIX__",        "__LYNX__",
    "__NES__",      "__OPT__",          "__OPT_i__",        "__OPT_r__",
    "__OPT_s__",    "__PET__",          "__PLUS4__",        "__SIM6502__",
    "__SIM65C02__", "__STDC__",         "__STDC_HOSTED__",  "__STDC_VERSION__",
    "__TIME__",     "__VIC20__"};

/// The source file name for `command`'s preprocessor: sdcc and cc65 take
/// no "-x" and judge the language by the extension.
inline bool TakesLanguageSwitch(const std::string& command) {
  return !Runs(command, "sdcc") && !Runs(command, "cl65");
}

/// The lines `command`'s preprocessor makes of `text` (given in a file).
inline std::vector<std::string> Preprocessed(const std::string& command,
                                             bool isC,
                                             const std::string& text) {
  if (TakesLanguageSwitch(command)) {
    tessel_test::WriteFile("truth_expand.txt", text);
    return tessel_test::Lines(
        tessel_test::RunProcess(command + (isC ? " -xc" : " -xc++") +
                                " -E -P truth_expand.txt")
            .out);
  }
  tessel_test::WriteFile("truth_expand.c", text);
  if (Runs(command, "cl65")) {
    std::remove("truth_expand.i");
    tessel_test::RunProcess(command + " -E truth_expand.c -o truth_expand.i");
    return tessel_test::Lines(tessel_test::ReadFile("truth_expand.i"));
  }
  return tessel_test::Lines(
      tessel_test::RunProcess(command + " -E truth_expand.c").out);
}

/// The directories `command` (compiler and switches) searches for
/// "#include <...>", in its order, without a trailing "/".
inline std::vector<std::string> SearchList(const std::string& command,
                                           bool isC) {
  std::vector<std::string> dirs;
  const std::string lang = isC ? "c" : "c++";
  if (command.rfind("tcc", 0) == 0) {
    bool inside = false;
    for (const std::string& line :
         tessel_test::Lines(tessel_test::RunProcess(command + " -vv").out)) {
      if (inside && (line.empty() || line[0] != ' ')) {
        break;
      }
      if (inside) {
        dirs.push_back(line.substr(line.find_first_not_of(' ')));
      }
      inside = inside || line == "include:";
    }
    return dirs;
  }
  if (Runs(command, "cl65")) {
    return {kCc65IncludeDir};
  }
  if (Runs(command, "sdcc")) {
    // Its "includedir:" list names each directory twice, once through the
    // program's own directory ("/usr/bin/../share/...").
    bool inside = false;
    for (const std::string& line : tessel_test::Lines(
             tessel_test::RunProcess(command + " --print-search-dirs").out)) {
      if (inside && (line.empty() || line.back() == ':')) {
        break;
      }
      if (inside) {
        std::string dir = line;
        const std::string::size_type up = dir.find("/bin/../");
        if (up != std::string::npos) {
          dir.erase(up, 7);
        }
        if (std::find(dirs.begin(), dirs.end(), dir) == dirs.end()) {
          dirs.push_back(dir);
        }
      }
      inside = inside || line == "includedir:";
    }
    return dirs;
  }
  tessel_test::ProcessResult result =
      tessel_test::RunProcess(command + " -x" + lang + " -E -v /dev/null");
  const std::string all = result.out + result.err;
  if (command.rfind("pcc", 0) == 0) {
    // pcc hands its directories to its preprocessor as "-S DIR/".
    std::string::size_type at = all.find(" -S ");
    while (at != std::string::npos) {
      const std::string::size_type start = at + 4;
      std::string dir = all.substr(start, all.find(' ', start) - start);
      while (dir.size() > 1 && dir.back() == '/') {
        dir.pop_back();
      }
      dirs.push_back(dir);
      at = all.find(" -S ", start);
    }
    return dirs;
  }
  bool inside = false;
  for (const std::string& line : tessel_test::Lines(all)) {
    if (line == "End of search list.") {
      break;
    }
    if (inside) {
      dirs.push_back(line.substr(line.find_first_not_of(' ')));
    }
    inside = inside || line == "#include <...> search starts here:";
  }
  return dirs;
}

/// The object-like macros `command` predefines, name to value, from
/// "-dM -E" on an empty source.
inline std::map<std::string, std::string> Macros(const std::string& command,
                                                 bool isC) {
  std::map<std::string, std::string> macros;
  if (Runs(command, "cl65")) {
    // One documented name a line: a defined one comes back replaced.
    std::string text;
    for (const char* name : kCc65DocumentedMacros) {
      text += std::string(name) + "\n";
    }
    const std::vector<std::string> lines = Preprocessed(command, isC, text);
    std::vector<std::string> values;
    for (const std::string& line : lines) {
      if (!line.empty() && line[0] != '#') {
        values.push_back(line);
      }
    }
    const std::size_t count = std::size(kCc65DocumentedMacros);
    for (std::size_t i = 0; i < count && i < values.size(); ++i) {
      if (values[i] != kCc65DocumentedMacros[i]) {
        macros[kCc65DocumentedMacros[i]] = values[i];
      }
    }
    return macros;
  }
  const std::string lang = isC ? "c" : "c++";
  std::string source = "/dev/null";
  if (!TakesLanguageSwitch(command)) {
    tessel_test::WriteFile("truth_empty.c", "");
    source = "truth_empty.c";
  }
  tessel_test::ProcessResult result = tessel_test::RunProcess(
      command + (TakesLanguageSwitch(command) ? " -x" + lang : "") +
      " -dM -E " + source);
  for (const std::string& line : tessel_test::Lines(result.out)) {
    if (line.rfind("#define ", 0) != 0) {
      continue;
    }
    const std::string rest = line.substr(8);
    const std::string::size_type blank = rest.find(' ');
    const std::string name = rest.substr(0, blank);
    if (name.find('(') == std::string::npos) {
      macros[name] = blank == std::string::npos ? "" : rest.substr(blank + 1);
    }
  }
  return macros;
}

/// `text` without the blanks that stand beside punctuation: the spacing
/// "-E" puts between tokens ("8388607L -1") that the macro's own text
/// joins ("8388607L-1"). Blanks between two name characters stay.
inline std::string TokenSpelling(const std::string& text) {
  auto word = [](char c) {
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_';
  };
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == ' ' && !(i > 0 && i + 1 < text.size() && word(text[i - 1]) &&
                            word(text[i + 1]))) {
      continue;
    }
    out += text[i];
  }
  return out;
}

/// `value` with every macro in it expanded by `command`'s preprocessor
/// ("__ORDER_LITTLE_ENDIAN__" gives "1234"), as a message quotes it
/// (spelled as `TokenSpelling` gives).
inline std::string Expanded(const std::string& command, bool isC,
                            const std::string& value) {
  std::string last;
  for (const std::string& line : Preprocessed(command, isC, value + "\n")) {
    if (!line.empty() && line[0] != '#') {
      last = line;
    }
  }
  return TokenSpelling(last);
}

/// True for the macros whose value changes with each use or run.
inline bool Varies(const std::string& name) {
  return name == "__LINE__" || name == "__FILE__" || name == "__COUNTER__" ||
         name == "__DATE__" || name == "__TIME__" || name == "__TIMESTAMP__" ||
         name == "__INCLUDE_LEVEL__" || name == "__BASE_FILE__" ||
         name == "__FILE_NAME__";
}

/// The value as a personality writes it: a string literal "X" becomes
/// _KIV_STRINGIFY(X), inner escaped quotes too.
inline std::string PersonalityValue(std::string value) {
  if (value.size() >= 2 && value.front() == '"' && value.back() == '"') {
    value = "_KIV_STRINGIFY(" + value.substr(1, value.size() - 2) + ")";
  }
  return value;
}

}  // namespace search_truth

#endif  // TESSEL_TESTS_INTEGRATION_SEARCH_ORDER_TRUTH_H_
