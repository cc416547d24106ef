#include "keyboard.h"

namespace kdzv::host {
namespace {

LPARAM KeyData(UINT virtual_key, bool up, bool alt) {
  const UINT scan = ::MapVirtualKeyW(virtual_key, MAPVK_VK_TO_VSC);
  LPARAM data = 1 | (static_cast<LPARAM>(scan & 0xFF) << 16);
  if (alt) data |= LPARAM{1} << 29;
  if (up) data |= (LPARAM{1} << 30) | (LPARAM{1} << 31);
  return data;
}

HWND Target() {
  HWND focus = ::GetFocus();
  return focus != nullptr ? focus : ::GetActiveWindow();
}

}  // namespace

void PressKey(UINT virtual_key) {
  HWND target = Target();
  ::PostMessageW(target, WM_KEYDOWN, virtual_key, KeyData(virtual_key, false, false));
  ::PostMessageW(target, WM_KEYUP, virtual_key, KeyData(virtual_key, true, false));
}

void PressAltKey(wchar_t letter) {
  HWND target = Target();
  const UINT virtual_key = static_cast<UINT>(::VkKeyScanW(letter) & 0xFF);
  ::PostMessageW(target, WM_SYSKEYDOWN, virtual_key, KeyData(virtual_key, false, true));
  ::PostMessageW(target, WM_SYSKEYUP, virtual_key, KeyData(virtual_key, true, true));
}

int FocusedId() {
  HWND focus = ::GetFocus();
  return focus != nullptr ? ::GetDlgCtrlID(focus) : 0;
}

std::wstring WithoutAccessKeys(const std::wstring& text) {
  std::wstring plain;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == L'&' && i + 1 < text.size()) ++i;
    plain += text[i];
  }
  return plain;
}

}  // namespace kdzv::host
