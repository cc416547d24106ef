// Message boxes on Windows.
#ifndef KDZV_PLATFORM_WIN32_WIN32_USER_INTERFACE_H_
#define KDZV_PLATFORM_WIN32_WIN32_USER_INTERFACE_H_

#include "interface/user_interface.h"

namespace kdzv::win32 {

class Win32UserInterface : public UserInterface {
 public:
  int32_t ShowMessageBox(std::string_view text, int32_t style, std::string_view title) override;
};

}  // namespace kdzv::win32

#endif  // KDZV_PLATFORM_WIN32_WIN32_USER_INTERFACE_H_
