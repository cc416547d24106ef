// Ports that nobody sees, for the benchmarks that run a whole exchange.
#ifndef KDZV_BENCH_BENCH_PORTS_H_
#define KDZV_BENCH_BENCH_PORTS_H_

#include <cstdint>
#include <streambuf>
#include <string_view>

#include "interface/user_interface.h"
#include "syncwindow/window_ports.h"

namespace kdzv::bench {

// Output that goes nowhere, formatted all the same: the host prints every
// line of the sync window.
class DiscardBuffer : public std::streambuf {
 protected:
  int_type overflow(int_type c) override { return traits_type::not_eof(c); }
  std::streamsize xsputn(const char*, std::streamsize count) override { return count; }
};

// Message boxes that nobody sees: every one is answered with OK.
class OkUserInterface : public UserInterface {
 public:
  int32_t ShowMessageBox(std::string_view, int32_t, std::string_view) override {
    ++shown;
    return msgbox::kOk;
  }
  int shown = 0;
};

// A window nobody sees. It drops the log pane's text (a real pane would
// copy it) and answers the cancel question with yes.
class SilentView : public SyncWindowView {
 public:
  void Show(intptr_t) override {}
  void Close() override {}
  void ClearLog() override {}
  void AppendLog(std::string_view) override {}
  bool AskYesNo(std::string_view) override { return true; }
};

}  // namespace kdzv::bench

#endif  // KDZV_BENCH_BENCH_PORTS_H_
