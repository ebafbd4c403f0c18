#include "harness/compile_harness.h"

#include <gtest/gtest.h>

#include "tests/support/test_support.h"

using tessel_test::FakeRun;
using tessel_test::ScratchDir;

TEST(CompileHarness, ObjectCommandFillsEveryPlaceholder) {
  ScratchDir scratch;
  FakeRun run(true, false);
  run.tg->compilerExe = "cc";
  run.tg->orderStr = "%c %j %d%s %o%e";
  EXPECT_EQ("cc -c -DA=1 x.c -ox.o", buildCommand(*run.tg, "x.c", false, "A=1"));
}
