#include "registry_snapshot.h"

#include <cwctype>
#include <iterator>
#include <vector>

namespace kdzv::host {

namespace {

// Adds `key` and every key below it, with their values, to `out`.
void Walk(HKEY key, const std::wstring& path, Snapshot& out) {
  std::wstring values;
  for (DWORD i = 0;; ++i) {
    wchar_t name[16384];
    DWORD name_length = 16384;
    DWORD type = 0;
    BYTE data[65536];
    DWORD data_length = sizeof(data);
    const LONG status =
        ::RegEnumValueW(key, i, name, &name_length, nullptr, &type, data, &data_length);
    if (status != ERROR_SUCCESS) break;
    values += std::wstring(name, name_length) + L"=" + std::to_wstring(type) + L":";
    if (type == REG_SZ || type == REG_EXPAND_SZ) {
      values += std::wstring(reinterpret_cast<wchar_t*>(data), data_length / sizeof(wchar_t));
    } else {
      values += std::to_wstring(data_length) + L" bytes";
    }
    values += L"\n";
  }
  // Key names are compared without regard to case, as the registry does.
  std::wstring folded = path;
  for (wchar_t& c : folded) c = static_cast<wchar_t>(::towupper(c));
  out[folded] = values;
  for (DWORD i = 0;; ++i) {
    wchar_t name[256];
    DWORD name_length = 256;
    if (::RegEnumKeyExW(key, i, name, &name_length, nullptr, nullptr, nullptr, nullptr) !=
        ERROR_SUCCESS) {
      break;
    }
    HKEY child = nullptr;
    if (::RegOpenKeyExW(key, name, 0, KEY_READ, &child) == ERROR_SUCCESS) {
      Walk(child, path + L"\\" + std::wstring(name, name_length), out);
      ::RegCloseKey(child);
    }
  }
}

}  // namespace

Snapshot TakeSnapshot() {
  Snapshot snapshot;
  Walk(HKEY_CLASSES_ROOT, L"HKCR", snapshot);
  return snapshot;
}

// The keys that are in `after` and not in `before`, or differ.
std::set<std::wstring> Changed(const Snapshot& before, const Snapshot& after) {
  std::set<std::wstring> changed;
  for (const auto& [path, values] : after) {
    const auto found = before.find(path);
    if (found == before.end() || found->second != values) changed.insert(path);
  }
  for (const auto& [path, values] : before) {
    if (after.count(path) == 0) changed.insert(path);
  }
  // The type libraries and interfaces are shared between the 64- and 32-bit
  // views of the registry: the 32-bit view shows the very same keys again.
  const std::wstring mirror = L"HKCR\\WOW6432NODE\\";
  for (auto it = changed.begin(); it != changed.end();) {
    const bool mirrored = it->compare(0, mirror.size(), mirror) == 0 &&
                          changed.count(L"HKCR\\" + it->substr(mirror.size())) != 0;
    it = mirrored ? changed.erase(it) : std::next(it);
  }
  return changed;
}

bool BelongsToTheLibrary(const std::wstring& path) {
  static const std::vector<std::wstring> kOurs = {
      // ProgIDs
      L"HKCR\\kdZentavo.",
      // CLSIDs of the eight classes
      L"HKCR\\CLSID\\{85F4992B-F50D-4775-B8F7-1730DF13A154}",
      L"HKCR\\CLSID\\{1C333A10-8B72-4176-A043-C9DDCD184474}",
      L"HKCR\\CLSID\\{21AB4B01-0A40-4D9D-9535-E8F80F827AFF}",
      L"HKCR\\CLSID\\{6E65A331-7A1D-4C1D-BF80-F7A760773A1D}",
      L"HKCR\\CLSID\\{819B1B3E-1A74-4276-A660-7134A8F5A605}",
      L"HKCR\\CLSID\\{20732967-623E-4BFE-BD6C-966B05E097BE}",
      L"HKCR\\CLSID\\{45487F50-D487-4739-96C7-47E4AA5CF680}",
      L"HKCR\\CLSID\\{FEDD6BA8-66D4-437D-9410-5EBF171DADB0}",
      // the type library and its nine interfaces
      L"HKCR\\TypeLib\\{2CE17C8E-484E-40E1-A6C0-3D78A0AAA590}",
      L"HKCR\\Interface\\{697B9941-DC2C-4647-8C2B-F132CDA3199F}",
      L"HKCR\\Interface\\{0C88914D-A457-492A-8273-4565445CA9EC}",
      L"HKCR\\Interface\\{A3213319-6912-4238-BF7A-C6578ABFD3C8}",
      L"HKCR\\Interface\\{73DCF64D-64CA-4456-BF01-732913933310}",
      L"HKCR\\Interface\\{64E8E580-DE07-4042-A2E8-69AE53E7B9AA}",
      L"HKCR\\Interface\\{6AFBFF0E-F897-475C-B6C7-4C0D848FBF29}",
      L"HKCR\\Interface\\{9497BB3F-4A2E-4C98-A2F8-1C3581B1D1E5}",
      L"HKCR\\Interface\\{50310D2A-B36A-469F-997D-AFD062582D0D}",
      L"HKCR\\Interface\\{37105E71-01BF-45BC-BB07-F2C4414E2317}",
  };
  for (std::wstring prefix : kOurs) {
    for (wchar_t& c : prefix) c = static_cast<wchar_t>(::towupper(c));
    if (path.compare(0, prefix.size(), prefix) == 0) return true;
  }
  return false;
}

std::string Narrow(const std::wstring& text) {
  std::string narrow;
  for (wchar_t c : text) narrow.push_back(c < 128 ? static_cast<char>(c) : '?');
  return narrow;
}

}  // namespace kdzv::host
