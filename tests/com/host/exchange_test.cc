// Whole exchanges through the library: every bundled scenario played by the
// agent simulator (zvagent.exe) on the folders that the library watches,
// while the test host waits in StartSync and answers the events as the
// command-line host's accepting or refusing host does. The messages the
// library writes are compared byte for byte with the goldens of the Linux
// exchanges, and so is every text of its log.
//
// Each exchange uses its own copy of the library, loaded from a fresh
// folder, so that the session number and the log beside it start anew.
#include <objbase.h>
#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "automation_client.h"
#include "event_sink.h"
#include "host_environment.h"
#include "host_files.h"
#include "library_calls.h"
#include "library_copy.h"
#include "message_boxes.h"
#include "support/log_texts.h"

namespace kdzv::host {
namespace {

struct Exchange {
  const char* scenario;
  bool accepting;  // the accepting host, or the refusing one
  bool slow_sync;
  long result;                           // StartSync's answer
  const wchar_t* log_line;               // a line OnSyncLog must bring
  std::vector<std::string> depot;        // the agent's files put away
};

const Exchange kExchanges[] = {
    {"first-booking", true, false, 0, L"Die Datei kann nicht exklusiv geöffnet werden",
     {"HX1_2.xml", "HX1_4.xml", "HX1_6.xml"}},
    {"foreign-files", true, false, 4,
     L"Die Datei gehört nicht zu aktuellen Session. Datei wird ignoriert.",
     {"HX1_2.xml", "HX1_5.xml", "XX99_4.xml"}},
    {"refusing-host", false, false, 0, L"Synchronisation erfolgreich abgeschlossen.",
     {"HX1_2.xml", "HX1_4.xml"}},
    {"slow-sync", true, true, 0, L"Synchronisation erfolgreich abgeschlossen.",
     {"HX1_2.xml", "HX1_4.xml"}},
};

void PrintTo(const Exchange& exchange, std::ostream* out) { *out << exchange.scenario; }

// Text in the system's ANSI code page (the log's) as UTF-8.
std::string AnsiToUtf8(const std::string& text) {
  const int size = ::MultiByteToWideChar(CP_ACP, 0, text.data(), static_cast<int>(text.size()),
                                         nullptr, 0);
  std::wstring wide(static_cast<size_t>(size), L'\0');
  ::MultiByteToWideChar(CP_ACP, 0, text.data(), static_cast<int>(text.size()), wide.data(), size);
  return Narrow(wide);
}

std::wstring DataPath(const std::string& relative) {
  return WindowsPath((std::string(KDZV_TEST_DATA_DIR) + "/" + relative).c_str());
}

class ComExchange : public ::testing::TestWithParam<Exchange> {};

TEST_P(ComExchange, AgentAndLibraryAgree) {
  const Exchange& exchange = GetParam();
  const std::wstring dir =
      WindowsPath((std::string(KDZV_HOST_WORK_DIR) + "/" + exchange.scenario).c_str());
  RemoveTree(dir);
  ::CreateDirectoryW(WindowsPath(KDZV_HOST_WORK_DIR).c_str(), nullptr);
  ASSERT_TRUE(::CreateDirectoryW(dir.c_str(), nullptr));
  for (const wchar_t* folder : {L"up", L"down", L"depot", L"keep"}) {
    ASSERT_TRUE(::CreateDirectoryW((dir + L"\\" + folder).c_str(), nullptr));
  }
  const std::wstring library = dir + L"\\kdZentavo.dll";
  ASSERT_TRUE(::CopyFileW(LibraryPath().c_str(), library.c_str(), TRUE));

  {
    LibraryCopy copy(library);
    Obj zv = copy.Create(L"kdZentavo.kdZVInterface");
    ASSERT_TRUE(zv);
    // A library with a live object stays loaded.
    EXPECT_EQ(copy.CanUnloadNow(), S_FALSE);
    {
      const Obj settings = zv.GetObj(L"Settings");
      ASSERT_TRUE(settings);
      // Every setting as the command-line host has it for a fresh user.
      ASSERT_EQ(settings.Put(L"DownloadPath", dir + L"\\down"), S_OK);
      ASSERT_EQ(settings.Put(L"UploadPath", dir + L"\\up"), S_OK);
      ASSERT_EQ(settings.Put(L"AblagePath", dir + L"\\depot"), S_OK);
      ASSERT_EQ(settings.Put(L"FilePraefix", L"HX"), S_OK);
      ASSERT_EQ(settings.Put(L"SystemName", L""), S_OK);
      ASSERT_EQ(settings.Put(L"SlowSync", exchange.slow_sync), S_OK);
      ASSERT_EQ(settings.Put(L"DoLog", true), S_OK);
      ASSERT_EQ(settings.Put(L"TimeoutSeconds", 60), S_OK);
      ASSERT_EQ(settings.Put(L"PatIdentKriterium", 0), S_OK);
    }

    // The host: every event counted, the accepting host numbering what it
    // takes, every log line kept.
    std::map<std::string, int> events;
    std::vector<std::wstring> log_lines;
    long next_termin = 1, next_behandler = 1, next_attribute = 1;
    auto* sink = new EventSink(EventInterfaceOf(zv), [&](DISPID id, DISPPARAMS& args) {
      switch (id) {
        case 1: {  // OnTermin
          const Obj termin(*V_DISPATCHREF(&args.rgvarg[1]));
          const long command = termin.Get(L"TerminCommand").Long();
          ++events[command == 0 ? "OnTermin Add" : command == 1 ? "OnTermin Delete"
                                                                : "OnTermin Replace"];
          if (!exchange.accepting) return S_OK;
          if (command == 0 && termin.Get(L"TerminIDHX").Text().empty()) {
            termin.Put(L"TerminIDHX", std::to_wstring(next_termin++));
          }
          *V_I4REF(&args.rgvarg[0]) = -1;
          return S_OK;
        }
        case 2:  // OnSyncLog
          ++events["OnSyncLog"];
          log_lines.emplace_back(*V_BSTRREF(&args.rgvarg[0]),
                                 ::SysStringLen(*V_BSTRREF(&args.rgvarg[0])));
          return S_OK;
        case 3: {  // OnCalendar
          ++events["OnCalendar"];
          if (!exchange.accepting) return S_OK;
          Obj(*V_DISPATCHREF(&args.rgvarg[1])).Put(L"BehandlerIDHX", static_cast<int>(next_behandler++));
          *V_I4REF(&args.rgvarg[0]) = -1;
          return S_OK;
        }
        case 4: {  // OnAttribute
          ++events["OnAttribute"];
          if (!exchange.accepting) return S_OK;
          Obj(*V_DISPATCHREF(&args.rgvarg[1])).Put(L"AttributeIDHX", std::to_wstring(next_attribute++));
          *V_I4REF(&args.rgvarg[0]) = -1;
          return S_OK;
        }
        case 5:  // OnQueryOpeningTime
          ++events["OnQueryOpeningTime"];
          if (exchange.accepting) *V_I4REF(&args.rgvarg[0]) = -1;
          return S_OK;
        default:
          ++events["other"];
          return S_OK;
      }
    });
    ASSERT_NE(Connect(zv, sink), 0u);

    // The agent plays the scenario on the same folders.
    const std::wstring agent_out = dir + L"\\agent.out";
    HANDLE agent = StartWithOutput(
        L"\"" + WindowsPath(KDZV_ZVAGENT_PATH) + L"\" --upload \"" + dir + L"\\up\" --download \"" +
            dir + L"\\down\" --keep \"" + dir + L"\\keep\" --bundled " + Widen(exchange.scenario),
        agent_out);
    ASSERT_NE(agent, nullptr);

    // The exchange, as a host runs it: StartSync waits until the end.
    MessageBoxAnswerer boxes;
    const Result synced = CallStartSync(zv, MissingArgument());  // no owner window

    const int agent_status = test::ExitStatusAfter(agent, 60000);  // -1: still running

    ASSERT_EQ(synced.hr, S_OK);
    EXPECT_EQ(synced.value.Long(), exchange.result);
    const std::string agent_text = ReadBytes(agent_out);
    EXPECT_EQ(agent_status, 0) << agent_text;
    EXPECT_NE(agent_text.find(std::string("agent: scenario ") + exchange.scenario + " passed"),
              std::string::npos)
        << agent_text;
    EXPECT_TRUE(std::find(log_lines.begin(), log_lines.end(), exchange.log_line) !=
                    log_lines.end() ||
                std::any_of(log_lines.begin(), log_lines.end(), [&](const std::wstring& line) {
                  return line.find(exchange.log_line) != std::wstring::npos;
                }))
        << Narrow(exchange.log_line);
    EXPECT_EQ(events["other"], 0);
    EXPECT_GT(events["OnSyncLog"], 0);
    for (const std::wstring& text : boxes.Texts()) ADD_FAILURE() << "box: " << Narrow(text);
    sink->Release();
    // Every object of the exchange is gone with the host's last reference.
    zv = Obj();
    EXPECT_EQ(copy.CanUnloadNow(), S_OK);
  }

  // The library's messages, as the agent kept them.
  const std::string golden_dir = std::string("golden/exchange/") + exchange.scenario;
  const std::vector<std::string> goldens = FilesIn(DataPath(golden_dir));
  EXPECT_FALSE(goldens.empty());
  EXPECT_EQ(FilesIn(dir + L"\\keep"), goldens);
  for (const std::string& name : goldens) {
    EXPECT_EQ(ReadBytes(dir + L"\\keep\\" + Widen(name)),
              ReadBytes(DataPath(golden_dir + "/" + name)))
        << name;
  }
  EXPECT_EQ(FilesIn(dir + L"\\depot"), exchange.depot);
  EXPECT_TRUE(FilesIn(dir + L"\\up").empty());
  EXPECT_TRUE(FilesIn(dir + L"\\down").empty());

  // Every text of the log, as the Linux exchange logged it.
  // The log is in the ANSI code page of Windows.
  const std::string texts =
      test::LogTexts(AnsiToUtf8(ReadBytes(dir + L"\\kdZentavo.log")), Narrow(dir));
  EXPECT_EQ(test::WithoutDates(texts),
            test::WithoutDates(ReadBytes(DataPath(std::string("golden/exchange-log/") +
                                                 exchange.scenario + ".txt"))));
}

INSTANTIATE_TEST_SUITE_P(Bundled, ComExchange, ::testing::ValuesIn(kExchanges),
                         [](const ::testing::TestParamInfo<Exchange>& param_info) {
                           std::string name = param_info.param.scenario;
                           std::replace(name.begin(), name.end(), '-', '_');
                           return name;
                         });

}  // namespace
}  // namespace kdzv::host
