#include "platform/win32/win32_error.h"

#include <utility>

#include "util/error.h"

namespace kdzv::win32 {

int32_t FileErrorNumber(DWORD error) {
  switch (error) {
    case ERROR_FILE_NOT_FOUND: return err::kFileNotFound;
    case ERROR_FILE_EXISTS:
    case ERROR_ALREADY_EXISTS: return err::kFileAlreadyExists;
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_DRIVE:
    case ERROR_BAD_NETPATH:
    case ERROR_BAD_NET_NAME:
    case ERROR_DIRECTORY: return err::kPathNotFound;
    case ERROR_ACCESS_DENIED:
    case ERROR_SHARING_VIOLATION:
    case ERROR_LOCK_VIOLATION:
    case ERROR_WRITE_PROTECT:
    case ERROR_NETWORK_ACCESS_DENIED: return err::kPermissionDenied;
    case ERROR_DISK_FULL:
    case ERROR_HANDLE_DISK_FULL: return err::kDiskFull;
    case ERROR_CRC:
    case ERROR_READ_FAULT:
    case ERROR_WRITE_FAULT:
    case ERROR_GEN_FAILURE:
    case ERROR_NOT_READY: return err::kDeviceIo;
    case ERROR_INVALID_NAME:
    case ERROR_BAD_PATHNAME:
    case ERROR_FILENAME_EXCED_RANGE: return err::kBadFileNameOrNumber;
    case ERROR_NOT_ENOUGH_MEMORY:
    case ERROR_OUTOFMEMORY: return err::kOutOfMemory;
    default: return err::kPathFileAccess;
  }
}

void RaiseFileError(DWORD error, std::string source) {
  RaiseStandard(FileErrorNumber(error), std::move(source));
}

}  // namespace kdzv::win32
