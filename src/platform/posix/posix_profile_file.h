// The profile-file port on Linux: the INI file is read and written through
// IniDocument, with the reading rules of the Windows profile functions.
//
// Every WriteString rewrites the file atomically and syncs it to disk before
// it returns, so Flush has nothing left to do.
#ifndef KDZV_PLATFORM_POSIX_POSIX_PROFILE_FILE_H_
#define KDZV_PLATFORM_POSIX_POSIX_PROFILE_FILE_H_

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "mapping/profile_file.h"

namespace kdzv::posix {

class PosixProfileFile : public ProfileFile {
 public:
  // The value of the key, or `default_value` without its trailing blanks
  // when the file, the section or the key is missing (or the file cannot be
  // read, as the Windows functions do). At most buffer_size - 1 bytes are
  // returned, cut back to a whole UTF-8 character.
  std::string GetString(std::string_view section, std::string_view key,
                        std::string_view default_value, size_t buffer_size,
                        std::string_view file) override;
  // Loads the file, sets the key (creating file and section when needed) and
  // saves it atomically. Raises kdzv::Error when the file cannot be read or
  // written ("Path not found" (76) when its folder is missing).
  void WriteString(std::string_view section, std::string_view key, std::string_view value,
                   std::string_view file) override;
  // Nothing to do: WriteString has synced the file already.
  void Flush(std::string_view file) override;
  // An exclusive flock() on the folder that holds `file` (the file itself is
  // replaced by every save, so a lock on it would not last), waited for as
  // long as another process holds it. Raises 76 when the folder is missing.
  std::unique_ptr<ProfileFileLock> Lock(std::string_view file) override;
};

}  // namespace kdzv::posix

#endif  // KDZV_PLATFORM_POSIX_POSIX_PROFILE_FILE_H_
