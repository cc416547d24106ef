// The copies of received message items into the host's records.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>

#include "interface/records.h"
#include "mapping/matching.h"
#include "message/calendar_items.h"
#include "message/termin_items.h"
#include "support/fake_profile_file.h"
#include "support/fakes.h"

namespace kdzv {
namespace {

constexpr const char* kCfg = "C:\\Programme\\Halvex\\kdZentavo.cfg";

DateTime Day(int year, int month, int day) { return DateTime::FromDate(year, month, day); }

// An attribute with one value.
void AddAttribute(clZVTermin& termin, std::string_view name, std::string_view value_source,
                  std::string_view value_title) {
  auto attribute = std::make_shared<clZVAttribute>();
  attribute->Source = "attr-" + std::string(name);
  attribute->Title = std::string(name);
  attribute->Value->Source = std::string(value_source);
  attribute->Value->Target = "hx-" + std::string(value_source);
  attribute->Value->Title = std::string(value_title);
  termin.Attributes.Add(attribute);
}

// An attribute as a message with several value elements carries it.
std::shared_ptr<clZVAttributeMulti> AddMulti(clZVTermin& termin, std::string_view name) {
  auto attribute = std::make_shared<clZVAttributeMulti>();
  attribute->Title = std::string(name);
  termin.Attributes.Add(attribute);
  return attribute;
}

// An appointment of the service with every field set and no attributes.
void FillAppointment(clZVTermin& termin) {
  termin.Source = "zv-4711";
  termin.Target = "hx-815";
  termin.Comment = "Bitte nüchtern kommen";
  termin.Status = "Booked";
  termin.Block = false;
  termin.SetDTStart("20240701T100000Z");
  termin.SetDTEnd("20240701T103000Z");
  termin.Calendar.Source = "cal-12";
  termin.Calendar.Target = "hx-cal-3";
  termin.Calendar.Title = "Dr. Weiß";
  clZVCustomer& customer = termin.Customer;
  customer.Title = "Dr.";
  customer.FirstName = "Anna";
  customer.LastName = "Müller";
  customer.DateOfBirth = "19700315";
  customer.Address = "Hauptstraße 1";
  customer.PostalCode = "10115";
  customer.City = "Berlin";
  customer.Phone = "030 123456";
  customer.Email = "anna@example.org";
}

class MatchingCopyTest : public ::testing::Test {
 protected:
  MatchingCopyTest() {
    process.ActivateLog();
    FillAppointment(termin);
  }

  // Reads the rules (the defaults unless the test stored others) and copies.
  void Copy() {
    matching.ReadMatchingCFG(kCfg);
    matching.CopyZVTerminToHXTermin(termin, record);
  }

  test::ScopedProcess process;
  test::FakeProfileFile profile;
  clZVMatching matching{profile};
  clZVTermin termin;
  kdZVTermin record;
};

TEST_F(MatchingCopyTest, CopiesCalendarCustomerAndAppointment) {
  Copy();
  EXPECT_EQ(record.KalenderName, "Dr. Weiß");
  EXPECT_EQ(record.KalenderSourceID, "cal-12");
  EXPECT_EQ(record.PatientAddress, "Hauptstraße 1");
  EXPECT_EQ(record.PatientEmail, "anna@example.org");
  EXPECT_EQ(record.PatientGebDat, Day(1970, 3, 15));
  EXPECT_EQ(record.PatientName, "Müller");
  EXPECT_EQ(record.PatientOrt, "Berlin");
  EXPECT_EQ(record.PatientPLZ, "10115");
  EXPECT_EQ(record.PatientTelefon, "030 123456");
  EXPECT_EQ(record.PatientTitle, "Dr.");
  EXPECT_EQ(record.PatientVorname, "Anna");
  EXPECT_EQ(record.TerminIDHX, "hx-815");
  EXPECT_EQ(record.TerminIDZV, "zv-4711");
  EXPECT_EQ(record.TerminKommentar, "Bitte nüchtern kommen");
  EXPECT_FALSE(record.TerminBlock);
  EXPECT_EQ(record.TerminStatus, TerminStatus_Booked);
  EXPECT_TRUE(process.Reports().empty());
}

TEST_F(MatchingCopyTest, StartAndEndAreTheItemsLocalTimes) {
  Copy();
  EXPECT_EQ(record.TerminStart, termin.StartDateTime());
  EXPECT_EQ(record.TerminEnde, termin.EndDateTime());
  // Central European summer time: two hours ahead of the service's UTC.
  EXPECT_EQ(record.TerminStart, DateTime::FromFields({2024, 7, 1, 12, 0, 0}));
  EXPECT_EQ(record.TerminEnde, DateTime::FromFields({2024, 7, 1, 12, 30, 0}));
}

TEST_F(MatchingCopyTest, CommandAndIgnoreFlagAreLeftAlone) {
  record.TerminCommand = Termin_Replace;
  record.IgnoreIt = true;
  Copy();
  EXPECT_EQ(record.TerminCommand, Termin_Replace);
  EXPECT_TRUE(record.IgnoreIt);
}

TEST_F(MatchingCopyTest, EmptyHostIdIsCopiedToo) {
  termin.Target = "";
  record.TerminIDHX = "old";
  Copy();
  EXPECT_EQ(record.TerminIDHX, "");
}

TEST_F(MatchingCopyTest, StatusTextsWithoutRegardToCase) {
  const struct {
    const char* text;
    enmZVTerminStatus status;
  } cases[] = {
      {"Booked", TerminStatus_Booked},
      {"BOOKED", TerminStatus_Booked},
      {"", TerminStatus_Booked},
      {"unknown", TerminStatus_Booked},
      {" requested", TerminStatus_Booked},
      {"ClientCanceled", TerminStatus_ClientCanceled},
      {"CLIENTCANCELED", TerminStatus_ClientCanceled},
      {"requested", TerminStatus_Requested},
      {"Requested", TerminStatus_Requested},
      {"providercanceled", TerminStatus_ProviderCanceled},
      {"ProviderCanceled", TerminStatus_ProviderCanceled},
  };
  for (const auto& c : cases) {
    termin.Status = c.text;
    record.TerminStatus =
        c.status == TerminStatus_Booked ? TerminStatus_ProviderCanceled : TerminStatus_Booked;
    Copy();
    EXPECT_EQ(record.TerminStatus, c.status) << "'" << c.text << "'";
  }
  EXPECT_TRUE(process.Reports().empty());
}

TEST_F(MatchingCopyTest, BlockFlagIsTakenOver) {
  // The reader sets Block only for the text "true" in any letter case.
  termin.Block = true;
  Copy();
  EXPECT_TRUE(record.TerminBlock);
  termin.Block = false;
  Copy();
  EXPECT_FALSE(record.TerminBlock);
}

TEST_F(MatchingCopyTest, BirthDateAsEightDigits) {
  termin.Customer.DateOfBirth = "19700315";
  Copy();
  EXPECT_EQ(record.PatientGebDat, Day(1970, 3, 15));
  EXPECT_EQ(record.PatientGebDat.serial(), 25642.0);  // a whole day, no time
}

TEST_F(MatchingCopyTest, BirthDateInTheUsersNotationIsTakenDirectly) {
  termin.Customer.DateOfBirth = "15.03.1970";
  Copy();
  EXPECT_EQ(record.PatientGebDat, Day(1970, 3, 15));
  termin.Customer.DateOfBirth = "1.2.65";
  Copy();
  EXPECT_EQ(record.PatientGebDat, Day(1965, 2, 1));
  termin.Customer.DateOfBirth = "1970-03-15";
  Copy();
  EXPECT_EQ(record.PatientGebDat, Day(1970, 3, 15));
  EXPECT_TRUE(process.Reports().empty());
}

TEST_F(MatchingCopyTest, EightDigitBirthDateRollsOver) {
  termin.Customer.DateOfBirth = "19701301";
  Copy();
  EXPECT_EQ(record.PatientGebDat, Day(1971, 1, 1));
  termin.Customer.DateOfBirth = "19700230";
  Copy();
  EXPECT_EQ(record.PatientGebDat, Day(1970, 3, 2));
  EXPECT_TRUE(process.Reports().empty());
}

TEST_F(MatchingCopyTest, UnreadableBirthDateEndsTheCopyAfterTheCustomersAddress) {
  termin.Customer.DateOfBirth = "unbekannt";
  AddAttribute(termin, "Neuer Patient", "np", "ja");
  record.PatientGebDat = Day(2000, 1, 1);
  record.TerminStatus = TerminStatus_Requested;
  record.TerminMethode = "before";
  Copy();
  ASSERT_EQ(process.Reports().size(), 1u);
  EXPECT_EQ(process.Reports()[0],
            "(MAIN) --> ERROR: 13/Type mismatch / Modul=clZVMatching"
            " / Proc=CopyZVTerminToHXTermin / Details=");
  // Filled up to the customer's address and e-mail ...
  EXPECT_EQ(record.KalenderName, "Dr. Weiß");
  EXPECT_EQ(record.KalenderSourceID, "cal-12");
  EXPECT_EQ(record.PatientAddress, "Hauptstraße 1");
  EXPECT_EQ(record.PatientEmail, "anna@example.org");
  // ... and nothing after.
  EXPECT_EQ(record.PatientGebDat, Day(2000, 1, 1));
  EXPECT_EQ(record.PatientName, "");
  EXPECT_EQ(record.PatientVorname, "");
  EXPECT_EQ(record.TerminIDZV, "");
  EXPECT_TRUE(record.TerminStart.IsZero());
  EXPECT_EQ(record.TerminStatus, TerminStatus_Requested);
  EXPECT_FALSE(record.PatientNeu);
  EXPECT_EQ(record.TerminMethode, "before");
}

TEST_F(MatchingCopyTest, EmptyBirthDateIsATypeMismatch) {
  termin.Customer.DateOfBirth = "";
  Copy();
  ASSERT_EQ(process.Reports().size(), 1u);
  EXPECT_EQ(process.Reports()[0],
            "(MAIN) --> ERROR: 13/Type mismatch / Modul=clZVMatching"
            " / Proc=CopyZVTerminToHXTermin / Details=");
  EXPECT_EQ(record.PatientEmail, "anna@example.org");
  EXPECT_EQ(record.PatientName, "");
}

TEST_F(MatchingCopyTest, BirthDateBeyondTheCalendarIsReported) {
  termin.Customer.DateOfBirth = "99991301";
  Copy();
  ASSERT_EQ(process.Reports().size(), 1u);
  EXPECT_EQ(process.Reports()[0],
            "(MAIN) --> ERROR: 5/Invalid procedure call or argument / Modul=clZVMatching"
            " / Proc=CopyZVTerminToHXTermin / Details=");
  EXPECT_EQ(record.PatientName, "");
}

TEST_F(MatchingCopyTest, ReportWithoutInterfaceGoesToAMessageBox) {
  process::SetActiveInterface(nullptr);
  termin.Customer.DateOfBirth = "x";
  Copy();
  ASSERT_EQ(process.ui.boxes.size(), 1u);
  EXPECT_EQ(process.ui.boxes[0].text,
            "Es ist der folgende Fehler aufgetreten:\r\n13/Type mismatch / Modul=clZVMatching"
            " / Proc=CopyZVTerminToHXTermin / Details=");
}

TEST_F(MatchingCopyTest, AppointmentWithoutAttributes) {
  record.PatientNeu = true;
  record.TerminMethode = "Akupunktur";
  record.TerminMethodeSourceID = "m-7";
  record.PatientVersicherung = "privat";
  Copy();
  EXPECT_FALSE(record.PatientNeu);
  EXPECT_EQ(record.TerminMethode, "");
  EXPECT_EQ(record.TerminMethodeSourceID, "m-7");
  EXPECT_EQ(record.PatientVersicherung, "");
  EXPECT_EQ(matching.IdxNeuerPatient, 0);
  EXPECT_EQ(matching.IdxMethode, 0);
  EXPECT_EQ(matching.IdxVersicherung, 1);  // one past the end of the empty list
  EXPECT_TRUE(process.Reports().empty());
}

TEST_F(MatchingCopyTest, NewPatientWithJaInAnyCase) {
  AddAttribute(termin, "Behandlungsart", "m-1", "Erstgespräch");
  AddAttribute(termin, "neuer patient", "np-1", "ja");
  Copy();
  EXPECT_TRUE(record.PatientNeu);
  EXPECT_EQ(matching.IdxNeuerPatient, 2);
}

TEST_F(MatchingCopyTest, NewPatientValueTexts) {
  const struct {
    const char* value;
    bool neu;
  } cases[] = {{"ja", true},   {"Ja", true},    {"JA", true}, {"Ja ", false},
               {" ja", false}, {"nein", false}, {"", false},  {"yes", false}};
  for (const auto& c : cases) {
    termin.Attributes.Clear();
    AddAttribute(termin, "Neuer Patient", "np", c.value);
    record.PatientNeu = !c.neu;
    Copy();
    EXPECT_EQ(record.PatientNeu, c.neu) << "'" << c.value << "'";
  }
}

TEST_F(MatchingCopyTest, FirstAttributeOfTheNameDecides) {
  AddAttribute(termin, "Neuer Patient", "np-1", "nein");
  AddAttribute(termin, "NEUER PATIENT", "np-2", "ja");
  Copy();
  EXPECT_FALSE(record.PatientNeu);
  EXPECT_EQ(matching.IdxNeuerPatient, 1);
}

TEST_F(MatchingCopyTest, NamesAreNotTrimmed) {
  AddAttribute(termin, " Neuer Patient", "np", "ja");
  AddAttribute(termin, "Behandlungsart ", "m-1", "Massage");
  AddAttribute(termin, " Versichertenart", "v-1", "gesetzlich");
  record.TerminMethodeSourceID = "m-old";
  Copy();
  EXPECT_FALSE(record.PatientNeu);
  EXPECT_EQ(matching.IdxNeuerPatient, 0);
  EXPECT_EQ(record.TerminMethode, "");
  EXPECT_EQ(record.TerminMethodeSourceID, "m-old");
  EXPECT_EQ(record.PatientVersicherung, "");
  EXPECT_EQ(matching.IdxVersicherung, 4);
}

TEST_F(MatchingCopyTest, BlanksInTheConfiguredNamePreventAMatch) {
  profile.Set(kCfg, "MATCHING", "NeuerPatient", "Neuer Patient ");
  AddAttribute(termin, "Neuer Patient", "np", "ja");
  Copy();
  EXPECT_FALSE(record.PatientNeu);
  EXPECT_EQ(matching.IdxNeuerPatient, 0);
}

TEST_F(MatchingCopyTest, EmptyNewPatientKeySwitchesTheRuleOff) {
  profile.Set(kCfg, "MATCHING", "NeuerPatient", "");
  AddAttribute(termin, "Neuer Patient", "np", "ja");
  AddAttribute(termin, "", "empty", "ja");
  record.PatientNeu = true;
  Copy();
  EXPECT_EQ(matching.AttrNeuerPatient, "");
  EXPECT_FALSE(record.PatientNeu);
  EXPECT_EQ(matching.IdxNeuerPatient, 0);
}

TEST_F(MatchingCopyTest, ConfiguredNamesAreUsed) {
  profile.Set(kCfg, "MATCHING", "NeuerPatient", "Erstbesuch");
  profile.Set(kCfg, "MATCHING", "Versicherung", "Kasse");
  profile.Set(kCfg, "MATCHING", "Methode", "Leistung");
  AddAttribute(termin, "Neuer Patient", "np", "ja");
  AddAttribute(termin, "Versichertenart", "v-1", "gesetzlich");
  AddAttribute(termin, "Behandlungsart", "m-1", "Massage");
  AddAttribute(termin, "erstbesuch", "e", "JA");
  AddAttribute(termin, "KASSE", "k-1", "privat");
  AddAttribute(termin, "leistung", "l-9", "Akupunktur");
  Copy();
  EXPECT_TRUE(record.PatientNeu);
  EXPECT_EQ(matching.IdxNeuerPatient, 4);
  EXPECT_EQ(record.PatientVersicherung, "privat");
  EXPECT_EQ(matching.IdxVersicherung, 5);
  EXPECT_EQ(record.TerminMethode, "Akupunktur");
  EXPECT_EQ(record.TerminMethodeSourceID, "l-9");
  EXPECT_EQ(matching.IdxMethode, 6);
}

TEST_F(MatchingCopyTest, NamesCompareLatinLettersWithoutRegardToCase) {
  profile.Set(kCfg, "MATCHING", "Methode", "Ärztliche Leistung");
  AddAttribute(termin, "ärztliche leistung", "l-1", "Beratung");
  Copy();
  EXPECT_EQ(record.TerminMethode, "Beratung");
}

TEST_F(MatchingCopyTest, MethodFoundGivesTheValuesTextAndId) {
  AddAttribute(termin, "Versichertenart", "v-1", "gesetzlich");
  AddAttribute(termin, "BEHANDLUNGSART", "m-42", "Physiotherapie");
  record.TerminMethodeSourceID = "m-old";
  Copy();
  EXPECT_EQ(record.TerminMethode, "Physiotherapie");
  EXPECT_EQ(record.TerminMethodeSourceID, "m-42");
  EXPECT_EQ(matching.IdxMethode, 2);
}

TEST_F(MatchingCopyTest, MethodNotFoundKeepsTheOldId) {
  AddAttribute(termin, "Versichertenart", "v-1", "gesetzlich");
  record.TerminMethode = "alt";
  record.TerminMethodeSourceID = "m-old";
  Copy();
  EXPECT_EQ(record.TerminMethode, "");
  EXPECT_EQ(record.TerminMethodeSourceID, "m-old");
  EXPECT_EQ(matching.IdxMethode, 0);
}

TEST_F(MatchingCopyTest, EmptyMethodKeySwitchesTheRuleOff) {
  profile.Set(kCfg, "MATCHING", "Methode", "");
  AddAttribute(termin, "Behandlungsart", "m-1", "Massage");
  record.TerminMethode = "alt";
  record.TerminMethodeSourceID = "m-old";
  Copy();
  EXPECT_EQ(record.TerminMethode, "");
  EXPECT_EQ(record.TerminMethodeSourceID, "m-old");
  EXPECT_EQ(matching.IdxMethode, 0);
}

TEST_F(MatchingCopyTest, InsuranceMatchGivesTheValuesText) {
  AddAttribute(termin, "Neuer Patient", "np", "nein");
  AddAttribute(termin, "versichertenart", "v-2", "privat");
  Copy();
  EXPECT_EQ(record.PatientVersicherung, "privat");
  EXPECT_EQ(matching.IdxVersicherung, 2);
}

TEST_F(MatchingCopyTest, InsuranceWithoutMatchPointsPastTheEndAndStaysEmpty) {
  AddAttribute(termin, "Neuer Patient", "np", "ja");
  AddAttribute(termin, "Behandlungsart", "m-1", "Massage");
  record.PatientVersicherung = "privat";
  Copy();
  EXPECT_EQ(record.PatientVersicherung, "");
  EXPECT_EQ(matching.IdxVersicherung, 3);
  EXPECT_TRUE(process.Reports().empty());
  // The rules before it still worked.
  EXPECT_TRUE(record.PatientNeu);
  EXPECT_EQ(record.TerminMethode, "Massage");
}

TEST_F(MatchingCopyTest, EmptyInsuranceKeySwitchesTheRuleOff) {
  profile.Set(kCfg, "MATCHING", "Versicherung", "");
  AddAttribute(termin, "Versichertenart", "v-1", "gesetzlich");
  record.PatientVersicherung = "privat";
  Copy();
  EXPECT_EQ(record.PatientVersicherung, "");
  EXPECT_EQ(matching.IdxVersicherung, 0);
}

TEST_F(MatchingCopyTest, AttributesWithoutValuesGiveEmptyTexts) {
  AddMulti(termin, "Neuer Patient");
  AddMulti(termin, "Behandlungsart");
  AddMulti(termin, "Versichertenart");
  record.PatientNeu = true;
  record.TerminMethode = "alt";
  record.TerminMethodeSourceID = "m-old";
  record.PatientVersicherung = "privat";
  Copy();
  EXPECT_FALSE(record.PatientNeu);
  EXPECT_EQ(record.TerminMethode, "");
  EXPECT_EQ(record.TerminMethodeSourceID, "m-old");
  EXPECT_EQ(record.PatientVersicherung, "");
  EXPECT_EQ(matching.IdxNeuerPatient, 1);
  EXPECT_EQ(matching.IdxMethode, 2);
  EXPECT_EQ(matching.IdxVersicherung, 3);
  EXPECT_TRUE(process.Reports().empty());
}

TEST_F(MatchingCopyTest, SingleValueAttributeWithoutItsValue) {
  AddAttribute(termin, "Neuer Patient", "np", "ja");
  AddAttribute(termin, "Behandlungsart", "m-1", "Massage");
  AddAttribute(termin, "Versichertenart", "v-1", "privat");
  for (const auto& attribute : termin.Attributes) {
    static_cast<clZVAttribute&>(*attribute).Value = nullptr;
  }
  record.TerminMethodeSourceID = "m-old";
  Copy();
  EXPECT_FALSE(record.PatientNeu);
  EXPECT_EQ(record.TerminMethode, "");
  EXPECT_EQ(record.TerminMethodeSourceID, "m-old");
  EXPECT_EQ(record.PatientVersicherung, "");
  EXPECT_TRUE(process.Reports().empty());
}

TEST_F(MatchingCopyTest, AttributeWithSeveralValuesUsesTheFirst) {
  auto neu = AddMulti(termin, "Neuer Patient");
  neu->Values.Add("np-1", "", "ja");
  neu->Values.Add("np-2", "", "nein");
  auto methode = AddMulti(termin, "Behandlungsart");
  methode->Values.Add("m-1", "hx-1", "Massage");
  methode->Values.Add("m-2", "hx-2", "Fango");
  auto versicherung = AddMulti(termin, "Versichertenart");
  versicherung->Values.Add("v-1", "", "gesetzlich");
  Copy();
  EXPECT_TRUE(record.PatientNeu);
  EXPECT_EQ(record.TerminMethode, "Massage");
  EXPECT_EQ(record.TerminMethodeSourceID, "m-1");
  EXPECT_EQ(record.PatientVersicherung, "gesetzlich");
}

TEST_F(MatchingCopyTest, PositionsStartAtZeroForEveryCopy) {
  AddAttribute(termin, "Neuer Patient", "np", "ja");
  AddAttribute(termin, "Behandlungsart", "m-1", "Massage");
  Copy();
  EXPECT_EQ(matching.IdxNeuerPatient, 1);
  EXPECT_EQ(matching.IdxMethode, 2);
  termin.Attributes.Clear();
  // No second ReadMatchingCFG: the copy itself clears the positions.
  matching.CopyZVTerminToHXTermin(termin, record);
  EXPECT_EQ(matching.IdxNeuerPatient, 0);
  EXPECT_EQ(matching.IdxMethode, 0);
  EXPECT_EQ(matching.IdxVersicherung, 1);
}

TEST_F(MatchingCopyTest, WithoutRulesReadNoAttributeIsLookedAt) {
  AddAttribute(termin, "Neuer Patient", "np", "ja");
  AddAttribute(termin, "Behandlungsart", "m-1", "Massage");
  AddAttribute(termin, "Versichertenart", "v-1", "privat");
  record.TerminMethodeSourceID = "m-old";
  matching.CopyZVTerminToHXTermin(termin, record);
  EXPECT_FALSE(record.PatientNeu);
  EXPECT_EQ(record.TerminMethode, "");
  EXPECT_EQ(record.TerminMethodeSourceID, "m-old");
  EXPECT_EQ(record.PatientVersicherung, "");
  EXPECT_EQ(matching.IdxVersicherung, 0);
  // The fields that need no rule are copied all the same.
  EXPECT_EQ(record.PatientName, "Müller");
}

class CalendarCopyTest : public ::testing::Test {
 protected:
  CalendarCopyTest() { process.ActivateLog(); }

  // A record whose every field differs from what a copy writes.
  static std::shared_ptr<kdZVCalendar> FilledRecord() {
    auto record = std::make_shared<kdZVCalendar>();
    record->Source = "old-source";
    record->Target = "old-target";
    record->Title = "old-title";
    record->CalendarCommand = Object_Replace;
    record->IgnoreIt = true;
    record->BehandlerIDHX = 3;
    record->BehandlerIDZV = 4;
    record->AttributeIDHX = "a-hx";
    record->AttributeIDZV = "a-zv";
    return record;
  }

  static void ExpectOnlyReferencesChanged(const kdZVCalendar& record) {
    EXPECT_EQ(record.CalendarCommand, Object_Replace);
    EXPECT_TRUE(record.IgnoreIt);
    EXPECT_EQ(record.BehandlerIDHX, 3);
    EXPECT_EQ(record.BehandlerIDZV, 4);
    EXPECT_EQ(record.AttributeIDHX, "a-hx");
    EXPECT_EQ(record.AttributeIDZV, "a-zv");
  }

  test::ScopedProcess process;
  test::FakeProfileFile profile;
  clZVMatching matching{profile};
};

TEST_F(CalendarCopyTest, CalendarIntoExistingRecord) {
  clZVCalendar calendar;
  calendar.Source = "cal-12";
  calendar.Target = "hx-3";
  calendar.Title = "Dr. Weiß";
  auto record = FilledRecord();
  const kdZVCalendar* before = record.get();
  matching.CopyZVCalendarToHXCalendar(&calendar, record);
  ASSERT_EQ(record.get(), before);
  EXPECT_EQ(record->Source, "cal-12");
  EXPECT_EQ(record->Target, "hx-3");
  EXPECT_EQ(record->Title, "Dr. Weiß");
  ExpectOnlyReferencesChanged(*record);
  EXPECT_TRUE(process.Reports().empty());
}

TEST_F(CalendarCopyTest, EmptyFieldsAreCopiedToo) {
  clZVCalendar calendar;
  auto record = FilledRecord();
  matching.CopyZVCalendarToHXCalendar(&calendar, record);
  EXPECT_EQ(record->Source, "");
  EXPECT_EQ(record->Target, "");
  EXPECT_EQ(record->Title, "");
  ExpectOnlyReferencesChanged(*record);
}

TEST_F(CalendarCopyTest, CalendarIntoMissingRecordCreatesOne) {
  clZVCalendar calendar;
  calendar.Source = "cal-1";
  calendar.Target = "hx-1";
  calendar.Title = "Praxis";
  std::shared_ptr<kdZVCalendar> record;
  matching.CopyZVCalendarToHXCalendar(&calendar, record);
  ASSERT_NE(record, nullptr);
  EXPECT_EQ(record->Source, "cal-1");
  EXPECT_EQ(record->Target, "hx-1");
  EXPECT_EQ(record->Title, "Praxis");
  EXPECT_EQ(record->CalendarCommand, Object_Add);
  EXPECT_FALSE(record->IgnoreIt);
  EXPECT_EQ(record->BehandlerIDHX, 0);
  EXPECT_EQ(record->AttributeIDZV, "");
}

TEST_F(CalendarCopyTest, MissingCalendarDoesNothing) {
  std::shared_ptr<kdZVCalendar> missing;
  matching.CopyZVCalendarToHXCalendar(nullptr, missing);
  EXPECT_EQ(missing, nullptr);
  auto record = FilledRecord();
  matching.CopyZVCalendarToHXCalendar(nullptr, record);
  EXPECT_EQ(record->Source, "old-source");
  EXPECT_EQ(record->Target, "old-target");
  EXPECT_EQ(record->Title, "old-title");
  ExpectOnlyReferencesChanged(*record);
  EXPECT_TRUE(process.Reports().empty());
}

TEST_F(CalendarCopyTest, AttributeValueIntoExistingRecord) {
  clZVAttributeValue value;
  value.Source = "m-42";
  value.Target = "hx-7";
  value.Title = "Physiotherapie";
  auto record = FilledRecord();
  const kdZVCalendar* before = record.get();
  matching.CopyZVAttributeToHXCalendar(&value, record);
  ASSERT_EQ(record.get(), before);
  EXPECT_EQ(record->Source, "m-42");
  EXPECT_EQ(record->Target, "hx-7");
  EXPECT_EQ(record->Title, "Physiotherapie");
  ExpectOnlyReferencesChanged(*record);
  EXPECT_TRUE(process.Reports().empty());
}

TEST_F(CalendarCopyTest, AttributeValueIntoMissingRecordCreatesOne) {
  clZVAttributeValue value;
  value.Source = "m-1";
  value.Target = "";
  value.Title = "Massage";
  std::shared_ptr<kdZVCalendar> record;
  matching.CopyZVAttributeToHXCalendar(&value, record);
  ASSERT_NE(record, nullptr);
  EXPECT_EQ(record->Source, "m-1");
  EXPECT_EQ(record->Target, "");
  EXPECT_EQ(record->Title, "Massage");
  EXPECT_EQ(record->CalendarCommand, Object_Add);
  EXPECT_EQ(record->AttributeIDHX, "");
}

TEST_F(CalendarCopyTest, MissingAttributeValueDoesNothing) {
  std::shared_ptr<kdZVCalendar> missing;
  matching.CopyZVAttributeToHXCalendar(nullptr, missing);
  EXPECT_EQ(missing, nullptr);
  auto record = FilledRecord();
  matching.CopyZVAttributeToHXCalendar(nullptr, record);
  EXPECT_EQ(record->Source, "old-source");
  EXPECT_EQ(record->Title, "old-title");
  ExpectOnlyReferencesChanged(*record);
}

}  // namespace
}  // namespace kdzv
