// Turns a failed Windows call's GetLastError() into the host's file errors.
#ifndef KDZV_PLATFORM_WIN32_WIN32_ERROR_H_
#define KDZV_PLATFORM_WIN32_WIN32_ERROR_H_

#include <windows.h>

#include <cstdint>
#include <string>

namespace kdzv::win32 {

// The host's file error number for `error`: a missing file 53, a missing
// folder, drive or share 76, access and sharing violations 70, a full disk
// 61, device failures 57, bad names 52, lack of memory 7, others 75.
int32_t FileErrorNumber(DWORD error);

// Raises that error with its standard description and `source`.
[[noreturn]] void RaiseFileError(DWORD error, std::string source);

}  // namespace kdzv::win32

#endif  // KDZV_PLATFORM_WIN32_WIN32_ERROR_H_
