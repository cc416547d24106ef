// The sync window of Windows: a real top-level window with the log pane
// (Text1), the cancel button (cmdCancel) and a small drawn emblem; its
// timers are Win32 timers; and the message pump that the waiting StartSync
// drives, which dispatches the whole thread's messages, so that the host's
// windows stay responsive and its own timers fire during an exchange.
//
// Threads: a timer ticks on the thread that created it (it lives on a
// hidden message-only window of that thread); a view belongs to the thread
// that showed it. The pump runs the messages of the calling thread.
//
// A WM_QUIT met by the pump while a sync window is shown is the host's
// program ending: the window's input gets QuitRequested (a cancel without
// the question), and the quit is held back, never peeked again, until the
// window is closed (the end of the wait), when it is posted once more for
// the host's own loop. A WM_QUIT met while no sync window is shown goes
// straight back to the host.
//
// Ctrl+C on the console (CatchInterrupt): the console runs its handler on a
// thread of its own, so the handler only notes the interrupt and posts a
// message to the hidden window of the thread that showed the sync window;
// there it becomes CloseRequested, the cancel question, as if the close box
// had been pressed. An interrupt while no window is shown waits for the next
// one; a second interrupt before the first was taken ends the program as
// Ctrl+C usually does.
#ifndef KDZV_PLATFORM_WIN32_WIN32_SYNC_WINDOW_H_
#define KDZV_PLATFORM_WIN32_WIN32_SYNC_WINDOW_H_

#include <windows.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "interface/folder_changes.h"
#include "syncwindow/window_ports.h"

namespace kdzv::win32 {

// The window classes (registered with the module that contains this code).
inline constexpr wchar_t kSyncWindowClassName[] = L"kdZentavoSyncWindow";
inline constexpr wchar_t kSyncHelperClassName[] = L"kdZentavoSyncHelper";

// The control ids of the log pane (Text1) and the cancel button (cmdCancel).
inline constexpr int kLogPaneId = 1001;
inline constexpr int kCancelButtonId = 1002;

// The icon resource of the emblem (in the DLL's resources; a program
// without it shows the system's default icon).
inline constexpr int kEmblemIconId = 101;

// The most characters the log pane holds (far more than the default 30 000
// of an edit control, so that a long exchange keeps its last lines).
inline constexpr int kLogPaneLimit = 0x7FFFFFFE;

// The module (the DLL, or the program it is linked into) that holds this
// code; its handle owns the window classes.
HMODULE OwnModule();

// Registers both window classes, once per process (again after
// UnregisterSyncWindowClasses). False when Windows refuses.
bool RegisterSyncWindowClasses();
// Destroys the hidden windows of every live platform object that belong to
// the calling thread and unregisters both classes; the DLL calls it before
// it is unloaded. False when a class is still in use (a sync window is still
// open, or a hidden window of another thread) and stays registered.
bool UnregisterSyncWindowClasses();

// Asks `question` with yes and no, owned by `owner`; true for yes.
using QuestionBox = std::function<bool(HWND owner, std::string_view question)>;

// The question box of the sync window: MessageBoxW with the question icon,
// "no" as the default button and the window's caption. When the process
// has no desktop that a user sees (a service, a session without one), or the
// box cannot be shown, nobody can answer: the question is answered yes, so
// that what asked it (Ctrl+C, the close box) is taken as meant.
bool AskWithMessageBox(HWND owner, std::string_view question);

class Win32WindowPlatform : public SyncWindowPlatform, public MessagePump, public FolderChanges {
 public:
  explicit Win32WindowPlatform(QuestionBox ask = AskWithMessageBox);
  ~Win32WindowPlatform() override;
  Win32WindowPlatform(const Win32WindowPlatform&) = delete;
  Win32WindowPlatform& operator=(const Win32WindowPlatform&) = delete;

  // Installs the console's Ctrl+C handler for the process (see above).
  static void CatchInterrupt();
  // Removes it and drops an interrupt not yet taken.
  static void ReleaseInterrupt();
  // What the handler does on Ctrl+C or Ctrl+Break, callable from any
  // thread: notes the interrupt and wakes the shown window's thread. False
  // when an earlier interrupt has not been taken yet (the handler then
  // lets the program end).
  static bool Interrupt();

  // SyncWindowPlatform. Timers and views may outlive the platform object;
  // timers are then inert, views keep their window until closed.
  std::unique_ptr<WindowTimer> CreateTimer(std::function<void()> on_tick) override;
  std::unique_ptr<SyncWindowView> CreateView(SyncWindowInput& input) override;

  // MessagePump: dispatches every message pending for this thread and
  // runs this thread's folder watches whose settle time has passed; when
  // there was nothing, waits for the next message, folder change or end of
  // a settle time (MsgWaitForMultipleObjectsEx, no spinning) at most
  // `max_wait_ms`, and dispatches and runs what came.
  void RunPending(int32_t max_wait_ms) override;

  // FolderChanges, with FindFirstChangeNotificationW (file names and last
  // write) on the folder alone. A watch belongs to the thread that made it:
  // only that thread's RunPending waits for it and runs its callback. Every
  // write is told, a writer closing its file is not. Fails when the folder
  // is missing or is no folder, or the system refuses (a share that does
  // not support notifications); `reason` then names the Windows error.
  std::unique_ptr<FolderChangeWatch> Watch(const std::string& folder, int32_t settle_ms,
                                           std::function<void()> on_change,
                                           std::string& reason) override;
  bool TellsWhenWriterCloses() const override { return false; }

  // Counters of the pump, for tests and diagnosis: calls of RunPending,
  // waits it made, messages it dispatched.
  uint64_t Rounds() const;
  uint64_t Waits() const;
  uint64_t Dispatched() const;

  // The window of a view made by this platform (null before Show, after
  // Close, or for another kind of view).
  static HWND WindowOf(const SyncWindowView& view);

  struct Shared;
  struct WatchState;

 private:
  // Dispatches what is pending; true when anything was (also a WM_QUIT).
  bool DispatchPending();
  // Takes the changes told to this thread's watches (each one (re)starts
  // its watch's settle time); the watches of this thread that live.
  std::vector<std::shared_ptr<WatchState>> ReadWatches();
  // Runs this thread's watches whose settle time has passed; true when any
  // ran.
  bool RunSettledWatches();

  std::shared_ptr<Shared> shared_;
};

}  // namespace kdzv::win32

#endif  // KDZV_PLATFORM_WIN32_WIN32_SYNC_WINDOW_H_
