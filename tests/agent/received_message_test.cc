#include "agent/received_message.h"

#include <gtest/gtest.h>

#include "agent/agent_xml.h"

namespace kdzv::agent {
namespace {

XmlElement Doc(const std::string& xml) {
  XmlProblem problem;
  std::optional<XmlElement> root = ParseAgentXml(xml, problem);
  EXPECT_TRUE(root.has_value()) << problem.reason;
  return root.value_or(XmlElement{});
}

const char* kAnswer =
    "<SyncML><SyncHdr><SessionID>17</SessionID><MsgID>3</MsgID></SyncHdr><SyncBody>"
    "<Status><Cmd>Add</Cmd><CmdID>1</CmdID><CmdRef>4</CmdRef><MsgRef>2</MsgRef><Data>201</Data>"
    "<Text/></Status>"
    "<Status><Cmd>Add</Cmd><CmdID>2</CmdID><CmdRef>5</CmdRef><MsgRef>2</MsgRef><Data>201</Data>"
    "<Text/></Status>"
    "<Map><CmdID>3</CmdID><VEvent><Source>1</Source><Target>ZV-1</Target></VEvent></Map>"
    "<Replace><CmdID>4</CmdID><VEvent><Source>1</Source><Target>ZV-1</Target>"
    "<Status>Booked</Status></VEvent></Replace>"
    "<Map><CmdID>5</CmdID><Calendar><Source>1</Source><Target>CAL-1</Target></Calendar></Map>"
    "<Map><CmdID>6</CmdID><Attribute_Value><Source>1</Source><Target>V-1</Target>"
    "<Title>Erstuntersuchung</Title></Attribute_Value></Map>"
    "<Alert><CmdID>7</CmdID><Data>206</Data><Text>Session Start</Text></Alert>"
    "<Final/></SyncBody></SyncML>";

Expectation Text(const std::string& path, const std::string& text) {
  std::string error;
  Expectation e;
  e.kind = Expectation::Kind::kText;
  e.path = *ParseMessagePath(path, error);
  e.text = text;
  return e;
}

Expectation Count(const std::string& path, int count) {
  std::string error;
  Expectation e;
  e.kind = Expectation::Kind::kCount;
  e.path = *ParseMessagePath(path, error);
  e.count = count;
  return e;
}

Expectation None(const std::string& path) {
  std::string error;
  Expectation e;
  e.kind = Expectation::Kind::kNone;
  e.path = *ParseMessagePath(path, error);
  return e;
}

const Placeholders kValues{"17", "HX17_", 3};

TEST(ReceivedMessageTest, CommandKeys) {
  const XmlElement root = Doc(kAnswer);
  EXPECT_EQ(
      CommandKeys(root),
      (std::vector<std::string>{"Status Add 201", "Status Add 201", "Map VEvent", "Replace VEvent",
                                "Map Calendar", "Map Attribute_Value", "Alert 206", "Final"}));
}

TEST(ReceivedMessageTest, Summary) {
  EXPECT_EQ(SummarizeCommands(CommandKeys(Doc(kAnswer))),
            "Status Add 201 x2, Map VEvent, Replace VEvent, Map Calendar, Map Attribute_Value, "
            "Alert 206, Final");
  EXPECT_EQ(SummarizeCommands({}), "no commands");
  EXPECT_EQ(SummarizeCommands({"A", "B", "A"}), "A x2, B");
}

TEST(ReceivedMessageTest, HeaderText) {
  const XmlElement root = Doc(kAnswer);
  EXPECT_EQ(HeaderText(root, "SessionID"), "17");
  EXPECT_EQ(HeaderText(root, "msgid"), "3");
  EXPECT_EQ(HeaderText(root, "VerDTD"), "");
}

TEST(ReceivedMessageTest, TextExpectations) {
  const XmlElement root = Doc(kAnswer);
  CheckResult r = CheckExpectation(Text("SyncBody/Alert/Data", "206"), &root, kValues);
  EXPECT_TRUE(r.ok);
  EXPECT_EQ(r.text, "SyncBody/Alert/Data = 206");
  // The first match counts.
  r = CheckExpectation(Text("SyncBody/Status/CmdRef", "5"), &root, kValues);
  EXPECT_FALSE(r.ok);
  EXPECT_EQ(r.text, "SyncBody/Status/CmdRef = 5: got \"4\"");
  r = CheckExpectation(Text("SyncBody/Status[CmdRef=5]/CmdID", "2"), &root, kValues);
  EXPECT_TRUE(r.ok);
  r = CheckExpectation(Text("SyncBody/Delete", "x"), &root, kValues);
  EXPECT_FALSE(r.ok);
  EXPECT_EQ(r.text, "SyncBody/Delete = x: not found");
  r = CheckExpectation(Text("SyncBody/Status/Text", ""), &root, kValues);
  EXPECT_TRUE(r.ok);
  EXPECT_EQ(r.text, "SyncBody/Status/Text =");
}

TEST(ReceivedMessageTest, PlaceholdersAreFilled) {
  const XmlElement root = Doc(kAnswer);
  CheckResult r = CheckExpectation(Text("SyncHdr/SessionID", "{session}"), &root, kValues);
  EXPECT_TRUE(r.ok);
  EXPECT_EQ(r.text, "SyncHdr/SessionID = 17");
  r = CheckExpectation(Count("SyncBody/Status[MsgRef={last}]", 0), &root, kValues);
  EXPECT_TRUE(r.ok);
  EXPECT_EQ(r.text, "count SyncBody/Status[MsgRef=3] 0");
}

TEST(ReceivedMessageTest, CountAndNone) {
  const XmlElement root = Doc(kAnswer);
  CheckResult r = CheckExpectation(Count("SyncBody/Status[Data=201]", 2), &root, kValues);
  EXPECT_TRUE(r.ok);
  EXPECT_EQ(r.text, "count SyncBody/Status[Data=201] 2");
  r = CheckExpectation(Count("SyncBody/Status[Data=201]", 3), &root, kValues);
  EXPECT_FALSE(r.ok);
  EXPECT_EQ(r.text, "count SyncBody/Status[Data=201]: expected 3, got 2");
  r = CheckExpectation(None("SyncBody/Delete"), &root, kValues);
  EXPECT_TRUE(r.ok);
  EXPECT_EQ(r.text, "none SyncBody/Delete");
  r = CheckExpectation(None("SyncBody/Map"), &root, kValues);
  EXPECT_FALSE(r.ok);
  EXPECT_EQ(r.text, "none SyncBody/Map: found 3");
}

TEST(ReceivedMessageTest, AnUnreadableMessageFailsEveryExpectation) {
  EXPECT_EQ(CheckExpectation(Text("A", "1"), nullptr, kValues).text,
            "A = 1: the message is not readable");
  EXPECT_EQ(CheckExpectation(Count("A", 0), nullptr, kValues).text,
            "count A 0: the message is not readable");
  EXPECT_EQ(CheckExpectation(None("A"), nullptr, kValues).text,
            "none A: the message is not readable");
  EXPECT_FALSE(CheckExpectation(None("A"), nullptr, kValues).ok);
}

}  // namespace
}  // namespace kdzv::agent
