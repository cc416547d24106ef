#include "message/xml_element.h"

#include <gtest/gtest.h>

namespace kdzv {
namespace {

TEST(SerializeXmlTest, EmptyElementIsSelfClosing) {
  EXPECT_EQ(SerializeXml(XmlElement("SyncBody")), "<SyncBody/>");
}

TEST(SerializeXmlTest, OneLineWithoutIndentation) {
  XmlElement root("SyncML");
  XmlElement& header = root.AppendChild(XmlElement("SyncHdr"));
  header.AppendChild(XmlElement("VerDTD")).SetText("1.0");
  header.AppendChild(XmlElement("SessionID"));
  root.AppendChild(XmlElement("SyncBody"));
  EXPECT_EQ(SerializeXml(root),
            "<SyncML><SyncHdr><VerDTD>1.0</VerDTD><SessionID/></SyncHdr><SyncBody/></SyncML>");
}

TEST(SerializeXmlTest, EscapesAmpersandAndAngleBracketsInText) {
  XmlElement comment("Comment");
  comment.SetText("a < b & c > d \"e\" 'f'");
  EXPECT_EQ(SerializeXml(comment),
            "<Comment>a &lt; b &amp; c &gt; d \"e\" 'f'</Comment>");
}

TEST(SerializeXmlTest, KeepsTextAndLineBreaksAsTheyAre) {
  XmlElement comment("Comment");
  comment.SetText("  zwei\r\nZeilen  ");
  EXPECT_EQ(SerializeXml(comment), "<Comment>  zwei\r\nZeilen  </Comment>");
}

TEST(SerializeXmlTest, MixedContentKeepsDocumentOrder) {
  XmlElement a("a");
  a.AppendText("x");
  XmlElement b("b");
  b.AppendText("y");
  a.AppendChild(std::move(b));
  a.AppendText("z");
  EXPECT_EQ(SerializeXml(a), "<a>x<b>y</b>z</a>");
  EXPECT_EQ(a.Text(), "xyz");
}

TEST(XmlElementTest, TextTrimsXmlWhiteSpaceOnly) {
  XmlElement e("e");
  e.SetText(" \t\r\n a\u00a0b \n");
  EXPECT_EQ(e.Text(), "a\u00a0b");
}

TEST(XmlElementTest, TextOfAnElementIncludesItsDescendants) {
  XmlElement outer("Customer");
  outer.AppendText("\n  ");
  XmlElement name("LastName");
  name.SetText("Muster");
  outer.AppendChild(std::move(name));
  outer.AppendText("\n  ");
  XmlElement city("City");
  city.SetText("Bonn");
  outer.AppendChild(std::move(city));
  outer.AppendText("\n");
  EXPECT_EQ(outer.Text(), "Muster\n  Bonn");
}

}  // namespace
}  // namespace kdzv
