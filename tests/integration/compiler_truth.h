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

/// One preset of scripts/run.sh, as scripts/presets.tsv describes it.
struct Preset {
  /// The preset's name ("gcc", "sdcc", ...).
  std::string name;
  /// The compiler command, positional 3.
  std::string compiler;
  /// True for the C analyser ("vellc").
  bool isC = true;
  /// True when the preset declares a cross compiler ("ccmp").
  bool cross = false;
  /// The output, compile-only and define flags (positionals 4 to 6).
  std::string outputFlag;
  std::string compileFlag;
  std::string defineFlag;
  /// The object extension, positional 7.
  std::string objExt;
  /// The compiler order string, positional 8.
  std::string order;
  /// How run.sh finds the header directories: "gcc", "tcc", "sdcc", "pcc",
  /// or standard locations "/dir[:/dir...]".
  std::string headers;
  /// The "-xs" switches, each as one string (may hold blanks).
  std::vector<std::string> switches;
};

/// The fields of the table's line for `name`, or an empty list when the
/// table has no such preset. Lines starting with "#" and the header line
/// ("name ...") are not presets.
inline std::vector<std::string> PresetFields(const std::string& name) {
  const std::string table = std::string(kSourceDir) + "/scripts/presets.tsv";
  for (const std::string& line : Lines(ReadFile(table))) {
    std::vector<std::string> fields;
    std::string::size_type start = 0;
    for (;;) {
      std::string::size_type tab = line.find('\t', start);
      fields.push_back(line.substr(start, tab - start));
      if (tab == std::string::npos) {
        break;
      }
      start = tab + 1;
    }
    if (line.empty() || line[0] == '#' || fields[0] == "name") {
      continue;
    }
    if (fields[0] == name) {
      return fields;
    }
  }
  return {};
}

/// The names of the presets in scripts/presets.tsv, in its order.
inline std::vector<std::string> PresetNames() {
  const std::string table = std::string(kSourceDir) + "/scripts/presets.tsv";
  std::vector<std::string> names;
  for (const std::string& line : Lines(ReadFile(table))) {
    std::string name = line.substr(0, line.find('\t'));
    if (!line.empty() && line[0] != '#' && name != "name") {
      names.push_back(name);
    }
  }
  return names;
}

/// Reads the preset `name` from scripts/presets.tsv; `name` stays empty in
/// the result when the table has no such preset or its line is short.
inline Preset LoadPreset(const std::string& name) {
  Preset preset;
  std::vector<std::string> fields = PresetFields(name);
  if (name.empty() || fields.size() != 11) {
    return preset;
  }
  preset.name = name;
  preset.isC = fields[1] == "vellc";
  preset.cross = fields[2] == "ccmp";
  preset.compiler = fields[3];
  preset.outputFlag = fields[4];
  preset.compileFlag = fields[5];
  preset.defineFlag = fields[6];
  preset.objExt = fields[7];
  preset.order = fields[8];
  if (fields[9] != "-") {
    preset.switches.push_back(fields[9]);
  }
  preset.headers = fields[10];
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
  return RunProcess(CompilerCommand(preset) + " " + preset.compileFlag + " " +
                    preset.outputFlag + "truth" + preset.objExt + " " + file)
             .exitCode == 0;
}

/// A declaration that compiles only when the constant expression `claim`
/// holds: an array of size 1, or of size -1 when it does not. Written
/// without "?:", which cc65 does not take as a constant.
inline std::string Assertion(const std::string& claim) {
  return "typedef char truth_t[1 - 2 * !(" + claim + ")];\n";
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
    return Compiles(preset, prefix + Assertion(expression));
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

/// Which of `candidates` (type spellings) the type `name` is, asked with
/// _Generic in C and a template specialisation in C++, after `prefix`;
/// empty when none is. A C compiler without _Generic (cc65) is asked
/// whether an object declared with `name` may be declared again with the
/// candidate, which only the same type allows.
inline std::string TypeOf(const Preset& preset, const std::string& prefix,
                          const std::string& name,
                          const std::vector<std::string>& candidates) {
  const std::string value = "(" + name + ")0";
  const bool generic =
      !preset.isC ||
      Compiles(preset, "typedef char truth_t[_Generic(1, int: 1)];\n");
  for (const std::string& type : candidates) {
    std::string test;
    if (!generic) {
      test = "extern " + name + " truth_v;\nextern " + type + " truth_v;\n";
    } else if (preset.isC) {
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

/// For a compiler that cannot list its macros: which of `names` it
/// predefines, name to value, asked from its preprocessor ("-E") with one
/// "#ifdef" per name. The value comes out expanded.
inline std::map<std::string, std::string> PreprocessedMacros(
    const Preset& preset, const std::set<std::string>& names) {
  std::vector<std::string> numbered(names.begin(), names.end());
  std::string source;
  for (size_t i = 0; i < numbered.size(); ++i) {
    // The line's number stands for the name, which would be expanded.
    source += "#ifdef " + numbered[i] + "\n@" + std::to_string(i) + "@ " +
              numbered[i] + "\n#endif\n";
  }
  WriteFile("truth_macros.c", source);
  RunProcess(CompilerCommand(preset) + " -E -o truth_macros.i truth_macros.c");
  std::map<std::string, std::string> macros;
  for (const std::string& line : Lines(ReadFile("truth_macros.i"))) {
    std::string::size_type at = line.find('@');
    std::string::size_type end = line.find("@ ", at + 1);
    if (at == std::string::npos || end == std::string::npos) {
      continue;
    }
    size_t index = std::stoul(line.substr(at + 1, end - at - 1));
    if (index < numbered.size()) {
      macros[numbered[index]] = line.substr(end + 2);
    }
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

/// True when the preset's compiler finds a header of `dir` by its name in
/// angle brackets: a directory it searches. Tried with the headers directly
/// in `dir`, in name order, until one compiles alone (some only compile
/// for another target).
inline bool FindsHeaderOf(const Preset& preset, const std::string& dir) {
  std::error_code ec;
  std::set<std::string> headers;
  for (const auto& entry : std::filesystem::directory_iterator(dir, ec)) {
    if (entry.is_regular_file(ec) && entry.path().extension() == ".h") {
      headers.insert(entry.path().filename().string());
    }
  }
  for (const std::string& header : headers) {
    if (Compiles(preset, "#include <" + header + ">\nint truth_x;\n")) {
      return true;
    }
  }
  return false;
}

/// The directories that pcc hands its preprocessor with "-S" (its verbose
/// listing names the preprocessor command it calls).
inline std::vector<std::string> PccSearchList(const Preset& preset) {
  std::vector<std::string> listed;
  for (const std::string& line :
       Lines(RunProcess(preset.compiler + " -v -E -xc /dev/null").out)) {
    if (line.compare(0, 8, "Calling ") != 0) {
      continue;
    }
    std::string::size_type at = 0;
    while ((at = line.find(" -S ", at)) != std::string::npos) {
      at += 4;
      listed.push_back(line.substr(at, line.find(' ', at) - at));
    }
  }
  return listed;
}

/// The compiler's "#include <...>" search list as it prints it (verbose
/// listing for gcc-like compilers, "-vv" for tcc, "--print-search-dirs"
/// for sdcc, the preprocessor's "-S" options for pcc), or for a compiler
/// that prints none the standard locations of the preset that it finds
/// headers in; each directory with its "." and ".." steps resolved (as
/// "cd DIR && pwd" does; symbolic links stay) and listed once.
inline std::vector<std::string> SearchList(const Preset& preset) {
  std::vector<std::string> listed;
  if (preset.headers == "tcc") {
    listed = LinesBetween(RunProcess(preset.compiler + " -vv").out, "include:",
                          [](const std::string& l) { return l[0] != ' '; });
  } else if (preset.headers == "sdcc") {
    listed = LinesBetween(
        RunProcess(CompilerCommand(preset) + " --print-search-dirs").out,
        "includedir:", [](const std::string& l) { return l.back() == ':'; });
  } else if (preset.headers == "pcc") {
    listed = PccSearchList(preset);
  } else if (!preset.headers.empty() && preset.headers[0] == '/') {
    std::string::size_type start = 0;
    for (;;) {
      std::string::size_type colon = preset.headers.find(':', start);
      std::string dir = preset.headers.substr(start, colon - start);
      if (FindsHeaderOf(preset, dir)) {
        listed.push_back(dir);
      }
      if (colon == std::string::npos) {
        break;
      }
      start = colon + 1;
    }
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

/// The define text the macro stage writes for `name` with `value` as the
/// personality spells it: the whole in quotes when it holds a blank.
inline std::string DefineEntry(const std::string& name,
                               const std::string& value) {
  const std::string text = name + "=" + value;
  return text.find(' ') == std::string::npos ? text : "\"" + text + "\"";
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
  return DefineEntry(name, text);
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
