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

}  // namespace

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
      watch_timer_->SetEnabled(false);
      int32_t retVal = 0;
      owner_.OnNewFile(name, retVal);
      if (retVal != 0) {
        watch_timer_->SetEnabled(true);
        StartTimeoutTimer();
      } else {
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
    owner_.OnTimeout();
  } catch (...) {
    ReportCurrentError(kModule, "Timer2_Timer", "");
  }
}

void frmZVSync::CancelClicked() {
  try {
    if (!view_->AskYesNo(kCancelQuestion)) return;
    ShowStatusMsg(std::string(kCancelledText), msgbox::kExclamation);
    timeout_timer_->SetEnabled(false);
    watch_timer_->SetEnabled(false);
    owner_.OnCancel();
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
    ShowStatusMsg(std::string(kQuitText), msgbox::kExclamation);
    timeout_timer_->SetEnabled(false);
    watch_timer_->SetEnabled(false);
    owner_.OnCancel();
  } catch (...) {
    ReportCurrentError(kModule, "QuitRequested", "");
  }
}

}  // namespace kdzv
