#include "interface/component_log.h"

#include "interface/process.h"
#include "interface/user_interface.h"

namespace kdzv {

void LogLine(std::string_view text) {
  if (ErrorLogTarget* active = process::ActiveInterface()) active->WriteLogLine(text);
}

namespace {

// The innermost OneBoxPerText scope. The component runs on its host's one
// user-interface thread; every thread has its own scope all the same.
thread_local OneBoxPerText* g_box_scope = nullptr;

}  // namespace

OneBoxPerText::OneBoxPerText() : outer_(g_box_scope) { g_box_scope = this; }

OneBoxPerText::~OneBoxPerText() { g_box_scope = outer_; }

bool OneBoxPerText::ShowNow(std::string_view text) {
  if (g_box_scope == nullptr) return true;
  return g_box_scope->shown_.emplace(text).second;
}

void ReportLine(std::string_view text) {
  LogLine(text);
  if (!OneBoxPerText::ShowNow(text)) return;
  if (UserInterface* ui = process::MessageBoxes()) {
    ui->ShowMessageBox(text, msgbox::kOkOnly, kComponentTitle);
  }
}

void TraceLine(std::string_view text) {
  if (process::TraceSink* sink = process::Trace()) sink->TraceLine(text);
}

}  // namespace kdzv
