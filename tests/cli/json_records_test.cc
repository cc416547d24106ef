#include "cli/json_records.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace kdzv {
namespace {

DateTime At(int year, int month, int day, int hour = 0, int minute = 0, int second = 0) {
  return DateTime::FromFields({year, month, day, hour, minute, second});
}

std::vector<std::string> Keys(const Json& object) {
  std::vector<std::string> keys;
  for (const auto& member : object.items()) keys.push_back(member.key());
  return keys;
}

TEST(JsonRecordsTest, AnAppointmentGoesOutWithEveryPropertyInOrder) {
  kdZVTermin termin;
  termin.PatientVorname = "Jürgen";
  termin.PatientName = "Weiß";
  termin.PatientNeu = true;
  termin.TerminIDZV = "ZV-4711";
  termin.TerminStart = At(2024, 7, 1, 8, 0, 0);
  termin.TerminEnde = At(2024, 7, 1, 8, 30, 15);
  termin.TerminCommand = Termin_Replace;
  termin.TerminStatus = TerminStatus_Requested;

  const Json json = RecordToJson(termin);
  EXPECT_EQ(Keys(json), (std::vector<std::string>{
                            "PatientTitle", "PatientVorname", "PatientName", "PatientGebDat",
                            "PatientAddress", "PatientPLZ", "PatientOrt", "PatientTelefon",
                            "PatientEmail", "PatientVersicherung", "PatientNeu", "KalenderName",
                            "KalenderSourceID", "TerminIDZV", "TerminIDHX", "TerminStart",
                            "TerminEnde", "TerminKommentar", "TerminCommand", "TerminMethode",
                            "TerminMethodeSourceID", "TerminStatus", "TerminBlock", "IgnoreIt"}));
  EXPECT_EQ(json["PatientVorname"], "Jürgen");
  EXPECT_EQ(json["PatientTitle"], "");
  EXPECT_EQ(json["PatientNeu"], true);
  EXPECT_EQ(json["TerminBlock"], false);
  // A date that was never set is the zero date.
  EXPECT_EQ(json["PatientGebDat"], "1899-12-30T00:00:00");
  EXPECT_EQ(json["TerminStart"], "2024-07-01T08:00:00");
  EXPECT_EQ(json["TerminEnde"], "2024-07-01T08:30:15");
  EXPECT_EQ(json["TerminCommand"], 2);
  EXPECT_TRUE(json["TerminCommand"].is_number_integer());
  EXPECT_EQ(json["TerminStatus"], 1);
  EXPECT_EQ(json.dump(), RecordToJson(termin).dump());
  EXPECT_NE(json.dump().find(R"("PatientName":"Weiß")"), std::string::npos) << json.dump();
}

TEST(JsonRecordsTest, ACalendarGoesOutWithNumbersForItsLongs) {
  kdZVCalendar calendar;
  calendar.Source = "CAL-1";
  calendar.BehandlerIDHX = -7;
  calendar.BehandlerIDZV = 2147483647;
  calendar.CalendarCommand = Object_Replace;
  EXPECT_EQ(RecordToJson(calendar).dump(),
            R"({"Source":"CAL-1","Target":"","Title":"","CalendarCommand":2,"IgnoreIt":false,)"
            R"("BehandlerIDHX":-7,"BehandlerIDZV":2147483647,"AttributeIDHX":"",)"
            R"("AttributeIDZV":""})");
}

TEST(JsonRecordsTest, APartialAnswerChangesOnlyWhatItNames) {
  kdZVTermin termin;
  termin.PatientName = "Müller";
  termin.TerminIDZV = "ZV-1";
  std::string error;
  ASSERT_TRUE(ApplyJsonToRecord(
      Json::parse(R"({"TerminIDHX":"42","IgnoreIt":true,"TerminStatus":3,)"
                  R"("TerminStart":"2024-12-31T23:59:59","PatientOrt":"Köln"})"),
      termin, error))
      << error;
  EXPECT_EQ(termin.TerminIDHX, "42");
  EXPECT_TRUE(termin.IgnoreIt);
  EXPECT_EQ(termin.TerminStatus, TerminStatus_ProviderCanceled);
  EXPECT_EQ(termin.TerminStart, At(2024, 12, 31, 23, 59, 59));
  EXPECT_EQ(termin.PatientOrt, "Köln");
  EXPECT_EQ(termin.PatientName, "Müller");
  EXPECT_EQ(termin.TerminIDZV, "ZV-1");
  EXPECT_EQ(error, "");

  kdZVCalendar calendar;
  ASSERT_TRUE(ApplyJsonToRecord(Json::parse(R"({"BehandlerIDHX":-2147483648})"), calendar, error));
  EXPECT_EQ(calendar.BehandlerIDHX, -2147483647 - 1);
  ASSERT_TRUE(ApplyJsonToRecord(Json::object(), calendar, error));
}

TEST(JsonRecordsTest, TheZeroDateAndOldDatesComeBack) {
  kdZVTermin termin;
  termin.PatientGebDat = At(1950, 3, 15);
  std::string error;
  ASSERT_TRUE(ApplyJsonToRecord(Json::parse(R"({"PatientGebDat":"1899-12-30T00:00:00"})"), termin,
                                error));
  EXPECT_TRUE(termin.PatientGebDat.IsZero());
  ASSERT_TRUE(ApplyJsonToRecord(Json::parse(R"({"PatientGebDat":"1899-12-29T06:00:00"})"), termin,
                                error));
  EXPECT_EQ(RecordToJson(termin)["PatientGebDat"], "1899-12-29T06:00:00");
}

TEST(JsonRecordsTest, WhatGoesOutComesBackUnchanged) {
  kdZVTermin sent;
  sent.PatientTitle = "Dr.";
  sent.PatientGebDat = At(1970, 3, 15);
  sent.PatientEmail = "a\"b\\c\nd";
  sent.TerminStart = At(2024, 7, 1, 8, 0, 0);
  sent.TerminBlock = true;
  sent.TerminCommand = Termin_Delete;
  kdZVTermin received;
  std::string error;
  ASSERT_TRUE(ApplyJsonToRecord(Json::parse(RecordToJson(sent).dump()), received, error)) << error;
  EXPECT_EQ(RecordToJson(received), RecordToJson(sent));
  EXPECT_EQ(received.PatientEmail, "a\"b\\c\nd");
  EXPECT_EQ(received.TerminCommand, Termin_Delete);
}

TEST(JsonRecordsTest, AnUnknownNameLeavesTheRecordUnchanged) {
  kdZVTermin termin;
  termin.TerminIDHX = "7";
  std::string error;
  EXPECT_FALSE(ApplyJsonToRecord(Json::parse(R"({"TerminIDHX":"8","TerminIDhx":"9"})"), termin,
                                 error));
  EXPECT_EQ(error, "unknown property \"TerminIDhx\"");
  EXPECT_EQ(termin.TerminIDHX, "7");
}

TEST(JsonRecordsTest, AWrongTypeLeavesTheRecordUnchanged) {
  struct Case {
    const char* changes;
    const char* error;
  };
  const std::vector<Case> cases = {
      {R"({"TerminIDHX":42})", R"("TerminIDHX" must be a string)"},
      {R"({"PatientNeu":1})", R"("PatientNeu" must be true or false)"},
      {R"({"PatientNeu":"true"})", R"("PatientNeu" must be true or false)"},
      {R"({"TerminStatus":"Booked"})", R"("TerminStatus" must be a whole number)"},
      {R"({"TerminCommand":1.5})", R"("TerminCommand" must be a whole number)"},
      {R"({"TerminCommand":2147483648})",
       R"("TerminCommand" must be a whole number from -2147483648 to 2147483647)"},
      {R"({"TerminStart":"2024-07-01"})", R"("TerminStart" must be a date "YYYY-MM-DDTHH:MM:SS")"},
      {R"({"TerminStart":"2024-07-01 08:00:00"})",
       R"("TerminStart" must be a date "YYYY-MM-DDTHH:MM:SS")"},
      {R"({"TerminStart":"2024-02-30T08:00:00"})",
       R"("TerminStart" must be a date "YYYY-MM-DDTHH:MM:SS")"},
      {R"({"TerminStart":45000})", R"("TerminStart" must be a date "YYYY-MM-DDTHH:MM:SS")"},
      {R"({"PatientName":null})", R"("PatientName" must be a string)"},
  };
  for (const Case& c : cases) {
    kdZVTermin termin;
    termin.TerminIDHX = "7";
    termin.PatientName = "Alt";
    std::string error;
    // A valid change first: it must not stay either.
    Json changes = Json::parse(R"({"TerminKommentar":"neu"})");
    changes.update(Json::parse(c.changes));
    EXPECT_FALSE(ApplyJsonToRecord(changes, termin, error)) << c.changes;
    EXPECT_EQ(error, c.error) << c.changes;
    EXPECT_EQ(termin.TerminKommentar, "") << c.changes;
    EXPECT_EQ(termin.TerminIDHX, "7");
    EXPECT_EQ(termin.PatientName, "Alt");
  }

  kdZVCalendar calendar;
  std::string error;
  EXPECT_FALSE(ApplyJsonToRecord(Json::parse(R"({"BehandlerIDHX":-2147483649})"), calendar, error));
  EXPECT_EQ(error, R"("BehandlerIDHX" must be a whole number from -2147483648 to 2147483647)");
  EXPECT_EQ(calendar.BehandlerIDHX, 0);
  EXPECT_FALSE(ApplyJsonToRecord(Json::parse(R"(["BehandlerIDHX",1])"), calendar, error));
  EXPECT_EQ(error, "a record must be a JSON object");
}

TEST(JsonRecordsTest, OpeningTimesAreRead) {
  kdZVBelegungen belegungen;
  std::string error;
  ASSERT_TRUE(ReadBelegungen(
      Json::parse(R"([{"MethodeID":1,"BehandlerID":2,"Datum":"2024-07-01T00:00:00",)"
                  R"("MethodeIDext":"M-1","BehandlerIDext":"","Zeiten":[)"
                  R"({"StartZeit":"2024-07-01T08:00:00","Dauer":30},)"
                  R"({"StartZeit":"2024-07-01T09:00:00","Dauer":45}]},)"
                  R"({"MethodeID":3,"BehandlerID":2,"Datum":"2024-07-02T00:00:00"}])"),
      belegungen, error))
      << error;
  ASSERT_EQ(belegungen.Count(), 2);
  const auto& first = *belegungen.Item(1);
  EXPECT_EQ(first.MethodeID, 1);
  EXPECT_EQ(first.BehandlerID, 2);
  EXPECT_EQ(first.Datum, At(2024, 7, 1));
  EXPECT_EQ(first.MethodeIDext, "M-1");
  EXPECT_EQ(first.BehandlerIDext, "");
  ASSERT_EQ(first.Zeiten->Count(), 2);
  EXPECT_EQ(first.Zeiten->Item(1)->StartZeit, At(2024, 7, 1, 8, 0, 0));
  EXPECT_EQ(first.Zeiten->Item(1)->Dauer, 30);
  EXPECT_EQ(first.Zeiten->Item(2)->Dauer, 45);
  const auto& second = *belegungen.Item(2);
  EXPECT_EQ(second.MethodeID, 3);
  ASSERT_NE(second.Zeiten, nullptr);
  EXPECT_EQ(second.Zeiten->Count(), 0);

  // More are appended; an empty list adds nothing.
  ASSERT_TRUE(ReadBelegungen(Json::parse(R"([{"MethodeID":9}])"), belegungen, error));
  EXPECT_EQ(belegungen.Count(), 3);
  EXPECT_EQ(belegungen.Item(3)->MethodeID, 9);
  EXPECT_TRUE(belegungen.Item(3)->Datum.IsZero());
  ASSERT_TRUE(ReadBelegungen(Json::array(), belegungen, error));
  EXPECT_EQ(belegungen.Count(), 3);
}

TEST(JsonRecordsTest, FaultyOpeningTimesAddNothing) {
  struct Case {
    const char* list;
    const char* error;
  };
  const std::vector<Case> cases = {
      {R"({"MethodeID":1})", R"("belegungen" must be an array)"},
      {R"([{"MethodeID":1},7])", "belegungen[1]: a record must be a JSON object"},
      {R"([{"MethodeID":1},{"Methode":1}])", R"(belegungen[1]: unknown property "Methode")"},
      {R"([{"MethodeID":"1"}])", R"(belegungen[0]: "MethodeID" must be a whole number)"},
      {R"([{"Datum":"01.07.2024"}])",
       R"(belegungen[0]: "Datum" must be a date "YYYY-MM-DDTHH:MM:SS")"},
      {R"([{"Zeiten":{"Dauer":30}}])", R"(belegungen[0]: "Zeiten" must be an array)"},
      {R"([{"Zeiten":[{"Dauer":30},{"Dauer":"30"}]}])",
       R"(belegungen[0].Zeiten[1]: "Dauer" must be a whole number)"},
      {R"([{"Zeiten":[{"Start":"2024-07-01T08:00:00"}]}])",
       R"(belegungen[0].Zeiten[0]: unknown property "Start")"},
      {R"([{"Zeiten":[30]}])", "belegungen[0].Zeiten[0]: a record must be a JSON object"},
  };
  for (const Case& c : cases) {
    kdZVBelegungen belegungen;
    belegungen.Add(5, 6, At(2024, 1, 1));
    std::string error;
    EXPECT_FALSE(ReadBelegungen(Json::parse(c.list), belegungen, error)) << c.list;
    EXPECT_EQ(error, c.error) << c.list;
    EXPECT_EQ(belegungen.Count(), 1) << c.list;
  }
}

TEST(JsonShapeTest, NestingUpToTheLimitIsAccepted) {
  EXPECT_EQ(CheckJsonShape(std::string(kMaxJsonDepth, '[') + std::string(kMaxJsonDepth, ']')), "");
  EXPECT_EQ(CheckJsonShape(std::string(kMaxJsonDepth + 1, '[')), "nested deeper than 16 levels");
  EXPECT_EQ(CheckJsonShape(std::string(8, '{') + std::string(9, '[')),
            "nested deeper than 16 levels");
}

TEST(JsonShapeTest, BracketsAndColonsInStringsDoNotCount) {
  const std::string deep_text = "\"" + std::string(100, '[') + "\\\"" + std::string(300, ':') + "\"";
  EXPECT_EQ(CheckJsonShape("{\"a\":" + deep_text + "}"), "");
  EXPECT_EQ(CheckJsonShape(R"({"retVal":true,"record":{"TerminIDHX":"1"}})"), "");
}

TEST(JsonShapeTest, MembersPerObjectAreCountedPerObject) {
  std::string many = "{";
  for (size_t i = 0; i < kMaxJsonMembers; ++i) many += "\"k" + std::to_string(i) + "\":1,";
  many.back() = '}';
  EXPECT_EQ(CheckJsonShape(many), "");
  // Arrays of many objects are fine: each object counts its own members.
  EXPECT_EQ(CheckJsonShape("[" + many + "," + many + "]"), "");
  std::string too_many = many;
  too_many.back() = ',';
  too_many += "\"x\":1}";
  EXPECT_EQ(CheckJsonShape(too_many), "an object of more than 256 members");
}

}  // namespace
}  // namespace kdzv
