#include "support/fresh_user_settings.h"

#ifdef _WIN32
#include <windows.h>

#include <string>
#include <vector>
#endif

namespace kdzv::test {

#ifdef _WIN32
namespace {
constexpr wchar_t kSettingsKey[] = L"Software\\HAL+VEX\\Halvex\\Zentavo";
}  // namespace

struct FreshUserSettings::Saved {
  struct Value {
    std::wstring name;
    DWORD type;
    std::vector<BYTE> data;
  };
  std::vector<Value> values;
};

FreshUserSettings::FreshUserSettings() : saved_(new Saved) {
  HKEY key = nullptr;
  if (::RegOpenKeyExW(HKEY_CURRENT_USER, kSettingsKey, 0, KEY_READ, &key) == ERROR_SUCCESS) {
    for (DWORD i = 0;; ++i) {
      wchar_t name[256];
      DWORD name_length = 256;
      DWORD type = 0;
      BYTE data[8192];
      DWORD size = sizeof(data);
      if (::RegEnumValueW(key, i, name, &name_length, nullptr, &type, data, &size) !=
          ERROR_SUCCESS) {
        break;
      }
      saved_->values.push_back(
          {std::wstring(name, name_length), type, std::vector<BYTE>(data, data + size)});
    }
    ::RegCloseKey(key);
  }
  ::RegDeleteTreeW(HKEY_CURRENT_USER, kSettingsKey);
}

FreshUserSettings::~FreshUserSettings() {
  ::RegDeleteTreeW(HKEY_CURRENT_USER, kSettingsKey);
  if (!saved_->values.empty()) {
    HKEY key = nullptr;
    if (::RegCreateKeyExW(HKEY_CURRENT_USER, kSettingsKey, 0, nullptr, 0, KEY_WRITE, nullptr,
                          &key, nullptr) == ERROR_SUCCESS) {
      for (const Saved::Value& value : saved_->values) {
        ::RegSetValueExW(key, value.name.c_str(), 0, value.type, value.data.data(),
                         static_cast<DWORD>(value.data.size()));
      }
      ::RegCloseKey(key);
    }
  }
  delete saved_;
}
#else
FreshUserSettings::FreshUserSettings() = default;
FreshUserSettings::~FreshUserSettings() = default;
#endif

}  // namespace kdzv::test
