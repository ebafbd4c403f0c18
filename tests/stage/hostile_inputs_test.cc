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
using tessel_test::RunTessel;
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

// Links the shipped keyword lists into the current directory, so that a
// run's standard error holds only what a test provokes.
void LinkConfig() {
  ASSERT_EQ(0,
            symlink((std::string(tessel_test::kSourceDir) + "/config").c_str(),
                    "config"));
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
  LinkConfig();
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
  LinkConfig();
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

// The fake compiler waits for the file "release" on its first compile, and
// says so with "started" and "resumed".
const char kHeldRules[] =
    "if [ ! -f release ]; then touch started\n"
    "  while [ ! -f release ]; do sleep 0.05; done; touch resumed; fi\n";

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
  // Lets the killed run's compiler end before the directory goes away.
  WriteFile("release", "");
  AwaitFile("resumed");
}

// ---- directory walks --------------------------------------------------------

namespace {

// A header tree "inc": a.h, sub/b.h, each declaring a keyword candidate
// the fake compiler rejects.
void WriteHeaderTree() {
  WriteFile("inc/a.h", "int __kwa;\n");
  WriteFile("inc/sub/b.h", "int __kwb;\n");
}

}  // namespace

TEST(HostileInputs, LinkLoopsAndSpecialFilesAreWalkedSafely) {
  ScratchDir scratch;
  ASSERT_EQ(0, mkdir("personality", 0755));
  LinkConfig();
  WriteFakeRules(std::string(kNativeRules) +
                 "if has __kwa || has __kwb; then fail 'no'; fi\n");
  WriteHeaderTree();
  const std::vector<std::string> args =
      FakeArgs({"-i", "inc", "-sub", "inc", "-op", "personality/p.p_c"});
  // The same tree without loops and special files gives the reference.
  ProcessResult clean = RunTessel(args);
  ASSERT_EQ(0, clean.exitCode) << clean.err;
  const std::string expected = ReadFile("personality/p.p_c");
  ASSERT_TRUE(Holds(expected, "-d __kwb=\n")) << expected;
  std::filesystem::remove_all("personality");
  ASSERT_EQ(0, mkdir("personality", 0755));

  ASSERT_EQ(0, symlink("..", "inc/sub/up"));
  ASSERT_EQ(0, symlink(".", "inc/sub/self"));
  ASSERT_EQ(0, mkfifo("inc/fifo", 0644));
  ASSERT_EQ(0, symlink("/dev/zero", "inc/zero"));
  ProcessResult result = RunTessel(args);
  EXPECT_EQ(0, result.exitCode);
  EXPECT_TRUE(Holds(result.out, "\nCompleted OK\n"));
  EXPECT_EQ(expected, ReadFile("personality/p.p_c"));
  const std::string top = scratch.work() + "/inc";
  for (const std::string& warning : {
           "Header scan skips a file that is not a regular file: " + top +
               "/fifo",
           "Header scan skips a file that is not a regular file: " + top +
               "/zero",
           "Header scan skips a link back into a directory it is walking: " +
               top + "/sub/up",
           "Header scan skips a link back into a directory it is walking: " +
               top + "/sub/self",
           std::string("Sub-personality entry skipped: inc/fifo (not a "
                       "regular file)"),
           std::string("Sub-personality entry skipped: inc/zero (not a "
                       "regular file)"),
           std::string("Sub-personality entry skipped: inc/sub/up (a "
                       "directory already copied)"),
           std::string("Sub-personality entry skipped: inc/sub/self (a "
                       "directory already copied)"),
       }) {
    EXPECT_TRUE(Holds(result.err, warning + "\n")) << warning;
  }
  // The copy holds the two headers and nothing else.
  std::set<std::string> copied;
  for (const auto& entry :
       std::filesystem::recursive_directory_iterator("personality/inc")) {
    copied.insert(entry.path().string());
  }
  EXPECT_EQ((std::set<std::string>{"personality/inc/a.h", "personality/inc/sub",
                                   "personality/inc/sub/b.h"}),
            copied);
  EXPECT_EQ("int __kwb;\n", ReadFile("personality/inc/sub/b.h"));
}

// ---- user inputs are never overwritten ------------------------------------

namespace {

// Every file below the current directory but the run logs.
std::map<std::string, std::string> Inputs() {
  std::map<std::string, std::string> files = Snapshot();
  for (auto it = files.begin(); it != files.end();) {
    it = it->first.rfind("./TesselGen_", 0) == 0 ? files.erase(it) : ++it;
  }
  return files;
}

// Runs with `options`, expects the refusal `message` and every input as
// it was.
void ExpectRefusal(const std::vector<std::string>& options,
                   const std::string& message) {
  const std::map<std::string, std::string> before = Inputs();
  ProcessResult result = RunTessel(FakeArgs(options));
  EXPECT_EQ(2, result.exitCode);
  EXPECT_EQ(message + "\n", result.err);
  EXPECT_FALSE(Holds(result.out, "Completed OK"));
  EXPECT_TRUE(Holds(RunLogText(), "[CRIT] " + message + "\n"));
  EXPECT_EQ(before, Inputs());
  for (const auto& entry : std::filesystem::directory_iterator(".")) {
    if (entry.path().filename().string().rfind("TesselGen_", 0) == 0) {
      std::filesystem::remove(entry.path());
    }
  }
}

}  // namespace

TEST(HostileInputs, RunThatWouldOverwriteItsInputsIsRefused) {
  ScratchDir scratch;
  ASSERT_EQ(0, mkdir("personality", 0755));
  WriteFakeRules(kNativeRules);
  WriteFile("tpl.p_c", "<add>\n-d X=1\n</add>\n");
  WriteFile("fi.h", "/* Any other items */\n#else\n");
  WriteFile("tree/x.h", "int x;\n");
  WriteFile("personality/kivforceinclude/own.h", "int own;\n");

  ExpectRefusal({"-op", "tpl.p_c", "-tpl", "./tpl.p_c"},
                "The personality file tpl.p_c is the template personality "
                "./tpl.p_c; the run would overwrite it. Choose another -op "
                "or -tpl.");
  ExpectRefusal({"-op", "fi.h", "-fi", "fi.h"},
                "The personality file fi.h is the force-include header fi.h; "
                "the run would overwrite it. Choose another -op or -fi.");
  ExpectRefusal(
      {"-fi", "personality/kivforceinclude/own.h"},
      "The force-include header personality/kivforceinclude/own.h is the "
      "file the run writes from it "
      "(personality/kivforceinclude/own.h); the run would empty it. Move it "
      "or choose another -op.");
  ExpectRefusal({"-sub", "personality"},
                "The sub-personality tree personality holds the output "
                "directory of personality/TesselPerson.p_c; the run would "
                "copy the tree into itself and overwrite its files. Choose "
                "another -op or -sub.");
  ExpectRefusal({"-sub", "tree", "-op", "tree/p.p_c"},
                "The sub-personality tree tree holds the output directory of "
                "tree/p.p_c; the run would copy the tree into itself and "
                "overwrite its files. Choose another -op or -sub.");
}

// ---- write errors -----------------------------------------------------------

namespace {

// A full file system mounted on "full" for the length of a test.
class FullDisk {
 public:
  FullDisk() {
    mkdir("full", 0755);
    mounted_ =
        tessel_test::RunProcess("mount -t tmpfs -o size=64k tmpfs full 2>&1")
            .exitCode == 0;
    if (mounted_) {
      tessel_test::RunProcess("dd if=/dev/zero of=full/filler bs=4k 2>&1");
    }
  }
  ~FullDisk() {
    if (mounted_) {
      tessel_test::RunProcess("umount -l full");
    }
  }
  bool mounted() const { return mounted_; }

 private:
  bool mounted_ = false;
};

// Runs with `options` and expects the run to end on a write error in
// `file`.
void ExpectWriteError(const std::vector<std::string>& options,
                      const std::string& file) {
  ProcessResult result = RunTessel(FakeArgs(options));
  const std::string message =
      "Cannot write " + file +
      " (disk full or write error); the personality is incomplete.";
  EXPECT_EQ(1, result.exitCode);
  EXPECT_EQ(message + "\n", result.err);
  EXPECT_FALSE(Holds(result.out, "Completed OK"));
  const std::string log = RunLogText();
  EXPECT_TRUE(Holds(log, "[CRIT] " + message + "\n")) << log;
  EXPECT_FALSE(Holds(log, "Completed OK"));
}

// A scratch directory with a full tmpfs mounted at "full" (the test is
// skipped where none can be mounted), the configuration and a native fake
// compiler.
class HostileInputsFullDisk : public testing::Test {
 protected:
  void SetUp() override {
    if (!disk_.mounted()) {
      GTEST_SKIP() << "cannot mount a small tmpfs here (needs root)";
    }
    LinkConfig();
    WriteFakeRules(kNativeRules);
  }

 private:
  ScratchDir scratch_;
  FullDisk disk_;
};

}  // namespace

TEST_F(HostileInputsFullDisk, EndsTheRunWithoutSuccess) {
  ExpectWriteError({"-op", "full/p.p_c"}, "full/p.p_c");
}

TEST_F(HostileInputsFullDisk, UnderTheForceIncludeHeader) {
  ASSERT_EQ(0, mkdir("personality", 0755));
  ASSERT_EQ(0, symlink("../full", "personality/kivforceinclude"));
  WriteFile("fi.h", std::string(8192, 'x') + "\n");
  ExpectWriteError({"-fi", "fi.h"}, "personality/kivforceinclude/fi.h");
}

TEST_F(HostileInputsFullDisk, UnderTheSubPersonalityCopy) {
  ASSERT_EQ(0, mkdir("personality", 0755));
  ASSERT_EQ(0, symlink("../full", "personality/src"));
  WriteFile("src/big.h", std::string(65536, 'x') + "\n");
  ExpectWriteError({"-sub", "src"}, "personality/src/big.h");
}
