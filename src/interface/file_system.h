// The file-system port. Failures raise kdzv::Error with the host's file
// error numbers (53 "File not found", 70 "Permission denied", 75
// "Path/File access error", 76 "Path not found", ...).
#ifndef KDZV_INTERFACE_FILE_SYSTEM_H_
#define KDZV_INTERFACE_FILE_SYSTEM_H_

#include <string_view>

namespace kdzv {

class FileSystem {
 public:
  virtual ~FileSystem() = default;
  // Opens `path` for appending (creating it), writes `bytes`, closes it.
  virtual void AppendToFile(std::string_view path, std::string_view bytes) = 0;

  // Creates or replaces `path` with `text` (UTF-8) converted to the system's
  // single-byte code page: Windows-1252 on Linux, the ANSI code page on
  // Windows. A character the code page does not hold becomes "?".
  virtual void WriteTextFile(std::string_view path, std::string_view text) = 0;
};

}  // namespace kdzv

#endif  // KDZV_INTERFACE_FILE_SYSTEM_H_
