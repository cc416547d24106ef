// zvsync history over a depot and a log made by playing every bundled
// scenario with the component in this process (the simulated agent on its
// own thread, as zvsync demo plays it).
#include "cli/history.h"

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "agent/agent.h"
#include "cli/exchange_run.h"
#include "cli/hosts.h"
#include "cli/sync_command.h"
#include "cli/zvsync.h"
#include "interface/process.h"
#include "platform/platform.h"
#include "support/fake_registry.h"
#include "support/fakes.h"

namespace kdzv {
namespace {

namespace fsys = std::filesystem;

struct Play {
  const char* scenario;
  bool accept;
  bool slow;
  enmZVRetValues expected;  // the exchange's result when all goes as the scenario says
};

// One folder with the depot and the log of four exchanges, played once for
// all tests of this file.
class PlayedDepot {
 public:
  PlayedDepot() {
    const std::string saved_log = process::LogFilePath();
    const std::string saved_cfg = process::ConfigFilePath();
    for (const char* folder : {"upload", "download", "depot"}) {
      fsys::create_directory(dir.File(folder));
    }
    for (const Play& play : {Play{"first-booking", true, false, ZV_Success},
                             Play{"refusing-host", false, false, ZV_Success},
                             Play{"slow-sync", true, true, ZV_Success},
                             Play{"foreign-files", true, false, ZV_Error_Cancel}}) {
      PlayOne(play);
    }
    process::SetFilePaths(saved_log, saved_cfg);
  }

  std::string Depot() const { return dir.File("depot"); }
  std::string Log() const { return dir.File("kdZentavo.log"); }

  test::TempDir dir;
  std::vector<int> results;
  std::vector<int> agent_results;

 private:
  void PlayOne(const Play& play) {
    SystemPorts& system = System();
    std::ostringstream out, err;
    test::FakeRegistry registry;
    CliContext context{*process::TimeZone(), registry, system.xml_parser, system.file_system,
                       out, err};
    ExchangePorts exchange{system.clock, system.profile_file, system.user_interface,
                           *HeadlessWindowPlatform(), *HeadlessMessagePump(), {}};
    context.exchange = &exchange;
    ExchangeOverrides overrides;
    overrides.upload = dir.File("upload");
    overrides.download = dir.File("download");
    overrides.depot = dir.File("depot");
    overrides.prefix = "HX";
    overrides.cfg = dir.File("kdZentavo.cfg");
    overrides.log_file = Log();
    overrides.log = true;
    overrides.slow_sync = play.slow;
    std::string error;
    const std::optional<agent::Scenario> scenario = agent::LoadBundledScenario(play.scenario, error);
    ASSERT_TRUE(scenario.has_value()) << error;
    std::atomic<bool> stop{false};
    int agent_result = agent::kRunFailed;
    std::ostringstream transcript;
    std::thread agent_thread([&] {
      agent_result = agent::RunScenario(
          *scenario, agent::AgentOptions{*overrides.upload, *overrides.download, "", &stop},
          transcript);
    });
    AcceptingHost accepting(out);
    RefusingHost refusing(out);
    HostEvents& host = play.accept ? static_cast<HostEvents&>(accepting) : refusing;
    const enmZVRetValues result = RunExchange(overrides, context, host, error);
    // An exchange that ended otherwise leaves the agent waiting: end it too.
    if (result != play.expected) stop = true;
    agent_thread.join();
    results.push_back(result);
    agent_results.push_back(agent_result);
    // What the component wrote stays out of the next exchange's way.
    for (const auto& entry : fsys::directory_iterator(dir.File("upload"))) fsys::remove(entry);
    for (const auto& entry : fsys::directory_iterator(dir.File("download"))) fsys::remove(entry);
  }
};

PlayedDepot& Played() {
  static PlayedDepot played;
  return played;
}

class HistoryTest : public ::testing::Test {
 protected:
  int Run(std::vector<std::string> args) {
    out.str("");
    err.str("");
    CliContext context{zone, registry, System().xml_parser, System().file_system, out, err};
    args.insert(args.begin(), "history");
    return RunZvsync(args, context);
  }
  static bool Has(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
  }
  test::ScopedProcess scoped;
  test::FixedZone zone{1, -60, -60};
  test::FakeRegistry registry;
  std::ostringstream out, err;
};

TEST_F(HistoryTest, TheScenariosWerePlayed) {
  PlayedDepot& played = Played();
  EXPECT_EQ(played.results, (std::vector<int>{0, 0, 0, 4}));
  EXPECT_EQ(played.agent_results, (std::vector<int>{0, 0, 0, 0}));
}

TEST_F(HistoryTest, ListsEverySessionWithEveryCommand) {
  PlayedDepot& played = Played();
  ASSERT_EQ(Run({"--depot", played.Depot(), "--log", played.Log()}), 0) << err.str();
  const std::string text = out.str();
  // The four sessions in time order, and the foreign file's own "session".
  const size_t s1 = text.find("Session 1, ");
  const size_t s2 = text.find("Session 2, ");
  const size_t s3 = text.find("Session 3, ");
  const size_t s4 = text.find("Session 4, ");
  ASSERT_NE(s1, std::string::npos) << text;
  ASSERT_NE(s4, std::string::npos) << text;
  EXPECT_LT(s1, s2);
  EXPECT_LT(s2, s3);
  EXPECT_LT(s3, s4);
  EXPECT_TRUE(Has(text, "Session 1, ")) << text;
  EXPECT_TRUE(Has(text.substr(s1, s2 - s1), ", result 0\n"));
  EXPECT_TRUE(Has(text.substr(s4), ", result 4\n"));
  EXPECT_TRUE(Has(text, "messages received (3): HX1_2.xml HX1_4.xml HX1_6.xml\n")) << text;
  // first-booking: calendars, attributes, adds, a replace, a delete, opening times.
  EXPECT_TRUE(Has(text, "  HX1_2.xml: calendar added: CAL-1 \"Dr. Weiß\"\n")) << text;
  EXPECT_TRUE(Has(text, "  HX1_2.xml: attribute added: ATT-1 \"Behandlungsart\": "
                        "\"Erstuntersuchung\", \"Kontrolle\", \"Physiotherapie\"\n"))
      << text;
  EXPECT_TRUE(Has(text, "  HX1_2.xml: appointment added: service id ZV-101, patient \"Erika "
                        "Müller\", start 2024-07-01 08:00, calendar \"Dr. Weiß\", status Booked\n"))
      << text;
  EXPECT_TRUE(Has(text, "appointment replaced: service id ")) << text;
  EXPECT_TRUE(Has(text, "appointment deleted: service id ")) << text;
  EXPECT_TRUE(Has(text, "opening times requested")) << text;
  // The foreign file of foreign-files, and the failures the log recorded.
  EXPECT_TRUE(Has(text, "XX99_4.xml")) << text;
  EXPECT_TRUE(Has(text.substr(s4), "failures in the log:\n")) << text;
  EXPECT_TRUE(Has(text.substr(s4), "Die Datei gehört nicht zu aktuellen Session. Datei wird "
                                   "ignoriert.")) << text;
  EXPECT_FALSE(Has(text.substr(s1, s2 - s1), "failures in the log:")) << text;
}

TEST_F(HistoryTest, EveryCommandOfTheDepotIsListed) {
  PlayedDepot& played = Played();
  ASSERT_EQ(Run({"--depot", played.Depot()}), 0) << err.str();
  const std::string text = out.str();
  // Counted against the reader's own analysis of each file.
  size_t expected = 0;
  for (const auto& entry : fsys::directory_iterator(played.Depot())) {
    std::ostringstream analysis, analysis_err;
    CliContext context{zone, registry, System().xml_parser, System().file_system, analysis,
                       analysis_err};
    RunZvsync({"analyze", entry.path().string()}, context);
    std::istringstream lines(analysis.str());
    for (std::string line; std::getline(lines, line);) {
      for (const char* kind : {"add calendar", "add attribute", "add appointment",
                               "replace appointment", "delete appointment", "get opening times"}) {
        if (line.rfind(kind, 0) == 0) ++expected;
      }
    }
  }
  size_t listed = 0;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    for (const char* kind : {": calendar added", ": attribute added", ": appointment added",
                             ": appointment replaced", ": appointment deleted",
                             ": opening times requested"}) {
      if (line.find(kind) != std::string::npos) ++listed;
    }
  }
  EXPECT_GT(expected, 10u);
  EXPECT_EQ(listed, expected) << text;
}

TEST_F(HistoryTest, FindKeepsOnlyWhatMentionsTheTextInAnyCase) {
  PlayedDepot& played = Played();
  ASSERT_EQ(Run({"--depot", played.Depot(), "--log", played.Log(), "--find", "zv-101"}), 0);
  const std::string text = out.str();
  EXPECT_TRUE(Has(text, "service id ZV-101")) << text;
  EXPECT_FALSE(Has(text, "calendar added")) << text;
  EXPECT_FALSE(Has(text, "Session 2, ")) << text;
  ASSERT_EQ(Run({"--depot", played.Depot(), "--find", "ERIKA MÜLLER"}), 0);
  EXPECT_TRUE(Has(out.str(), "Erika Müller")) << out.str();
  ASSERT_EQ(Run({"--depot", played.Depot(), "--find", "nobody-at-all"}), 0);
  EXPECT_EQ(out.str(), "No session found.\n");
}

TEST_F(HistoryTest, SinceLeavesOutOlderSessions) {
  PlayedDepot& played = Played();
  ASSERT_EQ(Run({"--depot", played.Depot(), "--log", played.Log(), "--since", "2999-01-01"}), 0);
  EXPECT_EQ(out.str(), "No session found.\n");
  ASSERT_EQ(Run({"--depot", played.Depot(), "--log", played.Log(), "--since", "2000-01-01"}), 0);
  EXPECT_TRUE(Has(out.str(), "Session 1, "));
}

TEST_F(HistoryTest, ARefusedFileIsListedAndTheRestGoesOn) {
  PlayedDepot& played = Played();
  test::TempDir depot;
  for (const auto& entry : fsys::directory_iterator(played.Depot())) {
    fsys::copy_file(entry.path(), fsys::path(depot.path()) / entry.path().filename());
  }
  test::WriteFileBytes(depot.File("HX1_8.xml"), "<SyncML><SyncHdr>");  // cut off
  test::WriteFileBytes(depot.File("HX7_2.xml"), "<Other/>");
  test::WriteFileBytes(depot.File("Liesmich.txt"), "not a message");
  ASSERT_EQ(Run({"--depot", depot.path()}), 0) << err.str();
  const std::string text = out.str();
  EXPECT_TRUE(Has(text, "  HX1_8.xml: refused by the reader")) << text;
  EXPECT_TRUE(Has(text, "  HX7_2.xml: refused by the reader")) << text;
  EXPECT_FALSE(Has(text, "Liesmich")) << text;
  EXPECT_TRUE(Has(text, "service id ZV-101")) << text;
  EXPECT_TRUE(scoped.ui.boxes.empty());
}

TEST_F(HistoryTest, ThePageEscapesEveryTextAndSaysItHoldsPatientData) {
  PlayedDepot& played = Played();
  test::TempDir depot;
  std::string message = test::ReadFileBytes((fsys::path(played.Depot()) / "HX1_2.xml").string());
  const size_t name = message.find("Erika");
  ASSERT_NE(name, std::string::npos);
  message.replace(name, 5, "&lt;script&gt;alert(1)&lt;/script&gt;");
  test::WriteFileBytes(depot.File("HX1_2.xml"), message);
  const std::string page_path = depot.File("history.html");
  ASSERT_EQ(Run({"--depot", depot.path(), "--html", page_path}), 0) << err.str();
  EXPECT_TRUE(Has(out.str(), "patient \"<script>alert(1)</script> Müller\"")) << out.str();
  const std::string page = test::ReadFileBytes(page_path);
  EXPECT_FALSE(Has(page, "<script")) << page;
  EXPECT_TRUE(Has(page, "&lt;script&gt;alert(1)&lt;/script&gt; Müller")) << page;
  EXPECT_TRUE(Has(page, "Patientendaten"));
  EXPECT_TRUE(Has(page, "This page holds patient data."));
  EXPECT_TRUE(Has(page, "<details>"));
  // Nothing from outside: no link, no source, no url.
  EXPECT_FALSE(Has(page, "src=")) << page;
  EXPECT_FALSE(Has(page, "href=")) << page;
  EXPECT_FALSE(Has(page, "url(")) << page;
  EXPECT_FALSE(Has(page, "http:")) << page;
  EXPECT_FALSE(Has(page, "https:")) << page;
}

TEST_F(HistoryTest, BadUsageAndAMissingDepot) {
  EXPECT_EQ(Run({}), 2);
  EXPECT_EQ(Run({"--log", "x.log"}), 2);
  EXPECT_EQ(Run({"--depot"}), 2);
  EXPECT_EQ(Run({"--depot", "d", "--since", "1.7.2024"}), 2);
  EXPECT_EQ(Run({"--depot", "d", "--frob", "x"}), 2);
  test::TempDir dir;
  EXPECT_EQ(Run({"--depot", dir.File("missing")}), 1);
  EXPECT_TRUE(Has(err.str(), "the depot cannot be read")) << err.str();
}

}  // namespace
}  // namespace kdzv
