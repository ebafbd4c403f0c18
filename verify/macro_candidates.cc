#include "verify/macro_candidates.h"

#include <algorithm>

#include "harness/compile_harness.h"
#include "probes/header_scan.h"

static bool is_name_char(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
         (c >= '0' && c <= '9') || c == '_';
}

// A stem names one kind of type or mode: capitals and digits, beginning
// with a capital ("FLT16", "DEC32", "LDBL"). Longer pieces of names would
// fill every format with every phrase of the compiler's strings.
static bool is_stem(const std::string& stem) {
  if (stem.empty() || stem[0] < 'A' || stem[0] > 'Z') {
    return false;
  }
  for (char c : stem) {
    if (!((c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9'))) {
      return false;
    }
  }
  return true;
}

static void collect_formats(std::string_view text, CompilerStrings* strings) {
  std::string_view::size_type at = text.find("%s");
  while (at != std::string_view::npos) {
    std::string_view::size_type begin = at;
    while (begin > 0 && is_name_char(text[begin - 1])) {
      --begin;
    }
    std::string_view::size_type end = at + 2;
    while (end < text.size() && is_name_char(text[end])) {
      ++end;
    }
    // A run such as "D__%s_MAX__" (from "-D__%s_MAX__") names from its "__".
    std::string_view prefix = text.substr(begin, at - begin);
    prefix.remove_prefix(std::min(prefix.size(), prefix.find("__")));
    const std::string_view suffix = text.substr(at + 2, end - at - 2);
    if (prefix.substr(0, 2) == "__" && suffix.size() >= 3) {
      strings->formats.insert(
          NameFormat{std::string(prefix), std::string(suffix)});
    }
    at = text.find("%s", end);
  }
}

// Keeps `text` as a head or tail of reserved names when it is one.
static void collect_fragment(std::string_view text, CompilerStrings* strings) {
  if (text.size() < 3 || text.size() > 40) {
    return;
  }
  // Macro names are capitals; a tail may hold one small letter ("FMTd__").
  int small = 0;
  for (char c : text) {
    if (!is_name_char(c)) {
      return;
    }
    small += c >= 'a' && c <= 'z' ? 1 : 0;
  }
  if (small > 1) {
    return;
  }
  const bool opens = text.substr(0, 2) == "__";
  const bool closes = text.substr(text.size() - 2) == "__";
  if (opens && !closes && text.back() == '_' && small == 0) {
    strings->heads.emplace(text);
  } else if (!opens && (closes || text[0] == '_')) {
    strings->tails.emplace(text);
  }
}

// The longest run of neighbouring stems kept: a longer one is a list of
// words, not a table of type names.
static constexpr std::size_t kMaxStemRun = 32;

void end_strings(CompilerStrings* strings) {
  if (strings->open_run.size() >= 3 &&
      strings->open_run.size() <= kMaxStemRun) {
    strings->stem_runs.push_back(strings->open_run);
  }
  strings->open_run.clear();
}

void collect_string(std::string_view text, CompilerStrings* strings) {
  const std::string whole(text);
  if (text.size() >= 2 && is_stem(whole)) {
    strings->open_run.push_back(whole);
  } else {
    end_strings(strings);
  }
  collect_fragment(text, strings);
  SplitPrintable(std::string(text), strings->identifiers);
  // A driver that defines macros for its preprocessor holds "-DNAME=...";
  // the split above sees "DNAME".
  std::string_view::size_type at = text.find("-D");
  while (at != std::string_view::npos) {
    std::string_view::size_type end = at + 2;
    while (end < text.size() && is_name_char(text[end])) {
      ++end;
    }
    if (end > at + 2 && !(text[at + 2] >= '0' && text[at + 2] <= '9')) {
      strings->identifiers.insert(
          std::string(text.substr(at + 2, end - at - 2)));
    }
    at = text.find("-D", end);
  }
  collect_formats(text, strings);
}

void collect_file(const std::string& path, CompilerStrings* strings) {
  const std::string bytes = readWholeFile(path);
  ForEachBinaryString(bytes, [strings](std::string_view text) {
    collect_string(text, strings);
  });
  end_strings(strings);
}

// Adds to `stems` every member of each run that holds one of them, and
// the last two characters of a member of three.
static void add_run_stems(const std::vector<std::vector<std::string>>& runs,
                          std::set<std::string>* stems) {
  std::set<std::string> more;
  for (const std::vector<std::string>& run : runs) {
    if (std::none_of(run.begin(), run.end(), [stems](const std::string& s) {
          return stems->count(s) > 0;
        })) {
      continue;
    }
    for (const std::string& member : run) {
      more.insert(member);
      if (member.size() == 3 && is_stem(member.substr(1))) {
        more.insert(member.substr(1));
      }
    }
  }
  stems->insert(more.begin(), more.end());
}

std::set<std::string> format_names(
    const std::set<NameFormat>& formats, const std::set<std::string>& known,
    const std::vector<std::vector<std::string>>& stem_runs) {
  std::set<std::string> stems;
  for (const NameFormat& format : formats) {
    const std::size_t fixed = format.prefix.size() + format.suffix.size();
    // Known names that begin with the prefix stand together in `known`.
    for (auto it = known.lower_bound(format.prefix);
         it != known.end() &&
         it->compare(0, format.prefix.size(), format.prefix) == 0;
         ++it) {
      const std::string& name = *it;
      if (name.size() > fixed &&
          name.compare(name.size() - format.suffix.size(), format.suffix.size(),
                       format.suffix) == 0) {
        std::string stem =
            name.substr(format.prefix.size(), name.size() - fixed);
        if (is_stem(stem)) {
          stems.insert(std::move(stem));
        }
      }
    }
  }
  add_run_stems(stem_runs, &stems);
  std::set<std::string> names;
  for (const NameFormat& format : formats) {
    for (const std::string& stem : stems) {
      std::string name = format.prefix + stem + format.suffix;
      if (known.count(name) == 0) {
        names.insert(std::move(name));
      }
    }
  }
  return names;
}

// A stem of the joined names: capitals, digits and "_", beginning with a
// capital and not ending with "_" ("INT_LEAST8").
static bool is_long_stem(const std::string& stem) {
  if (stem.empty() || stem[0] < 'A' || stem[0] > 'Z' || stem.back() == '_') {
    return false;
  }
  for (char c : stem) {
    if (!((c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_')) {
      return false;
    }
  }
  return true;
}

// The tails and, for a tail ending in "_FMT", the tails of the format
// macros it begins: one per integer conversion letter, closed by "__".
static std::set<std::string> completed_tails(
    const std::set<std::string>& tails) {
  static const char kFormat[] = "_FMT";
  static const char kConversions[] = "diouxX";
  std::set<std::string> completed = tails;
  for (const std::string& tail : tails) {
    if (tail.size() >= 4 && tail.compare(tail.size() - 4, 4, kFormat) == 0) {
      for (const char* c = kConversions; *c != '\0'; ++c) {
        completed.insert(tail + *c + "__");
      }
    }
  }
  return completed;
}

std::set<std::string> fragment_names(const CompilerStrings& strings,
                                     const std::set<std::string>& known) {
  std::set<std::string> heads = strings.heads;
  heads.insert("__");
  const std::set<std::string> tails = completed_tails(strings.tails);
  std::set<std::string> stems;
  for (const std::string& head : heads) {
    for (auto it = known.lower_bound(head);
         it != known.end() && it->compare(0, head.size(), head) == 0; ++it) {
      for (const std::string& tail : tails) {
        const std::size_t joint = tail[0] == '_' ? 0 : 1;
        const std::size_t fixed = head.size() + joint + tail.size();
        if (it->size() <= fixed ||
            it->compare(it->size() - tail.size(), tail.size(), tail) != 0 ||
            (joint == 1 && (*it)[it->size() - tail.size() - 1] != '_')) {
          continue;
        }
        std::string stem = it->substr(head.size(), it->size() - fixed);
        if (is_long_stem(stem)) {
          stems.insert(std::move(stem));
        }
      }
    }
  }
  std::set<std::string> names;
  for (const std::string& head : heads) {
    for (const std::string& stem : stems) {
      for (const std::string& tail : tails) {
        std::string name = head + stem + (tail[0] == '_' ? "" : "_") + tail;
        if (known.count(name) == 0) {
          names.insert(std::move(name));
        }
      }
    }
  }
  return names;
}

bool is_varying_macro(const std::string& name) {
  static const std::set<std::string> kVarying{
      "__LINE__",          "__FILE__",      "__COUNTER__",
      "__DATE__",          "__TIME__",      "__TIMESTAMP__",
      "__INCLUDE_LEVEL__", "__BASE_FILE__", "__FILE_NAME__"};
  return kVarying.count(name) > 0;
}
