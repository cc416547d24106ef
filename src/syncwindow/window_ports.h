// The ports of the sync window: its timers, its view (log pane, cancel
// button, question box, showing and closing) and the host's message loop.
// On Windows they are a real window with Win32 timers; on Linux a small
// event loop and the terminal.
#ifndef KDZV_SYNCWINDOW_WINDOW_PORTS_H_
#define KDZV_SYNCWINDOW_WINDOW_PORTS_H_

#include <cstdint>
#include <functional>
#include <memory>
#include <string_view>

namespace kdzv {

// A timer of the window: while enabled and given an interval of at least
// 1 ms it calls its tick every `interval` milliseconds, on the thread that
// runs the message loop. Interval 0 means it never ticks.
class WindowTimer {
 public:
  virtual ~WindowTimer() = default;
  virtual void SetInterval(int32_t milliseconds) = 0;
  virtual int32_t Interval() const = 0;
  // Enabling (also re-enabling) starts counting the interval from now.
  virtual void SetEnabled(bool enabled) = 0;
  virtual bool Enabled() const = 0;
};

// What the view reports back to the window.
class SyncWindowInput {
 public:
  virtual ~SyncWindowInput() = default;
  // The cancel button ("Abbruch") was pressed.
  virtual void CancelClicked() = 0;
  // The user tried to close the window (system menu, title bar, Ctrl+C on a
  // terminal): handled like the cancel button.
  virtual void CloseRequested() = 0;
  // The host's program is ending while the window is shown (its message
  // loop was told to quit during the wait): the exchange is cancelled at
  // once, without the question, which nobody would be left to answer.
  virtual void QuitRequested() = 0;
  // The window was destroyed by someone else than the window itself (the
  // host's window that owned it went and took it along): the exchange is
  // cancelled without the question, since no window is left to ask in.
  virtual void WindowDestroyed() = 0;
};

class SyncWindowView {
 public:
  virtual ~SyncWindowView() = default;
  // Shows the window without modality, owned by `owner` (a host window
  // handle, 0 for none).
  virtual void Show(intptr_t owner) = 0;
  // Closes the window by code (never refused).
  virtual void Close() = 0;
  // Empties the log pane.
  virtual void ClearLog() = 0;
  // Appends `text` to the log pane's text and scrolls the pane to its end.
  // Only the new text travels: the pane is never sent whole, which would
  // cost time in the square of an exchange's length.
  virtual void AppendLog(std::string_view text) = 0;
  // The yes/no question box with the question icon and "no" as default;
  // true for yes.
  virtual bool AskYesNo(std::string_view question) = 0;
};

// Makes the window's parts on this platform.
class SyncWindowPlatform {
 public:
  virtual ~SyncWindowPlatform() = default;
  virtual std::unique_ptr<WindowTimer> CreateTimer(std::function<void()> on_tick) = 0;
  // `input` outlives the view.
  virtual std::unique_ptr<SyncWindowView> CreateView(SyncWindowInput& input) = 0;
};

// The host's message loop, as the waiting StartSync drives it.
class MessagePump {
 public:
  virtual ~MessagePump() = default;
  // Runs what is pending (window messages, due timers, user input); when
  // nothing is, waits for the next of them without spinning, at most
  // `max_wait_ms` milliseconds.
  virtual void RunPending(int32_t max_wait_ms) = 0;
};

}  // namespace kdzv

#endif  // KDZV_SYNCWINDOW_WINDOW_PORTS_H_
