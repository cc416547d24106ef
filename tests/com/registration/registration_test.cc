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
