#ifndef TESSEL_APP_LOG_RUN_LOG_H_
#define TESSEL_APP_LOG_RUN_LOG_H_

#include <cstdint>
#include <fstream>
#include <functional>
#include <string>

/// A clock that returns microseconds since the epoch. Injected so that tests
/// can write exact stamps; the default reads the system clock.
using MicrosClock = std::function<int64_t()>;

/// Reads the system clock in microseconds since the epoch.
int64_t system_clock_micros();

/// The run's text log. Opened once when a run starts, it records the
/// settings, every stage's findings and the run's duration. Each line is
/// stamped with the milliseconds since the line before it (or, in the
/// wall-clock form, with a date text).
class RunLog {
 public:
  /// Opens "`prefix`" + start time ("%Y%m%d_%H%M%S") + ".log" in the current
  /// directory and writes the opening lines. `relativeStamps` picks the
  /// "[+ n ms]" stamp over the wall-clock stamp. `clock` is the time source.
  RunLog(const std::string& prefix, bool relativeStamps,
         MicrosClock clock = system_clock_micros);
  /// Finishes the log (see `finish`) unless that was done already.
  ~RunLog();
  RunLog(const RunLog&) = delete;
  RunLog& operator=(const RunLog&) = delete;

  /// Writes one line tagged "[INFO] ".
  void info(const std::string& text);
  /// Writes one line tagged "[WARN] ".
  void warn(const std::string& text);
  /// Writes one line tagged "[CRIT] ".
  void crit(const std::string& text);
  /// Writes the stamp, `text` (which carries its level tag) and a newline,
  /// and flushes.
  void writeLine(const std::string& text);
  /// The same for the text `tag` + `text`, without joining them first.
  void writeLine(const char* tag, const std::string& text);
  /// Writes the closing lines ("Finished Logging at:", "Total run time:")
  /// and closes the file. Later calls do nothing.
  void finish();

  /// The full file name of the log, once it is open.
  const std::string& fileName() const { return name; }

 private:
  std::string name;
  bool relativeStamps;
  std::ofstream file;
  int64_t startTime = 0;
  int64_t lastTime = 0;
  MicrosClock clock_;
  bool finished_ = false;
};

#endif  // TESSEL_APP_LOG_RUN_LOG_H_
