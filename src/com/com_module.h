// The state of the loaded library that COM asks about: the module handle,
// the live objects and server locks (for DllCanUnloadNow), and the one
// thread on which the component's objects live.
//
// The core keeps process-wide state (the active interface object, the
// message boxes, the time zone) without any locking. So every object of the
// library lives on one thread: the thread that creates the first object
// owns them all until the last one is gone; a creation on another thread
// meanwhile is refused with RPC_E_WRONG_THREAD. (With the threading model
// "Apartment" COM itself keeps an object's calls on its creating thread.)
#ifndef KDZV_COM_COM_MODULE_H_
#define KDZV_COM_COM_MODULE_H_

#include <windows.h>

namespace kdzv::com {

HMODULE ModuleHandle();
void SetModuleHandle(HMODULE module);

// One more / one less live object of the library.
void ObjectCreated();
void ObjectDestroyed();

void LockServer(bool lock);
// Whether COM may unload the library: no object alive and no lock held;
// then releases what the process keeps of the library (ReleaseProcessState)
// and answers whether no window and no window class of it is left.
bool CanUnload();

// A creation of one of the library's objects on the calling thread, for
// its length: while it lasts the objects belong to that thread, as if the
// object were made already, so that a creation on another thread at the
// same moment is refused. `result()` is RPC_E_WRONG_THREAD when they belong
// to another thread, E_OUTOFMEMORY when the process could not be set up,
// S_OK otherwise. The check, the reservation and, on first use, setting up
// the process (message boxes, time zone, file paths) happen under one lock.
class OwnerThreadEntry {
 public:
  OwnerThreadEntry();
  ~OwnerThreadEntry();
  OwnerThreadEntry(const OwnerThreadEntry&) = delete;
  OwnerThreadEntry& operator=(const OwnerThreadEntry&) = delete;
  HRESULT result() const { return result_; }

 private:
  HRESULT result_;
};

// Releases what the library keeps for the process (type information,
// window classes) when it is about to be unloaded.
void ReleaseProcessState();

}  // namespace kdzv::com

#endif  // KDZV_COM_COM_MODULE_H_
