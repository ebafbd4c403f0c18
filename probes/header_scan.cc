#include "probes/header_scan.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <fstream>
#include <future>
#include <list>
#include <mutex>
#include <thread>

#include "app/tessel_gen.h"
#include "harness/object_checks.h"

namespace {

// Character classes of the tokeniser, indexed by byte.
struct CharClasses {
  bool identifierStart[256] = {};
  bool identifierChar[256] = {};
  bool separator[256] = {};

  CharClasses() {
    for (int c = 0; c < 256; ++c) {
      const bool letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
      const bool digit = c >= '0' && c <= '9';
      identifierStart[c] = letter || c == '_';
      identifierChar[c] = letter || digit || c == '_';
      separator[c] = c >= 32 && c < 127 && !identifierChar[c];
    }
  }
};

const CharClasses kClasses;

}  // namespace

// ---- LineScanner ----

LineScanner::LineScanner(const NameTable& ignore)
    : ignore_(ignore), seen_(512) {}

void LineScanner::EndIdentifier() {
  if (identifier_.empty()) {
    return;
  }
  const uint64_t hash = NameTable::Hash(identifier_);
  if (seen_.Find(identifier_, hash) == nullptr) {
    seen_.Insert(identifier_, hash, ignore_.Find(identifier_, hash) == nullptr);
  }
  identifier_.clear();
}

// `line` without the blanks, tabs, line feeds, carriage returns, form feeds
// and vertical tabs at its end.
static std::string_view trim_trailing_space(std::string_view line) {
  const std::string_view::size_type last = line.find_last_not_of(" \t\n\r\f\v");
  return last == std::string_view::npos ? line.substr(0, 0)
                                        : line.substr(0, last + 1);
}

void LineScanner::ScanText(std::string_view text) {
  std::string_view::size_type start = 0;
  while (start < text.size()) {
    std::string_view::size_type feed = text.find('\n', start);
    if (feed == std::string_view::npos) {
      feed = text.size();
    }
    std::string_view line = text.substr(start, feed - start);
    start = feed + 1;
    line = trim_trailing_space(line);
    if (!line.empty() && line.back() == '\\') {
      // The blanks before the backslash go too: "foo \" and "bar" make
      // "foobar".
      line = trim_trailing_space(line.substr(0, line.size() - 1));
      pending_.append(line.data(), line.size());
      continue;
    }
    if (pending_.empty()) {
      ScanLine(line);
    } else {
      pending_.append(line.data(), line.size());
      ScanLine(pending_);
      pending_.clear();
    }
  }
  pending_.clear();
}

// The position of the "*" of the first "*/" in `line` at or after `from`;
// npos when the comment does not end on this line.
static std::size_t comment_end(std::string_view line, std::size_t from) {
  std::size_t star = line.find('*', from);
  while (star != std::string_view::npos &&
         (star + 1 == line.size() || line[star + 1] != '/')) {
    star = line.find('*', star + 1);
  }
  return star;
}

// The position after the run of letters, digits and "_" that starts at
// `from` in `line`.
static std::size_t identifier_run_end(std::string_view line, std::size_t from) {
  while (from < line.size() &&
         kClasses.identifierChar[static_cast<unsigned char>(line[from])]) {
    ++from;
  }
  return from;
}

void LineScanner::ScanLine(std::string_view line) {
  const std::size_t size = line.size();
  // Whether the line holds "#include": -1 until a "#" needs the answer.
  int hasInclude = -1;
  for (std::size_t position = 0; position < size; ++position) {
    if (state_ == ScanState::kRestOfLine) {
      break;
    }
    if (state_ == ScanState::kBlockComment) {
      const std::size_t close = comment_end(line, position);
      if (close == std::string_view::npos) {
        break;
      }
      state_ = ScanState::kBetweenTokens;
      position = close + 1;
      continue;
    }
    const unsigned char c = static_cast<unsigned char>(line[position]);
    if (c >= 128) {
      continue;
    }
    if (c == '/') {
      const char next = position + 1 < size ? line[position + 1] : '\0';
      if (next == '*') {
        state_ = ScanState::kBlockComment;
      } else if (next == '/') {
        state_ = ScanState::kRestOfLine;
      }
      continue;
    }
    if (c == '"') {
      state_ = state_ == ScanState::kString ? ScanState::kBetweenTokens
                                            : ScanState::kString;
      continue;
    }
    if (state_ == ScanState::kString) {
      continue;
    }
    if (state_ == ScanState::kIdentifier ? kClasses.identifierChar[c]
                                         : kClasses.identifierStart[c]) {
      // Take the whole run of identifier characters at once.
      const std::size_t end = identifier_run_end(line, position + 1);
      identifier_.append(line.data() + position, end - position);
      state_ = ScanState::kIdentifier;
      position = end - 1;
      continue;
    }
    if (c == '#') {
      if (hasInclude < 0) {
        hasInclude = line.find("#include") != std::string_view::npos ? 1 : 0;
      }
      if (hasInclude == 1) {
        state_ = ScanState::kRestOfLine;
      }
      continue;
    }
    EndIdentifier();
    state_ = ScanState::kBetweenTokens;
  }
  EndLine();
}

void LineScanner::EndLine() {
  // The end of the line ends an identifier, and with it a comment or string
  // that began after the identifier on this line.
  if (!identifier_.empty()) {
    EndIdentifier();
    state_ = ScanState::kBetweenTokens;
  } else if (state_ == ScanState::kRestOfLine) {
    state_ = ScanState::kBetweenTokens;
  }
}

NameTable LineScanner::TakeNames() {
  NameTable taken(0);
  std::swap(taken, seen_);
  return taken;
}

std::vector<std::string> LineScanner::Identifiers() const {
  std::vector<std::string> kept;
  for (std::size_t i = 0; i < seen_.size(); ++i) {
    if (seen_.flag(i)) {
      kept.emplace_back(seen_.name(i));
    }
  }
  std::sort(kept.begin(), kept.end());
  return kept;
}

// ---- Splitting printable runs ----

void SplitPrintable(const std::string& text, std::set<std::string>& result) {
  for (const char ch : text) {
    const unsigned char c = static_cast<unsigned char>(ch);
    if (c < 32 || c >= 127) {
      return;
    }
  }
  // Every piece between separators holds only letters, digits and "_"; it
  // ends the splitting and is kept when it is an identifier.
  std::string::size_type start = 0;
  while (start <= text.size()) {
    std::string::size_type end = start;
    while (end < text.size() &&
           !kClasses.separator[static_cast<unsigned char>(text[end])]) {
      ++end;
    }
    if (end > start &&
        kClasses.identifierStart[static_cast<unsigned char>(text[start])]) {
      result.insert(text.substr(start, end - start));
    }
    start = end + 1;
  }
}

// ---- Scanning one file ----

namespace {

// The whole content of one file, mapped into memory when it is a regular
// file and read into a buffer otherwise.
class FileBytes {
 public:
  FileBytes() = default;
  FileBytes(const FileBytes&) = delete;
  FileBytes& operator=(const FileBytes&) = delete;
  ~FileBytes() {
    if (mapped_ != nullptr) {
      ::munmap(mapped_, size_);
    }
  }

  // Opens and reads `path`; false when it cannot be opened. A read error
  // keeps what was read before it.
  bool Load(const std::string& path) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
      return false;
    }
    struct stat info;
    if (::fstat(fd, &info) == 0 && S_ISREG(info.st_mode) && info.st_size > 0) {
      size_ = static_cast<std::size_t>(info.st_size);
      void* address = ::mmap(nullptr, size_, PROT_READ, MAP_PRIVATE, fd, 0);
      if (address != MAP_FAILED) {
        mapped_ = address;
        ::close(fd);
        return true;
      }
    }
    size_ = 0;
    char chunk[1 << 16];
    ssize_t got;
    while ((got = ::read(fd, chunk, sizeof chunk)) > 0) {
      buffer_.append(chunk, static_cast<std::size_t>(got));
    }
    ::close(fd);
    return true;
  }

  std::string_view view() const {
    return mapped_ != nullptr
               ? std::string_view(static_cast<const char*>(mapped_), size_)
               : std::string_view(buffer_);
  }

 private:
  void* mapped_ = nullptr;
  std::size_t size_ = 0;
  std::string buffer_;
};

}  // namespace

void ForEachBinaryString(std::string_view bytes,
                         const std::function<void(std::string_view)>& visit) {
  static constexpr std::size_t kLongestRun = 127;
  const char* const data = bytes.data();
  const std::size_t size = bytes.size();
  const char* zero = static_cast<const char*>(std::memchr(data, '\0', size));
  while (zero != nullptr) {
    const std::size_t end = static_cast<std::size_t>(zero - data);
    std::size_t begin = end;
    while (begin > 1 && end - begin < kLongestRun) {
      const unsigned char c = static_cast<unsigned char>(data[begin - 1]);
      if (c < 32 || c > 126) {
        break;
      }
      --begin;
    }
    if (begin < end) {
      visit(bytes.substr(begin, end - begin));
    }
    zero =
        static_cast<const char*>(std::memchr(zero + 1, '\0', size - end - 1));
  }
}

ScanTables::ScanTables(const std::set<std::string>& ignoreKeywords,
                       const std::set<std::string>& candidateKeywords)
    : ignore(ignoreKeywords.size()), merged(1 << 16) {
  for (const std::string& name : ignoreKeywords) {
    ignore.Insert(name, NameTable::Hash(name), true);
  }
  for (const std::string& name : candidateKeywords) {
    merged.Insert(name, NameTable::Hash(name), true);
  }
}

// Collects the identifiers of the file at `path` into `found`, flagged
// true when kept. Text files go through `LineScanner`, binary files through
// `SplitPrintable`.
static void collect_identifiers(const std::string& path,
                                const NameTable& ignore, NameTable& found) {
  const bool text = isTextFile(path);
  FileBytes bytes;
  if (!bytes.Load(path)) {
    return;
  }
  if (text) {
    LineScanner scanner(ignore);
    scanner.ScanText(bytes.view());
    found = scanner.TakeNames();
    return;
  }
  // The ignore list holds for every file the scan reads, binary or not.
  std::set<std::string> names;
  ForEachBinaryString(bytes.view(), [&names](std::string_view run) {
    SplitPrintable(std::string(run), names);
  });
  for (const std::string& name : names) {
    const uint64_t hash = NameTable::Hash(name);
    found.Insert(name, hash, ignore.Find(name, hash) == nullptr);
  }
}

// Merges the kept names of `found`: into `tg.candidateKeywords`, or, with
// `merged`, into that table, from which the stage fills the ordered set
// once all tasks have ended. The caller holds the scan mutex.
static void merge_identifiers(TesselGen& tg, const NameTable& found,
                              NameTable* merged) {
  for (std::size_t i = 0; i < found.size(); ++i) {
    if (!found.flag(i)) {
      continue;
    }
    if (merged == nullptr) {
      tg.candidateKeywords.emplace(found.name(i));
    } else {
      merged->Insert(found.name(i), found.hash(i), true);
    }
  }
}

void ScanFile(TesselGen& tg, std::string path, ScanTables* tables) {
  {
    std::lock_guard<std::mutex> lock(TesselGen::scanMutex);
    tg.progressStep();
    tg.log.info(path);
  }
  // The text-file test takes the extension from the last "." of the path;
  // a path without one (such as a C++ standard header in a directory
  // without dots) cannot be classified, and only this file is skipped.
  if (path.find('.') == std::string::npos) {
    std::lock_guard<std::mutex> lock(TesselGen::scanMutex);
    tg.log.warn("File not scanned, no \".\" in its path: " + path);
    return;
  }
  NameTable found(0);
  if (tables != nullptr) {
    collect_identifiers(path, tables->ignore, found);
  } else {
    const ScanTables own(tg.ignoreKeywords, {});
    collect_identifiers(path, own.ignore, found);
  }
  if (found.size() == 0) {
    return;
  }
  std::lock_guard<std::mutex> lock(TesselGen::scanMutex);
  merge_identifiers(tg, found, tables != nullptr ? &tables->merged : nullptr);
}

// ---- The stage ----

// Runs `ScanFile` on every file of `tg.headerFiles`, each on its own thread,
// at most one less than the hardware threads at once (3 when the platform
// cannot tell). A machine that reports a single hardware thread gets a
// limit of 0 and never finishes; the rule is kept as it stands.
static void run_scan_tasks(TesselGen& tg) {
  const unsigned hardware = std::thread::hardware_concurrency();
  const unsigned limit = hardware == 0 ? 3u : hardware - 1u;
  ScanTables tables(tg.ignoreKeywords, tg.candidateKeywords);
  // The tasks merge into the hash table; the ordered set gets the new names
  // once, sorted, which costs a fraction of inserting them one by one. It
  // gets them too when a task's exception leaves the stage.
  const std::size_t known = tables.merged.size();
  struct FillCandidates {
    TesselGen& tg;
    const NameTable& merged;
    std::size_t known;
    ~FillCandidates() {
      // Sorted by their first eight bytes as one number first: most
      // comparisons then need no look at the names themselves.
      struct Keyed {
        uint64_t prefix;
        std::string_view name;
      };
      std::vector<Keyed> added;
      added.reserve(merged.size() - known);
      for (std::size_t i = known; i < merged.size(); ++i) {
        const std::string_view name = merged.name(i);
        uint64_t prefix = 0;
        for (std::size_t b = 0; b < 8; ++b) {
          prefix = (prefix << 8) |
                   (b < name.size() ? static_cast<unsigned char>(name[b]) : 0u);
        }
        added.push_back(Keyed{prefix, name});
      }
      std::sort(added.begin(), added.end(), [](const Keyed& a, const Keyed& b) {
        return a.prefix != b.prefix ? a.prefix < b.prefix : a.name < b.name;
      });
      for (const Keyed& entry : added) {
        tg.candidateKeywords.emplace_hint(tg.candidateKeywords.end(),
                                          entry.name);
      }
    }
  } fill{tg, tables.merged, known};
  std::list<std::future<void>> tasks;
  unsigned running = 0;
  std::size_t next = 0;
  while (next < tg.headerFiles.size()) {
    while (running < limit && next < tg.headerFiles.size()) {
      tasks.push_back(std::async(std::launch::async, ScanFile, std::ref(tg),
                                 tg.headerFiles[next], &tables));
      ++next;
      ++running;
    }
    // One pass over the running tasks, giving each up to 50 ms.
    for (auto it = tasks.begin(); it != tasks.end();) {
      if (it->wait_for(std::chrono::milliseconds(50)) ==
          std::future_status::ready) {
        it->get();
        it = tasks.erase(it);
        --running;
      } else {
        ++it;
      }
    }
  }
  for (std::future<void>& task : tasks) {
    task.get();
  }
}

void ScanAllDirectories(TesselGen& tg) {
  *tg.out << "Scanning All Directories..." << std::endl;
  tg.log.info("Scanning All Directories...");
  WalkHeaderDirectories(tg);
  const uint32_t items = static_cast<uint32_t>(tg.headerFiles.size()) + 2;
  *tg.out << "Scanning " << items << " files..." << std::endl;
  tg.log.info("List of files to scan for keywords: ");
  tg.progressStart(items);
  run_scan_tasks(tg);
  tg.progressStep();
  AddTemplateKeywords(tg);
  tg.progressStep();
  RemoveForceIncludeTokens(tg);
  tg.progressEnd();
}

// ---- After the tasks ----

// True when `text` is a C identifier: a letter or "_", then letters, digits
// and "_".
static bool is_c_identifier(const std::string& text) {
  if (text.empty() ||
      !kClasses.identifierStart[static_cast<unsigned char>(text[0])]) {
    return false;
  }
  return identifier_run_end(text, 0) == text.size();
}

void AddTemplateKeywords(TesselGen& tg) {
  if (tg.templatePath.empty()) {
    return;
  }
  std::ifstream in(tg.templatePath);
  std::string line;
  bool found = false;
  int lineNumber = 0;
  while (std::getline(in, line)) {
    ++lineNumber;
    if (line.find("<test>") != std::string::npos) {
      found = true;
      break;
    }
  }
  if (!found) {
    return;
  }
  tg.log.info("Additional keywords specified in the Template Personality:");
  // A section without "</test>" ends with the file.
  while (std::getline(in, line) && line.find("</test>") == std::string::npos) {
    ++lineNumber;
    // A candidate reaches compile commands as a define, so only a plain C
    // identifier is tested; anything else could be read by the shell.
    if (is_c_identifier(line)) {
      tg.candidateKeywords.insert(line);
      tg.log.info(line);
    } else if (!line.empty()) {
      const std::string message =
          "Template keyword is not a C identifier and is not tested: '" + line +
          "' (" + tg.templatePath + " line " + std::to_string(lineNumber) + ")";
      *tg.err << message << std::endl;
      tg.log.warn(message);
    }
  }
}

void RemoveForceIncludeTokens(TesselGen& tg) {
  if (tg.forceIncludePath.empty()) {
    return;
  }
  std::ifstream in(tg.forceIncludePath);
  if (!in.is_open()) {
    return;
  }
  std::set<std::string> tokens;
  std::string line;
  while (std::getline(in, line)) {
    if (line.find("Any other items") == std::string::npos) {
      continue;
    }
    // A block without "#else" ends with the file.
    while (std::getline(in, line) && line.find("#else") == std::string::npos) {
      SplitPrintable(line, tokens);
    }
  }
  for (const std::string& token : tokens) {
    if (tg.candidateKeywords.erase(token) > 0) {
      tg.log.info("FI token '" + token + "'" + " ignored as KW");
    }
  }
}
