// Times the template merge on a large template. Usage:
//   template_merge_bench [LINES]
// Writes, in a scratch directory, a personality of LINES define lines
// (default 200,000) and a template whose "<add>" section holds LINES new
// lines, whose "<modify>" section changes every tenth define and whose
// "<remove>" section removes every tenth other one; then runs the real
// MergeTemplate three times on fresh copies and prints the seconds of each
// and the lines written. It checks nothing.
#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "app/tessel_gen.h"
#include "harness/shell.h"
#include "output/template_merge.h"
#include "tests/support/test_support.h"

int main(int argc, char** argv) {
  const long lines = argc > 1 ? std::atol(argv[1]) : 200000;
  tessel_test::ScratchDir scratch;
  std::string personality;
  std::string templateText = "<modify>\n";
  for (long i = 0; i < lines; ++i) {
    personality += "-d \"D" + std::to_string(i) + "=1\"\n";
    if (i % 10 == 0) {
      templateText += "-d \"D" + std::to_string(i) + "=2\"\n";
    }
  }
  templateText += "</modify>\n<remove>\n";
  for (long i = 5; i < lines; i += 10) {
    templateText += "-d \"D" + std::to_string(i) + "=1\"\n";
  }
  templateText += "</remove>\n<add>\n";
  for (long i = 0; i < lines; ++i) {
    templateText += "-d \"A" + std::to_string(i) + "=1\"\n";
  }
  templateText += "</add>\n";
  tessel_test::WriteFile("template.p_c", templateText);

  std::vector<double> times;
  for (int run = 0; run < 3; ++run) {
    tessel_test::WriteFile("p.p_c", personality);
    SystemShell shell;
    std::ostringstream console;
    TesselGen tg("vellc", "ccmp", "cc", "-o", "-c", "-D", ".o",
                 "%c %j %d%s %o%e", shell);
    tg.out = &console;
    tg.templatePath = "template.p_c";
    const auto start = std::chrono::steady_clock::now();
    MergeTemplate(tg, "p.p_c");
    times.push_back(
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start)
            .count());
  }
  const std::string merged = tessel_test::ReadFile("p.p_c");
  std::cout << "template merge: " << lines << " personality lines, " << lines
            << " add lines, " << std::count(merged.begin(), merged.end(), '\n')
            << " lines written\n";
  for (double t : times) {
    std::cout << "  run: " << t << " s\n";
  }
  std::sort(times.begin(), times.end());
  std::cout << "  median: " << times[1] << " s\n";
  return 0;
}
