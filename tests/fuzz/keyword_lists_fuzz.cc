// Feeds one file to both readers of the keyword configuration: the list
// reader and the map reader.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <set>
#include <sstream>
#include <string>

#include "probes/keyword_lists.h"
#include "tests/fuzz/fuzz_support.h"

// Aborts when `text`, an entry read from a list or map file, still holds a
// line end: the readers split at line feeds and drop every carriage return.
static void check_one_line(const std::string& text) {
  if (text.find_first_of("\r\n") != std::string::npos) {
    std::fprintf(stderr, "entry holds a line end: '%s'\n", text.c_str());
    std::abort();
  }
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const tessel_fuzz::ScratchScope scratch;
  tessel_fuzz::WriteBytes("keywords.txt", data, size);
  std::ostringstream out;

  std::set<std::string> list;
  LoadKeywordList("keywords.txt", list, out);
  for (const std::string& entry : list) {
    check_one_line(entry);
  }

  std::map<std::string, std::string> map;
  LoadReplaceMap("keywords.txt", map, out);
  for (const auto& [key, value] : map) {
    check_one_line(key);
    check_one_line(value);
    if (key.find('=') != std::string::npos) {
      std::fprintf(stderr, "map key holds '=': '%s'\n", key.c_str());
      std::abort();
    }
  }
  return 0;
}
