// Files on Linux.
//
// The exclusive-access probe (TryExclusiveAccess) relies on advisory locks:
// Linux has no share modes, so a file being written is seen as busy only
// when its writer (the agent) holds flock(LOCK_EX) or flock(LOCK_SH) on it
// for as long as it writes. A writer that takes no lock is not seen. A file
// without any write permission bit counts as read-only and fails the probe,
// for every user (root included), as a read-only file does on Windows.
#ifndef KDZV_PLATFORM_POSIX_POSIX_FILE_SYSTEM_H_
#define KDZV_PLATFORM_POSIX_POSIX_FILE_SYSTEM_H_

#include "interface/file_system.h"

namespace kdzv::posix {

class PosixFileSystem : public FileSystem {
 public:
  void AppendToFile(std::string_view path, std::string_view bytes) override;
  void WriteTextFileParts(std::string_view path,
                          std::span<const std::string_view> parts) override;
  bool FolderExists(std::string_view path) override;
  // Regular files and symbolic links to regular files, in readdir() order.
  std::vector<std::string> ListFiles(std::string_view folder) override;
  // Separator '/'.
  std::string BuildPath(std::string_view folder, std::string_view name) override;
  // Copies the bytes (nothing else: neither mode nor times) into a new file
  // beside the target and renames it over the target, so that the target's
  // name never shows a half-written file.
  void CopyFile(std::string_view source, std::string_view target) override;
  void MoveFile(std::string_view source, std::string_view target) override;
  void DeleteFile(std::string_view path) override;
  bool TryExclusiveAccess(std::string_view path) override;
  bool HeldByAnotherProcess(std::string_view path) override;

  // lstat() of every entry; a name that vanished meanwhile is left out.
  std::vector<FolderEntry> ListEntries(std::string_view folder) override;
  std::optional<FolderEntry> EntryAt(std::string_view path) override;
  // rename(), which replaces a file of the target's name and refuses a
  // folder; a link as the source is refused.
  void RenameReplacing(std::string_view source, std::string_view target) override;
};

}  // namespace kdzv::posix

#endif  // KDZV_PLATFORM_POSIX_POSIX_FILE_SYSTEM_H_
