#include "platform/posix/posix_profile_file.h"

#include <optional>

#include "platform/posix/ini_document.h"

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

}  // namespace kdzv::posix
