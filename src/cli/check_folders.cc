#include "cli/check_folders.h"

#include <filesystem>
#include <system_error>

#include "settings/zv_settings.h"

namespace kdzv {
namespace {

namespace fs = std::filesystem;

fs::path PathOf(const std::string& utf8) {
  return fs::path(std::u8string(utf8.begin(), utf8.end()));
}

// Empty when the folder exists (made now or before), otherwise why not.
std::string MakeFolder(const std::string& folder) {
  std::error_code error;
  const fs::path path = PathOf(folder);
  if (fs::is_directory(path, error)) return {};
  if (fs::exists(path, error)) return "it exists and is not a folder";
  fs::create_directories(path, error);
  if (error) return error.message();
  if (!fs::is_directory(path, error)) return "it could not be made";
  return {};
}

}  // namespace

std::vector<std::string> CheckFolders(const clZVSettings& settings) {
  struct Folder {
    const char* what;
    std::string path;
    bool may_be_empty;
  };
  // In the order in which the dialog hands them to the host.
  const Folder folders[] = {{"upload folder", settings.UploadPath(), false},
                            {"download folder", settings.DownloadPath(), false},
                            {"depot folder", settings.AblagePath(), true}};
  std::vector<std::string> problems;
  for (const Folder& folder : folders) {
    if (folder.path.empty()) {
      if (!folder.may_be_empty) problems.push_back(std::string(folder.what) + ": not set");
      continue;
    }
    const std::string reason = MakeFolder(folder.path);
    if (!reason.empty()) {
      problems.push_back(std::string(folder.what) + " \"" + folder.path + "\": " + reason);
    }
  }
  if (problems.empty()) problems.emplace_back("OK");
  return problems;
}

}  // namespace kdzv
