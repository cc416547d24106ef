// Keys as the keyboard gives them, posted into the thread's queue: the
// window's own loop (the dialog's modal loop, the wait's pump) takes them
// through the dialog manager as it takes real keys.
#ifndef KDZV_TESTS_COM_HOST_KEYBOARD_H_
#define KDZV_TESTS_COM_HOST_KEYBOARD_H_

#include <windows.h>

#include <string>

namespace kdzv::host {

// A key pressed and let go (WM_KEYDOWN, WM_KEYUP) on the control that has
// the focus.
void PressKey(UINT virtual_key);
// Alt with a letter (WM_SYSKEYDOWN, which TranslateMessage turns into the
// WM_SYSCHAR of an access key).
void PressAltKey(wchar_t letter);
// The id of the control that has the focus (0 for none).
int FocusedId();
// `text` without the "&" of access keys ("&&" stays one "&").
std::wstring WithoutAccessKeys(const std::wstring& text);

}  // namespace kdzv::host

#endif  // KDZV_TESTS_COM_HOST_KEYBOARD_H_
