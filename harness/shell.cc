#include "harness/shell.h"

#include <chrono>
#include <cstdlib>

int SystemShell::Run(const std::string& command) {
  return std::system(command.c_str());
}

int CountingShell::Run(const std::string& command) {
  ++commands;
  if (command.rfind("./compile.sh", 0) == 0) {
    ++compiles;
  }
  auto start = std::chrono::steady_clock::now();
  int status = inner_.Run(command);
  seconds +=
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start)
          .count();
  return status;
}
