#include "probes/name_table.h"

#include <gtest/gtest.h>

#include <string>

TEST(NameTable, InsertAddsOnceAndFindsWithFlag) {
  NameTable table(4);
  const uint64_t hash = NameTable::Hash("__attr");
  EXPECT_TRUE(table.Insert("__attr", hash, true));
  EXPECT_FALSE(table.Insert("__attr", hash, false));
  ASSERT_NE(nullptr, table.Find("__attr", hash));
  EXPECT_TRUE(*table.Find("__attr", hash));
  EXPECT_EQ(nullptr, table.Find("__att", NameTable::Hash("__att")));
  EXPECT_EQ(1u, table.size());
}

TEST(NameTable, KeepsInsertionOrderThroughGrowth) {
  NameTable table(0);
  for (int i = 0; i < 1000; ++i) {
    const std::string name = "n" + std::to_string(i);
    EXPECT_TRUE(table.Insert(name, NameTable::Hash(name), i % 2 == 0));
  }
  ASSERT_EQ(1000u, table.size());
  for (int i = 0; i < 1000; ++i) {
    const std::string name = "n" + std::to_string(i);
    EXPECT_EQ(name, table.name(static_cast<std::size_t>(i)));
    EXPECT_EQ(i % 2 == 0, table.flag(static_cast<std::size_t>(i)));
    EXPECT_EQ(NameTable::Hash(name), table.hash(static_cast<std::size_t>(i)));
    ASSERT_NE(nullptr, table.Find(name, NameTable::Hash(name)));
  }
}

TEST(NameTable, EqualHashesStillCompareTheNames) {
  NameTable table(4);
  // Two names forced into one hash: both are kept apart.
  EXPECT_TRUE(table.Insert("alpha", 7, true));
  EXPECT_TRUE(table.Insert("beta", 7, false));
  ASSERT_NE(nullptr, table.Find("beta", 7));
  EXPECT_FALSE(*table.Find("beta", 7));
  EXPECT_EQ(nullptr, table.Find("gamma", 7));
}

TEST(NameTable, EmptyNameIsAName) {
  NameTable table(1);
  EXPECT_TRUE(table.Insert("", NameTable::Hash(""), true));
  EXPECT_NE(nullptr, table.Find("", NameTable::Hash("")));
}
