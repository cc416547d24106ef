// The test host's process: COM in a single-threaded apartment, and the
// library registered with regsvr32 for the whole run (and removed at its
// end).
#ifndef KDZV_TESTS_COM_HOST_HOST_ENVIRONMENT_H_
#define KDZV_TESTS_COM_HOST_HOST_ENVIRONMENT_H_

#include <windows.h>

#include <string>

namespace kdzv::host {

// The library under test, as a full Windows path.
std::wstring LibraryPath();

// Copies the library under test into `folder` (made anew, emptied first)
// and answers the copy's full path; empty when it cannot.
std::wstring CopyLibraryInto(const std::wstring& folder);

// Runs `command_line` (a program on the PATH or a full path, with its
// arguments) and answers its exit code, or -1 when it cannot be started or
// does not end within `timeout_ms`.
int RunProgram(const std::wstring& command_line, DWORD timeout_ms = 60000);

// regsvr32 /s (and /u) on the library; the exit code.
int Register();
int Unregister();

// Pumps the thread's messages for about `milliseconds`.
void PumpFor(DWORD milliseconds);

}  // namespace kdzv::host

#endif  // KDZV_TESTS_COM_HOST_HOST_ENVIRONMENT_H_
