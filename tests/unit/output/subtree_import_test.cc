#include "output/subtree_import.h"

#include <dirent.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <sstream>

#include "tests/support/test_support.h"

using tessel_test::Exists;
using tessel_test::ReadFile;
using tessel_test::ScratchDir;
using tessel_test::WriteFile;

// The two personality lines written for one copied directory.
static std::string pair_for(const std::string& directory) {
  return "-i \"" + directory + "\"\n-q \"" + directory + "\"\n";
}

static bool is_directory(const std::string& path) {
  struct stat status;
  return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

// Bytes that a text-mode copy or a line-by-line copy would change.
static const std::string kBinaryBytes = std::string("a\0b\r\n\xff\x01 end", 12);

TEST(SubtreeImport, TreeIsCopiedWithAPairPerDirectoryTopFirst) {
  ScratchDir scratch;
  const std::string source = scratch.root() + "/opt/extra";
  WriteFile(source + "/top.h", "#define TOP 1\n");
  WriteFile(source + "/sys/types.h", kBinaryBytes);
  WriteFile(source + "/sys/deep/last.h", "no final newline");
  ASSERT_EQ(0, mkdir("out", 0775));
  std::ostringstream personality;
  CopySubPersonality(source, "out/", personality);
  EXPECT_EQ(pair_for("out/extra") + pair_for("out/extra/sys") +
                pair_for("out/extra/sys/deep"),
            personality.str());
  EXPECT_EQ("#define TOP 1\n", ReadFile("out/extra/top.h"));
  EXPECT_EQ(kBinaryBytes, ReadFile("out/extra/sys/types.h"));
  EXPECT_EQ("no final newline", ReadFile("out/extra/sys/deep/last.h"));
}

TEST(SubtreeImport, SiblingDirectoriesComeInTheOrderTheWalkMeetsThem) {
  ScratchDir scratch;
  const std::string source = scratch.root() + "/src/extra";
  for (const char* name : {"one", "two", "three", "four"}) {
    WriteFile(source + "/" + name + "/" + name + ".h", name);
  }
  WriteFile(source + "/two/inner/x.h", "x");
  // The order of the source directory's entries as the system yields them.
  std::string expected = pair_for("out/extra");
  DIR* dir = opendir(source.c_str());
  ASSERT_NE(nullptr, dir);
  while (dirent* entry = readdir(dir)) {
    std::string name = entry->d_name;
    if (name == "." || name == "..") {
      continue;
    }
    expected += pair_for("out/extra/" + name);
    if (name == "two") {
      expected += pair_for("out/extra/two/inner");
    }
  }
  closedir(dir);
  ASSERT_EQ(0, mkdir("out", 0775));
  std::ostringstream personality;
  CopySubPersonality(source, "out/", personality);
  EXPECT_EQ(expected, personality.str());
  EXPECT_EQ("three", ReadFile("out/extra/three/three.h"));
  EXPECT_EQ("x", ReadFile("out/extra/two/inner/x.h"));
}

TEST(SubtreeImport, EmptySourceCreatesTheDirectoryAndWritesItsPair) {
  ScratchDir scratch;
  ASSERT_EQ(0, mkdir("empty", 0775));
  ASSERT_EQ(0, mkdir("out", 0775));
  std::ostringstream personality;
  CopySubPersonality("empty", "out/", personality);
  EXPECT_EQ(pair_for("out/empty"), personality.str());
  EXPECT_TRUE(is_directory("out/empty"));
}

TEST(SubtreeImport, DestinationDirectoryHasMode0775) {
  ScratchDir scratch;
  ASSERT_EQ(0, mkdir("src", 0700));
  ASSERT_EQ(0, mkdir("out", 0775));
  mode_t previous = umask(0);
  std::ostringstream personality;
  CopySubPersonality("src", "out/", personality);
  umask(previous);
  struct stat status;
  ASSERT_EQ(0, stat("out/src", &status));
  EXPECT_EQ(0775u, status.st_mode & 07777u);
}

TEST(SubtreeImport, TrailingSlashCopiesStraightIntoTheParent) {
  ScratchDir scratch;
  WriteFile("src/extra/a.h", "A");
  WriteFile("src/extra/sys/b.h", "B");
  ASSERT_EQ(0, mkdir("out", 0775));
  std::ostringstream personality;
  CopySubPersonality("src/extra/", "out/", personality);
  EXPECT_EQ(pair_for("out/") + pair_for("out//sys"), personality.str());
  EXPECT_EQ("A", ReadFile("out/a.h"));
  EXPECT_EQ("B", ReadFile("out/sys/b.h"));
  EXPECT_FALSE(Exists("out/extra"));
}

TEST(SubtreeImport, EmptyParentCopiesIntoTheCurrentDirectory) {
  ScratchDir scratch;
  WriteFile("src/inc/a.h", "A");
  std::ostringstream personality;
  CopySubPersonality("src/inc", "", personality);
  EXPECT_EQ(pair_for("inc"), personality.str());
  EXPECT_EQ("A", ReadFile("inc/a.h"));
}

TEST(SubtreeImport, MissingSourceStillCreatesTheDirectoryAndWritesItsPair) {
  ScratchDir scratch;
  ASSERT_EQ(0, mkdir("out", 0775));
  std::ostringstream personality;
  CopySubPersonality("no/such/dir", "out/", personality);
  EXPECT_EQ(pair_for("out/dir"), personality.str());
  EXPECT_TRUE(is_directory("out/dir"));
}

TEST(SubtreeImport, UncreatableDestinationIsPassedOverSilently) {
  ScratchDir scratch;
  WriteFile("src/inc/a.h", "A");
  std::ostringstream personality;
  CopySubPersonality("src/inc", "missing/", personality);
  EXPECT_EQ(pair_for("missing/inc"), personality.str());
  EXPECT_FALSE(Exists("missing"));
}

TEST(SubtreeImport, LinksAreFollowedAndDanglingLinksPassedOver) {
  ScratchDir scratch;
  WriteFile("real/r.h", "R");
  WriteFile("src/inc/a.h", "A");
  ASSERT_EQ(0, symlink("../../real", "src/inc/linked"));
  ASSERT_EQ(0, symlink("../../real/r.h", "src/inc/alias.h"));
  ASSERT_EQ(0, symlink("nowhere.h", "src/inc/dangling.h"));
  std::ostringstream personality;
  CopySubPersonality("src/inc", "", personality);
  EXPECT_EQ(pair_for("inc") + pair_for("inc/linked"), personality.str());
  EXPECT_EQ("R", ReadFile("inc/linked/r.h"));
  EXPECT_EQ("R", ReadFile("inc/alias.h"));
  EXPECT_FALSE(Exists("inc/dangling.h"));
}

TEST(SubtreeImport, SourceEqualToTheDestinationKeepsItsFiles) {
  ScratchDir scratch;
  WriteFile("inc/a.h", "A");
  std::ostringstream personality;
  // With an empty parent the copy of "inc" is "inc" itself.
  CopySubPersonality("inc", "", personality);
  EXPECT_EQ(pair_for("inc"), personality.str());
  EXPECT_EQ("A", ReadFile("inc/a.h"));
}

TEST(SubtreeImport, DestinationInsideTheSourceIsNotCopiedIntoItself) {
  ScratchDir scratch;
  WriteFile("out/p.h", "P");
  std::ostringstream personality;
  CopySubPersonality("out", "out/", personality);
  EXPECT_EQ(pair_for("out/out"), personality.str());
  EXPECT_EQ("P", ReadFile("out/out/p.h"));
  EXPECT_FALSE(Exists("out/out/out"));
}
