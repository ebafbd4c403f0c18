#ifndef TESSEL_PROBES_EXTENSION_KEYWORDS_H_
#define TESSEL_PROBES_EXTENSION_KEYWORDS_H_

#include <string>
#include <string_view>

class TesselGen;

/// The text that uses `kw` as an object name: "#ifndef kw", "int kw[1];",
/// "#endif", each ended by a newline. The guard keeps a candidate that is a
/// macro from breaking the file.
std::string PrintKeywords(const std::string& kw);

/// One line "void funcN( kw) int kw; {}" that uses `kw` as the parameter
/// name of an old-style C definition, N being `S_TEST_NUMBER`, which it
/// then advances so that the next definition gets another name.
std::string PrintTypedefsC(const std::string& kw);

/// Two lines that use `kw` as a function in a namespace and call it with a
/// class argument (the C++ form of the test), numbered with
/// `S_TEST_NUMBER`, which it then advances.
std::string PrintTypedefsCPP(const std::string& kw);

/// Append `PrintKeywords`, `PrintTypedefsC` and `PrintTypedefsCPP` of `kw`
/// to `text`; the test files of the stage are built with these.
void AppendKeywords(std::string& text, std::string_view kw);
void AppendTypedefsC(std::string& text, std::string_view kw);
void AppendTypedefsCPP(std::string& text, std::string_view kw);

/// Finds which of `tg.candidateKeywords` the compiler treats as keywords:
/// compiles the candidates as ordinary names in large groups, halves the
/// groups that fail round by round, and puts every candidate that still
/// fails alone (without a complaint that it is already declared) into
/// `tg.extensionKeywordsFound`. For C++ it first sets
/// `tg.limitedCppSupport` when the compiler cannot build the class and
/// namespace test. For C it first compiles one old-style definition; a
/// compiler that rejects it gets a warning (console and log) and groups of
/// object declarations only. Writes nothing to the personality.
void ScanExtensionKeywords(TesselGen& tg);

#endif  // TESSEL_PROBES_EXTENSION_KEYWORDS_H_
