// An in-memory file system for core tests: files are byte strings keyed by
// their full path, folders a set of paths, '/' the separator. A path can be
// made to fail with a given error, be held by "another process" (the
// exclusive-access probe fails) or be read-only. Every file written gets
// `stamp` as its last write; `times` may set it per path. A path in `links`
// is a symbolic link (listed as one, never a file).
#ifndef KDZV_TESTS_SUPPORT_MEMORY_FILE_SYSTEM_H_
#define KDZV_TESTS_SUPPORT_MEMORY_FILE_SYSTEM_H_

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "interface/file_system.h"
#include "util/error.h"

namespace kdzv::test {

class MemoryFileSystem : public FileSystem {
 public:
  void AppendToFile(std::string_view path, std::string_view bytes) override {
    ++appends;
    FailIfListed(path, "AppendToFile");
    files[std::string(path)] += bytes;
    times[std::string(path)] = stamp;
  }
  // Keeps the text as given (UTF-8): the code page is the real systems'
  // business.
  void WriteTextFileParts(std::string_view path,
                          std::span<const std::string_view> parts) override {
    FailIfListed(path, "WriteTextFile");
    std::string text;
    for (std::string_view part : parts) text += part;
    files[std::string(path)] = std::move(text);
    times[std::string(path)] = stamp;
  }

  // False also for a path listed in `failures`.
  bool FolderExists(std::string_view path) override { return IsFolder(path) && !Failing(path); }

  // The files directly in `folder`, in the order of their paths.
  std::vector<std::string> ListFiles(std::string_view folder) override {
    FailIfListed(folder, "ListFiles");
    if (!IsFolder(folder)) RaiseStandard(err::kPathNotFound, "ListFiles");
    const std::string prefix = BuildPath(folder, "");
    std::vector<std::string> names;
    for (const auto& [path, bytes] : files) {
      if (path.size() > prefix.size() && path.compare(0, prefix.size(), prefix) == 0 &&
          path.find('/', prefix.size()) == std::string::npos) {
        names.push_back(path.substr(prefix.size()));
      }
    }
    return names;
  }

  std::string BuildPath(std::string_view folder, std::string_view name) override {
    std::string path(folder);
    if (!path.empty() && path.back() != '/') path += '/';
    path += name;
    return path;
  }

  // Replaces a read-only target as the real systems do; the copy is not
  // read-only.
  void CopyFile(std::string_view source, std::string_view target) override {
    ++copies;
    FailIfListed(source, "CopyFile");
    FailIfListed(target, "CopyFile");
    const auto found = files.find(std::string(source));
    if (found == files.end()) {
      RaiseStandard(
          folders.count(std::string(source)) != 0 ? err::kPermissionDenied : err::kFileNotFound,
          "CopyFile");
    }
    if (!ParentExists(target)) RaiseStandard(err::kPathNotFound, "CopyFile");
    if (folders.count(std::string(target)) != 0) {
      RaiseStandard(err::kPermissionDenied, "CopyFile");
    }
    const std::string bytes = found->second;
    files[std::string(target)] = bytes;
    times[std::string(target)] = stamp;
    readonly.erase(std::string(target));
  }

  // Refuses an existing target as the real systems do; moves the read-only
  // mark along.
  void MoveFile(std::string_view source, std::string_view target) override {
    ++moves;
    FailIfListed(source, "MoveFile");
    FailIfListed(target, "MoveFile");
    const std::string from(source);
    const std::string to(target);
    const auto found = files.find(from);
    if (found == files.end()) {
      if (folders.count(from) != 0) RaiseStandard(err::kPermissionDenied, "MoveFile");
      RaiseStandard(ParentExists(source) ? err::kFileNotFound : err::kPathNotFound, "MoveFile");
    }
    if (!ParentExists(target)) RaiseStandard(err::kPathNotFound, "MoveFile");
    if (files.count(to) != 0 || folders.count(to) != 0) {
      RaiseStandard(err::kFileAlreadyExists, "MoveFile");
    }
    files[to] = found->second;
    files.erase(from);
    if (readonly.erase(from) != 0) readonly.insert(to);
    if (const auto time = times.find(from); time != times.end()) {
      times[to] = time->second;
      times.erase(from);
    }
  }

  void DeleteFile(std::string_view path) override {
    ++deletes;
    FailIfListed(path, "DeleteFile");
    const std::string key(path);
    if (folders.count(key) != 0) RaiseStandard(err::kPermissionDenied, "DeleteFile");
    if (links.erase(key) != 0) return;
    if (readonly.count(key) != 0 && undeletable) RaiseStandard(err::kPermissionDenied, "DeleteFile");
    if (files.erase(key) == 0) {
      RaiseStandard(ParentExists(path) ? err::kFileNotFound : err::kPathNotFound, "DeleteFile");
    }
    readonly.erase(key);
    held.erase(key);
    times.erase(key);
  }

  // True for an existing file that is neither held, read-only nor failing.
  bool TryExclusiveAccess(std::string_view path) override {
    ++probes;
    const std::string key(path);
    return files.count(key) != 0 && held.count(key) == 0 && readonly.count(key) == 0 &&
           !Failing(path);
  }

  // True for an existing file that "another process" holds.
  bool HeldByAnotherProcess(std::string_view path) override {
    const std::string key(path);
    return files.count(key) != 0 && held.count(key) != 0;
  }

  // The files, links and sub-folders directly in `folder`, in the order of
  // their paths.
  std::vector<FolderEntry> ListEntries(std::string_view folder) override {
    FailIfListed(folder, "ListEntries");
    if (!IsFolder(folder)) RaiseStandard(err::kPathNotFound, "ListEntries");
    const std::string prefix = BuildPath(folder, "");
    std::map<std::string, FolderEntry> found;
    auto take = [&](const std::string& path) {
      if (path.size() <= prefix.size() || path.compare(0, prefix.size(), prefix) != 0 ||
          path.find('/', prefix.size()) != std::string::npos) {
        return;
      }
      if (auto entry = EntryAt(path)) {
        entry->name = path.substr(prefix.size());
        found[path] = *entry;
      }
    };
    for (const auto& [path, bytes] : files) take(path);
    for (const std::string& path : links) take(path);
    for (const std::string& path : folders) take(path);
    std::vector<FolderEntry> entries;
    for (auto& [path, entry] : found) entries.push_back(std::move(entry));
    return entries;
  }

  std::optional<FolderEntry> EntryAt(std::string_view path) override {
    const std::string key(path);
    FolderEntry entry;
    if (links.count(key) != 0) {
      entry.kind = FolderEntry::Kind::kLink;
    } else if (const auto file = files.find(key); file != files.end()) {
      entry.kind = FolderEntry::Kind::kFile;
      entry.size = file->second.size();
    } else if (folders.count(key) != 0) {
      entry.kind = FolderEntry::Kind::kFolder;
    } else {
      return std::nullopt;
    }
    if (const auto time = times.find(key); time != times.end()) entry.last_write = time->second;
    return entry;
  }

  // Replaces a file at `target`; refuses a held target as Windows does.
  void RenameReplacing(std::string_view source, std::string_view target) override {
    ++renames;
    FailIfListed(source, "RenameReplacing");
    FailIfListed(target, "RenameReplacing");
    const std::string from(source);
    const std::string to(target);
    const auto found = files.find(from);
    if (found == files.end()) {
      RaiseStandard(ParentExists(source) ? err::kFileNotFound : err::kPathNotFound,
                    "RenameReplacing");
    }
    if (!ParentExists(target)) RaiseStandard(err::kPathNotFound, "RenameReplacing");
    if (folders.count(to) != 0 || held.count(to) != 0 || held.count(from) != 0) {
      RaiseStandard(err::kPermissionDenied, "RenameReplacing");
    }
    files[to] = found->second;
    files.erase(from);
    times[to] = times[from];
    times.erase(from);
  }

  std::map<std::string, std::string> files;
  std::set<std::string> links;               // symbolic links
  std::map<std::string, DateTime> times;     // last write per path
  DateTime stamp;                            // the last write of what is written now
  bool undeletable = false;                  // read-only files refuse DeleteFile
  std::set<std::string> folders;
  std::set<std::string> held;               // files another process has open
  std::set<std::string> readonly;           // read-only files
  std::map<std::string, int32_t> failures;  // path -> error number, for every operation
  int appends = 0;
  int copies = 0;
  int moves = 0;
  int deletes = 0;
  int probes = 0;
  int renames = 0;

 private:
  bool Failing(std::string_view path) const { return failures.count(std::string(path)) != 0; }
  void FailIfListed(std::string_view path, const char* procedure) const {
    const auto failing = failures.find(std::string(path));
    if (failing != failures.end()) RaiseStandard(failing->second, procedure);
  }
  // A path without a folder part is in the current folder, which exists.
  bool ParentExists(std::string_view path) const {
    const size_t cut = path.rfind('/');
    if (cut == std::string_view::npos) return true;
    return IsFolder(path.substr(0, cut == 0 ? 1 : cut));
  }
  // A folder may be named with a trailing '/'.
  bool IsFolder(std::string_view path) const {
    if (path.size() > 1 && path.back() == '/') path.remove_suffix(1);
    return folders.count(std::string(path)) != 0;
  }
};

}  // namespace kdzv::test

#endif  // KDZV_TESTS_SUPPORT_MEMORY_FILE_SYSTEM_H_
