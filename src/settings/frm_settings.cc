#include "settings/frm_settings.h"

#include <string>
#include <utility>

#include "interface/error_report.h"
#include "interface/user_interface.h"
#include "settings/overlay_registry.h"
#include "util/vb_convert.h"

namespace kdzv {
namespace {

constexpr std::string_view kPatIdentEntries[] = {"Name, Vorname, Geb.-dat.",
                                                 "Name, Vorname, Geb.-dat., Ort"};
constexpr std::string_view kBrowsePrompts[] = {"Bitte wählen Sie das Downloadverzeichnis aus.",
                                               "Bitte wählen Sie das Uploadverzeichnis aus.",
                                               "Bitte wählen Sie das Ablageverzeichnis aus."};
constexpr std::string_view kSystemNameMissing =
    "Bitte geben Sie den Systemnamen ein.\r\n"
    "Den Systemnamen finden Sie in den Einstellungen des ZVSync-Zentavo "
    "Synchronisationsagenten.";
constexpr std::string_view kFoldersRefusedHead =
    "Mindestens ein Verzeichnis konnte nicht erstellt werden.\r\n\r\n";
constexpr std::string_view kFoldersRefusedTail =
    "\r\n\r\nBitte beachten Sie, dass die Verzeichnisse auf dem Rechner des Termin-Services "
    "angelegt werden.";

// The controls of the server-side mode; the others of the normal mode.
constexpr SettingsControl kServiceSideControls[] = {
    SettingsControl::kLblSystemName,        SettingsControl::kTxtSystemName,
    SettingsControl::kLblSessionPrefixTitle, SettingsControl::kTxtSessionPrefix,
    SettingsControl::kLblPatIdent,          SettingsControl::kCmbPatIdent,
    SettingsControl::kLblTimeoutTitle,      SettingsControl::kTxtTimeoutSeconds,
    SettingsControl::kUpdTimeoutSeconds,    SettingsControl::kCmdSyncTesten};
constexpr SettingsControl kLocalControls[] = {
    SettingsControl::kChkSlowSync, SettingsControl::kCmdBrowse0, SettingsControl::kCmdBrowse1,
    SettingsControl::kCmdBrowse2};

// A settings object on a store of its own that reads through to another.
struct DetachedSettings {
  explicit DetachedSettings(RegistryBackend& below) : overlay(below), settings(overlay) {}
  OverlayRegistry overlay;
  clZVSettings settings;
};

}  // namespace

frmSettings::frmSettings(SettingsDialogPlatform& platform, SettingsDialogEvents& owner)
    : platform_(platform), owner_(owner) {
  view_ = platform.CreateView(*this);
  for (std::string_view entry : kPatIdentEntries) {
    view_->AddListItem(SettingsControl::kCmbPatIdent, entry);
  }
  view_->SetUpDownRange(kTimeoutMinimum, kTimeoutMaximum);
  view_->SetReadOnly(SettingsControl::kTxtSessionID, true);
  SetServiceSeitigerSync(false);
}

frmSettings::~frmSettings() = default;

void frmSettings::SetServiceSeitigerSync(bool value) {
  try {
    service_side_ = value;
    for (SettingsControl control : kServiceSideControls) view_->SetVisible(control, value);
    for (SettingsControl control : kLocalControls) view_->SetVisible(control, !value);
  } catch (...) {
    ReportCurrentError(kModule, "bServiceSeitigerSync", "");
  }
}

void frmSettings::Fill(const clZVSettings& settings, int32_t session_id) {
  try {
    view_->SetText(SettingsControl::kTxtFolder0, settings.DownloadPath());
    view_->SetText(SettingsControl::kTxtFolder1, settings.UploadPath());
    view_->SetText(SettingsControl::kTxtFolder2, settings.AblagePath());
    view_->SetText(SettingsControl::kTxtSessionPrefix, settings.FilePraefix());
    view_->SetText(SettingsControl::kTxtSystemName, settings.SystemName());
    view_->SetChecked(SettingsControl::kChkSlowSync, settings.SlowSync());
    view_->SetChecked(SettingsControl::kChkLog, settings.DoLog());
    view_->SetText(SettingsControl::kTxtSessionID, std::to_string(session_id));

    stored_pat_ident_ = settings.PatIdentKriterium();
    const bool listed = stored_pat_ident_ >= 0 && stored_pat_ident_ < 2;
    view_->SetListIndex(SettingsControl::kCmbPatIdent, listed ? stored_pat_ident_ : -1);

    stored_timeout_ = settings.TimeoutSeconds();
    filled_timeout_text_ = std::to_string(stored_timeout_);
    const int16_t shown = stored_timeout_ < kTimeoutMinimum   ? kTimeoutMinimum
                          : stored_timeout_ > kTimeoutMaximum ? kTimeoutMaximum
                                                              : stored_timeout_;
    view_->SetUpDownValue(shown);
    // Set after the up-down, which may write its own value into the box.
    view_->SetText(SettingsControl::kTxtTimeoutSeconds, filled_timeout_text_);
  } catch (...) {
    ReportCurrentError(kModule, "Fill", "");
  }
}

void frmSettings::Show(intptr_t owner) {
  try {
    cancelled_ = true;  // until OK says otherwise
    view_->ShowModal(owner);
  } catch (...) {
    ReportCurrentError(kModule, "Show", "");
  }
}

void frmSettings::ApplyTo(clZVSettings& settings) const {
  settings.SetDownloadPath(view_->Text(SettingsControl::kTxtFolder0));
  settings.SetUploadPath(view_->Text(SettingsControl::kTxtFolder1));
  settings.SetAblagePath(view_->Text(SettingsControl::kTxtFolder2));
  settings.SetFilePraefix(view_->Text(SettingsControl::kTxtSessionPrefix));
  settings.SetSystemName(view_->Text(SettingsControl::kTxtSystemName));
  settings.SetSlowSync(view_->Checked(SettingsControl::kChkSlowSync));
  settings.SetDoLog(view_->Checked(SettingsControl::kChkLog));
  settings.SetTimeoutSeconds(TimeoutToStore());
  settings.SetPatIdentKriterium(PatIdentToStore());
}

std::shared_ptr<clZVSettings> frmSettings::FieldsAsSettings(RegistryBackend& store) const {
  auto detached = std::make_shared<DetachedSettings>(store);
  ApplyTo(detached->settings);
  return std::shared_ptr<clZVSettings>(detached, &detached->settings);
}

int16_t frmSettings::TimeoutToStore() const {
  if (view_->Text(SettingsControl::kTxtTimeoutSeconds) == filled_timeout_text_) {
    return stored_timeout_;
  }
  return view_->UpDownValue();
}

int16_t frmSettings::PatIdentToStore() const {
  const int index = view_->ListIndex(SettingsControl::kCmbPatIdent);
  return index < 0 ? stored_pat_ident_ : static_cast<int16_t>(index);
}

void frmSettings::ShowStatusMsg(std::string_view sMsg, int32_t nStyle) {
  try {
    view_->ShowMessage(sMsg, nStyle);
  } catch (...) {
    ReportCurrentError(kModule, "ShowStatusMsg", "");
  }
}

void frmSettings::BrowseClicked(int index) {
  try {
    if (index < 0 || index > 2) return;  // only the three folders have a prompt
    const SettingsControl box = FolderBox(index);
    const std::string picked =
        platform_.Folders().PickFolder(kBrowsePrompts[index], view_->Text(box));
    if (!picked.empty()) view_->SetText(box, picked);
  } catch (...) {
    ReportCurrentError(kModule, "cmdBrowse_Click", "Index=" + std::to_string(index));
  }
}

void frmSettings::TimeoutValidate() {
  const std::string text = view_->Text(SettingsControl::kTxtTimeoutSeconds);
  try {
    const int16_t value = ToInteger(text);
    if (value >= kTimeoutMinimum && value <= kTimeoutMaximum) view_->SetUpDownValue(value);
  } catch (...) {
    // Not a number (or not one of 16 bits): the up-down keeps its value.
    ReportCurrentError(kModule, "txtTimeoutSeconds_Validate", "Text=" + text);
  }
}

void frmSettings::OkClicked() {
  try {
    if (view_->Text(SettingsControl::kTxtTimeoutSeconds) != filled_timeout_text_) {
      TimeoutValidate();
    }
    if (!service_side_) {
      Accept();
      return;
    }
    if (view_->Text(SettingsControl::kTxtSystemName).empty()) {
      view_->ShowMessage(kSystemNameMissing, msgbox::kOkOnly | msgbox::kExclamation);
      return;
    }
    std::string upload = view_->Text(SettingsControl::kTxtFolder1);
    std::string download = view_->Text(SettingsControl::kTxtFolder0);
    std::string depot = view_->Text(SettingsControl::kTxtFolder2);
    std::string result;
    owner_.EinstellungenAmServiceValidieren(upload, download, depot, result);
    if (result == "OK") {
      Accept();
      return;
    }
    view_->ShowMessage(std::string(kFoldersRefusedHead) + result + std::string(kFoldersRefusedTail),
                       msgbox::kOkOnly | msgbox::kExclamation);
  } catch (...) {
    ReportCurrentError(kModule, "cmdOk_Click", "");
  }
}

void frmSettings::Accept() {
  cancelled_ = false;
  view_->Hide();
}

void frmSettings::CancelClicked() {
  try {
    cancelled_ = true;
    view_->Hide();
  } catch (...) {
    ReportCurrentError(kModule, "cmdCancel_Click", "");
  }
}

void frmSettings::CloseRequested() { CancelClicked(); }

void frmSettings::SyncTestenClicked() {
  try {
    owner_.ZentavoSyncTesten();
  } catch (...) {
    ReportCurrentError(kModule, "cmdSyncTesten_Click", "");
  }
}

}  // namespace kdzv
