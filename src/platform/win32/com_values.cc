#include "platform/win32/com_values.h"

#include <climits>
#include <cstring>

#include "platform/win32/wide_text.h"
#include "util/error.h"

namespace kdzv::win32 {

UniqueBstr::UniqueBstr(std::wstring_view text) {
  if (text.size() > UINT_MAX / sizeof(wchar_t)) RaiseStandard(err::kOutOfMemory, "UniqueBstr");
  value_ = ::SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
  if (value_ == nullptr) RaiseStandard(err::kOutOfMemory, "UniqueBstr");
}

std::string UniqueBstr::Utf8() const {
  if (value_ == nullptr) return {};
  return Narrow(std::wstring_view(value_, ::SysStringLen(value_)));
}

void SetByteArray(UniqueVariant& variant, std::string_view bytes) {
  if (bytes.size() > ULONG_MAX) RaiseStandard(err::kOutOfMemory, "SetByteArray");
  SAFEARRAY* array = ::SafeArrayCreateVector(VT_UI1, 0, static_cast<ULONG>(bytes.size()));
  if (array == nullptr) RaiseStandard(err::kOutOfMemory, "SetByteArray");
  // Owned by the variant from here on: clearing it destroys the array.
  VARIANT* value = variant.Put();
  value->vt = VT_ARRAY | VT_UI1;
  value->parray = array;
  if (bytes.empty()) return;
  void* data = nullptr;
  if (FAILED(::SafeArrayAccessData(array, &data))) RaiseStandard(err::kOutOfMemory, "SetByteArray");
  std::memcpy(data, bytes.data(), bytes.size());
  ::SafeArrayUnaccessData(array);
}

}  // namespace kdzv::win32
