#include "export/export_facts.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace fs = std::filesystem;

// The words a keyword may be replaced by and still count as "replaced by a
// standard keyword" (C and C++ keywords that can stand where an extension
// keyword stands).
static const char* const kStandardKeywords[] = {
    "asm",           "auto",         "const",
    "extern",        "inline",       "register",
    "restrict",      "signed",       "static",
    "unsigned",      "volatile",     "alignas",
    "alignof",       "_Alignas",     "_Alignof",
    "_Atomic",       "_Complex",     "_Generic",
    "_Imaginary",    "_Noreturn",    "_Static_assert",
    "_Thread_local", "thread_local", "typeof",
    "typeof_unqual", "constexpr",    "noexcept",
    "explicit",      "virtual",      "__func__"};

// The scalar types a type keyword may be mapped to.
static const char* const kScalarTypes[] = {
    "char",           "signed char",
    "unsigned char",  "short",
    "unsigned short", "int",
    "unsigned int",   "unsigned",
    "long",           "unsigned long",
    "long long",      "unsigned long long",
    "float",          "double",
    "long double",    "void",
    "_Bool",          "bool",
    "signed short",   "signed int",
    "signed long",    "signed long long"};

KeywordTreatment keyword_treatment(const std::string& value) {
  // The keyword lists write "/**/" for "replaced by nothing".
  if (value.empty() || value == "/**/") {
    return KeywordTreatment::kRemove;
  }
  if (value == "kiv_ignore_paren") {
    return KeywordTreatment::kRemoveParen;
  }
  for (const char* word : kStandardKeywords) {
    if (value == word) {
      return KeywordTreatment::kKeyword;
    }
  }
  for (const char* type : kScalarTypes) {
    if (value == type) {
      return KeywordTreatment::kType;
    }
  }
  return KeywordTreatment::kText;
}

const char* keyword_treatment_name(KeywordTreatment treatment) {
  switch (treatment) {
    case KeywordTreatment::kKeyword:
      return "keyword";
    case KeywordTreatment::kRemove:
      return "remove";
    case KeywordTreatment::kRemoveParen:
      return "remove-with-argument";
    case KeywordTreatment::kType:
      return "type";
    case KeywordTreatment::kText:
      return "text";
    case KeywordTreatment::kAnalyserOnly:
      return "analyser";
    case KeywordTreatment::kAnalyserKeyword:
      return "analyser-keyword";
    case KeywordTreatment::kAnalyserKeywordParen:
      return "analyser-keyword-with-argument";
    case KeywordTreatment::kReview:
      return "review";
  }
  return "text";
}

// True for the analyser's own helper macros that keyword lines build on.
static bool is_analyser_helper(const std::string& name) {
  return name.rfind("kiv_", 0) == 0 || name.rfind("_kiv_", 0) == 0 ||
         name.rfind("_KIV_", 0) == 0;
}

static void add_define(const PersonalityLine& line, bool inKeywords,
                       ExportFacts* facts) {
  DefineFact define;
  define.name = line.name;
  define.value = line.value;
  define.hasValue = line.hasValue;
  if (!inKeywords) {
    facts->macros.push_back(define);
    return;
  }
  define.treatment = is_analyser_helper(line.name)
                         ? KeywordTreatment::kAnalyserOnly
                         : keyword_treatment(line.value);
  // The keyword stage quotes every treatment it decides; a bare "NAME="
  // is the line of a keyword that fitted no rule.
  if (!line.quoted && line.hasValue && line.value.empty()) {
    define.treatment = KeywordTreatment::kReview;
  }
  facts->keywords.push_back(define);
}

// Adds one line of a kind that carries a value of its own.
static void add_value_line(const PersonalityLine& line, ExportFacts* facts) {
  const long number = numeric_value(line).value_or(0);
  switch (line.kind) {
    case LineKind::kSize:
      facts->sizes.emplace_back(line.name, number);
      break;
    case LineKind::kAlignment:
      facts->alignments.emplace_back(line.name, number);
      break;
    case LineKind::kCharSign:
      facts->charUnsigned = line.option == "-u+";
      break;
    case LineKind::kIntrinsicType:
      facts->intrinsicTypes.emplace_back(line.name, line.value);
      break;
    case LineKind::kExternalIdLength:
      facts->externalIdLength = number;
      break;
    case LineKind::kInternalIdLength:
      facts->internalIdLength = number;
      break;
    case LineKind::kExtension:
      facts->extensions.push_back(line.name);
      break;
    default:
      break;
  }
}

// The analyser's extension keywords that take a parenthesised argument:
// an address ("at (0x80)"), an interrupt number, a register bank.
static const char* const kAnalyserKeywordsWithArgument[] = {"at", "interrupt",
                                                            "using"};

// A keyword replaced by an analyser keyword that a "-ex" line switches on
// means nothing to other tools: mark it so that they remove it.
static void mark_analyser_keywords(ExportFacts* facts) {
  for (DefineFact& keyword : facts->keywords) {
    if (keyword.treatment != KeywordTreatment::kText ||
        std::find(facts->extensions.begin(), facts->extensions.end(),
                  keyword.value) == facts->extensions.end()) {
      continue;
    }
    keyword.treatment = KeywordTreatment::kAnalyserKeyword;
    for (const char* word : kAnalyserKeywordsWithArgument) {
      if (keyword.value == word) {
        keyword.treatment = KeywordTreatment::kAnalyserKeywordParen;
      }
    }
  }
}

ExportFacts collect_facts(const Personality& personality,
                          const std::string& path) {
  ExportFacts facts;
  facts.personalityPath = path;
  // The macro stage writes its defines before the type lines; every define
  // after the first type, sign, length or extension line is a keyword.
  bool inKeywords = false;
  for (const PersonalityLine& line : personality.lines) {
    switch (line.kind) {
      case LineKind::kInclude:
        facts.isC = line.option == "-i";
        if (std::find(facts.includeDirs.begin(), facts.includeDirs.end(),
                      line.name) == facts.includeDirs.end()) {
          facts.includeDirs.push_back(line.name);
        }
        break;
      case LineKind::kSystemInclude:
        facts.systemIncludeDirs.push_back(line.name);
        break;
      case LineKind::kDefine:
        facts.isC = line.option == "-d";
        add_define(line, inKeywords, &facts);
        break;
      case LineKind::kForceInclude:
        facts.forceInclude = line.name;
        break;
      case LineKind::kOther:
        if (!format_personality_line(line).empty()) {
          facts.otherLines.push_back(format_personality_line(line));
        }
        break;
      default:
        inKeywords = true;
        add_value_line(line, &facts);
        break;
    }
  }
  mark_analyser_keywords(&facts);
  return facts;
}

// Stores the value of one "[N] Label=value" settings line.
static void take_numbered(const std::string& text, LoggedSettings* settings) {
  const std::string::size_type equals = text.find('=');
  if (equals == std::string::npos) {
    return;
  }
  const std::string label = text.substr(0, equals);
  const std::string value = text.substr(equals + 1);
  if (label == "[1] VellC" || label == "VellC") {
    settings->product = value == "true" ? "vellc" : "vellcpp";
  } else if (label == "[2] Cross Compiling") {
    settings->cross = value == "true";
  } else if (label == "[3] Compiler EXE") {
    settings->compiler = value;
  } else if (label == "[4] Compiler EXE Flag") {
    settings->exeFlag = value;
  } else if (label == "[5] Compiler Compile Flag") {
    settings->compileFlag = value;
  } else if (label == "[6] Compiler Define Flag") {
    settings->defineFlag = value;
  } else if (label == "[7] Object File Ext") {
    settings->objectExtension = value;
  } else if (label == "[8] Compiler Order String") {
    settings->orderString = value;
  }
}

std::optional<LoggedSettings> parse_run_settings(const std::string& text) {
  static const std::string kInfo = "[INFO] ";
  LoggedSettings settings;
  bool found = false;
  std::vector<std::string>* list = nullptr;
  std::istringstream in(text);
  std::string line;
  while (std::getline(in, line)) {
    const std::string::size_type at = line.find(kInfo);
    if (at == std::string::npos) {
      continue;
    }
    const std::string body = line.substr(at + kInfo.size());
    if (body.rfind("TesselPersonGen v", 0) == 0) {
      settings.version = body.substr(17);
      found = true;
    } else if (body == "\t-i" || body == "\t-xd" || body == "\t-xs") {
      list = body == "\t-i"    ? &settings.includeOptions
             : body == "\t-xd" ? &settings.userDefines
                               : &settings.switches;
    } else if (body.rfind("\t\t", 0) == 0 && list != nullptr) {
      list->push_back(body.substr(2));
    } else if (found && body.rfind("\t", 0) != 0) {
      list = nullptr;
      take_numbered(body, &settings);
    } else {
      list = nullptr;
    }
  }
  if (!found) {
    return std::nullopt;
  }
  return settings;
}

static std::optional<std::string> read_text(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) {
    return std::nullopt;
  }
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

// The newest run log in `dir` by its name, which holds its start time.
static std::string newest_log(const fs::path& dir) {
  std::error_code ec;
  std::string best;
  for (fs::directory_iterator it(dir, ec), end; !ec && it != end;
       it.increment(ec)) {
    const std::string name = it->path().filename().string();
    if (name.rfind("TesselGen_", 0) == 0 && name.size() > 14 &&
        name.compare(name.size() - 4, 4, ".log") == 0 && name > best) {
      best = name;
    }
  }
  return best.empty() ? std::string() : (dir / best).string();
}

// Marks the macros the run log lists as the user's "-xd" defines.
static void mark_user_defines(ExportFacts* facts) {
  for (DefineFact& macro : facts->macros) {
    const std::string text =
        macro.hasValue ? macro.name + "=" + macro.value : macro.name;
    for (const std::string& given : facts->settings->userDefines) {
      macro.userGiven = macro.userGiven || given == text;
    }
  }
}

// Looks for the run log and the force-include header where a run leaves
// them: the run's working directory is normally the parent of the
// personality's directory.
static void find_beside(const fs::path& personality, ExportFacts* facts) {
  std::error_code ec;
  const fs::path dir = fs::absolute(personality, ec).parent_path();
  const std::vector<fs::path> places = {dir.parent_path(), dir,
                                        fs::current_path(ec)};
  for (const fs::path& place : places) {
    const std::string log = newest_log(place);
    if (log.empty()) {
      continue;
    }
    if (auto text = read_text(log)) {
      facts->settings = parse_run_settings(*text);
    }
    if (facts->settings) {
      facts->settings->logPath = log;
      mark_user_defines(facts);
      break;
    }
  }
  if (!facts->forceInclude || facts->forceInclude->empty()) {
    return;
  }
  const fs::path fi(*facts->forceInclude);
  for (const fs::path& place : places) {
    const fs::path candidate = fi.is_absolute() ? fi : place / fi;
    if (fs::is_regular_file(candidate, ec)) {
      facts->forceIncludeFound = candidate.lexically_normal().string();
      return;
    }
  }
}

bool load_export_facts(const std::string& path, ExportFacts* facts,
                       std::string* err) {
  Personality personality;
  if (!read_personality_file(path, &personality, err)) {
    return false;
  }
  *facts = collect_facts(personality, path);
  find_beside(fs::path(path), facts);
  facts->verification = read_text(path + ".verify.json");
  return true;
}

std::optional<long> size_in_bits(const ExportFacts& facts,
                                 const std::string& type) {
  std::string key = type;
  for (const char* prefix : {"unsigned ", "signed "}) {
    if (key.rfind(prefix, 0) == 0) {
      key = key.substr(std::string(prefix).size());
    }
  }
  if (key == "unsigned" || key == "signed") {
    key = "int";
  } else if (key == "long long") {
    key = "longlong";
  } else if (key == "long double") {
    key = "ldouble";
  }
  for (const auto& size : facts.sizes) {
    if (size.first == key) {
      return size.second;
    }
  }
  return std::nullopt;
}
