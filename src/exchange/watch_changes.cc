// Notifications of changes in the download folder: beside the watch timer's
// poll every 500 ms, a file that arrives is looked at as soon as the folder
// has been quiet for a moment. The poll stays, for a folder on a share
// whose changes are never told.
//
// Where the system tells each write but not the close (Windows), the last
// notification of an answer written in place may come while its writer
// still holds it. The look then leaves the folder alone and probes the
// expected answer again 20, 50 and 100 ms after that notification (a
// one-shot timer, so the host's thread goes on running its messages); once
// the writer has let go, the watch tick runs. An answer still held after
// the last probe is left to the poll, as every held file was before.
#include <iterator>

#include "exchange/kd_zv_interface.h"
#include "interface/error_report.h"

namespace kdzv {

void kdZVInterface::WatchForChanges(const std::string& folder) {
  change_watch_.reset();
  if (held_probe_timer_) held_probe_timer_->SetEnabled(false);
  if (!change_notification_ || folder_changes_ == nullptr) return;
  std::string reason;
  change_watch_ = folder_changes_->Watch(folder, kChangeSettleMs, [this] { OnFolderChanged(); },
                                         reason);
  if (!change_watch_) {
    WriteLogLine("(StartWatch) -> Keine Änderungsmeldungen für " + folder + " (" + reason +
                 "); der Ordner wird alle " + std::to_string(kWatchIntervalMs) +
                 " ms abgefragt.");
  }
}

bool kdZVInterface::WatchWaits() const {
  if (!in_sync_ || !sync_form_ || !sync_form_->WatchTimer().Enabled()) return false;
  return !cancelled_ && !finished_ && !timed_out_;
}

void kdZVInterface::OnFolderChanged() {
  try {
    // The same tick as the timer's, but only while the watch waits for a
    // file: while one is handled (the timer is then off) and after the
    // exchange the notification is left out. The tick takes what is in the
    // folder and puts each file it handled away, so none is taken twice.
    if (!WatchWaits()) return;
    if (held_probe_timer_) held_probe_timer_->SetEnabled(false);
    if (!folder_changes_->TellsWhenWriterCloses() && !HeldExpectedAnswer().empty()) {
      // Its writer is still at it: the tick would only find it held.
      ProbeHeldAnswerLater(0);
      return;
    }
    sync_form_->WatchTimerTick();
  } catch (...) {
    ReportCurrentError(kInterfaceModuleName, "OnFolderChanged", "");
  }
}

std::string kdZVInterface::HeldExpectedAnswer() {
  if (!session_) return {};
  FileSystem& fs = ports_.file_system;
  const std::string path = fs.BuildPath(Settings()->DownloadPath(), ExpectedAnswerName());
  return fs.HeldByAnotherProcess(path) ? path : std::string();
}

void kdZVInterface::ProbeHeldAnswerLater(size_t probe) {
  constexpr size_t kProbes = std::size(kHeldProbeAfterMs);
  if (probe >= kProbes) return;  // left to the poll
  if (!held_probe_timer_) {
    held_probe_timer_ = ports_.window.CreateTimer([this] { OnHeldAnswerProbe(); });
  }
  held_probe_ = probe;
  const int32_t since_last =
      kHeldProbeAfterMs[probe] - (probe == 0 ? 0 : kHeldProbeAfterMs[probe - 1]);
  held_probe_timer_->SetInterval(since_last);
  held_probe_timer_->SetEnabled(true);
}

void kdZVInterface::OnHeldAnswerProbe() {
  try {
    held_probe_timer_->SetEnabled(false);  // one shot
    if (!WatchWaits()) return;
    if (!HeldExpectedAnswer().empty()) {
      ProbeHeldAnswerLater(held_probe_ + 1);
      return;
    }
    sync_form_->WatchTimerTick();
  } catch (...) {
    ReportCurrentError(kInterfaceModuleName, "OnHeldAnswerProbe", "");
  }
}

}  // namespace kdzv
