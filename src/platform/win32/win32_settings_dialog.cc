#include "platform/win32/win32_settings_dialog.h"

#include <commctrl.h>
#include <shlobj.h>

#include <map>
#include <string_view>
#include <vector>

#include "interface/error_report.h"
#include "platform/win32/dialog_keys.h"
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

// The captions. A label's access key ("&") moves the focus to the control
// made right after it; the letters shown are those of the captions as they
// are quoted everywhere else. The keys are unique in the dialog.
constexpr const char* kFolderLabels[] = {"&Download-Verzeichnis:", "&Upload-Verzeichnis:",
                                         "&Ablage-Verzeichnis:"};
constexpr const char* kFolderHints[] = {
    "In diesem Verzeichnis werden Daten von Zentavo für Halvex abgelegt.",
    "In diesem Verzeichnis werden Daten von Halvex für Zentavo abgelegt.",
    "In diesem Verzeichnis werden die verarbeiteten Dateien abgelegt."};
constexpr char kSystemNameLabel[] = "&Systemname: ";
constexpr char kSessionPrefixLabel[] = "Session-Prä&fix: ";
constexpr char kPatIdentLabel[] = "&PatientenIdentifikation:";
constexpr char kTimeoutLabel[] = "&Timeout in Sekunden: ";
constexpr char kSlowSyncCaption[] = "'S&lowSync' starten";
constexpr char kLogCaption[] = "Pr&otokollierung";
constexpr char kSessionIdLabel[] = "Session-&ID:";
constexpr char kSyncTestenCaption[] = "Synchronisation t&esten";

// The layout, in pixels of the client area. Each mode places only its own
// controls, row under row, so the dialog's height follows the mode.
constexpr int kWidth = 560;
constexpr int kMargin = 12;
constexpr int kFieldX = 170;      // the fields, right of their labels
constexpr int kLabelWidth = 150;
constexpr int kBrowseWidth = 100;
constexpr int kRight = kWidth - kMargin;
constexpr int kRowHeight = 28;    // a row of a label and its field
constexpr int kFolderHeight = 50; // a folder's row and its hint below
constexpr int kButtonHeight = 26;
constexpr int kButtonWidth = 100;

BOOL CALLBACK CollectWindow(HWND window, LPARAM list) {
  reinterpret_cast<std::vector<HWND>*>(list)->push_back(window);
  return TRUE;
}

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
    RECT frame = {0, 0, kWidth, 300};  // the height follows the mode (Layout)
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
    Layout();
    if (window_ != nullptr) ::InvalidateRect(window_, nullptr, TRUE);
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
  //
  // Modal as a form of a Visual Basic style host is: while the dialog is
  // open, every visible and enabled top-level window of the calling thread
  // (the owner, the host's other windows, an open sync window) is disabled,
  // also when no owner is given; exactly those are enabled again afterwards,
  // as far as they still exist.
  void ShowModal(intptr_t owner) override {
    if (window_ == nullptr) return;
    destroyed_ = false;
    HWND owner_window = reinterpret_cast<HWND>(owner);
    if (owner_window != nullptr && !::IsWindow(owner_window)) owner_window = nullptr;
    ::SetWindowLongPtrW(window_, GWLP_HWNDPARENT, reinterpret_cast<LONG_PTR>(owner_window));
    Layout();
    CenterOver(owner_window);
    const std::vector<HWND> disabled = DisableThreadWindows(owner_window);
    shown_ = true;
    focus_.Forget();
    ::ShowWindow(window_, SW_SHOW);
    ::SetForegroundWindow(window_);
    MoveDialogFocus(window_, reinterpret_cast<WPARAM>(FirstTabStop()), 1);
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
      if (window_ == nullptr || !::IsDialogMessageW(window_, &message)) {
        ::TranslateMessage(&message);
        ::DispatchMessageW(&message);
      }
    }
    shown_ = false;
    // Enabled again before the dialog is hidden, so that Windows can hand
    // the activation back to one of them.
    for (HWND window : disabled) {
      if (::IsWindow(window)) ::EnableWindow(window, TRUE);
    }
    const bool owner_alive = owner_window != nullptr && ::IsWindow(owner_window);
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
  // The visible, enabled top-level windows of this thread and `owner`,
  // disabled; the ones that were.
  std::vector<HWND> DisableThreadWindows(HWND owner) {
    std::vector<HWND> found;
    ::EnumThreadWindows(::GetCurrentThreadId(), CollectWindow, reinterpret_cast<LPARAM>(&found));
    if (owner != nullptr) found.push_back(owner);
    std::vector<HWND> disabled;
    for (HWND window : found) {
      if (window == window_ || !::IsWindowVisible(window) || !::IsWindowEnabled(window)) continue;
      if ((::GetWindowLongPtrW(window, GWL_STYLE) & WS_CHILD) != 0) continue;
      ::EnableWindow(window, FALSE);
      disabled.push_back(window);
    }
    return disabled;
  }

  HWND FirstTabStop() const { return ::GetNextDlgTabItem(window_, nullptr, FALSE); }

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
    return ReportedCall("frmSettings", "WindowProc", LRESULT{0},
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
        case WM_NEXTDLGCTL:
          MoveDialogFocus(window, wparam, lparam);
          return 0;
        case DM_GETDEFID:
          // Enter in a field is OK.
          return MAKELRESULT(IDOK, DC_HASDEFID);
        case WM_ACTIVATE:
          self->focus_.OnActivate(window, wparam, self->FirstTabStop());
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

  HWND Make(const wchar_t* window_class, const std::wstring& text, DWORD style, int id) {
    HWND made = ::CreateWindowExW(0, window_class, text.c_str(), WS_CHILD | WS_VISIBLE | style, 0,
                                  0, 0, 0, window_, reinterpret_cast<HMENU>(
                                      static_cast<INT_PTR>(id)), OwnModule(), nullptr);
    ::SendMessageW(made, WM_SETFONT, reinterpret_cast<WPARAM>(DialogFont()), TRUE);
    return made;
  }

  void Add(C control, const wchar_t* window_class, const std::wstring& text, DWORD style) {
    controls_[control] = Make(window_class, text, style, SettingsControlId(control));
  }

  // Made in the order of the tab stops, top to bottom; each label right
  // before its control, so that its access key reaches that control.
  // Positions are set by Layout.
  void MakeControls() {
    const DWORD edit = WS_BORDER | WS_TABSTOP | ES_AUTOHSCROLL;
    const DWORD button = WS_TABSTOP | BS_PUSHBUTTON;
    const DWORD check = WS_TABSTOP | BS_AUTOCHECKBOX;
    for (int i = 0; i < 3; ++i) {
      folder_labels_[i] = Make(L"STATIC", Widen(kFolderLabels[i]), SS_LEFT, -1);
      Add(FolderBox(i), L"EDIT", L"", edit);
      Add(BrowseButton(i), L"BUTTON", L"Durchsuchen...", button);
      hints_[i] = Make(L"STATIC", Widen(kFolderHints[i]), SS_LEFT | SS_NOPREFIX, -1);
    }
    Add(C::kLblSystemName, L"STATIC", Widen(kSystemNameLabel), SS_LEFT);
    Add(C::kTxtSystemName, L"EDIT", L"", edit);
    Add(C::kLblSessionPrefixTitle, L"STATIC", Widen(kSessionPrefixLabel), SS_LEFT);
    Add(C::kTxtSessionPrefix, L"EDIT", L"", edit);
    Add(C::kLblPatIdent, L"STATIC", Widen(kPatIdentLabel), SS_LEFT);
    Add(C::kCmbPatIdent, L"COMBOBOX", L"", WS_TABSTOP | WS_VSCROLL | CBS_DROPDOWNLIST);
    Add(C::kLblTimeoutTitle, L"STATIC", Widen(kTimeoutLabel), SS_LEFT);
    Add(C::kTxtTimeoutSeconds, L"EDIT", L"", edit | ES_NUMBER);
    Add(C::kUpdTimeoutSeconds, UPDOWN_CLASSW, L"",
        UDS_SETBUDDYINT | UDS_ALIGNRIGHT | UDS_ARROWKEYS | UDS_NOTHOUSANDS);
    Add(C::kChkSlowSync, L"BUTTON", Widen(kSlowSyncCaption), check);
    Add(C::kChkLog, L"BUTTON", Widen(kLogCaption), check);
    session_label_ = Make(L"STATIC", Widen(kSessionIdLabel), SS_LEFT, -1);
    Add(C::kTxtSessionID, L"EDIT", L"", edit);
    Add(C::kCmdSyncTesten, L"BUTTON", Widen(kSyncTestenCaption), button);
    Add(C::kCmdOk, L"BUTTON", L"OK", button | BS_DEFPUSHBUTTON);
    Add(C::kCmdCancel, L"BUTTON", Widen("Abbruch"), button);
    Layout();
  }

  // Places the controls of the current mode, row under row, and sizes the
  // dialog to them: the normal mode has the browse buttons beside the
  // folders, "'SlowSync' starten" and the session number beside OK; the
  // server-side mode has full-width folders, four rows of its own fields,
  // the session number beside "Protokollierung" and "Synchronisation
  // testen" beside OK.
  void Layout() {
    if (window_ == nullptr) return;
    const bool service_side = Visible(C::kTxtSystemName);
    int y = kMargin;
    for (int i = 0; i < 3; ++i) {
      const bool browse = Visible(BrowseButton(i));
      Place(folder_labels_[i], kMargin, y + 3, kLabelWidth, 16);
      Place(Control(FolderBox(i)), kFieldX, y,
            (browse ? kRight - kBrowseWidth - 8 : kRight) - kFieldX, 21);
      Place(Control(BrowseButton(i)), kRight - kBrowseWidth, y - 1, kBrowseWidth, 23);
      Place(hints_[i], kFieldX, y + 25, kRight - kFieldX, 16);
      y += kFolderHeight;
    }
    y += 4;
    const struct {
      C label, field;
      int width, height;
    } fields[] = {{C::kLblSystemName, C::kTxtSystemName, kRight - kFieldX, 21},
                  {C::kLblSessionPrefixTitle, C::kTxtSessionPrefix, 120, 21},
                  {C::kLblPatIdent, C::kCmbPatIdent, kRight - kFieldX, 120},
                  {C::kLblTimeoutTitle, C::kTxtTimeoutSeconds, 80, 21}};
    for (const auto& field : fields) {
      if (!Visible(field.field)) continue;
      Place(Control(field.label), kMargin, y + 3, kLabelWidth, 16);
      Place(Control(field.field), kFieldX, y, field.width, field.height);
      y += kRowHeight;
    }
    // The up-down control sits at the right end of its box.
    ::SendMessageW(Control(C::kUpdTimeoutSeconds), UDM_SETBUDDY,
                   reinterpret_cast<WPARAM>(Control(C::kTxtTimeoutSeconds)), 0);
    if (service_side) y += 4;

    // The check boxes; in the server-side mode the session number beside them.
    int x = kMargin;
    if (Visible(C::kChkSlowSync)) {
      Place(Control(C::kChkSlowSync), x, y, kFieldX - kMargin - 8, 20);
      x = kFieldX;
    }
    Place(Control(C::kChkLog), x, y, 140, 20);
    const int session_width = 80;
    const int session_label_width = 70;
    if (service_side) {
      Place(session_label_, kRight - session_width - 8 - session_label_width, y + 3,
            session_label_width, 16);
      Place(Control(C::kTxtSessionID), kRight - session_width, y, session_width, 21);
    }
    y += 20 + 12;

    // The buttons' row; in the normal mode the session number at its left.
    const int ok_x = kRight - 2 * kButtonWidth - 8;
    if (service_side) {
      Place(Control(C::kCmdSyncTesten), kMargin, y, 170, kButtonHeight);
    } else {
      Place(session_label_, kMargin, y + 6, session_label_width, 16);
      Place(Control(C::kTxtSessionID), kMargin + session_label_width + 8, y + 3, session_width,
            21);
    }
    Place(Control(C::kCmdOk), ok_x, y, kButtonWidth, kButtonHeight);
    Place(Control(C::kCmdCancel), kRight - kButtonWidth, y, kButtonWidth, kButtonHeight);
    y += kButtonHeight + kMargin;

    RECT frame = {0, 0, kWidth, y};
    ::AdjustWindowRectEx(&frame, static_cast<DWORD>(::GetWindowLongPtrW(window_, GWL_STYLE)),
                         FALSE, static_cast<DWORD>(::GetWindowLongPtrW(window_, GWL_EXSTYLE)));
    ::SetWindowPos(window_, nullptr, 0, 0, frame.right - frame.left, frame.bottom - frame.top,
                   SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
  }

  static void Place(HWND control, int x, int y, int width, int height) {
    if (control != nullptr) ::MoveWindow(control, x, y, width, height, FALSE);
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
  HWND folder_labels_[3] = {};
  HWND hints_[3] = {};
  HWND session_label_ = nullptr;
  FocusKeeper focus_;
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
