// A registry that reads through to another one and keeps every write to
// itself: settings changed on it last as long as the object, and the
// underlying store never changes. zvsync uses it for options that override
// the stored settings for one run only.
#ifndef KDZV_SETTINGS_OVERLAY_REGISTRY_H_
#define KDZV_SETTINGS_OVERLAY_REGISTRY_H_

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>

#include "settings/registry_backend.h"

namespace kdzv {

class OverlayRegistry : public RegistryBackend {
 public:
  explicit OverlayRegistry(RegistryBackend& below) : below_(below) {}
  ~OverlayRegistry() override;

  // A key is opened below when it exists there (read-only); otherwise it
  // exists only here. Nothing is ever created or deleted below.
  int32_t CreateKey(RegistryRoot root, std::string_view path, uint32_t access,
                    Handle* key) override;
  int32_t OpenKey(RegistryRoot root, std::string_view path, uint32_t access,
                  Handle* key) override;
  int32_t QueryMaxValueLength(Handle key, size_t* bytes) override;
  int32_t QueryValue(Handle key, std::string_view name, size_t buffer_bytes,
                     std::string* data) override;
  int32_t SetValue(Handle key, std::string_view name, std::string_view data) override;
  int32_t CloseKey(Handle key) override;
  int32_t DeleteKey(RegistryRoot root, std::string_view path) override;

 private:
  struct OpenKeyState {
    std::string path;      // root number + "\" + path, upper-cased
    Handle below = 0;      // 0: the key exists only here
  };
  RegistryBackend& below_;
  std::map<Handle, OpenKeyState> open_;
  std::map<std::string, std::map<std::string, std::string>> values_;  // path -> name -> data
  std::map<std::string, bool> created_;
  Handle next_ = 1;
};

}  // namespace kdzv

#endif  // KDZV_SETTINGS_OVERLAY_REGISTRY_H_
