#ifndef TESSEL_EXPORT_CPPCHECK_EXPORT_H_
#define TESSEL_EXPORT_CPPCHECK_EXPORT_H_

#include <string>
#include <vector>

#include "export/export_facts.h"

/// The names of the cppcheck export's files.
struct CppcheckFiles {
  /// The platform file, e.g. "tessel_platform.xml".
  std::string platform = "tessel_platform.xml";
  /// The includes file for "--includes-file=".
  std::string includes = "tessel_includes.txt";
  /// The project file.
  std::string project = "tessel.cppcheck";
  /// The header to force-include with "--include=".
  std::string compat = "tessel_cppcheck_compat.h";
};

/// cppcheck's platform file: char_bit, default-sign and the sizes in bytes
/// of bool, short, int, long, long-long, float, double, long-double,
/// pointer, size_t and wchar_t. A size the personality does not give is
/// filled in and named in `notes`.
std::string cppcheck_platform(const ExportFacts& facts,
                              std::vector<std::string>* notes);

/// The includes file: each include directory on a line, in search order.
std::string cppcheck_includes(const ExportFacts& facts);

/// The project file: the platform file, the include directories and the
/// compiler's macros as defines; a comment names the compat header and
/// the command that force-includes it.
std::string cppcheck_project(const ExportFacts& facts,
                             const CppcheckFiles& files);

/// `text` with XML's special characters escaped.
std::string xml_escape(const std::string& text);

#endif  // TESSEL_EXPORT_CPPCHECK_EXPORT_H_
