// The alignment procedure against the fake compiler.
#include <gtest/gtest.h>

#include <sstream>

#include "probes/type_measure.h"
#include "tests/stage/types/type_fake_model.h"
#include "tests/support/test_support.h"

using tessel_test::FakeRun;
using tessel_test::Lp64Table;
using tessel_test::ReadFile;
using tessel_test::ScratchDir;
using tessel_test::TypeModelRules;
using tessel_test::WriteFakeRules;

namespace {

TypeRecord Aligned(FakeRun& run, const std::string& name, int bits,
                   const std::string& personalityName = "") {
  TypeRecord type;
  type.name = name;
  type.personalityName = personalityName.empty() ? name : personalityName;
  type.bits = bits;
  FindAlignment(*run.tg, type);
  return type;
}

}  // namespace

TEST(TypeAlignmentStage, CharStructureGrowsAtOnceSoAlignmentIsOne) {
  ScratchDir scratch;
  FakeRun run(true, true);
  WriteFakeRules(TypeModelRules(Lp64Table()));
  EXPECT_EQ(1, Aligned(run, "char", 8).align);
  EXPECT_EQ(8u, static_cast<unsigned>(run.shell.compiles));
  EXPECT_EQ("", run.console.str());
}

TEST(TypeAlignmentStage, CompileOnlySourcesAreOneAndSixtyFiveElements) {
  ScratchDir scratch;
  FakeRun run(true, true);
  WriteFakeRules(TypeModelRules(Lp64Table()));
  EXPECT_EQ(2, Aligned(run, "short", 16).align);
  std::string sources = ReadFile("sources.log");
  EXPECT_EQ(0u, sources.find("struct {char c[1]; short d;} x[1] = "
                             "{{\"\", (short)1}};\n----\n"
                             "struct {char c[1]; short d;} x[65] = "
                             "{{\"\", (short)1}\n,{\"\", (short)1}\n"));
  std::string many =
      "struct {char c[8]; short d;} x[65] = "
      "{{\"AAAAAAA\", (short)1}\n";
  for (int i = 0; i < 64; ++i) {
    many += ",{\"AAAAAAA\", (short)1}\n";
  }
  many += "};\n----\n";
  EXPECT_NE(std::string::npos, sources.find(many));
  EXPECT_NE(std::string::npos,
            sources.find("struct {char c[2]; short d;} x[1] = "
                         "{{\"A\", (short)1}};\n"));
  EXPECT_NE(std::string::npos,
            sources.find("struct {char c[4]; short d;} x[1] = "
                         "{{\"AAA\", (short)1}};\n"));
}

TEST(TypeAlignmentStage, FourByteAlignment) {
  ScratchDir scratch;
  FakeRun run(true, true);
  WriteFakeRules(TypeModelRules(Lp64Table()));
  EXPECT_EQ(4, Aligned(run, "float", 32).align);
}

TEST(TypeAlignmentStage, SixteenByteAlignmentIsReportedAsEight) {
  ScratchDir scratch;
  FakeRun run(true, true);
  WriteFakeRules(TypeModelRules(Lp64Table()));
  EXPECT_EQ(8, Aligned(run, "long double", 128).align);
}

TEST(TypeAlignmentStage, EveryCompileFailingGivesEight) {
  ScratchDir scratch;
  FakeRun run(true, true);
  WriteFakeRules("fail 'error: nothing compiles'\n");
  EXPECT_EQ(8, Aligned(run, "bogus", 32).align);
  EXPECT_EQ("", run.console.str());
}

TEST(TypeAlignmentStage, NativeAlignmentIsStructureSizeMinusTypeSize) {
  ScratchDir scratch;
  FakeRun run(true, false);
  WriteFakeRules(TypeModelRules(Lp64Table()));
  EXPECT_EQ(16, Aligned(run, "long double", 128).align);
  EXPECT_EQ(1, run.shell.compiles);
  EXPECT_EQ(
      "int printf(char *, ...);\nstruct X {char c;long double d;};\n"
      "int main() { printf(\"%d\", sizeof(struct X)); }\n----\n",
      ReadFile("sources.log"));
}

TEST(TypeAlignmentStage, NativeCppSourceDeclaresPrintfExternC) {
  ScratchDir scratch;
  FakeRun run(false, false);
  WriteFakeRules(TypeModelRules(Lp64Table(true)));
  EXPECT_EQ(4, Aligned(run, "int", 32).align);
  EXPECT_EQ(
      "extern \"C\" int printf(char *, ...);\nstruct X {char c;int d;};\n"
      "int main() { printf(\"%d\", sizeof(struct X)); }\n----\n",
      ReadFile("sources.log"));
  EXPECT_TRUE(tessel_test::Exists("tmp_typealign.cpp"));
}

TEST(TypeAlignmentStage, CodePointerNativeAlwaysUsesCompileOnlyMethod) {
  ScratchDir scratch;
  FakeRun run(true, false);
  // A 16-byte aligned function pointer: natively 16 could be measured, the
  // compile-only method tells at most 8.
  WriteFakeRules(TypeModelRules(
      "model_type 'int*' 16 16 0 p\n"
      "model_type zorv_fun 16 16 0 p 'typedef void (*zorv_fun)'\n"));
  // The data pointer builds a program first; it must not be reused.
  EXPECT_EQ(16, Aligned(run, "int*", 128, "dataptr").align);
  EXPECT_EQ(8, Aligned(run, "zorv_fun", 128, "codeptr").align);
  EXPECT_EQ(1 + 1 + 8, run.shell.compiles);
  EXPECT_NE(std::string::npos,
            ReadFile("sources.log")
                .find("typedef void (*zorv_fun) ();\nstruct {char c[1]; "
                      "zorv_fun d;} x[1] = {{\"\", (zorv_fun)1}};\n"));
}

TEST(TypeAlignmentStage, NativeOutputWithoutNumberEndsInStoiError) {
  ScratchDir scratch;
  FakeRun run(true, false);
  WriteFakeRules("program_prints 'size?'\n");
  EXPECT_THROW(Aligned(run, "int", 32), std::invalid_argument);
}
