#include "harness/object_checks.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <stdexcept>
#include <string>

#include "tests/support/test_support.h"

using tessel_test::ScratchDir;
using tessel_test::WriteFile;

namespace {

// Bytes that make a file binary when they are read.
const std::string kBinary(
    "\x7f"
    "ELF\x02\x01\x01\x00",
    8);

}  // namespace

TEST(TextFileTest, SourceAndTextExtensionsAreTextWhateverTheContent) {
  ScratchDir scratch;
  for (const char* name : {"a.c", "a.cc", "a.cpp", "a.cxx", "a.h", "a.hh",
                           "a.hpp", "a.hxx", "a.txt", "a.text"}) {
    WriteFile(name, kBinary);
    EXPECT_TRUE(isTextFile(name)) << name;
  }
}

TEST(TextFileTest, ExtensionIsComparedWithoutCase) {
  ScratchDir scratch;
  WriteFile("A.CPP", kBinary);
  WriteFile("b.Txt", kBinary);
  EXPECT_TRUE(isTextFile("A.CPP"));
  EXPECT_TRUE(isTextFile("b.Txt"));
}

TEST(TextFileTest, ExtensionThatIsPartOfTheListCountsAsText) {
  ScratchDir scratch;
  // ".t", ".hp", ".te" and ".c|" all occur inside the list of text
  // extensions, and a bare "." occurs everywhere in it.
  for (const char* name : {"a.t", "a.hp", "a.te", "a.c|", "a.", "a.tx"}) {
    WriteFile(name, kBinary);
    EXPECT_TRUE(isTextFile(name)) << name;
  }
}

TEST(TextFileTest, OtherExtensionsAreJudgedByTheirBytes) {
  ScratchDir scratch;
  for (const char* name : {"a.o", "a.p", "a.x", "a.rel", "a.obj", "a.cp+"}) {
    WriteFile(name, kBinary);
    EXPECT_FALSE(isTextFile(name)) << name;
  }
}

TEST(TextFileTest, PrintableAndWhiteSpaceBytesAreText) {
  ScratchDir scratch;
  WriteFile("obj.rel", "XH3\nH 1 areas 2 global symbols\r\n\tM x\v\f ~!\n");
  EXPECT_TRUE(isTextFile("obj.rel"));
}

TEST(TextFileTest, EmptyFileIsText) {
  ScratchDir scratch;
  WriteFile("empty.o", "");
  EXPECT_TRUE(isTextFile("empty.o"));
}

TEST(TextFileTest, RegisteredAndCopyrightSignsAreAccepted) {
  ScratchDir scratch;
  WriteFile("signs.o", "Tessel\xae and \xa9 2026\n");
  EXPECT_TRUE(isTextFile("signs.o"));
}

TEST(TextFileTest, OtherHighOrControlBytesMakeTheFileBinary) {
  ScratchDir scratch;
  const char* const kBytes[] = {"\xa0", "\xaf", "\xa8", "\xff",
                                "\x7f", "\x01", "\x1b"};
  for (const char* byte : kBytes) {
    WriteFile("one.o", std::string("text ") + byte + " text");
    EXPECT_FALSE(isTextFile("one.o"))
        << static_cast<int>(static_cast<unsigned char>(byte[0]));
  }
  WriteFile("nul.o", std::string("text\0text", 9));
  EXPECT_FALSE(isTextFile("nul.o"));
}

TEST(TextFileTest, OnlyTheFirst1024BytesAreLookedAt) {
  ScratchDir scratch;
  WriteFile("late.o", std::string(1024, 'a') + std::string(1, '\0'));
  EXPECT_TRUE(isTextFile("late.o"));
  WriteFile("last.o", std::string(1023, 'a') + std::string(1, '\0'));
  EXPECT_FALSE(isTextFile("last.o"));
}

TEST(TextFileTest, FileThatCannotBeOpenedCountsAsText) {
  ScratchDir scratch;
  EXPECT_TRUE(isTextFile("missing.o"));
  if (geteuid() != 0) {
    WriteFile("locked.o", kBinary);
    chmod("locked.o", 0);
    EXPECT_TRUE(isTextFile("locked.o"));
  }
}

TEST(TextFileTest, ExtensionStartsAtTheLastDotOfTheWholePath) {
  ScratchDir scratch;
  // The extension of "dir.c/obj" is ".c/obj", which is not in the list.
  WriteFile("dir.c/obj", kBinary);
  EXPECT_FALSE(isTextFile("dir.c/obj"));
  WriteFile("dir.o/x.h", kBinary);
  EXPECT_TRUE(isTextFile("dir.o/x.h"));
}

TEST(TextFileTest, PathWithoutAnyDotThrowsOutOfRange) {
  ScratchDir scratch;
  WriteFile("plain", "text");
  EXPECT_THROW(isTextFile("plain"), std::out_of_range);
  EXPECT_THROW(isTextFile("dir/plain"), std::out_of_range);
}
