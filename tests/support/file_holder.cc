#include "support/file_holder.h"

#ifdef _WIN32
#include <windows.h>

#include "platform/win32/wide_text.h"
#else
#include <fcntl.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#endif

namespace kdzv::test {

#ifdef _WIN32

FileHolder::FileHolder(const std::string& path, Lock lock) {
  const bool exclusive = lock == Lock::kExclusive;
  const HANDLE handle = ::CreateFileW(
      win32::Widen(path).c_str(), exclusive ? GENERIC_READ | GENERIC_WRITE : GENERIC_READ,
      exclusive ? 0 : FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
      OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (handle != INVALID_HANDLE_VALUE) {
    handle_ = handle;
    holding_ = true;
  }
}

void FileHolder::Release() {
  if (holding_) ::CloseHandle(static_cast<HANDLE>(handle_));
  handle_ = nullptr;
  holding_ = false;
}

#else

namespace {

// Reads one byte; false at the end of the pipe or on an error.
bool ReadByte(int fd) {
  char byte = 0;
  for (;;) {
    const ssize_t n = ::read(fd, &byte, 1);
    if (n < 0 && errno == EINTR) continue;
    return n == 1;
  }
}

}  // namespace

FileHolder::FileHolder(const std::string& path, Lock lock) {
  int ready[2];
  int release[2];
  if (::pipe2(ready, O_CLOEXEC) != 0) return;
  if (::pipe2(release, O_CLOEXEC) != 0) {
    ::close(ready[0]);
    ::close(ready[1]);
    return;
  }
  const pid_t child = ::fork();
  if (child == 0) {
    // The child: lock, report, wait until the parent lets go (end of pipe).
    ::close(ready[0]);
    ::close(release[1]);
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0 || ::flock(fd, lock == Lock::kExclusive ? LOCK_EX : LOCK_SH) != 0) ::_exit(1);
    const char byte = 1;
    if (::write(ready[1], &byte, 1) != 1) ::_exit(1);
    ReadByte(release[0]);
    ::_exit(0);
  }
  ::close(ready[1]);
  ::close(release[0]);
  if (child < 0) {
    ::close(ready[0]);
    ::close(release[1]);
    return;
  }
  child_ = child;
  release_ = release[1];
  holding_ = ReadByte(ready[0]);
  ::close(ready[0]);
}

void FileHolder::Release() {
  if (release_ >= 0) ::close(release_);
  release_ = -1;
  if (child_ > 0) {
    int status = 0;
    while (::waitpid(child_, &status, 0) < 0 && errno == EINTR) {
    }
  }
  child_ = -1;
  holding_ = false;
}

#endif

FileHolder::~FileHolder() { Release(); }

}  // namespace kdzv::test
