// Notifications of changes in the download folder: beside the watch timer's
// poll every 500 ms, a file that arrives is looked at as soon as the folder
// has been quiet for a moment. The poll stays, for a folder on a share
// whose changes are never told.
#include "exchange/kd_zv_interface.h"
#include "interface/error_report.h"

namespace kdzv {

void kdZVInterface::WatchForChanges(const std::string& folder) {
  change_watch_.reset();
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

void kdZVInterface::OnFolderChanged() {
  try {
    // The same tick as the timer's, but only while the watch waits for a
    // file: while one is handled (the timer is then off) and after the
    // exchange the notification is left out. The tick takes what is in the
    // folder and puts each file it handled away, so none is taken twice.
    if (!in_sync_ || !sync_form_ || !sync_form_->WatchTimer().Enabled()) return;
    if (cancelled_ || finished_ || timed_out_) return;
    sync_form_->WatchTimerTick();
  } catch (...) {
    ReportCurrentError(kInterfaceModuleName, "OnFolderChanged", "");
  }
}

}  // namespace kdzv
