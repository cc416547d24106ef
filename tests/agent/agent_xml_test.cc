#include "agent/agent_xml.h"

#include <gtest/gtest.h>

namespace kdzv::agent {
namespace {

std::string Problem(const std::string& xml, int* line = nullptr) {
  XmlProblem problem;
  EXPECT_FALSE(ParseAgentXml(xml, problem).has_value()) << xml;
  if (line != nullptr) *line = problem.line;
  return problem.reason;
}

XmlElement Doc(const std::string& xml) {
  XmlProblem problem;
  std::optional<XmlElement> root = ParseAgentXml(xml, problem);
  EXPECT_TRUE(root.has_value()) << problem.reason;
  return root.value_or(XmlElement{});
}

TEST(AgentXmlTest, ReadsAComponentMessage) {
  const XmlElement root =
      Doc("<?xml version=\"1.0\" encoding=\"utf-8\"?><SyncML xmlns=\"http://x/y.xsd\"><SyncHdr>"
          "<MsgID>3</MsgID><LocURI/></SyncHdr><SyncBody><Status><Text>a &amp; b &lt;c&gt;</Text>"
          "</Status></SyncBody></SyncML>\r\n");
  EXPECT_EQ(root.Name(), "SyncML");
  ASSERT_EQ(root.Children().size(), 2u);
  EXPECT_EQ(root.Children()[0].Children()[0].Text(), "3");
  EXPECT_EQ(root.Children()[0].Children()[1].Name(), "LocURI");
  EXPECT_EQ(root.Children()[1].Text(), "a & b <c>");
}

TEST(AgentXmlTest, EntitiesReferencesCdataCommentsAndInstructions) {
  const XmlElement root =
      Doc("\xEF\xBB\xBF<!-- before --><a x='1' y = \"2\">&quot;&apos;&#65;&#x42;&#xe4;&#x20AC;"
          "<![CDATA[<raw>&amp;]]><!-- inside --><?pi data?>z</a>\n<!-- after -->");
  EXPECT_EQ(root.Text(), "\"'AB\xC3\xA4\xE2\x82\xAC<raw>&amp;z");
}

TEST(AgentXmlTest, TextIsUtf8AsItStands) {
  EXPECT_EQ(Doc("<a>Wei\xC3\x9F</a>").Text(), "Wei\xC3\x9F");
}

TEST(AgentXmlTest, IncompleteDocuments) {
  EXPECT_EQ(Problem(""), "the document holds no element");
  EXPECT_EQ(Problem("<?xml version=\"1.0\"?>"), "the document holds no element");
  EXPECT_EQ(Problem("<?xml version="), "the document ends inside a processing instruction");
  EXPECT_EQ(Problem("<SyncML><SyncHdr>"), "the document ends inside <SyncHdr>");
  EXPECT_EQ(Problem("<SyncML><SyncHdr><Ms"), "the document ends inside the tag <Ms");
  EXPECT_EQ(Problem("<SyncML></Sync"), "the document ends inside the end tag </Sync");
  EXPECT_EQ(Problem("<a x=\"1"), "the document ends inside an attribute value");
  EXPECT_EQ(Problem("<a><!-- x"), "the document ends inside a comment");
  EXPECT_EQ(Problem("<a><![CDATA[x"), "the document ends inside a CDATA section");
}

TEST(AgentXmlTest, MalformedDocuments) {
  EXPECT_EQ(Problem("<a></b>"), "the end tag </b> does not close <a>");
  EXPECT_EQ(Problem("<a/></a>"), "the end tag </a> closes nothing");
  EXPECT_EQ(Problem("<a/><b/>"), "a second document element <b>");
  EXPECT_EQ(Problem("x<a/>"), "text outside the document element");
  EXPECT_EQ(Problem("<a/>x"), "text outside the document element");
  EXPECT_EQ(Problem("<a>&nbsp;</a>"), "unknown entity &nbsp;");
  EXPECT_EQ(Problem("<a>&#0;</a>"), "unknown entity &#0;");
  EXPECT_EQ(Problem("<a>&#xD800;</a>"), "unknown entity &#xD800;");
  EXPECT_EQ(Problem("<a>a & b;</a>"), "unknown entity & b;");
  EXPECT_EQ(Problem("<a>a &amp b</a>"), "\"&\" without \";\"");
  EXPECT_EQ(Problem("< a/>"), "a \"<\" without an element name");
  EXPECT_EQ(Problem("<a x/>"), "the attribute x has no value");
  EXPECT_EQ(Problem("<a x=1/>"), "the value of the attribute x is not quoted");
  EXPECT_EQ(Problem("<a x=\"<\"/>"), "\"<\" in the value of the attribute x");
  EXPECT_EQ(Problem("<a></a x>"), "unexpected \"x\" in an end tag");
  EXPECT_EQ(Problem("<![CDATA[x]]><a/>"), "a CDATA section outside the document element");
  EXPECT_EQ(Problem("<!DOCTYPE a><a/>"), "a document type declaration is not accepted");
}

TEST(AgentXmlTest, TheProblemsLine) {
  int line = 0;
  EXPECT_EQ(Problem("<a>\n<b>\n</c>\n</a>", &line), "the end tag </c> does not close <b>");
  EXPECT_EQ(line, 3);
  EXPECT_EQ(Problem("<a>\n<b/>\n", &line), "the document ends inside <a>");
  EXPECT_EQ(line, 3);
}

TEST(AgentXmlTest, NestingIsLimited) {
  std::string deep;
  for (int i = 0; i < 40; ++i) deep += "<a>";
  EXPECT_EQ(Problem(deep), "elements nested too deeply");
}

}  // namespace
}  // namespace kdzv::agent
