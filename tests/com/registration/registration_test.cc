// Registration with regsvr32 writes exactly the classes, ProgIDs and type
// library keys of the library, and removal takes exactly those away: the
// whole of HKEY_CLASSES_ROOT is compared before and after.
#include <windows.h>
#include <oleauto.h>

#include <gtest/gtest.h>

#include <set>
#include <string>

#include "../host/host_environment.h"
#include "registry_snapshot.h"

namespace kdzv::host {
namespace {

std::wstring ValueOf(const std::wstring& key, const wchar_t* name) {
  wchar_t data[1024];
  DWORD size = sizeof(data);
  if (::RegGetValueW(HKEY_CLASSES_ROOT, key.c_str(), name, RRF_RT_REG_SZ, nullptr, data, &size) !=
      ERROR_SUCCESS) {
    return L"<missing>";
  }
  return data;
}

TEST(ComRegistration, Regsvr32WritesAndRemovesExactlyTheLibrarysKeys) {
  ASSERT_EQ(Unregister(), 0);
  const Snapshot before = TakeSnapshot();

  ASSERT_EQ(Register(), 0);
  const Snapshot registered = TakeSnapshot();
  const std::set<std::wstring> added = Changed(before, registered);
  for (const std::wstring& path : added) {
    EXPECT_TRUE(BelongsToTheLibrary(path)) << "registration touched " << Narrow(path);
  }
  // 8 classes x (2 ProgID keys + 5 CLSID keys), 6 type-library keys,
  // 9 interfaces x 4 keys.
  std::string listing;
  for (const std::wstring& path : added) listing += Narrow(path) + "\n";
  EXPECT_EQ(added.size(), 8u * 7u + 6u + 9u * 4u) << listing;

  const std::wstring clsid = L"CLSID\\{FEDD6BA8-66D4-437D-9410-5EBF171DADB0}";
  EXPECT_EQ(ValueOf(clsid + L"\\InprocServer32", nullptr), LibraryPath());
  EXPECT_EQ(ValueOf(clsid + L"\\InprocServer32", L"ThreadingModel"), L"Apartment");
  EXPECT_EQ(ValueOf(clsid + L"\\ProgID", nullptr), L"kdZentavo.kdZVInterface");
  EXPECT_EQ(ValueOf(L"kdZentavo.kdZVInterface\\CLSID", nullptr),
            L"{FEDD6BA8-66D4-437D-9410-5EBF171DADB0}");
  const std::wstring library = L"TypeLib\\{2CE17C8E-484E-40E1-A6C0-3D78A0AAA590}\\1.0";
  EXPECT_EQ(ValueOf(library, nullptr), L"Halvex-Interface für Zentavo");
  EXPECT_EQ(ValueOf(library + (sizeof(void*) == 8 ? L"\\0\\win64" : L"\\0\\win32"), nullptr),
            LibraryPath());

  ASSERT_EQ(Unregister(), 0);
  const Snapshot removed = TakeSnapshot();
  const std::set<std::wstring> left = Changed(before, removed);
  for (const std::wstring& path : left) ADD_FAILURE() << "not restored: " << Narrow(path);

  // The tests after this one find the library registered, as before it.
  ASSERT_EQ(Register(), 0);
}

// The eight classes with their CLSIDs.
struct Class {
  const wchar_t* name;
  const wchar_t* clsid;
};
constexpr Class kClasses[] = {
    {L"kdZVTermin", L"{85F4992B-F50D-4775-B8F7-1730DF13A154}"},
    {L"kdZVCalendar", L"{1C333A10-8B72-4176-A043-C9DDCD184474}"},
    {L"kdZVBelegungsZeit", L"{21AB4B01-0A40-4D9D-9535-E8F80F827AFF}"},
    {L"kdZVBelegungsZeiten", L"{6E65A331-7A1D-4C1D-BF80-F7A760773A1D}"},
    {L"kdZVBelegung", L"{819B1B3E-1A74-4276-A660-7134A8F5A605}"},
    {L"kdZVBelegungen", L"{20732967-623E-4BFE-BD6C-966B05E097BE}"},
    {L"clZVSettings", L"{45487F50-D487-4739-96C7-47E4AA5CF680}"},
    {L"kdZVInterface", L"{FEDD6BA8-66D4-437D-9410-5EBF171DADB0}"},
};
const wchar_t kLibraryKey[] = L"TypeLib\\{2CE17C8E-484E-40E1-A6C0-3D78A0AAA590}\\1.0";

bool KeyExists(const std::wstring& key, REGSAM view = 0) {
  HKEY handle = nullptr;
  if (::RegOpenKeyExW(HKEY_CLASSES_ROOT, key.c_str(), 0, KEY_READ | view, &handle) !=
      ERROR_SUCCESS) {
    return false;
  }
  ::RegCloseKey(handle);
  return true;
}

void SetValue(const std::wstring& key, const wchar_t* name, const std::wstring& value,
              REGSAM view) {
  HKEY handle = nullptr;
  ASSERT_EQ(::RegCreateKeyExW(HKEY_CLASSES_ROOT, key.c_str(), 0, nullptr, 0, KEY_WRITE | view,
                              nullptr, &handle, nullptr),
            ERROR_SUCCESS)
      << Narrow(key);
  ::RegSetValueExW(handle, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(value.c_str()),
                   static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t)));
  ::RegCloseKey(handle);
}

void DeleteTree(const std::wstring& key, REGSAM view) {
  HKEY handle = nullptr;
  if (::RegOpenKeyExW(HKEY_CLASSES_ROOT, key.c_str(), 0, KEY_ALL_ACCESS | view, &handle) ==
      ERROR_SUCCESS) {
    ::RegDeleteTreeW(handle, nullptr);
    ::RegCloseKey(handle);
  }
  ::RegDeleteKeyExW(HKEY_CLASSES_ROOT, key.c_str(), view, 0);
}

// The 32-bit build's registration, beside this 64-bit one on 64-bit Windows:
// its class keys in the 32-bit view of the registry, and its entry in the
// type library, as its own registration writes them (it cannot run here).
// Taken away again when the object goes.
class OtherArchitectureRegistered {
 public:
  OtherArchitectureRegistered() {
    const std::wstring dll = L"C:\\ProgramData\\Halvex\\Zentavo\\kdZentavo.dll";
    for (const Class& entry : kClasses) {
      const std::wstring key = std::wstring(L"CLSID\\") + entry.clsid;
      SetValue(key, nullptr, entry.name, KEY_WOW64_32KEY);
      SetValue(key + L"\\InprocServer32", nullptr, dll, KEY_WOW64_32KEY);
      SetValue(key + L"\\InprocServer32", L"ThreadingModel", L"Apartment", KEY_WOW64_32KEY);
      SetValue(key + L"\\ProgID", nullptr, std::wstring(L"kdZentavo.") + entry.name,
               KEY_WOW64_32KEY);
    }
    SetValue(std::wstring(kLibraryKey) + L"\\0\\win32", nullptr, dll, KEY_WOW64_32KEY);
  }
  ~OtherArchitectureRegistered() {
    for (const Class& entry : kClasses) {
      DeleteTree(std::wstring(L"CLSID\\") + entry.clsid, KEY_WOW64_32KEY);
    }
    DeleteTree(std::wstring(kLibraryKey) + L"\\0\\win32", KEY_WOW64_32KEY);
  }
};

// The ProgIDs are one set of keys for both registry views: removing this
// build keeps them while the other architecture's build still registers its
// classes (its hosts find the classes through them), and removes them with
// the last build.
TEST(ComRegistration, TheProgIdsStayWhileTheOtherArchitecturesBuildIsRegistered) {
  ASSERT_EQ(Register(), 0);
  {
    OtherArchitectureRegistered other;
    for (const Class& entry : kClasses) {
      ASSERT_TRUE(KeyExists(std::wstring(L"CLSID\\") + entry.clsid, KEY_WOW64_32KEY));
    }
    ASSERT_EQ(Unregister(), 0);
    for (const Class& entry : kClasses) {
      const std::wstring prog_id = std::wstring(L"kdZentavo.") + entry.name;
      EXPECT_EQ(ValueOf(prog_id, nullptr), entry.name);
      EXPECT_EQ(ValueOf(prog_id + L"\\CLSID", nullptr), entry.clsid);
      EXPECT_FALSE(KeyExists(std::wstring(L"CLSID\\") + entry.clsid, KEY_WOW64_64KEY))
          << Narrow(entry.name);
      EXPECT_TRUE(KeyExists(std::wstring(L"CLSID\\") + entry.clsid, KEY_WOW64_32KEY))
          << Narrow(entry.name);
    }
    // The type library stays for the other build, with its entry only.
    EXPECT_TRUE(KeyExists(std::wstring(kLibraryKey) + L"\\0\\win32"));
    EXPECT_FALSE(KeyExists(std::wstring(kLibraryKey) + L"\\0\\win64"));
    // Registered again beside the other build, and removed once more.
    ASSERT_EQ(Register(), 0);
    ASSERT_EQ(Unregister(), 0);
    EXPECT_EQ(ValueOf(L"kdZentavo.kdZVInterface\\CLSID", nullptr),
              L"{FEDD6BA8-66D4-437D-9410-5EBF171DADB0}");
  }
  // The other build gone too: this build's removal now takes the ProgIDs.
  ASSERT_EQ(Register(), 0);
  ASSERT_EQ(Unregister(), 0);
  for (const Class& entry : kClasses) {
    EXPECT_FALSE(KeyExists(std::wstring(L"kdZentavo.") + entry.name)) << Narrow(entry.name);
  }
  // The tests after this one find the library registered, as before it.
  ASSERT_EQ(Register(), 0);
}

TEST(ComRegistration, TheRegisteredTypeLibraryLoads) {
  ITypeLib* library = nullptr;
  const GUID libid = {0x2ce17c8e, 0x484e, 0x40e1, {0xa6, 0xc0, 0x3d, 0x78, 0xa0, 0xaa, 0xa5, 0x90}};
  ASSERT_EQ(::LoadRegTypeLib(libid, 1, 0, LOCALE_NEUTRAL, &library), S_OK);
  BSTR doc = nullptr;
  ASSERT_EQ(library->GetDocumentation(-1, nullptr, &doc, nullptr, nullptr), S_OK);
  EXPECT_EQ(std::wstring(doc), L"Halvex-Interface für Zentavo");
  ::SysFreeString(doc);
  library->Release();
}

}  // namespace
}  // namespace kdzv::host
