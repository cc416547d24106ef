// The one error report of the component. Every procedure catches its own
// failures and reports them here with its class's module name, its own
// procedure name and a details text, then returns its failure value.
//
//   try { ... } catch (...) {
//     ReportCurrentError(kModule, "GetLastSessionID", details);
//     return 0;
//   }
#ifndef KDZV_INTERFACE_ERROR_REPORT_H_
#define KDZV_INTERFACE_ERROR_REPORT_H_

#include <string>
#include <string_view>

#include "util/error.h"

namespace kdzv {

// number "/" description " / Modul=" module " / Proc=" procedure " / Details=" details
std::string FormatErrorReport(const ErrorInfo& error, std::string_view module,
                              std::string_view procedure, std::string_view details);

// Logs "(MAIN) --> ERROR: " + the report through the active interface (so
// only when its logging is on); without an active interface shows it in a
// message box with the critical icon.
void ReportError(const ErrorInfo& error, std::string_view module, std::string_view procedure,
                 std::string_view details);

// Shows a report made by FormatErrorReport as ReportError does.
void ShowErrorReport(std::string_view text);

// ReportError for the exception being handled; call only inside a catch block.
void ReportCurrentError(std::string_view module, std::string_view procedure,
                        std::string_view details);

// Runs `body` and answers what it answers. A failure goes to the report
// under `module` and `procedure` (a failure of the report itself is
// swallowed) and `otherwise` is answered. For the edges that no exception
// may cross: a COM method, a window procedure.
template <class Result, class Body>
Result ReportedCall(std::string_view module, std::string_view procedure, Result otherwise,
                    Body&& body) noexcept {
  try {
    return body();
  } catch (...) {
    try {
      ReportCurrentError(module, procedure, "");
    } catch (...) {
    }
    return otherwise;
  }
}

}  // namespace kdzv

#endif  // KDZV_INTERFACE_ERROR_REPORT_H_
