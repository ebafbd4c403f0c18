#ifndef TESSEL_EXPORT_CLANG_EXPORT_H_
#define TESSEL_EXPORT_CLANG_EXPORT_H_

#include <string>
#include <vector>

#include "export/clang_target.h"
#include "export/export_facts.h"

/// What clang was found to do for a personality: the target chosen and
/// what clang predefines and knows there.
struct ClangPlan {
  /// The "--target=" value; empty when clang could use no candidate.
  std::string target;
  /// The personality lines the chosen target does not hold.
  std::vector<std::string> unheld;
  /// Number of facts checked.
  std::size_t factCount = 0;
  /// clang's macros and known keywords for the target.
  TargetInfo info;
};

/// Checks every candidate target against the facts, picks the closest and
/// asks clang about it.
ClangPlan plan_clang_export(const ExportFacts& facts, ClangTool& clang);

/// Lines saying where the export comes from: the personality, the compiler
/// and its switches, and the run log (or that none was found).
std::vector<std::string> origin_lines(const ExportFacts& facts);

/// The arguments for clang: "-x" and the language, "-nostdinc", "-isystem"
/// and each include directory in search order, "--target=...", the char
/// sign and "-include" with `compatPath`.
std::vector<std::string> clang_arguments(const ExportFacts& facts,
                                         const ClangPlan& plan,
                                         const std::string& compatPath);

/// compile_flags.txt: the arguments one a line.
std::string compile_flags_text(const std::vector<std::string>& arguments);

/// A .clangd fragment that adds the arguments, with the origin and the
/// facts no target holds as comments at the top.
std::string clangd_fragment(const ExportFacts& facts, const ClangPlan& plan,
                            const std::vector<std::string>& arguments);

/// tessel_compat.h: undefines what clang predefines and the compiler does
/// not, defines the compiler's macros, gives the extension keywords clang
/// does not know their treatment and includes the force-include header.
std::string compat_header(const ExportFacts& facts, const ClangPlan& plan);

/// A macro value as C text: "_KIV_STRINGIFY(text)" becomes "\"text\"".
std::string c_macro_value(const std::string& value);

#endif  // TESSEL_EXPORT_CLANG_EXPORT_H_
