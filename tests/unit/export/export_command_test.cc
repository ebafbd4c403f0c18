#include "export/export_command.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

#include "export/json_export.h"
#include "tests/support/test_support.h"
#include "tests/unit/export/export_samples.h"

namespace {

struct ExportOutcome {
  int status = 0;
  std::string out;
  std::string err;
};

ExportOutcome Export(std::vector<std::string> args) {
  args.insert(args.begin(), "TesselExport");
  std::vector<const char*> argv;
  for (const std::string& arg : args) {
    argv.push_back(arg.c_str());
  }
  tessel_test::ScriptedClang clang;
  clang.failed["avr-unknown-unknown"] = {3};
  std::ostringstream out, err;
  ExportOutcome outcome;
  outcome.status =
      run_export(static_cast<int>(argv.size()), argv.data(), clang, out, err);
  outcome.out = out.str();
  outcome.err = err.str();
  return outcome;
}

std::vector<std::string> Entries(const std::string& dir) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(dir)) {
    names.push_back(entry.path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

TEST(ExportCommand, HelpPrintsTheUsage) {
  const ExportOutcome outcome = Export({"--help"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out, kExportUsage);
  EXPECT_EQ(outcome.err, "");
}

TEST(ExportCommand, AWrongCommandLineShowsTheUsage) {
  const ExportOutcome outcome = Export({"json"});
  EXPECT_EQ(outcome.status, 2);
  EXPECT_EQ(outcome.err, std::string("TesselExport: expected FORMAT "
                                     "PERSONALITY [-o DIR]\n") +
                             kExportUsage);
}

TEST(ExportCommand, AnUnknownFormatIsNamed) {
  const ExportOutcome outcome = Export({"xml", "p.p_c"});
  EXPECT_EQ(outcome.status, 2);
  EXPECT_EQ(outcome.err,
            "TesselExport: unknown format \"xml\" (use json, clang, cppcheck "
            "or all)\n");
}

TEST(ExportCommand, AMissingPersonalityIsNamed) {
  tessel_test::ScratchDir scratch;
  const ExportOutcome outcome = Export({"json", "nothing.p_c"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err, "TesselExport: nothing.p_c: cannot be read\n");
}

TEST(ExportCommand, AnUnparsableLineIsNamedWithItsLine) {
  tessel_test::ScratchDir scratch;
  tessel_test::WriteFile("p.p_c", "-i \"/x\"\n-xn abc\n");
  const ExportOutcome outcome = Export({"all", "p.p_c", "-o", "out"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err.rfind("TesselExport: p.p_c:2: ", 0), 0u) << outcome.err;
  EXPECT_FALSE(tessel_test::Exists("out"));
}

TEST(ExportCommand, AllWritesEveryFileIntoTheDirectory) {
  tessel_test::ScratchDir scratch;
  tessel_test::WriteFile("run/personality/p.p_c",
                         tessel_test::kSdccPersonality);
  const ExportOutcome outcome =
      Export({"all", "run/personality/p.p_c", "-o", "out"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(outcome.out,
            "Wrote out/tessel_personality.json\n"
            "Wrote out/compile_flags.txt\n"
            "Wrote out/.clangd\n"
            "Wrote out/tessel_compat.h\n"
            "clang target: avr-unknown-unknown (holds 7 of 8 facts)\n"
            "Facts no clang target can hold:\n"
            "  -s dataptr=24\n"
            "Wrote out/tessel_platform.xml\n"
            "Wrote out/tessel_includes.txt\n"
            "Wrote out/tessel.cppcheck\n"
            "Wrote out/tessel_cppcheck_compat.h\n"
            "Note: sizeof bool is not in the personality: 1 assumed\n"
            "Note: sizeof short is not in the personality: 2 assumed\n"
            "Note: sizeof long-long is not in the personality: 8 assumed\n"
            "Note: sizeof float is not in the personality: 4 assumed\n"
            "Note: sizeof double is not in the personality: 8 assumed\n"
            "Note: sizeof long-double is not in the personality: 8 "
            "assumed\n");
  EXPECT_EQ(
      Entries("out"),
      (std::vector<std::string>{
          ".clangd", "compile_flags.txt", "tessel.cppcheck", "tessel_compat.h",
          "tessel_cppcheck_compat.h", "tessel_includes.txt",
          "tessel_personality.json", "tessel_platform.xml"}));
  ExportFacts facts;
  std::string err;
  ASSERT_TRUE(load_export_facts("run/personality/p.p_c", &facts, &err));
  EXPECT_EQ(tessel_test::ReadFile("out/tessel_personality.json"),
            personality_json(facts));
  EXPECT_EQ(
      tessel_test::Lines(tessel_test::ReadFile("out/compile_flags.txt")).back(),
      scratch.work() + "/out/tessel_compat.h");
}

TEST(ExportCommand, WithoutADirectoryTheFilesGoBesideThePersonality) {
  tessel_test::ScratchDir scratch;
  tessel_test::WriteFile("p/p.p_c", "-s int=32\n");
  tessel_test::WriteFile("p/tessel_personality.json", "old, longer text\n");
  const ExportOutcome outcome = Export({"json", "p/p.p_c"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(outcome.out, "Wrote p/tessel_personality.json\n");
  EXPECT_EQ(tessel_test::ReadFile("p/tessel_personality.json").substr(0, 2),
            "{\n");
  // The temporary file was renamed: nothing else is left behind.
  EXPECT_EQ(Entries("p"),
            (std::vector<std::string>{"p.p_c", "tessel_personality.json"}));
}

TEST(ExportCommand, AFileThatCannotBeWrittenIsNamed) {
  tessel_test::ScratchDir scratch;
  std::string err;
  EXPECT_FALSE(write_file_replacing("missing/f.txt", "x", &err));
  EXPECT_EQ(err, "missing/f.txt: cannot be written");
}

}  // namespace
