#include "probes/extension_keywords.h"

#include <gtest/gtest.h>

#include "harness/globals.h"

TEST(ExtensionKeywords, PrintKeywordsGuardsTheObjectDeclaration) {
  EXPECT_EQ("#ifndef __far\nint __far[1];\n#endif\n", PrintKeywords("__far"));
}

TEST(ExtensionKeywords, PrintTypedefsCNumbersEachDefinitionAnew) {
  reset_globals_for_testing();
  EXPECT_EQ("void func0( __far) int __far; {}\n", PrintTypedefsC("__far"));
  EXPECT_EQ("void func1( near) int near; {}\n", PrintTypedefsC("near"));
  EXPECT_EQ(2u, S_TEST_NUMBER);
}

TEST(ExtensionKeywords, PrintTypedefsCPPUsesAndAdvancesTheSameNumber) {
  reset_globals_for_testing();
  PrintTypedefsC("a");
  EXPECT_EQ(
      "namespace NS1 { class A_zorv; int kw (A_zorv const &, int); }\n"
      "void foo1 (NS1::A_zorv const & a_zorv ) { int bar_zorv ( kw "
      "(a_zorv, 0) ); }\n",
      PrintTypedefsCPP("kw"));
  EXPECT_EQ(2u, S_TEST_NUMBER);
}

TEST(ExtensionKeywords, ResetPutsTheTestNumberBackToZero) {
  PrintTypedefsCPP("x");
  reset_globals_for_testing();
  EXPECT_EQ(0u, S_TEST_NUMBER);
}
