#include "platform/win32/win32_sync_window.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "interface/error_report.h"
#include "platform/win32/dialog_keys.h"
#include "platform/win32/library_windows.h"
#include "platform/win32/wide_text.h"
#include "syncwindow/frm_zv_sync.h"
#include "util/error.h"

namespace kdzv::win32 {

class Win32SyncView;

struct TimerState {
  std::function<void()> on_tick;
  std::weak_ptr<Win32WindowPlatform::Shared> shared;
  DWORD thread = 0;       // the creating thread
  HWND helper = nullptr;  // its hidden window
  UINT_PTR id = 0;
  int32_t interval = 0;
  bool enabled = false;
  bool running = false;  // a Win32 timer is set for it
};

// One folder watch. The change handle is closed when its watch object goes
// (or when Windows stops re-arming it); the state may live on a moment in
// the pump's hands.
struct Win32WindowPlatform::WatchState {
  using Clock = std::chrono::steady_clock;

  ~WatchState() { Close(); }
  void Close() {
    if (handle != INVALID_HANDLE_VALUE) ::FindCloseChangeNotification(handle);
    handle = INVALID_HANDLE_VALUE;
  }

  HANDLE handle = INVALID_HANDLE_VALUE;  // from FindFirstChangeNotificationW
  DWORD thread = 0;                      // the thread whose pump waits for it
  std::function<void()> on_change;
  Clock::duration settle{};
  bool settling = false;  // a change was told and its settle time runs
  Clock::time_point due{};
  bool alive = true;  // false once its watch object is gone
};

struct Win32WindowPlatform::Shared {
  QuestionBox ask;
  // Guards helpers and timers, which the hidden windows of several threads
  // may reach.
  std::mutex mutex;
  std::map<DWORD, HWND> helpers;  // thread id -> its hidden window
  std::map<UINT_PTR, std::weak_ptr<TimerState>> timers;
  UINT_PTR next_timer_id = 1;
  // The rest belongs to the thread that runs the pump.
  // The sync windows that are shown, the one shown last at the end: an
  // exchange started inside another one's wait shows its window over the
  // first, and when it closes, the first is the shown one again.
  std::vector<Win32SyncView*> shown;
  std::vector<std::weak_ptr<Win32WindowPlatform::WatchState>> watches;
  bool quit_held = false;  // a WM_QUIT taken out of the queue, to go back
  WPARAM quit_code = 0;
  uint64_t rounds = 0;
  uint64_t waits = 0;
  uint64_t dispatched = 0;
};

namespace {

using Shared = Win32WindowPlatform::Shared;

// Private messages. To a hidden window: destroy yourself (sent from another
// thread), and an interrupt from the console.
constexpr UINT kDestroyHelperMessage = WM_APP + 0x4B1;
constexpr UINT kInterruptMessage = WM_APP + 0x4B2;
// To a sync window: put the text appended since the last time into the pane.
constexpr UINT kFlushLogMessage = WM_APP + 0x4B3;
// To a hidden window: the sync window of the view numbered wparam was
// destroyed from outside.
constexpr UINT kWindowDestroyedMessage = WM_APP + 0x4B4;

// At most this many messages are dispatched in one round: a host that
// keeps posting itself messages cannot hold the wait in one call.
constexpr int kMaxMessagesPerRound = 4096;

// The layout of the window, in pixels of the client area.
constexpr int kClientWidth = 560;
constexpr int kClientHeight = 320;
constexpr int kMinClientWidth = 320;
constexpr int kMinClientHeight = 180;
constexpr int kBandWidth = 76;  // the emblem's band on the left
constexpr int kMargin = 10;
constexpr int kButtonWidth = 96;
constexpr int kButtonHeight = 28;

// The emblem's colours.
constexpr COLORREF kBandColour = RGB(232, 238, 246);
constexpr COLORREF kFrameColour = RGB(62, 104, 158);
constexpr COLORREF kArrowColour = RGB(38, 140, 96);

std::mutex g_class_mutex;
bool g_classes_registered = false;

std::mutex g_live_mutex;
std::vector<std::weak_ptr<Shared>> g_live;  // every platform object alive

// Numbers the views, so that a message about one cannot reach another that
// was made at the same address later.
std::atomic<WPARAM> g_next_view_number{1};

// Ctrl+C: noted by the console's thread, taken on the window's thread.
std::atomic<bool> g_interrupt_pending{false};
std::atomic<HWND> g_interrupt_window{nullptr};
std::atomic<bool> g_interrupt_installed{false};

BOOL WINAPI OnConsoleControl(DWORD type) {
  if (type != CTRL_C_EVENT && type != CTRL_BREAK_EVENT) return FALSE;
  return Win32WindowPlatform::Interrupt() ? TRUE : FALSE;
}

// The text of a Windows error number, without the line end.
std::string SystemText(DWORD error) {
  wchar_t* buffer = nullptr;
  const DWORD length = ::FormatMessageW(
      FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
      nullptr, error, 0, reinterpret_cast<wchar_t*>(&buffer), 0, nullptr);
  std::wstring text = length > 0 && buffer != nullptr ? std::wstring(buffer, length) : L"";
  if (buffer != nullptr) ::LocalFree(buffer);
  while (!text.empty() && (text.back() == L'\r' || text.back() == L'\n' || text.back() == L' ' ||
                           text.back() == L'.')) {
    text.pop_back();
  }
  std::string narrow = Narrow(text);
  if (!narrow.empty()) narrow += " ";
  return narrow + "(Windows error " + std::to_string(error) + ")";
}

LRESULT CALLBACK HelperProc(HWND window, UINT message, WPARAM wparam, LPARAM lparam);
LRESULT CALLBACK SyncWindowProc(HWND window, UINT message, WPARAM wparam, LPARAM lparam);

// What a hidden window knows of its platform object, which may go first.
struct HelperData {
  std::weak_ptr<Shared> shared;
};

// The hidden window of the calling thread for `shared`, made on first use;
// null when it cannot be made.
HWND HelperOfThisThread(const std::shared_ptr<Shared>& shared) {
  const DWORD thread = ::GetCurrentThreadId();
  {
    std::lock_guard<std::mutex> lock(shared->mutex);
    const auto found = shared->helpers.find(thread);
    if (found != shared->helpers.end() && ::IsWindow(found->second)) return found->second;
  }
  if (!RegisterSyncWindowClasses()) return nullptr;
  auto* data = new HelperData{shared};
  HWND helper = ::CreateWindowExW(0, kSyncHelperClassName, L"", 0, 0, 0, 0, 0, HWND_MESSAGE,
                                  nullptr, OwnModule(), data);
  if (helper == nullptr) {
    delete data;  // never reached WM_NCCREATE's hand-over
    return nullptr;
  }
  std::lock_guard<std::mutex> lock(shared->mutex);
  shared->helpers[thread] = helper;
  return helper;
}

// Destroys the hidden windows of `shared` that belong to this thread and
// asks the others' threads to destroy theirs.
void DestroyHelpers(Shared& shared) {
  std::vector<std::pair<DWORD, HWND>> helpers;
  {
    std::lock_guard<std::mutex> lock(shared.mutex);
    helpers.assign(shared.helpers.begin(), shared.helpers.end());
    shared.helpers.clear();
  }
  const DWORD thread = ::GetCurrentThreadId();
  for (const auto& [owner_thread, helper] : helpers) {
    if (!::IsWindow(helper)) continue;
    if (owner_thread == thread) {
      ::DestroyWindow(helper);
    } else {
      ::PostMessageW(helper, kDestroyHelperMessage, 0, 0);
    }
  }
}

class Win32Timer : public WindowTimer {
 public:
  explicit Win32Timer(std::shared_ptr<TimerState> state) : state_(std::move(state)) {}
  ~Win32Timer() override {
    state_->enabled = false;
    Apply();
    if (auto shared = state_->shared.lock()) {
      std::lock_guard<std::mutex> lock(shared->mutex);
      shared->timers.erase(state_->id);
    }
  }
  Win32Timer(const Win32Timer&) = delete;
  Win32Timer& operator=(const Win32Timer&) = delete;

  void SetInterval(int32_t milliseconds) override {
    state_->interval = milliseconds;
    if (state_->enabled) Apply();
  }
  int32_t Interval() const override { return state_->interval; }
  void SetEnabled(bool enabled) override {
    state_->enabled = enabled;
    Apply();
  }
  bool Enabled() const override { return state_->enabled; }

 private:
  // Sets the Win32 timer anew (which also restarts its count from now) or
  // kills it. Once the platform object is gone, its hidden windows and
  // with them their timers are gone too; the handle is then not touched,
  // since Windows may have given it to another window.
  void Apply() {
    auto shared = state_->shared.lock();
    if (!shared) {
      state_->running = false;
      return;
    }
    const bool ticking = state_->enabled && state_->interval >= 1;
    if (ticking && ::GetCurrentThreadId() == state_->thread) {
      // The hidden window may have been destroyed (the classes were
      // unregistered) and made anew since; its timers went with it.
      HWND helper = HelperOfThisThread(shared);
      if (helper != state_->helper) {
        state_->helper = helper;
        state_->running = false;
      }
    }
    if (ticking && state_->helper != nullptr) {
      state_->running = ::SetTimer(state_->helper, state_->id,
                                   static_cast<UINT>(state_->interval), nullptr) != 0;
    } else if (state_->running) {
      // Only a hidden window that is still ours: a destroyed one took its
      // timers with it, and its handle may name another window by now.
      bool ours = false;
      {
        std::lock_guard<std::mutex> lock(shared->mutex);
        const auto found = shared->helpers.find(state_->thread);
        ours = found != shared->helpers.end() && found->second == state_->helper;
      }
      if (ours) ::KillTimer(state_->helper, state_->id);
      state_->running = false;
    }
  }

  std::shared_ptr<TimerState> state_;
};

using WatchState = Win32WindowPlatform::WatchState;

class Win32FolderWatch : public FolderChangeWatch {
 public:
  explicit Win32FolderWatch(std::shared_ptr<WatchState> state) : state_(std::move(state)) {}
  ~Win32FolderWatch() override {
    state_->alive = false;
    state_->settling = false;
    state_->Close();
  }
  Win32FolderWatch(const Win32FolderWatch&) = delete;
  Win32FolderWatch& operator=(const Win32FolderWatch&) = delete;

 private:
  std::shared_ptr<WatchState> state_;
};

// The watches of the calling thread that still live (dropping the gone
// ones from `watches`).
std::vector<std::shared_ptr<WatchState>> LiveWatchesOfThisThread(
    std::vector<std::weak_ptr<WatchState>>& watches) {
  const DWORD thread = ::GetCurrentThreadId();
  std::vector<std::shared_ptr<WatchState>> live;
  std::vector<std::weak_ptr<WatchState>> kept;
  for (const auto& weak : watches) {
    auto state = weak.lock();
    if (!state || !state->alive) continue;
    kept.push_back(state);
    if (state->thread == thread) live.push_back(std::move(state));
  }
  watches = std::move(kept);
  return live;
}

}  // namespace

// The window of one frmZVSync. It is made when it is shown (the owner is
// known only then).
//
// Appended text waits in `pending_` and goes into the pane when the thread
// next runs its messages: all of it at once, put at the end of the pane
// (EM_SETSEL to the end, EM_REPLACESEL) and scrolled to (EM_SCROLLCARET).
// Nothing is painted before then anyway, but every change of the pane's
// text redraws its scroll bar at once, which costs milliseconds where the
// screen is far away (Wine on an X server: 10 000 lines took 83 s put in
// one by one, 1.5 s in bursts of 50).
class Win32SyncView : public SyncWindowView {
 public:
  Win32SyncView(std::weak_ptr<Shared> shared, SyncWindowInput& input, QuestionBox ask)
      : shared_(std::move(shared)),
        input_(input),
        ask_(std::move(ask)),
        number_(g_next_view_number.fetch_add(1)) {}
  ~Win32SyncView() override { Close(); }
  Win32SyncView(const Win32SyncView&) = delete;
  Win32SyncView& operator=(const Win32SyncView&) = delete;

  void Show(intptr_t owner) override {
    auto shared = shared_.lock();
    if (shared) {
      auto& shown = shared->shown;
      shown.erase(std::remove(shown.begin(), shown.end(), this), shown.end());
      shown.push_back(this);
      // Ctrl+C from now on goes to this thread's hidden window.
      interrupt_target_ = HelperOfThisThread(shared);
      destroyed_unreported_ = false;  // a report of an earlier window is void
      if (interrupt_target_ != nullptr) {
        g_interrupt_window = interrupt_target_;
        if (g_interrupt_pending) ::PostMessageW(interrupt_target_, kInterruptMessage, 0, 0);
      }
    }
    if (window_ == nullptr) Create(owner);
    ::ShowWindow(window_, SW_SHOWNORMAL);
    // Abbruch has the focus: Enter or Space cancels, as Esc anywhere does.
    focus_.Forget();
    ::SetFocus(cancel_);
    ::UpdateWindow(window_);
  }

  // The keyboard of the window, for the wait's pump: Esc anywhere in the
  // window asks to cancel (also from the log pane, which takes every other
  // key itself); the rest goes through the dialog manager (Tab between the
  // pane and the button, Enter on the button). True when the message was
  // taken; it must not be dispatched again.
  bool TakeKey(MSG& message) {
    if (window_ == nullptr || !IsInWindow(window_, message.hwnd)) return false;
    if (message.message == WM_KEYDOWN && message.wParam == VK_ESCAPE) {
      ::SendMessageW(window_, WM_COMMAND, MAKEWPARAM(IDCANCEL, BN_CLICKED), 0);
      return true;
    }
    return ::IsDialogMessageW(window_, &message) != FALSE;
  }

  void Close() override {
    Forget();
    pending_.clear();
    if (window_ != nullptr) {
      HWND window = window_;
      Detach();
      ::DestroyWindow(window);
    }
  }

  void ClearLog() override {
    pending_.clear();
    if (log_ != nullptr) ::SetWindowTextW(log_, L"");
  }

  void AppendLog(std::string_view text) override {
    pending_ += Widen(text);
    if (window_ != nullptr && !flush_posted_) {
      flush_posted_ = ::PostMessageW(window_, kFlushLogMessage, 0, 0) != FALSE;
      if (!flush_posted_) FlushLog();  // no room in the queue: at once
    }
  }

  bool AskYesNo(std::string_view question) override {
    FlushLog();  // the question stands over the whole log
    asking_ = true;
    const bool yes = ask_ ? ask_(window_, question) : AskWithMessageBox(window_, question);
    asking_ = false;
    // The box went with the window: the input hears of it now, before
    // the answer (whatever the box gave back) is taken.
    if (TakeDestroyedReport()) input_.WindowDestroyed();
    return yes;
  }

  HWND Window() const { return window_; }
  SyncWindowInput& Input() { return input_; }
  bool Asking() const { return asking_; }
  WPARAM Number() const { return number_; }
  // Whether the destruction of the window is still to be reported (once).
  bool TakeDestroyedReport() { return std::exchange(destroyed_unreported_, false); }

  LRESULT Handle(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
    switch (message) {
      case WM_CREATE:
        return CreateControls(window) ? 0 : -1;
      case WM_SIZE:
        Layout(LOWORD(lparam), HIWORD(lparam));
        return 0;
      case WM_GETMINMAXINFO: {
        RECT frame{0, 0, kMinClientWidth, kMinClientHeight};
        ::AdjustWindowRectEx(&frame, static_cast<DWORD>(::GetWindowLongPtrW(window, GWL_STYLE)),
                             FALSE, static_cast<DWORD>(::GetWindowLongPtrW(window, GWL_EXSTYLE)));
        auto* limits = reinterpret_cast<MINMAXINFO*>(lparam);
        limits->ptMinTrackSize.x = frame.right - frame.left;
        limits->ptMinTrackSize.y = frame.bottom - frame.top;
        return 0;
      }
      case WM_PAINT: {
        PAINTSTRUCT paint;
        HDC dc = ::BeginPaint(window, &paint);
        if (dc != nullptr) PaintEmblem(window, dc);
        ::EndPaint(window, &paint);
        return 0;
      }
      case WM_PRINTCLIENT:
        PaintEmblem(window, reinterpret_cast<HDC>(wparam));
        return 0;
      case WM_CTLCOLORSTATIC:
        // The read-only pane keeps the white of a text box.
        if (reinterpret_cast<HWND>(lparam) == log_) {
          HDC dc = reinterpret_cast<HDC>(wparam);
          ::SetBkColor(dc, ::GetSysColor(COLOR_WINDOW));
          ::SetTextColor(dc, ::GetSysColor(COLOR_WINDOWTEXT));
          return reinterpret_cast<LRESULT>(::GetSysColorBrush(COLOR_WINDOW));
        }
        break;
      case WM_COMMAND: {
        // The button, and the IDCANCEL (Esc) and IDOK (Enter) of the
        // dialog manager: all ask the one cancel question.
        const int id = LOWORD(wparam);
        if ((id == kCancelButtonId || id == IDCANCEL || id == IDOK) &&
            HIWORD(wparam) == BN_CLICKED) {
          // Nothing of this view is touched after the input has run.
          input_.CancelClicked();
          return 0;
        }
        break;
      }
      case WM_NEXTDLGCTL:
        MoveDialogFocus(window, wparam, lparam);
        return 0;
      case WM_ACTIVATE:
        focus_.OnActivate(window, wparam, cancel_);
        return 0;
      case kFlushLogMessage:
        flush_posted_ = false;
        FlushLog();
        return 0;
      case WM_CLOSE:
        // The close box is refused: the cancel question decides instead.
        // Closing by code destroys the window without this message.
        input_.CloseRequested();
        return 0;
      case WM_NCDESTROY:
        // Destroyed from outside (its owner went): the view lives on
        // without a window, and its input hears of it.
        if (window == window_) {
          Detach();
          ReportDestroyed();
        }
        break;
      default:
        break;
    }
    return ::DefWindowProcW(window, message, wparam, lparam);
  }

 private:
  void Create(intptr_t owner) {
    if (!RegisterSyncWindowClasses()) {
      const DWORD error = ::GetLastError();
      Raise(err::kInternal, "the sync window's class cannot be registered: " + SystemText(error),
            "frmZVSync");
    }
    HWND owner_window = reinterpret_cast<HWND>(owner);
    // A handle that names no window is taken as no owner.
    if (owner_window != nullptr && ::IsWindow(owner_window) == FALSE) owner_window = nullptr;
    const DWORD style = WS_OVERLAPPED | WS_CAPTION | WS_SYSMENU | WS_MINIMIZEBOX | WS_THICKFRAME |
                        WS_CLIPCHILDREN;
    RECT frame{0, 0, kClientWidth, kClientHeight};
    ::AdjustWindowRectEx(&frame, style, FALSE, 0);
    const std::wstring caption = Widen(frmZVSync::kCaption);
    HWND window = ::CreateWindowExW(0, kSyncWindowClassName, caption.c_str(), style, CW_USEDEFAULT,
                                    CW_USEDEFAULT, frame.right - frame.left,
                                    frame.bottom - frame.top, owner_window, nullptr, OwnModule(),
                                    this);
    if (window == nullptr) {
      const DWORD error = ::GetLastError();
      Detach();
      Raise(err::kInternal, "the sync window cannot be created: " + SystemText(error),
            "frmZVSync");
    }
    // The text given before the window existed.
    FlushLog();
  }

  // Puts the waiting text at the end of the pane and scrolls to it.
  void FlushLog() {
    if (log_ == nullptr || pending_.empty()) return;
    const int length = ::GetWindowTextLengthW(log_);
    ::SendMessageW(log_, EM_SETSEL, static_cast<WPARAM>(length), static_cast<LPARAM>(length));
    ::SendMessageW(log_, EM_REPLACESEL, FALSE, reinterpret_cast<LPARAM>(pending_.c_str()));
    ::SendMessageW(log_, EM_SCROLLCARET, 0, 0);
    pending_.clear();
  }

  bool CreateControls(HWND window) {
    window_ = window;
    HINSTANCE module = OwnModule();
    log_ = ::CreateWindowExW(WS_EX_CLIENTEDGE, L"EDIT", L"",
                             WS_CHILD | WS_VISIBLE | WS_VSCROLL | WS_TABSTOP | ES_MULTILINE |
                                 ES_AUTOVSCROLL | ES_READONLY,
                             0, 0, 0, 0, window,
                             reinterpret_cast<HMENU>(static_cast<INT_PTR>(kLogPaneId)), module,
                             nullptr);
    cancel_ = ::CreateWindowExW(0, L"BUTTON", L"Abbruch",
                                WS_CHILD | WS_VISIBLE | WS_TABSTOP | BS_DEFPUSHBUTTON, 0, 0, 0, 0,
                                window,
                                reinterpret_cast<HMENU>(static_cast<INT_PTR>(kCancelButtonId)),
                                module, nullptr);
    if (log_ == nullptr || cancel_ == nullptr) return false;
    ::SendMessageW(log_, EM_SETLIMITTEXT, static_cast<WPARAM>(kLogPaneLimit), 0);
    HGDIOBJ font = ::GetStockObject(DEFAULT_GUI_FONT);
    ::SendMessageW(log_, WM_SETFONT, reinterpret_cast<WPARAM>(font), FALSE);
    ::SendMessageW(cancel_, WM_SETFONT, reinterpret_cast<WPARAM>(font), FALSE);
    RECT client;
    ::GetClientRect(window, &client);
    Layout(client.right, client.bottom);
    return true;
  }

  // The pane fills the space right of the emblem's band and above the
  // button, which sits in the bottom right corner.
  void Layout(int width, int height) {
    if (log_ == nullptr || cancel_ == nullptr) return;
    const int button_x = std::max(kBandWidth + kMargin, width - kMargin - kButtonWidth);
    const int button_y = std::max(kMargin, height - kMargin - kButtonHeight);
    const int pane_x = kBandWidth + kMargin;
    ::MoveWindow(log_, pane_x, kMargin, std::max(0, width - pane_x - kMargin),
                 std::max(0, button_y - 2 * kMargin), TRUE);
    ::MoveWindow(cancel_, button_x, button_y, kButtonWidth, kButtonHeight, TRUE);
    ::InvalidateRect(window_, nullptr, FALSE);
  }

  // The decoration: a pale band down the left side holding a framed
  // picture of two arrows chasing each other round a circle, the sign of
  // an exchange that goes both ways.
  void PaintEmblem(HWND window, HDC dc) {
    RECT client;
    ::GetClientRect(window, &client);
    RECT band{0, 0, kBandWidth, client.bottom};
    HBRUSH band_brush = ::CreateSolidBrush(kBandColour);
    ::FillRect(dc, &band, band_brush);
    ::DeleteObject(band_brush);

    // The frame around the picture.
    const int left = kMargin;
    const int top = kMargin;
    const int size = kBandWidth - 2 * kMargin;
    HPEN frame_pen = ::CreatePen(PS_SOLID, 2, kFrameColour);
    HGDIOBJ old_pen = ::SelectObject(dc, frame_pen);
    HGDIOBJ old_brush = ::SelectObject(dc, ::GetStockObject(WHITE_BRUSH));
    ::Rectangle(dc, left, top, left + size, top + size);

    // Two arcs of one circle with an arrow head at the end of each.
    const int cx = left + size / 2;
    const int cy = top + size / 2;
    const int r = size / 2 - 9;
    HPEN arrow_pen = ::CreatePen(PS_SOLID, 3, kArrowColour);
    ::SelectObject(dc, arrow_pen);
    ::SelectObject(dc, ::GetStockObject(NULL_BRUSH));
    // Arcs run counter-clockwise from the start point to the end point.
    ::Arc(dc, cx - r, cy - r, cx + r, cy + r, cx + r, cy - 2, cx - r, cy - 2);  // upper
    ::Arc(dc, cx - r, cy - r, cx + r, cy + r, cx - r, cy + 2, cx + r, cy + 2);  // lower
    HBRUSH arrow_brush = ::CreateSolidBrush(kArrowColour);
    ::SelectObject(dc, arrow_brush);
    const POINT down_head[3] = {{cx - r - 5, cy - 3}, {cx - r + 5, cy - 3}, {cx - r, cy + 4}};
    const POINT up_head[3] = {{cx + r - 5, cy + 3}, {cx + r + 5, cy + 3}, {cx + r, cy - 4}};
    ::Polygon(dc, down_head, 3);
    ::Polygon(dc, up_head, 3);

    ::SelectObject(dc, old_brush);
    ::SelectObject(dc, old_pen);
    ::DeleteObject(arrow_brush);
    ::DeleteObject(arrow_pen);
    ::DeleteObject(frame_pen);
  }

  // The input hears of the destruction from the thread's hidden window,
  // after the code that destroyed the window has returned to a message
  // loop, and only if this view is still shown by then (the exchange may
  // have closed it meanwhile). Without a hidden window, at once.
  void ReportDestroyed() noexcept {
    destroyed_unreported_ = true;
    try {
      auto shared = shared_.lock();
      HWND helper = shared ? HelperOfThisThread(shared) : nullptr;
      if (helper != nullptr &&
          ::PostMessageW(helper, kWindowDestroyedMessage, number_, 0) != FALSE) {
        return;
      }
      if (TakeDestroyedReport()) input_.WindowDestroyed();
    } catch (...) {
      // Nothing leaves a window procedure; the input catches its own.
    }
  }

  // This view is no longer shown. The one shown before it, if any, is the
  // shown one again: Ctrl+C goes to it, and a quit held back during the
  // wait is posted again, for its wait to meet (it ends that exchange as
  // well) or, when no window is left, for the host's loop.
  void Forget() {
    auto shared = shared_.lock();
    if (!shared) return;
    auto& shown = shared->shown;
    const auto found = std::find(shown.begin(), shown.end(), this);
    if (found == shown.end()) return;
    const bool was_last = found + 1 == shown.end();
    shown.erase(found);
    // A view closed under a newer one changes nothing for the newer one.
    if (!was_last) return;
    g_interrupt_window = shown.empty() ? nullptr : shown.back()->interrupt_target_;
    if (shared->quit_held) {
      shared->quit_held = false;
      ::PostQuitMessage(static_cast<int>(shared->quit_code));
    }
  }

  void Detach() {
    if (window_ != nullptr) ::SetWindowLongPtrW(window_, GWLP_USERDATA, 0);
    window_ = nullptr;
    log_ = nullptr;
    cancel_ = nullptr;
    flush_posted_ = false;
  }

  std::weak_ptr<Shared> shared_;
  SyncWindowInput& input_;
  QuestionBox ask_;
  HWND window_ = nullptr;
  HWND log_ = nullptr;
  HWND cancel_ = nullptr;
  FocusKeeper focus_;
  std::wstring pending_;     // appended, not yet in the pane
  bool flush_posted_ = false;  // a kFlushLogMessage is on its way
  bool asking_ = false;
  const WPARAM number_;
  HWND interrupt_target_ = nullptr;  // this thread's hidden window, when shown
  bool destroyed_unreported_ = false;
};

namespace {

// The sync view shown last, or null.
Win32SyncView* LastShown(const Shared& shared) {
  return shared.shown.empty() ? nullptr : shared.shown.back();
}

// The shown view numbered `number`, or null.
Win32SyncView* ShownNumbered(const Shared& shared, WPARAM number) {
  for (Win32SyncView* view : shared.shown) {
    if (view->Number() == number) return view;
  }
  return nullptr;
}

LRESULT SyncWindowProcBody(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
  if (message == WM_NCCREATE) {
    const auto* create = reinterpret_cast<const CREATESTRUCTW*>(lparam);
    ::SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(create->lpCreateParams));
    CountWindowMade(window);
  } else if (message == WM_NCDESTROY) {
    CountWindowGone(window);
  }
  auto* view = reinterpret_cast<Win32SyncView*>(::GetWindowLongPtrW(window, GWLP_USERDATA));
  if (view == nullptr) return ::DefWindowProcW(window, message, wparam, lparam);
  return view->Handle(window, message, wparam, lparam);
}

// Gives a message meant for a shown sync window (or one of its controls)
// to that window's keyboard handling; true when it was taken.
bool TakeKeyOfShownWindow(const Shared& shared, MSG& message) {
  if (message.hwnd == nullptr) return false;
  for (Win32SyncView* view : shared.shown) {
    if (IsInWindow(view->Window(), message.hwnd)) return view->TakeKey(message);
  }
  return false;
}

// Hands a noted Ctrl+C to the shown window as its close request. An
// interrupt while the question is open belongs to that question.
void TakeInterrupt(Shared& shared) {
  Win32SyncView* shown = LastShown(shared);
  if (!g_interrupt_pending || shown == nullptr) return;  // waits for a window
  if (shown->Asking()) {
    g_interrupt_pending = false;
    return;
  }
  g_interrupt_pending = false;
  shown->Input().CloseRequested();
  g_interrupt_pending = false;
}

LRESULT CALLBACK SyncWindowProc(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
  return ReportedCall("frmZVSync", "WindowProc", LRESULT{0},
                      [&] { return SyncWindowProcBody(window, message, wparam, lparam); });
}

LRESULT HelperProcBody(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
  if (message == WM_NCCREATE) {
    const auto* create = reinterpret_cast<const CREATESTRUCTW*>(lparam);
    ::SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(create->lpCreateParams));
    CountWindowMade(window);
  }
  auto* data = reinterpret_cast<HelperData*>(::GetWindowLongPtrW(window, GWLP_USERDATA));
  switch (message) {
    case WM_TIMER: {
      std::shared_ptr<Shared> shared = data != nullptr ? data->shared.lock() : nullptr;
      if (!shared) return 0;
      std::shared_ptr<TimerState> timer;
      {
        std::lock_guard<std::mutex> lock(shared->mutex);
        const auto found = shared->timers.find(static_cast<UINT_PTR>(wparam));
        if (found != shared->timers.end()) timer = found->second.lock();
      }
      // A tick may stop, restart or destroy its own timer; the state lives
      // on until the tick has returned.
      if (timer && timer->enabled && timer->interval >= 1) timer->on_tick();
      return 0;
    }
    case kInterruptMessage: {
      std::shared_ptr<Shared> shared = data != nullptr ? data->shared.lock() : nullptr;
      if (shared) TakeInterrupt(*shared);
      return 0;
    }
    case kWindowDestroyedMessage: {
      std::shared_ptr<Shared> shared = data != nullptr ? data->shared.lock() : nullptr;
      if (!shared) return 0;
      Win32SyncView* view = ShownNumbered(*shared, wparam);
      if (view != nullptr && view->TakeDestroyedReport()) view->Input().WindowDestroyed();
      return 0;
    }
    case kDestroyHelperMessage:
      ::DestroyWindow(window);
      return 0;
    case WM_NCDESTROY:
      ::SetWindowLongPtrW(window, GWLP_USERDATA, 0);
      delete data;
      CountWindowGone(window);
      break;
    default:
      break;
  }
  return ::DefWindowProcW(window, message, wparam, lparam);
}

LRESULT CALLBACK HelperProc(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
  return ReportedCall("frmZVSync", "HelperProc", LRESULT{0},
                      [&] { return HelperProcBody(window, message, wparam, lparam); });
}

bool InteractiveDesktop() {
  HWINSTA station = ::GetProcessWindowStation();
  if (station == nullptr) return false;
  USEROBJECTFLAGS flags{};
  DWORD needed = 0;
  if (!::GetUserObjectInformationW(station, UOI_FLAGS, &flags, sizeof flags, &needed)) {
    return true;  // unknown: assume the usual interactive station
  }
  return (flags.dwFlags & WSF_VISIBLE) != 0;
}

}  // namespace

HMODULE OwnModule() {
  HMODULE module = nullptr;
  ::GetModuleHandleExW(
      GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
      reinterpret_cast<LPCWSTR>(&OwnModule), &module);
  return module;
}

bool RegisterSyncWindowClasses() {
  std::lock_guard<std::mutex> lock(g_class_mutex);
  if (g_classes_registered) return true;
  HINSTANCE module = OwnModule();

  WNDCLASSEXW window_class{};
  window_class.cbSize = sizeof window_class;
  window_class.style = CS_HREDRAW | CS_VREDRAW;
  window_class.lpfnWndProc = SyncWindowProc;
  window_class.hInstance = module;
  window_class.hCursor = ::LoadCursorW(nullptr, reinterpret_cast<LPCWSTR>(IDC_ARROW));
  window_class.hbrBackground = reinterpret_cast<HBRUSH>(static_cast<INT_PTR>(COLOR_BTNFACE + 1));
  window_class.lpszClassName = kSyncWindowClassName;
  // The emblem in the caption and the task bar, when the module has it.
  window_class.hIcon = static_cast<HICON>(
      ::LoadImageW(module, MAKEINTRESOURCEW(kEmblemIconId), IMAGE_ICON,
                   ::GetSystemMetrics(SM_CXICON), ::GetSystemMetrics(SM_CYICON), LR_SHARED));
  window_class.hIconSm = static_cast<HICON>(
      ::LoadImageW(module, MAKEINTRESOURCEW(kEmblemIconId), IMAGE_ICON,
                   ::GetSystemMetrics(SM_CXSMICON), ::GetSystemMetrics(SM_CYSMICON), LR_SHARED));
  if (::RegisterClassExW(&window_class) == 0 && ::GetLastError() != ERROR_CLASS_ALREADY_EXISTS) {
    return false;
  }

  WNDCLASSEXW helper_class{};
  helper_class.cbSize = sizeof helper_class;
  helper_class.lpfnWndProc = HelperProc;
  helper_class.hInstance = module;
  helper_class.lpszClassName = kSyncHelperClassName;
  if (::RegisterClassExW(&helper_class) == 0 && ::GetLastError() != ERROR_CLASS_ALREADY_EXISTS) {
    const DWORD error = ::GetLastError();
    ::UnregisterClassW(kSyncWindowClassName, module);
    ::SetLastError(error);
    return false;
  }
  g_classes_registered = true;
  return true;
}

bool UnregisterSyncWindowClasses() {
  std::vector<std::shared_ptr<Shared>> live;
  {
    std::lock_guard<std::mutex> lock(g_live_mutex);
    for (const auto& weak : g_live) {
      if (auto shared = weak.lock()) live.push_back(std::move(shared));
    }
  }
  for (const auto& shared : live) DestroyHelpers(*shared);

  std::lock_guard<std::mutex> lock(g_class_mutex);
  if (!g_classes_registered) return true;
  HINSTANCE module = OwnModule();
  const bool window_gone = ::UnregisterClassW(kSyncWindowClassName, module) != 0 ||
                           ::GetLastError() == ERROR_CLASS_DOES_NOT_EXIST;
  const bool helper_gone = ::UnregisterClassW(kSyncHelperClassName, module) != 0 ||
                           ::GetLastError() == ERROR_CLASS_DOES_NOT_EXIST;
  if (window_gone && helper_gone) g_classes_registered = false;
  return window_gone && helper_gone;
}

bool AskWithMessageBox(HWND owner, std::string_view question) {
  if (!InteractiveDesktop()) return true;
  if (owner != nullptr && ::IsWindow(owner) == FALSE) owner = nullptr;
  const std::wstring text = Widen(question);
  const std::wstring caption = Widen(frmZVSync::kCaption);
  const int answer = ::MessageBoxW(owner, text.c_str(), caption.c_str(),
                                   MB_YESNO | MB_ICONQUESTION | MB_DEFBUTTON2);
  if (answer == 0) return true;  // no box could be shown: nobody can answer
  return answer == IDYES;
}

Win32WindowPlatform::Win32WindowPlatform(QuestionBox ask) : shared_(std::make_shared<Shared>()) {
  shared_->ask = std::move(ask);
  std::lock_guard<std::mutex> lock(g_live_mutex);
  g_live.erase(std::remove_if(g_live.begin(), g_live.end(),
                              [](const std::weak_ptr<Shared>& weak) { return weak.expired(); }),
               g_live.end());
  g_live.push_back(shared_);
}

Win32WindowPlatform::~Win32WindowPlatform() {
  DestroyHelpers(*shared_);
  if (shared_->quit_held) {
    shared_->quit_held = false;
    ::PostQuitMessage(static_cast<int>(shared_->quit_code));
  }
  if (!shared_->shown.empty()) g_interrupt_window = nullptr;
  shared_->shown.clear();
}

void Win32WindowPlatform::CatchInterrupt() {
  if (g_interrupt_installed.exchange(true)) return;
  if (!::SetConsoleCtrlHandler(OnConsoleControl, TRUE)) g_interrupt_installed = false;
}

void Win32WindowPlatform::ReleaseInterrupt() {
  if (g_interrupt_installed.exchange(false)) ::SetConsoleCtrlHandler(OnConsoleControl, FALSE);
  g_interrupt_pending = false;
}

bool Win32WindowPlatform::Interrupt() {
  if (g_interrupt_pending.exchange(true)) return false;  // nobody took the first one
  HWND target = g_interrupt_window.load();
  if (target != nullptr) ::PostMessageW(target, kInterruptMessage, 0, 0);
  return true;
}

std::unique_ptr<WindowTimer> Win32WindowPlatform::CreateTimer(std::function<void()> on_tick) {
  auto state = std::make_shared<TimerState>();
  state->on_tick = std::move(on_tick);
  state->shared = shared_;
  state->thread = ::GetCurrentThreadId();
  state->helper = HelperOfThisThread(shared_);
  {
    std::lock_guard<std::mutex> lock(shared_->mutex);
    state->id = shared_->next_timer_id++;
    shared_->timers[state->id] = state;
  }
  return std::make_unique<Win32Timer>(std::move(state));
}

std::unique_ptr<SyncWindowView> Win32WindowPlatform::CreateView(SyncWindowInput& input) {
  return std::make_unique<Win32SyncView>(shared_, input, shared_->ask);
}

bool Win32WindowPlatform::DispatchPending() {
  bool any = false;
  MSG message;
  for (int count = 0; count < kMaxMessagesPerRound; ++count) {
    if (!::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) break;
    any = true;
    if (message.message == WM_QUIT) {
      Win32SyncView* shown = LastShown(*shared_);
      if (shown == nullptr) {
        // No exchange waits: the quit goes straight back to the host's
        // loop, and this round ends here (peeking again would meet it).
        ::PostQuitMessage(static_cast<int>(message.wParam));
        break;
      }
      // Held back until the shown window closes; the exchange ends as
      // cancelled, once.
      const bool first = !shared_->quit_held;
      shared_->quit_held = true;
      shared_->quit_code = message.wParam;
      if (first) shown->Input().QuitRequested();
      continue;
    }
    ++shared_->dispatched;
    if (TakeKeyOfShownWindow(*shared_, message)) continue;
    ::TranslateMessage(&message);
    ::DispatchMessageW(&message);
  }
  return any;
}

std::unique_ptr<FolderChangeWatch> Win32WindowPlatform::Watch(const std::string& folder,
                                                              int32_t settle_ms,
                                                              std::function<void()> on_change,
                                                              std::string& reason) {
  auto state = std::make_shared<WatchState>();
  const std::wstring wide = Widen(folder);
  state->handle = ::FindFirstChangeNotificationW(
      wide.c_str(), FALSE, FILE_NOTIFY_CHANGE_FILE_NAME | FILE_NOTIFY_CHANGE_LAST_WRITE);
  if (state->handle == INVALID_HANDLE_VALUE) {
    reason = "FindFirstChangeNotificationW: " + SystemText(::GetLastError());
    return nullptr;
  }
  state->thread = ::GetCurrentThreadId();
  state->on_change = std::move(on_change);
  state->settle = std::chrono::milliseconds(std::max<int32_t>(settle_ms, 0));
  shared_->watches.push_back(state);
  return std::make_unique<Win32FolderWatch>(std::move(state));
}

std::vector<std::shared_ptr<WatchState>> Win32WindowPlatform::ReadWatches() {
  std::vector<std::shared_ptr<WatchState>> live = LiveWatchesOfThisThread(shared_->watches);
  for (const auto& watch : live) {
    if (watch->handle == INVALID_HANDLE_VALUE) continue;
    if (::WaitForSingleObject(watch->handle, 0) != WAIT_OBJECT_0) continue;
    // What changed does not matter (the tick looks at the folder): only
    // that something did. A handle that cannot be re-armed (the folder is
    // gone) would stay signalled: it is closed, and the poll alone is left.
    if (!::FindNextChangeNotification(watch->handle)) watch->Close();
    watch->settling = true;
    watch->due = WatchState::Clock::now() + watch->settle;
  }
  return live;
}

bool Win32WindowPlatform::RunSettledWatches() {
  bool ran = false;
  for (const auto& watch : LiveWatchesOfThisThread(shared_->watches)) {
    // An earlier callback may have ended this watch.
    if (!watch->alive || !watch->settling || watch->due > WatchState::Clock::now()) continue;
    watch->settling = false;
    ran = true;
    watch->on_change();
  }
  return ran;
}

void Win32WindowPlatform::RunPending(int32_t max_wait_ms) {
  ++shared_->rounds;
  ReadWatches();
  const bool dispatched = DispatchPending();
  if (RunSettledWatches() || dispatched) return;
  if (max_wait_ms <= 0) return;

  // The wait ends at a message, a folder change, the end of a settle time
  // or after `max_wait_ms`.
  std::vector<HANDLE> handles;
  auto wait = std::chrono::milliseconds(max_wait_ms);
  const auto now = WatchState::Clock::now();
  for (const auto& watch : ReadWatches()) {
    if (watch->settling) {
      const auto left = std::chrono::ceil<std::chrono::milliseconds>(watch->due - now);
      wait = std::min(wait, std::max(left, std::chrono::milliseconds(0)));
    }
    if (watch->handle != INVALID_HANDLE_VALUE && handles.size() < MAXIMUM_WAIT_OBJECTS - 1) {
      handles.push_back(watch->handle);
    }
  }
  ++shared_->waits;
  ::MsgWaitForMultipleObjectsEx(static_cast<DWORD>(handles.size()),
                                handles.empty() ? nullptr : handles.data(),
                                static_cast<DWORD>(wait.count()), QS_ALLINPUT,
                                MWMO_INPUTAVAILABLE);
  ReadWatches();
  DispatchPending();
  RunSettledWatches();
}

uint64_t Win32WindowPlatform::Rounds() const { return shared_->rounds; }
uint64_t Win32WindowPlatform::Waits() const { return shared_->waits; }
uint64_t Win32WindowPlatform::Dispatched() const { return shared_->dispatched; }

HWND Win32WindowPlatform::WindowOf(const SyncWindowView& view) {
  const auto* own = dynamic_cast<const Win32SyncView*>(&view);
  return own != nullptr ? own->Window() : nullptr;
}

}  // namespace kdzv::win32
