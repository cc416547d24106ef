// The sync window of a program on a terminal. There is nothing to draw: the
// host prints the status lines itself (they reach it through its log
// event), so showing and closing only change the state, and the log pane is
// kept as text. The cancel question is asked on the terminal when both the
// input and the output stream are terminals. Without a terminal nobody can
// answer, so the question is answered yes: an interrupt (Ctrl+C) then
// cancels the exchange at once.
#ifndef KDZV_PLATFORM_POSIX_TERMINAL_VIEW_H_
#define KDZV_PLATFORM_POSIX_TERMINAL_VIEW_H_

#include <cstdio>
#include <functional>
#include <string>
#include <string_view>

#include "syncwindow/window_ports.h"

namespace kdzv::posix {

class TerminalView : public SyncWindowView {
 public:
  // Whether a stream is a terminal.
  using TerminalCheck = std::function<bool(std::FILE*)>;
  static bool IsTerminal(std::FILE* stream);

  // Reads answers from `in` and writes questions to `out` (usually stdin and
  // stderr).
  TerminalView(std::FILE* in, std::FILE* out, TerminalCheck is_terminal = IsTerminal);

  void Show(intptr_t owner) override;
  void Close() override;
  void ClearLog() override;
  void AppendLog(std::string_view text) override;
  // Writes "<question> (j/N) " and reads a line: "j", "J" or "ja" (any
  // case) is yes, anything else (also end of input) no.
  bool AskYesNo(std::string_view question) override;

  bool Shown() const { return shown_; }

 private:
  std::FILE* in_;
  std::FILE* out_;
  TerminalCheck is_terminal_;
  bool shown_ = false;
};

}  // namespace kdzv::posix

#endif  // KDZV_PLATFORM_POSIX_TERMINAL_VIEW_H_
