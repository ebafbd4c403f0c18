// Measures TesselExport on a personality of 400 lines, shaped like a gcc
// run's (four include directories, about 330 macros, the type lines and
// the keyword lines), or on the personality named on the command line.
// Each round writes all three formats, the clang target checks with the
// installed clang included. Prints the time of each round and the median;
// asserts nothing.
//
//   export_bench [PERSONALITY] [ROUNDS]      (default: made up, 5 rounds)
#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "export/export_command.h"
#include "harness/shell.h"
#include "tests/support/test_support.h"

namespace {

// A 400-line personality in the shape a gcc run writes.
std::string MadeUpPersonality() {
  std::string text;
  for (const char* dir :
       {"/usr/lib/gcc/x86_64-linux-gnu/12/include", "/usr/local/include",
        "/usr/include/x86_64-linux-gnu", "/usr/include"}) {
    text += std::string("-i \"") + dir + "\"\n-q \"" + dir + "\"\n";
  }
  text +=
      "-d __GNUC__=12\n-d __x86_64__=1\n-d \"__SIZE_TYPE__=long unsigned "
      "int\"\n-d __VERSION__=_KIV_STRINGIFY(12.2.0)\n";
  for (int i = 0; i < 349; ++i) {
    text += "-d __TESSEL_BENCH_MACRO_" + std::to_string(i) +
            "__=" + std::to_string(i * 7) + "\n";
  }
  for (const char* type :
       {"int=32", "char=8", "short=16", "long=64", "longlong=64", "float=32",
        "double=64", "ldouble=128", "dataptr=64", "codeptr=64"}) {
    text += std::string("-s ") + type + "\n";
  }
  for (const char* align :
       {"int=4", "char=1", "short=2", "long=8", "longlong=8", "float=4",
        "double=8", "ldouble=16", "dataptr=8", "codeptr=8"}) {
    text += std::string("-a ") + align + "\n";
  }
  text +=
      "-u-\n-it \"size_t=unsigned long\"\n-it \"ptrdiff_t=signed long\"\n"
      "-it \"wchar_t=unsigned int\"\n-xn 16384\n-na 16384\n"
      "-ex binconst\n-ex longlong\n-ex asm\n-ex inline\n"
      "-d kiv_ignore_paren=_ignore_paren\n"
      "-d \"__asm__=asm\"\n-d \"__attribute__=kiv_ignore_paren\"\n"
      "-d \"__extension__=\"\n-d \"__inline=inline\"\n"
      "-d \"__restrict=restrict\"\n-d __builtin_va_list=char*\n"
      "-d \"__int128=int\"\n-d \"_Float128=long double\"\n";
  return text;
}

// CPU seconds of this process and of the children it waited for: the
// figure that does not grow when other work shares the machine.
double ProcessCpuSeconds() {
  double total = 0;
  for (const int who : {RUSAGE_SELF, RUSAGE_CHILDREN}) {
    rusage usage{};
    getrusage(who, &usage);
    total += usage.ru_utime.tv_sec + usage.ru_stime.tv_sec +
             (usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
  }
  return total;
}

}  // namespace

int main(int argc, char** argv) {
  tessel_test::ScratchDir scratch;
  std::string personality = "bench.p_c";
  if (argc > 1) {
    personality = argv[1];
  } else {
    tessel_test::WriteFile(personality, MadeUpPersonality());
  }
  const int rounds = argc > 2 ? std::max(1, std::atoi(argv[2])) : 5;
  const long lines = static_cast<long>(
      tessel_test::Lines(tessel_test::ReadFile(personality)).size());
  SystemShell shell;
  InstalledClang clang(shell);
  std::vector<double> seconds;
  std::vector<double> cpu;
  for (int i = 0; i < rounds; ++i) {
    const char* args[] = {"TesselExport", "all", personality.c_str(), "-o",
                          "out"};
    std::ostringstream out, err;
    const double cpuBefore = ProcessCpuSeconds();
    const auto start = std::chrono::steady_clock::now();
    const int status = run_export(5, args, clang, out, err);
    seconds.push_back(
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start)
            .count());
    if (status != 0) {
      std::cerr << err.str();
      return 1;
    }
    cpu.push_back(ProcessCpuSeconds() - cpuBefore);
    std::printf("round %d: %.3f s wall, %.3f s CPU (clang included)\n", i + 1,
                seconds.back(), cpu.back());
  }
  std::sort(seconds.begin(), seconds.end());
  std::sort(cpu.begin(), cpu.end());
  std::printf(
      "export all of %ld lines: median %.3f s wall, %.3f s CPU over %d "
      "rounds\n",
      lines, seconds[seconds.size() / 2], cpu[cpu.size() / 2], rounds);
  return 0;
}
