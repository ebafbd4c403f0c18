// The intrinsic type pass and the keyword type pass against the fake
// compiler.
#include <gtest/gtest.h>

#include <sstream>

#include "probes/type_keywords.h"
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

// A 32-bit "long" compiler: long 32 bits, long long 64 bits.
const char kIlp32LongLong[] =
    "model_type int 4 4 1 i\n"
    "model_type char 1 1 1 i\n"
    "model_type short 2 2 1 i\n"
    "model_type long 4 4 1 i\n"
    "model_type 'long long' 8 8 1 i\n"
    "model_type float 4 4 1 f\n"
    "model_type double 8 8 1 f\n"
    "model_type 'long double' 8 8 1 f\n"
    "model_type 'int*' 4 4 0 p\n"
    "model_type zorv_fun 4 4 0 p 'typedef void (*zorv_fun)'\n";

// The scalar table as the scalar pass leaves it, without running it.
void LearnScalarTypes(FakeRun& run) {
  SetupBasicTypes(*run.tg);
  for (TypeRecord& type : run.tg->scalarTypes) {
    FindTypeSize(*run.tg, "", type);
  }
}

}  // namespace

TEST(TypeKeywordsStage, CppBuiltInWcharIsLeftOut) {
  ScratchDir scratch;
  FakeRun run(false, false);
  WriteFakeRules(TypeModelRules(Lp64Table(true)));
  LearnScalarTypes(run);
  std::ostringstream personality;
  RunIntrinsicTypePass(*run.tg, personality);
  EXPECT_EQ(
      "-it \"size_t=unsigned long\"\n"
      "-it \"ptrdiff_t=signed long\"\n",
      personality.str());
  EXPECT_EQ(
      "\nConducting Intrinsic Type Tests(2)...\n"
      "[  0%]~[ 50%]~[100%]~\n",
      run.console.str());
  EXPECT_NE(std::string::npos,
            ReadFile(run.tg->log.fileName())
                .find("[INFO] Conducting Intrinsic Type Tests(2)..."));
}

TEST(TypeKeywordsStage, CppWcharFromHeaderWhenNotBuiltIn) {
  ScratchDir scratch;
  FakeRun run(false, false);
  WriteFakeRules(TypeModelRules(Lp64Table(false)));
  LearnScalarTypes(run);
  std::ostringstream personality;
  RunIntrinsicTypePass(*run.tg, personality);
  EXPECT_EQ(
      "-it \"size_t=unsigned long\"\n"
      "-it \"ptrdiff_t=signed long\"\n"
      "-it \"wchar_t=unsigned int\"\n",
      personality.str());
  EXPECT_EQ(
      "~Couldn't determine size of wchar_t - using the default value\n"
      "\nConducting Intrinsic Type Tests(3)...\n"
      "[  0%]~[ 33%]~[ 66%]~[100%]~\n",
      run.console.str());
}

TEST(TypeKeywordsStage, CWcharMissingEverywhereFailsWithoutLine) {
  ScratchDir scratch;
  FakeRun run(true, false);
  WriteFakeRules(
      TypeModelRules("model_type long 8 8 1 i\n"
                     "model_type size_t 8 8 0 i '#include <stdio.h>'\n"
                     "model_type ptrdiff_t 8 8 1 i '#include <stdlib.h>'\n"));
  LearnScalarTypes(run);
  run.console.str("");
  std::ostringstream personality;
  RunIntrinsicTypePass(*run.tg, personality);
  EXPECT_EQ(
      "-it \"size_t=unsigned long\"\n"
      "-it \"ptrdiff_t=signed long\"\n",
      personality.str());
  const std::string missing = " - using the default value\n";
  EXPECT_EQ(
      "\nConducting Intrinsic Type Tests(3)...\n[  0%]~[ 33%]"
      "~Couldn't determine size of size_t" +
          missing +
          "~[ 66%]"
          "~Couldn't determine size of ptrdiff_t" +
          missing + "~Couldn't determine size of ptrdiff_t" + missing +
          "~[100%]"
          "~Couldn't determine size of wchar_t" +
          missing + "~Couldn't determine size of wchar_t" + missing +
          "~Couldn't determine size of wchar_t" + missing +
          "~Couldn't determine size of wchar_t" + missing +
          "wchar_t test failed, wchar_t may not be a type, however if it is "
          "please check that stddef.h/stdio.h/stdlib.h exists and is on the "
          "compile path\n~\n",
      run.console.str());
}

TEST(TypeKeywordsStage, BareIntrinsicNameUsesArrayBoundSignedness) {
  ScratchDir scratch;
  FakeRun run(true, false);
  WriteFakeRules(TypeModelRules(std::string(kIlp32LongLong) +
                                    "model_type size_t 4 4 0 i\n"
                                    "model_type ptrdiff_t 4 4 0 i\n"
                                    "model_type wchar_t 2 2 1 i\n",
                                "custom_rule() { has '#include' && "
                                "fail 'fatal error: no headers'; return 1; "
                                "}\n"));
  LearnScalarTypes(run);
  std::ostringstream personality;
  RunIntrinsicTypePass(*run.tg, personality);
  // Found only with the empty prefix, so the array-bound test decides, not
  // the name.
  EXPECT_EQ(
      "-it \"size_t=unsigned int\"\n"
      "-it \"ptrdiff_t=unsigned int\"\n"
      "-it \"wchar_t=signed short\"\n",
      personality.str());
}

TEST(TypeKeywordsStage, SixtyFourBitIntrinsicIsWrittenAsLonglong) {
  ScratchDir scratch;
  FakeRun run(true, false);
  WriteFakeRules(
      TypeModelRules(std::string(kIlp32LongLong) +
                     "model_type size_t 8 8 0 i '#include <stddef.h>'\n"
                     "model_type ptrdiff_t 4 4 1 i '#include <stddef.h>'\n"
                     "model_type wchar_t 2 2 0 i '#include <stddef.h>'\n"));
  LearnScalarTypes(run);
  std::ostringstream personality;
  RunIntrinsicTypePass(*run.tg, personality);
  EXPECT_EQ(
      "-it \"size_t=unsigned longlong\"\n"
      "-it \"ptrdiff_t=signed int\"\n"
      "-it \"wchar_t=unsigned short\"\n",
      personality.str());
}

TEST(TypeKeywordsStage, CKeywordOfSixtyFourBitsIsLongLongWithExtension) {
  ScratchDir scratch;
  FakeRun run(true, false);
  WriteFakeRules(TypeModelRules(std::string(kIlp32LongLong) +
                                "model_type __int64 8 8 1 i\n"
                                "model_type __uint64 8 8 0 i\n"
                                "model_type __int8 1 1 1 i\n"));
  LearnScalarTypes(run);
  run.console.str("");
  std::ostringstream personality;
  RunKeywordTypePass(*run.tg, {"__uint64", "__int8", "__int64"}, personality);
  EXPECT_EQ(
      "-d \"__int64=long long\"\n"
      "-ex longlong\n"
      "-d \"__int8=char\"\n"
      "-d \"__uint64=unsigned long long\"\n"
      "-ex longlong\n",
      personality.str());
  EXPECT_EQ(
      "\nConducting Keyword Type Tests(3)...\n"
      "[  0%]~[ 33%]~[ 66%]~[100%]~\n",
      run.console.str());
  std::string log = ReadFile(run.tg->log.fileName());
  EXPECT_NE(std::string::npos,
            log.find("[INFO] Conducting Keyword Type Tests(3)..."));
  EXPECT_NE(std::string::npos, log.find("[INFO] Testing keyword: __int64\n"));
  EXPECT_LT(log.find("Testing keyword: __int64"),
            log.find("Testing keyword: __int8"));
}

TEST(TypeKeywordsStage, CppKeywordNeverGetsExtensionLine) {
  ScratchDir scratch;
  FakeRun run(false, false);
  WriteFakeRules(TypeModelRules(std::string(kIlp32LongLong) +
                                "model_type __int64 8 8 1 i\n"
                                "model_type __ptr 4 4 0 p\n"));
  LearnScalarTypes(run);
  std::ostringstream personality;
  RunKeywordTypePass(*run.tg, {"__int64", "__ptr"}, personality);
  EXPECT_EQ(
      "-sd \"__int64=long long\"\n"
      "-sd \"__ptr=int*\"\n",
      personality.str());
}

TEST(TypeKeywordsStage, KeywordOfUnknownSizeIsWrittenAsInt) {
  ScratchDir scratch;
  FakeRun run(true, false);
  WriteFakeRules(TypeModelRules(kIlp32LongLong));
  LearnScalarTypes(run);
  run.console.str("");
  std::ostringstream personality;
  RunKeywordTypePass(*run.tg, {"__far"}, personality);
  EXPECT_EQ("-d \"__far=int\"\n", personality.str());
  EXPECT_EQ(
      "\nConducting Keyword Type Tests(1)...\n[  0%]~[100%]"
      "~Couldn't determine size of __far - using the default value\n"
      "~Couldn't match type '__far' to any scalar type, using type int\n"
      "~\n",
      run.console.str());
}

TEST(TypeKeywordsStage, EmptyKeywordSetWritesNothing) {
  ScratchDir scratch;
  FakeRun run(true, false);
  SetupBasicTypes(*run.tg);
  std::ostringstream personality;
  RunKeywordTypePass(*run.tg, {}, personality);
  EXPECT_EQ("", personality.str());
  EXPECT_EQ("\nConducting Keyword Type Tests(0)...\n", run.console.str());
  EXPECT_EQ(0, run.shell.compiles);
}
