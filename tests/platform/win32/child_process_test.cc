// The bridge host's child on Windows, with a probe program that plays the
// host in its several ways (tests/platform/win32/probe/child_probe.cc).
#include "platform/child_process.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <chrono>
#include <memory>
#include <string>

#include "support/fakes.h"

namespace kdzv {
namespace {

using Status = HostChannel::Status;
using SteadyClock = std::chrono::steady_clock;

// The build tree lies on the Linux side; under Wine that is drive Z:.
std::string WindowsPath(std::string path) {
  if (!path.empty() && path[0] == '/') {
    for (char& c : path) c = c == '/' ? '\\' : c;
    path = "Z:" + path;
  }
  return path;
}

std::string Probe(const std::string& mode) {
  return "\"" + WindowsPath(KDZV_CHILD_PROBE_PATH) + "\" " + mode;
}

std::unique_ptr<HostChannel> Start(const std::string& command) {
  std::string error;
  std::unique_ptr<HostChannel> child = StartShellCommand(command, error);
  EXPECT_NE(child, nullptr) << error;
  EXPECT_EQ(error, "");
  return child;
}

// Reads a line that the probe made its process id.
DWORD ReadPid(HostChannel& child) {
  std::string line;
  EXPECT_EQ(child.ReadLine(10000, line), Status::kOk);
  return line.empty() ? 0 : static_cast<DWORD>(std::stoul(line));
}

// Whether process `pid` has ended within about five seconds.
bool Ended(DWORD pid) {
  HANDLE process = ::OpenProcess(SYNCHRONIZE, FALSE, pid);
  if (process == nullptr) return true;  // gone altogether
  const DWORD waited = ::WaitForSingleObject(process, 5000);
  ::CloseHandle(process);
  return waited == WAIT_OBJECT_0;
}

bool Running(DWORD pid) {
  HANDLE process = ::OpenProcess(SYNCHRONIZE, FALSE, pid);
  if (process == nullptr) return false;
  const DWORD waited = ::WaitForSingleObject(process, 0);
  ::CloseHandle(process);
  return waited == WAIT_TIMEOUT;
}

double SecondsSince(SteadyClock::time_point start) {
  return std::chrono::duration<double>(SteadyClock::now() - start).count();
}

TEST(ChildProcessWin32Test, LinesGoThereAndBack) {
  auto child = Start(Probe("echo"));
  ASSERT_NE(child, nullptr);
  EXPECT_EQ(child->WriteLine("hello", 1000), Status::kOk);
  EXPECT_EQ(child->WriteLine(R"({"event":"OnSyncLog","text":"Grüße"})", 1000), Status::kOk);
  std::string line;
  EXPECT_EQ(child->ReadLine(10000, line), Status::kOk);
  EXPECT_EQ(line, "got:hello");
  EXPECT_EQ(child->ReadLine(10000, line), Status::kOk);
  EXPECT_EQ(line, R"(got:{"event":"OnSyncLog","text":"Grüße"})");
  // A line longer than the pipe holds, in one piece.
  const std::string long_line(200000, 'x');
  EXPECT_EQ(child->WriteLine(long_line, 10000), Status::kOk);
  EXPECT_EQ(child->ReadLine(10000, line), Status::kOk);
  EXPECT_EQ(line, "got:" + long_line);
  child->CloseAndWait(2000);
}

TEST(ChildProcessWin32Test, CarriageReturnsAndALastLineWithoutFeed) {
  auto child = Start(Probe("lines"));
  ASSERT_NE(child, nullptr);
  std::string line;
  EXPECT_EQ(child->ReadLine(10000, line), Status::kOk);
  EXPECT_EQ(line, "one");
  EXPECT_EQ(child->ReadLine(10000, line), Status::kOk);
  EXPECT_EQ(line, "two");
  EXPECT_EQ(child->ReadLine(10000, line), Status::kOk);
  EXPECT_EQ(line, "");
  EXPECT_EQ(child->ReadLine(10000, line), Status::kOk);
  EXPECT_EQ(line, "last");
  EXPECT_EQ(child->ReadLine(10000, line), Status::kClosed);
  EXPECT_EQ(child->ReadLine(10000, line), Status::kClosed);
}

TEST(ChildProcessWin32Test, TheCommandLineIsSplitByWindowsRules) {
  auto child = Start(Probe("args plain \"with blank\" \"quote\\\"d\" Grüße"));
  ASSERT_NE(child, nullptr);
  std::string line;
  for (const char* expected : {"plain", "with blank", "quote\"d"}) {
    EXPECT_EQ(child->ReadLine(10000, line), Status::kOk);
    EXPECT_EQ(line, expected);
  }
  // The probe's argv is in the ANSI code page: the umlauts arrive, whatever
  // their bytes, as one argument.
  EXPECT_EQ(child->ReadLine(10000, line), Status::kOk);
  EXPECT_FALSE(line.empty());
  EXPECT_EQ(child->ReadLine(10000, line), Status::kClosed);
}

TEST(ChildProcessWin32Test, CmdRunsAsAProgramLikeAnyOther) {
  auto child = Start("cmd /c echo hello");
  ASSERT_NE(child, nullptr);
  std::string line;
  EXPECT_EQ(child->ReadLine(10000, line), Status::kOk);
  EXPECT_EQ(line, "hello");
  EXPECT_EQ(child->ReadLine(10000, line), Status::kClosed);
}

TEST(ChildProcessWin32Test, AProgramThatDoesNotExistIsAClearError) {
  std::string error;
  EXPECT_EQ(StartShellCommand("Z:\\no\\such\\program.exe --x", error), nullptr);
  EXPECT_EQ(error.rfind("cannot start \"Z:\\no\\such\\program.exe --x\": ", 0), 0u) << error;
  EXPECT_NE(error.find("(Windows error "), std::string::npos) << error;
  EXPECT_EQ(StartShellCommand("   ", error), nullptr);
  EXPECT_EQ(error, "the command is empty");
}

TEST(ChildProcessWin32Test, NoAnswerWithinTheTimeOut) {
  auto child = Start(Probe("late"));
  ASSERT_NE(child, nullptr);
  const DWORD pid = ReadPid(*child);
  EXPECT_EQ(child->WriteLine("question", 1000), Status::kOk);
  std::string line = "untouched";
  const auto start = SteadyClock::now();
  EXPECT_EQ(child->ReadLine(200, line), Status::kTimeout);
  const double waited = SecondsSince(start);
  EXPECT_GE(waited, 0.19);
  EXPECT_LT(waited, 0.9);
  // The answer still comes, later, through the read that stayed under way.
  EXPECT_EQ(child->ReadLine(10000, line), Status::kOk);
  EXPECT_EQ(line, "late");
  child->CloseAndWait(2000);
  EXPECT_TRUE(Ended(pid));
}

TEST(ChildProcessWin32Test, AChildThatExitsEndsTheChannel) {
  auto child = Start(Probe("bye"));
  ASSERT_NE(child, nullptr);
  const DWORD pid = ReadPid(*child);
  EXPECT_EQ(child->WriteLine("now", 1000), Status::kOk);
  std::string line;
  EXPECT_EQ(child->ReadLine(10000, line), Status::kOk);
  EXPECT_EQ(line, "bye now");
  EXPECT_EQ(child->ReadLine(10000, line), Status::kClosed);
  ASSERT_TRUE(Ended(pid));
  EXPECT_EQ(child->WriteLine("anyone there?", 1000), Status::kClosed);
  EXPECT_EQ(child->WriteLine("still?", 1000), Status::kClosed);
  child->CloseAndWait(2000);
}

TEST(ChildProcessWin32Test, AChildThatNeverReads) {
  auto child = Start(Probe("sleep 30000"));
  ASSERT_NE(child, nullptr);
  const DWORD pid = ReadPid(*child);
  // More than a pipe holds: the rest waits, and the write times out.
  const std::string big(1 << 20, 'y');
  auto start = SteadyClock::now();
  EXPECT_EQ(child->WriteLine(big, 300), Status::kTimeout);
  EXPECT_GE(SecondsSince(start), 0.29);
  EXPECT_LT(SecondsSince(start), 3.0);
  EXPECT_EQ(child->WriteLine("next", 100), Status::kTimeout);
  // Closing its input does not end it: it is ended after the grace time.
  start = SteadyClock::now();
  child->CloseAndWait(300);
  EXPECT_GE(SecondsSince(start), 0.29);
  EXPECT_LT(SecondsSince(start), 3.0);
  EXPECT_TRUE(Ended(pid));
  EXPECT_EQ(child->WriteLine("after", 100), Status::kClosed);
  std::string line;
  EXPECT_EQ(child->ReadLine(100, line), Status::kClosed);
  child->CloseAndWait(300);  // nothing more to do
}

TEST(ChildProcessWin32Test, ClosingTheInputLetsAReadingChildExitOnItsOwn) {
  auto child = Start(Probe("drain"));
  ASSERT_NE(child, nullptr);
  const DWORD pid = ReadPid(*child);
  EXPECT_EQ(child->WriteLine("some input", 1000), Status::kOk);
  const auto start = SteadyClock::now();
  child->CloseAndWait(5000);
  EXPECT_LT(SecondsSince(start), 3.0);
  EXPECT_TRUE(Ended(pid));
}

TEST(ChildProcessWin32Test, TheEndAlsoTakesWhatTheChildStarted) {
  auto child = Start(Probe("spawn"));
  ASSERT_NE(child, nullptr);
  const DWORD parent = ReadPid(*child);
  const DWORD grandchild = ReadPid(*child);
  ASSERT_NE(grandchild, 0u);
  EXPECT_TRUE(Running(grandchild));
  child->CloseAndWait(200);
  EXPECT_TRUE(Ended(parent));
  EXPECT_TRUE(Ended(grandchild));
}

TEST(ChildProcessWin32Test, AChildIsEndedWhenTheChannelGoes) {
  auto child = Start(Probe("sleep 30000"));
  ASSERT_NE(child, nullptr);
  const DWORD pid = ReadPid(*child);
  child.reset();
  EXPECT_TRUE(Ended(pid));
}

TEST(ChildProcessWin32Test, OneChildDoesNotHoldTheOthersPipes) {
  // If the second child inherited our end of the first one's input, the
  // first would never see the end of its input while the second runs.
  auto first = Start(Probe("drain"));
  ASSERT_NE(first, nullptr);
  const DWORD pid = ReadPid(*first);
  auto second = Start(Probe("sleep 30000"));
  ASSERT_NE(second, nullptr);
  const auto start = SteadyClock::now();
  first->CloseAndWait(3000);
  EXPECT_LT(SecondsSince(start), 2.5);
  EXPECT_TRUE(Ended(pid));
  second->CloseAndWait(100);
}

TEST(ChildProcessWin32Test, TheChildsErrorOutputIsOurs) {
  test::TempDir dir;
  const std::string file = dir.File("err.txt");
  SECURITY_ATTRIBUTES plain{sizeof plain, nullptr, FALSE};
  HANDLE target = ::CreateFileA(file.c_str(), GENERIC_WRITE, FILE_SHARE_READ, &plain,
                                CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  ASSERT_NE(target, INVALID_HANDLE_VALUE);
  HANDLE saved = ::GetStdHandle(STD_ERROR_HANDLE);
  ::SetStdHandle(STD_ERROR_HANDLE, target);
  auto child = Start(Probe("stderr"));
  std::string line;
  if (child) {
    EXPECT_EQ(child->ReadLine(10000, line), Status::kOk);
    child->CloseAndWait(2000);
  }
  ::SetStdHandle(STD_ERROR_HANDLE, saved);
  ::CloseHandle(target);
  EXPECT_EQ(line, "done");
  EXPECT_EQ(test::ReadFileBytes(file), "to stderr\n");
}

TEST(ChildProcessWin32Test, AnEndlessLineIsCutOffAtTheLimit) {
  auto child = Start(Probe("endless"));
  ASSERT_NE(child, nullptr);
  std::string line;
  const auto start = SteadyClock::now();
  EXPECT_EQ(child->ReadLine(30000, line), Status::kTooLong);
  EXPECT_LT(SecondsSince(start), 20.0);
  EXPECT_EQ(line, "");
  // The channel reads nothing more.
  EXPECT_EQ(child->ReadLine(100, line), Status::kClosed);
  child->CloseAndWait(200);
}

TEST(ChildProcessWin32Test, AChildThatKeepsSendingStillMeetsTheTimeOut) {
  auto child = Start(Probe("trickle"));
  ASSERT_NE(child, nullptr);
  std::string line;
  const auto start = SteadyClock::now();
  EXPECT_EQ(child->ReadLine(500, line), Status::kTimeout);
  const double took = SecondsSince(start);
  EXPECT_GE(took, 0.45);
  EXPECT_LT(took, 3.0);
  child->CloseAndWait(200);
}

}  // namespace
}  // namespace kdzv
