#include "event_sink.h"

namespace kdzv::host {

HRESULT EventSink::QueryInterface(REFIID riid, void** out) {
  if (out == nullptr) return E_POINTER;
  *out = nullptr;
  if (riid == IID_IUnknown || riid == IID_IDispatch || riid == events_) {
    *out = static_cast<IDispatch*>(this);
    AddRef();
    return S_OK;
  }
  return E_NOINTERFACE;
}

ULONG EventSink::Release() {
  const ULONG left = --references_;
  if (left == 0) delete this;
  return left;
}

HRESULT EventSink::GetTypeInfoCount(UINT* count) {
  *count = 0;
  return S_OK;
}

HRESULT EventSink::GetTypeInfo(UINT, LCID, ITypeInfo**) { return E_NOTIMPL; }

HRESULT EventSink::GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) {
  return DISP_E_UNKNOWNNAME;
}

HRESULT EventSink::Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS* params, VARIANT*,
                          EXCEPINFO* exception, UINT*) {
  received_.push_back(id);
  const HRESULT hr = handler_ ? handler_(id, *params) : S_OK;
  if (FAILED(hr) && exception != nullptr) {
    *exception = EXCEPINFO{};
    exception->scode = hr;
    exception->bstrDescription = ::SysAllocString(failure_text.c_str());
    return DISP_E_EXCEPTION;
  }
  return hr;
}

IID EventInterfaceOf(const Obj& object) {
  IID events = IID_NULL;
  IProvideClassInfo2* info = nullptr;
  if (SUCCEEDED(object.get()->QueryInterface(IID_IProvideClassInfo2,
                                             reinterpret_cast<void**>(&info)))) {
    info->GetGUID(GUIDKIND_DEFAULT_SOURCE_DISP_IID, &events);
    info->Release();
  }
  return events;
}

DWORD Connect(const Obj& object, IDispatch* sink, IID* events_out) {
  const IID events = EventInterfaceOf(object);
  if (events_out != nullptr) *events_out = events;
  IConnectionPointContainer* container = nullptr;
  if (FAILED(object.get()->QueryInterface(IID_IConnectionPointContainer,
                                          reinterpret_cast<void**>(&container)))) {
    return 0;
  }
  IConnectionPoint* point = nullptr;
  DWORD cookie = 0;
  if (SUCCEEDED(container->FindConnectionPoint(events, &point))) {
    if (FAILED(point->Advise(sink, &cookie))) cookie = 0;
    point->Release();
  }
  container->Release();
  return cookie;
}

void Disconnect(const Obj& object, DWORD cookie) {
  IConnectionPointContainer* container = nullptr;
  if (FAILED(object.get()->QueryInterface(IID_IConnectionPointContainer,
                                          reinterpret_cast<void**>(&container)))) {
    return;
  }
  IConnectionPoint* point = nullptr;
  if (SUCCEEDED(container->FindConnectionPoint(EventInterfaceOf(object), &point))) {
    point->Unadvise(cookie);
    point->Release();
  }
  container->Release();
}

}  // namespace kdzv::host
