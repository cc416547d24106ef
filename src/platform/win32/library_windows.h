// The windows of the library's own window classes that exist, on every
// thread, and its window classes that are registered. Their window
// procedures are code of the library: while any of them is left, the
// library must stay loaded, or a message still on its way to one of them
// (a destroy posted to another thread's hidden window) would run code that
// is gone.
#ifndef KDZV_PLATFORM_WIN32_LIBRARY_WINDOWS_H_
#define KDZV_PLATFORM_WIN32_LIBRARY_WINDOWS_H_

#include <windows.h>

namespace kdzv::win32 {

// Kept by the window procedures of the library's classes: a window counts
// from its WM_NCCREATE to its WM_NCDESTROY (once each, whatever the order
// in which Windows sends them).
void CountWindowMade(HWND window);
void CountWindowGone(HWND window);

// The windows of the library's classes that exist now, on every thread.
long LiveLibraryWindows();
// The library's window classes that are registered now (asked of Windows,
// for the module that holds this code).
int RegisteredLibraryClasses();
// Whether any window or window class of the library is left.
bool LibraryWindowsLeft();

}  // namespace kdzv::win32

#endif  // KDZV_PLATFORM_WIN32_LIBRARY_WINDOWS_H_
