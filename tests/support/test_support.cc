#include "tests/support/test_support.h"

#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iostream>

#include "harness/globals.h"
#include "probes/keyword_lists.h"

namespace tessel_test {

const char kSourceDir[] = TESSEL_SOURCE_DIR;
const char kFakeCc[] = TESSEL_FAKECC;
const char kTesselBinary[] = TESSEL_BINARY;

namespace fs = std::filesystem;

ScratchDir::ScratchDir(const std::string& subdir) {
  std::error_code ec;
  previous_ = fs::current_path(ec).string();
  std::string pattern =
      (fs::temp_directory_path(ec) / "tessel_XXXXXX").string();
  std::vector<char> buffer(pattern.begin(), pattern.end());
  buffer.push_back('\0');
  if (mkdtemp(buffer.data()) == nullptr) {
    std::perror("mkdtemp");
    std::abort();
  }
  root_ = buffer.data();
  work_ = subdir.empty() ? root_ : root_ + "/" + subdir;
  fs::create_directories(work_, ec);
  if (chdir(work_.c_str()) != 0) {
    std::perror("chdir");
    std::abort();
  }
}

ScratchDir::~ScratchDir() {
  if (chdir(previous_.c_str()) != 0) {
    std::perror("chdir");
  }
  if (getenv("TESSEL_KEEP_SCRATCH") == nullptr) {
    std::error_code ec;
    fs::remove_all(root_, ec);
  }
}

std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  if (in) {
    text << in.rdbuf();
  }
  return text.str();
}

void WriteFile(const std::string& path, const std::string& text) {
  std::error_code ec;
  fs::path parent = fs::path(path).parent_path();
  if (!parent.empty()) {
    fs::create_directories(parent, ec);
  }
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out << text;
}

bool Exists(const std::string& path) {
  std::error_code ec;
  return fs::exists(path, ec);
}

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::string::size_type start = 0;
  while (start < text.size()) {
    std::string::size_type end = text.find('\n', start);
    if (end == std::string::npos) {
      lines.push_back(text.substr(start));
      break;
    }
    lines.push_back(text.substr(start, end - start));
    start = end + 1;
  }
  return lines;
}

std::string ShellQuote(const std::string& text) {
  std::string quoted = "'";
  for (char c : text) {
    if (c == '\'') {
      quoted += "'\\''";
    } else {
      quoted += c;
    }
  }
  return quoted + "'";
}

ProcessResult RunProcess(const std::string& command) {
  char outName[] = "/tmp/tessel_out_XXXXXX";
  char errName[] = "/tmp/tessel_err_XXXXXX";
  int outFd = mkstemp(outName);
  int errFd = mkstemp(errName);
  close(outFd);
  close(errFd);
  std::string full =
      "( " + command + " ) </dev/null >" + outName + " 2>" + errName;
  int status = std::system(full.c_str());
  ProcessResult result;
  result.exitCode =
      WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  result.out = ReadFile(outName);
  result.err = ReadFile(errName);
  std::remove(outName);
  std::remove(errName);
  return result;
}

int64_t FrozenClock() { return 1763000000LL * 1000000; }

void UseUtc() {
  setenv("TZ", "UTC", 1);
  tzset();
}

std::set<std::string> ShippedLanguageKeywords(bool isC) {
  std::set<std::string> keywords;
  LoadKeywordList(
      std::string(kSourceDir) + "/" + (isC ? kCKeywordsPath : kCppKeywordsPath),
      keywords, std::cerr);
  return keywords;
}

void WriteFakeRules(const std::string& rules) {
  WriteFile("fakecc.rules", rules);
}

std::string SourceRules(const std::string& path) {
  return ". " + ShellQuote(std::string(TESSEL_SOURCE_DIR) + "/tests/" + path) +
         "\n";
}

std::vector<std::string> FakeInvocations() {
  return Lines(ReadFile("fakecc.argv"));
}

FakeRun::FakeRun(bool isC, bool cross) {
  reset_globals_for_testing();
  tg = std::make_unique<TesselGen>(
      isC ? "vellc" : "vellcpp", cross ? "ccmp" : "cmp", kFakeCc, "-o", "-c",
      "-D", ".o", "%c %j %d%s %o%e", shell, FrozenClock);
  tg->out = &console;
  tg->err = &console;
  S_OBJEXT = ".o";
}

ProcessResult RunTessel(const std::vector<std::string>& args) {
  std::string command = "ulimit -c 0; " + ShellQuote(kTesselBinary);
  for (const std::string& arg : args) {
    command += " " + ShellQuote(arg);
  }
  return RunProcess(command + "; exit $?");
}

}  // namespace tessel_test
