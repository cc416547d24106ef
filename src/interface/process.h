// The values that exist once per loaded component: the active interface
// object, through which every class logs its error reports, the user
// interface for message boxes, and the paths of the log and configuration
// files beside the component's own binary.
#ifndef KDZV_INTERFACE_PROCESS_H_
#define KDZV_INTERFACE_PROCESS_H_

#include <string>
#include <string_view>

namespace kdzv {

class UserInterface;

// What the error report needs of the active interface object: a log line.
class ErrorLogTarget {
 public:
  virtual ~ErrorLogTarget() = default;
  // Writes one log line (dated; only when logging is on).
  virtual void WriteLogLine(std::string_view text) = 0;
};

namespace process {

ErrorLogTarget* ActiveInterface();
// The most recently created interface object becomes the active one; its
// destruction clears it (nullptr).
void SetActiveInterface(ErrorLogTarget* target);

// The message boxes of the error report when there is no active interface.
// Installed by the platform layer (or by a test); may be null, in which case
// such a report is lost.
UserInterface* MessageBoxes();
void SetMessageBoxes(UserInterface* ui);

const std::string& LogFilePath();
const std::string& ConfigFilePath();
void SetFilePaths(std::string log_file_path, std::string config_file_path);

}  // namespace process
}  // namespace kdzv

#endif  // KDZV_INTERFACE_PROCESS_H_
