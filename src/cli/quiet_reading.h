// Reading messages with the component's own reader outside an exchange:
// what its classes report goes to a log target of the caller's choosing and
// no message box is ever shown.
#ifndef KDZV_CLI_QUIET_READING_H_
#define KDZV_CLI_QUIET_READING_H_

#include <string>
#include <string_view>
#include <vector>

#include "interface/process.h"
#include "interface/user_interface.h"

namespace kdzv {

// While one lives, `log` is the active interface and there are no message
// boxes; both are restored afterwards.
class QuietReading {
 public:
  explicit QuietReading(ErrorLogTarget* log)
      : saved_active_(process::ActiveInterface()), saved_boxes_(process::MessageBoxes()) {
    process::SetActiveInterface(log);
    process::SetMessageBoxes(nullptr);
  }
  ~QuietReading() {
    process::SetActiveInterface(saved_active_);
    process::SetMessageBoxes(saved_boxes_);
  }
  QuietReading(const QuietReading&) = delete;
  QuietReading& operator=(const QuietReading&) = delete;

 private:
  ErrorLogTarget* saved_active_;
  UserInterface* saved_boxes_;
};

// Keeps every line reported to it.
class CollectedLines : public ErrorLogTarget {
 public:
  void WriteLogLine(std::string_view text) override { lines.emplace_back(text); }
  std::vector<std::string> lines;
};

}  // namespace kdzv

#endif  // KDZV_CLI_QUIET_READING_H_
