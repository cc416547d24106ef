#include "platform/win32/win32_registry.h"

#include <windows.h>

#include <string>
#include <utility>
#include <vector>

#include "platform/win32/wide_text.h"

namespace kdzv::win32 {
namespace {

HKEY RootKey(RegistryRoot root) {
  switch (root) {
    case RegistryRoot::kClassesRoot: return HKEY_CLASSES_ROOT;
    case RegistryRoot::kLocalMachine: return HKEY_LOCAL_MACHINE;
    case RegistryRoot::kCurrentUser: break;
  }
  return HKEY_CURRENT_USER;
}

HKEY AsHkey(uintptr_t bits) { return reinterpret_cast<HKEY>(bits); }

int32_t Result(LSTATUS status) { return static_cast<int32_t>(status); }

}  // namespace

Win32Registry::~Win32Registry() {
  for (const auto& [handle, key] : keys_) ::RegCloseKey(AsHkey(key));
}

int32_t Win32Registry::CreateKey(RegistryRoot root, std::string_view path, uint32_t access,
                                 Handle* key) {
  *key = 0;
  HKEY opened = nullptr;
  const LSTATUS status =
      ::RegCreateKeyExW(RootKey(root), Widen(path).c_str(), 0, nullptr, 0,
                        static_cast<REGSAM>(access), nullptr, &opened, nullptr);
  if (status != ERROR_SUCCESS) return Result(status);
  *key = next_handle_++;
  keys_.emplace(*key, reinterpret_cast<uintptr_t>(opened));
  return reg::kSuccess;
}

int32_t Win32Registry::OpenKey(RegistryRoot root, std::string_view path, uint32_t access,
                               Handle* key) {
  *key = 0;
  HKEY opened = nullptr;
  const LSTATUS status = ::RegOpenKeyExW(RootKey(root), Widen(path).c_str(), 0,
                                         static_cast<REGSAM>(access), &opened);
  if (status != ERROR_SUCCESS) return Result(status);
  *key = next_handle_++;
  keys_.emplace(*key, reinterpret_cast<uintptr_t>(opened));
  return reg::kSuccess;
}

int32_t Win32Registry::QueryMaxValueLength(Handle key, size_t* bytes) {
  const auto it = keys_.find(key);
  if (it == keys_.end()) return reg::kInvalidHandle;
  DWORD longest = 0;
  const LSTATUS status = ::RegQueryInfoKeyW(AsHkey(it->second), nullptr, nullptr, nullptr,
                                            nullptr, nullptr, nullptr, nullptr, nullptr,
                                            &longest, nullptr, nullptr);
  if (status != ERROR_SUCCESS) return Result(status);
  *bytes = static_cast<size_t>(longest) * 2 + 1;
  return reg::kSuccess;
}

int32_t Win32Registry::QueryValue(Handle key, std::string_view name, size_t buffer_bytes,
                                  std::string* data) {
  const auto it = keys_.find(key);
  if (it == keys_.end()) return reg::kInvalidHandle;
  const HKEY hkey = AsHkey(it->second);
  const std::wstring wide_name = Widen(name);

  DWORD type = 0;
  DWORD size = 0;
  LSTATUS status = ::RegQueryValueExW(hkey, wide_name.c_str(), nullptr, &type, nullptr, &size);
  if (status != ERROR_SUCCESS) return Result(status);
  // Room for a terminating zero the stored data may lack; the value may grow
  // between the calls, so ask again while it does.
  std::vector<wchar_t> buffer;
  for (int attempt = 0;; ++attempt) {
    buffer.assign(size / sizeof(wchar_t) + 2, L'\0');
    DWORD bytes = static_cast<DWORD>(buffer.size() * sizeof(wchar_t));
    status = ::RegQueryValueExW(hkey, wide_name.c_str(), nullptr, &type,
                                reinterpret_cast<BYTE*>(buffer.data()), &bytes);
    if (status == ERROR_MORE_DATA && attempt < 8) {
      size = bytes;
      continue;
    }
    if (status != ERROR_SUCCESS) return Result(status);
    size = bytes;
    break;
  }
  if (type != REG_SZ && type != REG_EXPAND_SZ) return ERROR_UNSUPPORTED_TYPE;

  // The returned length less its terminating zero.
  size_t units = size / sizeof(wchar_t);
  if (units > 0 && buffer[units - 1] == L'\0') --units;
  std::string value = Narrow(std::wstring_view(buffer.data(), units));
  if (value.size() + 1 > buffer_bytes) return reg::kMoreData;
  *data = std::move(value);
  return reg::kSuccess;
}

int32_t Win32Registry::SetValue(Handle key, std::string_view name, std::string_view data) {
  const auto it = keys_.find(key);
  if (it == keys_.end()) return reg::kInvalidHandle;
  const std::wstring wide = Widen(data);
  // REG_SZ data carries its terminating zero.
  const DWORD bytes = static_cast<DWORD>((wide.size() + 1) * sizeof(wchar_t));
  return Result(::RegSetValueExW(AsHkey(it->second), Widen(name).c_str(), 0, REG_SZ,
                                 reinterpret_cast<const BYTE*>(wide.c_str()), bytes));
}

int32_t Win32Registry::CloseKey(Handle key) {
  const auto it = keys_.find(key);
  if (it == keys_.end()) return reg::kInvalidHandle;
  const HKEY hkey = AsHkey(it->second);
  keys_.erase(it);
  return Result(::RegCloseKey(hkey));
}

int32_t Win32Registry::DeleteKey(RegistryRoot root, std::string_view path) {
  return Result(::RegDeleteKeyW(RootKey(root), Widen(path).c_str()));
}

}  // namespace kdzv::win32
