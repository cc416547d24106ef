// How long an answer of the agent waits in the download folder before the
// component takes it, on Windows (run under Wine here): the time from the
// answer landing there (renamed in, or closed after being written in place in
// ten pieces shared with nobody) until the component's next message is
// whole in the upload folder, as p50, p95 and the highest figure.
//
//   answer_latency_win32 [ROUND_TRIPS] [CASE...]
//
// ROUND_TRIPS defaults to 200; the cases are PollRename, NotifyRename,
// PollInPlace and NotifyInPlace (all four by default). A plain program, not
// a Google Benchmark one (that library is not built for this target); each
// case is one exchange of ROUND_TRIPS round trips, as in the Linux bench.
//
// The component is the whole interface object with the system's ports and
// the Windows pump (its timers and change notifications), as the library and
// zvsync run it; only the window's view is silent. "[WATCH]
// ChangeNotification" is 0 for the Poll cases and 1 for the Notify ones. The
// agent runs on a thread of its own and learns of the component's messages
// from a change notification on the upload folder (and every 2 ms without
// one).
#include <windows.h>

#include <algorithm>
#include <atomic>
#include <cctype>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "bench_ports.h"
#include "cli/hosts.h"
#include "exchange/kd_zv_interface.h"
#include "interface/process.h"
#include "interface/user_interface.h"
#include "platform/platform.h"
#include "platform/win32/wide_text.h"
#include "platform/win32/win32_sync_window.h"
#include "settings/overlay_registry.h"

namespace kdzv {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;
using win32::Widen;

enum class Writer { kRename, kInPlace };

std::string Header(int msg_id) {
  return "<?xml version=\"1.0\" encoding=\"utf-8\"?>\r\n<SyncML><SyncHdr><VerDTD>1.0</VerDTD>"
         "<VerProto>SyncZV/1.0</VerProto><SessionID>1</SessionID><MsgID>" +
         std::to_string(msg_id) +
         "</MsgID><Source><LocName>Zentavo</LocName><LocURI/></Source>"
         "<Target><LocName>Halvex</LocName><LocURI/></Target></SyncHdr>\r\n";
}

// Message `msg_id` of the agent: one added appointment.
std::string AddAnswer(int msg_id) {
  return Header(msg_id) + "<SyncBody><Add><CmdID>" + std::to_string(msg_id) +
         "</CmdID><VEvent><Source>ZV-" + std::to_string(msg_id) +
         "</Source><DTStart>20240701T060000Z</DTStart><DTEnd>20240701T063000Z</DTEnd>"
         "<Status>Booked</Status><Customer><FirstName>Erika</FirstName><LastName>Muster"
         "</LastName><DateOfBirth>19700315</DateOfBirth></Customer></VEvent></Add>"
         "</SyncBody></SyncML>\r\n";
}

std::string SessionEnd(int msg_id, int msg_ref) {
  return Header(msg_id) +
         "<SyncBody><Status><Cmd>SyncHdr</Cmd><CmdID>1</CmdID><CmdRef>0</CmdRef><MsgRef>" +
         std::to_string(msg_ref) +
         "</MsgRef><Data>Session End</Data><Text/></Status><Final/></SyncBody></SyncML>\r\n";
}

class Agent {
 public:
  Agent(fs::path up, fs::path down, fs::path spare, Writer writer, int round_trips)
      : up_(std::move(up)), down_(std::move(down)), spare_(std::move(spare)), writer_(writer),
        round_trips_(round_trips) {}

  void Run() {
    HANDLE changes = ::FindFirstChangeNotificationW(
        up_.wstring().c_str(), FALSE, FILE_NOTIFY_CHANGE_FILE_NAME | FILE_NOTIFY_CHANGE_LAST_WRITE);
    if (changes == INVALID_HANDLE_VALUE) {
      failed = true;
      return;
    }
    Clock::time_point landed{};
    for (int k = 1; k <= round_trips_ + 1 && !failed; ++k) {
      const int msg_id = 2 * k - 1;  // the component's message
      if (!WaitFor(changes, up_ / ("HX1_" + std::to_string(msg_id) + ".xml"))) {
        failed = true;
        break;
      }
      const Clock::time_point there = Clock::now();
      if (k > 1) {
        latencies_ms.push_back(std::chrono::duration<double, std::milli>(there - landed).count());
      }
      const std::string name = "HX1_" + std::to_string(msg_id + 1) + ".xml";
      const std::string text =
          k <= round_trips_ ? AddAnswer(msg_id + 1) : SessionEnd(msg_id + 1, msg_id);
      landed = Write(name, text);
    }
    ::FindCloseChangeNotification(changes);
  }

  std::vector<double> latencies_ms;
  std::atomic<bool> failed{false};
  std::atomic<bool> stop{false};

 private:
  // Until `path` is there whole.
  bool WaitFor(HANDLE changes, const fs::path& path) {
    const auto give_up = Clock::now() + std::chrono::seconds(10);
    while (!stop) {
      std::ifstream in(path, std::ios::binary);
      if (in) {
        std::stringstream text;
        text << in.rdbuf();
        if (text.str().find("</SyncML>") != std::string::npos) return true;
      }
      if (Clock::now() > give_up) return false;
      if (::WaitForSingleObject(changes, 2) == WAIT_OBJECT_0) ::FindNextChangeNotification(changes);
    }
    return false;
  }

  Clock::time_point Write(const std::string& name, const std::string& text) {
    if (writer_ == Writer::kRename) {
      const fs::path temp = spare_ / name;
      { std::ofstream(temp, std::ios::binary) << text; }
      ::MoveFileExW(temp.wstring().c_str(), (down_ / name).wstring().c_str(), 0);
      return Clock::now();
    }
    // In place, shared with nobody, in ten pieces.
    HANDLE file = ::CreateFileW((down_ / name).wstring().c_str(), GENERIC_WRITE, 0, nullptr,
                                CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
      failed = true;
      return Clock::now();
    }
    const size_t step = (text.size() + 9) / 10;
    DWORD written = 0;
    for (size_t at = 0; at < text.size(); at += step) {
      ::WriteFile(file, text.data() + at, static_cast<DWORD>(std::min(step, text.size() - at)),
                  &written, nullptr);
    }
    ::CloseHandle(file);
    return Clock::now();
  }

  fs::path up_, down_, spare_;
  Writer writer_;
  int round_trips_;
};

// The system's timers and pump with a window nobody sees.
class SilentWindows : public SyncWindowPlatform {
 public:
  explicit SilentWindows(SyncWindowPlatform& real) : real_(real) {}
  std::unique_ptr<WindowTimer> CreateTimer(std::function<void()> on_tick) override {
    return real_.CreateTimer(std::move(on_tick));
  }
  std::unique_ptr<SyncWindowView> CreateView(SyncWindowInput&) override {
    return std::make_unique<bench::SilentView>();
  }

 private:
  SyncWindowPlatform& real_;
};

double Percentile(std::vector<double> values, double p) {
  if (values.empty()) return 0;
  std::sort(values.begin(), values.end());
  const double last = static_cast<double>(values.size() - 1);
  const size_t at = std::min(values.size() - 1, static_cast<size_t>(p * last + 0.5));
  return values[at];
}

bool RunCase(const std::string& name, bool notify, Writer writer, int round_trips) {
  const fs::path root = fs::temp_directory_path() /
                        ("kdzv-latency-" + std::to_string(::GetCurrentProcessId()) + "-" + name);
  std::error_code ignored;
  fs::remove_all(root, ignored);
  const fs::path up = root / "up", down = root / "down", depot = root / "depot",
                 spare = root / "spare";
  for (const fs::path& folder : {up, down, depot, spare}) fs::create_directories(folder);
  const std::string config = (root / "kdZentavo.cfg").string();
  std::ofstream(config) << "[WATCH]\r\nChangeNotification=" << (notify ? 1 : 0) << "\r\n";
  process::SetFilePaths((root / "kdZentavo.log").string(), config);
  bench::OkUserInterface boxes;
  process::SetMessageBoxes(&boxes);
  std::ostringstream out;
  AcceptingHost host(out);
  SystemPorts& system = System();
  OverlayRegistry registry(system.registry);
  SilentWindows windows(*HeadlessWindowPlatform());

  std::vector<double> latencies;
  bool failed = false;
  const Clock::time_point start = Clock::now();
  {
    const InterfacePorts ports{system.file_system,  system.clock, system.time_zone,
                               system.profile_file, registry,     boxes,
                               system.xml_parser,   windows,      *HeadlessMessagePump()};
    kdZVInterface zv(ports, host);
    zv.SetFolderChanges(HeadlessFolderChanges());
    const std::shared_ptr<clZVSettings> settings = zv.Settings();
    settings->SetDownloadPath(down.string());
    settings->SetUploadPath(up.string());
    settings->SetAblagePath(depot.string());
    settings->SetFilePraefix("HX");
    settings->SetSlowSync(false);
    settings->SetDoLog(false);

    Agent agent(up, down, spare, writer, round_trips);
    std::thread agent_thread([&] { agent.Run(); });
    std::string error;
    const enmZVRetValues result = zv.StartSync(0, error);
    agent.stop = true;
    agent_thread.join();
    failed = result != ZV_Success || agent.failed;
    latencies = agent.latencies_ms;
  }
  const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
  process::SetMessageBoxes(nullptr);
  fs::remove_all(root, ignored);
  if (failed || latencies.size() != static_cast<size_t>(round_trips)) {
    std::printf("%-14s failed: %zu of %d round trips\n", name.c_str(), latencies.size(),
                round_trips);
    return false;
  }
  std::printf("%-14s round_trips=%zu p50_ms=%.1f p95_ms=%.1f max_ms=%.1f exchange_s=%.1f\n",
              name.c_str(), latencies.size(), Percentile(latencies, 0.50),
              Percentile(latencies, 0.95), Percentile(latencies, 1.0), seconds);
  std::fflush(stdout);
  return true;
}

}  // namespace
}  // namespace kdzv

int main(int argc, char** argv) {
  kdzv::InitializeProcess();
  int round_trips = 200;
  std::vector<std::string> cases;
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    if (!arg.empty() && std::isdigit(static_cast<unsigned char>(arg[0]))) {
      round_trips = std::max(1, std::atoi(arg.c_str()));
    } else {
      cases.push_back(arg);
    }
  }
  if (cases.empty()) cases = {"PollRename", "NotifyRename", "PollInPlace", "NotifyInPlace"};
  bool all = true;
  for (const std::string& name : cases) {
    const bool notify = name.rfind("Notify", 0) == 0;
    const bool in_place = name.find("InPlace") != std::string::npos;
    if (!notify && name.rfind("Poll", 0) != 0) {
      std::fprintf(stderr, "unknown case: %s\n", name.c_str());
      return 2;
    }
    all = kdzv::RunCase(name, notify,
                        in_place ? kdzv::Writer::kInPlace : kdzv::Writer::kRename, round_trips) &&
          all;
  }
  return all ? 0 : 1;
}
