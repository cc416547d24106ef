// The records through late binding: every class created by its ProgID, its
// properties written and read back by name, the automation runtime's
// coercions and refusals.
#include <gtest/gtest.h>

#include "automation_client.h"

namespace kdzv::host {
namespace {

TEST(ComRecords, EveryClassIsCreatedByItsProgID) {
  for (const wchar_t* prog_id :
       {L"kdZentavo.kdZVTermin", L"kdZentavo.kdZVCalendar", L"kdZentavo.kdZVBelegungsZeit",
        L"kdZentavo.kdZVBelegungsZeiten", L"kdZentavo.kdZVBelegung", L"kdZentavo.kdZVBelegungen",
        L"kdZentavo.clZVSettings", L"kdZentavo.kdZVInterface"}) {
    HRESULT hr = E_FAIL;
    const Obj object = Obj::Create(prog_id, &hr);
    EXPECT_EQ(hr, S_OK) << prog_id;
    EXPECT_TRUE(object) << prog_id;
  }
}

TEST(ComRecords, TerminPropertiesKeepWhatIsWritten) {
  const Obj termin = Obj::Create(L"kdZentavo.kdZVTermin");
  ASSERT_TRUE(termin);
  EXPECT_EQ(termin.Put(L"PatientName", L"Müller-Lüdenscheidt"), S_OK);
  EXPECT_EQ(termin.Get(L"PatientName").Text(), L"Müller-Lüdenscheidt");
  EXPECT_EQ(termin.Put(L"TerminStart", Var::Date(46000.5)), S_OK);
  const Var start = termin.Get(L"TerminStart");
  EXPECT_EQ(start.type(), VT_DATE);
  EXPECT_DOUBLE_EQ(start.Double(), 46000.5);
  EXPECT_EQ(termin.Put(L"PatientNeu", true), S_OK);
  EXPECT_EQ(termin.Get(L"PatientNeu").type(), VT_BOOL);
  EXPECT_TRUE(termin.Get(L"PatientNeu").Bool());
  EXPECT_EQ(termin.Put(L"TerminStatus", 3), S_OK);
  EXPECT_EQ(termin.Get(L"TerminStatus").Long(), 3);
  // Names are found in any case, as a late-binding host writes them.
  EXPECT_EQ(termin.Get(L"patientname").Text(), L"Müller-Lüdenscheidt");
}

TEST(ComRecords, ValuesAreCoercedAsAutomationCoercesThem) {
  const Obj calendar = Obj::Create(L"kdZentavo.kdZVCalendar");
  ASSERT_TRUE(calendar);
  EXPECT_EQ(calendar.Put(L"BehandlerIDHX", L"42"), S_OK);  // text to Long
  EXPECT_EQ(calendar.Get(L"BehandlerIDHX").type(), VT_I4);
  EXPECT_EQ(calendar.Get(L"BehandlerIDHX").Long(), 42);
  EXPECT_EQ(calendar.Put(L"Title", 17), S_OK);  // number to text
  EXPECT_EQ(calendar.Get(L"Title").Text(), L"17");
  EXPECT_EQ(calendar.Put(L"IgnoreIt", L"True"), S_OK);
  EXPECT_TRUE(calendar.Get(L"IgnoreIt").Bool());
}

TEST(ComRecords, WhatAutomationRefusesFailsWithItsOwnCode) {
  const Obj calendar = Obj::Create(L"kdZentavo.kdZVCalendar");
  ASSERT_TRUE(calendar);
  HRESULT hr = S_OK;
  EXPECT_EQ(calendar.Id(L"NoSuchMember", &hr), DISPID_UNKNOWN);
  EXPECT_EQ(hr, DISP_E_UNKNOWNNAME);
  EXPECT_EQ(calendar.Put(L"BehandlerIDHX", L"not a number"), DISP_E_TYPEMISMATCH);
  EXPECT_EQ(calendar.Put(L"BehandlerIDHX", 1e12), DISP_E_OVERFLOW);
  const Obj zeiten = Obj::Create(L"kdZentavo.kdZVBelegungsZeiten");
  EXPECT_EQ(zeiten.Call(L"Add", {Var(30)}).hr, DISP_E_BADPARAMCOUNT);
}

TEST(ComRecords, TheEnumerationValuesAreTheCores) {
  const Obj termin = Obj::Create(L"kdZentavo.kdZVTermin");
  ASSERT_TRUE(termin);
  EXPECT_EQ(termin.Get(L"TerminCommand").Long(), 0);  // Termin_Add
  EXPECT_EQ(termin.Get(L"TerminStatus").Long(), 0);   // TerminStatus_Booked
}

}  // namespace
}  // namespace kdzv::host
