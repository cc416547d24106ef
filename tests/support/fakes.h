// Recording fakes of the core's ports and helpers for tests.
#ifndef KDZV_TESTS_SUPPORT_FAKES_H_
#define KDZV_TESTS_SUPPORT_FAKES_H_

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "interface/clock.h"
#include "interface/process.h"
#include "interface/user_interface.h"
#include "mapping/time_zone.h"
#include "util/error.h"

namespace kdzv::test {

// Records every message box and answers with `answer`.
class RecordingUserInterface : public UserInterface {
 public:
  struct Box {
    std::string text;
    int32_t style;
    std::string title;
  };
  int32_t ShowMessageBox(std::string_view text, int32_t style, std::string_view title) override {
    boxes.push_back(Box{std::string(text), style, std::string(title)});
    return answer;
  }
  std::vector<Box> boxes;
  int32_t answer = msgbox::kOk;
};

// Records the lines that the error report sends to the active interface.
class RecordingLogTarget : public ErrorLogTarget {
 public:
  void WriteLogLine(std::string_view text) override { lines.emplace_back(text); }
  std::vector<std::string> lines;
};

// A clock standing still at `now`, with "dd.mm.yyyy" / "hh:nn:ss" formats.
class FixedClock : public Clock {
 public:
  explicit FixedClock(DateTime at) : now(at) {}
  DateTime Now() override { return now; }
  std::string ShortDate(DateTime value) override { return value.Format("dd.mm.yyyy"); }
  std::string LongTime(DateTime value) override { return value.Format("hh:nn:ss"); }
  DateTime now;
};

// A zone with fixed answers.
class FixedZone : public TimeZoneSource {
 public:
  FixedZone(int32_t result, int32_t bias, int32_t daylight_bias)
      : info{result, bias, daylight_bias} {}
  ZoneInformation GetTimeZoneInformation() override {
    ++calls;
    return info;
  }
  ZoneInformation info;
  int calls = 0;
};

// Records trace lines.
class RecordingTrace : public process::TraceSink {
 public:
  void TraceLine(std::string_view text) override { lines.emplace_back(text); }
  std::vector<std::string> lines;
};

// Installs a recording message box, a recording trace, a fixed time zone
// with the offsets of Central European time (standard -60, daylight -60
// more; whether summer time applies is decided from the dates) and no
// active interface for the lifetime of the object, and restores the process
// values afterwards. Every test that triggers an error report uses one, so
// that reports are seen, not shown.
class ScopedProcess {
 public:
  ScopedProcess();
  ~ScopedProcess();
  ScopedProcess(const ScopedProcess&) = delete;
  ScopedProcess& operator=(const ScopedProcess&) = delete;

  RecordingUserInterface ui;
  RecordingLogTarget log;
  RecordingTrace trace;
  FixedZone zone{1, -60, -60};
  // Makes `log` the active interface.
  void ActivateLog() { process::SetActiveInterface(&log); }

  // All reports seen so far, from the log and from message boxes.
  std::vector<std::string> Reports() const;

 private:
  ErrorLogTarget* saved_active_;
  UserInterface* saved_ui_;
  TimeZoneSource* saved_zone_;
  process::TraceSink* saved_trace_;
  std::string saved_log_path_;
  std::string saved_cfg_path_;
};

// A fresh, empty folder below the system's temporary folder, removed with
// everything in it when the object goes away.
class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  const std::string& path() const { return path_; }
  // path() + separator + name.
  std::string File(std::string_view name) const;

 private:
  std::string path_;
};

// The names in `folder`, hidden ones included ("." and ".." left out; empty
// when the folder does not exist).
std::vector<std::string> FolderEntries(const std::string& folder);

// The number of the kdzv::Error that `operation` raises; 0 when it works.
template <typename Operation>
int32_t ErrorOf(Operation operation) {
  try {
    operation();
  } catch (const Error& e) {
    return e.number();
  }
  return 0;
}

// The whole content of a file ("" when it does not exist).
std::string ReadFileBytes(const std::string& path);
void WriteFileBytes(const std::string& path, std::string_view bytes);

}  // namespace kdzv::test

#endif  // KDZV_TESTS_SUPPORT_FAKES_H_
