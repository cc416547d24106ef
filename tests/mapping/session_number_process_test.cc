// Two processes that take session numbers from one configuration file at the
// same moment (two users' hosts on a terminal server, each opening
// exchanges) never get the same number: each probe
// (tests/mapping/probe/session_number_probe.cc) takes its numbers through
// the library's own code, the profile file of this system and its lock.
#include <gtest/gtest.h>

#include <memory>
#include <set>
#include <string>
#include <vector>

#include "mapping/matching.h"
#include "platform/child_process.h"
#include "platform/platform.h"
#include "support/fakes.h"

namespace kdzv {
namespace {

constexpr int kEach = 200;

// The probe's path as the system starts programs (under Wine the build's
// Linux path is the Z: drive's).
std::string ProbePath() {
  std::string path = KDZV_SESSION_PROBE_PATH;
#ifdef _WIN32
  if (!path.empty() && path[0] == '/') {
    for (char& c : path) c = c == '/' ? '\\' : c;
    path = "Z:" + path;
  }
#endif
  return path;
}

std::string Quoted(const std::string& text) {
#ifdef _WIN32
  return "\"" + text + "\"";
#else
  return "'" + text + "'";
#endif
}

std::unique_ptr<HostChannel> StartProbe(const std::string& cfg) {
  std::string error;
  auto probe = StartShellCommand(
      Quoted(ProbePath()) + " " + Quoted(cfg) + " " + std::to_string(kEach), error);
  EXPECT_TRUE(probe) << error;
  return probe;
}

// Every line the probe writes until it ends.
std::vector<std::string> LinesOf(HostChannel& probe) {
  std::vector<std::string> lines;
  std::string line;
  while (probe.ReadLine(120000, line) == HostChannel::Status::kOk) lines.push_back(line);
  probe.CloseAndWait(5000);
  return lines;
}

TEST(SessionNumberProcess, TwoProcessesTakingNumbersAtOnceNeverGetTheSameOne) {
  test::TempDir dir;
  const std::string cfg = dir.File("kdZentavo.cfg");
  std::unique_ptr<HostChannel> first = StartProbe(cfg);
  std::unique_ptr<HostChannel> second = StartProbe(cfg);
  ASSERT_TRUE(first && second);
  // Both are running and waiting: now both begin.
  ASSERT_EQ(first->WriteLine("go", 10000), HostChannel::Status::kOk);
  ASSERT_EQ(second->WriteLine("go", 10000), HostChannel::Status::kOk);
  const std::vector<std::string> from_first = LinesOf(*first);
  const std::vector<std::string> from_second = LinesOf(*second);

  ASSERT_EQ(from_first.size(), static_cast<size_t>(kEach));
  ASSERT_EQ(from_second.size(), static_cast<size_t>(kEach));
  std::set<int> numbers;
  std::string reports;
  for (const auto* lines : {&from_first, &from_second}) {
    for (const std::string& line : *lines) {
      if (line.rfind("ERROR", 0) == 0) {
        reports += line + "\n";
      } else {
        numbers.insert(std::stoi(line));
      }
    }
  }
  EXPECT_TRUE(reports.empty()) << reports;
  // 400 different numbers, 1 to 400, and the file holds the last one.
  EXPECT_EQ(numbers.size(), 2u * kEach);
  ASSERT_FALSE(numbers.empty());
  EXPECT_EQ(*numbers.begin(), 1);
  EXPECT_EQ(*numbers.rbegin(), 2 * kEach);
  clZVMatching matching(System().profile_file);
  EXPECT_EQ(matching.GetLastSessionID(cfg), 2 * kEach);
}

}  // namespace
}  // namespace kdzv
