// Reading answer files of the agent: the grammar, names in any case, and
// every message of a file that does not fit it.
#include <gtest/gtest.h>

#include <string>

#include "message/up_down_file.h"
#include "platform/platform.h"
#include "support/fakes.h"
#include "util/date_time.h"

namespace kdzv {
namespace {

class UpDownFileReaderTest : public ::testing::Test {
 protected:
  UpDownFileReaderTest()
      : file(System().xml_parser, System().file_system, "www.zentavo.de") {
    process.ActivateLog();
  }

  // Writes `xml` as a download file and reads it.
  bool Analyze(const std::string& xml) {
    path = dir.File("HX17_2.xml");
    test::WriteFileBytes(path, xml);
    return file.AnalyzeDownFile(path);
  }

  static std::string Message(const std::string& body, const std::string& root = "SyncML") {
    return "<?xml version=\"1.0\" encoding=\"utf-8\"?><" + root + "><SyncHdr><VerDTD>1.0</VerDTD>" +
           "<VerProto>SyncZV/1.0</VerProto><SessionID>17</SessionID><MsgID>2</MsgID>" +
           "<Source><LocName>Zentavo</LocName><LocURI>zv://praxis</LocURI></Source>" +
           "<Target><LocName>Halvex</LocName><LocURI>hx://praxis</LocURI></Target></SyncHdr>" +
           "<SyncBody>" + body + "</SyncBody></" + root + ">";
  }

  // The report of a file whose reading ended because two attributes of one
  // appointment have the same id.
  std::string DuplicateIdLine() const {
    return "(MAIN) --> ERROR: 457/This key is already associated with an element of this "
           "collection / Modul=clZVUpDownFile / Proc=AnalyzeDownFile / Details=File=" +
           path;
  }

  test::ScopedProcess process;
  test::TempDir dir;
  std::string path;
  clZVUpDownFile file;
};

TEST_F(UpDownFileReaderTest, ReadsTheHeader) {
  ASSERT_TRUE(Analyze(Message("<Final/>")));
  clZVSyncHdr& header = file.SyncHdr();
  EXPECT_EQ(header.VerDTD, "1.0");
  EXPECT_EQ(header.VerProto, "SyncZV/1.0");
  EXPECT_EQ(header.SessionID, "17");
  EXPECT_EQ(header.MsgID, 2);
  EXPECT_EQ(header.Source.LocName, "Zentavo");
  EXPECT_EQ(header.Source.locURI, "zv://praxis");
  EXPECT_EQ(header.Target.LocName, "Halvex");
  EXPECT_EQ(header.Target.locURI, "hx://praxis");
  EXPECT_EQ(file.FileName(), path);
  EXPECT_TRUE(process.log.lines.empty());
  EXPECT_TRUE(process.ui.boxes.empty());
}

TEST_F(UpDownFileReaderTest, WritesATraceLineWithThePath) {
  ASSERT_TRUE(Analyze(Message("<Final/>")));
  ASSERT_EQ(process.trace.lines.size(), 1u);
  EXPECT_EQ(process.trace.lines[0], "AnalyzeDownFile: " + path);
}

TEST_F(UpDownFileReaderTest, RootInAnyCaseIsAccepted) {
  EXPECT_TRUE(Analyze(Message("<Final/>", "syncml")));
  EXPECT_TRUE(Analyze(Message("<Final/>", "SyncML")));
  EXPECT_TRUE(Analyze(Message("<Final/>", "SYNCML")));
}

TEST_F(UpDownFileReaderTest, AnotherRootIsRejectedWithTheStructureMessage) {
  EXPECT_FALSE(Analyze(Message("<Final/>", "SyncMLx")));
  ASSERT_EQ(process.log.lines.size(), 1u);
  EXPECT_EQ(process.log.lines[0],
            "(AnalyzeDownFile) --> Achtung: Die einzulesende Datei entspricht nicht der "
            "erwarteten Struktur: " +
                path);
  EXPECT_TRUE(process.ui.boxes.empty());
}

TEST_F(UpDownFileReaderTest, AFileThatCannotBeLoadedIsLoggedAndFalse) {
  EXPECT_FALSE(Analyze("<SyncML><SyncHdr></SyncML>"));
  ASSERT_EQ(process.log.lines.size(), 1u);
  EXPECT_EQ(process.log.lines[0],
            "(AnalyzeOrderFile) --> Achtung: Fehler beim Lesen der Datei: " + path);
}

TEST_F(UpDownFileReaderTest, AMissingFileCannotBeLoaded) {
  EXPECT_FALSE(file.AnalyzeDownFile(dir.File("missing.xml")));
  ASSERT_EQ(process.log.lines.size(), 1u);
  EXPECT_EQ(process.log.lines[0], "(AnalyzeOrderFile) --> Achtung: Fehler beim Lesen der Datei: " +
                                      dir.File("missing.xml"));
}

TEST_F(UpDownFileReaderTest, ADocumentTypeIsRefusedAsUnreadable) {
  EXPECT_FALSE(Analyze("<?xml version=\"1.0\"?><!DOCTYPE SyncML [<!ENTITY a \"b\">]>"
                       "<SyncML><SyncBody><Final/></SyncBody></SyncML>"));
  ASSERT_EQ(process.log.lines.size(), 1u);
  EXPECT_EQ(process.log.lines[0],
            "(AnalyzeOrderFile) --> Achtung: Fehler beim Lesen der Datei: " + path);
}

TEST_F(UpDownFileReaderTest, AnUnknownChildOfTheRootIsLoggedAsWritten) {
  EXPECT_TRUE(Analyze("<SyncML><Extra/><SyncBody><Final/></SyncBody></SyncML>"));
  ASSERT_EQ(process.log.lines.size(), 1u);
  EXPECT_EQ(process.log.lines[0],
            "(AnalyzeOrderFile) --> Achtung: Die einzulesende Datei enthält einen unbekannten "
            "Knotentyp (Node): Extra");
  EXPECT_TRUE(process.ui.boxes.empty());
}

TEST_F(UpDownFileReaderTest, UnknownChildrenOfHeaderAndLocationsAreReported) {
  EXPECT_TRUE(Analyze("<SyncML><SyncHdr><Cred>x</Cred><Source><LocID/></Source></SyncHdr>"
                      "</SyncML>"));
  const std::vector<std::string> expected = {"Unbekannter Knoten: synchdr>cred",
                                             "Unbekannter Knoten: source>locid"};
  EXPECT_EQ(process.log.lines, expected);
  ASSERT_EQ(process.ui.boxes.size(), 2u);
  EXPECT_EQ(process.ui.boxes[0].text, expected[0]);
  EXPECT_EQ(process.ui.boxes[0].style, 0);
  EXPECT_EQ(process.ui.boxes[0].title, "kdZentavo");
}

TEST_F(UpDownFileReaderTest, MsgIdTakesTheLeadingNumber) {
  ASSERT_TRUE(Analyze("<SyncML><SyncHdr><MsgID>12abc</MsgID></SyncHdr></SyncML>"));
  EXPECT_EQ(file.SyncHdr().MsgID, 12);
  ASSERT_TRUE(Analyze("<SyncML><SyncHdr><MsgID></MsgID></SyncHdr></SyncML>"));
  EXPECT_EQ(file.SyncHdr().MsgID, 0);
  ASSERT_TRUE(Analyze("<SyncML><SyncHdr><MsgID> 7.5</MsgID></SyncHdr></SyncML>"));
  EXPECT_EQ(file.SyncHdr().MsgID, 8);
}

TEST_F(UpDownFileReaderTest, ALaterElementOverwritesAnEarlierOne) {
  ASSERT_TRUE(Analyze("<SyncML><SyncHdr><MsgID>3</MsgID><MsgID>4</MsgID></SyncHdr></SyncML>"));
  EXPECT_EQ(file.SyncHdr().MsgID, 4);
}

TEST_F(UpDownFileReaderTest, FinalAloneGivesEmptyCollections) {
  ASSERT_TRUE(Analyze(Message("<Final/>")));
  EXPECT_EQ(file.AddTerminCol().Count(), 0);
  EXPECT_EQ(file.ReplaceTerminCol().Count(), 0);
  EXPECT_EQ(file.DeleteTerminCol().Count(), 0);
  EXPECT_EQ(file.AddCalendarCol().Count(), 0);
  EXPECT_EQ(file.AddAttributesCol().Count(), 0);
  EXPECT_EQ(file.StatusCol().Count(), 0);
  EXPECT_FALSE(file.OpeningTimeRequested());
  EXPECT_TRUE(process.log.lines.empty());
}

TEST_F(UpDownFileReaderTest, CommandNamesInAnyCaseAreAdds) {
  ASSERT_TRUE(Analyze(Message("<ADD><CmdID>1</CmdID><VEvent><Source>a</Source></VEvent></ADD>"
                              "<add><CmdID>2</CmdID><VEvent><Source>b</Source></VEvent></add>"
                              "<Add><CmdID>3</CmdID><VEvent><Source>c</Source></VEvent></Add>")));
  ASSERT_EQ(file.AddTerminCol().Count(), 3);
  EXPECT_EQ(file.AddTerminCol().Item(1)->Termin->Source, "a");
  EXPECT_EQ(file.AddTerminCol().Item(2)->CmdID, 2);
  EXPECT_EQ(file.AddTerminCol().Item(3)->Termin->Source, "c");
  EXPECT_TRUE(process.log.lines.empty());
}

TEST_F(UpDownFileReaderTest, ReadsEveryFieldOfAnAppointment) {
  ASSERT_TRUE(Analyze(Message(
      "<Add><CmdID>4</CmdID><VEvent>"
      "<Source>ZV-1</Source><Target>HX-9</Target><Comment> Kontrolle </Comment>"
      "<Status>Requested</Status><DTStart>20240701T060000Z</DTStart>"
      "<DTEnd>20240701T063000Z</DTEnd><Block>false</Block><Cancel>false</Cancel>"
      "<Customer><Title>Dr.</Title><FirstName>Erika</FirstName><LastName>Muster</LastName>"
      "<DateOfBirth>19700315</DateOfBirth><Address>Weg 1</Address><PostalCode>53111</PostalCode>"
      "<City>Bonn</City><Phone>0228 1</Phone><Email>e@example.org</Email></Customer>"
      "<Calendar><Source>CAL-1</Source><Target>7</Target><Title>Dr. Weber</Title></Calendar>"
      "<Attribute><Source>ATT-1</Source><Title>Behandlungsart</Title>"
      "<Value><Source>V-1</Source><Title>Erstuntersuchung</Title></Value></Attribute>"
      "</VEvent></Add>")));
  ASSERT_EQ(file.AddTerminCol().Count(), 1);
  const auto item = file.AddTerminCol().Item(1);
  EXPECT_EQ(item->CmdID, 4);
  const clZVTermin& t = *item->Termin;
  EXPECT_EQ(t.Source, "ZV-1");
  EXPECT_EQ(t.Target, "HX-9");
  EXPECT_EQ(t.Comment, "Kontrolle");
  EXPECT_EQ(t.Status, "Requested");
  EXPECT_EQ(t.DTStart(), "20240701T060000Z");
  EXPECT_EQ(t.DTEnd(), "20240701T063000Z");
  // Summer time in the test zone: two hours ahead of UTC.
  EXPECT_EQ(t.StartDateTime().Format("yyyy-mm-dd hh:nn:ss"), "2024-07-01 08:00:00");
  EXPECT_EQ(t.EndDateTime().Format("yyyy-mm-dd hh:nn:ss"), "2024-07-01 08:30:00");
  EXPECT_EQ(t.Customer.Title, "Dr.");
  EXPECT_EQ(t.Customer.FirstName, "Erika");
  EXPECT_EQ(t.Customer.LastName, "Muster");
  EXPECT_EQ(t.Customer.DateOfBirth, "19700315");
  EXPECT_EQ(t.Customer.Address, "Weg 1");
  EXPECT_EQ(t.Customer.PostalCode, "53111");
  EXPECT_EQ(t.Customer.City, "Bonn");
  EXPECT_EQ(t.Customer.Phone, "0228 1");
  EXPECT_EQ(t.Customer.Email, "e@example.org");
  EXPECT_EQ(t.Calendar.Source, "CAL-1");
  EXPECT_EQ(t.Calendar.Target, "7");
  EXPECT_EQ(t.Calendar.Title, "Dr. Weber");
  ASSERT_EQ(t.Attributes.Count(), 1);
  const auto attribute = t.Attributes.Item(1);
  EXPECT_EQ(attribute->Title, "Behandlungsart");
  ASSERT_NE(attribute->FirstValue(), nullptr);
  EXPECT_EQ(attribute->FirstValue()->Title, "Erstuntersuchung");
  EXPECT_TRUE(process.log.lines.empty()) << process.log.lines[0];
}

TEST_F(UpDownFileReaderTest, AnAppointmentKeepsItsAttributesUnderTheirIdsUpperCased) {
  // A replace refers to the appointment as read, keys included.
  ASSERT_TRUE(Analyze(Message(
      "<Replace><VEvent><Source>ZV-1</Source>"
      "<Attribute><Source>att-1</Source><Value><Source>V</Source></Value></Attribute>"
      "<Attribute><Source>Att-2</Source><Value><Source>W</Source></Value></Attribute>"
      "</VEvent></Replace>")));
  const clZVAttributes& attributes = file.ReplaceTerminCol().Item(1)->Termin->Attributes;
  ASSERT_EQ(attributes.Count(), 2);
  EXPECT_EQ(attributes.Item("ATT-1")->FirstValue()->Source, "V");
  EXPECT_EQ(attributes.Item("att-2")->FirstValue()->Source, "W");
}

TEST_F(UpDownFileReaderTest, TwoAttributesWithOneIdEndTheReading) {
  // The second cannot be stored under the same key: a run-time error of the
  // reader, reported, and the file counts as not read. An added or deleted
  // appointment, whose attributes are not kept under their ids, fails alike.
  for (const std::string command : {"Replace", "Add", "Delete"}) {
    process.log.lines.clear();
    EXPECT_FALSE(Analyze(Message(
        "<" + command + "><VEvent><Source>ZV-1</Source>"
        "<Attribute><Source>Ä-1</Source><Value><Source>V</Source></Value></Attribute>"
        "<Attribute><Source>ä-1</Source><Value><Source>W</Source></Value></Attribute>"
        "</VEvent></" + command + ">")))
        << command;
    EXPECT_EQ(process.log.lines, std::vector<std::string>{DuplicateIdLine()}) << command;
  }
}

// Past a handful of attributes the ids are looked up another way; the same
// id (in any case) still ends the reading, wherever it comes again.
TEST_F(UpDownFileReaderTest, ManyAttributesAreKeptAndAnIdThatComesAgainLateEndsTheReading) {
  const auto attributes = [](int count, const std::string& last_id) {
    std::string text;
    for (int i = 1; i <= count; ++i) {
      text += "<Attribute><Source>" + (i == count ? last_id : "a-" + std::to_string(i)) +
              "</Source><Value><Source>V</Source></Value></Attribute>";
    }
    return text;
  };
  for (const std::string command : {"Replace", "Add", "Delete"}) {
    for (const int count : {9, 12, 40}) {
      SCOPED_TRACE(command + " " + std::to_string(count));
      process.log.lines.clear();
      ASSERT_TRUE(Analyze(Message("<" + command + "><VEvent><Source>ZV-1</Source>" +
                                  attributes(count, "a-" + std::to_string(count)) +
                                  "</VEvent></" + command + ">")));
      if (command == "Add") {
        EXPECT_EQ(file.AddTerminCol().Item(1)->Termin->Attributes.Count(), count);
      } else if (command == "Replace") {
        EXPECT_EQ(file.ReplaceTerminCol().Item(1)->Termin->Attributes.Count(), count);
      }
      for (const std::string again : {"A-3", "a-8", "A-9"}) {
        if (count == 9 && again == "A-9") continue;  // that is the last one itself
        process.log.lines.clear();
        EXPECT_FALSE(Analyze(Message("<" + command + "><VEvent><Source>ZV-1</Source>" +
                                     attributes(count, again) + "</VEvent></" + command + ">")))
            << again;
        EXPECT_EQ(process.log.lines, std::vector<std::string>{DuplicateIdLine()}) << again;
      }
    }
  }
}

TEST_F(UpDownFileReaderTest, AttributesWithoutAnIdOrWithDifferentIdsAreAllKept) {
  for (const std::string command : {"Replace", "Add"}) {
    ASSERT_TRUE(Analyze(Message(
        "<" + command + "><VEvent><Source>ZV-1</Source>"
        "<Attribute><Source/><Value><Source>V</Source></Value></Attribute>"
        "<Attribute><Source></Source><Value><Source>W</Source></Value></Attribute>"
        "<Attribute><Source>A-1</Source><Value><Source>X</Source></Value></Attribute>"
        "<Attribute><Source>A-10</Source><Value><Source>Y</Source></Value></Attribute>"
        "</VEvent></" + command + ">")))
        << command;
    const KeyedCollection<clZVAddReplaceItem>& items =
        command == "Add" ? static_cast<const KeyedCollection<clZVAddReplaceItem>&>(
                               file.AddTerminCol())
                         : file.ReplaceTerminCol();
    ASSERT_EQ(items.Count(), 1) << command;
    EXPECT_EQ(items.Item(1)->Termin->Attributes.Count(), 4) << command;
  }
}

TEST_F(UpDownFileReaderTest, CancelIsSetOnlyByTheTextTrue) {
  ASSERT_TRUE(Analyze(Message("<Add><VEvent><Cancel>TRUE</Cancel><Block>True</Block></VEvent></Add>"
                              "<Add><VEvent><Cancel>1</Cancel><Block>ja</Block></VEvent></Add>")));
  ASSERT_EQ(file.AddTerminCol().Count(), 2);
  EXPECT_TRUE(file.AddTerminCol().Item(1)->Termin->Cancel);
  EXPECT_TRUE(file.AddTerminCol().Item(1)->Termin->Block);
  EXPECT_FALSE(file.AddTerminCol().Item(2)->Termin->Cancel);
  EXPECT_FALSE(file.AddTerminCol().Item(2)->Termin->Block);
}

TEST_F(UpDownFileReaderTest, ReplaceAndDeleteGoToTheirCollections) {
  ASSERT_TRUE(Analyze(Message(
      "<Replace><CmdID>5</CmdID><VEvent><Source>ZV-2</Source></VEvent></Replace>"
      "<Delete><CmdID>6</CmdID><VEvent><Source>A</Source><Target>B</Target></VEvent></Delete>")));
  ASSERT_EQ(file.ReplaceTerminCol().Count(), 1);
  EXPECT_EQ(file.ReplaceTerminCol().Item(1)->CmdID, 5);
  EXPECT_EQ(file.ReplaceTerminCol().Item(1)->Termin->Source, "ZV-2");
  EXPECT_FALSE(file.ReplaceTerminCol().Item(1)->Termin->OnlyStatusChanged);
  EXPECT_EQ(file.AddTerminCol().Count(), 0);
  ASSERT_EQ(file.DeleteTerminCol().Count(), 1);
  EXPECT_EQ(file.DeleteTerminCol().Item(1)->CmdID, 6);
  EXPECT_EQ(file.DeleteTerminCol().Item(1)->TerminKey->TerminKeySource, "A");
  EXPECT_EQ(file.DeleteTerminCol().Item(1)->TerminKey->TerminKeyTarget, "B");
}

TEST_F(UpDownFileReaderTest, MapIsOnlyLogged) {
  ASSERT_TRUE(Analyze(Message("<Map><CmdID>1</CmdID></Map>")));
  const std::vector<std::string> expected = {"Kommando <MAP> noch nicht unterstützt."};
  EXPECT_EQ(process.log.lines, expected);
  EXPECT_TRUE(process.ui.boxes.empty());
}

TEST_F(UpDownFileReaderTest, AlertsAreLoggedAndNotKept) {
  ASSERT_TRUE(Analyze(
      Message("<Alert><CmdID>1</CmdID><Data>206</Data><Text>Session Start</Text></Alert>")));
  const std::vector<std::string> expected = {"ALERT: Session Start"};
  EXPECT_EQ(process.log.lines, expected);
}

TEST_F(UpDownFileReaderTest, StatusesAreKept) {
  ASSERT_TRUE(Analyze(Message(
      "<Status><Cmd>Alert</Cmd><CmdID>1</CmdID><CmdRef>1</CmdRef><MsgRef>1</MsgRef>"
      "<Data>Session End</Data><Text>Ende</Text></Status>")));
  ASSERT_EQ(file.StatusCol().Count(), 1);
  const auto status = file.StatusCol().Item(1);
  EXPECT_EQ(status->Cmd, "Alert");
  EXPECT_EQ(status->CmdRef, "1");
  EXPECT_EQ(status->MsgRef, "1");
  EXPECT_EQ(status->Data, "Session End");
  EXPECT_EQ(status->Text, "Ende");
}

TEST_F(UpDownFileReaderTest, AnAddedCalendarIsKept) {
  ASSERT_TRUE(Analyze(Message(
      "<Add><CmdID>2</CmdID><Calendar><Source>CAL-1</Source><Title>Dr. Weber</Title></Calendar>"
      "</Add>")));
  ASSERT_EQ(file.AddCalendarCol().Count(), 1);
  EXPECT_EQ(file.AddCalendarCol().Item(1)->CmdID, 2);
  EXPECT_EQ(file.AddCalendarCol().Item(1)->Calendar->Source, "CAL-1");
  EXPECT_EQ(file.AddCalendarCol().Item(1)->Calendar->Title, "Dr. Weber");
}

TEST_F(UpDownFileReaderTest, ACalendarInAReplaceIsNotSupported) {
  ASSERT_TRUE(Analyze(Message(
      "<Replace><CmdID>2</CmdID><Calendar><Source>CAL-1</Source></Calendar></Replace>")));
  EXPECT_EQ(file.AddCalendarCol().Count(), 0);
  const std::vector<std::string> expected = {
      "Replace bei <calendar> nicht unterstützt.",
      "Knoten konnte nicht ausgewertet werden:syncbody>replace"};
  EXPECT_EQ(process.log.lines, expected);
  ASSERT_EQ(process.ui.boxes.size(), 2u);
  EXPECT_EQ(process.ui.boxes[0].text, expected[0]);
}

TEST_F(UpDownFileReaderTest, AnAttributeInADeleteIsNotSupported) {
  ASSERT_TRUE(Analyze(Message(
      "<DELETE><Attribute><Source>A</Source><Value><Source>V</Source></Value></Attribute>"
      "</DELETE>")));
  EXPECT_EQ(file.AddAttributesCol().Count(), 0);
  const std::vector<std::string> expected = {
      "DELETE bei <attribute> nicht unterstützt.",
      "Knoten konnte nicht ausgewertet werden:syncbody>delete"};
  EXPECT_EQ(process.log.lines, expected);
}

TEST_F(UpDownFileReaderTest, AnAddedAttributeWithValuesIsKept) {
  ASSERT_TRUE(Analyze(Message(
      "<Add><CmdID>3</CmdID><Attribute><Source>ATT-1</Source><Title>Behandlungsart</Title>"
      "<Value><Source>V-1</Source><Title>Erstuntersuchung</Title></Value>"
      "<Value><Source>V-2</Source><Title>Kontrolle</Title></Value></Attribute></Add>")));
  ASSERT_EQ(file.AddAttributesCol().Count(), 1);
  const auto item = file.AddAttributesCol().Item(1);
  EXPECT_EQ(item->CmdID, 3);
  EXPECT_EQ(item->AAttribute->Title, "Behandlungsart");
  ASSERT_EQ(item->AAttribute->Values.Count(), 2);
  EXPECT_EQ(item->AAttribute->Values.Item(2)->Title, "Kontrolle");
}

TEST_F(UpDownFileReaderTest, AnAttributeWithoutValuesIsDroppedSilentlyButTheCommandIsUnread) {
  ASSERT_TRUE(Analyze(Message("<Add><Attribute><Source>ATT-1</Source></Attribute></Add>")));
  EXPECT_EQ(file.AddAttributesCol().Count(), 0);
  const std::vector<std::string> expected = {
      "Knoten konnte nicht ausgewertet werden:syncbody>add"};
  EXPECT_EQ(process.log.lines, expected);
}

TEST_F(UpDownFileReaderTest, AddedAttributesSurviveTheNextAnalysisOtherCollectionsDoNot) {
  ASSERT_TRUE(Analyze(Message(
      "<Add><Attribute><Source>A</Source><Value><Source>V</Source></Value></Attribute></Add>"
      "<Add><VEvent><Source>ZV-1</Source></VEvent></Add>")));
  ASSERT_TRUE(Analyze(Message(
      "<Add><Attribute><Source>B</Source><Value><Source>W</Source></Value></Attribute></Add>")));
  EXPECT_EQ(file.AddAttributesCol().Count(), 2);
  EXPECT_EQ(file.AddTerminCol().Count(), 0);
  file.ReleaseAddAttributesCol();
  EXPECT_EQ(file.AddAttributesCol().Count(), 0);
}

TEST_F(UpDownFileReaderTest, UnknownNodesOfCommandsAppointmentsAndCustomers) {
  ASSERT_TRUE(Analyze(Message(
      "<Add><Meta/><VEvent><Source>x</Source><Room>3</Room>"
      "<Customer><Fax>1</Fax></Customer></VEvent></Add><Sync/>")));
  const std::vector<std::string> expected = {
      "Unbekannter Knoten: add>meta", "Unbekannter Knoten (VEvent): vevent>room",
      "Unbekannter Knoten (VEvent): customer>fax", "Unbekannter Knoten: syncbody>sync"};
  EXPECT_EQ(process.log.lines, expected);
  EXPECT_EQ(process.ui.boxes.size(), 4u);
  EXPECT_EQ(file.AddTerminCol().Count(), 1);
}

TEST_F(UpDownFileReaderTest, UnreadableCalendarAndAttributeOfAnAppointment) {
  ASSERT_TRUE(Analyze(Message(
      "<Add><VEvent><Source>x</Source><Calendar/><Attribute/></VEvent></Add>")));
  const std::vector<std::string> expected = {"'Calendar' konnte nicht gelesen werden.",
                                             "'Attribute' konnte nicht gelesen werden."};
  EXPECT_EQ(process.log.lines, expected);
  EXPECT_EQ(file.AddTerminCol().Count(), 1);
}

TEST_F(UpDownFileReaderTest, ACommandWithoutPayloadCannotBeEvaluated) {
  ASSERT_TRUE(Analyze(Message("<Add><CmdID>1</CmdID></Add>")));
  const std::vector<std::string> expected = {
      "Knoten konnte nicht ausgewertet werden:syncbody>add"};
  EXPECT_EQ(process.log.lines, expected);
}

TEST_F(UpDownFileReaderTest, AGetForOpeningTimesIsRecordedWithItsNumber) {
  ASSERT_TRUE(Analyze(Message("<Get><CmdID>9</CmdID><openingtime/></Get>")));
  EXPECT_TRUE(file.OpeningTimeRequested());
  EXPECT_EQ(file.OpeningTimeCmdID(), 9);
  EXPECT_TRUE(process.log.lines.empty());
  ASSERT_TRUE(Analyze(Message("<Final/>")));
  EXPECT_FALSE(file.OpeningTimeRequested());
}

TEST_F(UpDownFileReaderTest, AGetForSomethingElseCannotBeEvaluated) {
  ASSERT_TRUE(Analyze(Message("<Get><CmdID>9</CmdID><Item/></Get>")));
  EXPECT_FALSE(file.OpeningTimeRequested());
  const std::vector<std::string> expected = {
      "Unbekannter Knoten: get>item", "Knoten konnte nicht ausgewertet werden:syncbody>get"};
  EXPECT_EQ(process.log.lines, expected);
}

TEST_F(UpDownFileReaderTest, TextIsTrimmedAndEntitiesDecoded) {
  ASSERT_TRUE(Analyze(Message(
      "<Add><VEvent><Source>\n  ZV-1\n</Source><Comment>a &lt;b&gt; &amp; &#228;"
      "<![CDATA[ <c> ]]></Comment></VEvent></Add>")));
  ASSERT_EQ(file.AddTerminCol().Count(), 1);
  EXPECT_EQ(file.AddTerminCol().Item(1)->Termin->Source, "ZV-1");
  EXPECT_EQ(file.AddTerminCol().Item(1)->Termin->Comment, "a <b> & \xC3\xA4 <c>");
}

TEST_F(UpDownFileReaderTest, AnIsoLatinFileIsReadAsItsEncodingSays) {
  ASSERT_TRUE(Analyze("<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><SyncML><SyncBody>"
                      "<Add><VEvent><Comment>M\xFCller</Comment></VEvent></Add>"
                      "</SyncBody></SyncML>"));
  EXPECT_EQ(file.AddTerminCol().Item(1)->Termin->Comment, "M\xC3\xBCller");
}

TEST_F(UpDownFileReaderTest, AnOverflowingNumberEndsTheReadingWithAnErrorReport) {
  EXPECT_FALSE(Analyze("<SyncML><SyncHdr><MsgID>99999999999</MsgID></SyncHdr></SyncML>"));
  ASSERT_EQ(process.log.lines.size(), 1u);
  EXPECT_EQ(process.log.lines[0],
            "(MAIN) --> ERROR: 6/Overflow / Modul=clZVUpDownFile / Proc=AnalyzeDownFile / "
            "Details=File=" +
                path);
}

TEST_F(UpDownFileReaderTest, ThousandsOfUnknownElementsShowEachTextOnceAndLogEveryOne) {
  std::string body;
  for (int i = 0; i < 2000; ++i) body += "<Neu>" + std::to_string(i) + "</Neu>";
  body += "<Anders/><Neu/>";
  EXPECT_TRUE(Analyze(Message(body)));
  int logged = 0;
  for (const std::string& line : process.log.lines) {
    if (line == "Unbekannter Knoten: syncbody>neu") ++logged;
  }
  EXPECT_EQ(logged, 2001);
  ASSERT_EQ(process.ui.boxes.size(), 2u);
  EXPECT_EQ(process.ui.boxes[0].text, "Unbekannter Knoten: syncbody>neu");
  EXPECT_EQ(process.ui.boxes[1].text, "Unbekannter Knoten: syncbody>anders");
  // The next message shows its reports again.
  EXPECT_TRUE(Analyze(Message("<Neu/>")));
  EXPECT_EQ(process.ui.boxes.size(), 3u);
}

}  // namespace
}  // namespace kdzv
