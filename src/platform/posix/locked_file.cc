#include "platform/locked_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <thread>

#include "platform/posix/errno_error.h"
#include "platform/posix/unique_fd.h"

namespace kdzv {

void WriteFileHoldingLock(const std::string& path, std::string_view bytes, int hold_ms) {
  constexpr const char* kProcedure = "WriteFileHoldingLock";
  posix::UniqueFd file(::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644));
  if (file.get() < 0) posix::RaiseFileError(errno, kProcedure, errno == ENOENT);
  while (::flock(file.get(), LOCK_EX) != 0) {
    if (errno != EINTR) posix::RaiseFileError(errno, kProcedure);
  }
  size_t written = 0;
  while (written < bytes.size()) {
    const ssize_t n = ::write(file.get(), bytes.data() + written, bytes.size() - written);
    if (n < 0) {
      if (errno == EINTR) continue;
      posix::RaiseFileError(errno, kProcedure);
    }
    written += static_cast<size_t>(n);
  }
  if (hold_ms > 0) std::this_thread::sleep_for(std::chrono::milliseconds(hold_ms));
  ::flock(file.get(), LOCK_UN);
  if (file.Close() != 0) posix::RaiseFileError(errno, kProcedure);
}

}  // namespace kdzv
