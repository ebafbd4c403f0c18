#include "verify/compiler_files.h"

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <set>
#include <string_view>

#include "app/tessel_gen.h"
#include "harness/compile_harness.h"
#include "probes/header_scan.h"

// How deep the walk goes below a "lib*" or "libexec" directory.
static const int kMaxDepth = 4;
// The file that receives the shell's answer to "command -v".
static const char kPathAnswer[] = "tmp_verify_path.txt";

static bool is_version(const std::string& part) {
  if (part.empty()) {
    return false;
  }
  bool digits = true;
  for (char c : part) {
    digits = digits && ((c >= '0' && c <= '9') || c == '.');
  }
  return digits || part == "win32" || part == "posix";
}

CompilerName split_compiler_name(const std::string& fileName) {
  std::vector<std::string> parts;
  std::string::size_type start = 0;
  for (;;) {
    const std::string::size_type dash = fileName.find('-', start);
    parts.push_back(fileName.substr(start, dash - start));
    if (dash == std::string::npos) {
      break;
    }
    start = dash + 1;
  }
  while (parts.size() > 1 && is_version(parts.back())) {
    parts.pop_back();
  }
  CompilerName name;
  name.word = parts.back();
  for (std::size_t i = 0; i + 1 < parts.size(); ++i) {
    name.target += (i > 0 ? "-" : "") + parts[i];
  }
  return name;
}

std::set<std::string> related_words(const CompilerName& name) {
  std::set<std::string> words{name.word};
  const std::string& w = name.word;
  if (w.size() > 2 && w.compare(w.size() - 2, 2, "++") == 0) {
    const std::string stem = w.substr(0, w.size() - 2);
    words.insert(stem.size() == 1 ? stem + "cc" : stem);
  }
  return words;
}

static bool contains_any(const std::string& text,
                         const std::set<std::string>& words) {
  for (const std::string& word : words) {
    if (text.find(word) != std::string::npos) {
      return true;
    }
  }
  return false;
}

static bool is_shared_library(const std::string& name) {
  return name.find(".so") != std::string::npos ||
         name.find(".dylib") != std::string::npos;
}

// The strings of the program at `path`, split as the header scan splits a
// binary file: among them the names of the programs it runs.
static std::set<std::string> program_strings(const std::string& path) {
  std::set<std::string> strings;
  ForEachBinaryString(readWholeFile(path), [&strings](std::string_view text) {
    strings.emplace(text);
  });
  return strings;
}

namespace {

// One walk of a compiler installation.
struct Walk {
  std::set<std::string> words;
  std::string target;
  bool isC = true;
  std::set<std::string> seen;
  std::vector<std::string> files;

  void Add(const std::string& path) {
    char real[PATH_MAX];
    if (realpath(path.c_str(), real) != nullptr && seen.insert(real).second) {
      files.emplace_back(real);
    }
  }

  // Entries of `dir`: files and subdirectories, by name.
  static void List(const std::string& dir, std::vector<std::string>& files,
                   std::vector<std::string>& subdirs) {
    DIR* handle = opendir(dir.c_str());
    if (handle == nullptr) {
      return;
    }
    while (dirent* entry = readdir(handle)) {
      const std::string name = entry->d_name;
      struct stat info;
      if (name == "." || name == ".." ||
          stat((dir + "/" + name).c_str(), &info) != 0) {
        continue;
      }
      if (S_ISDIR(info.st_mode)) {
        subdirs.push_back(name);
      } else if (S_ISREG(info.st_mode)) {
        files.push_back(name);
      }
    }
    closedir(handle);
    std::sort(files.begin(), files.end());
    std::sort(subdirs.begin(), subdirs.end());
  }

  // A compiler proper for the other language: beside "cc1" and "cc1plus",
  // the C product reads the first and the C++ product the second.
  bool OtherLanguage(const std::string& name,
                     const std::vector<std::string>& names) const {
    auto has = [&names](const std::string& other) {
      return std::find(names.begin(), names.end(), other) != names.end();
    };
    const bool plus =
        name.size() > 4 && name.compare(name.size() - 4, 4, "plus") == 0;
    return isC ? plus && has(name.substr(0, name.size() - 4))
               : has(name + "plus");
  }

  // `related`: the directory's name, or one above it, names the compiler.
  void Visit(const std::string& dir, int depth, bool related) {
    std::vector<std::string> names;
    std::vector<std::string> subdirs;
    List(dir, names, subdirs);
    for (const std::string& name : names) {
      if (OtherLanguage(name, names)) {
        continue;
      }
      const bool program = access((dir + "/" + name).c_str(), X_OK) == 0;
      const bool named = contains_any(name, words);
      if ((named && is_shared_library(name) && depth == 0) ||
          (related && program && !is_shared_library(name) &&
           (named || name.rfind("cc", 0) == 0))) {
        Add(dir + "/" + name);
      }
    }
    if (depth == kMaxDepth) {
      return;
    }
    const bool hasTarget =
        std::find(subdirs.begin(), subdirs.end(), target) != subdirs.end();
    const bool narrowed = related && !target.empty() && hasTarget;
    if (depth == 1 && related && !target.empty() && !hasTarget) {
      return;  // a tree of other targets' compilers, such as "gcc-cross"
    }
    for (const std::string& sub : subdirs) {
      const bool subRelated = related || contains_any(sub, words);
      if (subRelated && (!narrowed || sub == target)) {
        Visit(dir + "/" + sub, depth + 1, true);
      }
    }
  }
};

}  // namespace

std::vector<std::string> compiler_files_of(const std::string& program,
                                           bool isC) {
  const std::string::size_type slash = program.rfind('/');
  const std::string bin = program.substr(0, slash);
  const CompilerName name = split_compiler_name(program.substr(slash + 1));
  Walk walk;
  walk.words = related_words(name);
  walk.target = name.target;
  walk.isC = isC;
  walk.Add(program);
  std::vector<std::string> beside;
  std::vector<std::string> besideDirs;
  Walk::List(bin, beside, besideDirs);
  // A driver that runs its compiler proper from its own directory names it
  // in full (sdcc "sdcpp", cl65 "cc65").
  const std::set<std::string> named = program_strings(program);
  for (const std::string& file : beside) {
    const bool targetCompiler =
        !name.target.empty() && file.rfind(name.target + "-cc", 0) == 0;
    // The same family's driver for another target (a cross gcc that names
    // the host's "gcc-12") is another compiler.
    const CompilerName other = split_compiler_name(file);
    const bool otherTarget =
        other.word == name.word && other.target != name.target;
    const bool compilerNamed = named.count(file) > 0 && !otherTarget &&
                               (file.find("cc") != std::string::npos ||
                                file.find("cpp") != std::string::npos) &&
                               access((bin + "/" + file).c_str(), X_OK) == 0;
    if (targetCompiler || compilerNamed) {
      walk.Add(bin + "/" + file);
    }
  }
  const std::string prefix = bin.substr(0, bin.rfind('/'));
  std::vector<std::string> files;
  std::vector<std::string> subdirs;
  Walk::List(prefix.empty() ? "/" : prefix, files, subdirs);
  for (const std::string& sub : subdirs) {
    if (sub.rfind("lib", 0) == 0) {
      walk.Visit(prefix + "/" + sub, 0, false);
    }
  }
  return walk.files;
}

std::string resolve_compiler_program(TesselGen& tg) {
  const std::string& command = tg.compilerExe;
  const std::string::size_type start = command.find_first_not_of(' ');
  if (start == std::string::npos) {
    return std::string();
  }
  std::string first = command.substr(start, command.find(' ', start) - start);
  if (first.find('/') == std::string::npos) {
    std::string quoted = "'";
    for (char c : first) {
      quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    }
    tg.shell->Run("command -v " + quoted + "' >" + kPathAnswer);
    first = readWholeFile(kPathAnswer);
    std::remove(kPathAnswer);
    while (!first.empty() && (first.back() == '\n' || first.back() == ' ')) {
      first.pop_back();
    }
  }
  char real[PATH_MAX];
  if (first.empty() || realpath(first.c_str(), real) == nullptr) {
    return std::string();
  }
  return real;
}
