// The ports of the settings dialog: its view (texts, checks, the list's
// index, visibility, the up-down control, a modal show and hide, message
// boxes owned by the dialog) and the shell's folder selection. On Windows
// they are a real dialog; tests use a recording fake.
#ifndef KDZV_SETTINGS_DIALOG_PORTS_H_
#define KDZV_SETTINGS_DIALOG_PORTS_H_

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace kdzv {

// The controls of the dialog that the controller reaches. The three folder
// boxes and browse buttons are arrays in the design (index 0 download,
// 1 upload, 2 depot).
enum class SettingsControl {
  kTxtFolder0,
  kTxtFolder1,
  kTxtFolder2,
  kCmdBrowse0,
  kCmdBrowse1,
  kCmdBrowse2,
  kLblTimeoutTitle,
  kTxtTimeoutSeconds,
  kUpdTimeoutSeconds,
  kLblSessionPrefixTitle,
  kTxtSessionPrefix,
  kLblPatIdent,
  kCmbPatIdent,
  kLblSystemName,
  kTxtSystemName,
  kChkSlowSync,
  kChkLog,
  kTxtSessionID,
  kCmdSyncTesten,
  kCmdOk,
  kCmdCancel,
};

inline SettingsControl FolderBox(int index) {
  return static_cast<SettingsControl>(static_cast<int>(SettingsControl::kTxtFolder0) + index);
}
inline SettingsControl BrowseButton(int index) {
  return static_cast<SettingsControl>(static_cast<int>(SettingsControl::kCmdBrowse0) + index);
}

// What the view reports to the controller.
class SettingsDialogInput {
 public:
  virtual ~SettingsDialogInput() = default;
  virtual void BrowseClicked(int index) = 0;
  // The user leaves the time-out box.
  virtual void TimeoutValidate() = 0;
  virtual void OkClicked() = 0;
  virtual void CancelClicked() = 0;
  // The close box: carried out as the cancel button.
  virtual void CloseRequested() = 0;
  virtual void SyncTestenClicked() = 0;
};

class SettingsDialogView {
 public:
  virtual ~SettingsDialogView() = default;
  virtual void SetText(SettingsControl control, std::string_view text) = 0;
  virtual std::string Text(SettingsControl control) const = 0;
  virtual void SetChecked(SettingsControl control, bool checked) = 0;
  virtual bool Checked(SettingsControl control) const = 0;
  virtual void AddListItem(SettingsControl control, std::string_view text) = 0;
  // -1: no entry selected.
  virtual void SetListIndex(SettingsControl control, int index) = 0;
  virtual int ListIndex(SettingsControl control) const = 0;
  virtual void SetVisible(SettingsControl control, bool visible) = 0;
  virtual bool Visible(SettingsControl control) const = 0;
  virtual void SetReadOnly(SettingsControl control, bool read_only) = 0;
  // The up-down control of the time-out box.
  virtual void SetUpDownRange(int16_t minimum, int16_t maximum) = 0;
  virtual void SetUpDownValue(int16_t value) = 0;
  virtual int16_t UpDownValue() const = 0;
  // Shows the dialog modally, owned by `owner` (0 for none), and returns
  // when it has been hidden.
  virtual void ShowModal(intptr_t owner) = 0;
  virtual void Hide() = 0;
  // A message box owned by the dialog (style: the host's message-box
  // values); the button pressed.
  virtual int32_t ShowMessage(std::string_view text, int32_t style) = 0;
};

// The shell's folder selection: the chosen folder, or "" when cancelled.
class FolderPicker {
 public:
  virtual ~FolderPicker() = default;
  virtual std::string PickFolder(std::string_view prompt, const std::string& start) = 0;
};

// Makes the dialog's parts on this platform.
class SettingsDialogPlatform {
 public:
  virtual ~SettingsDialogPlatform() = default;
  // `input` outlives the view.
  virtual std::unique_ptr<SettingsDialogView> CreateView(SettingsDialogInput& input) = 0;
  virtual FolderPicker& Folders() = 0;
};

}  // namespace kdzv

#endif  // KDZV_SETTINGS_DIALOG_PORTS_H_
