// Holds a file open the way another program that is still writing it does,
// for the lifetime of the object: on Linux a child process holding a
// flock() lock on it, on Windows a handle opened without sharing (or, for a
// shared hold, a reading handle that shares everything).
#ifndef KDZV_TESTS_SUPPORT_FILE_HOLDER_H_
#define KDZV_TESTS_SUPPORT_FILE_HOLDER_H_

#include <string>

namespace kdzv::test {

class FileHolder {
 public:
  enum class Lock { kExclusive, kShared };

  FileHolder(const std::string& path, Lock lock);
  ~FileHolder();
  FileHolder(const FileHolder&) = delete;
  FileHolder& operator=(const FileHolder&) = delete;

  // Whether the file is held (false when it could not be opened or locked).
  bool holding() const { return holding_; }
  // Lets go of the file now.
  void Release();

 private:
  bool holding_ = false;
#ifdef _WIN32
  void* handle_ = nullptr;
#else
  int child_ = -1;    // the holding process
  int release_ = -1;  // closing this pipe end tells it to let go
#endif
};

}  // namespace kdzv::test

#endif  // KDZV_TESTS_SUPPORT_FILE_HOLDER_H_
