// Black-box tests of the built TesselGen against unlucky and hostile inputs:
// commands that hang, data that the shell would read, link loops and
// special files, paths that would overwrite the user's own files, full
// disks and two runs in one directory. Each test looks at what a user sees:
// exit status, console, run log and the files on disk.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/test_support.h"

using tessel_test::Exists;
using tessel_test::kFakeCc;
using tessel_test::kTesselBinary;
using tessel_test::ProcessResult;
using tessel_test::ReadFile;
using tessel_test::ScratchDir;
using tessel_test::ShellQuote;
using tessel_test::WriteFakeRules;
using tessel_test::WriteFile;

extern char** environ;

namespace {

const char kOrder[] = "%c %j %d%s %o%e";

// A native fake compiler whose hello-world program passes the host check
// and whose other programs print 4.
const char kNativeRules[] =
    "if has 'hello world'; then program_prints 'hello world'; "
    "else program_prints 4; fi\n";

// Runs the executable in the current directory with `args`.
ProcessResult RunTessel(const std::vector<std::string>& args) {
  std::string command = "ulimit -c 0; " + ShellQuote(kTesselBinary);
  for (const std::string& arg : args) {
    command += " " + ShellQuote(arg);
  }
  return tessel_test::RunProcess(command + "; exit $?");
}

// The eight positionals for the fake compiler (object extension `ext`),
// then `options`.
std::vector<std::string> FakeArgs(const std::vector<std::string>& options,
                                  const std::string& cross = "cmp",
                                  const std::string& ext = ".o") {
  std::vector<std::string> args = {"vellc", cross, kFakeCc, "-o",
                                   "-c",    "-D",  ext,     kOrder};
  args.insert(args.end(), options.begin(), options.end());
  return args;
}

// The text of the one run log in the current directory.
std::string RunLogText() {
  std::string found;
  int count = 0;
  for (const auto& entry : std::filesystem::directory_iterator(".")) {
    const std::string name = entry.path().filename().string();
    if (name.rfind("TesselGen_", 0) == 0) {
      found = name;
      ++count;
    }
  }
  EXPECT_EQ(1, count) << "run logs in the directory";
  return ReadFile(found);
}

// True when `text` holds `part`.
bool Holds(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

// True while a process with id `pid` exists (zombies excepted).
bool Alive(pid_t pid) {
  const std::string stat = ReadFile("/proc/" + std::to_string(pid) + "/stat");
  if (stat.empty()) {
    return false;
  }
  const std::string::size_type close = stat.rfind(')');
  return close != std::string::npos && close + 2 < stat.size() &&
         stat[close + 2] != 'Z';
}

}  // namespace

// ---- time limit -------------------------------------------------------------

TEST(HostileInputs, HangingCompilerIsStoppedWithItsProcessGroup) {
  ScratchDir scratch;
  ASSERT_EQ(0, mkdir("personality", 0755));
  // The compiler starts a helper that would outlive it, then hangs.
  WriteFakeRules("sleep 60 & echo $! > helper.pid\nsleep 60\n");
  const auto start = std::chrono::steady_clock::now();
  ProcessResult result = RunTessel(FakeArgs({"-timeout", "2"}));
  const double seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start)
          .count();
  EXPECT_LT(seconds, 30) << "the run was not stopped";
  // The one compile of the object extension check failed, which stops the
  // run as a failed check does.
  EXPECT_EQ(1, result.exitCode);
  const std::string message =
      "Command stopped at the time limit of 2 s: " + std::string(kFakeCc) +
      " -c -DXXX tmp_obj_test.c -otmp_obj_test.o";
  EXPECT_EQ(message + "\n", result.err);
  EXPECT_TRUE(Holds(result.out, "\n-timeout 2\n"));
  const std::string log = RunLogText();
  EXPECT_TRUE(Holds(log, "[INFO] \t-timeout 2\n"));
  EXPECT_TRUE(Holds(log, "[WARN] " + message + "\n"));
  const pid_t helper = std::atoi(ReadFile("helper.pid").c_str());
  ASSERT_GT(helper, 0);
  for (int i = 0; i < 100 && Alive(helper); ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  EXPECT_FALSE(Alive(helper)) << "the compiler's helper still runs";
}

TEST(HostileInputs, HangingTestProgramCountsAsFailed) {
  ScratchDir scratch;
  ASSERT_EQ(0, mkdir("personality", 0755));
  // The host check's program hangs; every other program prints 4.
  WriteFakeRules(
      "if [ \"$FAKE_MODE\" = program ] && has 'hello world'; then\n"
      "  printf '#!/bin/sh\\nsleep 60\\n' > \"$FAKE_OUT\"\n"
      "  chmod +x \"$FAKE_OUT\"; exit 0\n"
      "fi\n"
      "program_prints 4\n");
  ProcessResult result = RunTessel(FakeArgs({"-timeout", "2"}));
  EXPECT_EQ(0, result.exitCode);
  const std::string message =
      "Command stopped at the time limit of 2 s: ./tmp_exe_test.exe";
  EXPECT_EQ(message + "\n", result.err);
  EXPECT_TRUE(Holds(result.out,
                    "Failed on executing a test file on this host system! "
                    "Continuing in Cross Compiler mode\nDebug: \n"));
  EXPECT_TRUE(Holds(result.out, "\nCompleted OK\n"));
  EXPECT_TRUE(Holds(RunLogText(), "[WARN] " + message + "\n"));
}

TEST(HostileInputs, TimeoutNeedsAWholeNumber) {
  ScratchDir scratch;
  for (const char* value : {"", "abc", "2s", "-1"}) {
    ProcessResult result = RunTessel(FakeArgs({"-rfs", "-timeout", value}));
    EXPECT_EQ(2, result.exitCode) << value;
    EXPECT_EQ("Missing value for option -timeout\n", result.err) << value;
  }
  ProcessResult result = RunTessel(FakeArgs({"-rfs", "-timeout"}));
  EXPECT_EQ(2, result.exitCode);
  EXPECT_EQ("Missing value for option -timeout\n", result.err);
}

// ---- shell injection --------------------------------------------------------

TEST(HostileInputs, DataNeverReachesTheShellAsCode) {
  ScratchDir scratch("run");
  ASSERT_EQ(0, mkdir("personality", 0755));
  // Candidates that hold "touch" do not compile, so they are found as
  // keywords and would be tried as defines in the keyword position tests.
  WriteFakeRules(std::string(kNativeRules) +
                 "if has touch || has __kw_ok; then fail 'no'; fi\n");
  WriteFile("tpl.p_c",
            "<test>\n"
            "__kw_ok\n"
            "x;touch ../inj1\n"
            "`touch ../inj2`\n"
            "$(touch ../inj3)\n"
            "</test>\n");
  WriteFile("../c_keyword_tests/kw10_position.c",
            "//Error:none\n//Success:prefix\n\nXXX int a;\n");
  const std::string hostile = "../c_tests/t;cd ..;touch inj4;.c";
  WriteFile(hostile, "//Error: e\n//Success:-ex s\n\nint a;\n");
  WriteFile("../c_tests/plain.c", "//Error: e\n//Success:-ex p\n\nint a;\n");
  ProcessResult result = RunTessel(FakeArgs({"-tpl", "tpl.p_c"}));
  EXPECT_EQ(0, result.exitCode);
  for (const char* trace : {"../inj1", "../inj2", "../inj3", "../inj4"}) {
    EXPECT_FALSE(Exists(trace)) << trace;
  }
  const std::string skipped[] = {
      "Template keyword is not a C identifier and is not tested: "
      "'x;touch ../inj1' (tpl.p_c line 3)",
      "Template keyword is not a C identifier and is not tested: "
      "'`touch ../inj2`' (tpl.p_c line 4)",
      "Template keyword is not a C identifier and is not tested: "
      "'$(touch ../inj3)' (tpl.p_c line 5)",
      "Test file skipped, its name holds characters the shell would read: " +
          hostile,
  };
  std::string err;
  const std::string log = RunLogText();
  for (const std::string& line : skipped) {
    err += line + "\n";
    EXPECT_TRUE(Holds(log, "[WARN] " + line + "\n")) << line;
  }
  EXPECT_EQ(err, result.err);
  // The plain test file and the plain candidate are still tried.
  const std::string personality = ReadFile("personality/TesselPerson.p_c");
  EXPECT_TRUE(Holds(personality, "-ex p\n")) << personality;
  EXPECT_FALSE(Holds(personality, "-ex s\n")) << personality;
  EXPECT_TRUE(Holds(personality, "-d \"__kw_ok=prefix\"\n")) << personality;
}

// ---- one run per directory --------------------------------------------------

namespace {

// Starts the executable with `args` in the background, its output thrown
// away; returns its process id.
pid_t StartTessel(const std::vector<std::string>& args) {
  std::vector<char*> argv;
  std::string binary = kTesselBinary;
  argv.push_back(binary.data());
  std::vector<std::string> copies = args;
  for (std::string& arg : copies) {
    argv.push_back(arg.data());
  }
  argv.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
  pid_t pid = 0;
  EXPECT_EQ(0, posix_spawn(&pid, kTesselBinary, &actions, nullptr, argv.data(),
                           environ));
  posix_spawn_file_actions_destroy(&actions);
  return pid;
}

// Waits until `path` exists (at most 30 s).
void AwaitFile(const std::string& path) {
  for (int i = 0; i < 1500 && !Exists(path); ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  ASSERT_TRUE(Exists(path)) << path;
}

// Every file below the current directory with its content.
std::map<std::string, std::string> Snapshot() {
  std::map<std::string, std::string> files;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(".")) {
    files[entry.path().string()] =
        entry.is_regular_file() ? ReadFile(entry.path().string()) : "<dir>";
  }
  return files;
}

// The fake compiler waits for the file "release" on its first compile.
const char kHeldRules[] =
    "if [ ! -f release ]; then touch started\n"
    "  while [ ! -f release ]; do sleep 0.05; done; fi\n";

const char kBusy[] =
    "Another TesselGen run is going on in this directory; run in another "
    "directory or wait until it ends.\n";

}  // namespace

TEST(HostileInputs, SecondRunInTheSameDirectoryStopsAtOnce) {
  ScratchDir scratch;
  ASSERT_EQ(0, mkdir("personality", 0755));
  WriteFakeRules(std::string(kHeldRules) + kNativeRules);
  const pid_t first = StartTessel(FakeArgs({"-rfs", "-rfs"}));
  AwaitFile("started");
  const std::map<std::string, std::string> before = Snapshot();
  ProcessResult second = RunTessel(FakeArgs({"-rfs", "-rfs"}));
  EXPECT_EQ(2, second.exitCode);
  EXPECT_EQ("Start personality generation using Tessel\n", second.out);
  EXPECT_EQ(kBusy, second.err);
  EXPECT_EQ(before, Snapshot());

  WriteFile("release", "");
  int status = 0;
  ASSERT_EQ(first, waitpid(first, &status, 0));
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  // The lock is gone with the run: the next run starts.
  ProcessResult third = RunTessel(FakeArgs({"-rfs", "-rfs"}));
  EXPECT_EQ(0, third.exitCode);
  EXPECT_FALSE(Holds(third.err, "Another TesselGen run")) << third.err;
}

TEST(HostileInputs, KilledRunLeavesNoLockBehind) {
  ScratchDir scratch;
  ASSERT_EQ(0, mkdir("personality", 0755));
  WriteFakeRules(std::string(kHeldRules) + kNativeRules);
  const pid_t first = StartTessel(FakeArgs({"-rfs", "-rfs"}));
  AwaitFile("started");
  ASSERT_EQ(0, kill(first, SIGKILL));
  int status = 0;
  ASSERT_EQ(first, waitpid(first, &status, 0));
  // The fake compiler of the killed run still waits; the lock is not
  // handed down to it.
  ProcessResult next = RunTessel(FakeArgs({"-rfs", "-rfs", "-timeout", "1"}));
  // It starts, and its own first compile waits too, until the time limit.
  EXPECT_EQ(1, next.exitCode);
  EXPECT_TRUE(Holds(next.err, "Command stopped at the time limit of 1 s: "))
      << next.err;
  WriteFile("release", "");
}
