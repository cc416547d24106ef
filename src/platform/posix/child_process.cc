#include "platform/child_process.h"

#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <spawn.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cstring>
#include <ctime>

#include "platform/posix/unique_fd.h"

extern char** environ;

namespace kdzv {
namespace posix {
namespace {

using SteadyClock = std::chrono::steady_clock;

SteadyClock::time_point DeadlineAfter(int64_t timeout_ms) {
  return SteadyClock::now() + std::chrono::milliseconds(std::max<int64_t>(timeout_ms, 0));
}

// What poll() may still wait, in milliseconds (0 once the deadline is
// reached), rounded up so that a wait never ends just before the deadline.
int PollBudget(SteadyClock::time_point deadline) {
  const auto left = deadline - SteadyClock::now();
  if (left <= SteadyClock::duration::zero()) return 0;
  const auto ms = std::chrono::ceil<std::chrono::milliseconds>(left).count();
  return static_cast<int>(std::min<int64_t>(ms, INT_MAX));
}

void SleepMs(long ms) {
  timespec pause{0, ms * 1000000L};
  while (::nanosleep(&pause, &pause) != 0 && errno == EINTR) {
  }
}

// write() without the signal: a child that has closed its input makes the
// write fail with EPIPE, and the SIGPIPE that comes with it is blocked in
// this thread and taken off again, so that it never ends zvsync.
ssize_t WriteWithoutSigpipe(int fd, const char* data, size_t size) {
  sigset_t pipe_only, saved, pending;
  sigemptyset(&pipe_only);
  sigaddset(&pipe_only, SIGPIPE);
  ::pthread_sigmask(SIG_BLOCK, &pipe_only, &saved);
  sigemptyset(&pending);
  ::sigpending(&pending);
  const bool was_pending = sigismember(&pending, SIGPIPE) == 1;
  const ssize_t written = ::write(fd, data, size);
  const int write_errno = errno;
  if (written < 0 && write_errno == EPIPE && !was_pending) {
    const timespec no_wait{0, 0};
    while (::sigtimedwait(&pipe_only, nullptr, &no_wait) < 0 && errno == EINTR) {
    }
  }
  ::pthread_sigmask(SIG_SETMASK, &saved, nullptr);
  errno = write_errno;
  return written;
}

// A pipe whose two ends lie above the standard descriptors (so that the
// child's dup2 onto 0 and 1 never meets them) and are closed on exec.
bool MakePipe(int ends[2], std::string& error) {
  if (::pipe2(ends, O_CLOEXEC) != 0) {
    error = std::string("cannot create a pipe: ") + std::strerror(errno);
    return false;
  }
  for (int i = 0; i < 2; ++i) {
    if (ends[i] > 2) continue;
    const int moved = ::fcntl(ends[i], F_DUPFD_CLOEXEC, 3);
    const int dup_errno = errno;
    ::close(ends[i]);
    ends[i] = moved;
    if (moved < 0) {
      if (i == 0) ::close(ends[1]);
      else ::close(ends[0]);
      error = std::string("cannot create a pipe: ") + std::strerror(dup_errno);
      return false;
    }
  }
  return true;
}

bool SetNonBlocking(int fd) {
  const int flags = ::fcntl(fd, F_GETFL);
  return flags >= 0 && ::fcntl(fd, F_SETFL, flags | O_NONBLOCK) == 0;
}

// Frees the spawn descriptions however the start ends.
struct SpawnSetup {
  SpawnSetup() {
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawnattr_init(&attributes);
  }
  ~SpawnSetup() {
    ::posix_spawn_file_actions_destroy(&actions);
    ::posix_spawnattr_destroy(&attributes);
  }
  SpawnSetup(const SpawnSetup&) = delete;
  SpawnSetup& operator=(const SpawnSetup&) = delete;
  posix_spawn_file_actions_t actions;
  posix_spawnattr_t attributes;
};

// The running child: our ends of its two pipes (non-blocking) and its
// process id. The child leads a process group of its own, so that Ctrl+C on
// the terminal reaches zvsync (which asks before cancelling) and not the
// host, and so that a kill at the end also takes whatever the shell started.
class ShellChild : public HostChannel {
 public:
  static constexpr int64_t kDefaultGraceMs = 2000;

  ShellChild() = default;
  ~ShellChild() override { CloseAndWait(kDefaultGraceMs); }
  ShellChild(const ShellChild&) = delete;
  ShellChild& operator=(const ShellChild&) = delete;

  // Takes our ends of the pipes, and then the child's process id.
  void AdoptInput(int to_child) { to_child_.reset(to_child); }
  void AdoptOutput(int from_child) { from_child_.reset(from_child); }
  void Started(pid_t pid) { pid_ = pid; }
  // The watchdog of the child's process group and our end of its pipe.
  void Watched(pid_t watchdog, int life) {
    watchdog_ = watchdog;
    life_.reset(life);
  }

  Status WriteLine(std::string_view line, int64_t timeout_ms) override {
    if (to_child_.get() < 0) return Status::kClosed;
    unsent_.append(line);
    unsent_.push_back('\n');
    const auto deadline = DeadlineAfter(timeout_ms);
    while (!unsent_.empty()) {
      const ssize_t written = WriteWithoutSigpipe(to_child_.get(), unsent_.data(), unsent_.size());
      if (written > 0) {
        unsent_.erase(0, static_cast<size_t>(written));
        continue;
      }
      if (written < 0 && errno == EINTR) continue;
      if (written < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
        const int budget = PollBudget(deadline);
        if (budget == 0) return Status::kTimeout;
        pollfd ready{to_child_.get(), POLLOUT, 0};
        const int polled = ::poll(&ready, 1, budget);
        if (polled < 0 && errno != EINTR) break;
        // Readiness, an error condition (the next write tells which) or
        // the end of the wait, which the budget above notices.
        continue;
      }
      break;  // EPIPE: nobody reads any more; or an error of the pipe
    }
    if (!unsent_.empty()) {
      unsent_.clear();
      to_child_.reset(-1);
      return Status::kClosed;
    }
    return Status::kOk;
  }

  Status ReadLine(int64_t timeout_ms, std::string& line) override {
    const auto deadline = DeadlineAfter(timeout_ms);
    while (true) {
      // Only what came in since the last look is searched.
      const size_t feed = received_.find('\n', scanned_);
      if (feed != std::string::npos) {
        TakeLine(feed, feed + 1, line);
        return Status::kOk;
      }
      scanned_ = received_.size();
      if (received_.size() > kMaxLineBytes) {
        // Nothing after such a line can be trusted to start a line.
        received_.clear();
        scanned_ = 0;
        from_child_.reset(-1);
        return Status::kTooLong;
      }
      if (from_child_.get() < 0) {
        if (received_.empty()) return Status::kClosed;
        TakeLine(received_.size(), received_.size(), line);
        return Status::kOk;
      }
      // A child that keeps sending gets no more than the time-out either.
      if (SteadyClock::now() >= deadline) return Status::kTimeout;
      char chunk[64 * 1024];
      const ssize_t got = ::read(from_child_.get(), chunk, sizeof chunk);
      if (got > 0) {
        received_.append(chunk, static_cast<size_t>(got));
        continue;
      }
      if (got < 0 && errno == EINTR) continue;
      if (got < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
        const int budget = PollBudget(deadline);
        if (budget == 0) return Status::kTimeout;
        pollfd ready{from_child_.get(), POLLIN, 0};
        const int polled = ::poll(&ready, 1, budget);
        if (polled < 0 && errno != EINTR) from_child_.reset(-1);
        continue;
      }
      from_child_.reset(-1);  // end of file (or a broken pipe): the child has ended
    }
  }

  void CloseAndWait(int64_t grace_ms) override {
    to_child_.reset(-1);
    unsent_.clear();
    if (pid_ > 0) {
      const auto deadline = DeadlineAfter(grace_ms);
      int status = 0;
      while (true) {
        const pid_t done = ::waitpid(pid_, &status, WNOHANG);
        if (done == pid_ || (done < 0 && errno != EINTR)) break;
        if (SteadyClock::now() >= deadline) {
          if (::kill(-pid_, SIGKILL) != 0) ::kill(pid_, SIGKILL);
          while (::waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
          }
          break;
        }
        SleepMs(10);
      }
      pid_ = -1;
    }
    from_child_.reset(-1);
    StandDownWatchdog();
  }

 private:
  // Moves received_[0, end) into `line`, less a carriage return at its end,
  // and drops received_[0, next).
  void TakeLine(size_t end, size_t next, std::string& line) {
    line.assign(received_, 0, end);
    if (!line.empty() && line.back() == '\r') line.pop_back();
    received_.erase(0, next);
    scanned_ = 0;
  }

  // The child is gone: the watchdog is told so (a byte before the end of
  // its pipe) and exits without killing anything.
  void StandDownWatchdog() {
    if (life_.get() >= 0) {
      const char stand_down = 'q';
      while (::write(life_.get(), &stand_down, 1) < 0 && errno == EINTR) {
      }
      life_.reset(-1);
    }
    if (watchdog_ > 0) {
      int status = 0;
      while (::waitpid(watchdog_, &status, 0) < 0 && errno == EINTR) {
      }
      watchdog_ = -1;
    }
  }

  UniqueFd to_child_;
  UniqueFd from_child_;
  UniqueFd life_;
  pid_t watchdog_ = -1;
  pid_t pid_ = -1;
  std::string unsent_;
  std::string received_;
  size_t scanned_ = 0;  // received_[0, scanned_) holds no line feed
};

// A small process that outlives zvsync only to end the host: it waits on a
// pipe whose writing end only zvsync holds. When zvsync ends in any way,
// even killed, the pipe reaches its end and the watchdog kills the host's
// whole process group (the shell and everything it started). When zvsync
// has collected the host itself, it sends a byte first and the watchdog
// leaves without killing. Without a watchdog (fork fails) the host is
// still ended by CloseAndWait on every ordinary exit.
void StartWatchdog(ShellChild& child, pid_t host_group) {
  int life[2];
  if (::pipe2(life, O_CLOEXEC) != 0) return;
  const pid_t watchdog = ::fork();
  if (watchdog < 0) {
    ::close(life[0]);
    ::close(life[1]);
    return;
  }
  if (watchdog == 0) {
    // Only async-signal-safe calls from here: zvsync may have threads.
    // Nothing of zvsync's stays open here (the host's pipes above all, so
    // that the host sees their ends when zvsync closes them), and the
    // watchdog leaves the terminal's process group, so that Ctrl+C meant
    // for zvsync does not end it.
    const int nothing = ::open("/dev/null", O_RDWR);
    for (int fd = 0; fd < 3; ++fd) {
      if (nothing >= 0) ::dup2(nothing, fd);
    }
    for (int fd = 3; fd < 4096; ++fd) {
      if (fd != life[0]) ::close(fd);
    }
    ::setpgid(0, 0);
    char got = 0;
    ssize_t n;
    while ((n = ::read(life[0], &got, 1)) < 0 && errno == EINTR) {
    }
    if (n <= 0) ::kill(-host_group, SIGKILL);
    ::_exit(0);
  }
  ::close(life[0]);
  child.Watched(watchdog, life[1]);
}

}  // namespace
}  // namespace posix

std::unique_ptr<HostChannel> StartShellCommand(const std::string& command, std::string& error) {
  auto child = std::make_unique<posix::ShellChild>();
  int input[2];
  if (!posix::MakePipe(input, error)) return nullptr;
  posix::UniqueFd child_input(input[0]);
  child->AdoptInput(input[1]);
  int output[2];
  if (!posix::MakePipe(output, error)) return nullptr;
  posix::UniqueFd child_output(output[1]);
  child->AdoptOutput(output[0]);
  if (!posix::SetNonBlocking(input[1]) || !posix::SetNonBlocking(output[0])) {
    error = std::string("cannot set up the pipes: ") + std::strerror(errno);
    return nullptr;
  }

  posix::SpawnSetup setup;
  ::posix_spawn_file_actions_adddup2(&setup.actions, child_input.get(), STDIN_FILENO);
  ::posix_spawn_file_actions_adddup2(&setup.actions, child_output.get(), STDOUT_FILENO);
  // The child starts with no blocked signals, SIGPIPE at its default, in a
  // process group of its own.
  sigset_t none;
  sigemptyset(&none);
  sigset_t to_default;
  sigemptyset(&to_default);
  sigaddset(&to_default, SIGPIPE);
  ::posix_spawnattr_setsigmask(&setup.attributes, &none);
  ::posix_spawnattr_setsigdefault(&setup.attributes, &to_default);
  ::posix_spawnattr_setpgroup(&setup.attributes, 0);
  ::posix_spawnattr_setflags(&setup.attributes, static_cast<short>(POSIX_SPAWN_SETSIGMASK |
                                                                    POSIX_SPAWN_SETSIGDEF |
                                                                    POSIX_SPAWN_SETPGROUP));

  std::string shell = "sh";
  std::string option = "-c";
  std::string text = command;
  char* argv[] = {shell.data(), option.data(), text.data(), nullptr};
  pid_t pid = -1;
  const int failed =
      ::posix_spawn(&pid, "/bin/sh", &setup.actions, &setup.attributes, argv, environ);
  if (failed != 0) {
    error = std::string("cannot start /bin/sh: ") + std::strerror(failed);
    return nullptr;
  }
  // Our copies of the child's ends go (when this returns), so that its exit
  // shows as the end of its output and as a broken pipe on its input.
  child->Started(pid);
  child_input.reset(-1);
  child_output.reset(-1);
  posix::StartWatchdog(*child, pid);
  return child;
}

}  // namespace kdzv
