// frmSettings: the settings dialog. It shows the settings in its controls,
// lets the user browse for the three folders, checks the input on OK in the
// server-side mode (system name given, folders confirmed by the host at the
// service), and raises its two events to its owner (the interface object).
// It knows nothing of the registry: the owner fills it and reads it back.
//
// Decisions of this dialog:
// - The folders reach the host by their meaning: upload, download, depot
//   (txtFolder 1, 0, 2).
// - txtSessionID is read-only: a lowered session number would reuse file
//   names that the depot already holds.
// - The up-down control of the time-out runs from kTimeoutMinimum to
//   kTimeoutMaximum seconds. A stored time-out outside that range is shown
//   as it is; OK stores the stored value while the box still shows it, and
//   otherwise the up-down's value (the last valid number the user entered).
// - A stored PatIdentKriterium outside the list selects no entry; OK keeps
//   the stored value while no entry is selected.
#ifndef KDZV_SETTINGS_FRM_SETTINGS_H_
#define KDZV_SETTINGS_FRM_SETTINGS_H_

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "settings/dialog_ports.h"
#include "settings/registry_backend.h"
#include "settings/zv_settings.h"

namespace kdzv {

// The dialog's events, raised to its owner.
class SettingsDialogEvents {
 public:
  virtual ~SettingsDialogEvents() = default;
  // The folders are to be checked (and made) at the service; `sErrMsg` is
  // "OK" when they were, otherwise what went wrong.
  virtual void EinstellungenAmServiceValidieren(std::string& s01UploadDir,
                                                std::string& s02DownloadDir,
                                                std::string& s03AblageDir,
                                                std::string& sErrMsg) = 0;
  // The user asks for a test synchronisation with the dialog's fields.
  virtual void ZentavoSyncTesten() = 0;
};

class frmSettings : public SettingsDialogInput {
 public:
  static constexpr std::string_view kModule = "frmSettings";
  static constexpr std::string_view kCaption = "Schnittstellen-Einstellungen für Zentavo";
  static constexpr int16_t kTimeoutMinimum = 1;
  static constexpr int16_t kTimeoutMaximum = 3600;

  // Creates the view and loads the list of cmbPatIdent.
  frmSettings(SettingsDialogPlatform& platform, SettingsDialogEvents& owner);
  ~frmSettings() override;

  // The mode: true shows the fields of the server-side synchronisation and
  // hides SlowSync and the browse buttons; false the reverse.
  void SetServiceSeitigerSync(bool value);
  bool ServiceSeitigerSync() const { return service_side_; }

  // Puts `settings` and the session number into the controls.
  void Fill(const clZVSettings& settings, int32_t session_id);
  // Shows the dialog modally; returns when it was confirmed or cancelled.
  void Show(intptr_t owner);
  // Whether the dialog was left without confirming.
  bool bCancel() const { return cancelled_; }
  // Writes the dialog's fields to `settings` (each setter writes through
  // to the store that `settings` lives on).
  void ApplyTo(clZVSettings& settings) const;
  // The dialog's fields as a settings object that keeps them to itself:
  // reading goes to `store`, writing never does.
  std::shared_ptr<clZVSettings> FieldsAsSettings(RegistryBackend& store) const;

  // A message box over the dialog (ShowSettingsStatusMsg).
  void ShowStatusMsg(std::string_view sMsg, int32_t nStyle);

  // SettingsDialogInput.
  void BrowseClicked(int index) override;
  void TimeoutValidate() override;
  void OkClicked() override;
  void CancelClicked() override;
  void CloseRequested() override;
  void SyncTestenClicked() override;

  SettingsDialogView& View() { return *view_; }

 private:
  void Accept();
  int16_t TimeoutToStore() const;
  int16_t PatIdentToStore() const;

  SettingsDialogPlatform& platform_;
  SettingsDialogEvents& owner_;
  std::unique_ptr<SettingsDialogView> view_;
  bool service_side_ = false;
  bool cancelled_ = true;
  std::string filled_timeout_text_;
  int16_t stored_timeout_ = 60;
  int16_t stored_pat_ident_ = 0;
};

}  // namespace kdzv

#endif  // KDZV_SETTINGS_FRM_SETTINGS_H_
