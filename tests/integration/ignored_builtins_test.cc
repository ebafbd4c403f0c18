// The x86 target built-in functions on the shipped ignore list, against the
// compilers that declare them. The header scan never collects a name on
// that list, so none of them may be a keyword of any compiler: each test
// declares every one of them in the shapes the extension keyword stage
// writes and reads what the compiler makes of it.
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "tests/integration/compiler_truth.h"
#include "tests/support/test_support.h"

using tessel_test::kSourceDir;
using tessel_test::Lines;
using tessel_test::ListFile;
using tessel_test::RunProcess;
using tessel_test::ScratchDir;
using tessel_test::WriteFile;

namespace {

const char kPrefix[] = "__builtin_ia32_";

// The names of the shipped ignore list that start with `kPrefix`.
std::set<std::string> IgnoredTargetBuiltins() {
  std::set<std::string> names;
  for (const std::string& line :
       ListFile(std::string(kSourceDir) + "/config/ignore_keywords.txt")) {
    if (line.rfind(kPrefix, 0) == 0) {
      names.insert(line);
    }
  }
  return names;
}

bool Installed(const std::string& exe) {
  return RunProcess("command -v " + exe).exitCode == 0;
}

// Every name as an old-style parameter (C only) and as a file-scope array,
// the two shapes of the stage's C test file.
std::string Declarations(const std::set<std::string>& names, bool isC) {
  std::string text;
  int n = 0;
  if (isC) {
    for (const std::string& name : names) {
      text += "void func" + std::to_string(n++) + "( " + name + ") int " +
              name + "; {}\n";
    }
  }
  for (const std::string& name : names) {
    text += "int " + name + "[1];\n";
  }
  return text;
}

// One shape of error message: the text just before the name it quotes and
// the text just after it.
struct Shape {
  std::string before;
  std::string after;
};

// The names that the error lines of `err` quote in one of `shapes`, and the
// error lines of no such shape.
struct Errors {
  std::set<std::string> quoted;
  std::vector<std::string> other;
};

Errors ReadErrors(const std::string& err, const std::vector<Shape>& shapes) {
  Errors errors;
  for (const std::string& line : Lines(err)) {
    if (line.find("error:") == std::string::npos) {
      continue;
    }
    bool matched = false;
    for (const Shape& shape : shapes) {
      const std::string::size_type start = line.find(shape.before);
      if (start == std::string::npos) {
        continue;
      }
      const std::string::size_type name = start + shape.before.size();
      const std::string::size_type end = line.find(shape.after, name);
      if (end != std::string::npos &&
          line.compare(name, sizeof kPrefix - 1, kPrefix) == 0) {
        errors.quoted.insert(line.substr(name, end - name));
        matched = true;
        break;
      }
    }
    if (!matched) {
      errors.other.push_back(line);
    }
  }
  return errors;
}

TEST(IgnoredTargetBuiltins, TheListHoldsThem) {
  // The x86 headers of gcc 12 and clang 14 name 3,588 of them.
  EXPECT_GE(IgnoredTargetBuiltins().size(), 3588u);
}

TEST(IgnoredTargetBuiltins, GccBuildsEveryOneAsAParameterAndAnObject) {
  if (!Installed("gcc")) {
    GTEST_SKIP() << "skipped: gcc not installed";
  }
  ScratchDir scratch;
  WriteFile("names.c", Declarations(IgnoredTargetBuiltins(), true));
  // gcc warns that its built-in functions are declared as objects; a
  // keyword among them would be a syntax error.
  const tessel_test::ProcessResult gcc = RunProcess(
      "LC_ALL=C gcc -fno-diagnostics-show-caret -c names.c -o "
      "names.o");
  EXPECT_EQ(0, gcc.exitCode) << gcc.err.substr(0, 2000);
  EXPECT_EQ(std::string::npos, gcc.err.find("error:"));
  EXPECT_NE(std::string::npos,
            gcc.err.find("built-in function '__builtin_ia32_pause' declared "
                         "as non-function"))
      << gcc.err.substr(0, 2000);
}

TEST(IgnoredTargetBuiltins, GppRejectsThemOnlyAsItsOwnDeclarations) {
  if (!Installed("g++")) {
    GTEST_SKIP() << "skipped: g++ not installed";
  }
  ScratchDir scratch;
  const std::set<std::string> names = IgnoredTargetBuiltins();
  WriteFile("names.cpp", Declarations(names, false));
  const tessel_test::ProcessResult gpp = RunProcess(
      "LC_ALL=C g++ -fno-diagnostics-show-caret -c names.cpp -o names.o");
  // Two errors for each one g++ declares: the declaration conflicts with the
  // built-in one, and so with a previous declaration.
  const Errors errors = ReadErrors(
      gpp.err,
      {{"declaration of 'int ", " [1]' conflicts with built-in declaration"},
       {"error: 'int ", " [1]' conflicts with a previous declaration"}});
  EXPECT_TRUE(errors.other.empty()) << errors.other.front();
  EXPECT_TRUE(errors.quoted.count("__builtin_ia32_pause"));
  for (const std::string& name : errors.quoted) {
    EXPECT_EQ(1u, names.count(name)) << name;
  }
}

// clang rejects every other declaration of a built-in function it knows:
// this is why the names are ignored, since each would otherwise fail its
// group and be split down to a compile of its own.
void ExpectClangDeclaresThemItself(const std::string& compiler, bool isC) {
  if (!Installed(compiler)) {
    GTEST_SKIP() << "skipped: " << compiler << " not installed";
  }
  ScratchDir scratch;
  const std::set<std::string> names = IgnoredTargetBuiltins();
  const std::string source = isC ? "names.c" : "names.cpp";
  WriteFile(source, Declarations(names, isC));
  const tessel_test::ProcessResult clang = RunProcess(
      "LC_ALL=C " + compiler + " -fno-caret-diagnostics -ferror-limit=0 -c " +
      source + " -o names.o");
  const Errors errors = ReadErrors(
      clang.err, {{"redefinition of '", "' as different kind of symbol"}});
  EXPECT_TRUE(errors.other.empty()) << errors.other.front();
  for (const std::string& name : errors.quoted) {
    EXPECT_EQ(1u, names.count(name)) << name;
  }

  EXPECT_GT(errors.quoted.size(), 1900u);
  EXPECT_TRUE(errors.quoted.count("__builtin_ia32_pause"));

  // Every one that the installed clang's own headers name is on the list
  // (some only in comments); a clang whose headers name others needs the
  // list brought up to date with scripts/update_ignore_list.sh.
  const std::string resources =
      RunProcess(compiler + " -print-resource-dir").out;
  const tessel_test::ProcessResult inHeaders =
      RunProcess("grep -rhoE '__builtin_ia32_[A-Za-z0-9_]+' '" +
                 resources.substr(0, resources.find('\n')) +
                 "/include' | LC_ALL=C sort -u");
  const std::vector<std::string> headerNames = Lines(inHeaders.out);
  ASSERT_GT(headerNames.size(), 1000u) << inHeaders.err;
  for (const std::string& name : headerNames) {
    EXPECT_EQ(1u, names.count(name))
        << name << " is not on the ignore list: run "
        << "scripts/update_ignore_list.sh on the clang header directory";
  }
}

TEST(IgnoredTargetBuiltins, ClangDeclaresThemItself) {
  ExpectClangDeclaresThemItself("clang", true);
}

TEST(IgnoredTargetBuiltins, ClangPlusPlusDeclaresThemItself) {
  ExpectClangDeclaresThemItself("clang++", false);
}

}  // namespace
