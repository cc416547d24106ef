// zvsync sync --host exec:COMMAND as processes: whole exchanges with a shell
// script playing the host and another one playing the service's agent.
#include <gtest/gtest.h>

#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "support/fakes.h"
#include "support/process_state.h"

namespace kdzv {
namespace {

struct Outcome {
  std::string agent;   // what the agent script printed
  std::string out;     // zvsync's standard output
  std::string err;     // zvsync's standard error
  std::string events;  // the lines the host received
  std::string answer;  // the first answer file in the upload folder
  std::string log;     // the component's log
  double seconds = 0;
};

// Counts `what` in `text`.
size_t Occurrences(const std::string& text, const std::string& what) {
  size_t count = 0;
  for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) {
    ++count;
  }
  return count;
}

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}


class ExecBridgeProcess : public ::testing::Test {
 protected:
  void SetUp() override {
    for (const char* folder : {"up", "down", "depot", "staging"}) {
      ::mkdir(x.File(folder).c_str(), 0755);
    }
    const std::string header =
        "<?xml version=\"1.0\" encoding=\"utf-8\"?><SyncML><SyncHdr><VerDTD>1.0</VerDTD>"
        "<VerProto>SyncZV/1.0</VerProto><SessionID>1</SessionID>";
    // The service's answer to the opening: a calendar, a requested
    // appointment to add and one to replace.
    test::WriteFileBytes(
        x.File("staging/HX1_2.xml"),
        header +
            "<MsgID>2</MsgID></SyncHdr><SyncBody>"
            "<Add><CmdID>2</CmdID><Calendar><Source>CAL-1</Source><Target/>"
            "<Title>Dr. Weiß</Title></Calendar></Add>"
            "<Add><CmdID>3</CmdID><VEvent><Source>ZV-4711</Source>"
            "<DTStart>20240701T060000Z</DTStart><DTEnd>20240701T063000Z</DTEnd>"
            "<Comment>Bitte früh kommen</Comment><Block>false</Block>"
            "<Status>Requested</Status>"
            "<Calendar><Source>CAL-1</Source><Target>7</Target><Title>Dr. Weiß</Title>"
            "</Calendar><Customer><FirstName>Erika</FirstName><LastName>Müller</LastName>"
            "<DateOfBirth>19700315</DateOfBirth></Customer></VEvent></Add>"
            "<Replace><CmdID>4</CmdID><VEvent><Source>ZV-4700</Source><Target>12</Target>"
            "<DTStart>20240702T080000Z</DTStart><DTEnd>20240702T084500Z</DTEnd>"
            "<Comment/><Block>false</Block><Status>Booked</Status>"
            "<Calendar><Source>CAL-1</Source><Target>7</Target><Title>Dr. Weiß</Title>"
            "</Calendar><Customer><LastName>Schmidt</LastName><FirstName>Hans</FirstName>"
            "<DateOfBirth>19600201</DateOfBirth></Customer></VEvent></Replace>"
            "</SyncBody></SyncML>");
    test::WriteFileBytes(x.File("staging/HX1_4.xml"),
                         header + "<MsgID>4</MsgID></SyncHdr><SyncBody><Status><Cmd>SyncHdr</Cmd>"
                                  "<Data>Session End</Data></Status></SyncBody></SyncML>");
  }

  // Runs one exchange with `host_script` as the host. The host script gets
  // the events file and a file for its process id as $1 and $2.
  Outcome Exchange(const std::string& host_script, const std::string& options) {
    test::WriteFileBytes(x.File("host.sh"), host_script);
    const std::string d = "'" + x.path() + "'";
    const std::string host = "\"exec:sh '" + x.File("host.sh") + "' '" + x.File("events.txt") +
                             "' '" + x.File("host.pid") + "'\"";
    // The agent: waits for each message and answers by renaming a finished
    // file into the download folder, so that zvsync never sees half a file.
    const std::string agent =
        std::string(KDZV_ZVSYNC_PATH) + " sync --download " + d + "/down --upload " + d +
        "/up --depot " + d + "/depot --prefix HX --cfg " + d + "/zv.cfg --log-file " + d +
        "/zv.log --log --host " + host + " " + options + " </dev/null >" + d + "/zv.out 2>" + d +
        "/zv.err & pid=$!\n"
        "for n in 1 3; do i=0; while [ ! -f " + d + "/up/HX1_$n.xml ] && [ $i -lt 400 ]; do "
        "sleep 0.05; i=$((i+1)); done; m=$((n+1)); mv " + d + "/staging/HX1_$m.xml " + d +
        "/down/; done\nwait $pid; echo exit=$?\n";
    test::WriteFileBytes(x.File("agent.sh"), agent);

    Outcome outcome;
    const auto start = std::chrono::steady_clock::now();
    const std::string command = "env TZ=Europe/Berlin XDG_CONFIG_HOME='" + home.path() +
                                "' sh '" + x.File("agent.sh") + "' </dev/null 2>&1";
    std::FILE* pipe = ::popen(command.c_str(), "r");
    if (pipe != nullptr) {
      char buffer[4096];
      size_t n;
      while ((n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0) outcome.agent.append(buffer, n);
      ::pclose(pipe);
    }
    outcome.seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    outcome.out = test::ReadFileBytes(x.File("zv.out"));
    outcome.err = test::ReadFileBytes(x.File("zv.err"));
    outcome.events = test::ReadFileBytes(x.File("events.txt"));
    outcome.answer = test::ReadFileBytes(x.File("up/HX1_3.xml"));
    outcome.log = test::ReadFileBytes(x.File("zv.log"));
    return outcome;
  }

  pid_t HostPid() {
    const std::string text = test::ReadFileBytes(x.File("host.pid"));
    return text.empty() ? 0 : static_cast<pid_t>(std::stol(text));
  }

  test::TempDir home;
  test::TempDir x;
};

// Accepts the calendar as practitioner 7, the new appointment as 4242 and
// the replaced one as 555.
constexpr const char* kAcceptingHost = R"(echo $$ > "$2"
while IFS= read -r line; do
  printf '%s\n' "$line" >> "$1"
  case "$line" in
    *'"event":"OnSyncLog"'*) ;;
    *'"event":"OnCalendar"'*) printf '%s\n' '{"retVal":true,"record":{"BehandlerIDHX":7}}' ;;
    *'"event":"OnTermin"'*'"TerminCommand":0'*)
      printf '%s\n' '{"retVal":true,"record":{"TerminIDHX":"4242"}}' ;;
    *'"event":"OnTermin"'*) printf '%s\n' '{"retVal":true,"record":{"TerminIDHX":"555"}}' ;;
    *) printf '%s\n' '{"retVal":false}' ;;
  esac
done
)";

TEST_F(ExecBridgeProcess, AScriptPlaysTheHost) {
  const Outcome run = Exchange(kAcceptingHost, "--host-timeout 5");
  ASSERT_NE(run.agent.find("exit=0"), std::string::npos)
      << run.agent << run.out << run.err << run.events;
  EXPECT_NE(run.out.find("Synchronisation erfolgreich abgeschlossen."), std::string::npos)
      << run.out;
  EXPECT_EQ(run.err.find("zvsync: host: "), std::string::npos) << run.err;

  // The events as the host received them, in order.
  const std::vector<std::string> events = Lines(run.events);
  std::vector<std::string> asked;
  for (const std::string& line : events) {
    if (line.find(R"("event":"OnSyncLog")") == std::string::npos) asked.push_back(line);
  }
  ASSERT_EQ(asked.size(), 3u) << run.events;
  EXPECT_EQ(asked[0].rfind(R"({"event":"OnCalendar","record":{"Source":"CAL-1","Target":"",)"
                           R"("Title":"Dr. Weiß","CalendarCommand":0,"IgnoreIt":false,)",
                           0),
            0u)
      << asked[0];
  EXPECT_EQ(asked[1].rfind(R"({"event":"OnTermin","record":{"PatientTitle":"",)"
                           R"("PatientVorname":"Erika","PatientName":"Müller",)"
                           R"("PatientGebDat":"1970-03-15T00:00:00",)",
                           0),
            0u)
      << asked[1];
  EXPECT_NE(asked[1].find(R"("TerminIDZV":"ZV-4711","TerminIDHX":"",)"
                          R"("TerminStart":"2024-07-01T08:00:00",)"
                          R"("TerminEnde":"2024-07-01T08:30:00",)"
                          R"("TerminKommentar":"Bitte früh kommen","TerminCommand":0,)"),
            std::string::npos)
      << asked[1];
  EXPECT_NE(asked[1].find(R"("TerminStatus":1,"TerminBlock":false,"IgnoreIt":false}})"),
            std::string::npos)
      << asked[1];
  EXPECT_NE(asked[2].find(R"("TerminIDZV":"ZV-4700")"), std::string::npos) << asked[2];
  EXPECT_NE(asked[2].find(R"("TerminStart":"2024-07-02T10:00:00")"), std::string::npos)
      << asked[2];
  EXPECT_NE(asked[2].find(R"("TerminCommand":2,)"), std::string::npos) << asked[2];
  EXPECT_NE(run.events.find(R"({"event":"OnSyncLog","text":"Neue Datei erhalten: HX1_2.xml"})"),
            std::string::npos)
      << run.events;
  EXPECT_NE(run.events.find(R"({"event":"OnSyncLog","text":"-> Neuer Calendar: Dr. Weiß"})"),
            std::string::npos)
      << run.events;
  // Every log line is also printed.
  EXPECT_NE(run.out.find("-> Neuer Calendar: Dr. Weiß\n"), std::string::npos) << run.out;

  // The answers, in the reply: the host's ids mapped to the service's.
  EXPECT_NE(run.answer.find("<Calendar><Source>7</Source><Target>CAL-1</Target></Calendar></Map>"),
            std::string::npos)
      << run.answer;
  EXPECT_NE(run.answer.find("<VEvent><Source>4242</Source><Target>ZV-4711</Target></VEvent></Map>"),
            std::string::npos)
      << run.answer;
  EXPECT_NE(run.answer.find("<VEvent><Source>555</Source><Target>ZV-4700</Target></VEvent></Map>"),
            std::string::npos)
      << run.answer;
  EXPECT_NE(run.answer.find("<Status>Booked</Status>"), std::string::npos) << run.answer;
  EXPECT_EQ(run.answer.find("ProviderCanceled"), std::string::npos) << run.answer;

  // The host saw the end of its input and is gone.
  ASSERT_NE(HostPid(), 0);
  EXPECT_TRUE(test::NotRunning(HostPid()));
}

TEST_F(ExecBridgeProcess, AHostThatCrashesAfterItsFirstAnswer) {
  const Outcome run = Exchange(R"(echo $$ > "$2"
while IFS= read -r line; do
  printf '%s\n' "$line" >> "$1"
  case "$line" in
    *'"event":"OnSyncLog"'*) ;;
    *) printf '%s\n' '{"retVal":true,"record":{"BehandlerIDHX":7}}'; kill -KILL $$ ;;
  esac
done
)",
                               "--host-timeout 5");
  ASSERT_NE(run.agent.find("exit=0"), std::string::npos)
      << run.agent << run.out << run.err << run.events;
  EXPECT_NE(run.out.find("Synchronisation erfolgreich abgeschlossen."), std::string::npos)
      << run.out;
  // Nothing waited for the dead host.
  EXPECT_LT(run.seconds, 5.0);

  // The calendar was answered before the crash; the appointments after it
  // were refused, each reported.
  size_t asked = 0;
  for (const std::string& line : Lines(run.events)) {
    if (line.find(R"("event":"OnSyncLog")") == std::string::npos) ++asked;
  }
  EXPECT_EQ(asked, 1u) << run.events;
  EXPECT_NE(run.events.find(R"({"event":"OnCalendar",)"), std::string::npos) << run.events;
  EXPECT_EQ(Occurrences(run.err, "zvsync: host: OnTermin: the host has ended\n"), 2u) << run.err;
  // A log line reports the end at most once: when it is the first to find it.
  EXPECT_LE(Occurrences(run.err, "zvsync: host: OnSyncLog: the host has ended\n"), 1u)
      << run.err;
  // (The shell that ran the script may add a word about its death.)
  for (const std::string& line : Lines(run.err)) {
    if (line.rfind("zvsync", 0) != 0) continue;
    EXPECT_EQ(line.rfind("zvsync: host: ", 0), 0u) << line;
    EXPECT_NE(line.find(": the host has ended"), std::string::npos) << line;
  }
  EXPECT_EQ(Occurrences(run.log, "(ExecHost) --> ERROR: OnTermin: the host has ended"), 2u)
      << run.log;

  EXPECT_NE(run.answer.find("<Calendar><Source>7</Source><Target>CAL-1</Target></Calendar></Map>"),
            std::string::npos)
      << run.answer;
  EXPECT_EQ(run.answer.find("<Source>4242</Source>"), std::string::npos) << run.answer;
  EXPECT_NE(run.answer.find("<Status>ProviderCanceled</Status>"), std::string::npos)
      << run.answer;
  EXPECT_NE(run.answer.find("Replace fehlgeschlagen"), std::string::npos) << run.answer;
}

TEST_F(ExecBridgeProcess, AHostThatNeverAnswers) {
  const Outcome run = Exchange(R"(echo $$ > "$2"
while IFS= read -r line; do printf '%s\n' "$line" >> "$1"; done
)",
                               "--host-timeout 1");
  ASSERT_NE(run.agent.find("exit=0"), std::string::npos)
      << run.agent << run.out << run.err << run.events;
  EXPECT_EQ(run.err,
            "zvsync: host: OnCalendar: no answer within 1 s\n"
            "zvsync: host: OnTermin: no answer within 1 s\n"
            "zvsync: host: OnTermin: no answer within 1 s\n");
  EXPECT_NE(run.log.find("(ExecHost) --> ERROR: OnCalendar: no answer within 1 s"),
            std::string::npos)
      << run.log;
  EXPECT_GE(run.seconds, 3.0);
  EXPECT_EQ(run.answer.find("<Map>"), std::string::npos) << run.answer;
  EXPECT_NE(run.answer.find("<Status>ProviderCanceled</Status>"), std::string::npos)
      << run.answer;
  ASSERT_NE(HostPid(), 0);
  EXPECT_TRUE(test::NotRunning(HostPid()));
}

}  // namespace
}  // namespace kdzv
