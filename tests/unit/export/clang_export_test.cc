#include "export/clang_export.h"

#include <gtest/gtest.h>

#include "tests/unit/export/export_samples.h"

namespace {

using tessel_test::SampleFacts;
using tessel_test::ScriptedClang;

ClangPlan SdccPlan(ScriptedClang* clang) {
  clang->failed["x86_64-linux-gnu"] = {0, 1, 2, 3, 4, 5, 6};
  clang->failed["avr-unknown-unknown"] = {3, 4, 5};
  clang->failed["msp430-unknown-elf"] = {1, 3, 4, 6};
  clang->info.predefined = {{"__clang__", "1"},
                            {"__STDC__", "1"},
                            {"__STDC_VERSION__", "201710L"},
                            {"__SDCC_mcs51", "1"},
                            {"__AVR__", "1"}};
  clang->info.knownKeywords = {"__inline"};
  return plan_clang_export(SampleFacts(), *clang);
}

TEST(ClangExport, EachFactBecomesOneAssertion) {
  EXPECT_EQ(target_check_source(target_facts(SampleFacts())),
            "_Static_assert(sizeof(int) * __CHAR_BIT__ == 16, "
            "\"tessel-fact-0\");\n"
            "_Static_assert(sizeof(char) * __CHAR_BIT__ == 8, "
            "\"tessel-fact-1\");\n"
            "_Static_assert(sizeof(long) * __CHAR_BIT__ == 32, "
            "\"tessel-fact-2\");\n"
            "_Static_assert(sizeof(void*) * __CHAR_BIT__ == 24, "
            "\"tessel-fact-3\");\n"
            "_Static_assert(_Alignof(int) == 1, \"tessel-fact-4\");\n"
            "_Static_assert(((char)-1 < 0) == 0, \"tessel-fact-5\");\n"
            "_Static_assert(sizeof(__SIZE_TYPE__) * __CHAR_BIT__ == 16, "
            "\"tessel-fact-6\");\n"
            "_Static_assert(sizeof(__WCHAR_TYPE__) * __CHAR_BIT__ == 32, "
            "\"tessel-fact-7\");\n");
}

TEST(ClangExport, TheTargetHoldingMostFactsIsChosen) {
  ScriptedClang clang;
  const ClangPlan plan = SdccPlan(&clang);
  EXPECT_EQ(plan.target, "avr-unknown-unknown");
  EXPECT_EQ(plan.unheld,
            (std::vector<std::string>{"-s dataptr=24", "-a int=1"}));
  EXPECT_EQ(plan.factCount, 8u);
  EXPECT_EQ(clang.described, "avr-unknown-unknown");
  EXPECT_EQ(clang.askedKeywords,
            (std::vector<std::string>{"kiv_ignore_paren", "__xdata", "__at",
                                      "__inline", "__sfr"}));
}

TEST(ClangExport, NoUsableTargetMeansNoTargetFlag) {
  ScriptedClang clang;
  const ClangPlan plan = plan_clang_export(SampleFacts(), clang);
  EXPECT_EQ(plan.target, "");
  EXPECT_EQ(clang.described, "");
  EXPECT_EQ(clang_arguments(SampleFacts("-u-\n"), plan, "/x/c.h"),
            (std::vector<std::string>{"-xc", "-nostdinc", "-fsigned-char",
                                      "-include", "/x/c.h"}));
}

TEST(ClangExport, CompileFlagsHoldOneArgumentALine) {
  ScriptedClang clang;
  const ClangPlan plan = SdccPlan(&clang);
  EXPECT_EQ(compile_flags_text(
                clang_arguments(SampleFacts(), plan, "/out/tessel_compat.h")),
            "-xc\n"
            "-nostdinc\n"
            "-isystem\n"
            "/opt/sdcc/include/mcs51\n"
            "-isystem\n"
            "/opt/sdcc/include\n"
            "--target=avr-unknown-unknown\n"
            "-funsigned-char\n"
            "-include\n"
            "/out/tessel_compat.h\n");
}

TEST(ClangExport, TheClangdFragmentAddsTheFlagsUnderItsOrigin) {
  ScriptedClang clang;
  const ClangPlan plan = SdccPlan(&clang);
  ExportFacts facts = SampleFacts();
  facts.settings = parse_run_settings(tessel_test::kSdccLog);
  facts.settings->logPath = "/run/work/TesselGen_1.log";
  EXPECT_EQ(clangd_fragment(facts, plan, {"-nostdinc", "-include", "a \"b\""}),
            "# Written by TesselExport.\n"
            "# Personality: p/TesselPerson.p_c\n"
            "# Compiler: sdcc -mmcs51 (cross)\n"
            "# Run log: /run/work/TesselGen_1.log\n"
            "# clang target: avr-unknown-unknown (holds 6 of 8 facts)\n"
            "# Facts no clang target can hold:\n"
            "#   -s dataptr=24\n"
            "#   -a int=1\n"
            "CompileFlags:\n"
            "  Add:\n"
            "    - \"-nostdinc\"\n"
            "    - \"-include\"\n"
            "    - \"a \\\"b\\\"\"\n");
}

TEST(ClangExport, TheCompatHeaderMakesClangLookLikeTheCompiler) {
  ScriptedClang clang;
  const ClangPlan plan = SdccPlan(&clang);
  ExportFacts facts = SampleFacts();
  facts.forceIncludeFound = "/run/work/personality/kivforceinclude/fi.h";
  EXPECT_EQ(compat_header(facts, plan),
            "/* tessel_compat.h, written by TesselExport.\n"
            " * Personality: p/TesselPerson.p_c\n"
            " * Compiler: not known (no run log beside the personality)\n"
            " * clang target: avr-unknown-unknown (holds 6 of 8 facts)\n"
            " * Facts no clang target can hold:\n"
            " *   -s dataptr=24\n"
            " *   -a int=1\n"
            " */\n"
            "#ifndef TESSEL_COMPAT_H\n"
            "#define TESSEL_COMPAT_H\n"
            "\n"
            "/* clang's own macros that the compiler does not define */\n"
            "#undef __AVR__\n"
            "#undef __clang__\n"
            "\n"
            "/* The compiler's macros */\n"
            "#define DEBUG 1\n"
            "#define __SDCC_VERSION_STR \"4.2.0\"\n"
            "#undef __STDC_VERSION__\n"
            "#define __STDC_VERSION__ 199901L\n"
            "/* __LINE__ is left to clang */\n"
            "\n"
            "/* The compiler's extension keywords */\n"
            "#define __xdata\n"
            "#define __at(x)\n"
            "#define __sfr unsigned char\n"
            "/* clang understands these itself: __inline */\n"
            "\n"
            "/* The force-include header */\n"
            "#include \"/run/work/personality/kivforceinclude/fi.h\"\n"
            "\n"
            "#endif /* TESSEL_COMPAT_H */\n");
}

TEST(ClangExport, StringValuesBecomeStringLiterals) {
  EXPECT_EQ(c_macro_value("_KIV_STRINGIFY(a \"b\" \\)"),
            "\"a \\\"b\\\" \\\\\"");
  EXPECT_EQ(c_macro_value("((long)1)"), "((long)1)");
}

TEST(ClangTarget, FailedFactsAndPredefinedMacrosAreReadFromClangsOutput) {
  EXPECT_EQ(failed_facts("t.c:1:1: error: static_assert failed due to "
                         "requirement 'x' \"tessel-fact-0\"\n"
                         "t.c:3:1: error: static_assert failed \"tessel-fact-"
                         "12\"\n2 errors generated.\n"),
            (std::set<std::size_t>{0, 12}));
  EXPECT_EQ(parse_predefined("#define A 1\n#define B\n#define C(x) x + 1\n"),
            (std::map<std::string, std::string>{
                {"A", "1"}, {"B", ""}, {"C(x)", "x + 1"}}));
}

TEST(ClangTarget, TheKeywordCheckTypedefsEachKeywordOnAKnownLine) {
  EXPECT_EQ(keyword_check_source({"__xdata", "__int128"}),
            "#if __is_identifier(__xdata)\n"
            "typedef __xdata tessel_keyword_0;\n"
            "#endif\n"
            "#if __is_identifier(__int128)\n"
            "typedef __int128 tessel_keyword_1;\n"
            "#endif\n");
}

TEST(ClangTarget, TheFirstOfEquallyCloseTargetsIsChosen) {
  TargetCheck a{"a", true, {1}};
  TargetCheck b{"b", false, {}};
  TargetCheck c{"c", true, {2}};
  EXPECT_EQ(choose_target({b, a, c}).target, "a");
  EXPECT_EQ(choose_target({b}).target, "");
}

}  // namespace

namespace {

TEST(ClangExport, NewGccAttributeFormsKeepTheAttributeOnly) {
  ClangPlan plan;
  plan.target = "x86_64-linux-gnu";
  plan.info.predefined = {{"__GNUC__", "4"}};
  const std::string header =
      compat_header(tessel_test::SampleFacts("-d __GNUC__=12\n"), plan);
  EXPECT_NE(header.find("#undef __GNUC__\n#define __GNUC__ 12\n\n"
                        "/* The compiler's extension keywords */\n\n"
                        "/* gcc 12 attribute forms that clang does not take "
                        "*/\n#define __malloc__(...) __malloc__\n"),
            std::string::npos)
      << header;
  EXPECT_EQ(compat_header(tessel_test::SampleFacts("-d __GNUC__=10\n"), plan)
                .find("__malloc__"),
            std::string::npos);
}

}  // namespace

namespace {

TEST(ClangExport, AnalyserKeywordsAreRemovedAndReviewLinesLeftAlone) {
  Personality personality;
  std::string err;
  ASSERT_TRUE(parse_personality(
      "-s int=16\n-d \"__xdata=xdata\"\n-d \"__at=at\"\n-d __fsadd=\n"
      "-ex at\n-ex xdata\n",
      &personality, &err))
      << err;
  ClangPlan plan;
  plan.target = "avr";
  const std::string header =
      compat_header(collect_facts(personality, "p.p_c"), plan);
  EXPECT_NE(header.find("/* The compiler's extension keywords */\n"
                        "#define __xdata\n#define __at(x)\n"
                        "/* left alone, for review: __fsadd */\n"),
            std::string::npos)
      << header;
}

}  // namespace
