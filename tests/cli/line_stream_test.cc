#include "cli/line_stream.h"

#include <gtest/gtest.h>

#include <sstream>
#include <thread>
#include <vector>

namespace kdzv {
namespace {

TEST(LineStreamTest, ALineReachesTheTargetOnlyWhenComplete) {
  std::ostringstream target;
  SharedLines lines(target);
  LineStream stream(lines);
  stream << "half " << 42;
  EXPECT_EQ(target.str(), "");
  stream << " done\nnext";
  EXPECT_EQ(target.str(), "half 42 done\n");
}

TEST(LineStreamTest, AnUnfinishedLineIsWrittenAtTheEnd) {
  std::ostringstream target;
  SharedLines lines(target);
  { LineStream(lines) << "tail"; }
  EXPECT_EQ(target.str(), "tail");
}

TEST(LineStreamTest, LinesOfTwoThreadsNeverMix) {
  std::ostringstream target;
  SharedLines lines(target);
  const auto writer = [&lines](char letter) {
    LineStream stream(lines);
    for (int i = 0; i < 500; ++i) stream << std::string(40, letter) << "\n";
  };
  std::thread a(writer, 'a');
  std::thread b(writer, 'b');
  a.join();
  b.join();
  std::istringstream text(target.str());
  std::string line;
  int count = 0;
  while (std::getline(text, line)) {
    ++count;
    EXPECT_TRUE(line == std::string(40, 'a') || line == std::string(40, 'b')) << line;
  }
  EXPECT_EQ(count, 1000);
}

}  // namespace
}  // namespace kdzv
