// The test host's main: a single-threaded apartment, as a host
// application's user-interface thread has, and the library registered the
// way an installation registers it.
#include <objbase.h>
#include <windows.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "host_environment.h"

namespace kdzv::host {

std::wstring LibraryPath() {
  static const std::wstring path = [] {
    std::wstring wide;
    for (const char* c = KDZV_DLL_PATH; *c != '\0'; ++c) {
      wide.push_back(*c == '/' ? L'\\' : static_cast<wchar_t>(*c));
    }
    wchar_t full[4 * MAX_PATH];
    const DWORD length = ::GetFullPathNameW(wide.c_str(), 4 * MAX_PATH, full, nullptr);
    return length == 0 ? wide : std::wstring(full, length);
  }();
  return path;
}

int RunProgram(const std::wstring& command_line, DWORD timeout_ms) {
  std::vector<wchar_t> buffer(command_line.begin(), command_line.end());
  buffer.push_back(L'\0');
  STARTUPINFOW startup = {};
  startup.cb = sizeof(startup);
  PROCESS_INFORMATION process = {};
  if (!::CreateProcessW(nullptr, buffer.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                        &startup, &process)) {
    return -1;
  }
  ::CloseHandle(process.hThread);
  DWORD code = static_cast<DWORD>(-1);
  if (::WaitForSingleObject(process.hProcess, timeout_ms) == WAIT_OBJECT_0) {
    ::GetExitCodeProcess(process.hProcess, &code);
  } else {
    ::TerminateProcess(process.hProcess, 1);
  }
  ::CloseHandle(process.hProcess);
  return static_cast<int>(code);
}

int Register() { return RunProgram(L"regsvr32.exe /s \"" + LibraryPath() + L"\""); }
int Unregister() { return RunProgram(L"regsvr32.exe /s /u \"" + LibraryPath() + L"\""); }

namespace {
constexpr wchar_t kSettingsKey[] = L"Software\\HAL+VEX\\Halvex\\Zentavo";
}  // namespace

std::vector<SavedValue> SaveSettings() {
  std::vector<SavedValue> saved;
  HKEY key = nullptr;
  if (::RegOpenKeyExW(HKEY_CURRENT_USER, kSettingsKey, 0, KEY_READ, &key) != ERROR_SUCCESS) {
    return saved;
  }
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
    saved.push_back({std::wstring(name, name_length), type, std::vector<BYTE>(data, data + size)});
  }
  ::RegCloseKey(key);
  return saved;
}

void RestoreSettings(const std::vector<SavedValue>& saved) {
  ::RegDeleteTreeW(HKEY_CURRENT_USER, kSettingsKey);
  if (saved.empty()) return;
  HKEY key = nullptr;
  if (::RegCreateKeyExW(HKEY_CURRENT_USER, kSettingsKey, 0, nullptr, 0, KEY_WRITE, nullptr, &key,
                        nullptr) != ERROR_SUCCESS) {
    return;
  }
  for (const SavedValue& value : saved) {
    ::RegSetValueExW(key, value.name.c_str(), 0, value.type, value.data.data(),
                     static_cast<DWORD>(value.data.size()));
  }
  ::RegCloseKey(key);
}

void PumpFor(DWORD milliseconds) {
  const DWORD start = ::GetTickCount();
  while (::GetTickCount() - start < milliseconds) {
    MSG message;
    while (::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
      ::TranslateMessage(&message);
      ::DispatchMessageW(&message);
    }
    ::MsgWaitForMultipleObjectsEx(0, nullptr, 20, QS_ALLINPUT, MWMO_INPUTAVAILABLE);
  }
}

}  // namespace kdzv::host

// "--register" and "--unregister" run regsvr32 on the library: the test run
// registers it once before the tests that need it and removes it after
// them.
int main(int argc, char** argv) {
  if (argc == 2 && std::string(argv[1]) == "--register") {
    const int code = kdzv::host::Register();
    std::printf("regsvr32 (register) answered %d\n", code);
    return code == 0 ? 0 : 1;
  }
  if (argc == 2 && std::string(argv[1]) == "--unregister") {
    const int code = kdzv::host::Unregister();
    std::printf("regsvr32 (unregister) answered %d\n", code);
    return code == 0 ? 0 : 1;
  }
  ::testing::InitGoogleTest(&argc, argv);
  // The settings the library writes are the user's, which zvsync (tested
  // beside us) reads too: they are put back as they were when the tests
  // end. (The tests that use them hold one CTest resource lock.)
  const std::vector<kdzv::host::SavedValue> saved = kdzv::host::SaveSettings();
  if (FAILED(::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))) {
    std::fprintf(stderr, "COM could not be initialised\n");
    return 2;
  }
  const int result = RUN_ALL_TESTS();
  ::CoUninitialize();
  kdzv::host::RestoreSettings(saved);
  return result;
}
