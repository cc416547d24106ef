#include "com/com_module.h"

#include "com/type_library.h"
#include "interface/component_log.h"
#include "platform/platform.h"
#include "platform/win32/library_windows.h"
#include "platform/win32/win32_settings_dialog.h"
#include "platform/win32/win32_sync_window.h"

namespace kdzv::com {
namespace {

HMODULE g_module = nullptr;
long g_objects = 0;
long g_locks = 0;
// Guards the owner thread, the creations under way and the objects' count
// together (a plain lock that needs no setting up).
SRWLOCK g_owner_lock = SRWLOCK_INIT;
DWORD g_owner_thread = 0;
long g_creations = 0;  // creations under way on the owner thread
bool g_process_ready = false;

class OwnerLock {
 public:
  OwnerLock() { ::AcquireSRWLockExclusive(&g_owner_lock); }
  ~OwnerLock() { ::ReleaseSRWLockExclusive(&g_owner_lock); }
  OwnerLock(const OwnerLock&) = delete;
  OwnerLock& operator=(const OwnerLock&) = delete;
};

// The objects belong to nobody once none lives and none is being made.
void ForgetOwnerIfUnused() {
  if (g_objects == 0 && g_creations == 0) g_owner_thread = 0;
}

}  // namespace

HMODULE ModuleHandle() { return g_module; }
void SetModuleHandle(HMODULE module) { g_module = module; }

void ObjectCreated() {
  OwnerLock lock;
  ++g_objects;
}

void ObjectDestroyed() {
  OwnerLock lock;
  --g_objects;
  ForgetOwnerIfUnused();
}

void LockServer(bool lock) {
  if (lock) {
    ::InterlockedIncrement(&g_locks);
  } else {
    ::InterlockedDecrement(&g_locks);
  }
}

bool CanUnload() {
  {
    OwnerLock lock;
    if (g_objects != 0 || g_creations != 0 || g_locks != 0) return false;
  }
  // Nothing of ours is in use: what the process still keeps of the library
  // goes now. It may then be unloaded only when no window and no window
  // class of it is left: a hidden window of another thread is only asked to
  // go, and until that thread has taken the message, it is still there.
  ReleaseProcessState();
  return !win32::LibraryWindowsLeft();
}

OwnerThreadEntry::OwnerThreadEntry() : result_(S_OK) {
  const DWORD self = ::GetCurrentThreadId();
  // The thread's report scopes are made before anything else of the
  // library, so that its first report allocates nothing.
  PrepareReportScopes();
  OwnerLock lock;
  if (g_owner_thread != 0 && g_owner_thread != self) {
    result_ = RPC_E_WRONG_THREAD;
    return;
  }
  if (!g_process_ready) {
    try {
      InitializeProcess();
    } catch (...) {
      result_ = E_OUTOFMEMORY;
      return;
    }
    g_process_ready = true;
  }
  g_owner_thread = self;
  ++g_creations;
}

OwnerThreadEntry::~OwnerThreadEntry() {
  if (FAILED(result_)) return;
  OwnerLock lock;
  --g_creations;
  ForgetOwnerIfUnused();
}

void ReleaseProcessState() {
  ReleaseTypeInformation();
  // The window classes were registered with this DLL's handle: they must
  // go before it does.
  win32::UnregisterSyncWindowClasses();
  win32::UnregisterSettingsDialogClass();
}

}  // namespace kdzv::com
