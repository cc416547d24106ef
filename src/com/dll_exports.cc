// The entry points of kdZentavo.dll.
#include <windows.h>

#include <string>

#include "com/class_factory.h"
#include "com/com_module.h"
#include "com/registration.h"

using kdzv::com::ModuleHandle;

// Nothing but the module handle here: windows and COM objects must not be
// touched under the loader's lock. What the process holds of ours is given
// back in DllCanUnloadNow, which COM (and a host that loads the library
// itself) asks before the library is unloaded.
extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID) {
  if (reason == DLL_PROCESS_ATTACH) {
    kdzv::com::SetModuleHandle(instance);
    ::DisableThreadLibraryCalls(instance);
  }
  return TRUE;
}

extern "C" HRESULT STDAPICALLTYPE DllGetClassObject(REFCLSID clsid, REFIID riid, LPVOID* out) {
  // The first call sets up the class objects under the C++ runtime's lock
  // for static objects, which is made on first use: without memory for it
  // that throws. Nothing else here can.
  try {
    return kdzv::com::GetClassObject(clsid, riid, out);
  } catch (...) {
    if (out != nullptr) *out = nullptr;
    return E_OUTOFMEMORY;
  }
}

extern "C" HRESULT STDAPICALLTYPE DllCanUnloadNow() {
  return kdzv::com::CanUnload() ? S_OK : S_FALSE;
}

namespace {

std::wstring OwnPath() {
  std::wstring path(MAX_PATH, L'\0');
  for (;;) {
    const DWORD length =
        ::GetModuleFileNameW(ModuleHandle(), path.data(), static_cast<DWORD>(path.size()));
    if (length == 0) return {};
    if (length < path.size()) {
      path.resize(length);
      return path;
    }
    path.resize(path.size() * 2);
  }
}

}  // namespace

extern "C" HRESULT STDAPICALLTYPE DllRegisterServer() {
  try {
    const std::wstring path = OwnPath();
    if (path.empty()) return HRESULT_FROM_WIN32(::GetLastError());
    return kdzv::com::RegisterServer(path);
  } catch (...) {
    return E_OUTOFMEMORY;
  }
}

extern "C" HRESULT STDAPICALLTYPE DllUnregisterServer() {
  try {
    return kdzv::com::UnregisterServer();
  } catch (...) {
    return E_OUTOFMEMORY;
  }
}
