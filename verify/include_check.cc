#include "verify/include_check.h"

#include <algorithm>
#include <cctype>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <optional>
#include <set>

#include "app/tessel_gen.h"
#include "harness/compile_harness.h"
#include "probes/include_dirs.h"
#include "verify/compiler_files.h"

namespace {

// The written include section: each directory in written order with its
// lines, kept as written so that an unchanged line is written back as read.
struct WrittenDir {
  std::string dir;
  std::vector<PersonalityLine> lines;
};

// What the tests learned about one directory.
struct DirState {
  bool searched = false;
  bool dropped = false;
  // No compile ordered it against a neighbour: its place is a guess.
  bool ranked = false;
  std::string test;
};

}  // namespace

// Order tests per run; each decides every pair of holders of one header.
static const std::size_t kMaxOrderTests = 48;
// Headers tried per directory whose search is still unproven.
static const int kMaxSearchTries = 4;

static const char kIncludeBase[] = "inctest";
static const char kIncludedFrom[] = "In file included from ";

std::string lexical_path(const std::string& path) {
  std::vector<std::string> parts;
  std::string::size_type start = 0;
  while (start <= path.size()) {
    std::string::size_type slash = path.find('/', start);
    if (slash == std::string::npos) {
      slash = path.size();
    }
    const std::string part = path.substr(start, slash - start);
    if (part == "..") {
      if (!parts.empty()) {
        parts.pop_back();
      }
    } else if (!part.empty() && part != ".") {
      parts.push_back(part);
    }
    start = slash + 1;
  }
  std::string joined = !path.empty() && path[0] == '/' ? "/" : "";
  for (std::size_t i = 0; i < parts.size(); ++i) {
    joined += (i > 0 ? "/" : "") + parts[i];
  }
  return joined;
}

static std::string trim_left(const std::string& text) {
  const std::string::size_type first = text.find_first_not_of(" \t");
  return first == std::string::npos ? std::string() : text.substr(first);
}

// The file named at the start of a message or chain line: the text up to
// ":" followed by a digit, or up to ", line " (messages without columns).
static std::string path_of_line(std::string line) {
  line = trim_left(line);
  if (line.rfind(kIncludedFrom, 0) == 0) {
    line.erase(0, sizeof kIncludedFrom - 1);
  } else if (line.rfind("from ", 0) == 0) {
    line.erase(0, 5);
  }
  for (std::string::size_type i = 0; i + 1 < line.size(); ++i) {
    if (line[i] == ':' &&
        std::isdigit(static_cast<unsigned char>(line[i + 1]))) {
      return line.substr(0, i);
    }
    if (line.compare(i, 7, ", line ") == 0) {
      return line.substr(0, i);
    }
  }
  return std::string();
}

static std::vector<std::string> split_lines(const std::string& text) {
  std::vector<std::string> lines;
  std::string::size_type start = 0;
  while (start < text.size()) {
    std::string::size_type end = text.find('\n', start);
    if (end == std::string::npos) {
      end = text.size();
    }
    std::string line = text.substr(start, end - start);
    line.erase(std::remove(line.begin(), line.end(), '\r'), line.end());
    lines.push_back(line);
    start = end + 1;
  }
  return lines;
}

std::string first_included_file(const std::string& output,
                                const std::string& testFile) {
  const std::vector<std::string> lines = split_lines(output);
  const std::string includeLine = testFile + ":2";
  for (std::size_t i = 0; i < lines.size(); ++i) {
    const std::string line = trim_left(lines[i]);
    if (line.find(includeLine) == std::string::npos) {
      continue;
    }
    if (line.rfind(std::string(kIncludedFrom) + includeLine, 0) == 0) {
      // Outermost first: the next line names the file it brought in.
      return i + 1 < lines.size() ? path_of_line(lines[i + 1]) : "";
    }
    if (line.rfind("from " + includeLine, 0) == 0 && i > 0) {
      // Innermost first: the line before names the file it brought in.
      return path_of_line(lines[i - 1]);
    }
  }
  for (const std::string& line : lines) {
    const std::string path = path_of_line(line);
    if (!path.empty() && path != testFile) {
      return path;
    }
  }
  return std::string();
}

std::vector<std::string> combine_search_order(
    const std::vector<std::string>& written,
    const std::vector<OrderEvidence>& evidence,
    const std::map<std::string, int>& rank, std::set<std::string>* ranked) {
  std::map<std::string, std::set<std::string>> before;  // dir -> must follow
  for (const OrderEvidence& found : evidence) {
    for (const std::string& other : found.others) {
      if (other != found.first) {
        before[other].insert(found.first);
      }
    }
  }
  std::vector<std::string> rest = written;
  std::vector<std::string> order;
  while (!rest.empty()) {
    auto isReady = [&](const std::string& dir) {
      for (const std::string& earlier : before[dir]) {
        if (std::find(rest.begin(), rest.end(), earlier) != rest.end()) {
          return false;
        }
      }
      return true;
    };
    auto rankOf = [&rank](const std::string& dir) {
      auto found = rank.find(dir);
      return found == rank.end() ? 0 : found->second;
    };
    auto ready = rest.end();
    std::vector<std::string> choice;
    for (auto it = rest.begin(); it != rest.end(); ++it) {
      if (!isReady(*it)) {
        continue;
      }
      choice.push_back(*it);
      if (ready == rest.end() || rankOf(*it) < rankOf(*ready)) {
        ready = it;
      }
    }
    // No evidence orders the directories that are ready together.
    if (ranked != nullptr && choice.size() > 1) {
      ranked->insert(choice.begin(), choice.end());
    }
    if (ready == rest.end()) {
      ready = rest.begin();  // a contradiction: keep the written order
    }
    order.push_back(*ready);
    rest.erase(ready);
  }
  return order;
}

// Compiles "int x[" followed by an include of `header` and returns the
// file the include brought in, as a lexical path.
static std::string included_copy(TesselGen& tg, const std::string& header) {
  const std::string source = kIncludeBase + sourceExtension(tg);
  writeWholeFile(source, "int x[\n#include <" + header + ">\n");
  runCompileScript(tg, buildCommand(tg, source, false, ""));
  std::remove(source.c_str());
  const std::string output = readCompilerOutput();
  std::remove(kStdoutLog);
  std::remove(kStderrLog);
  const std::string path = first_included_file(output, source);
  return path.empty() ? path : lexical_path(path);
}

// True when the compiler's `path` names `dir`'s copy of `header`: by its
// spelling, or, where links lead the compiler elsewhere (mingw's
// /usr/x86_64-w64-mingw32/include holds links into /usr/share), by the
// file it is.
static bool is_copy(const std::string& path, const std::string& dir,
                    const std::string& header) {
  const std::string copy = lexical_path(dir + "/" + header);
  if (path.empty() || copy == path) {
    return !path.empty();
  }
  char a[PATH_MAX];
  char b[PATH_MAX];
  return realpath(path.c_str(), a) != nullptr &&
         realpath(copy.c_str(), b) != nullptr && std::strcmp(a, b) == 0;
}

// The directory among `holders` whose copy of `header` is `path`: the one
// the path spells, else the one whose copy is the same file.
static std::optional<std::string> holder_of(
    const std::string& path, const std::string& header,
    const std::vector<std::string>& holders) {
  for (const std::string& dir : holders) {
    if (!path.empty() && lexical_path(dir + "/" + header) == path) {
      return dir;
    }
  }
  for (const std::string& dir : holders) {
    if (is_copy(path, dir, header)) {
      return dir;
    }
  }
  return std::nullopt;
}

static const std::set<std::string>& headers_of(const TesselGen& tg,
                                               const std::string& dir) {
  static const std::set<std::string> kNone;
  auto entry = tg.HeaderInventory.find(dir);
  return entry == tg.HeaderInventory.end() ? kNone : entry->second;
}

// Header name -> the written directories holding it, for headers that
// more than one of them holds.
static std::map<std::string, std::vector<std::string>> shared_headers(
    const TesselGen& tg, const std::vector<std::string>& dirs) {
  std::map<std::string, std::vector<std::string>> holders;
  for (const std::string& dir : dirs) {
    for (const std::string& header : headers_of(tg, dir)) {
      holders[header].push_back(dir);
    }
  }
  for (auto it = holders.begin(); it != holders.end();) {
    it = it->second.size() < 2 ? holders.erase(it) : std::next(it);
  }
  return holders;
}

static bool all_pairs_decided(
    const std::vector<std::string>& holders,
    const std::set<std::pair<std::string, std::string>>& decided) {
  for (const std::string& a : holders) {
    for (const std::string& b : holders) {
      if (a < b && decided.count({a, b}) == 0) {
        return false;
      }
    }
  }
  return true;
}

// Tests shared headers until every pair of directories sharing one is
// decided or the budget is spent. Marks the directories whose copies were
// taken as searched.
static std::vector<OrderEvidence> order_tests(
    TesselGen& tg, const std::vector<std::string>& dirs,
    std::map<std::string, DirState>& states) {
  std::vector<OrderEvidence> evidence;
  std::set<std::pair<std::string, std::string>> decided;
  std::size_t tests = 0;
  for (const auto& [header, holders] : shared_headers(tg, dirs)) {
    if (tests == kMaxOrderTests) {
      break;
    }
    if (all_pairs_decided(holders, decided)) {
      continue;
    }
    ++tests;
    const std::string path = included_copy(tg, header);
    const std::optional<std::string> first = holder_of(path, header, holders);
    if (!first) {
      tg.log.info("Verify include order: <" + header + "> names no copy");
      continue;
    }
    OrderEvidence found{*first, {}};
    for (const std::string& other : holders) {
      if (other != *first) {
        found.others.insert(other);
        decided.insert({std::min(other, *first), std::max(other, *first)});
      }
    }
    tg.log.info("Verify include order: <" + header + "> taken from " + *first);
    states[*first].searched = true;
    states[*first].test = "#include <" + header + "> after int x[: first copy";
    evidence.push_back(found);
  }
  return evidence;
}

// The headers to try for a directory whose search is unproven: those no
// other written directory holds first, then the others.
static std::vector<std::string> search_candidates(
    const TesselGen& tg, const std::string& dir,
    const std::vector<std::string>& dirs) {
  std::vector<std::string> unique;
  std::vector<std::string> shared;
  for (const std::string& header : headers_of(tg, dir)) {
    bool elsewhere = false;
    for (const std::string& other : dirs) {
      elsewhere = elsewhere ||
                  (other != dir && headers_of(tg, other).count(header) > 0);
    }
    (elsewhere ? shared : unique).push_back(header);
  }
  unique.insert(unique.end(), shared.begin(), shared.end());
  return unique;
}

// A directory is searched when the compiler takes a header from it. It
// is dropped when one of its headers cannot be included at all, or when
// for every header tried the compiler named another copy: it is then an
// alias of another directory or a subdirectory never searched as a root.
static void search_test(TesselGen& tg, const std::string& dir,
                        const std::vector<std::string>& dirs, DirState& state) {
  int tries = 0;
  int elsewhere = 0;
  std::string last;
  for (const std::string& header : search_candidates(tg, dir, dirs)) {
    if (tries == kMaxSearchTries) {
      break;
    }
    ++tries;
    const std::string copy = included_copy(tg, header);
    if (holder_of(copy, header, dirs) == dir) {
      state.searched = true;
      state.test = "#include <" + header + "> after int x[: this copy named";
      return;
    }
    if (!copy.empty()) {
      ++elsewhere;
      last = header;
    } else if (!IsHeaderFound(tg, header)) {
      state.dropped = true;
      state.test = "#include <" + header + ">: file not found";
      return;
    }
  }
  if (tries > 0 && elsewhere == tries) {
    state.dropped = true;
    state.test = "#include <" + last + "> after int x[: another copy named";
  }
}

// Where no header decides, a C++ product's library directories come first
// (those below another of them after the others), then those of the
// compiler's own installation (named like the compiler), then the others;
// in each group a directory comes after those below it (sdcc's port
// directory "include/mcs51" before "include").
static std::map<std::string, int> tie_ranks(
    TesselGen& tg, const std::vector<std::string>& dirs) {
  std::set<std::string> words;
  const std::string program = resolve_compiler_program(tg);
  if (!program.empty()) {
    words = related_words(
        split_compiler_name(program.substr(program.rfind('/') + 1)));
  }
  auto isCpp = [&tg](const std::string& path) {
    return !tg.isC && path.find("c++") != std::string::npos;
  };
  std::map<std::string, int> rank;
  for (const std::string& dir : dirs) {
    const std::string path = lexical_path(dir);
    bool parent = false;
    bool belowCpp = false;
    for (const std::string& other : dirs) {
      const std::string otherPath = lexical_path(other);
      parent = parent || otherPath.rfind(path + "/", 0) == 0;
      belowCpp =
          belowCpp || (isCpp(otherPath) && path.rfind(otherPath + "/", 0) == 0);
    }
    bool own = false;
    for (const std::string& word : words) {
      own = own || path.find(word) != std::string::npos;
    }
    const int r = (own ? 2 : 4) + (parent ? 1 : 0);
    rank[dir] = isCpp(path) ? (belowCpp ? 1 : 0) : r;
  }
  return rank;
}

// The directories of the include lines ("-i"/"-si").
static std::set<std::string> include_line_dirs(const Personality& personality) {
  std::set<std::string> dirs;
  for (const PersonalityLine& line : personality.lines) {
    if (line.kind == LineKind::kInclude) {
      dirs.insert(line.name);
    }
  }
  return dirs;
}

// True for a line of the include section: an include line, or the "-q"
// line of a directory that has one. A "-q" line alone (the directory of
// the force-include header) is not a search directory and stays put.
static bool in_include_section(const PersonalityLine& line,
                               const std::set<std::string>& dirs) {
  return line.kind == LineKind::kInclude ||
         (line.kind == LineKind::kSystemInclude && dirs.count(line.name) > 0);
}

// The written include section, in order; the "-q" line of a directory
// stays with it.
static std::vector<WrittenDir> written_dirs(const Personality& personality) {
  std::vector<WrittenDir> dirs;
  const std::set<std::string> included = include_line_dirs(personality);
  for (const PersonalityLine& line : personality.lines) {
    if (!in_include_section(line, included)) {
      continue;
    }
    auto same = std::find_if(dirs.begin(), dirs.end(),
                             [&](const auto& d) { return d.dir == line.name; });
    if (same == dirs.end()) {
      dirs.push_back(WrittenDir{line.name, {line}});
    } else {
      same->lines.push_back(line);
    }
  }
  return dirs;
}

// Replaces the include section of `personality` by `order`'s lines, at
// the place of the first include line.
static void rewrite_section(Personality* personality,
                            const std::vector<WrittenDir>& written,
                            const std::vector<std::string>& order) {
  std::vector<PersonalityLine>& lines = personality->lines;
  const std::set<std::string> included = include_line_dirs(*personality);
  auto first = std::find_if(lines.begin(), lines.end(), [&](const auto& l) {
    return in_include_section(l, included);
  });
  // Without include lines the section goes first, where the stage writes it.
  const std::size_t at = first == lines.end()
                             ? 0
                             : static_cast<std::size_t>(first - lines.begin());
  lines.erase(std::remove_if(lines.begin(), lines.end(),
                             [&](const auto& l) {
                               return in_include_section(l, included);
                             }),
              lines.end());
  std::vector<PersonalityLine> section;
  for (const std::string& dir : order) {
    for (const WrittenDir& w : written) {
      if (w.dir == dir) {
        section.insert(section.end(), w.lines.begin(), w.lines.end());
      }
    }
  }
  lines.insert(lines.begin() + static_cast<std::ptrdiff_t>(at), section.begin(),
               section.end());
}

// One fact per written directory: its place as written and as now.
static std::vector<FactResult> facts_of(
    TesselGen& tg, const std::vector<std::string>& before,
    const std::vector<std::string>& after,
    const std::map<std::string, DirState>& states) {
  std::vector<FactResult> facts;
  for (std::size_t i = 0; i < before.size(); ++i) {
    FactResult fact;
    fact.kind = "include";
    fact.name = before[i];
    fact.written = std::to_string(i + 1);
    const DirState& state = states.at(before[i]);
    fact.test = state.test;
    auto now = std::find(after.begin(), after.end(), before[i]);
    if (now == after.end()) {
      fact.hasNow = false;
      fact.status = FactStatus::kCorrected;
    } else {
      fact.now = std::to_string(now - after.begin() + 1);
      fact.status = fact.now != fact.written          ? FactStatus::kCorrected
                    : state.searched && !state.ranked ? FactStatus::kConfirmed
                                                      : FactStatus::kUnchecked;
      if (state.ranked) {
        fact.test += (fact.test.empty() ? "" : "; ") +
                     std::string("place by rank: no header orders it");
      }
    }
    const std::string outcome = std::string(fact_status_name(fact.status)) +
                                ": " + fact.name + " place " + fact.written +
                                " -> " + (fact.hasNow ? fact.now : "none");
    if (fact.status == FactStatus::kCorrected) {
      tg.log.warn("Verify include directory " + outcome);
    } else {
      tg.log.info("Verify include directory " + outcome);
    }
    facts.push_back(fact);
  }
  return facts;
}

// The user's directories with headers that no include line names: the
// stage can miss one whose headers all stand in other directories too.
static std::vector<std::string> unwritten_dirs(
    const TesselGen& tg, const std::vector<std::string>& dirs) {
  // A directory spelled another way ("/usr/bin/../include") is written.
  std::set<std::string> seen;
  for (const std::string& dir : dirs) {
    seen.insert(lexical_path(dir));
  }
  std::vector<std::string> extra;
  for (const std::string& dir : tg.includeDirs) {
    if (!headers_of(tg, dir).empty() && seen.insert(lexical_path(dir)).second) {
      extra.push_back(dir);
    }
  }
  return extra;
}

// Facts for the directories added: their place now.
static void add_facts(TesselGen& tg, const std::vector<std::string>& extra,
                      const std::vector<std::string>& order,
                      const std::map<std::string, DirState>& states,
                      std::vector<FactResult>& facts) {
  for (const std::string& dir : extra) {
    auto now = std::find(order.begin(), order.end(), dir);
    if (now == order.end()) {
      continue;
    }
    FactResult fact;
    fact.kind = "include";
    fact.name = dir;
    fact.hadWritten = false;
    fact.now = std::to_string(now - order.begin() + 1);
    fact.status = FactStatus::kAdded;
    fact.test = states.at(dir).test;
    tg.log.warn("Verify include directory added: " + dir + " place " +
                fact.now);
    facts.push_back(fact);
  }
}

std::vector<FactResult> check_include_dirs(TesselGen& tg,
                                           Personality* personality) {
  std::vector<WrittenDir> written = written_dirs(*personality);
  std::vector<std::string> dirs;
  std::map<std::string, DirState> states;
  for (const WrittenDir& w : written) {
    dirs.push_back(w.dir);
    states[w.dir];
  }
  const std::vector<std::string> extra = unwritten_dirs(tg, dirs);
  std::vector<std::string> all = dirs;
  for (const std::string& dir : extra) {
    all.push_back(dir);
    states[dir];
    written.push_back(WrittenDir{
        dir, {make_include_line(tg.isC, dir), make_system_include_line(dir)}});
  }
  const std::vector<OrderEvidence> evidence = order_tests(tg, all, states);
  std::vector<std::string> kept;
  std::map<std::string, std::string> spelled;  // lexical path -> first dir
  for (std::size_t i = 0; i < all.size(); ++i) {
    DirState& state = states[all[i]];
    // A directory written twice, spelled two ways, keeps its first line.
    auto first = spelled.emplace(lexical_path(all[i]), all[i]).first;
    if (first->second != all[i]) {
      state.dropped = true;
      state.test = "the same directory as " + first->second;
      continue;
    }
    if (!state.searched) {
      search_test(tg, all[i], all, state);
    }
    // A written directory stays unless disproved; an added one needs proof.
    if (i < dirs.size() ? !state.dropped : state.searched) {
      kept.push_back(all[i]);
    }
  }
  std::set<std::string> ranked;
  const std::vector<std::string> order =
      combine_search_order(kept, evidence, tie_ranks(tg, kept), &ranked);
  for (const std::string& dir : ranked) {
    DirState& state = states[dir];
    state.ranked = true;
    tg.log.info("Verify include directory: no header orders " + dir +
                " against a directory beside it; placed by rank");
  }
  if (order != dirs) {
    rewrite_section(personality, written, order);
    tg.ImplicitIncludeDirs = order;
  }
  std::vector<FactResult> facts = facts_of(tg, dirs, order, states);
  add_facts(tg, extra, order, states, facts);
  return facts;
}
