#include "com/com_module.h"

#include "com/type_library.h"
#include "platform/platform.h"
#include "platform/win32/library_windows.h"
#include "platform/win32/win32_settings_dialog.h"
#include "platform/win32/win32_sync_window.h"

namespace kdzv::com {
namespace {

HMODULE g_module = nullptr;
long g_objects = 0;
long g_locks = 0;
DWORD g_owner_thread = 0;
bool g_process_ready = false;

}  // namespace

HMODULE ModuleHandle() { return g_module; }
void SetModuleHandle(HMODULE module) { g_module = module; }

void ObjectCreated() { ::InterlockedIncrement(&g_objects); }

void ObjectDestroyed() {
  if (::InterlockedDecrement(&g_objects) == 0) g_owner_thread = 0;
}

void LockServer(bool lock) {
  if (lock) {
    ::InterlockedIncrement(&g_locks);
  } else {
    ::InterlockedDecrement(&g_locks);
  }
}

bool CanUnload() {
  if (g_objects != 0 || g_locks != 0) return false;
  // Nothing of ours is in use: what the process still keeps of the library
  // goes now. It may then be unloaded only when no window and no window
  // class of it is left: a hidden window of another thread is only asked to
  // go, and until that thread has taken the message, it is still there.
  ReleaseProcessState();
  return !win32::LibraryWindowsLeft();
}

HRESULT EnterOwnerThread() {
  const DWORD self = ::GetCurrentThreadId();
  if (g_objects > 0 && g_owner_thread != 0 && g_owner_thread != self) return RPC_E_WRONG_THREAD;
  g_owner_thread = self;
  if (!g_process_ready) {
    InitializeProcess();
    g_process_ready = true;
  }
  return S_OK;
}

void ReleaseProcessState() {
  ReleaseTypeInformation();
  // The window classes were registered with this DLL's handle: they must
  // go before it does.
  win32::UnregisterSyncWindowClasses();
  win32::UnregisterSettingsDialogClass();
}

}  // namespace kdzv::com
