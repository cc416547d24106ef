// Runs the real zvsync.exe as a user would, from the Windows side.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace kdzv {
namespace {

// The build tree lies on the Linux side; under Wine that is drive Z:.
std::string WindowsPath(std::string path) {
  if (!path.empty() && path[0] == '/') {
    for (char& c : path) c = c == '/' ? '\\' : c;
    path = "Z:" + path;
  }
  return path;
}

std::string ProgramPath() { return WindowsPath(KDZV_ZVSYNC_PATH); }

struct Result {
  int status;
  std::string out;
};

Result Zvsync(const std::string& args) {
  Result result{-1, {}};
  const std::string command = "\"\"" + ProgramPath() + "\" " + args + " 2>&1\"";
  std::FILE* pipe = ::_popen(command.c_str(), "rb");
  if (pipe == nullptr) return result;
  char buffer[4096];
  size_t n;
  while ((n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0) result.out.append(buffer, n);
  result.status = ::_pclose(pipe);
  return result;
}

TEST(ZvsyncProcess, ConvertUnderBerlin) {
  const char* tz = std::getenv("TZ");
  if (tz == nullptr || std::string(tz) != "Europe/Berlin") GTEST_SKIP() << "needs TZ=Europe/Berlin";
  EXPECT_EQ(Zvsync("convert to-service \"2024-07-01 12:00:00\"").out, "20240701T100000Z\r\n");
  EXPECT_EQ(Zvsync("convert to-local 20240701T100000Z").out, "2024-07-01 12:00:00\r\n");
}

TEST(ZvsyncProcess, AnalyzeReadsAMessageFile) {
  const Result read =
      Zvsync("analyze \"" + WindowsPath(KDZV_TEST_DATA_DIR) + "\\messages\\HX17_2.xml\"");
  EXPECT_EQ(read.status, 0) << read.out;
  EXPECT_NE(read.out.find("add appointment, CmdID 4: Source=\"ZV-4711\""), std::string::npos)
      << read.out;
}

TEST(ZvsyncProcess, AnalyzeOfAnUnreadableFileFails) {
  const Result read =
      Zvsync("analyze \"" + WindowsPath(KDZV_TEST_DATA_DIR) + "\\malformed\\billion_laughs.xml\"");
  EXPECT_EQ(read.status, 1) << read.out;
}

TEST(ZvsyncProcess, ExitStatuses) {
  EXPECT_EQ(Zvsync("--version").status, 0);
  const Result bad = Zvsync("convert sideways 1");
  EXPECT_EQ(bad.status, 2);
  EXPECT_EQ(bad.out, "zvsync: unknown direction \"sideways\" (to-service or to-local) (see zvsync "
                     "--help)\r\n");
}

}  // namespace
}  // namespace kdzv
