// The installed clang as TesselExport asks it: which candidate target holds
// a personality's facts, what it predefines there and which extension
// keywords it knows. The expectations are what clang says about itself.
#include <gtest/gtest.h>

#include "export/clang_export.h"
#include "export/clang_target.h"
#include "tests/support/test_support.h"

namespace {

ExportFacts Facts(const std::string& text) {
  Personality personality;
  std::string err;
  EXPECT_TRUE(parse_personality(text, &personality, &err)) << err;
  return collect_facts(personality, "p.p_c");
}

class InstalledClangTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (tessel_test::RunProcess("command -v clang").exitCode != 0) {
      GTEST_SKIP() << "skipped: clang not installed";
    }
  }
  SystemShell shell_;
  InstalledClang clang_{shell_};
};

TEST_F(InstalledClangTest, A16BitPersonalityGetsTheAvrTarget) {
  const ClangPlan plan = plan_clang_export(
      Facts("-s int=16\n-a int=1\n-s long=32\n-s dataptr=16\n-u-\n"), clang_);
  EXPECT_EQ(plan.target, "avr-unknown-unknown");
  EXPECT_TRUE(plan.unheld.empty());
  EXPECT_EQ(plan.info.predefined.count("__AVR__"), 1u);
}

TEST_F(InstalledClangTest, An8051PointerIsHeldByNoTarget) {
  const ClangPlan plan = plan_clang_export(
      Facts("-s int=16\n-s dataptr=24\n-d __xdata=\n-d __asm__=asm\n"), clang_);
  EXPECT_EQ(plan.unheld, std::vector<std::string>{"-s dataptr=24"});
  EXPECT_EQ(plan.info.knownKeywords, std::set<std::string>{"__asm__"});
}

TEST_F(InstalledClangTest, AnLp64PersonalityGetsTheX8664Target) {
  const ClangPlan plan = plan_clang_export(
      Facts("-s int=32\n-s long=64\n-a long=8\n-s ldouble=128\n"
            "-a ldouble=16\n-s dataptr=64\n-u-\n"
            "-it \"wchar_t=signed int\"\n"),
      clang_);
  EXPECT_EQ(plan.target, "x86_64-linux-gnu");
  EXPECT_EQ(plan.info.predefined.at("__x86_64__"), "1");
}

TEST_F(InstalledClangTest, AnUnknownTargetIsNotUsable) {
  const std::vector<TargetCheck> checks = clang_.CheckTargets(
      {"no-such-target-at-all", "avr-unknown-unknown"},
      "_Static_assert(sizeof(int) == 4, \"tessel-fact-0\");\n");
  ASSERT_EQ(checks.size(), 2u);
  EXPECT_FALSE(checks[0].usable);
  EXPECT_TRUE(checks[1].usable);
  EXPECT_EQ(checks[1].failed, std::set<std::size_t>{0});
}

}  // namespace
