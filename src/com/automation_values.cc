#include "com/automation_values.h"

#include "platform/win32/com_ptr.h"
#include "platform/win32/wide_text.h"

namespace kdzv::com {

std::string TextOf(BSTR text) {
  if (text == nullptr) return {};
  return win32::Narrow(std::wstring_view(text, ::SysStringLen(text)));
}

HRESULT PutText(std::string_view text, BSTR* out) noexcept {
  if (out == nullptr) return E_POINTER;
  *out = nullptr;
  try {
    const std::wstring wide = win32::Widen(text);
    *out = ::SysAllocStringLen(wide.data(), static_cast<UINT>(wide.size()));
  } catch (...) {
  }
  return *out == nullptr ? E_OUTOFMEMORY : S_OK;
}

bool IsMissing(const VARIANT& value) {
  return V_VT(&value) == VT_ERROR && V_ERROR(&value) == DISP_E_PARAMNOTFOUND;
}

IndexOrKey IndexOrKeyOf(const VARIANT& value) {
  VARIANT plain;
  ::VariantInit(&plain);
  if (FAILED(::VariantCopyInd(&plain, const_cast<VARIANT*>(&value)))) RaiseStandard(err::kInvalidCall);
  if (V_VT(&plain) == VT_BSTR) {
    std::string key = TextOf(V_BSTR(&plain));
    ::VariantClear(&plain);
    return key;
  }
  const bool number = V_VT(&plain) != VT_EMPTY && V_VT(&plain) != VT_NULL &&
                      V_VT(&plain) != VT_DISPATCH && V_VT(&plain) != VT_UNKNOWN &&
                      V_VT(&plain) != VT_ERROR;
  HRESULT hr = number ? ::VariantChangeType(&plain, &plain, 0, VT_I4) : DISP_E_TYPEMISMATCH;
  if (FAILED(hr)) {
    ::VariantClear(&plain);
    // A position too large for a Long can only lie outside the collection.
    if (hr == DISP_E_OVERFLOW) RaiseStandard(err::kSubscriptOutOfRange);
    RaiseStandard(err::kInvalidCall);
  }
  return static_cast<int32_t>(V_I4(&plain));
}

std::optional<std::string> OptionalKeyOf(const VARIANT& value) {
  if (IsMissing(value)) return std::string();
  VARIANT text;
  ::VariantInit(&text);
  if (FAILED(::VariantChangeType(&text, const_cast<VARIANT*>(&value), 0, VT_BSTR))) return std::nullopt;
  std::string key = TextOf(V_BSTR(&text));
  ::VariantClear(&text);
  return key;
}

HRESULT CollectionError(const ErrorInfo& error) noexcept {
  win32::ComPtr<ICreateErrorInfo> create;
  if (SUCCEEDED(::CreateErrorInfo(create.Put()))) {
    // Without memory for its text the error object goes without one; the
    // number still reaches the caller.
    std::wstring description;
    try {
      description = win32::Widen(error.description);
    } catch (...) {
    }
    create->SetDescription(const_cast<LPOLESTR>(description.c_str()));
    create->SetSource(const_cast<LPOLESTR>(L"kdZentavo"));
    win32::ComPtr<IErrorInfo> info;
    if (SUCCEEDED(create->QueryInterface(IID_IErrorInfo, info.PutVoid()))) {
      ::SetErrorInfo(0, info.get());
    }
  }
  return MAKE_HRESULT(SEVERITY_ERROR, FACILITY_CONTROL, error.number & 0xFFFF);
}

}  // namespace kdzv::com
