// The few file operations of the agent, on UTF-8 paths: what the
// component's file-system port offers goes through it, the rest (reading,
// writing raw bytes, existence, making folders) through the standard
// library. Nothing here holds state, so any thread may use it; none of
// them throws.
#ifndef KDZV_AGENT_AGENT_FILES_H_
#define KDZV_AGENT_AGENT_FILES_H_

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kdzv::agent {

// `folder` joined with `name` by the platform's separator.
std::string JoinPath(std::string_view folder, std::string_view name);

bool FolderExists(std::string_view folder);
bool FileExists(std::string_view path);

// The names of the regular files in `folder`, sorted by their bytes; empty
// when the folder cannot be read.
std::vector<std::string> ListFileNames(std::string_view folder);

// The whole file, or nothing when it cannot be opened or read.
std::optional<std::string> ReadWholeFile(std::string_view path);

// Create or replace `path` with `bytes` (no lock). False with `error` set
// on failure.
bool WriteWholeFile(std::string_view path, std::string_view bytes, std::string& error);

// Creates `folder` and its parents where missing.
bool MakeFolders(std::string_view folder, std::string& error);

bool RemoveFile(std::string_view path, std::string& error);

}  // namespace kdzv::agent

#endif  // KDZV_AGENT_AGENT_FILES_H_
