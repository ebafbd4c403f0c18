#include "harness/shell.h"

#include <cstdlib>

int SystemShell::Run(const std::string& command) {
  return std::system(command.c_str());
}

int CountingShell::Run(const std::string& command) {
  ++commands;
  if (command.rfind("./compile.sh", 0) == 0) {
    ++compiles;
  }
  return inner_.Run(command);
}
