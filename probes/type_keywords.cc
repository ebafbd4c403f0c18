#include "probes/type_keywords.h"

#include <cstdint>
#include <string>
#include <vector>

#include "app/tessel_gen.h"
#include "harness/compile_harness.h"
#include "probes/type_measure.h"

namespace {

// Where the library types may be declared, tried in this order; the last,
// empty prefix tries the bare name.
const char* const kIntrinsicPrefixes[4] = {kIncludeStddef, kIncludeStdio,
                                           kIncludeStdlib, ""};

}  // namespace

// A record of the two passes: name and personality name are the spelling,
// everything else starts at 0, so bits 0 afterwards means "not learned".
static TypeRecord blank_record(const std::string& spelling) {
  TypeRecord record;
  record.name = spelling;
  record.personalityName = spelling;
  return record;
}

// The library types to test. C++ has "wchar_t" built in; it is tested only
// when the bare name does not compile.
static std::vector<TypeRecord> intrinsic_list(TesselGen& tg) {
  std::vector<TypeRecord> list = {blank_record("size_t"),
                                  blank_record("ptrdiff_t")};
  if (tg.isC) {
    list.push_back(blank_record("wchar_t"));
  } else {
    TypeRecord wide = blank_record("wchar_t");
    FindTypeSize(tg, "", wide);
    if (wide.bits == 0) {
      list.push_back(wide);
    }
  }
  return list;
}

void RunIntrinsicTypePass(TesselGen& tg, std::ostream& personality) {
  std::vector<TypeRecord> list = intrinsic_list(tg);
  const std::string title =
      "Conducting Intrinsic Type Tests(" + std::to_string(list.size()) + ")...";
  *tg.out << "\n" << title << std::endl;
  tg.log.info(title);
  tg.progressStart(static_cast<uint32_t>(list.size()));
  for (TypeRecord& type : list) {
    tg.progressStep();
    for (const char* prefix : kIntrinsicPrefixes) {
      FindTypeSize(tg, prefix, type);
      if (type.bits != 0) {
        break;
      }
    }
    if (type.bits == 0) {
      *tg.out << type.name << " test failed, " << type.name
              << " may not be a type, however if it is please check that "
                 "stddef.h/stdio.h/stdlib.h exists and is on the compile path"
              << std::endl;
      continue;
    }
    const TypeRecord& match = MatchScalarType(tg, type);
    personality << "-it \"" << type.name << "="
                << (type.isUnsigned ? "unsigned " : "signed ")
                << match.personalityName << "\"\n";
  }
  tg.progressEnd();
}

void RunKeywordTypePass(TesselGen& tg, const std::set<std::string>& keywords,
                        std::ostream& personality) {
  const std::string title = "Conducting Keyword Type Tests(" +
                            std::to_string(keywords.size()) + ")...";
  *tg.out << "\n" << title << std::endl;
  tg.log.info(title);
  tg.progressStart(static_cast<uint32_t>(keywords.size()));
  for (const std::string& keyword : keywords) {
    tg.progressStep();
    tg.log.info("Testing keyword: " + keyword);
    TypeRecord type = blank_record(keyword);
    FindTypeSize(tg, "", type);
    // A keyword whose size was not learned still gets a line, as "int".
    const std::string match = MatchScalarType(tg, type).name;
    personality << tg.DefinePrefix << "\"" << keyword << "="
                << (type.isUnsigned ? "unsigned " : "") << match << "\"\n";
    if (tg.isC && match == "long long") {
      personality << "-ex longlong\n";
    }
  }
  tg.progressEnd();
}
