#include "probes/extension_keywords.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "app/tessel_gen.h"
#include "harness/compile_harness.h"
#include "harness/globals.h"
#include "util/text.h"

namespace {

const char kTestBase[] = "tmp_cmpext_test";

// The compiler messages that show a candidate is a name the compiler
// declares itself, looked for in this order.
const char* const kBuiltinMessages[] = {
    "redefinition", "declaration is incompatible", "redeclaration of"};

}  // namespace

void AppendKeywords(std::string& text, std::string_view kw) {
  appendPieces(text, kIfndef, kw, "\nint ", kw, "[1];\n", kEndif, "\n");
}

void AppendTypedefsC(std::string& text, std::string_view kw) {
  // Each definition takes the next number: two definitions of one name in
  // a group would make every group of two or more fail.
  const std::string n = std::to_string(S_TEST_NUMBER++);
  appendPieces(text, "void func", n, "( ", kw, ") int ", kw, "; {}\n");
}

void AppendTypedefsCPP(std::string& text, std::string_view kw) {
  const std::string n = std::to_string(S_TEST_NUMBER++);
  appendPieces(text, "namespace NS", n, " { class A_zorv; int ", kw,
               " (A_zorv const &, int); }\nvoid foo", n, " (NS", n,
               "::A_zorv const & a_zorv ) { int bar_zorv ( ", kw,
               " (a_zorv, 0) ); }\n");
}

// The text that `append` writes for `kw`, as a string of its own.
static std::string printed(void (*append)(std::string&, std::string_view),
                           const std::string& kw) {
  std::string text;
  append(text, kw);
  return text;
}

std::string PrintKeywords(const std::string& kw) {
  return printed(AppendKeywords, kw);
}

std::string PrintTypedefsC(const std::string& kw) {
  return printed(AppendTypedefsC, kw);
}

std::string PrintTypedefsCPP(const std::string& kw) {
  return printed(AppendTypedefsCPP, kw);
}

// Compiles the test file as it stands and tells whether the compile
// succeeded, by the marker file or by the object.
static bool compile_test_file(TesselGen& tg, const std::string& source,
                              const std::string& object) {
  std::remove(object.c_str());
  runCompileScript(tg, buildCommand(tg, source, false, ""));
  return canOpen(kPassFile) || canOpen(object);
}

// Sets `limitedCppSupport` when the compiler cannot build the namespace and
// class shape of the C++ test, which the groups then leave out.
static void check_cpp_support(TesselGen& tg, const std::string& source,
                              const std::string& object) {
  writeWholeFile(source, PrintTypedefsCPP("foo"));
  runCompileScript(tg, buildCommand(tg, source, false, ""));
  tg.limitedCppSupport = !canOpen(kPassFile) && !canOpen(object);
  if (tg.limitedCppSupport) {
    *tg.out << "Compiler has limited C++ support - intrinsic type "
               "definitions may not be detected."
            << std::endl;
  }
  std::remove(object.c_str());
}

// Tells whether the C compiler builds the old-style definition of the C
// test. One that rejects it (sdcc, compilers in C23 mode) would fail every
// group and make every candidate a keyword, so the groups then leave it out
// and test the names as object names only. A file that cannot be written
// leaves the groups as they are: they cannot be written either.
static bool accepts_old_style_c(TesselGen& tg, const std::string& source,
                                const std::string& object) {
  if (!writeWholeFile(source, PrintTypedefsC("foo"))) {
    return true;
  }
  const bool accepted = compile_test_file(tg, source, object);
  std::remove(object.c_str());
  if (!accepted) {
    const char message[] =
        "Compiler has limited old-style C support - extension keywords are "
        "tested by declarations only.";
    *tg.out << message << std::endl;
    tg.log.warn(message);
  }
  return accepted;
}

// The source that tests one group: every member as a parameter or
// function name (unless `declarationsOnly`), then every member as an
// object name.
static std::string group_source(const TesselGen& tg,
                                const std::string_view* first,
                                const std::string_view* last,
                                bool declarationsOnly) {
  std::string text;
  for (const std::string_view* kw = first; kw != last && !declarationsOnly;
       ++kw) {
    if (tg.isC) {
      AppendTypedefsC(text, *kw);
    } else if (!tg.limitedCppSupport) {
      AppendTypedefsCPP(text, *kw);
    }
  }
  for (const std::string_view* kw = first; kw != last; ++kw) {
    AppendKeywords(text, *kw);
  }
  return text;
}

// True when the last compile's messages say a name was already declared.
static bool names_a_builtin() {
  for (const char* message : kBuiltinMessages) {
    // Read afresh for every search, as the messages may be large.
    if (readCompilerOutput().find(message) != std::string::npos) {
      return true;
    }
  }
  return false;
}

// One round: tests the suspects in groups of `groupSize` and returns the
// members of the groups that failed. The suspects are views of
// `tg.candidateKeywords`, which the stage does not change.
static std::vector<std::string_view> run_round(
    TesselGen& tg, const std::vector<std::string_view>& suspects, int groupSize,
    const std::string& source, const std::string& object,
    bool declarationsOnly) {
  std::vector<std::string_view> kept;
  const std::size_t size = static_cast<std::size_t>(groupSize);
  for (std::size_t start = 0; start < suspects.size(); start += size) {
    const std::size_t end = std::min(start + size, suspects.size());
    const std::string_view* first = suspects.data() + start;
    const std::string_view* last = suspects.data() + end;
    // A file that cannot be written drops its group untested.
    if (!writeWholeFile(source,
                        group_source(tg, first, last, declarationsOnly))) {
      continue;
    }
    if (compile_test_file(tg, source, object)) {
      continue;
    }
    // The message only clears a candidate tested alone: in a larger group
    // it may come from another member.
    if (groupSize == 1 && names_a_builtin()) {
      *tg.out << "~ignoring builtin: " << *first << "\n";
      continue;
    }
    kept.insert(kept.end(), first, last);
  }
  return kept;
}

void ScanExtensionKeywords(TesselGen& tg) {
  *tg.out << "\nScanning for compiler extension keywords...\n";
  tg.log.info("Scanning for compiler extension keywords...");
  const std::string source = kTestBase + sourceExtension(tg);
  const std::string object = kTestBase + S_OBJEXT;
  bool declarationsOnly = false;
  if (tg.isC) {
    tg.limitedCppSupport = false;
    declarationsOnly = !accepts_old_style_c(tg, source, object);
  } else {
    check_cpp_support(tg, source, object);
  }

  std::vector<std::string_view> suspects(tg.candidateKeywords.begin(),
                                         tg.candidateKeywords.end());
  tg.log.info("All " + std::to_string(suspects.size()) +
              " keywords to be tested:");
  for (const std::string& suspect : tg.candidateKeywords) {
    tg.log.info(suspect);
  }

  // One progress item per round: 1 + log2 of the starting group size.
  int groupSize = tg.reducedFileSize ? 1024 : 4096;
  tg.progressStart(halving_count(groupSize));
  while (groupSize != 0) {
    tg.log.info("\tNumber is now: " + std::to_string(groupSize));
    if (static_cast<std::size_t>(groupSize) <= suspects.size()) {
      suspects =
          run_round(tg, suspects, groupSize, source, object, declarationsOnly);
    }
    groupSize /= 2;
    tg.progressStep();
  }
  tg.progressEnd();
  std::remove(kStdoutLog);
  std::remove(kStderrLog);

  for (const std::string_view keyword : suspects) {
    tg.extensionKeywordsFound.emplace(keyword);
  }
}
