#include "output/template_merge.h"

#include <fstream>
#include <set>
#include <unordered_map>

#include "app/tessel_gen.h"
#include "util/text.h"

namespace {

// One kind of template section: its tags and the list its entries go to.
struct SectionKind {
  const char* open;
  const char* close;
  std::vector<std::string> TemplateSections::*entries;
};

const SectionKind kSectionKinds[] = {
    {"<modify>", "</modify>", &TemplateSections::ModifyLines},
    {"<add>", "</add>", &TemplateSections::AddLines},
    {"<remove>", "</remove>", &TemplateSections::RemoveLines},
};

// Indices in order, taken from the front; a deque would cost far more to
// create for each of many small queues.
struct IndexQueue {
  std::vector<std::size_t> indices;
  std::size_t next = 0;
  bool empty() const { return next == indices.size(); }
  std::size_t front() const { return indices[next]; }
  void pop_front() { ++next; }
  void push_back(std::size_t index) { indices.push_back(index); }
};

}  // namespace

TemplateSections ReadTemplateSections(std::istream& in) {
  TemplateSections sections;
  std::string line;
  while (std::getline(in, line)) {
    for (const SectionKind& kind : kSectionKinds) {
      if (!contains(line, kind.open)) {
        continue;
      }
      std::vector<std::string>& entries = sections.*kind.entries;
      bool closed = false;
      while (std::getline(in, line)) {
        if (contains(line, kind.close)) {
          closed = true;
          break;
        }
        entries.push_back(trim_blanks(line));
      }
      // Without this check an unclosed section would never end.
      if (!closed) {
        sections.unclosedSections.push_back(kind.open);
      }
      break;
    }
  }
  return sections;
}

// The part of a personality line that names the option it sets.
static std::string option_key(const std::string& line) {
  std::string key;
  for (char c : line) {
    if (c != ' ' && c != '"') {
      key += c;
    }
  }
  std::string::size_type open = key.find('(');
  std::string::size_type close = key.find(')');
  if (open != std::string::npos && close != std::string::npos) {
    // When ")" comes before "(" the erase runs to the end of the key.
    key.erase(open, close >= open ? close - open + 1 : std::string::npos);
  }
  return key.substr(0, key.find('='));
}

bool SameOption(const std::string& line, const std::string& templateLine) {
  return option_key(line) == option_key(templateLine);
}

// Replaces each personality line by the first modify entry that sets the
// same option and is not used yet. A used entry is emptied, so that it is
// neither used again nor added at the end. The entries are indexed by their
// option key once, so each line costs one look-up, not a pass over them.
static std::vector<std::string> apply_modify(
    const std::vector<std::string>& personalityLines,
    std::vector<std::string>& modifyLines, std::set<std::string>& review) {
  std::unordered_map<std::string, IndexQueue> byKey;
  byKey.reserve(modifyLines.size());
  for (std::size_t i = 0; i < modifyLines.size(); ++i) {
    if (!modifyLines[i].empty()) {
      byKey[option_key(modifyLines[i])].push_back(i);
    }
  }
  std::vector<std::string> merged;
  merged.reserve(personalityLines.size());
  for (const std::string& line : personalityLines) {
    auto unused = byKey.empty() ? byKey.end() : byKey.find(option_key(line));
    if (unused == byKey.end() || unused->second.empty()) {
      merged.push_back(line);
      continue;
    }
    std::string& entry = modifyLines[unused->second.front()];
    unused->second.pop_front();
    merged.push_back(entry);
    entry.clear();
    review.erase(line);
  }
  return merged;
}

// Removes the first line equal to each remove entry, then appends each add
// entry that no line equals yet. Lines are found through a hash index and
// removed lines only marked until the end, so that long sections merge in
// time proportional to their length.
static void apply_remove_and_add(const TemplateSections& sections,
                                 std::vector<std::string>& merged,
                                 std::set<std::string>& review) {
  std::unordered_map<std::string, IndexQueue> positions;
  positions.reserve(merged.size() + sections.AddLines.size());
  for (std::size_t i = 0; i < merged.size(); ++i) {
    positions[merged[i]].push_back(i);
  }
  std::vector<bool> removed(merged.size(), false);
  for (const std::string& entry : sections.RemoveLines) {
    auto found = positions.find(entry);
    if (found != positions.end() && !found->second.empty()) {
      review.erase(entry);
      removed[found->second.front()] = true;
      found->second.pop_front();
    }
  }
  std::vector<std::string> kept;
  kept.reserve(merged.size() + sections.AddLines.size());
  for (std::size_t i = 0; i < merged.size(); ++i) {
    if (!removed[i]) {
      kept.push_back(std::move(merged[i]));
    }
  }
  for (const std::string& entry : sections.AddLines) {
    IndexQueue& present = positions[entry];
    if (present.empty()) {
      present.push_back(kept.size());
      kept.push_back(entry);
    }
  }
  merged = std::move(kept);
}

// Merges the open template into the personality file at `path`.
static bool merge_into(TesselGen& tg, std::istream& templateFile,
                       const std::string& path, std::set<std::string>& review) {
  TemplateSections sections = ReadTemplateSections(templateFile);
  for (const std::string& tag : sections.unclosedSections) {
    *tg.out << "Template section " << tag << " is not closed in "
            << tg.templatePath << "\n";
  }

  std::vector<std::string> personalityLines;
  std::ifstream personality(path);
  if (personality.is_open()) {
    std::string line;
    while (std::getline(personality, line)) {
      personalityLines.push_back(line);
    }
  } else {
    *tg.out << "Cannot re-open Personality File (read) - " << path << "\n";
  }
  personality.close();

  std::vector<std::string> merged =
      apply_modify(personalityLines, sections.ModifyLines, review);
  for (const std::string& entry : sections.ModifyLines) {
    if (!entry.empty()) {
      sections.AddLines.push_back(entry);
    }
  }
  apply_remove_and_add(sections, merged, review);

  std::ofstream rewritten(path, std::ios::out | std::ios::trunc);
  if (!rewritten.is_open()) {
    *tg.out << "Cannot re-open Personality File (write) - " << path << "\n";
    return true;
  }
  for (const std::string& line : merged) {
    rewritten << line << "\n";
  }
  rewritten.close();
  return !rewritten.fail();
}

bool MergeTemplate(TesselGen& tg, const std::string& personalityPath) {
  bool written = true;
  std::set<std::string> review(tg.ReviewLines.begin(), tg.ReviewLines.end());
  if (!tg.templatePath.empty()) {
    *tg.out << "Incorporating Template Personality\n";
    std::ifstream templateFile(tg.templatePath);
    if (templateFile.is_open()) {
      written = merge_into(tg, templateFile, personalityPath, review);
    } else {
      *tg.out << "Cannot open template Personality File - " << tg.templatePath
              << "\n";
    }
  }
  if (!review.empty()) {
    *tg.out << "The following keywords may need to be reviewed:\n";
    for (const std::string& line : review) {
      *tg.out << line << "\n";
    }
  }
  tg.out->flush();
  return written;
}
