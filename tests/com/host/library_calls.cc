#include "library_calls.h"

namespace kdzv::host {

VARIANTARG MissingArgument() {
  VARIANTARG missing;
  ::VariantInit(&missing);
  V_VT(&missing) = VT_ERROR;
  V_ERROR(&missing) = DISP_E_PARAMNOTFOUND;
  return missing;
}

Result CallStartSync(const Obj& zv, VARIANTARG owner, std::wstring* error_text) {
  BSTR error = nullptr;
  VARIANTARG args[2];
  ::VariantInit(&args[0]);
  V_VT(&args[0]) = VT_BYREF | VT_BSTR;
  V_BSTRREF(&args[0]) = &error;
  args[1] = owner;
  Result result = zv.InvokeRaw(zv.Id(L"StartSync"), DISPATCH_METHOD, args, 2);
  if (error_text != nullptr && error != nullptr) *error_text = error;
  ::SysFreeString(error);
  return result;
}

}  // namespace kdzv::host
