#include "platform/win32/com_values.h"

#include <climits>

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

}  // namespace kdzv::win32
