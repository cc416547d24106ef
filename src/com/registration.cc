#include "com/registration.h"

#include "com/registration_table.h"

namespace kdzv::com {
namespace {

// Registry text is UTF-8 in the shared table and UTF-16 here.
std::wstring Wide(const std::string& text) {
  if (text.empty()) return std::wstring();
  const int length = ::MultiByteToWideChar(CP_UTF8, 0, text.data(),
                                           static_cast<int>(text.size()), nullptr, 0);
  std::wstring wide(static_cast<size_t>(length), L'\0');
  ::MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), wide.data(),
                        length);
  return wide;
}

std::string Utf8(const std::wstring& text) {
  if (text.empty()) return std::string();
  const int length = ::WideCharToMultiByte(CP_UTF8, 0, text.data(),
                                           static_cast<int>(text.size()), nullptr, 0, nullptr,
                                           nullptr);
  std::string narrow(static_cast<size_t>(length), '\0');
  ::WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), narrow.data(),
                        length, nullptr, nullptr);
  return narrow;
}

std::wstring TypeLibKey() { return L"TypeLib\\" + Wide(table::kLibraryId); }

// An open registry key, closed when it goes out of scope.
class RegKey {
 public:
  RegKey() = default;
  ~RegKey() {
    if (key_ != nullptr) ::RegCloseKey(key_);
  }
  RegKey(const RegKey&) = delete;
  RegKey& operator=(const RegKey&) = delete;
  HKEY get() const { return key_; }
  HKEY* Put() { return &key_; }

 private:
  HKEY key_ = nullptr;
};

bool HasSubkeys(const std::wstring& key) {
  RegKey handle;
  if (::RegOpenKeyExW(HKEY_CLASSES_ROOT, key.c_str(), 0, KEY_READ, handle.Put()) !=
      ERROR_SUCCESS) {
    return false;
  }
  DWORD subkeys = 0;
  const LONG status = ::RegQueryInfoKeyW(handle.get(), nullptr, nullptr, nullptr, &subkeys,
                                         nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                         nullptr);
  return status == ERROR_SUCCESS && subkeys > 0;
}

// Whether the other architecture's build registers the class `clsid`. The
// CLSID keys have a 64-bit and a 32-bit view on 64-bit Windows; the other
// build's are in the view that is not this build's own. (On 32-bit Windows
// there is one view only, this build's own, so the flag changes nothing.)
bool OtherViewRegisters(const std::wstring& clsid) {
  const REGSAM other_view = sizeof(void*) == 8 ? KEY_WOW64_32KEY : KEY_WOW64_64KEY;
  RegKey key;
  return ::RegOpenKeyExW(HKEY_CLASSES_ROOT, (L"CLSID\\" + clsid).c_str(), 0,
                         KEY_READ | other_view, key.Put()) == ERROR_SUCCESS;
}

LONG DeleteTree(const std::wstring& key) {
  const LONG status = ::RegDeleteTreeW(HKEY_CLASSES_ROOT, key.c_str());
  if (status == ERROR_SUCCESS || status == ERROR_FILE_NOT_FOUND) {
    // RegDeleteTree empties a key; the key itself goes with RegDeleteKey.
    const LONG gone = ::RegDeleteKeyW(HKEY_CLASSES_ROOT, key.c_str());
    return gone == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : gone;
  }
  return status;
}

}  // namespace

const wchar_t* OwnPlatform() { return sizeof(void*) == 8 ? L"win64" : L"win32"; }

std::vector<RegistryRow> RegistrationRows(const std::wstring& dll_path,
                                          const std::wstring& platform) {
  const std::string path = Utf8(dll_path);
  std::vector<RegistryRow> rows;
  for (const table::Row& row :
       table::Rows(path, table::FolderWithSeparator(path), Utf8(platform))) {
    rows.push_back({Wide(row.key), Wide(row.name), Wide(row.value)});
  }
  return rows;
}

HRESULT RegisterServer(const std::wstring& dll_path) {
  for (const RegistryRow& row : RegistrationRows(dll_path, OwnPlatform())) {
    RegKey key;
    LONG status = ::RegCreateKeyExW(HKEY_CLASSES_ROOT, row.key.c_str(), 0, nullptr,
                                    REG_OPTION_NON_VOLATILE, KEY_WRITE, nullptr, key.Put(),
                                    nullptr);
    if (status == ERROR_SUCCESS) {
      status = ::RegSetValueExW(key.get(), row.name.empty() ? nullptr : row.name.c_str(), 0,
                                REG_SZ, reinterpret_cast<const BYTE*>(row.value.c_str()),
                                static_cast<DWORD>((row.value.size() + 1) * sizeof(wchar_t)));
    }
    if (status != ERROR_SUCCESS) {
      UnregisterServer();
      return HRESULT_FROM_WIN32(status);
    }
  }
  return S_OK;
}

HRESULT UnregisterServer() {
  LONG failed = ERROR_SUCCESS;
  auto remove = [&failed](const std::wstring& key) {
    const LONG status = DeleteTree(key);
    if (status != ERROR_SUCCESS && failed == ERROR_SUCCESS) failed = status;
  };
  for (const table::ClassRecord& entry : table::kClasses) {
    remove(L"CLSID\\" + Wide(entry.clsid));
    // The ProgIDs are one for both views: while the other architecture's
    // build still registers the class, its hosts find the class through it.
    if (!OtherViewRegisters(Wide(entry.clsid))) {
      remove(Wide(table::kProgIdPrefix) + Wide(entry.name));
    }
  }
  // The type library's entry of this platform; the library and its
  // interfaces only when no other platform's build still uses them.
  const std::wstring platforms = TypeLibKey() + L"\\" + Wide(table::kLibraryVersion) + L"\\0";
  remove(platforms + L"\\" + OwnPlatform());
  if (!HasSubkeys(platforms)) {
    remove(TypeLibKey());
    for (const table::InterfaceRecord& entry : table::kInterfaces) {
      remove(L"Interface\\" + Wide(entry.iid));
    }
  }
  return failed == ERROR_SUCCESS ? S_OK : HRESULT_FROM_WIN32(failed);
}

}  // namespace kdzv::com
