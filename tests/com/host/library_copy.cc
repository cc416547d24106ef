#include "library_copy.h"

#include <objbase.h>


namespace kdzv::host {

LibraryCopy::LibraryCopy(const std::wstring& path, bool make_object)
    : module_(::LoadLibraryW(path.c_str())) {
  if (module_ != nullptr && make_object) object_ = NewInterface();
}

LibraryCopy::~LibraryCopy() {
  object_ = Obj();
  if (module_ != nullptr) ::FreeLibrary(module_);
}

Obj LibraryCopy::Create(const wchar_t* prog_id, HRESULT* hr) const {
  HRESULT result = E_FAIL;
  Obj made;
  using GetClassObject = HRESULT(STDAPICALLTYPE*)(REFCLSID, REFIID, void**);
  auto get = module_ == nullptr ? nullptr
                                : reinterpret_cast<GetClassObject>(reinterpret_cast<void*>(
                                      ::GetProcAddress(module_, "DllGetClassObject")));
  CLSID clsid;
  if (get != nullptr && SUCCEEDED(result = ::CLSIDFromProgID(prog_id, &clsid))) {
    IClassFactory* factory = nullptr;
    result = get(clsid, IID_IClassFactory, reinterpret_cast<void**>(&factory));
    if (SUCCEEDED(result)) {
      IDispatch* object = nullptr;
      result = factory->CreateInstance(nullptr, IID_IDispatch, reinterpret_cast<void**>(&object));
      factory->Release();
      if (SUCCEEDED(result) && object != nullptr) {
        made = Obj(object);
        object->Release();
      }
    }
  }
  if (hr != nullptr) *hr = result;
  return made;
}

HRESULT LibraryCopy::CanUnloadNow() const {
  using CanUnload = HRESULT(STDAPICALLTYPE*)();
  auto can_unload = module_ == nullptr ? nullptr
                                       : reinterpret_cast<CanUnload>(reinterpret_cast<void*>(
                                             ::GetProcAddress(module_, "DllCanUnloadNow")));
  return can_unload == nullptr ? E_FAIL : can_unload();
}

}  // namespace kdzv::host
