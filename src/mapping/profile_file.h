// The profile-file port: reading and writing keys of an INI file.
//
// Reading rules (both platforms): sections and keys are matched without
// regard to case; values are trimmed and one pair of surrounding quotes is
// stripped; a missing file, section or key yields the default. At most
// buffer_size - 1 characters are returned.
#ifndef KDZV_MAPPING_PROFILE_FILE_H_
#define KDZV_MAPPING_PROFILE_FILE_H_

#include <cstddef>
#include <string>
#include <string_view>

namespace kdzv {

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
};

}  // namespace kdzv

#endif  // KDZV_MAPPING_PROFILE_FILE_H_
