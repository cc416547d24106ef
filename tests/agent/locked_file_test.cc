#include "platform/locked_file.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "agent/agent_test_support.h"
#include "support/fakes.h"
#include "util/error.h"

namespace kdzv {
namespace {

TEST(LockedFileTest, WritesTheBytesAndReplacesAFile) {
  test::TempDir dir;
  const std::string path = dir.File("A_2.xml");
  test::WriteFileBytes(path, "an older and longer content");
  WriteFileHoldingLock(path, std::string("new\0bytes\r\n", 11), 0);
  EXPECT_EQ(test::ReadFileBytes(path), std::string("new\0bytes\r\n", 11));
  EXPECT_FALSE(test::LockedByWriter(path));
}

TEST(LockedFileTest, TheLockIsHeldForTheHoldTime) {
  test::TempDir dir;
  const std::string path = dir.File("A_2.xml");
  const auto start = std::chrono::steady_clock::now();
  std::thread writer([&] { WriteFileHoldingLock(path, "<SyncML/>", 400); });
  ASSERT_TRUE(test::WaitForBytes(path));
  EXPECT_TRUE(test::LockedByWriter(path));
  writer.join();
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(400));
  EXPECT_FALSE(test::LockedByWriter(path));
  EXPECT_EQ(test::ReadFileBytes(path), "<SyncML/>");
}

TEST(LockedFileTest, AMissingFolderRaisesPathNotFound) {
  test::TempDir dir;
  try {
    WriteFileHoldingLock(dir.File("missing") + "/A_2.xml", "x", 0);
    FAIL() << "no error raised";
  } catch (const Error& e) {
    EXPECT_EQ(e.number(), err::kPathNotFound);
    EXPECT_EQ(e.source(), "WriteFileHoldingLock");
  }
}

}  // namespace
}  // namespace kdzv
