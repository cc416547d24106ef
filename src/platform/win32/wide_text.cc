#include "platform/win32/wide_text.h"

#include <windows.h>

#include <climits>

#include "util/error.h"

namespace kdzv::win32 {
namespace {

// The length of a text as the conversion functions take it.
int ApiLength(size_t size) {
  if (size > static_cast<size_t>(INT_MAX)) RaiseStandard(err::kOutOfMemory, "Widen");
  return static_cast<int>(size);
}

}  // namespace

std::wstring Widen(std::string_view text) {
  if (text.empty()) return {};
  const int length = ApiLength(text.size());
  const int needed = ::MultiByteToWideChar(CP_UTF8, 0, text.data(), length, nullptr, 0);
  std::wstring wide(static_cast<size_t>(needed), L'\0');
  ::MultiByteToWideChar(CP_UTF8, 0, text.data(), length, wide.data(), needed);
  return wide;
}

std::string Narrow(std::wstring_view text) {
  if (text.empty()) return {};
  const int length = ApiLength(text.size());
  const int needed =
      ::WideCharToMultiByte(CP_UTF8, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
  std::string narrow(static_cast<size_t>(needed), '\0');
  ::WideCharToMultiByte(CP_UTF8, 0, text.data(), length, narrow.data(), needed, nullptr,
                        nullptr);
  return narrow;
}

}  // namespace kdzv::win32
