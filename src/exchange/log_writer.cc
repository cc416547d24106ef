#include "exchange/log_writer.h"

#include <optional>
#include <utility>

#include "interface/clock.h"
#include "interface/error_report.h"
#include "interface/file_system.h"

namespace kdzv {

LogWriter::LogWriter(FileSystem& file_system, Clock& clock, std::string log_file)
    : file_system_(file_system), clock_(clock), log_file_(std::move(log_file)) {}

void LogWriter::Write(bool do_log, std::string_view text) {
  if (!do_log || log_file_.empty()) return;
  try {
    const DateTime now = clock_.Now();
    std::string line = clock_.ShortDate(now);
    line += '\t';
    line += clock_.LongTime(now);
    line += '\t';
    line += text;
    line += "\r\n";
    Append(line);
  } catch (...) {
    if (reporting_failure_) return;
    reporting_failure_ = true;
    ReportCurrentError(kInterfaceModuleName, "Log", "LogFile=" + log_file_);
    reporting_failure_ = false;
  }
}

bool LogWriter::CheckLogAccess(std::string_view strLog, std::string& sErr) {
  sErr.clear();
  try {
    std::string line(strLog);
    line += "\r\n";
    Append(line);
    return true;
  } catch (...) {
    const ErrorInfo error = CurrentErrorInfo();
    sErr = "Auf die Log-Datei " + log_file_ + " kann nicht zugegriffen werden (Error " +
           std::to_string(error.number) + " - " + error.description + ").";
    return false;
  }
}

void LogWriter::Append(std::string_view line) {
  if (max_bytes_ > 0) {
    const std::optional<FolderEntry> log = file_system_.EntryAt(log_file_);
    if (log && log->kind == FolderEntry::Kind::kFile && log->size > 0 &&
        log->size + line.size() > max_bytes_) {
      try {
        file_system_.RenameReplacing(log_file_, log_file_ + ".1");
      } catch (...) {
        // Held by another process: this log goes on a little longer.
      }
    }
  }
  file_system_.AppendToFile(log_file_, line);
}

}  // namespace kdzv
