#include "message/command_items.h"

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
using test::CreateElementErrorLine;
using test::FailingWriter;
using test::Golden;
using test::WrittenInto;
using test::WrittenXml;

using Names = std::vector<std::string>;

constexpr char kTerminFailed[] = "XML-Daten für Subitem 'Termin' konnten nicht erstellt werden.";
constexpr char kCalendarFailed[] =
    "XML-Daten für Subitem 'Attribut' konnten nicht erstellt werden.";
constexpr char kNoValues[] =
    "XML-Daten für Subitem 'Attribut' konnten nicht erstellt werden: Attribut enth\xC3\xA4t keine "
    "Values";
constexpr char kValueFailed[] =
    "XML-Daten für Subitem 'Attribut_Value' konnten nicht erstellt werden.";
constexpr char kKeyFailed[] = "XML-Daten für Subitem 'TerminKey' konnten nicht erstellt werden.";

// --- add and replace --------------------------------------------------------

TEST(AddReplaceItemTest, AppointmentAddMatchesGolden) {
  test::ScopedProcess scoped;
  XmlWriter writer;
  clZVAddReplaceItem item;
  item.CmdID = 3;
  item.Termin->Source = "ZV-1";
  item.Termin->SetDTStart("20240701T080000Z");
  item.Termin->SetDTEnd("20240701T083000Z");
  item.Termin->Status = "Requested";
  item.Calendar->Source = "not written";
  item.AAttribute->Source = "not written";
  EXPECT_TRUE(item.CreateXMLSource(writer.Outside(), "Add"));
  EXPECT_EQ(WrittenXml(writer), Golden("items/add_termin.xml"));
}

TEST(AddReplaceItemTest, CmdIdZeroIsWrittenAsZero) {
  test::ScopedProcess scoped;
  XmlWriter writer;
  clZVAddReplaceItem item;
  ASSERT_TRUE(item.CreateXMLSource(writer.Outside(), "Replace"));
  const XmlElement body = WrittenInto(writer, "SyncBody");
  const XmlElement& element = body.Children()[0];
  EXPECT_EQ(element.Name(), "Replace");
  EXPECT_EQ(element.Children()[0].Name(), "CmdID");
  EXPECT_EQ(element.Children()[0].OwnText(), "0");
}

TEST(AddReplaceItemTest, AnyOtherItemTypeWritesTheAppointment) {
  test::ScopedProcess scoped;
  for (int32_t type : {0, 1, 4, -1}) {
    XmlWriter writer;
    clZVAddReplaceItem item;
    item.ItemType = type;
    ASSERT_TRUE(item.CreateXMLSource(writer.Outside(), "Add"));
    const XmlElement body = WrittenInto(writer, "SyncBody");
    EXPECT_EQ(ChildNames(body.Children()[0]), (Names{"CmdID", "VEvent"})) << type;
  }
}

TEST(AddReplaceItemTest, CalendarAddMatchesGolden) {
  test::ScopedProcess scoped;
  XmlWriter writer;
  clZVAddReplaceItem item;
  item.ItemType = item_type::kCalendar;
  item.CmdID = 1;
  item.Calendar->Source = "HX-B1";
  item.Calendar->Target = "ZV-K1";
  item.Calendar->Title = "Dr. Wei\xC3\x9F";
  EXPECT_TRUE(item.CreateXMLSource(writer.Outside(), "Add"));
  EXPECT_EQ(WrittenXml(writer), Golden("items/add_calendar.xml"));
}

TEST(AddReplaceItemTest, AttributeIsWrittenAsItsFirstValue) {
  test::ScopedProcess scoped;
  XmlWriter writer;
  clZVAddReplaceItem item;
  item.ItemType = item_type::kAttribute;
  item.CmdID = 6;
  item.AAttribute->Title = "Behandlungsart";
  item.AAttribute->Values.Add("V1", "HV1", "Prophylaxe");
  item.AAttribute->Values.Add("V2", "HV2", "Bleaching");
  EXPECT_TRUE(item.CreateXMLSource(writer.Outside(), "Map"));
  EXPECT_EQ(WrittenXml(writer), Golden("items/add_attribute.xml"));
}

TEST(AddReplaceItemTest, AttributeWithoutValuesWritesCmdIdAndFails) {
  test::ScopedProcess scoped;
  scoped.ActivateLog();
  XmlWriter writer;
  clZVAddReplaceItem item;
  item.ItemType = item_type::kAttribute;
  item.CmdID = 2;
  EXPECT_FALSE(item.CreateXMLSource(writer.Outside(), "Map"));
  EXPECT_EQ(BoxTexts(scoped), Names{kNoValues});
  EXPECT_EQ(scoped.log.lines, Names{kNoValues});
  EXPECT_EQ(WrittenXml(writer), "<Map><CmdID>2</CmdID></Map>");
}

TEST(AddReplaceItemTest, FailingAttributeValueIsReported) {
  test::ScopedProcess scoped;
  scoped.ActivateLog();
  FailingWriter writer("Title");
  clZVAddReplaceItem item;
  item.ItemType = item_type::kAttribute;
  item.AAttribute->Values.Add("V1", "HV1", "Prophylaxe");
  EXPECT_FALSE(item.CreateXMLSource(writer.Outside(), "Map"));
  EXPECT_EQ(BoxTexts(scoped), Names{kValueFailed});
  EXPECT_EQ(scoped.log.lines,
            (Names{CreateElementErrorLine("clZVAttributeValue", "CreateXMLSource"), kValueFailed}));
  // The partial element stays.
  EXPECT_EQ(WrittenXml(writer),
            "<Map><CmdID>0</CmdID><Attribute_Value><Source>V1</Source><Target>HV1</Target>"
            "</Attribute_Value></Map>");
}

TEST(AddReplaceItemTest, FailingCalendarIsReportedAsAttribut) {
  test::ScopedProcess scoped;
  scoped.ActivateLog();
  FailingWriter writer("Calendar");
  clZVAddReplaceItem item;
  item.ItemType = item_type::kCalendar;
  EXPECT_FALSE(item.CreateXMLSource(writer.Outside(), "Add"));
  EXPECT_EQ(BoxTexts(scoped), Names{kCalendarFailed});
  EXPECT_EQ(CountOf(scoped.log.lines, kCalendarFailed), 1);
  EXPECT_EQ(WrittenXml(writer), "<Add><CmdID>0</CmdID></Add>");
}

TEST(AddReplaceItemTest, FailingAppointmentIsReported) {
  test::ScopedProcess scoped;
  scoped.ActivateLog();
  FailingWriter writer("VEvent");
  clZVAddReplaceItem item;
  item.CmdID = 4;
  EXPECT_FALSE(item.CreateXMLSource(writer.Outside(), "Replace"));
  EXPECT_EQ(BoxTexts(scoped), Names{kTerminFailed});
  EXPECT_EQ(scoped.log.lines,
            (Names{CreateElementErrorLine("clZVTermin", "CreateXMLSource"), kTerminFailed}));
  EXPECT_EQ(WrittenXml(writer), "<Replace><CmdID>4</CmdID></Replace>");
}

TEST(AddReplaceItemTest, AppointmentWithFailingSubItemFailsTheCommand) {
  test::ScopedProcess scoped;
  scoped.ActivateLog();
  FailingWriter writer("Customer");
  clZVAddReplaceItem item;
  EXPECT_FALSE(item.CreateXMLSource(writer.Outside(), "Add"));
  EXPECT_EQ(BoxTexts(scoped),
            (Names{"CreateXMLSource fehlgeschlagen für SubItem 'Customer'.", kTerminFailed}));
}

TEST(AddReplaceItemTest, OwnFailureIsReportedAndNothingIsAppended) {
  test::ScopedProcess scoped;
  scoped.ActivateLog();
  FailingWriter writer("Add");
  clZVAddReplaceItem item;
  EXPECT_FALSE(item.CreateXMLSource(writer.Outside(), "Add"));
  EXPECT_TRUE(scoped.ui.boxes.empty());
  EXPECT_EQ(scoped.log.lines,
            Names{CreateElementErrorLine("clZVAddReplaceItem", "CreateXMLSource")});
  const XmlElement body = WrittenInto(writer, "SyncBody");
  EXPECT_TRUE(body.Children().empty());
}

// --- delete and map ---------------------------------------------------------

TEST(DeleteMapItemTest, DeleteMatchesGolden) {
  test::ScopedProcess scoped;
  XmlWriter writer;
  clZVDeleteMapItem item;
  item.TerminKey->TerminKeySource = "ZV-1";
  item.TerminKey->TerminKeyTarget = "HX-2";
  EXPECT_TRUE(item.CreateXMLSource(writer.Outside(), "Delete"));
  EXPECT_EQ(WrittenXml(writer), Golden("items/delete_item.xml"));
}

TEST(DeleteMapItemTest, MapWithOneEmptyKeyMatchesGolden) {
  test::ScopedProcess scoped;
  XmlWriter writer;
  clZVDeleteMapItem item;
  item.CmdID = 4;
  item.TerminKey->TerminKeySource = "HX-2";
  EXPECT_TRUE(item.CreateXMLSource(writer.Outside(), "Map"));
  EXPECT_EQ(WrittenXml(writer), Golden("items/map_item.xml"));
}

TEST(DeleteMapItemTest, FailingKeyIsReportedAndLeavesThePartialElement) {
  test::ScopedProcess scoped;
  scoped.ActivateLog();
  FailingWriter writer("VEvent");
  clZVDeleteMapItem item;
  item.CmdID = 7;
  EXPECT_FALSE(item.CreateXMLSource(writer.Outside(), "Delete"));
  EXPECT_EQ(BoxTexts(scoped), Names{kKeyFailed});
  EXPECT_EQ(scoped.log.lines,
            (Names{CreateElementErrorLine("clZVTerminKey", "CreateXMLSource"), kKeyFailed}));
  EXPECT_EQ(WrittenXml(writer), "<Delete><CmdID>7</CmdID></Delete>");
}

TEST(DeleteMapItemTest, OwnFailureIsReported) {
  test::ScopedProcess scoped;
  scoped.ActivateLog();
  FailingWriter writer("CmdID");
  EXPECT_FALSE(clZVDeleteMapItem().CreateXMLSource(writer.Outside(), "Map"));
  EXPECT_TRUE(scoped.ui.boxes.empty());
  EXPECT_EQ(scoped.log.lines,
            Names{CreateElementErrorLine("clZVDeleteMapItem", "CreateXMLSource")});
  EXPECT_EQ(WrittenXml(writer), "<Map/>");
}

}  // namespace
}  // namespace kdzv

namespace kdzv {
namespace {

TEST(AddReplaceItemTest, AnItemForAnAppointmentHasItsOwnCalendarAndAttribute) {
  auto termin = std::make_shared<clZVTermin>();
  clZVAddReplaceItem first(termin);
  clZVAddReplaceItem second(std::make_shared<clZVTermin>());
  EXPECT_EQ(first.Termin, termin);
  EXPECT_EQ(first.ItemType, item_type::kTermin);
  ASSERT_TRUE(first.Calendar && first.AAttribute && second.Calendar && second.AAttribute);
  first.Calendar->Title = "only the first";
  first.AAttribute->Values.Add("V1", "", "x");
  EXPECT_EQ(second.Calendar->Title, "");
  EXPECT_EQ(second.AAttribute->Values.Count(), 0);
  // The payloads outlive the item that made them.
  const auto calendar = first.Calendar;
  first = clZVAddReplaceItem();
  EXPECT_EQ(calendar->Title, "only the first");
}

}  // namespace
}  // namespace kdzv
