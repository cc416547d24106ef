// A whole exchange in a test: real folders and files, the real parser, fake
// timers, a scripted message loop that plays the service's agent, a
// recording host, and fakes for settings, configuration, clock and message
// boxes.
#ifndef KDZV_TESTS_INTERFACE_EXCHANGE_HARNESS_H_
#define KDZV_TESTS_INTERFACE_EXCHANGE_HARNESS_H_

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "exchange/kd_zv_interface.h"
#include "support/fake_profile_file.h"
#include "support/fake_registry.h"
#include "support/fake_window.h"
#include "support/fakes.h"

namespace kdzv::test {

// Records every event; accepts or refuses as told, and gives new host ids
// to accepted adds like a host would (unless `termin_id` says otherwise).
class RecordingHost : public HostEvents {
 public:
  void OnTermin(std::shared_ptr<kdZVTermin>& mZVTermin, int32_t& retVal) override;
  void OnSyncLog(std::string& strInfo) override {
    sync_log.push_back(strInfo);
    if (on_sync_log) on_sync_log(strInfo);
  }
  void OnCalendar(std::shared_ptr<kdZVCalendar>& mZVCalendar, int32_t& retVal) override;
  void OnAttribute(std::shared_ptr<kdZVCalendar>& mZVCalendar, int32_t& retVal) override;
  void OnQueryOpeningTime(std::shared_ptr<kdZVBelegungen>& retZVBelegungen,
                          int32_t& retVal) override;
  void EinstellungenAmServiceValidieren(std::string& s01UploadDir, std::string& s02DownloadDir,
                                        std::string& s03AblageDir,
                                        std::string& sErrMsg) override {
    events.push_back("EinstellungenAmServiceValidieren " + s01UploadDir + "|" + s02DownloadDir +
                     "|" + s03AblageDir);
    sErrMsg = validate_answer;
    if (on_event) on_event("EinstellungenAmServiceValidieren");
  }
  void ZentavoSyncTesten(std::shared_ptr<clZVSettings>& sSettings) override {
    events.push_back("ZentavoSyncTesten");
    tested_settings = sSettings;
    if (on_event) on_event("ZentavoSyncTesten");
  }

  bool accept = true;
  std::string validate_answer = "OK";  // the answer to the folder check at the service
  std::shared_ptr<clZVSettings> tested_settings;  // what ZentavoSyncTesten was given
  std::string termin_id = "";  // the TerminIDHX given to an accepted add ("" = 1, 2, 3 ...)
  std::vector<std::string> events;  // "OnTermin Add ZV-1", "OnCalendar CAL-1", ...
  std::vector<std::string> sync_log;
  std::function<void(kdZVBelegungen&)> opening_times;
  // Runs after each event, inside the exchange, as a host's handler would.
  std::function<void(const std::string& event)> on_event;
  std::function<void(const std::string& line)> on_sync_log;
  // Sets IgnoreIt on every record it gets.
  bool ignore_all = false;

 private:
  int next_id_ = 1;
};

// An added appointment (command 2, service id ZV-1) of the agent.
extern const std::string kAgentAdd;
// The agent's end of the session (a status on the component's message 3).
extern const std::string kAgentSessionEnd;

// Plays the agent: answers an expected upload file with a download file.
struct AgentStep {
  std::string wait_for;  // upload file name that must exist first
  std::string answer;    // download file name
  std::string content;   // its content
};

class ExchangeHarness {
 public:
  ExchangeHarness();
  ~ExchangeHarness();

  // Creates the interface object (once; after the settings are set up).
  kdZVInterface& Interface();
  // The harness's own reference to it; dropping it (as a host drops its last
  // reference) frees the object once no call of its own is running.
  std::shared_ptr<kdZVInterface>& Reference() { return zv_; }
  std::shared_ptr<clZVSettings> Settings() { return Interface().Settings(); }

  // Runs StartSync with the agent's steps; the loop gives up (cancels)
  // after `max_passes` passes of the wait loop.
  enmZVRetValues Run(std::vector<AgentStep> steps, int max_passes = 50);

  // An answer message of the agent with `body` inside SyncBody.
  static std::string Answer(int session, int msg_id, const std::string& body);

  // A file in one of the folders, joined as the component joins it.
  std::string Up(const std::string& name) const { return Join(up, name); }
  std::string Down(const std::string& name) const { return Join(down, name); }
  std::string Depot(const std::string& name) const { return Join(depot, name); }
  static std::string Join(const std::string& folder, const std::string& name);
  std::string LogFile() const;
  // The log's text as UTF-8: the log is a text file of its system, in the
  // ANSI code page (Windows-1252 in the test prefix) on Windows.
  std::string LogText() const;

  ScopedProcess process;
  TempDir dir;
  std::string up, down, depot;
  FakeProfileFile profile;
  FakeRegistry registry;
  FixedClock clock{DateTime::FromDate(2024, 7, 1)};
  RecordingUserInterface ui;
  FakeWindowPlatform window;
  RecordingHost host;
  std::string sErr;
  int passes = 0;
  // Runs before each pass of the wait loop (after the agent's step).
  std::function<void(ExchangeHarness&)> on_pass;

 private:
  class ScriptedPump;
  std::unique_ptr<ScriptedPump> pump_;
  std::shared_ptr<kdZVInterface> zv_;
};

}  // namespace kdzv::test

#endif  // KDZV_TESTS_INTERFACE_EXCHANGE_HARNESS_H_
