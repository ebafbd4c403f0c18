#include "probes/keyword_lists.h"

#include <fstream>
#include <iterator>
#include <vector>

#include "app/tessel_gen.h"

const std::string kConfigDirectory = "config";
const std::string kIgnoreKeywordsPath =
    kConfigDirectory + "/" + "ignore_keywords.txt";
const std::string kIgnoreReservedWordsPath =
    kConfigDirectory + "/" + "ignore_reserved_words.txt";
const std::string kCKeywordsPath = kConfigDirectory + "/" + "c_keywords.txt";
const std::string kCppKeywordsPath =
    kConfigDirectory + "/" + "cpp_keywords.txt";
const std::string kCReplaceKeywordsPath =
    kConfigDirectory + "/" + "c_replace_keywords.txt";
const std::string kCppReplaceKeywordsPath =
    kConfigDirectory + "/" + "cpp_replace_keywords.txt";
const std::string kExtensionKeywordsPath =
    kConfigDirectory + "/" + "vell_extension_keywords.txt";
const std::string kBuiltinReplaceKeywordsPath =
    kConfigDirectory + "/" + "builtin_replace_keywords.txt";
const std::string kContextKeywordsPath =
    kConfigDirectory + "/" + "context_keywords.txt";

namespace {

// The lines of one configuration file.
struct ConfigLines {
  // Lines ended by a line feed, carriage returns removed.
  std::vector<std::string> terminated;
  // The text after the last line feed, carriage returns removed.
  std::string unterminated;
};

}  // namespace

// Reads `path` byte for byte into `lines`. Returns false, after printing the
// error line on `out`, when the file cannot be opened. A read error after
// the open just ends the text early.
static bool read_config_lines(const std::string& path, ConfigLines& lines,
                              std::ostream& out) {
  std::ifstream in(path, std::ios::in | std::ios::binary);
  if (!in.is_open()) {
    out << "Error: Cannot open; " << path << "\n";
    return false;
  }
  std::string current;
  for (std::istreambuf_iterator<char> it(in), end; it != end; ++it) {
    const char c = *it;
    if (c == '\n') {
      lines.terminated.push_back(current);
      current.clear();
    } else if (c != '\r') {
      current += c;
    }
  }
  lines.unterminated = current;
  return true;
}

void LoadKeywordList(const std::string& path, std::set<std::string>& set,
                     std::ostream& out) {
  ConfigLines lines;
  if (!read_config_lines(path, lines, out)) {
    return;
  }
  set.insert(lines.terminated.begin(), lines.terminated.end());
  if (!lines.unterminated.empty()) {
    set.insert(lines.unterminated);
  }
}

void LoadReplaceMap(const std::string& path,
                    std::map<std::string, std::string>& map,
                    std::ostream& out) {
  ConfigLines lines;
  if (!read_config_lines(path, lines, out)) {
    return;
  }
  // Map files only take lines ended by a line feed: an unterminated last
  // line is dropped, unlike in the list files.
  for (const std::string& line : lines.terminated) {
    const std::string::size_type equals = line.find('=');
    if (equals == std::string::npos) {
      map.emplace(line, line);
    } else {
      map.emplace(line.substr(0, equals), line.substr(equals + 1));
    }
  }
}

void LoadKeywordConfiguration(TesselGen& tg) {
  std::ostream& out = *tg.out;
  LoadReplaceMap(tg.isC ? kCReplaceKeywordsPath : kCppReplaceKeywordsPath,
                 tg.replaceKeywords, out);
  LoadKeywordList(kIgnoreKeywordsPath, tg.ignoreKeywords, out);
  LoadKeywordList(kIgnoreReservedWordsPath, tg.ignoreReservedWords, out);
  LoadReplaceMap(kExtensionKeywordsPath, tg.extensionKeywords, out);
  LoadReplaceMap(kBuiltinReplaceKeywordsPath, tg.builtinReplaceKeywords, out);
  LoadKeywordList(tg.isC ? kCKeywordsPath : kCppKeywordsPath,
                  tg.languageKeywords, out);
}
