#include "platform/posix/posix_user_interface.h"

#include <unistd.h>

#include <string>

namespace kdzv::posix {
namespace {

// Message texts use CR LF between lines; a terminal wants LF.
std::string ForTerminal(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n') continue;
    out.push_back(text[i]);
  }
  return out;
}

}  // namespace

PosixUserInterface::PosixUserInterface(std::FILE* out, std::FILE* in) : out_(out), in_(in) {}

int32_t PosixUserInterface::ShowMessageBox(std::string_view text, int32_t style,
                                           std::string_view title) {
  const int32_t buttons = style & 0x0F;
  std::fprintf(out_, "[%.*s] %s\n", static_cast<int>(title.size()), title.data(),
               ForTerminal(text).c_str());
  if (buttons == msgbox::kOkOnly) {
    std::fflush(out_);
    return msgbox::kOk;
  }
  const bool yes_no = buttons == msgbox::kYesNo;
  const bool interactive = in_ != nullptr && ::isatty(::fileno(in_)) == 1;
  if (!interactive) {
    std::fflush(out_);
    return yes_no ? msgbox::kNo : msgbox::kCancel;
  }
  std::fputs(yes_no ? "(j/N) " : "(OK/Abbruch: o/A) ", out_);
  std::fflush(out_);
  char answer[64] = {};
  const bool answered = std::fgets(answer, sizeof answer, in_) != nullptr;
  const char first = answered ? answer[0] : '\0';
  if (yes_no) {
    const bool yes = first == 'j' || first == 'J' || first == 'y' || first == 'Y';
    return yes ? msgbox::kYes : msgbox::kNo;
  }
  return (first == 'o' || first == 'O') ? msgbox::kOk : msgbox::kCancel;
}

}  // namespace kdzv::posix
