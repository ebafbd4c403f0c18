#include "app/log/run_log.h"

#include <chrono>
#include <cstdio>
#include <ctime>
#include <iomanip>

int64_t system_clock_micros() {
  using namespace std::chrono;
  return duration_cast<microseconds>(system_clock::now().time_since_epoch())
      .count();
}

// The conventional 24-character local date text followed by a newline, as
// ctime() gives it ("Sat Nov 14 15:30:00 2026\n"); empty if the time cannot
// be converted.
static std::string date_text(int64_t micros) {
  std::time_t seconds = static_cast<std::time_t>(micros / 1000000);
  std::tm local{};
  if (localtime_r(&seconds, &local) == nullptr) {
    return std::string();
  }
  char buffer[64];
  if (std::strftime(buffer, sizeof buffer, "%a %b %e %H:%M:%S %Y\n", &local) ==
      0) {
    return std::string();
  }
  return buffer;
}

RunLog::RunLog(const std::string& prefix, bool relative, MicrosClock clock)
    : name(prefix), relativeStamps(relative), clock_(std::move(clock)) {
  startTime = clock_();
  lastTime = startTime;
  std::time_t seconds = static_cast<std::time_t>(startTime / 1000000);
  std::tm local{};
  char stamp[100];
  std::string formatted;
  if (localtime_r(&seconds, &local) != nullptr &&
      std::strftime(stamp, sizeof stamp, "%Y%m%d_%H%M%S", &local) != 0) {
    formatted = stamp;
  }
  name += formatted + ".log";
  file.open(name, std::ios::out | std::ios::trunc);
  file << "Started Logging at: " << date_text(startTime) << "\n" << std::endl;
}

RunLog::~RunLog() { finish(); }

void RunLog::info(const std::string& text) { writeLine("[INFO] ", text); }
void RunLog::warn(const std::string& text) { writeLine("[WARN] ", text); }
void RunLog::crit(const std::string& text) { writeLine("[CRIT] ", text); }

void RunLog::writeLine(const std::string& text) { writeLine("", text); }

void RunLog::writeLine(const char* tag, const std::string& text) {
  int64_t now = clock_();
  if (relativeStamps) {
    // "[+", the milliseconds right-aligned in 9 characters, "ms]". A busy
    // stage logs hundreds of thousands of lines, so the stamp is formatted
    // here rather than through the stream.
    char stamp[48];
    const int length =
        std::snprintf(stamp, sizeof stamp, "[+%9lldms]",
                      static_cast<long long>((now - lastTime) / 1000));
    file.write(stamp, length);
  } else {
    // The wall-clock form prints the date of one day earlier; it is kept so.
    std::string date = date_text(now - 86400LL * 1000000);
    if (date.empty()) {
      file.setstate(std::ios::badbit);
    }
    file << date << " : ";
  }
  file << tag << text << '\n';
  file.flush();
  lastTime = now;
}

void RunLog::finish() {
  if (finished_) {
    return;
  }
  finished_ = true;
  lastTime = clock_();
  file.clear();
  file << "\nFinished Logging at: " << date_text(lastTime) << std::endl;
  file << "Total run time: " << std::setw(9) << (lastTime - startTime) / 1000000
       << "s" << std::endl;
  file.close();
}
