// Checks the keyword configuration files that ship in "config": each is
// read with the tool's own loaders, and the lists must agree with each
// other, since an identifier on the ignore list can never be found as a
// keyword and so can never receive its replacement.
#include <gtest/gtest.h>

#include <map>
#include <set>
#include <sstream>
#include <string>

#include "probes/keyword_lists.h"
#include "tests/support/test_support.h"

using tessel_test::kSourceDir;
using tessel_test::ReadFile;

using StringSet = std::set<std::string>;
using StringMap = std::map<std::string, std::string>;

namespace {

std::string ConfigPath(const std::string& name) {
  return std::string(kSourceDir) + "/config/" + name;
}

StringSet ShippedList(const std::string& name) {
  StringSet set;
  std::ostringstream out;
  LoadKeywordList(ConfigPath(name), set, out);
  EXPECT_EQ("", out.str()) << name;
  return set;
}

StringMap ShippedMap(const std::string& name) {
  StringMap map;
  std::ostringstream out;
  LoadReplaceMap(ConfigPath(name), map, out);
  EXPECT_EQ("", out.str()) << name;
  return map;
}

const char* const kFiles[] = {"c_keywords.txt",
                              "cpp_keywords.txt",
                              "ignore_keywords.txt",
                              "ignore_reserved_words.txt",
                              "c_replace_keywords.txt",
                              "cpp_replace_keywords.txt",
                              "vell_extension_keywords.txt",
                              "builtin_replace_keywords.txt",
                              "context_keywords.txt"};

// Extension keywords of gcc, clang, sdcc and avr-gcc that a run must be
// able to find.
const char* const kRealExtensionKeywords[] = {
    "__attribute__", "__extension__",
    "__asm__",       "__asm",
    "__inline",      "__inline__",
    "__restrict",    "__restrict__",
    "__int128",      "_Float128",
    "__float128",    "__typeof__",
    "__declspec",    "__builtin_va_list",
    "__volatile__",  "__signed__",
    "__const",       "__thread",
    "__auto_type",   "__data",
    "__xdata",       "__idata",
    "__pdata",       "__code",
    "__sfr",         "__sbit",
    "__bit",         "__at",
    "__interrupt",   "__using",
    "__critical",    "__naked",
    "__reentrant",   "__flash",
    "__memx"};

}  // namespace

TEST(ShippedConfig, EveryFileIsPlainLinesEndedByLineFeeds) {
  for (const char* name : kFiles) {
    const std::string text = ReadFile(ConfigPath(name));
    ASSERT_FALSE(text.empty()) << name;
    EXPECT_EQ('\n', text.back()) << name;
    EXPECT_EQ(std::string::npos, text.find('\r')) << name;
    EXPECT_EQ(std::string::npos, text.find('\t')) << name;
    EXPECT_EQ(std::string::npos, text.find("\n\n")) << name;
    EXPECT_EQ(std::string::npos, text.find(" \n")) << name;
    EXPECT_EQ(std::string::npos, text.find("\n ")) << name;
    EXPECT_NE(' ', text.front()) << name;
  }
}

TEST(ShippedConfig, CKeywordsAreThoseOfC23) {
  const StringSet c = ShippedList("c_keywords.txt");
  EXPECT_EQ(59u, c.size());
  for (const char* word :
       {"auto", "int", "restrict", "inline", "_Bool", "_Alignas", "_Generic",
        "_Static_assert", "_Thread_local", "_BitInt", "_Decimal32", "bool",
        "constexpr", "nullptr", "typeof", "typeof_unqual", "thread_local"}) {
    EXPECT_EQ(1u, c.count(word)) << word;
  }
  EXPECT_EQ(0u, c.count("class"));
  EXPECT_EQ(0u, c.count("asm"));
}

TEST(ShippedConfig, CppKeywordsAreThoseOfCpp23WithAlternativeSpellings) {
  const StringSet cpp = ShippedList("cpp_keywords.txt");
  EXPECT_EQ(92u, cpp.size());
  for (const char* word :
       {"asm",       "class",    "char8_t",   "concept",  "consteval",
        "constinit", "co_await", "co_return", "co_yield", "requires",
        "and",       "and_eq",   "bitand",    "bitor",    "compl",
        "not",       "not_eq",   "or",        "or_eq",    "xor",
        "xor_eq",    "wchar_t",  "export"}) {
    EXPECT_EQ(1u, cpp.count(word)) << word;
  }
  EXPECT_EQ(0u, cpp.count("restrict"));
  EXPECT_EQ(0u, cpp.count("final"));
}

TEST(ShippedConfig, IgnoreListHoldsEveryKeywordAndDirectiveWord) {
  const StringSet ignore = ShippedList("ignore_keywords.txt");
  for (const std::string& word : ShippedList("c_keywords.txt")) {
    EXPECT_EQ(1u, ignore.count(word)) << word;
  }
  for (const std::string& word : ShippedList("cpp_keywords.txt")) {
    EXPECT_EQ(1u, ignore.count(word)) << word;
  }
  for (const char* word :
       {"define",        "undef",    "include",  "include_next",
        "ifdef",         "ifndef",   "elif",     "elifdef",
        "elifndef",      "endif",    "pragma",   "line",
        "error",         "warning",  "defined",  "__VA_ARGS__",
        "__has_include", "__FILE__", "__LINE__", "__func__"}) {
    EXPECT_EQ(1u, ignore.count(word)) << word;
  }
}

TEST(ShippedConfig, IgnoreListHoldsNoExtensionKeyword) {
  const StringSet ignore = ShippedList("ignore_keywords.txt");
  for (const char* word : kRealExtensionKeywords) {
    EXPECT_EQ(0u, ignore.count(word)) << word;
  }
  for (const char* map : {"c_replace_keywords.txt", "cpp_replace_keywords.txt",
                          "builtin_replace_keywords.txt"}) {
    for (const auto& entry : ShippedMap(map)) {
      EXPECT_EQ(0u, ignore.count(entry.first)) << map << ": " << entry.first;
    }
  }
}

TEST(ShippedConfig, ReplacementsAreSingleTokensWithoutBlanks) {
  for (const char* map : {"c_replace_keywords.txt", "cpp_replace_keywords.txt",
                          "vell_extension_keywords.txt"}) {
    const StringMap entries = ShippedMap(map);
    EXPECT_FALSE(entries.empty()) << map;
    for (const auto& entry : entries) {
      EXPECT_FALSE(entry.second.empty()) << map << ": " << entry.first;
      EXPECT_EQ(std::string::npos, entry.second.find(' '))
          << map << ": " << entry.first;
      if (std::string(map) != "vell_extension_keywords.txt") {
        EXPECT_NE(entry.first, entry.second) << map;
      }
    }
  }
}

TEST(ShippedConfig, ReplacementsCoverTheCommonCompilers) {
  const StringMap c = ShippedMap("c_replace_keywords.txt");
  EXPECT_EQ("kiv_ignore_paren", c.at("__attribute__"));
  EXPECT_EQ("kiv_ignore_paren", c.at("__declspec"));
  EXPECT_EQ("/**/", c.at("__extension__"));
  EXPECT_EQ("restrict", c.at("__restrict"));
  EXPECT_EQ("kiv_ignore_paren", c.at("__at"));
  EXPECT_EQ("kiv_ignore_paren", c.at("__interrupt"));
  EXPECT_EQ("const", c.at("__code"));
  EXPECT_EQ("const", c.at("__flash"));
  EXPECT_EQ("const", c.at("__memx"));
  const StringMap cpp = ShippedMap("cpp_replace_keywords.txt");
  EXPECT_EQ("/**/", cpp.at("__restrict"));
  EXPECT_EQ("0", cpp.at("__null"));
  EXPECT_EQ("decltype", cpp.at("__typeof__"));
  EXPECT_EQ(0u, cpp.count("__sfr"));
}

TEST(ShippedConfig, BuiltinValuesCarryTheirOwnNameAndReplacement) {
  const StringMap builtins = ShippedMap("builtin_replace_keywords.txt");
  EXPECT_EQ("__builtin_va_list=char*", builtins.at("__builtin_va_list"));
  for (const auto& entry : builtins) {
    EXPECT_NE(std::string::npos, entry.first.find("_builtin_")) << entry.first;
    // The value is the define text itself: the name (with its parameters,
    // if any), "=" and the replacement.
    EXPECT_EQ(0u, entry.second.find(entry.first)) << entry.first;
    const std::string::size_type equals = entry.second.find('=');
    ASSERT_NE(std::string::npos, equals) << entry.first;
    EXPECT_LT(equals + 1, entry.second.size()) << entry.first;
  }
}

TEST(ShippedConfig, ExtensionNamesAreTheTrimmedKeywords) {
  const StringMap extensions = ShippedMap("vell_extension_keywords.txt");
  for (const char* name : {"asm", "far", "near", "interrupt", "at", "sfr",
                           "sbit", "data", "xdata", "code", "flash", "memx"}) {
    EXPECT_EQ(name, extensions.at(name));
  }
  for (const auto& entry : extensions) {
    EXPECT_NE('_', entry.first.front()) << entry.first;
    EXPECT_NE('_', entry.first.back()) << entry.first;
  }
}

TEST(ShippedConfig, ReservedWordsAndContextKeywordsAreLists) {
  const StringSet reserved = ShippedList("ignore_reserved_words.txt");
  EXPECT_EQ(1u, reserved.count("__is_class"));
  EXPECT_EQ(1u, reserved.count("__underlying_type"));
  const StringSet context = ShippedList("context_keywords.txt");
  EXPECT_EQ(1u, context.count("override"));
  EXPECT_EQ(1u, context.count("interrupt"));
}
