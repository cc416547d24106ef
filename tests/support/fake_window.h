// Fakes of the sync window's ports for tests: timers that tick only when a
// test tells them to, a view that records what it is asked to do, and an
// owner that records the window's events.
#ifndef KDZV_TESTS_SUPPORT_FAKE_WINDOW_H_
#define KDZV_TESTS_SUPPORT_FAKE_WINDOW_H_

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "syncwindow/frm_zv_sync.h"
#include "syncwindow/window_ports.h"

namespace kdzv::test {

// A timer driven by the test. Every change is recorded.
class FakeTimer : public WindowTimer {
 public:
  explicit FakeTimer(std::function<void()> on_tick) : on_tick_(std::move(on_tick)) {}

  void SetInterval(int32_t milliseconds) override {
    interval_ = milliseconds;
    intervals.push_back(milliseconds);
  }
  int32_t Interval() const override { return interval_; }
  void SetEnabled(bool enabled) override {
    enabled_ = enabled;
    enabled_history.push_back(enabled);
  }
  bool Enabled() const override { return enabled_; }

  // Fires the tick as a real timer would: only while enabled with an
  // interval of at least 1 ms. Returns whether it fired.
  bool Tick();
  // Fires the tick whatever the state.
  void ForceTick() { on_tick_(); }

  std::vector<int32_t> intervals;     // every SetInterval
  std::vector<bool> enabled_history;  // every SetEnabled

 private:
  std::function<void()> on_tick_;
  int32_t interval_ = 0;
  bool enabled_ = false;
};

// The fake behind a window's timer.
FakeTimer& AsFake(WindowTimer& timer);

// A view that records Show, Close and the log text, and answers questions
// with `answer`. `on_ask` runs while a question is open (before it is
// answered), to let other things happen meanwhile.
class FakeView : public SyncWindowView {
 public:
  explicit FakeView(SyncWindowInput& window_input) : input(window_input) {}

  void Show(intptr_t owner) override { shown_owners.push_back(owner); }
  void Close() override { ++closes; }
  void ClearLog() override {
    text_.clear();
    log_texts.emplace_back();
  }
  void AppendLog(std::string_view text) override {
    text_.append(text);
    appended.emplace_back(text);
    log_texts.push_back(text_);
  }
  bool AskYesNo(std::string_view question) override;

  // The text the pane shows now.
  std::string LogText() const { return text_; }

  SyncWindowInput& input;
  std::vector<intptr_t> shown_owners;
  int closes = 0;
  std::vector<std::string> log_texts;  // the pane's whole text after each change
  std::vector<std::string> appended;   // what each AppendLog brought
  std::vector<std::string> questions;
  bool answer = false;
  std::function<void()> on_ask;

 private:
  std::string text_;
};

// Makes fake timers and fake views and keeps a pointer to each (the window
// owns them; a test must not use them after the window is gone).
class FakeWindowPlatform : public SyncWindowPlatform {
 public:
  std::unique_ptr<WindowTimer> CreateTimer(std::function<void()> on_tick) override;
  std::unique_ptr<SyncWindowView> CreateView(SyncWindowInput& input) override;

  // The last view made.
  FakeView& View() { return *views.back(); }

  std::vector<FakeTimer*> timers;
  std::vector<FakeView*> views;
};

// Records the window's events as text: "OnCancel", "OnTimeout",
// "OnNewFile:" + name, "OnLog:" + text. OnNewFile answers with what
// `new_file` returns for the name (0 when it is not set); it may also throw.
// `on_log` runs inside OnLog, after the line is recorded, as a host's
// handler of the line would.
class RecordingWindowEvents : public SyncWindowEvents {
 public:
  void OnCancel() override { events.emplace_back("OnCancel"); }
  void OnTimeout() override { events.emplace_back("OnTimeout"); }
  void OnNewFile(const std::string& strFilename, int32_t& retVal) override;
  void OnLog(const std::string& strText) override {
    events.push_back("OnLog:" + strText);
    logs.push_back(strText);
    if (on_log) on_log(strText);
  }

  // The events without the OnLog ones.
  std::vector<std::string> Raised() const;

  std::vector<std::string> events;
  std::vector<std::string> logs;
  // The value retVal had when OnNewFile was entered, per call.
  std::vector<int32_t> entry_values;
  std::function<int32_t(const std::string&)> new_file;
  std::function<void(const std::string&)> on_log;
};

}  // namespace kdzv::test

#endif  // KDZV_TESTS_SUPPORT_FAKE_WINDOW_H_
