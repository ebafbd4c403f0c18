#include "harness/shell.h"

#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <thread>

extern char** environ;

namespace {

using Clock = std::chrono::steady_clock;

// How a wait for a child ended.
enum class WaitResult { kEnded, kTimedOut, kCannotWatch };

}  // namespace

// Waits for `pid` without a limit; returns its raw status (-1 on error).
static int wait_for(pid_t pid) {
  int status = 0;
  while (waitpid(pid, &status, 0) < 0) {
    if (errno != EINTR) {
      return -1;
    }
  }
  return status;
}

// Waits for `pid` until `deadline` by polling a process descriptor, which
// wakes the moment the child ends. Needs a kernel that has pidfd_open.
static WaitResult wait_with_pidfd(pid_t pid, Clock::time_point deadline) {
#ifdef SYS_pidfd_open
  const int fd = static_cast<int>(syscall(SYS_pidfd_open, pid, 0));
  if (fd < 0) {
    return WaitResult::kCannotWatch;
  }
  WaitResult result = WaitResult::kTimedOut;
  while (true) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
                          deadline - Clock::now())
                          .count() +
                      1;
    if (Clock::now() >= deadline) {
      break;
    }
    pollfd watch{fd, POLLIN, 0};
    const int ready =
        poll(&watch, 1,
             static_cast<int>(std::min<long long>(left, 1000LL * 1000 * 1000)));
    if (ready > 0) {
      result = WaitResult::kEnded;
      break;
    }
    if (ready < 0 && errno != EINTR) {
      result = WaitResult::kCannotWatch;
      break;
    }
  }
  close(fd);
  return result;
#else
  (void)pid;
  (void)deadline;
  return WaitResult::kCannotWatch;
#endif
}

// Waits for `pid` until `deadline` by looking every few milliseconds; used
// where process descriptors are not available.
static WaitResult wait_by_polling(pid_t pid, Clock::time_point deadline,
                                  int* status) {
  auto pause = std::chrono::microseconds(100);
  while (true) {
    const pid_t ended = waitpid(pid, status, WNOHANG);
    if (ended == pid || (ended < 0 && errno != EINTR)) {
      return WaitResult::kEnded;
    }
    if (Clock::now() >= deadline) {
      return WaitResult::kTimedOut;
    }
    std::this_thread::sleep_for(pause);
    pause = std::min(pause * 2, std::chrono::microseconds(10000));
  }
}

int SystemShell::Run(const std::string& command) {
  // The command gets a process group of its own, so that a compiler that
  // hangs is stopped together with whatever it started.
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
  posix_spawnattr_setpgroup(&attributes, 0);
  const char* argv[] = {"sh", "-c", command.c_str(), nullptr};
  pid_t pid = 0;
  const int failed = posix_spawn(&pid, "/bin/sh", nullptr, &attributes,
                                 const_cast<char* const*>(argv), environ);
  posix_spawnattr_destroy(&attributes);
  if (failed != 0) {
    return -1;
  }
  if (timeLimitSeconds <= 0) {
    return wait_for(pid);
  }
  const Clock::time_point deadline =
      Clock::now() + std::chrono::seconds(timeLimitSeconds);
  int status = 0;
  WaitResult result = wait_with_pidfd(pid, deadline);
  if (result == WaitResult::kCannotWatch) {
    result = wait_by_polling(pid, deadline, &status);
    if (result == WaitResult::kEnded) {
      return status;
    }
  }
  if (result == WaitResult::kTimedOut) {
    kill(-pid, SIGKILL);
    wait_for(pid);
    return kTimedOut;
  }
  return wait_for(pid);
}

int CountingShell::Run(const std::string& command) {
  ++commands;
  if (command.rfind("./compile.sh", 0) == 0) {
    ++compiles;
  }
  auto start = std::chrono::steady_clock::now();
  int status = inner_.Run(command);
  seconds +=
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start)
          .count();
  return status;
}
