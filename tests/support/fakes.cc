#include "support/fakes.h"

#include <atomic>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>

namespace kdzv::test {

ScopedProcess::ScopedProcess()
    : saved_active_(process::ActiveInterface()),
      saved_ui_(process::MessageBoxes()),
      saved_zone_(process::TimeZone()),
      saved_trace_(process::Trace()),
      saved_log_path_(process::LogFilePath()),
      saved_cfg_path_(process::ConfigFilePath()) {
  process::SetActiveInterface(nullptr);
  process::SetMessageBoxes(&ui);
  process::SetTimeZone(&zone);
  process::SetTrace(&trace);
}

ScopedProcess::~ScopedProcess() {
  process::SetActiveInterface(saved_active_);
  process::SetMessageBoxes(saved_ui_);
  process::SetTimeZone(saved_zone_);
  process::SetTrace(saved_trace_);
  process::SetFilePaths(saved_log_path_, saved_cfg_path_);
}

std::vector<std::string> ScopedProcess::Reports() const {
  std::vector<std::string> all = log.lines;
  for (const auto& box : ui.boxes) all.push_back(box.text);
  return all;
}

TempDir::TempDir() {
  static std::atomic<unsigned> counter{0};
  std::random_device random;
  const auto base = std::filesystem::temp_directory_path();
  for (;;) {
    auto candidate = base / ("kdzv-test-" + std::to_string(random()) + "-" +
                             std::to_string(counter++));
    if (std::filesystem::create_directory(candidate)) {
      path_ = candidate.string();
      return;
    }
  }
}

TempDir::~TempDir() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::string TempDir::File(std::string_view name) const {
  return (std::filesystem::path(path_) / std::filesystem::path(name)).string();
}

std::vector<std::string> FolderEntries(const std::string& folder) {
  std::vector<std::string> names;
  std::error_code error;
  for (std::filesystem::directory_iterator it(folder, error), end; !error && it != end;
       it.increment(error)) {
    names.push_back(it->path().filename().string());
  }
  return names;
}

std::string ReadFileBytes(const std::string& path) {
  std::ifstream in(std::filesystem::path(path), std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

void WriteFileBytes(const std::string& path, std::string_view bytes) {
  std::ofstream out(std::filesystem::path(path), std::ios::binary | std::ios::trunc);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

}  // namespace kdzv::test
