#include "verify/macro_check.h"

#include <gtest/gtest.h>

#include "verify/macro_tests.h"

TEST(MacroCheckShape, ValuesAreSortedByTheTestThatFitsThem) {
  EXPECT_EQ(ValueShape::kEmpty, value_shape(""));
  EXPECT_EQ(ValueShape::kInteger, value_shape("0x7fffffffffffffffL"));
  EXPECT_EQ(ValueShape::kInteger, value_shape("(-1021)"));
  EXPECT_EQ(ValueShape::kInteger, value_shape("__ORDER_LITTLE_ENDIAN__"));
  EXPECT_EQ(ValueShape::kFloat,
            value_shape("1.19209289550781250000000000e-7F"));
  EXPECT_EQ(ValueShape::kFloat, value_shape("0x1.fffffep+127F"));
  EXPECT_EQ(ValueShape::kFloat, value_shape("1E-6DF"));
  EXPECT_EQ(ValueShape::kType, value_shape("long unsigned int"));
  EXPECT_EQ(ValueShape::kType, value_shape("int"));
  EXPECT_EQ(ValueShape::kOther, value_shape("_KIV_STRINGIFY(12.2.0)"));
  EXPECT_EQ(ValueShape::kOther,
            value_shape("__attribute__((aligned(8), packed))"));
}

TEST(MacroCheckShape, EachShapeHasItsClaim) {
  const std::string defined = "#ifndef N\n#error tg_bad_3\n#endif\n";
  EXPECT_EQ(defined + "#if !((1 N + 1) == 2)\n#error tg_bad_3\n#endif\n",
            claim_source("N", "", ValueShape::kEmpty, 3));
  EXPECT_EQ(defined + "#if !((N) == (4))\n#error tg_bad_3\n#endif\n",
            claim_source("N", "4", ValueShape::kInteger, 3));
  EXPECT_EQ(defined + "typedef char tg_ok_3[((N) == (1.5F)) * 2 - 1];\n",
            claim_source("N", "1.5F", ValueShape::kFloat, 3));
  EXPECT_EQ(defined + "extern short int tg_v_3;\nextern N tg_v_3;\n",
            claim_source("N", "short int", ValueShape::kType, 3));
  EXPECT_EQ(defined, claim_source("N", "x, y", ValueShape::kOther, 3));
}

TEST(MacroCheckShape, MessagesNameTheClaimsThatFailed) {
  EXPECT_EQ((std::vector<int>{4, 17}),
            marker_ids("t.c:13:2: error: #error tg_def_4 __ELF__\n"
                       "t.c:52:2: error: #error tg_def_17 __VERSION__\n"
                       "tg_def_ alone\n",
                       "tg_def_"));
  EXPECT_EQ((std::vector<int>{12}),
            marker_ids("t.c:9:13: error: size of array 'tg_ok_12' is negative",
                       "tg_ok_"));
}
