// The size procedure and the scalar pass against the fake compiler, which
// plays a compiler with a table of types (type_fake_model.h).
#include <gtest/gtest.h>

#include <sstream>
#include <stdexcept>

#include "harness/globals.h"
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
  WriteFakeRules(TypeModelRules(
      "model_type int 2 1 1 i\n"
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
