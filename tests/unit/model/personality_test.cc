#include "model/personality.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "tests/support/test_support.h"

namespace {

// A personality as a gcc run writes it, one line of every kind the stages
// write, with the quoting each stage uses.
const char kGccPersonality[] =
    "-i \"/usr/include/x86_64-linux-gnu\"\n"
    "-q \"/usr/include/x86_64-linux-gnu\"\n"
    "-d \"__CHAR16_TYPE__=short unsigned int\"\n"
    "-d __CHAR_BIT__=8\n"
    "-d __DBL_MAX__=((double)1.79769313486231570814527423731704357e+308L)\n"
    "-d __VERSION__=_KIV_STRINGIFY(12.2.0)\n"
    "-s int=32\n"
    "-a int=4\n"
    "-u-\n"
    "-it \"size_t=unsigned long\"\n"
    "-xn 16384\n"
    "-na 16384\n"
    "-ex binconst\n"
    "-d kiv_ignore_paren=_ignore_paren\n"
    "-d \"__attribute__=kiv_ignore_paren\"\n"
    "-d \"__extension__=\"\n"
    "-d __builtin_va_list=char*\n"
    "-q \"personality/kivforceinclude\"\n"
    "-fi \"\"\n";

Personality Parsed(const std::string& text) {
  Personality personality;
  std::string err;
  EXPECT_TRUE(parse_personality(text, &personality, &err)) << err;
  return personality;
}

TEST(Personality, WritesBackWhatItReadByteForByte) {
  EXPECT_EQ(write_personality(Parsed(kGccPersonality)), kGccPersonality);
}

TEST(Personality, KeepsOddSpacingCarriageReturnsAndAMissingLastNewline) {
  const std::string text =
      "-d  A=1\r\n\n// a note\n-xd nothing known\n-s   long=64\n-u+";
  Personality personality = Parsed(text);
  EXPECT_FALSE(personality.endsWithNewline);
  ASSERT_EQ(personality.lines.size(), 6u);
  EXPECT_EQ(personality.lines[0].name, "A");
  EXPECT_EQ(personality.lines[0].value, "1");
  EXPECT_EQ(personality.lines[1].kind, LineKind::kOther);
  EXPECT_EQ(personality.lines[3].kind, LineKind::kOther);
  EXPECT_EQ(numeric_value(personality.lines[4]), 64);
  EXPECT_EQ(personality.lines[5].kind, LineKind::kCharSign);
  EXPECT_EQ(write_personality(personality), text);
}

TEST(Personality, SplitsEachKindIntoItsParts) {
  Personality personality = Parsed(kGccPersonality);
  const std::vector<PersonalityLine>& lines = personality.lines;
  EXPECT_EQ(lines[0].kind, LineKind::kInclude);
  EXPECT_EQ(lines[0].name, "/usr/include/x86_64-linux-gnu");
  EXPECT_TRUE(lines[0].quoted);
  EXPECT_EQ(lines[1].kind, LineKind::kSystemInclude);
  EXPECT_EQ(lines[2].kind, LineKind::kDefine);
  EXPECT_EQ(lines[2].name, "__CHAR16_TYPE__");
  EXPECT_EQ(lines[2].value, "short unsigned int");
  EXPECT_EQ(lines[6].kind, LineKind::kSize);
  EXPECT_EQ(lines[6].name, "int");
  EXPECT_EQ(lines[7].kind, LineKind::kAlignment);
  EXPECT_EQ(numeric_value(lines[7]), 4);
  EXPECT_EQ(lines[8].value, "-");
  EXPECT_EQ(lines[9].kind, LineKind::kIntrinsicType);
  EXPECT_EQ(lines[9].name, "size_t");
  EXPECT_EQ(lines[9].value, "unsigned long");
  EXPECT_EQ(lines[10].kind, LineKind::kExternalIdLength);
  EXPECT_EQ(lines[11].kind, LineKind::kInternalIdLength);
  EXPECT_EQ(lines[12].kind, LineKind::kExtension);
  EXPECT_EQ(lines[12].name, "binconst");
  EXPECT_EQ(lines[15].name, "__extension__");
  EXPECT_TRUE(lines[15].hasValue);
  EXPECT_EQ(lines[15].value, "");
  EXPECT_EQ(lines[18].kind, LineKind::kForceInclude);
  EXPECT_EQ(lines[18].name, "");
}

TEST(Personality, AFunctionLikeDefineKeepsItsParameters) {
  PersonalityLine line;
  std::string err;
  ASSERT_TRUE(parse_personality_line("-sd F(a,b)=a+b", &line, &err));
  EXPECT_EQ(line.option, "-sd");
  EXPECT_EQ(line.name, "F(a,b)");
  EXPECT_EQ(line.value, "a+b");
  ASSERT_TRUE(parse_personality_line("-d NDEBUG", &line, &err));
  EXPECT_FALSE(line.hasValue);
  line.text.clear();
  EXPECT_EQ(format_personality_line(line), "-d NDEBUG");
}

TEST(Personality, ChangedLinesAreWrittenFromTheirFields) {
  Personality personality = Parsed(kGccPersonality);
  personality.lines[6].value = "16";
  personality.lines[6].text.clear();
  personality.lines[9] = make_intrinsic_type_line("size_t", "unsigned int");
  std::string expected = kGccPersonality;
  expected.replace(expected.find("-s int=32"), 9, "-s int=16");
  expected.replace(expected.find("size_t=unsigned long"), 20,
                   "size_t=unsigned int");
  EXPECT_EQ(write_personality(personality), expected);
}

TEST(Personality, BuiltLinesReadAsTheStagesWriteThem) {
  EXPECT_EQ(format_personality_line(make_include_line(true, "/usr/include")),
            "-i \"/usr/include\"");
  EXPECT_EQ(format_personality_line(make_include_line(false, "/x")),
            "-si \"/x\"");
  EXPECT_EQ(format_personality_line(make_system_include_line("/x")),
            "-q \"/x\"");
  EXPECT_EQ(format_personality_line(make_define_line(true, "A", "1")),
            "-d A=1");
  EXPECT_EQ(format_personality_line(make_define_line(false, "T", "long int")),
            "-sd \"T=long int\"");
  EXPECT_EQ(format_personality_line(make_size_line("ldouble", 128)),
            "-s ldouble=128");
  EXPECT_EQ(format_personality_line(make_alignment_line("ldouble", 16)),
            "-a ldouble=16");
  EXPECT_EQ(format_personality_line(make_char_sign_line(true)), "-u+");
  EXPECT_EQ(format_personality_line(make_char_sign_line(false)), "-u-");
  EXPECT_EQ(format_personality_line(make_intrinsic_type_line("wchar_t", "int")),
            "-it wchar_t=int");
  EXPECT_EQ(format_personality_line(make_id_length_line(true, 63)), "-xn 63");
  EXPECT_EQ(format_personality_line(make_id_length_line(false, 31)), "-na 31");
}

TEST(Personality, MalformedLinesNameTheLineAndTheReason) {
  const struct {
    const char* text;
    const char* err;
  } cases[] = {
      {"-d A=1\n-s int\n", "line 2: -s needs TYPE=VALUE"},
      {"-a int=four\n", "line 1: -a needs a number after \"=\""},
      {"-xn many\n", "line 1: -xn needs a number"},
      {"\n\n-i \"/usr/include\n", "line 3: -i argument has no closing quote"},
      {"-u+ yes\n", "line 1: -u+ takes no argument"},
      {"-ex\n", "line 1: -ex needs an argument"},
      {"-d =1\n", "line 1: define without a name"},
  };
  for (const auto& c : cases) {
    Personality personality;
    std::string err;
    EXPECT_FALSE(parse_personality(c.text, &personality, &err)) << c.text;
    EXPECT_EQ(err, c.err) << c.text;
  }
}

TEST(Personality, FindsLinesByKindAndName) {
  Personality personality = Parsed(kGccPersonality);
  EXPECT_EQ(find_line(personality, LineKind::kDefine, "__CHAR_BIT__"), 3u);
  EXPECT_EQ(find_line(personality, LineKind::kSize, "long"), std::nullopt);
  EXPECT_EQ(lines_of_kind(personality, LineKind::kSystemInclude).size(), 2u);
  EXPECT_EQ(numeric_value(personality.lines[0]), std::nullopt);
}

TEST(Personality, ReadsAndWritesFiles) {
  tessel_test::ScratchDir scratch;
  {
    std::ofstream out("p.p_c");
    out << kGccPersonality;
  }
  Personality personality;
  std::string err;
  ASSERT_TRUE(read_personality_file("p.p_c", &personality, &err)) << err;
  personality.lines.push_back(make_size_line("long", 64));
  ASSERT_TRUE(write_personality_file("q.p_c", personality, &err)) << err;
  std::ifstream in("q.p_c");
  std::stringstream written;
  written << in.rdbuf();
  EXPECT_EQ(written.str(), std::string(kGccPersonality) + "-s long=64\n");

  EXPECT_FALSE(read_personality_file("missing.p_c", &personality, &err));
  EXPECT_EQ(err, "missing.p_c: cannot be read");
  {
    std::ofstream out("bad.p_c");
    out << "-s int=32\n-s long\n";
  }
  EXPECT_FALSE(read_personality_file("bad.p_c", &personality, &err));
  EXPECT_EQ(err, "bad.p_c:2: -s needs TYPE=VALUE");
  EXPECT_FALSE(write_personality_file("no/such/dir/p.p_c", personality, &err));
  EXPECT_EQ(err, "no/such/dir/p.p_c: cannot be written");
}

}  // namespace

namespace {

TEST(Personality, TheShippedGoldenPersonalityComesBackUnchanged) {
  const std::string path = std::string(tessel_test::kSourceDir) +
                           "/tests/stage/golden/run_without_verify.p_c";
  const std::string text = tessel_test::ReadFile(path);
  ASSERT_FALSE(text.empty()) << path;
  Personality personality;
  std::string err;
  ASSERT_TRUE(read_personality_file(path, &personality, &err)) << err;
  EXPECT_EQ(write_personality(personality), text);
}

}  // namespace
