#include "platform/posix/event_loop.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>
#include <sys/resource.h>

#include <chrono>
#include <thread>
#include <vector>

#include "support/fake_window.h"

namespace kdzv::posix {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

// Counts what the view reports to its window.
class CountingInput : public SyncWindowInput {
 public:
  void CancelClicked() override { ++cancels; }
  void CloseRequested() override { ++closes; }
  void QuitRequested() override { ++quits; }
  void WindowDestroyed() override { ++destroyed; }
  int cancels = 0;
  int closes = 0;
  int quits = 0;
  int destroyed = 0;
};

int64_t MillisecondsSince(Clock::time_point start) {
  return std::chrono::duration_cast<milliseconds>(Clock::now() - start).count();
}

// Runs the loop for `duration_ms` milliseconds.
void RunFor(EventLoop& loop, int64_t duration_ms) {
  const auto start = Clock::now();
  for (int64_t left = duration_ms; left > 0; left = duration_ms - MillisecondsSince(start)) {
    loop.RunPending(static_cast<int32_t>(left));
  }
}

class EventLoopTest : public ::testing::Test {
 protected:
  EventLoop loop{[this](SyncWindowInput& input) { return fakes.CreateView(input); }};
  test::FakeWindowPlatform fakes;
};

TEST_F(EventLoopTest, TimerTicksAboutEveryInterval) {
  int ticks = 0;
  auto timer = loop.CreateTimer([&] { ++ticks; });
  timer->SetInterval(20);
  timer->SetEnabled(true);
  RunFor(loop, 110);
  // Five in an ideal world; a slow machine may see fewer, never more.
  EXPECT_GE(ticks, 2);
  EXPECT_LE(ticks, 5);
}

TEST_F(EventLoopTest, DisabledTimerNeverTicks) {
  int ticks = 0;
  auto timer = loop.CreateTimer([&] { ++ticks; });
  timer->SetInterval(10);
  RunFor(loop, 60);
  timer->SetEnabled(true);
  timer->SetEnabled(false);
  RunFor(loop, 40);
  EXPECT_EQ(ticks, 0);
  EXPECT_FALSE(timer->Enabled());
  EXPECT_EQ(timer->Interval(), 10);
}

TEST_F(EventLoopTest, IntervalZeroNeverTicks) {
  int ticks = 0;
  auto timer = loop.CreateTimer([&] { ++ticks; });
  timer->SetInterval(0);
  timer->SetEnabled(true);
  RunFor(loop, 60);
  EXPECT_EQ(ticks, 0);
  EXPECT_TRUE(timer->Enabled());
}

TEST_F(EventLoopTest, ReenablingRestartsTheCount) {
  std::vector<Clock::time_point> ticks;
  auto timer = loop.CreateTimer([&] { ticks.push_back(Clock::now()); });
  timer->SetInterval(200);
  timer->SetEnabled(true);
  RunFor(loop, 120);
  ASSERT_TRUE(ticks.empty());
  const auto restarted = Clock::now();
  timer->SetEnabled(true);
  // Without the restart it would tick about 80 ms from here.
  RunFor(loop, 130);
  EXPECT_TRUE(ticks.empty());
  const auto give_up = Clock::now() + std::chrono::seconds(5);
  while (ticks.empty() && Clock::now() < give_up) loop.RunPending(500);
  ASSERT_EQ(ticks.size(), 1u);
  EXPECT_GE(ticks[0] - restarted, milliseconds(200));
}

TEST_F(EventLoopTest, NewIntervalOfARunningTimerCountsFromNow) {
  std::vector<Clock::time_point> ticks;
  auto timer = loop.CreateTimer([&] { ticks.push_back(Clock::now()); });
  timer->SetInterval(100);
  timer->SetEnabled(true);
  RunFor(loop, 60);
  ASSERT_TRUE(ticks.empty());
  const auto changed = Clock::now();
  timer->SetInterval(150);
  const auto give_up = Clock::now() + std::chrono::seconds(5);
  while (ticks.empty() && Clock::now() < give_up) loop.RunPending(500);
  ASSERT_EQ(ticks.size(), 1u);
  EXPECT_GE(ticks[0] - changed, milliseconds(150));
}

TEST_F(EventLoopTest, RunPendingWithoutTimersWaitsMaxWait) {
  const auto start = Clock::now();
  loop.RunPending(50);
  const auto waited = MillisecondsSince(start);
  EXPECT_GE(waited, 49);
  EXPECT_LT(waited, 5000);
}

TEST_F(EventLoopTest, RunPendingWithZeroWaitDoesNotSleep) {
  auto timer = loop.CreateTimer([] {});
  timer->SetInterval(1000);
  timer->SetEnabled(true);
  const auto start = Clock::now();
  loop.RunPending(0);
  EXPECT_LT(MillisecondsSince(start), 500);
}

TEST_F(EventLoopTest, SleepEndsWhenTheNextTimerIsDueAndRunsIt) {
  int ticks = 0;
  auto timer = loop.CreateTimer([&] { ++ticks; });
  timer->SetInterval(30);
  timer->SetEnabled(true);
  const auto start = Clock::now();
  loop.RunPending(5000);
  EXPECT_EQ(ticks, 1);
  EXPECT_GE(MillisecondsSince(start), 29);
  EXPECT_LT(MillisecondsSince(start), 4000);
}

TEST_F(EventLoopTest, DueTimersRunOnceEachEarliestFirst) {
  std::vector<int> order;
  auto late = loop.CreateTimer([&] { order.push_back(2); });
  auto early = loop.CreateTimer([&] { order.push_back(1); });
  late->SetInterval(40);
  early->SetInterval(20);
  late->SetEnabled(true);
  early->SetEnabled(true);
  std::this_thread::sleep_for(milliseconds(60));
  loop.RunPending(0);
  EXPECT_THAT(order, ::testing::ElementsAre(1, 2));
}

TEST_F(EventLoopTest, TickMayStopOrDestroyOtherTimers) {
  int second_ticks = 0;
  std::unique_ptr<WindowTimer> second = loop.CreateTimer([&] { ++second_ticks; });
  auto first = loop.CreateTimer([&] { second.reset(); });
  first->SetInterval(10);
  second->SetInterval(20);
  first->SetEnabled(true);
  second->SetEnabled(true);
  std::this_thread::sleep_for(milliseconds(40));
  loop.RunPending(0);
  EXPECT_EQ(second, nullptr);
  EXPECT_EQ(second_ticks, 0);
  RunFor(loop, 30);
  EXPECT_EQ(second_ticks, 0);
}

TEST_F(EventLoopTest, TickMayDestroyItsOwnTimer) {
  int ticks = 0;
  std::unique_ptr<WindowTimer> timer;
  timer = loop.CreateTimer([&] {
    ++ticks;
    timer.reset();
  });
  timer->SetInterval(10);
  timer->SetEnabled(true);
  RunFor(loop, 60);
  EXPECT_EQ(ticks, 1);
}

TEST_F(EventLoopTest, TimerOutlivingTheLoopIsInert) {
  std::unique_ptr<WindowTimer> timer;
  {
    EventLoop short_lived;
    timer = short_lived.CreateTimer([] {});
  }
  timer->SetInterval(10);
  timer->SetEnabled(true);
  EXPECT_TRUE(timer->Enabled());
}

TEST_F(EventLoopTest, ViewCallsReachTheWrappedView) {
  CountingInput input;
  auto view = loop.CreateView(input);
  ASSERT_EQ(fakes.views.size(), 1u);
  EXPECT_EQ(&fakes.View().input, &input);
  view->Show(7);
  view->AppendLog("\r\nA");
  fakes.View().answer = true;
  EXPECT_TRUE(view->AskYesNo("Frage?"));
  view->Close();
  EXPECT_THAT(fakes.View().shown_owners, ::testing::ElementsAre(7));
  EXPECT_EQ(fakes.View().LogText(), "\r\nA");
  EXPECT_THAT(fakes.View().questions, ::testing::ElementsAre("Frage?"));
  EXPECT_EQ(fakes.View().closes, 1);
}

TEST_F(EventLoopTest, WaitingUsesNoNoticeableCpu) {
  auto timer = loop.CreateTimer([] {});
  timer->SetInterval(1000);
  timer->SetEnabled(true);
  rusage before{};
  getrusage(RUSAGE_SELF, &before);
  const auto start = Clock::now();
  RunFor(loop, 300);
  rusage after{};
  getrusage(RUSAGE_SELF, &after);
  auto micros = [](const timeval& t) { return int64_t{t.tv_sec} * 1000000 + t.tv_usec; };
  const int64_t cpu_us = micros(after.ru_utime) - micros(before.ru_utime) +
                         micros(after.ru_stime) - micros(before.ru_stime);
  EXPECT_GE(MillisecondsSince(start), 299);
  EXPECT_LT(cpu_us, 50000);
}

class EventLoopInterruptTest : public EventLoopTest {
 protected:
  EventLoopInterruptTest() { EventLoop::CatchInterrupt(); }
  ~EventLoopInterruptTest() override { EventLoop::ReleaseInterrupt(); }
};

TEST_F(EventLoopInterruptTest, InterruptBecomesCloseRequestOfTheShownWindow) {
  CountingInput hidden_input;
  CountingInput shown_input;
  auto hidden = loop.CreateView(hidden_input);
  auto shown = loop.CreateView(shown_input);
  shown->Show(0);
  raise(SIGINT);
  loop.RunPending(0);
  EXPECT_EQ(shown_input.closes, 1);
  EXPECT_EQ(shown_input.cancels, 0);
  EXPECT_EQ(hidden_input.closes, 0);
  // Handled once only.
  loop.RunPending(0);
  EXPECT_EQ(shown_input.closes, 1);
}

TEST_F(EventLoopInterruptTest, InterruptWaitsForAShownWindow) {
  CountingInput input;
  auto view = loop.CreateView(input);
  raise(SIGINT);
  loop.RunPending(10);
  EXPECT_EQ(input.closes, 0);
  view->Show(0);
  loop.RunPending(0);
  EXPECT_EQ(input.closes, 1);
}

TEST_F(EventLoopInterruptTest, ClosedWindowGetsNoInterrupt) {
  CountingInput input;
  auto view = loop.CreateView(input);
  view->Show(0);
  view->Close();
  raise(SIGINT);
  loop.RunPending(10);
  EXPECT_EQ(input.closes, 0);
  auto other_input = CountingInput();
  auto other = loop.CreateView(other_input);
  other->Show(0);
  other.reset();  // a destroyed view is no longer shown
  loop.RunPending(10);
  EXPECT_EQ(other_input.closes, 0);
}

TEST_F(EventLoopInterruptTest, ClosingTheNewerWindowGivesTheInterruptBackToTheOneBefore) {
  CountingInput first_input;
  CountingInput second_input;
  auto first = loop.CreateView(first_input);
  auto second = loop.CreateView(second_input);
  first->Show(0);
  second->Show(0);
  second->Close();
  raise(SIGINT);
  loop.RunPending(0);
  EXPECT_EQ(first_input.closes, 1);
  EXPECT_EQ(second_input.closes, 0);
  // An older window that closes leaves the newer one shown.
  second->Show(0);
  first->Close();
  raise(SIGINT);
  loop.RunPending(0);
  EXPECT_EQ(second_input.closes, 1);
  EXPECT_EQ(first_input.closes, 1);
}

TEST_F(EventLoopInterruptTest, InterruptWakesTheSleep) {
  CountingInput input;
  auto view = loop.CreateView(input);
  view->Show(0);
  const pthread_t waiting = pthread_self();
  std::thread sender([waiting] {
    std::this_thread::sleep_for(milliseconds(100));
    pthread_kill(waiting, SIGINT);
  });
  const auto start = Clock::now();
  loop.RunPending(20000);
  const auto waited = MillisecondsSince(start);
  sender.join();
  EXPECT_EQ(input.closes, 1);
  EXPECT_LT(waited, 10000);
}

TEST_F(EventLoopInterruptTest, InterruptDuringTheQuestionBelongsToIt) {
  struct AskingInput : SyncWindowInput {
    void CancelClicked() override {}
    void CloseRequested() override {
      ++closes;
      raise(SIGINT);  // pressed again while the question is open
    }
    void QuitRequested() override {}
    void WindowDestroyed() override {}
    int closes = 0;
  } input;
  auto view = loop.CreateView(input);
  view->Show(0);
  raise(SIGINT);
  loop.RunPending(0);
  loop.RunPending(10);
  EXPECT_EQ(input.closes, 1);
}

}  // namespace
}  // namespace kdzv::posix
