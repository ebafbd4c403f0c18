#include "probes/context_keywords.h"

#include <algorithm>
#include <cstdint>
#include <iterator>

#include "app/tessel_gen.h"
#include "harness/compile_harness.h"
#include "probes/type_keywords.h"
#include "probes/type_test_run.h"

namespace {

const char kQuote[] = "\"";

// The state of one keyword's decision, shared by the steps below.
struct KeywordCase {
  std::string keyword;
  std::string verdict;
};

}  // namespace

std::string trimmed(const std::string& keyword) {
  std::string::size_type first = keyword.find_first_not_of('_');
  if (first == std::string::npos) {
    return std::string();
  }
  std::string::size_type last = keyword.find_last_not_of('_');
  return keyword.substr(first, last - first + 1);
}

bool decoratedStandardKeyword(const TesselGen& tg, const std::string& keyword,
                              std::string* standard) {
  if (keyword.empty() || (keyword.front() != '_' && keyword.back() != '_')) {
    return false;
  }
  std::string stripped = trimmed(keyword);
  if (tg.languageKeywords.count(stripped) == 0) {
    return false;
  }
  if (standard != nullptr) {
    *standard = stripped;
  }
  return true;
}

// DefinePrefix + "K=V" in double quotes.
static std::string quoted_define(const TesselGen& tg, const std::string& k,
                                 const std::string& v) {
  return tg.DefinePrefix + kQuote + k + "=" + v + kQuote;
}

static std::string test_directory(const TesselGen& tg, bool contextMode) {
  if (contextMode) {
    return tg.isC ? "../c_context_keyword_tests"
                  : "../cpp_context_keyword_tests";
  }
  return tg.isC ? "../c_keyword_tests" : "../cpp_keyword_tests";
}

// Marks `keyword` as an identifier to declare in the force-include header.
static void declare_register(TesselGen& tg, const std::string& keyword) {
  tg.writeDefaultForceInclude = true;
  tg.registerIdentifiers.insert(keyword);
}

// The C analyser's check against its own extension keywords, for the
// keyword's form `d` (the keyword, or the standard keyword it decorates,
// in which case `written` says its define line is already out).
static void check_extension(TesselGen& tg, const KeywordCase& c,
                            const std::string& d, bool written,
                            std::set<std::string>& lines) {
  // Both lookups happen, and leave empty entries behind, whatever the
  // first one finds.
  const std::string v1 = tg.extensionKeywords[d];
  const std::string v2 = tg.extensionKeywords[trimmed(d)];
  if (!v1.empty()) {
    lines.insert("-ex " + v1);
  } else if (!v2.empty()) {
    lines.insert("-ex " + v2);
    lines.insert(quoted_define(tg, c.keyword, trimmed(d)));
  } else if (written) {
    return;
  } else if (c.verdict == "decl") {
    declare_register(tg, c.keyword);
  } else {
    lines.insert(quoted_define(tg, c.keyword, c.verdict));
  }
}

// A keyword that compiled in a position other than a type's.
static void apply_verdict(TesselGen& tg, const KeywordCase& c,
                          std::set<std::string>& lines) {
  std::string standard;
  if (decoratedStandardKeyword(tg, c.keyword, &standard)) {
    lines.insert(quoted_define(tg, c.keyword, standard));
    if (tg.isC) {
      check_extension(tg, c, standard, true, lines);
    }
    return;
  }
  if (tg.isC) {
    check_extension(tg, c, c.keyword, false, lines);
  } else if (c.verdict == "decl") {
    declare_register(tg, c.keyword);
  } else {
    lines.insert(quoted_define(tg, c.keyword, c.verdict));
  }
}

std::string ClassifyAccessKeyword(TesselGen& tg, const std::string& keyword) {
  const std::string member = "class X {" + keyword + ":int a;};\n";
  if (!compileTypeTest(tg, member, nullptr, nullptr)) {
    return std::string();
  }
  if (compileTypeTest(tg, member + "X x;\nint main() {x.a = 3;}\n", nullptr,
                      nullptr)) {
    return "public";
  }
  if (compileTypeTest(
          tg, member + "class Y : public X {void x(void) {int b = a;}};\n",
          nullptr, nullptr)) {
    return "protected";
  }
  return "private";
}

// A keyword that compiled in no position: an access specifier (C++), a
// decorated standard keyword, a configured replacement, or nothing and a
// line for the user to review.
static void apply_no_position(TesselGen& tg, const std::string& keyword,
                              std::set<std::string>& lines) {
  const std::string access =
      tg.isC ? std::string() : ClassifyAccessKeyword(tg, keyword);
  std::string standard;
  if (!access.empty()) {
    lines.insert(quoted_define(tg, keyword, access));
  } else if (decoratedStandardKeyword(tg, keyword, &standard)) {
    lines.insert(quoted_define(tg, keyword, standard));
  } else {
    const std::string replacement = tg.replaceKeywords[keyword];
    if (replacement.empty()) {
      tg.ReviewLines.push_back(tg.DefinePrefix + keyword + "=");
      lines.insert(tg.DefinePrefix + keyword + "=");
    } else {
      if (replacement.find("_KIV_STRINGIFY") != std::string::npos) {
        lines.insert(tg.DefinePrefix + "_KIV_STRINGIFY(x)=#x");
      }
      lines.insert(tg.DefinePrefix + keyword + "=" + replacement);
    }
  }
}

// Runs the position tests in order; the first that compiles gives the
// verdict. False when none compiles.
static bool first_position(TesselGen& tg, const std::set<std::string>& tests,
                           const std::string& keyword, std::string* verdict) {
  for (const std::string& test : tests) {
    if (runTestFile(tg, test, "XXX=" + keyword + " ", verdict)) {
      return true;
    }
  }
  return false;
}

// Decides one keyword, adding its lines or its type.
static void decide_keyword(TesselGen& tg, const std::set<std::string>& tests,
                           const std::string& keyword,
                           ContextKeywordFindings& found) {
  if (keyword.find("__builtin_") != std::string::npos ||
      keyword.find("_builtin_") != std::string::npos) {
    // The map's value carries its own "=" and replacement.
    const std::string builtin = tg.builtinReplaceKeywords[keyword];
    if (!builtin.empty()) {
      found.lines.insert(tg.DefinePrefix + builtin);
    }
    return;
  }
  KeywordCase c{keyword, std::string()};
  if (!first_position(tg, tests, keyword, &c.verdict)) {
    apply_no_position(tg, keyword, found.lines);
  } else if (c.verdict == "type") {
    found.typeKeywords.insert(keyword);
  } else {
    apply_verdict(tg, c, found.lines);
  }
}

ContextKeywordFindings DecideContextKeywords(TesselGen& tg, bool contextMode) {
  tg.log.info(std::string("Conducting ") +
              (contextMode ? "Context Dependent " : "") + "Keyword Tests");
  const std::set<std::string> tests =
      ListTestDirectory(tg, test_directory(tg, contextMode));
  ContextKeywordFindings found;
  if (!contextMode) {
    found.lines.insert(tg.DefinePrefix + "kiv_ignore_paren=_ignore_paren");
    found.lines.insert(tg.DefinePrefix + kQuote +
                       "_kiv_null_expression=0 kiv_ignore_paren" + kQuote);
  }
  if (!tg.isC) {
    std::set<std::string> kept;
    std::set_difference(
        tg.extensionKeywordsFound.begin(), tg.extensionKeywordsFound.end(),
        tg.ignoreReservedWords.begin(), tg.ignoreReservedWords.end(),
        std::inserter(kept, kept.end()));
    tg.extensionKeywordsFound = kept;
  }
  tg.progressStart(static_cast<uint32_t>(tg.extensionKeywordsFound.size()));
  for (const std::string& keyword : tg.extensionKeywordsFound) {
    decide_keyword(tg, tests, keyword, found);
    tg.progressStep();
  }
  tg.progressEnd();
  return found;
}

void ScanContextKeywords(TesselGen& tg, std::ostream& personality,
                         bool contextMode) {
  const ContextKeywordFindings found = DecideContextKeywords(tg, contextMode);
  for (const std::string& line : found.lines) {
    personality << line << "\n";
  }
  RunKeywordTypePass(tg, found.typeKeywords, personality);
}
