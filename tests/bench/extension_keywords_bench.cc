// Measures the extension keyword scan against the machine's gcc: the
// candidates are the identifiers of gcc's own header directories, less the
// C keywords and gcc's predefined macros (as the header scan and the macro
// discovery would leave them). Prints the number of candidates, compiles,
// seconds and keywords found; asserts nothing.
//
//   extension_keywords_bench [COMPILER]      (default gcc)
#include <stdlib.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <set>
#include <sstream>
#include <string>

#include "app/tessel_gen.h"
#include "harness/globals.h"
#include "harness/shell.h"
#include "probes/extension_keywords.h"
#include "tests/support/test_support.h"

namespace fs = std::filesystem;

namespace {

std::string Slurp(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

bool IsStart(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}

bool IsPart(char c) { return IsStart(c) || (c >= '0' && c <= '9'); }

// Adds the identifiers of `text` outside comments, strings and #include
// lines to `names`.
void Tokenise(const std::string& text, std::set<std::string>& names) {
  std::size_t i = 0;
  const std::size_t n = text.size();
  while (i < n) {
    char c = text[i];
    if (c == '/' && i + 1 < n && text[i + 1] == '*') {
      std::size_t end = text.find("*/", i + 2);
      i = end == std::string::npos ? n : end + 2;
    } else if ((c == '/' && i + 1 < n && text[i + 1] == '/') ||
               text.compare(i, 8, "#include") == 0) {
      std::size_t end = text.find('\n', i);
      i = end == std::string::npos ? n : end;
    } else if (c == '"') {
      ++i;
      while (i < n && text[i] != '"' && text[i] != '\n') {
        i += text[i] == '\\' ? 2 : 1;
      }
      ++i;
    } else if (IsStart(c)) {
      std::size_t start = i;
      while (i < n && IsPart(text[i])) {
        ++i;
      }
      names.insert(text.substr(start, i - start));
    } else if (c >= '0' && c <= '9') {
      while (i < n && IsPart(text[i])) {
        ++i;
      }
    } else {
      ++i;
    }
  }
}

// The directories that `compiler` searches for <...> headers.
std::set<std::string> HeaderDirs(Shell& shell, const std::string& compiler) {
  shell.Run(compiler + " -xc -E -v /dev/null >/dev/null 2>dirs.txt");
  std::istringstream lines(Slurp("dirs.txt"));
  std::set<std::string> dirs;
  bool inList = false;
  for (std::string line; std::getline(lines, line);) {
    if (line.find("#include <...> search starts here:") == 0) {
      inList = true;
    } else if (line.find("End of search list.") == 0) {
      inList = false;
    } else if (inList && line.size() > 1) {
      dirs.insert(line.substr(1));
    }
  }
  return dirs;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string compiler = argc > 1 ? argv[1] : "gcc";
  char pattern[] = "/tmp/tessel_bench_XXXXXX";
  if (mkdtemp(pattern) == nullptr || chdir(pattern) != 0) {
    std::perror("scratch directory");
    return 1;
  }
  SystemShell realShell;
  CountingShell shell(realShell);

  std::set<std::string> candidates;
  std::size_t files = 0;
  for (const std::string& dir : HeaderDirs(realShell, compiler)) {
    std::error_code ec;
    for (fs::recursive_directory_iterator it(dir, ec), end; !ec && it != end;
         it.increment(ec)) {
      if (it->is_regular_file(ec)) {
        Tokenise(Slurp(it->path().string()), candidates);
        ++files;
      }
    }
  }
  for (const std::string& keyword :
       tessel_test::ShippedLanguageKeywords(true)) {
    candidates.erase(keyword);
  }
  realShell.Run(compiler + " -xc -dM -E /dev/null >macros.txt 2>/dev/null");
  std::istringstream macros(Slurp("macros.txt"));
  for (std::string define, name; macros >> define >> name;) {
    candidates.erase(name.substr(0, name.find('(')));
    std::string rest;
    std::getline(macros, rest);
  }

  reset_globals_for_testing();
  S_OBJEXT = ".o";
  std::ostringstream console;
  TesselGen tg("vellc", "cmp", compiler, "-o ", "-c", "-D", ".o",
               "%c %j %d%s %o%e", shell);
  tg.out = &console;
  tg.implicitSwitches.push_back("-fno-diagnostics-show-caret");
  tg.candidateKeywords = candidates;

  const auto start = std::chrono::steady_clock::now();
  ScanExtensionKeywords(tg);
  const double seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start)
          .count();

  std::cout << compiler << ": " << files << " header files, "
            << candidates.size() << " candidates\n"
            << "extension keyword scan: " << shell.compiles << " compiles, "
            << seconds << " s\n"
            << tg.extensionKeywordsFound.size() << " keywords found:";
  for (const std::string& keyword : tg.extensionKeywordsFound) {
    std::cout << " " << keyword;
  }
  std::cout << "\n";
  std::error_code ec;
  fs::current_path("/", ec);
  fs::remove_all(pattern, ec);
  return 0;
}
