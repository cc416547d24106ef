// The registry port: the handful of key and value operations the settings
// store needs, with the results of the Windows registry functions (0 for
// success, otherwise a system error code such as 2 "not found" or 5 "access
// denied"). Windows passes them to the registry; Linux keeps the same tree in
// files (platform/posix/file_registry.h).
#ifndef KDZV_SETTINGS_REGISTRY_BACKEND_H_
#define KDZV_SETTINGS_REGISTRY_BACKEND_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace kdzv {

enum class RegistryRoot { kClassesRoot, kCurrentUser, kLocalMachine };

namespace reg {
inline constexpr int32_t kSuccess = 0;
inline constexpr int32_t kFileNotFound = 2;
inline constexpr int32_t kAccessDenied = 5;
inline constexpr int32_t kInvalidHandle = 6;
inline constexpr int32_t kInvalidName = 123;
inline constexpr int32_t kMoreData = 234;
inline constexpr uint32_t kKeyRead = 0x20019;
inline constexpr uint32_t kKeyWrite = 0x20006;
}  // namespace reg

class RegistryBackend {
 public:
  using Handle = uint64_t;  // 0 is never a valid handle

  virtual ~RegistryBackend() = default;
  // Creates the key (with its parents) or opens it when it exists.
  virtual int32_t CreateKey(RegistryRoot root, std::string_view path, uint32_t access,
                            Handle* key) = 0;
  // Opens an existing key; never creates one.
  virtual int32_t OpenKey(RegistryRoot root, std::string_view path, uint32_t access,
                          Handle* key) = 0;
  // The length in bytes of the longest value's data of the key, with its
  // terminating zero.
  virtual int32_t QueryMaxValueLength(Handle key, size_t* bytes) = 0;
  // Reads a string value into a buffer of `buffer_bytes`; `data` receives the
  // value without its terminating zero. kMoreData when it does not fit.
  virtual int32_t QueryValue(Handle key, std::string_view name, size_t buffer_bytes,
                             std::string* data) = 0;
  // Stores a string value.
  virtual int32_t SetValue(Handle key, std::string_view name, std::string_view data) = 0;
  virtual int32_t CloseKey(Handle key) = 0;
  // Deletes a key that has no sub-keys.
  virtual int32_t DeleteKey(RegistryRoot root, std::string_view path) = 0;
};

}  // namespace kdzv

#endif  // KDZV_SETTINGS_REGISTRY_BACKEND_H_
