#include "message/status_items.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "support/element_and_node.h"
#include "support/failing_writer.h"
#include "support/fakes.h"
#include "support/golden.h"
#include "support/item_reports.h"

namespace kdzv {
namespace {

using test::ChildNames;
using test::CreateElementErrorLine;
using test::FailingWriter;
using test::Golden;
using test::WrittenInto;
using test::WrittenXml;

using Names = std::vector<std::string>;

test::ElementAndNode Element(std::string name, std::vector<std::pair<std::string, std::string>> children) {
  XmlElement element(std::move(name));
  for (auto& [child_name, text] : children) {
    XmlElement child(child_name);
    child.SetText(text);
    element.AppendChild(std::move(child));
  }
  return element;
}

// --- status: writing --------------------------------------------------------

TEST(StatusTest, WritesAllSixChildrenInOrder) {
  test::ScopedProcess scoped;
  XmlWriter writer;
  clZVStatus status;
  status.Cmd = "Add";
  status.CmdID = "2";
  status.CmdRef = "4";
  status.MsgRef = "3";
  status.Data = "201";
  EXPECT_EQ(status.CreateXMLSource(writer.Outside()), "");
  EXPECT_EQ(WrittenXml(writer), Golden("items/status.xml"));
}

TEST(StatusTest, EmptyFieldsAreWrittenAsEmptyElements) {
  test::ScopedProcess scoped;
  XmlWriter writer;
  EXPECT_EQ(clZVStatus().CreateXMLSource(writer.Outside()), "");
  EXPECT_EQ(WrittenXml(writer), "<Status><Cmd/><CmdID/><CmdRef/><MsgRef/><Data/><Text/></Status>");
}

TEST(StatusTest, FailureIsReportedReturnedAndAppendsNothing) {
  test::ScopedProcess scoped;
  scoped.ActivateLog();
  FailingWriter writer("MsgRef");
  const std::string error = clZVStatus().CreateXMLSource(writer.Outside());
  EXPECT_EQ(error, "5/Invalid procedure call or argument");
  EXPECT_EQ(scoped.log.lines,
            Names{CreateElementErrorLine("clZVStatus", "clZVStatus.CreateXMLSource")});
  EXPECT_TRUE(scoped.ui.boxes.empty());
  const XmlElement body = WrittenInto(writer, "SyncBody");
  EXPECT_TRUE(body.Children().empty());
}

// --- status: reading --------------------------------------------------------

TEST(StatusTest, ReadsEveryField) {
  test::ScopedProcess scoped;
  scoped.ActivateLog();
  clZVStatus status;
  EXPECT_EQ(status.ReadFromXMLNode(Element("Status", {{"Cmd", "SyncHdr"},
                                                      {"CmdID", "1"},
                                                      {"MsgRef", "4"},
                                                      {"CmdRef", "0"},
                                                      {"Data", "Session End"},
                                                      {"Text", "bye"}})),
            "");
  EXPECT_EQ(status.Cmd, "SyncHdr");
  EXPECT_EQ(status.CmdID, "1");
  EXPECT_EQ(status.CmdRef, "0");
  EXPECT_EQ(status.MsgRef, "4");
  EXPECT_EQ(status.Data, "Session End");
  EXPECT_EQ(status.Text, "bye");
  EXPECT_TRUE(scoped.log.lines.empty());
}

TEST(StatusTest, UpperCaseChildrenReadLikeLowerCase) {
  test::ScopedProcess scoped;
  clZVStatus upper;
  clZVStatus lower;
  upper.ReadFromXMLNode(Element("STATUS", {{"CMD", "Add"},
                                           {"CMDID", "7"},
                                           {"CMDREF", "2"},
                                           {"MSGREF", "3"},
                                           {"DATA", "200"},
                                           {"TEXT", "t"}}));
  lower.ReadFromXMLNode(Element("status", {{"cmd", "Add"},
                                           {"cmdid", "7"},
                                           {"cmdref", "2"},
                                           {"msgref", "3"},
                                           {"data", "200"},
                                           {"text", "t"}}));
  EXPECT_EQ(upper.CmdID, "7");
  EXPECT_EQ(upper.Cmd, lower.Cmd);
  EXPECT_EQ(upper.CmdID, lower.CmdID);
  EXPECT_EQ(upper.CmdRef, lower.CmdRef);
  EXPECT_EQ(upper.MsgRef, lower.MsgRef);
  EXPECT_EQ(upper.Data, lower.Data);
  EXPECT_EQ(upper.Text, lower.Text);
}

TEST(StatusTest, ExtraChildIsOneLogLineAndNoMessageBox) {
  test::ScopedProcess scoped;
  scoped.ActivateLog();
  clZVStatus status;
  EXPECT_EQ(
      status.ReadFromXMLNode(Element("Status", {{"Cmd", "Add"}, {"Item", "x"}, {"Data", "201"}})),
      "");
  EXPECT_EQ(scoped.log.lines, Names{"Unbekannter Knoten (Status): item"});
  EXPECT_TRUE(scoped.ui.boxes.empty());
  EXPECT_EQ(status.Cmd, "Add");
  EXPECT_EQ(status.Data, "201");
}

TEST(StatusTest, LaterChildOverwritesEarlier) {
  test::ScopedProcess scoped;
  clZVStatus status;
  status.ReadFromXMLNode(Element("Status", {{"Data", "200"}, {"data", "211"}}));
  EXPECT_EQ(status.Data, "211");
}

// --- alert ------------------------------------------------------------------

TEST(AlertTest, WritesCmdIdDataAndText) {
  test::ScopedProcess scoped;
  XmlWriter writer;
  clZVAlert alert;
  alert.CmdID = 1;
  alert.Data = kAlertSessionStart;
  alert.Text = "Session Start";
  EXPECT_EQ(alert.CreateXMLSource(writer.Outside()), "");
  EXPECT_EQ(WrittenXml(writer), Golden("items/alert.xml"));
}

TEST(AlertTest, FailureIsReportedReturnedAndAppendsNothing) {
  test::ScopedProcess scoped;
  scoped.ActivateLog();
  FailingWriter writer("Text");
  EXPECT_EQ(clZVAlert().CreateXMLSource(writer.Outside()), "5/Invalid procedure call or argument");
  EXPECT_EQ(scoped.log.lines,
            Names{CreateElementErrorLine("clZVAlert", "clZVAlert.CreateXMLSource")});
  const XmlElement body = WrittenInto(writer, "SyncBody");
  EXPECT_TRUE(body.Children().empty());
}

TEST(AlertTest, ReadsNumbersAndTextInAnyCase) {
  test::ScopedProcess scoped;
  scoped.ActivateLog();
  clZVAlert alert;
  EXPECT_EQ(alert.ReadFromXMLNode(
                Element("Alert", {{"CMDID", "3"}, {"data", " 201 "}, {"Text", "Slow Sync"}})),
            "");
  EXPECT_EQ(alert.CmdID, 3);
  EXPECT_EQ(alert.Data, kAlertSlowSync);
  EXPECT_EQ(alert.Text, "Slow Sync");
  EXPECT_TRUE(scoped.log.lines.empty());
}

TEST(AlertTest, UnknownChildIsOneLogLine) {
  test::ScopedProcess scoped;
  scoped.ActivateLog();
  clZVAlert alert;
  EXPECT_EQ(alert.ReadFromXMLNode(Element("Alert", {{"Item", ""}, {"Text", "Session End"}})), "");
  EXPECT_EQ(scoped.log.lines, Names{"Unbekannter Knoten (alert): item"});
  EXPECT_TRUE(scoped.ui.boxes.empty());
  EXPECT_EQ(alert.Text, "Session End");
}

TEST(AlertTest, NonNumericCodeIsATypeMismatch) {
  test::ScopedProcess scoped;
  scoped.ActivateLog();
  clZVAlert alert;
  EXPECT_EQ(alert.ReadFromXMLNode(Element("Alert", {{"Data", "abc"}, {"Text", "x"}})),
            "13/Type mismatch");
  EXPECT_EQ(scoped.log.lines, Names{"(MAIN) --> ERROR: 13/Type mismatch / Modul=clZVAlert / "
                                    "Proc=clZVAlert.ReadFromXMLNode / Details="});
  EXPECT_EQ(alert.Text, "");
}

// --- collections ------------------------------------------------------------

TEST(StatusColTest, AddTakesTheFields) {
  clZVStatusCol col;
  const auto status = col.Add("Replace", "1", "2", "3", "200", "ok", "key");
  EXPECT_EQ(status->Cmd, "Replace");
  EXPECT_EQ(status->CmdID, "1");
  EXPECT_EQ(status->CmdRef, "2");
  EXPECT_EQ(status->MsgRef, "3");
  EXPECT_EQ(status->Data, "200");
  EXPECT_EQ(status->Text, "ok");
  EXPECT_EQ(col.Item("KEY"), status);
}

TEST(AlertColTest, AddTakesTextNumberAndCode) {
  clZVAlertCol col;
  const auto alert = col.Add("Session Start", 4, kAlertSessionStart, "ignored");
  EXPECT_EQ(alert->Text, "Session Start");
  EXPECT_EQ(alert->CmdID, 4);
  EXPECT_EQ(alert->Data, 206);
  EXPECT_EQ(col.Count(), 1);
}

TEST(StatusColTest, EmptyCollectionWritesNothingAndReturnsEmptyText) {
  test::ScopedProcess scoped;
  XmlWriter writer;
  EXPECT_EQ(clZVStatusCol().CreateXMLSource(writer.Outside()), "");
  EXPECT_EQ(clZVAlertCol().CreateXMLSource(writer.Outside()), "");
  const XmlElement body = WrittenInto(writer, "SyncBody");
  EXPECT_TRUE(body.Children().empty());
}

TEST(StatusColTest, WritesItemsInOrder) {
  test::ScopedProcess scoped;
  XmlWriter writer;
  clZVStatusCol col;
  col.Add("SyncHdr", "1", "0", "1", "200", "");
  col.Add("Add", "2", "4", "1", "201", "");
  EXPECT_EQ(col.CreateXMLSource(writer.Outside()), "");
  const XmlElement body = WrittenInto(writer, "SyncBody");
  EXPECT_EQ(ChildNames(body), (Names{"Status", "Status"}));
  EXPECT_EQ(body.Children()[0].Children()[0].OwnText(), "SyncHdr");
  EXPECT_EQ(body.Children()[1].Children()[0].OwnText(), "Add");
}

TEST(StatusColTest, FailingItemStopsAndReturnsTheCollectionText) {
  test::ScopedProcess scoped;
  scoped.ActivateLog();
  FailingWriter writer("Status", 2);
  clZVStatusCol col;
  for (int i = 1; i <= 3; ++i) col.Add("Add", std::to_string(i), "", "", "201", "");
  EXPECT_EQ(col.CreateXMLSource(writer.Outside()),
            "CreateXMLSource fehlgeschlagen für SubItem 'clZVStatus'.");
  const XmlElement body = WrittenInto(writer, "SyncBody");
  ASSERT_EQ(body.Children().size(), 1u);
  EXPECT_EQ(body.Children()[0].Children()[1].OwnText(), "1");
  EXPECT_EQ(writer.failures, 1);
  // The item's error report; the collection's text is returned, not shown.
  EXPECT_EQ(scoped.log.lines,
            Names{CreateElementErrorLine("clZVStatus", "clZVStatus.CreateXMLSource")});
  EXPECT_TRUE(scoped.ui.boxes.empty());
}

TEST(AlertColTest, FailingItemStopsAndReturnsTheCollectionText) {
  test::ScopedProcess scoped;
  scoped.ActivateLog();
  FailingWriter writer("Alert", 2);
  clZVAlertCol col;
  for (int32_t i = 1; i <= 3; ++i) col.Add("Session Start", i, kAlertSessionStart, "");
  EXPECT_EQ(col.CreateXMLSource(writer.Outside()),
            "CreateXMLSource fehlgeschlagen für SubItem 'clZVAlert'.");
  const XmlElement body = WrittenInto(writer, "SyncBody");
  ASSERT_EQ(body.Children().size(), 1u);
  EXPECT_EQ(writer.failures, 1);
  EXPECT_EQ(scoped.log.lines,
            Names{CreateElementErrorLine("clZVAlert", "clZVAlert.CreateXMLSource")});
}

}  // namespace
}  // namespace kdzv
