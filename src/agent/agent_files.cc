#include "agent/agent_files.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

namespace kdzv::agent {

namespace {

namespace fs = std::filesystem;

// The standard library takes a narrow path in the system's code page on
// Windows; a UTF-8 path goes through char8_t to reach the wide API.
fs::path ToPath(std::string_view utf8) {
  return fs::path(std::u8string(reinterpret_cast<const char8_t*>(utf8.data()), utf8.size()));
}

std::string ToUtf8(const fs::path& path) {
  const std::u8string text = path.u8string();
  return std::string(reinterpret_cast<const char*>(text.data()), text.size());
}

}  // namespace

std::string JoinPath(std::string_view folder, std::string_view name) {
  if (folder.empty()) return std::string(name);
  return ToUtf8(ToPath(folder) / ToPath(name));
}

bool FolderExists(std::string_view folder) {
  std::error_code error;
  return fs::is_directory(ToPath(folder), error);
}

bool FileExists(std::string_view path) {
  std::error_code error;
  return fs::exists(ToPath(path), error);
}

std::vector<std::string> ListFileNames(std::string_view folder) {
  std::vector<std::string> names;
  std::error_code error;
  fs::directory_iterator it(ToPath(folder), error);
  if (error) return names;
  for (const fs::directory_entry& entry : it) {
    std::error_code kind_error;
    if (entry.is_regular_file(kind_error)) names.push_back(ToUtf8(entry.path().filename()));
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::optional<std::string> ReadWholeFile(std::string_view path) {
  std::ifstream in(ToPath(path), std::ios::binary);
  if (!in) return std::nullopt;
  std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  if (in.bad()) return std::nullopt;
  return bytes;
}

bool WriteWholeFile(std::string_view path, std::string_view bytes, std::string& error) {
  std::ofstream out(ToPath(path), std::ios::binary | std::ios::trunc);
  if (out) out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  if (out) out.close();
  if (!out) {
    error = "cannot write " + std::string(path);
    return false;
  }
  return true;
}

bool MakeFolders(std::string_view folder, std::string& error) {
  std::error_code code;
  fs::create_directories(ToPath(folder), code);
  if (code) {
    error = code.message();
    return false;
  }
  return true;
}

bool RemoveFile(std::string_view path, std::string& error) {
  std::error_code code;
  if (!fs::remove(ToPath(path), code) || code) {
    error = code ? code.message() : "the file is gone";
    return false;
  }
  return true;
}

}  // namespace kdzv::agent
