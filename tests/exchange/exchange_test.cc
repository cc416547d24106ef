// Whole exchanges: StartSync with its folder checks, the opening message,
// the intake of every answer file, the command processing and the end.
#include <gtest/gtest.h>

#include <filesystem>

#include "exchange/exchange_harness.h"
#include "message/xml_parser.h"
#include "support/file_holder.h"
#include "support/golden.h"

namespace kdzv {
namespace {

using test::AgentStep;
using test::ExchangeHarness;
using Names = std::vector<std::string>;

const std::string kSessionEnd =
    "<Status><Cmd>SyncHdr</Cmd><CmdID>1</CmdID><CmdRef>0</CmdRef><MsgRef>3</MsgRef>"
    "<Data>Session End</Data><Text/></Status>";

std::string Add(int cmd, const std::string& source, const std::string& status = "Booked") {
  return "<Add><CmdID>" + std::to_string(cmd) + "</CmdID><VEvent><Source>" + source +
         "</Source><DTStart>20240701T060000Z</DTStart><DTEnd>20240701T063000Z</DTEnd>"
         "<Status>" + status + "</Status><Customer><FirstName>Erika</FirstName><LastName>Muster"
         "</LastName><DateOfBirth>19700315</DateOfBirth></Customer></VEvent></Add>";
}

bool Contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

TEST(ExchangeTest, AFirstBookingExchangeFromStartToSessionEnd) {
  ExchangeHarness h;
  const enmZVRetValues result =
      h.Run({{"HX1_1.xml", "HX1_2.xml", ExchangeHarness::Answer(1, 2, Add(2, "ZV-1"))},
             {"HX1_3.xml", "HX1_4.xml", ExchangeHarness::Answer(1, 4, kSessionEnd)}});
  EXPECT_EQ(result, ZV_Success);
  EXPECT_EQ(h.sErr, "");
  // The opening message, the answer, nothing after the silent end.
  EXPECT_EQ(test::FolderEntries(h.up).size(), 2u);
  EXPECT_EQ(test::ReadFileBytes(h.Up("HX1_1.xml")), test::Golden("messages/opening_HX1_1.xml"));
  const std::string answer = test::ReadFileBytes(h.Up("HX1_3.xml"));
  EXPECT_TRUE(Contains(answer, "<MsgID>3</MsgID>")) << answer;
  EXPECT_TRUE(Contains(answer, "<Status><Cmd>Add</Cmd><CmdID>1</CmdID><CmdRef>2</CmdRef>"
                               "<MsgRef>2</MsgRef><Data>201</Data><Text/></Status>"))
      << answer;
  EXPECT_TRUE(Contains(answer, "<Map><CmdID>2</CmdID><VEvent><Source>1</Source><Target>ZV-1"
                               "</Target></VEvent></Map>"))
      << answer;
  // Both answers of the agent are in the depot, none left behind.
  EXPECT_TRUE(test::FolderEntries(h.down).empty());
  EXPECT_EQ(test::FolderEntries(h.depot).size(), 2u);
  EXPECT_EQ(h.host.events, Names{"OnTermin Add ZV-1"});
  EXPECT_EQ(h.profile.Value("kdZentavo.cfg", "SESSION", "LastSessionID"), "1");
  EXPECT_EQ(h.host.sync_log.back(), "Synchronisation erfolgreich abgeschlossen.");
  EXPECT_TRUE(Contains(h.LogText(), "(StartSync) -> Rückgabewert 0"));
}

TEST(ExchangeTest, TwoExchangesGetConsecutiveSessionNumbers) {
  ExchangeHarness h;
  EXPECT_EQ(h.Run({{"HX1_1.xml", "HX1_2.xml", ExchangeHarness::Answer(1, 2, kSessionEnd)}}),
            ZV_Success);
  std::filesystem::remove(h.Up("HX1_1.xml"));
  EXPECT_EQ(h.Run({{"HX2_1.xml", "HX2_2.xml", ExchangeHarness::Answer(2, 2, kSessionEnd)}}),
            ZV_Success);
  EXPECT_TRUE(std::filesystem::exists(h.Up("HX2_1.xml")));
  EXPECT_EQ(h.Interface().SessionInfo().SessionID, 2);
  EXPECT_EQ(h.profile.Value("kdZentavo.cfg", "SESSION", "LastSessionID"), "2");
}

TEST(ExchangeTest, SlowSyncSendsOnlyTheSlowAlert) {
  ExchangeHarness h;
  h.Settings()->SetSlowSync(true);
  h.Run({{"HX1_1.xml", "HX1_2.xml", ExchangeHarness::Answer(1, 2, kSessionEnd)}});
  const std::string opening = test::ReadFileBytes(h.Up("HX1_1.xml"));
  EXPECT_TRUE(Contains(opening, "<Alert><CmdID>1</CmdID><Data>201</Data><Text>Slow Sync</Text>"
                                "</Alert></SyncBody>"))
      << opening;
  EXPECT_FALSE(Contains(opening, "Session Start"));
}

TEST(ExchangeTest, AnUploadPathWithATrailingSeparatorGivesTheSamePath) {
  ExchangeHarness h;
  h.Settings()->SetUploadPath(h.up + static_cast<char>(std::filesystem::path::preferred_separator));
  EXPECT_EQ(h.Run({{"HX1_1.xml", "HX1_2.xml", ExchangeHarness::Answer(1, 2, kSessionEnd)}}),
            ZV_Success);
  EXPECT_TRUE(Contains(h.LogText(),
                       "Session-File = :" + h.Up("HX1_1.xml") + "\r\n"));
}

TEST(ExchangeTest, AMissingDownloadFolderShowsOnlyItsMessage) {
  ExchangeHarness h;
  h.Settings()->SetDownloadPath(h.dir.File("nowhere"));
  h.Settings()->SetUploadPath(h.dir.File("nowhere either"));
  EXPECT_EQ(h.Run({}), ZV_Error_PathNotExist);
  ASSERT_EQ(h.ui.boxes.size(), 1u);
  const std::string message = "Fehler: Der eingestellte Downloadpfad existiert nicht: " +
                              h.dir.File("nowhere") +
                              "\r\n\r\nBitte überprüfen Sie Ihre Einstellungen für die "
                              "Schnittstelle zu Zentavo.";
  EXPECT_EQ(h.ui.boxes[0].text, message);
  EXPECT_EQ(h.ui.boxes[0].style, msgbox::kExclamation);
  EXPECT_TRUE(Contains(h.LogText(), "MELDUNG: " + message));
  EXPECT_TRUE(test::FolderEntries(h.up).empty());
}

TEST(ExchangeTest, AMissingUploadFolder) {
  ExchangeHarness h;
  h.Settings()->SetUploadPath(h.dir.File("nowhere"));
  EXPECT_EQ(h.Run({}), ZV_Error_PathNotExist);
  ASSERT_EQ(h.ui.boxes.size(), 1u);
  EXPECT_TRUE(Contains(h.ui.boxes[0].text, "Fehler: Der eingestellte Uploadpfad existiert nicht: "));
}

TEST(ExchangeTest, LeftOverFilesGoToTheDepotDownloadFirstAndOverwrite) {
  ExchangeHarness h;
  test::WriteFileBytes(h.Down("old.xml"), "new content");
  test::WriteFileBytes(h.Up("HX0_1.xml"), "upload");
  test::WriteFileBytes(h.Depot("old.xml"), "old content");
  EXPECT_EQ(h.Run({{"HX1_1.xml", "HX1_2.xml", ExchangeHarness::Answer(1, 2, kSessionEnd)}}),
            ZV_Success);
  EXPECT_EQ(test::ReadFileBytes(h.Depot("old.xml")), "new content");
  EXPECT_EQ(test::ReadFileBytes(h.Depot("HX0_1.xml")), "upload");
  const std::string log = h.LogText();
  EXPECT_LT(log.find("(StartSync) -> Der Downloadpfad ist nicht leer: "),
            log.find("(StartSync) -> Der Uploadpfad ist nicht leer: "));
}

TEST(ExchangeTest, FilesThatCannotBeMovedStopBeforeTheExchange) {
  ExchangeHarness h;
  h.Settings()->SetAblagePath(h.dir.File("no depot"));
  test::WriteFileBytes(h.Down("old.xml"), "x");
  test::WriteFileBytes(h.Up("HX0_1.xml"), "y");
  EXPECT_EQ(h.Run({}), ZV_Error_PathNotEmpty);
  ASSERT_EQ(h.ui.boxes.size(), 1u);
  EXPECT_EQ(h.ui.boxes[0].text, "Achtung: Es konnten nicht alle Dateien verschoben werden.\r\n"
                                "Quelle: " + h.down + "\r\nZiel: " + h.dir.File("no depot"));
  // The upload folder was not touched.
  EXPECT_EQ(test::FolderEntries(h.up), Names{"HX0_1.xml"});
}

TEST(ExchangeTest, WithLoggingOffOnlyTheAccessCheckIsWritten) {
  ExchangeHarness h;
  h.Settings()->SetDoLog(false);
  h.Run({{"HX1_1.xml", "HX1_2.xml", ExchangeHarness::Answer(1, 2, kSessionEnd)}});
  EXPECT_EQ(h.LogText(), "(StartSync) -> aufgerufen\r\n");
}

TEST(ExchangeTest, AnUnwritableLogEndsAtOnceWithItsText) {
  ExchangeHarness h;
  const std::string log = h.dir.File("missing") + "/kdZentavo.log";
  process::SetFilePaths(log, "kdZentavo.cfg");
  EXPECT_EQ(h.Run({}), ZV_Error_LogFileAccess);
  EXPECT_TRUE(Contains(h.sErr, "Auf die Log-Datei " + log +
                                   " kann nicht zugegriffen werden (Error 76"))
      << h.sErr;
  EXPECT_TRUE(test::FolderEntries(h.up).empty());
  EXPECT_TRUE(h.ui.boxes.empty());
}

TEST(ExchangeTest, AForeignFileIsPutAwayAndTheExchangeGivenUp) {
  ExchangeHarness h;
  EXPECT_EQ(h.Run({{"HX1_1.xml", "XY1_2.xml", ExchangeHarness::Answer(1, 2, kSessionEnd)}}),
            ZV_Error_Cancel);
  EXPECT_TRUE(std::filesystem::exists(h.Depot("XY1_2.xml")));
  EXPECT_TRUE(Contains(h.LogText(),
                       "Die Datei gehört nicht zu aktuellen Session. Datei wird ignoriert."));
}

TEST(ExchangeTest, OnlyTheNextNumberIsTaken) {
  ExchangeHarness h;
  EXPECT_EQ(h.Run({{"HX1_1.xml", "HX1_3.xml", ExchangeHarness::Answer(1, 3, kSessionEnd)}}),
            ZV_Error_Cancel);
  EXPECT_TRUE(std::filesystem::exists(h.Depot("HX1_3.xml")));
  EXPECT_TRUE(Contains(h.LogText(),
                       "Die Datei gehört zwar zu aktuellen Session, hat aber keine korrekte "
                       "Msg-ID. Erwartete Datei: 'HX1_2.xml'. Datei wird ignoriert."));
}

TEST(ExchangeTest, TheNameIsComparedWithoutRegardToCase) {
  ExchangeHarness h;
  EXPECT_EQ(h.Run({{"HX1_1.xml", "hx1_2.XML", ExchangeHarness::Answer(1, 2, kSessionEnd)}}),
            ZV_Success);
}

TEST(ExchangeTest, AnUnreadableMessageIsShownAndPutAway) {
  ExchangeHarness h;
  EXPECT_EQ(h.Run({{"HX1_1.xml", "HX1_2.xml", "<SyncML><SyncBody>"}}), ZV_Error_Cancel);
  ASSERT_EQ(h.ui.boxes.size(), 1u);
  EXPECT_EQ(h.ui.boxes[0].text, "Probleme mit der Download-Datei: " + h.Down("HX1_2.xml"));
  EXPECT_EQ(h.ui.boxes[0].style, msgbox::kCritical);
  EXPECT_TRUE(std::filesystem::exists(h.Depot("HX1_2.xml")));
  EXPECT_EQ(h.Interface().SessionInfo().MsgID, 2);
}

TEST(ExchangeTest, ATooLargeMessageIsReportedInItsOwnWordsThenAsUnreadable) {
  ExchangeHarness h;
  const uint64_t too_large = xml_limits::kMaxFileBytes + 1;
  EXPECT_EQ(h.Run({{"HX1_1.xml", "HX1_2.xml", std::string(too_large, ' ')}}), ZV_Error_Cancel);
  const std::string path = h.Down("HX1_2.xml");
  const std::string own_words = "Die Download-Datei ist zu gro\xC3\x9F (134217729 Bytes, "
                                "h\xC3\xB6" "chstens 134217728 Bytes): " + path;
  // The reader's box, then the intake's.
  ASSERT_EQ(h.process.ui.boxes.size(), 1u);
  EXPECT_EQ(h.process.ui.boxes[0].text, own_words);
  EXPECT_EQ(h.process.ui.boxes[0].style, msgbox::kOkOnly);
  ASSERT_EQ(h.ui.boxes.size(), 1u);
  EXPECT_EQ(h.ui.boxes[0].text, "Probleme mit der Download-Datei: " + path);
  EXPECT_EQ(h.ui.boxes[0].style, msgbox::kCritical);
  const std::string log = h.LogText();
  const size_t reported = log.find(own_words);
  const size_t unreadable =
      log.find("(AnalyzeOrderFile) --> Achtung: Fehler beim Lesen der Datei: " + path);
  const size_t problems = log.find("Probleme mit der Download-Datei!");
  ASSERT_NE(reported, std::string::npos);
  ASSERT_NE(unreadable, std::string::npos);
  ASSERT_NE(problems, std::string::npos);
  EXPECT_LT(reported, unreadable);
  EXPECT_LT(unreadable, problems);
  EXPECT_TRUE(std::filesystem::exists(h.Depot("HX1_2.xml")));
}

TEST(ExchangeTest, AnEmptyDepotPathDeletesProcessedFiles) {
  ExchangeHarness h;
  h.Settings()->SetAblagePath("");
  EXPECT_EQ(h.Run({{"HX1_1.xml", "HX1_2.xml", ExchangeHarness::Answer(1, 2, kSessionEnd)}}),
            ZV_Success);
  EXPECT_TRUE(test::FolderEntries(h.down).empty());
  EXPECT_TRUE(test::FolderEntries(h.depot).empty());
  EXPECT_TRUE(Contains(h.LogText(),
                       "Ablagepfad nicht eingegeben. Abgearbeitete Datei wird deshalb gelöscht: " +
                           h.Down("HX1_2.xml")));
}

TEST(ExchangeTest, AMessageThatNeedsNoAnswerEndsTheSessionWithSyncHdr200) {
  ExchangeHarness h;
  EXPECT_EQ(h.Run({{"HX1_1.xml", "HX1_2.xml", ExchangeHarness::Answer(1, 2, "<Final/>")}}),
            ZV_Success);
  const std::string answer = test::ReadFileBytes(h.Up("HX1_3.xml"));
  EXPECT_TRUE(Contains(answer, "<SyncBody><Status><Cmd>SyncHdr</Cmd><CmdID>1</CmdID><CmdRef>0"
                               "</CmdRef><MsgRef>2</MsgRef><Data>200</Data><Text>Session End"
                               "</Text></Status></SyncBody>"))
      << answer;
}

TEST(ExchangeTest, AnAcceptedAddWithHostIdZeroGetsNoMap) {
  ExchangeHarness h;
  h.host.termin_id = "0";
  h.Run({{"HX1_1.xml", "HX1_2.xml", ExchangeHarness::Answer(1, 2, Add(2, "ZV-1"))},
         {"HX1_3.xml", "HX1_4.xml", ExchangeHarness::Answer(1, 4, kSessionEnd)}});
  const std::string answer = test::ReadFileBytes(h.Up("HX1_3.xml"));
  EXPECT_TRUE(Contains(answer, "<Data>201</Data>"));
  EXPECT_FALSE(Contains(answer, "<Map>")) << answer;
}

TEST(ExchangeTest, ARequestedAddAcceptedIsConfirmedAsBooked) {
  ExchangeHarness h;
  h.Run({{"HX1_1.xml", "HX1_2.xml", ExchangeHarness::Answer(1, 2, Add(2, "ZV-1", "Requested"))},
         {"HX1_3.xml", "HX1_4.xml", ExchangeHarness::Answer(1, 4, kSessionEnd)}});
  EXPECT_TRUE(Contains(test::ReadFileBytes(h.Up("HX1_3.xml")),
                       "<Replace><CmdID>3</CmdID><VEvent><Source>1</Source><Target>ZV-1</Target>"
                       "<Status>Booked</Status></VEvent></Replace>"));
}

TEST(ExchangeTest, ARefusedAddIsReceivedAndCancelledByThePractice) {
  ExchangeHarness h;
  h.host.accept = false;
  h.Run({{"HX1_1.xml", "HX1_2.xml", ExchangeHarness::Answer(1, 2, Add(2, "ZV-1"))},
         {"HX1_3.xml", "HX1_4.xml", ExchangeHarness::Answer(1, 4, kSessionEnd)}});
  const std::string answer = test::ReadFileBytes(h.Up("HX1_3.xml"));
  EXPECT_TRUE(Contains(answer, "<Data>201</Data>"));
  EXPECT_TRUE(Contains(answer, "<Replace><CmdID>2</CmdID><VEvent><Source/><Target>ZV-1</Target>"
                               "<Status>ProviderCanceled</Status></VEvent></Replace>"))
      << answer;
}

TEST(ExchangeTest, ARefusedReplaceIsStillAnswered200) {
  ExchangeHarness h;
  h.host.accept = false;
  h.Run({{"HX1_1.xml", "HX1_2.xml",
          ExchangeHarness::Answer(1, 2, "<Replace><CmdID>4</CmdID><VEvent><Source>ZV-1</Source>"
                                        "<Target>7</Target><Customer><DateOfBirth>19700315"
                                        "</DateOfBirth></Customer></VEvent></Replace>")},
         {"HX1_3.xml", "HX1_4.xml", ExchangeHarness::Answer(1, 4, kSessionEnd)}});
  EXPECT_TRUE(Contains(test::ReadFileBytes(h.Up("HX1_3.xml")),
                       "<Status><Cmd>Replace</Cmd><CmdID>1</CmdID><CmdRef>4</CmdRef><MsgRef>2"
                       "</MsgRef><Data>200</Data><Text>Replace fehlgeschlagen. Trotzdem '200' "
                       "geschrieben (RS)</Text></Status>"));
}

TEST(ExchangeTest, AnAttributeNamedOtherwiseThanTheMethodNeverReachesTheHost) {
  ExchangeHarness h;
  h.Run({{"HX1_1.xml", "HX1_2.xml",
          ExchangeHarness::Answer(1, 2, "<Add><CmdID>2</CmdID><Attribute><Source>A</Source>"
                                        "<Title>behandlungsart</Title><Value><Source>V</Source>"
                                        "</Value></Attribute></Add>")},
         {"HX1_3.xml", "HX1_4.xml", ExchangeHarness::Answer(1, 4, kSessionEnd)}});
  EXPECT_TRUE(h.host.events.empty());
  EXPECT_TRUE(Contains(h.LogText(),
                       "Attribute 'behandlungsart' nicht bekannt. Ggf. Matching-Daei prüfen."));
}

TEST(ExchangeTest, AFileHeldOpenIsTakenOnALaterTick) {
  ExchangeHarness h;
  // The agent keeps its answer locked for the first passes.
  std::unique_ptr<test::FileHolder> holder;
  h.on_pass = [&holder](ExchangeHarness& x) {
    if (!holder && std::filesystem::exists(x.Down("HX1_2.xml")) && x.passes < 4) {
      holder = std::make_unique<test::FileHolder>(x.Down("HX1_2.xml"),
                                                   test::FileHolder::Lock::kExclusive);
    } else if (holder && x.passes >= 4) {
      holder.reset();
    }
  };
  EXPECT_EQ(h.Run({{"HX1_1.xml", "HX1_2.xml", ExchangeHarness::Answer(1, 2, kSessionEnd)}}),
            ZV_Success);
  EXPECT_TRUE(Contains(h.LogText(),
                       "Die Datei kann nicht exklusiv geöffnet werden"));
}

TEST(ExchangeTest, OpeningTimesAreMergedByPractitionerMethodAndDay) {
  ExchangeHarness h;
  h.host.opening_times = [](kdZVBelegungen& belegungen) {
    const DateTime july1 = DateTime::FromDate(2024, 7, 1);
    auto first = belegungen.Add(3, 2, july1);
    first->BehandlerIDext = "CAL-2";
    first->Zeiten->Add(30, july1.AddMinutes(8 * 60));
    // The same practitioner, method and day again: merged into one Day.
    belegungen.Add(3, 2, july1)->Zeiten->Add(45, july1.AddMinutes(10 * 60));
    // Another day of the same method.
    belegungen.Add(3, 2, DateTime::FromDate(2024, 7, 2));
  };
  h.Run({{"HX1_1.xml", "HX1_2.xml",
          ExchangeHarness::Answer(1, 2, "<Get><CmdID>5</CmdID><OpeningTime/></Get>")},
         {"HX1_3.xml", "HX1_4.xml", ExchangeHarness::Answer(1, 4, kSessionEnd)}});
  EXPECT_EQ(h.host.events, Names{"OnQueryOpeningTime"});
  const std::string answer = test::ReadFileBytes(h.Up("HX1_3.xml"));
  EXPECT_TRUE(Contains(answer,
                       "<SyncBody><Replace><CmdID>1</CmdID><OpeningTime><Calendar><Source>2"
                       "</Source><Target>CAL-2</Target></Calendar><Attribute_Value><Source>3"
                       "</Source><Target/><Title/><Day>20240701:20240701T060000Z/30;"
                       "20240701T080000Z/45</Day><Day>20240702:</Day></Attribute_Value>"
                       "</OpeningTime></Replace></SyncBody>"))
      << answer;
}

TEST(ExchangeTest, TheUserCancelsFromTheWindow) {
  ExchangeHarness h;
  // The window is gone once StartSync returns: keep what it was asked.
  Names questions;
  h.on_pass = [&questions](ExchangeHarness& x) {
    if (x.passes == 2) {
      x.window.View().answer = true;
      x.window.View().input.CancelClicked();
      questions = x.window.View().questions;
    }
  };
  EXPECT_EQ(h.Run({}), ZV_Error_Cancel);
  EXPECT_EQ(questions, Names{"Soll der Syncronisation-Prozess wirklich abgebrochen werden?"});
  const Names& log = h.host.sync_log;
  ASSERT_GE(log.size(), 2u);
  EXPECT_EQ(log[log.size() - 2], "Abbruch durch Benutzer.");
  EXPECT_EQ(log.back(), "Synchronisation abgebrochen.");
  EXPECT_TRUE(Contains(h.LogText(),
                       "[SyncForm_OnLog] Abbruch durch Benutzer.\r\n"));
}

TEST(ExchangeTest, ARefusedCalendarGetsNoStatusAndNoMap) {
  ExchangeHarness h;
  h.host.accept = false;
  h.Run({{"HX1_1.xml", "HX1_2.xml",
          ExchangeHarness::Answer(1, 2, "<Add><CmdID>2</CmdID><Calendar><Source>CAL-1</Source>"
                                        "<Title>Dr. Weber</Title></Calendar></Add>")}});
  EXPECT_EQ(h.host.events, Names{"OnCalendar CAL-1"});
  // Nothing to answer: the empty-answer rule ends the session.
  const std::string answer = test::ReadFileBytes(h.Up("HX1_3.xml"));
  EXPECT_TRUE(Contains(answer, "<SyncBody><Status><Cmd>SyncHdr</Cmd>")) << answer;
  EXPECT_FALSE(Contains(answer, "<Map>"));
}

}  // namespace
}  // namespace kdzv
