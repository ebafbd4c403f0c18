#include "verify/macro_tests.h"

#include <algorithm>

#include "app/tessel_gen.h"
#include "harness/compile_harness.h"
#include "verify/macro_check.h"

const char kMacroCheckBase[] = "tmp_verify_macro";

// Keeps a file of preprocessor blocks from being an empty translation unit.
static const char kAlwaysCompiles[] = "typedef char tg_ok_0[1];\n";
// The marker of the "#error" lines of the definition search.
static const char kDefinedMarker[] = "tg_def_";
// Groups of the search by the missing header, for compilers that do not
// print the text of "#error".
static const std::size_t kHeaderGroup = 4096;
// A compiler that stops at the first "#error" needs one compile per macro;
// this bounds the search all the same.
static const int kMaxErrorRounds = 400;

static std::string missing_include() {
  return std::string("#include \"") + kMissingHeader + "\"\n";
}

bool claims_hold(TesselGen& tg, const std::string& body) {
  std::string output;
  const bool built = compileTest(tg, std::string(kAlwaysCompiles) + body,
                                 kMacroCheckBase, nullptr, &output);
  removeMatching(tg, kMacroCheckBase);
  return built && output.find(kMissingHeader) == std::string::npos;
}

static void split_failures(TesselGen& tg,
                           const std::vector<std::string>& claims,
                           std::size_t first, std::size_t last,
                           std::vector<std::size_t>& failing) {
  std::string body;
  for (std::size_t i = first; i < last; ++i) {
    body += claims[i];
  }
  if (claims_hold(tg, body)) {
    return;
  }
  if (last - first == 1) {
    failing.push_back(first);
    return;
  }
  const std::size_t middle = first + (last - first) / 2;
  split_failures(tg, claims, first, middle, failing);
  split_failures(tg, claims, middle, last, failing);
}

std::vector<std::size_t> failing_claims(
    TesselGen& tg, const std::vector<std::string>& claims) {
  std::vector<std::size_t> failing;
  if (!claims.empty()) {
    split_failures(tg, claims, 0, claims.size(), failing);
  }
  return failing;
}

std::string defined_claim(const std::string& name) {
  return std::string(kIfndef) + name + "\n" + missing_include() + kEndif + "\n";
}

std::vector<int> reported_defines(const std::string& output) {
  std::vector<int> ids;
  std::string::size_type at = output.find(kDefinedMarker);
  while (at != std::string::npos) {
    std::string::size_type digits = at + sizeof kDefinedMarker - 1;
    std::string::size_type end = digits;
    while (end < output.size() && output[end] >= '0' && output[end] <= '9') {
      ++end;
    }
    if (end > digits && end - digits < 9) {
      ids.push_back(std::stoi(output.substr(digits, end - digits)));
    }
    at = output.find(kDefinedMarker, end);
  }
  return ids;
}

// One compile of the "#error" blocks for candidates `first` on; returns
// the indexes the compiler reported.
static std::vector<int> error_round(TesselGen& tg,
                                    const std::vector<std::string>& names,
                                    std::size_t first) {
  std::string text = kAlwaysCompiles;
  for (std::size_t i = first; i < names.size(); ++i) {
    appendPieces(text, kIfdef, names[i], "\n#error ", kDefinedMarker,
                 std::to_string(i), " ", names[i], "\n", kEndif, "\n");
  }
  std::string output;
  compileTest(tg, text, kMacroCheckBase, nullptr, &output);
  removeMatching(tg, kMacroCheckBase);
  std::vector<int> ids;
  for (int id : reported_defines(output)) {
    if (id >= static_cast<int>(first) && id < static_cast<int>(names.size())) {
      ids.push_back(id);
    }
  }
  return ids;
}

static bool prints_error_text(TesselGen& tg) {
  std::string output;
  compileTest(tg, std::string("#error ") + kDefinedMarker + "0 tg_error_echo\n",
              kMacroCheckBase, nullptr, &output);
  removeMatching(tg, kMacroCheckBase);
  return output.find(std::string(kDefinedMarker) + "0") != std::string::npos;
}

static void header_search(TesselGen& tg, const std::vector<std::string>& names,
                          std::size_t first, std::size_t last,
                          std::set<std::string>& found) {
  std::string body;
  for (std::size_t i = first; i < last; ++i) {
    appendPieces(body, kIfdef, names[i], "\n", missing_include(), kEndif, "\n");
  }
  if (claims_hold(tg, body)) {
    return;
  }
  if (last - first == 1) {
    found.insert(names[first]);
    return;
  }
  const std::size_t middle = first + (last - first) / 2;
  header_search(tg, names, first, middle, found);
  header_search(tg, names, middle, last, found);
}

std::set<std::string> defined_macros(
    TesselGen& tg, const std::vector<std::string>& candidates) {
  std::set<std::string> found;
  if (candidates.empty()) {
    return found;
  }
  if (!prints_error_text(tg)) {
    for (std::size_t first = 0; first < candidates.size();
         first += kHeaderGroup) {
      header_search(tg, candidates, first,
                    std::min(candidates.size(), first + kHeaderGroup), found);
    }
    return found;
  }
  std::size_t first = 0;
  for (int round = 0; round < kMaxErrorRounds && first < candidates.size();
       ++round) {
    const std::vector<int> ids = error_round(tg, candidates, first);
    if (ids.empty()) {
      break;
    }
    for (int id : ids) {
      found.insert(candidates[static_cast<std::size_t>(id)]);
    }
    first =
        static_cast<std::size_t>(*std::max_element(ids.begin(), ids.end())) + 1;
  }
  return found;
}

std::optional<std::string> message_value(TesselGen& tg,
                                         const std::string& name) {
  std::string output;
  compileTest(tg,
              std::string(kStringifyS) + "\n" + kStringifyM +
                  "\n#include M(yyy " + name + " zzz)\n",
              kMacroCheckBase, nullptr, &output);
  removeMatching(tg, kMacroCheckBase);
  std::string::size_type open = output.find("yyy");
  while (open != std::string::npos) {
    const std::string::size_type start = open + 3;
    const std::string::size_type close =
        std::min(output.find("zzz", start), output.find('\n', start));
    if (close == std::string::npos) {
      break;
    }
    std::string value = output.substr(start, close - start);
    const std::string::size_type inner = value.rfind("yyy");
    if (inner != std::string::npos) {
      value.erase(0, inner + 3);
    }
    const std::string::size_type a = value.find_first_not_of(' ');
    value = a == std::string::npos
                ? std::string()
                : value.substr(a, value.find_last_not_of(' ') - a + 1);
    if (output.compare(close, 3, "zzz") == 0 && value != name) {
      return value;
    }
    open = output.find("yyy", close);
  }
  return std::nullopt;
}
