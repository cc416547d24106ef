#include "platform/win32/win32_file_system.h"

#include <windows.h>

#include <algorithm>
#include <string>
#include <vector>

// See win32_file_system.h: the members keep their names here too.
#undef CopyFile
#undef DeleteFile
#undef MoveFile

#include "platform/win32/shared_access.h"
#include "platform/win32/unique_handle.h"
#include "platform/win32/wide_text.h"
#include "platform/win32/win32_error.h"
#include "util/text_pieces.h"

namespace kdzv::win32 {

namespace {

// Opens `path` (others may read and write it meanwhile: the log is read
// while the component runs), writes `bytes` and closes it. A file that this
// creates gets `security` (null: the default).
UniqueHandle OpenForWriting(std::string_view path, DWORD access, DWORD disposition,
                            const char* procedure, SECURITY_ATTRIBUTES* security = nullptr) {
  UniqueHandle file(::CreateFileW(Widen(path).c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                  security, disposition, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file.valid()) RaiseFileError(::GetLastError(), procedure);
  return file;
}

void WriteAll(const UniqueHandle& file, std::string_view bytes, const char* procedure) {
  size_t written = 0;
  while (written < bytes.size()) {
    const DWORD chunk = static_cast<DWORD>(std::min<size_t>(bytes.size() - written, 1u << 30));
    DWORD done = 0;
    if (!::WriteFile(file.get(), bytes.data() + written, chunk, &done, nullptr)) {
      RaiseFileError(::GetLastError(), procedure);
    }
    written += done;
  }
}

void CloseWritten(UniqueHandle& file, const char* procedure) {
  if (!::CloseHandle(file.release())) RaiseFileError(::GetLastError(), procedure);
}

void WriteBytes(std::string_view path, DWORD access, DWORD disposition, std::string_view bytes,
                const char* procedure, SECURITY_ATTRIBUTES* security = nullptr) {
  UniqueHandle file = OpenForWriting(path, access, disposition, procedure, security);
  WriteAll(file, bytes, procedure);
  CloseWritten(file, procedure);
}

// Whether text in `code_page` can be converted piece by piece, each piece
// ending before an ASCII character, with the bytes of converting it whole.
// Not so for the code pages whose encoders keep a state across characters
// (UTF-7's runs, the shifts of ISO-2022, HZ and ISCII): their text is
// converted in one go.
bool ConvertsInPieces(unsigned int code_page) {
  if (code_page == CP_UTF7 || code_page == 52936) return false;
  if (code_page >= 50220 && code_page <= 50229) return false;
  if (code_page >= 57002 && code_page <= 57011) return false;
  return true;
}

// The attributes of `path`, or INVALID_FILE_ATTRIBUTES.
DWORD Attributes(std::string_view path) { return ::GetFileAttributesW(Widen(path).c_str()); }

// Whether `path` is a symbolic link, junction or other reparse point itself.
bool IsReparsePoint(std::string_view path) {
  const DWORD attributes = Attributes(path);
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
}

bool EndsInSeparator(std::string_view path) {
  return !path.empty() && (path.back() == '\\' || path.back() == '/');
}

// Clears the read-only attribute of an existing file that has it; answers
// whether it did.
bool MakeWritable(const std::wstring& path) {
  const DWORD attributes = ::GetFileAttributesW(path.c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES || (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0 ||
      (attributes & FILE_ATTRIBUTE_READONLY) == 0) {
    return false;
  }
  return ::SetFileAttributesW(path.c_str(), attributes & ~DWORD{FILE_ATTRIBUTE_READONLY}) != 0;
}

class FindHandle {
 public:
  explicit FindHandle(HANDLE handle) : handle_(handle) {}
  ~FindHandle() {
    if (handle_ != INVALID_HANDLE_VALUE) ::FindClose(handle_);
  }
  FindHandle(const FindHandle&) = delete;
  FindHandle& operator=(const FindHandle&) = delete;
  HANDLE get() const { return handle_; }

 private:
  HANDLE handle_;
};

// A file time (UTC) as local time, to the second; the zero date when it
// cannot be converted.
DateTime LocalDateTime(const FILETIME& written) {
  SYSTEMTIME utc{};
  SYSTEMTIME local{};
  if (!::FileTimeToSystemTime(&written, &utc) ||
      !::SystemTimeToTzSpecificLocalTime(nullptr, &utc, &local)) {
    return DateTime();
  }
  return DateTime::FromFields({local.wYear, local.wMonth, local.wDay, local.wHour, local.wMinute,
                               local.wSecond});
}

// The entry described by `attributes`, `written` and the size halves,
// without its name.
FolderEntry EntryOf(DWORD attributes, const FILETIME& written, DWORD size_high, DWORD size_low) {
  FolderEntry entry;
  if ((attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0) {
    entry.kind = FolderEntry::Kind::kLink;
  } else if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
    entry.kind = FolderEntry::Kind::kFolder;
  } else {
    entry.kind = FolderEntry::Kind::kFile;
    entry.size = (static_cast<uint64_t>(size_high) << 32) | size_low;
  }
  entry.last_write = LocalDateTime(written);
  return entry;
}

// Calls `each(found)` for every entry FindFirstFileW / FindNextFileW give
// for `folder` ("." and ".." included); `procedure` names the operation in
// a raised error ("Path not found" for a missing folder).
template <typename Each>
void ForEachFound(std::string_view folder, const char* procedure, Each each) {
  // An empty folder would list the current one: treat it as missing.
  if (folder.empty()) RaiseFileError(ERROR_PATH_NOT_FOUND, procedure);
  WIN32_FIND_DATAW found{};
  std::string pattern(folder);
  if (!EndsInSeparator(pattern)) pattern += '\\';
  pattern += '*';
  FindHandle find(::FindFirstFileW(Widen(pattern).c_str(), &found));
  if (find.get() == INVALID_HANDLE_VALUE) {
    const DWORD error = ::GetLastError();
    const DWORD attributes = Attributes(folder);
    const bool exists =
        attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    // A drive's root folder can be empty of even "." and "..".
    if (error == ERROR_FILE_NOT_FOUND && exists) return;
    // A missing folder, or a file in its place, is "Path not found" whatever
    // the search reported.
    RaiseFileError(exists ? error : ERROR_PATH_NOT_FOUND, procedure);
  }
  do {
    each(found);
  } while (::FindNextFileW(find.get(), &found));
  const DWORD error = ::GetLastError();
  if (error != ERROR_NO_MORE_FILES) RaiseFileError(error, procedure);
}

}  // namespace

Win32FileSystem::Win32FileSystem() : code_page_(::GetACP()) {}

void Win32FileSystem::AppendToFile(std::string_view path, std::string_view text) {
  // Text files on Windows are in the ANSI code page, as the runtime's text
  // output writes them.
  const DWORD attributes = Attributes(path);
  if (attributes != INVALID_FILE_ATTRIBUTES) {
    if ((attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0) {
      RaiseFileError(ERROR_CANT_ACCESS_FILE, "AppendToFile");
    }
    // Windows refuses to write a read-only file to every user; asked first,
    // so that the answer is the same where the system would let the user
    // write it (Wine run by root).
    if ((attributes & FILE_ATTRIBUTE_READONLY) != 0) {
      RaiseFileError(ERROR_ACCESS_DENIED, "AppendToFile");
    }
  }
  // The log is every user's: one that this creates may be changed by all
  // (an existing file keeps its permissions).
  SharedSecurity shared = SharedSecurity::ForFiles();
  WriteBytes(path, FILE_APPEND_DATA, OPEN_ALWAYS, ToCodePage(text, code_page_, "AppendToFile"),
             "AppendToFile", shared.Attributes());
}

void Win32FileSystem::WriteTextFileParts(std::string_view path,
                                         std::span<const std::string_view> parts) {
  // A link in the file's place is removed (the link, not its target), so
  // the message is never written through it.
  if (IsReparsePoint(path) && !::DeleteFileW(Widen(path).c_str())) {
    RaiseFileError(::GetLastError(), "WriteTextFile");
  }
  UniqueHandle file = OpenForWriting(path, GENERIC_WRITE, CREATE_ALWAYS, "WriteTextFile");
  if (ConvertsInPieces(code_page_)) {
    // Converted and written a piece at a time: a large message is never held
    // again in UTF-16 and in its code page (in a 32-bit host that is three
    // times its size more).
    constexpr size_t kPieceBytes = 64 * 1024;
    for (std::string_view part : parts) {
      ForEachTextPiece(part, kPieceBytes, [&](std::string_view piece) {
        WriteAll(file, ToCodePage(piece, code_page_, "WriteTextFile"), "WriteTextFile");
      });
    }
  } else {
    std::string whole;
    for (std::string_view part : parts) whole += part;
    WriteAll(file, ToCodePage(whole, code_page_, "WriteTextFile"), "WriteTextFile");
  }
  CloseWritten(file, "WriteTextFile");
}

bool Win32FileSystem::FolderExists(std::string_view path) {
  if (path.empty()) return false;
  const DWORD attributes = Attributes(path);
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

std::vector<std::string> Win32FileSystem::ListFiles(std::string_view folder) {
  std::vector<std::string> names;
  ForEachFound(folder, "ListFiles", [&](const WIN32_FIND_DATAW& found) {
    if ((found.dwFileAttributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT)) == 0) {
      names.push_back(Narrow(found.cFileName));
    }
  });
  return names;
}

std::string Win32FileSystem::BuildPath(std::string_view folder, std::string_view name) {
  std::string path(folder);
  if (!path.empty() && !EndsInSeparator(path)) path += '\\';
  path += name;
  return path;
}

void Win32FileSystem::CopyFile(std::string_view source, std::string_view target) {
  const std::wstring from = Widen(source);
  const std::wstring to = Widen(target);
  if (::CopyFileW(from.c_str(), to.c_str(), FALSE)) return;
  DWORD error = ::GetLastError();
  if (error == ERROR_ACCESS_DENIED && MakeWritable(to)) {
    if (::CopyFileW(from.c_str(), to.c_str(), FALSE)) return;
    error = ::GetLastError();
  }
  RaiseFileError(error, "CopyFile");
}

void Win32FileSystem::MoveFile(std::string_view source, std::string_view target) {
  const DWORD attributes = Attributes(source);
  if (attributes == INVALID_FILE_ATTRIBUTES) RaiseFileError(::GetLastError(), "MoveFile");
  if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) RaiseFileError(ERROR_ACCESS_DENIED, "MoveFile");
  if ((attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0) {
    RaiseFileError(ERROR_CANT_ACCESS_FILE, "MoveFile");
  }
  // Without MOVEFILE_REPLACE_EXISTING an existing target fails the move
  // (ERROR_ALREADY_EXISTS); MOVEFILE_COPY_ALLOWED copies across volumes and
  // deletes the source only when the copy is complete.
  if (!::MoveFileExW(Widen(source).c_str(), Widen(target).c_str(),
                     MOVEFILE_COPY_ALLOWED | MOVEFILE_WRITE_THROUGH)) {
    RaiseFileError(::GetLastError(), "MoveFile");
  }
}

void Win32FileSystem::DeleteFile(std::string_view path) {
  const std::wstring wide = Widen(path);
  const DWORD attributes = ::GetFileAttributesW(wide.c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES) RaiseFileError(::GetLastError(), "DeleteFile");
  if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
    RaiseFileError(ERROR_ACCESS_DENIED, "DeleteFile");
  }
  const bool cleared = MakeWritable(wide);
  if (::DeleteFileW(wide.c_str())) return;
  const DWORD error = ::GetLastError();
  // Left as it was when it stays.
  if (cleared) ::SetFileAttributesW(wide.c_str(), attributes);
  RaiseFileError(error, "DeleteFile");
}

bool Win32FileSystem::TryExclusiveAccess(std::string_view path) {
  if (path.empty()) return false;
  const std::wstring wide = Widen(path);
  // Opening a read-only file for writing fails; asked first, so that the
  // answer does not depend on the rights of the user (Wine run by root
  // opens it).
  const DWORD attributes = ::GetFileAttributesW(wide.c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES ||
      (attributes & (FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_REPARSE_POINT)) != 0) {
    return false;
  }
  UniqueHandle file(::CreateFileW(wide.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                                  OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  return file.valid();
}

bool Win32FileSystem::HeldByAnotherProcess(std::string_view path) {
  if (path.empty()) return false;
  const std::wstring wide = Widen(path);
  const DWORD attributes = ::GetFileAttributesW(wide.c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES ||
      (attributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT)) != 0) {
    return false;
  }
  // Reading without sharing: refused while any other handle is open on the
  // file; a read-only file that nobody has open opens.
  UniqueHandle file(::CreateFileW(wide.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING,
                                  FILE_ATTRIBUTE_NORMAL, nullptr));
  if (file.valid()) return false;
  const DWORD error = ::GetLastError();
  return error == ERROR_SHARING_VIOLATION || error == ERROR_LOCK_VIOLATION;
}

std::vector<FolderEntry> Win32FileSystem::ListEntries(std::string_view folder) {
  std::vector<FolderEntry> entries;
  ForEachFound(folder, "ListEntries", [&](const WIN32_FIND_DATAW& found) {
    const std::wstring_view name(found.cFileName);
    if (name == L"." || name == L"..") return;
    FolderEntry entry = EntryOf(found.dwFileAttributes, found.ftLastWriteTime,
                                found.nFileSizeHigh, found.nFileSizeLow);
    entry.name = Narrow(found.cFileName);
    entries.push_back(std::move(entry));
  });
  return entries;
}

std::optional<FolderEntry> Win32FileSystem::EntryAt(std::string_view path) {
  if (path.empty()) return std::nullopt;
  WIN32_FILE_ATTRIBUTE_DATA data{};
  if (!::GetFileAttributesExW(Widen(path).c_str(), GetFileExInfoStandard, &data)) {
    return std::nullopt;
  }
  return EntryOf(data.dwFileAttributes, data.ftLastWriteTime, data.nFileSizeHigh,
                 data.nFileSizeLow);
}

void Win32FileSystem::RenameReplacing(std::string_view source, std::string_view target) {
  const DWORD attributes = Attributes(source);
  if (attributes == INVALID_FILE_ATTRIBUTES) RaiseFileError(::GetLastError(), "RenameReplacing");
  if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
    RaiseFileError(ERROR_ACCESS_DENIED, "RenameReplacing");
  }
  if ((attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0) {
    RaiseFileError(ERROR_CANT_ACCESS_FILE, "RenameReplacing");
  }
  if (!::MoveFileExW(Widen(source).c_str(), Widen(target).c_str(), MOVEFILE_REPLACE_EXISTING)) {
    RaiseFileError(::GetLastError(), "RenameReplacing");
  }
}

}  // namespace kdzv::win32
