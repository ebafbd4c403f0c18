#include "verify/macro_tests.h"

#include <algorithm>

#include "app/tessel_gen.h"
#include "harness/compile_harness.h"

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

std::vector<int> marker_ids(const std::string& output, const char* marker) {
  const std::string text = marker;
  std::vector<int> ids;
  std::string::size_type at = output.find(text);
  while (at != std::string::npos) {
    const std::string::size_type digits = at + text.size();
    std::string::size_type end = digits;
    int id = 0;
    while (end < output.size() && end - digits < 9 && output[end] >= '0' &&
           output[end] <= '9') {
      id = id * 10 + (output[end] - '0');
      ++end;
    }
    if (end > digits) {
      ids.push_back(id);
    }
    at = output.find(text, end);
  }
  return ids;
}

// The claims among `group` (indexes into `claims`) that the messages of a
// failed compile name.
// The claim on line `line` of the test file: `firstLines` holds each
// claim's first line, in `group` order.
static std::optional<std::size_t> claim_at(
    long line, const std::vector<std::size_t>& group,
    const std::vector<long>& firstLines) {
  std::optional<std::size_t> found;
  for (std::size_t k = 0; k < group.size() && firstLines[k] <= line; ++k) {
    found = group[k];
  }
  return found;
}

// The line number that a message line gives for the test file `source`
// ("tmp_verify_macro.c:12:3: error", "tmp_verify_macro.c, line 12:"), or 0.
static long message_line(const std::string& line, const std::string& source) {
  std::string::size_type at = line.find(source);
  if (at == std::string::npos) {
    return 0;
  }
  at += source.size();
  if (line.compare(at, 1, ":") == 0) {
    at += 1;
  } else if (line.compare(at, 7, ", line ") == 0) {
    at += 7;
  } else {
    return 0;
  }
  long number = 0;
  while (at < line.size() && line[at] >= '0' && line[at] <= '9' &&
         number < 100000000) {
    number = number * 10 + (line[at++] - '0');
  }
  return number;
}

static std::set<std::size_t> named_claims(const std::string& output,
                                          const std::vector<std::size_t>& group,
                                          const std::vector<long>& firstLines,
                                          const std::string& source) {
  // Warnings and notes may name claims that hold ("variably modified
  // 'tg_ok_3'", "previous declaration of 'tg_v_4'"): only errors count.
  std::set<std::size_t> named;
  std::string errors;
  std::string::size_type start = 0;
  while (start < output.size()) {
    std::string::size_type end = output.find('\n', start);
    end = end == std::string::npos ? output.size() : end;
    const std::string line = output.substr(start, end - start);
    if (line.find("warning") == std::string::npos &&
        line.find("note:") == std::string::npos) {
      errors += line + "\n";
      // An error of the test file names its claim by the line number.
      if (std::optional<std::size_t> claim =
              claim_at(message_line(line, source), group, firstLines)) {
        named.insert(*claim);
      }
    }
    start = end + 1;
  }
  for (const char* marker : {"tg_bad_", "tg_ok_", "tg_v_"}) {
    for (int id : marker_ids(errors, marker)) {
      const std::size_t index = static_cast<std::size_t>(id) - 1;
      if (id > 0 &&
          std::find(group.begin(), group.end(), index) != group.end()) {
        named.insert(index);
      }
    }
  }
  return named;
}

static void find_failures(TesselGen& tg, const std::vector<std::string>& claims,
                          std::vector<std::size_t> group,
                          std::vector<std::size_t>& failing) {
  const std::string source = kMacroCheckBase + sourceExtension(tg);
  while (!group.empty()) {
    std::string body = kAlwaysCompiles;
    std::vector<long> firstLines;
    long line = 2;
    for (std::size_t i : group) {
      firstLines.push_back(line);
      body += claims[i];
      line += static_cast<long>(
          std::count(claims[i].begin(), claims[i].end(), '\n'));
    }
    std::string output;
    const bool built = compileTest(tg, body, kMacroCheckBase, nullptr, &output);
    removeMatching(tg, kMacroCheckBase);
    if (built && output.find(kMissingHeader) == std::string::npos) {
      return;
    }
    const std::set<std::size_t> named =
        named_claims(output, group, firstLines, source);
    if (named.empty()) {
      if (group.size() == 1) {
        failing.push_back(group.front());
        return;
      }
      const auto middle =
          group.begin() + static_cast<std::ptrdiff_t>(group.size() / 2);
      find_failures(tg, claims, std::vector<std::size_t>(group.begin(), middle),
                    failing);
      find_failures(tg, claims, std::vector<std::size_t>(middle, group.end()),
                    failing);
      return;
    }
    failing.insert(failing.end(), named.begin(), named.end());
    group.erase(
        std::remove_if(group.begin(), group.end(),
                       [&named](std::size_t i) { return named.count(i) > 0; }),
        group.end());
  }
}

std::vector<std::size_t> failing_claims(
    TesselGen& tg, const std::vector<std::string>& claims) {
  std::vector<std::size_t> failing;
  std::vector<std::size_t> group(claims.size());
  for (std::size_t i = 0; i < claims.size(); ++i) {
    group[i] = i;
  }
  find_failures(tg, claims, group, failing);
  std::sort(failing.begin(), failing.end());
  return failing;
}

std::string defined_claim(const std::string& name) {
  return std::string(kIfndef) + name + "\n" + missing_include() + kEndif + "\n";
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
  for (int id : marker_ids(output, kDefinedMarker)) {
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

// The expansion at the start of one message line of the "#line" test and
// the number N of the "tg_u_N" it names; false for other lines.
static bool line_answer(const std::string& line, int* id, std::string* value) {
  const std::string::size_type close = line.find("zzz:");
  const std::string::size_type named = line.find("tg_u_");
  if (line.rfind("yyy", 0) != 0 || close == std::string::npos ||
      named == std::string::npos || named < close) {
    return false;
  }
  const std::vector<int> ids = marker_ids(line.substr(named), "tg_u_");
  if (ids.empty()) {
    return false;
  }
  *id = ids.front();
  *value = line.substr(3, close - 3);
  const std::string::size_type a = value->find_first_not_of(' ');
  *value = a == std::string::npos
               ? std::string()
               : value->substr(a, value->find_last_not_of(' ') - a + 1);
  return true;
}

std::map<std::string, std::string> line_values(
    TesselGen& tg, const std::vector<std::string>& names) {
  std::map<std::string, std::string> values;
  std::vector<std::size_t> rest(names.size());
  for (std::size_t i = 0; i < names.size(); ++i) {
    rest[i] = i;
  }
  while (!rest.empty()) {
    std::string text = std::string(kStringifyS) + "\n" + kStringifyM + "\n";
    for (std::size_t i : rest) {
      const std::string n = std::to_string(i + 1);
      appendPieces(text, "#line 1 M(yyy ", names[i], " zzz)\nint tg_e_", n,
                   " = tg_u_", n, ";\n");
    }
    std::string output;
    compileTest(tg, text, kMacroCheckBase, nullptr, &output);
    removeMatching(tg, kMacroCheckBase);
    std::size_t answered = 0;
    std::string::size_type start = 0;
    while (start < output.size()) {
      std::string::size_type end = output.find('\n', start);
      end = end == std::string::npos ? output.size() : end;
      int id = 0;
      std::string value;
      if (line_answer(output.substr(start, end - start), &id, &value) &&
          id >= 1 && static_cast<std::size_t>(id) <= names.size() &&
          values.emplace(names[static_cast<std::size_t>(id) - 1], value)
              .second) {
        ++answered;
      }
      start = end + 1;
    }
    if (answered == 0) {
      break;
    }
    rest.erase(std::remove_if(
                   rest.begin(), rest.end(),
                   [&](std::size_t i) { return values.count(names[i]) > 0; }),
               rest.end());
  }
  return values;
}
