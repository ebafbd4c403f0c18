#include "probes/extension_keywords.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "app/tessel_gen.h"
#include "harness/compile_harness.h"
#include "harness/globals.h"

unsigned int S_TEST_NUMBER = 0;

namespace {

const char kTestBase[] = "tmp_cmpext_test";

// The compiler messages that show a candidate is a name the compiler
// declares itself, looked for in this order.
const char* const kBuiltinMessages[] = {
    "redefinition", "declaration is incompatible", "redeclaration of"};

}  // namespace

std::string PrintKeywords(const std::string& kw) {
  return std::string(kIfndef) + kw + "\nint " + kw + "[1];\n" + kEndif + "\n";
}

std::string PrintTypedefsC(const std::string& kw) {
  // Each definition takes the next number: two definitions of one name in
  // a group would make every group of two or more fail.
  std::string n = std::to_string(S_TEST_NUMBER++);
  return "void func" + n + "( " + kw + ") int " + kw + "; {}\n";
}

std::string PrintTypedefsCPP(const std::string& kw) {
  std::string n = std::to_string(S_TEST_NUMBER++);
  return "namespace NS" + n + " { class A_zorv; int " + kw +
         " (A_zorv const &, int); }\n" + "void foo" + n + " (NS" + n +
         "::A_zorv const & a_zorv ) { int bar_zorv ( " + kw +
         " (a_zorv, 0) ); }\n";
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

// The source that tests one group: every member as a parameter or
// function name, then every member as an object name.
static std::string group_source(const TesselGen& tg,
                                const std::vector<std::string>& group) {
  std::string text;
  for (const std::string& kw : group) {
    if (tg.isC) {
      text += PrintTypedefsC(kw);
    } else if (!tg.limitedCppSupport) {
      text += PrintTypedefsCPP(kw);
    }
  }
  for (const std::string& kw : group) {
    text += PrintKeywords(kw);
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
// members of the groups that failed.
static std::vector<std::string> run_round(
    TesselGen& tg, const std::vector<std::string>& suspects, int groupSize,
    const std::string& source, const std::string& object) {
  std::vector<std::string> kept;
  const std::size_t size = static_cast<std::size_t>(groupSize);
  for (std::size_t start = 0; start < suspects.size(); start += size) {
    const std::size_t end = std::min(start + size, suspects.size());
    std::vector<std::string> group(
        suspects.begin() + static_cast<std::ptrdiff_t>(start),
        suspects.begin() + static_cast<std::ptrdiff_t>(end));
    // A file that cannot be written drops its group untested.
    if (!writeWholeFile(source, group_source(tg, group))) {
      continue;
    }
    if (compile_test_file(tg, source, object)) {
      continue;
    }
    // The message only clears a candidate tested alone: in a larger group
    // it may come from another member.
    if (groupSize == 1 && names_a_builtin()) {
      *tg.out << "~ignoring builtin: " << group.front() << "\n";
      continue;
    }
    kept.insert(kept.end(), group.begin(), group.end());
  }
  return kept;
}

void ScanExtensionKeywords(TesselGen& tg) {
  *tg.out << "\nScanning for compiler extension keywords...\n";
  tg.log.info("Scanning for compiler extension keywords...");
  const std::string source = kTestBase + sourceExtension(tg);
  const std::string object = kTestBase + S_OBJEXT;
  if (tg.isC) {
    tg.limitedCppSupport = false;
  } else {
    check_cpp_support(tg, source, object);
  }

  std::vector<std::string> suspects(tg.candidateKeywords.begin(),
                                    tg.candidateKeywords.end());
  tg.log.info("All " + std::to_string(suspects.size()) +
              " keywords to be tested:");
  for (const std::string& suspect : suspects) {
    tg.log.info(suspect);
  }

  // One progress item per round: 1 + log2 of the starting group size.
  int groupSize = tg.reducedFileSize ? 1024 : 4096;
  tg.progressStart(
      static_cast<uint32_t>(std::log10(groupSize) / 0.3010299956639812 + 1));
  while (groupSize != 0) {
    tg.log.info("\tNumber is now: " + std::to_string(groupSize));
    if (static_cast<std::size_t>(groupSize) <= suspects.size()) {
      suspects = run_round(tg, suspects, groupSize, source, object);
    }
    groupSize /= 2;
    tg.progressStep();
  }
  tg.progressEnd();
  std::remove(kStdoutLog);
  std::remove(kStderrLog);

  tg.extensionKeywordsFound.insert(suspects.begin(), suspects.end());
}
