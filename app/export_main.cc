// Entry point of TesselExport: writes the facts of a personality for other
// tools, asking the installed clang about its targets.
#include <cstdlib>
#include <iostream>

#include "export/export_command.h"
#include "harness/shell.h"

int main(int argc, char** argv) {
  SystemShell shell;
  const char* clang = std::getenv("TESSEL_CLANG");
  InstalledClang installed(shell, clang != nullptr ? clang : "clang");
  return run_export(argc, argv, installed, std::cout, std::cerr);
}
