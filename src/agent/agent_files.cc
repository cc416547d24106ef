#include "agent/agent_files.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

#include "interface/file_system.h"
#include "platform/platform.h"
#include "util/error.h"

namespace kdzv::agent {

namespace {

namespace fs = std::filesystem;

// The standard library takes a narrow path in the system's code page on
// Windows; a UTF-8 path goes through char8_t to reach the wide API.
fs::path ToPath(std::string_view utf8) {
  return fs::path(std::u8string(reinterpret_cast<const char8_t*>(utf8.data()), utf8.size()));
}

}  // namespace

// Joining, folder checks, listing and deleting go through the component's
// file-system port (it holds no state, so the agent's thread may share it);
// its raised errors become the answers below.

std::string JoinPath(std::string_view folder, std::string_view name) {
  return System().file_system.BuildPath(folder, name);
}

bool FolderExists(std::string_view folder) { return System().file_system.FolderExists(folder); }

bool FileExists(std::string_view path) {
  std::error_code error;
  return fs::exists(ToPath(path), error);
}

std::vector<std::string> ListFileNames(std::string_view folder) {
  std::vector<std::string> names;
  try {
    names = System().file_system.ListFiles(folder);
  } catch (...) {
    return {};
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
  try {
    System().file_system.DeleteFile(path);
    return true;
  } catch (const Error& failure) {
    error = failure.description();
  } catch (...) {
    error = "the file cannot be deleted";
  }
  return false;
}

}  // namespace kdzv::agent
