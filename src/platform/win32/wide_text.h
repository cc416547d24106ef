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

// `text` (UTF-8) in the Windows code page `code_page` (for the system's text
// files: its ANSI code page, GetACP()). A character that the code page lacks
// becomes "?", never a look-alike. UTF-8 (65001, the ANSI code page of a
// Windows set to "Unicode UTF-8" for programs that are not Unicode) holds
// every character and is written as it is. Raises kdzv::Error with the
// host's file error of the failure and `source` when the system cannot
// convert.
std::string ToCodePage(std::string_view text, unsigned int code_page, const char* source);

// How ToCodePage asks WideCharToMultiByte for `code_page`: the flags and the
// default character. Windows refuses any flag but WC_ERR_INVALID_CHARS for
// UTF-8 and GB18030, any flag at all for UTF-7, the symbol and the ISO-2022
// and ISCII code pages, and any default character for UTF-7 and UTF-8 (a
// code page that holds every character needs none). Wine accepts them all,
// so only this tells whether a conversion would fail on Windows.
struct CodePageConversion {
  unsigned long flags;
  const char* default_char;  // null: none
};
CodePageConversion ConversionFor(unsigned int code_page);

}  // namespace kdzv::win32

#endif  // KDZV_PLATFORM_WIN32_WIDE_TEXT_H_
