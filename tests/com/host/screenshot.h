// A picture of a window as the screen shows it, saved as a PNG file.
#ifndef KDZV_TESTS_COM_HOST_SCREENSHOT_H_
#define KDZV_TESTS_COM_HOST_SCREENSHOT_H_

#include <windows.h>

#include <initializer_list>
#include <string>

namespace kdzv::host {

// Whether a font of that face is installed.
bool FontInstalled(const wchar_t* face);

// Saves `window` (frame included) to `path`; false when it cannot be read
// or written, or when the symbol font of the caption's buttons (Marlett) is
// missing, so that they would show as letters. `distinct_colours` receives how many colours the picture has
// (a blank capture has one).
bool SaveWindowPicture(HWND window, const std::wstring& path, size_t* distinct_colours = nullptr);

// The same for the smallest rectangle that holds all of `windows` (a window
// with the message box open over it).
bool SaveWindowsPicture(std::initializer_list<HWND> windows, const std::wstring& path,
                        size_t* distinct_colours = nullptr);

}  // namespace kdzv::host

#endif  // KDZV_TESTS_COM_HOST_SCREENSHOT_H_
