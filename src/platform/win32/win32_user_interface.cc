#include "platform/win32/win32_user_interface.h"

#include <windows.h>

#include "platform/win32/wide_text.h"

namespace kdzv::win32 {

int32_t Win32UserInterface::ShowMessageBox(std::string_view text, int32_t style,
                                       std::string_view title) {
  // The message box styles and answers have the values of the Win32 ones.
  return ::MessageBoxW(::GetActiveWindow(), Widen(text).c_str(), Widen(title).c_str(),
                       static_cast<UINT>(style) | MB_SETFOREGROUND);
}

}  // namespace kdzv::win32
