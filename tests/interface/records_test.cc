#include "interface/records.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace kdzv {
namespace {

template <class Record>
std::vector<std::string> NamesOf(const Record& record) {
  std::vector<std::string> names;
  record.VisitProperties([&](std::string_view name, const auto&) { names.emplace_back(name); });
  return names;
}

TEST(Enumerations, HaveTheHostsValues) {
  EXPECT_EQ(ZV_Success, 0);
  EXPECT_EQ(ZV_Error_PathNotExist, 1);
  EXPECT_EQ(ZV_Error_TimeOut, 2);
  EXPECT_EQ(ZV_Error_PathNotEmpty, 3);
  EXPECT_EQ(ZV_Error_Cancel, 4);
  EXPECT_EQ(ZV_Error_General, 5);
  EXPECT_EQ(ZV_Error_LogFileAccess, 6);
  EXPECT_EQ(Termin_Add, 0);
  EXPECT_EQ(Termin_Delete, 1);
  EXPECT_EQ(Termin_Replace, 2);
  EXPECT_EQ(TerminStatus_Booked, 0);
  EXPECT_EQ(TerminStatus_Requested, 1);
  EXPECT_EQ(TerminStatus_ClientCanceled, 2);
  EXPECT_EQ(TerminStatus_ProviderCanceled, 3);
  EXPECT_EQ(Object_Add, 0);
  EXPECT_EQ(Object_Delete, 1);
  EXPECT_EQ(Object_Replace, 2);
  static_assert(sizeof(enmZVRetValues) == 4 && sizeof(enmZVTerminCommand) == 4 &&
                sizeof(enmZVTerminStatus) == 4 && sizeof(enmZVCalendarCommand) == 4);
}

TEST(Records, TerminPropertiesInTypeLibraryOrder) {
  EXPECT_EQ(NamesOf(kdZVTermin{}),
            (std::vector<std::string>{
                "PatientTitle", "PatientVorname", "PatientName", "PatientGebDat",
                "PatientAddress", "PatientPLZ", "PatientOrt", "PatientTelefon", "PatientEmail",
                "PatientVersicherung", "PatientNeu", "KalenderName", "KalenderSourceID",
                "TerminIDZV", "TerminIDHX", "TerminStart", "TerminEnde", "TerminKommentar",
                "TerminCommand", "TerminMethode", "TerminMethodeSourceID", "TerminStatus",
                "TerminBlock", "IgnoreIt"}));
}

TEST(Records, CalendarAndBelegungPropertiesInOrder) {
  EXPECT_EQ(NamesOf(kdZVCalendar{}),
            (std::vector<std::string>{"Source", "Target", "Title", "CalendarCommand", "IgnoreIt",
                                      "BehandlerIDHX", "BehandlerIDZV", "AttributeIDHX",
                                      "AttributeIDZV"}));
  EXPECT_EQ(NamesOf(kdZVBelegung{}),
            (std::vector<std::string>{"MethodeID", "MethodeIDext", "BehandlerID",
                                      "BehandlerIDext", "Datum"}));
  EXPECT_EQ(NamesOf(kdZVBelegungsZeit{}), (std::vector<std::string>{"Dauer", "StartZeit"}));
}

TEST(Records, ClassNamesServeAsModuleNames) {
  EXPECT_EQ(kdZVTermin::ClassName(), "kdZVTermin");
  EXPECT_EQ(kdZVCalendar::ClassName(), "kdZVCalendar");
  EXPECT_EQ(kdZVBelegung::ClassName(), "kdZVBelegung");
  EXPECT_EQ(kdZVBelegungsZeit::ClassName(), "kdZVBelegungsZeit");
  EXPECT_EQ(kdZVBelegungen::ClassName(), "kdZVBelegungen");
  EXPECT_EQ(kdZVBelegungsZeiten::ClassName(), "kdZVBelegungsZeiten");
}

TEST(Records, NewRecordsAreEmpty) {
  const kdZVTermin termin;
  EXPECT_TRUE(termin.PatientName.empty());
  EXPECT_TRUE(termin.TerminStart.IsZero());
  EXPECT_FALSE(termin.IgnoreIt);
  EXPECT_EQ(termin.TerminCommand, Termin_Add);
  const kdZVCalendar calendar;
  EXPECT_EQ(calendar.BehandlerIDHX, 0);
  EXPECT_TRUE(calendar.AttributeIDHX.empty());
}

TEST(Belegung, CreatesItsEmptyZeitenAtCreation) {
  kdZVBelegung day;
  ASSERT_NE(day.Zeiten, nullptr);
  EXPECT_EQ(day.Zeiten->Count(), 0);
  // The host may hand in another collection; it is then the same object.
  auto other = std::make_shared<kdZVBelegungsZeiten>();
  day.Zeiten = other;
  EXPECT_EQ(day.Zeiten.get(), other.get());
}

TEST(Belegungen, AddSetsExactlyTheNamedProperties) {
  kdZVBelegungen days;
  const DateTime date = DateTime::FromDate(2024, 7, 1);
  auto day = days.Add(1, 2, date, "k1");
  EXPECT_EQ(day->MethodeID, 1);
  EXPECT_EQ(day->BehandlerID, 2);
  EXPECT_EQ(day->Datum, date);
  EXPECT_TRUE(day->MethodeIDext.empty());
  EXPECT_TRUE(day->BehandlerIDext.empty());
  EXPECT_EQ(days.Count(), 1);
  EXPECT_EQ(days.Item(IndexOrKey(std::string("K1"))).get(), day.get());

  auto slot = day->Zeiten->Add(30, DateTime::FromDate(2024, 7, 1));
  EXPECT_EQ(slot->Dauer, 30);
  EXPECT_EQ(day->Zeiten->Item(IndexOrKey(1)).get(), slot.get());
}

TEST(Belegungen, DuplicateKeyFailsLikeTheKeyedList) {
  kdZVBelegungen days;
  days.Add(1, 1, DateTime(), "same");
  try {
    days.Add(2, 2, DateTime(), "SAME");
    FAIL();
  } catch (const Error& e) {
    EXPECT_EQ(e.number(), 457);
  }
  kdZVBelegungsZeiten slots;
  slots.Add(10, DateTime(), "s");
  EXPECT_THROW(slots.Add(20, DateTime(), "s"), Error);
  EXPECT_EQ(slots.Count(), 1);
}

TEST(Belegungen, EmptyKeyKeepsEqualRecords) {
  kdZVBelegungen days;
  days.Add(1, 1, DateTime());
  days.Add(1, 1, DateTime(), "");
  EXPECT_EQ(days.Count(), 2);
  EXPECT_THROW(days.Item(IndexOrKey(3)), Error);
  EXPECT_THROW(days.Item(IndexOrKey(std::string("missing"))), Error);
}

}  // namespace
}  // namespace kdzv
