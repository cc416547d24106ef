// The class objects of the library: one factory per creatable class.
#ifndef KDZV_COM_CLASS_FACTORY_H_
#define KDZV_COM_CLASS_FACTORY_H_

#include <unknwn.h>
#include <windows.h>

namespace kdzv::com {

// A new object of the class `clsid` with its interface `riid` into *out.
using CreateFunction = HRESULT (*)(REFIID riid, void** out);

class ClassFactory final : public IClassFactory {
 public:
  explicit ClassFactory(CreateFunction create) : create_(create) {}

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** out) override;
  ULONG STDMETHODCALLTYPE AddRef() override;
  ULONG STDMETHODCALLTYPE Release() override;
  HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID riid, void** out) override;
  HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) override;

 private:
  CreateFunction create_;
};

// The class object of `clsid`, as DllGetClassObject answers it.
HRESULT GetClassObject(REFCLSID clsid, REFIID riid, void** out);

}  // namespace kdzv::com

#endif  // KDZV_COM_CLASS_FACTORY_H_
