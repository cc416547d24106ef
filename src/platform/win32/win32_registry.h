// The registry port over the Windows registry ("W" functions; names and
// values are converted between UTF-8 and UTF-16 here).
//
// QueryMaxValueLength answers a UTF-8 byte budget, not the UTF-16 byte count
// of the registry: 2 x that count + 1. One UTF-16 unit (2 bytes) takes at
// most 3 UTF-8 bytes, so every value of the key fits, with its terminating
// zero even when it was stored without one. QueryValue reads the whole
// value, and answers 234 when its UTF-8 text and a terminating zero do not
// fit `buffer_bytes`, and 1630 (ERROR_UNSUPPORTED_TYPE) for a value that is
// not a string (REG_SZ or REG_EXPAND_SZ).
#ifndef KDZV_PLATFORM_WIN32_WIN32_REGISTRY_H_
#define KDZV_PLATFORM_WIN32_WIN32_REGISTRY_H_

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>

#include "settings/registry_backend.h"

namespace kdzv::win32 {

class Win32Registry : public RegistryBackend {
 public:
  Win32Registry() = default;
  // Closes the keys still open.
  ~Win32Registry() override;
  Win32Registry(const Win32Registry&) = delete;
  Win32Registry& operator=(const Win32Registry&) = delete;

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

  size_t OpenHandleCount() const { return keys_.size(); }

 private:
  // The open keys by handle number; an HKEY is kept as its bits so that this
  // header needs no <windows.h>.
  std::map<Handle, uintptr_t> keys_;
  Handle next_handle_ = 1;
};

}  // namespace kdzv::win32

#endif  // KDZV_PLATFORM_WIN32_WIN32_REGISTRY_H_
