#include "util/text.h"

#include <gtest/gtest.h>

#include <string>

TEST(Text, ContainsFindsAPartAnywhere) {
  EXPECT_TRUE(contains("error: ak12345: No such file", "ak12345"));
  EXPECT_TRUE(contains("<modify>", "<modify>"));
  EXPECT_TRUE(contains("anything", ""));
  EXPECT_FALSE(contains("</add>", "<add>"));
  EXPECT_FALSE(contains("", "x"));
}

TEST(Text, ContainsComparesBinaryBytes) {
  const std::string object(
      "\x7F"
      "ELF\0\xCC\xCC\x3D",
      8);
  EXPECT_TRUE(contains(object, std::string("\xCC\xCC\x3D", 3)));
  EXPECT_TRUE(contains(object, std::string("F\0\xCC", 3)));
  EXPECT_FALSE(contains(object, std::string("\x99\xB9\x3F", 3)));
}

TEST(Text, TrimBlanksRemovesOnlyBlanksAtEitherEnd) {
  EXPECT_EQ("-d X=1", trim_blanks("   -d X=1  "));
  EXPECT_EQ("a  b", trim_blanks("a  b"));
  EXPECT_EQ("\t-s int=32\r", trim_blanks(" \t-s int=32\r "));
  EXPECT_EQ("", trim_blanks("    "));
  EXPECT_EQ("", trim_blanks(""));
}

TEST(Text, DropDigitsAndSpaceKeepsTheWords) {
  EXPECT_EQ("t.c:::error:sizeofarrayisnegative",
            drop_digits_and_space("t.c:1:9: error: size of array\tis "
                                  "negative\n"));
  EXPECT_EQ("", drop_digits_and_space(" 12\n\t3 "));
  EXPECT_EQ(drop_digits_and_space("x.c:3:5: error: size 4294967295"),
            drop_digits_and_space("x.c:4:5: error: size 65535"));
}

TEST(Text, HalvingCountComesFromTheLogarithm) {
  EXPECT_EQ(15u, halving_count(16384));
  EXPECT_EQ(13u, halving_count(4096));
  EXPECT_EQ(11u, halving_count(1024));
  EXPECT_EQ(1u, halving_count(1));
  EXPECT_EQ(2u, halving_count(3));
}

namespace {

TEST(Text, JsonQuoteEscapesQuotesBackslashesAndControls) {
  EXPECT_EQ(json_quote("a\"b\\c\nd\te\x01"), "\"a\\\"b\\\\c\\nd\\te\\u0001\"");
  EXPECT_EQ(json_quote("\xc3\xa9"), "\"\xc3\xa9\"");
}

}  // namespace
