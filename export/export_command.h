#ifndef TESSEL_EXPORT_EXPORT_COMMAND_H_
#define TESSEL_EXPORT_EXPORT_COMMAND_H_

#include <ostream>
#include <string>

#include "export/clang_target.h"

/// The usage text that "--help" prints.
extern const char kExportUsage[];

/// Writes `text` to `path` so that an existing file is replaced only by a
/// complete new one: the text goes to a temporary file in the same
/// directory, which is then renamed. Returns false with `err` naming the
/// file when that fails.
[[nodiscard]] bool write_file_replacing(const std::string& path,
                                        const std::string& text,
                                        std::string* err);

/// Runs TesselExport with its command line: "FORMAT PERSONALITY [-o DIR]".
/// Files go to DIR (created when missing; default: the personality's
/// directory), messages to `out`, errors to `err`. Returns 0 on success, 1
/// when an input cannot be read or an output written, 2 for a bad command
/// line.
int run_export(int argc, const char* const* argv, ClangTool& clang,
               std::ostream& out, std::ostream& err);

#endif  // TESSEL_EXPORT_EXPORT_COMMAND_H_
