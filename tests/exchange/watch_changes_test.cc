// Notifications of changes in the download folder beside the poll, with a
// fake notifier that the test calls as the system would.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "exchange/exchange_harness.h"
#include "mapping/watch_rules.h"
#include "support/fake_profile_file.h"

namespace kdzv {
namespace {

using test::ExchangeHarness;

class FakeFolderChanges : public FolderChanges {
 public:
  class FakeWatch : public FolderChangeWatch {
   public:
    explicit FakeWatch(FakeFolderChanges& owner) : owner_(owner) { ++owner_.live; }
    ~FakeWatch() override { --owner_.live; }

   private:
    FakeFolderChanges& owner_;
  };

  std::unique_ptr<FolderChangeWatch> Watch(const std::string& folder, int32_t settle_ms,
                                           std::function<void()> on_change,
                                           std::string& reason) override {
    folders.push_back(folder);
    settle = settle_ms;
    if (!refuse.empty()) {
      reason = refuse;
      return nullptr;
    }
    notify = std::move(on_change);
    return std::make_unique<FakeWatch>(*this);
  }
  // As the system would: only while a watch lives.
  void Notify() {
    if (live > 0 && notify) notify();
  }

  std::vector<std::string> folders;
  int32_t settle = -1;
  std::string refuse;  // when set, Watch fails with this reason
  std::function<void()> notify;
  int live = 0;
};

const std::string& kSessionEnd = test::kAgentSessionEnd;

std::string AddTermin(int cmd_id, const std::string& id) {
  return "<Add><CmdID>" + std::to_string(cmd_id) + "</CmdID><VEvent><Source>" + id +
         "</Source><DTStart>20240701T060000Z</DTStart><DTEnd>20240701T063000Z</DTEnd>"
         "<Status>Booked</Status><Customer><FirstName>Erika</FirstName><LastName>Muster"
         "</LastName><DateOfBirth>19700315</DateOfBirth></Customer></VEvent></Add>";
}

size_t Count(const std::vector<std::string>& lines, const std::string& line) {
  return static_cast<size_t>(std::count(lines.begin(), lines.end(), line));
}

TEST(ReadChangeNotification, OnUnlessZero) {
  test::FakeProfileFile profile;
  EXPECT_TRUE(ReadChangeNotification(profile, "kdZentavo.cfg"));
  profile.Set("kdZentavo.cfg", "WATCH", "ChangeNotification", "0");
  EXPECT_FALSE(ReadChangeNotification(profile, "kdZentavo.cfg"));
  profile.Set("kdZentavo.cfg", "watch", "changenotification", " 0 ");
  EXPECT_FALSE(ReadChangeNotification(profile, "kdZentavo.cfg"));
  profile.Set("kdZentavo.cfg", "WATCH", "ChangeNotification", "1");
  EXPECT_TRUE(ReadChangeNotification(profile, "kdZentavo.cfg"));
}

TEST(WatchChanges, ANotificationRunsTheWatchTickAndNoFileIsTakenTwice) {
  // The notifier outlives the interface object, which holds a watch of it.
  FakeFolderChanges changes;
  ExchangeHarness h;
  h.Interface().SetFolderChanges(&changes);
  // Every pass: the agent writes, the notification comes, then the timer.
  h.on_pass = [&](ExchangeHarness&) { changes.Notify(); };
  const enmZVRetValues result =
      h.Run({{"HX1_1.xml", "HX1_2.xml", ExchangeHarness::Answer(1, 2, AddTermin(2, "ZV-1"))},
             {"HX1_3.xml", "HX1_4.xml", ExchangeHarness::Answer(1, 4, kSessionEnd)}});
  EXPECT_EQ(result, ZV_Success);
  EXPECT_EQ(changes.folders, std::vector<std::string>{h.down});
  EXPECT_EQ(changes.settle, kdZVInterface::kChangeSettleMs);
  EXPECT_EQ(Count(h.host.sync_log, "Neue Datei erhalten: HX1_2.xml"), 1u);
  EXPECT_EQ(Count(h.host.sync_log, "Neue Datei erhalten: HX1_4.xml"), 1u);
  EXPECT_EQ(h.host.events, std::vector<std::string>{"OnTermin Add ZV-1"}) << h.LogText();
  // After the exchange a notification does nothing.
  const size_t lines = h.host.sync_log.size();
  changes.Notify();
  EXPECT_EQ(h.host.sync_log.size(), lines);
}

TEST(WatchChanges, ANotificationWhileAFileIsHandledIsLeftOut) {
  // The notifier outlives the interface object, which holds a watch of it.
  FakeFolderChanges changes;
  ExchangeHarness h;
  h.Interface().SetFolderChanges(&changes);
  int notified = 0;
  h.host.on_event = [&](const std::string&) {
    ++notified;
    changes.Notify();
  };
  const enmZVRetValues result =
      h.Run({{"HX1_1.xml", "HX1_2.xml", ExchangeHarness::Answer(1, 2, AddTermin(2, "ZV-1"))},
             {"HX1_3.xml", "HX1_4.xml", ExchangeHarness::Answer(1, 4, kSessionEnd)}});
  EXPECT_EQ(result, ZV_Success);
  EXPECT_EQ(notified, 1);
  EXPECT_EQ(Count(h.host.sync_log, "Neue Datei erhalten: HX1_2.xml"), 1u);
  EXPECT_EQ(h.host.events, std::vector<std::string>{"OnTermin Add ZV-1"});
}

TEST(WatchChanges, WhenNotificationsCannotBeSetUpOneLineSaysSoAndThePollRuns) {
  // The notifier outlives the interface object, which holds a watch of it.
  FakeFolderChanges changes;
  ExchangeHarness h;
  changes.refuse = "inotify: No space left on device (fs.inotify.max_user_watches)";
  h.Interface().SetFolderChanges(&changes);
  EXPECT_EQ(h.Run({{"HX1_1.xml", "HX1_2.xml", ExchangeHarness::Answer(1, 2, kSessionEnd)}}),
            ZV_Success);
  const std::string log = h.LogText();
  const std::string line = "\t(StartWatch) -> Keine Änderungsmeldungen für " + h.down +
                           " (inotify: No space left on device (fs.inotify.max_user_watches)); "
                           "der Ordner wird alle 500 ms abgefragt.\r\n";
  const size_t at = log.find(line);
  ASSERT_NE(at, std::string::npos) << log;
  EXPECT_EQ(log.find(line, at + 1), std::string::npos);
}

TEST(WatchChanges, TheKeyAtZeroTurnsNotificationsOff) {
  ExchangeHarness h;
  h.profile.Set("kdZentavo.cfg", "WATCH", "ChangeNotification", "0");
  FakeFolderChanges changes;
  h.Interface().SetFolderChanges(&changes);
  EXPECT_FALSE(h.Interface().ChangeNotification());
  EXPECT_EQ(h.Run({{"HX1_1.xml", "HX1_2.xml", ExchangeHarness::Answer(1, 2, kSessionEnd)}}),
            ZV_Success);
  EXPECT_TRUE(changes.folders.empty());
  EXPECT_EQ(h.LogText().find("(StartWatch)"), std::string::npos);
}

TEST(WatchChanges, TheWatchEndsWithTheInterfaceObject) {
  FakeFolderChanges changes;
  {
    ExchangeHarness h;
    h.Interface().SetFolderChanges(&changes);
    EXPECT_EQ(h.Run({{"HX1_1.xml", "HX1_2.xml", ExchangeHarness::Answer(1, 2, kSessionEnd)}}),
              ZV_Success);
    EXPECT_EQ(changes.live, 1);
    h.Reference().reset();
    EXPECT_EQ(changes.live, 0);
  }
}

}  // namespace
}  // namespace kdzv
