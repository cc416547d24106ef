// The host of the soak: one process runs whole exchanges one after another
// against zvagent.exe, as a practice's program does for weeks. It binds
// late, as the other test hosts do, and loads the instrumented library
// (kdZentavo_testheap.dll) itself, so that the library's live heap can be
// read after each exchange.
//
//   - the first half of the exchanges makes a new interface object for each
//     one (and lets it go after it: the library must then be unloadable);
//     the second half keeps one object for all;
//   - every tenth exchange (5, 15, ...) is cancelled: the sync window's
//     cancel button, the question answered yes;
//   - every tenth exchange (10, 20, ...) first opens the settings dialog and
//     cancels it through its Cancel button;
//   - the others play the bundled scenarios "first-booking" and
//     "refusing-host" in turn with the agent, the host answering as the
//     accepting and the refusing host of the exchange tests do.
// Every answer is checked: StartSync's result, the agent's verdict, the
// boxes shown, the events raised (the same counts as in the first full
// exchange), the files put away, and the folders left empty.
//
// The driver (tests/com/soak/run-soak) measures the process from the Linux
// side. After setting up (0), after each exchange (1 to N) and after letting
// go of the kept object (N + 1) the host prints
//   READY <n> <kind> <ok|FAILED> heap <blocks> <bytes>
// (the library's live heap) and waits for a line on its input; a problem is
// printed before it as "PROBLEM <n>: <text>"; at the end "DONE <problems>".
// The host ends when its input ends.
//
//   kdzv_soak_host [--exchanges N] [--token TEXT]
// (The token only marks the process for the driver.)
#include <objbase.h>
#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "com/heap/heap_client.h"
#include "com/host/automation_client.h"
#include "com/host/event_sink.h"
#include "com/host/host_files.h"
#include "com/host/library_calls.h"
#include "com/host/library_copy.h"
#include "com/host/message_boxes.h"
#include "com/host/practice_host.h"
#include "support/fresh_user_settings.h"
#include "support/own_window.h"

namespace kdzv::host {
namespace {

constexpr long kResultOk = 0;         // ZV_Error_None
constexpr long kResultCancelled = 4;  // ZV_Error_Cancel
const wchar_t kCancelQuestion[] = L"Soll der Syncronisation-Prozess wirklich abgebrochen werden?";

// The bundled scenarios played in turn, the host that each wants, and how
// many of the agent's messages it leaves in the depot.
struct Scenario {
  const char* name;
  bool accepting;
  size_t put_away;
};
const Scenario kScenarios[] = {{"first-booking", true, 3}, {"refusing-host", false, 2}};

std::wstring FromBuild(const char* path) { return WindowsPath(path); }

// The problems of the current exchange.
std::vector<std::string> g_problems;
void Problem(const std::string& text) { g_problems.push_back(text); }

// Presses a window's button once, from a timer, when the window is there.
struct Presser {
  const wchar_t* window_class;
  bool by_text;       // the button by its text (else by its control id)
  const wchar_t* text;
  int id;
  bool pressed = false;
};
Presser* g_presser = nullptr;

void CALLBACK PressWhenShown(HWND, UINT, UINT_PTR, DWORD) {
  if (g_presser == nullptr || g_presser->pressed) return;
  HWND window = kdzv::test::FindOwnWindow(g_presser->window_class);
  if (window == nullptr || !::IsWindowVisible(window)) return;
  HWND button = g_presser->by_text ? ::FindWindowExW(window, nullptr, L"Button", g_presser->text)
                                   : ::GetDlgItem(window, g_presser->id);
  if (button == nullptr) return;
  g_presser->pressed = true;
  ::PostMessageW(button, BM_CLICK, 0, 0);
}

class PressLater {
 public:
  explicit PressLater(Presser& presser) {
    g_presser = &presser;
    timer_ = ::SetTimer(nullptr, 0, 250, PressWhenShown);
  }
  ~PressLater() {
    ::KillTimer(nullptr, timer_);
    g_presser = nullptr;
  }
  PressLater(const PressLater&) = delete;
  PressLater& operator=(const PressLater&) = delete;

 private:
  UINT_PTR timer_;
};

// StartSync without an owner window.
Result StartSync(const Obj& zv, std::wstring* error_text) {
  return CallStartSync(zv, MissingArgument(), error_text);
}

std::string Describe(const std::map<std::string, int>& events) {
  std::string text;
  for (const auto& [name, count] : events) {
    if (name == "OnSyncLog") continue;  // as many as the log has lines
    text += (text.empty() ? "" : ", ") + name + " " + std::to_string(count);
  }
  return text;
}

class Soak {
 public:
  Soak(const std::wstring& dir, LibraryCopy& library) : dir_(dir), library_(library) {}

  bool StoreSettings() {
    const Obj settings = library_.Create(L"kdZentavo.clZVSettings");
    if (!settings) return false;
    const std::pair<const wchar_t*, Var> values[] = {
        {L"DownloadPath", Var(dir_ + L"\\down")}, {L"UploadPath", Var(dir_ + L"\\up")},
        {L"AblagePath", Var(dir_ + L"\\depot")},  {L"FilePraefix", Var(L"HX")},
        {L"SystemName", Var(L"")},                 {L"SlowSync", Var(false)},
        {L"DoLog", Var(true)},                     {L"TimeoutSeconds", Var(short{60})},
        {L"PatIdentKriterium", Var(short{0})}};
    for (const auto& [name, value] : values) {
      if (settings.Put(name, value) != S_OK) return false;
    }
    return true;
  }

  // Exchange `n` (from 1); its kind into `kind`.
  void Exchange(int n, int total, std::string* kind) {
    const bool kept = n > total / 2;
    const bool cancelled = n % 10 == 5;
    const bool dialog = n % 10 == 0;
    const Scenario& scenario = kScenarios[n % 2];
    *kind = std::string(kept ? "kept" : "new") + (cancelled ? "+cancel" : "") +
            (dialog ? "+dialog" : "") + (cancelled ? "" : std::string("+") + scenario.name);
    if (!kept || !zv_) {
      HRESULT hr = E_FAIL;
      zv_ = library_.Create(L"kdZentavo.kdZVInterface", &hr);
      if (!zv_) {
        Problem("no interface object: " + std::to_string(hr));
        return;
      }
    }
    PracticeHost host;
    host.accepting = scenario.accepting;
    auto* sink = new EventSink(EventInterfaceOf(zv_), [&host](DISPID id, DISPPARAMS& args) {
      return host.Handle(id, args);
    });
    const DWORD cookie = Connect(zv_, sink);
    if (cookie == 0) Problem("the event sink could not be connected");
    if (dialog) CancelTheSettingsDialog();
    if (cancelled) {
      CancelledExchange(host);
    } else {
      WholeExchange(scenario, host);
    }
    Disconnect(zv_, cookie);
    sink->Release();
    if (!kept) {
      zv_ = Obj();
      if (library_.CanUnloadNow() != S_OK) Problem("the library cannot be unloaded after the exchange");
    }
  }

  void End() {
    FinishTheAgent();
    zv_ = Obj();
    if (library_.CanUnloadNow() != S_OK) Problem("the library cannot be unloaded at the end");
  }

 private:
  void CancelTheSettingsDialog() {
    const Obj before = zv_.GetObj(L"Settings");
    MessageBoxAnswerer boxes;
    Presser cancel{L"kdZentavoSettingsDialog", false, nullptr, IDCANCEL};
    Result shown;
    {
      PressLater press(cancel);
      shown = zv_.Call(L"ShowSettings", {Var::Missing(), Var(false)});
    }
    if (shown.hr != S_OK) Problem("ShowSettings answered " + std::to_string(shown.hr));
    if (!cancel.pressed) Problem("the settings dialog was not seen");
    if (kdzv::test::FindOwnWindow(L"kdZentavoSettingsDialog") != nullptr) {
      Problem("the settings dialog is still there");
    }
    if (zv_.GetObj(L"Settings").get() != before.get()) Problem("the cancelled dialog replaced the settings");
    for (const std::wstring& text : boxes.Texts()) Problem("box at the dialog: " + Narrow(text));
  }

  // After a cancelled exchange the sync window must be gone. A window that
  // is still there when StartSync has returned is described, and waited for
  // while the thread's messages run: one that goes then is noted (it went
  // late), one that stays is a problem.
  // The window goes before StartSync returns.
  void CheckTheSyncWindowIsGone() {
    HWND window = kdzv::test::FindOwnWindow(L"kdZentavoSyncWindow");
    if (window == nullptr) return;
    const std::string state =
        std::string(::IsWindowVisible(window) ? "visible" : "hidden") +
        (::IsWindowEnabled(window) ? ", enabled" : ", disabled") +
        (::GetWindow(window, GW_OWNER) != nullptr ? ", owned" : ", no owner") +
        (::GetWindowLongPtrW(window, GWLP_USERDATA) != 0 ? ", with its view" : ", without view");
    Problem("the sync window outlives StartSync (" + state + ")");
  }

  void CancelledExchange(PracticeHost& host) {
    MessageBoxAnswerer boxes(IDYES);
    Presser cancel{L"kdZentavoSyncWindow", true, L"Abbruch", 0};
    std::wstring error;
    Result synced;
    {
      PressLater press(cancel);
      synced = StartSync(zv_, &error);
    }
    FinishTheAgent();
    if (synced.hr != S_OK || synced.value.Long() != kResultCancelled) {
      Problem("the cancelled StartSync answered " + std::to_string(synced.hr) + ", " +
              std::to_string(synced.value.Long()) + " (" + Narrow(error) + ")");
    }
    if (boxes.Texts() != std::vector<std::wstring>{kCancelQuestion}) {
      for (const std::wstring& text : boxes.Texts()) Problem("box: " + Narrow(text));
      if (boxes.Texts().empty()) Problem("the cancel question was not asked");
    }
    CheckTheSyncWindowIsGone();
    if (host.events.count("OnTermin") != 0) Problem("a cancelled exchange raised OnTermin");
    // The opening message stays in the upload folder; the next exchange
    // clears it away.
    left_over_ = FilesIn(dir_ + L"\\up").size();
  }

  void WholeExchange(const Scenario& scenario, PracticeHost& host) {
    const size_t depot_before = FilesIn(dir_ + L"\\depot").size();
    Agent agent;
    agent.scenario = scenario.name;
    agent.output = dir_ + L"\\agent-" + std::to_wstring(++agents_ % 2) + L".out";
    // The agent starts when StartSync has begun (its first log line): by
    // then a message that a cancelled exchange left is cleared away, and
    // cannot be taken for this exchange's opening.
    host.on_first_log = [&] {
      agent.process = StartWithOutput(L"\"" + FromBuild(KDZV_ZVAGENT_PATH) + L"\" --upload \"" +
                                          dir_ + L"\\up\" --download \"" + dir_ +
                                          L"\\down\" --bundled " + Widen(scenario.name),
                                      agent.output);
      if (agent.process == nullptr) Problem("the agent could not be started");
    };
    MessageBoxAnswerer boxes;
    std::wstring error;
    const Result synced = StartSync(zv_, &error);
    host.on_first_log = nullptr;
    if (synced.hr != S_OK || synced.value.Long() != kResultOk) {
      Problem("StartSync answered " + std::to_string(synced.hr) + ", " +
              std::to_string(synced.value.Long()) + " (" + Narrow(error) + ")");
    }
    // The agent still watches for a while that nothing more comes; its
    // verdict is read after the next exchange.
    FinishTheAgent();
    agent_ = agent;
    for (const std::wstring& text : boxes.Texts()) Problem("box: " + Narrow(text));
    if (host.events["OnSyncLog"] == 0) Problem("no OnSyncLog");
    // The same events as the first time this scenario was played.
    const std::string events = Describe(host.events);
    std::string& usual = usual_events_[scenario.name];
    if (usual.empty()) usual = events;
    if (events != usual) Problem("events: " + events + ", where the first time had " + usual);
    // The agent's messages put away, and what a cancelled exchange left in
    // the upload folder.
    const size_t put_away = FilesIn(dir_ + L"\\depot").size() - depot_before;
    if (put_away != scenario.put_away + left_over_) {
      Problem(std::to_string(put_away) + " files put away, where " +
              std::to_string(scenario.put_away + left_over_) + " were due");
    }
    left_over_ = 0;
    // Everything the agent wrote was taken; what the library wrote last is
    // the agent's to take (checked when it has ended).
    if (!FilesIn(dir_ + L"\\down").empty()) Problem("files are left in the download folder");
  }

  // The agent of the last whole exchange: it ends after a last wait of its
  // own, while the next exchange already runs (its stem is another).
  struct Agent {
    HANDLE process = nullptr;
    std::wstring output;
    std::string scenario;
  };

  void FinishTheAgent() {
    if (agent_.process == nullptr) return;
    const int status = test::ExitStatusAfter(agent_.process, 60000);
    agent_.process = nullptr;
    const std::string text = ReadBytes(agent_.output);
    if (status != 0 ||
        text.find("agent: scenario " + agent_.scenario + " passed") == std::string::npos) {
      Problem("the agent of the last whole exchange: " + text);
    }
    // Nothing of that exchange is left in the folders: its stem comes with
    // the agent's first line ("agent: received HX12_1.xml ...").
    const std::string received = "agent: received ";
    const size_t at = text.find(received);
    const size_t end = at == std::string::npos ? at : text.find("1.xml", at);
    if (end == std::string::npos) return;
    const std::string stem = text.substr(at + received.size(), end - at - received.size());
    for (const wchar_t* folder : {L"\\up", L"\\down"}) {
      for (const std::string& name : FilesIn(dir_ + folder)) {
        if (name.rfind(stem, 0) == 0) Problem("left in the exchange folders: " + name);
      }
    }
  }

  std::wstring dir_;
  LibraryCopy& library_;
  Agent agent_;
  int agents_ = 0;
  Obj zv_;
  std::map<std::string, std::string> usual_events_;
  size_t left_over_ = 0;
};

bool WaitForGo() {
  char line[64];
  return std::fgets(line, sizeof(line), stdin) != nullptr;
}

void Ready(int n, const std::string& kind, const TestHeap& heap) {
  const HeapState state = heap.State();
  for (const std::string& problem : g_problems) std::printf("PROBLEM %d: %s\n", n, problem.c_str());
  std::printf("READY %d %s %s heap %lld %lld\n", n, kind.c_str(),
              g_problems.empty() ? "ok" : "FAILED", static_cast<long long>(state.live_count),
              static_cast<long long>(state.live_bytes));
  std::fflush(stdout);
}

int Run(int exchanges) {
  const std::wstring dir = FromBuild(KDZV_HOST_WORK_DIR) + L"\\soak";
  RemoveTree(dir);
  ::CreateDirectoryW(FromBuild(KDZV_HOST_WORK_DIR).c_str(), nullptr);
  ::CreateDirectoryW(dir.c_str(), nullptr);
  for (const wchar_t* folder : {L"\\up", L"\\down", L"\\depot"}) {
    ::CreateDirectoryW((dir + folder).c_str(), nullptr);
  }
  const std::wstring path = dir + L"\\kdZentavo_testheap.dll";
  if (!::CopyFileW(FromBuild(KDZV_TESTHEAP_DLL_PATH).c_str(), path.c_str(), FALSE)) {
    std::printf("PROBLEM 0: the library could not be copied\n");
    return 1;
  }
  LibraryCopy library(path);
  const TestHeap heap(library.module());
  if (!library.loaded() || !heap.ok()) {
    std::printf("PROBLEM 0: the instrumented library could not be loaded\n");
    return 1;
  }
  Soak soak(dir, library);
  if (!soak.StoreSettings()) Problem("the settings could not be stored");
  long problems = static_cast<long>(g_problems.size());
  Ready(0, "setup", heap);
  g_problems.clear();
  for (int n = 1; n <= exchanges; ++n) {
    if (!WaitForGo()) return 2;
    std::string kind;
    soak.Exchange(n, exchanges, &kind);
    problems += static_cast<long>(g_problems.size());
    Ready(n, kind, heap);
    g_problems.clear();
  }
  // The kept object let go: the library holds what it held between the
  // exchanges of the first half.
  if (!WaitForGo()) return 2;
  soak.End();
  problems += static_cast<long>(g_problems.size());
  Ready(exchanges + 1, "released", heap);
  if (!WaitForGo()) return 2;
  std::printf("DONE %ld\n", problems);
  std::fflush(stdout);
  return problems == 0 ? 0 : 1;
}

}  // namespace
}  // namespace kdzv::host

int main(int argc, char** argv) {
  int exchanges = 100;
  for (int i = 1; i + 1 < argc; i += 2) {
    if (std::strcmp(argv[i], "--exchanges") == 0) exchanges = std::atoi(argv[i + 1]);
  }
  if (FAILED(::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))) {
    std::printf("PROBLEM 0: COM could not be initialised\n");
    return 1;
  }
  int status = 0;
  {
    // The library stores its settings as the user's: the user's own come
    // back at the end.
    kdzv::test::FreshUserSettings fresh_user;
    status = kdzv::host::Run(exchanges);
  }
  ::CoUninitialize();
  return status;
}
