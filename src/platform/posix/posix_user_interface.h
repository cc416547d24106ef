// Message boxes of a program without windows: the text goes to standard
// error. A question is asked on the terminal when there is one; without a
// terminal nothing ever waits for an answer (OK boxes answer OK, yes/no
// questions answer no, OK/cancel answer cancel).
#ifndef KDZV_PLATFORM_POSIX_POSIX_USER_INTERFACE_H_
#define KDZV_PLATFORM_POSIX_POSIX_USER_INTERFACE_H_

#include <cstdio>

#include "interface/user_interface.h"

namespace kdzv::posix {

class PosixUserInterface : public UserInterface {
 public:
  // Writes to `out` and reads answers from `in` (a terminal or not).
  PosixUserInterface(std::FILE* out, std::FILE* in);
  int32_t ShowMessageBox(std::string_view text, int32_t style, std::string_view title) override;

 private:
  std::FILE* out_;
  std::FILE* in_;
};

}  // namespace kdzv::posix

#endif  // KDZV_PLATFORM_POSIX_POSIX_USER_INTERFACE_H_
