#include "syncwindow/frm_zv_sync.h"

#include <exception>
#include <utility>
#include <vector>

#include "interface/error_report.h"
#include "interface/user_interface.h"

namespace kdzv {
namespace {

constexpr std::string_view kWaitingText = "Warten auf Antwort ...";
constexpr std::string_view kTimeoutText = "Timeout.";
constexpr std::string_view kCancelQuestion =
    "Soll der Syncronisation-Prozess wirklich abgebrochen werden?";
constexpr std::string_view kCancelledText = "Abbruch durch Benutzer.";
constexpr std::string_view kQuitText = "Abbruch: Das Programm wird beendet.";
constexpr std::string_view kWindowDestroyedText =
    "Abbruch: Das Synchronisationsfenster wurde geschlossen.";

}  // namespace

frmZVSync::RunningEvent::RunningEvent(frmZVSync& window) : window_(window) {
  ++window_.events_running_;
}

frmZVSync::RunningEvent::~RunningEvent() {
  if (--window_.events_running_ == 0 && window_.destroyed_cancel_waits_) {
    try {
      window_.CancelForDestroyedWindow();
    } catch (...) {
      // Even its error report failed; a destructor lets nothing out.
    }
  }
}

frmZVSync::frmZVSync(SyncWindowPlatform& platform, FileSystem& file_system,
                     SyncWindowEvents& owner)
    : file_system_(file_system), owner_(owner) {
  view_ = platform.CreateView(*this);
  watch_timer_ = platform.CreateTimer([this] { WatchTimerTick(); });
  timeout_timer_ = platform.CreateTimer([this] { TimeoutTimerTick(); });
  watch_timer_->SetEnabled(false);
  timeout_timer_->SetEnabled(false);
}

frmZVSync::~frmZVSync() {
  // The timers go first so that no tick can reach a half-destroyed window.
  timeout_timer_.reset();
  watch_timer_.reset();
}

void frmZVSync::Show(intptr_t owner) {
  try {
    window_destroyed_ = false;
    destroyed_cancel_waits_ = false;
    view_->Show(owner);
  } catch (...) {
    ReportCurrentError(kModule, "Show", "");
  }
}

void frmZVSync::Unload() {
  try {
    StopWatch();
    view_->Close();
  } catch (...) {
    ReportCurrentError(kModule, "Unload", "");
  }
}

bool frmZVSync::StartWatch(const std::string& strWatchFolder, int32_t WatchTimerInterval) {
  try {
    watch_folder_ = strWatchFolder;
    watch_interval_ = WatchTimerInterval;
    timeout_timer_->SetInterval(0);
    if (!file_system_.FolderExists(watch_folder_)) {
      watch_timer_->SetEnabled(false);
      timeout_timer_->SetEnabled(false);
      return false;
    }
    watch_timer_->SetInterval(watch_interval_);
    watch_timer_->SetEnabled(true);
    StartTimeoutTimer();
    return true;
  } catch (...) {
    ReportCurrentError(kModule, "StartWatch", strWatchFolder);
    return false;
  }
}

void frmZVSync::StopWatch() {
  watch_timer_->SetEnabled(false);
  timeout_timer_->SetEnabled(false);
}

void frmZVSync::StartTimeoutTimer() {
  timeout_timer_->SetEnabled(false);
  if (timeout_timer_->Interval() >= 1) {
    ShowStatusMsg(std::string(kWaitingText), msgbox::kInformation);
    timeout_timer_->SetEnabled(true);
  }
}

void frmZVSync::StopTimeoutTimer() { timeout_timer_->SetEnabled(false); }

void frmZVSync::ClearLog() {
  try {
    log_text_.clear();
    view_->ClearLog();
  } catch (...) {
    ReportCurrentError(kModule, "ClearLog", "");
  }
}

void frmZVSync::ShowStatusMsg(const std::string& sMsg, int32_t nStyle) {
  // The style tells what kind of message it is; the pane shows plain text.
  static_cast<void>(nStyle);
  try {
    std::string line = "\r\n";
    line += sMsg;
    log_text_ += line;
    view_->AppendLog(line);
    RunningEvent running(*this);
    owner_.OnLog(sMsg);
  } catch (...) {
    ReportCurrentError(kModule, "ShowStatusMsg", sMsg);
  }
}

// A failure inside a timer procedure ends it where it failed: what the
// procedure had set on the timers until then stays set (a tick that had
// disabled the watch timer for a file leaves it disabled).
void frmZVSync::WatchTimerTick() {
  try {
    // One listing per tick: the folder itself is the queue, so a file the
    // owner leaves behind is offered again on the next tick.
    const std::vector<std::string> names = file_system_.ListFiles(watch_folder_);
    for (const std::string& name : names) {
      // Once cancelled for a destroyed window, nothing more is offered.
      if (window_destroyed_) break;
      watch_timer_->SetEnabled(false);
      int32_t retVal = 0;
      {
        RunningEvent running(*this);
        owner_.OnNewFile(name, retVal);
      }
      if (window_destroyed_) break;
      if (retVal != 0) {
        watch_timer_->SetEnabled(true);
        StartTimeoutTimer();
      } else {
        RunningEvent running(*this);
        owner_.OnCancel();
      }
    }
  } catch (...) {
    ReportCurrentError(kModule, "Timer1_Timer", "");
  }
}

void frmZVSync::TimeoutTimerTick() {
  try {
    timeout_timer_->SetEnabled(false);
    watch_timer_->SetEnabled(false);
    ShowStatusMsg(std::string(kTimeoutText), msgbox::kExclamation);
    RunningEvent running(*this);
    owner_.OnTimeout();
  } catch (...) {
    ReportCurrentError(kModule, "Timer2_Timer", "");
  }
}

void frmZVSync::CancelClicked() {
  try {
    // Without a window the exchange has been cancelled already.
    if (window_destroyed_) return;
    bool yes = false;
    {
      RunningEvent asking(*this);
      yes = view_->AskYesNo(kCancelQuestion);
    }
    // The window went while the question was open: that cancel stands,
    // whatever the answer.
    if (window_destroyed_ || !yes) return;
    ConfirmedCancel(kCancelledText);
  } catch (...) {
    ReportCurrentError(kModule, "cmdCancel_Click", "");
  }
}

void frmZVSync::CloseRequested() {
  // Closing by the user is refused; the cancel question decides instead.
  CancelClicked();
}

void frmZVSync::QuitRequested() {
  try {
    if (window_destroyed_) return;  // cancelled already
    ConfirmedCancel(kQuitText);
  } catch (...) {
    ReportCurrentError(kModule, "QuitRequested", "");
  }
}

void frmZVSync::WindowDestroyed() {
  if (window_destroyed_) return;
  window_destroyed_ = true;
  destroyed_cancel_waits_ = true;
  if (events_running_ == 0) CancelForDestroyedWindow();
}

// A cancel confirmed as by the user, without the question and with a line
// of its own.
void frmZVSync::CancelForDestroyedWindow() {
  try {
    destroyed_cancel_waits_ = false;
    ConfirmedCancel(kWindowDestroyedText);
  } catch (...) {
    ReportCurrentError(kModule, "WindowDestroyed", "");
  }
}

void frmZVSync::ConfirmedCancel(std::string_view line) {
  ShowStatusMsg(std::string(line), msgbox::kExclamation);
  timeout_timer_->SetEnabled(false);
  watch_timer_->SetEnabled(false);
  RunningEvent running(*this);
  owner_.OnCancel();
}

}  // namespace kdzv
