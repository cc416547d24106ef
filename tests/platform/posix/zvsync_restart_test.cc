// zvsync killed in the middle of an exchange and started again: the next
// exchange takes a new session number, and every file of the broken one is
// either still where it was or in the depot.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "support/fakes.h"
#include "support/file_holder.h"

extern char** environ;

namespace kdzv {
namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

std::string Answer(int session, int msg_id, const std::string& body) {
  return "<?xml version=\"1.0\" encoding=\"utf-8\"?><SyncML><SyncHdr><VerDTD>1.0</VerDTD>"
         "<VerProto>SyncZV/1.0</VerProto><SessionID>" + std::to_string(session) +
         "</SessionID><MsgID>" + std::to_string(msg_id) + "</MsgID></SyncHdr><SyncBody>" + body +
         "</SyncBody></SyncML>";
}

const std::string kAdd =
    "<Add><CmdID>2</CmdID><VEvent><Source>ZV-1</Source><DTStart>20240701T060000Z</DTStart>"
    "<DTEnd>20240701T063000Z</DTEnd><Customer><LastName>Muster</LastName><DateOfBirth>19700315"
    "</DateOfBirth></Customer></VEvent></Add>";
const std::string kSessionEnd = "<Status><Cmd>SyncHdr</Cmd><Data>Session End</Data></Status>";

bool WaitFor(const std::string& path) {
  for (int i = 0; i < 400; ++i) {
    if (fs::exists(path)) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(25));
  }
  return false;
}

Names Sorted(Names names) {
  std::sort(names.begin(), names.end());
  return names;
}

// One zvsync sync in the background, on the test's folders.
class Zvsync {
 public:
  explicit Zvsync(const std::string& root) {
    const std::vector<std::string> args = {KDZV_ZVSYNC_PATH, "sync",
                                           "--download", root + "/down",
                                           "--upload", root + "/up",
                                           "--depot", root + "/depot",
                                           "--prefix", "HX",
                                           "--cfg", root + "/zv.cfg",
                                           "--log-file", root + "/zv.log",
                                           "--log"};
    std::vector<char*> argv;
    for (const std::string& arg : args) argv.push_back(const_cast<char*>(arg.c_str()));
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 1, (root + "/out.txt").c_str(),
                                     O_WRONLY | O_CREAT | O_APPEND, 0644);
    posix_spawn_file_actions_adddup2(&actions, 1, 2);
    if (posix_spawn(&pid_, argv[0], &actions, nullptr, argv.data(), environ) != 0) pid_ = -1;
    posix_spawn_file_actions_destroy(&actions);
  }
  ~Zvsync() {
    if (pid_ > 0) Kill();
  }
  bool started() const { return pid_ > 0; }
  void Kill() {
    ::kill(pid_, SIGKILL);
    ::waitpid(pid_, nullptr, 0);
    pid_ = -1;
  }
  // The exit status, or -1 when it did not end by itself in time.
  int Wait() {
    for (int i = 0; i < 400; ++i) {
      int status = 0;
      if (::waitpid(pid_, &status, WNOHANG) == pid_) {
        pid_ = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(25));
    }
    return -1;
  }

 private:
  pid_t pid_ = -1;
};

class ZvsyncRestart : public ::testing::Test {
 protected:
  void SetUp() override {
    ::setenv("TZ", "Europe/Berlin", 1);
    ::setenv("XDG_CONFIG_HOME", x.path().c_str(), 1);
    for (const char* folder : {"up", "down", "depot"}) fs::create_directory(x.File(folder));
  }
  std::string Path(const std::string& name) const { return x.File(name); }
  // Finishes session `session` with an answer that ends it.
  void RunToTheEnd(int session) {
    Zvsync zv(x.path());
    ASSERT_TRUE(zv.started());
    const std::string stem = "HX" + std::to_string(session) + "_";
    ASSERT_TRUE(WaitFor(Path("up/" + stem + "1.xml")));
    test::WriteFileBytes(Path("down/" + stem + "2.xml"), Answer(session, 2, kSessionEnd));
    EXPECT_EQ(zv.Wait(), 0) << test::ReadFileBytes(Path("out.txt"));
  }
  std::string LastSession() const {
    const std::string cfg = test::ReadFileBytes(Path("zv.cfg"));
    const size_t at = cfg.find("LastSessionID=");
    return at == std::string::npos ? "" : cfg.substr(at + 14, cfg.find_first_of("\r\n", at) - at - 14);
  }
  test::TempDir x;
};

TEST_F(ZvsyncRestart, KilledWhileTheAgentStillWritesItsAnswer) {
  {
    Zvsync zv(x.path());
    ASSERT_TRUE(zv.started());
    ASSERT_TRUE(WaitFor(Path("up/HX1_1.xml")));
    // Locked before it appears in the download folder (the lock follows
    // the file through the rename).
    test::WriteFileBytes(Path("HX1_2.xml"), Answer(1, 2, kAdd));
    test::FileHolder holder(Path("HX1_2.xml"), test::FileHolder::Lock::kExclusive);
    ASSERT_TRUE(holder.holding());
    fs::rename(Path("HX1_2.xml"), Path("down/HX1_2.xml"));
    // The component probes the held file and leaves it; then it dies.
    std::this_thread::sleep_for(std::chrono::milliseconds(1200));
    zv.Kill();
  }
  EXPECT_NE(test::ReadFileBytes(Path("out.txt")).find("Die Datei kann nicht exklusiv geöffnet werden"),
            std::string::npos);
  EXPECT_EQ(LastSession(), "1");
  EXPECT_EQ(test::FolderEntries(Path("down")), Names{"HX1_2.xml"});
  EXPECT_EQ(test::FolderEntries(Path("up")), Names{"HX1_1.xml"});

  RunToTheEnd(2);
  EXPECT_EQ(LastSession(), "2");
  // The broken exchange's files went to the depot before the new one began.
  EXPECT_EQ(Sorted(test::FolderEntries(Path("depot"))),
            Sorted({"HX1_1.xml", "HX1_2.xml", "HX2_2.xml"}));
  EXPECT_EQ(test::ReadFileBytes(Path("depot/HX1_2.xml")), Answer(1, 2, kAdd));
  EXPECT_EQ(test::FolderEntries(Path("up")), Names{"HX2_1.xml"});
  EXPECT_TRUE(test::FolderEntries(Path("down")).empty());
}

TEST_F(ZvsyncRestart, KilledWhileWaitingForTheNextAnswer) {
  {
    Zvsync zv(x.path());
    ASSERT_TRUE(zv.started());
    ASSERT_TRUE(WaitFor(Path("up/HX1_1.xml")));
    test::WriteFileBytes(Path("down/HX1_2.xml"), Answer(1, 2, kAdd));
    ASSERT_TRUE(WaitFor(Path("up/HX1_3.xml")));
    ASSERT_TRUE(WaitFor(Path("depot/HX1_2.xml")));
    zv.Kill();
  }
  const std::string answer = test::ReadFileBytes(Path("up/HX1_3.xml"));
  RunToTheEnd(2);
  EXPECT_EQ(LastSession(), "2");
  EXPECT_EQ(Sorted(test::FolderEntries(Path("depot"))),
            Sorted({"HX1_1.xml", "HX1_2.xml", "HX1_3.xml", "HX2_2.xml"}));
  EXPECT_EQ(test::ReadFileBytes(Path("depot/HX1_3.xml")), answer);
  EXPECT_NE(answer.find("<Map><CmdID>2</CmdID><VEvent><Source>1</Source><Target>ZV-1</Target>"),
            std::string::npos)
      << answer;
}

}  // namespace
}  // namespace kdzv
