// The checks of the end-to-end tests: a generated personality read back
// and compared, fact by fact, with what the compiler says about itself
// (compiler_truth.h). Header-only, since the integration tier compiles only
// its *_test.cc files.
#ifndef TESSEL_TESTS_INTEGRATION_PERSONALITY_CHECKS_H_
#define TESSEL_TESTS_INTEGRATION_PERSONALITY_CHECKS_H_

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <iostream>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "tests/integration/compiler_truth.h"
#include "tests/support/test_support.h"

namespace tessel_test {

using Strings = std::vector<std::string>;

// The parts of a personality file that the checks read.
struct Personality {
  // Directories of the "-i"/"-si" lines and of the "-q" lines, in order.
  Strings includeDirs;
  Strings quoteDirs;
  // The macro section: define text (after the prefix) by macro name.
  std::map<std::string, std::string> defines;
  // "-s" and "-a" values by personality name.
  std::map<std::string, int> bits;
  std::map<std::string, int> align;
  // The "-u+"/"-u-" lines.
  Strings charSign;
  // "-it" lines: type name to its value ("unsigned long").
  std::map<std::string, std::string> intrinsic;
  // The names that the define lines of the keyword stage (after the macro
  // section) replace.
  std::set<std::string> keywords;
};

inline bool StartsWith(const std::string& text, const std::string& start) {
  return text.compare(0, start.size(), start) == 0;
}

inline std::string Unquoted(const std::string& text) {
  if (text.size() >= 2 && text.front() == '"' && text.back() == '"') {
    return text.substr(1, text.size() - 2);
  }
  return text;
}

// The name a define text sets: the text before "=", without quotes.
inline std::string DefinedName(const std::string& define) {
  std::string text = Unquoted(define);
  return text.substr(0, text.find('='));
}

// Reads a personality. Its macro section is the run of define lines right
// after the include lines; the define lines of the keyword stage come later,
// after the type lines.
inline Personality ParsePersonality(const std::string& text, bool isC) {
  Personality p;
  const std::string include = isC ? "-i " : "-si ";
  const std::string define = isC ? "-d " : "-sd ";
  bool inMacros = true;
  for (const std::string& line : Lines(text)) {
    bool isInclude = StartsWith(line, include) || StartsWith(line, "-q ");
    bool isDefine = StartsWith(line, define);
    if (!isInclude && !isDefine) {
      inMacros = false;
    }
    if (StartsWith(line, include)) {
      p.includeDirs.push_back(Unquoted(line.substr(include.size())));
    } else if (StartsWith(line, "-q ") && inMacros) {
      // A later "-q" line names the force-include header's directory.
      p.quoteDirs.push_back(Unquoted(line.substr(3)));
    } else if (isDefine && inMacros) {
      std::string entry = line.substr(define.size());
      p.defines[DefinedName(entry)] = entry;
    } else if (isDefine) {
      // The analyser's own helpers, which the stage always defines, are
      // not the compiler's.
      std::string name = DefinedName(line.substr(define.size()));
      if (name != "_KIV_STRINGIFY(x)" && name != "kiv_ignore_paren" &&
          name != "_kiv_null_expression") {
        p.keywords.insert(name);
      }
    } else if (StartsWith(line, "-s ") || StartsWith(line, "-a ")) {
      std::string entry = line.substr(3);
      std::string::size_type equals = entry.find('=');
      auto& table = line[1] == 's' ? p.bits : p.align;
      table[entry.substr(0, equals)] = std::atoi(entry.c_str() + equals + 1);
    } else if (line == "-u+" || line == "-u-") {
      p.charSign.push_back(line);
    } else if (StartsWith(line, "-it ")) {
      std::string entry = Unquoted(line.substr(4));
      std::string::size_type equals = entry.find('=');
      p.intrinsic[entry.substr(0, equals)] = entry.substr(equals + 1);
    }
  }
  return p;
}

// The value of the line of `output` that starts with `label`.
inline std::string Reported(const std::string& output,
                            const std::string& label) {
  for (const std::string& line : Lines(output)) {
    if (StartsWith(line, label)) {
      std::string::size_type start = line.find_first_not_of(' ', label.size());
      return start == std::string::npos ? "" : line.substr(start);
    }
  }
  return "";
}

// The scalar types in the order of the type table, with the spelling used
// in test sources and in the personality, and the size in bits the table
// starts with.
struct ScalarType {
  std::string name;
  std::string personalityName;
  int defaultBits;
};
const std::vector<ScalarType> kScalarTypes = {{"int", "int", 32},
                                              {"char", "char", 8},
                                              {"short", "short", 16},
                                              {"long", "long", 32},
                                              {"long long", "longlong", 64},
                                              {"float", "float", 32},
                                              {"double", "double", 64},
                                              {"long double", "ldouble", 64},
                                              {"int*", "dataptr", 32},
                                              {"zorv_fun", "codeptr", 32}};
const char kCodePointer[] = "typedef void (*zorv_fun) ();\n";

// The cases where the specified method gives another answer than the
// compiler, per preset; the rest of the expectations follow from the
// compiler's own answers.
struct Specified {
  // The include directory order the pairwise exchange produces, given the
  // compiler's search order of the directories that hold headers.
  std::function<Strings(const Strings&)> order = [](const Strings& dirs) {
    return dirs;
  };
  // Sizes in bits and alignments that the method reports instead of the
  // compiler's, by personality name.
  std::map<std::string, int> bits;
  std::map<std::string, int> align;
  // Macro define texts that the method records instead of the compiler's
  // value, by name.
  std::map<std::string, std::string> defines;
  // Keywords the compiler documents, which must have keyword lines when
  // the headers name them.
  Strings keywords;
  // The verified personality has keyword lines for those alone (and the
  // analyser's helpers).
  bool onlyKnownKeywords = false;
};

// Include lines: the searched directories that hold headers, each with its
// "-q" line, in the order the pairwise exchange gives (and with any other
// directory that the method accepts, named in `specified.order`).
inline void ExpectIncludeDirectories(const Preset& preset, const Personality& p,
                                     const Specified& specified) {
  Strings searched;
  for (const std::string& dir : tessel_test::SearchList(preset)) {
    if (tessel_test::HoldsHeaders(dir)) {
      searched.push_back(dir);
    }
  }
  ASSERT_FALSE(searched.empty()) << "no search list from " << preset.compiler;
  const Strings expected = specified.order(searched);
  EXPECT_EQ(std::set<std::string>(expected.begin(), expected.end()),
            std::set<std::string>(p.includeDirs.begin(), p.includeDirs.end()))
      << "include directories; the compiler searches:\n  "
      << testing::PrintToString(searched);
  EXPECT_EQ(expected, p.includeDirs)
      << "include directory order; the compiler searches them in this "
         "order:\n  "
      << testing::PrintToString(searched);
  EXPECT_EQ(p.includeDirs, p.quoteDirs) << "one -q line per include line";
}

// Dynamic macros that "-dM" does not list, with the values the macro stage
// reads for them from its own test source: the program's printf line is
// line 4, the cross test's include line is line 3.
inline std::map<std::string, std::string> DynamicMacros(bool cross) {
  return {{"__LINE__", cross ? "__LINE__=3" : "__LINE__=4"},
          {"__FILE__", "__FILE__=_KIV_STRINGIFY(tmp_def_test.c)"},
          {"__COUNTER__", "__COUNTER__=0"},
          {"__INCLUDE_LEVEL__", "__INCLUDE_LEVEL__=0"},
          {"__BASE_FILE__", "__BASE_FILE__=_KIV_STRINGIFY(tmp_def_test.c)"}};
}

// Macro lines: every object-like macro of "-dM" whose name occurs in the
// scanned headers, with its value; no define the compiler does not make.
inline void ExpectMacros(const Preset& preset, const Personality& p,
                         const Specified& specified) {
  std::map<std::string, std::string> macros =
      tessel_test::PredefinedMacros(preset);
  std::set<std::string> names = tessel_test::HeaderIdentifiers(
      tessel_test::SearchList(preset), preset.isC);
  if (macros.empty()) {
    // No "-dM" (cc65): ask the preprocessor about every header name.
    macros = tessel_test::PreprocessedMacros(preset, names);
  }
  ASSERT_FALSE(macros.empty()) << "no macros from " << preset.compiler;
  int checked = 0;
  for (const auto& [name, body] : macros) {
    if (names.count(name) == 0) {
      continue;
    }
    ++checked;
    std::string expected = tessel_test::RecordedDefine(
        name, tessel_test::ExpandBody(macros, name, body));
    auto special = specified.defines.find(name);
    if (special != specified.defines.end()) {
      expected = special->second;
    }
    auto found = p.defines.find(name);
    EXPECT_EQ(expected, found == p.defines.end() ? "" : found->second)
        << "macro " << name << " defined by the compiler as: " << body;
  }
  std::map<std::string, std::string> dynamic = DynamicMacros(preset.cross);
  for (const auto& [name, define] : p.defines) {
    if (macros.count(name) != 0 || name == "_KIV_STRINGIFY(x)") {
      continue;
    }
    auto known = dynamic.find(name);
    EXPECT_TRUE(known != dynamic.end() && known->second == define)
        << "define " << define << " is not a macro of " << preset.compiler;
  }
  std::cout << "[ FIGURES  ] " << preset.name << ": " << checked
            << " predefined macros occur in the headers, " << p.defines.size()
            << " macro lines written" << std::endl;
}

// Facts about the scalar types, asked from the compiler one compile at a
// time.
struct TypeTruth {
  std::map<std::string, int> bytes;
  std::map<std::string, int> align;
};

inline TypeTruth AskTypes(const Preset& preset) {
  TypeTruth truth;
  const std::string alignof_ = preset.isC ? "_Alignof" : "alignof";
  // A compiler without _Alignof (cc65) tells the alignment by the offset
  // of the type after a char in a structure.
  const bool hasAlignof = Compiles(preset, Assertion(alignof_ + "(int) <= 64"));
  for (const ScalarType& type : kScalarTypes) {
    std::string prefix = type.personalityName == "codeptr"
                             ? std::string(kCodePointer)
                             : std::string();
    truth.bytes[type.personalityName] = tessel_test::SmallestSatisfying(
        preset, prefix, "sizeof(" + type.name + ") <= NUM");
    std::string claim = alignof_ + "(" + type.name + ") <= NUM";
    if (!hasAlignof) {
      prefix += "#include <stddef.h>\nstruct truth_s { char c; " + type.name +
                " t; };\n";
      claim = "offsetof(struct truth_s, t) <= NUM";
    }
    truth.align[type.personalityName] =
        tessel_test::SmallestSatisfying(preset, prefix, claim);
  }
  return truth;
}

// The personality name of the first scalar integer type of `bytes` bytes:
// the intrinsic type pass matches types by kind and size alone.
inline std::string FirstIntegerOfSize(const TypeTruth& truth, int bytes) {
  for (const char* name : {"int", "char", "short", "long", "longlong"}) {
    if (truth.bytes.at(name) == bytes) {
      return name;
    }
  }
  return "int";
}

// "-it" line for `type`, whose real spelling among `candidates` the
// compiler tells. The pass decides signedness by name (size_t unsigned,
// ptrdiff_t signed, wchar_t unsigned) and writes the first scalar type of
// the same size, so a long-typed size_t where int is as wide comes out as
// int, and a signed wchar_t comes out unsigned.
inline void ExpectIntrinsic(const Preset& preset, const Personality& p,
                            const TypeTruth& truth, const std::string& type,
                            const Strings& candidates, bool unsignedByName) {
  const std::string header = "#include <stddef.h>\n";
  std::string real = tessel_test::TypeOf(preset, header, type, candidates);
  ASSERT_FALSE(real.empty()) << preset.compiler << " has no " << type;
  int bytes = tessel_test::SmallestSatisfying(preset, header,
                                              "sizeof(" + type + ") <= NUM");
  std::string expected = std::string(unsignedByName ? "unsigned " : "signed ") +
                         FirstIntegerOfSize(truth, bytes);
  auto found = p.intrinsic.find(type);
  EXPECT_EQ(expected, found == p.intrinsic.end() ? "" : found->second)
      << type << " is " << real << " (" << bytes << " bytes)";
}

// Size, alignment and signedness lines of the scalar types, and the "-it"
// lines of size_t, ptrdiff_t and (C only) wchar_t.
inline void ExpectTypes(const Preset& preset, const Personality& p,
                        const Specified& specified) {
  TypeTruth truth = AskTypes(preset);
  for (const ScalarType& type : kScalarTypes) {
    const std::string& name = type.personalityName;
    // A type the compiler does not know (sdcc's long double) keeps the
    // table's size, and its alignment comes from object sizes that are all
    // 0, which the compile-only method reads as 8.
    const bool unknown = truth.bytes[name] == 0;
    int expectedBits = unknown ? type.defaultBits : truth.bytes[name] * 8;
    auto special = specified.bits.find(name);
    if (special != specified.bits.end()) {
      expectedBits = special->second;
    }
    EXPECT_EQ(expectedBits, p.bits.count(name) ? p.bits.at(name) : -1)
        << "size of " << type.name;
    // The compile-only alignment method tells apart 1, 2, 4 and 8 only, and
    // the code pointer takes it even natively: its native test program
    // leaves out the typedef that names the type.
    bool compileOnly = preset.cross || name == "codeptr";
    int expectedAlign = unknown ? 8 : truth.align[name];
    if (compileOnly && expectedAlign > 8) {
      expectedAlign = 8;
    }
    auto specialAlign = specified.align.find(name);
    if (specialAlign != specified.align.end()) {
      expectedAlign = specialAlign->second;
    }
    EXPECT_EQ(expectedAlign, p.align.count(name) ? p.align.at(name) : -1)
        << "alignment of " << type.name;
  }
  bool charSigned = Compiles(preset, Assertion("(char)-1 < 0"));
  if (preset.isC) {
    EXPECT_EQ(Strings{charSigned ? "-u-" : "-u+"}, p.charSign)
        << "plain char is " << (charSigned ? "signed" : "unsigned");
  } else {
    EXPECT_EQ(Strings{}, p.charSign) << "no -u line for C++";
  }
  const Strings unsignedTypes = {"unsigned int", "unsigned long",
                                 "unsigned long long", "unsigned short",
                                 "unsigned char"};
  const Strings signedTypes = {"int", "long", "long long", "short",
                               "signed char"};
  ExpectIntrinsic(preset, p, truth, "size_t", unsignedTypes, true);
  ExpectIntrinsic(preset, p, truth, "ptrdiff_t", signedTypes, false);
  if (preset.isC) {
    Strings any = signedTypes;
    any.insert(any.end(), unsignedTypes.begin(), unsignedTypes.end());
    ExpectIntrinsic(preset, p, truth, "wchar_t", any, true);
  } else {
    // C++ knows wchar_t without a header, so the pass leaves it out.
    EXPECT_EQ(0u, p.intrinsic.count("wchar_t"));
  }
}

// True when the compiler refuses `name` as an ordinary name, alone in a
// file: as the name of an object or of a parameter (tcc takes
// "int __asm[1];" but not a parameter "__asm"). The compiler treats it as
// a keyword or a name of its own.
inline bool RefusedAsName(const Preset& preset, const std::string& name) {
  return !Compiles(preset, "#ifndef " + name + "\nint " + name +
                               "[1];\n#endif\nint truth_other;\n") ||
         !Compiles(preset, "#ifndef " + name + "\nvoid truth_f(int " + name +
                               ") { (void)" + name + "; }\n#endif\n");
}

// Keyword lines: every name the keyword stage replaces is one the compiler
// refuses as an ordinary name, and every name of `known` (keywords the
// compiler documents) that occurs in the scanned headers and that the
// compiler refuses is among them.
inline void ExpectKeywords(const Preset& preset, const Personality& p,
                           const Strings& known) {
  for (const std::string& name : p.keywords) {
    // A function-like macro the compiler predefines (g++'s __INT16_C(c),
    // clang's __building_module(x)) is met in a call by the keyword tests,
    // which give it a line; as a macro it cannot be declared as a name, so
    // this check cannot judge it.
    if (Compiles(preset, "#ifndef " + name +
                             "\n#error not a macro\n#endif\n"
                             "int truth_other;\n")) {
      continue;
    }
    EXPECT_TRUE(RefusedAsName(preset, name))
        << name << " has a keyword line, but " << preset.compiler
        << " takes it as an ordinary name";
  }
  std::set<std::string> names =
      HeaderIdentifiers(SearchList(preset), preset.isC);
  for (const std::string& name : known) {
    if (names.count(name) != 0 && RefusedAsName(preset, name)) {
      EXPECT_EQ(1u, p.keywords.count(name))
          << preset.compiler << " keyword " << name << " has no keyword line";
    }
  }
  std::cout << "[ FIGURES  ] " << preset.name << ": " << p.keywords.size()
            << " keyword lines" << std::endl;
}

}  // namespace tessel_test

#endif  // TESSEL_TESTS_INTEGRATION_PERSONALITY_CHECKS_H_
