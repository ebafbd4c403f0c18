// The size procedure and the scalar pass against the fake compiler, which
// plays a compiler with a table of types (type_fake_model.h).
#include <gtest/gtest.h>

#include <cstdio>
#include <sstream>
#include <stdexcept>

#include "harness/globals.h"
#include "probes/type_measure.h"
#include "probes/type_sizes.h"
#include "tests/stage/types/type_fake_model.h"
#include "tests/support/test_support.h"

using tessel_test::FakeRun;
using tessel_test::Lp64Table;
using tessel_test::ReadFile;
using tessel_test::ScratchDir;
using tessel_test::TypeModelRules;
using tessel_test::WriteFakeRules;

namespace {

const char kScalarProgress[] =
    "\nConducting Scalar Type Tests(10)...\n"
    "[  0%]~[ 10%]~[ 20%]~[ 30%]~[ 40%]~[ 50%]~[ 60%]~[ 70%]~[ 80%]~[ 90%]"
    "~[100%]~\n";
const char kIntrinsicProgress3[] =
    "\nConducting Intrinsic Type Tests(3)...\n"
    "[  0%]~[ 33%]~[ 66%]~[100%]~\n";
const char kIntrinsicProgress2[] =
    "\nConducting Intrinsic Type Tests(2)...\n"
    "[  0%]~[ 50%]~[100%]~\n";

// The size procedure alone on a fresh record.
TypeRecord Sized(FakeRun& run, const std::string& name,
                 const std::string& prefix = "") {
  TypeRecord type;
  type.name = name;
  type.personalityName = name;
  FindTypeSize(*run.tg, prefix, type);
  return type;
}

}  // namespace

TEST(TypeSizesStage, BasicTypeTableHasTenTypesWithTheirDefaults) {
  ScratchDir scratch;
  FakeRun run(true, false);
  SetupBasicTypes(*run.tg);
  std::ostringstream table;
  for (const TypeRecord& t : run.tg->scalarTypes) {
    table << t.name << "|" << t.personalityName << "|" << t.kind << "|"
          << t.bits << "|" << t.align << "|" << t.isUnsigned << "\n";
  }
  EXPECT_EQ(
      "int|int|0|32|4|0\n"
      "char|char|0|8|1|0\n"
      "short|short|0|16|2|0\n"
      "long|long|0|32|4|0\n"
      "long long|longlong|0|64|8|0\n"
      "float|float|2|32|4|0\n"
      "double|double|2|64|8|0\n"
      "long double|ldouble|2|64|8|0\n"
      "int*|dataptr|1|32|4|0\n"
      "zorv_fun|codeptr|1|32|4|0\n",
      table.str());
}

TEST(TypeSizesStage, NativeScalarPassWritesSizesAlignmentsAndCharSign) {
  ScratchDir scratch;
  FakeRun run(true, false);
  WriteFakeRules(TypeModelRules(Lp64Table()));
  SetupBasicTypes(*run.tg);
  std::ostringstream personality;
  RunScalarPass(*run.tg, personality);
  EXPECT_EQ(
      "-s int=32\n-a int=4\n"
      "-s char=8\n-a char=1\n-u-\n"
      "-s short=16\n-a short=2\n"
      "-s long=64\n-a long=8\n"
      "-s longlong=64\n-a longlong=8\n"
      "-s float=32\n-a float=4\n"
      "-s double=64\n-a double=8\n"
      "-s ldouble=128\n-a ldouble=16\n"
      "-s dataptr=64\n-a dataptr=8\n"
      "-s codeptr=64\n-a codeptr=8\n"
      "-it \"size_t=unsigned long\"\n"
      "-it \"ptrdiff_t=signed long\"\n"
      "-it \"wchar_t=unsigned int\"\n",
      personality.str());
  EXPECT_EQ(std::string(kScalarProgress) + kIntrinsicProgress3,
            run.console.str());
  EXPECT_NE(std::string::npos,
            ReadFile(run.tg->log.fileName())
                .find("[INFO] Conducting Scalar Type Tests(10)..."));
}

TEST(TypeSizesStage, CrossScalarPassReadsSizesOutOfObjects) {
  ScratchDir scratch;
  FakeRun run(true, true);
  WriteFakeRules(TypeModelRules(Lp64Table()));
  SetupBasicTypes(*run.tg);
  std::ostringstream personality;
  RunScalarPass(*run.tg, personality);
  // The 16-byte x87 long double holds FB 3F 00 00 after its mantissa, so the
  // byte-pattern method reports 96 bits; the compile-only alignment method
  // reports at most 8.
  EXPECT_EQ(
      "-s int=32\n-a int=4\n"
      "-s char=8\n-a char=1\n-u-\n"
      "-s short=16\n-a short=2\n"
      "-s long=64\n-a long=8\n"
      "-s longlong=64\n-a longlong=8\n"
      "-s float=32\n-a float=4\n"
      "-s double=64\n-a double=8\n"
      "-s ldouble=96\n-a ldouble=8\n"
      "-s dataptr=64\n-a dataptr=8\n"
      "-s codeptr=64\n-a codeptr=8\n"
      "-it \"size_t=unsigned long\"\n"
      "-it \"ptrdiff_t=signed long\"\n"
      "-it \"wchar_t=unsigned int\"\n",
      personality.str());
  EXPECT_EQ(std::string(kScalarProgress) + kIntrinsicProgress3,
            run.console.str());
}

TEST(TypeSizesStage, CrossScalarPassReadsTextObjects) {
  ScratchDir scratch;
  FakeRun run(true, true);
  S_OBJ_IS_BINARY = 0;
  // A small 8-bit target: 16-bit int and pointers, 32-bit double, unsigned
  // char, everything aligned to 1.
  WriteFakeRules(
      TypeModelRules("model_type int 2 1 1 i\n"
                     "model_type char 1 1 0 i\n"
                     "model_type short 2 1 1 i\n"
                     "model_type long 4 1 1 i\n"
                     "model_type 'long long' 8 1 1 i\n"
                     "model_type float 4 1 1 f\n"
                     "model_type double 4 1 1 f\n"
                     "model_type 'long double' 4 1 1 f\n"
                     "model_type 'int*' 3 1 0 p\n"
                     "model_type zorv_fun 2 1 0 p 'typedef void (*zorv_fun)'\n"
                     "model_type size_t 2 1 0 i '#include <stddef.h>'\n"
                     "model_type ptrdiff_t 2 1 1 i '#include <stddef.h>'\n"
                     "model_type wchar_t 1 1 0 i '#include <stddef.h>'\n",
                     "TEXT_OBJECTS=1\n"));
  SetupBasicTypes(*run.tg);
  std::ostringstream personality;
  RunScalarPass(*run.tg, personality);
  EXPECT_EQ(
      "-s int=16\n-a int=1\n"
      "-s char=8\n-a char=1\n-u+\n"
      "-s short=16\n-a short=1\n"
      "-s long=32\n-a long=1\n"
      "-s longlong=64\n-a longlong=1\n"
      "-s float=32\n-a float=1\n"
      "-s double=32\n-a double=1\n"
      "-s ldouble=32\n-a ldouble=1\n"
      "-s dataptr=24\n-a dataptr=1\n"
      "-s codeptr=16\n-a codeptr=1\n"
      "-it \"size_t=unsigned int\"\n"
      "-it \"ptrdiff_t=signed int\"\n"
      "-it \"wchar_t=unsigned char\"\n",
      personality.str());
  EXPECT_EQ(std::string(kScalarProgress) + kIntrinsicProgress3,
            run.console.str());
}

TEST(TypeSizesStage, CppScalarPassWritesNoCharSignLine) {
  ScratchDir scratch;
  FakeRun run(false, false);
  WriteFakeRules(TypeModelRules(Lp64Table(true)));
  SetupBasicTypes(*run.tg);
  std::ostringstream personality;
  RunScalarPass(*run.tg, personality);
  EXPECT_EQ(
      "-s int=32\n-a int=4\n"
      "-s char=8\n-a char=1\n"
      "-s short=16\n-a short=2\n"
      "-s long=64\n-a long=8\n"
      "-s longlong=64\n-a longlong=8\n"
      "-s float=32\n-a float=4\n"
      "-s double=64\n-a double=8\n"
      "-s ldouble=128\n-a ldouble=16\n"
      "-s dataptr=64\n-a dataptr=8\n"
      "-s codeptr=64\n-a codeptr=8\n"
      "-it \"size_t=unsigned long\"\n"
      "-it \"ptrdiff_t=signed long\"\n",
      personality.str());
  EXPECT_EQ(std::string(kScalarProgress) + kIntrinsicProgress2,
            run.console.str());
}

TEST(TypeSizesStage, TypeThatDoesNotCompileKeepsDefaultsAndAlignsTo8) {
  ScratchDir scratch;
  FakeRun run(true, true);
  WriteFakeRules(TypeModelRules(
      "model_type int 4 4 1 i\n",
      "custom_rule() { has 'long double' && fail 'error: no long double'; "
      "return 1; }\n"));
  SetupBasicTypes(*run.tg);
  TypeRecord& ldouble = run.tg->scalarTypes[7];
  FindTypeSize(*run.tg, "", ldouble);
  FindAlignment(*run.tg, ldouble);
  EXPECT_EQ(2, ldouble.kind);
  EXPECT_EQ(64, ldouble.bits);
  EXPECT_EQ(8, ldouble.align);
  EXPECT_EQ(
      "~Couldn't determine size of long double - using the default value\n",
      run.console.str());
}

TEST(TypeSizesStage, UncompilableTypeIsStillWrittenWithItsDefaultSize) {
  ScratchDir scratch;
  FakeRun run(true, false);
  WriteFakeRules(TypeModelRules(
      Lp64Table(), "custom_rule() { has 'long double' && fail; return 1; }\n"));
  SetupBasicTypes(*run.tg);
  std::ostringstream personality;
  RunScalarPass(*run.tg, personality);
  EXPECT_NE(std::string::npos,
            personality.str().find("-s double=64\n-a double=8\n"
                                   "-s ldouble=64\n-a ldouble=8\n"
                                   "-s dataptr=64\n"));
  EXPECT_NE(std::string::npos,
            run.console.str().find("~[ 80%]~Couldn't determine size of long "
                                   "double - using the default value\n~[ 90%]"))
      << run.console.str();
}

TEST(TypeSizesStage, NinetySixBitPatternWinsOverEightyBit) {
  ScratchDir scratch;
  FakeRun run(true, true);
  WriteFakeRules(TypeModelRules("model_type 'long double' 12 4 1 f\n"));
  EXPECT_EQ(96, Sized(run, "long double").bits);
  EXPECT_EQ("", run.console.str());
}

TEST(TypeSizesStage, EightyBitPatternWithoutPadding) {
  ScratchDir scratch;
  FakeRun run(true, true);
  WriteFakeRules(TypeModelRules("model_type 'long double' 10 2 1 f\n"));
  TypeRecord type = Sized(run, "long double");
  EXPECT_EQ(2, type.kind);
  EXPECT_EQ(80, type.bits);
}

TEST(TypeSizesStage, TextObjectFloatPatternsAreSeparateDigitPairs) {
  ScratchDir scratch;
  FakeRun run(true, true);
  S_OBJ_IS_BINARY = 0;
  WriteFakeRules(TypeModelRules("", R"(custom_rule() {
  case "$FAKE_TEXT" in
    *'i[2]'*) object_text 'X 3F 00 Y FB';;
    *'p = 2*q'*|*'a; }'*) ;;
    *'%1'*) fail 'not integer';;
  esac
  return 0
}
)"));
  EXPECT_EQ(96, Sized(run, "real").bits);
  EXPECT_EQ("", run.console.str());
}

TEST(TypeSizesStage, FloatWithoutPatternInBinaryObjectKeepsDefault) {
  ScratchDir scratch;
  FakeRun run(true, true);
  WriteFakeRules(TypeModelRules("model_type float 6 2 1 f\n"));
  TypeRecord type = Sized(run, "float");
  EXPECT_EQ(0, type.bits);
  EXPECT_EQ("~Couldn't determine size of float - using the default value\n",
            run.console.str());
}

TEST(TypeSizesStage, FloatWithoutPatternInTextObjectHasNoTilde) {
  ScratchDir scratch;
  FakeRun run(true, true);
  S_OBJ_IS_BINARY = 0;
  WriteFakeRules(
      TypeModelRules("model_type float 6 2 1 f\n", "TEXT_OBJECTS=1\n"));
  Sized(run, "float");
  EXPECT_EQ("Couldn't determine size of float - using the default value\n",
            run.console.str());
}

TEST(TypeSizesStage, MissingFloatObjectHasNoTilde) {
  ScratchDir scratch;
  FakeRun run(true, true);
  WriteFakeRules(TypeModelRules(
      "model_type double 8 8 1 f\n",
      "custom_rule() { has 'i[2]' && fail 'error: no'; return 1; }\n"));
  EXPECT_EQ(0, Sized(run, "double").bits);
  EXPECT_EQ("Couldn't determine size of double - using the default value\n",
            run.console.str());
}

TEST(TypeSizesStage, PointerNeverUsesTheLongLongSuffix) {
  ScratchDir scratch;
  FakeRun run(true, true);
  WriteFakeRules(TypeModelRules(Lp64Table()));
  TypeRecord type = Sized(run, "int*");
  EXPECT_EQ(1, type.kind);
  EXPECT_EQ(64, type.bits);
  std::string sources = ReadFile("sources.log");
  EXPECT_NE(std::string::npos,
            sources.find("int* i = (int*)0x0203040506070809L;\n----\n"));
  EXPECT_NE(std::string::npos, sources.find("int i = 1LL;\n"));
  EXPECT_EQ(std::string::npos, sources.find("(int*)0x02LL"));
  EXPECT_EQ(std::string::npos, sources.find("09LL"));
}

TEST(TypeSizesStage, IntegerUsesLongLongSuffixOnlyWhenAccepted) {
  ScratchDir scratch;
  FakeRun run(true, true);
  WriteFakeRules(TypeModelRules(Lp64Table()));
  SetupBasicTypes(*run.tg);
  EXPECT_EQ(16, Sized(run, "short").bits);
  std::string sources = ReadFile("sources.log");
  EXPECT_EQ(
      "int main(void) {short a; }\n----\n"
      "int main(void) {short q;short p; p = 2*q;}\n----\n"
      "int main(void) {short x; x = ((short)1)%1;}\n----\n"
      "int i = 1LL;\n----\n"
      "short i = (short)1;\n----\n"
      "short i = (short)0x02LL;\n----\n"
      "short i = (short)0x0203LL;\n----\n"
      "short i = (short)0x020304LL;\n----\n"
      "int a[(short)-1];\n----\n"
      "int a[(unsigned short)-1];\n----\n",
      sources);

  WriteFakeRules(TypeModelRules(Lp64Table(), "NO_LL=1\n"));
  std::remove("sources.log");
  EXPECT_EQ(16, Sized(run, "short").bits);
  EXPECT_NE(std::string::npos,
            ReadFile("sources.log").find("short i = (short)0x020304L;\n"));
}

TEST(TypeSizesStage, EightByteIntegerTakesAllEightAttempts) {
  ScratchDir scratch;
  FakeRun run(true, true);
  WriteFakeRules(TypeModelRules(Lp64Table()));
  EXPECT_EQ(64, Sized(run, "long long").bits);
  EXPECT_NE(std::string::npos,
            ReadFile("sources.log")
                .find("long long i = (long long)0x0203040506070809LL;\n"));
}

TEST(TypeSizesStage, SizeZeroFromFirstAttemptSuppressesSizeLines) {
  ScratchDir scratch;
  FakeRun run(true, true);
  // The short constant never shows up in the object.
  WriteFakeRules(TypeModelRules(Lp64Table(), R"(custom_rule() {
  [[ $FAKE_TEXT == 'short i = (short)0x'* ]] || return 1
  object_bytes 'FAKEOBJ\n'
}
)"));
  SetupBasicTypes(*run.tg);
  std::ostringstream personality;
  RunScalarPass(*run.tg, personality);
  EXPECT_NE(std::string::npos,
            personality.str().find("-u-\n-s long=64\n-a long=8\n"));
  EXPECT_EQ(std::string::npos, personality.str().find("short"));
  EXPECT_EQ(0, run.tg->scalarTypes[2].bits);
}

TEST(TypeSizesStage, MissingReferenceObjectHasTilde) {
  ScratchDir scratch;
  FakeRun run(true, true);
  WriteFakeRules(TypeModelRules(
      Lp64Table(),
      "custom_rule() { has 'i = (int)1;' && fail 'error'; return 1; }\n"));
  EXPECT_EQ(0, Sized(run, "int").bits);
  // The signedness test still runs and finds no scalar type of size 0.
  EXPECT_EQ(
      "~Couldn't determine size of int - using the default value\n"
      "~Couldn't match type 'int' to any scalar type, using type int\n",
      run.console.str());
}

TEST(TypeSizesStage, FewerThanEightUniqueBytesInBinaryObject) {
  ScratchDir scratch;
  FakeRun run(true, true);
  // Every byte value but 0x07 is in the reference object.
  std::string all;
  for (int v = 1; v < 256; ++v) {
    if (v != 7) {
      char hex[8];
      std::snprintf(hex, sizeof hex, "\\x%02x", v);
      all += hex;
    }
  }
  WriteFakeRules(TypeModelRules(Lp64Table(),
                                "custom_rule() { has 'i = "
                                "(int)1;' || return 1; "
                                "object_bytes '" +
                                    all + "'; }\n"));
  EXPECT_EQ(0, Sized(run, "int").bits);
  EXPECT_EQ(
      "Couldn't determine size of int - using the default value\n"
      "~Couldn't match type 'int' to any scalar type, using type int\n",
      run.console.str());
}

TEST(TypeSizesStage, FewerThanEightUniqueBytesInTextObject) {
  ScratchDir scratch;
  FakeRun run(true, true);
  S_OBJ_IS_BINARY = 0;
  std::string all;
  for (int v = 1; v < 256; ++v) {
    char hex[8];
    std::snprintf(hex, sizeof hex, "%02X ", v);
    all += hex;
  }
  WriteFakeRules(
      TypeModelRules(Lp64Table(),
                     "custom_rule() { has 'i = (int)1;' || return 1; "
                     "object_text '" +
                         all + "'; }\n"));
  EXPECT_EQ(0, Sized(run, "int").bits);
  EXPECT_EQ(
      "Couldn't find 8 unique bytes!\n"
      "~Couldn't match type 'int' to any scalar type, using type int\n",
      run.console.str());
}

TEST(TypeSizesStage, MissingNativeProgramHasNoTilde) {
  ScratchDir scratch;
  FakeRun run(true, false);
  WriteFakeRules(TypeModelRules(
      Lp64Table(),
      "custom_rule() { [ $FAKE_MODE = program ] && fail 'ld: error'; "
      "return 1; }\n"));
  TypeRecord type = Sized(run, "long");
  EXPECT_EQ(0, type.bits);
  EXPECT_EQ(0, type.kind);
  EXPECT_EQ(
      "Couldn't determine size of long - using the default value\n"
      "~Couldn't match type 'long' to any scalar type, using type int\n",
      run.console.str());
}

TEST(TypeSizesStage, NativeOutputIsReadAsALeadingDecimalNumber) {
  ScratchDir scratch;
  FakeRun run(true, false);
  WriteFakeRules(TypeModelRules(Lp64Table(),
                                "custom_rule() { [ $FAKE_MODE = program ] || "
                                "return 1; program_prints '  2 bytes'; }\n"));
  EXPECT_EQ(16, Sized(run, "short").bits);
}

TEST(TypeSizesStage, NativeOutputWithoutNumberEndsInStoiError) {
  ScratchDir scratch;
  FakeRun run(true, false);
  WriteFakeRules(TypeModelRules(Lp64Table(),
                                "custom_rule() { [ $FAKE_MODE = program ] || "
                                "return 1; program_prints 'two'; }\n"));
  EXPECT_THROW(Sized(run, "short"), std::invalid_argument);
}

TEST(TypeSizesStage, UnsignedIntRejectedAsTooLargeIsFoundUnsigned) {
  ScratchDir scratch;
  FakeRun run(true, false);
  // int a[(uint32)-1] and int a[(unsigned int)-1] are both too large; the
  // messages differ only in the column number.
  WriteFakeRules(TypeModelRules(Lp64Table() + "model_type uint32 4 4 0 i\n",
                                "TOO_LARGE_BITS=32\n"));
  SetupBasicTypes(*run.tg);
  TypeRecord type = Sized(run, "uint32");
  EXPECT_EQ(32, type.bits);
  EXPECT_EQ(1, type.isUnsigned);
  std::string sources = ReadFile("sources.log");
  EXPECT_NE(std::string::npos,
            sources.find("int a[(uint32)-1];\n----\n"
                         "int a[(unsigned int)-1];\n----\n"));
}

TEST(TypeSizesStage, SignedTypeMessagesDifferFromUnsignedOnes) {
  ScratchDir scratch;
  FakeRun run(true, false);
  WriteFakeRules(TypeModelRules(Lp64Table() + "model_type int32 4 4 1 i\n",
                                "TOO_LARGE_BITS=32\n"));
  SetupBasicTypes(*run.tg);
  EXPECT_EQ(0, Sized(run, "int32").isUnsigned);
}

TEST(TypeSizesStage, PrefixDecidesSignednessByName) {
  ScratchDir scratch;
  FakeRun run(true, false);
  // The model says signed, but with a prefix the name decides.
  WriteFakeRules(
      TypeModelRules("model_type size_t 8 8 1 i\nmodel_type ptrdiff_t 8 8 0 i\n"
                     "model_type wchar_t 4 4 1 i\nmodel_type myint 4 4 0 i\n"));
  const std::string prefix = "#include <stddef.h>\n";
  EXPECT_EQ(1, Sized(run, "size_t", prefix).isUnsigned);
  EXPECT_EQ(0, Sized(run, "ptrdiff_t", prefix).isUnsigned);
  EXPECT_EQ(1, Sized(run, "wchar_t", prefix).isUnsigned);
  EXPECT_EQ(0, Sized(run, "myint", prefix).isUnsigned);
  EXPECT_EQ(std::string::npos, ReadFile("sources.log").find("int a["));
}

TEST(TypeSizesStage, CodePointerTestsCarryTheTypedef) {
  ScratchDir scratch;
  FakeRun run(true, false);
  WriteFakeRules(TypeModelRules(Lp64Table()));
  SetupBasicTypes(*run.tg);
  FindTypeSize(*run.tg, "", run.tg->scalarTypes[9]);
  EXPECT_EQ(64, run.tg->scalarTypes[9].bits);
  EXPECT_EQ(
      "typedef void (*zorv_fun) ();\nint main(void) {zorv_fun a; }\n----\n"
      "typedef void (*zorv_fun) ();\nint main(void) {zorv_fun q;zorv_fun p; "
      "p = 2*q;}\n----\n"
      "int printf(char *, ...);\ntypedef void (*zorv_fun) ();\n\n"
      "int main() { printf(\"%d\", sizeof(zorv_fun)); }\n----\n",
      ReadFile("sources.log"));
}

TEST(TypeSizesStage, ScalarMatchFallsBackToIntWithMessage) {
  ScratchDir scratch;
  FakeRun run(true, false);
  SetupBasicTypes(*run.tg);
  TypeRecord odd;
  odd.name = "int24";
  odd.bits = 24;
  EXPECT_EQ("int", MatchScalarType(*run.tg, odd).name);
  EXPECT_EQ("~Couldn't match type 'int24' to any scalar type, using type int\n",
            run.console.str());
  TypeRecord wide;
  wide.kind = 2;
  wide.bits = 64;
  EXPECT_EQ("double", MatchScalarType(*run.tg, wide).name);
}
