#include "agent/message_path.h"

#include <gtest/gtest.h>

#include "agent/agent_xml.h"

namespace kdzv::agent {
namespace {

MessagePath PathOf(const std::string& text) {
  std::string error;
  std::optional<MessagePath> path = ParseMessagePath(text, error);
  EXPECT_TRUE(path.has_value()) << error;
  return path.value_or(MessagePath{});
}

std::string ErrorOf(const std::string& text) {
  std::string error;
  EXPECT_FALSE(ParseMessagePath(text, error).has_value()) << text;
  return error;
}

XmlElement Doc(const std::string& xml) {
  XmlProblem problem;
  std::optional<XmlElement> root = ParseAgentXml(xml, problem);
  EXPECT_TRUE(root.has_value()) << problem.reason;
  return root.value_or(XmlElement{});
}

// The texts of every element the path reaches.
std::vector<std::string> Texts(const XmlElement& root, const std::string& path) {
  std::vector<std::string> out;
  for (const XmlElement* element : MatchMessagePath(root, PathOf(path))) {
    out.push_back(element->Text());
  }
  return out;
}

const char* kMessage =
    "<SyncML><SyncHdr><SessionID>17</SessionID><MsgID>3</MsgID></SyncHdr><SyncBody>"
    "<Status><Cmd>Add</Cmd><CmdRef>4</CmdRef><Data>201</Data><Text/></Status>"
    "<Status><Cmd>Add</Cmd><CmdRef>5</CmdRef><Data>201</Data><Text/></Status>"
    "<Status><Cmd>Replace</Cmd><CmdRef>6</CmdRef><Data>200</Data>"
    "<Text>Replace positiv bestaetigt... (RS)</Text></Status>"
    "<status><cmd>SyncHdr</cmd><Data>200</Data><Text> Session End </Text></status>"
    "<Map><VEvent><Source>1</Source><Target>ZV-1</Target></VEvent></Map>"
    "<Map><Calendar><Source>1</Source><Target>CAL-1</Target></Calendar></Map>"
    "</SyncBody></SyncML>";

TEST(MessagePathTest, ParsesSegmentsAndFilters) {
  const MessagePath path = PathOf("SyncBody/Status[Cmd=Add, Data = 201]/CmdRef");
  ASSERT_EQ(path.segments.size(), 3u);
  EXPECT_EQ(path.segments[0].name, "SyncBody");
  EXPECT_TRUE(path.segments[0].filters.empty());
  ASSERT_EQ(path.segments[1].filters.size(), 2u);
  EXPECT_EQ(path.segments[1].filters[0].child, "Cmd");
  EXPECT_EQ(path.segments[1].filters[0].text, "Add");
  EXPECT_EQ(path.segments[1].filters[1].child, "Data");
  EXPECT_EQ(path.segments[1].filters[1].text, "201");
  EXPECT_EQ(FormatMessagePath(path), "SyncBody/Status[Cmd=Add,Data=201]/CmdRef");
}

TEST(MessagePathTest, AnEmptyFilterText) {
  const MessagePath path = PathOf("A[Text=]");
  EXPECT_EQ(path.segments[0].filters[0].text, "");
  EXPECT_EQ(FormatMessagePath(path), "A[Text=]");
}

TEST(MessagePathTest, Errors) {
  EXPECT_EQ(ErrorOf(""), "the path is empty");
  EXPECT_EQ(ErrorOf("/A"), "an element name is missing in \"/A\"");
  EXPECT_EQ(ErrorOf("A/"), "an element name is missing in \"A/\"");
  EXPECT_EQ(ErrorOf("A[B=1"), "\"[\" without \"]\" in \"A[B=1\"");
  EXPECT_EQ(ErrorOf("A[B]"), "a filter needs \"=\" (Name[Child=Text])");
  EXPECT_EQ(ErrorOf("A[=1]"), "a filter needs a child name before \"=\"");
  EXPECT_EQ(ErrorOf("A[B=1,]"), "a filter needs \"=\" (Name[Child=Text])");
  EXPECT_EQ(ErrorOf("A[B=1]C"), "unexpected \"C\" in \"A[B=1]C\"");
  EXPECT_EQ(ErrorOf("A=B"), "unexpected \"=\" in \"A=B\"");
}

TEST(MessagePathTest, MatchesFromTheRootsChildren) {
  const XmlElement root = Doc(kMessage);
  EXPECT_EQ(Texts(root, "SyncHdr/MsgID"), (std::vector<std::string>{"3"}));
  EXPECT_TRUE(Texts(root, "SyncML/SyncHdr/MsgID").empty());
}

TEST(MessagePathTest, NamesIgnoreLetterCase) {
  const XmlElement root = Doc(kMessage);
  EXPECT_EQ(Texts(root, "SYNCBODY/status/DATA"),
            (std::vector<std::string>{"201", "201", "200", "200"}));
  EXPECT_EQ(Texts(root, "SyncBody/Status[CMD=SyncHdr]/Data"), (std::vector<std::string>{"200"}));
}

TEST(MessagePathTest, FiltersCompareTrimmedTextExactly) {
  const XmlElement root = Doc(kMessage);
  EXPECT_EQ(Texts(root, "SyncBody/Status[Cmd=Add]/CmdRef"), (std::vector<std::string>{"4", "5"}));
  EXPECT_EQ(Texts(root, "SyncBody/Status[Cmd=Add,CmdRef=5]/Data"),
            (std::vector<std::string>{"201"}));
  EXPECT_TRUE(Texts(root, "SyncBody/Status[Cmd=add]/Data").empty());  // text is exact
  EXPECT_EQ(Texts(root, "SyncBody/Status[Text=Session End]/Data"),
            (std::vector<std::string>{"200"}));
  EXPECT_EQ(Texts(root, "SyncBody/Status[Text=]/CmdRef"), (std::vector<std::string>{"4", "5"}));
  EXPECT_TRUE(Texts(root, "SyncBody/Status[Nothing=]/Data").empty());  // child must exist
}

TEST(MessagePathTest, FiltersOnEveryLevel) {
  const XmlElement root = Doc(kMessage);
  EXPECT_EQ(Texts(root, "SyncBody/Map/Calendar[Source=1]/Target"),
            (std::vector<std::string>{"CAL-1"}));
  EXPECT_EQ(Texts(root, "SyncBody/Map/VEvent"), (std::vector<std::string>{"1ZV-1"}));
}

TEST(MessagePathTest, SameName) {
  EXPECT_TRUE(SameName("SyncML", "syncml"));
  EXPECT_FALSE(SameName("SyncML", "SyncMLx"));
  EXPECT_FALSE(SameName("\xC3\x84", "\xC3\xA4"));  // only ASCII letters fold
}

}  // namespace
}  // namespace kdzv::agent
