// The component's log file: one line per call, "short date" TAB "long time"
// TAB text CR LF, appended by opening, writing and closing the file every
// time, so that the log survives a crash and other programs can read it
// while the component runs.
#ifndef KDZV_EXCHANGE_LOG_WRITER_H_
#define KDZV_EXCHANGE_LOG_WRITER_H_

#include <cstdint>
#include <string>
#include <string_view>

namespace kdzv {

class Clock;
class FileSystem;

// The interface object's module name in error reports (deliberately not its
// class name).
inline constexpr std::string_view kInterfaceModuleName = "kdTCInterface";

class LogWriter {
 public:
  // Writes to `log_file` (empty: no log at all).
  LogWriter(FileSystem& file_system, Clock& clock, std::string log_file);

  const std::string& log_file() const { return log_file_; }

  // With `bytes` > 0, a line that would take the log past `bytes` first
  // renames the log to log_file() + ".1" (replacing an older one), so that
  // the line begins a new log. A rename that fails (another process holds
  // the log) is let go without a word, and the line is appended as ever.
  // 0 (the default) lets the log grow.
  void SetMaxBytes(uint64_t bytes) { max_bytes_ = bytes; }

  // Writes one dated line when `do_log`. A failure is reported (procedure
  // "Log", details "LogFile=" + path) and swallowed.
  void Write(bool do_log, std::string_view text);

  // Writes `strLog` as it is, whatever the logging setting says. On failure
  // fills `sErr` with the reason and answers false.
  bool CheckLogAccess(std::string_view strLog, std::string& sErr);

 private:
  // Appends `line`, first making room as SetMaxBytes says.
  void Append(std::string_view line);

  FileSystem& file_system_;
  Clock& clock_;
  std::string log_file_;
  uint64_t max_bytes_ = 0;
  // Set while a failure of this writer is being reported: the report itself
  // comes back here and must not report again.
  bool reporting_failure_ = false;
};

}  // namespace kdzv

#endif  // KDZV_EXCHANGE_LOG_WRITER_H_
