#include "interface/error_report.h"

#include "interface/component_log.h"
#include "interface/process.h"
#include "interface/user_interface.h"

namespace kdzv {

std::string FormatErrorReport(const ErrorInfo& error, std::string_view module,
                              std::string_view procedure, std::string_view details) {
  std::string text = std::to_string(error.number);
  text += "/";
  text += error.description;
  text += " / Modul=";
  text += module;
  text += " / Proc=";
  text += procedure;
  text += " / Details=";
  text += details;
  return text;
}

void ReportError(const ErrorInfo& error, std::string_view module, std::string_view procedure,
                 std::string_view details) {
  const std::string text = FormatErrorReport(error, module, procedure, details);
  if (HeldReports::Hold(HeldReports::Kind::kError, text)) return;
  ShowErrorReport(text);
}

void ShowErrorReport(std::string_view text) {
  if (ErrorLogTarget* active = process::ActiveInterface()) {
    active->WriteLogLine("(MAIN) --> ERROR: " + std::string(text));
    return;
  }
  if (UserInterface* ui = process::MessageBoxes()) {
    ui->ShowMessageBox("Es ist der folgende Fehler aufgetreten:\r\n" + std::string(text),
                   msgbox::kOkOnly | msgbox::kCritical, kComponentTitle);
  }
}

void ReportCurrentError(std::string_view module, std::string_view procedure,
                        std::string_view details) {
  ReportError(CurrentErrorInfo(), module, procedure, details);
}

}  // namespace kdzv
