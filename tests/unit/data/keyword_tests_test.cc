// The shipped keyword test directories: every file is a position test whose
// header lines the harness reads as "no failure message", the verdict, and
// "not a program".
#include <dirent.h>
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "tests/support/test_support.h"

using tessel_test::kSourceDir;
using tessel_test::Lines;
using tessel_test::ReadFile;

namespace {

using VerdictTable = std::map<std::string, std::string>;

// File name to verdict for every file of data/`dir`, checking the header
// lines on the way.
VerdictTable ReadVerdicts(const std::string& dir) {
  VerdictTable table;
  std::string path = std::string(kSourceDir) + "/data/" + dir;
  DIR* handle = opendir(path.c_str());
  EXPECT_NE(nullptr, handle) << path;
  if (handle == nullptr) {
    return table;
  }
  while (dirent* entry = readdir(handle)) {
    std::string name = entry->d_name;
    if (name == "." || name == "..") {
      continue;
    }
    const std::string text = ReadFile(path + "/" + name);
    std::vector<std::string> lines = Lines(text);
    EXPECT_GE(lines.size(), 5u) << name;
    if (lines.size() < 5) {
      continue;
    }
    EXPECT_EQ("/*", lines[0]) << name;
    EXPECT_EQ(0u, lines[1].find("Success:")) << name;
    EXPECT_EQ(std::string::npos, lines[2].find("Execute")) << name;
    EXPECT_EQ("*/", lines[3]) << name;
    EXPECT_NE(std::string::npos, text.find("XXX", text.find("*/"))) << name;
    table[name] = lines[1].substr(lines[1].find(':') + 1);
  }
  closedir(handle);
  return table;
}

}  // namespace

TEST(KeywordTestData, CPositionsInTryingOrderWithTheirVerdicts) {
  EXPECT_EQ((VerdictTable{{"kw10_register.c", "decl"},
                          {"kw30_size_operator.c", "sizeof"},
                          {"kw40_attribute.c", "kiv_ignore_paren"},
                          {"kw41_asm.c", "kiv_ignore_paren"},
                          {"kw42_suffix_argument.c", "kiv_ignore_paren"},
                          {"kw43_placement_argument.c", "kiv_ignore_paren"},
                          {"kw50_calling_convention.c", ""},
                          {"kw51_function_suffix.c", ""},
                          {"kw52_function_prefix.c", ""},
                          {"kw60_pointer_qualifier.c", ""},
                          {"kw61_qualifier.c", ""},
                          {"kw62_prefix.c", ""},
                          {"kw70_type.c", "type"},
                          {"kw71_scalar.c", "type"}}),
            ReadVerdicts("c_keyword_tests"));
}

TEST(KeywordTestData, CppPositionsInTryingOrderWithTheirVerdicts) {
  EXPECT_EQ((VerdictTable{{"kw10_register.cpp", "decl"},
                          {"kw20_null_constant.cpp", "0"},
                          {"kw30_size_operator.cpp", "sizeof"},
                          {"kw40_attribute.cpp", "kiv_ignore_paren"},
                          {"kw41_asm.cpp", "kiv_ignore_paren"},
                          {"kw42_suffix_argument.cpp", "kiv_ignore_paren"},
                          {"kw43_placement_argument.cpp", "kiv_ignore_paren"},
                          {"kw50_calling_convention.cpp", ""},
                          {"kw51_function_suffix.cpp", ""},
                          {"kw52_function_prefix.cpp", ""},
                          {"kw60_pointer_qualifier.cpp", ""},
                          {"kw61_qualifier.cpp", ""},
                          {"kw62_prefix.cpp", ""},
                          {"kw70_type.cpp", "type"},
                          {"kw71_scalar.cpp", "type"}}),
            ReadVerdicts("cpp_keyword_tests"));
}
