// What a real compiler says about itself, asked directly: its header search
// list, its predefined macros, and type facts learned from compiles that
// succeed only when a claim holds. The end-to-end tests compare a generated
// personality with these answers. Header-only, since the integration tier
// compiles only its *_test.cc files.
#ifndef TESSEL_TESTS_INTEGRATION_COMPILER_TRUTH_H_
#define TESSEL_TESTS_INTEGRATION_COMPILER_TRUTH_H_

#include <dirent.h>
#include <sys/stat.h>

#include <cctype>
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "tests/support/test_support.h"

namespace tessel_test {

/// One preset of scripts/run.sh, as "run.sh --args" prints it.
struct Preset {
  /// The preset's name ("gcc", "sdcc", ...).
  std::string name;
  /// The compiler command, positional 3.
  std::string compiler;
  /// True for the C analyser ("vellc").
  bool isC = true;
  /// True when the preset declares a cross compiler ("ccmp").
  bool cross = false;
  /// The object extension, positional 7.
  std::string objExt;
  /// The "-i" directories, in the order the preset passes them.
  std::vector<std::string> dirs;
  /// The "-xs" switches, each as one string (may hold blanks).
  std::vector<std::string> switches;
  /// Every argument, positionals first, as TesselGen receives them.
  std::vector<std::string> args;
};

/// Reads the preset `name` from "scripts/run.sh --args"; `name` stays empty
/// in the result when the script refuses it.
inline Preset LoadPreset(const std::string& name) {
  Preset preset;
  ProcessResult args = RunProcess(
      "bash " + ShellQuote(std::string(kSourceDir) + "/scripts/run.sh") +
      " --args " + ShellQuote(name));
  std::vector<std::string> lines = Lines(args.out);
  if (args.exitCode != 0 || lines.size() < 8) {
    return preset;
  }
  preset.name = name;
  preset.args = lines;
  preset.isC = lines[0] == "vellc";
  preset.cross = lines[1] == "ccmp";
  preset.compiler = lines[2];
  preset.objExt = lines[6];
  for (size_t i = 8; i + 1 < lines.size(); i += 2) {
    if (lines[i] == "-i") {
      preset.dirs.push_back(lines[i + 1]);
    } else if (lines[i] == "-xs") {
      preset.switches.push_back(lines[i + 1]);
    }
  }
  return preset;
}

/// The compiler command with the preset's switches, ready for the shell
/// (switches are inserted unquoted, as the compile script does).
inline std::string CompilerCommand(const Preset& preset) {
  std::string command = preset.compiler;
  for (const std::string& sw : preset.switches) {
    command += " " + sw;
  }
  return command;
}

/// Runs the preset's compiler with its switches on `source` (C or C++ by
/// the preset's product), compiling only, in the current directory. True
/// when it succeeds.
inline bool Compiles(const Preset& preset, const std::string& source) {
  const std::string file = preset.isC ? "truth.c" : "truth.cpp";
  WriteFile(file, source);
  return RunProcess(CompilerCommand(preset) + " -c " + file + " -o truth" +
                    preset.objExt)
             .exitCode == 0;
}

/// The smallest `n` in 1..64 for which `claim`, with "NUM" replaced by
/// `n`, holds, found by compiling it as the sign of an array bound; 0 when
/// it holds for none. `claim` is a constant expression that turns from
/// false to true as NUM grows, such as "sizeof(int) <= NUM"; `prefix` goes
/// before it.
inline int SmallestSatisfying(const Preset& preset, const std::string& prefix,
                              const std::string& claim) {
  auto holds = [&](int n) {
    std::string expression = claim;
    expression.replace(expression.find("NUM"), 3, std::to_string(n));
    return Compiles(preset, prefix + "typedef char truth_t[(" + expression +
                                ") ? 1 : -1];\n");
  };
  int low = 1;
  int high = 64;
  if (!holds(high)) {
    return 0;
  }
  while (low < high) {
    int middle = (low + high) / 2;
    if (holds(middle)) {
      high = middle;
    } else {
      low = middle + 1;
    }
  }
  return low;
}

/// Which of `candidates` (type spellings) the type of expression `value`
/// is, asked with _Generic in C and a template specialisation in C++, after
/// `prefix`; empty when none is.
inline std::string TypeOf(const Preset& preset, const std::string& prefix,
                          const std::string& value,
                          const std::vector<std::string>& candidates) {
  for (const std::string& type : candidates) {
    std::string test;
    if (preset.isC) {
      test = "typedef char truth_t[_Generic((" + value + "), " + type +
             ": 1, default: -1)];\n";
    } else {
      test =
          "template <class A, class B> struct truth_same { enum { v = -1 }; "
          "};\ntemplate <class A> struct truth_same<A, A> { enum { v = 1 }; "
          "};\ntypedef char truth_t[truth_same<" +
          type + ", decltype(" + value + ")>::v];\n";
    }
    if (Compiles(preset, prefix + test)) {
      return type;
    }
  }
  return "";
}

/// The compiler's object-like predefined macros, name to body, from
/// "-dM -E". Function-like macros are left out.
inline std::map<std::string, std::string> PredefinedMacros(
    const Preset& preset) {
  std::map<std::string, std::string> macros;
  ProcessResult result = RunProcess(CompilerCommand(preset) + " -dM -E -x " +
                                    (preset.isC ? "c" : "c++") + " /dev/null");
  for (const std::string& line : Lines(result.out)) {
    const std::string define = "#define ";
    if (line.compare(0, define.size(), define) != 0) {
      continue;
    }
    std::string::size_type end = line.find_first_of(" (", define.size());
    std::string name = line.substr(define.size(), end - define.size());
    if (end != std::string::npos && line[end] == '(') {
      continue;
    }
    macros[name] = end == std::string::npos ? "" : line.substr(end + 1);
  }
  return macros;
}

/// The lines of `text` after the line `first` up to the next line for which
/// `last` holds, with leading blanks removed.
template <typename IsLast>
std::vector<std::string> LinesBetween(const std::string& text,
                                      const std::string& first, IsLast last) {
  std::vector<std::string> found;
  bool inside = false;
  for (const std::string& line : Lines(text)) {
    if (inside && last(line)) {
      break;
    }
    if (inside) {
      std::string::size_type start = line.find_first_not_of(' ');
      found.push_back(start == std::string::npos ? "" : line.substr(start));
    }
    if (line == first) {
      inside = true;
    }
  }
  return found;
}

/// The compiler's "#include <...>" search list as it prints it (verbose
/// listing for gcc-like compilers, "-vv" for tcc, "--print-search-dirs"
/// for sdcc), each directory with its "." and ".." steps resolved (as
/// "cd DIR && pwd" does; symbolic links stay) and listed once.
inline std::vector<std::string> SearchList(const Preset& preset) {
  std::vector<std::string> listed;
  if (preset.compiler == "tcc") {
    listed = LinesBetween(RunProcess("tcc -vv").out, "include:",
                          [](const std::string& l) { return l[0] != ' '; });
  } else if (preset.compiler == "sdcc") {
    listed = LinesBetween(
        RunProcess(CompilerCommand(preset) + " --print-search-dirs").out,
        "includedir:", [](const std::string& l) { return l.back() == ':'; });
  } else {
    listed = LinesBetween(
        RunProcess(CompilerCommand(preset) + " -x " +
                   (preset.isC ? "c" : "c++") + " -E -v /dev/null")
            .err,
        "#include <...> search starts here:", [](const std::string& l) {
          return l == "End of search list.";
        });
  }
  std::vector<std::string> unique;
  std::set<std::string> seen;
  for (const std::string& dir : listed) {
    std::string normal = std::filesystem::path(dir).lexically_normal().string();
    if (normal.size() > 1 && normal.back() == '/') {
      normal.pop_back();
    }
    std::error_code ec;
    if (std::filesystem::is_directory(normal, ec) &&
        seen.insert(normal).second) {
      unique.push_back(normal);
    }
  }
  return unique;
}

/// True when `dir` holds at least one file (directly, or for a directory
/// with no files of its own, in a subdirectory): only such a directory can
/// be revealed by including one of its headers.
inline bool HoldsHeaders(const std::string& dir) {
  std::error_code ec;
  for (auto it = std::filesystem::recursive_directory_iterator(dir, ec);
       !ec && it != std::filesystem::recursive_directory_iterator();
       it.increment(ec)) {
    if (it->is_regular_file(ec)) {
      return true;
    }
  }
  return false;
}

/// Adds the identifiers of C source `text` to `names`, skipping comments,
/// string literals and lines that hold "#include".
inline void AddIdentifiers(const std::string& text,
                           std::set<std::string>* names) {
  enum class State { kCode, kBlockComment, kString };
  State state = State::kCode;
  for (const std::string& line : Lines(text)) {
    if (state == State::kCode && line.find("#include") != std::string::npos) {
      continue;
    }
    std::string word;
    for (size_t i = 0; i <= line.size(); ++i) {
      char c = i < line.size() ? line[i] : '\n';
      char next = i + 1 < line.size() ? line[i + 1] : '\0';
      unsigned char byte = static_cast<unsigned char>(c);
      bool identifier = std::isalpha(byte) || c == '_' ||
                        (!word.empty() && std::isdigit(byte));
      if (state == State::kCode && identifier) {
        word += c;
        continue;
      }
      if (!word.empty()) {
        names->insert(word);
        word.clear();
      }
      if (state == State::kBlockComment) {
        if (c == '*' && next == '/') {
          state = State::kCode;
          ++i;
        }
      } else if (state == State::kString) {
        if (c == '"') {
          state = State::kCode;
        }
      } else if (c == '/' && next == '*') {
        state = State::kBlockComment;
        ++i;
      } else if (c == '/' && next == '/') {
        break;
      } else if (c == '"') {
        state = State::kString;
      }
    }
    if (state == State::kString) {
      state = State::kCode;
    }
  }
}

/// The lines of the list file `path`, as a set.
inline std::set<std::string> ListFile(const std::string& path) {
  std::vector<std::string> lines = Lines(ReadFile(path));
  return std::set<std::string>(lines.begin(), lines.end());
}

/// The identifiers that the header scan collects from the files under
/// `dirs`: those outside comments, string literals and "#include" lines,
/// less the shipped ignore list and the language's keywords. Files with a
/// NUL byte are taken as binary and left out, and so are files whose path
/// holds no "." (the C++ library's headers, such as .../c++/12/new): the
/// scan cannot tell their kind by extension and skips them.
inline std::set<std::string> HeaderIdentifiers(
    const std::vector<std::string>& dirs, bool isC) {
  std::set<std::string> names;
  for (const std::string& dir : dirs) {
    std::error_code ec;
    for (auto it = std::filesystem::recursive_directory_iterator(dir, ec);
         !ec && it != std::filesystem::recursive_directory_iterator();
         it.increment(ec)) {
      const std::string path = it->path().string();
      if (!it->is_regular_file(ec) || path.find('.') == std::string::npos) {
        continue;
      }
      std::string text = ReadFile(path);
      if (text.find('\0') == std::string::npos) {
        AddIdentifiers(text, &names);
      }
    }
  }
  const std::string config = std::string(kSourceDir) + "/config/";
  for (const std::string& file :
       {std::string("ignore_keywords.txt"),
        std::string(isC ? "c_keywords.txt" : "cpp_keywords.txt")}) {
    for (const std::string& name : ListFile(config + file)) {
      names.erase(name);
    }
  }
  return names;
}

/// Expands, in `body`, every identifier that names another object-like
/// macro of `macros` (not `name` itself), repeatedly, the way the
/// preprocessor expands a macro before stringifying it.
inline std::string ExpandBody(const std::map<std::string, std::string>& macros,
                              const std::string& name,
                              const std::string& body) {
  std::string result;
  std::string word;
  for (size_t i = 0; i <= body.size(); ++i) {
    char c = i < body.size() ? body[i] : ' ';
    unsigned char byte = static_cast<unsigned char>(c);
    if (std::isalpha(byte) || c == '_' ||
        (!word.empty() && std::isdigit(byte))) {
      word += c;
      continue;
    }
    if (!word.empty()) {
      auto macro = macros.find(word);
      bool expand = macro != macros.end() && word != name;
      result += expand ? ExpandBody(macros, word, macro->second) : word;
      word.clear();
    }
    if (i < body.size()) {
      result += c;
    }
  }
  return result;
}

/// The define text that the macro stage records for `name` expanding to
/// `value`: blanks collapsed and stripped, a string written through
/// _KIV_STRINGIFY(...), the whole quoted when it holds a blank. Empty when
/// the value is the name itself (nothing is recorded then).
inline std::string RecordedDefine(const std::string& name,
                                  const std::string& value) {
  std::string text;
  for (char c : value) {
    bool blank = std::isspace(static_cast<unsigned char>(c)) != 0;
    if (!blank) {
      text += c;
    } else if (!text.empty() && text.back() != ' ') {
      text += ' ';
    }
  }
  while (!text.empty() && text.back() == ' ') {
    text.pop_back();
  }
  size_t quotes = 0;
  for (char c : text) {
    quotes += c == '"';
  }
  if (quotes % 2 == 1) {
    text.erase(text.rfind('"'));
  }
  if (text == name) {
    return "";
  }
  if (text.find('"') != std::string::npos) {
    text.replace(text.find('"'), 1, "_KIV_STRINGIFY(");
    text.replace(text.rfind('"'), 1, ")");
  }
  std::string define = name + "=" + text;
  return text.find(' ') == std::string::npos ? define : "\"" + define + "\"";
}

/// True when the constant expression `value` equals `n`, asked with a
/// switch holding the case labels `value` and `n` after `prefix`: a
/// duplicate case label is an error in every compiler, and a second file
/// with the label `n` + 1000 (small enough for a 16-bit int) instead must
/// compile (so the error is the duplicate and nothing else). Needs neither
/// array bounds nor `?:`.
inline bool CaseEquals(const Preset& preset, const std::string& prefix,
                       const std::string& value, long n) {
  auto source = [&](long label) {
    return prefix + "int truth_f(int x) { switch (x) { case " + value +
           ": return 1; case " + std::to_string(label) +
           ": return 2; } return 0; }\n";
  };
  return Compiles(preset, source(n + 1000)) && !Compiles(preset, source(n));
}

/// True when `name` and `type` are the same type after `prefix`: a
/// function declared to return one and defined to return the other
/// compiles only then.
inline bool SameType(const Preset& preset, const std::string& prefix,
                     const std::string& name, const std::string& type) {
  return Compiles(preset, prefix + name + " truth_g(void);\n" + type +
                              " truth_g(void) { return 0; }\n");
}

/// True when the compiler tells apart two names of `length` characters
/// that differ only in the last: two functions with different return types
/// (`external`), or two local variables of different types that are both
/// used (internal names).
inline bool TellsApartNames(const Preset& preset, bool external, long length) {
  const std::string same =
      "q" + std::string(static_cast<size_t>(length - 2), 'q');
  if (external) {
    return Compiles(preset, "int " + same + "a(void) { return 0; }\nchar " +
                                same + "b(void) { return 0; }\n");
  }
  return Compiles(preset, "int truth_i(void) { int " + same + "a = 1; char " +
                              same + "b = 2; return " + same + "a + " + same +
                              "b; }\n");
}

/// True when `name` can be a local variable that is assigned and read, and
/// a file-scope variable too. A name the compiler predeclares as a type
/// (gcc's `__float128` on i386) can be shadowed by a local but not
/// redeclared at file scope: it is not an ordinary identifier.
inline bool IsOrdinaryIdentifier(const Preset& preset,
                                 const std::string& name) {
  return Compiles(preset, "static int " + name + ";\nint truth_h(void) { int " +
                              name + "; " + name + " = 2; return " + name +
                              "; }\n");
}

}  // namespace tessel_test

#endif  // TESSEL_TESTS_INTEGRATION_COMPILER_TRUTH_H_
