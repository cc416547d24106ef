// Files on Windows.
#ifndef KDZV_PLATFORM_WIN32_WIN32_FILE_SYSTEM_H_
#define KDZV_PLATFORM_WIN32_WIN32_FILE_SYSTEM_H_

#include "interface/file_system.h"

namespace kdzv::win32 {

class Win32FileSystem : public FileSystem {
 public:
  void AppendToFile(std::string_view path, std::string_view bytes) override;
  void WriteTextFile(std::string_view path, std::string_view text) override;
};

}  // namespace kdzv::win32

#endif  // KDZV_PLATFORM_WIN32_WIN32_FILE_SYSTEM_H_
