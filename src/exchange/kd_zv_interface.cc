#include "exchange/kd_zv_interface.h"

#include <utility>

#include "interface/error_report.h"
#include "exchange/test_down_file.h"
#include "mapping/date_time_convert.h"
#include "mapping/service_host.h"
#include "mapping/watch_rules.h"

namespace kdzv {
namespace {

constexpr std::string_view kNoSettingsDialog =
    "Auf diesem System gibt es keinen Einstellungsdialog.";
constexpr std::string_view kSettingsDialogOpen = "Der Einstellungsdialog ist bereits geöffnet.";
constexpr std::string_view kSettingsDuringSync =
    "Während einer Synchronisation können die Einstellungen nicht geändert werden.";
constexpr std::string_view kNoSettingsDialogOpen = "Kein Einstellungsdialog geöffnet:";

}  // namespace

kdZVInterface::kdZVInterface(const InterfacePorts& ports, HostEvents& host)
    : ports_(ports),
      host_(host),
      session_(std::make_unique<clZVSessionInfo>()),
      matching_(ports.profile),
      log_(ports.file_system, ports.clock, process::LogFilePath()),
      config_file_(process::ConfigFilePath()) {
  process::SetActiveInterface(this);
  Settings();
  matching_.ReadMatchingCFG(config_file_);
  service_host_ = ReadServiceHost(ports_.profile, config_file_);
  housekeeping_ = ReadHousekeepingRules(ports_.profile, config_file_);
  change_notification_ = ReadChangeNotification(ports_.profile, config_file_);
  log_.SetMaxBytes(static_cast<uint64_t>(housekeeping_.log_max_kb) * 1024);
}

kdZVInterface::~kdZVInterface() {
  change_watch_.reset();
  held_probe_timer_.reset();
  settings_form_.reset();
  if (sync_form_) {
    sync_form_->Unload();
    sync_form_.reset();
  }
  if (process::ActiveInterface() == this) process::SetActiveInterface(nullptr);
}

bool kdZVInterface::CheckLogAccess(std::string_view strLog, std::string& sErr) {
  return log_.CheckLogAccess(strLog, sErr);
}

void kdZVInterface::ShowSettings(intptr_t mOwner, bool bServiceSeitigerSync) {
  try {
    if (settings_dialog_ == nullptr) {
      WriteLogLine("(ShowSettings) -> " + std::string(kNoSettingsDialog));
      return;
    }
    if (settings_form_) {
      WriteLogLine("(ShowSettings) -> " + std::string(kSettingsDialogOpen));
      return;
    }
    if (in_sync_) {
      WriteLogLine("(ShowSettings) -> " + std::string(kSettingsDuringSync));
      return;
    }
    struct Unload {
      std::unique_ptr<frmSettings>& form;
      ~Unload() { form.reset(); }
    } unload{settings_form_};
    settings_form_ = std::make_unique<frmSettings>(*settings_dialog_, *this);
    settings_form_->SetServiceSeitigerSync(bServiceSeitigerSync);
    settings_form_->Fill(*Settings(), matching_.GetLastSessionID(config_file_));
    settings_form_->Show(mOwner);
    if (!settings_form_->bCancel()) {
      auto confirmed = std::make_shared<clZVSettings>(ports_.registry);
      settings_form_->ApplyTo(*confirmed);
      settings_ = std::move(confirmed);
    }
  } catch (...) {
    ReportCurrentError(kInterfaceModuleName, "ShowSettings", "");
  }
}

void kdZVInterface::ShowSettingsStatusMsg(std::string_view sMsg, int32_t nStyle) {
  try {
    if (!settings_form_) {
      WriteLogLine("(ShowSettingsStatusMsg) -> " + std::string(kNoSettingsDialogOpen) + " " +
                   std::string(sMsg));
      return;
    }
    settings_form_->ShowStatusMsg(sMsg, nStyle);
  } catch (...) {
    ReportCurrentError(kInterfaceModuleName, "ShowSettingsStatusMsg", "");
  }
}

void kdZVInterface::EinstellungenAmServiceValidieren(std::string& s01UploadDir,
                                                     std::string& s02DownloadDir,
                                                     std::string& s03AblageDir,
                                                     std::string& sErrMsg) {
  host_.EinstellungenAmServiceValidieren(s01UploadDir, s02DownloadDir, s03AblageDir, sErrMsg);
}

void kdZVInterface::ZentavoSyncTesten() {
  if (!settings_form_) return;
  // The dialog's fields, not yet confirmed: never written to the store.
  std::shared_ptr<clZVSettings> fields = settings_form_->FieldsAsSettings(ports_.registry);
  host_.ZentavoSyncTesten(fields);
}

std::shared_ptr<clZVSettings> kdZVInterface::Settings() {
  if (!settings_) {
    // Kept before it is read: a value that fails to read is reported through
    // this object's log, which asks for the settings again and must find
    // these (not make new ones, which would report the same value again).
    settings_ = std::make_shared<clZVSettings>(ports_.registry, clZVSettings::Unread{});
    const std::shared_ptr<clZVSettings> reading = settings_;
    reading->Load();
  }
  return settings_;
}

void kdZVInterface::SetSettings(std::shared_ptr<clZVSettings> settings) {
  settings_ = std::move(settings);
}

std::shared_ptr<kdZVTermin> kdZVInterface::CreateKdZVTermin() {
  return std::make_shared<kdZVTermin>();
}

void kdZVInterface::TestDownFile(std::string_view strFile) {
  kdzv::TestDownFile(strFile, ports_.xml_parser, ports_.file_system, service_host_);
}

std::string kdZVInterface::ConvertLocalToZentavoDateTime(DateTime dLocalDate) {
  return modDateTimeConvert::ConvertLocalToZentavoDateTime(dLocalDate, ports_.time_zone);
}

DateTime kdZVInterface::ConvertZentavoToLocalDateTime(std::string_view strDTString) {
  return modDateTimeConvert::ConvertZentavoToLocalDateTime(strDTString, ports_.time_zone);
}

int32_t kdZVInterface::TestFireOpeningTimes() {
  try {
    auto belegungen = std::make_shared<kdZVBelegungen>();
    int32_t retVal = 0;
    host_.OnQueryOpeningTime(belegungen, retVal);
    return retVal;
  } catch (...) {
    ReportCurrentError(kInterfaceModuleName, "TestFireOpeningTimes", "");
    return 0;
  }
}

void kdZVInterface::WriteLogLine(std::string_view text) {
  const std::shared_ptr<clZVSettings> settings = Settings();
  log_.Write(settings->DoLog(), text);
}

void kdZVInterface::OnLog(const std::string& strText) {
  std::string info = strText;
  host_.OnSyncLog(info);
  WriteLogLine("[SyncForm_OnLog] " + strText);
}

void kdZVInterface::Info(const std::string& text) {
  if (sync_form_) sync_form_->ShowStatusMsg(text, msgbox::kInformation);
}

void kdZVInterface::Warn(const std::string& text) {
  if (sync_form_) sync_form_->ShowStatusMsg(text, msgbox::kExclamation);
}

void kdZVInterface::LogAndShow(const std::string& text) {
  WriteLogLine(text);
  Info(text);
}

std::unique_ptr<clZVUpDownFile> kdZVInterface::NewMessage() {
  return std::make_unique<clZVUpDownFile>(ports_.xml_parser, ports_.file_system, service_host_);
}

}  // namespace kdzv
