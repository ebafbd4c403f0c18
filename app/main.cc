// Entry point of TesselGen: creates the real shell and hands the command
// line to the run.
#include <iostream>

#include "app/command_line.h"
#include "harness/shell.h"

int main(int argc, char** argv) {
  SystemShell shell;
  return run_command_line(argc, argv, shell, std::cout, std::cerr);
}
