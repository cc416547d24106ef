#include "platform/posix/terminal_view.h"

#include <unistd.h>

#include <cctype>
#include <utility>

namespace kdzv::posix {
namespace {

// The answer without surrounding blanks and line end, lower-cased.
std::string Normalised(const std::string& line) {
  size_t begin = 0;
  size_t end = line.size();
  while (begin < end && std::isspace(static_cast<unsigned char>(line[begin])) != 0) ++begin;
  while (end > begin && std::isspace(static_cast<unsigned char>(line[end - 1])) != 0) --end;
  std::string answer;
  for (size_t i = begin; i < end; ++i) {
    answer.push_back(static_cast<char>(std::tolower(static_cast<unsigned char>(line[i]))));
  }
  return answer;
}

// One line from `in` (without limit on its length); false at end of input
// or on a read error before any character.
bool ReadLine(std::FILE* in, std::string& line) {
  line.clear();
  char chunk[128];
  while (std::fgets(chunk, sizeof chunk, in) != nullptr) {
    line += chunk;
    if (!line.empty() && line.back() == '\n') return true;
  }
  return !line.empty();
}

}  // namespace

bool TerminalView::IsTerminal(std::FILE* stream) {
  return stream != nullptr && ::isatty(::fileno(stream)) == 1;
}

TerminalView::TerminalView(std::FILE* in, std::FILE* out, TerminalCheck is_terminal)
    : in_(in), out_(out), is_terminal_(std::move(is_terminal)) {}

void TerminalView::Show(intptr_t owner) {
  static_cast<void>(owner);  // a terminal has no owner window
  shown_ = true;
}

void TerminalView::Close() { shown_ = false; }

// The lines reach the terminal one by one through the host's log event;
// the pane draws nothing itself.
void TerminalView::ClearLog() {}
void TerminalView::AppendLog(std::string_view) {}

bool TerminalView::AskYesNo(std::string_view question) {
  const bool interactive = in_ != nullptr && out_ != nullptr && is_terminal_(in_) &&
                           is_terminal_(out_);
  if (!interactive) {
    // Nobody can answer: the interrupt that asked is taken as meant.
    if (out_ != nullptr) {
      std::fprintf(out_, "%.*s (j/N) j\n", static_cast<int>(question.size()), question.data());
      std::fflush(out_);
    }
    return true;
  }
  std::fprintf(out_, "%.*s (j/N) ", static_cast<int>(question.size()), question.data());
  std::fflush(out_);
  std::string line;
  if (!ReadLine(in_, line)) {
    std::fputc('\n', out_);
    std::fflush(out_);
    return false;
  }
  const std::string answer = Normalised(line);
  return answer == "j" || answer == "ja";
}

}  // namespace kdzv::posix
