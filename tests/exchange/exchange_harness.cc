#include "exchange/exchange_harness.h"

#include <filesystem>

#include "platform/platform.h"
#include "util/windows_1252.h"

namespace kdzv::test {

const std::string kAgentAdd =
    "<Add><CmdID>2</CmdID><VEvent><Source>ZV-1</Source><DTStart>20240701T060000Z</DTStart>"
    "<DTEnd>20240701T063000Z</DTEnd><Customer><LastName>Muster</LastName><DateOfBirth>19700315"
    "</DateOfBirth></Customer></VEvent></Add>";
const std::string kAgentSessionEnd =
    "<Status><Cmd>SyncHdr</Cmd><CmdID>1</CmdID><CmdRef>0</CmdRef><MsgRef>3</MsgRef>"
    "<Data>Session End</Data><Text/></Status>";

void RecordingHost::OnTermin(std::shared_ptr<kdZVTermin>& t, int32_t& retVal) {
  const char* kind = t->TerminCommand == Termin_Add       ? "Add"
                     : t->TerminCommand == Termin_Replace ? "Replace"
                                                          : "Delete";
  events.push_back(std::string("OnTermin ") + kind + " " + t->TerminIDZV);
  t->IgnoreIt = ignore_all;
  if (accept) {
    if (t->TerminCommand == Termin_Add) {
      t->TerminIDHX = termin_id.empty() ? std::to_string(next_id_++) : termin_id;
    }
    retVal = -1;
  }
  if (on_event) on_event(events.back());
}

void RecordingHost::OnCalendar(std::shared_ptr<kdZVCalendar>& c, int32_t& retVal) {
  events.push_back("OnCalendar " + c->Source);
  c->IgnoreIt = ignore_all;
  if (accept) {
    c->BehandlerIDHX = next_id_++;
    retVal = -1;
  }
  if (on_event) on_event(events.back());
}

void RecordingHost::OnAttribute(std::shared_ptr<kdZVCalendar>& c, int32_t& retVal) {
  events.push_back("OnAttribute " + c->Source);
  c->IgnoreIt = ignore_all;
  if (accept) {
    c->AttributeIDHX = std::to_string(next_id_++);
    retVal = -1;
  }
  if (on_event) on_event(events.back());
}

void RecordingHost::OnQueryOpeningTime(std::shared_ptr<kdZVBelegungen>& b, int32_t& retVal) {
  events.push_back("OnQueryOpeningTime");
  if (opening_times) opening_times(*b);
  retVal = -1;
  if (on_event) on_event(events.back());
}

class ExchangeHarness::ScriptedPump : public MessagePump {
 public:
  explicit ScriptedPump(ExchangeHarness& harness) : harness_(harness) {}
  void RunPending(int32_t) override {
    ExchangeHarness& h = harness_;
    ++h.passes;
    if (h.passes > max_passes) {
      // The agent has nothing more to say: stop as the user would.
      h.window.View().answer = true;
      h.window.View().input.CloseRequested();
      return;
    }
    if (next < steps.size() && std::filesystem::exists(h.Up(steps[next].wait_for))) {
      WriteFileBytes(h.Down(steps[next].answer), steps[next].content);
      ++next;
    }
    if (h.on_pass) h.on_pass(h);
    // The watch timer is the first timer of the newest window.
    FakeTimer& watch = *h.window.timers[h.window.timers.size() - 2];
    watch.Tick();
  }
  std::vector<AgentStep> steps;
  size_t next = 0;
  int max_passes = 50;

 private:
  ExchangeHarness& harness_;
};

ExchangeHarness::ExchangeHarness() : pump_(std::make_unique<ScriptedPump>(*this)) {
  up = dir.File("up");
  down = dir.File("down");
  depot = dir.File("depot");
  for (const std::string& folder : {up, down, depot}) std::filesystem::create_directory(folder);
  process::SetFilePaths(dir.File("kdZentavo.log"), "kdZentavo.cfg");
  window.views.clear();
}

ExchangeHarness::~ExchangeHarness() { zv_.reset(); }

std::string ExchangeHarness::Join(const std::string& folder, const std::string& name) {
  return System().file_system.BuildPath(folder, name);
}

std::string ExchangeHarness::LogFile() const { return dir.File("kdZentavo.log"); }

std::string ExchangeHarness::LogText() const {
  const std::string bytes = ReadFileBytes(LogFile());
#ifdef _WIN32
  return Windows1252ToUtf8(bytes);
#else
  return bytes;
#endif
}

kdZVInterface& ExchangeHarness::Interface() {
  if (!zv_) {
    const InterfacePorts ports{System().file_system, clock,  process.zone,
                               profile,              registry, ui,
                               System().xml_parser,  window, *pump_};
    zv_ = std::make_shared<kdZVInterface>(ports, host);
    auto settings = zv_->Settings();
    settings->SetDownloadPath(down);
    settings->SetUploadPath(up);
    settings->SetAblagePath(depot);
    settings->SetFilePraefix("HX");
    settings->SetDoLog(true);
  }
  return *zv_;
}

enmZVRetValues ExchangeHarness::Run(std::vector<AgentStep> steps, int max_passes) {
  Interface();
  window.views.clear();
  pump_->steps = std::move(steps);
  pump_->next = 0;
  pump_->max_passes = max_passes;
  passes = 0;
  // Held for the call, as the automation object holds itself around every
  // call that raises events: a host may drop its own reference meanwhile.
  const std::shared_ptr<kdZVInterface> keep = zv_;
  return keep->StartSync(0, sErr);
}

std::string ExchangeHarness::Answer(int session, int msg_id, const std::string& body) {
  return "<?xml version=\"1.0\" encoding=\"utf-8\"?><SyncML><SyncHdr><VerDTD>1.0</VerDTD>"
         "<VerProto>SyncZV/1.0</VerProto><SessionID>" +
         std::to_string(session) + "</SessionID><MsgID>" + std::to_string(msg_id) +
         "</MsgID><Source><LocName>Zentavo</LocName><LocURI/></Source><Target><LocName>Halvex"
         "</LocName><LocURI/></Target></SyncHdr><SyncBody>" +
         body + "</SyncBody></SyncML>";
}

}  // namespace kdzv::test
