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
#include "support/fresh_user_settings.h"

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
  if (FAILED(::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))) {
    std::fprintf(stderr, "COM could not be initialised\n");
    return 2;
  }
  int result = 0;
  {
    // The settings the library writes are the user's, which zvsync (tested
    // beside us) reads too: the tests start from a fresh user's and put back
    // what was there when they end. (The tests that use them hold one CTest
    // resource lock.)
    kdzv::test::FreshUserSettings fresh_user;
    result = RUN_ALL_TESTS();
  }
  ::CoUninitialize();
  return result;
}
