#ifndef TESSEL_HARNESS_SHELL_H_
#define TESSEL_HARNESS_SHELL_H_

#include <string>

/// Runs shell commands. Every process that the tool starts (the compile
/// script, test programs, clean-up commands) goes through one of these, so
/// that tests and benchmarks can watch or count them.
struct Shell {
  /// What `Run` returns for a command that it stopped at the time limit.
  /// No status the platform reports for a finished command has this value.
  static constexpr int kTimedOut = -2;
  virtual ~Shell() = default;
  /// Runs `command` through the system shell and waits for it; returns the
  /// raw status that the platform reports, or `kTimedOut`.
  virtual int Run(const std::string& command) = 0;
  /// Limits every later command to `limit` seconds of wall-clock time; 0 means
  /// no limit. Shells that start no process ignore it.
  virtual void SetTimeLimit(int limit) { (void)limit; }
};

/// The real shell: "/bin/sh -c" in a process group of its own, so that a
/// command that outlives the time limit can be stopped together with every
/// process it started.
struct SystemShell : Shell {
  /// Runs `command`; over the limit, kills its process group and returns
  /// `kTimedOut`.
  int Run(const std::string& command) override;
  /// Sets the limit (300 seconds until changed).
  void SetTimeLimit(int limit) override { timeLimitSeconds = limit; }
  /// Seconds a command may run; 0 means no limit.
  int timeLimitSeconds = 300;
};

/// A shell that passes every command on to another one and counts them,
/// telling compile-script runs apart from the rest.
struct CountingShell : Shell {
  /// Wraps `inner`, which must outlive this object.
  explicit CountingShell(Shell& inner) : inner_(inner) {}
  /// Counts `command`, then runs it on the wrapped shell.
  int Run(const std::string& command) override;
  /// Passes the limit on to the wrapped shell.
  void SetTimeLimit(int limit) override { inner_.SetTimeLimit(limit); }
  /// Number of commands run in all.
  long commands = 0;
  /// Number of runs of the compile script.
  long compiles = 0;
  /// Wall-clock seconds spent inside the commands.
  double seconds = 0;

 private:
  Shell& inner_;
};

#endif  // TESSEL_HARNESS_SHELL_H_
