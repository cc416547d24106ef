#include "com/com_module.h"

#include "com/type_library.h"
#include "platform/platform.h"
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

bool CanUnload() { return g_objects == 0 && g_locks == 0; }

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
