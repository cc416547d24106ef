#include "platform/posix/event_loop.h"

#include <poll.h>
#include <pthread.h>
#include <signal.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <ctime>
#include <utility>
#include <vector>

#include "platform/posix/terminal_view.h"

namespace kdzv::posix {

struct EventLoop::TimerState {
  std::function<void()> on_tick;
  int32_t interval = 0;
  bool enabled = false;
  bool alive = true;  // false once its timer object is gone
  Clock::time_point due{};
  uint64_t order = 0;  // creation order, to break ties between equal due times
};

struct EventLoop::Shared {
  std::vector<std::weak_ptr<TimerState>> timers;
  uint64_t next_order = 0;
  // The windows that are shown, the newest last, each with the view that
  // showed it: when one closes, the one before it is the shown one again.
  std::vector<std::pair<const void*, SyncWindowInput*>> shown;
  SyncWindowInput* ShownInput() const { return shown.empty() ? nullptr : shown.back().second; }
  void Forget(const void* view) {
    std::erase_if(shown, [view](const auto& entry) { return entry.first == view; });
  }
};

namespace {

volatile sig_atomic_t g_interrupted = 0;
bool g_installed = false;
struct sigaction g_previous {};

extern "C" void OnInterrupt(int signal_number) {
  if (g_interrupted != 0) {
    // Nobody took the first interrupt: the second one ends the program.
    // The signal is blocked while this handler runs, so it arrives, with
    // the default action, as soon as the handler returns.
    const int saved_errno = errno;
    struct sigaction fallback {};
    fallback.sa_handler = SIG_DFL;
    sigemptyset(&fallback.sa_mask);
    sigaction(signal_number, &fallback, nullptr);
    raise(signal_number);
    errno = saved_errno;
    return;
  }
  g_interrupted = 1;
}

class LoopTimer : public WindowTimer {
 public:
  explicit LoopTimer(std::shared_ptr<EventLoop::TimerState> state) : state_(std::move(state)) {}
  ~LoopTimer() override {
    state_->alive = false;
    state_->enabled = false;
  }

  void SetInterval(int32_t milliseconds) override {
    state_->interval = milliseconds;
    if (state_->enabled) Restart();
  }
  int32_t Interval() const override { return state_->interval; }
  void SetEnabled(bool enabled) override {
    state_->enabled = enabled;
    if (enabled) Restart();
  }
  bool Enabled() const override { return state_->enabled; }

 private:
  void Restart() {
    state_->due = EventLoop::Clock::now() + std::chrono::milliseconds(state_->interval);
  }

  std::shared_ptr<EventLoop::TimerState> state_;
};

// Wraps the real view and tells the loop which window is shown.
class LoopView : public SyncWindowView {
 public:
  LoopView(std::weak_ptr<EventLoop::Shared> shared, SyncWindowInput& input,
           std::unique_ptr<SyncWindowView> inner)
      : shared_(std::move(shared)), input_(input), inner_(std::move(inner)) {}
  ~LoopView() override { Forget(); }

  void Show(intptr_t owner) override {
    inner_->Show(owner);
    if (auto shared = shared_.lock()) {
      shared->Forget(this);
      shared->shown.emplace_back(this, &input_);
    }
  }
  void Close() override {
    Forget();
    inner_->Close();
  }
  void ClearLog() override { inner_->ClearLog(); }
  void AppendLog(std::string_view text) override { inner_->AppendLog(text); }
  bool AskYesNo(std::string_view question) override { return inner_->AskYesNo(question); }

 private:
  void Forget() {
    if (auto shared = shared_.lock()) shared->Forget(this);
  }

  std::weak_ptr<EventLoop::Shared> shared_;
  SyncWindowInput& input_;
  std::unique_ptr<SyncWindowView> inner_;
};

bool Ticking(const EventLoop::TimerState& timer) {
  return timer.alive && timer.enabled && timer.interval >= 1;
}

}  // namespace

EventLoop::EventLoop(ViewFactory make_view)
    : make_view_(std::move(make_view)), shared_(std::make_shared<Shared>()) {
  if (!make_view_) {
    make_view_ = [](SyncWindowInput&) -> std::unique_ptr<SyncWindowView> {
      return std::make_unique<TerminalView>(stdin, stderr);
    };
  }
}

EventLoop::~EventLoop() = default;

void EventLoop::CatchInterrupt() {
  if (g_installed) return;
  struct sigaction action {};
  action.sa_handler = OnInterrupt;
  sigemptyset(&action.sa_mask);
  // Interrupted reads go on (the cancel question keeps waiting for its
  // answer); the sleep of RunPending is woken all the same.
  action.sa_flags = SA_RESTART;
  if (sigaction(SIGINT, &action, &g_previous) == 0) g_installed = true;
}

void EventLoop::ReleaseInterrupt() {
  if (!g_installed) return;
  sigaction(SIGINT, &g_previous, nullptr);
  g_installed = false;
  g_interrupted = 0;
}

std::unique_ptr<WindowTimer> EventLoop::CreateTimer(std::function<void()> on_tick) {
  auto state = std::make_shared<TimerState>();
  state->on_tick = std::move(on_tick);
  state->order = shared_->next_order++;
  shared_->timers.push_back(state);
  return std::make_unique<LoopTimer>(std::move(state));
}

std::unique_ptr<SyncWindowView> EventLoop::CreateView(SyncWindowInput& input) {
  return std::make_unique<LoopView>(shared_, input, make_view_(input));
}

bool EventLoop::DeliverInterrupt() {
  if (g_interrupted == 0 || shared_->ShownInput() == nullptr) return false;
  g_interrupted = 0;
  shared_->ShownInput()->CloseRequested();
  // An interrupt while the question was open belongs to that question.
  g_interrupted = 0;
  return true;
}

bool EventLoop::RunDueTimers(Clock::time_point now) {
  std::vector<std::shared_ptr<TimerState>> due;
  auto& timers = shared_->timers;
  timers.erase(std::remove_if(timers.begin(), timers.end(),
                              [](const std::weak_ptr<TimerState>& timer) {
                                auto state = timer.lock();
                                return !state || !state->alive;
                              }),
               timers.end());
  for (const auto& weak : timers) {
    auto timer = weak.lock();
    if (timer && Ticking(*timer) && timer->due <= now) due.push_back(std::move(timer));
  }
  std::sort(due.begin(), due.end(), [](const auto& a, const auto& b) {
    return a->due != b->due ? a->due < b->due : a->order < b->order;
  });
  bool ran = false;
  for (const auto& timer : due) {
    // An earlier tick may have stopped, restarted or destroyed this one.
    if (!Ticking(*timer) || timer->due > now) continue;
    const auto interval = std::chrono::milliseconds(timer->interval);
    timer->due += interval;
    if (timer->due <= now) timer->due = now + interval;  // missed ticks are dropped
    ran = true;
    timer->on_tick();
  }
  return ran;
}

void EventLoop::RunPending(int32_t max_wait_ms) {
  if (DeliverInterrupt()) return;
  const Clock::time_point now = Clock::now();
  if (RunDueTimers(now)) return;
  if (max_wait_ms <= 0) return;

  Clock::time_point deadline = now + std::chrono::milliseconds(max_wait_ms);
  for (const auto& weak : shared_->timers) {
    auto timer = weak.lock();
    if (timer && Ticking(*timer)) deadline = std::min(deadline, timer->due);
  }

  // SIGINT stays blocked from the test of the flag until ppoll unblocks it
  // atomically, so an interrupt arriving in between still wakes the sleep.
  sigset_t interrupt_only;
  sigemptyset(&interrupt_only);
  sigaddset(&interrupt_only, SIGINT);
  sigset_t previous;
  pthread_sigmask(SIG_BLOCK, &interrupt_only, &previous);
  sigset_t during_wait = previous;
  if (g_installed) sigdelset(&during_wait, SIGINT);
  if (g_interrupted == 0 || shared_->ShownInput() == nullptr) {
    const auto wait = deadline - Clock::now();
    if (wait > Clock::duration::zero()) {
      const auto ns = std::chrono::duration_cast<std::chrono::nanoseconds>(wait).count();
      timespec timeout{};
      timeout.tv_sec = static_cast<time_t>(ns / 1000000000);
      timeout.tv_nsec = static_cast<long>(ns % 1000000000);
      ppoll(nullptr, 0, &timeout, &during_wait);  // ends early on a signal
    }
  }
  pthread_sigmask(SIG_SETMASK, &previous, nullptr);

  if (DeliverInterrupt()) return;
  RunDueTimers(Clock::now());
}

}  // namespace kdzv::posix
