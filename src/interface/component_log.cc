#include "interface/component_log.h"

#include "interface/process.h"
#include "interface/user_interface.h"

namespace kdzv {

void LogLine(std::string_view text) {
  if (ErrorLogTarget* active = process::ActiveInterface()) active->WriteLogLine(text);
}

void ReportLine(std::string_view text) {
  LogLine(text);
  if (UserInterface* ui = process::MessageBoxes()) {
    ui->ShowMessageBox(text, msgbox::kOkOnly, kComponentTitle);
  }
}

void TraceLine(std::string_view text) {
  if (process::TraceSink* sink = process::Trace()) sink->TraceLine(text);
}

}  // namespace kdzv
