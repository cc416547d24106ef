// The pictures of the windows for the documentation, taken as a practice
// sees them: in a Wine prefix that runs in German (dates as "01.07.2024",
// "Ja" and "Nein" in a question), with the practice's folders
// C:\Zentavo\down, \up and \ablage on the prefix's own drive, an exchange
// whose appointments all carry a patient's full name and a treatment, and
// the caption's buttons drawn from the symbol font. Each test leaves its
// picture in the build folder's screenshots/.
//
// These tests run only in that prefix (their own CTest entries, label
// "pictures"); anywhere else they fail on the locale before they touch a
// folder.
#include <objbase.h>
#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "automation_client.h"
#include "event_sink.h"
#include "host_environment.h"
#include "host_files.h"
#include "library_calls.h"
#include "library_copy.h"
#include "screenshot.h"
#include "support/own_window.h"

namespace kdzv::host {
namespace {

constexpr LCID kGermanGermany = 0x0407;
constexpr wchar_t kRoot[] = L"C:\\Zentavo";
constexpr wchar_t kDown[] = L"C:\\Zentavo\\down";
constexpr wchar_t kUp[] = L"C:\\Zentavo\\up";
constexpr wchar_t kDepot[] = L"C:\\Zentavo\\ablage";
constexpr int kCancelButton = 1002;  // the sync window's Abbruch

// The user's locale is German, as the dates of the log and the pane show.
::testing::AssertionResult GermanLocale() {
  const LCID user = ::GetUserDefaultLCID();
  SYSTEMTIME day = {};
  day.wYear = 2024;
  day.wMonth = 7;
  day.wDay = 1;
  wchar_t text[64] = {};
  ::GetDateFormatW(LOCALE_USER_DEFAULT, DATE_SHORTDATE, &day, nullptr, text, 64);
  if (user != kGermanGermany || std::wstring(text) != L"01.07.2024") {
    return ::testing::AssertionFailure()
           << "the pictures need Wine in German (LANG=de_DE.UTF-8, made by scripts/setup): "
           << "the user's locale is 0x" << std::hex << user << " and 1 July 2024 reads \""
           << Narrow(text) << "\"";
  }
  return ::testing::AssertionSuccess();
}

std::wstring PicturePath(const wchar_t* name) {
  ::CreateDirectoryW(WindowsPath(KDZV_SCREENSHOT_DIR).c_str(), nullptr);
  return WindowsPath(KDZV_SCREENSHOT_DIR) + L"\\" + name;
}

// The practice's three folders, empty; `with_download` false leaves the
// download folder out.
void MakePracticeFolders(bool with_download) {
  ::CreateDirectoryW(kRoot, nullptr);
  for (const wchar_t* folder : {kDown, kUp, kDepot}) {
    RemoveTree(folder);
    if (folder != kDown || with_download) {
      ASSERT_TRUE(::CreateDirectoryW(folder, nullptr));
    }
  }
}

// Each picture: the German locale checked, the practice's folders made, and
// an interface object with the practice's settings from a copy of the
// library in a fresh folder of its own, so that the exchange is the
// practice's first (session 1) and its log starts anew.
class ComPictures : public ::testing::Test {
 protected:
  struct Practice {
    const char* name;
    bool with_download = true;
    const wchar_t* system_name = L"";
    const wchar_t* last_session = nullptr;  // in the configuration file beside it
  };

  void Open(const Practice& practice) {
    ASSERT_TRUE(GermanLocale());
    ASSERT_NO_FATAL_FAILURE(MakePracticeFolders(practice.with_download));
    library_ = CopyLibraryInto(
        WindowsPath((std::string(KDZV_HOST_WORK_DIR) + "/pictures-" + practice.name).c_str()));
    ASSERT_FALSE(library_.empty());
    if (practice.last_session != nullptr) {
      const std::wstring configuration = library_.substr(0, library_.size() - 3) + L"cfg";
      ASSERT_TRUE(::WritePrivateProfileStringW(L"SESSION", L"LastSessionID",
                                               practice.last_session, configuration.c_str()));
      ::WritePrivateProfileStringW(nullptr, nullptr, nullptr, configuration.c_str());
    }
    copy_ = std::make_unique<LibraryCopy>(library_);
    zv_ = copy_->NewInterface();
    ASSERT_TRUE(zv_);
    const Obj settings = zv_.GetObj(L"Settings");
    ASSERT_TRUE(settings);
    ASSERT_EQ(settings.Put(L"DownloadPath", kDown), S_OK);
    ASSERT_EQ(settings.Put(L"UploadPath", kUp), S_OK);
    ASSERT_EQ(settings.Put(L"AblagePath", kDepot), S_OK);
    ASSERT_EQ(settings.Put(L"FilePraefix", L"HX"), S_OK);
    ASSERT_EQ(settings.Put(L"SystemName", practice.system_name), S_OK);
    ASSERT_EQ(settings.Put(L"SlowSync", false), S_OK);
    ASSERT_EQ(settings.Put(L"DoLog", true), S_OK);
    ASSERT_EQ(settings.Put(L"TimeoutSeconds", 60), S_OK);
    ASSERT_EQ(settings.Put(L"PatIdentKriterium", 0), S_OK);
  }

  // The object goes before its library.
  void TearDown() override {
    zv_ = Obj();
    copy_.reset();
  }

  std::wstring library_;
  std::unique_ptr<LibraryCopy> copy_;
  Obj zv_;

 public:
  const Obj& zv() const { return zv_; }
};

// What the host's timer does while the library's call runs (the library's
// windows and boxes pump the thread's messages): `step` is called on each
// tick with the tick's number until it answers true.
std::function<bool(int)>* g_step = nullptr;
int g_tick = 0;
bool g_step_done = false;

void CALLBACK Tick(HWND, UINT, UINT_PTR, DWORD) {
  if (g_step == nullptr || g_step_done) return;
  g_step_done = (*g_step)(++g_tick);
}

template <typename Call>
auto WhileTicking(std::function<bool(int)> step, Call call) {
  g_step = &step;
  g_tick = 0;
  g_step_done = false;
  const UINT_PTR timer = ::SetTimer(nullptr, 0, 200, Tick);
  auto result = call();
  ::KillTimer(nullptr, timer);
  g_step = nullptr;
  return result;
}

std::wstring WindowText(HWND window) {
  wchar_t text[4096] = {};
  ::GetWindowTextW(window, text, 4096);
  return text;
}

// A button's caption without its access-key marker.
std::wstring ButtonText(HWND box, int id) {
  std::wstring text = WindowText(::GetDlgItem(box, id));
  text.erase(std::remove(text.begin(), text.end(), L'&'), text.end());
  return text;
}

// The longest static text of a message box: its message.
std::wstring BoxMessage(HWND box) {
  std::wstring longest;
  for (HWND child = ::GetWindow(box, GW_CHILD); child != nullptr;
       child = ::GetWindow(child, GW_HWNDNEXT)) {
    wchar_t class_name[32] = {};
    ::GetClassNameW(child, class_name, 32);
    const std::wstring text = WindowText(child);
    if (::lstrcmpiW(class_name, L"Static") == 0 && text.size() > longest.size()) longest = text;
  }
  return longest;
}

// A visible message box (or any standard dialog) of this process.
HWND OwnBox() {
  HWND box = kdzv::test::FindOwnWindow(L"#32770");
  return box != nullptr && ::IsWindowVisible(box) ? box : nullptr;
}

TEST_F(ComPictures, TheCaptionButtonsSymbolFontAndTheDialogsFontAreInstalled) {
  // Without the symbol font the caption's buttons show letters, and
  // SaveWindowPicture refuses.
  EXPECT_TRUE(FontInstalled(L"Marlett"));
  EXPECT_TRUE(FontInstalled(L"Tahoma"));
}

TEST_F(ComPictures, TheLocaleIsGerman) {
  EXPECT_TRUE(GermanLocale());
  EXPECT_EQ(PRIMARYLANGID(::GetUserDefaultUILanguage()), LANG_GERMAN);
}

// The sync window in the middle of the practice's morning exchange, when
// the first answer is written: practitioners, treatments, appointments with
// names, the answer's path.
TEST_F(ComPictures, SyncWindow) {
  ASSERT_NO_FATAL_FAILURE(Open({"sync-window"}));
  Obj& zv = zv_;

  std::vector<std::wstring> log_lines;
  long next_id = 1;
  bool picture_taken = false;
  size_t colours = 0;
  // The accepting host: takes everything, numbering what it takes.
  auto* sink = new EventSink(EventInterfaceOf(zv), [&](DISPID id, DISPPARAMS& args) {
    switch (id) {
      case 1: {  // OnTermin
        const Obj termin(*V_DISPATCHREF(&args.rgvarg[1]));
        if (termin.Get(L"TerminCommand").Long() == 0) {
          termin.Put(L"TerminIDHX", std::to_wstring(next_id++));
        }
        *V_I4REF(&args.rgvarg[0]) = -1;
        return S_OK;
      }
      case 2: {  // OnSyncLog
        log_lines.emplace_back(*V_BSTRREF(&args.rgvarg[0]),
                               ::SysStringLen(*V_BSTRREF(&args.rgvarg[0])));
        if (!picture_taken && log_lines.back().find(L"HX1_3.xml") != std::wstring::npos) {
          // As a host's DoEvents would: the window shows what it was given.
          PumpFor(300);
          HWND window = kdzv::test::FindOwnWindow(L"kdZentavoSyncWindow");
          picture_taken = window != nullptr &&
                          SaveWindowPicture(window, PicturePath(L"sync-window.png"), &colours);
        }
        return S_OK;
      }
      case 3:  // OnCalendar
        Obj(*V_DISPATCHREF(&args.rgvarg[1])).Put(L"BehandlerIDHX", static_cast<int>(next_id++));
        *V_I4REF(&args.rgvarg[0]) = -1;
        return S_OK;
      case 4:  // OnAttribute
        Obj(*V_DISPATCHREF(&args.rgvarg[1])).Put(L"AttributeIDHX", std::to_wstring(next_id++));
        *V_I4REF(&args.rgvarg[0]) = -1;
        return S_OK;
      case 5:  // OnQueryOpeningTime
        *V_I4REF(&args.rgvarg[0]) = -1;
        return S_OK;
      default:
        return S_OK;
    }
  });
  ASSERT_NE(Connect(zv, sink), 0u);

  const std::wstring work = library_.substr(0, library_.rfind(L'\\'));
  const std::wstring agent_out = work + L"\\agent.out";
  HANDLE agent = StartWithOutput(
      L"\"" + WindowsPath(KDZV_ZVAGENT_PATH) + L"\" --upload " + kUp + L" --download " + kDown +
          L" \"" + WindowsPath(KDZV_TEST_DATA_DIR) + L"\\pictures\\practice-day.zvs\"",
      agent_out);
  ASSERT_NE(agent, nullptr);
  const Result synced = CallStartSync(zv, MissingArgument());
  const int agent_status = test::ExitStatusAfter(agent, 60000);
  sink->Release();
  zv = Obj();

  ASSERT_EQ(synced.hr, S_OK);
  EXPECT_EQ(synced.value.Long(), 0);
  const std::string agent_text = ReadBytes(agent_out);
  EXPECT_EQ(agent_status, 0) << agent_text;
  EXPECT_NE(agent_text.find("agent: scenario practice-day passed"), std::string::npos)
      << agent_text;
  EXPECT_TRUE(picture_taken) << "no picture of the sync window";
  EXPECT_GT(colours, 8u) << "the picture of the sync window is blank";
  // What the picture shows: German dates, the practice's folders, names and
  // treatments.
  auto logged = [&](const std::wstring& part) {
    return std::any_of(log_lines.begin(), log_lines.end(), [&](const std::wstring& line) {
      return line.find(part) != std::wstring::npos;
    });
  };
  EXPECT_TRUE(logged(L"-> Neuer Termin am 01.07.2024 um 08:00 für Müller,Erika "
                     L"(Behandlung: Erstuntersuchung)"));
  EXPECT_TRUE(logged(L"-> Termin ersetzen am 02.07.2024 um 10:00 für Weber,Karl "
                     L"(Behandlung: Kontrolle)"));
  EXPECT_TRUE(logged(L"Antwortdatei wird geschrieben: C:\\Zentavo\\up\\HX1_3.xml"));
  EXPECT_FALSE(logged(L"für ,"));
  EXPECT_FALSE(logged(L"(Behandlung: )"));
  EXPECT_FALSE(logged(L"Z:\\"));
  EXPECT_EQ(FilesIn(kDepot), (std::vector<std::string>{"HX1_2.xml", "HX1_4.xml"}));
}

// The sync window with the cancel question open: the service has not
// answered yet, and the user presses Abbruch.
TEST_F(ComPictures, CancelQuestion) {
  ASSERT_NO_FATAL_FAILURE(Open({"cancel-question"}));
  Obj& zv = zv_;

  bool pressed = false, picture_taken = false;
  int box_seen_at = 0;
  size_t colours = 0;
  std::wstring question, yes, no;
  const Result synced = WhileTicking(
      [&](int tick) {
        HWND window = kdzv::test::FindOwnWindow(L"kdZentavoSyncWindow");
        if (window == nullptr) return false;
        if (!pressed) {
          // The pane shows the whole start of the session first.
          if (WindowText(::GetDlgItem(window, 1001)).find(L"Warten auf Antwort") ==
              std::wstring::npos) {
            return false;
          }
          // The question opens in the middle of the screen: the window is
          // put around it, so that the picture holds the two together and
          // the question covers the empty part of the pane.
          RECT frame;
          ::GetWindowRect(window, &frame);
          const int width = frame.right - frame.left, height = frame.bottom - frame.top;
          ::SetWindowPos(window, nullptr, (::GetSystemMetrics(SM_CXSCREEN) - width) / 2,
                         ::GetSystemMetrics(SM_CYSCREEN) / 2 - height * 62 / 100, 0, 0,
                         SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
          pressed = true;
          ::PostMessageW(::GetDlgItem(window, kCancelButton), BM_CLICK, 0, 0);
          return false;
        }
        HWND box = OwnBox();
        if (box == nullptr) return false;
        if (box_seen_at == 0) {
          box_seen_at = tick;  // drawn by the next tick
          return false;
        }
        question = BoxMessage(box);
        yes = ButtonText(box, IDYES);
        no = ButtonText(box, IDNO);
        picture_taken =
            SaveWindowsPicture({window, box}, PicturePath(L"cancel-question.png"), &colours);
        ::PostMessageW(box, WM_COMMAND, MAKEWPARAM(IDYES, BN_CLICKED), 0);
        return true;
      },
      [&] { return CallStartSync(zv, MissingArgument()); });
  zv = Obj();

  ASSERT_EQ(synced.hr, S_OK);
  EXPECT_EQ(synced.value.Long(), 4);  // cancelled
  EXPECT_TRUE(pressed);
  EXPECT_EQ(question, L"Soll der Syncronisation-Prozess wirklich abgebrochen werden?");
  EXPECT_EQ(yes, L"Ja");
  EXPECT_EQ(no, L"Nein");
  EXPECT_TRUE(picture_taken) << "no picture of the cancel question";
  EXPECT_GT(colours, 8u);
}

// The error box of StartSync when the download folder is missing.
TEST_F(ComPictures, MissingFolder) {
  ASSERT_NO_FATAL_FAILURE(Open({"missing-folder", /*with_download=*/false}));
  Obj& zv = zv_;

  int box_seen_at = 0;
  bool picture_taken = false;
  size_t colours = 0;
  std::wstring message;
  const Result synced = WhileTicking(
      [&](int tick) {
        HWND box = OwnBox();
        if (box == nullptr) return false;
        if (box_seen_at == 0) {
          box_seen_at = tick;  // drawn by the next tick
          return false;
        }
        message = BoxMessage(box);
        picture_taken = SaveWindowPicture(box, PicturePath(L"missing-folder.png"), &colours);
        ::PostMessageW(box, WM_COMMAND, MAKEWPARAM(IDOK, BN_CLICKED), 0);
        return true;
      },
      [&] { return CallStartSync(zv, MissingArgument()); });
  zv = Obj();

  ASSERT_EQ(synced.hr, S_OK);
  EXPECT_EQ(synced.value.Long(), 1);  // a folder does not exist
  EXPECT_EQ(message,
            L"Fehler: Der eingestellte Downloadpfad existiert nicht: C:\\Zentavo\\down\r\n\r\n"
            L"Bitte überprüfen Sie Ihre Einstellungen für die Schnittstelle zu Zentavo.");
  EXPECT_TRUE(picture_taken) << "no picture of the error box";
  EXPECT_GT(colours, 8u);
}

// The settings dialog in one mode, as it opens with the practice's
// settings (opened by `test`); left with Abbruch.
void TakeSettingsPicture(ComPictures& test, bool service_side, const wchar_t* name) {
  int seen_at = 0;
  bool picture_taken = false;
  size_t colours = 0;
  std::wstring caption, session;
  const Result shown = WhileTicking(
      [&](int tick) {
        HWND dialog = kdzv::test::FindOwnWindow(L"kdZentavoSettingsDialog");
        if (dialog == nullptr || !::IsWindowVisible(dialog)) return false;
        if (seen_at == 0) {
          seen_at = tick;  // drawn by the next tick
          return false;
        }
        caption = WindowText(dialog);
        session = WindowText(::GetDlgItem(dialog, 1170));  // txtSessionID
        picture_taken = SaveWindowPicture(dialog, PicturePath(name), &colours);
        ::PostMessageW(::GetDlgItem(dialog, IDCANCEL), BM_CLICK, 0, 0);
        return true;
      },
      [&] { return test.zv().Call(L"ShowSettings", {Var::Missing(), Var(service_side)}); });

  ASSERT_EQ(shown.hr, S_OK);
  EXPECT_EQ(caption, L"Schnittstellen-Einstellungen für Zentavo");
  EXPECT_EQ(session, L"17");
  EXPECT_TRUE(picture_taken) << "no picture of the settings dialog";
  EXPECT_GT(colours, 8u);
}

// A practice that has synchronised for a while.
TEST_F(ComPictures, SettingsDialog) {
  ASSERT_NO_FATAL_FAILURE(Open({"settings", true, L"", L"17"}));
  TakeSettingsPicture(*this, false, L"settings-dialog.png");
}

TEST_F(ComPictures, SettingsDialogServiceSide) {
  ASSERT_NO_FATAL_FAILURE(Open({"settings-service", true, L"PRAXIS-WEISS", L"17"}));
  TakeSettingsPicture(*this, true, L"settings-dialog-service.png");
}

}  // namespace
}  // namespace kdzv::host
