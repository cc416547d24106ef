// The whole of HKEY_CLASSES_ROOT as text, for comparing what registration,
// removal, installation and uninstallation changed.
#ifndef KDZV_TESTS_COM_REGISTRATION_REGISTRY_SNAPSHOT_H_
#define KDZV_TESTS_COM_REGISTRATION_REGISTRY_SNAPSHOT_H_

#include <windows.h>

#include <map>
#include <set>
#include <string>

namespace kdzv::host {

// Every key under HKEY_CLASSES_ROOT with its values ("name=type:data"
// lines), by path ("HKCR\\..." in upper case).
using Snapshot = std::map<std::wstring, std::wstring>;

Snapshot TakeSnapshot();

// The keys that are in `after` and not in `before`, or differ, or are gone
// (the 32-bit view's mirror of a changed shared key left out).
std::set<std::wstring> Changed(const Snapshot& before, const Snapshot& after);

// Whether a key path of a snapshot is one of the library's keys: its
// ProgIDs, CLSIDs, type library and interfaces.
bool BelongsToTheLibrary(const std::wstring& path);

// ASCII for messages; anything else as '?'.
std::string Narrow(const std::wstring& text);

}  // namespace kdzv::host

#endif  // KDZV_TESTS_COM_REGISTRATION_REGISTRY_SNAPSHOT_H_
