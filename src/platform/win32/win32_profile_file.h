// The profile-file port on Windows: GetPrivateProfileStringW and
// WritePrivateProfileStringW, with UTF-8 text converted at the edge. The
// system keeps its own reading rules (case-insensitive names, trimmed values,
// surrounding quotes removed) and its own file encoding.
#ifndef KDZV_PLATFORM_WIN32_WIN32_PROFILE_FILE_H_
#define KDZV_PLATFORM_WIN32_WIN32_PROFILE_FILE_H_

#include <cstddef>
#include <memory>
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
  // Raises kdzv::Error (from GetLastError) when the system cannot write. A
  // file that does not exist yet is first created empty, so that every user
  // of the PC may change it (SharedSecurity::ForFiles): the configuration
  // file with the session number is every user's.
  void WriteString(std::string_view section, std::string_view key, std::string_view value,
                   std::string_view file) override;
  // Has the system write its cached copy of `file` to disk.
  void Flush(std::string_view file) override;
  // A named mutex of the whole machine ("Global\kdZentavo.Profile." and a
  // number made from the file's full path, without regard to case), which
  // every user may wait on. Where the global namespace is refused, the
  // session's ("Local\"): the processes of one session still exclude each
  // other. A mutex whose last holder ended without giving it back is taken
  // over. Raises kdzv::Error when no mutex can be made, or when the lock is
  // not free within kLockTimeoutMs.
  std::unique_ptr<ProfileFileLock> Lock(std::string_view file) override;

  // Nobody holds the lock for more than a read and a write; after this long
  // something is wrong.
  static constexpr unsigned long kLockTimeoutMs = 30000;
  // The mutex's name without its namespace, for `file`'s full path.
  static std::wstring LockName(std::string_view file);
};

}  // namespace kdzv::win32

#endif  // KDZV_PLATFORM_WIN32_WIN32_PROFILE_FILE_H_
