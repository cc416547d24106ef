// The values that exist once per loaded component: the active interface
// object, through which every class logs its error reports, the user
// interface for message boxes, and the paths of the log and configuration
// files beside the component's own binary.
#ifndef KDZV_INTERFACE_PROCESS_H_
#define KDZV_INTERFACE_PROCESS_H_

#include <string>
#include <string_view>

namespace kdzv {

class TimeZoneSource;
class UserInterface;

// What the error report needs of the active interface object: a log line.
class ErrorLogTarget {
 public:
  virtual ~ErrorLogTarget() = default;
  // Writes one log line (dated; only when logging is on).
  virtual void WriteLogLine(std::string_view text) = 0;
};

namespace process {

// Where trace lines go: a developer's view of what the component does,
// separate from the log.
class TraceSink {
 public:
  virtual ~TraceSink() = default;
  virtual void TraceLine(std::string_view text) = 0;
};


ErrorLogTarget* ActiveInterface();
// The most recently created interface object becomes the active one; its
// destruction clears it (nullptr).
void SetActiveInterface(ErrorLogTarget* target);

// The message boxes of the error report when there is no active interface.
// Installed by the platform layer (or by a test); may be null, in which case
// such a report is lost.
UserInterface* MessageBoxes();
void SetMessageBoxes(UserInterface* ui);

// The local time zone, for the conversions of service times. Installed by
// the platform layer (or by a test); null until then, and the conversions
// then give the zero date.
TimeZoneSource* TimeZone();
void SetTimeZone(TimeZoneSource* zone);

// The trace; null (no trace) unless one is installed.
TraceSink* Trace();
void SetTrace(TraceSink* sink);

// Whether an exchange runs in this process: the StartSync of some interface
// object is on the stack. Its wait runs the host's messages, so a host
// window may start another exchange meanwhile, with another object; only one
// may run at a time, since both would share the exchange folders.
bool ExchangeRunning();
void SetExchangeRunning(bool running);

const std::string& LogFilePath();
const std::string& ConfigFilePath();
void SetFilePaths(std::string log_file_path, std::string config_file_path);

}  // namespace process
}  // namespace kdzv

#endif  // KDZV_INTERFACE_PROCESS_H_
