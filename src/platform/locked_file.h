// Writing a file that nobody else may take while it is written: the way the
// service's agent hands a message to the component, whose exclusive-access
// probe then leaves the file alone until the lock is gone.
#ifndef KDZV_PLATFORM_LOCKED_FILE_H_
#define KDZV_PLATFORM_LOCKED_FILE_H_

#include <string>
#include <string_view>

namespace kdzv {

// Creates or replaces `path` (UTF-8) with `bytes` and keeps it locked for
// another `hold_ms` milliseconds after the last byte is written. On Linux the
// lock is flock(LOCK_EX), taken right after the file is opened; on Windows
// the file is opened with no sharing at all. Raises kdzv::Error (the host's
// file error numbers) on failure.
void WriteFileHoldingLock(const std::string& path, std::string_view bytes, int hold_ms);

}  // namespace kdzv

#endif  // KDZV_PLATFORM_LOCKED_FILE_H_
