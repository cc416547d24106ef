#include "platform/posix/posix_file_system.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "platform/posix/errno_error.h"
#include "platform/posix/unique_fd.h"
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

// Opens `path` with `flags`, writes `bytes` and closes it; `procedure` names
// the operation in a raised error.
void WriteBytes(std::string_view path_view, int flags, std::string_view bytes,
                const char* procedure) {
  const std::string path(path_view);
  UniqueFd file(::open(path.c_str(), flags | O_WRONLY | O_CREAT | O_CLOEXEC, 0644));
  if (file.get() < 0) {
    const int error = errno;
    RaiseFileError(error, procedure, error == ENOENT && FolderMissing(path));
  }
  size_t written = 0;
  while (written < bytes.size()) {
    const ssize_t n = ::write(file.get(), bytes.data() + written, bytes.size() - written);
    if (n < 0) {
      if (errno == EINTR) continue;
      RaiseFileError(errno, procedure);
    }
    written += static_cast<size_t>(n);
  }
  if (file.Close() != 0) RaiseFileError(errno, procedure);
}

}  // namespace

void PosixFileSystem::AppendToFile(std::string_view path, std::string_view bytes) {
  WriteBytes(path, O_APPEND, bytes, "AppendToFile");
}

void PosixFileSystem::WriteTextFile(std::string_view path, std::string_view text) {
  WriteBytes(path, O_TRUNC, Utf8ToWindows1252(text), "WriteTextFile");
}

}  // namespace kdzv::posix
