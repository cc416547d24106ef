// The settings dialog of Windows: a window of the library with every
// control of the dialog (font Tahoma), shown modally to the host's window,
// the up-down control bound to its text box, the shell's folder browser for
// the browse buttons, and message boxes owned by the dialog.
//
// The control ids are fixed (a host's automation may look for them): see
// kSettingsControlIds in the .cc file and docs/settings-dialog.md.
#ifndef KDZV_PLATFORM_WIN32_WIN32_SETTINGS_DIALOG_H_
#define KDZV_PLATFORM_WIN32_WIN32_SETTINGS_DIALOG_H_

#include <windows.h>

#include <memory>
#include <string>

#include "settings/dialog_ports.h"

namespace kdzv::win32 {

inline constexpr wchar_t kSettingsDialogClassName[] = L"kdZentavoSettingsDialog";

// The id of `control` in the dialog window.
int SettingsControlId(SettingsControl control);

// The shell's folder browser, owned by the active window of the thread.
class Win32FolderPicker : public FolderPicker {
 public:
  std::string PickFolder(std::string_view prompt, const std::string& start) override;
};

class Win32SettingsDialogPlatform : public SettingsDialogPlatform {
 public:
  std::unique_ptr<SettingsDialogView> CreateView(SettingsDialogInput& input) override;
  FolderPicker& Folders() override { return picker_; }

 private:
  Win32FolderPicker picker_;
};

// Unregisters the dialog's window class (before the DLL unloads); false
// while a dialog is open.
bool UnregisterSettingsDialogClass();

}  // namespace kdzv::win32

#endif  // KDZV_PLATFORM_WIN32_WIN32_SETTINGS_DIALOG_H_
