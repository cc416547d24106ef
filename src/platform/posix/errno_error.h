// Turns a failed system call's errno into the host's file errors.
#ifndef KDZV_PLATFORM_POSIX_ERRNO_ERROR_H_
#define KDZV_PLATFORM_POSIX_ERRNO_ERROR_H_

#include <cstdint>
#include <string>

namespace kdzv::posix {

// The host's file error number for `errno_value` (ENOENT on a file is 53,
// on a folder of the path 76, EACCES/EPERM/EROFS 70, ENOSPC 61, EIO 57,
// others 75).
int32_t FileErrorNumber(int errno_value, bool folder_missing = false);

// Raises that error with its standard description and `source`.
[[noreturn]] void RaiseFileError(int errno_value, std::string source, bool folder_missing = false);

}  // namespace kdzv::posix

#endif  // KDZV_PLATFORM_POSIX_ERRNO_ERROR_H_
