// The user-interface port: message boxes. (The sync window's view joins it
// with the exchange.)
#ifndef KDZV_INTERFACE_USER_INTERFACE_H_
#define KDZV_INTERFACE_USER_INTERFACE_H_

#include <cstdint>
#include <string_view>

namespace kdzv {

// Message-box styles and answers, with the host's numeric values.
namespace msgbox {
inline constexpr int32_t kOkOnly = 0;
inline constexpr int32_t kYesNo = 4;
inline constexpr int32_t kCritical = 16;
inline constexpr int32_t kQuestion = 32;
inline constexpr int32_t kExclamation = 48;
inline constexpr int32_t kInformation = 64;

inline constexpr int32_t kOk = 1;
inline constexpr int32_t kCancel = 2;
inline constexpr int32_t kYes = 6;
inline constexpr int32_t kNo = 7;
}  // namespace msgbox

class UserInterface {
 public:
  virtual ~UserInterface() = default;
  // Shows `text` with the buttons and icon of `style`; returns the answer.
  virtual int32_t ShowMessageBox(std::string_view text, int32_t style, std::string_view title) = 0;
};

}  // namespace kdzv

#endif  // KDZV_INTERFACE_USER_INTERFACE_H_
