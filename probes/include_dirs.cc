#include "probes/include_dirs.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <set>
#include <string_view>
#include <unordered_map>

#include "app/tessel_gen.h"
#include "harness/compile_harness.h"
#include "util/text.h"

const char kIncludeTestBase[] = "inctest";

namespace {

using HeaderSet = std::set<std::string>;

// Working data of one search, local to one call of FindIncludeDirs.
struct IncludeSearch {
  // Directories without a header of their own that the compiler reaches.
  std::vector<std::string> StageTwoDirs;
  // Every header of every directory accepted in Stage 1.
  HeaderSet FoundHeaders;
  // Unique headers of directories whose unique header was unreachable.
  HeaderSet MissingHeaders;
};

}  // namespace

// The second line of the found/not-found test: it keeps a found header from
// compiling cleanly, so that both outcomes end in some error message.
static const char kSecondLine[] =
    "this will cause an error - but not a file not found one!";
// An unfinished declaration in front of the include makes the compiler
// report an error inside the header, naming the header's full path.
static const char kUnfinishedDeclaration[] = "int x[";

// Writes the stage's test source, compiles it with the user's command alone
// and deletes it again. An unwritable source is not reported: the compile
// runs anyway and its messages decide.
static void compile_include_test(TesselGen& tg, const std::string& text) {
  const std::string source = kIncludeTestBase + sourceExtension(tg);
  writeWholeFile(source, text);
  runCompileScript(tg, buildCommand(tg, source, false, ""));
  std::remove(source.c_str());
}

static void remove_capture_files() {
  std::remove(kStdoutLog);
  std::remove(kStderrLog);
}

static std::string include_line(const std::string& header) {
  return "#include <" + header + ">\n";
}

std::string normalise_output(const std::string& text, const std::string& name) {
  std::string result = text;
  if (!name.empty()) {
    std::string::size_type at = result.find(name);
    while (at != std::string::npos) {
      result.erase(at, name.size());
      at = result.find(name, at);
    }
  }
  return drop_digits_and_space(result);
}

std::string normalise_paths(const std::string& text) {
  // Each piece begins with the separator in front of it; the first one with
  // the text's start, so it may be empty.
  std::vector<std::string> pieces(1);
  for (char c : text) {
    if (c == ' ' || c == '\n' || c == '\t' || c == '/' || c == '\\') {
      pieces.emplace_back();
    }
    pieces.back() += c;
  }
  std::vector<std::string> kept;
  for (const std::string& piece : pieces) {
    if (piece == "/..") {
      if (!kept.empty()) {
        kept.pop_back();
      }
    } else if (piece != "/.") {
      kept.push_back(piece);
    }
  }
  std::string joined;
  for (const std::string& piece : kept) {
    joined += piece;
  }
  return joined;
}

std::vector<std::string> SplitPath(const std::string& path) {
  std::vector<std::string> components;
  std::string rest = path;
  std::string::size_type slash = rest.rfind('/');
  while (slash != std::string::npos) {
    components.push_back(rest.substr(slash + 1));
    rest.erase(slash);
    slash = rest.rfind('/');
  }
  return components;
}

bool IsHeaderFound(TesselGen& tg, const std::string& header) {
  if (tg.fileNotFoundPending) {
    compile_include_test(tg, include_line(kMissingHeader) + kSecondLine + "\n");
    tg.FileNotFoundText =
        normalise_output(readCompilerOutput(), kMissingHeader);
    tg.fileNotFoundPending = false;
  }
  compile_include_test(tg, include_line(header) + kSecondLine + "\n");
  const std::string text = normalise_output(readCompilerOutput(), header);
  remove_capture_files();
  return text != tg.FileNotFoundText;
}

// Appends the lines of the file at `path` to `lines`, without carriage
// returns; a missing file adds nothing.
static void append_lines(const std::string& path,
                         std::vector<std::string>& lines) {
  std::ifstream in(path, std::ios::in | std::ios::binary);
  std::string line;
  while (std::getline(in, line)) {
    line.erase(std::remove(line.begin(), line.end(), '\r'), line.end());
    lines.push_back(line);
  }
}

bool IsHeaderFromDir(TesselGen& tg, const std::string& dir,
                     const std::string& header) {
  const std::vector<std::string> components = SplitPath(dir);
  compile_include_test(
      tg, std::string(kUnfinishedDeclaration) + "\n" + include_line(header));
  std::vector<std::string> lines;
  append_lines(kStdoutLog, lines);
  append_lines(kStderrLog, lines);
  remove_capture_files();
  for (const std::string& line : lines) {
    if (!contains(line, header)) {
      continue;
    }
    for (const std::string& component : components) {
      if (!contains(line, component)) {
        return false;
      }
    }
    return true;
  }
  return false;
}

int WhichDirFirst(TesselGen& tg, const std::string& dirA,
                  const std::string& dirB, const std::string& header) {
  compile_include_test(
      tg, std::string(kUnfinishedDeclaration) + "\n" + include_line(header));
  const std::string text = normalise_paths(readCompilerOutput());
  remove_capture_files();
  const std::string pathA = dirA + "/" + header;
  const std::string pathB = dirB + "/" + header;
  if (!contains(text, pathB)) {
    return 1;
  }
  if (!contains(text, pathA)) {
    return 2;
  }
  return 0;
}

static HeaderSet intersection(const HeaderSet& a, const HeaderSet& b) {
  HeaderSet common;
  std::set_intersection(a.begin(), a.end(), b.begin(), b.end(),
                        std::inserter(common, common.end()));
  return common;
}

static HeaderSet difference(const HeaderSet& a, const HeaderSet& b) {
  HeaderSet rest;
  std::set_difference(a.begin(), a.end(), b.begin(), b.end(),
                      std::inserter(rest, rest.end()));
  return rest;
}

// For every header name of the inventory, the number of directories that
// hold a header of that name. Counting once keeps Stage 1 linear in the
// size of the inventory; comparing every directory with every other one
// took seconds on a system with a thousand header directories.
using HeaderCounts = std::unordered_map<std::string_view, int>;

static HeaderCounts count_headers(const TesselGen& tg) {
  HeaderCounts counts;
  for (const auto& entry : tg.HeaderInventory) {
    for (const std::string& header : entry.second) {
      ++counts[header];
    }
  }
  return counts;
}

// The headers of a directory that no other directory of the inventory
// holds, in name order.
static HeaderSet unique_headers(const HeaderSet& own,
                                const HeaderCounts& counts) {
  HeaderSet unique;
  for (const std::string& header : own) {
    if (counts.at(header) == 1) {
      unique.insert(unique.end(), header);
    }
  }
  return unique;
}

// Stage 1: a directory is on the include path when the compiler reaches its
// first unique header. Directories without unique headers but with a
// reachable first header are left to Stage 2.
static void stage_one(TesselGen& tg, IncludeSearch& search) {
  const HeaderCounts counts = count_headers(tg);
  tg.progressStart(static_cast<uint32_t>(tg.HeaderInventory.size()));
  for (const auto& [dir, headers] : tg.HeaderInventory) {
    tg.progressStep();
    const HeaderSet unique = unique_headers(headers, counts);
    if (unique.empty()) {
      if (!headers.empty() && IsHeaderFound(tg, *headers.begin())) {
        search.StageTwoDirs.push_back(dir);
      }
    } else if (IsHeaderFound(tg, *unique.begin())) {
      tg.ImplicitIncludeDirs.push_back(dir);
      *tg.out << "\tStage 1: " << dir << std::flush;
      tg.log.info("\tStage 1: " + dir);
      search.FoundHeaders.insert(headers.begin(), headers.end());
    } else {
      search.MissingHeaders.insert(unique.begin(), unique.end());
    }
  }
  tg.progressEnd();
}

// Stage 2: a directory that shares all its headers is accepted when the
// compiler reaches a header not yet explained by Stage 1 and the error
// message inside that header names the directory.
static void stage_two(TesselGen& tg, const IncludeSearch& search) {
  *tg.out << "\tStage 2" << std::endl;
  tg.log.info("\tStage 2");
  tg.progressStart(static_cast<uint32_t>(search.StageTwoDirs.size()));
  for (const std::string& dir : search.StageTwoDirs) {
    tg.progressStep();
    const HeaderSet& headers = tg.HeaderInventory.at(dir);
    if (!intersection(headers, search.MissingHeaders).empty()) {
      continue;
    }
    const HeaderSet rest = difference(headers, search.FoundHeaders);
    if (rest.empty()) {
      continue;
    }
    const std::string& first = *rest.begin();
    if (IsHeaderFound(tg, first) && IsHeaderFromDir(tg, dir, first)) {
      tg.ImplicitIncludeDirs.push_back(dir);
      *tg.out << "\tStage 2: " << dir << std::flush;
      tg.log.info("\tStage 2: " + dir);
    }
  }
  tg.progressEnd();
}

// Stage 3: for each pair of found directories, in list order, the first
// common header whose copy the compiler names decides whether the two trade
// places in the working copy. A pairwise exchange, not a sort: with three or
// more directories the outcome depends on the order in which pairs are met,
// hence the order warning printed afterwards.
static void stage_three(TesselGen& tg) {
  std::vector<std::string> OrderedDirs = tg.ImplicitIncludeDirs;
  const std::vector<std::string>& found = tg.ImplicitIncludeDirs;
  *tg.out << "\tStage 3" << std::endl;
  tg.log.info("\tStage 3");
  tg.progressStart(static_cast<uint32_t>(found.size()));
  for (std::size_t a = 0; a < found.size(); ++a) {
    tg.progressStep();
    for (std::size_t b = a + 1; b < found.size(); ++b) {
      const HeaderSet common = intersection(tg.HeaderInventory.at(found[a]),
                                            tg.HeaderInventory.at(found[b]));
      for (const std::string& header : common) {
        const int first = WhichDirFirst(tg, found[a], found[b], header);
        if (first == 2) {
          auto posA =
              std::find(OrderedDirs.begin(), OrderedDirs.end(), found[a]);
          auto posB =
              std::find(OrderedDirs.begin(), OrderedDirs.end(), found[b]);
          std::iter_swap(posA, posB);
          break;
        }
        if (first == 1) {
          break;
        }
      }
    }
  }
  tg.progressEnd();
  tg.ImplicitIncludeDirs = OrderedDirs;
}

// Prints, logs and writes the outcome of the search.
static void report(TesselGen& tg, std::ostream& personality) {
  const std::vector<std::string>& dirs = tg.ImplicitIncludeDirs;
  if (dirs.empty()) {
    *tg.out << "Couldn't determine compiler include paths." << std::endl
            << "The search directory(s) you have specified are either not on "
               "the compiler path, or the compiler does not have an implicit "
               "include path."
            << std::endl
            << "Please review the search directories and the compile command "
               "to ensure that the compiler can locate its own standard "
               "header files."
            << std::endl;
    tg.log.info("Couldn't determine compiler include paths.");
    return;
  }
  *tg.out << "\nInclude paths detected:\n\t";
  for (const std::string& dir : dirs) {
    *tg.out << dir << "\n\t";
  }
  *tg.out << std::endl;
  tg.log.info("Include paths detected:");
  for (const std::string& dir : dirs) {
    tg.log.info("\t" + dir);
  }
  if (dirs.size() > 1) {
    *tg.out << "*** The order of these header directories may need to be "
               "reviewed ***"
            << std::endl;
    tg.log.warn(
        "The order of these header directories may need to be reviewed");
  }
  const char* option = tg.isC ? "-i " : "-si ";
  for (const std::string& dir : dirs) {
    personality << option << '"' << dir << '"' << "\n";
    personality << "-q " << '"' << dir << '"' << "\n";
  }
}

void FindIncludeDirs(TesselGen& tg, std::ostream& personality,
                     const std::string& /*personalityTestPath*/) {
  *tg.out << "\n"
          << "Scanning for compiler include directories ("
          << tg.HeaderInventory.size() << ")" << std::endl;
  tg.log.info("Scanning for compiler include directories ");
  IncludeSearch search;
  stage_one(tg, search);
  stage_two(tg, search);
  stage_three(tg);
  report(tg, personality);
}
