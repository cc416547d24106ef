#include "message_boxes.h"

namespace kdzv::host {
namespace {

MessageBoxAnswerer* g_active = nullptr;

// The longest static text of a dialog: a message box's message.
BOOL CALLBACK CollectText(HWND child, LPARAM found) {
  wchar_t class_name[32] = {};
  ::GetClassNameW(child, class_name, 32);
  if (::lstrcmpiW(class_name, L"Static") != 0) return TRUE;
  wchar_t text[4096] = {};
  ::GetWindowTextW(child, text, 4096);
  auto* longest = reinterpret_cast<std::wstring*>(found);
  if (::lstrlenW(text) > static_cast<int>(longest->size())) *longest = text;
  return TRUE;
}

bool HasButton(HWND dialog, int id) { return ::GetDlgItem(dialog, id) != nullptr; }

}  // namespace

MessageBoxAnswerer::MessageBoxAnswerer(int yes_no_answer) : yes_no_answer_(yes_no_answer) {
  g_active = this;
  hook_ = ::SetWindowsHookExW(WH_CBT, Hook, nullptr, ::GetCurrentThreadId());
}

MessageBoxAnswerer::~MessageBoxAnswerer() {
  if (hook_ != nullptr) ::UnhookWindowsHookEx(hook_);
  g_active = nullptr;
}

LRESULT CALLBACK MessageBoxAnswerer::Hook(int code, WPARAM wparam, LPARAM lparam) {
  if (code == HCBT_ACTIVATE && g_active != nullptr) {
    HWND window = reinterpret_cast<HWND>(wparam);
    wchar_t class_name[16] = {};
    ::GetClassNameW(window, class_name, 16);
    bool seen = false;
    for (HWND answered : g_active->answered_) seen = seen || answered == window;
    if (!seen && ::lstrcmpW(class_name, L"#32770") == 0) {
      g_active->answered_.push_back(window);
      std::wstring text;
      ::EnumChildWindows(window, CollectText, reinterpret_cast<LPARAM>(&text));
      g_active->texts_.push_back(text);
      const int answer =
          HasButton(window, IDYES) ? g_active->yes_no_answer_ : g_active->other_answer_;
      ::PostMessageW(window, WM_COMMAND, MAKEWPARAM(answer, BN_CLICKED), 0);
    }
  }
  return ::CallNextHookEx(nullptr, code, wparam, lparam);
}

}  // namespace kdzv::host
