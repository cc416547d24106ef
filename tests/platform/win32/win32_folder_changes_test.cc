// Change notifications of the download folder in the Windows pump's wait,
// alone and under a whole exchange with the system's ports. An agent on a
// thread of its own delivers the answers: renamed in, or written in place in
// 100 pieces while it holds the file shared with nobody. Where a test must
// show that a notification (not the poll) took an answer, the watch timer's
// 500 ms are stretched to an hour.
#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <fstream>
#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "exchange/exchange_harness.h"
#include "exchange/kd_zv_interface.h"
#include "interface/process.h"
#include "platform/platform.h"
#include "platform/win32/wide_text.h"
#include "platform/win32/win32_sync_window.h"
#include "settings/overlay_registry.h"
#include "support/fake_window.h"
#include "support/fakes.h"
#include "util/windows_1252.h"

namespace kdzv {
namespace {

using win32::Widen;
using win32::Win32WindowPlatform;

constexpr int32_t kAnHour = 3600 * 1000;

// --- The pump and its watches -------------------------------------------

void WriteInPieces(HANDLE file, int pieces) {
  DWORD written = 0;
  for (int piece = 0; piece < pieces; ++piece) {
    ::WriteFile(file, "<piece/>\r\n", 10, &written, nullptr);
  }
}

TEST(Win32FolderChanges, AHundredPiecesWrittenWhileThePumpIsBusyGiveOneCall) {
  test::TempDir dir;
  Win32WindowPlatform platform;
  int calls = 0;
  std::string reason;
  auto watch = platform.Watch(dir.path(), 15, [&] { ++calls; }, reason);
  ASSERT_TRUE(watch) << reason;
  HANDLE file = ::CreateFileW(Widen(dir.File("HX1_2.xml")).c_str(), GENERIC_WRITE, 0, nullptr,
                              CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  ASSERT_NE(file, INVALID_HANDLE_VALUE);
  WriteInPieces(file, 100);
  ::CloseHandle(file);
  for (int round = 0; round < 20 && calls == 0; ++round) platform.RunPending(50);
  EXPECT_EQ(calls, 1);
  // Quiet from now on.
  for (int round = 0; round < 5; ++round) platform.RunPending(20);
  EXPECT_EQ(calls, 1);
}

TEST(Win32FolderChanges, AFileRenamedInWakesTheWait) {
  test::TempDir dir;
  test::TempDir elsewhere;
  Win32WindowPlatform platform;
  int calls = 0;
  std::string reason;
  auto watch = platform.Watch(dir.path(), 15, [&] { ++calls; }, reason);
  ASSERT_TRUE(watch) << reason;
  { std::ofstream(elsewhere.File("HX1_2.xml")) << "<SyncML/>"; }
  std::thread agent([&] {
    ::Sleep(100);
    ::MoveFileExW(Widen(elsewhere.File("HX1_2.xml")).c_str(), Widen(dir.File("HX1_2.xml")).c_str(),
                  0);
  });
  // Each of these waits would last a minute if the change did not end it:
  // one wait ends at the change, the next at the end of its settle time.
  for (int round = 0; round < 3 && calls == 0; ++round) platform.RunPending(60 * 1000);
  agent.join();
  EXPECT_EQ(calls, 1);
  EXPECT_LE(platform.Waits(), 3u);
}

TEST(Win32FolderChanges, AWatchThatIsGoneIsNotRun) {
  test::TempDir dir;
  Win32WindowPlatform platform;
  int calls = 0;
  std::string reason;
  auto watch = platform.Watch(dir.path(), 15, [&] { ++calls; }, reason);
  ASSERT_TRUE(watch) << reason;
  { std::ofstream(dir.File("HX1_2.xml")) << "<SyncML/>"; }
  watch.reset();
  for (int round = 0; round < 5; ++round) platform.RunPending(20);
  EXPECT_EQ(calls, 0);
}

TEST(Win32FolderChanges, AMissingFolderCannotBeWatchedAndSaysWhy) {
  test::TempDir dir;
  Win32WindowPlatform platform;
  std::string reason;
  auto watch = platform.Watch(dir.File("missing"), 15, [] {}, reason);
  EXPECT_FALSE(watch);
  EXPECT_EQ(reason.rfind("FindFirstChangeNotificationW: ", 0), 0u) << reason;
  EXPECT_NE(reason.find("(Windows error "), std::string::npos) << reason;
  EXPECT_FALSE(platform.TellsWhenWriterCloses());
}

TEST(Win32FolderChanges, TheSystemsPumpIsTheSystemsNotifier) {
  auto* pump = dynamic_cast<Win32WindowPlatform*>(HeadlessMessagePump());
  ASSERT_NE(pump, nullptr);
  EXPECT_EQ(dynamic_cast<Win32WindowPlatform*>(HeadlessFolderChanges()), pump);
}

// --- A whole exchange -----------------------------------------------------

// The real timers with the watch timer's interval stretched to `poll_ms`,
// and a window nobody sees.
class TestWindows : public SyncWindowPlatform {
 public:
  TestWindows(Win32WindowPlatform& real, int32_t poll_ms) : real_(real), poll_ms_(poll_ms) {}

  std::unique_ptr<WindowTimer> CreateTimer(std::function<void()> on_tick) override {
    return std::make_unique<Timer>(real_.CreateTimer(std::move(on_tick)), poll_ms_);
  }
  std::unique_ptr<SyncWindowView> CreateView(SyncWindowInput& input) override {
    input_ = &input;
    return std::make_unique<test::FakeView>(input);
  }
  // The input of the last window made (its cancel without a question).
  SyncWindowInput* Input() const { return input_; }

 private:
  class Timer : public WindowTimer {
   public:
    Timer(std::unique_ptr<WindowTimer> real, int32_t poll_ms)
        : real_(std::move(real)), poll_ms_(poll_ms) {}
    void SetInterval(int32_t milliseconds) override {
      interval_ = milliseconds;
      real_->SetInterval(milliseconds == kdZVInterface::kWatchIntervalMs ? poll_ms_
                                                                         : milliseconds);
    }
    int32_t Interval() const override { return interval_; }
    void SetEnabled(bool enabled) override { real_->SetEnabled(enabled); }
    bool Enabled() const override { return real_->Enabled(); }

   private:
    std::unique_ptr<WindowTimer> real_;
    int32_t poll_ms_;
    int32_t interval_ = 0;
  };

  Win32WindowPlatform& real_;
  int32_t poll_ms_;
  SyncWindowInput* input_ = nullptr;
};

// The windows whose exchange a thread timer of the test ends.
TestWindows* g_to_cancel = nullptr;

void CALLBACK CancelExchange(HWND, UINT, UINT_PTR, DWORD) {
  if (g_to_cancel != nullptr && g_to_cancel->Input() != nullptr) {
    g_to_cancel->Input()->QuitRequested();
  }
}

// Hands the watch a folder of its own instead of the one asked for.
class RedirectedChanges : public FolderChanges {
 public:
  RedirectedChanges(FolderChanges& real, std::string folder)
      : real_(real), folder_(std::move(folder)) {}
  std::unique_ptr<FolderChangeWatch> Watch(const std::string&, int32_t settle_ms,
                                           std::function<void()> on_change,
                                           std::string& reason) override {
    return real_.Watch(folder_, settle_ms, std::move(on_change), reason);
  }
  bool TellsWhenWriterCloses() const override { return real_.TellsWhenWriterCloses(); }

 private:
  FolderChanges& real_;
  std::string folder_;
};

enum class Delivery { kRename, kInPlace };

// The agent: waits for each message of the component, then delivers its
// answer.
class Agent {
 public:
  Agent(std::string up, std::string down, std::string spare, Delivery delivery)
      : up_(std::move(up)), down_(std::move(down)), spare_(std::move(spare)),
        delivery_(delivery) {}

  void Run(const std::vector<test::AgentStep>& steps) {
    for (const test::AgentStep& step : steps) {
      if (!WaitFor(up_ + "\\" + step.wait_for)) return;
      Deliver(step.answer, step.content);
    }
  }

  std::atomic<bool> stop{false};
  std::atomic<int> delivered{0};

 private:
  // Until the component's message is there whole.
  bool WaitFor(const std::string& path) {
    while (!stop) {
      std::ifstream in(path, std::ios::binary);
      std::stringstream text;
      if (in) text << in.rdbuf();
      if (text.str().find("</SyncML>") != std::string::npos) return true;
      ::Sleep(5);
    }
    return false;
  }

  void Deliver(const std::string& name, const std::string& content) {
    const std::wstring target = Widen(down_ + "\\" + name);
    if (delivery_ == Delivery::kRename) {
      const std::wstring temp = Widen(spare_ + "\\" + name);
      { std::ofstream(spare_ + "\\" + name, std::ios::binary) << content; }
      ::MoveFileExW(temp.c_str(), target.c_str(), 0);
    } else {
      // Shared with nobody while it is written, in 100 pieces, and held a
      // moment after the last one.
      HANDLE file = ::CreateFileW(target.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                  FILE_ATTRIBUTE_NORMAL, nullptr);
      if (file == INVALID_HANDLE_VALUE) return;
      const size_t step = (content.size() + 99) / 100;
      DWORD written = 0;
      for (size_t at = 0; at < content.size(); at += step) {
        ::WriteFile(file, content.data() + at,
                    static_cast<DWORD>(std::min(step, content.size() - at)), &written, nullptr);
      }
      ::Sleep(30);
      ::CloseHandle(file);
    }
    ++delivered;
  }

  std::string up_, down_, spare_;
  Delivery delivery_;
};

struct ExchangeResult {
  enmZVRetValues result = ZV_Error_General;
  std::vector<std::string> log;  // the log file's lines
  std::vector<std::string> host_events;
  int delivered = 0;
};

struct ExchangeSetup {
  bool notify = true;
  int32_t poll_ms = kdZVInterface::kWatchIntervalMs;
  // The exchange is ended (cancelled) after this long: the end of a test
  // that waits for nothing else, and the guard of the others.
  UINT cancel_after_ms = 20000;
  Delivery delivery = Delivery::kRename;
  std::string redirect_watch_to;  // when set, the folder the watch is given
};

std::vector<std::string> Lines(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::vector<std::string> lines;
  std::string line;
  while (std::getline(in, line)) lines.push_back(line);
  return lines;
}

class Win32ExchangeChanges : public ::testing::Test {
 protected:
  // One exchange in folders of its own (a fresh session 1 each time).
  ExchangeResult Exchange(const ExchangeSetup& setup) {
    runs_.push_back(std::make_unique<test::TempDir>());
    const test::TempDir& dir = *runs_.back();
    down_ = dir.File("down");
    const std::string up = dir.File("up"), down = down_, depot = dir.File("depot"),
                      spare = dir.File("spare");
    for (const std::string& folder : {up, down, depot, spare}) {
      ::CreateDirectoryW(Widen(folder).c_str(), nullptr);
    }
    const std::string config = dir.File("kdZentavo.cfg");
    const std::string log = dir.File("kdZentavo.log");
    {
      std::ofstream(config) << "[WATCH]\r\nChangeNotification=" << (setup.notify ? 1 : 0)
                            << "\r\n";
    }
    process::SetFilePaths(log, config);

    Win32WindowPlatform& platform = *dynamic_cast<Win32WindowPlatform*>(HeadlessMessagePump());
    TestWindows windows(platform, setup.poll_ms);
    RedirectedChanges redirected(platform, setup.redirect_watch_to);
    SystemPorts& system = System();
    OverlayRegistry registry(system.registry);
    test::RecordingHost host;
    const InterfacePorts ports{system.file_system,  system.clock, system.time_zone,
                               system.profile_file, registry,     scoped_.ui,
                               system.xml_parser,   windows,      platform};
    ExchangeResult outcome;
    {
      kdZVInterface zv(ports, host);
      if (setup.redirect_watch_to.empty()) {
        zv.SetFolderChanges(&platform);
      } else {
        zv.SetFolderChanges(&redirected);
      }
      const std::shared_ptr<clZVSettings> settings = zv.Settings();
      settings->SetDownloadPath(down);
      settings->SetUploadPath(up);
      settings->SetAblagePath(depot);
      settings->SetFilePraefix("HX");
      settings->SetSlowSync(false);
      settings->SetDoLog(true);

      Agent agent(up, down, spare, setup.delivery);
      const std::vector<test::AgentStep> steps{
          {"HX1_1.xml", "HX1_2.xml", test::ExchangeHarness::Answer(1, 2, test::kAgentAdd)},
          {"HX1_3.xml", "HX1_4.xml", test::ExchangeHarness::Answer(1, 4, test::kAgentSessionEnd)}};
      std::thread agent_thread([&] { agent.Run(steps); });
      g_to_cancel = &windows;
      const UINT_PTR guard = ::SetTimer(nullptr, 0, setup.cancel_after_ms, CancelExchange);
      std::string error;
      outcome.result = zv.StartSync(0, error);
      ::KillTimer(nullptr, guard);
      g_to_cancel = nullptr;
      agent.stop = true;
      agent_thread.join();
      outcome.delivered = agent.delivered;
    }
    outcome.log = Lines(log);
    outcome.host_events = host.events;
    return outcome;
  }

  std::string Down(const std::string& name) const { return down_ + "\\" + name; }

  // The lines that hold `text`, written in UTF-8 or in the ANSI code page.
  static size_t Containing(const std::vector<std::string>& lines, const std::string& text) {
    const std::string ansi = Utf8ToWindows1252(text);
    return static_cast<size_t>(std::count_if(lines.begin(), lines.end(), [&](const auto& line) {
      return line.find(text) != std::string::npos || line.find(ansi) != std::string::npos;
    }));
  }

  test::ScopedProcess scoped_;
  test::TempDir dir_;
  std::vector<std::unique_ptr<test::TempDir>> runs_;
  std::string down_;  // the download folder of the last exchange
};

TEST_F(Win32ExchangeChanges, AnAnswerRenamedInIsTakenWithoutThePoll) {
  ExchangeSetup setup;
  setup.poll_ms = kAnHour;
  const ExchangeResult outcome = Exchange(setup);
  EXPECT_EQ(outcome.result, ZV_Success);
  EXPECT_EQ(outcome.delivered, 2);
  EXPECT_EQ(outcome.host_events, std::vector<std::string>{"OnTermin Add ZV-1"});
  EXPECT_EQ(Containing(outcome.log, "Neue Datei erhalten: HX1_2.xml"), 1u);
  EXPECT_EQ(Containing(outcome.log, "(StartWatch)"), 0u);
}

TEST_F(Win32ExchangeChanges, AnAnswerWrittenInPlaceInAHundredPiecesGivesNoMoreLinesThanThePoll) {
  ExchangeSetup polled;
  polled.notify = false;
  polled.delivery = Delivery::kInPlace;
  const ExchangeResult by_poll = Exchange(polled);
  ASSERT_EQ(by_poll.result, ZV_Success);

  // Taken without the poll: after the last piece the writer still holds
  // the file, and the probes that follow find it let go.
  ExchangeSetup notified = polled;
  notified.notify = true;
  notified.poll_ms = kAnHour;
  const ExchangeResult by_notification = Exchange(notified);
  EXPECT_EQ(by_notification.result, ZV_Success);
  EXPECT_EQ(by_notification.delivered, 2);
  EXPECT_EQ(by_notification.host_events, std::vector<std::string>{"OnTermin Add ZV-1"});
  EXPECT_EQ(Containing(by_notification.log, "Neue Datei erhalten: HX1_2.xml"), 1u);
  EXPECT_EQ(Containing(by_notification.log, "nicht exklusiv"), 0u);
  EXPECT_LE(by_notification.log.size(), by_poll.log.size());
}

TEST_F(Win32ExchangeChanges, TheKeyAtZeroLeavesThePollAlone) {
  ExchangeSetup setup;
  setup.notify = false;
  setup.poll_ms = kAnHour;
  setup.cancel_after_ms = 1500;
  const ExchangeResult outcome = Exchange(setup);
  // Nothing looked at the folder before the end: the answer lies there.
  EXPECT_EQ(outcome.result, ZV_Error_Cancel);
  EXPECT_EQ(outcome.delivered, 1);
  EXPECT_EQ(::GetFileAttributesW(Widen(Down("HX1_2.xml")).c_str()) != INVALID_FILE_ATTRIBUTES,
            true);
  EXPECT_EQ(Containing(outcome.log, "Neue Datei erhalten"), 0u);
  EXPECT_EQ(Containing(outcome.log, "(StartWatch)"), 0u);
}

TEST_F(Win32ExchangeChanges, AFolderThatCannotBeWatchedGivesOneLineAndThePoll) {
  ExchangeSetup setup;
  setup.redirect_watch_to = dir_.File("missing");
  const ExchangeResult outcome = Exchange(setup);
  EXPECT_EQ(outcome.result, ZV_Success);
  EXPECT_EQ(outcome.host_events, std::vector<std::string>{"OnTermin Add ZV-1"});
  const std::string line = "(StartWatch) -> Keine Änderungsmeldungen für " + down_ +
                           " (FindFirstChangeNotificationW: ";
  EXPECT_EQ(Containing(outcome.log, line), 1u);
  EXPECT_EQ(Containing(outcome.log, "(StartWatch)"), 1u);
  EXPECT_EQ(Containing(outcome.log, "der Ordner wird alle 500 ms abgefragt."), 1u);
}

}  // namespace
}  // namespace kdzv
