#include "output/force_include.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <sstream>

#include "app/driver.h"
#include "tests/support/test_support.h"

using tessel_test::Exists;
using tessel_test::FakeRun;
using tessel_test::ReadFile;
using tessel_test::ScratchDir;
using tessel_test::WriteFile;

static const char kCannotCreate[] =
    "Couldn't create directory to write a force include file too.\n";

// The two personality lines naming the header directory and file.
static std::string lines_for(const std::string& directory,
                             const std::string& file) {
  return "-q \"" + directory + "\"\n-fi \"" + file + "\"\n";
}

static bool is_directory(const std::string& path) {
  struct stat status;
  return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

TEST(ForceInclude, GeneratedHeaderDeclaresIdentifiersInSortedOrder) {
  ScratchDir scratch;
  FakeRun run(true, false);
  ASSERT_EQ(0, mkdir("out", 0775));
  run.tg->registerIdentifiers.insert("_zreg");
  run.tg->registerIdentifiers.insert("PORTB");
  run.tg->registerIdentifiers.insert("ACC");
  std::ostringstream personality;
  WriteForceInclude(*run.tg, "out/kivforceinclude", "kiv_forceinclude.h",
                    personality);
  EXPECT_EQ("", run.console.str());
  EXPECT_EQ(lines_for("out/kivforceinclude",
                      "out/kivforceinclude/kiv_forceinclude.h"),
            personality.str());
  EXPECT_EQ(
      "#ifndef KIV_FORCECINCLUDE_H\n"
      "#define KIV_FORCECINCLUDE_H\n"
      "/*file containing declarations for identifiers deemed to be direct "
      "access registers*/\n"
      "int ACC;\n"
      "int PORTB;\n"
      "int _zreg;\n"
      "#endif /*KIV_FORCECINCLUDE_H*/\n",
      ReadFile("out/kivforceinclude/kiv_forceinclude.h"));
}

TEST(ForceInclude, GenerateModeWithoutIdentifiersWritesAnEmptyQuotedPath) {
  ScratchDir scratch;
  FakeRun run(true, false);
  std::ostringstream personality;
  WriteForceInclude(*run.tg, "kivforceinclude", "kiv_forceinclude.h",
                    personality);
  EXPECT_EQ(lines_for("kivforceinclude", ""), personality.str());
  EXPECT_TRUE(is_directory("kivforceinclude"));
  EXPECT_FALSE(Exists("kivforceinclude/kiv_forceinclude.h"));
}

TEST(ForceInclude, PersonalityPathWithoutSlashUsesTheCurrentDirectory) {
  ScratchDir scratch;
  FakeRun run(false, false);
  run.tg->registerIdentifiers.insert("SFR");
  const OutputPaths paths = derive_output_paths("p.p_c", false);
  std::ostringstream personality;
  WriteForceInclude(*run.tg, paths.forceInclude, "kiv_forceinclude.h",
                    personality);
  EXPECT_EQ(lines_for("kivforceinclude", "kivforceinclude/kiv_forceinclude.h"),
            personality.str());
  EXPECT_TRUE(is_directory(scratch.work() + "/kivforceinclude"));
  EXPECT_TRUE(Exists(scratch.work() + "/kivforceinclude/kiv_forceinclude.h"));
}

TEST(ForceInclude, DirectoryIsCreatedWithMode0775) {
  ScratchDir scratch;
  FakeRun run(true, false);
  mode_t previous = umask(0);
  std::ostringstream personality;
  WriteForceInclude(*run.tg, "kivforceinclude", "kiv_forceinclude.h",
                    personality);
  umask(previous);
  struct stat status;
  ASSERT_EQ(0, stat("kivforceinclude", &status));
  EXPECT_EQ(0775u, status.st_mode & 07777u);
}

TEST(ForceInclude, ExistingDirectoryIsReusedSilently) {
  ScratchDir scratch;
  FakeRun run(true, false);
  WriteFile("kivforceinclude/other.h", "kept\n");
  WriteFile("kivforceinclude/kiv_forceinclude.h", "old content that is longer");
  run.tg->registerIdentifiers.insert("R0");
  std::ostringstream personality;
  WriteForceInclude(*run.tg, "kivforceinclude", "kiv_forceinclude.h",
                    personality);
  EXPECT_EQ("", run.console.str());
  EXPECT_EQ(lines_for("kivforceinclude", "kivforceinclude/kiv_forceinclude.h"),
            personality.str());
  EXPECT_EQ("kept\n", ReadFile("kivforceinclude/other.h"));
  EXPECT_EQ(
      "#ifndef KIV_FORCECINCLUDE_H\n"
      "#define KIV_FORCECINCLUDE_H\n"
      "/*file containing declarations for identifiers deemed to be direct "
      "access registers*/\n"
      "int R0;\n"
      "#endif /*KIV_FORCECINCLUDE_H*/\n",
      ReadFile("kivforceinclude/kiv_forceinclude.h"));
}

TEST(ForceInclude, TemplateWithoutAnyOtherItemsIsCopiedLineByLine) {
  ScratchDir scratch;
  FakeRun run(true, false);
  WriteFile("tpl/my_fi.h", "/* mine */\n  int a;\n\nint b;\n");
  run.tg->forceIncludePath = "tpl/my_fi.h";
  run.tg->registerIdentifiers.insert("R0");
  std::ostringstream personality;
  WriteForceInclude(*run.tg, "kivforceinclude", "tpl/my_fi.h", personality);
  EXPECT_EQ("", run.console.str());
  EXPECT_EQ(lines_for("kivforceinclude", "kivforceinclude/my_fi.h"),
            personality.str());
  // The final newline of the template yields one more, empty, line.
  EXPECT_EQ("/* mine */\n  int a;\n\nint b;\n\n",
            ReadFile("kivforceinclude/my_fi.h"));
}

TEST(ForceInclude, TemplateWithoutFinalNewlineGainsOne) {
  ScratchDir scratch;
  FakeRun run(true, false);
  WriteFile("fi.h", "int a;\r\nint b;");
  run.tg->forceIncludePath = "fi.h";
  std::ostringstream personality;
  WriteForceInclude(*run.tg, "kivforceinclude", "fi.h", personality);
  EXPECT_EQ(lines_for("kivforceinclude", "kivforceinclude/fi.h"),
            personality.str());
  EXPECT_EQ("int a;\r\nint b;\n", ReadFile("kivforceinclude/fi.h"));
}

TEST(ForceInclude, EmptyTemplateBecomesOneEmptyLine) {
  ScratchDir scratch;
  FakeRun run(true, false);
  WriteFile("fi.h", "");
  run.tg->forceIncludePath = "fi.h";
  std::ostringstream personality;
  WriteForceInclude(*run.tg, "kivforceinclude", "fi.h", personality);
  EXPECT_EQ("\n", ReadFile("kivforceinclude/fi.h"));
}

TEST(ForceInclude, DeclarationsFollowEachAnyOtherItemsLine) {
  ScratchDir scratch;
  FakeRun run(true, false);
  WriteFile("fi.h",
            "#pragma once\n/* Any other items */\nint mid;\n"
            "// Any other items again\n");
  run.tg->forceIncludePath = "fi.h";
  run.tg->registerIdentifiers.insert("TMR0");
  run.tg->registerIdentifiers.insert("ADCON");
  std::ostringstream personality;
  WriteForceInclude(*run.tg, "kivforceinclude", "fi.h", personality);
  EXPECT_EQ(lines_for("kivforceinclude", "kivforceinclude/fi.h"),
            personality.str());
  EXPECT_EQ(
      "#pragma once\n/* Any other items */\nint ADCON;\nint TMR0;\nint mid;\n"
      "// Any other items again\nint ADCON;\nint TMR0;\n\n",
      ReadFile("kivforceinclude/fi.h"));
}

TEST(ForceInclude, TemplateIsUsedEvenWithoutIdentifiers) {
  ScratchDir scratch;
  FakeRun run(true, false);
  WriteFile("fi.h", "/* Any other items */\n");
  run.tg->forceIncludePath = "fi.h";
  std::ostringstream personality;
  WriteForceInclude(*run.tg, "kivforceinclude", "fi.h", personality);
  EXPECT_EQ(lines_for("kivforceinclude", "kivforceinclude/fi.h"),
            personality.str());
  EXPECT_EQ("/* Any other items */\n\n", ReadFile("kivforceinclude/fi.h"));
}

TEST(ForceInclude, UnopenableTemplateWritesNoFileButBothLines) {
  ScratchDir scratch;
  FakeRun run(true, false);
  run.tg->forceIncludePath = "missing/fi.h";
  run.tg->registerIdentifiers.insert("R0");
  std::ostringstream personality;
  WriteForceInclude(*run.tg, "kivforceinclude", "missing/fi.h", personality);
  EXPECT_EQ("", run.console.str());
  EXPECT_EQ(lines_for("kivforceinclude", "kivforceinclude/fi.h"),
            personality.str());
  EXPECT_FALSE(Exists("kivforceinclude/fi.h"));
}

TEST(ForceInclude, TemplateThatIsADirectoryCountsAsUnopenable) {
  ScratchDir scratch;
  FakeRun run(true, false);
  ASSERT_EQ(0, mkdir("fi.h", 0775));
  run.tg->forceIncludePath = "fi.h";
  std::ostringstream personality;
  WriteForceInclude(*run.tg, "kivforceinclude", "fi.h", personality);
  EXPECT_EQ(lines_for("kivforceinclude", "kivforceinclude/fi.h"),
            personality.str());
  EXPECT_FALSE(Exists("kivforceinclude/fi.h"));
}

TEST(ForceInclude, UnwritableHeaderStillWritesBothLines) {
  ScratchDir scratch;
  FakeRun run(true, false);
  // A directory where the header should go cannot be opened for writing.
  WriteFile("kivforceinclude/kiv_forceinclude.h/x", "");
  run.tg->registerIdentifiers.insert("R0");
  std::ostringstream personality;
  WriteForceInclude(*run.tg, "kivforceinclude", "kiv_forceinclude.h",
                    personality);
  EXPECT_EQ("", run.console.str());
  EXPECT_EQ(lines_for("kivforceinclude", "kivforceinclude/kiv_forceinclude.h"),
            personality.str());
  EXPECT_TRUE(is_directory("kivforceinclude/kiv_forceinclude.h"));
}

TEST(ForceInclude, DirectoryUnderARegularFileStopsWithTheMessage) {
  ScratchDir scratch;
  FakeRun run(true, false);
  WriteFile("afile", "x");
  run.tg->registerIdentifiers.insert("R0");
  std::ostringstream personality;
  WriteForceInclude(*run.tg, "afile/kivforceinclude", "kiv_forceinclude.h",
                    personality);
  EXPECT_EQ(kCannotCreate, run.console.str());
  EXPECT_EQ("", personality.str());
}

TEST(ForceInclude, DirectoryWithMissingParentStopsWithTheMessage) {
  ScratchDir scratch;
  FakeRun run(true, false);
  WriteFile("fi.h", "/* Any other items */\n");
  run.tg->forceIncludePath = "fi.h";
  std::ostringstream personality;
  WriteForceInclude(*run.tg, "missing/kivforceinclude", "fi.h", personality);
  EXPECT_EQ(kCannotCreate, run.console.str());
  EXPECT_EQ("", personality.str());
  EXPECT_FALSE(Exists("missing"));
}

// Runs WriteForceInclude in a child process that cannot write into
// `directory`'s parent (as the user "nobody" when the test runs as root),
// and returns the console text and the personality lines, "|"-separated.
static std::string write_without_permission(TesselGen& tg,
                                            const std::string& directory) {
  int fds[2];
  if (pipe(fds) != 0) {
    return "pipe failed";
  }
  pid_t child = fork();
  if (child == 0) {
    close(fds[0]);
    if (geteuid() == 0 && (setgid(65534) != 0 || setuid(65534) != 0)) {
      _exit(2);
    }
    std::ostringstream console;
    std::ostringstream personality;
    tg.out = &console;
    WriteForceInclude(tg, directory, "kiv_forceinclude.h", personality);
    std::string text = console.str() + "|" + personality.str();
    ssize_t written = write(fds[1], text.data(), text.size());
    _exit(written == static_cast<ssize_t>(text.size()) ? 0 : 3);
  }
  close(fds[1]);
  std::string text;
  char buffer[256];
  ssize_t count;
  while ((count = read(fds[0], buffer, sizeof buffer)) > 0) {
    text.append(buffer, static_cast<size_t>(count));
  }
  close(fds[0]);
  int status = 0;
  waitpid(child, &status, 0);
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
    return "child failed";
  }
  return text;
}

TEST(ForceInclude, PermissionDeniedIsToleratedAndBothLinesWritten) {
  ScratchDir scratch;
  FakeRun run(true, false);
  ASSERT_EQ(0, chmod(scratch.work().c_str(), 0755));
  ASSERT_EQ(0, mkdir("locked", 0555));
  ASSERT_EQ(0, chmod("locked", 0555));
  run.tg->registerIdentifiers.insert("R0");
  EXPECT_EQ("|" + lines_for("locked/kivforceinclude",
                            "locked/kivforceinclude/kiv_forceinclude.h"),
            write_without_permission(*run.tg, "locked/kivforceinclude"));
  EXPECT_FALSE(Exists("locked/kivforceinclude"));
  chmod("locked", 0775);
}
