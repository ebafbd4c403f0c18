#include "export/clang_export.h"

#include <cctype>
#include <cstdlib>
#include <set>

ClangPlan plan_clang_export(const ExportFacts& facts, ClangTool& clang) {
  ClangPlan plan;
  const std::vector<TargetFact> checked = target_facts(facts);
  plan.factCount = checked.size();
  const TargetCheck best = choose_target(
      clang.CheckTargets(candidate_targets(), target_check_source(checked)));
  plan.target = best.target;
  for (const std::size_t index : best.failed) {
    // The char sign counts towards the choice, but the flags set it
    // whatever the target's default.
    if (index < checked.size() && checked[index].line.rfind("-u", 0) != 0) {
      plan.unheld.push_back(checked[index].line);
    }
  }
  if (plan.target.empty()) {
    return plan;
  }
  // Only names clang could read as identifiers are asked about; the
  // others cannot be defined as macros anyway.
  std::vector<std::string> keywords;
  for (const DefineFact& keyword : facts.keywords) {
    const std::string name = keyword.name.substr(0, keyword.name.find('('));
    bool identifier =
        !name.empty() && !std::isdigit(static_cast<unsigned char>(name[0]));
    for (const char c : name) {
      identifier = identifier &&
                   (std::isalnum(static_cast<unsigned char>(c)) || c == '_');
    }
    if (identifier) {
      keywords.push_back(name);
    }
  }
  if (!clang.DescribeTarget(plan.target, keywords, &plan.info)) {
    plan.info = TargetInfo();
  }
  return plan;
}

std::vector<std::string> origin_lines(const ExportFacts& facts) {
  std::vector<std::string> lines = {"Personality: " + facts.personalityPath};
  if (!facts.settings) {
    lines.push_back("Compiler: not known (no run log beside the personality)");
    return lines;
  }
  std::string compiler = "Compiler: " + facts.settings->compiler;
  for (const std::string& sw : facts.settings->switches) {
    compiler += " " + sw;
  }
  lines.push_back(compiler + (facts.settings->cross ? " (cross)" : ""));
  lines.push_back("Run log: " + facts.settings->logPath);
  return lines;
}

std::vector<std::string> clang_arguments(const ExportFacts& facts,
                                         const ClangPlan& plan,
                                         const std::string& compatPath) {
  std::vector<std::string> args = {facts.isC ? "-xc" : "-xc++", "-nostdinc"};
  for (const std::string& dir : facts.includeDirs) {
    args.push_back("-isystem");
    args.push_back(dir);
  }
  if (!plan.target.empty()) {
    args.push_back("--target=" + plan.target);
  }
  if (facts.charUnsigned) {
    args.push_back(*facts.charUnsigned ? "-funsigned-char" : "-fsigned-char");
  }
  args.push_back("-include");
  args.push_back(compatPath);
  return args;
}

std::string compile_flags_text(const std::vector<std::string>& arguments) {
  std::string text;
  for (const std::string& argument : arguments) {
    text += argument + "\n";
  }
  return text;
}

// "clang target: T (holds N of M facts)" and the facts it does not hold.
static std::vector<std::string> target_lines(const ClangPlan& plan) {
  std::vector<std::string> lines;
  if (plan.target.empty()) {
    lines.push_back("clang target: none (clang could use no candidate)");
    return lines;
  }
  lines.push_back("clang target: " + plan.target + " (holds " +
                  std::to_string(plan.factCount - plan.unheld.size()) + " of " +
                  std::to_string(plan.factCount) + " facts)");
  if (!plan.unheld.empty()) {
    lines.push_back("Facts no clang target can hold:");
    for (const std::string& line : plan.unheld) {
      lines.push_back("  " + line);
    }
  }
  return lines;
}

static std::string yaml_quote(const std::string& text) {
  std::string out = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') {
      out += '\\';
    }
    out += c;
  }
  return out + "\"";
}

std::string clangd_fragment(const ExportFacts& facts, const ClangPlan& plan,
                            const std::vector<std::string>& arguments) {
  std::string text = "# Written by TesselExport.\n";
  for (const std::string& line : origin_lines(facts)) {
    text += "# " + line + "\n";
  }
  for (const std::string& line : target_lines(plan)) {
    text += "# " + line + "\n";
  }
  text += "CompileFlags:\n  Add:\n";
  for (const std::string& argument : arguments) {
    text += "    - " + yaml_quote(argument) + "\n";
  }
  return text;
}

std::string c_macro_value(const std::string& value) {
  static const std::string kStringify = "_KIV_STRINGIFY(";
  if (value.rfind(kStringify, 0) != 0 || value.back() != ')') {
    return value;
  }
  std::string out = "\"";
  for (const char c :
       value.substr(kStringify.size(), value.size() - kStringify.size() - 1)) {
    if (c == '"' || c == '\\') {
      out += '\\';
    }
    out += c;
  }
  return out + "\"";
}

static std::string without_blanks(const std::string& text) {
  std::string out;
  for (const char c : text) {
    if (c != ' ' && c != '\t') {
      out += c;
    }
  }
  return out;
}

static std::string macro_key(const std::string& name) {
  return name.substr(0, name.find('('));
}

// Macros clang makes up as it goes; they are left to clang.
static bool is_dynamic(const std::string& name) {
  static const std::set<std::string> kDynamic = {
      "__LINE__",      "__FILE__",          "__COUNTER__",
      "__DATE__",      "__TIME__",          "__TIMESTAMP__",
      "__BASE_FILE__", "__INCLUDE_LEVEL__", "__FILE_NAME__"};
  return kDynamic.count(name) != 0;
}

static void write_undefs(const ExportFacts& facts, const ClangPlan& plan,
                         std::string* text) {
  std::set<std::string> defined;
  for (const DefineFact& macro : facts.macros) {
    defined.insert(macro_key(macro.name));
  }
  *text += "/* clang's own macros that the compiler does not define */\n";
  for (const auto& macro : plan.info.predefined) {
    // The standard's own macros stay: clang does implement the standard.
    if (defined.count(macro.first) == 0 &&
        macro.first.rfind("__STDC", 0) != 0) {
      *text += "#undef " + macro.first + "\n";
    }
  }
}

static void write_macros(const ExportFacts& facts, const ClangPlan& plan,
                         std::string* text) {
  *text += "\n/* The compiler's macros */\n";
  for (const DefineFact& macro : facts.macros) {
    const std::string key = macro_key(macro.name);
    const std::string value = macro.hasValue ? c_macro_value(macro.value) : "1";
    const auto clangs = plan.info.predefined.find(key);
    if (is_dynamic(key)) {
      *text += "/* " + key + " is left to clang */\n";
      continue;
    }
    if (clangs != plan.info.predefined.end()) {
      if (without_blanks(clangs->second) == without_blanks(value)) {
        continue;
      }
      *text += "#undef " + key + "\n";
    }
    *text +=
        "#define " + macro.name + (value.empty() ? "" : " " + value) + "\n";
  }
}

static void write_keywords(const ExportFacts& facts, const ClangPlan& plan,
                           std::string* text) {
  *text += "\n/* The compiler's extension keywords */\n";
  std::string known;
  std::string review;
  for (const DefineFact& keyword : facts.keywords) {
    const bool helperValue =
        keyword.value.find("kiv_") != std::string::npos &&
        keyword.treatment != KeywordTreatment::kRemoveParen;
    if (keyword.treatment == KeywordTreatment::kAnalyserOnly || helperValue) {
      continue;
    }
    if (keyword.treatment == KeywordTreatment::kReview) {
      // Often a name the compiler declares itself (sdcc's __fsadd): left
      // alone, since removing it would break the headers that declare it.
      review += " " + keyword.name;
      continue;
    }
    const std::string key = macro_key(keyword.name);
    if (plan.info.knownKeywords.count(key) != 0) {
      known += " " + key;
      continue;
    }
    switch (keyword.treatment) {
      case KeywordTreatment::kRemoveParen:
      case KeywordTreatment::kAnalyserKeywordParen:
        *text += "#define " + keyword.name + "(x)\n";
        break;
      case KeywordTreatment::kRemove:
      case KeywordTreatment::kAnalyserKeyword:
        *text += "#define " + keyword.name + "\n";
        break;
      default:
        *text += "#define " + keyword.name + " " + keyword.value + "\n";
        break;
    }
  }
  if (!known.empty()) {
    *text += "/* clang understands these itself:" + known + " */\n";
  }
  if (!review.empty()) {
    *text += "/* left alone, for review:" + review + " */\n";
  }
}

// gcc attribute forms that headers use when __GNUC__ says a gcc release at
// least this new, and that clang does not take: the macro keeps the
// attribute and drops its arguments.
static void write_attribute_gaps(const ExportFacts& facts,
                                 const ClangPlan& plan, std::string* text) {
  static const std::pair<long, const char*> kGaps[] = {
      {11, "#define __malloc__(...) __malloc__"}};
  long gnuc = 0;
  for (const DefineFact& macro : facts.macros) {
    if (macro.name == "__GNUC__") {
      gnuc = std::strtol(macro.value.c_str(), nullptr, 10);
    }
  }
  if (plan.target.empty() || gnuc == 0) {
    return;
  }
  std::string lines;
  for (const auto& gap : kGaps) {
    if (gnuc >= gap.first) {
      lines += std::string(gap.second) + "\n";
    }
  }
  if (!lines.empty()) {
    *text += "\n/* gcc " + std::to_string(gnuc) +
             " attribute forms that clang does not take */\n" + lines;
  }
}

std::string compat_header(const ExportFacts& facts, const ClangPlan& plan) {
  std::string text = "/* tessel_compat.h, written by TesselExport.\n";
  for (const std::string& line : origin_lines(facts)) {
    text += " * " + line + "\n";
  }
  for (const std::string& line : target_lines(plan)) {
    text += " * " + line + "\n";
  }
  text += " */\n#ifndef TESSEL_COMPAT_H\n#define TESSEL_COMPAT_H\n\n";
  write_undefs(facts, plan, &text);
  write_macros(facts, plan, &text);
  write_keywords(facts, plan, &text);
  write_attribute_gaps(facts, plan, &text);
  if (facts.forceInclude && !facts.forceInclude->empty()) {
    text += "\n/* The force-include header */\n";
    text += facts.forceIncludeFound.empty()
                ? "/* " + *facts.forceInclude + " was not found */\n"
                : "#include \"" + facts.forceIncludeFound + "\"\n";
  }
  return text + "\n#endif /* TESSEL_COMPAT_H */\n";
}
