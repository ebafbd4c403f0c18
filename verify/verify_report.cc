#include "verify/verify_report.h"

#include <cstdio>
#include <string>
#include <vector>

#include "model/personality.h"
#include "util/text.h"

const char* const kFactKinds[] = {
    "include",           "define",    "size",
    "alignment",         "char-sign", "intrinsic-type",
    "identifier-length", "keyword"};
const int kFactKindCount = 8;

std::string fact_line(const FactResult& fact, bool now, bool isC) {
  if (now ? !fact.hasNow : !fact.hadWritten) {
    return "(none)";
  }
  const std::string& value = now ? fact.now : fact.written;
  PersonalityLine line;
  if (fact.kind == "size") {
    return "-s " + fact.name + "=" + value;
  } else if (fact.kind == "alignment") {
    return "-a " + fact.name + "=" + value;
  } else if (fact.kind == "char-sign") {
    return "-u" + value;
  } else if (fact.kind == "intrinsic-type") {
    line = make_intrinsic_type_line(fact.name, value);
  } else if (fact.kind == "identifier-length") {
    return (fact.name == "external" ? "-xn " : "-na ") + value;
  } else if (fact.kind == "define" || fact.kind == "keyword") {
    line = make_define_line(isC, fact.name, value);
  } else if (fact.kind == "include") {
    return format_personality_line(make_include_line(isC, fact.name)) +
           " (place " + value + ")";
  } else {
    return fact.kind + " " + fact.name + "=" + value;
  }
  return format_personality_line(line);
}

// One table row: the kind, then four right-aligned counts.
static std::string row(const std::string& first,
                       const std::string (&cells)[4]) {
  char buffer[128];
  std::snprintf(buffer, sizeof buffer, "%-18s %9s %9s %9s %9s\n", first.c_str(),
                cells[0].c_str(), cells[1].c_str(), cells[2].c_str(),
                cells[3].c_str());
  return buffer;
}

std::string verify_table(const std::vector<FactResult>& facts, bool isC) {
  std::string text = "Verification of the personality with the compiler:\n";
  text += row("fact", {"confirmed", "corrected", "added", "unchecked"});
  for (int k = 0; k < kFactKindCount; ++k) {
    int counts[4] = {0, 0, 0, 0};
    bool any = false;
    for (const FactResult& fact : facts) {
      if (fact.kind == kFactKinds[k]) {
        any = true;
        ++counts[static_cast<int>(fact.status)];
      }
    }
    if (any) {
      text += row(kFactKinds[k],
                  {std::to_string(counts[0]), std::to_string(counts[1]),
                   std::to_string(counts[2]), std::to_string(counts[3])});
    }
  }
  int corrections = 0;
  for (const FactResult& fact : facts) {
    if (fact.status == FactStatus::kCorrected) {
      ++corrections;
    }
  }
  text += "Corrections: " + std::to_string(corrections) + "\n";
  for (const FactResult& fact : facts) {
    if (fact.status == FactStatus::kCorrected) {
      text += fact_line(fact, false, isC) + " -> " +
              fact_line(fact, true, isC) + "\n";
    }
  }
  return text;
}

// One fact as a JSON object on one line.
static std::string fact_json(const FactResult& fact) {
  return "{\"kind\": " + json_quote(fact.kind) +
         ", \"name\": " + json_quote(fact.name) + ", \"written\": " +
         (fact.hadWritten ? json_quote(fact.written) : "null") +
         ", \"now\": " + (fact.hasNow ? json_quote(fact.now) : "null") +
         ", \"status\": " + json_quote(fact_status_name(fact.status)) +
         ", \"test\": " + json_quote(fact.test) + "}";
}

std::string verify_json(const std::string& path, bool checked,
                        const std::string& reason,
                        const std::vector<FactResult>& facts) {
  std::string text = "{\"format\": \"tesselgen-verify\", \"version\": 1,\n";
  text += " \"personality\": " + json_quote(path) + ",\n";
  text += std::string(" \"checked\": ") + (checked ? "true" : "false") + ",\n";
  if (!checked) {
    text += " \"reason\": " + json_quote(reason) + ",\n";
  }
  text += " \"facts\": [";
  for (std::size_t i = 0; i < facts.size(); ++i) {
    text += (i == 0 ? "\n  " : ",\n  ") + fact_json(facts[i]);
  }
  text += facts.empty() ? "]}\n" : "\n ]}\n";
  return text;
}
