// kdZVInterface: the one object the host creates. It owns the settings, the
// matching configuration, the session state and the sync window, raises the
// host's events, writes the log, and runs a whole exchange in StartSync.
//
// The procedures live in one file each: creation and the small members
// here, the sync start in start_sync.cc, the session opening in
// session_opening.cc, the intake of each answer file in file_intake.cc and
// the command processing in command_processing.cc.
#ifndef KDZV_EXCHANGE_KD_ZV_INTERFACE_H_
#define KDZV_EXCHANGE_KD_ZV_INTERFACE_H_

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "interface/clock.h"
#include "interface/enums.h"
#include "interface/file_system.h"
#include "interface/folder_changes.h"
#include "interface/host_events.h"
#include "exchange/log_writer.h"
#include "interface/process.h"
#include "interface/records.h"
#include "interface/user_interface.h"
#include "settings/zv_settings.h"
#include "mapping/housekeeping_rules.h"
#include "mapping/matching.h"
#include "mapping/profile_file.h"
#include "mapping/time_zone.h"
#include "message/session_info.h"
#include "message/up_down_file.h"
#include "message/xml_parser.h"
#include "settings/dialog_ports.h"
#include "settings/frm_settings.h"
#include "settings/registry_backend.h"
#include "syncwindow/frm_zv_sync.h"
#include "syncwindow/window_ports.h"
#include "util/date_time.h"

namespace kdzv {

// The world as the interface object sees it.
struct InterfacePorts {
  FileSystem& file_system;
  Clock& clock;
  TimeZoneSource& time_zone;
  ProfileFile& profile;
  RegistryBackend& registry;
  UserInterface& user_interface;
  XmlParser& xml_parser;
  SyncWindowPlatform& window;
  MessagePump& pump;
};

class kdZVInterface : public ErrorLogTarget,
                      public SyncWindowEvents,
                      public SettingsDialogEvents {
 public:
  // How long one pass of StartSync's wait may sleep when nothing is due.
  static constexpr int32_t kWaitSliceMs = 250;
  // The watch timer's interval.
  static constexpr int32_t kWatchIntervalMs = 500;
  // How long the download folder must be quiet after a notified change
  // before the watch looks (a file written in pieces gives one look).
  static constexpr int32_t kChangeSettleMs = 15;
  // Where the system does not tell when a writer closes a file: how long
  // after a notification that found the expected answer still held by its
  // writer it is probed again (three times, then it is left to the poll).
  static constexpr int32_t kHeldProbeAfterMs[] = {20, 50, 100};

  // Becomes the active interface; reads settings, matching rules and
  // housekeeping rules. The
  // log and configuration files are the process's (process::LogFilePath,
  // process::ConfigFilePath).
  kdZVInterface(const InterfacePorts& ports, HostEvents& host);
  ~kdZVInterface() override;
  kdZVInterface(const kdZVInterface&) = delete;
  kdZVInterface& operator=(const kdZVInterface&) = delete;

  // The settings dialog of this system (none: ShowSettings is refused with
  // a log line).
  void SetSettingsDialog(SettingsDialogPlatform* dialog) { settings_dialog_ = dialog; }
  // The system's notifications of folder changes (none: the download folder
  // is only polled). Used when "[WATCH] ChangeNotification" is not 0.
  void SetFolderChanges(FolderChanges* changes) { folder_changes_ = changes; }
  bool ChangeNotification() const { return change_notification_; }

  // --- Public members, in the order of the interface ---
  bool CheckLogAccess(std::string_view strLog, std::string& sErr);
  // Shows the settings dialog modally, owned by `mOwner` (0 for none); a
  // confirmed dialog makes a new settings object of its fields the current
  // one. Refused (a log line, nothing else) while the dialog is already
  // open or an exchange runs.
  void ShowSettings(intptr_t mOwner, bool bServiceSeitigerSync);
  // A message box over the open settings dialog; refused with a log line
  // when none is open.
  void ShowSettingsStatusMsg(std::string_view sMsg, int32_t nStyle);
  std::shared_ptr<clZVSettings> Settings();
  void SetSettings(std::shared_ptr<clZVSettings> settings);
  // `mOwner`: the host's window (0 for none).
  enmZVRetValues StartSync(intptr_t mOwner, std::string& sErr);
  std::shared_ptr<kdZVTermin> CreateKdZVTermin();
  void TestDownFile(std::string_view strFile);
  std::string ConvertLocalToZentavoDateTime(DateTime dLocalDate);
  DateTime ConvertZentavoToLocalDateTime(std::string_view strDTString);
  // Raises OnQueryOpeningTime once; answers the host's retVal.
  int32_t TestFireOpeningTimes();

  // ErrorLogTarget: one log line through the log writer.
  void WriteLogLine(std::string_view text) override;

  // SyncWindowEvents.
  void OnCancel() override { cancelled_ = true; }
  void OnTimeout() override { timed_out_ = true; }
  void OnNewFile(const std::string& strFilename, int32_t& retVal) override {
    mSyncForm_OnNewFile(retVal, strFilename);
  }
  void OnLog(const std::string& strText) override;

  // SettingsDialogEvents: raised to the host.
  void EinstellungenAmServiceValidieren(std::string& s01UploadDir, std::string& s02DownloadDir,
                                        std::string& s03AblageDir,
                                        std::string& sErrMsg) override;
  void ZentavoSyncTesten() override;
  bool SettingsDialogOpen() const { return settings_form_ != nullptr; }

  // The state of the running or last exchange (for the command-line host
  // and tests).
  const clZVSessionInfo& SessionInfo() const { return *session_; }
  const std::string& SessionFileBase() const { return session_file_base_; }
  const std::string& ServiceHost() const { return service_host_; }
  clZVMatching& Matching() { return matching_; }

 private:
  // Sync start.
  int32_t TryMoveFilesToDepot(const std::string& source, const std::string& target);
  void ShowMessage(const std::string& text);  // exclamation box, then "MELDUNG: " line
  // Session opening.
  // Opens the exchange with the file prefix checked at its start.
  bool StartNewSession(const std::string& prefix);
  std::string GetSessionFileName();
  // Notifications of changes in the download folder beside the poll
  // (watch_changes.cc).
  void WatchForChanges(const std::string& folder);
  void OnFolderChanged();
  // Whether the watch waits for a file (not while one is handled, nor after
  // the exchange).
  bool WatchWaits() const;
  // The expected answer's full path when its writer still holds it open;
  // empty otherwise.
  std::string HeldExpectedAnswer();
  void ProbeHeldAnswerLater(size_t probe);
  void OnHeldAnswerProbe();
  // The name of the answer the running session waits for.
  std::string ExpectedAnswerName() const;
  void GenerateSyncHeader(clZVUpDownFile& message);
  // File intake.
  void mSyncForm_OnNewFile(int32_t& retVal, const std::string& strFilename);
  void PutAway(const std::string& name, const std::string& full_path);
  void PutAwayUnlessHeld(int32_t& retVal, const std::string& name, const std::string& full_path);
  // Housekeeping after an exchange that ended well (housekeeping.cc).
  void Housekeeping();
  // Command processing.
  void HandleDownFile(clZVUpDownFile& received, bool& send_reply, clZVUpDownFile& answer);

  // A status line in the sync window (information or error style).
  void Info(const std::string& text);
  void Warn(const std::string& text);
  // A log line that also goes to the sync window.
  void LogAndShow(const std::string& text);
  std::unique_ptr<clZVUpDownFile> NewMessage();

  InterfacePorts ports_;
  HostEvents& host_;
  std::shared_ptr<clZVSettings> settings_;
  std::unique_ptr<clZVSessionInfo> session_;
  clZVMatching matching_;
  LogWriter log_;
  std::string config_file_;
  std::string service_host_;
  HousekeepingRules housekeeping_;
  bool change_notification_ = true;
  FolderChanges* folder_changes_ = nullptr;
  std::unique_ptr<frmZVSync> sync_form_;
  SettingsDialogPlatform* settings_dialog_ = nullptr;
  std::unique_ptr<frmSettings> settings_form_;
  std::string session_file_base_;
  bool cancelled_ = false;
  bool finished_ = false;
  bool timed_out_ = false;
  bool session_end_ = false;
  bool in_sync_ = false;  // StartSync is on the stack
  // Last: it goes first, so that no notification reaches a half-destroyed
  // object.
  std::unique_ptr<FolderChangeWatch> change_watch_;
  // The one-shot timer of the probes of a held answer, and the probe it
  // waits for (an index into kHeldProbeAfterMs).
  std::unique_ptr<WindowTimer> held_probe_timer_;
  size_t held_probe_ = 0;
};

}  // namespace kdzv

#endif  // KDZV_EXCHANGE_KD_ZV_INTERFACE_H_
