#include "export/json_export.h"

#include <cstdio>
#include <sstream>
#include <vector>

#include "util/text.h"

static std::string optional_number(const std::optional<long>& number) {
  return number ? std::to_string(*number) : "null";
}

// Writes `"key": [` items `]`, one item a line, each already JSON text.
static void write_list(std::ostream& out, const std::string& key,
                       const std::vector<std::string>& items, bool last,
                       const std::string& indent = "  ") {
  out << indent << json_quote(key) << ": [";
  for (std::size_t i = 0; i < items.size(); ++i) {
    out << (i == 0 ? "\n" : ",\n") << indent << "  " << items[i];
  }
  out << (items.empty() ? "]" : "\n" + indent + "]") << (last ? "\n" : ",\n");
}

static std::vector<std::string> quoted(const std::vector<std::string>& texts) {
  std::vector<std::string> items;
  for (const std::string& text : texts) {
    items.push_back(json_quote(text));
  }
  return items;
}

static std::vector<std::string> define_items(
    const std::vector<DefineFact>& defines, bool keywords) {
  std::vector<std::string> items;
  for (const DefineFact& define : defines) {
    std::string item =
        "{\"name\": " + json_quote(define.name) +
        ", \"value\": " + (define.hasValue ? json_quote(define.value) : "null");
    if (keywords) {
      item += std::string(", \"treatment\": \"") +
              keyword_treatment_name(define.treatment) + "\"";
    } else {
      item += std::string(", \"userGiven\": ") +
              (define.userGiven ? "true" : "false");
    }
    items.push_back(item + "}");
  }
  return items;
}

static std::vector<std::string> number_items(
    const std::vector<std::pair<std::string, long>>& values, const char* unit) {
  std::vector<std::string> items;
  for (const auto& value : values) {
    items.push_back("{\"type\": " + json_quote(value.first) + ", \"" + unit +
                    "\": " + std::to_string(value.second) + "}");
  }
  return items;
}

static void write_settings(std::ostream& out, const LoggedSettings& s) {
  out << "  \"compiler\": {\n";
  const std::pair<const char*, std::string> fields[] = {
      {"runLog", s.logPath},         {"toolVersion", s.version},
      {"product", s.product},        {"executable", s.compiler},
      {"outputFlag", s.exeFlag},     {"compileFlag", s.compileFlag},
      {"defineFlag", s.defineFlag},  {"objectExtension", s.objectExtension},
      {"orderString", s.orderString}};
  for (const auto& field : fields) {
    out << "    " << json_quote(field.first) << ": " << json_quote(field.second)
        << ",\n";
  }
  out << "    \"cross\": " << (s.cross ? "true" : "false") << ",\n";
  write_list(out, "switches", quoted(s.switches), false, "    ");
  write_list(out, "userDefines", quoted(s.userDefines), false, "    ");
  write_list(out, "includeOptions", quoted(s.includeOptions), true, "    ");
  out << "  },\n";
}

// The verification report is embedded as it was read, re-indented by two
// spaces so that the document keeps one layout.
static std::string embedded(const std::string& json) {
  std::string text = json;
  while (!text.empty() && (text.back() == '\n' || text.back() == ' ')) {
    text.pop_back();
  }
  std::string out;
  for (const char c : text) {
    out += c;
    if (c == '\n') {
      out += "  ";
    }
  }
  return out;
}

static void write_types(std::ostream& out, const ExportFacts& facts) {
  write_list(out, "sizes", number_items(facts.sizes, "bits"), false);
  write_list(out, "alignments", number_items(facts.alignments, "bytes"), false);
  out << "  \"charSign\": "
      << (!facts.charUnsigned   ? "null"
          : *facts.charUnsigned ? "\"unsigned\""
                                : "\"signed\"")
      << ",\n";
  std::vector<std::string> intrinsic;
  for (const auto& type : facts.intrinsicTypes) {
    intrinsic.push_back(
        "{\"name\": " + json_quote(type.first) +
        ", \"type\": " + json_quote(type.second) + ", \"bits\": " +
        optional_number(size_in_bits(facts, type.second)) + "}");
  }
  write_list(out, "intrinsicTypes", intrinsic, false);
  out << "  \"identifierLengths\": {\"external\": "
      << optional_number(facts.externalIdLength)
      << ", \"internal\": " << optional_number(facts.internalIdLength)
      << "},\n";
}

std::string personality_json(const ExportFacts& facts) {
  std::ostringstream out;
  out << "{\n  \"format\": \"tesselgen-personality\",\n  \"version\": 1,\n"
      << "  \"personality\": " << json_quote(facts.personalityPath) << ",\n"
      << "  \"language\": " << (facts.isC ? "\"c\"" : "\"c++\"") << ",\n";
  write_list(out, "includeDirectories", quoted(facts.includeDirs), false);
  write_list(out, "systemIncludeDirectories", quoted(facts.systemIncludeDirs),
             false);
  write_list(out, "macros", define_items(facts.macros, false), false);
  write_types(out, facts);
  write_list(out, "extensions", quoted(facts.extensions), false);
  write_list(out, "keywords", define_items(facts.keywords, true), false);
  out << "  \"forceInclude\": ";
  if (facts.forceInclude) {
    out << "{\"path\": " << json_quote(*facts.forceInclude) << ", \"found\": "
        << (facts.forceIncludeFound.empty()
                ? "null"
                : json_quote(facts.forceIncludeFound))
        << "},\n";
  } else {
    out << "null,\n";
  }
  write_list(out, "otherLines", quoted(facts.otherLines), false);
  if (facts.settings) {
    write_settings(out, *facts.settings);
  } else {
    out << "  \"compiler\": null,\n";
  }
  out << "  \"verification\": "
      << (facts.verification ? embedded(*facts.verification) : "null")
      << "\n}\n";
  return out.str();
}
