#ifndef TESSEL_HARNESS_SHELL_H_
#define TESSEL_HARNESS_SHELL_H_

#include <string>

/// Runs shell commands. Every process that the tool starts (the compile
/// script, test programs, clean-up commands) goes through one of these, so
/// that tests and benchmarks can watch or count them.
struct Shell {
  virtual ~Shell() = default;
  /// Runs `command` through the system shell and waits for it; returns the
  /// raw status that the platform reports.
  virtual int Run(const std::string& command) = 0;
};

/// The real shell: std::system.
struct SystemShell : Shell {
  /// Runs `command` with std::system.
  int Run(const std::string& command) override;
};

/// A shell that passes every command on to another one and counts them,
/// telling compile-script runs apart from the rest.
struct CountingShell : Shell {
  /// Wraps `inner`, which must outlive this object.
  explicit CountingShell(Shell& inner) : inner_(inner) {}
  /// Counts `command`, then runs it on the wrapped shell.
  int Run(const std::string& command) override;
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
