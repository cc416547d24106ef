// frmZVSync: the sync window. It polls the download folder with its watch
// timer and hands every file it finds to its owner, ends a wait that takes
// too long with its time-out timer, lets the user cancel, and shows every
// status line in its log pane. It knows nothing of messages: it raises its
// events to the owner (the interface object).
#ifndef KDZV_SYNCWINDOW_FRM_ZV_SYNC_H_
#define KDZV_SYNCWINDOW_FRM_ZV_SYNC_H_

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "interface/file_system.h"
#include "syncwindow/window_ports.h"

namespace kdzv {

// The events of the window, raised to its owner.
class SyncWindowEvents {
 public:
  virtual ~SyncWindowEvents() = default;
  virtual void OnCancel() = 0;
  virtual void OnTimeout() = 0;
  // `retVal` is 0 on entry; the owner sets it to -1 (true) when it took
  // the file and the watch is to go on.
  virtual void OnNewFile(const std::string& strFilename, int32_t& retVal) = 0;
  virtual void OnLog(const std::string& strText) = 0;
};

class frmZVSync : public SyncWindowInput {
 public:
  static constexpr std::string_view kModule = "frmZVSync";
  static constexpr std::string_view kCaption = "Zentavo - Syncronisation";

  // Creates the view and both timers (off).
  frmZVSync(SyncWindowPlatform& platform, FileSystem& file_system, SyncWindowEvents& owner);
  ~frmZVSync() override;

  void Show(intptr_t owner);
  // Unloads the window: timers off, view closed.
  void Unload();

  // Remembers folder and interval, sets the time-out interval to 0; when
  // the folder exists, starts the watch timer with the interval and the
  // time-out timer, and returns true; otherwise false with both timers off.
  bool StartWatch(const std::string& strWatchFolder, int32_t WatchTimerInterval);
  void StopWatch();
  void StartTimeoutTimer();
  void StopTimeoutTimer();
  void ClearLog();
  // Appends CR LF + `sMsg` to the log pane and raises OnLog(sMsg).
  void ShowStatusMsg(const std::string& sMsg, int32_t nStyle);

  // The timers' ticks (called by the timers; public for the platform and
  // tests).
  void WatchTimerTick();
  void TimeoutTimerTick();

  // SyncWindowInput: the cancel question.
  void CancelClicked() override;
  void CloseRequested() override;
  // Cancels without the question: "Abbruch: Das Programm wird beendet.",
  // both timers off, OnCancel.
  void QuitRequested() override;
  // Cancels without the question: "Abbruch: Das Synchronisationsfenster
  // wurde geschlossen.", both timers off, OnCancel; once per Show. Nothing
  // more is offered from the folder afterwards. While an event of the
  // window runs at the owner (a host's handler may be what destroyed the
  // window) or the cancel question is open, the cancel waits until that has
  // returned.
  void WindowDestroyed() override;

  const std::string& LogText() const { return log_text_; }
  WindowTimer& WatchTimer() { return *watch_timer_; }
  WindowTimer& TimeoutTimer() { return *timeout_timer_; }
  const std::string& WatchFolder() const { return watch_folder_; }
  int32_t WatchInterval() const { return watch_interval_; }

 private:
  // Marks an event of the window running at the owner (or the question
  // open); when the outermost one returns, a cancel for a destroyed window
  // that came meanwhile is carried out.
  class RunningEvent {
   public:
    explicit RunningEvent(frmZVSync& window);
    ~RunningEvent();
    RunningEvent(const RunningEvent&) = delete;
    RunningEvent& operator=(const RunningEvent&) = delete;

   private:
    frmZVSync& window_;
  };

  void CancelForDestroyedWindow();
  // What every confirmed cancel does: its line in the log pane, both timers
  // off, OnCancel.
  void ConfirmedCancel(std::string_view line);

  FileSystem& file_system_;
  SyncWindowEvents& owner_;
  std::unique_ptr<SyncWindowView> view_;
  std::unique_ptr<WindowTimer> watch_timer_;
  std::unique_ptr<WindowTimer> timeout_timer_;
  std::string watch_folder_;
  int32_t watch_interval_ = 0;
  std::string log_text_;
  int events_running_ = 0;
  bool window_destroyed_ = false;       // since the last Show
  bool destroyed_cancel_waits_ = false;  // for the running event to return
};

}  // namespace kdzv

#endif  // KDZV_SYNCWINDOW_FRM_ZV_SYNC_H_
