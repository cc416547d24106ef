// The library's own type library (embedded in the DLL as resource 1) and
// the type information of its interfaces, loaded once and kept until the
// library is unloaded.
#ifndef KDZV_COM_TYPE_LIBRARY_H_
#define KDZV_COM_TYPE_LIBRARY_H_

#include <oaidl.h>
#include <windows.h>

namespace kdzv::com {

// The type information of the interface or class `guid` (not AddRef'd: it
// stays valid until ReleaseTypeInformation); null when the type library
// cannot be loaded, with `hr` (when given) telling why (E_OUTOFMEMORY when
// memory ran out). Throws nothing: it is called straight from IDispatch.
ITypeInfo* TypeInfoOf(REFGUID guid, HRESULT* hr = nullptr) noexcept;
// The loaded type library (not AddRef'd), null when it cannot be loaded.
ITypeLib* OwnTypeLibrary(HRESULT* hr = nullptr) noexcept;

void ReleaseTypeInformation();

}  // namespace kdzv::com

#endif  // KDZV_COM_TYPE_LIBRARY_H_
