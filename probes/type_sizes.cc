#include "probes/type_sizes.h"

#include <cstdint>
#include <string>

#include "app/tessel_gen.h"
#include "harness/compile_harness.h"
#include "probes/type_keywords.h"
#include "probes/type_measure.h"

void SetupBasicTypes(TesselGen& tg) {
  tg.scalarTypes = {
      {"int", kIntegerKind, 32, 4, 0, "int"},
      {"char", kIntegerKind, 8, 1, 0, "char"},
      {"short", kIntegerKind, 16, 2, 0, "short"},
      {"long", kIntegerKind, 32, 4, 0, "long"},
      {"long long", kIntegerKind, 64, 8, 0, "longlong"},
      {"float", kFloatingKind, 32, 4, 0, "float"},
      {"double", kFloatingKind, 64, 8, 0, "double"},
      {"long double", kFloatingKind, 64, 8, 0, "ldouble"},
      {"int*", kPointerKind, 32, 4, 0, "dataptr"},
      {"zorv_fun", kPointerKind, 32, 4, 0, "codeptr"},
  };
}

void RunScalarPass(TesselGen& tg, std::ostream& personality) {
  const uint32_t count = static_cast<uint32_t>(tg.scalarTypes.size());
  const std::string title =
      "Conducting Scalar Type Tests(" + std::to_string(count) + ")...";
  *tg.out << "\n" << title << std::endl;
  tg.log.info(title);
  removeMatching(tg, kTypeTest);
  removeMatching(tg, kTypeAlign);
  tg.progressStart(count);
  for (TypeRecord& type : tg.scalarTypes) {
    tg.progressStep();
    FindTypeSize(tg, "", type);
    FindAlignment(tg, type);
    if (type.bits != 0) {
      personality << "-s " << type.personalityName << "=" << type.bits << "\n"
                  << "-a " << type.personalityName << "=" << type.align << "\n";
    }
    // Plain char's signedness, for the C analyser only.
    if (tg.isC && type.name == "char") {
      personality << (type.isUnsigned ? "-u+" : "-u-") << "\n";
    }
  }
  tg.progressEnd();
  RunIntrinsicTypePass(tg, personality);
}
