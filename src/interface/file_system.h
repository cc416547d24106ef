// The file-system port. Failures raise kdzv::Error with the host's file
// error numbers (53 "File not found", 70 "Permission denied", 75
// "Path/File access error", 76 "Path not found", ...).
#ifndef KDZV_INTERFACE_FILE_SYSTEM_H_
#define KDZV_INTERFACE_FILE_SYSTEM_H_

#include <string>
#include <string_view>
#include <vector>

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

  // Whether `path` names an existing folder (false for a file or nothing;
  // never raises).
  virtual bool FolderExists(std::string_view path) = 0;

  // The names (without folder) of the files in `folder`, in the order the
  // system lists them; sub-folders are not listed. Raises 76 for a missing
  // folder.
  virtual std::vector<std::string> ListFiles(std::string_view folder) = 0;

  // `folder` and `name` joined with the platform's separator, inserted only
  // where `folder` does not already end in one ("" + name is name).
  virtual std::string BuildPath(std::string_view folder, std::string_view name) = 0;

  // Copies `source` to `target`, replacing a file of that name. Raises 53
  // for a missing source, 76 for a missing target folder, 70 when the
  // target cannot be replaced.
  virtual void CopyFile(std::string_view source, std::string_view target) = 0;

  // Deletes `path`, also when it is read-only. Raises 53 when it does not
  // exist, 70 when it cannot be deleted.
  virtual void DeleteFile(std::string_view path) = 0;

  // The exclusive-access probe: whether `path` can be opened for reading
  // and writing with both locked for everybody else; the file is closed
  // again at once and left as it was. False while another process holds the
  // file open for writing (on Linux: holds a flock() lock on it, shared or
  // exclusive, as a writer is expected to do), when the file cannot be
  // opened for writing, and when it does not exist. Never raises.
  virtual bool TryExclusiveAccess(std::string_view path) = 0;
};

}  // namespace kdzv

#endif  // KDZV_INTERFACE_FILE_SYSTEM_H_
