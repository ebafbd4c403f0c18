#include <gtest/gtest.h>

#include "harness/compile_harness.h"
#include "tests/support/test_support.h"

using tessel_test::FakeRun;
using tessel_test::ScratchDir;

TEST(CompileHarnessStage, FakeCompilerObjectPassesWithItsSize) {
  ScratchDir scratch;
  FakeRun run(true, false);
  tessel_test::WriteFakeRules("object_text 'abcd'\n");
  uint32_t size = 7;
  std::string output;
  EXPECT_TRUE(compileTest(*run.tg, "int x;\n", "tmp_t", &size, &output));
  EXPECT_EQ(4u, size);
  EXPECT_EQ("", output);
  EXPECT_EQ(1, run.shell.compiles);
}
