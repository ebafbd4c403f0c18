// A TesselGen run followed by the include directory and macro checks, at
// the place where the check stage runs them: after the personality is
// closed. It takes the same arguments as TesselGen, so it can stand in for
// the real binary:
//
//   TESSEL_BINARY=build/tests/verify_checks_bench scripts/run.sh gcc
//
// and prints what the checks add to the run: compiles and seconds, for
// each check and in all, as parts of the run's own. The checked
// personality is written beside the run's one, with ".checked" appended;
// the run's personality stays as the run wrote it.
#include <chrono>
#include <cstdio>
#include <iostream>
#include <string>

#include "app/command_line.h"
#include "app/tessel_gen.h"
#include "harness/shell.h"
#include "model/personality.h"
#include "verify/include_check.h"
#include "verify/macro_check.h"

namespace {

using Clock = std::chrono::steady_clock;

double SecondsSince(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

// Counts the facts of `facts` by status into one line.
std::string Statuses(const std::vector<FactResult>& facts) {
  int counts[4] = {0, 0, 0, 0};
  for (const FactResult& fact : facts) {
    ++counts[static_cast<int>(fact.status)];
  }
  return std::to_string(counts[0]) + " confirmed, " +
         std::to_string(counts[1]) + " corrected, " +
         std::to_string(counts[2]) + " added, " + std::to_string(counts[3]) +
         " unchecked";
}

void RunChecks(TesselGen& tg, const CountingShell& shell,
               Clock::time_point start) {
  const long runCompiles = shell.compiles;
  const double runSeconds = SecondsSince(start);
  Personality personality;
  std::string err;
  if (!read_personality_file(tg.outputPath, &personality, &err)) {
    std::cerr << err << std::endl;
    return;
  }
  Clock::time_point begin = Clock::now();
  const std::vector<FactResult> dirs = check_include_dirs(tg, &personality);
  const long dirCompiles = shell.compiles - runCompiles;
  const double dirSeconds = SecondsSince(begin);
  begin = Clock::now();
  const std::vector<FactResult> macros = check_macros(tg, &personality);
  const long macroCompiles = shell.compiles - runCompiles - dirCompiles;
  const double macroSeconds = SecondsSince(begin);
  if (!write_personality_file(tg.outputPath + ".checked", personality, &err)) {
    std::cerr << err << std::endl;
  }
  std::printf("run:            %6ld compiles %8.2f s\n", runCompiles,
              runSeconds);
  std::printf("include check:  %6ld compiles %8.2f s  (%s)\n", dirCompiles,
              dirSeconds, Statuses(dirs).c_str());
  std::printf("macro check:    %6ld compiles %8.2f s  (%s)\n", macroCompiles,
              macroSeconds, Statuses(macros).c_str());
  std::printf("added:          %6.1f %% compiles %6.1f %% time\n",
              100.0 * static_cast<double>(dirCompiles + macroCompiles) /
                  static_cast<double>(runCompiles),
              100.0 * (dirSeconds + macroSeconds) / runSeconds);
}

}  // namespace

int main(int argc, char** argv) {
  SystemShell system;
  CountingShell shell(system);
  const Clock::time_point start = Clock::now();
  return run_command_line(argc, argv, shell, std::cout, std::cerr,
                          system_clock_micros, [&shell, start](TesselGen& tg) {
                            TesselGen* run = &tg;
                            tg.stageStarted = [run, &shell,
                                               start](const std::string& name) {
                              if (name == "end") {
                                RunChecks(*run, shell, start);
                              }
                            };
                          });
}
