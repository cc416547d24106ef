// Files on Linux.
#ifndef KDZV_PLATFORM_POSIX_POSIX_FILE_SYSTEM_H_
#define KDZV_PLATFORM_POSIX_POSIX_FILE_SYSTEM_H_

#include "interface/file_system.h"

namespace kdzv::posix {

class PosixFileSystem : public FileSystem {
 public:
  void AppendToFile(std::string_view path, std::string_view bytes) override;
  void WriteTextFile(std::string_view path, std::string_view text) override;
};

}  // namespace kdzv::posix

#endif  // KDZV_PLATFORM_POSIX_POSIX_FILE_SYSTEM_H_
