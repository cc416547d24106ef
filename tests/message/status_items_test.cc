#include "message/status_items.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "support/failing_document.h"
#include "support/element_and_node.h"
#include "support/fakes.h"
#include "support/golden.h"
#include "support/item_reports.h"

namespace kdzv {
namespace {

using test::ChildNames;
using test::CreateElementErrorLine;
using test::FailingDocument;
using test::Golden;
using test::OnlyChildXml;

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
  XmlDocument document;
  XmlElement body("SyncBody");
  clZVStatus status;
  status.Cmd = "Add";
  status.CmdID = "2";
  status.CmdRef = "4";
  status.MsgRef = "3";
  status.Data = "201";
  EXPECT_EQ(status.CreateXMLSource(document, body), "");
  EXPECT_EQ(OnlyChildXml(body), Golden("items/status.xml"));
}

TEST(StatusTest, EmptyFieldsAreWrittenAsEmptyElements) {
  test::ScopedProcess scoped;
  XmlDocument document;
  XmlElement body("SyncBody");
  EXPECT_EQ(clZVStatus().CreateXMLSource(document, body), "");
  EXPECT_EQ(OnlyChildXml(body), "<Status><Cmd/><CmdID/><CmdRef/><MsgRef/><Data/><Text/></Status>");
}

TEST(StatusTest, FailureIsReportedReturnedAndAppendsNothing) {
  test::ScopedProcess scoped;
  scoped.ActivateLog();
  FailingDocument document("MsgRef");
  XmlElement body("SyncBody");
  const std::string error = clZVStatus().CreateXMLSource(document, body);
  EXPECT_EQ(error, "5/Invalid procedure call or argument");
  EXPECT_EQ(scoped.log.lines,
            Names{CreateElementErrorLine("clZVStatus", "clZVStatus.CreateXMLSource")});
  EXPECT_TRUE(scoped.ui.boxes.empty());
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
  XmlDocument document;
  XmlElement body("SyncBody");
  clZVAlert alert;
  alert.CmdID = 1;
  alert.Data = kAlertSessionStart;
  alert.Text = "Session Start";
  EXPECT_EQ(alert.CreateXMLSource(document, body), "");
  EXPECT_EQ(OnlyChildXml(body), Golden("items/alert.xml"));
}

TEST(AlertTest, FailureIsReportedReturnedAndAppendsNothing) {
  test::ScopedProcess scoped;
  scoped.ActivateLog();
  FailingDocument document("Text");
  XmlElement body("SyncBody");
  EXPECT_EQ(clZVAlert().CreateXMLSource(document, body), "5/Invalid procedure call or argument");
  EXPECT_EQ(scoped.log.lines,
            Names{CreateElementErrorLine("clZVAlert", "clZVAlert.CreateXMLSource")});
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
  XmlDocument document;
  XmlElement body("SyncBody");
  EXPECT_EQ(clZVStatusCol().CreateXMLSource(document, body), "");
  EXPECT_EQ(clZVAlertCol().CreateXMLSource(document, body), "");
  EXPECT_TRUE(body.Children().empty());
}

TEST(StatusColTest, WritesItemsInOrder) {
  test::ScopedProcess scoped;
  XmlDocument document;
  XmlElement body("SyncBody");
  clZVStatusCol col;
  col.Add("SyncHdr", "1", "0", "1", "200", "");
  col.Add("Add", "2", "4", "1", "201", "");
  EXPECT_EQ(col.CreateXMLSource(document, body), "");
  EXPECT_EQ(ChildNames(body), (Names{"Status", "Status"}));
  EXPECT_EQ(body.Children()[0].Children()[0].OwnText(), "SyncHdr");
  EXPECT_EQ(body.Children()[1].Children()[0].OwnText(), "Add");
}

TEST(StatusColTest, FailingItemStopsAndReturnsTheCollectionText) {
  test::ScopedProcess scoped;
  scoped.ActivateLog();
  FailingDocument document("Status", 2);
  XmlElement body("SyncBody");
  clZVStatusCol col;
  for (int i = 1; i <= 3; ++i) col.Add("Add", std::to_string(i), "", "", "201", "");
  EXPECT_EQ(col.CreateXMLSource(document, body),
            "CreateXMLSource fehlgeschlagen für SubItem 'clZVStatus'.");
  ASSERT_EQ(body.Children().size(), 1u);
  EXPECT_EQ(body.Children()[0].Children()[1].OwnText(), "1");
  EXPECT_EQ(document.failures, 1);
  // The item's error report; the collection's text is returned, not shown.
  EXPECT_EQ(scoped.log.lines,
            Names{CreateElementErrorLine("clZVStatus", "clZVStatus.CreateXMLSource")});
  EXPECT_TRUE(scoped.ui.boxes.empty());
}

TEST(AlertColTest, FailingItemStopsAndReturnsTheCollectionText) {
  test::ScopedProcess scoped;
  scoped.ActivateLog();
  FailingDocument document("Alert", 2);
  XmlElement body("SyncBody");
  clZVAlertCol col;
  for (int32_t i = 1; i <= 3; ++i) col.Add("Session Start", i, kAlertSessionStart, "");
  EXPECT_EQ(col.CreateXMLSource(document, body),
            "CreateXMLSource fehlgeschlagen für SubItem 'clZVAlert'.");
  ASSERT_EQ(body.Children().size(), 1u);
  EXPECT_EQ(document.failures, 1);
  EXPECT_EQ(scoped.log.lines,
            Names{CreateElementErrorLine("clZVAlert", "clZVAlert.CreateXMLSource")});
}

}  // namespace
}  // namespace kdzv
