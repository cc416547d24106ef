#include "platform/posix/errno_error.h"

#include <cerrno>
#include <utility>

#include "util/error.h"

namespace kdzv::posix {

int32_t FileErrorNumber(int errno_value, bool folder_missing) {
  switch (errno_value) {
    case ENOENT: return folder_missing ? err::kPathNotFound : err::kFileNotFound;
    case ENOTDIR: return err::kPathNotFound;
    case EEXIST: return err::kFileAlreadyExists;
    case EACCES:
    case EPERM:
    case EROFS:
    case ETXTBSY: return err::kPermissionDenied;
    case ENOSPC:
    case EDQUOT: return err::kDiskFull;
    case EIO: return err::kDeviceIo;
    case ENAMETOOLONG: return err::kBadFileNameOrNumber;
    case ENOMEM: return err::kOutOfMemory;
    default: return err::kPathFileAccess;
  }
}

void RaiseFileError(int errno_value, std::string source, bool folder_missing) {
  RaiseStandard(FileErrorNumber(errno_value, folder_missing), std::move(source));
}

}  // namespace kdzv::posix
