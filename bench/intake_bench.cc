// The intake of one answer of the agent by the whole component: the watch
// timer's tick that finds the file in the download folder, reads it, raises
// an event per appointment to a host that accepts everything, builds and
// writes the answer file and puts the received file into the depot. Measured
// for answers of 1 000, 4 000, 8 000 and 100 000 appointments, against the raw parse of the
// same files by libxml2 alone.
//
//   intake_bench                       all benchmarks, then a summary
//   intake_bench --benchmark_repetitions=3
//
// Each iteration runs a real exchange: StartSync on a kdZVInterface with the
// system's file system, parser, clock and time zone, a configuration file in
// a temporary folder and the settings in an overlay over the system's
// registry (which is read, never written). Only the sync window's ports and
// the message pump are the bench's own: its timers tick when the pump says so.
// On the pump's first pass the prepared answer is copied into the download
// folder under the name the component expects and the watch timer's tick is
// fired; the time of that tick alone is the iteration's time (no polling
// wait). The second pass presses the cancel button, which ends the exchange.
//
// The summary gives per size: the tick's time, MB/s of the download file,
// the ratio to the raw parse, the peak heap of the tick as a multiple of the
// download file's size and the time per appointment (for linearity). Logging
// is off (DoLog false) unless the benchmark's name says "Logged".
#include <benchmark/benchmark.h>
#include <libxml/parser.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <streambuf>
#include <string>
#include <tuple>
#include <vector>

#include "bench_ports.h"
#include "bench_support.h"
#include "cli/hosts.h"
#include "exchange/kd_zv_interface.h"
#include "interface/process.h"
#include "interface/user_interface.h"
#include "platform/platform.h"
#include "settings/overlay_registry.h"
#include "syncwindow/window_ports.h"

namespace kdzv::bench {
namespace {

namespace fs = std::filesystem;

constexpr const char* kPrefix = "ZV";
// The session every exchange of the bench gets: the configuration file is
// set to the one before it ahead of each StartSync.
constexpr int kSession = 17;

// The bench's own folder, removed at the end of the program.
const std::string& Root() {
  static const std::string root = MakeTempFolder();
  return root;
}

struct Sample {
  std::string path;
  size_t bytes = 0;
};

// One download file per size and header, made once.
const Sample& SampleFor(int appointments, int session_id = kSession, int msg_id = 2) {
  static std::map<std::tuple<int, int, int>, Sample> samples;
  const auto key = std::make_tuple(appointments, session_id, msg_id);
  auto found = samples.find(key);
  if (found == samples.end()) {
    const std::string text = DownloadMessage(appointments, session_id, msg_id);
    const fs::path folder = fs::path(Root()) / "samples";
    fs::create_directories(folder);
    const std::string path =
        (folder / (std::to_string(appointments) + "-" + std::to_string(session_id) + "-" +
                   std::to_string(msg_id) + ".xml"))
            .string();
    std::FILE* file = std::fopen(path.c_str(), "wb");
    if (file == nullptr || std::fwrite(text.data(), 1, text.size(), file) != text.size() ||
        std::fclose(file) != 0) {
      std::perror(path.c_str());
      std::exit(1);
    }
    found = samples.emplace(key, Sample{path, text.size()}).first;
  }
  return found->second;
}

size_t FileSize(const fs::path& path) {
  std::error_code error;
  const auto size = fs::file_size(path, error);
  return error ? 0 : static_cast<size_t>(size);
}

// A timer that never ticks by itself; the pump fires it.
class PumpTimer : public WindowTimer {
 public:
  explicit PumpTimer(std::function<void()> on_tick) : on_tick_(std::move(on_tick)) {}
  void SetInterval(int32_t milliseconds) override { interval_ = milliseconds; }
  int32_t Interval() const override { return interval_; }
  void SetEnabled(bool enabled) override { enabled_ = enabled; }
  bool Enabled() const override { return enabled_; }
  void Fire() { on_tick_(); }

 private:
  std::function<void()> on_tick_;
  int32_t interval_ = 0;
  bool enabled_ = false;
};

// Makes the window's parts and keeps hold of the newest window's timers
// (created in this order: watch, time-out) and input.
class BenchWindowPlatform : public SyncWindowPlatform {
 public:
  std::unique_ptr<WindowTimer> CreateTimer(std::function<void()> on_tick) override {
    auto timer = std::make_unique<PumpTimer>(std::move(on_tick));
    timers.push_back(timer.get());
    return timer;
  }
  std::unique_ptr<SyncWindowView> CreateView(SyncWindowInput& window_input) override {
    // A new window: the timers that follow are its own.
    timers.clear();
    input = &window_input;
    return std::make_unique<SilentView>();
  }
  PumpTimer* WatchTimer() { return timers.empty() ? nullptr : timers.front(); }

  std::vector<PumpTimer*> timers;
  SyncWindowInput* input = nullptr;
};

// The wait loop of StartSync, passed through by the bench.
class IntakePump : public MessagePump {
 public:
  void RunPending(int32_t) override {
    ++passes;
    if (passes == 1 && on_first_pass) {
      on_first_pass();
    } else if (window != nullptr && window->input != nullptr) {
      // The exchange has nothing more to offer: the user cancels.
      window->input->CancelClicked();
    }
  }
  int passes = 0;
  BenchWindowPlatform* window = nullptr;
  std::function<void()> on_first_pass;
};

// One component with its folders, host and ports.
class IntakeFixture {
 public:
  explicit IntakeFixture(bool log)
      : folder_(fs::path(Root()) / "run"),
        download_(folder_ / "down"),
        upload_(folder_ / "up"),
        depot_(folder_ / "depot"),
        config_((folder_ / "kdZentavo.cfg").string()),
        registry_(System().registry),
        out_(&discard_),
        host_(out_) {
    fs::remove_all(folder_);
    for (const fs::path& path : {download_, upload_, depot_}) fs::create_directories(path);
    process::SetFilePaths((folder_ / "kdZentavo.log").string(), config_);
    previous_boxes_ = process::MessageBoxes();
    process::SetMessageBoxes(&ui_);
    pump_.window = &window_;
    SystemPorts& system = System();
    const InterfacePorts ports{system.file_system,  system.clock, system.time_zone,
                               system.profile_file, registry_,    ui_,
                               system.xml_parser,   window_,      pump_};
    zv_ = std::make_unique<kdZVInterface>(ports, host_);
    const std::shared_ptr<clZVSettings> settings = zv_->Settings();
    settings->SetDownloadPath(download_.string());
    settings->SetUploadPath(upload_.string());
    settings->SetAblagePath(depot_.string());
    settings->SetFilePraefix(kPrefix);
    settings->SetSlowSync(false);
    settings->SetDoLog(log);
  }

  ~IntakeFixture() {
    zv_.reset();
    process::SetMessageBoxes(previous_boxes_);
    std::error_code ignored;
    fs::remove_all(folder_, ignored);
  }

  // One exchange whose first pass takes in the answer of `appointments`
  // appointments. Returns the seconds of the tick, or a negative value
  // with `error` filled.
  double Run(int appointments, std::string& error) {
    // Each exchange starts from the same session number and empty folders.
    System().profile_file.WriteString("SESSION", "LastSessionID", std::to_string(kSession - 1),
                                      config_);
    for (const fs::path& path : {download_, upload_, depot_}) {
      fs::remove_all(path);
      fs::create_directories(path);
    }
    const std::string log_file = process::LogFilePath();
    std::error_code ignored;
    fs::remove(log_file, ignored);

    double seconds = -1;
    const int added_before = Count("OnTermin Add");
    std::string answer_name;
    pump_.passes = 0;
    pump_.on_first_pass = [&] {
      PumpTimer* watch = window_.WatchTimer();
      if (watch == nullptr || !watch->Enabled()) {
        error = "the watch timer was not started";
        return;
      }
      const int32_t msg_id = zv_->SessionInfo().MsgID;
      const Sample& sample = SampleFor(appointments, zv_->SessionInfo().SessionID, msg_id + 1);
      const std::string name = zv_->SessionFileBase() + std::to_string(msg_id + 1) + ".xml";
      answer_name = zv_->SessionFileBase() + std::to_string(msg_id + 2) + ".xml";
      fs::copy_file(sample.path, download_ / name, fs::copy_options::overwrite_existing);

      ResetPeak();
      const size_t base = HeapInUse();
      const auto start = std::chrono::steady_clock::now();
      watch->Fire();
      const auto stop = std::chrono::steady_clock::now();
      peak_bytes = HeapPeak() - base;
      seconds = std::chrono::duration<double>(stop - start).count();
      file_bytes = sample.bytes;
    };
    std::string sErr;
    const enmZVRetValues result = zv_->StartSync(0, sErr);
    pump_.on_first_pass = nullptr;

    // The exchange must have taken the file and answered every appointment.
    if (!error.empty()) return -1;
    if (result != ZV_Error_Cancel) {
      error = "StartSync returned " + std::to_string(static_cast<int>(result)) + " " + sErr;
      return -1;
    }
    if (Count("OnTermin Add") - added_before != appointments) {
      error = "not every appointment reached the host";
      return -1;
    }
    answer_bytes = FileSize(upload_ / answer_name);
    if (answer_bytes == 0) {
      error = "no answer file " + answer_name;
      return -1;
    }
    if (!fs::is_empty(download_)) {
      error = "the download folder was not emptied";
      return -1;
    }
    if (ui_.shown != 0) {
      error = "a message box came up";
      return -1;
    }
    return seconds;
  }

  size_t file_bytes = 0;
  size_t answer_bytes = 0;
  size_t peak_bytes = 0;

 private:
  int Count(const std::string& kind) const {
    const auto found = host_.Counts().find(kind);
    return found == host_.Counts().end() ? 0 : found->second;
  }

  fs::path folder_, download_, upload_, depot_;
  std::string config_;
  OverlayRegistry registry_;
  OkUserInterface ui_;
  UserInterface* previous_boxes_ = nullptr;
  BenchWindowPlatform window_;
  IntakePump pump_;
  DiscardBuffer discard_;
  std::ostream out_;
  AcceptingHost host_;
  std::unique_ptr<kdZVInterface> zv_;
};

void RunIntake(benchmark::State& state, bool log) {
  const int appointments = static_cast<int>(state.range(0));
  IntakeFixture fixture(log);
  for (auto _ : state) {
    std::string error;
    const double seconds = fixture.Run(appointments, error);
    if (seconds < 0) {
      state.SkipWithError(error.c_str());
      break;
    }
    state.SetIterationTime(seconds);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * fixture.file_bytes));
  const double file = static_cast<double>(fixture.file_bytes);
  state.counters["file_MB"] = file / 1e6;
  state.counters["answer_MB"] = static_cast<double>(fixture.answer_bytes) / 1e6;
  state.counters["peak_x"] = file > 0 ? static_cast<double>(fixture.peak_bytes) / file : 0;
}

void BM_RawParse(benchmark::State& state) {
  const Sample& sample = SampleFor(static_cast<int>(state.range(0)));
  for (auto _ : state) {
    xmlDocPtr doc = xmlReadFile(sample.path.c_str(), nullptr, XML_PARSE_NONET | XML_PARSE_HUGE);
    if (doc == nullptr) state.SkipWithError("libxml2 could not parse the sample");
    xmlFreeDoc(doc);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * sample.bytes));
}

void BM_Intake(benchmark::State& state) { RunIntake(state, false); }
void BM_IntakeLogged(benchmark::State& state) { RunIntake(state, true); }

constexpr int kSizes[] = {1000, 4000, 8000, 100000};
#define KDZV_SIZES Arg(1000)->Arg(4000)->Arg(8000)->Arg(100000)->Unit(benchmark::kMillisecond)
BENCHMARK(BM_RawParse)->KDZV_SIZES;
BENCHMARK(BM_Intake)->KDZV_SIZES->UseManualTime();
BENCHMARK(BM_IntakeLogged)->KDZV_SIZES->UseManualTime();

// Keeps, per benchmark and size, the seconds per iteration and the counters
// of the median over the repetitions (of the single run without them).
class CollectingReporter : public benchmark::ConsoleReporter {
 public:
  struct Figures {
    double seconds = 0;
    benchmark::UserCounters counters;
  };

  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.error_occurred) continue;
      const std::string key = run.run_name.function_name + "/" + run.run_name.args;
      Figures figures{run.GetAdjustedRealTime() / 1e3, run.counters};  // ms -> s
      if (run.run_type == Run::RT_Aggregate && run.aggregate_name == "median") {
        medians[key] = figures;
      } else if (run.run_type == Run::RT_Iteration && run.iterations > 0) {
        singles[key] = figures;
      }
    }
    ConsoleReporter::ReportRuns(runs);
  }

  const Figures* Find(const std::string& key) const {
    if (auto found = medians.find(key); found != medians.end()) return &found->second;
    if (auto found = singles.find(key); found != singles.end()) return &found->second;
    return nullptr;
  }

  std::map<std::string, Figures> medians, singles;
};

// One line per benchmark and size; MB are 10^6 bytes, the figures medians
// when the benchmarks ran with repetitions.
void PrintSummary(const CollectingReporter& reporter) {
  std::printf("\n%-16s %7s %8s %9s %10s %7s %10s %9s %9s %10s\n", "benchmark", "size",
              "file MB", "raw ms", "intake ms", "MB/s", "intake/raw", "peak heap", "us/appt",
              "peak/appt");
  for (const char* name : {"BM_Intake", "BM_IntakeLogged"}) {
    for (int n : kSizes) {
      const std::string arg = "/" + std::to_string(n);
      const CollectingReporter::Figures* intake = reporter.Find(name + arg);
      if (intake == nullptr) continue;
      const CollectingReporter::Figures* raw = reporter.Find("BM_RawParse" + arg);
      const auto counter = [&](const char* which) {
        const auto found = intake->counters.find(which);
        return found == intake->counters.end() ? 0.0 : static_cast<double>(found->second);
      };
      const double mb = counter("file_MB");
      const double seconds = intake->seconds;
      const double raw_seconds = raw != nullptr ? raw->seconds : 0.0;
      std::printf("%-16s %7d %8.1f %9.2f %10.2f %7.1f %10.2f %8.1fx %9.2f %9.0fB\n", name, n,
                  mb, raw_seconds * 1e3, seconds * 1e3, seconds > 0 ? mb / seconds : 0.0,
                  raw_seconds > 0 ? seconds / raw_seconds : 0.0, counter("peak_x"),
                  seconds * 1e6 / n, counter("peak_x") * mb * 1e6 / n);
    }
  }
}

}  // namespace
}  // namespace kdzv::bench

int main(int argc, char** argv) {
  kdzv::bench::InstallLibxml2Accounting();
  kdzv::InitializeProcess();
  benchmark::Initialize(&argc, argv);
  kdzv::bench::CollectingReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  kdzv::bench::PrintSummary(reporter);
  benchmark::Shutdown();
  std::error_code ignored;
  std::filesystem::remove_all(kdzv::bench::Root(), ignored);
  return 0;
}
