#include "platform/posix/posix_profile_file.h"

#include <fcntl.h>
#include <sys/file.h>

#include <cerrno>
#include <optional>
#include <utility>

#include "platform/posix/errno_error.h"
#include "platform/posix/ini_document.h"
#include "platform/posix/unique_fd.h"

namespace kdzv::posix {
namespace {

// `text` cut to at most `max_bytes` bytes without splitting a UTF-8 character.
std::string CutToBytes(std::string text, size_t max_bytes) {
  if (text.size() <= max_bytes) return text;
  size_t cut = max_bytes;
  // Back up over continuation bytes to the start of the character that the
  // cut would split.
  while (cut > 0 && (static_cast<unsigned char>(text[cut]) & 0xC0) == 0x80) --cut;
  text.resize(cut);
  return text;
}

// The folder of `file`, "." for a bare name.
std::string FolderOf(std::string_view file) {
  const size_t slash = file.find_last_of('/');
  if (slash == std::string_view::npos) return ".";
  if (slash == 0) return "/";
  return std::string(file.substr(0, slash));
}

// Holds the flock() on its descriptor; closing the descriptor gives it back.
// (A close of another descriptor of the same folder, as a save does to sync
// the folder, leaves a flock() alone.)
class FolderLock : public ProfileFileLock {
 public:
  explicit FolderLock(UniqueFd folder) : folder_(std::move(folder)) {}

 private:
  UniqueFd folder_;
};

}  // namespace

std::string PosixProfileFile::GetString(std::string_view section, std::string_view key,
                                        std::string_view default_value, size_t buffer_size,
                                        std::string_view file) {
  if (buffer_size == 0) return {};
  std::optional<std::string> value;
  try {
    value = IniDocument::Load(std::string(file)).Get(section, key);
  } catch (...) {
    // An unreadable file gives the default, like a missing one.
  }
  if (!value) {
    std::string_view fallback = default_value;
    while (!fallback.empty() && fallback.back() == ' ') fallback.remove_suffix(1);
    value = std::string(fallback);
  }
  return CutToBytes(std::move(*value), buffer_size - 1);
}

void PosixProfileFile::WriteString(std::string_view section, std::string_view key,
                                   std::string_view value, std::string_view file) {
  const std::string path(file);
  IniDocument doc = IniDocument::Load(path);
  doc.Set(section, key, value);
  doc.Save(path);
}

void PosixProfileFile::Flush(std::string_view) {}

std::unique_ptr<ProfileFileLock> PosixProfileFile::Lock(std::string_view file) {
  UniqueFd folder(::open(FolderOf(file).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (folder.get() < 0) RaiseFileError(errno, "Lock", errno == ENOENT);
  while (::flock(folder.get(), LOCK_EX) != 0) {
    if (errno != EINTR) RaiseFileError(errno, "Lock");
  }
  return std::make_unique<FolderLock>(std::move(folder));
}

}  // namespace kdzv::posix
