// Windows-1252, the single-byte code page of the message files written on
// Linux (and the ANSI code page of a Western European Windows).
#ifndef KDZV_UTIL_WINDOWS_1252_H_
#define KDZV_UTIL_WINDOWS_1252_H_

#include <string>
#include <string_view>

namespace kdzv {

// UTF-8 to Windows-1252, one byte per character; a character the code page
// does not hold, and every byte of a malformed UTF-8 sequence, becomes "?".
std::string Utf8ToWindows1252(std::string_view utf8);

// The same, appended to `out`.
void AppendUtf8ToWindows1252(std::string& out, std::string_view utf8);

// Windows-1252 to UTF-8. Every byte is a character: the five bytes the code
// page leaves undefined (0x81, 0x8D, 0x8F, 0x90, 0x9D) become the C1
// controls of the same value, as in the other direction.
std::string Windows1252ToUtf8(std::string_view bytes);

}  // namespace kdzv

#endif  // KDZV_UTIL_WINDOWS_1252_H_
