// Include directory discovery against the real compilers of this machine.
// Each test asks the compiler for its own header search list, fills the
// header inventory from those directories and checks that the stage finds
// the same directories in the same order.
#include "probes/include_dirs.h"

#include <dirent.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "harness/globals.h"
#include "harness/shell.h"
#include "tests/support/test_support.h"

using tessel_test::Lines;
using tessel_test::ProcessResult;
using tessel_test::RunProcess;
using tessel_test::ScratchDir;
using Strings = std::vector<std::string>;
using Inventory = std::map<std::string, std::set<std::string>>;

namespace {

bool Installed(const std::string& compiler) {
  return RunProcess("command -v " + compiler).exitCode == 0;
}

// The lines of `text` between the line `first` and the next line for which
// `last` holds, with leading blanks removed.
template <typename IsLast>
Strings Between(const std::string& text, const std::string& first,
                IsLast last) {
  Strings found;
  bool inside = false;
  for (const std::string& line : Lines(text)) {
    if (inside && last(line)) {
      break;
    }
    if (inside) {
      found.push_back(line.substr(line.find_first_not_of(' ')));
    }
    if (line == first) {
      inside = true;
    }
  }
  return found;
}

// The "#include <...>" search list that gcc, g++ or clang prints with -v.
Strings VerboseSearchList(const std::string& compiler,
                          const std::string& language) {
  ProcessResult result =
      RunProcess(compiler + " -x" + language + " -E -v /dev/null");
  return Between(
      result.err, "#include <...> search starts here:",
      [](const std::string& line) { return line == "End of search list."; });
}

// The "include:" list of "tcc -vv".
Strings TccSearchList() {
  return Between(RunProcess("tcc -vv").out, "include:",
                 [](const std::string& line) { return line[0] != ' '; });
}

// The "includedir:" list of "sdcc --print-search-dirs". It names each
// directory twice, once as /usr/bin/../share/...; the duplicates go.
Strings SdccSearchList() {
  Strings listed = Between(RunProcess("sdcc --print-search-dirs").out,
                           "includedir:", [](const std::string& line) {
                             return line.back() == ':';
                           });
  Strings unique;
  std::set<std::string> seen;
  for (const std::string& dir : listed) {
    std::error_code ec;
    std::string canonical = std::filesystem::canonical(dir, ec).string();
    if (!ec && seen.insert(canonical).second) {
      unique.push_back(canonical);
    }
  }
  return unique;
}

bool IsDirectory(const std::string& path) {
  struct stat status;
  return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

// The header names of `dir` as the header scan records them: the files
// directly in it; for a directory with no files of its own, the names of
// each subdirectory prefixed with "sub/". Entries come in directory order,
// which does not matter in an ordered set.
std::set<std::string> HeaderNames(const std::string& dir) {
  std::set<std::string> names;
  Strings subdirs;
  DIR* handle = opendir(dir.c_str());
  if (handle == nullptr) {
    return names;
  }
  while (dirent* entry = readdir(handle)) {
    std::string name = entry->d_name;
    if (name == "." || name == "..") {
      continue;
    }
    if (IsDirectory(dir + "/" + name)) {
      subdirs.push_back(name);
    } else {
      names.insert(name);
    }
  }
  closedir(handle);
  if (names.empty()) {
    for (const std::string& sub : subdirs) {
      for (const std::string& name : HeaderNames(dir + "/" + sub)) {
        names.insert(sub + "/" + name);
      }
    }
  }
  return names;
}

// An inventory entry for every directory of `dirs` that exists.
Inventory InventoryOf(const Strings& dirs) {
  Inventory inventory;
  for (const std::string& dir : dirs) {
    if (IsDirectory(dir)) {
      inventory[dir] = HeaderNames(dir);
    }
  }
  return inventory;
}

// The directories of `listed` that hold at least one header. A directory
// without headers (here /usr/local/include, as installed) gives the
// compiler nothing to include, so no test can reveal it.
Strings WithHeaders(const Strings& listed, const Inventory& inventory) {
  Strings kept;
  for (const std::string& dir : listed) {
    auto entry = inventory.find(dir);
    if (entry != inventory.end() && !entry->second.empty()) {
      kept.push_back(dir);
    }
  }
  return kept;
}

// "-i"/"-si" and "-q" lines for `dirs`, in order.
std::string PersonalityLines(const Strings& dirs, bool isC) {
  std::string lines;
  for (const std::string& dir : dirs) {
    lines += (isC ? "-i \"" : "-si \"") + dir + "\"\n";
    lines += "-q \"" + dir + "\"\n";
  }
  return lines;
}

// A TesselGen for a real compiler with the usual order string, console in
// `console`, compiles counted in `shell.compiles`.
struct RealRun {
  RealRun(bool isC, const std::string& compiler, const std::string& objExt,
          const std::string& caretSwitch) {
    reset_globals_for_testing();
    tg = std::make_unique<TesselGen>(
        isC ? "vellc" : "vellcpp", "cmp", compiler, "-o ", "-c", "-D", objExt,
        "%c %j %d%s %o%e", shell, tessel_test::FrozenClock);
    tg->out = &console;
    tg->err = &console;
    if (!caretSwitch.empty()) {
      tg->implicitSwitches.push_back(caretSwitch);
    }
    S_OBJEXT = objExt;
  }

  // Runs the stage on `inventory`; returns the personality text and
  // prints the number of compiles and the time taken.
  std::string Find(const Inventory& inventory) {
    tg->HeaderInventory = inventory;
    std::ostringstream personality;
    auto start = std::chrono::steady_clock::now();
    FindIncludeDirs(*tg, personality, "personality_test.c");
    auto elapsed = std::chrono::duration_cast<std::chrono::milliseconds>(
        std::chrono::steady_clock::now() - start);
    std::cout << "[ FIGURES  ] " << tg->compilerExe << ": " << inventory.size()
              << " directories, " << shell.compiles << " compiles, "
              << elapsed.count() << " ms" << std::endl;
    return personality.str();
  }

  std::ostringstream console;
  SystemShell realShell;
  CountingShell shell{realShell};
  std::unique_ptr<TesselGen> tg;
};

// One run of the stage on the directories that `listed` names.
struct Discovery {
  // The compiler's own search list, as it prints it.
  Strings listed;
  // The listed directories that hold headers, in the compiler's order.
  Strings expected;
  // The directories the stage found, in the order it wrote them.
  Strings found;
  std::string personality;
  std::string console;
};

// Runs the stage for `compiler` on an inventory of the directories of
// `listed`. They are given in reverse order, which makes no difference:
// the inventory is ordered by name.
Discovery Discover(const Strings& listed, bool isC, const std::string& compiler,
                   const std::string& objExt, const std::string& caretSwitch) {
  Discovery discovery;
  discovery.listed = listed;
  Inventory inventory = InventoryOf(Strings(listed.rbegin(), listed.rend()));
  discovery.expected = WithHeaders(listed, inventory);
  RealRun run(isC, compiler, objExt, caretSwitch);
  discovery.personality = run.Find(inventory);
  discovery.found = run.tg->ImplicitIncludeDirs;
  discovery.console = run.console.str();
  return discovery;
}

std::set<std::string> AsSet(const Strings& dirs) {
  return std::set<std::string>(dirs.begin(), dirs.end());
}

// `dirs` with its first entry moved to the end.
Strings FirstMovedLast(Strings dirs) {
  if (!dirs.empty()) {
    dirs.push_back(dirs.front());
    dirs.erase(dirs.begin());
  }
  return dirs;
}

const char kOrderWarning[] =
    "*** The order of these header directories may need to be reviewed "
    "***\n";

// Checks what every run must show: exactly the listed directories that
// hold headers, written as "-i"/"-si" and "-q" pairs in the order found,
// under the order warning.
void ExpectListedDirectories(const Discovery& discovery, bool isC) {
  ASSERT_FALSE(discovery.listed.empty());
  EXPECT_EQ(AsSet(discovery.expected), AsSet(discovery.found))
      << discovery.console;
  EXPECT_EQ(PersonalityLines(discovery.found, isC), discovery.personality);
  EXPECT_NE(std::string::npos, discovery.console.find(kOrderWarning));
}

}  // namespace

// gcc searches its own directory first, but the pairwise exchange leaves it
// last: the one header it shares with /usr/include, limits.h, holds nothing
// but macros, so after "int x[" gcc complains only at the end of the
// source and names neither copy. That counts as "the second directory's
// copy was not taken" and the pair stays as found. /usr/include and
// /usr/include/x86_64-linux-gnu share fpu_control.h (a link to the latter's
// copy), whose error names x86_64-linux-gnu: they trade places.
TEST(IncludeDirsGcc, FindsListedDirectoriesButPutsItsOwnLast) {
  if (!Installed("gcc")) {
    GTEST_SKIP() << "skipped: gcc not installed";
  }
  ScratchDir scratch;
  Discovery gcc = Discover(VerboseSearchList("gcc", "c"), true, "gcc", ".o",
                           "-fno-diagnostics-show-caret");

  ExpectListedDirectories(gcc, true);
  EXPECT_EQ(FirstMovedLast(gcc.expected), gcc.found) << gcc.console;

  RealRun run(true, "gcc", ".o", "-fno-diagnostics-show-caret");
  const std::string& own = gcc.expected.front();
  EXPECT_EQ(1, WhichDirFirst(*run.tg, "/usr/include", own, "limits.h"));
  EXPECT_EQ(2, WhichDirFirst(*run.tg, "/usr/include",
                             "/usr/include/x86_64-linux-gnu", "fpu_control.h"));
}

// g++ answers the pairs differently from gcc: its C++ headers shadow
// complex.h and fenv.h of /usr/include (exchanged), fpu_control.h moves
// x86_64-linux-gnu before /usr/include, limits.h and stdint.h name both
// copies (undecided), and stdatomic.h names none. Directories that share
// no header with another keep their places from the name order.
TEST(IncludeDirsGpp, FindsListedDirectoriesWithSiLinesInPairwiseOrder) {
  if (!Installed("g++")) {
    GTEST_SKIP() << "skipped: g++ not installed";
  }
  ScratchDir scratch;
  Discovery gpp = Discover(VerboseSearchList("g++", "c++"), false, "g++", ".o",
                           "-fno-diagnostics-show-caret");

  ExpectListedDirectories(gpp, false);
  // The listed order: c++/12, x86_64-linux-gnu/c++/12, c++/12/backward,
  // gcc's own, x86_64-linux-gnu, /usr/include.
  ASSERT_EQ(6u, gpp.expected.size()) << gpp.console;
  const Strings& e = gpp.expected;
  EXPECT_EQ((Strings{e[0], e[4], e[2], e[5], e[1], e[3]}), gpp.found)
      << gpp.console;
}

// clang's own directory shares inttypes.h, limits.h, stdint.h and
// tgmath.h with /usr/include. inttypes.h names both copies (clang's wraps
// the system one), so the next common header decides; limits.h names
// neither, which leaves the pair as found and clang's directory last.
TEST(IncludeDirsClang, FindsListedDirectoriesButPutsItsOwnLast) {
  if (!Installed("clang")) {
    GTEST_SKIP() << "skipped: clang not installed";
  }
  ScratchDir scratch;
  Discovery clang = Discover(VerboseSearchList("clang", "c"), true, "clang",
                             ".o", "-fno-caret-diagnostics");

  ExpectListedDirectories(clang, true);
  EXPECT_EQ(FirstMovedLast(clang.expected), clang.found) << clang.console;
}

// tcc's own directory shares no header name with the system directories,
// so no pair involving it is ever decided and it stays where the name
// order put it: last.
TEST(IncludeDirsTcc, FindsListedDirectoriesButPutsItsOwnLast) {
  if (!Installed("tcc")) {
    GTEST_SKIP() << "skipped: tcc not installed";
  }
  ScratchDir scratch;
  Discovery tcc = Discover(TccSearchList(), true, "tcc", ".o", "");

  ExpectListedDirectories(tcc, true);
  EXPECT_EQ(FirstMovedLast(tcc.expected), tcc.found) << tcc.console;
}

// sdcc searches its port directory (mcs51) before the common one, but the
// two share no header name, so the order is the name order.
TEST(IncludeDirsSdcc, FindsListedDirectoriesInNameOrder) {
  if (!Installed("sdcc")) {
    GTEST_SKIP() << "skipped: sdcc not installed";
  }
  ScratchDir scratch;
  Discovery sdcc = Discover(SdccSearchList(), true, "sdcc", ".rel", "");

  ExpectListedDirectories(sdcc, true);
  EXPECT_EQ(Strings(sdcc.expected.rbegin(), sdcc.expected.rend()), sdcc.found)
      << sdcc.console;
}

namespace {

// Runs the stage with `compiler` on /usr/include and two scratch
// directories that the compiler never searches: "longname" holds
// "zz_not_on_path.h" (a name longer than "ak12345") and "samelen" holds
// "zz1_x.h" (exactly as long). Returns the directories found.
Strings FindWithUnsearchedDirs(const ScratchDir& scratch,
                               const std::string& compiler,
                               const std::string& caretSwitch,
                               std::string* notFoundText) {
  const std::string longName = scratch.work() + "/longname";
  const std::string sameLength = scratch.work() + "/samelen";
  tessel_test::WriteFile(longName + "/zz_not_on_path.h", "int zz;\n");
  tessel_test::WriteFile(sameLength + "/zz1_x.h", "int zz;\n");
  Inventory inventory = InventoryOf({"/usr/include", longName, sameLength});
  RealRun run(true, compiler, ".o", caretSwitch);
  run.Find(inventory);
  *notFoundText = run.tg->FileNotFoundText;
  return run.tg->ImplicitIncludeDirs;
}

}  // namespace

// The trap that the caret switch avoids. With source lines and carets on,
// gcc underlines the missing header's name with "^" and one "~" per further
// character. Digits, blanks and the name itself are dropped before the
// comparison, but the underline stays, so its length tells a missing
// "zz_not_on_path.h" apart from the missing "ak12345": the header counts
// as found and a directory that gcc never searches is listed. A missing
// header whose name is as long as "ak12345" still compares equal.
TEST(IncludeDirsGcc, CaretLinesMakeALongerMissingHeaderCountAsFound) {
  if (!Installed("gcc")) {
    GTEST_SKIP() << "skipped: gcc not installed";
  }
  ScratchDir scratch;
  std::string notFound;

  Strings withCarets = FindWithUnsearchedDirs(scratch, "gcc", "", &notFound);

  EXPECT_EQ((Strings{scratch.work() + "/longname", "/usr/include"}),
            withCarets);
  EXPECT_EQ(
      "inctest.c:::fatalerror::Nosuchfileordirectory|#include<>|^~~~~~~~~"
      "compilationterminated.",
      notFound);

  Strings withoutCarets = FindWithUnsearchedDirs(
      scratch, "gcc", "-fno-diagnostics-show-caret", &notFound);

  EXPECT_EQ((Strings{"/usr/include"}), withoutCarets);
  EXPECT_EQ(
      "inctest.c:::fatalerror::Nosuchfileordirectory"
      "compilationterminated.",
      notFound);
}

// The same trap with clang, whose caret switch is "-fno-caret-diagnostics".
TEST(IncludeDirsClang, CaretLinesMakeALongerMissingHeaderCountAsFound) {
  if (!Installed("clang")) {
    GTEST_SKIP() << "skipped: clang not installed";
  }
  ScratchDir scratch;
  std::string notFound;

  Strings withCarets = FindWithUnsearchedDirs(scratch, "clang", "", &notFound);

  EXPECT_EQ((Strings{scratch.work() + "/longname", "/usr/include"}),
            withCarets);
  EXPECT_EQ(
      "inctest.c:::fatalerror:''filenotfound#include<>^~~~~~~~~"
      "errorgenerated.",
      notFound);

  Strings withoutCarets = FindWithUnsearchedDirs(
      scratch, "clang", "-fno-caret-diagnostics", &notFound);

  EXPECT_EQ((Strings{"/usr/include"}), withoutCarets);
  // clang also leaves out its "1 error generated." summary then.
  EXPECT_EQ("inctest.c:::fatalerror:''filenotfound", notFound);
}
