// Files on Windows.
#ifndef KDZV_PLATFORM_WIN32_WIN32_FILE_SYSTEM_H_
#define KDZV_PLATFORM_WIN32_WIN32_FILE_SYSTEM_H_

// <windows.h> turns CopyFile, MoveFile and DeleteFile into their W forms;
// where it came first, the port's members must keep their own names (the
// Win32 functions are called by their W names).
#ifdef CopyFile
#undef CopyFile
#endif
#ifdef DeleteFile
#undef DeleteFile
#endif
#ifdef MoveFile
#undef MoveFile
#endif

#include "interface/file_system.h"

namespace kdzv::win32 {

class Win32FileSystem : public FileSystem {
 public:
  // Text files (the log, the messages) in the system's ANSI code page.
  Win32FileSystem();
  // Text files in `code_page`: 1252, or 65001 (UTF-8) as on a system set to
  // "Unicode UTF-8" for programs that are not Unicode.
  explicit Win32FileSystem(unsigned int code_page) : code_page_(code_page) {}

  // In the code page of the text files. A file that this creates may be
  // changed by every user of the PC (SharedSecurity::ForFiles): the log.
  void AppendToFile(std::string_view path, std::string_view bytes) override;
  void WriteTextFileParts(std::string_view path,
                          std::span<const std::string_view> parts) override;
  bool FolderExists(std::string_view path) override;
  // Files only (a link to a file counts as a file), in the order
  // FindFirstFileW / FindNextFileW give them.
  std::vector<std::string> ListFiles(std::string_view folder) override;
  // Separator '\'; a folder ending in '\' or '/' gets none added.
  std::string BuildPath(std::string_view folder, std::string_view name) override;
  // CopyFileW with overwrite; a read-only target is made writable and the
  // copy tried once more. The target takes the source's attributes, as
  // CopyFileW gives them.
  void CopyFile(std::string_view source, std::string_view target) override;
  // MoveFileExW allowed to copy across volumes and never to replace: an
  // existing target fails the move itself. A reparse point as the source
  // is refused.
  void MoveFile(std::string_view source, std::string_view target) override;
  // Clears the read-only attribute first.
  void DeleteFile(std::string_view path) override;
  // Opens for reading and writing with share mode 0: fails while any other
  // handle is open on the file.
  bool TryExclusiveAccess(std::string_view path) override;
  bool HeldByAnotherProcess(std::string_view path) override;

  // FindFirstFileW / FindNextFileW; every reparse point is a link.
  std::vector<FolderEntry> ListEntries(std::string_view folder) override;
  std::optional<FolderEntry> EntryAt(std::string_view path) override;
  // MoveFileExW with MOVEFILE_REPLACE_EXISTING, never copying; a reparse
  // point as the source is refused.
  void RenameReplacing(std::string_view source, std::string_view target) override;

 private:
  unsigned int code_page_;
};

}  // namespace kdzv::win32

#endif  // KDZV_PLATFORM_WIN32_WIN32_FILE_SYSTEM_H_
