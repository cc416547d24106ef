#include "message/opening_time_items.h"

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

constexpr char kCalendarFailed[] =
    "XML-Daten für Subitem 'Calendar' konnten nicht erstellt werden.";
constexpr char kValueFailed[] =
    "XML-Daten für Subitem 'Attribute_Value' konnten nicht erstellt werden.";
constexpr char kOpeningTimeFailed[] =
    "CreateXMLSource fehlgeschlagen für SubItem 'clZVOpeningTime'.";

DateTime Local(int year, int month, int day, int hour, int minute) {
  return DateTime::FromFields({year, month, day, hour, minute, 0});
}

// One calendar with two treatments: the first with two days, the second
// without any.
void FillTwoValues(clZVOpeningTime& opening_time) {
  const auto first = opening_time.Values->Add("M_3", "ZV-M3", "Prophylaxe", "M_3");
  first->Days->Add("20240701:20240701T060000Z/30", "D_20240701");
  first->Days->Add("20240702:", "D_20240702");
  opening_time.Values->Add("M_4", "", "Bleaching", "M_4");
}

// --- writing ----------------------------------------------------------------

TEST(OpeningTimeTest, TwoValuesWithDaysMatchGolden) {
  test::ScopedProcess scoped;
  XmlWriter writer;
  clZVReplaceOpeningTimeCol col;
  const auto opening_time = col.Add(9, "P_12", "ZV-K1", "Dr. Wei\xC3\x9F", "P_12");
  FillTwoValues(*opening_time);
  EXPECT_TRUE(col.CreateXMLSource(writer.Outside()));
  EXPECT_EQ(WrittenXml(writer), Golden("items/opening_time.xml"));
  EXPECT_TRUE(scoped.Reports().empty());
}

TEST(OpeningTimeTest, EmptyValuesWriteOnlyTheCalendarAndEmptyTitleIsLeftOut) {
  test::ScopedProcess scoped;
  XmlWriter writer;
  clZVOpeningTime opening_time;
  opening_time.Calendar->Source = "P_12";
  EXPECT_TRUE(opening_time.CreateXMLSource(writer.Outside(), "Replace"));
  EXPECT_EQ(WrittenXml(writer), Golden("items/opening_time_empty.xml"));
}

TEST(OpeningValueTest, ValueWithoutDaysWritesSourceTargetAndTitle) {
  test::ScopedProcess scoped;
  XmlWriter writer;
  clZVAttribute_Value value;
  value.Source = "M_4";
  value.Title = "Bleaching";
  EXPECT_TRUE(value.CreateXMLSource(writer.Outside(), "Attribute_Value"));
  EXPECT_EQ(WrittenXml(writer),
            "<Attribute_Value><Source>M_4</Source><Target/><Title>Bleaching</Title>"
            "</Attribute_Value>");
}

TEST(OpeningValueTest, DaysAreWrittenInOrderAsTheyAreHeld) {
  test::ScopedProcess scoped;
  XmlWriter writer;
  clZVAttribute_Value value;
  value.Days->Add("b");
  value.Days->Add("a & c");
  EXPECT_TRUE(value.CreateXMLSource(writer.Outside(), "X"));
  EXPECT_EQ(WrittenXml(writer),
            "<X><Source/><Target/><Title/><Day>b</Day><Day>a &amp; c</Day></X>");
}

TEST(OpeningValueTest, AddTakesTheValueAndTheKey) {
  clZVAttribute_ValueDays days;
  const auto day = days.Add("20240701:", "D_20240701");
  EXPECT_EQ(day->Value, "20240701:");
  EXPECT_EQ(days.Item("d_20240701"), day);
}

TEST(OpeningValuesTest, AddTakesTheFields) {
  clZVAttribute_Values values;
  const auto value = values.Add("M_3", "ZV-M3", "Prophylaxe", "M_3");
  EXPECT_EQ(value->Source, "M_3");
  EXPECT_EQ(value->Target, "ZV-M3");
  EXPECT_EQ(value->Title, "Prophylaxe");
  EXPECT_EQ(value->Days->Count(), 0);
  EXPECT_EQ(values.Item("m_3"), value);
}

TEST(ReplaceOpeningTimeColTest, AddTakesCommandNumberAndCalendar) {
  clZVReplaceOpeningTimeCol col;
  const auto opening_time = col.Add(5, "P_1", "ZV-1", "Dr. A");
  EXPECT_EQ(opening_time->CmdID, 5);
  EXPECT_EQ(opening_time->Calendar->Source, "P_1");
  EXPECT_EQ(opening_time->Calendar->Target, "ZV-1");
  EXPECT_EQ(opening_time->Calendar->Title, "Dr. A");
  EXPECT_EQ(opening_time->Values->Count(), 0);
}

TEST(ReplaceOpeningTimeColTest, EmptyCollectionWritesNothing) {
  test::ScopedProcess scoped;
  XmlWriter writer;
  EXPECT_TRUE(clZVReplaceOpeningTimeCol().CreateXMLSource(writer.Outside()));
  const XmlElement body = WrittenInto(writer, "SyncBody");
  EXPECT_TRUE(body.Children().empty());
}

// --- failures ---------------------------------------------------------------

TEST(OpeningTimeTest, FailingCalendarIsReportedAndTheValuesAreStillWritten) {
  test::ScopedProcess scoped;
  scoped.ActivateLog();
  FailingWriter writer("Calendar");
  clZVOpeningTime opening_time;
  FillTwoValues(opening_time);
  EXPECT_FALSE(opening_time.CreateXMLSource(writer.Outside(), "Replace"));
  EXPECT_EQ(BoxTexts(scoped), Names{kCalendarFailed});
  EXPECT_EQ(scoped.log.lines,
            (Names{CreateElementErrorLine("clZVCalendar", "CreateXMLSource"), kCalendarFailed}));
  const XmlElement body = WrittenInto(writer, "SyncBody");
  EXPECT_EQ(ChildNames(body.Children()[0].Children()[1]),
            (Names{"Attribute_Value", "Attribute_Value"}));
}

TEST(OpeningTimeTest, FailingValueIsToldByTheValuesAndByTheOpeningTime) {
  test::ScopedProcess scoped;
  scoped.ActivateLog();
  FailingWriter writer("Day");  // only the first value has days
  clZVOpeningTime opening_time;
  opening_time.CmdID = 9;
  opening_time.Calendar->Source = "P_12";
  FillTwoValues(opening_time);
  EXPECT_FALSE(opening_time.CreateXMLSource(writer.Outside(), "Replace"));
  // The value collection tells about the value and goes on with the next;
  // the opening time then tells about its values with the same text.
  EXPECT_EQ(BoxTexts(scoped), (Names{kValueFailed, kValueFailed}));
  EXPECT_EQ(scoped.log.lines,
            (Names{CreateElementErrorLine("clZVAttribute_Value", "CreateXMLSource"), kValueFailed,
                   kValueFailed}));
  EXPECT_EQ(WrittenXml(writer),
            "<Replace><CmdID>9</CmdID><OpeningTime><Calendar><Source>P_12</Source><Target/>"
            "</Calendar><Attribute_Value><Source>M_3</Source><Target>ZV-M3</Target>"
            "<Title>Prophylaxe</Title></Attribute_Value><Attribute_Value><Source>M_4</Source>"
            "<Target/><Title>Bleaching</Title></Attribute_Value></OpeningTime></Replace>");
}

TEST(OpeningValuesTest, EveryFailingValueIsToldAndTheOthersAreWritten) {
  test::ScopedProcess scoped;
  scoped.ActivateLog();
  FailingWriter writer("Day");
  clZVAttribute_Values values;
  values.Add("M_1", "", "first")->Days->Add("d");
  values.Add("M_2", "", "second");
  values.Add("M_3", "", "third")->Days->Add("d");
  EXPECT_FALSE(values.CreateXMLSource(writer.Outside(), "Attribute_Value"));
  EXPECT_EQ(BoxTexts(scoped), (Names{kValueFailed, kValueFailed}));
  EXPECT_EQ(CountOf(scoped.log.lines, kValueFailed), 2);
  const XmlElement parent = WrittenInto(writer, "OpeningTime");
  ASSERT_EQ(parent.Children().size(), 3u);
  EXPECT_EQ(parent.Children()[1].Children()[2].OwnText(), "second");
  EXPECT_EQ(ChildNames(parent.Children()[2]), (Names{"Source", "Target", "Title"}));
}

TEST(OpeningValuesTest, AllWrittenIsTrue) {
  test::ScopedProcess scoped;
  XmlWriter writer;
  clZVAttribute_Values values;
  values.Add("M_1", "", "first");
  values.Add("M_2", "", "second");
  EXPECT_TRUE(values.CreateXMLSource(writer.Outside(), "Attribute_Value"));
  const XmlElement parent = WrittenInto(writer, "OpeningTime");
  EXPECT_EQ(ChildNames(parent), (Names{"Attribute_Value", "Attribute_Value"}));
}

TEST(OpeningTimeTest, OwnFailureIsReported) {
  test::ScopedProcess scoped;
  scoped.ActivateLog();
  FailingWriter writer("OpeningTime");
  clZVOpeningTime opening_time;
  opening_time.CmdID = 2;
  EXPECT_FALSE(opening_time.CreateXMLSource(writer.Outside(), "Replace"));
  EXPECT_TRUE(scoped.ui.boxes.empty());
  EXPECT_EQ(scoped.log.lines, Names{CreateElementErrorLine("clZVOpeningTime", "CreateXMLSource")});
  EXPECT_EQ(WrittenXml(writer), "<Replace><CmdID>2</CmdID></Replace>");
}

TEST(ReplaceOpeningTimeColTest, SecondOfThreeFailingStopsWithOneMessage) {
  test::ScopedProcess scoped;
  scoped.ActivateLog();
  FailingWriter writer("Replace", 2);
  clZVReplaceOpeningTimeCol col;
  for (int32_t id = 1; id <= 3; ++id) col.Add(id, "P", "Z", "");
  EXPECT_FALSE(col.CreateXMLSource(writer.Outside()));
  EXPECT_EQ(BoxTexts(scoped), Names{kOpeningTimeFailed});
  EXPECT_EQ(CountOf(scoped.log.lines, kOpeningTimeFailed), 1);
  const XmlElement body = WrittenInto(writer, "SyncBody");
  ASSERT_EQ(body.Children().size(), 1u);
  EXPECT_EQ(body.Children()[0].Children()[0].OwnText(), "1");
}

TEST(ReplaceOpeningTimeColTest, OpeningTimeWithFailingPartStopsTheCollection) {
  test::ScopedProcess scoped;
  scoped.ActivateLog();
  FailingWriter writer("Calendar", 1);
  clZVReplaceOpeningTimeCol col;
  col.Add(1, "P", "Z", "");
  col.Add(2, "P", "Z", "");
  EXPECT_FALSE(col.CreateXMLSource(writer.Outside()));
  EXPECT_EQ(BoxTexts(scoped), (Names{kCalendarFailed, kOpeningTimeFailed}));
  const XmlElement body = WrittenInto(writer, "SyncBody");
  EXPECT_EQ(body.Children().size(), 1u);
}

// --- day text ---------------------------------------------------------------

TEST(OpeningDayTextTest, SlotsAsServiceTimesWithTheirLengths) {
  test::ScopedProcess scoped;  // Central European time
  EXPECT_EQ(OpeningDayText(Local(2024, 7, 1, 0, 0),
                           {{Local(2024, 7, 1, 8, 0), 30}, {Local(2024, 7, 1, 10, 0), 45}}),
            "20240701:20240701T060000Z/30;20240701T080000Z/45");
}

TEST(OpeningDayTextTest, WinterSlotIsOneHourAhead) {
  test::ScopedProcess scoped;
  EXPECT_EQ(OpeningDayText(Local(2024, 12, 2, 0, 0), {{Local(2024, 12, 2, 0, 30), 15}}),
            "20241202:20241201T233000Z/15");
}

TEST(OpeningDayTextTest, DayWithoutSlots) {
  test::ScopedProcess scoped;
  EXPECT_EQ(OpeningDayText(Local(2024, 7, 1, 0, 0), {}), "20240701:");
}

TEST(OpeningDayTextTest, DayIsTheDateOfTheGivenValueWhateverItsTime) {
  test::ScopedProcess scoped;
  EXPECT_EQ(OpeningDayText(Local(2024, 7, 1, 23, 59), {}), "20240701:");
}

TEST(OpeningDayTextTest, SlotThatCannotBeConvertedIsLeftOut) {
  test::ScopedProcess scoped;
  scoped.ActivateLog();
  // Half an hour into the first representable day: its UTC time lies before it.
  EXPECT_EQ(OpeningDayText(Local(2024, 7, 1, 0, 0), {{Local(2024, 7, 1, 8, 0), 30},
                                                     {Local(100, 1, 1, 0, 30), 10},
                                                     {Local(2024, 7, 1, 9, 0), 20}}),
            "20240701:20240701T060000Z/30;20240701T070000Z/20");
  ASSERT_EQ(scoped.log.lines.size(), 1u);
  EXPECT_NE(scoped.log.lines[0].find("Proc=ConvertLocalToZentavoDateTime"), std::string::npos);
}

TEST(OpeningDayTextTest, OnlySlotLeftOutGivesTheBareDay) {
  test::ScopedProcess scoped;
  scoped.ActivateLog();
  EXPECT_EQ(OpeningDayText(Local(2024, 7, 1, 0, 0), {{Local(100, 1, 1, 0, 30), 10}}), "20240701:");
}

TEST(OpeningDayTextTest, WithoutTimeZoneNoSlotCanBeConverted) {
  test::ScopedProcess scoped;
  process::SetTimeZone(nullptr);
  EXPECT_EQ(OpeningDayText(Local(2024, 7, 1, 0, 0), {{Local(2024, 7, 1, 8, 0), 30}}), "20240701:");
}

}  // namespace
}  // namespace kdzv
