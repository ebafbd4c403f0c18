#include "export/export_facts.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "tests/support/test_support.h"
#include "tests/unit/export/export_samples.h"

namespace {

using tessel_test::SampleFacts;

std::vector<std::string> Names(const std::vector<DefineFact>& defines) {
  std::vector<std::string> names;
  for (const DefineFact& define : defines) {
    names.push_back(define.name + "=" + define.value);
  }
  return names;
}

TEST(ExportFacts, DefinesBeforeTheTypeLinesAreMacrosTheRestKeywords) {
  const ExportFacts facts = SampleFacts();
  EXPECT_EQ(
      Names(facts.macros),
      (std::vector<std::string>{"DEBUG=1", "__SDCC_mcs51=1",
                                "__SDCC_VERSION_STR=_KIV_STRINGIFY(4.2.0)",
                                "__STDC_VERSION__=199901L", "__LINE__=3"}));
  EXPECT_EQ(
      Names(facts.keywords),
      (std::vector<std::string>{"kiv_ignore_paren=_ignore_paren",
                                "__xdata=", "__at=kiv_ignore_paren",
                                "__inline=inline", "__sfr=unsigned char"}));
  std::vector<std::string> treatments;
  for (const DefineFact& keyword : facts.keywords) {
    treatments.push_back(keyword_treatment_name(keyword.treatment));
  }
  EXPECT_EQ(treatments, (std::vector<std::string>{"analyser", "remove",
                                                  "remove-with-argument",
                                                  "keyword", "type"}));
}

TEST(ExportFacts, TypeLinesAreGroupedInFileOrder) {
  const ExportFacts facts = SampleFacts();
  EXPECT_TRUE(facts.isC);
  EXPECT_EQ(facts.includeDirs,
            (std::vector<std::string>{"/opt/sdcc/include/mcs51",
                                      "/opt/sdcc/include"}));
  EXPECT_EQ(facts.systemIncludeDirs.size(), 3u);
  EXPECT_EQ(facts.sizes,
            (std::vector<std::pair<std::string, long>>{
                {"int", 16}, {"char", 8}, {"long", 32}, {"dataptr", 24}}));
  EXPECT_EQ(facts.alignments,
            (std::vector<std::pair<std::string, long>>{{"int", 1}}));
  EXPECT_EQ(facts.charUnsigned, std::optional<bool>(true));
  EXPECT_EQ(facts.intrinsicTypes,
            (std::vector<std::pair<std::string, std::string>>{
                {"size_t", "unsigned int"}, {"wchar_t", "unsigned long"}}));
  EXPECT_EQ(facts.externalIdLength, std::optional<long>(31));
  EXPECT_EQ(facts.internalIdLength, std::optional<long>(31));
  EXPECT_EQ(facts.extensions, std::vector<std::string>{"binconst"});
  EXPECT_EQ(facts.forceInclude,
            std::optional<std::string>(
                "personality/kivforceinclude/kiv_forceinclude.h"));
  EXPECT_TRUE(facts.otherLines.empty());
}

TEST(ExportFacts, SizesOfScalarTypesComeFromTheSizeLines) {
  const ExportFacts facts = SampleFacts();
  EXPECT_EQ(size_in_bits(facts, "unsigned long"), std::optional<long>(32));
  EXPECT_EQ(size_in_bits(facts, "signed int"), std::optional<long>(16));
  EXPECT_EQ(size_in_bits(facts, "unsigned"), std::optional<long>(16));
  EXPECT_EQ(size_in_bits(facts, "long long"), std::nullopt);
}

TEST(ExportFacts, LoggedSettingsAreReadFromTheLogsEcho) {
  const std::optional<LoggedSettings> settings =
      parse_run_settings(tessel_test::kSdccLog);
  ASSERT_TRUE(settings);
  EXPECT_EQ(settings->version, "0.1 ()");
  EXPECT_EQ(settings->product, "vellc");
  EXPECT_TRUE(settings->cross);
  EXPECT_EQ(settings->compiler, "sdcc");
  EXPECT_EQ(settings->exeFlag, "-o ");
  EXPECT_EQ(settings->compileFlag, "-c");
  EXPECT_EQ(settings->defineFlag, "-D");
  EXPECT_EQ(settings->objectExtension, ".rel");
  EXPECT_EQ(settings->orderString, "%c %j %d%s %o%e");
  EXPECT_EQ(settings->includeOptions,
            std::vector<std::string>{"/opt/sdcc/include"});
  EXPECT_EQ(settings->userDefines, std::vector<std::string>{"DEBUG=1"});
  EXPECT_EQ(settings->switches, std::vector<std::string>{"-mmcs51"});
}

TEST(ExportFacts, TextWithoutTheEchoHasNoSettings) {
  EXPECT_FALSE(parse_run_settings("Started Logging at: x\n[INFO] hello\n"));
}

TEST(ExportFacts, LoadFindsTheNewestLogTheHeaderAndTheReport) {
  tessel_test::ScratchDir scratch;
  const std::string work = scratch.work() + "/work";
  const std::string path = work + "/personality/TesselPerson.p_c";
  tessel_test::WriteFile(path, tessel_test::kSdccPersonality);
  std::string older = tessel_test::kSdccLog;
  older.replace(older.find("EXE=sdcc"), 8, "EXE=old");
  tessel_test::WriteFile(work + "/TesselGen_20261123_235959.log", older);
  tessel_test::WriteFile(work + "/TesselGen_20261124_021900.log",
                         tessel_test::kSdccLog);
  const std::string header =
      work + "/personality/kivforceinclude/kiv_forceinclude.h";
  tessel_test::WriteFile(header, "int ACC;\n");
  tessel_test::WriteFile(path + ".verify.json", "{\"checked\": true}\n");

  ExportFacts facts;
  std::string err;
  ASSERT_TRUE(load_export_facts(path, &facts, &err)) << err;
  ASSERT_TRUE(facts.settings);
  EXPECT_EQ(facts.settings->compiler, "sdcc");
  EXPECT_EQ(facts.settings->logPath, work + "/TesselGen_20261124_021900.log");
  EXPECT_EQ(facts.forceIncludeFound, header);
  EXPECT_EQ(facts.verification,
            std::optional<std::string>("{\"checked\": true}\n"));
  EXPECT_TRUE(facts.macros[0].userGiven);
  EXPECT_FALSE(facts.macros[1].userGiven);
}

TEST(ExportFacts, LoadWithoutLogOrReportLeavesThemEmpty) {
  tessel_test::ScratchDir scratch;
  const std::string path = scratch.work() + "/a/b/p.p_c";
  tessel_test::WriteFile(path, "-s int=16\n-fi \"missing.h\"\n");
  ExportFacts facts;
  std::string err;
  ASSERT_TRUE(load_export_facts(path, &facts, &err)) << err;
  EXPECT_FALSE(facts.settings);
  EXPECT_FALSE(facts.verification);
  EXPECT_EQ(facts.forceIncludeFound, "");
}

TEST(ExportFacts, AnUnparsableLineIsNamedWithFileAndLine) {
  tessel_test::ScratchDir scratch;
  const std::string path = scratch.work() + "/p.p_c";
  tessel_test::WriteFile(path, "-s int=16\n-s long\n");
  ExportFacts facts;
  std::string err;
  EXPECT_FALSE(load_export_facts(path, &facts, &err));
  EXPECT_EQ(err, path + ":2: -s needs TYPE=VALUE");
}

}  // namespace

namespace {

TEST(ExportFacts, TreatmentsAreReadFromTheReplacement) {
  EXPECT_EQ(keyword_treatment("/**/"), KeywordTreatment::kRemove);
  EXPECT_EQ(keyword_treatment("_Alignof"), KeywordTreatment::kKeyword);
  EXPECT_EQ(keyword_treatment("alignof"), KeywordTreatment::kKeyword);
  EXPECT_EQ(keyword_treatment("unsigned long long"), KeywordTreatment::kType);
  EXPECT_EQ(keyword_treatment("char*"), KeywordTreatment::kText);
}

}  // namespace

namespace {

ExportFacts FactsOf(const std::string& text) {
  Personality personality;
  std::string err;
  EXPECT_TRUE(parse_personality(text, &personality, &err)) << err;
  return collect_facts(personality, "p.p_c");
}

TEST(ExportFacts, AnalyserKeywordsAndReviewLinesAreMarkedAsSuch) {
  const ExportFacts facts = FactsOf(
      "-s int=16\n"
      "-d \"__xdata=xdata\"\n"
      "-d \"__at=at\"\n"
      "-d \"__interrupt=interrupt\"\n"
      "-d \"__zz=zz\"\n"
      "-d __fsadd=\n"
      "-ex at\n"
      "-ex interrupt\n"
      "-ex xdata\n");
  std::vector<std::string> treatments;
  for (const DefineFact& keyword : facts.keywords) {
    treatments.push_back(keyword.name + ":" +
                         keyword_treatment_name(keyword.treatment));
  }
  EXPECT_EQ(treatments, (std::vector<std::string>{
                            "__xdata:analyser-keyword",
                            "__at:analyser-keyword-with-argument",
                            "__interrupt:analyser-keyword-with-argument",
                            "__zz:text", "__fsadd:review"}));
}

}  // namespace
