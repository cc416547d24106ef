// Conversion between the component's UTF-8 text and the UTF-16 text of the
// Windows "W" functions.
#ifndef KDZV_PLATFORM_WIN32_WIDE_TEXT_H_
#define KDZV_PLATFORM_WIN32_WIDE_TEXT_H_

#include <string>
#include <string_view>

namespace kdzv::win32 {

// Invalid UTF-8 sequences become U+FFFD.
std::wstring Widen(std::string_view text);
// Unpaired surrogates become U+FFFD.
std::string Narrow(std::wstring_view text);

}  // namespace kdzv::win32

#endif  // KDZV_PLATFORM_WIN32_WIDE_TEXT_H_
