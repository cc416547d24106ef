#include "message/calendar_items.h"

#include <gtest/gtest.h>

#include <memory>
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

using test::BoxTexts;
using test::ChildNames;
using test::CountOf;
using test::CreateElementErrorLine;
using test::FailingWriter;
using test::Golden;
using test::WrittenInto;
using test::WrittenXml;

using Names = std::vector<std::string>;

constexpr char kAttributeValueUnreadable[] =
    "clZVAttribute.ReadFromXMLNode: AttributeValue konnte nicht gelesen werden.";
constexpr char kMultiValueUnreadable[] =
    "clZVAttributeMulti.ReadFromXMLNode: AttributeValue konnte nicht gelesen werden.";

test::ElementAndNode Text(std::string name, std::string text) {
  XmlElement element(std::move(name));
  element.SetText(std::move(text));
  return element;
}

test::ElementAndNode Element(std::string name, std::vector<XmlElement> children) {
  XmlElement element(std::move(name));
  for (auto& child : children) element.AppendChild(std::move(child));
  return element;
}

test::ElementAndNode ValueNode(std::string source, std::string target, std::string title) {
  return Element("Value", {Text("Source", std::move(source)), Text("Target", std::move(target)),
                           Text("Title", std::move(title))});
}

// --- reading ----------------------------------------------------------------

TEST(CalendarTest, ReadsSourceTargetAndTitle) {
  test::ScopedProcess scoped;
  scoped.ActivateLog();
  clZVCalendar calendar;
  EXPECT_TRUE(calendar.ReadFromXMLNode(
      Element("Calendar", {Text("Source", "K1"), Text("Target", "B3"), Text("Title", " Dr. A ")})));
  EXPECT_EQ(calendar.Source, "K1");
  EXPECT_EQ(calendar.Target, "B3");
  EXPECT_EQ(calendar.Title, "Dr. A");
  EXPECT_TRUE(scoped.Reports().empty());
}

TEST(CalendarTest, NamesAreMatchedWithoutRegardToCase) {
  test::ScopedProcess scoped;
  for (const char* name : {"Source", "SOURCE", "source", "sOuRcE"}) {
    clZVCalendar calendar;
    EXPECT_TRUE(calendar.ReadFromXMLNode(Element("CALENDAR", {Text(name, "K7")})));
    EXPECT_EQ(calendar.Source, "K7") << name;
  }
  clZVCalendar calendar;
  calendar.ReadFromXMLNode(Element("calendar", {Text("TARGET", "t"), Text("tItLe", "x")}));
  EXPECT_EQ(calendar.Target, "t");
  EXPECT_EQ(calendar.Title, "x");
  EXPECT_TRUE(scoped.Reports().empty());
}

TEST(CalendarTest, ValueChildIsAnUnknownNode) {
  test::ScopedProcess scoped;
  scoped.ActivateLog();
  clZVCalendar calendar;
  EXPECT_TRUE(calendar.ReadFromXMLNode(
      Element("Calendar", {Text("Source", "K1"), ValueNode("a", "b", "c"), Text("Target", "B")})));
  EXPECT_EQ(BoxTexts(scoped), Names{"Unbekannter Knoten (calendar): value"});
  EXPECT_EQ(scoped.log.lines, Names{"Unbekannter Knoten (calendar): value"});
  EXPECT_EQ(scoped.ui.boxes[0].style, msgbox::kOkOnly);
  EXPECT_EQ(scoped.ui.boxes[0].title, "kdZentavo");
  // Reading went on after the unknown node.
  EXPECT_EQ(calendar.Target, "B");
}

TEST(CalendarTest, UnknownNodeIsNamedLowerCase) {
  test::ScopedProcess scoped;
  clZVCalendar calendar;
  calendar.ReadFromXMLNode(Element("Calendar", {Text("ExtraInfo", "")}));
  EXPECT_EQ(BoxTexts(scoped), Names{"Unbekannter Knoten (calendar): extrainfo"});
}

TEST(CalendarTest, ElementWithoutChildrenLeavesTheItemUntouched) {
  test::ScopedProcess scoped;
  clZVCalendar calendar;
  calendar.Source = "keep";
  calendar.Title = "keep too";
  EXPECT_FALSE(calendar.ReadFromXMLNode(Text("Calendar", "some text")));
  EXPECT_EQ(calendar.Source, "keep");
  EXPECT_EQ(calendar.Title, "keep too");
  EXPECT_TRUE(scoped.Reports().empty());
}

TEST(AttributeValueTest, ReadsAndReportsUnknownNodesWithItsPrefix) {
  test::ScopedProcess scoped;
  clZVAttributeValue value;
  EXPECT_TRUE(value.ReadFromXMLNode(
      Element("Value", {Text("SOURCE", "V1"), Text("Day", "x"), Text("Title", "Prophylaxe")})));
  EXPECT_EQ(value.Source, "V1");
  EXPECT_EQ(value.Title, "Prophylaxe");
  EXPECT_EQ(BoxTexts(scoped), Names{"Unbekannter Knoten (AttributeValue): day"});
}

TEST(AttributeValueTest, ElementWithoutChildrenLeavesTheItemUntouched) {
  test::ScopedProcess scoped;
  clZVAttributeValue value;
  value.Target = "keep";
  EXPECT_FALSE(value.ReadFromXMLNode(test::ElementAndNode(XmlElement("Value"))));
  EXPECT_EQ(value.Target, "keep");
}

TEST(AttributeTest, ReadsFieldsAndItsValue) {
  test::ScopedProcess scoped;
  clZVAttribute attribute;
  EXPECT_TRUE(attribute.ReadFromXMLNode(
      Element("Attribute", {Text("Source", "A1"), Text("Title", "Behandlungsart"),
                            ValueNode("V1", "HV1", "Prophylaxe")})));
  EXPECT_EQ(attribute.Source, "A1");
  EXPECT_EQ(attribute.Title, "Behandlungsart");
  EXPECT_EQ(attribute.Value->Source, "V1");
  EXPECT_EQ(attribute.Value->Title, "Prophylaxe");
  EXPECT_EQ(attribute.FirstValue(), attribute.Value);
  EXPECT_TRUE(scoped.Reports().empty());
}

TEST(AttributeTest, ValueWithoutChildrenIsReported) {
  test::ScopedProcess scoped;
  scoped.ActivateLog();
  clZVAttribute attribute;
  EXPECT_TRUE(attribute.ReadFromXMLNode(
      Element("Attribute", {XmlElement("VALUE"), Text("Target", "H1"), Text("Calendar", "")})));
  EXPECT_EQ(BoxTexts(scoped),
            (Names{kAttributeValueUnreadable, "Unbekannter Knoten (AttributeValue): calendar"}));
  EXPECT_EQ(CountOf(scoped.log.lines, kAttributeValueUnreadable), 1);
  EXPECT_EQ(attribute.Target, "H1");
}

TEST(AttributeTest, ElementWithoutChildrenLeavesTheItemUntouched) {
  test::ScopedProcess scoped;
  clZVAttribute attribute;
  attribute.Title = "keep";
  EXPECT_FALSE(attribute.ReadFromXMLNode(test::ElementAndNode(XmlElement("Attribute"))));
  EXPECT_EQ(attribute.Title, "keep");
}

TEST(AttributeMultiTest, EveryReadableValueIsAdded) {
  test::ScopedProcess scoped;
  scoped.ActivateLog();
  clZVAttributeMulti multi;
  EXPECT_TRUE(multi.ReadFromXMLNode(Element(
      "Attribute",
      {Text("Source", "A1"), Text("Title", "Behandlungsart"), ValueNode("V1", "", "Prophylaxe"),
       XmlElement("Value"), ValueNode("V2", "", "Bleaching"), Text("Other", "")})));
  EXPECT_EQ(multi.Source, "A1");
  EXPECT_EQ(multi.Title, "Behandlungsart");
  ASSERT_EQ(multi.Values.Count(), 2);
  EXPECT_EQ(multi.Values.Item(1)->Title, "Prophylaxe");
  EXPECT_EQ(multi.Values.Item(2)->Title, "Bleaching");
  EXPECT_EQ(multi.FirstValue(), multi.Values.Item(1));
  EXPECT_EQ(BoxTexts(scoped),
            (Names{kMultiValueUnreadable, "Unbekannter Knoten (AttributeValue): other"}));
  EXPECT_EQ(CountOf(scoped.log.lines, kMultiValueUnreadable), 1);
}

TEST(AttributeMultiTest, FirstValueIsNullWithoutValues) {
  clZVAttributeMulti multi;
  EXPECT_EQ(multi.FirstValue(), nullptr);
}

TEST(AttributeMultiTest, ElementWithoutChildrenLeavesTheItemUntouched) {
  test::ScopedProcess scoped;
  clZVAttributeMulti multi;
  multi.Source = "keep";
  EXPECT_FALSE(multi.ReadFromXMLNode(test::ElementAndNode(XmlElement("Attribute"))));
  EXPECT_EQ(multi.Source, "keep");
  EXPECT_EQ(multi.Values.Count(), 0);
}

// --- writing ----------------------------------------------------------------

TEST(CalendarTest, WritesTitleOnlyWhenNotEmpty) {
  test::ScopedProcess scoped;
  XmlWriter with;
  XmlWriter without;
  clZVCalendar calendar;
  calendar.Source = "HX-B1";
  calendar.Target = "ZV-K1";
  calendar.Title = "Dr. Wei\xC3\x9F";
  EXPECT_TRUE(calendar.CreateXMLSource(with.Outside()));
  calendar.Title.clear();
  EXPECT_TRUE(calendar.CreateXMLSource(without.Outside()));
  EXPECT_EQ(WrittenXml(with), Golden("items/calendar_title.xml"));
  EXPECT_EQ(WrittenXml(without), Golden("items/calendar_no_title.xml"));
}

TEST(CalendarKeyTest, WritesSourceAndTarget) {
  test::ScopedProcess scoped;
  XmlWriter writer;
  clZVCalendarKey key;
  key.Source = "HX-B1";
  EXPECT_TRUE(key.CreateXMLSource(writer.Outside()));
  EXPECT_EQ(WrittenXml(writer), Golden("items/calendar_key.xml"));
}

TEST(AttributeValueTest, WritesEmptyTitleAsEmptyElement) {
  test::ScopedProcess scoped;
  XmlWriter writer;
  clZVAttributeValue value;
  value.Source = "V1";
  EXPECT_TRUE(value.CreateXMLSource(writer.Outside(), "Value"));
  EXPECT_EQ(WrittenXml(writer), Golden("items/attribute_value.xml"));
}

TEST(AttributeTest, WritesFieldsAndValue) {
  test::ScopedProcess scoped;
  XmlWriter writer;
  clZVAttribute attribute;
  attribute.Source = "A1";
  attribute.Target = "H1";
  attribute.Value->Source = "V1";
  attribute.Value->Target = "HV1";
  attribute.Value->Title = "Prophylaxe";
  EXPECT_TRUE(attribute.CreateXMLSource(writer.Outside(), "Attribute"));
  EXPECT_EQ(WrittenXml(writer), Golden("items/attribute.xml"));
}

TEST(AttributeMultiTest, WritesSourceAndTargetOnly) {
  test::ScopedProcess scoped;
  XmlWriter writer;
  clZVAttributeMulti multi;
  multi.Source = "A2";
  multi.Target = "H2";
  multi.Title = "Versicherung";
  multi.Values.Add("V9", "HV9", "Privat");
  EXPECT_TRUE(multi.CreateXMLSource(writer.Outside(), "Attribute"));
  EXPECT_EQ(WrittenXml(writer), Golden("items/attribute_multi.xml"));
}

TEST(AttributeValuesTest, AddTakesTheFieldsAndTheKey) {
  clZVAttributeValues values;
  const auto value = values.Add("V1", "HV1", "Prophylaxe", "v1");
  values.Add("V2", "HV2", "Bleaching");
  EXPECT_EQ(value->Source, "V1");
  EXPECT_EQ(value->Target, "HV1");
  EXPECT_EQ(value->Title, "Prophylaxe");
  EXPECT_EQ(values.Item("V1"), value);
  EXPECT_EQ(values.Count(), 2);
}

TEST(AttributeTest, FailingValueIsReported) {
  test::ScopedProcess scoped;
  scoped.ActivateLog();
  FailingWriter writer("Value");
  EXPECT_FALSE(clZVAttribute().CreateXMLSource(writer.Outside(), "Attribute"));
  const char* kText = "CreateXMLSource fehlgeschlagen für SubItem 'Value'.";
  EXPECT_EQ(BoxTexts(scoped), Names{kText});
  EXPECT_EQ(scoped.log.lines,
            (Names{CreateElementErrorLine("clZVAttributeValue", "CreateXMLSource"), kText}));
  const XmlElement parent = WrittenInto(writer, "VEvent");
  EXPECT_EQ(ChildNames(parent.Children()[0]), (Names{"Source", "Target", "Title"}));
}

TEST(AttributeTest, OwnFailureIsReportedUnderItsModule) {
  test::ScopedProcess scoped;
  scoped.ActivateLog();
  FailingWriter writer("Target");
  EXPECT_FALSE(clZVAttribute().CreateXMLSource(writer.Outside(), "Attribute"));
  EXPECT_EQ(scoped.log.lines, Names{CreateElementErrorLine("clZVAttribute", "CreateXMLSource")});
  EXPECT_TRUE(scoped.ui.boxes.empty());
}

TEST(CalendarWritersTest, OwnFailuresAreReportedUnderTheirModules) {
  test::ScopedProcess scoped;
  scoped.ActivateLog();
  FailingWriter writer("Source");
  EXPECT_FALSE(clZVCalendar().CreateXMLSource(writer.Outside()));
  EXPECT_FALSE(clZVCalendarKey().CreateXMLSource(writer.Outside()));
  EXPECT_FALSE(clZVAttributeValue().CreateXMLSource(writer.Outside(), "Value"));
  EXPECT_FALSE(clZVAttributeMulti().CreateXMLSource(writer.Outside(), "Attribute"));
  EXPECT_EQ(scoped.log.lines,
            (Names{CreateElementErrorLine("clZVCalendar", "CreateXMLSource"),
                   CreateElementErrorLine("clZVCalendarKey", "CreateXMLSource"),
                   CreateElementErrorLine("clZVAttributeValue", "CreateXMLSource"),
                   CreateElementErrorLine("clZVAttributeMulti", "CreateXMLSource")}));
  EXPECT_TRUE(scoped.ui.boxes.empty());
}

TEST(AttributesTest, WritesEachAttributeAsAttribute) {
  test::ScopedProcess scoped;
  XmlWriter writer;
  clZVAttributes attributes;
  auto single = std::make_shared<clZVAttribute>();
  single->Source = "A1";
  single->Target = "H1";
  single->Value->Source = "V1";
  single->Value->Target = "HV1";
  single->Value->Title = "Prophylaxe";
  attributes.Add(single);
  auto multi = std::make_shared<clZVAttributeMulti>();
  multi->Source = "A2";
  multi->Target = "H2";
  attributes.Add(multi, "X");
  EXPECT_TRUE(attributes.CreateXMLSource(writer.Outside()));
  EXPECT_EQ(WrittenXml(writer),
            Golden("items/attribute.xml") + Golden("items/attribute_multi.xml"));
}

TEST(AttributesTest, SecondOfThreeFailingStopsWithOneMessage) {
  test::ScopedProcess scoped;
  scoped.ActivateLog();
  FailingWriter writer("Attribute", 2);
  clZVAttributes attributes;
  for (int i = 0; i < 3; ++i) attributes.Add(std::make_shared<clZVAttributeMulti>());
  EXPECT_FALSE(attributes.CreateXMLSource(writer.Outside()));
  const char* kText = "CreateXMLSource fehlgeschlagen für SubItem 'clZVAttribute'.";
  EXPECT_EQ(BoxTexts(scoped), Names{kText});
  EXPECT_EQ(CountOf(scoped.log.lines, kText), 1);
  const XmlElement parent = WrittenInto(writer, "VEvent");
  EXPECT_EQ(ChildNames(parent), Names{"Attribute"});
  EXPECT_EQ(writer.failures, 1);
}

TEST(AttributesTest, EmptyCollectionWritesNothing) {
  test::ScopedProcess scoped;
  XmlWriter writer;
  EXPECT_TRUE(clZVAttributes().CreateXMLSource(writer.Outside()));
  const XmlElement parent = WrittenInto(writer, "VEvent");
  EXPECT_TRUE(parent.Children().empty());
}

// --- calendar maps ----------------------------------------------------------

TEST(MapCalendarColTest, AddTakesCommandNumberAndKeyPair) {
  clZVMapCalendarCol col;
  const auto item = col.Add(8, "12", "ZV-K1", "P_12");
  EXPECT_EQ(item->CmdID, 8);
  EXPECT_EQ(item->CalendarKey->Source, "12");
  EXPECT_EQ(item->CalendarKey->Target, "ZV-K1");
  EXPECT_EQ(col.Item("p_12"), item);
}

TEST(MapCalendarColTest, WritesEachItemAsMap) {
  test::ScopedProcess scoped;
  XmlWriter writer;
  clZVMapCalendarCol col;
  col.Add(8, "12", "ZV-K1");
  EXPECT_TRUE(col.CreateXMLSource(writer.Outside()));
  EXPECT_EQ(WrittenXml(writer), Golden("items/map_calendar.xml"));
}

TEST(MapCalendarColTest, SecondOfThreeFailingStopsWithTheStatusText) {
  test::ScopedProcess scoped;
  scoped.ActivateLog();
  FailingWriter writer("Map", 2);
  clZVMapCalendarCol col;
  for (int32_t id = 1; id <= 3; ++id) col.Add(id, "h", "z");
  EXPECT_FALSE(col.CreateXMLSource(writer.Outside()));
  const char* kText = "CreateXMLSource fehlgeschlagen für SubItem 'clZVStatus'.";
  EXPECT_EQ(BoxTexts(scoped), Names{kText});
  EXPECT_EQ(CountOf(scoped.log.lines, kText), 1);
  const XmlElement body = WrittenInto(writer, "SyncBody");
  ASSERT_EQ(body.Children().size(), 1u);
  EXPECT_EQ(body.Children()[0].Children()[0].OwnText(), "1");
}

TEST(DeleteMapCalendarItemTest, FailingKeyIsReported) {
  test::ScopedProcess scoped;
  scoped.ActivateLog();
  FailingWriter writer("Calendar");
  clZVDeleteMapCalendarItem item;
  item.CmdID = 3;
  EXPECT_FALSE(item.CreateXMLSource(writer.Outside(), "Map"));
  const char* kText = "XML-Daten für Subitem 'CalendarKey' konnten nicht erstellt werden.";
  EXPECT_EQ(BoxTexts(scoped), Names{kText});
  EXPECT_EQ(scoped.log.lines,
            (Names{CreateElementErrorLine("clZVCalendarKey", "CreateXMLSource"), kText}));
  EXPECT_EQ(WrittenXml(writer), "<Map><CmdID>3</CmdID></Map>");
}

TEST(DeleteMapCalendarItemTest, OwnFailureIsReported) {
  test::ScopedProcess scoped;
  scoped.ActivateLog();
  FailingWriter writer("CmdID");
  EXPECT_FALSE(clZVDeleteMapCalendarItem().CreateXMLSource(writer.Outside(), "Map"));
  EXPECT_EQ(scoped.log.lines,
            Names{CreateElementErrorLine("clZVDeleteMapCalendarItem", "CreateXMLSource")});
  EXPECT_TRUE(scoped.ui.boxes.empty());
}

}  // namespace
}  // namespace kdzv
