#include "platform/win32/com_apartment.h"

#include <objbase.h>
#include <windows.h>

namespace kdzv::win32 {

ComApartment::ComApartment() {
  const HRESULT result = ::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  // S_FALSE: already initialised in this apartment; it still counts and must
  // be balanced.
  initialised_ = SUCCEEDED(result);
  // The thread is in the multithreaded apartment: COM works there too.
  ready_ = initialised_ || result == RPC_E_CHANGED_MODE;
}

ComApartment::~ComApartment() {
  if (initialised_) ::CoUninitialize();
}

}  // namespace kdzv::win32
