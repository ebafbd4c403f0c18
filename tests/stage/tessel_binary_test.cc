// Black-box tests: the built TesselGen executable, run as a user runs it, in
// a scratch directory with the fake compiler. Every test compares what the
// user sees: standard output, standard error, exit status, the run log and
// the personality file.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <initializer_list>
#include <string>
#include <vector>

#include "tests/support/test_support.h"

using tessel_test::Exists;
using tessel_test::FakeInvocations;
using tessel_test::kFakeCc;
using tessel_test::kTesselBinary;
using tessel_test::Lines;
using tessel_test::ProcessResult;
using tessel_test::ReadFile;
using tessel_test::RunTessel;
using tessel_test::ScratchDir;
using tessel_test::ShellQuote;
using tessel_test::WriteFakeRules;
using tessel_test::WriteFile;

namespace {

const char kStartLine[] = "Start personality generation using Tessel\n";
const char kOrder[] = "%c %j %d%s %o%e";

// The eight positionals for the fake compiler, then `options`.
std::vector<std::string> FakeArgs(const std::vector<std::string>& options,
                                  const std::string& product = "vellc",
                                  const std::string& cross = "cmp",
                                  const std::string& order = kOrder) {
  std::vector<std::string> args = {product, cross, kFakeCc, "-o",
                                   "-c",    "-D",  ".o",    order};
  args.insert(args.end(), options.begin(), options.end());
  return args;
}

// `lines`, each followed by a newline.
std::string Text(std::initializer_list<std::string> lines) {
  std::string text;
  for (const std::string& line : lines) {
    text += line + "\n";
  }
  return text;
}

// The console echo of FakeArgs' positionals, up to the blank line after
// "Additional Options:".
std::string Echo(const std::string& product = "vellc",
                 const std::string& cross = "cmp",
                 const std::string& order = kOrder) {
  return Text({
      "Start personality generation using Tessel",
      "[1] Product:              " + product,
      "[2] CrossCompiler:        " + cross,
      "[3] CompilerExe:          " + std::string(kFakeCc),
      "[4] CompilerExeFlag:      -o",
      "[5] CompilerCmpFlag:      -c",
      "[6] CompilerDefFlag:      -D",
      "[7] Object File Ext Flag: .o",
      "[8] Compiler Order Str:   \"" + order + "\"",
      "",
      "Additional Options:",
      "",
  });
}

// The settings echo of FakeArgs' positionals in a masked run log (see
// MaskedLog), from its first line on.
std::string LogEcho(const std::string& vellc = "[1] VellC=true",
                    const std::string& cross = "false",
                    const std::string& order = kOrder) {
  return Text({
      "Started Logging at: <date>",
      "",
      "",
      "[+ms][INFO] TesselPersonGen v0.1 ()",
      "[+ms][INFO] " + vellc,
      "[+ms][INFO] [2] Cross Compiling=" + cross,
      "[+ms][INFO] [3] Compiler EXE=" + std::string(kFakeCc),
      "[+ms][INFO] [4] Compiler EXE Flag=-o",
      "[+ms][INFO] [5] Compiler Compile Flag=-c",
      "[+ms][INFO] [6] Compiler Define Flag=-D",
      "[+ms][INFO] [7] Object File Ext=.o",
      "[+ms][INFO] [8] Compiler Order String=" + order,
  });
}

// The closing lines of a masked run log of a run shorter than a second.
const char kShortLogEnd[] =
    "\n"
    "Finished Logging at: <date>\n"
    "\n"
    "Total run time:         0s\n";

// Names in the current directory, sorted.
std::vector<std::string> Entries() {
  std::vector<std::string> names;
  std::error_code ec;
  for (const auto& entry : std::filesystem::directory_iterator(".", ec)) {
    names.push_back(entry.path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

// True when `text` has the shape `shape`: "D" stands for a digit, "d" for a
// digit or a blank, "A" for an upper-case and "a" for a lower-case letter;
// any other character stands for itself.
bool Shaped(const std::string& text, const std::string& shape) {
  if (text.size() != shape.size()) {
    return false;
  }
  for (size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    const bool digit = c >= '0' && c <= '9';
    bool fits = false;
    switch (shape[i]) {
      case 'D':
        fits = digit;
        break;
      case 'd':
        fits = digit || c == ' ';
        break;
      case 'A':
        fits = c >= 'A' && c <= 'Z';
        break;
      case 'a':
        fits = c >= 'a' && c <= 'z';
        break;
      default:
        fits = c == shape[i];
        break;
    }
    if (!fits) {
      return false;
    }
  }
  return true;
}

const char kLogNameShape[] = "TesselGen_DDDDDDDD_DDDDDD.log";
// The 24-character local date text, as in "Tue Nov  4 23:46:40 2025".
const char kDateShape[] = "Aaa Aaa dD DD:DD:DD DDDD";
// A 9-wide stamp of a gap below a billion milliseconds.
const char kStampShape[] = "[+ddddddddDms]";

// The run logs in the current directory.
std::vector<std::string> LogFiles() {
  std::vector<std::string> logs;
  for (const std::string& name : Entries()) {
    if (Shaped(name, kLogNameShape)) {
      logs.push_back(name);
    }
  }
  return logs;
}

// `line` with a leading stamp replaced by "[+ms]" and the date text of a
// "Started"/"Finished Logging at: " line replaced by "<date>".
std::string MaskLine(const std::string& line) {
  const size_t stampSize = sizeof kStampShape - 1;
  if (Shaped(line.substr(0, stampSize), kStampShape)) {
    return "[+ms]" + line.substr(stampSize);
  }
  for (const std::string prefix :
       {"Started Logging at: ", "Finished Logging at: "}) {
    if (line.compare(0, prefix.size(), prefix) == 0 &&
        Shaped(line.substr(prefix.size()), kDateShape)) {
      return prefix + "<date>";
    }
  }
  return line;
}

// The one run log, masked line by line (see MaskLine). Also checks that the
// file name carries the year and time of the "Started Logging at: " line.
std::string MaskedLog() {
  std::vector<std::string> logs = LogFiles();
  if (logs.size() != 1) {
    ADD_FAILURE() << "expected one run log, found " << logs.size();
    return "";
  }
  const std::string text = ReadFile(logs[0]);
  const std::vector<std::string> lines = Lines(text);
  const std::string started = "Started Logging at: ";
  if (!lines.empty() && lines[0].size() == started.size() + 24) {
    const std::string date = lines[0].substr(started.size());
    EXPECT_EQ(date.substr(20, 4), logs[0].substr(10, 4));
    EXPECT_EQ(date.substr(11, 2) + date.substr(14, 2) + date.substr(17, 2),
              logs[0].substr(19, 6));
  } else {
    ADD_FAILURE() << "no start line in " << logs[0];
  }
  std::string masked;
  for (const std::string& line : lines) {
    masked += MaskLine(line) + "\n";
  }
  if (!text.empty() && text.back() != '\n') {
    masked.pop_back();
  }
  return masked;
}

}  // namespace

// ---- version, usage and short command lines --------------------------------

// A native fake compiler: its hello-world program passes the host check and
// every other program prints 4, a size the type stage can read.
const char kNativeRules[] =
    "if has 'hello world'; then program_prints 'hello world'; "
    "else program_prints 4; fi\n";

TEST(TesselBinary, VersionRequest) {
  ScratchDir scratch;
  for (const char* option : {"-v", "--version"}) {
    ProcessResult result = RunTessel({option});
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ(std::string(kStartLine) + "TesselGen v0.1 ()\n", result.out);
    EXPECT_EQ("", result.err);
  }
  EXPECT_TRUE(Entries().empty());
}

TEST(TesselBinary, UsageText) {
  ScratchDir scratch;
  ProcessResult result = RunTessel({"--help"});
  EXPECT_EQ(0, result.exitCode);
  EXPECT_EQ(
      "Start personality generation using Tessel\n"
      "Usage: TesselGen <vellc|vellcpp> <ccmp|cmp> <compiler_command> "
      "<compiler_exe_flag> <compiler_obj_flag> <compiler_def_flag> "
      "<object_file_extension> <compiler_order_str> <-i <search__dir>... "
      "[-if include_paths_file ] [-op peronality_destination_file] [-xd "
      "comma_separated_implicit_compiler_defines] [-xs "
      "comma_separated_implicit_compiler_switches] [-rfs]\n",
      result.out);
  EXPECT_EQ("", result.err);
  EXPECT_TRUE(Entries().empty());
}

TEST(TesselBinary, ShortCommandLinesExitSilently) {
  ScratchDir scratch;
  ASSERT_EQ(0, mkdir("personality", 0755));
  for (const std::vector<std::string>& args :
       {std::vector<std::string>{}, FakeArgs({}), FakeArgs({"-rfs"}),
        std::vector<std::string>{"-v", "-rfs"}}) {
    ProcessResult result = RunTessel(args);
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ(kStartLine, result.out);
    EXPECT_EQ("", result.err);
  }
  EXPECT_EQ(std::vector<std::string>{"personality"}, Entries());
}

// ---- full runs
// ----------------------------------------------------------------

TEST(TesselBinary, CompletedRun) {
  ScratchDir scratch;
  ASSERT_EQ(0, mkdir("personality", 0755));
  WriteFakeRules(kNativeRules);
  ProcessResult result =
      RunTessel(FakeArgs({"-i", ".", "-xd", "A=1,,B", "-xs", "-x,-y"}));
  EXPECT_EQ(0, result.exitCode);
  // The scratch directory holds no keyword lists.
  EXPECT_EQ(
      "No \"config\" directory here: without the keyword lists the keyword "
      "results are unreliable.\n",
      result.err);

  // What the command line itself prints comes first, "Completed OK" last;
  // the stages print in between.
  const std::string head = Echo() + Text({
                                        " -i " + scratch.work(),
                                        "-xd A=1",
                                        "-xd B",
                                        "-xs -x,-y",
                                        "",
                                    });
  EXPECT_EQ(head, result.out.substr(0, head.size()));
  const std::string tail = "\nCompleted OK\n";
  ASSERT_GE(result.out.size(), head.size() + tail.size() - 1);
  EXPECT_EQ(tail, result.out.substr(result.out.size() - tail.size()));

  const std::string log = MaskedLog();
  const std::string logHead =
      LogEcho() + Text({
                      "[+ms][INFO] \t-i",
                      "[+ms][INFO] \t\t" + scratch.work(),
                      "[+ms][INFO] \t-xd",
                      "[+ms][INFO] \t\tA=1",
                      "[+ms][INFO] \t\tB",
                      "[+ms][INFO] \t-xs",
                      "[+ms][INFO] \t\t-x,-y",
                      "[+ms][INFO] \t-op "
                      "personality/TesselPerson.p_c",
                  });
  EXPECT_EQ(logHead, log.substr(0, logHead.size()));
  std::vector<std::string> lines = Lines(log);
  ASSERT_GE(lines.size(), 5u);
  EXPECT_EQ("[+ms][INFO] Completed OK", lines[lines.size() - 5]);
  EXPECT_EQ("", lines[lines.size() - 4]);
  EXPECT_EQ("Finished Logging at: <date>", lines[lines.size() - 3]);
  EXPECT_EQ("", lines[lines.size() - 2]);
  EXPECT_TRUE(Shaped(lines.back(), "Total run time: ddddddddDs"))
      << lines.back();
  EXPECT_EQ('\n', log.back());

  EXPECT_TRUE(Exists("personality/TesselPerson.p_c"));
  // The switch reaches the compiler whole, then the defines, in order.
  std::vector<std::string> calls = FakeInvocations();
  ASSERT_FALSE(calls.empty());
  EXPECT_EQ("-c -x,-y -DA=1 -DB -DXXX tmp_obj_test.c -otmp_obj_test.o",
            calls[0]);
}

TEST(TesselBinary, MissingPersonalityDirectoryEndsTheRunWithStatusOne) {
  ScratchDir scratch;
  ProcessResult result = RunTessel(FakeArgs({"-rfs", "-v"}));
  EXPECT_EQ(1, result.exitCode);
  EXPECT_EQ(Echo() +
                "-rfs \n"
                "Ignoring unknown option: -v\n"
                "\n"
                "Unable to open output personality file; "
                "personality/TesselPerson.p_c\n",
            result.out);
  EXPECT_EQ("", result.err);
  EXPECT_EQ(LogEcho() +
                "[+ms][INFO] \t-op personality/TesselPerson.p_c\n"
                "[+ms][INFO] \t-rfs \n"
                "[+ms][CRIT] Unable to open output personality file; "
                "personality/TesselPerson.p_c\n" +
                kShortLogEnd,
            MaskedLog());
  // No stage ran: the run log is the only file.
  EXPECT_EQ(LogFiles(), Entries());
}

TEST(TesselBinary, CppCrossSettingsAreEchoed) {
  ScratchDir scratch;
  ProcessResult result = RunTessel(FakeArgs(
      {"-op", "no/dir.p_c", "-tpl", "t.p_c", "-fi", "f.h", "-sub", "subtree"},
      "vellcpp", "ccmp"));
  EXPECT_EQ(1, result.exitCode);
  EXPECT_EQ(Echo("vellcpp", "ccmp") +
                "-op no/dir.p_c\n"
                "-tpl t.p_c\n"
                "-fi f.h\n"
                "-sub subtree\n"
                "\n"
                "Unable to open output personality file; no/dir.p_c\n",
            result.out);
  EXPECT_EQ("", result.err);
  EXPECT_EQ(LogEcho("VellC=false", "true") +
                "[+ms][INFO] \t-op no/dir.p_c\n"
                "[+ms][INFO] \t-tpl t.p_c\n"
                "[+ms][INFO] \t-fi f.h\n"
                "[+ms][INFO] \t-sub subtree\n"
                "[+ms][CRIT] Unable to open output personality file; "
                "no/dir.p_c\n" +
                kShortLogEnd,
            MaskedLog());
}

TEST(TesselBinary, MissingOptionValueEndsTheRunWithStatusTwo) {
  ScratchDir scratch;
  ASSERT_EQ(0, mkdir("personality", 0755));
  ProcessResult result = RunTessel(FakeArgs({"-xd", "A", "-op"}));
  EXPECT_EQ(2, result.exitCode);
  EXPECT_EQ(Echo() + "-xd A\n", result.out);
  EXPECT_EQ("Missing value for option -op\n", result.err);
  EXPECT_EQ(
      LogEcho() + "[+ms][CRIT] Missing value for option -op\n" + kShortLogEnd,
      MaskedLog());
  EXPECT_FALSE(Exists("personality/TesselPerson.p_c"));
  EXPECT_FALSE(Exists("fakecc.argv"));
}

TEST(TesselBinary, IncludesFileProblemsGoToStandardError) {
  ScratchDir scratch;
  WriteFile("dirs.txt", "\n/inc \nrel\r\n");
  ProcessResult result =
      RunTessel(FakeArgs({"-if", "nope.txt", "-if", "dirs.txt"}));
  EXPECT_EQ(1, result.exitCode);
  const std::string cwd = scratch.work();
  EXPECT_EQ(Echo() + Text({
                         "Reading include file " + cwd + "/nope.txt",
                         "Reading include file " + cwd + "/dirs.txt",
                         " -i /inc ",
                         " -i " + cwd + "/rel\r",
                         "",
                         "Unable to open output personality file; "
                         "personality/TesselPerson.p_c",
                     }),
            result.out);
  EXPECT_EQ("Unable to open includes file " + cwd +
                "/nope.txt\n"
                "Empty line in include file \n",
            result.err);
  EXPECT_EQ(LogEcho() +
                Text({
                    "[+ms][INFO] \t-i",
                    "[+ms][INFO] \t\t/inc ",
                    "[+ms][INFO] \t\t" + cwd + "/rel\r",
                    "[+ms][INFO] \t-op personality/TesselPerson.p_c",
                    "[+ms][CRIT] Unable to open output personality "
                    "file; personality/TesselPerson.p_c",
                }) +
                kShortLogEnd,
            MaskedLog());
}

TEST(TesselBinary, OrderStringWithoutAPlaceholderAbortsAtTheFirstCompile) {
  ScratchDir scratch;
  ASSERT_EQ(0, mkdir("personality", 0755));
  const std::string order = "%c %j %s %o%e";
  ProcessResult result =
      RunTessel(FakeArgs({"-i", "/usr/include"}, "vellc", "cmp", order));
  // The uncaught out-of-range error aborts the process.
  EXPECT_EQ(128 + 6, result.exitCode);
  EXPECT_EQ(Echo("vellc", "cmp", order) + " -i /usr/include\n\n", result.out);
  const std::string terminate =
      "terminate called after throwing an instance of 'std::out_of_range'\n";
  EXPECT_EQ(terminate, result.err.substr(0, terminate.size()));
  EXPECT_EQ("", ReadFile("personality/TesselPerson.p_c"));
  EXPECT_TRUE(Exists("personality/TesselPerson.p_c"));
  EXPECT_FALSE(Exists("fakecc.argv"));
  // The log stops where the process did: no closing lines.
  EXPECT_EQ(LogEcho("[1] VellC=true", "false", order) +
                "[+ms][INFO] \t-i\n"
                "[+ms][INFO] \t\t/usr/include\n"
                "[+ms][INFO] \t-op personality/TesselPerson.p_c\n",
            MaskedLog());
}
