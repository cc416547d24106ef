#include "automation_client.h"

#include <vector>

namespace kdzv::host {

std::wstring Var::Text() const {
  VARIANT converted;
  ::VariantInit(&converted);
  if (FAILED(::VariantChangeType(&converted, const_cast<VARIANT*>(&value_), 0, VT_BSTR))) return L"";
  std::wstring text(V_BSTR(&converted), ::SysStringLen(V_BSTR(&converted)));
  ::VariantClear(&converted);
  return text;
}

long Var::Long() const {
  VARIANT converted;
  ::VariantInit(&converted);
  if (FAILED(::VariantChangeType(&converted, const_cast<VARIANT*>(&value_), 0, VT_I4))) return 0;
  return V_I4(&converted);
}

double Var::Double() const {
  VARIANT converted;
  ::VariantInit(&converted);
  if (FAILED(::VariantChangeType(&converted, const_cast<VARIANT*>(&value_), 0, VT_R8))) return 0;
  return V_R8(&converted);
}

bool Var::Bool() const {
  VARIANT converted;
  ::VariantInit(&converted);
  if (FAILED(::VariantChangeType(&converted, const_cast<VARIANT*>(&value_), 0, VT_BOOL))) return false;
  return V_BOOL(&converted) != VARIANT_FALSE;
}

Obj::Obj(IDispatch* dispatch) : dispatch_(dispatch) {
  if (dispatch_ != nullptr) dispatch_->AddRef();
}

Obj::~Obj() {
  if (dispatch_ != nullptr) dispatch_->Release();
}

Obj& Obj::operator=(const Obj& other) {
  if (this != &other) {
    if (other.dispatch_ != nullptr) other.dispatch_->AddRef();
    if (dispatch_ != nullptr) dispatch_->Release();
    dispatch_ = other.dispatch_;
  }
  return *this;
}

Obj Obj::Create(const wchar_t* prog_id, HRESULT* hr) {
  CLSID clsid;
  HRESULT result = ::CLSIDFromProgID(prog_id, &clsid);
  IDispatch* dispatch = nullptr;
  if (SUCCEEDED(result)) {
    result = ::CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch,
                                reinterpret_cast<void**>(&dispatch));
  }
  if (hr != nullptr) *hr = result;
  Obj made;
  made.dispatch_ = SUCCEEDED(result) ? dispatch : nullptr;
  return made;
}

DISPID Obj::Id(const wchar_t* name, HRESULT* hr) const {
  DISPID id = DISPID_UNKNOWN;
  LPOLESTR names[] = {const_cast<LPOLESTR>(name)};
  const HRESULT result = dispatch_->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &id);
  if (hr != nullptr) *hr = result;
  return SUCCEEDED(result) ? id : DISPID_UNKNOWN;
}

Result Obj::InvokeRaw(DISPID id, WORD flags, VARIANTARG* reversed, UINT count) const {
  Result result;
  DISPID put = DISPID_PROPERTYPUT;
  DISPPARAMS params = {reversed, nullptr, count, 0};
  if ((flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) != 0) {
    params.rgdispidNamedArgs = &put;
    params.cNamedArgs = 1;
  }
  EXCEPINFO exception = {};
  result.hr = dispatch_->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, flags, &params,
                                (flags & DISPATCH_PROPERTYPUT) != 0 ? nullptr : result.value.get(),
                                &exception, &result.bad_argument);
  if (result.hr == DISP_E_EXCEPTION) {
    if (exception.pfnDeferredFillIn != nullptr) exception.pfnDeferredFillIn(&exception);
    result.scode = exception.scode;
    if (exception.bstrDescription != nullptr) result.description = exception.bstrDescription;
  }
  ::SysFreeString(exception.bstrDescription);
  ::SysFreeString(exception.bstrSource);
  ::SysFreeString(exception.bstrHelpFile);
  return result;
}

Result Obj::InvokeId(DISPID id, WORD flags, std::initializer_list<Var> args) const {
  std::vector<Var> copies(args.begin(), args.end());
  std::vector<VARIANTARG> reversed(copies.size());
  for (size_t i = 0; i < copies.size(); ++i) reversed[copies.size() - 1 - i] = *copies[i].get();
  return InvokeRaw(id, flags, reversed.data(), static_cast<UINT>(reversed.size()));
}

Result Obj::Invoke(const wchar_t* name, WORD flags, std::initializer_list<Var> args) const {
  HRESULT hr = S_OK;
  const DISPID id = Id(name, &hr);
  if (FAILED(hr)) {
    Result failed;
    failed.hr = hr;
    return failed;
  }
  return InvokeId(id, flags, args);
}

Var Obj::Get(const wchar_t* name, std::initializer_list<Var> args) const {
  Result result = Invoke(name, DISPATCH_PROPERTYGET | DISPATCH_METHOD, args);
  return std::move(result.value);
}

Obj Obj::GetObj(const wchar_t* name, std::initializer_list<Var> args) const {
  const Var value = Get(name, args);
  return Obj(value.Object());
}

HRESULT Obj::Put(const wchar_t* name, Var value) const {
  return Invoke(name, DISPATCH_PROPERTYPUT, {std::move(value)}).hr;
}

HRESULT Obj::PutRef(const wchar_t* name, Var value) const {
  return Invoke(name, DISPATCH_PROPERTYPUTREF, {std::move(value)}).hr;
}

Result Obj::Call(const wchar_t* name, std::initializer_list<Var> args) const {
  return Invoke(name, DISPATCH_METHOD, args);
}

std::vector<Obj> ForEach(const Obj& collection, HRESULT* hr) {
  std::vector<Obj> elements;
  Result got = collection.InvokeId(DISPID_NEWENUM, DISPATCH_PROPERTYGET | DISPATCH_METHOD);
  if (hr != nullptr) *hr = got.hr;
  if (FAILED(got.hr)) return elements;
  IUnknown* unknown = got.value.type() == VT_UNKNOWN ? V_UNKNOWN(got.value.get())
                      : got.value.type() == VT_DISPATCH ? V_DISPATCH(got.value.get())
                                                        : nullptr;
  IEnumVARIANT* walk = nullptr;
  if (unknown == nullptr ||
      FAILED(unknown->QueryInterface(IID_IEnumVARIANT, reinterpret_cast<void**>(&walk)))) {
    if (hr != nullptr) *hr = E_NOINTERFACE;
    return elements;
  }
  for (;;) {
    Var item;
    ULONG fetched = 0;
    if (walk->Next(1, item.get(), &fetched) != S_OK || fetched != 1) break;
    elements.emplace_back(item.Object());
  }
  walk->Release();
  return elements;
}

std::wstring WindowsPath(const char* path) {
  std::wstring wide;
  for (const char* c = path; *c != '\0'; ++c) wide.push_back(*c == '/' ? L'\\' : static_cast<wchar_t>(*c));
  wchar_t full[MAX_PATH * 4];
  const DWORD length = ::GetFullPathNameW(wide.c_str(), MAX_PATH * 4, full, nullptr);
  return length == 0 ? wide : std::wstring(full, length);
}

}  // namespace kdzv::host
