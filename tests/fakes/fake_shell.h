#ifndef TESSEL_TESTS_FAKES_FAKE_SHELL_H_
#define TESSEL_TESTS_FAKES_FAKE_SHELL_H_

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "harness/shell.h"

namespace tessel_test {

/// Records every command and runs none of them: no compiler answers, so no
/// object file or program ever appears.
struct RecordingShell : Shell {
  /// Appends `command` to `commands`; returns 0.
  int Run(const std::string& command) override {
    commands.push_back(command);
    return 0;
  }
  /// The commands in the order they were given.
  std::vector<std::string> commands;
};

/// Records every command and then runs it through the system shell.
struct RunningRecordingShell : Shell {
  /// Appends `command` to `commands`, then runs it.
  int Run(const std::string& command) override {
    commands.push_back(command);
    return real.Run(command);
  }
  /// The shell that runs the commands.
  SystemShell real;
  /// The commands in the order they were given.
  std::vector<std::string> commands;
};

/// Fails the test on any command: for code that must start no process.
struct RefusingShell : Shell {
  /// Reports `command` as a test failure; returns -1.
  int Run(const std::string& command) override {
    ADD_FAILURE() << "unexpected command: " << command;
    return -1;
  }
};

}  // namespace tessel_test

#endif  // TESSEL_TESTS_FAKES_FAKE_SHELL_H_
