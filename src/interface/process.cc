#include "interface/process.h"

#include <utility>

namespace kdzv::process {
namespace {

struct Values {
  ErrorLogTarget* active_interface = nullptr;
  UserInterface* message_boxes = nullptr;
  TimeZoneSource* time_zone = nullptr;
  TraceSink* trace = nullptr;
  bool exchange_running = false;
  std::string log_file_path;
  std::string config_file_path;
};

Values& Get() {
  static Values values;
  return values;
}

}  // namespace

ErrorLogTarget* ActiveInterface() { return Get().active_interface; }
void SetActiveInterface(ErrorLogTarget* target) { Get().active_interface = target; }

UserInterface* MessageBoxes() { return Get().message_boxes; }
void SetMessageBoxes(UserInterface* ui) { Get().message_boxes = ui; }

TimeZoneSource* TimeZone() { return Get().time_zone; }
void SetTimeZone(TimeZoneSource* zone) { Get().time_zone = zone; }
TraceSink* Trace() { return Get().trace; }
void SetTrace(TraceSink* sink) { Get().trace = sink; }
bool ExchangeRunning() { return Get().exchange_running; }
void SetExchangeRunning(bool running) { Get().exchange_running = running; }
const std::string& LogFilePath() { return Get().log_file_path; }
const std::string& ConfigFilePath() { return Get().config_file_path; }
void SetFilePaths(std::string log_file_path, std::string config_file_path) {
  Get().log_file_path = std::move(log_file_path);
  Get().config_file_path = std::move(config_file_path);
}

}  // namespace kdzv::process
