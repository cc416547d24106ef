// The event loop's folder watches on real folders (inotify).
#include <gtest/gtest.h>
#include <sys/file.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include "platform/posix/event_loop.h"
#include "platform/posix/unique_fd.h"
#include "support/fake_window.h"
#include "support/fakes.h"

#include <fcntl.h>
#include <unistd.h>

namespace kdzv::posix {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;
namespace fsys = std::filesystem;

void RunFor(EventLoop& loop, int64_t duration_ms) {
  const auto start = Clock::now();
  for (;;) {
    const auto left =
        duration_ms -
        std::chrono::duration_cast<milliseconds>(Clock::now() - start).count();
    if (left <= 0) return;
    loop.RunPending(static_cast<int32_t>(left));
  }
}

class EventLoopWatch : public ::testing::Test {
 protected:
  std::unique_ptr<FolderChangeWatch> Watch(int32_t settle_ms = 10) {
    std::string reason;
    auto watch = loop.Watch(down.path(), settle_ms, [this] { ++calls; }, reason);
    EXPECT_TRUE(watch != nullptr) << reason;
    return watch;
  }
  // Writes `name` elsewhere and renames it into the watched folder.
  void RenameIn(const std::string& name) {
    test::WriteFileBytes(elsewhere.File(name), "<SyncML/>");
    fsys::rename(elsewhere.File(name), down.File(name));
  }
  test::FakeWindowPlatform fakes;
  EventLoop loop{[this](SyncWindowInput& input) { return fakes.CreateView(input); }};
  test::TempDir down;
  test::TempDir elsewhere;
  int calls = 0;
};

TEST_F(EventLoopWatch, AFileRenamedInGivesOneCall) {
  auto watch = Watch();
  RenameIn("HX1_2.xml");
  RunFor(loop, 100);
  EXPECT_EQ(calls, 1);
  RunFor(loop, 50);
  EXPECT_EQ(calls, 1);
}

TEST_F(EventLoopWatch, AFileWrittenInPlaceInAHundredPiecesGivesOneCallAfterItIsClosed) {
  auto watch = Watch();
  UniqueFd file(::open(down.File("HX1_2.xml").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644));
  ASSERT_GE(file.get(), 0);
  ASSERT_EQ(::flock(file.get(), LOCK_EX), 0);
  for (int i = 0; i < 100; ++i) {
    ASSERT_EQ(::write(file.get(), "<piece/>", 8), 8);
    if (i % 10 == 0) loop.RunPending(0);
  }
  RunFor(loop, 50);
  EXPECT_EQ(calls, 0);  // still open: nothing told
  file.Close();
  RunFor(loop, 100);
  EXPECT_EQ(calls, 1);
}

TEST_F(EventLoopWatch, ChangesWithinTheSettleTimeGiveOneCall) {
  auto watch = Watch(/*settle_ms=*/40);
  for (int i = 1; i <= 5; ++i) RenameIn("HX1_" + std::to_string(2 * i) + ".xml");
  RunFor(loop, 200);
  EXPECT_EQ(calls, 1);
}

TEST_F(EventLoopWatch, ReadingFilesAndMakingFoldersTellNothing) {
  test::WriteFileBytes(down.File("HX1_2.xml"), "x");
  auto watch = Watch();
  std::ifstream(down.File("HX1_2.xml")).get();
  fsys::create_directory(down.File("sub"));
  fsys::remove(down.File("HX1_2.xml"));
  RunFor(loop, 60);
  EXPECT_EQ(calls, 0);
}

TEST_F(EventLoopWatch, AWaitingLoopWakesForAChange) {
  auto watch = Watch();
  std::thread writer([this] {
    std::this_thread::sleep_for(milliseconds(30));
    RenameIn("HX1_2.xml");
  });
  // Without the change the loop would sleep the whole 5 s twice.
  const auto start = Clock::now();
  for (int pass = 0; pass < 2 && calls == 0; ++pass) loop.RunPending(5000);
  writer.join();
  EXPECT_EQ(calls, 1);
  EXPECT_LT(Clock::now() - start, std::chrono::seconds(4));
}

TEST_F(EventLoopWatch, AnEndedWatchCallsNoMore) {
  auto watch = Watch();
  RenameIn("HX1_2.xml");
  watch.reset();
  RunFor(loop, 60);
  EXPECT_EQ(calls, 0);
}

TEST_F(EventLoopWatch, AMissingFolderOrAFileCannotBeWatched) {
  std::string reason;
  EXPECT_EQ(loop.Watch(down.File("missing"), 10, [] {}, reason), nullptr);
  EXPECT_NE(reason.find("inotify: "), std::string::npos) << reason;
  test::WriteFileBytes(down.File("a.xml"), "x");
  reason.clear();
  EXPECT_EQ(loop.Watch(down.File("a.xml"), 10, [] {}, reason), nullptr);
  EXPECT_NE(reason.find("inotify: "), std::string::npos) << reason;
}

}  // namespace
}  // namespace kdzv::posix
