#include "platform/posix/ini_document.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <random>
#include <unordered_set>
#include <utility>

#include "platform/posix/errno_error.h"
#include "platform/posix/unique_fd.h"
#include "util/error.h"
#include "util/text.h"

namespace kdzv::posix {
namespace {

constexpr std::string_view kBom = "\xEF\xBB\xBF";
constexpr const char* kLoadSource = "IniDocument.Load";
constexpr const char* kSaveSource = "IniDocument.Save";

// Removes the temporary file of a save unless the save went through.
class TempFileGuard {
 public:
  TempFileGuard() = default;
  ~TempFileGuard() {
    if (!path_.empty()) ::unlink(path_.c_str());
  }
  TempFileGuard(const TempFileGuard&) = delete;
  TempFileGuard& operator=(const TempFileGuard&) = delete;
  void Arm(std::string path) { path_ = std::move(path); }
  void Release() { path_.clear(); }

 private:
  std::string path_;
};

// The key of a "key=value" line, or empty when the trimmed line is not one.
std::string_view KeyOf(std::string_view trimmed) {
  const size_t equals = trimmed.find('=');
  if (equals == std::string_view::npos) return {};
  return Trim(trimmed.substr(0, equals));
}

// The value of a key line: the text after the first '=', trimmed, and one
// pair of matching quotes around it removed.
std::string ValueOf(std::string_view line) {
  std::string_view value = Trim(line.substr(line.find('=') + 1));
  if (value.size() >= 2 && (value.front() == '"' || value.front() == '\'') &&
      value.back() == value.front()) {
    value = value.substr(1, value.size() - 2);
  }
  return std::string(value);
}

bool HasLineBreak(std::string_view text) {
  return text.find_first_of("\r\n") != std::string_view::npos;
}

// Raises "Invalid procedure call or argument" unless `section` and `key`
// can be written as a header and a key line.
void CheckNames(std::string_view section, std::string_view key) {
  if (HasLineBreak(section) || key.empty() || HasLineBreak(key) ||
      key.find('=') != std::string_view::npos || key.front() == ';' || key.front() == '[') {
    RaiseStandard(err::kInvalidCall, "IniDocument.Set");
  }
}

// A name for the temporary file of a save that no other save uses.
std::string TempSuffix() {
  static std::atomic<unsigned> counter{0};
  static std::mt19937 random{std::random_device{}()};
  char text[48];
  std::snprintf(text, sizeof text, "%ld-%u-%08x", static_cast<long>(::getpid()), counter++,
                static_cast<unsigned>(random()));
  return text;
}

void WriteAll(int fd, std::string_view bytes) {
  size_t written = 0;
  while (written < bytes.size()) {
    const ssize_t n = ::write(fd, bytes.data() + written, bytes.size() - written);
    if (n < 0) {
      if (errno == EINTR) continue;
      RaiseFileError(errno, kSaveSource);
    }
    written += static_cast<size_t>(n);
  }
}

// Makes the rename in `folder` durable.
void SyncFolder(const std::string& folder) {
  UniqueFd dir(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (dir.get() < 0) RaiseFileError(errno, kSaveSource);
  // Some file systems cannot sync a folder (EINVAL); their renames are as
  // durable as they get.
  if (::fsync(dir.get()) != 0 && errno != EINVAL) RaiseFileError(errno, kSaveSource);
}

}  // namespace

IniDocument IniDocument::Parse(std::string_view text) {
  IniDocument doc;
  if (text.substr(0, kBom.size()) == kBom) {
    doc.has_bom_ = true;
    text.remove_prefix(kBom.size());
  }
  bool style_known = false;
  // Room for every line at once: growing the list step by step would hold
  // it twice while it moves.
  doc.lines_.reserve(static_cast<size_t>(std::count(text.begin(), text.end(), '\n')) + 1);
  size_t start = 0;
  while (start < text.size()) {
    const size_t newline = text.find('\n', start);
    std::string_view piece = newline == std::string_view::npos
                                 ? text.substr(start)
                                 : text.substr(start, newline - start);
    if (newline == std::string_view::npos) {
      doc.ends_with_line_end_ = false;
      start = text.size();
    } else {
      start = newline + 1;
    }
    // A CR belongs to the line end only where a LF follows it; a last line
    // without a line end keeps what it has.
    const bool crlf = newline != std::string_view::npos && !piece.empty() && piece.back() == '\r';
    if (crlf) piece.remove_suffix(1);
    if (!style_known && newline != std::string_view::npos) {
      doc.line_end_ = crlf ? "\r\n" : "\n";
      style_known = true;
    }

    Line line;
    line.text = std::string(piece);
    const std::string_view trimmed = Trim(piece);
    if (!trimmed.empty() && trimmed.front() == '[') {
      const size_t close = trimmed.rfind(']');
      if (close != std::string_view::npos) {
        line.kind = Kind::kHeader;
        line.name = std::string(Trim(trimmed.substr(1, close - 1)));
      }
    } else if (!trimmed.empty() && trimmed.front() != ';') {
      const std::string_view key = KeyOf(trimmed);
      if (!key.empty()) {
        line.kind = Kind::kKey;
        line.name = std::string(key);
      }
    }
    doc.lines_.push_back(std::move(line));
  }
  return doc;
}

IniDocument IniDocument::Load(const std::string& path) {
  // Opened without waiting: a pipe in the file's place must not block here.
  UniqueFd file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
  if (file.get() < 0) {
    // A file that does not exist reads as an empty one, also when its folder
    // is missing.
    if (errno == ENOENT || errno == ENOTDIR) return IniDocument();
    RaiseFileError(errno, kLoadSource);
  }
  struct stat info {};
  if (::fstat(file.get(), &info) != 0) RaiseFileError(errno, kLoadSource);
  if (!S_ISREG(info.st_mode)) {
    Raise(err::kPathFileAccess, "Path/File access error (no regular file: " + path + ")",
          kLoadSource);
  }
  const auto too_large = [&path] {
    Raise(err::kPathFileAccess,
          "Path/File access error (more than " + std::to_string(kMaxFileBytes) +
              " bytes: " + path + ")",
          kLoadSource);
  };
  if (static_cast<unsigned long long>(info.st_size) > kMaxFileBytes) too_large();
  std::string text;
  char buffer[8192];
  for (;;) {
    const ssize_t n = ::read(file.get(), buffer, sizeof buffer);
    if (n < 0) {
      if (errno == EINTR) continue;
      RaiseFileError(errno, kLoadSource);
    }
    if (n == 0) break;
    // A file that grows while it is read is held to the same limit.
    if (text.size() + static_cast<size_t>(n) > kMaxFileBytes) too_large();
    text.append(buffer, static_cast<size_t>(n));
  }
  return Parse(text);
}

size_t IniDocument::FindHeader(std::string_view section, size_t from) const {
  const std::string_view name = Trim(section);
  for (size_t i = from; i < lines_.size(); ++i) {
    if (lines_[i].kind == Kind::kHeader && EqualsIgnoreCase(lines_[i].name, name)) return i;
  }
  return std::string::npos;
}

size_t IniDocument::SectionEnd(size_t header) const {
  size_t i = header + 1;
  while (i < lines_.size() && lines_[i].kind != Kind::kHeader) ++i;
  return i;
}

size_t IniDocument::FindKey(size_t header, std::string_view key) const {
  const std::string_view name = Trim(key);
  const size_t end = SectionEnd(header);
  for (size_t i = header + 1; i < end; ++i) {
    if (lines_[i].kind == Kind::kKey && EqualsIgnoreCase(lines_[i].name, name)) return i;
  }
  return std::string::npos;
}

std::optional<std::string> IniDocument::Get(std::string_view section,
                                            std::string_view key) const {
  const size_t header = FindHeader(section);
  if (header == std::string::npos) return std::nullopt;
  const size_t line = FindKey(header, key);
  if (line == std::string::npos) return std::nullopt;
  return ValueOf(lines_[line].text);
}

bool IniDocument::HasSection(std::string_view section) const {
  return FindHeader(section) != std::string::npos;
}

std::vector<std::pair<std::string, std::string>> IniDocument::Entries(
    std::string_view section) const {
  std::vector<std::pair<std::string, std::string>> entries;
  const size_t header = FindHeader(section);
  if (header == std::string::npos) return entries;
  const size_t end = SectionEnd(header);
  // One pass: a name seen before is shadowed by its first line, as in
  // lookups.
  std::unordered_set<std::string> seen;
  for (size_t i = header + 1; i < end; ++i) {
    if (lines_[i].kind != Kind::kKey) continue;
    if (!seen.insert(ToUpper(lines_[i].name)).second) continue;
    entries.emplace_back(lines_[i].name, ValueOf(lines_[i].text));
  }
  return entries;
}

std::vector<std::string> IniDocument::Keys(std::string_view section) const {
  std::vector<std::string> keys;
  for (auto& entry : Entries(section)) keys.push_back(std::move(entry.first));
  return keys;
}

std::vector<std::string> IniDocument::Sections() const {
  std::vector<std::string> sections;
  std::unordered_set<std::string> seen;
  for (const Line& line : lines_) {
    if (line.kind == Kind::kHeader && seen.insert(ToUpper(line.name)).second) {
      sections.push_back(line.name);
    }
  }
  return sections;
}

bool IniDocument::HasAnySection() const {
  for (const Line& line : lines_) {
    if (line.kind == Kind::kHeader) return true;
  }
  return false;
}

void IniDocument::AppendLine(Line line) {
  lines_.push_back(std::move(line));
  ends_with_line_end_ = true;
}

void IniDocument::Set(std::string_view section, std::string_view key, std::string_view value) {
  const std::string_view key_name = Trim(key);
  CheckNames(section, key_name);
  if (HasLineBreak(value)) RaiseStandard(err::kInvalidCall, "IniDocument.Set");

  size_t header = FindHeader(section);
  if (header == std::string::npos) {
    AddSection(section);
    header = lines_.size() - 1;
  }
  const size_t existing = FindKey(header, key_name);
  if (existing != std::string::npos) {
    // Keeps the spelling of the key as the file has it.
    Line& line = lines_[existing];
    line.text = line.name + "=" + std::string(value);
    return;
  }
  Line line{std::string(key_name) + "=" + std::string(value), Kind::kKey, std::string(key_name)};
  size_t at = header + 1;
  const size_t end = SectionEnd(header);
  for (size_t i = header + 1; i < end; ++i) {
    if (lines_[i].kind == Kind::kKey) at = i + 1;
  }
  if (at == lines_.size()) {
    AppendLine(std::move(line));
  } else {
    lines_.insert(lines_.begin() + static_cast<std::ptrdiff_t>(at), std::move(line));
  }
}

void IniDocument::AddSection(std::string_view section) {
  if (HasLineBreak(section)) RaiseStandard(err::kInvalidCall, "IniDocument.AddSection");
  if (HasSection(section)) return;
  const std::string name(Trim(section));
  AppendLine(Line{"[" + name + "]", Kind::kHeader, name});
}

bool IniDocument::RemoveSection(std::string_view section) {
  size_t header = FindHeader(section);
  if (header == std::string::npos) return false;
  while (header != std::string::npos) {
    const size_t end = SectionEnd(header);
    // The line that becomes the last one keeps the line end it had.
    if (end == lines_.size()) ends_with_line_end_ = true;
    lines_.erase(lines_.begin() + static_cast<std::ptrdiff_t>(header),
                 lines_.begin() + static_cast<std::ptrdiff_t>(end));
    header = FindHeader(section, header);
  }
  return true;
}

std::string IniDocument::Serialize(std::string_view line_end) const {
  std::string text;
  if (has_bom_) text += kBom;
  for (size_t i = 0; i < lines_.size(); ++i) {
    text += lines_[i].text;
    if (i + 1 < lines_.size() || ends_with_line_end_) text += line_end;
  }
  return text;
}

void IniDocument::Save(const std::string& path, bool create_folders) const {
  namespace fs = std::filesystem;
  std::string target = path;
  struct stat info {};
  // Saving through a symbolic link replaces the file it points at, not the
  // link.
  if (::lstat(path.c_str(), &info) == 0 && S_ISLNK(info.st_mode)) {
    std::error_code ignored;
    const fs::path resolved = fs::weakly_canonical(path, ignored);
    if (!ignored) target = resolved.string();
  }
  const fs::path target_path(target);
  std::string folder = target_path.parent_path().string();
  if (folder.empty()) folder = ".";
  if (create_folders) {
    std::error_code error;
    fs::create_directories(folder, error);
    if (error) RaiseFileError(error.value(), kSaveSource, error.value() == ENOENT);
  }

  const std::string text = Serialize(line_end_);
  TempFileGuard guard;
  UniqueFd file;
  std::string temp;
  for (int attempt = 0; file.get() < 0; ++attempt) {
    temp = folder + "/." + target_path.filename().string() + "." + TempSuffix() + ".tmp";
    file.reset(::open(temp.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
    const int error = errno;
    if (file.get() < 0 && (error != EEXIST || attempt >= 100)) {
      // The file is being created, so a missing entry is a missing folder.
      RaiseFileError(error, kSaveSource, error == ENOENT);
    }
  }
  guard.Arm(temp);

  // A file that is replaced keeps its permissions.
  if (::stat(target.c_str(), &info) == 0 && S_ISREG(info.st_mode)) {
    if (::fchmod(file.get(), info.st_mode & 07777) != 0) RaiseFileError(errno, kSaveSource);
  }
  WriteAll(file.get(), text);
  if (::fsync(file.get()) != 0) RaiseFileError(errno, kSaveSource);
  if (file.Close() != 0) RaiseFileError(errno, kSaveSource);
  if (::rename(temp.c_str(), target.c_str()) != 0) RaiseFileError(errno, kSaveSource);
  guard.Release();
  SyncFolder(folder);
}

}  // namespace kdzv::posix
