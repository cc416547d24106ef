#include "platform/win32/library_windows.h"

#include "platform/win32/win32_settings_dialog.h"
#include "platform/win32/win32_sync_window.h"

namespace kdzv::win32 {
namespace {

// Marks a window that has been counted, so that it is let go once only.
constexpr wchar_t kCountedProperty[] = L"kdZentavoCounted";

volatile LONG g_live_windows = 0;

}  // namespace

void CountWindowMade(HWND window) {
  if (::GetPropW(window, kCountedProperty) != nullptr) return;
  // Counted only when it can be marked: a mark that cannot be set would
  // leave a count that nothing takes back.
  if (::SetPropW(window, kCountedProperty, reinterpret_cast<HANDLE>(1)) == FALSE) return;
  ::InterlockedIncrement(&g_live_windows);
}

void CountWindowGone(HWND window) {
  if (::RemovePropW(window, kCountedProperty) == nullptr) return;
  ::InterlockedDecrement(&g_live_windows);
}

long LiveLibraryWindows() { return ::InterlockedCompareExchange(&g_live_windows, 0, 0); }

int RegisteredLibraryClasses() {
  const HINSTANCE module = OwnModule();
  int registered = 0;
  for (const wchar_t* name : {kSyncWindowClassName, kSyncHelperClassName,
                              kSettingsDialogClassName}) {
    WNDCLASSEXW info{};
    info.cbSize = sizeof info;
    if (::GetClassInfoExW(module, name, &info) != FALSE) ++registered;
  }
  return registered;
}

bool LibraryWindowsLeft() { return LiveLibraryWindows() > 0 || RegisteredLibraryClasses() > 0; }

}  // namespace kdzv::win32
