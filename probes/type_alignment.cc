#include "probes/type_alignment.h"

#include <cstdint>
#include <optional>
#include <string>

#include "app/tessel_gen.h"
#include "harness/compile_harness.h"

namespace {

const char kTypeAlign[] = "tmp_typealign";
const char kCodePtrTypedef[] = "typedef void (*zorv_fun) ();\n";

// The four compile-only variants: a char array of growing length ahead of
// the member, with a string initialiser that fills it.
struct AlignVariant {
  const char* member;
  const char* initialiser;
};
const AlignVariant kVariants[4] = {
    {"c[1]", ""}, {"c[2]", "A"}, {"c[4]", "AAA"}, {"c[8]", "AAAAAAA"}};

}  // namespace

// Native mode: sizeof(struct {char; T}) minus sizeof(T) is the alignment.
// The typedef of "codeptr" is not written here, so that type always falls
// through to the compile-only method. Returns 0 when nothing was learned.
static int native_alignment(TesselGen& tg, const TypeRecord& type) {
  const std::optional<std::string> printed = build_and_run_program(
      tg, kTypeAlign + sourceExtension(tg),
      printfDeclaration(tg) + "\n" + "struct X {char c;" + type.name +
          " d;};\n" + "int main() { printf(\"%d\", sizeof(struct X)); }\n",
      ProgramRunOptions());
  if (!printed) {
    return 0;
  }
  // Output that does not start with a number makes std::stoi throw, which
  // ends the run on purpose.
  return std::stoi(*printed) - type.bits / 8;
}

// Size of the structure of variant `v`: the object of 65 elements minus the
// object of one, over 64. Failed compiles are not looked at: their sizes
// take part as they are.
static int32_t structure_size(TesselGen& tg, const std::string& prefix,
                              const std::string& name, const AlignVariant& v) {
  const std::string head =
      prefix + "struct {char " + v.member + "; " + name + " d;} ";
  const std::string element =
      std::string("{\"") + v.initialiser + "\", (" + name + ")1}";
  uint32_t one = 0;
  compileTypeTest(tg, head + "x[1] = {" + element + "};\n", &one, nullptr);
  std::string many = head + "x[65] = {" + element + "\n";
  for (int i = 0; i < 64; ++i) {
    many += "," + element + "\n";
  }
  many += "};\n";
  uint32_t sixtyFive = 0;
  compileTypeTest(tg, many, &sixtyFive, nullptr);
  return static_cast<int32_t>(sixtyFive - one) / 64;
}

void FindAlignment(TesselGen& tg, TypeRecord& type) {
  const std::string prefix =
      type.personalityName == "codeptr" ? kCodePtrTypedef : "";
  type.align = 0;
  if (!tg.isCross) {
    type.align = native_alignment(tg, type);
    if (type.align != 0) {
      return;
    }
  }
  int32_t s[4];
  for (int i = 0; i < 4; ++i) {
    s[i] = structure_size(tg, prefix, type.name, kVariants[i]);
  }
  // The first longer char array that grows the structure shows how much
  // padding there was; 8 is the most this can tell.
  if (s[1] > s[0]) {
    type.align = 1;
  } else if (s[1] < s[2]) {
    type.align = 2;
  } else if (s[2] < s[3]) {
    type.align = 4;
  } else {
    type.align = 8;
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
