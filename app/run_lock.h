#ifndef TESSEL_APP_RUN_LOCK_H_
#define TESSEL_APP_RUN_LOCK_H_

/// Keeps a second run out of a working directory while one is going on:
/// every run writes its test files under the same fixed names there. The
/// lock is an advisory lock on the directory itself, not a file, so it
/// leaves nothing behind: the system drops it when the run ends, however it
/// ends, and the commands the run starts do not inherit it.
class RunLock {
 public:
  RunLock() = default;
  RunLock(const RunLock&) = delete;
  RunLock& operator=(const RunLock&) = delete;
  /// Releases the lock.
  ~RunLock();
  /// Takes the lock on the current directory without waiting; false when
  /// another process holds it. A directory that cannot be locked at all
  /// (a file system without locks) does not stop the run.
  [[nodiscard]] bool Acquire();

 private:
  int fd_ = -1;
};

#endif  // TESSEL_APP_RUN_LOCK_H_
