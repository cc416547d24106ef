// Owns a file descriptor and closes it when it goes out of scope.
#ifndef KDZV_PLATFORM_POSIX_UNIQUE_FD_H_
#define KDZV_PLATFORM_POSIX_UNIQUE_FD_H_

#include <unistd.h>

namespace kdzv::posix {

class UniqueFd {
 public:
  explicit UniqueFd(int fd = -1) : fd_(fd) {}
  ~UniqueFd() {
    if (fd_ >= 0) ::close(fd_);
  }
  UniqueFd(const UniqueFd&) = delete;
  UniqueFd& operator=(const UniqueFd&) = delete;
  UniqueFd(UniqueFd&& other) noexcept : fd_(other.fd_) { other.fd_ = -1; }
  UniqueFd& operator=(UniqueFd&& other) noexcept {
    if (this != &other) reset(other.release());
    return *this;
  }

  int get() const { return fd_; }
  int release() {
    const int fd = fd_;
    fd_ = -1;
    return fd;
  }
  void reset(int fd) {
    if (fd_ >= 0) ::close(fd_);
    fd_ = fd;
  }
  // Closes now and answers the result of close(), for callers that must
  // know whether the data reached the file.
  int Close() {
    const int result = ::close(fd_);
    fd_ = -1;
    return result;
  }

 private:
  int fd_;
};

}  // namespace kdzv::posix

#endif  // KDZV_PLATFORM_POSIX_UNIQUE_FD_H_
