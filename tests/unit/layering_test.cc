// The include rules of the source tree. The directories form layers, lowest
// first:
//
//   util < model < harness < probes < verify < output < export < app
//
// (app/log belongs to app). A file may include headers of its own directory
// and of the directories before it, never of one after it.
//
// The run context is the one exception: app/settings.h (the settings of a
// run), app/tessel_gen.h (the run object every stage reads and writes) and
// app/log/run_log.h (the run log the run object holds) may be included from
// every layer. They are headers only in effect: they declare data, and the
// code behind them (app/tessel_gen.cc, app/log/run_log.cc) includes nothing
// above harness/shell.h, so a stage that includes them reaches no stage of a
// higher layer. The cycle check below keeps it that way.
//
// A unit is a header and its source ("probes/type_sizes.h" and
// "probes/type_sizes.cc"); one unit depends on another when any of its files
// includes the other's header. No unit may depend on itself through others.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "tests/support/test_support.h"

namespace {

// File (relative to the source root) to the project headers it includes.
using IncludeMap = std::map<std::string, std::vector<std::string>>;

const char* const kLayers[] = {"util",   "model",  "harness", "probes",
                               "verify", "output", "export",  "app"};

const char* const kRunContext[] = {"app/settings.h", "app/tessel_gen.h",
                                   "app/log/run_log.h"};

// The layer of `path` (its first directory), or -1 outside the layers.
int layer_of(const std::string& path) {
  const std::string top = path.substr(0, path.find('/'));
  for (int i = 0; i < static_cast<int>(std::size(kLayers)); ++i) {
    if (top == kLayers[i]) {
      return i;
    }
  }
  return -1;
}

bool is_run_context(const std::string& header) {
  return std::find(std::begin(kRunContext), std::end(kRunContext), header) !=
         std::end(kRunContext);
}

// "dir/name" of "dir/name.h" or "dir/name.cc".
std::string unit_of(const std::string& path) {
  return path.substr(0, path.rfind('.'));
}

// One line per include of a higher layer: "file includes header".
std::string upward_includes(const IncludeMap& files) {
  std::string found;
  for (const auto& [file, headers] : files) {
    for (const std::string& header : headers) {
      const int target = layer_of(header);
      if (target > layer_of(file) && !is_run_context(header)) {
        found += file + " includes " + header + "\n";
      }
    }
  }
  return found;
}

// Depth-first search for a unit that reaches itself; returns the first
// cycle met as "a -> b -> a", or "".
std::string first_cycle(const IncludeMap& files) {
  std::map<std::string, std::set<std::string>> edges;
  for (const auto& [file, headers] : files) {
    for (const std::string& header : headers) {
      if (unit_of(header) != unit_of(file)) {
        edges[unit_of(file)].insert(unit_of(header));
      }
    }
  }
  std::map<std::string, int> state;  // 1 on the path, 2 done
  std::vector<std::string> path;
  std::string cycle;
  std::function<bool(const std::string&)> visit = [&](const std::string& u) {
    state[u] = 1;
    path.push_back(u);
    for (const std::string& next : edges[u]) {
      if (state[next] == 1) {
        auto from = std::find(path.begin(), path.end(), next);
        for (auto it = from; it != path.end(); ++it) {
          cycle += *it + " -> ";
        }
        cycle += next;
        return true;
      }
      if (state[next] == 0 && visit(next)) {
        return true;
      }
    }
    path.pop_back();
    state[u] = 2;
    return false;
  };
  for (const auto& edge : edges) {
    if (state[edge.first] == 0 && visit(edge.first)) {
      break;
    }
  }
  return cycle;
}

// The project headers named by the `#include "..."` lines of `text`.
std::vector<std::string> quoted_includes(const std::string& text) {
  std::vector<std::string> headers;
  for (const std::string& line : tessel_test::Lines(text)) {
    const std::string directive = "#include \"";
    if (line.compare(0, directive.size(), directive) == 0) {
      const std::string::size_type end = line.find('"', directive.size());
      headers.push_back(line.substr(directive.size(), end - directive.size()));
    }
  }
  return headers;
}

// Every .h and .cc of the layer directories, with its includes.
IncludeMap source_tree() {
  namespace fs = std::filesystem;
  const fs::path root(TESSEL_SOURCE_DIR);
  IncludeMap files;
  for (const char* layer : kLayers) {
    std::error_code error;
    fs::recursive_directory_iterator it(root / layer, error);
    for (; !error && it != fs::recursive_directory_iterator();
         it.increment(error)) {
      const fs::path& path = it->path();
      if (path.extension() != ".h" && path.extension() != ".cc") {
        continue;
      }
      const std::string relative = path.lexically_relative(root).string();
      files[relative] = quoted_includes(tessel_test::ReadFile(path.string()));
    }
  }
  return files;
}

}  // namespace

TEST(Layering, SourceTreeIncludesNoHeaderOfAHigherDirectory) {
  const IncludeMap files = source_tree();
  ASSERT_GT(files.count("app/driver.cc"), 0u);
  EXPECT_EQ("", upward_includes(files));
}

TEST(Layering, SourceTreeHasNoIncludeCycleBetweenUnits) {
  EXPECT_EQ("", first_cycle(source_tree()));
}

TEST(Layering, UpwardIncludeIsReported) {
  const IncludeMap files = {
      {"harness/globals.cc",
       {"harness/globals.h", "probes/extension_keywords.h"}},
      {"probes/extension_keywords.cc",
       {"probes/extension_keywords.h", "harness/globals.h"}},
  };
  EXPECT_EQ("harness/globals.cc includes probes/extension_keywords.h\n",
            upward_includes(files));
}

TEST(Layering, RunContextMayBeIncludedFromEveryLayer) {
  const IncludeMap files = {
      {"util/text.cc", {"util/text.h", "app/tessel_gen.h"}},
      {"harness/shell.cc", {"app/settings.h", "app/log/run_log.h"}},
      {"harness/globals.cc", {"app/driver.h"}},
  };
  EXPECT_EQ("harness/globals.cc includes app/driver.h\n",
            upward_includes(files));
}

TEST(Layering, CycleThroughSourceFilesIsReported) {
  // Neither header includes the other; the sources include both.
  const IncludeMap files = {
      {"probes/type_sizes.cc",
       {"probes/type_sizes.h", "probes/type_keywords.h"}},
      {"probes/type_keywords.cc",
       {"probes/type_keywords.h", "probes/type_sizes.h"}},
  };
  EXPECT_EQ("probes/type_keywords -> probes/type_sizes -> probes/type_keywords",
            first_cycle(files));
}

TEST(Layering, ChainWithoutCycleIsAccepted) {
  const IncludeMap files = {
      {"probes/type_sizes.cc",
       {"probes/type_sizes.h", "probes/type_measure.h"}},
      {"probes/type_keywords.cc",
       {"probes/type_keywords.h", "probes/type_measure.h"}},
      {"probes/type_measure.cc", {"probes/type_measure.h"}},
  };
  EXPECT_EQ("", first_cycle(files));
}
