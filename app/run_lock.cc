#include "app/run_lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>

RunLock::~RunLock() {
  if (fd_ >= 0) {
    close(fd_);
  }
}

bool RunLock::Acquire() {
  fd_ = open(".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd_ < 0) {
    return true;
  }
  while (flock(fd_, LOCK_EX | LOCK_NB) != 0) {
    if (errno == EWOULDBLOCK) {
      return false;
    }
    if (errno != EINTR) {
      // No locking here (some network file systems): run unguarded rather
      // than not at all.
      return true;
    }
  }
  return true;
}
