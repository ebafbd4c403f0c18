// Times the header scan on real header directories. Usage:
//   header_scan_bench [DIR...]
// Without arguments it scans gcc's header directories. Each of three runs
// builds a fresh TesselGen (its run log goes to a temporary directory),
// loads the shipped ignore list and runs the real ScanAllDirectories. It
// prints the files found, their bytes, the candidates collected and the
// seconds of each run and their median; it checks nothing.
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "app/tessel_gen.h"
#include "harness/shell.h"
#include "probes/header_scan.h"
#include "probes/keyword_lists.h"
#include "tests/support/test_support.h"

// Processor seconds (user and system) used by the process so far.
static double cpu_seconds() {
  struct rusage usage;
  getrusage(RUSAGE_SELF, &usage);
  return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
         static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) /
             1e6;
}

static long long total_bytes(const std::vector<std::string>& files) {
  long long bytes = 0;
  for (const std::string& file : files) {
    struct stat info;
    if (stat(file.c_str(), &info) == 0) {
      bytes += info.st_size;
    }
  }
  return bytes;
}

int main(int argc, char** argv) {
  std::vector<std::string> dirs(argv + 1, argv + argc);
  if (dirs.empty()) {
    dirs = {"/usr/lib/gcc/x86_64-linux-gnu/12/include", "/usr/local/include",
            "/usr/include/x86_64-linux-gnu", "/usr/include"};
  }
  const std::string ignorePath =
      std::string(tessel_test::kSourceDir) + "/" + kIgnoreKeywordsPath;

  char scratch[] = "/tmp/header_scan_bench.XXXXXX";
  if (mkdtemp(scratch) == nullptr || chdir(scratch) != 0) {
    std::perror("scratch directory");
    return 1;
  }

  SystemShell shell;
  std::vector<double> seconds;
  std::size_t files = 0;
  std::size_t candidates = 0;
  long long bytes = 0;
  for (int round = 0; round < 3; ++round) {
    std::ostringstream console;
    TesselGen tg("vellc", "ccmp", "cc", "-o", "-c", "-D", ".o",
                 "%c %j %d%s %o%e", shell);
    tg.out = &console;
    tg.err = &console;
    tg.includeDirs.insert(dirs.begin(), dirs.end());
    LoadKeywordList(ignorePath, tg.ignoreKeywords, std::cerr);

    const double cpuStart = cpu_seconds();
    const auto start = std::chrono::steady_clock::now();
    ScanAllDirectories(tg);
    const auto stop = std::chrono::steady_clock::now();
    const double cpu = cpu_seconds() - cpuStart;
    seconds.push_back(std::chrono::duration<double>(stop - start).count());

    files = tg.headerFiles.size();
    candidates = tg.candidateKeywords.size();
    bytes = total_bytes(tg.headerFiles);
    const std::string logName = tg.log.fileName();
    tg.log.finish();
    std::remove(logName.c_str());
    std::printf("run %d: %.3f s (processor %.3f s)\n", round + 1,
                seconds.back(), cpu);
  }
  if (chdir("/") == 0) {
    rmdir(scratch);
  }

  std::sort(seconds.begin(), seconds.end());
  std::printf("ignore list: %s\n", ignorePath.c_str());
  std::printf("files: %zu\n", files);
  std::printf("bytes: %lld\n", bytes);
  std::printf("candidates: %zu\n", candidates);
  std::printf("seconds (median of 3): %.3f\n", seconds[1]);
  return 0;
}
