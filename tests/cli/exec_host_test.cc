#include "cli/exec_host.h"

#include <gtest/gtest.h>

#include <deque>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace kdzv {
namespace {

using Status = HostChannel::Status;

// What the fake channel saw and what it answers; outlives the channel.
struct ChannelScript {
  std::vector<std::string> written;
  std::vector<int64_t> write_timeouts;
  std::vector<int64_t> read_timeouts;
  // Answers of WriteLine, in turn; kOk when none is left.
  std::deque<Status> write_results;
  // Answers of ReadLine, in turn; a time-out when none is left.
  std::deque<std::pair<Status, std::string>> reads;
  std::vector<int64_t> closes;  // the grace of each CloseAndWait
};

class FakeChannel : public HostChannel {
 public:
  explicit FakeChannel(ChannelScript& script) : script_(script) {}
  Status WriteLine(std::string_view line, int64_t timeout_ms) override {
    script_.write_timeouts.push_back(timeout_ms);
    Status result = Status::kOk;
    if (!script_.write_results.empty()) {
      result = script_.write_results.front();
      script_.write_results.pop_front();
    }
    if (result != Status::kClosed) script_.written.emplace_back(line);
    return result;
  }
  Status ReadLine(int64_t timeout_ms, std::string& line) override {
    script_.read_timeouts.push_back(timeout_ms);
    if (script_.reads.empty()) return Status::kTimeout;
    auto [status, text] = script_.reads.front();
    script_.reads.pop_front();
    line = text;
    return status;
  }
  void CloseAndWait(int64_t grace_ms) override { script_.closes.push_back(grace_ms); }

 private:
  ChannelScript& script_;
};

class ExecHostTest : public ::testing::Test {
 protected:
  void MakeHost(int32_t timeout_seconds = ExecHost::kDefaultTimeoutSeconds) {
    host = std::make_unique<ExecHost>(
        out, std::make_unique<FakeChannel>(script),
        [this](const std::string& text) { reports.push_back(text); }, timeout_seconds);
  }
  void Answer(const std::string& line) { script.reads.emplace_back(Status::kOk, line); }

  // Raises OnTermin for a fresh add of "ZV-1"; answers retVal.
  int32_t AskTermin(std::shared_ptr<kdZVTermin>& termin) {
    termin = std::make_shared<kdZVTermin>();
    termin->TerminIDZV = "ZV-1";
    termin->PatientName = "Müller";
    int32_t retVal = 0;
    host->OnTermin(termin, retVal);
    return retVal;
  }

  ChannelScript script;
  std::ostringstream out;
  std::vector<std::string> reports;
  std::unique_ptr<ExecHost> host;
};

TEST_F(ExecHostTest, AnAppointmentGoesOutWholeAndTheAnswerChangesOnlyWhatItNames) {
  MakeHost();
  Answer(R"({"retVal":true,"record":{"TerminIDHX":"17","PatientOrt":"Köln"}})");
  auto termin = std::make_shared<kdZVTermin>();
  termin->TerminIDZV = "ZV-1";
  termin->PatientName = "Müller";
  termin->TerminStart = DateTime::FromFields({2024, 7, 1, 8, 0, 0});
  const std::string sent =
      R"({"event":"OnTermin","record":)" + RecordToJson(*termin).dump() + "}";
  int32_t retVal = 0;
  host->OnTermin(termin, retVal);
  EXPECT_EQ(retVal, -1);
  ASSERT_EQ(script.written.size(), 1u);
  EXPECT_EQ(script.written[0], sent);
  EXPECT_NE(sent.find(R"("PatientName":"Müller")"), std::string::npos);
  EXPECT_NE(sent.find(R"("TerminStart":"2024-07-01T08:00:00")"), std::string::npos);
  EXPECT_EQ(termin->TerminIDHX, "17");
  EXPECT_EQ(termin->PatientOrt, "Köln");
  EXPECT_EQ(termin->PatientName, "Müller");
  EXPECT_EQ(termin->TerminIDZV, "ZV-1");
  EXPECT_EQ(script.write_timeouts, std::vector<int64_t>{10000});
  ASSERT_EQ(script.read_timeouts.size(), 1u);
  EXPECT_LE(script.read_timeouts[0], 10000);
  EXPECT_GT(script.read_timeouts[0], 9000);
  EXPECT_EQ(host->Counts().at("OnTermin Add"), 1);
  EXPECT_TRUE(reports.empty());
}

TEST_F(ExecHostTest, RefusalsAndNumbersAsRetVal) {
  MakeHost();
  std::shared_ptr<kdZVTermin> termin;
  Answer(R"({"retVal":false,"record":{"IgnoreIt":true}})");
  EXPECT_EQ(AskTermin(termin), 0);
  EXPECT_TRUE(termin->IgnoreIt);
  Answer(R"({"retVal":false})");
  EXPECT_EQ(AskTermin(termin), 0);
  Answer(R"({"retVal":1})");
  EXPECT_EQ(AskTermin(termin), -1);
  Answer(R"({"retVal":-1})");
  EXPECT_EQ(AskTermin(termin), -1);
  Answer(R"({"retVal":0})");
  EXPECT_EQ(AskTermin(termin), 0);
  Answer(R"({"retVal":0.5})");
  EXPECT_EQ(AskTermin(termin), -1);
  Answer(R"({"record":{},"retVal":true})");
  EXPECT_EQ(AskTermin(termin), -1);
  EXPECT_TRUE(reports.empty());
  EXPECT_EQ(host->Counts().at("OnTermin Add"), 7);
}

TEST_F(ExecHostTest, CalendarsAndAttributes) {
  MakeHost();
  Answer(R"({"retVal":true,"record":{"BehandlerIDHX":7}})");
  Answer(R"({"retVal":true,"record":{"AttributeIDHX":"M-3"}})");
  auto calendar = std::make_shared<kdZVCalendar>();
  calendar->Source = "CAL-1";
  calendar->Title = "Dr. Weiß";
  int32_t retVal = 0;
  host->OnCalendar(calendar, retVal);
  EXPECT_EQ(retVal, -1);
  EXPECT_EQ(calendar->BehandlerIDHX, 7);
  EXPECT_EQ(calendar->Source, "CAL-1");
  auto attribute = std::make_shared<kdZVCalendar>();
  attribute->Title = "Kontrolle";
  retVal = 0;
  host->OnAttribute(attribute, retVal);
  EXPECT_EQ(retVal, -1);
  EXPECT_EQ(attribute->AttributeIDHX, "M-3");
  ASSERT_EQ(script.written.size(), 2u);
  EXPECT_EQ(script.written[0],
            R"({"event":"OnCalendar","record":{"Source":"CAL-1","Target":"","Title":"Dr. Weiß",)"
            R"("CalendarCommand":0,"IgnoreIt":false,"BehandlerIDHX":0,"BehandlerIDZV":0,)"
            R"("AttributeIDHX":"","AttributeIDZV":""}})");
  EXPECT_EQ(script.written[1].rfind(R"({"event":"OnAttribute","record":{"Source":"")", 0), 0u)
      << script.written[1];
  EXPECT_EQ(host->Counts().at("OnCalendar"), 1);
  EXPECT_EQ(host->Counts().at("OnAttribute"), 1);
}

TEST_F(ExecHostTest, OpeningTimes) {
  MakeHost();
  Answer(R"({"retVal":true,"belegungen":[{"MethodeID":1,"BehandlerID":2,)"
         R"("Datum":"2024-07-01T00:00:00","MethodeIDext":"","BehandlerIDext":"",)"
         R"("Zeiten":[{"StartZeit":"2024-07-01T08:00:00","Dauer":30}]}]})");
  auto belegungen = std::make_shared<kdZVBelegungen>();
  int32_t retVal = 0;
  host->OnQueryOpeningTime(belegungen, retVal);
  EXPECT_EQ(retVal, -1);
  ASSERT_EQ(script.written.size(), 1u);
  EXPECT_EQ(script.written[0], R"({"event":"OnQueryOpeningTime"})");
  ASSERT_EQ(belegungen->Count(), 1);
  EXPECT_EQ(belegungen->Item(1)->BehandlerID, 2);
  ASSERT_EQ(belegungen->Item(1)->Zeiten->Count(), 1);
  EXPECT_EQ(belegungen->Item(1)->Zeiten->Item(1)->Dauer, 30);
  EXPECT_EQ(belegungen->Item(1)->Zeiten->Item(1)->StartZeit,
            DateTime::FromFields({2024, 7, 1, 8, 0, 0}));

  // None at all, and a faulty list that adds nothing.
  Answer(R"({"retVal":true})");
  auto none = std::make_shared<kdZVBelegungen>();
  retVal = 0;
  host->OnQueryOpeningTime(none, retVal);
  EXPECT_EQ(retVal, -1);
  EXPECT_EQ(none->Count(), 0);
  Answer(R"({"retVal":true,"belegungen":[{"MethodeID":1},{"MethodeID":"x"}]})");
  retVal = 0;
  host->OnQueryOpeningTime(none, retVal);
  EXPECT_EQ(retVal, 0);
  EXPECT_EQ(none->Count(), 0);
  EXPECT_EQ(reports, std::vector<std::string>{"OnQueryOpeningTime: unreadable answer: "
                                              "belegungen[1]: \"MethodeID\" must be a whole "
                                              "number"});
  EXPECT_EQ(host->Counts().at("OnQueryOpeningTime"), 3);
}

TEST_F(ExecHostTest, LogLinesArePrintedAndSentWithoutWaitingForAnAnswer) {
  MakeHost();
  Answer(R"({"retVal":true})");
  std::string line = "Neue Datei erhalten: HX1_2.xml";
  host->OnSyncLog(line);
  EXPECT_EQ(out.str(), "Neue Datei erhalten: HX1_2.xml\n");
  ASSERT_EQ(script.written.size(), 1u);
  EXPECT_EQ(script.written[0], R"({"event":"OnSyncLog","text":"Neue Datei erhalten: HX1_2.xml"})");
  EXPECT_TRUE(script.read_timeouts.empty());
  EXPECT_EQ(script.reads.size(), 1u);
  EXPECT_EQ(host->Counts().at("OnSyncLog"), 1);

  // Text that is not UTF-8 goes out with a replacement character.
  std::string broken = "Gr\xfc\xdf";
  host->OnSyncLog(broken);
  ASSERT_EQ(script.written.size(), 2u);
  EXPECT_EQ(script.written[1], "{\"event\":\"OnSyncLog\",\"text\":\"Gr\xEF\xBF\xBD\xEF\xBF\xBD\"}");
  EXPECT_TRUE(reports.empty());
}

TEST_F(ExecHostTest, UnreadableAnswersRefuseTheEventAndTheExchangeGoesOn) {
  struct Case {
    const char* answer;
    const char* report;
  };
  const std::vector<Case> cases = {
      {"not json", "OnTermin: unreadable answer: not JSON: not json"},
      {"", "OnTermin: unreadable answer: not JSON: "},
      {R"({"retVal":true)", R"(OnTermin: unreadable answer: not JSON: {"retVal":true)"},
      {"[true]", "OnTermin: unreadable answer: not a JSON object: [true]"},
      {R"({"record":{"TerminIDHX":"5"}})", R"(OnTermin: unreadable answer: "retVal" is missing)"},
      {R"({"retVal":"yes"})",
       R"(OnTermin: unreadable answer: "retVal" must be true, false or a number)"},
      {R"({"retVal":null})",
       R"(OnTermin: unreadable answer: "retVal" must be true, false or a number)"},
      {R"({"retVal":true,"record":{"TerminIDHX":"5","Foo":1}})",
       R"(OnTermin: unreadable answer: unknown property "Foo")"},
      {R"({"retVal":true,"record":{"TerminIDHX":5}})",
       R"(OnTermin: unreadable answer: "TerminIDHX" must be a string)"},
      {R"({"retVal":true,"record":[]})",
       "OnTermin: unreadable answer: a record must be a JSON object"},
      {R"({"retVal":true,"belegungen":[]})",
       R"(OnTermin: unreadable answer: unknown member "belegungen")"},
  };
  MakeHost();
  for (const Case& c : cases) {
    reports.clear();
    Answer(c.answer);
    std::shared_ptr<kdZVTermin> termin;
    EXPECT_EQ(AskTermin(termin), 0) << c.answer;
    EXPECT_EQ(termin->TerminIDHX, "") << c.answer;
    EXPECT_EQ(reports, std::vector<std::string>{c.report}) << c.answer;
  }
  // A long unreadable answer is quoted in part.
  reports.clear();
  Answer(std::string(300, 'x'));
  std::shared_ptr<kdZVTermin> termin;
  EXPECT_EQ(AskTermin(termin), 0);
  ASSERT_EQ(reports.size(), 1u);
  EXPECT_EQ(reports[0], "OnTermin: unreadable answer: not JSON: " + std::string(200, 'x') + "...");

  // The host is still asked, and its next good answer counts.
  reports.clear();
  Answer(R"({"retVal":true,"record":{"TerminIDHX":"5"}})");
  EXPECT_EQ(AskTermin(termin), -1);
  EXPECT_EQ(termin->TerminIDHX, "5");
  EXPECT_TRUE(reports.empty());
  EXPECT_FALSE(host->Ended());
}

TEST_F(ExecHostTest, NoAnswerWithinTheTimeOut) {
  MakeHost(3);
  std::shared_ptr<kdZVTermin> termin;
  EXPECT_EQ(AskTermin(termin), 0);
  EXPECT_EQ(termin->TerminIDHX, "");
  EXPECT_EQ(reports, std::vector<std::string>{"OnTermin: no answer within 3 s"});
  EXPECT_EQ(script.write_timeouts, std::vector<int64_t>{3000});
  ASSERT_EQ(script.read_timeouts.size(), 1u);
  EXPECT_LE(script.read_timeouts[0], 3000);
  EXPECT_GT(script.read_timeouts[0], 2000);

  // The late answer comes before the next one and is dropped.
  reports.clear();
  Answer(R"({"retVal":true,"record":{"TerminIDHX":"late"}})");
  Answer(R"({"retVal":true,"record":{"TerminIDHX":"6"}})");
  EXPECT_EQ(AskTermin(termin), -1);
  EXPECT_EQ(termin->TerminIDHX, "6");
  EXPECT_TRUE(reports.empty());
  EXPECT_TRUE(script.reads.empty());
  EXPECT_FALSE(host->Ended());
}

TEST_F(ExecHostTest, TheDefaultTimeOutIsTenSeconds) {
  MakeHost();
  std::shared_ptr<kdZVTermin> termin;
  EXPECT_EQ(AskTermin(termin), 0);
  EXPECT_EQ(reports, std::vector<std::string>{"OnTermin: no answer within 10 s"});
  EXPECT_EQ(script.write_timeouts, std::vector<int64_t>{10000});
}

TEST_F(ExecHostTest, AHostThatTakesNoInputCountsAsEndedAfterTheFirstTimeOut) {
  MakeHost();
  script.write_results = {Status::kTimeout};
  auto calendar = std::make_shared<kdZVCalendar>();
  int32_t retVal = 0;
  host->OnCalendar(calendar, retVal);
  EXPECT_EQ(retVal, 0);
  EXPECT_EQ(reports, std::vector<std::string>{
                         "OnCalendar: the host takes no input within 10 s; it counts as ended"});
  EXPECT_TRUE(script.read_timeouts.empty());
  EXPECT_TRUE(host->Ended());
  // Every later event is refused at once, without another wait; log lines
  // are dropped.
  reports.clear();
  Answer(R"({"retVal":true,"record":{"BehandlerIDHX":2}})");
  host->OnCalendar(calendar, retVal);
  std::string line = "Zeile";
  host->OnSyncLog(line);
  EXPECT_EQ(retVal, 0);
  EXPECT_EQ(calendar->BehandlerIDHX, 0);
  EXPECT_EQ(reports, std::vector<std::string>{"OnCalendar: the host has ended"});
}

TEST_F(ExecHostTest, AnAnswerLineTooLongEndsTheHost) {
  MakeHost();
  script.reads.emplace_back(Status::kTooLong, "");
  std::shared_ptr<kdZVTermin> termin;
  EXPECT_EQ(AskTermin(termin), 0);
  EXPECT_TRUE(host->Ended());
  ASSERT_EQ(reports.size(), 1u);
  EXPECT_EQ(reports[0], "OnTermin: an answer longer than 4194304 bytes; the host counts as ended");
}

TEST_F(ExecHostTest, AnAnswerNestedTooDeepIsRefusedBeforeItIsParsed) {
  MakeHost();
  Answer(std::string(50000, '[') + std::string(50000, ']'));
  Answer(R"({"retVal":true,"record":)" + std::string(20, '[') + std::string(20, ']') + "}");
  std::shared_ptr<kdZVTermin> termin;
  EXPECT_EQ(AskTermin(termin), 0);
  EXPECT_EQ(AskTermin(termin), 0);
  ASSERT_EQ(reports.size(), 2u);
  EXPECT_EQ(reports[0], "OnTermin: unreadable answer: nested deeper than 16 levels");
  EXPECT_EQ(reports[1], "OnTermin: unreadable answer: nested deeper than 16 levels");
  EXPECT_FALSE(host->Ended());
}

TEST_F(ExecHostTest, AnAnswerWithTooManyMembersIsRefusedBeforeItIsParsed) {
  MakeHost();
  std::string record = "{";
  for (int i = 0; i < 100000; ++i) record += "\"k" + std::to_string(i) + "\":1,";
  record += "\"TerminIDHX\":\"1\"}";
  Answer(R"({"retVal":true,"record":)" + record + "}");
  std::shared_ptr<kdZVTermin> termin;
  EXPECT_EQ(AskTermin(termin), 0);
  ASSERT_EQ(reports.size(), 1u);
  EXPECT_EQ(reports[0], "OnTermin: unreadable answer: an object of more than 256 members");
}

TEST_F(ExecHostTest, AHostThatHasEndedRefusesEverythingAtOnce) {
  MakeHost();
  Answer(R"({"retVal":true,"record":{"TerminIDHX":"1"}})");
  script.reads.emplace_back(Status::kClosed, "");
  std::shared_ptr<kdZVTermin> termin;
  EXPECT_EQ(AskTermin(termin), -1);
  EXPECT_EQ(AskTermin(termin), 0);
  EXPECT_EQ(termin->TerminIDHX, "");
  EXPECT_TRUE(host->Ended());
  EXPECT_EQ(reports, std::vector<std::string>{"OnTermin: the host has ended"});
  const size_t written = script.written.size();
  const size_t reads = script.read_timeouts.size();

  // Later events: refused and reported (log lines only dropped), without
  // a word to the host.
  reports.clear();
  auto calendar = std::make_shared<kdZVCalendar>();
  int32_t retVal = 0;
  host->OnCalendar(calendar, retVal);
  EXPECT_EQ(retVal, 0);
  host->OnAttribute(calendar, retVal);
  EXPECT_EQ(retVal, 0);
  EXPECT_EQ(calendar->BehandlerIDHX, 0);
  auto belegungen = std::make_shared<kdZVBelegungen>();
  host->OnQueryOpeningTime(belegungen, retVal);
  EXPECT_EQ(retVal, 0);
  std::string line = "Zentavo hat Session End geschickt...";
  host->OnSyncLog(line);
  EXPECT_EQ(AskTermin(termin), 0);
  EXPECT_EQ(script.written.size(), written);
  EXPECT_EQ(script.read_timeouts.size(), reads);
  EXPECT_EQ(reports, (std::vector<std::string>{
                         "OnCalendar: the host has ended", "OnAttribute: the host has ended",
                         "OnQueryOpeningTime: the host has ended",
                         "OnTermin: the host has ended"}));
  // Still counted, and the log line still printed.
  EXPECT_EQ(host->Counts().at("OnTermin Add"), 3);
  EXPECT_EQ(host->Counts().at("OnCalendar"), 1);
  EXPECT_EQ(host->Counts().at("OnSyncLog"), 1);
  EXPECT_EQ(out.str(), "Zentavo hat Session End geschickt...\n");
}

TEST_F(ExecHostTest, AHostWhoseInputIsClosedHasEnded) {
  MakeHost();
  script.write_results = {Status::kClosed};
  std::shared_ptr<kdZVTermin> termin;
  EXPECT_EQ(AskTermin(termin), 0);
  EXPECT_TRUE(host->Ended());
  EXPECT_TRUE(script.read_timeouts.empty());
  EXPECT_EQ(reports, std::vector<std::string>{"OnTermin: the host has ended"});
  Answer(R"({"retVal":true})");
  EXPECT_EQ(AskTermin(termin), 0);
  EXPECT_EQ(script.write_timeouts.size(), 1u);
}

TEST_F(ExecHostTest, FinishClosesTheChannelWithTwoSecondsOfGrace) {
  MakeHost();
  host->Finish();
  EXPECT_EQ(script.closes, std::vector<int64_t>{2000});
  std::shared_ptr<kdZVTermin> termin;
  EXPECT_EQ(AskTermin(termin), 0);
  EXPECT_EQ(reports, std::vector<std::string>{"OnTermin: the host has ended"});
  EXPECT_TRUE(script.written.empty());
  host->Finish();
  host.reset();
  EXPECT_EQ(script.closes, std::vector<int64_t>{2000});
}

TEST_F(ExecHostTest, TheChannelIsClosedWhenTheHostGoes) {
  MakeHost();
  host.reset();
  EXPECT_EQ(script.closes, std::vector<int64_t>{2000});
}

}  // namespace
}  // namespace kdzv
