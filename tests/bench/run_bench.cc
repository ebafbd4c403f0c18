// A TesselGen that also times its stages. It takes the same arguments and
// prints the same output, so it can stand in for the real binary:
//
//   TESSEL_BINARY=build/tests/run_bench scripts/run.sh gcc
//
// At the end it writes "bench_stages.tsv" into the working directory: one
// row per stage with its wall time, the compile-script runs and other
// commands it started, and the time spent inside those commands; the rest
// of a stage's time is the tool's own work (files, logging, scanning). A
// last row, "mechanism", holds the cost of the compile script mechanism,
// timed right after the run as with --mechanism below.
// scripts/bench.sh runs it several times and summarises the tables.
//
//   run_bench --mechanism N
//
// measures instead what the compile script itself costs: it runs the
// harness's compile script N times with the empty command ":" in a
// temporary directory and prints two mean figures in seconds per run: the
// whole call, and the part of it spent inside the shell. The whole call is
// what the compile script mechanism (write "compile.sh", make it
// executable, run it through the shell with its output captured) adds to
// the compiler's own time; the rest of it (writing the script) falls
// outside the commands in the stage table.
#include <stdlib.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "app/command_line.h"
#include "app/tessel_gen.h"
#include "harness/compile_harness.h"
#include "harness/shell.h"

namespace {

using Clock = std::chrono::steady_clock;

// The figures of one stage.
struct StageRow {
  std::string name;
  double wallSeconds = 0;
  long compiles = 0;
  long commands = 0;
  double insideSeconds = 0;
};

// Cuts the run into stages at each call of the stage hook and takes the
// counting shell's figures at every cut.
class StageTimer {
 public:
  explicit StageTimer(const CountingShell& shell) : shell_(shell) {
    Open("start-up");
  }

  // Ends the current stage and, unless `name` is "end", opens the next.
  void Cut(const std::string& name) {
    Close();
    if (name != "end") {
      Open(name);
    }
  }

  // Ends the stage still open (a run that stopped early) and returns the
  // rows with a "total" row at the end.
  std::vector<StageRow> Finish() {
    Close();
    StageRow total;
    total.name = "total";
    total.wallSeconds = Seconds(runStart_, Clock::now());
    total.compiles = shell_.compiles;
    total.commands = shell_.commands;
    total.insideSeconds = shell_.seconds;
    std::vector<StageRow> rows = rows_;
    rows.push_back(total);
    return rows;
  }

 private:
  static double Seconds(Clock::time_point from, Clock::time_point to) {
    return std::chrono::duration<double>(to - from).count();
  }

  void Open(const std::string& name) {
    open_ = true;
    current_ = StageRow();
    current_.name = name;
    start_ = Clock::now();
    compiles_ = shell_.compiles;
    commands_ = shell_.commands;
    inside_ = shell_.seconds;
  }

  void Close() {
    if (!open_) {
      return;
    }
    current_.wallSeconds = Seconds(start_, Clock::now());
    current_.compiles = shell_.compiles - compiles_;
    current_.commands = shell_.commands - commands_;
    current_.insideSeconds = shell_.seconds - inside_;
    rows_.push_back(current_);
    open_ = false;
  }

  const CountingShell& shell_;
  const Clock::time_point runStart_ = Clock::now();
  std::vector<StageRow> rows_;
  StageRow current_;
  bool open_ = false;
  Clock::time_point start_;
  long compiles_ = 0;
  long commands_ = 0;
  double inside_ = 0;
};

void WriteTable(const std::vector<StageRow>& rows, const std::string& path) {
  std::ofstream table(path, std::ios::trunc);
  table << "stage\twall_s\tcompiles\tcommands\tinside_s\toutside_s\n";
  table << std::fixed << std::setprecision(6);
  for (const StageRow& row : rows) {
    table << row.name << '\t' << row.wallSeconds << '\t' << row.compiles << '\t'
          << row.commands << '\t' << row.insideSeconds << '\t'
          << row.wallSeconds - row.insideSeconds << '\n';
  }
}

// The cost of one run of the compile script with an empty command: the
// whole call (writing "compile.sh", making it executable, running it) and
// the part of it spent inside the shell.
struct MechanismCost {
  double wholeSeconds = -1;
  double shellSeconds = -1;
};

// Runs the compile script `runs` times with an empty command in a fresh
// temporary directory and returns the mean costs per run; both are -1 when
// the directory cannot be made.
MechanismCost MeasureMechanism(int runs) {
  MechanismCost cost;
  std::error_code ec;
  const std::filesystem::path home = std::filesystem::current_path(ec);
  char pattern[] = "/tmp/tessel_mechanism_XXXXXX";
  if (ec || runs <= 0 || mkdtemp(pattern) == nullptr || chdir(pattern) != 0) {
    return cost;
  }
  {
    SystemShell system;
    CountingShell shell(system);
    std::ostringstream console;
    TesselGen tg("vellc", "ccmp", ":", "-o ", "-c", "-D", ".o",
                 "%c %j %d%s %o%e", shell);
    tg.out = &console;
    const Clock::time_point start = Clock::now();
    for (int i = 0; i < runs; ++i) {
      runCompileScript(tg, ":");
    }
    cost.wholeSeconds =
        std::chrono::duration<double>(Clock::now() - start).count() / runs;
    cost.shellSeconds = shell.seconds / runs;
  }
  std::filesystem::current_path(home, ec);
  std::filesystem::remove_all(pattern, ec);
  return cost;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 3 && std::string(argv[1]) == "--mechanism") {
    const MechanismCost cost = MeasureMechanism(std::atoi(argv[2]));
    std::printf("%.6f %.6f\n", cost.wholeSeconds, cost.shellSeconds);
    return cost.wholeSeconds < 0 ? 1 : 0;
  }
  SystemShell system;
  CountingShell shell(system);
  StageTimer timer(shell);
  int status =
      run_command_line(argc, argv, shell, std::cout, std::cerr,
                       system_clock_micros, [&timer](TesselGen& tg) {
                         tg.stageStarted = [&timer](const std::string& name) {
                           timer.Cut(name);
                         };
                       });
  // Only full runs have stages worth a table. The compile script mechanism
  // is timed right after the run, on the same machine state, and added as
  // a row "mechanism": seconds per compile for the whole call (wall) and
  // for the part inside the shell (inside).
  if (argc > 10) {
    std::vector<StageRow> rows = timer.Finish();
    const MechanismCost cost = MeasureMechanism(300);
    StageRow mechanism;
    mechanism.name = "mechanism";
    mechanism.wallSeconds = cost.wholeSeconds;
    mechanism.insideSeconds = cost.shellSeconds;
    rows.push_back(mechanism);
    WriteTable(rows, "bench_stages.tsv");
  }
  return status;
}
