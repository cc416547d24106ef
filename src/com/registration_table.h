// The library's registry rows as plain data: the classes, the type library
// and its interfaces with their GUIDs in registry text form. Portable (no
// Windows header) so that both the library's own registration (regsvr32)
// and the installer package's generator build their rows from this one
// table; kdZentavo.idl holds the same GUIDs, and the library's tests check
// that the registered type library and classes match it.
#ifndef KDZV_COM_REGISTRATION_TABLE_H_
#define KDZV_COM_REGISTRATION_TABLE_H_

#include <string>
#include <vector>

namespace kdzv::com::table {

struct ClassRecord {
  const char* name;
  const char* clsid;
};

inline constexpr ClassRecord kClasses[] = {
    {"kdZVTermin", "{85F4992B-F50D-4775-B8F7-1730DF13A154}"},
    {"kdZVCalendar", "{1C333A10-8B72-4176-A043-C9DDCD184474}"},
    {"kdZVBelegungsZeit", "{21AB4B01-0A40-4D9D-9535-E8F80F827AFF}"},
    {"kdZVBelegungsZeiten", "{6E65A331-7A1D-4C1D-BF80-F7A760773A1D}"},
    {"kdZVBelegung", "{819B1B3E-1A74-4276-A660-7134A8F5A605}"},
    {"kdZVBelegungen", "{20732967-623E-4BFE-BD6C-966B05E097BE}"},
    {"clZVSettings", "{45487F50-D487-4739-96C7-47E4AA5CF680}"},
    {"kdZVInterface", "{FEDD6BA8-66D4-437D-9410-5EBF171DADB0}"},
};

struct InterfaceRecord {
  const char* name;
  const char* iid;
  // A dispinterface is marshalled through IDispatch, a dual interface
  // through the type library.
  bool dispinterface;
};

inline constexpr InterfaceRecord kInterfaces[] = {
    {"_kdZVTermin", "{697B9941-DC2C-4647-8C2B-F132CDA3199F}", false},
    {"_kdZVCalendar", "{0C88914D-A457-492A-8273-4565445CA9EC}", false},
    {"_kdZVBelegungsZeit", "{A3213319-6912-4238-BF7A-C6578ABFD3C8}", false},
    {"_kdZVBelegungsZeiten", "{73DCF64D-64CA-4456-BF01-732913933310}", false},
    {"_kdZVBelegung", "{64E8E580-DE07-4042-A2E8-69AE53E7B9AA}", false},
    {"_kdZVBelegungen", "{6AFBFF0E-F897-475C-B6C7-4C0D848FBF29}", false},
    {"_clZVSettings", "{9497BB3F-4A2E-4C98-A2F8-1C3581B1D1E5}", false},
    {"_kdZVInterface", "{50310D2A-B36A-469F-997D-AFD062582D0D}", false},
    {"__kdZVInterface", "{37105E71-01BF-45BC-BB07-F2C4414E2317}", true},
};

inline constexpr char kLibraryId[] = "{2CE17C8E-484E-40E1-A6C0-3D78A0AAA590}";
inline constexpr char kLibraryVersion[] = "1.0";
// UTF-8.
inline constexpr char kLibraryName[] = "Halvex-Interface f\xC3\xBCr Zentavo";
inline constexpr char kProgIdPrefix[] = "kdZentavo.";
// The system's marshalers of automation interfaces.
inline constexpr char kDualMarshaler[] = "{00020424-0000-0000-C000-000000000046}";
inline constexpr char kDispatchMarshaler[] = "{00020420-0000-0000-C000-000000000046}";

// One value under HKEY_CLASSES_ROOT, in UTF-8; an empty name is the key's
// default value.
struct Row {
  std::string key;
  std::string name;
  std::string value;
};

// Every row for the library file `dll_path` in the folder `dll_folder`
// (written as the type library's help folder), for the type library's
// platform `platform` ("win32" or "win64"). The paths are taken as they
// are: the installer's generator passes its formatted references.
std::vector<Row> Rows(const std::string& dll_path, const std::string& dll_folder,
                      const std::string& platform);

// The folder of `path` with its closing backslash, as Windows Installer
// writes a folder: "C:\\a\\b.dll" gives "C:\\a\\".
std::string FolderWithSeparator(const std::string& path);

}  // namespace kdzv::com::table

#endif  // KDZV_COM_REGISTRATION_TABLE_H_
