// Writing the component's messages: numbering, order of the command kinds,
// the text steps, and the bytes of the file.
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "message/message_text.h"
#include "message/up_down_file.h"
#include "platform/platform.h"
#include "support/failing_writer.h"
#include "support/fakes.h"
#include "support/golden.h"
#include "support/item_reports.h"
#include "util/windows_1252.h"

namespace kdzv {
namespace {

class UpDownFileWriterTest : public ::testing::Test {
 protected:
  UpDownFileWriterTest()
      : file(System().xml_parser, System().file_system, "www.zentavo.de") {
    process.ActivateLog();
    path = dir.File("HX17_3.xml");
  }

  // The header of message 3 of session 17, as the component fills it.
  void FillHeader() {
    clZVSyncHdr& header = file.SyncHdr();
    header.VerDTD = "1.0";
    header.VerProto = "SyncZV/1.0";
    header.SessionID = "17";
    header.MsgID = 3;
    header.Source.LocName = "Halvex";
    header.Target.LocName = "Zentavo";
  }

  static std::shared_ptr<clZVTermin> Appointment(const std::string& source,
                                                  const std::string& comment) {
    auto termin = std::make_shared<clZVTermin>();
    termin->Source = source;
    termin->Comment = comment;
    termin->SetDTStart("20240701T060000Z");
    termin->SetDTEnd("20240701T063000Z");
    return termin;
  }

  std::string Written() const { return test::ReadFileBytes(path); }

  test::ScopedProcess process;
  test::TempDir dir;
  std::string path;
  clZVUpDownFile file;
};

TEST_F(UpDownFileWriterTest, HeaderOnly) {
  FillHeader();
  ASSERT_TRUE(file.CreateUpFile(path));
  EXPECT_EQ(Written(), test::Golden("messages/header_only.xml"));
  EXPECT_TRUE(process.log.lines.empty());
}

TEST_F(UpDownFileWriterTest, TheOpeningMessageWithItsAlert) {
  FillHeader();
  file.SyncHdr().MsgID = 1;
  file.AlertCol().Add("Session Start", 1, kAlertSessionStart, "");
  ASSERT_TRUE(file.CreateUpFile(path));
  EXPECT_EQ(Written(), test::Golden("messages/session_start.xml"));
}

TEST_F(UpDownFileWriterTest, StatusesAreNumberedFirstThenTheAdd) {
  FillHeader();
  file.StatusCol().Add("Add", "", "4", "2", "201", "");
  file.StatusCol().Add("Delete", "", "5", "2", "211", "");
  file.AddTerminCol().Add(*Appointment("HX-1", "Kontrolle"), 99);
  ASSERT_TRUE(file.CreateUpFile(path));
  EXPECT_EQ(file.StatusCol().Item(1)->CmdID, "1");
  EXPECT_EQ(file.StatusCol().Item(2)->CmdID, "2");
  EXPECT_EQ(file.AddTerminCol().Item(1)->CmdID, 3);
  EXPECT_EQ(Written(), test::Golden("messages/statuses_and_add.xml"));
}

TEST_F(UpDownFileWriterTest, EveryKindInItsOrderNumberedWithoutGaps) {
  FillHeader();
  file.AlertCol().Add("Session End", 0, 0, "");
  file.ReplaceOpeningTimeCol().Add(0, "2", "CAL-2", "");
  file.AddAttributesCol();  // created, empty: written as nothing
  file.MapCalendarCol().Add(0, "2", "CAL-2");
  auto replaced = Appointment("HX-3", "");
  replaced->Target = "ZV-3";
  replaced->Status = "Booked";
  file.ReplaceTerminCol().Add(replaced, 0, true);
  clZVTerminKey key;
  key.TerminKeySource = "HX-4";
  key.TerminKeyTarget = "ZV-4";
  file.MapTerminCol().Add(key, 0);
  key.TerminKeySource = "HX-5";
  key.TerminKeyTarget = "";
  file.DeleteTerminCol().Add(key, 0);
  file.AddTerminCol().Add(*Appointment("HX-6", ""), 0);
  file.StatusCol().Add("SyncHdr", "", "0", "2", "200", "Session End");
  ASSERT_TRUE(file.CreateUpFile(path));
  EXPECT_EQ(file.StatusCol().Item(1)->CmdID, "1");
  EXPECT_EQ(file.AddTerminCol().Item(1)->CmdID, 2);
  EXPECT_EQ(file.DeleteTerminCol().Item(1)->CmdID, 3);
  EXPECT_EQ(file.MapTerminCol().Item(1)->CmdID, 4);
  EXPECT_EQ(file.ReplaceTerminCol().Item(1)->CmdID, 5);
  EXPECT_EQ(file.MapCalendarCol().Item(1)->CmdID, 6);
  EXPECT_EQ(file.ReplaceOpeningTimeCol().Item(1)->CmdID, 7);
  EXPECT_EQ(file.AlertCol().Item(1)->CmdID, 8);
  EXPECT_EQ(Written(), test::Golden("messages/every_kind.xml"));
}

TEST_F(UpDownFileWriterTest, GermanLettersAreTransliterated) {
  FillHeader();
  file.AddTerminCol().Add(*Appointment("HX-1", "M\xC3\xBCller, \xC3\x84RZTE, Stra\xC3\x9F" "e"), 0);
  ASSERT_TRUE(file.CreateUpFile(path));
  const std::string text = Written();
  EXPECT_NE(text.find("<Comment>Mueller, aeRZTE, Strasse</Comment>"), std::string::npos) << text;
  EXPECT_EQ(text, test::Golden("messages/transliterated.xml"));
}

TEST_F(UpDownFileWriterTest, OtherLettersAreWrittenInTheSingleByteCodePage) {
  FillHeader();
  file.AddTerminCol().Add(*Appointment("HX-1", "Caf\xC3\xA9 \xE2\x82\xAC \xC4\x81"), 0);
  ASSERT_TRUE(file.CreateUpFile(path));
  const std::string text = Written();
  EXPECT_NE(text.find("<Comment>Caf\xE9 \x80 ?</Comment>"), std::string::npos) << text;
  EXPECT_EQ(text.find("\xC3\xA9"), std::string::npos);
  EXPECT_EQ(text, test::Golden("messages/code_page.xml"));
}

// A message of several mebibytes is made and written in blocks and pieces:
// its bytes are those of the whole document's text in the code page.
TEST_F(UpDownFileWriterTest, AMessageOfSeveralMebibytesIsTheWholeDocumentsText) {
  FillHeader();
  file.StatusCol().Add("Add", "", "4", "2", "201", "");
  for (int i = 0; i < 6000; ++i) {
    file.AddTerminCol().Add(*Appointment("HX-" + std::to_string(i),
                                         std::string(400, 'x') + " Gr\xC3\xBC\xC3\x9F" "e \xE2\x82\xAC " +
                                             std::to_string(i)),
                            0);
  }
  ASSERT_TRUE(file.CreateUpFile(path));

  // The whole document, written at once and read back as a tree.
  XmlWriter whole;
  const XmlWriter::Element root = whole.Outside().AppendChild("SyncML");
  ASSERT_TRUE(file.SyncHdr().CreateXMLSource(root));
  const XmlWriter::Element body = root.AppendChild("SyncBody");
  EXPECT_EQ(file.StatusCol().CreateXMLSource(body), "");
  ASSERT_TRUE(file.AddTerminCol().CreateXMLSource(body));
  const std::optional<XmlElement> tree = System().xml_parser.ParseBytes(test::WrittenXml(whole));
  ASSERT_TRUE(tree.has_value());
  const std::string expected = Utf8ToWindows1252(ComposeMessageText(*tree, "www.zentavo.de"));
  ASSERT_GT(expected.size(), size_t{3} << 20);
  const std::string written = Written();
  EXPECT_EQ(written.size(), expected.size());
  EXPECT_TRUE(written == expected);  // not printed: megabytes
}

TEST_F(UpDownFileWriterTest, MarkupCharactersInTextAreEscaped) {
  FillHeader();
  file.AddTerminCol().Add(*Appointment("HX-1", "<b> & \"c\""), 0);
  ASSERT_TRUE(file.CreateUpFile(path));
  EXPECT_NE(Written().find("<Comment>&lt;b&gt; &amp; \"c\"</Comment>"), std::string::npos);
  EXPECT_EQ(Written(), test::Golden("messages/escaped.xml"));
}

TEST_F(UpDownFileWriterTest, AnExistingFileIsReplaced) {
  test::WriteFileBytes(path, std::string(10000, 'x'));
  FillHeader();
  ASSERT_TRUE(file.CreateUpFile(path));
  EXPECT_EQ(Written(), test::Golden("messages/header_only.xml"));
}

TEST_F(UpDownFileWriterTest, TheNamespaceHostIsTheConfiguredOne) {
  clZVUpDownFile other(System().xml_parser, System().file_system, "staging.example");
  ASSERT_TRUE(other.CreateUpFile(path));
  EXPECT_EQ(Written().rfind("<?xml version=\"1.0\" encoding=\"utf-8\"?><SyncML xmlns=\"http://"
                            "staging.example/WebServices/ZVSync/xml/SyncZV.xsd\"><SyncHdr>",
                            0),
            0u);
}

TEST_F(UpDownFileWriterTest, AFailingHeaderWritesNoFile) {
  file.SetWriterFactory([] { return std::make_unique<test::FailingWriter>("VerProto"); });
  FillHeader();
  EXPECT_FALSE(file.CreateUpFile(path));
  EXPECT_TRUE(test::FolderEntries(dir.path()).empty());
  ASSERT_EQ(process.log.lines.size(), 2u);
  EXPECT_EQ(process.log.lines[0],
            "(MAIN) --> ERROR: 5/Invalid procedure call or argument / Modul=clZVSyncHdr / "
            "Proc=CreateXMLSource / Details=");
  EXPECT_EQ(process.log.lines[1], "XML-Daten für Knoten 'SyncHdr' konnten nicht erstellt werden.");
  ASSERT_EQ(process.ui.boxes.size(), 1u);
  EXPECT_EQ(process.ui.boxes[0].text, process.log.lines[1]);
}

TEST_F(UpDownFileWriterTest, AFailingCollectionIsReportedAndTheFileStillWritten) {
  file.SetWriterFactory([] { return std::make_unique<test::FailingWriter>("Status"); });
  FillHeader();
  file.StatusCol().Add("Add", "", "4", "2", "201", "");
  file.AlertCol().Add("Session End", 0, 0, "");
  ASSERT_TRUE(file.CreateUpFile(path));
  const std::string text = Written();
  EXPECT_EQ(text.find("<Status>"), std::string::npos);
  EXPECT_NE(text.find("<Alert><CmdID>2</CmdID><Data>0</Data><Text>Session End</Text></Alert>"),
            std::string::npos)
      << text;
  EXPECT_FALSE(process.log.lines.empty());
}

// The second appointment's customer fails at its phone: the file keeps that
// customer's fields up to there, closed, and everything after it goes into
// the appointment again, byte for byte as a tree of the same elements.
TEST_F(UpDownFileWriterTest, AnItemThatFailsPartwayLeavesItsElementClosedInTheFile) {
  file.SetWriterFactory([] { return std::make_unique<test::FailingWriter>("Phone", 2); });
  FillHeader();
  for (const char* source : {"HX-1", "HX-2"}) {
    auto termin = Appointment(source, "Kontrolle");
    termin->Customer.LastName = "M\xC3\xBCller";
    termin->Customer.Phone = "0228 1";
    auto attribute = std::make_shared<clZVAttribute>();
    attribute->Source = "ATT-1";
    attribute->Title = "Behandlungsart";
    attribute->Value->Source = "V-1";
    termin->Attributes.Add(attribute);
    file.AddTerminCol().Add(*termin, 0);
  }
  ASSERT_TRUE(file.CreateUpFile(path));
  EXPECT_EQ(Written(), test::Golden("messages/customer_fails_partway.xml"));
  EXPECT_EQ(process.log.lines,
            (std::vector<std::string>{
                "(MAIN) --> ERROR: 5/Invalid procedure call or argument / Modul=clZVCustomer / "
                "Proc=CreateXMLSource / Details=",
                "CreateXMLSource fehlgeschlagen für SubItem 'Customer'.",
                "XML-Daten für Subitem 'Termin' konnten nicht erstellt werden.",
                "CreateXMLSource fehlgeschlagen für SubItem 'clZVAddReplaceItem'."}));
}

TEST_F(UpDownFileWriterTest, AFileThatCannotBeWrittenIsAnErrorReport) {
  const std::string missing = dir.File("missing") + "/HX17_3.xml";
  FillHeader();
  EXPECT_FALSE(file.CreateUpFile(missing));
  ASSERT_EQ(process.log.lines.size(), 1u);
  EXPECT_EQ(process.log.lines[0].rfind("(MAIN) --> ERROR: 76/Path not found / "
                                       "Modul=clZVUpDownFile / Proc=CreateUpFile / Details=File=",
                                       0),
            0u)
      << process.log.lines[0];
}

TEST_F(UpDownFileWriterTest, WhatIsWrittenReadsBack) {
  FillHeader();
  auto termin = Appointment("HX-1", "Kontrolle");
  termin->Status = "Booked";
  termin->Customer.LastName = "Muster";
  file.AddTerminCol().Add(*termin, 0);
  ASSERT_TRUE(file.CreateUpFile(path));
  clZVUpDownFile reader(System().xml_parser, System().file_system, "www.zentavo.de");
  ASSERT_TRUE(reader.AnalyzeDownFile(path));
  EXPECT_EQ(reader.SyncHdr().MsgID, 3);
  ASSERT_EQ(reader.AddTerminCol().Count(), 1);
  EXPECT_EQ(reader.AddTerminCol().Item(1)->Termin->Source, "HX-1");
  EXPECT_EQ(reader.AddTerminCol().Item(1)->Termin->DTStart(), "20240701T060000Z");
  EXPECT_EQ(reader.AddTerminCol().Item(1)->Termin->Customer.LastName, "Muster");
}

}  // namespace
}  // namespace kdzv
