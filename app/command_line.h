#ifndef TESSEL_APP_COMMAND_LINE_H_
#define TESSEL_APP_COMMAND_LINE_H_

#include <functional>
#include <ostream>
#include <string>

#include "app/log/run_log.h"
#include "harness/shell.h"

class TesselGen;

/// The usage line printed for a lone unknown argument.
extern const char kUsageText[];

/// Makes `path` absolute against the current directory: "/..." stays as it
/// is, "." becomes the current directory, anything else is appended to it
/// after a "/". No other normalisation is done ("..", doubled or trailing
/// slashes stay). Works for working directories of any length.
std::string makeAbsolute(const std::string& path);

/// Reads an includes file: one directory per line, made absolute and added
/// to `tg.includeDirs`; problems go to `tg.err`.
void readIncludesFile(TesselGen& tg, const std::string& path);

/// Walks the options from `argv[first]` on, applies them to `tg` and echoes
/// each on `tg.out`. Returns false, after the message "Missing value for
/// option " and the option on `tg.err` and in the run log, when an option
/// that takes a value is the last argument.
[[nodiscard]] bool applyOptions(TesselGen& tg, int argc,
                                const char* const* argv, int first);

/// The whole program: start line, argument-count rules, the positional echo,
/// the options and the run. Returns the process exit status: 0 for a short
/// command line, a version or usage request and a completed run, 1 when the
/// driver stops, 2 when an option lacks its value or when another run holds
/// the current directory (see RunLock; nothing is written then). `shell` runs
/// every command, `clock` stamps the run log; `prepare`, when given, may adjust
/// the TesselGen object once the options are read (benchmarks hook into
/// the stages there).
int run_command_line(int argc, const char* const* argv, Shell& shell,
                     std::ostream& out, std::ostream& err,
                     MicrosClock clock = system_clock_micros,
                     const std::function<void(TesselGen&)>& prepare = {});

#endif  // TESSEL_APP_COMMAND_LINE_H_
