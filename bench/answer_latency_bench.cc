// How long an answer of the agent waits in the download folder before the
// component takes it: the time from the answer landing there (renamed in,
// or closed after being written in place under a lock) until the
// component's next message has been written into the upload folder, over
// 200 round trips of one exchange, as p50 and p95.
//
//   answer_latency_bench                        poll only and with notifications,
//                                               for both kinds of agent
//   answer_latency_bench --benchmark_filter=Rename
//
// The component is the whole interface object with the system's ports and
// the Linux event loop (timers, inotify) as its message pump, as zvsync
// runs it; only the window's view is silent. "[WATCH] ChangeNotification"
// in the configuration file is 0 for the Poll benchmarks and 1 for the
// Notify ones. The agent runs on a thread of its own: it waits (inotify on
// the upload folder) for each message of the component, answers it with one
// added appointment, and ends the session after 200 answers. The time of a
// round trip includes the component's reading, the host's event and the
// writing of its message; the figures are reported as counters (ms), and
// the benchmark's time is the mean.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <streambuf>
#include <string>
#include <thread>
#include <vector>

#include "bench_ports.h"
#include "bench_support.h"
#include "cli/hosts.h"
#include "exchange/kd_zv_interface.h"
#include "interface/process.h"
#include "interface/user_interface.h"
#include "platform/platform.h"
#include "platform/posix/event_loop.h"
#include "settings/overlay_registry.h"

namespace kdzv::bench {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr int kRoundTrips = 200;

enum class Writer { kRename, kInPlace };

std::string SessionEnd(int msg_id, int msg_ref) {
  return "<?xml version=\"1.0\" encoding=\"utf-8\"?>\r\n<SyncML><SyncHdr><VerDTD>1.0</VerDTD>"
         "<VerProto>SyncZV/1.0</VerProto><SessionID>1</SessionID><MsgID>" +
         std::to_string(msg_id) +
         "</MsgID><Source><LocName>Zentavo</LocName><LocURI/></Source>"
         "<Target><LocName>Halvex</LocName><LocURI/></Target></SyncHdr>\r\n<SyncBody>"
         "<Status><Cmd>SyncHdr</Cmd><CmdID>1</CmdID><CmdRef>0</CmdRef><MsgRef>" +
         std::to_string(msg_ref) +
         "</MsgRef><Data>Session End</Data><Text/></Status><Final/></SyncBody></SyncML>\r\n";
}

void WriteAll(int fd, const std::string& text, int pieces) {
  const size_t step = (text.size() + pieces - 1) / pieces;
  for (size_t at = 0; at < text.size(); at += step) {
    const size_t size = std::min(step, text.size() - at);
    if (::write(fd, text.data() + at, size) != static_cast<ssize_t>(size)) std::abort();
  }
}

// The agent: answers every message of the component, measuring from the
// moment its answer has landed to the moment the next message is there.
class Agent {
 public:
  Agent(fs::path up, fs::path down, fs::path spare, Writer writer)
      : up_(std::move(up)), down_(std::move(down)), spare_(std::move(spare)), writer_(writer) {}

  void Run() {
    const int fd = ::inotify_init1(IN_CLOEXEC);
    if (fd < 0 || ::inotify_add_watch(fd, up_.c_str(), IN_CLOSE_WRITE) < 0) {
      failed = true;
      return;
    }
    Clock::time_point landed{};
    for (int k = 1; k <= kRoundTrips + 1 && !failed; ++k) {
      const int msg_id = 2 * k - 1;  // the component's message
      if (!WaitFor(fd, up_ / ("HX1_" + std::to_string(msg_id) + ".xml"))) {
        failed = true;
        break;
      }
      const Clock::time_point there = Clock::now();
      if (k > 1) {
        latencies_ms.push_back(std::chrono::duration<double, std::milli>(there - landed).count());
      }
      const std::string name = "HX1_" + std::to_string(msg_id + 1) + ".xml";
      const std::string text = k <= kRoundTrips ? DownloadMessage(1, 1, msg_id + 1)
                                                : SessionEnd(msg_id + 1, msg_id);
      landed = Write(name, text);
    }
    ::close(fd);
  }

  std::vector<double> latencies_ms;
  std::atomic<bool> failed{false};
  std::atomic<bool> stop{false};

 private:
  // Waits for `path` to have been written and closed.
  bool WaitFor(int fd, const fs::path& path) {
    const auto give_up = Clock::now() + std::chrono::seconds(10);
    alignas(inotify_event) char buffer[4096];
    while (!stop) {
      std::error_code error;
      if (fs::exists(path, error) && fs::file_size(path, error) > 0 && !error) {
        // Written in place by the component: wait until it is closed.
        const int probe = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
        if (probe >= 0) {
          std::string tail(16, '\0');
          const off_t size = ::lseek(probe, 0, SEEK_END);
          const ssize_t n =
              size >= 9 ? ::pread(probe, tail.data(), 16, size - std::min<off_t>(size, 16)) : 0;
          ::close(probe);
          if (n > 0 && std::string(tail.data(), static_cast<size_t>(n)).find("</SyncML>") !=
                           std::string::npos) {
            return true;
          }
        }
      }
      if (Clock::now() > give_up) return false;
      pollfd wait{fd, POLLIN, 0};
      if (::poll(&wait, 1, 20) > 0) {
        while (::read(fd, buffer, sizeof buffer) > 0 && ::poll(&wait, 1, 0) > 0) {
        }
      }
    }
    return false;
  }

  Clock::time_point Write(const std::string& name, const std::string& text) {
    if (writer_ == Writer::kRename) {
      const fs::path temp = spare_ / name;
      const int fd = ::open(temp.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
      WriteAll(fd, text, 1);
      ::close(fd);
      fs::rename(temp, down_ / name);
      return Clock::now();
    }
    // In place, under a lock, in ten pieces.
    const fs::path path = down_ / name;
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    ::flock(fd, LOCK_EX);
    WriteAll(fd, text, 10);
    ::close(fd);
    return Clock::now();
  }

  fs::path up_, down_, spare_;
  Writer writer_;
};

double Percentile(std::vector<double> values, double p) {
  if (values.empty()) return 0;
  std::sort(values.begin(), values.end());
  const double last = static_cast<double>(values.size() - 1);
  const size_t at = std::min(values.size() - 1, static_cast<size_t>(p * last + 0.5));
  return values[at];
}

void BM_AnswerLatency(benchmark::State& state, bool notify, Writer writer) {
  const fs::path root = MakeTempFolder();
  const fs::path up = root / "up", down = root / "down", depot = root / "depot",
                 spare = root / "spare";
  for (const fs::path& folder : {up, down, depot, spare}) fs::create_directories(folder);
  const std::string config = (root / "kdZentavo.cfg").string();
  std::ofstream(config) << "[WATCH]\r\nChangeNotification=" << (notify ? 1 : 0) << "\r\n";
  process::SetFilePaths((root / "kdZentavo.log").string(), config);
  OkUserInterface ui;
  UserInterface* previous_boxes = process::MessageBoxes();
  process::SetMessageBoxes(&ui);
  DiscardBuffer discard;
  std::ostream out(&discard);
  AcceptingHost host(out);
  OverlayRegistry registry(System().registry);
  posix::EventLoop loop([](SyncWindowInput&) { return std::make_unique<SilentView>(); });
  SystemPorts& system = System();

  std::vector<double> latencies;
  bool failed = false;
  for (auto _ : state) {
    const InterfacePorts ports{system.file_system,  system.clock, system.time_zone,
                               system.profile_file, registry,     ui,
                               system.xml_parser,   loop,         loop};
    kdZVInterface zv(ports, host);
    zv.SetFolderChanges(&loop);
    const std::shared_ptr<clZVSettings> settings = zv.Settings();
    settings->SetDownloadPath(down.string());
    settings->SetUploadPath(up.string());
    settings->SetAblagePath(depot.string());
    settings->SetFilePraefix("HX");
    settings->SetSlowSync(false);
    settings->SetDoLog(false);

    Agent agent(up, down, spare, writer);
    std::thread agent_thread([&] { agent.Run(); });
    std::string error;
    const enmZVRetValues result = zv.StartSync(0, error);
    agent.stop = true;
    agent_thread.join();
    failed = failed || result != ZV_Success || agent.failed;
    latencies = agent.latencies_ms;
    double mean = 0;
    for (double value : latencies) mean += value;
    mean /= static_cast<double>(std::max<size_t>(latencies.size(), 1));
    state.SetIterationTime(mean / 1000.0);
  }
  process::SetMessageBoxes(previous_boxes);
  std::error_code ignored;
  fs::remove_all(root, ignored);
  if (failed || latencies.size() != kRoundTrips) {
    state.SkipWithError("the exchange did not run its 200 round trips");
    return;
  }
  state.counters["p50_ms"] = Percentile(latencies, 0.50);
  state.counters["p95_ms"] = Percentile(latencies, 0.95);
  state.counters["max_ms"] = Percentile(latencies, 1.0);
  state.counters["round_trips"] = static_cast<double>(latencies.size());
}

BENCHMARK_CAPTURE(BM_AnswerLatency, PollRename, false, Writer::kRename)
    ->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_AnswerLatency, NotifyRename, true, Writer::kRename)
    ->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_AnswerLatency, PollInPlace, false, Writer::kInPlace)
    ->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_AnswerLatency, NotifyInPlace, true, Writer::kInPlace)
    ->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace kdzv::bench

BENCHMARK_MAIN();
