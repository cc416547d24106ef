// The profile-file port: reading and writing keys of an INI file.
//
// Reading rules (both platforms): sections and keys are matched without
// regard to case; values are trimmed and one pair of surrounding quotes is
// stripped; a missing file, section or key yields the default. At most
// buffer_size - 1 characters are returned.
#ifndef KDZV_MAPPING_PROFILE_FILE_H_
#define KDZV_MAPPING_PROFILE_FILE_H_

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace kdzv {

// Held while one process reads, changes and writes a profile file; see
// ProfileFile::Lock.
class ProfileFileLock {
 public:
  virtual ~ProfileFileLock() = default;
};

class ProfileFile {
 public:
  virtual ~ProfileFile() = default;
  virtual std::string GetString(std::string_view section, std::string_view key,
                                std::string_view default_value, size_t buffer_size,
                                std::string_view file) = 0;
  // Creates the file and the section when needed. Raises kdzv::Error when the
  // file cannot be written.
  virtual void WriteString(std::string_view section, std::string_view key,
                           std::string_view value, std::string_view file) = 0;
  // Makes sure everything written to `file` has reached the disk.
  virtual void Flush(std::string_view file) = 0;
  // Waits until no other process of the machine, whichever user runs it,
  // holds the lock of `file`, and holds it until the answer is destroyed:
  // a read, change and write of the file under it is never interleaved with
  // another's. Not re-entrant. Raises kdzv::Error when the lock cannot be
  // had.
  [[nodiscard]] virtual std::unique_ptr<ProfileFileLock> Lock(std::string_view file) = 0;
};

}  // namespace kdzv

#endif  // KDZV_MAPPING_PROFILE_FILE_H_
