// The profile-file port on Windows: GetPrivateProfileStringW and
// WritePrivateProfileStringW, with UTF-8 text converted at the edge. The
// system keeps its own reading rules (case-insensitive names, trimmed values,
// surrounding quotes removed) and its own file encoding.
#ifndef KDZV_PLATFORM_WIN32_WIN32_PROFILE_FILE_H_
#define KDZV_PLATFORM_WIN32_WIN32_PROFILE_FILE_H_

#include <cstddef>
#include <string>
#include <string_view>

#include "mapping/profile_file.h"

namespace kdzv::win32 {

class Win32ProfileFile : public ProfileFile {
 public:
  // At most buffer_size - 1 UTF-16 characters, as the system returns them.
  std::string GetString(std::string_view section, std::string_view key,
                        std::string_view default_value, size_t buffer_size,
                        std::string_view file) override;
  // Raises kdzv::Error (from GetLastError) when the system cannot write.
  void WriteString(std::string_view section, std::string_view key, std::string_view value,
                   std::string_view file) override;
  // Has the system write its cached copy of `file` to disk.
  void Flush(std::string_view file) override;
};

}  // namespace kdzv::win32

#endif  // KDZV_PLATFORM_WIN32_WIN32_PROFILE_FILE_H_
