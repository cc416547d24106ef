#include "platform/posix/posix_file_system.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <memory>
#include <string>
#include <utility>

#include "platform/posix/errno_error.h"
#include "platform/posix/unique_fd.h"
#include "util/error.h"
#include "util/text_pieces.h"
#include "util/windows_1252.h"

namespace kdzv::posix {
namespace {

// Whether the folder part of `path` is missing (for "Path not found").
bool FolderMissing(const std::string& path) {
  const size_t cut = path.rfind('/');
  if (cut == std::string::npos) return false;
  struct stat info {};
  const std::string folder = cut == 0 ? "/" : path.substr(0, cut);
  return ::stat(folder.c_str(), &info) != 0 || !S_ISDIR(info.st_mode);
}

// Raises the file error of `error` for an operation on `path`: a missing
// entry is "Path not found" when its folder is missing, and a folder where a
// file is expected is "Permission denied", as on Windows.
[[noreturn]] void RaisePathError(int error, const std::string& path, const char* procedure) {
  if (error == EISDIR) RaiseStandard(err::kPermissionDenied, procedure);
  RaiseFileError(error, procedure, error == ENOENT && FolderMissing(path));
}

// Opens `path` for writing with `flags`, never through a symbolic link;
// `procedure` names the operation in a raised error. With `replace_link`, a
// link standing at `path` is removed and the file made anew in its place;
// otherwise the link is refused.
UniqueFd OpenForWriting(const std::string& path, int flags, const char* procedure,
                        bool replace_link) {
  const int open_flags = flags | O_WRONLY | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NOCTTY;
  UniqueFd file(::open(path.c_str(), open_flags, 0644));
  if (file.get() < 0 && errno == ELOOP && replace_link) {
    // Unlinking removes the link, not what it points to. The new file must
    // be made by this call (O_EXCL): a link planted again meanwhile fails.
    if (::unlink(path.c_str()) == 0) file.reset(::open(path.c_str(), open_flags | O_EXCL, 0644));
  }
  if (file.get() < 0) {
    const int error = errno;
    RaiseFileError(error, procedure, error == ENOENT && FolderMissing(path));
  }
  return file;
}

// Writes all of `bytes` to `file`.
void WriteAll(const UniqueFd& file, std::string_view bytes, const char* procedure) {
  size_t written = 0;
  while (written < bytes.size()) {
    const ssize_t n = ::write(file.get(), bytes.data() + written, bytes.size() - written);
    if (n < 0) {
      if (errno == EINTR) continue;
      RaiseFileError(errno, procedure);
    }
    written += static_cast<size_t>(n);
  }
}

// Opens `path`, writes `bytes` and closes it.
void WriteBytes(std::string_view path, int flags, std::string_view bytes, const char* procedure,
                bool replace_link = false) {
  UniqueFd file = OpenForWriting(std::string(path), flags, procedure, replace_link);
  WriteAll(file, bytes, procedure);
  if (file.Close() != 0) RaiseFileError(errno, procedure);
}

struct DirCloser {
  void operator()(DIR* dir) const { ::closedir(dir); }
};
using UniqueDir = std::unique_ptr<DIR, DirCloser>;

// Calls `each(dir, entry)` for every entry of `folder` but "." and "..";
// `procedure` names the operation in a raised error (76 for a missing
// folder).
template <typename Each>
void ForEachEntry(std::string_view folder_view, const char* procedure, Each each) {
  const std::string folder(folder_view);
  UniqueDir dir(folder.empty() ? nullptr : ::opendir(folder.c_str()));
  if (!dir) {
    const int error = folder.empty() ? ENOENT : errno;
    // The folder itself is what is missing.
    RaiseFileError(error, procedure, error == ENOENT);
  }
  for (;;) {
    errno = 0;
    const dirent* entry = ::readdir(dir.get());
    if (entry == nullptr) {
      if (errno != 0) RaiseFileError(errno, procedure);
      return;
    }
    const std::string_view name(entry->d_name);
    if (name == "." || name == "..") continue;
    each(dir.get(), *entry);
  }
}

// Whether the entry `entry` of `dir` is a regular file itself; a symbolic
// link is none, whatever it points to.
bool IsRegularFile(DIR* dir, const dirent& entry) {
  if (entry.d_type == DT_REG) return true;
  if (entry.d_type != DT_UNKNOWN) return false;
  struct stat info {};
  return ::fstatat(::dirfd(dir), entry.d_name, &info, AT_SYMLINK_NOFOLLOW) == 0 &&
         S_ISREG(info.st_mode);
}

// The entry described by `info` (from lstat()), without its name.
FolderEntry EntryOf(const struct stat& info) {
  FolderEntry entry;
  if (S_ISREG(info.st_mode)) {
    entry.kind = FolderEntry::Kind::kFile;
    entry.size = static_cast<uint64_t>(info.st_size);
  } else if (S_ISDIR(info.st_mode)) {
    entry.kind = FolderEntry::Kind::kFolder;
  } else if (S_ISLNK(info.st_mode)) {
    entry.kind = FolderEntry::Kind::kLink;
  }
  struct tm local {};
  const time_t written = info.st_mtime;
  if (::localtime_r(&written, &local) != nullptr) {
    entry.last_write = DateTime::FromFields({local.tm_year + 1900, local.tm_mon + 1,
                                             local.tm_mday, local.tm_hour, local.tm_min,
                                             local.tm_sec});
  }
  return entry;
}

// Removes a temporary file unless it was renamed to its final name.
class TempFile {
 public:
  explicit TempFile(std::string path) : path_(std::move(path)) {}
  ~TempFile() {
    if (!path_.empty()) ::unlink(path_.c_str());
  }
  TempFile(const TempFile&) = delete;
  TempFile& operator=(const TempFile&) = delete;
  const std::string& path() const { return path_; }
  void Keep() { path_.clear(); }

 private:
  std::string path_;
};

// Creates a new, empty file beside `target` (hidden, with a name of its own)
// and answers its descriptor; `temp_path` receives its name. `procedure`
// names the operation in a raised error.
int CreateTempBeside(const std::string& target, std::string& temp_path, const char* procedure) {
  static std::atomic<unsigned> counter{0};
  const size_t cut = target.rfind('/');
  const std::string folder = cut == std::string::npos ? "" : target.substr(0, cut + 1);
  const std::string name = cut == std::string::npos ? target : target.substr(cut + 1);
  for (;;) {
    temp_path = folder + "." + name + ".kdzv-" + std::to_string(::getpid()) + "-" +
                std::to_string(counter++) + ".tmp";
    const int fd = ::open(temp_path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd >= 0) return fd;
    const int error = errno;
    if (error == EEXIST) continue;
    // Every failure here concerns the target's folder.
    RaiseFileError(error, procedure, error == ENOENT);
  }
}

void WriteAll(int fd, const char* data, size_t size, const char* procedure) {
  size_t written = 0;
  while (written < size) {
    const ssize_t n = ::write(fd, data + written, size - written);
    if (n < 0) {
      if (errno == EINTR) continue;
      RaiseFileError(errno, procedure);
    }
    written += static_cast<size_t>(n);
  }
}

// Opens the plain file `source` for reading, never through a symbolic link.
UniqueFd OpenSource(const std::string& source, const char* procedure) {
  UniqueFd in(::open(source.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK | O_NOFOLLOW));
  if (in.get() < 0) RaisePathError(errno, source, procedure);
  struct stat info {};
  if (::fstat(in.get(), &info) != 0) RaiseFileError(errno, procedure);
  if (S_ISDIR(info.st_mode)) RaiseStandard(err::kPermissionDenied, procedure);
  if (!S_ISREG(info.st_mode)) RaiseStandard(err::kPathFileAccess, procedure);
  return in;
}

// Copies everything of `in` into `out` and brings it to the disk, so that
// the bytes are there before any name points to them; closes `out`.
void CopyAndSync(int in, UniqueFd& out, const char* procedure) {
  char buffer[64 * 1024];
  for (;;) {
    const ssize_t n = ::read(in, buffer, sizeof buffer);
    if (n < 0) {
      if (errno == EINTR) continue;
      RaiseFileError(errno, procedure);
    }
    if (n == 0) break;
    WriteAll(out.get(), buffer, static_cast<size_t>(n), procedure);
  }
  if (::fsync(out.get()) != 0) RaiseFileError(errno, procedure);
  if (out.Close() != 0) RaiseFileError(errno, procedure);
}

// Gives the finished temporary file `temp` the name `target`, which must not
// exist yet: the link is made only where no entry of that name is.
void LinkNewName(const std::string& temp, const std::string& target, const char* procedure) {
  if (::link(temp.c_str(), target.c_str()) == 0) return;
  int error = errno;
  if (error == EPERM || error == EOPNOTSUPP) {
    // A file system without hard links: a rename that refuses to replace.
    if (::renameat2(AT_FDCWD, temp.c_str(), AT_FDCWD, target.c_str(), RENAME_NOREPLACE) == 0) {
      return;
    }
    error = errno;
  }
  RaisePathError(error, target, procedure);
}

}  // namespace

void PosixFileSystem::AppendToFile(std::string_view path, std::string_view text) {
  // Linux text files are UTF-8: the text goes as it is.
  WriteBytes(path, O_APPEND, text, "AppendToFile");
}

void PosixFileSystem::WriteTextFileParts(std::string_view path,
                                         std::span<const std::string_view> parts) {
  // Converted and written a piece at a time: a large message is never held
  // a second time in its code page.
  constexpr size_t kPieceBytes = 64 * 1024;
  UniqueFd file = OpenForWriting(std::string(path), O_TRUNC, "WriteTextFile", /*replace_link=*/true);
  std::string bytes;
  for (std::string_view part : parts) {
    ForEachTextPiece(part, kPieceBytes, [&](std::string_view piece) {
      bytes.clear();
      AppendUtf8ToWindows1252(bytes, piece);
      WriteAll(file, bytes, "WriteTextFile");
    });
  }
  if (file.Close() != 0) RaiseFileError(errno, "WriteTextFile");
}

bool PosixFileSystem::FolderExists(std::string_view path) {
  if (path.empty()) return false;
  struct stat info {};
  return ::stat(std::string(path).c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

std::vector<std::string> PosixFileSystem::ListFiles(std::string_view folder) {
  std::vector<std::string> names;
  ForEachEntry(folder, "ListFiles", [&](DIR* dir, const dirent& entry) {
    if (IsRegularFile(dir, entry)) names.emplace_back(entry.d_name);
  });
  // In the order of their names, as Windows lists a folder on its own file
  // system, rather than in the order of a directory's hash table, so that
  // files found in one tick are taken in the same order everywhere.
  std::sort(names.begin(), names.end());
  return names;
}

std::string PosixFileSystem::BuildPath(std::string_view folder, std::string_view name) {
  std::string path(folder);
  if (!path.empty() && path.back() != '/') path += '/';
  path += name;
  return path;
}

void PosixFileSystem::CopyFile(std::string_view source_view, std::string_view target_view) {
  const std::string source(source_view);
  const std::string target(target_view);
  UniqueFd in = OpenSource(source, "CopyFile");
  std::string temp_path;
  UniqueFd out(CreateTempBeside(target, temp_path, "CopyFile"));
  TempFile temp(temp_path);
  CopyAndSync(in.get(), out, "CopyFile");
  // Renaming replaces whatever has the target's name, a link included,
  // without writing through it.
  if (::rename(temp.path().c_str(), target.c_str()) != 0) {
    RaisePathError(errno, target, "CopyFile");
  }
  temp.Keep();
}

void PosixFileSystem::MoveFile(std::string_view source_view, std::string_view target_view) {
  const std::string source(source_view);
  const std::string target(target_view);
  struct stat info {};
  if (::lstat(source.c_str(), &info) != 0) RaisePathError(errno, source, "MoveFile");
  if (S_ISDIR(info.st_mode)) RaiseStandard(err::kPermissionDenied, "MoveFile");
  if (!S_ISREG(info.st_mode)) RaiseStandard(err::kPathFileAccess, "MoveFile");

  // On one file system: a rename that refuses to replace an existing name.
  if (::renameat2(AT_FDCWD, source.c_str(), AT_FDCWD, target.c_str(), RENAME_NOREPLACE) == 0) {
    return;
  }
  int error = errno;
  if (error == EINVAL || error == ENOSYS) {
    // A file system that cannot rename so: a second name, then the first
    // one removed.
    if (::link(source.c_str(), target.c_str()) == 0) {
      if (::unlink(source.c_str()) != 0) {
        const int unlink_error = errno;
        ::unlink(target.c_str());
        RaisePathError(unlink_error, source, "MoveFile");
      }
      return;
    }
    error = errno;
  }
  if (error != EXDEV) RaisePathError(error, target, "MoveFile");

  // Across file systems: a copy beside the target takes the target's name
  // only where none exists, then the source goes.
  UniqueFd in = OpenSource(source, "MoveFile");
  std::string temp_path;
  UniqueFd out(CreateTempBeside(target, temp_path, "MoveFile"));
  TempFile temp(temp_path);
  CopyAndSync(in.get(), out, "MoveFile");
  LinkNewName(temp.path(), target, "MoveFile");
  if (::unlink(source.c_str()) != 0) {
    // The file stays where it was: the copy is taken back.
    const int unlink_error = errno;
    ::unlink(target.c_str());
    RaisePathError(unlink_error, source, "MoveFile");
  }
}

void PosixFileSystem::DeleteFile(std::string_view path_view) {
  // Unlinking needs write access to the folder only, so a read-only file
  // goes as well.
  const std::string path(path_view);
  if (::unlink(path.c_str()) != 0) RaisePathError(errno, path, "DeleteFile");
}

bool PosixFileSystem::TryExclusiveAccess(std::string_view path_view) {
  const std::string path(path_view);
  UniqueFd file(::open(path.c_str(), O_RDWR | O_CLOEXEC | O_NOCTTY | O_NONBLOCK | O_NOFOLLOW));
  if (file.get() < 0) return false;
  struct stat info {};
  if (::fstat(file.get(), &info) != 0 || !S_ISREG(info.st_mode)) return false;
  if ((info.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0) return false;
  // Released again when the descriptor closes.
  return ::flock(file.get(), LOCK_EX | LOCK_NB) == 0;
}

bool PosixFileSystem::HeldByAnotherProcess(std::string_view path_view) {
  const std::string path(path_view);
  // Read access is enough to ask for the lock, so a read-only file is asked
  // like any other.
  UniqueFd file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK | O_NOFOLLOW));
  if (file.get() < 0) return false;
  struct stat info {};
  if (::fstat(file.get(), &info) != 0 || !S_ISREG(info.st_mode)) return false;
  return ::flock(file.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
}

std::vector<FolderEntry> PosixFileSystem::ListEntries(std::string_view folder) {
  std::vector<FolderEntry> entries;
  ForEachEntry(folder, "ListEntries", [&](DIR* dir, const dirent& found) {
    struct stat info {};
    if (::fstatat(::dirfd(dir), found.d_name, &info, AT_SYMLINK_NOFOLLOW) != 0) return;
    FolderEntry entry = EntryOf(info);
    entry.name = found.d_name;
    entries.push_back(std::move(entry));
  });
  return entries;
}

std::optional<FolderEntry> PosixFileSystem::EntryAt(std::string_view path) {
  if (path.empty()) return std::nullopt;
  struct stat info {};
  if (::lstat(std::string(path).c_str(), &info) != 0) return std::nullopt;
  return EntryOf(info);
}

void PosixFileSystem::RenameReplacing(std::string_view source_view,
                                      std::string_view target_view) {
  const std::string source(source_view);
  const std::string target(target_view);
  struct stat info {};
  if (::lstat(source.c_str(), &info) != 0) RaisePathError(errno, source, "RenameReplacing");
  if (S_ISDIR(info.st_mode)) RaiseStandard(err::kPermissionDenied, "RenameReplacing");
  if (!S_ISREG(info.st_mode)) RaiseStandard(err::kPathFileAccess, "RenameReplacing");
  if (::rename(source.c_str(), target.c_str()) != 0) {
    RaisePathError(errno, target, "RenameReplacing");
  }
}

}  // namespace kdzv::posix
