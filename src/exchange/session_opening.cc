// StartNewSession: the next session number (persisted before anything is
// written), the opening message with its one alert, and the watch on the
// download folder.
#include "interface/error_report.h"
#include "exchange/kd_zv_interface.h"

namespace kdzv {

bool kdZVInterface::StartNewSession(const std::string& prefix) {
  try {
    // Read, one added and saved under the configuration file's lock. After
    // 2147483647 comes an overflow, never a negative number (the exchange
    // is then not opened and nothing is written).
    const int32_t session_id = matching_.TakeNextSessionID(config_file_);
    session_ = std::make_unique<clZVSessionInfo>();
    session_->SessionID = session_id;
    session_->MsgID = 1;
    session_->Mark = "M";
    session_->FilePraefix = prefix;

    const std::shared_ptr<clZVSettings> settings = Settings();
    const std::string path =
        ports_.file_system.BuildPath(settings->UploadPath(), GetSessionFileName());
    Info("Neue Session für Zentavo wird initiiert:");
    Info("Session-ID = :" + std::to_string(session_id));
    Info("Session-File = :" + path);

    std::unique_ptr<clZVUpDownFile> message = NewMessage();
    GenerateSyncHeader(*message);
    if (settings->SlowSync()) {
      message->AlertCol().Add("Slow Sync", 1, kAlertSlowSync, "");
    } else {
      message->AlertCol().Add("Session Start", 1, kAlertSessionStart, "");
    }
    Info("Session-File wird geschrieben...");
    if (!message->CreateUpFile(path)) {
      Info("Fehler beim Erstellen des Session-Files!");
      return false;
    }
    if (!sync_form_->StartWatch(settings->DownloadPath(), kWatchIntervalMs)) {
      Info("Fehler beim Start der Schnittstelle (StartWatch).");
      return false;
    }
    WatchForChanges(settings->DownloadPath());
    Info("Schnittstelle zu Zentavo-Synchronisationsagent wurde erfolgreich gestartet.");
    Info("Warten auf Antwort ...");
    return true;
  } catch (...) {
    ReportCurrentError(kInterfaceModuleName, "StartNewSession", "");
    return false;
  }
}

std::string kdZVInterface::GetSessionFileName() {
  session_file_base_ = session_->FilePraefix + std::to_string(session_->SessionID) + "_";
  return session_file_base_ + std::to_string(session_->MsgID) + ".xml";
}

void kdZVInterface::GenerateSyncHeader(clZVUpDownFile& message) {
  clZVSyncHdr& header = message.SyncHdr();
  header.VerDTD = "1.0";
  header.VerProto = "SyncZV/1.0";
  header.SessionID = std::to_string(session_->SessionID);
  header.MsgID = session_->MsgID;
  header.Source.LocName = "Halvex";
  header.Target.LocName = "Zentavo";
}

}  // namespace kdzv
