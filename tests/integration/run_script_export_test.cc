// scripts/run.sh ends a run by writing the exports beside the personality
// and saying where they are. A stand-in for TesselGen writes a small
// personality, so this needs no compiler.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tests/support/test_support.h"

using tessel_test::Exists;
using tessel_test::Lines;
using tessel_test::ProcessResult;
using tessel_test::RunProcess;
using tessel_test::ScratchDir;
using tessel_test::ShellQuote;

namespace {

const char kStandIn[] =
    "#!/bin/sh\n"
    "printf -- '-i \"/usr/include\"\\n-s int=16\\n-u+\\n' "
    "> personality/TesselPerson.p_c\n"
    "echo 'Completed OK'\n";

std::string Closing(const std::string& output, const std::string& label) {
  for (const std::string& line : Lines(output)) {
    if (line.rfind(label, 0) == 0) {
      return line;
    }
  }
  return "";
}

std::string RunWithExporter(const std::string& exporter) {
  tessel_test::WriteFile("standin.sh", kStandIn);
  EXPECT_EQ(0, RunProcess("chmod +x standin.sh").exitCode);
  const ProcessResult run = RunProcess(
      "TESSEL_BINARY=standin.sh TESSEL_EXPORT=" + ShellQuote(exporter) +
      " TESSEL_RUNS_DIR=runs bash " +
      ShellQuote(std::string(tessel_test::kSourceDir) + "/scripts/run.sh") +
      " -- vellc cmp cc '-o ' -c -D .o '%c %j %d%s %o%e'");
  EXPECT_EQ(0, run.exitCode) << run.err;
  return run.out;
}

TEST(RunScriptExport, TheExportsAreWrittenBesideThePersonality) {
  ScratchDir scratch;
  const std::string exporter =
      (std::filesystem::path(tessel_test::kTesselBinary).parent_path() /
       "TesselExport")
          .string();
  const std::string out = RunWithExporter(exporter);
  const std::string personality = Closing(out, "Personality:").substr(19);
  const std::string dir =
      std::filesystem::path(personality).parent_path().string();
  EXPECT_EQ(Closing(out, "Exports:"), "Exports:           " + dir);
  for (const char* name :
       {"tessel_personality.json", "compile_flags.txt", ".clangd",
        "tessel_compat.h", "tessel_platform.xml", "tessel_includes.txt",
        "tessel.cppcheck", "tessel_cppcheck_compat.h"}) {
    EXPECT_TRUE(Exists(dir + "/" + name)) << name;
  }
  EXPECT_EQ(tessel_test::ReadFile(dir + "/tessel_includes.txt"),
            "/usr/include\n");
}

TEST(RunScriptExport, AMissingExporterIsSaid) {
  ScratchDir scratch;
  EXPECT_EQ(Closing(RunWithExporter("/nonexistent/TesselExport"), "Exports:"),
            "Exports:           (not written: no TesselExport at "
            "/nonexistent/TesselExport)");
}

}  // namespace
