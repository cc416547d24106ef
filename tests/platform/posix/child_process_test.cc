// The shell child behind zvsync's bridge host, with a real /bin/sh.
#include "platform/child_process.h"

#include <gtest/gtest.h>

#include <signal.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <fstream>
#include <memory>
#include <string>
#include <thread>

#include "support/fakes.h"
#include "support/process_state.h"

namespace kdzv {
namespace {

using Status = HostChannel::Status;
using SteadyClock = std::chrono::steady_clock;

std::unique_ptr<HostChannel> Start(const std::string& command) {
  std::string error;
  std::unique_ptr<HostChannel> child = StartShellCommand(command, error);
  EXPECT_NE(child, nullptr) << error;
  EXPECT_EQ(error, "");
  return child;
}

// Reads the first line, which the test's scripts make their process id.
pid_t ReadPid(HostChannel& child) {
  std::string line;
  EXPECT_EQ(child.ReadLine(5000, line), Status::kOk);
  return static_cast<pid_t>(std::stol(line));
}

// Whether `pid` is no child of ours any more: collected, not a zombie.
bool Collected(pid_t pid) {
  errno = 0;
  return ::waitpid(pid, nullptr, WNOHANG) == -1 && errno == ECHILD;
}


double SecondsSince(SteadyClock::time_point start) {
  return std::chrono::duration<double>(SteadyClock::now() - start).count();
}

TEST(ChildProcessTest, LinesGoThereAndBack) {
  auto child = Start("while IFS= read -r line; do printf 'got:%s\\n' \"$line\"; done");
  ASSERT_NE(child, nullptr);
  EXPECT_EQ(child->WriteLine("hello", 1000), Status::kOk);
  EXPECT_EQ(child->WriteLine(R"({"event":"OnSyncLog","text":"Grüße"})", 1000), Status::kOk);
  std::string line;
  EXPECT_EQ(child->ReadLine(5000, line), Status::kOk);
  EXPECT_EQ(line, "got:hello");
  EXPECT_EQ(child->ReadLine(5000, line), Status::kOk);
  EXPECT_EQ(line, R"(got:{"event":"OnSyncLog","text":"Grüße"})");
  // A long line in one piece.
  const std::string long_line(200000, 'x');
  EXPECT_EQ(child->WriteLine(long_line, 5000), Status::kOk);
  EXPECT_EQ(child->ReadLine(5000, line), Status::kOk);
  EXPECT_EQ(line, "got:" + long_line);
  child->CloseAndWait(2000);
}

TEST(ChildProcessTest, CarriageReturnsAndALastLineWithoutFeed) {
  auto child = Start("printf 'one\\r\\ntwo\\n\\nlast'");
  ASSERT_NE(child, nullptr);
  std::string line;
  EXPECT_EQ(child->ReadLine(5000, line), Status::kOk);
  EXPECT_EQ(line, "one");
  EXPECT_EQ(child->ReadLine(5000, line), Status::kOk);
  EXPECT_EQ(line, "two");
  EXPECT_EQ(child->ReadLine(5000, line), Status::kOk);
  EXPECT_EQ(line, "");
  EXPECT_EQ(child->ReadLine(5000, line), Status::kOk);
  EXPECT_EQ(line, "last");
  EXPECT_EQ(child->ReadLine(5000, line), Status::kClosed);
  EXPECT_EQ(child->ReadLine(5000, line), Status::kClosed);
}

TEST(ChildProcessTest, NoAnswerWithinTheTimeOut) {
  auto child = Start("echo $$; read -r line; sleep 1; echo late");
  ASSERT_NE(child, nullptr);
  const pid_t pid = ReadPid(*child);
  EXPECT_EQ(child->WriteLine("question", 1000), Status::kOk);
  std::string line = "untouched";
  const auto start = SteadyClock::now();
  EXPECT_EQ(child->ReadLine(200, line), Status::kTimeout);
  const double waited = SecondsSince(start);
  EXPECT_GE(waited, 0.19);
  EXPECT_LT(waited, 0.9);
  // The answer still comes, later.
  EXPECT_EQ(child->ReadLine(5000, line), Status::kOk);
  EXPECT_EQ(line, "late");
  child->CloseAndWait(2000);
  EXPECT_TRUE(Collected(pid));
}

TEST(ChildProcessTest, AChildThatExitsEndsTheChannelWithoutSigpipe) {
  auto child = Start("echo $$; IFS= read -r line; printf 'bye %s\\n' \"$line\"; exit 3");
  ASSERT_NE(child, nullptr);
  const pid_t pid = ReadPid(*child);
  EXPECT_EQ(child->WriteLine("now", 1000), Status::kOk);
  std::string line;
  EXPECT_EQ(child->ReadLine(5000, line), Status::kOk);
  EXPECT_EQ(line, "bye now");
  EXPECT_EQ(child->ReadLine(5000, line), Status::kClosed);
  ASSERT_TRUE(test::NotRunning(pid));
  // Writing to it fails cleanly; SIGPIPE, at its default action here, would
  // end this test program.
  const auto previous = ::signal(SIGPIPE, SIG_DFL);
  EXPECT_EQ(child->WriteLine("anyone there?", 1000), Status::kClosed);
  EXPECT_EQ(child->WriteLine("still?", 1000), Status::kClosed);
  ::signal(SIGPIPE, previous);
  sigset_t pending;
  sigemptyset(&pending);
  ::sigpending(&pending);
  EXPECT_EQ(sigismember(&pending, SIGPIPE), 0);
  child->CloseAndWait(2000);
  EXPECT_TRUE(Collected(pid));
}

TEST(ChildProcessTest, AChildThatNeverReads) {
  auto child = Start("echo $$; exec sleep 30");
  ASSERT_NE(child, nullptr);
  const pid_t pid = ReadPid(*child);
  // More than a pipe holds: the rest waits, and the write times out.
  const std::string big(1 << 20, 'y');
  auto start = SteadyClock::now();
  EXPECT_EQ(child->WriteLine(big, 300), Status::kTimeout);
  EXPECT_GE(SecondsSince(start), 0.29);
  EXPECT_LT(SecondsSince(start), 2.0);
  EXPECT_EQ(child->WriteLine("next", 100), Status::kTimeout);
  // Closing its input does not end it: it is killed after the grace time.
  start = SteadyClock::now();
  child->CloseAndWait(300);
  EXPECT_GE(SecondsSince(start), 0.29);
  EXPECT_LT(SecondsSince(start), 2.0);
  EXPECT_TRUE(Collected(pid));
  EXPECT_EQ(child->WriteLine("after", 100), Status::kClosed);
  std::string line;
  EXPECT_EQ(child->ReadLine(100, line), Status::kClosed);
  child->CloseAndWait(300);  // nothing more to do
}

TEST(ChildProcessTest, ClosingTheInputLetsAReadingChildExitOnItsOwn) {
  auto child = Start("echo $$; cat >/dev/null; exit 0");
  ASSERT_NE(child, nullptr);
  const pid_t pid = ReadPid(*child);
  EXPECT_EQ(child->WriteLine("some input", 1000), Status::kOk);
  const auto start = SteadyClock::now();
  child->CloseAndWait(5000);
  EXPECT_LT(SecondsSince(start), 2.0);
  EXPECT_TRUE(Collected(pid));
}

TEST(ChildProcessTest, TheKillAlsoTakesWhatTheShellStarted) {
  auto child = Start("echo $$; trap '' TERM; sleep 30 & echo $!; wait");
  ASSERT_NE(child, nullptr);
  const pid_t shell = ReadPid(*child);
  const pid_t sleeper = ReadPid(*child);
  child->CloseAndWait(200);
  EXPECT_TRUE(Collected(shell));
  EXPECT_TRUE(test::NotRunning(sleeper));
}

TEST(ChildProcessTest, AChildIsCollectedWhenTheChannelGoes) {
  auto child = Start("echo $$; read -r line");
  ASSERT_NE(child, nullptr);
  const pid_t pid = ReadPid(*child);
  child.reset();
  EXPECT_TRUE(Collected(pid));
}

TEST(ChildProcessTest, OneChildDoesNotHoldTheOthersPipes) {
  // If the second child inherited our end of the first one's input, the
  // first would never see the end of its input while the second runs.
  auto first = Start("echo $$; cat >/dev/null");
  ASSERT_NE(first, nullptr);
  const pid_t pid = ReadPid(*first);
  auto second = Start("exec sleep 30");
  ASSERT_NE(second, nullptr);
  const auto start = SteadyClock::now();
  first->CloseAndWait(3000);
  EXPECT_LT(SecondsSince(start), 1.5);
  EXPECT_TRUE(Collected(pid));
  second->CloseAndWait(100);
}

TEST(ChildProcessTest, TheChildsErrorOutputIsOurs) {
  test::TempDir dir;
  const std::string file = dir.File("err.txt");
  // Standard error goes where ours goes: here into a file for the check.
  const int saved = ::dup(STDERR_FILENO);
  ASSERT_GE(saved, 0);
  std::FILE* target = std::fopen(file.c_str(), "w");
  ASSERT_NE(target, nullptr);
  ::dup2(::fileno(target), STDERR_FILENO);
  auto child = Start("echo 'to stderr' >&2; echo done");
  std::string line;
  if (child) {
    EXPECT_EQ(child->ReadLine(5000, line), Status::kOk);
    child->CloseAndWait(2000);
  }
  ::dup2(saved, STDERR_FILENO);
  ::close(saved);
  std::fclose(target);
  EXPECT_EQ(line, "done");
  EXPECT_EQ(test::ReadFileBytes(file), "to stderr\n");
}

TEST(ChildProcessTest, AnEndlessLineIsCutOffAtTheLimit) {
  // One line that never ends, as fast as the pipe takes it.
  auto child = Start("yes x | tr -d '\\n'");
  ASSERT_NE(child, nullptr);
  std::string line;
  const auto start = SteadyClock::now();
  EXPECT_EQ(child->ReadLine(20000, line), Status::kTooLong);
  EXPECT_LT(SecondsSince(start), 10.0);
  EXPECT_EQ(line, "");
  // The channel reads nothing more.
  EXPECT_EQ(child->ReadLine(100, line), Status::kClosed);
  child->CloseAndWait(200);
}

TEST(ChildProcessTest, AChildThatKeepsSendingStillMeetsTheTimeOut) {
  // Bytes keep coming, never a line feed, never enough for the limit.
  auto child = Start("while :; do printf x; sleep 0.01; done");
  ASSERT_NE(child, nullptr);
  std::string line;
  const auto start = SteadyClock::now();
  EXPECT_EQ(child->ReadLine(500, line), Status::kTimeout);
  const double took = SecondsSince(start);
  EXPECT_GE(took, 0.45);
  EXPECT_LT(took, 3.0);
  child->CloseAndWait(200);
}

TEST(ChildProcessTest, TheHostDiesWithAKilledParent) {
  // A process that holds the channel, as zvsync does, and is then killed
  // with no chance to clean up.
  int report[2];
  ASSERT_EQ(::pipe(report), 0);
  const pid_t holder = ::fork();
  ASSERT_GE(holder, 0);
  if (holder == 0) {
    ::close(report[0]);
    std::string error;
    auto child = StartShellCommand("echo $$; sleep 300 & echo $!; wait", error);
    std::string shell, sleeper;
    if (child == nullptr || child->ReadLine(5000, shell) != Status::kOk ||
        child->ReadLine(5000, sleeper) != Status::kOk) {
      ::_exit(1);
    }
    const std::string pids = shell + " " + sleeper + "\n";
    if (::write(report[1], pids.data(), pids.size()) < 0) ::_exit(1);
    for (;;) ::pause();
  }
  ::close(report[1]);
  std::string pids;
  char buffer[64];
  ssize_t n;
  while ((n = ::read(report[0], buffer, sizeof buffer)) > 0) {
    pids.append(buffer, static_cast<size_t>(n));
    if (pids.find('\n') != std::string::npos) break;
  }
  ::close(report[0]);
  ASSERT_NE(pids.find('\n'), std::string::npos) << pids;
  const pid_t shell = static_cast<pid_t>(std::stol(pids));
  const pid_t sleeper = static_cast<pid_t>(std::stol(pids.substr(pids.find(' ') + 1)));
  ASSERT_EQ(::kill(holder, SIGKILL), 0);
  ASSERT_EQ(::waitpid(holder, nullptr, 0), holder);
  EXPECT_TRUE(test::NotRunning(shell));
  EXPECT_TRUE(test::NotRunning(sleeper));
}

}  // namespace
}  // namespace kdzv
