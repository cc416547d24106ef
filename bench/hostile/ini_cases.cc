// The settings store's INI files and the configuration file, grown far
// beyond what they ever hold: junk keys and sections in the settings, a
// configuration file of blank lines.
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>

#include "bench_support.h"
#include "hostile/hostile.h"
#include "platform/posix/file_registry.h"
#include "platform/posix/posix_profile_file.h"
#include "settings/zv_settings.h"

namespace kdzv::hostile {
namespace {

// A user root whose settings file (Software/HAL+VEX/Halvex.ini) holds `text`.
std::string UserRootWith(const std::string& text) {
  const std::string root = bench::MakeTempFolder();
  std::filesystem::create_directories(root + "/Software/HAL+VEX");
  const std::string file = root + "/Software/HAL+VEX/Halvex.ini";
  std::FILE* out = std::fopen(file.c_str(), "wb");
  if (out == nullptr) std::abort();
  std::fwrite(text.data(), 1, text.size(), out);
  std::fclose(out);
  return root;
}

// Reading all nine settings from a store of `text`.
Run ReadSettingsFrom(const std::string& text, size_t& bytes) {
  bytes = text.size();
  const std::string root = UserRootWith(text);
  return [root] {
    posix::FileRegistry registry(root + "/classes", root, root + "/machine");
    clZVSettings settings(registry);
    if (settings.FilePraefix() != "HX") std::abort();
  };
}

KDZV_HOSTILE_CASE(SettingsJunkKeys) {
  return {"settings/junk-keys",
          {2'000, 16'000},
          {/*max_seconds=*/1.0, /*max_growth=*/3.0, /*heap_per_byte=*/24.0,
           /*heap_allowance=*/1 << 20},
          [](int64_t n, size_t& bytes) {
            std::string text = "[Zentavo]\r\n";
            for (int64_t i = 0; i < n; ++i) {
              text += "Junk" + std::to_string(i) + "=" + std::to_string(i) + "\r\n";
            }
            text += "DoLog=False\r\n";
            return ReadSettingsFrom(text, bytes);
          }};
}

KDZV_HOSTILE_CASE(SettingsJunkSections) {
  return {"settings/junk-sections",
          {2'000, 16'000},
          {/*max_seconds=*/1.0, /*max_growth=*/3.0, /*heap_per_byte=*/24.0,
           /*heap_allowance=*/1 << 20},
          [](int64_t n, size_t& bytes) {
            std::string text;
            for (int64_t i = 0; i < n; ++i) text += "[Junk" + std::to_string(i) + "]\r\n";
            text += "[Zentavo]\r\nDoLog=False\r\n";
            return ReadSettingsFrom(text, bytes);
          }};
}

// The configuration file at the size limit (and below it) made of blank
// lines, the worst case for the memory of its lines.
KDZV_HOSTILE_CASE(ConfigBlankLines) {
  return {"cfg/blank-lines",
          {32 * 1024, 256 * 1024},
          {/*max_seconds=*/1.0, /*max_growth=*/3.0, /*heap_per_byte=*/80.0,
           /*heap_allowance=*/1 << 20},
          [](int64_t n, size_t& bytes) -> Run {
            std::string text = "[SESSION]\nLastSessionID=7\n";
            text.resize(static_cast<size_t>(n), '\n');
            bytes = text.size();
            const std::string file = bench::WriteTempFile("kdZentavo.cfg", text);
            return [file] {
              posix::PosixProfileFile profile;
              if (profile.GetString("SESSION", "LastSessionID", "0", 255, file) != "7") std::abort();
            };
          }};
}

// Beyond the limit the file is not read at all: the default is answered.
KDZV_HOSTILE_CASE(ConfigBeyondTheLimit) {
  return {"cfg/beyond-the-limit",
          {1024 * 1024, 16 * 1024 * 1024},
          {/*max_seconds=*/0.1, /*max_growth=*/3.0, /*heap_per_byte=*/0.01,
           /*heap_allowance=*/1 << 20},
          [](int64_t n, size_t& bytes) -> Run {
            const std::string file =
                bench::WriteTempFile("kdZentavo.cfg", std::string(static_cast<size_t>(n), '\n'));
            bytes = static_cast<size_t>(n);
            return [file] {
              posix::PosixProfileFile profile;
              if (profile.GetString("SESSION", "LastSessionID", "0", 255, file) != "0") std::abort();
            };
          }};
}

}  // namespace
}  // namespace kdzv::hostile
