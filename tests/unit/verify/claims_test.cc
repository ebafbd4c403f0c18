// The texts of the checks' test sources.
#include <gtest/gtest.h>

#include <string>

#include "model/personality.h"
#include "verify/claim_batch.h"
#include "verify/identifier_check.h"
#include "verify/intrinsic_check.h"
#include "verify/keyword_check.h"
#include "verify/type_check.h"

namespace {

TEST(Claims, NegativeArrayTypedef) {
  EXPECT_EQ("typedef char tg_ok_1[(sizeof(int) == 4)*2-1];\n",
            claim_typedef("tg_ok_1", "sizeof(int) == 4"));
}

TEST(Claims, IdentifierPairsDifferInTheLastCharacterOnly) {
  EXPECT_EQ("int taxxa; long taxxb;\n", identifier_claim(true, 5, 'a'));
  EXPECT_EQ("void tg_fb(void) { int tba; long tbb; }\n",
            identifier_claim(false, 3, 'b'));
  EXPECT_EQ(2u * 16384 + 13, identifier_claim(true, 16384, 'a').size());
}

TEST(Claims, ScalarSpellings) {
  EXPECT_EQ("long long", scalar_spelling("longlong"));
  EXPECT_EQ("long double", scalar_spelling("ldouble"));
  EXPECT_EQ("int*", scalar_spelling("dataptr"));
  EXPECT_EQ("tg_codeptr", scalar_spelling("codeptr"));
  EXPECT_EQ("short", scalar_spelling("short"));
  EXPECT_EQ("", scalar_spelling("int128"));
  EXPECT_EQ("unsigned long long", intrinsic_spelling("unsigned longlong"));
  EXPECT_EQ("signed int", intrinsic_spelling("signed int"));
}

TEST(Claims, KeywordNamesComeFromDefinesAfterTheTypeLines) {
  Personality personality;
  std::string err;
  ASSERT_TRUE(parse_personality(
      "-d __GNUC__=12\n-s int=32\n-d \"_kiv_null_expression=0 x\"\n"
      "-d kiv_ignore_paren=_ignore_paren\n-d \"__asm=asm\"\n"
      "-d __builtin_va_list=char*\n-d F(x)=x\n-d __inline=inline\n"
      "-d __asm=asm\n",
      &personality, &err))
      << err;
  EXPECT_EQ((std::vector<std::string>{"__asm", "__inline"}),
            keyword_names(personality));
  EXPECT_EQ("int __asm = 1; int tg_u___asm(void) { return __asm; }\n",
            identifier_use("__asm"));
}

}  // namespace
