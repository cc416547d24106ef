#include "com/registration.h"

#include <objbase.h>

#include "com/kdZentavo_h.h"

namespace kdzv::com {
namespace {

struct ClassEntry {
  const wchar_t* name;
  const CLSID* clsid;
};

const ClassEntry kClasses[] = {
    {L"kdZVTermin", &CLSID_kdZVTermin},
    {L"kdZVCalendar", &CLSID_kdZVCalendar},
    {L"kdZVBelegungsZeit", &CLSID_kdZVBelegungsZeit},
    {L"kdZVBelegungsZeiten", &CLSID_kdZVBelegungsZeiten},
    {L"kdZVBelegung", &CLSID_kdZVBelegung},
    {L"kdZVBelegungen", &CLSID_kdZVBelegungen},
    {L"clZVSettings", &CLSID_clZVSettings},
    {L"kdZVInterface", &CLSID_kdZVInterface},
};

struct InterfaceEntry {
  const wchar_t* name;
  const IID* iid;
  bool dispinterface;
};

const InterfaceEntry kInterfaces[] = {
    {L"_kdZVTermin", &IID__kdZVTermin, false},
    {L"_kdZVCalendar", &IID__kdZVCalendar, false},
    {L"_kdZVBelegungsZeit", &IID__kdZVBelegungsZeit, false},
    {L"_kdZVBelegungsZeiten", &IID__kdZVBelegungsZeiten, false},
    {L"_kdZVBelegung", &IID__kdZVBelegung, false},
    {L"_kdZVBelegungen", &IID__kdZVBelegungen, false},
    {L"_clZVSettings", &IID__clZVSettings, false},
    {L"_kdZVInterface", &IID__kdZVInterface, false},
    {L"__kdZVInterface", &DIID___kdZVInterface, true},
};

constexpr wchar_t kLibraryName[] = L"Halvex-Interface f\u00fcr Zentavo";
constexpr wchar_t kVersion[] = L"1.0";
// The system's marshalers of automation interfaces: dual interfaces go
// through the type library, dispinterfaces through IDispatch.
constexpr wchar_t kDualMarshaler[] = L"{00020424-0000-0000-C000-000000000046}";
constexpr wchar_t kDispatchMarshaler[] = L"{00020420-0000-0000-C000-000000000046}";

std::wstring GuidText(const GUID& guid) {
  wchar_t text[40] = {};
  ::StringFromGUID2(guid, text, 40);
  return text;
}

std::wstring FolderOf(const std::wstring& path) {
  const size_t slash = path.find_last_of(L"\\/");
  return slash == std::wstring::npos ? std::wstring() : path.substr(0, slash);
}

std::wstring TypeLibKey() { return L"TypeLib\\" + GuidText(LIBID_kdZentavo); }

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
  const std::wstring libid = GuidText(LIBID_kdZentavo);
  std::vector<RegistryRow> rows;
  for (const ClassEntry& entry : kClasses) {
    const std::wstring clsid = GuidText(*entry.clsid);
    const std::wstring prog_id = std::wstring(L"kdZentavo.") + entry.name;
    const std::wstring class_key = L"CLSID\\" + clsid;
    rows.push_back({prog_id, L"", entry.name});
    rows.push_back({prog_id + L"\\CLSID", L"", clsid});
    rows.push_back({class_key, L"", entry.name});
    rows.push_back({class_key + L"\\InprocServer32", L"", dll_path});
    rows.push_back({class_key + L"\\InprocServer32", L"ThreadingModel", L"Apartment"});
    rows.push_back({class_key + L"\\ProgID", L"", prog_id});
    rows.push_back({class_key + L"\\TypeLib", L"", libid});
    rows.push_back({class_key + L"\\Version", L"", kVersion});
  }
  const std::wstring library_key = TypeLibKey() + L"\\" + kVersion;
  rows.push_back({library_key, L"", kLibraryName});
  rows.push_back({library_key + L"\\0\\" + platform, L"", dll_path});
  rows.push_back({library_key + L"\\FLAGS", L"", L"0"});
  rows.push_back({library_key + L"\\HELPDIR", L"", FolderOf(dll_path)});
  for (const InterfaceEntry& entry : kInterfaces) {
    const std::wstring key = L"Interface\\" + GuidText(*entry.iid);
    const wchar_t* marshaler = entry.dispinterface ? kDispatchMarshaler : kDualMarshaler;
    rows.push_back({key, L"", entry.name});
    rows.push_back({key + L"\\ProxyStubClsid", L"", marshaler});
    rows.push_back({key + L"\\ProxyStubClsid32", L"", marshaler});
    rows.push_back({key + L"\\TypeLib", L"", libid});
    rows.push_back({key + L"\\TypeLib", L"Version", kVersion});
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
  for (const ClassEntry& entry : kClasses) {
    remove(std::wstring(L"kdZentavo.") + entry.name);
    remove(L"CLSID\\" + GuidText(*entry.clsid));
  }
  // The type library's entry of this platform; the library and its
  // interfaces only when no other platform's build still uses them.
  const std::wstring platforms = TypeLibKey() + L"\\" + kVersion + L"\\0";
  remove(platforms + L"\\" + OwnPlatform());
  if (!HasSubkeys(platforms)) {
    remove(TypeLibKey());
    for (const InterfaceEntry& entry : kInterfaces) {
      remove(L"Interface\\" + GuidText(*entry.iid));
    }
  }
  return failed == ERROR_SUCCESS ? S_OK : HRESULT_FROM_WIN32(failed);
}

}  // namespace kdzv::com
