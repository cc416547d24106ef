// The sync window of Windows, its timers and the message pump, as real
// windows (under Wine inside an X display).
#include "platform/win32/win32_sync_window.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "platform/win32/library_windows.h"
#include "platform/win32/wide_text.h"
#include "support/fake_window.h"
#include "support/fakes.h"
#include "support/memory_file_system.h"
#include "syncwindow/frm_zv_sync.h"
#include "support/own_window.h"

namespace kdzv::win32 {
namespace {

using Clock = std::chrono::steady_clock;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr char kQuestion[] = "Soll der Syncronisation-Prozess wirklich abgebrochen werden?";

// Counts what the view reports to its window.
class CountingInput : public SyncWindowInput {
 public:
  void CancelClicked() override { ++cancels; }
  void CloseRequested() override { ++closes; }
  void QuitRequested() override { ++quits; }
  void WindowDestroyed() override { ++destroyed; }
  int cancels = 0;
  int closes = 0;
  int quits = 0;
  int destroyed = 0;
};

int64_t MillisecondsSince(Clock::time_point start) {
  return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count();
}

std::string TextOf(HWND window) {
  const int length = ::GetWindowTextLengthW(window);
  std::wstring text(static_cast<size_t>(length) + 1, L'\0');
  const int got = ::GetWindowTextW(window, text.data(), length + 1);
  text.resize(static_cast<size_t>(got));
  return Narrow(text);
}

std::string ClassOf(HWND window) {
  wchar_t name[64] = {};
  ::GetClassNameW(window, name, 64);
  return Narrow(name);
}

// Takes every WM_QUIT out of this thread's queue; returns their codes.
std::vector<WPARAM> TakeQuits() {
  std::vector<WPARAM> codes;
  MSG message;
  while (::PeekMessageW(&message, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE)) {
    codes.push_back(message.wParam);
  }
  return codes;
}

class Win32SyncWindowTest : public ::testing::Test {
 protected:
  Win32SyncWindowTest()
      : platform([this](HWND owner, std::string_view question) {
          asked_owners.push_back(owner);
          questions.emplace_back(question);
          if (on_ask) on_ask();
          return answer;
        }) {}

  // Runs the pump until `done` holds, at most `rounds` rounds of 50 ms.
  template <typename Done>
  bool PumpUntil(Done done, int rounds = 100) {
    for (int i = 0; i < rounds && !done(); ++i) platform.RunPending(50);
    return done();
  }

  Win32WindowPlatform platform;
  std::vector<HWND> asked_owners;
  std::vector<std::string> questions;
  bool answer = false;
  std::function<void()> on_ask;
};

TEST_F(Win32SyncWindowTest, CaptionPaneAndButton) {
  CountingInput input;
  auto view = platform.CreateView(input);
  EXPECT_EQ(Win32WindowPlatform::WindowOf(*view), nullptr);  // made when shown
  view->Show(0);
  HWND window = Win32WindowPlatform::WindowOf(*view);
  ASSERT_NE(window, nullptr);
  EXPECT_TRUE(::IsWindowVisible(window));
  EXPECT_EQ(TextOf(window), "Zentavo - Syncronisation");
  EXPECT_EQ(ClassOf(window), "kdZentavoSyncWindow");
  EXPECT_EQ(::GetWindow(window, GW_OWNER), nullptr);

  HWND button = ::GetDlgItem(window, kCancelButtonId);
  ASSERT_NE(button, nullptr);
  EXPECT_EQ(TextOf(button), "Abbruch");
  EXPECT_EQ(ClassOf(button), "Button");

  HWND pane = ::GetDlgItem(window, kLogPaneId);
  ASSERT_NE(pane, nullptr);
  EXPECT_EQ(ClassOf(pane), "Edit");
  const LONG_PTR style = ::GetWindowLongPtrW(pane, GWL_STYLE);
  EXPECT_NE(style & ES_MULTILINE, 0);
  EXPECT_NE(style & ES_READONLY, 0);
  EXPECT_NE(style & WS_VSCROLL, 0);
  EXPECT_GE(static_cast<unsigned>(::SendMessageW(pane, EM_GETLIMITTEXT, 0, 0)), 0x7FFFFFFEu);
  view->Close();
  EXPECT_FALSE(::IsWindow(window));
}

TEST_F(Win32SyncWindowTest, TheLogPaneKeepsUmlautsAndTheNewestLineAtTheBottom) {
  CountingInput input;
  auto view = platform.CreateView(input);
  view->ClearLog();
  view->AppendLog("\r\nVor dem Zeigen");  // waits for the window
  view->Show(0);
  HWND pane = ::GetDlgItem(Win32WindowPlatform::WindowOf(*view), kLogPaneId);
  EXPECT_EQ(TextOf(pane), "\r\nVor dem Zeigen");
  // Appended text reaches the pane when the thread next runs its messages.
  view->AppendLog("\r\nPrüfung äöüß");
  platform.RunPending(0);
  EXPECT_EQ(TextOf(pane), "\r\nVor dem Zeigen\r\nPrüfung äöüß");
  EXPECT_EQ(::SendMessageW(pane, EM_GETLINECOUNT, 0, 0), 3);
  // The caret stands at the end.
  DWORD from = 0;
  DWORD to = 0;
  ::SendMessageW(pane, EM_GETSEL, reinterpret_cast<WPARAM>(&from), reinterpret_cast<LPARAM>(&to));
  EXPECT_EQ(static_cast<int>(to), ::GetWindowTextLengthW(pane));
  view->ClearLog();
  EXPECT_EQ(TextOf(pane), "");
}

TEST_F(Win32SyncWindowTest, TenThousandLinesKeepTheLastOneShownAtTheBottom) {
  CountingInput input;
  auto view = platform.CreateView(input);
  view->Show(0);
  HWND pane = ::GetDlgItem(Win32WindowPlatform::WindowOf(*view), kLogPaneId);
  // In bursts, as an exchange logs them: the messages run between bursts.
  const auto start = Clock::now();
  for (int i = 1; i <= 10000; ++i) {
    view->AppendLog("\r\nZeile " + std::to_string(i) + " der Übertragung, Prüfung läuft");
    if (i % 50 == 0) platform.RunPending(0);
  }
  platform.RunPending(0);
  const int64_t took_ms = MillisecondsSince(start);
  std::printf("10 000 lines appended and shown in %lld ms\n", static_cast<long long>(took_ms));

  const std::string last = "Zeile 10000 der Übertragung, Prüfung läuft";
  const int lines = static_cast<int>(::SendMessageW(pane, EM_GETLINECOUNT, 0, 0));
  EXPECT_EQ(lines, 10001);
  // EM_GETLINE of the last line: the buffer's first word holds its size.
  std::wstring buffer(256, L'\0');
  *reinterpret_cast<WORD*>(buffer.data()) = static_cast<WORD>(buffer.size());
  const LRESULT copied = ::SendMessageW(pane, EM_GETLINE, static_cast<WPARAM>(lines - 1),
                                        reinterpret_cast<LPARAM>(buffer.data()));
  buffer.resize(static_cast<size_t>(copied));
  EXPECT_EQ(Narrow(buffer), last);
  // The whole text ends with it, and nothing was cut.
  const std::string text = TextOf(pane);
  EXPECT_EQ(text.substr(text.size() - last.size()), last);
  EXPECT_EQ(text.rfind("\r\nZeile 1 der", 0), 0u);
  // The pane was scrolled down to it.
  const LRESULT first_visible = ::SendMessageW(pane, EM_GETFIRSTVISIBLELINE, 0, 0);
  EXPECT_GT(first_visible, 9900);
}

TEST_F(Win32SyncWindowTest, TheCloseBoxAsksAndDoesNotClose) {
  CountingInput input;
  auto view = platform.CreateView(input);
  view->Show(0);
  HWND window = Win32WindowPlatform::WindowOf(*view);
  ::SendMessageW(window, WM_SYSCOMMAND, SC_CLOSE, 0);
  ::SendMessageW(window, WM_CLOSE, 0, 0);
  EXPECT_EQ(input.closes, 2);
  EXPECT_EQ(input.cancels, 0);
  EXPECT_TRUE(::IsWindow(window));
  EXPECT_TRUE(::IsWindowVisible(window));
  // Closing by code is never refused, and asks nothing.
  view->Close();
  EXPECT_FALSE(::IsWindow(window));
  EXPECT_EQ(input.closes, 2);
}

TEST_F(Win32SyncWindowTest, TheCancelButtonReachesTheWindow) {
  CountingInput input;
  auto view = platform.CreateView(input);
  view->Show(0);
  HWND window = Win32WindowPlatform::WindowOf(*view);
  HWND button = ::GetDlgItem(window, kCancelButtonId);
  ::SendMessageW(button, BM_CLICK, 0, 0);
  EXPECT_TRUE(PumpUntil([&] { return input.cancels >= 1; }, 20));
  EXPECT_EQ(input.cancels, 1);
  ::SendMessageW(window, WM_COMMAND, MAKEWPARAM(kCancelButtonId, BN_CLICKED),
                 reinterpret_cast<LPARAM>(button));
  EXPECT_EQ(input.cancels, 2);
  EXPECT_EQ(input.closes, 0);
}

TEST_F(Win32SyncWindowTest, TheQuestionIsOwnedByTheWindow) {
  CountingInput input;
  auto view = platform.CreateView(input);
  view->Show(0);
  answer = true;
  EXPECT_TRUE(view->AskYesNo(kQuestion));
  answer = false;
  EXPECT_FALSE(view->AskYesNo(kQuestion));
  EXPECT_THAT(questions, ElementsAre(kQuestion, kQuestion));
  EXPECT_THAT(asked_owners, ElementsAre(Win32WindowPlatform::WindowOf(*view),
                                        Win32WindowPlatform::WindowOf(*view)));
}

TEST_F(Win32SyncWindowTest, AnOwnerWindowOwnsIt) {
  HWND host = ::CreateWindowExW(0, L"STATIC", L"Halvex", WS_OVERLAPPEDWINDOW, 0, 0, 300, 200,
                                nullptr, nullptr, nullptr, nullptr);
  ASSERT_NE(host, nullptr);
  CountingInput input;
  auto view = platform.CreateView(input);
  view->Show(reinterpret_cast<intptr_t>(host));
  HWND window = Win32WindowPlatform::WindowOf(*view);
  ASSERT_NE(window, nullptr);
  EXPECT_EQ(::GetWindow(window, GW_OWNER), host);
  // Owned, yet a top-level window of its own.
  EXPECT_EQ(::GetAncestor(window, GA_PARENT), ::GetDesktopWindow());
  EXPECT_EQ(::GetWindowLongPtrW(window, GWL_STYLE) & WS_CHILD, 0);

  // The host's window goes first: the owned window goes with it, and the
  // view lives on without one.
  ::DestroyWindow(host);
  EXPECT_FALSE(::IsWindow(window));
  EXPECT_EQ(Win32WindowPlatform::WindowOf(*view), nullptr);
  view->AppendLog("\r\nnach dem Fenster");
  view->Close();
}

TEST_F(Win32SyncWindowTest, AHandleThatIsNoWindowMeansNoOwner) {
  CountingInput input;
  auto view = platform.CreateView(input);
  view->Show(0x7FFF1234);
  HWND window = Win32WindowPlatform::WindowOf(*view);
  ASSERT_NE(window, nullptr);
  EXPECT_EQ(::GetWindow(window, GW_OWNER), nullptr);
}

TEST_F(Win32SyncWindowTest, TheEmblemIsDrawnBesideThePane) {
  CountingInput input;
  auto view = platform.CreateView(input);
  view->Show(0);
  HWND window = Win32WindowPlatform::WindowOf(*view);
  RECT client;
  ::GetClientRect(window, &client);
  HDC screen = ::GetDC(window);
  HDC memory = ::CreateCompatibleDC(screen);
  HBITMAP bitmap = ::CreateCompatibleBitmap(screen, client.right, client.bottom);
  HGDIOBJ old = ::SelectObject(memory, bitmap);
  RECT all{0, 0, client.right, client.bottom};
  ::FillRect(memory, &all, static_cast<HBRUSH>(::GetStockObject(BLACK_BRUSH)));
  ::SendMessageW(window, WM_PRINTCLIENT, reinterpret_cast<WPARAM>(memory), PRF_CLIENT);
  const COLORREF band = ::GetPixel(memory, 3, client.bottom - 3);
  const COLORREF frame = ::GetPixel(memory, 10, 30);
  const COLORREF inside = ::GetPixel(memory, 16, 16);
  ::SelectObject(memory, old);
  ::DeleteObject(bitmap);
  ::DeleteDC(memory);
  ::ReleaseDC(window, screen);
  EXPECT_EQ(band, RGB(232, 238, 246));
  EXPECT_EQ(frame, RGB(62, 104, 158));
  EXPECT_EQ(inside, RGB(255, 255, 255));
}

TEST_F(Win32SyncWindowTest, TheClassesBelongToTheModuleOfThisCode) {
  CountingInput input;
  auto view = platform.CreateView(input);
  view->Show(0);
  // Linked into this program, the code's module is the program.
  EXPECT_EQ(OwnModule(), ::GetModuleHandleW(nullptr));
  WNDCLASSEXW found{};
  found.cbSize = sizeof found;
  EXPECT_TRUE(::GetClassInfoExW(OwnModule(), kSyncWindowClassName, &found));
  EXPECT_TRUE(::GetClassInfoExW(OwnModule(), kSyncHelperClassName, &found));
  // Not while a window of it is open; then it goes, and comes back on use.
  EXPECT_FALSE(UnregisterSyncWindowClasses());
  view->Close();
  EXPECT_TRUE(UnregisterSyncWindowClasses());
  EXPECT_FALSE(::GetClassInfoExW(OwnModule(), kSyncWindowClassName, &found));
  EXPECT_FALSE(::GetClassInfoExW(OwnModule(), kSyncHelperClassName, &found));
  view->Show(0);
  EXPECT_NE(Win32WindowPlatform::WindowOf(*view), nullptr);
  EXPECT_TRUE(::GetClassInfoExW(OwnModule(), kSyncWindowClassName, &found));
}

// What the hook of the next test saw of the question box, and how it
// answers: with a button, or with the Enter key, which presses the default
// button.
struct SeenBox {
  std::string caption;
  std::string text;
  bool has_yes = false;
  bool has_no = false;
  WPARAM button = 0;  // 0: Enter
};
SeenBox g_seen_box;
HHOOK g_box_hook = nullptr;

LRESULT CALLBACK AnswerTheBox(int code, WPARAM wparam, LPARAM lparam) {
  if (code == HCBT_ACTIVATE) {
    HWND box = reinterpret_cast<HWND>(wparam);
    if (ClassOf(box) == "#32770") {
      g_seen_box.caption = TextOf(box);
      g_seen_box.text = TextOf(::GetDlgItem(box, 0xFFFF));
      g_seen_box.has_yes = ::GetDlgItem(box, IDYES) != nullptr;
      g_seen_box.has_no = ::GetDlgItem(box, IDNO) != nullptr;
      if (g_seen_box.button != 0) {
        ::PostMessageW(box, WM_COMMAND, g_seen_box.button, 0);
      } else {
        ::PostMessageW(box, WM_KEYDOWN, VK_RETURN, 0);
        ::PostMessageW(box, WM_KEYUP, VK_RETURN, 0);
      }
    }
  }
  return ::CallNextHookEx(g_box_hook, code, wparam, lparam);
}

TEST_F(Win32SyncWindowTest, TheRealQuestionBoxAsksWithNoAsDefault) {
  // The box is answered by a hook on its activation, as a user would.
  g_box_hook = ::SetWindowsHookExW(WH_CBT, AnswerTheBox, nullptr, ::GetCurrentThreadId());
  ASSERT_NE(g_box_hook, nullptr);
  CountingInput input;
  Win32WindowPlatform real;
  auto view = real.CreateView(input);
  view->Show(0);
  g_seen_box = SeenBox{};
  g_seen_box.button = IDYES;
  EXPECT_TRUE(view->AskYesNo(kQuestion));
  EXPECT_EQ(g_seen_box.caption, "Zentavo - Syncronisation");
  EXPECT_EQ(g_seen_box.text, kQuestion);
  EXPECT_TRUE(g_seen_box.has_yes);
  EXPECT_TRUE(g_seen_box.has_no);
  g_seen_box = SeenBox{};
  g_seen_box.button = IDNO;
  EXPECT_FALSE(view->AskYesNo(kQuestion));
  EXPECT_EQ(g_seen_box.text, kQuestion);
  // Enter presses the default button: no.
  g_seen_box = SeenBox{};
  EXPECT_FALSE(view->AskYesNo(kQuestion));
  EXPECT_EQ(g_seen_box.text, kQuestion);
  ::UnhookWindowsHookEx(g_box_hook);
}

TEST_F(Win32SyncWindowTest, ATimerTicksOnItsThread) {
  int ticks = 0;
  DWORD tick_thread = 0;
  auto timer = platform.CreateTimer([&] {
    ++ticks;
    tick_thread = ::GetCurrentThreadId();
  });
  EXPECT_FALSE(timer->Enabled());
  timer->SetInterval(50);
  timer->SetEnabled(true);
  EXPECT_TRUE(timer->Enabled());
  EXPECT_EQ(timer->Interval(), 50);
  EXPECT_TRUE(PumpUntil([&] { return ticks >= 3; }, 200));
  EXPECT_EQ(tick_thread, ::GetCurrentThreadId());
  timer->SetEnabled(false);
  const int stopped_at = ticks;
  for (int i = 0; i < 4; ++i) platform.RunPending(50);
  EXPECT_EQ(ticks, stopped_at);
}

TEST_F(Win32SyncWindowTest, ATimerMadeOnAnotherThreadTicksThere) {
  std::atomic<int> ticks{0};
  std::atomic<DWORD> tick_thread{0};
  DWORD worker_thread = 0;
  std::thread worker([&] {
    worker_thread = ::GetCurrentThreadId();
    auto timer = platform.CreateTimer([&] {
      ++ticks;
      tick_thread = ::GetCurrentThreadId();
    });
    timer->SetInterval(30);
    timer->SetEnabled(true);
    for (int i = 0; i < 200 && ticks == 0; ++i) platform.RunPending(50);
  });
  worker.join();
  EXPECT_GE(ticks.load(), 1);
  EXPECT_EQ(tick_thread.load(), worker_thread);
  EXPECT_NE(worker_thread, ::GetCurrentThreadId());
}

TEST_F(Win32SyncWindowTest, UnregisteringStopsTheTimersAndEnablingMakesThemTickAgain) {
  int ticks = 0;
  auto timer = platform.CreateTimer([&] { ++ticks; });
  timer->SetInterval(20);
  timer->SetEnabled(true);
  EXPECT_TRUE(PumpUntil([&] { return ticks >= 1; }, 100));
  // Their hidden window goes with the classes.
  EXPECT_TRUE(UnregisterSyncWindowClasses());
  for (int i = 0; i < 3; ++i) platform.RunPending(0);
  const int stopped_at = ticks;
  for (int i = 0; i < 4; ++i) platform.RunPending(40);
  EXPECT_EQ(ticks, stopped_at);
  timer->SetEnabled(true);
  EXPECT_TRUE(PumpUntil([&] { return ticks > stopped_at; }, 100));
  timer->SetEnabled(false);
}

TEST_F(Win32SyncWindowTest, IntervalZeroAndDisabledTimersNeverTick) {
  int zero_ticks = 0;
  int disabled_ticks = 0;
  int negative_ticks = 0;
  auto zero = platform.CreateTimer([&] { ++zero_ticks; });
  auto disabled = platform.CreateTimer([&] { ++disabled_ticks; });
  auto negative = platform.CreateTimer([&] { ++negative_ticks; });
  zero->SetInterval(0);
  zero->SetEnabled(true);
  disabled->SetInterval(20);
  disabled->SetEnabled(false);
  negative->SetInterval(-5);
  negative->SetEnabled(true);
  // A control timer shows that the pump ran long enough for them to tick.
  int control_ticks = 0;
  auto control = platform.CreateTimer([&] { ++control_ticks; });
  control->SetInterval(20);
  control->SetEnabled(true);
  EXPECT_TRUE(PumpUntil([&] { return control_ticks >= 5; }, 200));
  EXPECT_EQ(zero_ticks, 0);
  EXPECT_EQ(disabled_ticks, 0);
  EXPECT_EQ(negative_ticks, 0);
  // An interval of 0 given to a running timer stops it.
  control->SetInterval(0);
  const int stopped_at = control_ticks;
  for (int i = 0; i < 4; ++i) platform.RunPending(50);
  EXPECT_EQ(control_ticks, stopped_at);
}

TEST_F(Win32SyncWindowTest, EnablingAgainRestartsTheCount) {
  int ticks = 0;
  auto timer = platform.CreateTimer([&] { ++ticks; });
  timer->SetInterval(1000);
  timer->SetEnabled(true);
  // Re-enabled every 100 ms for 1.5 s: the 1000 ms are never reached.
  const auto start = Clock::now();
  while (MillisecondsSince(start) < 1500) {
    const auto round = Clock::now();
    while (MillisecondsSince(round) < 100) platform.RunPending(20);
    timer->SetEnabled(true);
  }
  EXPECT_EQ(ticks, 0);
}

TEST_F(Win32SyncWindowTest, ATimerThatOutlivesItsPlatformIsInert) {
  int ticks = 0;
  std::unique_ptr<WindowTimer> timer;
  {
    Win32WindowPlatform short_lived;
    timer = short_lived.CreateTimer([&] { ++ticks; });
    timer->SetInterval(20);
    timer->SetEnabled(true);
  }
  // The platform went with the timer running; its messages (if any were
  // queued) find nobody.
  for (int i = 0; i < 6; ++i) platform.RunPending(50);
  timer->SetEnabled(false);
  timer->SetInterval(10);
  timer->SetEnabled(true);
  EXPECT_TRUE(timer->Enabled());
  for (int i = 0; i < 4; ++i) platform.RunPending(50);
  EXPECT_EQ(ticks, 0);
  timer.reset();
}

TEST_F(Win32SyncWindowTest, NothingPendingMeansAWaitNotASpin) {
  // Whatever the test's set-up left behind goes first.
  for (int i = 0; i < 10; ++i) platform.RunPending(0);
  const uint64_t rounds_before = platform.Rounds();
  const uint64_t waits_before = platform.Waits();
  const auto start = Clock::now();
  int calls = 0;
  while (MillisecondsSince(start) < 600) {
    platform.RunPending(200);
    ++calls;
  }
  // Three or four waits of 200 ms fill 600 ms; a loop that spun would have
  // made thousands of calls.
  EXPECT_LE(calls, 12);
  EXPECT_EQ(platform.Rounds() - rounds_before, static_cast<uint64_t>(calls));
  EXPECT_GE(platform.Waits() - waits_before, 1u);
}

int g_host_messages = 0;
int g_host_timer_ticks = 0;

LRESULT CALLBACK HostWindowProc(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
  if (message == WM_APP + 7) ++g_host_messages;
  return ::DefWindowProcW(window, message, wparam, lparam);
}

void CALLBACK HostTimerProc(HWND, UINT, UINT_PTR, DWORD) { ++g_host_timer_ticks; }

TEST_F(Win32SyncWindowTest, TheHostsOwnMessagesAndTimersRunDuringTheWait) {
  WNDCLASSW host_class{};
  host_class.lpfnWndProc = HostWindowProc;
  host_class.hInstance = ::GetModuleHandleW(nullptr);
  host_class.lpszClassName = L"kdzvTestHostWindow";
  ::RegisterClassW(&host_class);
  HWND host = ::CreateWindowExW(0, L"kdzvTestHostWindow", L"Halvex", WS_OVERLAPPEDWINDOW, 0, 0,
                                200, 100, nullptr, nullptr, ::GetModuleHandleW(nullptr), nullptr);
  ASSERT_NE(host, nullptr);
  const UINT_PTR host_timer = ::SetTimer(nullptr, 0, 30, HostTimerProc);
  ASSERT_NE(host_timer, 0u);
  ::PostMessageW(host, WM_APP + 7, 0, 0);
  ::PostMessageW(host, WM_APP + 7, 0, 0);
  EXPECT_TRUE(PumpUntil([&] { return g_host_messages == 2 && g_host_timer_ticks >= 2; }, 100));
  ::KillTimer(nullptr, host_timer);
  ::DestroyWindow(host);
}

TEST_F(Win32SyncWindowTest, AQuitDuringTheWaitCancelsOnceAndGoesBackToTheHostOnce) {
  CountingInput input;
  auto view = platform.CreateView(input);
  view->Show(0);
  ::PostQuitMessage(17);
  platform.RunPending(100);
  EXPECT_EQ(input.quits, 1);
  EXPECT_EQ(input.closes, 0);
  EXPECT_THAT(questions, IsEmpty());
  // Held back while the window is shown: later rounds neither meet it
  // again nor return at once because of it.
  MSG message;
  EXPECT_FALSE(::PeekMessageW(&message, nullptr, WM_QUIT, WM_QUIT, PM_NOREMOVE));
  const uint64_t waits_before = platform.Waits();
  for (int i = 0; i < 3; ++i) platform.RunPending(30);
  EXPECT_EQ(input.quits, 1);
  EXPECT_EQ(platform.Waits() - waits_before, 3u);
  // The end of the wait: it is posted again, once, for the host's loop.
  view->Close();
  EXPECT_THAT(TakeQuits(), ElementsAre(17u));
  view.reset();
  EXPECT_THAT(TakeQuits(), IsEmpty());
}

TEST_F(Win32SyncWindowTest, AQuitWithoutAShownWindowGoesStraightBack) {
  ::PostQuitMessage(3);
  platform.RunPending(1000);
  EXPECT_THAT(TakeQuits(), ElementsAre(3u));
}

TEST_F(Win32SyncWindowTest, AQuitEndsTheSyncWindowsExchangeAsACancelWithoutTheQuestion) {
  test::MemoryFileSystem fs;
  fs.folders.insert("/down");
  test::RecordingWindowEvents owner;
  frmZVSync window(platform, fs, owner);
  window.ClearLog();
  window.Show(0);
  ASSERT_TRUE(window.StartWatch("/down", 500));
  answer = false;  // a question would keep the exchange going
  ::PostQuitMessage(0);
  EXPECT_TRUE(PumpUntil([&] { return !owner.Raised().empty(); }, 20));
  EXPECT_THAT(owner.Raised(), ElementsAre("OnCancel"));
  EXPECT_THAT(questions, IsEmpty());
  EXPECT_FALSE(window.WatchTimer().Enabled());
  EXPECT_EQ(window.LogText(), "\r\nAbbruch: Das Programm wird beendet.");
  EXPECT_THAT(TakeQuits(), IsEmpty());
  window.Unload();
  EXPECT_THAT(TakeQuits(), ElementsAre(0u));
}

TEST_F(Win32SyncWindowTest, TheWatchTimerOfTheSyncWindowPollsTheFolder) {
  test::MemoryFileSystem fs;
  fs.folders.insert("/down");
  test::RecordingWindowEvents owner;
  owner.new_file = [&](const std::string& name) {
    fs.files.erase(fs.BuildPath("/down", name));
    return -1;
  };
  frmZVSync window(platform, fs, owner);
  window.Show(0);
  ASSERT_TRUE(window.StartWatch("/down", 40));
  fs.files[fs.BuildPath("/down", "HX1_2.xml")] = "x";
  EXPECT_TRUE(PumpUntil([&] { return !owner.Raised().empty(); }, 100));
  EXPECT_THAT(owner.Raised(), ElementsAre("OnNewFile:HX1_2.xml"));
  EXPECT_TRUE(window.WatchTimer().Enabled());
  window.Unload();
}

HWND NewHostWindow() {
  return ::CreateWindowExW(0, L"STATIC", L"Halvex", WS_OVERLAPPEDWINDOW, 0, 0, 300, 200, nullptr,
                           nullptr, nullptr, nullptr);
}

constexpr char kDestroyedLine[] = "\r\nAbbruch: Das Synchronisationsfenster wurde geschlossen.";

TEST_F(Win32SyncWindowTest, AWindowDestroyedWithItsOwnerIsReportedOnceAfterwards) {
  HWND host = NewHostWindow();
  ASSERT_NE(host, nullptr);
  CountingInput input;
  auto view = platform.CreateView(input);
  view->Show(reinterpret_cast<intptr_t>(host));
  ::DestroyWindow(host);
  // Not inside the host's DestroyWindow: once the thread runs its messages.
  EXPECT_EQ(input.destroyed, 0);
  EXPECT_TRUE(PumpUntil([&] { return input.destroyed > 0; }, 20));
  for (int i = 0; i < 3; ++i) platform.RunPending(20);
  EXPECT_EQ(input.destroyed, 1);
  EXPECT_EQ(input.closes + input.cancels + input.quits, 0);
  view->Close();
}

TEST_F(Win32SyncWindowTest, AWindowClosedByCodeIsNotReportedAsDestroyed) {
  HWND host = NewHostWindow();
  ASSERT_NE(host, nullptr);
  CountingInput input;
  auto view = platform.CreateView(input);
  view->Show(reinterpret_cast<intptr_t>(host));
  view->Close();
  ::DestroyWindow(host);
  for (int i = 0; i < 3; ++i) platform.RunPending(20);
  EXPECT_EQ(input.destroyed, 0);

  // Destroyed, but closed by the exchange before the report came: the
  // view is no longer shown, and the report is dropped.
  HWND second_host = NewHostWindow();
  CountingInput second;
  auto second_view = platform.CreateView(second);
  second_view->Show(reinterpret_cast<intptr_t>(second_host));
  ::DestroyWindow(second_host);
  second_view->Close();
  for (int i = 0; i < 3; ++i) platform.RunPending(20);
  EXPECT_EQ(second.destroyed, 0);
}

TEST_F(Win32SyncWindowTest, TheOwnerGoneEndsTheSyncWindowsExchangeAsACancelWithoutTheQuestion) {
  HWND host = NewHostWindow();
  ASSERT_NE(host, nullptr);
  test::MemoryFileSystem fs;
  fs.folders.insert("/down");
  test::RecordingWindowEvents owner;
  frmZVSync window(platform, fs, owner);
  window.ClearLog();
  window.Show(reinterpret_cast<intptr_t>(host));
  ASSERT_TRUE(window.StartWatch("/down", 500));
  answer = false;  // a question would keep the exchange going
  ::DestroyWindow(host);
  EXPECT_TRUE(PumpUntil([&] { return !owner.Raised().empty(); }, 20));
  EXPECT_THAT(owner.Raised(), ElementsAre("OnCancel"));
  EXPECT_THAT(questions, IsEmpty());
  EXPECT_FALSE(window.WatchTimer().Enabled());
  EXPECT_EQ(window.LogText(), kDestroyedLine);
  window.Unload();
}

TEST_F(Win32SyncWindowTest, TheOwnerGoneWhileTheQuestionIsOpenCancelsWithoutTheAnswer) {
  HWND host = NewHostWindow();
  ASSERT_NE(host, nullptr);
  test::MemoryFileSystem fs;
  fs.folders.insert("/down");
  test::RecordingWindowEvents owner;
  frmZVSync window(platform, fs, owner);
  window.ClearLog();
  window.Show(reinterpret_cast<intptr_t>(host));
  ASSERT_TRUE(window.StartWatch("/down", 500));
  on_ask = [&] { ::DestroyWindow(host); };
  answer = true;
  HWND shown = kdzv::test::FindOwnWindow(kSyncWindowClassName);
  ASSERT_NE(shown, nullptr);
  ::PostMessageW(::GetDlgItem(shown, kCancelButtonId), BM_CLICK, 0, 0);
  EXPECT_TRUE(PumpUntil([&] { return !owner.Raised().empty(); }, 20));
  for (int i = 0; i < 3; ++i) platform.RunPending(20);
  EXPECT_THAT(questions, ElementsAre(kQuestion));
  EXPECT_THAT(owner.Raised(), ElementsAre("OnCancel"));
  EXPECT_EQ(window.LogText(), kDestroyedLine);
  window.Unload();
}

// Two views of the platform, the inner one shown over the outer one.
struct TwoShownViews {
  explicit TwoShownViews(Win32WindowPlatform& platform)
      : outer(platform.CreateView(first)), inner(platform.CreateView(second)) {
    outer->Show(0);
    inner->Show(0);
  }
  CountingInput first, second;
  std::unique_ptr<SyncWindowView> outer, inner;
};

TEST_F(Win32SyncWindowTest, AWindowShownOverAnotherGivesItBackWhenItCloses) {
  TwoShownViews views(platform);
  views.inner->Close();
  // The outer window is the shown one again: a quit cancels its exchange
  // and is held for it.
  ::PostQuitMessage(5);
  platform.RunPending(100);
  EXPECT_EQ(views.first.quits, 1);
  EXPECT_EQ(views.second.quits, 0);
  EXPECT_THAT(TakeQuits(), IsEmpty());
  views.outer->Close();
  EXPECT_THAT(TakeQuits(), ElementsAre(5u));
}

TEST_F(Win32SyncWindowTest, AQuitDuringTheInnerWaitEndsBothWaits) {
  TwoShownViews views(platform);
  ::PostQuitMessage(7);
  platform.RunPending(100);
  EXPECT_EQ(views.second.quits, 1);
  EXPECT_EQ(views.first.quits, 0);
  views.inner->Close();  // the inner exchange ends; its quit goes on to the outer wait
  platform.RunPending(100);
  EXPECT_EQ(views.first.quits, 1);
  EXPECT_THAT(TakeQuits(), IsEmpty());
  views.outer->Close();
  EXPECT_THAT(TakeQuits(), ElementsAre(7u));
}

TEST_F(Win32SyncWindowTest, AWindowClosedUnderANewerOneChangesNothingForIt) {
  TwoShownViews views(platform);
  views.outer->Close();
  ::PostQuitMessage(9);
  platform.RunPending(100);
  EXPECT_EQ(views.second.quits, 1);
  EXPECT_EQ(views.first.quits, 0);
  EXPECT_THAT(TakeQuits(), IsEmpty());
  views.inner->Close();
  EXPECT_THAT(TakeQuits(), ElementsAre(9u));
}

TEST_F(Win32SyncWindowTest, TheLibrarysWindowsAndClassesAreCounted) {
  CountingInput input;
  auto view = platform.CreateView(input);
  view->Show(0);  // also makes this thread's hidden window
  const long shown = LiveLibraryWindows();
  EXPECT_GE(shown, 2);
  EXPECT_EQ(RegisteredLibraryClasses(), 2);  // the settings dialog's is not here
  view->Close();
  EXPECT_EQ(LiveLibraryWindows(), shown - 1);
  HWND host = NewHostWindow();
  view->Show(reinterpret_cast<intptr_t>(host));
  EXPECT_EQ(LiveLibraryWindows(), shown);
  ::DestroyWindow(host);  // from outside
  EXPECT_EQ(LiveLibraryWindows(), shown - 1);
  for (int i = 0; i < 3; ++i) platform.RunPending(20);
  view->Close();
  EXPECT_TRUE(LibraryWindowsLeft());
}

class Win32SyncWindowInterruptTest : public Win32SyncWindowTest {
 protected:
  Win32SyncWindowInterruptTest() { Win32WindowPlatform::CatchInterrupt(); }
  ~Win32SyncWindowInterruptTest() override { Win32WindowPlatform::ReleaseInterrupt(); }
};

TEST_F(Win32SyncWindowInterruptTest, CtrlCFromTheConsolesThreadAsksAsTheCloseBox) {
  CountingInput input;
  auto view = platform.CreateView(input);
  view->Show(0);
  bool taken = false;
  std::thread console([&] { taken = Win32WindowPlatform::Interrupt(); });
  console.join();
  EXPECT_TRUE(taken);
  EXPECT_TRUE(PumpUntil([&] { return input.closes >= 1; }, 40));
  EXPECT_EQ(input.closes, 1);
  EXPECT_EQ(input.cancels, 0);
  // Taken: the next one is taken too.
  EXPECT_TRUE(Win32WindowPlatform::Interrupt());
  EXPECT_TRUE(PumpUntil([&] { return input.closes >= 2; }, 40));
}

TEST_F(Win32SyncWindowInterruptTest, CtrlCBeforeAWindowIsShownWaitsForIt) {
  CountingInput input;
  auto view = platform.CreateView(input);
  EXPECT_TRUE(Win32WindowPlatform::Interrupt());
  for (int i = 0; i < 3; ++i) platform.RunPending(20);
  EXPECT_EQ(input.closes, 0);
  // A second Ctrl+C before the first was taken: the program would end.
  EXPECT_FALSE(Win32WindowPlatform::Interrupt());
  view->Show(0);
  EXPECT_TRUE(PumpUntil([&] { return input.closes >= 1; }, 40));
  EXPECT_EQ(input.closes, 1);
}

TEST_F(Win32SyncWindowInterruptTest, CtrlCWhileTheQuestionIsOpenBelongsToIt) {
  test::MemoryFileSystem fs;
  fs.folders.insert("/down");
  test::RecordingWindowEvents owner;
  frmZVSync window(platform, fs, owner);
  window.Show(0);
  // Pressed again while the question is open; the question's own message
  // loop (here the pump) sees it.
  on_ask = [&] {
    EXPECT_TRUE(Win32WindowPlatform::Interrupt());
    for (int i = 0; i < 3; ++i) platform.RunPending(20);
  };
  answer = false;
  EXPECT_TRUE(Win32WindowPlatform::Interrupt());
  EXPECT_TRUE(PumpUntil([&] { return !questions.empty(); }, 40));
  for (int i = 0; i < 3; ++i) platform.RunPending(20);
  EXPECT_THAT(questions, ElementsAre(kQuestion));
  EXPECT_THAT(owner.Raised(), IsEmpty());
  // Nothing is left over: the next Ctrl+C is a new one.
  on_ask = nullptr;
  answer = true;
  EXPECT_TRUE(Win32WindowPlatform::Interrupt());
  EXPECT_TRUE(PumpUntil([&] { return !owner.Raised().empty(); }, 40));
  EXPECT_THAT(owner.Raised(), ElementsAre("OnCancel"));
  EXPECT_EQ(questions.size(), 2u);
  window.Unload();
}

}  // namespace
}  // namespace kdzv::win32
