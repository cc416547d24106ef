#include "platform/posix/event_loop.h"

#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <utility>
#include <vector>

#include "platform/posix/terminal_view.h"
#include "platform/posix/unique_fd.h"

namespace kdzv::posix {

struct EventLoop::TimerState {
  std::function<void()> on_tick;
  int32_t interval = 0;
  bool enabled = false;
  bool alive = true;  // false once its timer object is gone
  Clock::time_point due{};
  uint64_t order = 0;  // creation order, to break ties between equal due times
};

struct EventLoop::WatchState {
  UniqueFd fd;  // the inotify instance of this one folder
  std::function<void()> on_change;
  Clock::duration settle{};
  bool settling = false;  // a change was told and its settle time runs
  Clock::time_point due{};
  bool alive = true;  // false once its watch object is gone
};

struct EventLoop::Shared {
  std::vector<std::weak_ptr<TimerState>> timers;
  std::vector<std::weak_ptr<WatchState>> watches;
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

class LoopWatch : public FolderChangeWatch {
 public:
  explicit LoopWatch(std::shared_ptr<EventLoop::WatchState> state) : state_(std::move(state)) {}
  ~LoopWatch() override {
    state_->alive = false;
    state_->settling = false;
    state_->fd.reset(-1);
  }

 private:
  std::shared_ptr<EventLoop::WatchState> state_;
};

// The watches that still live (dropping the others from `watches`).
std::vector<std::shared_ptr<EventLoop::WatchState>> LiveWatches(
    std::vector<std::weak_ptr<EventLoop::WatchState>>& watches) {
  std::vector<std::shared_ptr<EventLoop::WatchState>> live;
  std::vector<std::weak_ptr<EventLoop::WatchState>> kept;
  for (const auto& weak : watches) {
    auto state = weak.lock();
    if (!state || !state->alive) continue;
    kept.push_back(state);
    live.push_back(std::move(state));
  }
  watches = std::move(kept);
  return live;
}

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

std::unique_ptr<FolderChangeWatch> EventLoop::Watch(const std::string& folder, int32_t settle_ms,
                                                    std::function<void()> on_change,
                                                    std::string& reason) {
  auto state = std::make_shared<WatchState>();
  state->fd.reset(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
  if (state->fd.get() < 0) {
    reason = std::string("inotify: ") + std::strerror(errno);
    return nullptr;
  }
  if (::inotify_add_watch(state->fd.get(), folder.c_str(),
                          IN_CLOSE_WRITE | IN_MOVED_TO | IN_ONLYDIR) < 0) {
    const int error = errno;
    reason = std::string("inotify: ") + std::strerror(error);
    if (error == ENOSPC) reason += " (fs.inotify.max_user_watches)";
    return nullptr;
  }
  state->on_change = std::move(on_change);
  state->settle = std::chrono::milliseconds(std::max<int32_t>(settle_ms, 0));
  shared_->watches.push_back(state);
  return std::make_unique<LoopWatch>(std::move(state));
}

void EventLoop::ReadWatches(Clock::time_point now) {
  for (const auto& watch : LiveWatches(shared_->watches)) {
    // The events themselves do not matter (the tick looks at the folder):
    // only that there were some. A full queue (IN_Q_OVERFLOW) or the folder
    // gone (IN_IGNORED) are told the same way.
    alignas(inotify_event) char buffer[4096];
    bool changed = false;
    for (;;) {
      const ssize_t n = ::read(watch->fd.get(), buffer, sizeof buffer);
      if (n > 0) {
        changed = true;
        continue;
      }
      if (n < 0 && errno == EINTR) continue;
      break;  // EAGAIN: nothing more
    }
    if (changed) {
      watch->settling = true;
      watch->due = now + watch->settle;
    }
  }
}

bool EventLoop::RunSettledWatches(Clock::time_point now) {
  bool ran = false;
  for (const auto& watch : LiveWatches(shared_->watches)) {
    // An earlier callback may have ended this watch.
    if (!watch->alive || !watch->settling || watch->due > now) continue;
    watch->settling = false;
    ran = true;
    watch->on_change();
  }
  return ran;
}

void EventLoop::RunPending(int32_t max_wait_ms) {
  if (DeliverInterrupt()) return;
  const Clock::time_point now = Clock::now();
  ReadWatches(now);
  const bool ticked = RunDueTimers(now);
  if (RunSettledWatches(now) || ticked) return;
  if (max_wait_ms <= 0) return;

  Clock::time_point deadline = now + std::chrono::milliseconds(max_wait_ms);
  for (const auto& weak : shared_->timers) {
    auto timer = weak.lock();
    if (timer && Ticking(*timer)) deadline = std::min(deadline, timer->due);
  }
  std::vector<pollfd> fds;
  for (const auto& watch : LiveWatches(shared_->watches)) {
    if (watch->settling) deadline = std::min(deadline, watch->due);
    fds.push_back(pollfd{watch->fd.get(), POLLIN, 0});
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
      // Ends early on a signal or a folder change.
      ppoll(fds.data(), fds.size(), &timeout, &during_wait);
    }
  }
  pthread_sigmask(SIG_SETMASK, &previous, nullptr);

  if (DeliverInterrupt()) return;
  const Clock::time_point woken = Clock::now();
  ReadWatches(woken);
  RunDueTimers(woken);
  RunSettledWatches(woken);
}

}  // namespace kdzv::posix
