#include "platform/win32/dialog_keys.h"

namespace kdzv::win32 {

bool IsInWindow(HWND window, HWND target) {
  return window != nullptr && target != nullptr &&
         (target == window || ::IsChild(window, target) != FALSE);
}

void MoveDialogFocus(HWND window, WPARAM wparam, LPARAM lparam) {
  HWND target = nullptr;
  if (LOWORD(lparam) != 0) {
    target = reinterpret_cast<HWND>(wparam);
  } else {
    HWND focus = ::GetFocus();
    if (!IsInWindow(window, focus) || focus == window) focus = nullptr;
    target = ::GetNextDlgTabItem(window, focus, wparam != 0 ? TRUE : FALSE);
  }
  if (target == nullptr || !IsInWindow(window, target)) return;
  const LRESULT code = ::SendMessageW(target, WM_GETDLGCODE, 0, 0);
  if ((code & DLGC_HASSETSEL) != 0) ::SendMessageW(target, EM_SETSEL, 0, -1);
  ::SetFocus(target);
}

void FocusKeeper::OnActivate(HWND window, WPARAM wparam, HWND first) {
  if (LOWORD(wparam) == WA_INACTIVE) {
    HWND focus = ::GetFocus();
    if (IsInWindow(window, focus) && focus != window) last_ = focus;
    return;
  }
  if (::IsIconic(window)) return;
  HWND target = IsInWindow(window, last_) && ::IsWindowVisible(last_) ? last_ : first;
  if (target != nullptr) ::SetFocus(target);
}

}  // namespace kdzv::win32
