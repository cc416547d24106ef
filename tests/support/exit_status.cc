#include "support/exit_status.h"

#ifdef _WIN32
#include <windows.h>
#endif

namespace kdzv::test {

#ifdef _WIN32
int ExitStatusAfter(void* process, unsigned long wait_ms) {
  if (process == nullptr) return -2;
  int status = -1;
  if (::WaitForSingleObject(process, wait_ms) == WAIT_OBJECT_0) {
    DWORD code = 0;
    ::GetExitCodeProcess(process, &code);
    status = static_cast<int>(code);
  } else {
    ::TerminateProcess(process, 1);
    ::WaitForSingleObject(process, INFINITE);
  }
  ::CloseHandle(process);
  return status;
}
#endif

}  // namespace kdzv::test
