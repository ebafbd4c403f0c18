#ifndef TESSEL_TESTS_UNIT_EXPORT_EXPORT_SAMPLES_H_
#define TESSEL_TESTS_UNIT_EXPORT_EXPORT_SAMPLES_H_

#include <gtest/gtest.h>

#include <string>

#include "export/clang_target.h"
#include "export/export_facts.h"
#include "model/personality.h"

namespace tessel_test {

/// A small personality of an 8051 compiler run with "-xd DEBUG=1": one line
/// of every kind, a 24-bit data pointer and a force-include header.
inline const char kSdccPersonality[] =
    "-i \"/opt/sdcc/include/mcs51\"\n"
    "-q \"/opt/sdcc/include/mcs51\"\n"
    "-i \"/opt/sdcc/include\"\n"
    "-q \"/opt/sdcc/include\"\n"
    "-d DEBUG=1\n"
    "-d __SDCC_mcs51=1\n"
    "-d __SDCC_VERSION_STR=_KIV_STRINGIFY(4.2.0)\n"
    "-d __STDC_VERSION__=199901L\n"
    "-d \"__LINE__=3\"\n"
    "-s int=16\n"
    "-a int=1\n"
    "-s char=8\n"
    "-u+\n"
    "-s long=32\n"
    "-s dataptr=24\n"
    "-it \"size_t=unsigned int\"\n"
    "-it \"wchar_t=unsigned long\"\n"
    "-xn 31\n"
    "-na 31\n"
    "-ex binconst\n"
    "-d kiv_ignore_paren=_ignore_paren\n"
    "-d \"__xdata=\"\n"
    "-d __at=kiv_ignore_paren\n"
    "-d \"__inline=inline\"\n"
    "-d \"__sfr=unsigned char\"\n"
    "\n"
    "-q \"personality/kivforceinclude\"\n"
    "-fi \"personality/kivforceinclude/kiv_forceinclude.h\"\n";

/// The top of the run log of that run.
inline const char kSdccLog[] =
    "Started Logging at: Tue Nov 24 02:21:25 2026\n"
    "\n"
    "\n"
    "[+        0ms][INFO] TesselPersonGen v0.1 ()\n"
    "[+        0ms][INFO] [1] VellC=true\n"
    "[+        0ms][INFO] [2] Cross Compiling=true\n"
    "[+        0ms][INFO] [3] Compiler EXE=sdcc\n"
    "[+        0ms][INFO] [4] Compiler EXE Flag=-o \n"
    "[+        0ms][INFO] [5] Compiler Compile Flag=-c\n"
    "[+        0ms][INFO] [6] Compiler Define Flag=-D\n"
    "[+        0ms][INFO] [7] Object File Ext=.rel\n"
    "[+        0ms][INFO] [8] Compiler Order String=%c %j %d%s %o%e\n"
    "[+        0ms][INFO] \t-i\n"
    "[+        0ms][INFO] \t\t/opt/sdcc/include\n"
    "[+        0ms][INFO] \t-xd\n"
    "[+        0ms][INFO] \t\tDEBUG=1\n"
    "[+        0ms][INFO] \t-xs\n"
    "[+        0ms][INFO] \t\t-mmcs51\n"
    "[+        0ms][INFO] \t-op personality/TesselPerson.p_c\n"
    "[+       37ms][INFO] Discovered obj file extension: .rel\n";

/// A clang that answers from a script: the failed facts per target (a
/// target not listed is unusable), the macros it predefines and the
/// keywords it knows.
struct ScriptedClang : ClangTool {
  /// Failed fact numbers by target.
  std::map<std::string, std::set<std::size_t>> failed;
  /// What DescribeTarget answers.
  TargetInfo info;
  /// The last check source, described target and keywords asked about.
  std::string source;
  std::string described;
  std::vector<std::string> askedKeywords;

  /// Answers from `failed`.

  std::vector<TargetCheck> CheckTargets(const std::vector<std::string>& targets,
                                        const std::string& text) override {
    source = text;
    std::vector<TargetCheck> checks;
    for (const std::string& target : targets) {
      TargetCheck check;
      check.target = target;
      check.usable = failed.count(target) != 0;
      check.failed = check.usable ? failed[target] : std::set<std::size_t>();
      checks.push_back(check);
    }
    return checks;
  }
  /// Answers `info`.
  bool DescribeTarget(const std::string& target,
                      const std::vector<std::string>& keywords,
                      TargetInfo* out) override {
    described = target;
    askedKeywords = keywords;
    *out = info;
    return true;
  }
};

/// The facts of `text`, read as the personality at `path`.
inline ExportFacts SampleFacts(const std::string& text = kSdccPersonality,
                               const std::string& path = "p/TesselPerson.p_c") {
  Personality personality;
  std::string err;
  EXPECT_TRUE(parse_personality(text, &personality, &err)) << err;
  return collect_facts(personality, path);
}

}  // namespace tessel_test

#endif  // TESSEL_TESTS_UNIT_EXPORT_EXPORT_SAMPLES_H_
