// What the library writes to the registry to be found by COM: for every
// class its CLSID key and its ProgID "kdZentavo.<class>", and the type
// library with its interfaces. One table (registration_table.h) serves the
// library's own registration (regsvr32), its removal and the installer
// package's registry rows, so that all of them touch exactly the same keys.
#ifndef KDZV_COM_REGISTRATION_H_
#define KDZV_COM_REGISTRATION_H_

#include <windows.h>

#include <string>
#include <vector>

namespace kdzv::com {

// One value under HKEY_CLASSES_ROOT; an empty name is the key's default
// value.
struct RegistryRow {
  std::wstring key;
  std::wstring name;
  std::wstring value;
};

// The rows for the library at `dll_path`, for the type library's platform
// `platform` ("win32" or "win64").
std::vector<RegistryRow> RegistrationRows(const std::wstring& dll_path,
                                          const std::wstring& platform);
// The platform of this build.
const wchar_t* OwnPlatform();

// Writes every row; on failure removes what it wrote.
HRESULT RegisterServer(const std::wstring& dll_path);
// Removes the classes, and the type library's entry of this platform. The
// keys that both registry views share go only when the other platform's
// build no longer uses them: a class's ProgID when the other view has no
// key of that class, the type library and its interfaces when it has no
// entry of the other platform.
HRESULT UnregisterServer();

}  // namespace kdzv::com

#endif  // KDZV_COM_REGISTRATION_H_
