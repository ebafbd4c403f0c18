#include "verify/macro_check.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>

#include "app/tessel_gen.h"
#include "harness/compile_harness.h"
#include "probes/macro_values.h"
#include "verify/compiler_files.h"
#include "verify/macro_candidates.h"
#include "verify/macro_tests.h"

namespace {

// One define of the macro stage, as written and as now.
struct MacroFact {
  std::string name;
  std::string entry;    // the define text as written ("NAME=VALUE")
  std::string written;  // the value as written
  std::string now;      // the value now; meaningful when `kept`
  bool kept = true;     // false when the line goes
  FactStatus status = FactStatus::kConfirmed;
  std::string test;
};

}  // namespace

static const char kStringifyEntry[] = "_KIV_STRINGIFY(x)=#x";

static bool is_type_word(const std::string& word) {
  static const std::set<std::string> kWords{
      "char",    "short",   "int",      "long",     "signed",  "unsigned",
      "float",   "double",  "void",     "_Bool",    "bool",    "__int128",
      "wchar_t", "char8_t", "char16_t", "char32_t", "_Float16"};
  return kWords.count(word) > 0;
}

ValueShape value_shape(const std::string& value) {
  if (value.empty()) {
    return ValueShape::kEmpty;
  }
  if (value.find_first_of("\"'") != std::string::npos ||
      value.rfind("_KIV_STRINGIFY(", 0) == 0) {
    return ValueShape::kOther;
  }
  bool types = true;
  std::string::size_type start = 0;
  while (start < value.size()) {
    std::string::size_type end = value.find(' ', start);
    end = end == std::string::npos ? value.size() : end;
    types = types && is_type_word(value.substr(start, end - start));
    start = end + 1;
  }
  if (types) {
    return ValueShape::kType;
  }
  const bool hex = value.find("0x") != std::string::npos ||
                   value.find("0X") != std::string::npos;
  const bool number = (value[0] >= '0' && value[0] <= '9') || value[0] == '.' ||
                      value[0] == '-' || value[0] == '(';
  if (number && value.find(' ') == std::string::npos &&
      (value.find('.') != std::string::npos ||
       (!hex && value.find_first_of("eE") != std::string::npos &&
        value.find_first_of("0123456789") < value.find_first_of("eE")))) {
    return ValueShape::kFloat;
  }
  if (value.find_first_not_of("0123456789abcdefghijklmnopqrstuvwxyz"
                              "ABCDEFGHIJKLMNOPQRSTUVWXYZ_ ()+-*/%<>=!&|^~") ==
      std::string::npos) {
    return ValueShape::kInteger;
  }
  return ValueShape::kOther;
}

std::string claim_source(const std::string& name, const std::string& value,
                         ValueShape shape, int id) {
  const std::string n = std::to_string(id);
  const std::string fail = "#error tg_bad_" + n + "\n";
  const std::string defined =
      std::string(kIfndef) + name + "\n" + fail + kEndif + "\n";
  switch (shape) {
    case ValueShape::kEmpty:
      return defined + "#if !((1 " + name + " + 1) == 2)\n" + fail + kEndif +
             "\n";
    case ValueShape::kInteger:
      return defined + "#if !((" + name + ") == (" + value + "))\n" + fail +
             kEndif + "\n";
    case ValueShape::kFloat:
      return defined + "typedef char tg_ok_" + n + "[((" + name + ") == (" +
             value + ")) * 2 - 1];\n";
    case ValueShape::kType:
      return defined + "extern " + value + " tg_v_" + n + ";\nextern " + name +
             " tg_v_" + n + ";\n";
    case ValueShape::kOther:
      return defined;
  }
  return defined;
}

static std::string shape_test(ValueShape shape, const std::string& name) {
  switch (shape) {
    case ValueShape::kEmpty:
      return "#if (1 " + name + " + 1) == 2";
    case ValueShape::kInteger:
      return "#if (" + name + ") == (VALUE)";
    case ValueShape::kFloat:
      return "typedef char ok[((" + name + ") == (VALUE)) * 2 - 1]";
    case ValueShape::kType:
      return "extern VALUE v; extern " + name + " v;";
    case ValueShape::kOther:
      break;
  }
  return "#include M(yyy " + name + " zzz): value in the message";
}

// The entry of `tg.FoundDefines` for `name`, if any.
static std::optional<std::string> entry_of(const TesselGen& tg,
                                           const std::string& name) {
  for (const std::string& entry : tg.FoundDefines) {
    if (entry.rfind(name + "=", 0) == 0 ||
        entry.rfind("\"" + name + "=", 0) == 0) {
      return entry;
    }
  }
  return std::nullopt;
}

// The value part of a define entry ("NAME=VALUE" or "\"NAME=VALUE\"").
static std::string value_of(const std::string& entry) {
  std::string text = entry;
  if (text.size() >= 2 && text.front() == '"' && text.back() == '"') {
    text = text.substr(1, text.size() - 2);
  }
  const std::string::size_type equals = text.find('=');
  return equals == std::string::npos ? std::string() : text.substr(equals + 1);
}

// Records `raw` as the macro stage records a value read from a message,
// replacing `old` (may be empty); returns the new entry, or nothing (and
// `old` is restored) when the value cannot be recorded.
static std::optional<std::string> record_value(TesselGen& tg,
                                               const std::string& name,
                                               const std::string& raw,
                                               const std::string& old) {
  tg.FoundDefines.erase(old);
  if (RecordMacroValue(tg, raw, name)) {
    if (std::optional<std::string> entry = entry_of(tg, name)) {
      return entry;
    }
  }
  if (!old.empty()) {
    tg.FoundDefines.insert(old);
  }
  return std::nullopt;
}

// Records the value `raw` read for a written macro, or marks it unchecked
// when nothing could be read.
static void settle(TesselGen& tg, MacroFact& fact,
                   const std::optional<std::string>& raw,
                   const std::string& method) {
  fact.test = method + " M(yyy " + fact.name + " zzz): value in the message";
  std::optional<std::string> entry =
      raw ? record_value(tg, fact.name, *raw, fact.entry) : std::nullopt;
  if (!entry) {
    fact.status = FactStatus::kUnchecked;
    return;
  }
  fact.now = value_of(*entry);
  fact.status =
      *entry == fact.entry ? FactStatus::kConfirmed : FactStatus::kCorrected;
  fact.entry = *entry;
}

// Decides the macros whose batched claims failed, and those whose value
// only a message shows: the undefined ones go, the others' values are
// read, all at once where the compiler allows.
static void resolve(TesselGen& tg, std::vector<MacroFact>& facts,
                    const std::vector<std::size_t>& open,
                    const std::vector<bool>& failed) {
  std::vector<std::string> claims;
  std::vector<std::size_t> asked;
  for (std::size_t i : open) {
    if (failed[i]) {
      asked.push_back(i);
      claims.push_back(claim_source(facts[i].name, "", ValueShape::kOther,
                                    static_cast<int>(claims.size()) + 1));
    }
  }
  std::set<std::size_t> undefined;
  for (std::size_t index : failing_claims(tg, claims)) {
    undefined.insert(asked[index]);
  }
  std::vector<std::string> names;
  for (std::size_t i : open) {
    if (undefined.count(i) == 0) {
      names.push_back(facts[i].name);
    }
  }
  const std::map<std::string, std::string> values = line_values(tg, names);
  for (std::size_t i : open) {
    MacroFact& fact = facts[i];
    if (undefined.count(i) > 0) {
      tg.FoundDefines.erase(fact.entry);
      fact.kept = false;
      fact.status = FactStatus::kCorrected;
      fact.test = "#ifndef " + fact.name + ": not defined";
      continue;
    }
    auto value = values.find(fact.name);
    if (value != values.end()) {
      settle(tg, fact,
             value->second != fact.name
                 ? std::optional<std::string>(value->second)
                 : std::nullopt,
             "#line 1");
    } else {
      settle(tg, fact, message_value(tg, fact.name), "#include");
    }
  }
}

// Checks every written define; fills `facts` in written order.
static void check_written(TesselGen& tg, std::vector<MacroFact>& facts) {
  std::vector<std::string> claims;
  std::vector<std::size_t> owners;
  for (std::size_t i = 0; i < facts.size(); ++i) {
    MacroFact& fact = facts[i];
    fact.now = fact.written;
    if (is_varying_macro(fact.name)) {
      tg.FoundDefines.erase(fact.entry);
      fact.kept = false;
      fact.status = FactStatus::kCorrected;
      fact.test = "value changes with each use";
      continue;
    }
    const ValueShape shape = value_shape(fact.written);
    claims.push_back(claim_source(fact.name, fact.written, shape,
                                  static_cast<int>(claims.size()) + 1));
    fact.test = shape_test(shape, fact.name);
    owners.push_back(i);
  }
  std::vector<bool> failed(facts.size(), false);
  for (std::size_t index : failing_claims(tg, claims)) {
    failed[owners[index]] = true;
  }
  std::vector<std::size_t> open;
  for (std::size_t i : owners) {
    if (failed[i] || value_shape(facts[i].written) == ValueShape::kOther) {
      open.push_back(i);
    }
  }
  resolve(tg, facts, open, failed);
}

// The names to test for definitions no line shows: those of the
// compiler's files and those its name formats make (with stems from every
// name known: the files', the header scan's and the written ones), less
// the names of define lines and the header scan's remaining candidates,
// which the macro stage has tested already.
static std::vector<std::string> new_candidates(TesselGen& tg,
                                               const Personality& personality) {
  CompilerStrings strings;
  const std::string program = resolve_compiler_program(tg);
  if (!program.empty()) {
    for (const std::string& file : compiler_files_of(program, tg.isC)) {
      tg.log.info("Verify macros: names from " + file);
      collect_file(file, &strings);
    }
  }
  std::set<std::string> taken;
  for (const PersonalityLine& line : personality.lines) {
    if (line.kind == LineKind::kDefine) {
      taken.insert(line.name.substr(0, line.name.find('(')));
    }
  }
  for (const std::string& define : tg.implicitDefines) {
    taken.insert(define.substr(0, define.find('=')));
  }
  std::set<std::string> known = strings.identifiers;
  known.insert(tg.candidateKeywords.begin(), tg.candidateKeywords.end());
  known.insert(taken.begin(), taken.end());
  std::set<std::string> fresh =
      format_names(strings.formats, known, strings.stem_runs);
  const std::set<std::string> joined = fragment_names(strings, known);
  fresh.insert(joined.begin(), joined.end());
  fresh.insert(strings.identifiers.begin(), strings.identifiers.end());
  static const std::set<std::string> kNeverTested{
      "defined", "__VA_ARGS__", "__VA_OPT__", "_Pragma", "and",
      "and_eq",  "bitand",      "bitor",      "compl",   "not",
      "not_eq",  "or",          "or_eq",      "xor",     "xor_eq"};
  std::vector<std::string> candidates;
  for (const std::string& name : fresh) {
    if (taken.count(name) == 0 && tg.candidateKeywords.count(name) == 0 &&
        kNeverTested.count(name) == 0 && tg.languageKeywords.count(name) == 0 &&
        !is_varying_macro(name) && name.rfind("__has_", 0) != 0) {
      candidates.push_back(name);
    }
  }
  return candidates;
}

// Finds the macros no line names and records their values; returns one
// fact per macro added.
static std::vector<MacroFact> add_missing(TesselGen& tg,
                                          const Personality& personality) {
  std::vector<MacroFact> added;
  const std::vector<std::string> candidates = new_candidates(tg, personality);
  tg.log.info("Verify macros: " + std::to_string(candidates.size()) +
              " candidate names");
  const std::set<std::string> found = defined_macros(tg, candidates);
  const std::map<std::string, std::string> batch =
      line_values(tg, std::vector<std::string>(found.begin(), found.end()));
  for (const std::string& name : found) {
    auto answer = batch.find(name);
    std::optional<std::string> raw =
        answer == batch.end()    ? message_value(tg, name)
        : answer->second != name ? std::optional<std::string>(answer->second)
                                 : std::nullopt;
    std::optional<std::string> entry =
        raw ? record_value(tg, name, *raw, "") : std::nullopt;
    if (!entry) {
      tg.log.info("Verify macros: no value for " + name);
      continue;
    }
    MacroFact fact;
    fact.name = name;
    fact.entry = *entry;
    fact.now = value_of(*entry);
    fact.status = FactStatus::kAdded;
    fact.test = "#ifdef " + name + ": #error named; value from " +
                (answer == batch.end() ? "#include" : "#line 1") + " M(yyy " +
                name + " zzz)";
    added.push_back(fact);
  }
  return added;
}

// The define text of a personality line, without its prefix.
static std::string define_text(const TesselGen& tg,
                               const PersonalityLine& line) {
  const std::string text = format_personality_line(line);
  return text.rfind(tg.DefinePrefix, 0) == 0
             ? text.substr(tg.DefinePrefix.size())
             : std::string();
}

static bool is_user_define(const TesselGen& tg, const std::string& text) {
  return std::find(tg.implicitDefines.begin(), tg.implicitDefines.end(),
                   text) != tg.implicitDefines.end();
}

// The macro stage's block: the run of define lines that begins with the
// first line of the user's or the stage's defines. Returns the indexes of
// the stage's lines in it, and in `after` the index behind the user's
// lines (where the stage's lines begin).
static std::vector<std::size_t> stage_lines(const TesselGen& tg,
                                            const Personality& personality,
                                            std::size_t* after) {
  const std::vector<PersonalityLine>& lines = personality.lines;
  std::vector<std::size_t> found;
  std::size_t i = 0;
  *after = 0;
  for (std::size_t k = 0; k < lines.size(); ++k) {
    if (lines[k].kind == LineKind::kInclude ||
        lines[k].kind == LineKind::kSystemInclude) {
      *after = k + 1;
    }
  }
  while (i < lines.size() &&
         !(lines[i].kind == LineKind::kDefine &&
           (tg.FoundDefines.count(define_text(tg, lines[i])) > 0 ||
            is_user_define(tg, define_text(tg, lines[i]))))) {
    ++i;
  }
  for (; i < lines.size() && lines[i].kind == LineKind::kDefine; ++i) {
    const std::string text = define_text(tg, lines[i]);
    if (tg.FoundDefines.count(text) > 0) {
      found.push_back(i);
    } else if (is_user_define(tg, text) && found.empty()) {
      *after = i + 1;
    }
  }
  if (!found.empty()) {
    *after = found.front();
  }
  return found;
}

// Writes the stage's block again from `tg.FoundDefines`, in its order;
// lines whose define text is unchanged are kept as they were read.
static void rewrite_block(const TesselGen& tg, Personality* personality,
                          const std::vector<std::size_t>& old, std::size_t at) {
  std::map<std::string, PersonalityLine> kept;
  std::vector<PersonalityLine>& lines = personality->lines;
  for (auto it = old.rbegin(); it != old.rend(); ++it) {
    kept[define_text(tg, lines[*it])] = lines[*it];
    lines.erase(lines.begin() + static_cast<std::ptrdiff_t>(*it));
  }
  std::vector<PersonalityLine> block;
  for (const std::string& entry : tg.FoundDefines) {
    auto same = kept.find(entry);
    if (same != kept.end()) {
      block.push_back(same->second);
      continue;
    }
    PersonalityLine line;
    std::string err;
    if (parse_personality_line(tg.DefinePrefix + entry, &line, &err)) {
      line.text.clear();
      line.text = tg.DefinePrefix + entry;
      block.push_back(line);
    }
  }
  lines.insert(lines.begin() + static_cast<std::ptrdiff_t>(at), block.begin(),
               block.end());
}

static FactResult to_result(TesselGen& tg, const MacroFact& fact,
                            bool written) {
  FactResult result;
  result.kind = "define";
  result.name = fact.name;
  result.written = fact.written;
  result.hadWritten = written;
  result.now = fact.now;
  result.hasNow = fact.kept;
  result.status = fact.status;
  result.test = fact.test;
  const std::string outcome = std::string(fact_status_name(fact.status)) +
                              ": " + fact.name + " (" + fact.test + ")";
  if (fact.status == FactStatus::kCorrected) {
    tg.log.warn("Verify macro " + outcome);
  } else {
    tg.log.info("Verify macro " + outcome);
  }
  return result;
}

std::vector<FactResult> check_macros(TesselGen& tg, Personality* personality) {
  std::size_t at = 0;
  const std::vector<std::size_t> old = stage_lines(tg, *personality, &at);
  std::vector<MacroFact> facts;
  for (std::size_t index : old) {
    const PersonalityLine& line = personality->lines[index];
    const std::string text = define_text(tg, line);
    if (text == kStringifyEntry || line.name.find('(') != std::string::npos) {
      continue;
    }
    MacroFact fact;
    fact.name = line.name;
    fact.entry = text;
    fact.written = line.value;
    facts.push_back(fact);
  }
  check_written(tg, facts);
  const std::vector<MacroFact> added = add_missing(tg, *personality);
  rewrite_block(tg, personality, old, at);
  std::vector<FactResult> results;
  for (const MacroFact& fact : facts) {
    results.push_back(to_result(tg, fact, true));
  }
  for (const MacroFact& fact : added) {
    results.push_back(to_result(tg, fact, false));
  }
  return results;
}
