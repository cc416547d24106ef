#include "platform/win32/wide_text.h"

#include <windows.h>

#include <climits>

#include "platform/win32/win32_error.h"
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

CodePageConversion ConversionFor(unsigned int code_page) {
  switch (code_page) {
    case CP_UTF8:
    case CP_UTF7:
    case 54936:  // GB18030
      return {0, nullptr};
    case 42:  // symbol
    case 50220: case 50221: case 50222: case 50225: case 50227: case 50229:  // ISO-2022
      return {0, "?"};
    default:
      if (code_page >= 57002 && code_page <= 57011) return {0, "?"};  // ISCII
      // Without best-fit mapping: "?" rather than a look-alike.
      return {WC_NO_BEST_FIT_CHARS, "?"};
  }
}

std::string ToCodePage(std::string_view text, unsigned int code_page, const char* source) {
  const std::wstring wide = Widen(text);
  if (wide.empty()) return {};
  const int length = static_cast<int>(wide.size());
  const CodePageConversion conversion = ConversionFor(code_page);
  const int size = ::WideCharToMultiByte(code_page, conversion.flags, wide.data(), length,
                                         nullptr, 0, conversion.default_char, nullptr);
  if (size <= 0) RaiseFileError(::GetLastError(), source);
  std::string out(static_cast<size_t>(size), '\0');
  ::WideCharToMultiByte(code_page, conversion.flags, wide.data(), length, out.data(), size,
                        conversion.default_char, nullptr);
  return out;
}

}  // namespace kdzv::win32
