#include "platform/win32/win32_settings_dialog.h"

#include <commctrl.h>
#include <shlobj.h>

#include <map>
#include <string_view>
#include <vector>

#include "platform/win32/guarded_window_proc.h"
#include "platform/win32/library_windows.h"
#include "platform/win32/wide_text.h"
#include "platform/win32/win32_sync_window.h"
#include "settings/frm_settings.h"

namespace kdzv::win32 {
namespace {

using C = SettingsControl;

struct ControlIds {
  C control;
  int id;
};

// The dialog's controls and their fixed ids.
constexpr ControlIds kSettingsControlIds[] = {
    {C::kTxtFolder0, 1100},           {C::kTxtFolder1, 1101},
    {C::kTxtFolder2, 1102},           {C::kCmdBrowse0, 1110},
    {C::kCmdBrowse1, 1111},           {C::kCmdBrowse2, 1112},
    {C::kLblTimeoutTitle, 1120},      {C::kTxtTimeoutSeconds, 1121},
    {C::kUpdTimeoutSeconds, 1122},    {C::kLblSessionPrefixTitle, 1130},
    {C::kTxtSessionPrefix, 1131},     {C::kLblPatIdent, 1140},
    {C::kCmbPatIdent, 1141},          {C::kLblSystemName, 1150},
    {C::kTxtSystemName, 1151},        {C::kChkSlowSync, 1160},
    {C::kChkLog, 1161},               {C::kTxtSessionID, 1170},
    {C::kCmdSyncTesten, 1180},        {C::kCmdOk, IDOK},
    {C::kCmdCancel, IDCANCEL},
};

// The labels that only show text (no control of the controller's).
struct Label {
  int x, y, width;
  const char* text;
};
constexpr Label kLabels[] = {
    {12, 14, 150, "Download-Verzeichnis:"},
    {170, 38, 360, "In diesem Verzeichnis werden Daten von Zentavo für Halvex abgelegt."},
    {12, 66, 150, "Upload-Verzeichnis:"},
    {170, 90, 360, "In diesem Verzeichnis werden Daten von Halvex für Zentavo abgelegt."},
    {12, 118, 150, "Ablage-Verzeichnis:"},
    {170, 142, 360, "In diesem Verzeichnis werden die verarbeiteten Dateien abgelegt."},
    {300, 292, 80, "Session-ID:"},
};

constexpr int kWidth = 560;
constexpr int kHeight = 390;

HFONT DialogFont() {
  static HFONT font = [] {
    HDC screen = ::GetDC(nullptr);
    const int height = -::MulDiv(8, ::GetDeviceCaps(screen, LOGPIXELSY), 72);
    ::ReleaseDC(nullptr, screen);
    return ::CreateFontW(height, 0, 0, 0, FW_NORMAL, FALSE, FALSE, FALSE, DEFAULT_CHARSET,
                         OUT_DEFAULT_PRECIS, CLIP_DEFAULT_PRECIS, DEFAULT_QUALITY,
                         DEFAULT_PITCH | FF_DONTCARE, L"Tahoma");
  }();
  return font;
}

bool g_class_registered = false;

class Win32SettingsDialogView : public SettingsDialogView {
 public:
  explicit Win32SettingsDialogView(SettingsDialogInput& input) : input_(input) {
    RegisterClassOnce();
    const std::wstring caption = Widen(frmSettings::kCaption);
    RECT frame = {0, 0, kWidth, kHeight};
    const DWORD style = WS_POPUP | WS_CAPTION | WS_SYSMENU | WS_CLIPCHILDREN;
    ::AdjustWindowRectEx(&frame, style, FALSE, WS_EX_DLGMODALFRAME);
    window_ = ::CreateWindowExW(WS_EX_DLGMODALFRAME | WS_EX_CONTROLPARENT,
                                kSettingsDialogClassName, caption.c_str(), style, CW_USEDEFAULT,
                                CW_USEDEFAULT, frame.right - frame.left, frame.bottom - frame.top,
                                nullptr, nullptr, OwnModule(), this);
    if (window_ == nullptr) return;
    MakeControls();
  }

  // Only a window that is still ours is destroyed: one destroyed from
  // outside (with its owner) is gone, and its handle may name another
  // window by now.
  ~Win32SettingsDialogView() override {
    if (window_ != nullptr) {
      HWND window = window_;
      Detach();
      ::DestroyWindow(window);
    }
  }

  void SetText(SettingsControl control, std::string_view text) override {
    ::SetWindowTextW(Control(control), Widen(text).c_str());
  }
  std::string Text(SettingsControl control) const override {
    HWND handle = Control(control);
    const int length = ::GetWindowTextLengthW(handle);
    std::wstring text(static_cast<size_t>(length) + 1, L'\0');
    const int got = ::GetWindowTextW(handle, text.data(), length + 1);
    text.resize(static_cast<size_t>(got < 0 ? 0 : got));
    return Narrow(text);
  }
  void SetChecked(SettingsControl control, bool checked) override {
    ::SendMessageW(Control(control), BM_SETCHECK, checked ? BST_CHECKED : BST_UNCHECKED, 0);
  }
  bool Checked(SettingsControl control) const override {
    return ::SendMessageW(Control(control), BM_GETCHECK, 0, 0) == BST_CHECKED;
  }
  void AddListItem(SettingsControl control, std::string_view text) override {
    ::SendMessageW(Control(control), CB_ADDSTRING, 0,
                   reinterpret_cast<LPARAM>(Widen(text).c_str()));
  }
  void SetListIndex(SettingsControl control, int index) override {
    ::SendMessageW(Control(control), CB_SETCURSEL, static_cast<WPARAM>(index), 0);
  }
  int ListIndex(SettingsControl control) const override {
    const LRESULT index = ::SendMessageW(Control(control), CB_GETCURSEL, 0, 0);
    return index == CB_ERR ? -1 : static_cast<int>(index);
  }
  void SetVisible(SettingsControl control, bool visible) override {
    visible_[control] = visible;
    ::ShowWindow(Control(control), visible ? SW_SHOWNA : SW_HIDE);
  }
  bool Visible(SettingsControl control) const override {
    const auto found = visible_.find(control);
    return found == visible_.end() || found->second;
  }
  void SetReadOnly(SettingsControl control, bool read_only) override {
    ::SendMessageW(Control(control), EM_SETREADONLY, read_only ? TRUE : FALSE, 0);
  }
  void SetUpDownRange(int16_t minimum, int16_t maximum) override {
    ::SendMessageW(Control(C::kUpdTimeoutSeconds), UDM_SETRANGE32, minimum, maximum);
  }
  void SetUpDownValue(int16_t value) override {
    ::SendMessageW(Control(C::kUpdTimeoutSeconds), UDM_SETPOS32, 0, value);
  }
  int16_t UpDownValue() const override {
    BOOL failed = FALSE;
    const LRESULT value = ::SendMessageW(Control(C::kUpdTimeoutSeconds), UDM_GETPOS32, 0,
                                         reinterpret_cast<LPARAM>(&failed));
    return static_cast<int16_t>(value);
  }

  // The modal loop ends when the dialog is hidden, when WM_QUIT arrives,
  // or when the dialog's window is destroyed from outside (its owner went,
  // and took it along): the dialog is then left as cancelled, whatever was
  // pressed in it meanwhile, so that nothing of the lost fields is stored.
  void ShowModal(intptr_t owner) override {
    if (window_ == nullptr) return;
    destroyed_ = false;
    HWND owner_window = reinterpret_cast<HWND>(owner);
    if (owner_window != nullptr && !::IsWindow(owner_window)) owner_window = nullptr;
    ::SetWindowLongPtrW(window_, GWLP_HWNDPARENT, reinterpret_cast<LONG_PTR>(owner_window));
    CenterOver(owner_window);
    const bool owner_enabled = owner_window != nullptr && ::IsWindowEnabled(owner_window);
    if (owner_enabled) ::EnableWindow(owner_window, FALSE);
    shown_ = true;
    ::ShowWindow(window_, SW_SHOW);
    ::SetForegroundWindow(window_);
    MSG message;
    while (shown_) {
      const BOOL got = ::GetMessageW(&message, nullptr, 0, 0);
      if (got == 0) {
        // The host's program is ending: the dialog is left as cancelled and
        // the quit goes back to the host's loop.
        ::PostQuitMessage(static_cast<int>(message.wParam));
        input_.CancelClicked();
        break;
      }
      if (got < 0) break;
      if (!::IsDialogMessageW(window_, &message)) {
        ::TranslateMessage(&message);
        ::DispatchMessageW(&message);
      }
    }
    shown_ = false;
    const bool owner_alive = owner_window != nullptr && ::IsWindow(owner_window);
    if (owner_enabled && owner_alive) ::EnableWindow(owner_window, TRUE);
    if (destroyed_) {
      input_.CancelClicked();
      return;
    }
    ::ShowWindow(window_, SW_HIDE);
    if (owner_alive) ::SetActiveWindow(owner_window);
  }
  void Hide() override {
    shown_ = false;
    if (window_ != nullptr) ::ShowWindow(window_, SW_HIDE);
  }
  int32_t ShowMessage(std::string_view text, int32_t style) override {
    return ::MessageBoxW(window_, Widen(text).c_str(), Widen(frmSettings::kCaption).c_str(),
                         static_cast<UINT>(style));
  }

 private:
  static void RegisterClassOnce() {
    if (g_class_registered) return;
    INITCOMMONCONTROLSEX controls = {sizeof(controls), ICC_UPDOWN_CLASS | ICC_STANDARD_CLASSES};
    ::InitCommonControlsEx(&controls);
    WNDCLASSEXW window_class = {};
    window_class.cbSize = sizeof(window_class);
    window_class.lpfnWndProc = Procedure;
    window_class.hInstance = OwnModule();
    window_class.hCursor = ::LoadCursorW(nullptr, MAKEINTRESOURCEW(32512));  // IDC_ARROW
    window_class.hbrBackground = reinterpret_cast<HBRUSH>(COLOR_BTNFACE + 1);
    window_class.lpszClassName = kSettingsDialogClassName;
    g_class_registered = ::RegisterClassExW(&window_class) != 0 ||
                         ::GetLastError() == ERROR_CLASS_ALREADY_EXISTS;
  }

  static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
    return GuardedWindowProc("frmSettings", "WindowProc",
                             [&] { return ProcedureBody(window, message, wparam, lparam); });
  }

  static LRESULT ProcedureBody(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
    if (message == WM_NCCREATE) {
      auto* create = reinterpret_cast<CREATESTRUCTW*>(lparam);
      ::SetWindowLongPtrW(window, GWLP_USERDATA,
                          reinterpret_cast<LONG_PTR>(create->lpCreateParams));
      CountWindowMade(window);
    } else if (message == WM_NCDESTROY) {
      CountWindowGone(window);
    }
    auto* self =
        reinterpret_cast<Win32SettingsDialogView*>(::GetWindowLongPtrW(window, GWLP_USERDATA));
    if (self != nullptr) {
      switch (message) {
        case WM_NCDESTROY:
          // Destroyed from outside: the view lives on without a window.
          self->Detach();
          self->destroyed_ = true;
          self->shown_ = false;
          break;
        case WM_CLOSE:
          self->input_.CloseRequested();
          return 0;
        case WM_COMMAND:
          if (self->Command(LOWORD(wparam), HIWORD(wparam))) return 0;
          break;
        default:
          break;
      }
    }
    return ::DefWindowProcW(window, message, wparam, lparam);
  }

  bool Command(int id, int code) {
    if (id == SettingsControlId(C::kTxtTimeoutSeconds)) {
      if (code == EN_KILLFOCUS) input_.TimeoutValidate();
      return true;
    }
    if (code != BN_CLICKED) return false;
    for (int i = 0; i < 3; ++i) {
      if (id == SettingsControlId(BrowseButton(i))) {
        input_.BrowseClicked(i);
        return true;
      }
    }
    if (id == IDOK) {
      input_.OkClicked();
    } else if (id == IDCANCEL) {
      input_.CancelClicked();
    } else if (id == SettingsControlId(C::kCmdSyncTesten)) {
      input_.SyncTestenClicked();
    } else {
      return false;
    }
    return true;
  }

  HWND Make(const wchar_t* window_class, const std::wstring& text, DWORD style, int x, int y,
            int width, int height, int id) {
    HWND made = ::CreateWindowExW(0, window_class, text.c_str(), WS_CHILD | WS_VISIBLE | style, x,
                                  y, width, height, window_, reinterpret_cast<HMENU>(
                                      static_cast<INT_PTR>(id)), OwnModule(), nullptr);
    ::SendMessageW(made, WM_SETFONT, reinterpret_cast<WPARAM>(DialogFont()), TRUE);
    return made;
  }

  void Add(C control, const wchar_t* window_class, const std::wstring& text, DWORD style, int x,
           int y, int width, int height) {
    controls_[control] =
        Make(window_class, text, style, x, y, width, height, SettingsControlId(control));
  }

  void MakeControls() {
    for (const Label& label : kLabels) {
      Make(L"STATIC", Widen(label.text), SS_LEFT, label.x, label.y, label.width, 16, -1);
    }
    const DWORD edit = WS_BORDER | WS_TABSTOP | ES_AUTOHSCROLL;
    const DWORD button = WS_TABSTOP | BS_PUSHBUTTON;
    const std::wstring browse = L"Durchsuchen...";
    for (int i = 0; i < 3; ++i) {
      const int y = 12 + 52 * i;
      Add(FolderBox(i), L"EDIT", L"", edit, 170, y, 270, 20);
      Add(BrowseButton(i), L"BUTTON", browse, button, 448, y - 1, 100, 23);
    }
    Add(C::kLblTimeoutTitle, L"STATIC", Widen("Timeout in Sekunden: "), SS_LEFT, 12, 174, 150,
        16);
    Add(C::kTxtTimeoutSeconds, L"EDIT", L"", edit | ES_NUMBER, 170, 172, 70, 20);
    Add(C::kUpdTimeoutSeconds, UPDOWN_CLASSW, L"",
        UDS_SETBUDDYINT | UDS_ALIGNRIGHT | UDS_ARROWKEYS | UDS_NOTHOUSANDS, 0, 0, 0, 0);
    ::SendMessageW(Control(C::kUpdTimeoutSeconds), UDM_SETBUDDY,
                   reinterpret_cast<WPARAM>(Control(C::kTxtTimeoutSeconds)), 0);
    Add(C::kLblSessionPrefixTitle, L"STATIC", Widen("Session-Präfix: "), SS_LEFT, 12, 202, 150,
        16);
    Add(C::kTxtSessionPrefix, L"EDIT", L"", edit, 170, 200, 100, 20);
    Add(C::kLblPatIdent, L"STATIC", Widen("PatientenIdentifikation:"), SS_LEFT, 12, 230, 150, 16);
    Add(C::kCmbPatIdent, L"COMBOBOX", L"", WS_TABSTOP | WS_VSCROLL | CBS_DROPDOWNLIST, 170, 228,
        270, 120);
    Add(C::kLblSystemName, L"STATIC", Widen("Systemname: "), SS_LEFT, 12, 260, 150, 16);
    Add(C::kTxtSystemName, L"EDIT", L"", edit, 170, 258, 270, 20);
    Add(C::kChkSlowSync, L"BUTTON", Widen("'SlowSync' starten"), WS_TABSTOP | BS_AUTOCHECKBOX, 12,
        290, 150, 20);
    Add(C::kChkLog, L"BUTTON", Widen("Protokollierung"), WS_TABSTOP | BS_AUTOCHECKBOX, 170, 290,
        120, 20);
    Add(C::kTxtSessionID, L"EDIT", L"", edit, 380, 290, 80, 20);
    Add(C::kCmdSyncTesten, L"BUTTON", Widen("Synchronisation testen"), button, 12, 346, 170, 26);
    Add(C::kCmdOk, L"BUTTON", L"OK", button | BS_DEFPUSHBUTTON, 340, 346, 100, 26);
    Add(C::kCmdCancel, L"BUTTON", Widen("Abbruch"), button, 448, 346, 100, 26);
  }

  void CenterOver(HWND owner) {
    RECT area;
    if (owner != nullptr) {
      ::GetWindowRect(owner, &area);
    } else {
      ::SystemParametersInfoW(SPI_GETWORKAREA, 0, &area, 0);
    }
    RECT frame;
    ::GetWindowRect(window_, &frame);
    const int width = frame.right - frame.left;
    const int height = frame.bottom - frame.top;
    int x = area.left + (area.right - area.left - width) / 2;
    int y = area.top + (area.bottom - area.top - height) / 2;
    if (x < 0) x = 0;
    if (y < 0) y = 0;
    ::SetWindowPos(window_, nullptr, x, y, 0, 0, SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
  }

  // The window is no longer this view's: no message reaches the view, and
  // the handles of the window and its controls are forgotten.
  void Detach() {
    if (window_ != nullptr) ::SetWindowLongPtrW(window_, GWLP_USERDATA, 0);
    window_ = nullptr;
    controls_.clear();
  }

  HWND Control(SettingsControl control) const {
    const auto found = controls_.find(control);
    return found == controls_.end() ? nullptr : found->second;
  }

  SettingsDialogInput& input_;
  HWND window_ = nullptr;
  std::map<SettingsControl, HWND> controls_;
  std::map<SettingsControl, bool> visible_;
  bool shown_ = false;
  bool destroyed_ = false;  // from outside, while shown
};

int CALLBACK BrowseCallback(HWND window, UINT message, LPARAM, LPARAM start) {
  if (message == BFFM_INITIALIZED && start != 0) {
    ::SendMessageW(window, BFFM_SETSELECTIONW, TRUE, start);
  }
  return 0;
}

}  // namespace

int SettingsControlId(SettingsControl control) {
  for (const ControlIds& entry : kSettingsControlIds) {
    if (entry.control == control) return entry.id;
  }
  return -1;
}

std::string Win32FolderPicker::PickFolder(std::string_view prompt, const std::string& start) {
  const std::wstring title = Widen(prompt);
  const std::wstring first = Widen(start);
  BROWSEINFOW browse = {};
  browse.hwndOwner = ::GetActiveWindow();
  browse.lpszTitle = title.c_str();
  browse.ulFlags = BIF_RETURNONLYFSDIRS | BIF_NEWDIALOGSTYLE;
  browse.lpfn = BrowseCallback;
  browse.lParam = first.empty() ? 0 : reinterpret_cast<LPARAM>(first.c_str());
  PIDLIST_ABSOLUTE chosen = ::SHBrowseForFolderW(&browse);
  if (chosen == nullptr) return {};
  wchar_t path[MAX_PATH] = {};
  const bool ok = ::SHGetPathFromIDListW(chosen, path) != FALSE;
  ::CoTaskMemFree(chosen);
  return ok ? Narrow(path) : std::string();
}

std::unique_ptr<SettingsDialogView> Win32SettingsDialogPlatform::CreateView(
    SettingsDialogInput& input) {
  return std::make_unique<Win32SettingsDialogView>(input);
}

bool UnregisterSettingsDialogClass() {
  if (!g_class_registered) return true;
  // Refused by Windows while a window of the class exists.
  g_class_registered = ::UnregisterClassW(kSettingsDialogClassName, OwnModule()) == FALSE &&
                       ::GetLastError() != ERROR_CLASS_DOES_NOT_EXIST;
  return !g_class_registered;
}

}  // namespace kdzv::win32
