#ifndef TESSEL_PROBES_KEYWORD_LISTS_H_
#define TESSEL_PROBES_KEYWORD_LISTS_H_

#include <map>
#include <ostream>
#include <set>
#include <string>

class TesselGen;

/// The directory, relative to the current directory, that holds the keyword
/// configuration files. Every path below is this, "/" and a file name.
extern const std::string kConfigDirectory;
/// Identifiers the header scan never collects.
extern const std::string kIgnoreKeywordsPath;
/// Reserved words the C++ context keyword tests never test.
extern const std::string kIgnoreReservedWordsPath;
/// The standard keywords of C.
extern const std::string kCKeywordsPath;
/// The standard keywords of C++.
extern const std::string kCppKeywordsPath;
/// Keyword to replacement text for the C analyser.
extern const std::string kCReplaceKeywordsPath;
/// Keyword to replacement text for the C++ analyser.
extern const std::string kCppReplaceKeywordsPath;
/// Extension keywords the analyser knows, keyword to treatment.
extern const std::string kExtensionKeywordsPath;
/// Compiler built-ins to their replacement.
extern const std::string kBuiltinReplaceKeywordsPath;
/// Keywords that only count in some positions. Shipped with the tool; no
/// stage of a run reads it.
extern const std::string kContextKeywordsPath;

/// Reads the list file at `path` into `set`, one entry per line. The file
/// is read byte for byte: a line feed ends a line, every carriage return is
/// dropped wherever it stands, nothing is trimmed and there is no comment
/// syntax, so an empty line is the empty entry. A last line without a line
/// feed counts when it is not empty. When the file cannot be opened, prints
/// "Error: Cannot open; " and `path` on `out` and leaves `set` as it was.
void LoadKeywordList(const std::string& path, std::set<std::string>& set,
                     std::ostream& out);

/// Reads the map file at `path` into `map`: each line is a key, "=" and a
/// value (the value may hold further "="; a line without "=" maps itself to
/// itself). Lines are read as by `LoadKeywordList`, except that a last line
/// without a line feed is dropped. The first line that names a key wins.
/// When the file cannot be opened, prints "Error: Cannot open; " and `path`
/// on `out` and leaves `map` as it was.
void LoadReplaceMap(const std::string& path,
                    std::map<std::string, std::string>& map, std::ostream& out);

/// Loads the six keyword configuration files from "config" into `tg`, in
/// the run's fixed order: the replacement map of the product's language,
/// the ignore list, the ignored reserved words, the analyser's extension
/// keywords, the built-in replacements and the language keywords. The C
/// product (`tg.isC`) reads the "c_" files, the C++ product the "cpp_"
/// files; a missing file leaves its container empty and the run goes on.
void LoadKeywordConfiguration(TesselGen& tg);

#endif  // TESSEL_PROBES_KEYWORD_LISTS_H_
