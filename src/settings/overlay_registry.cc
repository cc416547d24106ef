#include "settings/overlay_registry.h"

#include <algorithm>

#include "util/text.h"

namespace kdzv {

namespace {

std::string KeyName(RegistryRoot root, std::string_view path) {
  return std::to_string(static_cast<int>(root)) + "\\" + ToUpper(path);
}

}  // namespace

OverlayRegistry::~OverlayRegistry() {
  for (const auto& [handle, state] : open_) {
    if (state.below != 0) below_.CloseKey(state.below);
  }
}

int32_t OverlayRegistry::CreateKey(RegistryRoot root, std::string_view path, uint32_t access,
                                   Handle* key) {
  if (OpenKey(root, path, access, key) == reg::kSuccess) return reg::kSuccess;
  const std::string name = KeyName(root, path);
  created_[name] = true;
  *key = next_++;
  open_[*key] = OpenKeyState{name, 0};
  return reg::kSuccess;
}

int32_t OverlayRegistry::OpenKey(RegistryRoot root, std::string_view path, uint32_t,
                                 Handle* key) {
  const std::string name = KeyName(root, path);
  Handle below = 0;
  const int32_t result = below_.OpenKey(root, path, reg::kKeyRead, &below);
  if (result != reg::kSuccess) {
    below = 0;
    if (created_.count(name) == 0) return result;
  }
  *key = next_++;
  open_[*key] = OpenKeyState{name, below};
  return reg::kSuccess;
}

int32_t OverlayRegistry::QueryMaxValueLength(Handle key, size_t* bytes) {
  const auto found = open_.find(key);
  if (found == open_.end()) return reg::kInvalidHandle;
  size_t longest = 0;
  if (found->second.below != 0) {
    const int32_t result = below_.QueryMaxValueLength(found->second.below, &longest);
    if (result != reg::kSuccess) return result;
  }
  const auto values = values_.find(found->second.path);
  if (values != values_.end()) {
    for (const auto& [name, data] : values->second) longest = std::max(longest, data.size() + 1);
  }
  *bytes = longest;
  return reg::kSuccess;
}

int32_t OverlayRegistry::QueryValue(Handle key, std::string_view name, size_t buffer_bytes,
                                    std::string* data) {
  const auto found = open_.find(key);
  if (found == open_.end()) return reg::kInvalidHandle;
  const auto values = values_.find(found->second.path);
  if (values != values_.end()) {
    const auto value = values->second.find(ToUpper(name));
    if (value != values->second.end()) {
      if (value->second.size() + 1 > buffer_bytes) return reg::kMoreData;
      *data = value->second;
      return reg::kSuccess;
    }
  }
  if (found->second.below == 0) return reg::kFileNotFound;
  return below_.QueryValue(found->second.below, name, buffer_bytes, data);
}

int32_t OverlayRegistry::SetValue(Handle key, std::string_view name, std::string_view data) {
  const auto found = open_.find(key);
  if (found == open_.end()) return reg::kInvalidHandle;
  values_[found->second.path][ToUpper(name)] = std::string(data);
  return reg::kSuccess;
}

int32_t OverlayRegistry::CloseKey(Handle key) {
  const auto found = open_.find(key);
  if (found == open_.end()) return reg::kInvalidHandle;
  if (found->second.below != 0) below_.CloseKey(found->second.below);
  open_.erase(found);
  return reg::kSuccess;
}

int32_t OverlayRegistry::DeleteKey(RegistryRoot root, std::string_view path) {
  const std::string name = KeyName(root, path);
  values_.erase(name);
  created_.erase(name);
  return reg::kSuccess;
}

}  // namespace kdzv
