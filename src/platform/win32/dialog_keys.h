// Keyboard and focus handling that the library's own windows (the sync
// window and the settings dialog) share. They are windows of their own
// classes, not dialogs of the system: IsDialogMessage moves the focus with
// Tab and sends IDOK/IDCANCEL for them, and these helpers give them what a
// dialog's default procedure would add (WM_NEXTDLGCTL, the focus kept across
// deactivation).
#ifndef KDZV_PLATFORM_WIN32_DIALOG_KEYS_H_
#define KDZV_PLATFORM_WIN32_DIALOG_KEYS_H_

#include <windows.h>

namespace kdzv::win32 {

// True when `target` is `window` or one of its children.
bool IsInWindow(HWND window, HWND target);

// WM_NEXTDLGCTL for `window`: lparam != 0 gives the control in wparam,
// otherwise the next (wparam == 0) or previous tab stop after the focus.
// The access key of a label and a multi-line edit's Tab arrive this way.
// An edit that gets the focus has its text selected, as in a dialog.
void MoveDialogFocus(HWND window, WPARAM wparam, LPARAM lparam);

// The control that had the focus when the window was deactivated gets it
// back when the window is activated again; `first` when there was none.
class FocusKeeper {
 public:
  // For WM_ACTIVATE; always handled (the window's own procedure returns 0).
  void OnActivate(HWND window, WPARAM wparam, HWND first);
  void Forget() { last_ = nullptr; }

 private:
  HWND last_ = nullptr;
};

}  // namespace kdzv::win32

#endif  // KDZV_PLATFORM_WIN32_DIALOG_KEYS_H_
