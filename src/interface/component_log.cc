#include "interface/component_log.h"

#include <cstdint>
#include <cstring>

#include "interface/error_report.h"
#include "interface/process.h"
#include "interface/user_interface.h"

namespace kdzv {

void LogLine(std::string_view text) {
  if (HeldReports::Hold(HeldReports::Kind::kLog, text)) return;
  if (ErrorLogTarget* active = process::ActiveInterface()) active->WriteLogLine(text);
}

namespace {

// The innermost OneBoxPerText scope. The component runs on its host's one
// user-interface thread; every thread has its own scope all the same.
thread_local OneBoxPerText* g_box_scope = nullptr;
// The innermost HeldReports scope that holds.
thread_local HeldReports* g_held = nullptr;

uint32_t ReadCount(const std::string& held, size_t at) {
  uint32_t value = 0;
  std::memcpy(&value, held.data() + at, sizeof value);
  return value;
}

}  // namespace

OneBoxPerText::OneBoxPerText() : outer_(g_box_scope) { g_box_scope = this; }

OneBoxPerText::~OneBoxPerText() { g_box_scope = outer_; }

bool OneBoxPerText::ShowNow(std::string_view text) {
  if (g_box_scope == nullptr) return true;
  return g_box_scope->shown_.emplace(text).second;
}

void ReportLine(std::string_view text) {
  if (HeldReports::Hold(HeldReports::Kind::kReport, text)) return;
  LogLine(text);
  if (!OneBoxPerText::ShowNow(text)) return;
  if (UserInterface* ui = process::MessageBoxes()) {
    ui->ShowMessageBox(text, msgbox::kOkOnly, kComponentTitle);
  }
}

void TraceLine(std::string_view text) {
  if (process::TraceSink* sink = process::Trace()) sink->TraceLine(text);
}

void PrepareReportScopes() {
  volatile bool made = g_held == nullptr && g_box_scope == nullptr;
  (void)made;
}

HeldReports::HeldReports() : outer_(g_held) { g_held = this; }

HeldReports::~HeldReports() {
  if (holding_) g_held = outer_;
}

bool HeldReports::Hold(Kind kind, std::string_view text) {
  if (g_held == nullptr) return false;
  g_held->Append(kind, text);
  return true;
}

// A record: the kind (1 byte), the repeat count and the text's length (4
// bytes each, in the machine's order), then the text.
void HeldReports::Append(Kind kind, std::string_view text) {
  constexpr size_t kHead = 1 + 2 * sizeof(uint32_t);
  if (last_ != std::string::npos && held_[last_] == static_cast<char>(kind) &&
      ReadCount(held_, last_ + 1 + sizeof(uint32_t)) == text.size() &&
      std::string_view(held_).substr(last_ + kHead) == text) {
    const uint32_t count = ReadCount(held_, last_ + 1) + 1;
    std::memcpy(held_.data() + last_ + 1, &count, sizeof count);
    return;
  }
  last_ = held_.size();
  const uint32_t count = 1;
  const auto length = static_cast<uint32_t>(text.size());
  held_.push_back(static_cast<char>(kind));
  held_.append(reinterpret_cast<const char*>(&count), sizeof count);
  held_.append(reinterpret_cast<const char*>(&length), sizeof length);
  held_.append(text);
}

void HeldReports::Release() {
  if (!holding_) return;
  holding_ = false;
  g_held = outer_;
  const std::string held = std::move(held_);
  held_.clear();
  last_ = std::string::npos;
  constexpr size_t kHead = 1 + 2 * sizeof(uint32_t);
  for (size_t at = 0; at < held.size();) {
    const auto kind = static_cast<Kind>(held[at]);
    const uint32_t count = ReadCount(held, at + 1);
    const uint32_t length = ReadCount(held, at + 1 + sizeof(uint32_t));
    const std::string_view text = std::string_view(held).substr(at + kHead, length);
    for (uint32_t i = 0; i < count; ++i) {
      switch (kind) {
        case Kind::kLog: LogLine(text); break;
        case Kind::kReport:
          // Within a OneBoxPerText scope a repeat is only logged: its box
          // has been decided by the first.
          if (i > 0 && g_box_scope != nullptr) {
            LogLine(text);
          } else {
            ReportLine(text);
          }
          break;
        case Kind::kError: ShowErrorReport(text); break;
      }
    }
    at += kHead + length;
  }
}

}  // namespace kdzv
