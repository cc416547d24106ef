#include "message/calendar_collections.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "support/failing_writer.h"
#include "support/fakes.h"
#include "support/golden.h"
#include "support/item_reports.h"

namespace kdzv {
namespace {

using test::BoxTexts;
using test::ChildNames;
using test::CountOf;
using test::FailingWriter;
using test::Golden;
using test::WrittenInto;
using test::WrittenXml;

using Names = std::vector<std::string>;

clZVCalendar Calendar(std::string source, std::string target, std::string title) {
  clZVCalendar calendar;
  calendar.Source = std::move(source);
  calendar.Target = std::move(target);
  calendar.Title = std::move(title);
  return calendar;
}

// --- added calendars --------------------------------------------------------

TEST(AddCalendarColTest, AddWrapsACopyInACalendarItem) {
  clZVAddCalendarCol col;
  clZVCalendar calendar = Calendar("ZV-K1", "", "Dr. A");
  const auto item = col.Add(calendar, 4, "k1");
  calendar.Title = "changed";
  EXPECT_EQ(item->ItemType, item_type::kCalendar);
  EXPECT_EQ(item->CmdID, 4);
  EXPECT_EQ(item->Calendar->Source, "ZV-K1");
  EXPECT_EQ(item->Calendar->Title, "Dr. A");
  EXPECT_EQ(col.Item("K1"), item);
}

TEST(AddCalendarColTest, WritesEachItemAsAdd) {
  test::ScopedProcess scoped;
  XmlWriter writer;
  clZVAddCalendarCol col;
  col.Add(Calendar("HX-B1", "ZV-K1", "Dr. Wei\xC3\x9F"), 1);
  EXPECT_TRUE(col.CreateXMLSource(writer.Outside()));
  EXPECT_EQ(WrittenXml(writer), Golden("items/add_calendar.xml"));
}

TEST(AddCalendarColTest, EmptyCollectionWritesNothing) {
  test::ScopedProcess scoped;
  XmlWriter writer;
  EXPECT_TRUE(clZVAddCalendarCol().CreateXMLSource(writer.Outside()));
  const XmlElement body = WrittenInto(writer, "SyncBody");
  EXPECT_TRUE(body.Children().empty());
}

TEST(AddCalendarColTest, SecondOfThreeFailingStopsWithOneMessage) {
  test::ScopedProcess scoped;
  scoped.ActivateLog();
  FailingWriter writer("Add", 2);
  clZVAddCalendarCol col;
  for (int32_t id = 1; id <= 3; ++id) col.Add(Calendar("s", "t", ""), id);
  EXPECT_FALSE(col.CreateXMLSource(writer.Outside()));
  const char* kText = "CreateXMLSource fehlgeschlagen für SubItem 'clZVAddReplaceItem'.";
  EXPECT_EQ(BoxTexts(scoped), Names{kText});
  EXPECT_EQ(CountOf(scoped.log.lines, kText), 1);
  const XmlElement body = WrittenInto(writer, "SyncBody");
  ASSERT_EQ(body.Children().size(), 1u);
  EXPECT_EQ(body.Children()[0].Children()[0].OwnText(), "1");
}

// --- added attributes -------------------------------------------------------

TEST(AddAttributesColTest, AddCopiesFieldsAndSharesTheValueObjects) {
  clZVAddAttributesCol col;
  clZVAttributeMulti attribute;
  attribute.Source = "A1";
  attribute.Target = "H1";
  attribute.Title = "Behandlungsart";
  const auto first = attribute.Values.Add("V1", "HV1", "Prophylaxe", "v1");
  const auto item = col.Add(attribute, 9);
  EXPECT_EQ(item->ItemType, item_type::kAttribute);
  EXPECT_EQ(item->CmdID, 9);
  EXPECT_EQ(item->AAttribute->Source, "A1");
  EXPECT_EQ(item->AAttribute->Target, "H1");
  EXPECT_EQ(item->AAttribute->Title, "Behandlungsart");
  ASSERT_EQ(item->AAttribute->Values.Count(), 1);
  EXPECT_EQ(item->AAttribute->Values.Item(1), first);
  // The item has a list of its own.
  attribute.Values.Add("V2", "HV2", "Bleaching");
  attribute.Title = "changed";
  EXPECT_EQ(item->AAttribute->Values.Count(), 1);
  EXPECT_EQ(item->AAttribute->Title, "Behandlungsart");
  // The value objects are shared: a host id recorded later is written.
  first->Target = "HX-42";
  EXPECT_EQ(item->AAttribute->FirstValue()->Target, "HX-42");
}

TEST(AddAttributesColTest, WritesEachItemAsMapWithItsFirstValue) {
  test::ScopedProcess scoped;
  XmlWriter writer;
  clZVAddAttributesCol col;
  clZVAttributeMulti attribute;
  attribute.Values.Add("V1", "HV1", "Prophylaxe");
  attribute.Values.Add("V2", "HV2", "Bleaching");
  col.Add(attribute, 6);
  EXPECT_TRUE(col.CreateXMLSource(writer.Outside()));
  EXPECT_EQ(WrittenXml(writer), Golden("items/add_attribute.xml"));
}

TEST(AddAttributesColTest, ItemWithoutValuesStopsWithoutAMessageOfItsOwn) {
  test::ScopedProcess scoped;
  scoped.ActivateLog();
  XmlWriter writer;
  clZVAddAttributesCol col;
  clZVAttributeMulti with_value;
  with_value.Values.Add("V1", "HV1", "Prophylaxe");
  col.Add(with_value, 1);
  col.Add(clZVAttributeMulti(), 2);
  col.Add(with_value, 3);
  EXPECT_FALSE(col.CreateXMLSource(writer.Outside()));
  const char* kNoValues =
      "XML-Daten für Subitem 'Attribut' konnten nicht erstellt werden: Attribut enth\xC3\xA4t "
      "keine Values";
  // Only the item's own text.
  EXPECT_EQ(BoxTexts(scoped), Names{kNoValues});
  EXPECT_EQ(scoped.log.lines, Names{kNoValues});
  const XmlElement body = WrittenInto(writer, "SyncBody");
  EXPECT_EQ(ChildNames(body), (Names{"Map", "Map"}));
  EXPECT_EQ(SerializeXml(body.Children()[1]), "<Map><CmdID>2</CmdID></Map>");
}

TEST(AddAttributesColTest, FailingItemIsNotToldAboutByTheCollection) {
  test::ScopedProcess scoped;
  scoped.ActivateLog();
  FailingWriter writer("Map", 2);
  clZVAddAttributesCol col;
  clZVAttributeMulti attribute;
  attribute.Values.Add("V1", "HV1", "Prophylaxe");
  for (int32_t id = 1; id <= 3; ++id) col.Add(attribute, id);
  EXPECT_FALSE(col.CreateXMLSource(writer.Outside()));
  EXPECT_TRUE(scoped.ui.boxes.empty());
  EXPECT_EQ(scoped.log.lines,
            Names{test::CreateElementErrorLine("clZVAddReplaceItem", "CreateXMLSource")});
  const XmlElement body = WrittenInto(writer, "SyncBody");
  EXPECT_EQ(body.Children().size(), 1u);
}

TEST(AddAttributesColTest, EmptyCollectionWritesNothing) {
  test::ScopedProcess scoped;
  XmlWriter writer;
  EXPECT_TRUE(clZVAddAttributesCol().CreateXMLSource(writer.Outside()));
  const XmlElement body = WrittenInto(writer, "SyncBody");
  EXPECT_TRUE(body.Children().empty());
}

}  // namespace
}  // namespace kdzv
