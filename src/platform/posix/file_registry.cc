#include "platform/posix/file_registry.h"

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <new>
#include <system_error>
#include <utility>

#include "platform/posix/ini_document.h"
#include "util/error.h"
#include "util/text.h"

namespace kdzv::posix {
namespace {

namespace fs = std::filesystem;

// Windows system error codes beyond those of the port.
constexpr int32_t kPathNotFound = 3;
constexpr int32_t kNotEnoughMemory = 8;
constexpr int32_t kInvalidParameter = 87;
constexpr int32_t kDiskFull = 112;
constexpr int32_t kFilenameTooLong = 206;
constexpr int32_t kRegistryIoFailed = 1016;
constexpr int32_t kKeyDeleted = 1018;

constexpr uint32_t kQueryRight = 0x0001;  // KEY_QUERY_VALUE, part of KEY_READ
constexpr uint32_t kSetRight = 0x0002;    // KEY_SET_VALUE, part of KEY_WRITE

constexpr const char* kTopLevelFile = ".ini";

// A failed step with its result code; caught by Guarded().
struct Failure {
  int32_t code;
};

int32_t FromErrno(int value) {
  switch (value) {
    case EACCES:
    case EPERM:
    case EROFS: return reg::kAccessDenied;
    case ENOENT:
    case ENOTDIR: return kPathNotFound;
    case ENOSPC:
    case EDQUOT: return kDiskFull;
    case ENAMETOOLONG: return kFilenameTooLong;
    case ENOMEM: return kNotEnoughMemory;
    default: return kRegistryIoFailed;
  }
}

// The INI engine raises the host's file errors.
int32_t FromHostError(int32_t number) {
  switch (number) {
    case err::kPermissionDenied: return reg::kAccessDenied;
    case err::kPathNotFound: return kPathNotFound;
    case err::kFileNotFound: return reg::kFileNotFound;
    case err::kDiskFull: return kDiskFull;
    case err::kBadFileNameOrNumber: return kFilenameTooLong;
    case err::kOutOfMemory: return kNotEnoughMemory;
    case err::kInvalidCall: return kInvalidParameter;
    default: return kRegistryIoFailed;
  }
}

// Runs one operation and turns whatever it raises into a result code.
template <class Operation>
int32_t Guarded(Operation&& operation) {
  try {
    return operation();
  } catch (const Failure& failure) {
    return failure.code;
  } catch (const Error& error) {
    return FromHostError(error.number());
  } catch (const std::bad_alloc&) {
    return kNotEnoughMemory;
  } catch (...) {
    return kRegistryIoFailed;
  }
}

bool ValidPart(std::string_view part) {
  if (part.empty() || part == "." || part == "..") return false;
  if (part.find_first_of(std::string_view("/\r\n\0", 4)) != std::string_view::npos) return false;
  const auto blank = [](char c) { return c == ' ' || c == '\t'; };
  return !blank(part.front()) && !blank(part.back());
}

std::vector<std::string> SplitPath(std::string_view path) {
  std::vector<std::string> parts;
  size_t start = 0;
  while (true) {
    const size_t end = path.find('\\', start);
    const std::string_view part =
        path.substr(start, end == std::string_view::npos ? std::string_view::npos : end - start);
    if (!ValidPart(part)) throw Failure{reg::kInvalidName};
    parts.emplace_back(part);
    if (end == std::string_view::npos) return parts;
    start = end + 1;
  }
}

bool IsFolder(const std::string& path) {
  struct stat info {};
  return ::stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

bool IsFile(const std::string& path) {
  struct stat info {};
  return ::stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode);
}

// The name under which `name` (a folder when `folder_wanted`, else a file)
// exists in `folder`, matched without regard to case; `name` itself when
// there is none.
std::string Resolve(const std::string& folder, const std::string& name, bool folder_wanted) {
  const std::string exact = folder + "/" + name;
  if (folder_wanted ? IsFolder(exact) : IsFile(exact)) return name;
  std::error_code error;
  fs::directory_iterator it(folder, error);
  if (error) return name;
  for (; !error && it != fs::directory_iterator(); it.increment(error)) {
    const std::string entry = it->path().filename().string();
    if (!EqualsIgnoreCase(entry, name)) continue;
    const std::string full = folder + "/" + entry;
    if (folder_wanted ? IsFolder(full) : IsFile(full)) return entry;
  }
  return name;
}

// Where a key lives.
struct Location {
  std::string folder;    // the folder of `file`
  std::string file;      // the INI file that holds the key's section
  std::string section;   // the key's own name
  std::string sub_file;  // the file of its direct sub-keys
  std::string sub_dir;   // the folder of its deeper sub-keys
};

Location Locate(const std::string& root, const std::vector<std::string>& parts) {
  Location where;
  std::string folder = root;
  for (size_t i = 0; i + 2 < parts.size(); ++i) folder += "/" + Resolve(folder, parts[i], true);
  where.folder = folder;
  where.section = parts.back();
  std::string subs_folder;
  if (parts.size() == 1) {
    where.file = root + "/" + kTopLevelFile;
    subs_folder = root;
  } else {
    const std::string& owner = parts[parts.size() - 2];
    where.file = folder + "/" + Resolve(folder, owner + ".ini", false);
    subs_folder = folder + "/" + Resolve(folder, owner, true);
  }
  where.sub_file = subs_folder + "/" + Resolve(subs_folder, parts.back() + ".ini", false);
  where.sub_dir = subs_folder + "/" + Resolve(subs_folder, parts.back(), true);
  return where;
}

bool HasSubKeys(const Location& where) {
  if (IsFile(where.sub_file) && IniDocument::Load(where.sub_file).HasAnySection()) {
    return true;
  }
  if (IsFolder(where.sub_dir)) {
    std::error_code error;
    const bool empty = fs::is_empty(where.sub_dir, error);
    if (error) throw Failure{FromErrno(error.value())};
    return !empty;
  }
  return false;
}

// Raises a failure unless files can be written into `folder`, or into its
// nearest existing parent when it does not exist yet. (Files are replaced
// by renaming, so it is the folder that must be writable.)
void CheckWritable(const std::string& folder) {
  fs::path at(folder);
  while (true) {
    struct stat info {};
    if (::stat(at.c_str(), &info) == 0) {
      if (!S_ISDIR(info.st_mode)) throw Failure{kPathNotFound};
      if (::access(at.c_str(), W_OK) != 0) throw Failure{FromErrno(errno)};
      return;
    }
    if (errno != ENOENT) throw Failure{FromErrno(errno)};
    const fs::path parent = at.parent_path();
    if (parent == at || at == ".") throw Failure{kPathNotFound};
    at = parent.empty() ? fs::path(".") : parent;
  }
}

void CreateFolders(const std::string& folder) {
  std::error_code error;
  fs::create_directories(folder, error);
  if (error) throw Failure{FromErrno(error.value())};
}

// Removes `folder` and its parents while they are empty, stopping at `root`.
void RemoveEmptyFolders(std::string folder, const std::string& root) {
  while (folder.size() > root.size() && folder.compare(0, root.size(), root) == 0) {
    if (::rmdir(folder.c_str()) != 0) return;
    folder = fs::path(folder).parent_path().string();
  }
}

std::string WithoutTrailingSlash(std::string path) {
  while (path.size() > 1 && path.back() == '/') path.pop_back();
  return path;
}

void AppendEscape(unsigned char byte, std::string& out) {
  static constexpr char kHex[] = "0123456789ABCDEF";
  out += '%';
  out += kHex[byte >> 4];
  out += kHex[byte & 0x0F];
}

int HexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

// Runs `body` on the file and section of an open key, read afresh; a key
// deleted since it was opened answers 1018 as the registry does.
template <class Body>
int32_t OnOpenKey(const std::string& root_folder, const std::string& path, Body&& body) {
  return Guarded([&]() -> int32_t {
    const Location where = Locate(root_folder, SplitPath(path));
    IniDocument document = IniDocument::Load(where.file);
    if (!document.HasSection(where.section) && !HasSubKeys(where)) return kKeyDeleted;
    return body(where, document);
  });
}

}  // namespace

std::string FileRegistry::EncodeValue(std::string_view value) {
  std::string out;
  out.reserve(value.size());
  for (const char c : value) {
    if (c == '%' || c == '\r' || c == '\n' || c == '\0') {
      AppendEscape(static_cast<unsigned char>(c), out);
    } else {
      out += c;
    }
  }
  return out;
}

std::string FileRegistry::EncodeName(std::string_view name) {
  if (name.empty()) return "@";
  // The blanks and tabs at both ends, which the reader would trim.
  const size_t first = name.find_first_not_of(" \t");
  const size_t last = name.find_last_not_of(" \t");
  std::string out;
  for (size_t i = 0; i < name.size(); ++i) {
    const char c = name[i];
    const bool at_edge = first == std::string_view::npos || i < first || i > last;
    const bool special = c == '%' || c == '\r' || c == '\n' || c == '\0' || c == '=';
    const bool bad_start = i == 0 && (c == ';' || c == '[' || c == '@');
    if (at_edge || special || bad_start) {
      AppendEscape(static_cast<unsigned char>(c), out);
    } else {
      out += c;
    }
  }
  return out;
}

std::string FileRegistry::Decode(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '%' && i + 2 < text.size()) {
      const int high = HexValue(text[i + 1]);
      const int low = HexValue(text[i + 2]);
      if (high >= 0 && low >= 0) {
        out += static_cast<char>(high * 16 + low);
        i += 2;
        continue;
      }
    }
    out += text[i];
  }
  return out;
}

FileRegistry::FileRegistry(std::string classes_root, std::string current_user_root,
                           std::string machine_root)
    : FileRegistry(
          Roots{std::move(classes_root), std::move(current_user_root), std::move(machine_root)}) {}

FileRegistry::FileRegistry(Roots roots)
    : roots_{WithoutTrailingSlash(std::move(roots.classes)),
             WithoutTrailingSlash(std::move(roots.current_user)),
             WithoutTrailingSlash(std::move(roots.machine))} {}

FileRegistry::Roots FileRegistry::DefaultRoots() {
  std::string config;
  const char* xdg = std::getenv("XDG_CONFIG_HOME");
  // Only an absolute XDG_CONFIG_HOME counts.
  if (xdg != nullptr && xdg[0] == '/') {
    config = xdg;
  } else {
    const char* home = std::getenv("HOME");
    std::string home_folder = home != nullptr ? home : "";
    if (home_folder.empty()) {
      if (const passwd* user = ::getpwuid(::getuid()); user != nullptr && user->pw_dir) {
        home_folder = user->pw_dir;
      }
    }
    config = WithoutTrailingSlash(home_folder) + "/.config";
  }
  return Roots{"/etc/kdzentavo/classes", WithoutTrailingSlash(config) + "/kdzentavo/registry",
               "/etc/kdzentavo/registry"};
}

const std::string& FileRegistry::RootFolder(RegistryRoot root) const {
  switch (root) {
    case RegistryRoot::kClassesRoot: return roots_.classes;
    case RegistryRoot::kLocalMachine: return roots_.machine;
    case RegistryRoot::kCurrentUser: break;
  }
  return roots_.current_user;
}

int32_t FileRegistry::Open(RegistryRoot root, std::string_view path, uint32_t access, bool create,
                           Handle* key) {
  *key = 0;
  return Guarded([&]() -> int32_t {
    const Location where = Locate(RootFolder(root), SplitPath(path));
    IniDocument document = IniDocument::Load(where.file);
    const bool wants_write = (access & kSetRight) != 0;
    if (document.HasSection(where.section)) {
      if (wants_write) CheckWritable(where.folder);
    } else {
      // The key exists without a section of its own while it has sub-keys.
      const bool implied = HasSubKeys(where);
      if (!implied && !create) return reg::kFileNotFound;
      if (create) {
        // Creating writes the section, so that the key outlives its
        // sub-keys, as a created key does on Windows. An implied key that
        // cannot be written is still opened for reading.
        try {
          CheckWritable(where.folder);
          CreateFolders(where.folder);
          document.AddSection(where.section);
          document.Save(where.file);
        } catch (...) {
          if (!implied || wants_write) throw;
        }
      } else if (wants_write) {
        CheckWritable(where.folder);
      }
    }
    const Handle handle = next_handle_++;
    handles_.emplace(handle, OpenKeyInfo{root, std::string(path), access});
    *key = handle;
    return reg::kSuccess;
  });
}

int32_t FileRegistry::CreateKey(RegistryRoot root, std::string_view path, uint32_t access,
                                Handle* key) {
  return Open(root, path, access, true, key);
}

int32_t FileRegistry::OpenKey(RegistryRoot root, std::string_view path, uint32_t access,
                              Handle* key) {
  return Open(root, path, access, false, key);
}

const FileRegistry::OpenKeyInfo* FileRegistry::Lookup(Handle key, uint32_t right,
                                                      int32_t* code) const {
  const auto it = handles_.find(key);
  if (it == handles_.end()) {
    *code = reg::kInvalidHandle;
    return nullptr;
  }
  if ((it->second.access & right) == 0) {
    *code = reg::kAccessDenied;
    return nullptr;
  }
  return &it->second;
}

int32_t FileRegistry::QueryMaxValueLength(Handle key, size_t* bytes) {
  int32_t code = reg::kSuccess;
  const OpenKeyInfo* opened = Lookup(key, kQueryRight, &code);
  if (opened == nullptr) return code;
  return OnOpenKey(RootFolder(opened->root), opened->path,
                   [&](const Location& where, IniDocument& document) -> int32_t {
                     size_t longest = 0;
                     for (const auto& entry : document.Entries(where.section)) {
                       longest = std::max(longest, Decode(entry.second).size() + 1);
                     }
                     *bytes = longest;
                     return reg::kSuccess;
                   });
}

int32_t FileRegistry::QueryValue(Handle key, std::string_view name, size_t buffer_bytes,
                                 std::string* data) {
  int32_t code = reg::kSuccess;
  const OpenKeyInfo* opened = Lookup(key, kQueryRight, &code);
  if (opened == nullptr) return code;
  return OnOpenKey(RootFolder(opened->root), opened->path,
                   [&](const Location& where, IniDocument& document) -> int32_t {
                     const auto stored = document.Get(where.section, EncodeName(name));
                     if (!stored) return reg::kFileNotFound;
                     std::string value = Decode(*stored);
                     if (value.size() + 1 > buffer_bytes) return reg::kMoreData;
                     *data = std::move(value);
                     return reg::kSuccess;
                   });
}

int32_t FileRegistry::SetValue(Handle key, std::string_view name, std::string_view data) {
  int32_t code = reg::kSuccess;
  const OpenKeyInfo* opened = Lookup(key, kSetRight, &code);
  if (opened == nullptr) return code;
  return OnOpenKey(RootFolder(opened->root), opened->path,
                   [&](const Location& where, IniDocument& document) -> int32_t {
                     CheckWritable(where.folder);
                     CreateFolders(where.folder);
                     document.Set(where.section, EncodeName(name), "\"" + EncodeValue(data) + "\"");
                     document.Save(where.file);
                     return reg::kSuccess;
                   });
}

int32_t FileRegistry::CloseKey(Handle key) {
  return handles_.erase(key) == 1 ? reg::kSuccess : reg::kInvalidHandle;
}

int32_t FileRegistry::DeleteKey(RegistryRoot root, std::string_view path) {
  return Guarded([&]() -> int32_t {
    const std::string& root_folder = RootFolder(root);
    const Location where = Locate(root_folder, SplitPath(path));
    IniDocument document = IniDocument::Load(where.file);
    const bool has_section = document.HasSection(where.section);
    const bool has_sub_keys = HasSubKeys(where);
    if (!has_section) return has_sub_keys ? reg::kAccessDenied : reg::kFileNotFound;
    // Windows refuses to delete a key that has sub-keys.
    if (has_sub_keys) return reg::kAccessDenied;
    CheckWritable(where.folder);
    // Leftovers of sub-keys deleted earlier: an empty file or folder.
    if (IsFile(where.sub_file)) ::unlink(where.sub_file.c_str());
    if (IsFolder(where.sub_dir)) ::rmdir(where.sub_dir.c_str());
    document.RemoveSection(where.section);
    if (!document.HasAnySection()) {
      if (::unlink(where.file.c_str()) != 0 && errno != ENOENT) throw Failure{FromErrno(errno)};
      RemoveEmptyFolders(where.folder, root_folder);
    } else {
      document.Save(where.file);
    }
    return reg::kSuccess;
  });
}

}  // namespace kdzv::posix
