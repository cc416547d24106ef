#include "message/xml_writer.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "message/xml_element.h"
#include "support/failing_writer.h"
#include "support/fakes.h"
#include "support/item_reports.h"
#include "util/error.h"

namespace kdzv {
namespace {

using test::ErrorOf;
using test::WrittenXml;

TEST(XmlWriterTest, AnElementWithoutContentIsSelfClosing) {
  XmlWriter writer;
  writer.Outside().AppendChild("SyncBody");
  EXPECT_EQ(WrittenXml(writer), "<SyncBody/>");
}

TEST(XmlWriterTest, EmptyTextLeavesTheElementEmpty) {
  XmlWriter writer;
  writer.Outside().AppendTextElement("SessionID", "");
  EXPECT_EQ(WrittenXml(writer), "<SessionID/>");
}

TEST(XmlWriterTest, EscapesAmpersandAndAngleBracketsInText) {
  XmlWriter writer;
  writer.Outside().AppendTextElement("Comment", "a < b & c > d \"e\" 'f' &amp;");
  EXPECT_EQ(WrittenXml(writer), "<Comment>a &lt; b &amp; c &gt; d \"e\" 'f' &amp;amp;</Comment>");
}

TEST(XmlWriterTest, KeepsTextAndLineBreaksAsTheyAre) {
  XmlWriter writer;
  writer.Outside().AppendTextElement("Comment", "  zwei\r\nZeilen  ");
  EXPECT_EQ(WrittenXml(writer), "<Comment>  zwei\r\nZeilen  </Comment>");
}

TEST(XmlWriterTest, NestedElementsOnOneLine) {
  XmlWriter writer;
  const XmlWriter::Element root = writer.Outside().AppendChild("SyncML");
  const XmlWriter::Element header = root.AppendChild("SyncHdr");
  header.AppendTextElement("VerDTD", "1.0");
  header.AppendTextElement("SessionID", "");
  root.AppendChild("SyncBody");
  EXPECT_EQ(WrittenXml(writer),
            "<SyncML><SyncHdr><VerDTD>1.0</VerDTD><SessionID/></SyncHdr><SyncBody/></SyncML>");
}

TEST(XmlWriterTest, TextThenChildThenTextKeepsTheirOrder) {
  XmlWriter writer;
  const XmlWriter::Element a = writer.Outside().AppendChild("a");
  a.AppendText("x");
  a.AppendTextElement("b", "y");
  a.AppendText("z");
  a.AppendText("");
  EXPECT_EQ(WrittenXml(writer), "<a>x<b>y</b>z</a>");
}

TEST(XmlWriterTest, TheSameElementsAsTheSerialiserOfATree) {
  XmlElement tree("VEvent");
  tree.AppendText("t&");
  XmlElement& customer = tree.AppendChild(XmlElement("Customer"));
  customer.AppendChild(XmlElement("Title"));
  customer.AppendChild(XmlElement("City")).SetText("K\xC3\xB6ln <Mitte>");
  tree.AppendChild(XmlElement("Block")).SetText("true");

  XmlWriter writer;
  const XmlWriter::Element vevent = writer.Outside().AppendChild("VEvent");
  vevent.AppendText("t&");
  const XmlWriter::Element written_customer = vevent.AppendChild("Customer");
  written_customer.AppendChild("Title");
  written_customer.AppendTextElement("City", "K\xC3\xB6ln <Mitte>");
  vevent.AppendTextElement("Block", "true");
  EXPECT_EQ(WrittenXml(writer), SerializeXml(tree));
}

TEST(XmlWriterTest, AppendingToAnOuterElementClosesTheInnerOnes) {
  // As when an item fails partway: its element keeps what it got.
  XmlWriter writer;
  const XmlWriter::Element vevent = writer.Outside().AppendChild("VEvent");
  const XmlWriter::Element customer = vevent.AppendChild("Customer");
  customer.AppendTextElement("Title", "Dr.");
  customer.AppendChild("FirstName");
  vevent.AppendTextElement("Block", "false");
  EXPECT_FALSE(customer.IsOpen());
  EXPECT_TRUE(vevent.IsOpen());
  EXPECT_EQ(writer.Markup(),
            "<VEvent><Customer><Title>Dr.</Title><FirstName/></Customer><Block>false");
  EXPECT_EQ(WrittenXml(writer),
            "<VEvent><Customer><Title>Dr.</Title><FirstName/></Customer><Block>false</Block>"
            "</VEvent>");
}

TEST(XmlWriterTest, TextForAnOuterElementClosesTheInnerOnes) {
  XmlWriter writer;
  const XmlWriter::Element a = writer.Outside().AppendChild("a");
  a.AppendChild("b").AppendChild("c");
  a.AppendText("x");
  EXPECT_EQ(WrittenXml(writer), "<a><b><c/></b>x</a>");
}

TEST(XmlWriterTest, AppendingToAClosedElementRaises) {
  XmlWriter writer;
  const XmlWriter::Element body = writer.Outside().AppendChild("SyncBody");
  const XmlWriter::Element first = body.AppendChild("Add");
  body.AppendChild("Delete");
  EXPECT_FALSE(first.IsOpen());
  EXPECT_EQ(ErrorOf([&] { first.AppendChild("CmdID"); }), err::kInternal);
  EXPECT_EQ(ErrorOf([&] { first.AppendText("x"); }), err::kInternal);
  EXPECT_EQ(ErrorOf([&] { first.Remove(); }), err::kInternal);
  // A later element at the same depth is not the closed one.
  writer.CloseAll();
  EXPECT_EQ(ErrorOf([&] { body.AppendChild("Map"); }), err::kInternal);
  EXPECT_EQ(WrittenXml(writer), "<SyncBody><Add/><Delete/></SyncBody>");
}

TEST(XmlWriterTest, AnElementOfAnotherWriterIsRefused) {
  XmlWriter writer;
  XmlWriter other;
  const XmlWriter::Element element = other.Outside().AppendChild("a");
  EXPECT_EQ(ErrorOf([&] { writer.HandOnChildren(element, [](std::string_view) {}); }),
            err::kInternal);
}

TEST(XmlWriterTest, TextOutsideEveryElementRaises) {
  XmlWriter writer;
  EXPECT_EQ(ErrorOf([&] { writer.Outside().AppendText("x"); }), err::kInternal);
  EXPECT_EQ(WrittenXml(writer), "");
}

TEST(XmlWriterTest, TheFailureHookRaisesBeforeAnythingIsWritten) {
  test::FailingWriter writer("Title", 2);
  const XmlWriter::Element customer = writer.Outside().AppendChild("Customer");
  const XmlWriter::Element first = customer.AppendTextElement("Title", "a");
  customer.AppendChild("Source");
  const std::string before = writer.Markup();
  EXPECT_EQ(ErrorOf([&] { customer.AppendChild("Title"); }), err::kInvalidCall);
  EXPECT_EQ(writer.failures, 1);
  EXPECT_EQ(writer.Markup(), before);
  EXPECT_FALSE(first.IsOpen());
  EXPECT_EQ(WrittenXml(writer), "<Customer><Title>a</Title><Source/></Customer>");
}

TEST(XmlWriterTest, AFailingElementLeavesTheOneBeforeItOpen) {
  // Nothing is closed for an element that is never made: the one before it
  // still takes content, as it would in a tree.
  test::FailingWriter writer("Target");
  const XmlWriter::Element vevent = writer.Outside().AppendChild("VEvent");
  const XmlWriter::Element source = vevent.AppendChild("Source");
  EXPECT_EQ(ErrorOf([&] { vevent.AppendChild("Target"); }), err::kInvalidCall);
  EXPECT_TRUE(source.IsOpen());
  source.AppendText("S");
  EXPECT_EQ(WrittenXml(writer), "<VEvent><Source>S</Source></VEvent>");
}

TEST(XmlWriterTest, AWholeChildThatFailsIsTakenOutAgain) {
  test::FailingWriter writer("Text");
  const XmlWriter::Element body = writer.Outside().AppendChild("SyncBody");
  EXPECT_EQ(ErrorOf([&] {
              body.AppendWholeChild("Status", [](XmlWriter::Element status) {
                status.AppendTextElement("Cmd", "Add");
                status.AppendTextElement("Text", "");
              });
            }),
            err::kInvalidCall);
  EXPECT_EQ(writer.Markup(), "<SyncBody");
  // The body is still an element without content.
  EXPECT_EQ(WrittenXml(writer), "<SyncBody/>");
}

TEST(XmlWriterTest, AWholeChildAfterAnotherIsTakenOutAlone) {
  test::FailingWriter writer("Text", 2);
  const XmlWriter::Element body = writer.Outside().AppendChild("SyncBody");
  const auto fill = [](XmlWriter::Element alert) { alert.AppendTextElement("Text", "x"); };
  body.AppendWholeChild("Alert", fill);
  EXPECT_EQ(ErrorOf([&] { body.AppendWholeChild("Alert", fill); }), err::kInvalidCall);
  EXPECT_EQ(WrittenXml(writer), "<SyncBody><Alert><Text>x</Text></Alert></SyncBody>");
}

TEST(XmlWriterTest, CompleteChildrenAreHandedOnOneByOne) {
  XmlWriter writer;
  std::vector<std::string> handed;
  const XmlWriter::Element body = writer.Outside().AppendChild("SyncBody");
  writer.HandOnChildren(body, [&handed](std::string_view markup) { handed.emplace_back(markup); });
  const XmlWriter::Element add = body.AppendChild("Add");
  add.AppendTextElement("CmdID", "1");
  add.AppendChild("VEvent").AppendTextElement("Source", "S");
  EXPECT_TRUE(handed.empty());  // the add may still take content
  body.AppendChild("Map").AppendTextElement("CmdID", "2");
  ASSERT_EQ(handed.size(), 1u);
  EXPECT_EQ(handed[0], "<SyncBody><Add><CmdID>1</CmdID><VEvent><Source>S</Source></VEvent></Add>");
  EXPECT_EQ(writer.Markup(), "<Map><CmdID>2");
  writer.CloseAll();
  ASSERT_EQ(handed.size(), 2u);
  EXPECT_EQ(handed[1], "<Map><CmdID>2</CmdID></Map>");
  EXPECT_EQ(writer.Markup(), "</SyncBody>");
}

TEST(XmlWriterTest, AHandedOnElementCannotBeTakenOut) {
  XmlWriter writer;
  const XmlWriter::Element body = writer.Outside().AppendChild("SyncBody");
  writer.HandOnChildren(body, [](std::string_view) {});
  body.AppendChild("Add");
  body.AppendChild("Map");
  EXPECT_EQ(ErrorOf([&] { body.Remove(); }), err::kInternal);
  EXPECT_EQ(WrittenXml(writer), "</SyncBody>");
}

TEST(XmlWriterTest, ForgottenMarkupIsGoneAndTheElementsStayOpen) {
  XmlWriter writer;
  const XmlWriter::Element header = writer.Outside().AppendChild("SyncHdr");
  header.AppendTextElement("VerDTD", "1.0");
  writer.ForgetMarkup();
  header.AppendTextElement("MsgID", "3");
  EXPECT_EQ(WrittenXml(writer), "</VerDTD><MsgID>3</MsgID></SyncHdr>");
}

}  // namespace
}  // namespace kdzv
