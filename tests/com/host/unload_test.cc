// DllCanUnloadNow: the library says yes only when nothing of it is left,
// neither an object nor a window of its own on any thread. A hidden window
// of another thread that has only been asked to go still receives that
// request, which runs the library's code.
#include <objbase.h>
#include <windows.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "automation_client.h"
#include "host_environment.h"
#include "library_copy.h"

namespace kdzv::host {
namespace {

constexpr DWORD kStepTimeoutMs = 30000;

// The hidden windows of the library's timers that belong to `thread`.
std::vector<HWND> HiddenWindowsOf(DWORD thread) {
  std::vector<HWND> found;
  HWND window = nullptr;
  while ((window = ::FindWindowExW(HWND_MESSAGE, window, L"kdZentavoSyncHelper", nullptr)) !=
         nullptr) {
    if (::GetWindowThreadProcessId(window, nullptr) == thread) found.push_back(window);
  }
  return found;
}

// A second user-interface thread of the host: it runs one exchange of the
// copy (ended at once by the end of the thread's program, a WM_QUIT), lets
// go of the object and then waits without running its messages until it
// is told to.
struct SecondThread {
  const LibraryCopy* copy = nullptr;
  std::wstring dir;
  HANDLE exchanged = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
  HANDLE may_pump = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
  HANDLE pumped = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
  HANDLE may_end = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
  long result = -1;

  ~SecondThread() {
    for (HANDLE event : {exchanged, may_pump, pumped, may_end}) ::CloseHandle(event);
  }

  static void CALLBACK Quit(HWND, UINT, UINT_PTR timer, DWORD) {
    ::KillTimer(nullptr, timer);
    ::PostQuitMessage(0);
  }

  static DWORD WINAPI Run(void* argument) {
    auto& self = *static_cast<SecondThread*>(argument);
    ::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    {
      const Obj zv = self.copy->NewInterface();
      if (zv) {
        const Obj settings = zv.GetObj(L"Settings");
        settings.Put(L"DownloadPath", self.dir + L"\\down");
        settings.Put(L"UploadPath", self.dir + L"\\up");
        settings.Put(L"AblagePath", self.dir + L"\\depot");
        settings.Put(L"FilePraefix", L"HX");
        ::SetTimer(nullptr, 0, 300, Quit);
        self.result = zv.Call(L"StartSync").value.Long();
        // The quit went back to this thread's loop; it has none.
        MSG message;
        while (::PeekMessageW(&message, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE)) {
        }
      }
    }
    ::SetEvent(self.exchanged);
    ::WaitForSingleObject(self.may_pump, kStepTimeoutMs);
    PumpFor(200);
    ::SetEvent(self.pumped);
    ::WaitForSingleObject(self.may_end, kStepTimeoutMs);
    ::CoUninitialize();
    return 0;
  }
};

TEST(ComUnload, AHiddenWindowOfAnotherThreadKeepsTheLibraryLoadedUntilItHasGone) {
  const std::wstring dir = WindowsPath((std::string(KDZV_HOST_WORK_DIR) + "/unload-thread").c_str());
  const std::wstring library = CopyLibraryInto(dir);
  ASSERT_FALSE(library.empty());
  for (const wchar_t* sub : {L"\\up", L"\\down", L"\\depot"}) {
    ASSERT_TRUE(::CreateDirectoryW((dir + sub).c_str(), nullptr));
  }
  LibraryCopy copy(library, false);
  ASSERT_TRUE(copy.loaded());

  SecondThread second;
  second.copy = &copy;
  second.dir = dir;
  DWORD thread_id = 0;
  HANDLE thread = ::CreateThread(nullptr, 0, SecondThread::Run, &second, 0, &thread_id);
  ASSERT_NE(thread, nullptr);
  ASSERT_EQ(::WaitForSingleObject(second.exchanged, kStepTimeoutMs), WAIT_OBJECT_0);
  EXPECT_EQ(second.result, 4);  // ZV_Error_Cancel: the quit ended it

  // The object is gone; the hidden window of the other thread is not.
  const std::vector<HWND> hidden = HiddenWindowsOf(thread_id);
  EXPECT_FALSE(hidden.empty());
  EXPECT_EQ(copy.CanUnloadNow(), S_FALSE);
  // Asked to go, it is still there until its thread runs its messages.
  for (HWND window : hidden) EXPECT_TRUE(::IsWindow(window));
  EXPECT_EQ(copy.CanUnloadNow(), S_FALSE);

  ::SetEvent(second.may_pump);
  ASSERT_EQ(::WaitForSingleObject(second.pumped, kStepTimeoutMs), WAIT_OBJECT_0);
  for (HWND window : hidden) EXPECT_FALSE(::IsWindow(window));
  EXPECT_TRUE(HiddenWindowsOf(thread_id).empty());
  EXPECT_EQ(copy.CanUnloadNow(), S_OK);

  ::SetEvent(second.may_end);
  EXPECT_EQ(::WaitForSingleObject(thread, kStepTimeoutMs), WAIT_OBJECT_0);
  ::CloseHandle(thread);
}

}  // namespace
}  // namespace kdzv::host
