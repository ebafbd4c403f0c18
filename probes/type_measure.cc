#include "probes/type_measure.h"

#include <cctype>
#include <cstdint>
#include <cstdio>
#include <initializer_list>
#include <optional>
#include <string>
#include <vector>

#include "app/tessel_gen.h"
#include "harness/compile_harness.h"
#include "harness/globals.h"
#include "util/text.h"

const char kTypeTest[] = "tmp_typetest";
const char kTypeAlign[] = "tmp_typealign";

namespace {

// Makes the function-pointer type name exist in every test of "codeptr".
const char kCodePtrTypedef[] = "typedef void (*zorv_fun) ();\n";

// One probe of the unique-byte method: the value and how it is looked for
// in an object (the byte itself, or its two hex digits in a text object).
struct UniqueByte {
  int value = 0;
  std::string needle;
};

// The four compile-only variants: a char array of growing length ahead of
// the member, with a string initialiser that fills it.
struct AlignVariant {
  const char* member;
  const char* initialiser;
};
const AlignVariant kVariants[4] = {
    {"c[1]", ""}, {"c[2]", "A"}, {"c[4]", "AAA"}, {"c[8]", "AAAAAAA"}};

}  // namespace

// The "using the default value" message. Some failures print it with a
// leading "~" and some without; both forms are part of the console text.
static void report_default(TesselGen& tg, const std::string& name, bool tilde) {
  *tg.out << (tilde ? "~" : "") << "Couldn't determine size of " << name
          << " - using the default value" << std::endl;
}

static std::string lower_case(std::string text) {
  for (char& c : text) {
    c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  }
  return text;
}

static std::string type_object() { return std::string(kTypeTest) + S_OBJEXT; }

// Existence, arithmetic and integer tests. Returns false when the type does
// not compile at all; otherwise `type.kind` is set.
static bool classify_type(TesselGen& tg, const std::string& prefix,
                          TypeRecord& type) {
  const std::string& n = type.name;
  if (!compileTypeTest(tg, prefix + kMainStart + n + " a; }\n", nullptr,
                       nullptr)) {
    report_default(tg, n, true);
    return false;
  }
  if (!compileTypeTest(tg,
                       prefix + kMainStart + n + " q;" + n + " p; p = 2*q;}\n",
                       nullptr, nullptr)) {
    type.kind = kPointerKind;
    return true;
  }
  bool integer = compileTypeTest(
      tg, prefix + kMainStart + n + " x; x = ((" + n + ")1)%1;}\n", nullptr,
      nullptr);
  type.kind = integer ? kIntegerKind : kFloatingKind;
  return true;
}

// Native mode: a program prints sizeof. std::stoi throws on output that
// does not start with a number; that ends the run on purpose.
static void native_size(TesselGen& tg, const std::string& prefix,
                        TypeRecord& type) {
  ProgramRunOptions options;
  // The build's error messages stay behind in "stderr.log".
  options.dropBuildErrors = false;
  const std::optional<std::string> printed = build_and_run_program(
      tg, kTypeTest + sourceExtension(tg),
      printfDeclaration(tg) + "\n" + prefix + "\n" +
          "int main() { printf(\"%d\", sizeof(" + type.name + ")); }\n",
      options);
  if (!printed) {
    report_default(tg, type.name, false);
    return;
  }
  type.bits = std::stoi(*printed) * 8;
}

// The size whose encoding of 0.1 occurs in a binary object, or 0. The
// 96-bit test comes before the 80-bit one on purpose.
static int binary_float_bits(const std::string& object) {
  if (contains(object, std::string("\xCC\xCC\x3D", 3))) {
    return 32;
  }
  if (contains(object, std::string("\x99\xB9\x3F", 3))) {
    return 64;
  }
  if (contains(object, std::string("\xFB\x3F\x00\x00", 4))) {
    return 96;
  }
  if (contains(object, std::string("\xCC\xFB\x3F", 3))) {
    return 80;
  }
  return 0;
}

static bool contains_all(const std::string& text,
                         std::initializer_list<const char*> pieces) {
  for (const char* piece : pieces) {
    if (!contains(text, piece)) {
      return false;
    }
  }
  return true;
}

// The same for a lower-cased text object: each byte of the pattern is
// looked for on its own, anywhere in the text.
static int text_float_bits(const std::string& text) {
  if (contains_all(text, {"cc", "3d"})) {
    return 32;
  }
  if (contains_all(text, {"99", "b9", "3f"})) {
    return 64;
  }
  if (contains_all(text, {"fb", "3f", "00"})) {
    return 96;
  }
  if (contains_all(text, {"cc", "fb", "3f"})) {
    return 80;
  }
  return 0;
}

// Cross mode, floating types: two 0.1 initialisers and a search of the
// object for the encodings of 0.1 in each size.
static void cross_floating_size(TesselGen& tg, const std::string& prefix,
                                TypeRecord& type) {
  const std::string& n = type.name;
  compileTypeTest(tg,
                  prefix + n + " i[2] = {(" + n + ")0.1L,(" + n + ")0.1L};\n",
                  nullptr, nullptr);
  if (!canOpen(type_object())) {
    report_default(tg, n, false);
    return;
  }
  std::string object = readWholeFile(type_object());
  bool binary = S_OBJ_IS_BINARY != 0;
  int bits =
      binary ? binary_float_bits(object) : text_float_bits(lower_case(object));
  if (bits == 0) {
    report_default(tg, n, binary);
    return;
  }
  type.bits = bits;
}

// Up to eight byte values, 1 to 255 in order, that occur nowhere in the
// reference object (as bytes, or as two hex digits in a lower-cased text).
static std::vector<UniqueByte> unique_bytes(const std::string& reference,
                                            bool binary) {
  std::vector<UniqueByte> found;
  for (int value = 1; value <= 255 && found.size() < 8; ++value) {
    UniqueByte probe;
    probe.value = value;
    if (binary) {
      probe.needle = std::string(1, static_cast<char>(value));
    } else {
      char hex[3];
      std::snprintf(hex, sizeof hex, "%02x", value);
      probe.needle = hex;
    }
    if (!contains(reference, probe.needle)) {
      found.push_back(probe);
    }
  }
  return found;
}

// Cross mode, integers and pointers: a constant grows by one unique byte per
// attempt, most significant first, until the object no longer holds all of
// them; the bytes that survived are the size.
static void cross_integer_size(TesselGen& tg, const std::string& prefix,
                               TypeRecord& type) {
  const std::string& n = type.name;
  std::string suffix = "L";
  bool longLong = compileTypeTest(tg, "int i = 1LL;\n", nullptr, nullptr);
  if (type.kind == kIntegerKind && longLong) {
    suffix = "LL";
  }
  if (!compileTypeTest(tg, prefix + n + " i = (" + n + ")1;\n", nullptr,
                       nullptr)) {
    report_default(tg, n, true);
    return;
  }
  bool binary = S_OBJ_IS_BINARY != 0;
  auto read_object = [binary]() {
    std::string object = readWholeFile(type_object());
    return binary ? object : lower_case(object);
  };
  std::vector<UniqueByte> unique = unique_bytes(read_object(), binary);
  if (unique.size() < 8) {
    if (binary) {
      report_default(tg, n, false);
    } else {
      *tg.out << "Couldn't find 8 unique bytes!" << std::endl;
    }
    return;
  }
  std::string constant = "0x";
  int attempt = 1;
  for (; attempt <= 8; ++attempt) {
    char hex[3];
    std::snprintf(hex, sizeof hex, "%02x", unique[attempt - 1].value);
    constant += hex;
    if (!compileTypeTest(
            tg, prefix + n + " i = (" + n + ")" + constant + suffix + ";\n",
            nullptr, nullptr)) {
      break;
    }
    std::string object = read_object();
    int kept = 0;
    while (kept < attempt && contains(object, unique[kept].needle)) {
      ++kept;
    }
    if (kept < attempt) {
      break;
    }
  }
  type.bits = (attempt - 1) * 8;
}

static void decide_signedness(TesselGen& tg, const std::string& prefix,
                              TypeRecord& type) {
  if (type.kind == kIntegerKind && prefix.empty()) {
    // A signed type makes the array size negative and the compile fail.
    std::string signedText;
    type.isUnsigned = compileTypeTest(tg, "int a[(" + type.name + ")-1];\n",
                                      nullptr, &signedText)
                          ? 1
                          : 0;
    if (type.isUnsigned == 0) {
      // An unsigned type whose all-ones value is too large for an array
      // bound fails too, but in the words used for the same-sized
      // "unsigned" scalar type.
      std::string match = MatchScalarType(tg, type).name;
      std::string unsignedText;
      compileTypeTest(tg, "int a[(unsigned " + match + ")-1];\n", nullptr,
                      &unsignedText);
      // Messages that differ only in numbers and layout are the same.
      if (drop_digits_and_space(signedText) ==
          drop_digits_and_space(unsignedText)) {
        type.isUnsigned = 1;
      }
    }
  } else if (!prefix.empty()) {
    if (type.name == "size_t" || type.name == "wchar_t") {
      type.isUnsigned = 1;
    } else if (type.name == "ptrdiff_t") {
      type.isUnsigned = 0;
    }
  }
}

void FindTypeSize(TesselGen& tg, const std::string& prefix, TypeRecord& type) {
  std::string p = prefix;
  if (type.personalityName == "codeptr") {
    p += kCodePtrTypedef;
  }
  if (!classify_type(tg, p, type)) {
    return;
  }
  if (!tg.isCross) {
    native_size(tg, p, type);
  } else if (type.kind == kFloatingKind) {
    cross_floating_size(tg, p, type);
  } else {
    cross_integer_size(tg, p, type);
  }
  decide_signedness(tg, p, type);
}

const TypeRecord& MatchScalarType(TesselGen& tg, const TypeRecord& type) {
  for (const TypeRecord& scalar : tg.scalarTypes) {
    if (scalar.kind == type.kind && scalar.bits == type.bits) {
      return scalar;
    }
  }
  static const TypeRecord kPlainInt{"int", kIntegerKind, 32, 4, 0, "int"};
  const TypeRecord& fallback =
      tg.scalarTypes.empty() ? kPlainInt : tg.scalarTypes.front();
  *tg.out << "~Couldn't match type '" << type.name
          << "' to any scalar type, using type " << fallback.name << std::endl;
  return fallback;
}

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
