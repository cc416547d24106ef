// The base of every automation object of the library: reference counting,
// QueryInterface, IDispatch through the type library (so that late binding,
// argument coercion and the DISP_E_* answers are the automation runtime's
// own), ISupportErrorInfo, and the private CoreAccess interface by which the
// library recognises its own objects when a host hands one back.
#ifndef KDZV_COM_AUTOMATION_OBJECT_H_
#define KDZV_COM_AUTOMATION_OBJECT_H_

#include <oaidl.h>
#include <windows.h>

#include "com/com_module.h"
#include "com/type_library.h"
#include "platform/win32/com_ptr.h"

namespace kdzv::com {

// {8A1C6F0E-5B8F-4E0B-9F5D-2D6E1A7C3B01}: not in the type library; only
// the library itself asks for it.
inline constexpr GUID IID_CoreAccess = {
    0x8a1c6f0e, 0x5b8f, 0x4e0b, {0x9f, 0x5d, 0x2d, 0x6e, 0x1a, 0x7c, 0x3b, 0x01}};

// Implemented by every object of the library; a host's object does not.
class CoreAccess : public IUnknown {
 public:
  virtual ~CoreAccess() = default;
};

// The library's own object behind `unknown` as `T`, or null when it is not
// one of ours or not a T. The caller keeps `unknown` alive while it uses the
// answer.
template <class T>
T* OwnObject(IUnknown* unknown) {
  if (unknown == nullptr) return nullptr;
  win32::ComPtr<CoreAccess> access;
  if (FAILED(unknown->QueryInterface(IID_CoreAccess, access.PutVoid())) || !access) {
    return nullptr;
  }
  return dynamic_cast<T*>(access.get());
}

template <class Itf>
class AutomationObject : public Itf, public ISupportErrorInfo, public CoreAccess {
 public:
  AutomationObject() { ObjectCreated(); }
  ~AutomationObject() override { ObjectDestroyed(); }
  AutomationObject(const AutomationObject&) = delete;
  AutomationObject& operator=(const AutomationObject&) = delete;

  // IUnknown
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** out) override {
    if (out == nullptr) return E_POINTER;
    *out = QueryOwn(riid);
    if (*out == nullptr) return E_NOINTERFACE;
    AddRef();
    return S_OK;
  }
  ULONG STDMETHODCALLTYPE AddRef() override {
    return static_cast<ULONG>(::InterlockedIncrement(&references_));
  }
  ULONG STDMETHODCALLTYPE Release() override {
    const LONG left = ::InterlockedDecrement(&references_);
    if (left == 0) delete this;
    return static_cast<ULONG>(left);
  }

  // IDispatch
  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override {
    if (count == nullptr) return E_POINTER;
    *count = 1;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT index, LCID, ITypeInfo** info) override {
    if (info == nullptr) return E_POINTER;
    *info = nullptr;
    if (index != 0) return DISP_E_BADINDEX;
    HRESULT hr = S_OK;
    ITypeInfo* own = TypeInfoOf(__uuidof(Itf), &hr);
    if (own == nullptr) return hr;
    win32::ComPtr<ITypeInfo>::Retain(own).CopyTo(info);
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID riid, LPOLESTR* names, UINT count, LCID,
                                          DISPID* ids) override {
    if (riid != IID_NULL) return DISP_E_UNKNOWNINTERFACE;
    HRESULT hr = S_OK;
    ITypeInfo* own = TypeInfoOf(__uuidof(Itf), &hr);
    if (own == nullptr) return hr;
    return ::DispGetIDsOfNames(own, names, count, ids);
  }
  HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID riid, LCID, WORD flags, DISPPARAMS* params,
                                   VARIANT* result, EXCEPINFO* exception,
                                   UINT* bad_argument) override {
    if (riid != IID_NULL) return DISP_E_UNKNOWNINTERFACE;
    HRESULT hr = S_OK;
    ITypeInfo* own = TypeInfoOf(__uuidof(Itf), &hr);
    if (own == nullptr) return hr;
    ::SetErrorInfo(0, nullptr);
    // The type information calls the member through the vtable of Itf.
    return own->Invoke(static_cast<Itf*>(this), id, flags, params, result, exception,
                       bad_argument);
  }

  // ISupportErrorInfo: every interface of the object reports its errors
  // through the error object.
  HRESULT STDMETHODCALLTYPE InterfaceSupportsErrorInfo(REFIID riid) override {
    return riid == __uuidof(Itf) ? S_OK : S_FALSE;
  }

 protected:
  // The interfaces of this object; a class with more extends it.
  virtual void* QueryOwn(REFIID riid) {
    if (riid == IID_IUnknown || riid == IID_IDispatch || riid == __uuidof(Itf)) {
      return static_cast<Itf*>(this);
    }
    if (riid == IID_ISupportErrorInfo) return static_cast<ISupportErrorInfo*>(this);
    if (riid == IID_CoreAccess) return static_cast<CoreAccess*>(this);
    return nullptr;
  }

 private:
  LONG references_ = 1;
};

}  // namespace kdzv::com

#endif  // KDZV_COM_AUTOMATION_OBJECT_H_
