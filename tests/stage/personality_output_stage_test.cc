#include <gtest/gtest.h>

#include "tests/support/test_support.h"

using tessel_test::kFakeCc;
using tessel_test::kTesselBinary;
using tessel_test::ReadFile;
using tessel_test::RunProcess;
using tessel_test::ScratchDir;
using tessel_test::ShellQuote;
using tessel_test::WriteFile;

static bool starts_with(const std::string& text, const std::string& prefix) {
  return text.compare(0, prefix.size(), prefix) == 0;
}

static bool ends_with(const std::string& text, const std::string& suffix) {
  return text.size() >= suffix.size() &&
         text.compare(text.size() - suffix.size(), suffix.size(), suffix) == 0;
}

// A whole run of the program with "-sub", "-fi" and "-tpl": the personality
// starts with the imported directories as the template changed them and
// ends with the force-include lines and the template's additions. Only the
// lines these three steps write are checked; the probing stages may add
// their own in between.
TEST(PersonalityOutputStage, SubTreeForceIncludeAndTemplateMergeInOneRun) {
  ScratchDir scratch;
  WriteFile("extra/a.h", "#define A 1\n");
  WriteFile("extra/sys/b.h", "#define B 2");
  WriteFile("fi.h", "/* Any other items */\nint user;");
  WriteFile("t.tpl",
            "<modify>\n"
            "  -i  \"out/extra\"  \n"
            "</modify>\n"
            "<remove>\n"
            "-q \"out/extra/sys\"\n"
            "</remove>\n"
            "<add>\n"
            "-d ADDED=1\n"
            "</add>\n");
  WriteFile("out/.keep", "");
  const std::string command =
      ShellQuote(kTesselBinary) + " vellc ccmp " + ShellQuote(kFakeCc) +
      " '-o ' -c -D .o '%c %j %d%s %o%e' -op out/p.p_c -sub extra"
      " -tpl t.tpl -fi fi.h";
  tessel_test::ProcessResult result = RunProcess(command);
  ASSERT_EQ(0, result.exitCode) << result.out << result.err;

  const std::string personality = ReadFile("out/p.p_c");
  EXPECT_TRUE(starts_with(personality,
                          "-i  \"out/extra\"\n"
                          "-q \"out/extra\"\n"
                          "-i \"out/extra/sys\"\n"))
      << personality;
  EXPECT_EQ(std::string::npos, personality.find("-q \"out/extra/sys\""))
      << personality;
  EXPECT_TRUE(ends_with(personality,
                        "-q \"out/kivforceinclude\"\n"
                        "-fi \"out/kivforceinclude/fi.h\"\n"
                        "-d ADDED=1\n"))
      << personality;

  EXPECT_EQ("#define A 1\n", ReadFile("out/extra/a.h"));
  EXPECT_EQ("#define B 2", ReadFile("out/extra/sys/b.h"));
  EXPECT_EQ("/* Any other items */\nint user;\n",
            ReadFile("out/kivforceinclude/fi.h"));

  std::string::size_type merge =
      result.out.find("Incorporating Template Personality\n");
  ASSERT_NE(std::string::npos, merge) << result.out;
  EXPECT_LT(merge, result.out.find("Completed OK\n")) << result.out;
}

// The unclosed-section message reaches the console of a real run, and the
// entries of the open section are still merged.
TEST(PersonalityOutputStage, UnclosedTemplateSectionIsReportedInARun) {
  ScratchDir scratch;
  WriteFile("extra/a.h", "A");
  WriteFile("t.tpl", "<add>\n-d LATE=1\n");
  WriteFile("out/.keep", "");
  const std::string command =
      ShellQuote(kTesselBinary) + " vellc ccmp " + ShellQuote(kFakeCc) +
      " '-o ' -c -D .o '%c %j %d%s %o%e' -op out/p.p_c -sub extra -tpl t.tpl";
  tessel_test::ProcessResult result = RunProcess(command);
  ASSERT_EQ(0, result.exitCode) << result.out << result.err;
  EXPECT_NE(std::string::npos,
            result.out.find("Incorporating Template Personality\n"
                            "Template section <add> is not closed in t.tpl\n"))
      << result.out;
  const std::string personality = ReadFile("out/p.p_c");
  EXPECT_TRUE(starts_with(personality, "-i \"out/extra\"\n-q \"out/extra\"\n"))
      << personality;
  EXPECT_TRUE(ends_with(personality, "\n-d LATE=1\n")) << personality;
}
