// The sync window's timers and the waiting loop of a Linux program. Timers
// live in the loop and run on the steady clock; RunPending runs the timers
// that are due, and otherwise sleeps until the next one is due, without
// spinning. An interrupt (Ctrl+C) wakes the sleep and is handed to the
// shown window as a close request, which asks the cancel question. Folder
// watches (inotify: a file closed after writing, a file moved in) wake the
// sleep too; each one's callback runs once its folder has been quiet for
// the watch's settle time.
#ifndef KDZV_PLATFORM_POSIX_EVENT_LOOP_H_
#define KDZV_PLATFORM_POSIX_EVENT_LOOP_H_

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "interface/folder_changes.h"
#include "syncwindow/window_ports.h"

namespace kdzv::posix {

class EventLoop : public SyncWindowPlatform, public MessagePump, public FolderChanges {
 public:
  // Makes the view that the loop's windows show; the loop wraps it to know
  // which window is shown.
  using ViewFactory = std::function<std::unique_ptr<SyncWindowView>(SyncWindowInput&)>;

  // Without a factory the windows are terminal views on stdin and stderr.
  explicit EventLoop(ViewFactory make_view = nullptr);
  ~EventLoop() override;
  EventLoop(const EventLoop&) = delete;
  EventLoop& operator=(const EventLoop&) = delete;

  // Catches SIGINT for every loop of the process: the handler only notes
  // the interrupt, and the next RunPending turns it into CloseRequested on
  // the shown window (an interrupt while no window is shown waits for one).
  // A second interrupt before the first was handled ends the program as an
  // uncaught SIGINT would.
  static void CatchInterrupt();
  // Puts back the handling of SIGINT that CatchInterrupt found and drops a
  // noted interrupt.
  static void ReleaseInterrupt();

  // SyncWindowPlatform. Timers and views may outlive the loop; they are
  // then inert.
  std::unique_ptr<WindowTimer> CreateTimer(std::function<void()> on_tick) override;
  std::unique_ptr<SyncWindowView> CreateView(SyncWindowInput& input) override;

  // MessagePump: hands a noted interrupt to the shown window, then runs
  // every timer that is due, once each, the earliest first, and every
  // folder watch whose settle time has passed. When nothing was due, sleeps
  // until the next enabled timer or settled watch is due, an interrupt or a
  // folder change arrives or `max_wait_ms` have passed, and then runs what
  // has become due.
  void RunPending(int32_t max_wait_ms) override;

  // FolderChanges, with inotify (IN_CLOSE_WRITE, IN_MOVED_TO). Fails when
  // the folder is missing or is no folder, or the system has no watch left
  // (fs.inotify.max_user_watches, max_user_instances).
  std::unique_ptr<FolderChangeWatch> Watch(const std::string& folder, int32_t settle_ms,
                                           std::function<void()> on_change,
                                           std::string& reason) override;

  using Clock = std::chrono::steady_clock;

  struct TimerState;
  struct WatchState;
  struct Shared;

 private:
  // Runs the timers due at `now`; returns whether any ran.
  bool RunDueTimers(Clock::time_point now);
  // Hands a noted interrupt to the shown window; returns whether it did.
  bool DeliverInterrupt();
  // Reads what the folder watches have to tell; a change (re)starts the
  // watch's settle time from `now`.
  void ReadWatches(Clock::time_point now);
  // Runs the watches whose settle time has passed at `now`; returns
  // whether any ran.
  bool RunSettledWatches(Clock::time_point now);

  ViewFactory make_view_;
  std::shared_ptr<Shared> shared_;
};

}  // namespace kdzv::posix

#endif  // KDZV_PLATFORM_POSIX_EVENT_LOOP_H_
