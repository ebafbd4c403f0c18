// What a compiler says about itself, asked with its own reporting options:
// its header search list ("-v", "tcc -vv", pcc's preprocessor arguments)
// and its predefined macros ("-dM -E"). The checks of include directories
// and macros are compared with these answers; nothing here is shared with
// the code that checks, so that one mistake cannot pass in both.
#ifndef TESSEL_TESTS_INTEGRATION_SEARCH_ORDER_TRUTH_H_
#define TESSEL_TESTS_INTEGRATION_SEARCH_ORDER_TRUTH_H_

#include <cctype>
#include <map>
#include <string>
#include <vector>

#include "tests/support/test_support.h"

namespace search_truth {

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
  const std::string lang = isC ? "c" : "c++";
  tessel_test::ProcessResult result =
      tessel_test::RunProcess(command + " -x" + lang + " -dM -E /dev/null");
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
  tessel_test::WriteFile("truth_expand.txt", value + "\n");
  const std::string lang = isC ? "c" : "c++";
  tessel_test::ProcessResult result = tessel_test::RunProcess(
      command + " -x" + lang + " -E -P truth_expand.txt");
  std::string last;
  for (const std::string& line : tessel_test::Lines(result.out)) {
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
