// The body of a window procedure, run so that no C++ exception leaves it:
// an exception unwinding through the system's frames of the message
// dispatch would end the host's process. A failure goes to the error report
// and the message counts as handled.
#ifndef KDZV_PLATFORM_WIN32_GUARDED_WINDOW_PROC_H_
#define KDZV_PLATFORM_WIN32_GUARDED_WINDOW_PROC_H_

#include <windows.h>

#include <string_view>

#include "interface/error_report.h"

namespace kdzv::win32 {

template <class Body>
LRESULT GuardedWindowProc(std::string_view module, std::string_view procedure,
                          Body&& body) noexcept {
  try {
    return body();
  } catch (...) {
    try {
      ReportCurrentError(module, procedure, "");
    } catch (...) {
    }
    return 0;
  }
}

}  // namespace kdzv::win32

#endif  // KDZV_PLATFORM_WIN32_GUARDED_WINDOW_PROC_H_
