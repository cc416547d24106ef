#include "syncwindow/frm_zv_sync.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "interface/user_interface.h"
#include "support/fake_window.h"
#include "support/fakes.h"
#include "support/memory_file_system.h"
#include "util/error.h"

namespace kdzv {
namespace {

using test::AsFake;
using test::FakeTimer;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr char kDown[] = "/down";
constexpr char kQuestion[] = "Soll der Syncronisation-Prozess wirklich abgebrochen werden?";

class FrmZVSyncTest : public ::testing::Test {
 protected:
  FrmZVSyncTest() {
    fs.folders.insert(kDown);
    process.ActivateLog();
  }

  FakeTimer& Watch() { return AsFake(window.WatchTimer()); }
  FakeTimer& Timeout() { return AsFake(window.TimeoutTimer()); }
  test::FakeView& View() { return platform.View(); }
  void AddFile(const std::string& name) { fs.files[fs.BuildPath(kDown, name)] = "x"; }

  std::string Report(const std::string& procedure, int32_t number, const std::string& text) {
    return "(MAIN) --> ERROR: " + std::to_string(number) + "/" + text +
           " / Modul=frmZVSync / Proc=" + procedure + " / Details=";
  }

  test::ScopedProcess process;
  test::MemoryFileSystem fs;
  test::FakeWindowPlatform platform;
  test::RecordingWindowEvents owner;
  frmZVSync window{platform, fs, owner};
};

TEST_F(FrmZVSyncTest, StartsWithBothTimersOffAndOneView) {
  ASSERT_EQ(platform.timers.size(), 2u);
  ASSERT_EQ(platform.views.size(), 1u);
  EXPECT_FALSE(Watch().Enabled());
  EXPECT_FALSE(Timeout().Enabled());
  EXPECT_EQ(&View().input, &window);
  EXPECT_EQ(frmZVSync::kCaption, "Zentavo - Syncronisation");
}

TEST_F(FrmZVSyncTest, ShowAndUnloadReachTheView) {
  window.Show(4711);
  ASSERT_TRUE(window.StartWatch(kDown, 500));
  window.Unload();
  EXPECT_THAT(View().shown_owners, ElementsAre(4711));
  EXPECT_EQ(View().closes, 1);
  EXPECT_FALSE(Watch().Enabled());
  EXPECT_FALSE(Timeout().Enabled());
}

TEST_F(FrmZVSyncTest, StartWatchOnExistingFolderStartsTheWatchOnly) {
  EXPECT_TRUE(window.StartWatch(kDown, 500));
  EXPECT_EQ(window.WatchFolder(), kDown);
  EXPECT_EQ(window.WatchInterval(), 500);
  EXPECT_EQ(Watch().Interval(), 500);
  EXPECT_TRUE(Watch().Enabled());
  // The time-out timer is given interval 0, so starting it does nothing.
  EXPECT_EQ(Timeout().Interval(), 0);
  EXPECT_FALSE(Timeout().Enabled());
  EXPECT_THAT(owner.logs, IsEmpty());
  EXPECT_EQ(window.LogText(), "");
}

TEST_F(FrmZVSyncTest, StartWatchResetsAnEarlierTimeoutInterval) {
  window.TimeoutTimer().SetInterval(3000);
  EXPECT_TRUE(window.StartWatch(kDown, 500));
  EXPECT_EQ(Timeout().Interval(), 0);
  EXPECT_FALSE(Timeout().Enabled());
  EXPECT_THAT(owner.logs, IsEmpty());
  EXPECT_FALSE(Timeout().Tick());
}

TEST_F(FrmZVSyncTest, StartWatchOnMissingFolderFailsWithTimersOff) {
  ASSERT_TRUE(window.StartWatch(kDown, 500));
  window.TimeoutTimer().SetInterval(1000);
  window.TimeoutTimer().SetEnabled(true);
  EXPECT_FALSE(window.StartWatch("/missing", 250));
  EXPECT_EQ(window.WatchFolder(), "/missing");
  EXPECT_EQ(window.WatchInterval(), 250);
  EXPECT_FALSE(Watch().Enabled());
  EXPECT_FALSE(Timeout().Enabled());
  EXPECT_EQ(Timeout().Interval(), 0);
  EXPECT_FALSE(Watch().Tick());
  EXPECT_THAT(owner.events, IsEmpty());
}

TEST_F(FrmZVSyncTest, EmptyFolderTickDoesNothing) {
  ASSERT_TRUE(window.StartWatch(kDown, 500));
  const size_t watch_changes = Watch().enabled_history.size();
  const size_t timeout_changes = Timeout().enabled_history.size();
  EXPECT_TRUE(Watch().Tick());
  EXPECT_THAT(owner.events, IsEmpty());
  EXPECT_EQ(Watch().enabled_history.size(), watch_changes);
  EXPECT_EQ(Timeout().enabled_history.size(), timeout_changes);
  EXPECT_TRUE(Watch().Enabled());
}

TEST_F(FrmZVSyncTest, ThreeUnconfirmedFilesGiveThreeNewFilesEachFollowedByCancel) {
  AddFile("a.xml");
  AddFile("b.xml");
  AddFile("c.xml");
  ASSERT_TRUE(window.StartWatch(kDown, 500));
  EXPECT_TRUE(Watch().Tick());
  EXPECT_THAT(owner.events, ElementsAre("OnNewFile:a.xml", "OnCancel", "OnNewFile:b.xml",
                                        "OnCancel", "OnNewFile:c.xml", "OnCancel"));
  EXPECT_THAT(owner.entry_values, ElementsAre(0, 0, 0));
  // Nobody took a file: the watch stays off.
  EXPECT_FALSE(Watch().Enabled());
}

TEST_F(FrmZVSyncTest, OnlyUnconfirmedFilesAreFollowedByCancel) {
  AddFile("a.xml");
  AddFile("b.xml");
  AddFile("c.xml");
  owner.new_file = [](const std::string& name) { return name == "b.xml" ? 0 : -1; };
  ASSERT_TRUE(window.StartWatch(kDown, 500));
  EXPECT_TRUE(Watch().Tick());
  EXPECT_THAT(owner.events,
              ElementsAre("OnNewFile:a.xml", "OnNewFile:b.xml", "OnCancel", "OnNewFile:c.xml"));
  EXPECT_TRUE(Watch().Enabled());
}

TEST_F(FrmZVSyncTest, WatchTimerIsOffWhileTheHandlerRuns) {
  AddFile("a.xml");
  std::vector<bool> watch_during;
  owner.new_file = [&](const std::string&) {
    watch_during.push_back(Watch().Enabled());
    return -1;
  };
  ASSERT_TRUE(window.StartWatch(kDown, 500));
  EXPECT_TRUE(Watch().Tick());
  EXPECT_THAT(watch_during, ElementsAre(false));
  EXPECT_TRUE(Watch().Enabled());
  EXPECT_THAT(owner.Raised(), ElementsAre("OnNewFile:a.xml"));
}

TEST_F(FrmZVSyncTest, AnyNonZeroAnswerConfirmsTheFile) {
  AddFile("a.xml");
  owner.new_file = [](const std::string&) { return 1; };
  ASSERT_TRUE(window.StartWatch(kDown, 500));
  EXPECT_TRUE(Watch().Tick());
  EXPECT_THAT(owner.Raised(), ElementsAre("OnNewFile:a.xml"));
  EXPECT_TRUE(Watch().Enabled());
}

TEST_F(FrmZVSyncTest, FileLeftInTheFolderIsOfferedAgainNextTick) {
  AddFile("keep.xml");
  AddFile("take.xml");
  owner.new_file = [&](const std::string& name) {
    if (name == "take.xml") fs.DeleteFile(fs.BuildPath(kDown, name));
    return -1;
  };
  ASSERT_TRUE(window.StartWatch(kDown, 500));
  EXPECT_TRUE(Watch().Tick());
  EXPECT_TRUE(Watch().Tick());
  EXPECT_THAT(owner.Raised(),
              ElementsAre("OnNewFile:keep.xml", "OnNewFile:take.xml", "OnNewFile:keep.xml"));
}

TEST_F(FrmZVSyncTest, NoTimeoutDuringAnExchangeStartedByStartWatch) {
  AddFile("a.xml");
  owner.new_file = [](const std::string&) { return -1; };
  ASSERT_TRUE(window.StartWatch(kDown, 500));
  EXPECT_TRUE(Watch().Tick());
  EXPECT_TRUE(Watch().Tick());
  EXPECT_FALSE(Timeout().Enabled());
  EXPECT_FALSE(Timeout().Tick());
  EXPECT_EQ(window.LogText().find("Warten auf Antwort ..."), std::string::npos);
  EXPECT_THAT(owner.logs, IsEmpty());
}

TEST_F(FrmZVSyncTest, StartTimeoutTimerWithPositiveIntervalShowsWaitingAndRuns) {
  window.TimeoutTimer().SetInterval(2000);
  window.TimeoutTimer().SetEnabled(true);
  window.StartTimeoutTimer();
  EXPECT_TRUE(Timeout().Enabled());
  // Run again from zero: switched off, then on.
  ASSERT_GE(Timeout().enabled_history.size(), 2u);
  EXPECT_FALSE(Timeout().enabled_history[Timeout().enabled_history.size() - 2]);
  EXPECT_TRUE(Timeout().enabled_history.back());
  EXPECT_THAT(owner.events, ElementsAre("OnLog:Warten auf Antwort ..."));
  EXPECT_EQ(window.LogText(), "\r\nWarten auf Antwort ...");
}

TEST_F(FrmZVSyncTest, StartTimeoutTimerWithIntervalZeroOnlyStopsIt) {
  window.TimeoutTimer().SetEnabled(true);
  window.StartTimeoutTimer();
  EXPECT_FALSE(Timeout().Enabled());
  EXPECT_THAT(owner.events, IsEmpty());
}

TEST_F(FrmZVSyncTest, PositiveIntervalMakesTheTimeoutPathWork) {
  AddFile("a.xml");
  owner.new_file = [](const std::string&) { return -1; };
  ASSERT_TRUE(window.StartWatch(kDown, 500));
  window.TimeoutTimer().SetInterval(1000);
  EXPECT_TRUE(Watch().Tick());  // a confirmed file restarts the wait
  EXPECT_TRUE(Timeout().Enabled());
  fs.files.clear();
  EXPECT_TRUE(Timeout().Tick());
  EXPECT_FALSE(Watch().Enabled());
  EXPECT_FALSE(Timeout().Enabled());
  EXPECT_THAT(owner.events, ElementsAre("OnNewFile:a.xml", "OnLog:Warten auf Antwort ...",
                                        "OnLog:Timeout.", "OnTimeout"));
  EXPECT_EQ(window.LogText(), "\r\nWarten auf Antwort ...\r\nTimeout.");
}

TEST_F(FrmZVSyncTest, StopWatchAndStopTimeoutTimer) {
  window.TimeoutTimer().SetInterval(1000);
  ASSERT_TRUE(window.StartWatch(kDown, 500));
  window.TimeoutTimer().SetInterval(1000);
  window.StartTimeoutTimer();
  ASSERT_TRUE(Timeout().Enabled());
  window.StopTimeoutTimer();
  EXPECT_FALSE(Timeout().Enabled());
  EXPECT_TRUE(Watch().Enabled());
  window.StartTimeoutTimer();
  window.StopWatch();
  EXPECT_FALSE(Watch().Enabled());
  EXPECT_FALSE(Timeout().Enabled());
}

TEST_F(FrmZVSyncTest, StatusMessagesAppendWithLeadingLineBreak) {
  window.ShowStatusMsg("A", msgbox::kInformation);
  window.ShowStatusMsg("B", msgbox::kExclamation);
  EXPECT_EQ(window.LogText(), "\r\nA\r\nB");
  EXPECT_EQ(View().LogText(), "\r\nA\r\nB");
  EXPECT_THAT(View().log_texts, ElementsAre("\r\nA", "\r\nA\r\nB"));
  // Each line travels alone, never the whole pane again.
  EXPECT_THAT(View().appended, ElementsAre("\r\nA", "\r\nB"));
  EXPECT_THAT(owner.events, ElementsAre("OnLog:A", "OnLog:B"));
}

TEST_F(FrmZVSyncTest, ClearLogEmptiesThePane) {
  window.ShowStatusMsg("A", msgbox::kInformation);
  window.ClearLog();
  EXPECT_EQ(window.LogText(), "");
  EXPECT_EQ(View().LogText(), "");
  window.ShowStatusMsg("B", msgbox::kInformation);
  EXPECT_EQ(window.LogText(), "\r\nB");
  EXPECT_THAT(owner.logs, ElementsAre("A", "B"));
}

TEST_F(FrmZVSyncTest, CancelAnsweredYesStopsAndRaisesCancel) {
  ASSERT_TRUE(window.StartWatch(kDown, 500));
  View().answer = true;
  View().input.CancelClicked();
  EXPECT_THAT(View().questions, ElementsAre(kQuestion));
  EXPECT_FALSE(Watch().Enabled());
  EXPECT_FALSE(Timeout().Enabled());
  EXPECT_THAT(owner.events, ElementsAre("OnLog:Abbruch durch Benutzer.", "OnCancel"));
  EXPECT_EQ(window.LogText(), "\r\nAbbruch durch Benutzer.");
}

TEST_F(FrmZVSyncTest, CancelAnsweredNoLeavesBothTimersAsTheyWere) {
  ASSERT_TRUE(window.StartWatch(kDown, 500));
  window.TimeoutTimer().SetInterval(1000);
  window.StartTimeoutTimer();
  ASSERT_TRUE(Watch().Enabled());
  ASSERT_TRUE(Timeout().Enabled());
  const size_t watch_changes = Watch().enabled_history.size();
  const size_t timeout_changes = Timeout().enabled_history.size();
  const size_t events = owner.events.size();
  View().answer = false;
  View().input.CancelClicked();
  EXPECT_THAT(View().questions, ElementsAre(kQuestion));
  EXPECT_TRUE(Watch().Enabled());
  EXPECT_TRUE(Timeout().Enabled());
  EXPECT_EQ(Watch().enabled_history.size(), watch_changes);
  EXPECT_EQ(Timeout().enabled_history.size(), timeout_changes);
  EXPECT_EQ(owner.events.size(), events);
}

TEST_F(FrmZVSyncTest, ClosingByTheUserAsksTheCancelQuestion) {
  ASSERT_TRUE(window.StartWatch(kDown, 500));
  View().answer = false;
  View().input.CloseRequested();
  EXPECT_THAT(View().questions, ElementsAre(kQuestion));
  EXPECT_EQ(View().closes, 0);
  EXPECT_THAT(owner.events, IsEmpty());
  EXPECT_TRUE(Watch().Enabled());

  View().answer = true;
  View().input.CloseRequested();
  EXPECT_EQ(View().closes, 0);  // refused; the owner unloads the window
  EXPECT_THAT(owner.Raised(), ElementsAre("OnCancel"));
  EXPECT_FALSE(Watch().Enabled());
}

TEST_F(FrmZVSyncTest, AQuitCancelsWithoutTheQuestion) {
  ASSERT_TRUE(window.StartWatch(kDown, 500));
  View().answer = false;  // a question would keep the exchange going
  View().input.QuitRequested();
  EXPECT_THAT(View().questions, IsEmpty());
  EXPECT_THAT(owner.Raised(), ElementsAre("OnCancel"));
  EXPECT_EQ(window.LogText(), "\r\nAbbruch: Das Programm wird beendet.");
  EXPECT_FALSE(Watch().Enabled());
  EXPECT_FALSE(Timeout().Enabled());
  EXPECT_EQ(View().closes, 0);  // the owner unloads the window
}

constexpr char kDestroyedLine[] = "Abbruch: Das Synchronisationsfenster wurde geschlossen.";

TEST_F(FrmZVSyncTest, ADestroyedWindowCancelsWithoutTheQuestionOnce) {
  window.Show(4711);
  ASSERT_TRUE(window.StartWatch(kDown, 500));
  View().answer = false;  // a question would keep the exchange going
  View().input.WindowDestroyed();
  EXPECT_THAT(View().questions, IsEmpty());
  EXPECT_THAT(owner.events, ElementsAre(std::string("OnLog:") + kDestroyedLine, "OnCancel"));
  EXPECT_EQ(window.LogText(), std::string("\r\n") + kDestroyedLine);
  EXPECT_FALSE(Watch().Enabled());
  EXPECT_FALSE(Timeout().Enabled());
  EXPECT_EQ(View().closes, 0);  // the owner unloads the window

  // Once: neither a second report, nor the close box, nor a quit adds
  // another cancel or asks.
  View().input.WindowDestroyed();
  View().input.CloseRequested();
  View().input.CancelClicked();
  View().input.QuitRequested();
  EXPECT_THAT(View().questions, IsEmpty());
  EXPECT_THAT(owner.Raised(), ElementsAre("OnCancel"));

  // Shown again, the window cancels again when it is destroyed again.
  window.Show(4711);
  View().input.WindowDestroyed();
  EXPECT_THAT(owner.Raised(), ElementsAre("OnCancel", "OnCancel"));
}

TEST_F(FrmZVSyncTest, AWindowDestroyedInsideAFileHandlerCancelsWhenTheHandlerReturns) {
  window.Show(0);
  ASSERT_TRUE(window.StartWatch(kDown, 500));
  AddFile("HX1_2.xml");
  AddFile("HX1_3.xml");
  std::vector<std::string> seen_inside;
  owner.new_file = [&](const std::string&) {
    View().input.WindowDestroyed();  // the host's handler destroys its form
    seen_inside = owner.events;
    return -1;  // and takes the file
  };
  EXPECT_TRUE(Watch().Tick());
  // Nothing of the cancel while the handler ran.
  EXPECT_THAT(seen_inside, ElementsAre("OnNewFile:HX1_2.xml"));
  // After it: the line, the cancel; the next file is not offered and the
  // watch is not armed again.
  EXPECT_THAT(owner.events, ElementsAre("OnNewFile:HX1_2.xml",
                                        std::string("OnLog:") + kDestroyedLine, "OnCancel"));
  EXPECT_FALSE(Watch().Enabled());
  EXPECT_FALSE(Timeout().Enabled());
  EXPECT_FALSE(Watch().Tick());
}

TEST_F(FrmZVSyncTest, AWindowDestroyedInsideALogHandlerCancelsAfterThatLine) {
  window.Show(0);
  ASSERT_TRUE(window.StartWatch(kDown, 500));
  owner.on_log = [&](const std::string& line) {
    if (line == "Neue Datei erhalten") {
      View().input.WindowDestroyed();
      EXPECT_THAT(owner.Raised(), IsEmpty());
    }
  };
  window.ShowStatusMsg("Neue Datei erhalten", msgbox::kInformation);
  EXPECT_THAT(owner.events, ElementsAre("OnLog:Neue Datei erhalten",
                                        std::string("OnLog:") + kDestroyedLine, "OnCancel"));
  EXPECT_EQ(window.LogText(), std::string("\r\nNeue Datei erhalten\r\n") + kDestroyedLine);
  EXPECT_FALSE(Watch().Enabled());
}

TEST_F(FrmZVSyncTest, AWindowDestroyedWhileTheQuestionIsOpenCancelsWithoutTheAnswer) {
  View().on_ask = [&] {
    View().input.WindowDestroyed();
    EXPECT_THAT(owner.events, IsEmpty());  // not while the box is open
  };
  for (const bool answer : {true, false}) {
    SCOPED_TRACE(answer);
    owner.events.clear();
    window.Show(0);
    ASSERT_TRUE(window.StartWatch(kDown, 500));
    View().answer = answer;
    View().input.CancelClicked();
    EXPECT_THAT(owner.events, ElementsAre(std::string("OnLog:") + kDestroyedLine, "OnCancel"));
    EXPECT_FALSE(Watch().Enabled());
  }
}

TEST_F(FrmZVSyncTest, TimeoutWhileTheCancelQuestionIsOpenThenYes) {
  ASSERT_TRUE(window.StartWatch(kDown, 500));
  window.TimeoutTimer().SetInterval(1000);
  window.StartTimeoutTimer();
  View().on_ask = [&] { EXPECT_TRUE(Timeout().Tick()); };
  View().answer = true;
  View().input.CancelClicked();
  EXPECT_THAT(owner.Raised(), ElementsAre("OnTimeout", "OnCancel"));
  EXPECT_EQ(window.LogText(),
            "\r\nWarten auf Antwort ...\r\nTimeout.\r\nAbbruch durch Benutzer.");
  EXPECT_FALSE(Watch().Enabled());
  EXPECT_FALSE(Timeout().Enabled());
}

TEST_F(FrmZVSyncTest, TimeoutWhileTheCancelQuestionIsOpenThenNo) {
  ASSERT_TRUE(window.StartWatch(kDown, 500));
  window.TimeoutTimer().SetInterval(1000);
  window.StartTimeoutTimer();
  View().on_ask = [&] { EXPECT_TRUE(Timeout().Tick()); };
  View().answer = false;
  View().input.CancelClicked();
  EXPECT_THAT(owner.Raised(), ElementsAre("OnTimeout"));
  EXPECT_FALSE(Watch().Enabled());
  EXPECT_FALSE(Timeout().Enabled());
}

TEST_F(FrmZVSyncTest, ErrorInFileHandlerIsReportedAndTheDisabledWatchStaysDisabled) {
  AddFile("a.xml");
  AddFile("b.xml");
  owner.new_file = [](const std::string&) -> int32_t { Raise(1234, "Kaputt", "Test"); };
  ASSERT_TRUE(window.StartWatch(kDown, 500));
  EXPECT_TRUE(Watch().Tick());
  EXPECT_THAT(process.Reports(), ElementsAre(Report("Timer1_Timer", 1234, "Kaputt")));
  // The tick had disabled the watch timer for the file; the failure leaves
  // it so.
  EXPECT_FALSE(Watch().Enabled());
  EXPECT_FALSE(Timeout().Enabled());
  // The tick ends at the failing file.
  EXPECT_THAT(owner.Raised(), ElementsAre("OnNewFile:a.xml"));
}

TEST_F(FrmZVSyncTest, ErrorAfterAnEarlierCancelLeavesTheTimersAsTheTickHadSetThem) {
  AddFile("a.xml");
  AddFile("b.xml");
  owner.new_file = [](const std::string& name) -> int32_t {
    if (name == "b.xml") Raise(1234, "Kaputt", "Test");
    return 0;
  };
  ASSERT_TRUE(window.StartWatch(kDown, 500));
  EXPECT_TRUE(Watch().Tick());
  EXPECT_THAT(owner.Raised(), ElementsAre("OnNewFile:a.xml", "OnCancel", "OnNewFile:b.xml"));
  EXPECT_FALSE(Watch().Enabled());
  EXPECT_THAT(process.Reports(), ElementsAre(Report("Timer1_Timer", 1234, "Kaputt")));
}

TEST_F(FrmZVSyncTest, VanishedWatchFolderIsReportedAndTheWatchGoesOn) {
  ASSERT_TRUE(window.StartWatch(kDown, 500));
  fs.folders.clear();
  EXPECT_TRUE(Watch().Tick());
  EXPECT_THAT(process.Reports(), ElementsAre(Report("Timer1_Timer", 76, "Path not found")));
  EXPECT_TRUE(Watch().Enabled());
  EXPECT_THAT(owner.events, IsEmpty());
}

class ThrowingTimeoutEvents : public test::RecordingWindowEvents {
 public:
  void OnTimeout() override { Raise(99, "Zeitfehler", "Test"); }
};

TEST(FrmZVSyncErrorTest, ErrorInTimeoutHandlerIsReportedAndBothTimersStayDisabled) {
  test::ScopedProcess process;
  process.ActivateLog();
  test::MemoryFileSystem fs;
  fs.folders.insert(kDown);
  test::FakeWindowPlatform platform;
  ThrowingTimeoutEvents owner;
  frmZVSync window(platform, fs, owner);
  ASSERT_TRUE(window.StartWatch(kDown, 500));
  window.TimeoutTimer().SetInterval(1000);
  window.StartTimeoutTimer();
  EXPECT_TRUE(AsFake(window.TimeoutTimer()).Tick());
  EXPECT_THAT(process.Reports(),
              ElementsAre("(MAIN) --> ERROR: 99/Zeitfehler / Modul=frmZVSync / "
                          "Proc=Timer2_Timer / Details="));
  // The tick had disabled both timers before the owner's handler failed.
  EXPECT_FALSE(window.WatchTimer().Enabled());
  EXPECT_FALSE(window.TimeoutTimer().Enabled());
  EXPECT_THAT(owner.logs, ElementsAre("Warten auf Antwort ...", "Timeout."));
}

TEST_F(FrmZVSyncTest, FailingFolderCheckMakesStartWatchFalse) {
  fs.failures[kDown] = 70;
  EXPECT_FALSE(window.StartWatch(kDown, 500));
  EXPECT_FALSE(Watch().Enabled());
  EXPECT_FALSE(Timeout().Enabled());
}

}  // namespace
}  // namespace kdzv
