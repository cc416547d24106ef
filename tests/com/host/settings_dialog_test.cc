// The settings dialog through the DLL, driven by the test host through the
// dialog's controls (found by their fixed ids) as a user would: fields
// filled and confirmed, cancelled, the close box, a cancelled folder
// browser, both warnings, both events answered by the host, and a status
// message from inside an event handler.
#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "automation_client.h"
#include "event_sink.h"
#include "host_environment.h"
#include "keyboard.h"
#include "library_copy.h"
#include "message_boxes.h"
#include "support/own_window.h"

namespace kdzv::host {
namespace {

// The dialog's control ids, as its documentation lists them.
constexpr int kTxtFolder0 = 1100, kTxtFolder1 = 1101, kTxtFolder2 = 1102;
constexpr int kCmdBrowse0 = 1110;
constexpr int kTxtSystemName = 1151;
constexpr int kTxtSessionID = 1170;
constexpr int kCmdSyncTesten = 1180;
constexpr const wchar_t kCaption[] = L"Schnittstellen-Einstellungen für Zentavo";

// What the host's timer does once the dialog is shown: one step per tick.
struct Script {
  std::vector<std::function<void(HWND dialog)>> steps;
  size_t next = 0;
  int ticks = 0;
};
Script* g_script = nullptr;

void CALLBACK Drive(HWND, UINT, UINT_PTR, DWORD) {
  Script& script = *g_script;
  ++script.ticks;
  HWND dialog = kdzv::test::FindOwnWindow(L"kdZentavoSettingsDialog");
  if (dialog == nullptr || !::IsWindowVisible(dialog) || script.next >= script.steps.size()) {
    return;
  }
  script.steps[script.next++](dialog);
}

// Calls ShowSettings(owner form or none, mode) while the timer plays the
// script; answers message boxes with `boxes`.
Result ShowSettings(const Obj& zv, bool service_side, Script& script, UINT interval_ms = 200) {
  g_script = &script;
  const UINT_PTR timer = ::SetTimer(nullptr, 0, interval_ms, Drive);
  const Result shown = zv.Call(L"ShowSettings", {Var::Missing(), Var(service_side)});
  ::KillTimer(nullptr, timer);
  g_script = nullptr;
  return shown;
}

void SetText(HWND dialog, int id, const wchar_t* text) {
  ::SendMessageW(::GetDlgItem(dialog, id), WM_SETTEXT, 0, reinterpret_cast<LPARAM>(text));
}
std::wstring TextOf(HWND dialog, int id) {
  wchar_t text[1024] = {};
  ::GetWindowTextW(::GetDlgItem(dialog, id), text, 1024);
  return text;
}
void Click(HWND dialog, int id) { ::PostMessageW(::GetDlgItem(dialog, id), BM_CLICK, 0, 0); }

Obj NewInterfaceWithFolders(const std::wstring& down) {
  HRESULT hr = E_FAIL;
  Obj zv = Obj::Create(L"kdZentavo.kdZVInterface", &hr);
  EXPECT_EQ(hr, S_OK);
  const Obj settings = zv.GetObj(L"Settings");
  settings.Put(L"DownloadPath", down);
  settings.Put(L"UploadPath", L"C:\\Zentavo\\up");
  settings.Put(L"AblagePath", L"C:\\Zentavo\\ablage");
  settings.Put(L"SystemName", L"");
  return zv;
}

TEST(ComSettingsDialog, FieldsFilledAndConfirmedBecomeTheSettings) {
  const Obj zv = NewInterfaceWithFolders(L"C:\\Zentavo\\down");
  const Obj before = zv.GetObj(L"Settings");
  MessageBoxAnswerer boxes;
  std::wstring shown_down, shown_caption, session_id;
  Script script;
  script.steps.push_back([&](HWND dialog) {
    wchar_t caption[256] = {};
    ::GetWindowTextW(dialog, caption, 256);
    shown_caption = caption;
    shown_down = TextOf(dialog, kTxtFolder0);
    session_id = TextOf(dialog, kTxtSessionID);
    SetText(dialog, kTxtFolder0, L"C:\\zv\\neu");
    Click(dialog, IDOK);
  });
  ASSERT_EQ(ShowSettings(zv, false, script).hr, S_OK);
  EXPECT_EQ(shown_caption, kCaption);
  EXPECT_EQ(shown_down, L"C:\\Zentavo\\down");
  EXPECT_FALSE(session_id.empty());
  EXPECT_EQ(script.next, 1u);
  const Obj after = zv.GetObj(L"Settings");
  EXPECT_NE(after.get(), before.get());  // a new settings object of the fields
  EXPECT_EQ(after.Get(L"DownloadPath").Text(), L"C:\\zv\\neu");
  EXPECT_EQ(Obj::Create(L"kdZentavo.clZVSettings").Get(L"DownloadPath").Text(), L"C:\\zv\\neu");
  EXPECT_TRUE(boxes.Texts().empty());
}

TEST(ComSettingsDialog, CancelTheCloseBoxAndACancelledFolderBrowserChangeNothing) {
  const Obj zv = NewInterfaceWithFolders(L"C:\\zv\\bleibt");
  const Obj before = zv.GetObj(L"Settings");
  MessageBoxAnswerer boxes;
  boxes.SetOtherAnswer(IDCANCEL);  // the folder browser is left without a choice
  std::wstring after_browse;
  Script script;
  script.steps.push_back([](HWND dialog) { Click(dialog, kCmdBrowse0); });
  script.steps.push_back([&](HWND dialog) {
    after_browse = TextOf(dialog, kTxtFolder0);
    SetText(dialog, kTxtFolder0, L"C:\\zv\\verworfen");
    Click(dialog, IDCANCEL);
  });
  ASSERT_EQ(ShowSettings(zv, false, script).hr, S_OK);
  EXPECT_EQ(after_browse, L"C:\\zv\\bleibt");
  EXPECT_EQ(zv.GetObj(L"Settings").get(), before.get());
  EXPECT_EQ(before.Get(L"DownloadPath").Text(), L"C:\\zv\\bleibt");

  Script close;
  close.steps.push_back([](HWND dialog) {
    SetText(dialog, kTxtFolder0, L"C:\\zv\\verworfen");
    ::PostMessageW(dialog, WM_CLOSE, 0, 0);
  });
  ASSERT_EQ(ShowSettings(zv, false, close).hr, S_OK);
  EXPECT_EQ(zv.GetObj(L"Settings").get(), before.get());
  EXPECT_EQ(before.Get(L"DownloadPath").Text(), L"C:\\zv\\bleibt");
}

TEST(ComSettingsDialog, TheServiceSideWarningsAndBothEventsAnsweredByTheHost) {
  const Obj zv = NewInterfaceWithFolders(L"C:\\Zentavo\\down");
  MessageBoxAnswerer boxes;
  std::vector<std::wstring> folders;
  std::wstring answer = L"Zugriff verweigert";
  std::wstring tested_name;
  auto* sink = new EventSink(EventInterfaceOf(zv), [&](DISPID id, DISPPARAMS& args) {
    if (id == 6) {  // EinstellungenAmServiceValidieren(up, down, depot, sErrMsg)
      for (UINT i = 3; i >= 1; --i) folders.emplace_back(*V_BSTRREF(&args.rgvarg[i]));
      ::SysFreeString(*V_BSTRREF(&args.rgvarg[0]));
      *V_BSTRREF(&args.rgvarg[0]) = ::SysAllocString(answer.c_str());
    } else if (id == 7) {  // ZentavoSyncTesten(sSettings)
      tested_name = Obj(*V_DISPATCHREF(&args.rgvarg[0])).Get(L"SystemName").Text();
      zv.Call(L"ShowSettingsStatusMsg", {Var(L"Test erfolgreich"), Var(64)});
    }
    return S_OK;
  });
  ASSERT_NE(Connect(zv, sink), 0u);
  Script script;
  script.steps.push_back([&](HWND dialog) {
    Click(dialog, IDOK);  // no system name: the first warning
  });
  script.steps.push_back([](HWND dialog) {
    SetText(dialog, kTxtSystemName, L"PRAXIS-Süd");
    Click(dialog, kCmdSyncTesten);
  });
  script.steps.push_back([](HWND dialog) { Click(dialog, IDOK); });  // refused by the host
  script.steps.push_back([&](HWND dialog) {
    answer = L"OK";
    Click(dialog, IDOK);
  });
  ASSERT_EQ(ShowSettings(zv, true, script).hr, S_OK);
  EXPECT_EQ(script.next, 4u);
  ASSERT_EQ(boxes.Texts().size(), 3u);
  EXPECT_EQ(boxes.Texts()[0],
            L"Bitte geben Sie den Systemnamen ein.\r\nDen Systemnamen finden Sie in den "
            L"Einstellungen des ZVSync-Zentavo Synchronisationsagenten.");
  EXPECT_EQ(boxes.Texts()[1], L"Test erfolgreich");
  EXPECT_EQ(boxes.Texts()[2],
            L"Mindestens ein Verzeichnis konnte nicht erstellt werden.\r\n\r\nZugriff "
            L"verweigert\r\n\r\nBitte beachten Sie, dass die Verzeichnisse auf dem Rechner des "
            L"Termin-Services angelegt werden.");
  EXPECT_EQ(tested_name, L"PRAXIS-Süd");
  // Twice asked, each time upload, download, depot.
  EXPECT_EQ(folders, (std::vector<std::wstring>{L"C:\\Zentavo\\up", L"C:\\Zentavo\\down",
                                                L"C:\\Zentavo\\ablage", L"C:\\Zentavo\\up",
                                                L"C:\\Zentavo\\down", L"C:\\Zentavo\\ablage"}));
  EXPECT_EQ(zv.GetObj(L"Settings").Get(L"SystemName").Text(), L"PRAXIS-Süd");
  sink->Release();
}

TEST(ComSettingsDialog, AHostThatLetsGoWhileTheDialogIsOpenDoesNotPullItAway) {
  auto* holder = new Obj(NewInterfaceWithFolders(L"C:\\zv\\down"));
  IDispatch* raw = holder->get();
  const DISPID show = holder->Id(L"ShowSettings");
  MessageBoxAnswerer boxes;
  Script script;
  script.steps.push_back([&](HWND dialog) {
    // The host's last reference goes while the dialog is open.
    delete holder;
    holder = nullptr;
    Click(dialog, IDCANCEL);
  });
  g_script = &script;
  const UINT_PTR timer = ::SetTimer(nullptr, 0, 200, Drive);
  VARIANTARG args[2];
  ::VariantInit(&args[0]);
  V_VT(&args[0]) = VT_BOOL;
  V_BOOL(&args[0]) = VARIANT_FALSE;
  ::VariantInit(&args[1]);
  V_VT(&args[1]) = VT_ERROR;
  V_ERROR(&args[1]) = DISP_E_PARAMNOTFOUND;
  DISPPARAMS params = {args, nullptr, 2, 0};
  const HRESULT hr = raw->Invoke(show, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &params,
                                 nullptr, nullptr, nullptr);
  ::KillTimer(nullptr, timer);
  g_script = nullptr;
  EXPECT_EQ(hr, S_OK);
  EXPECT_EQ(holder, nullptr);
  EXPECT_EQ(script.next, 1u);
  // The dialog went with the object.
  EXPECT_EQ(kdzv::test::FindOwnWindow(L"kdZentavoSettingsDialog"), nullptr);
}

// A watchdog for calls that might not return: after `milliseconds` it
// posts a WM_QUIT, which ends the dialog's modal loop as the end of the
// host's program does. Whether it had to is the test's to check.
class Watchdog {
 public:
  explicit Watchdog(UINT milliseconds) {
    fired_ = false;
    timer_ = ::SetTimer(nullptr, 0, milliseconds, Fire);
  }
  ~Watchdog() {
    ::KillTimer(nullptr, timer_);
    // A quit it posted and the dialog passed on belongs to no one.
    MSG message;
    while (::PeekMessageW(&message, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE)) {
    }
  }
  bool Fired() const { return fired_; }

 private:
  static void CALLBACK Fire(HWND, UINT, UINT_PTR timer, DWORD) {
    ::KillTimer(nullptr, timer);
    if (!fired_) ::PostQuitMessage(0);
    fired_ = true;
  }
  static inline bool fired_ = false;
  UINT_PTR timer_ = 0;
};

// What a mode of the dialog shows: its visible controls in the order of
// the window's children (the order of the tab stops), each with its id,
// caption and place in the client area.
struct Shown {
  int id;
  std::wstring class_name;
  std::wstring text;
  RECT place;
};
struct Layout {
  HWND dialog = nullptr;
  std::vector<Shown> controls;
  RECT client;
};

BOOL CALLBACK CollectShown(HWND child, LPARAM found) {
  auto& layout = *reinterpret_cast<Layout*>(found);
  if (::GetParent(child) != layout.dialog || !::IsWindowVisible(child)) return TRUE;
  wchar_t class_name[32] = {};
  ::GetClassNameW(child, class_name, 32);
  wchar_t text[256] = {};
  ::GetWindowTextW(child, text, 256);
  RECT place;
  ::GetWindowRect(child, &place);
  ::MapWindowPoints(nullptr, layout.dialog, reinterpret_cast<POINT*>(&place), 2);
  layout.controls.push_back({::GetDlgCtrlID(child), class_name, text, place});
  return TRUE;
}

Layout LayoutOf(HWND dialog) {
  Layout layout;
  layout.dialog = dialog;
  ::GetClientRect(dialog, &layout.client);
  ::EnumChildWindows(dialog, CollectShown, reinterpret_cast<LPARAM>(&layout));
  return layout;
}

bool IsCaption(const Shown& shown) {
  return ::lstrcmpiW(shown.class_name.c_str(), L"Static") == 0 ||
         ::lstrcmpiW(shown.class_name.c_str(), L"Button") == 0;
}

std::vector<std::wstring> CaptionsOf(const Layout& layout) {
  std::vector<std::wstring> captions;
  for (const Shown& shown : layout.controls) {
    if (IsCaption(shown)) captions.push_back(shown.text);
  }
  return captions;
}

constexpr const wchar_t* kHints[] = {
    L"In diesem Verzeichnis werden Daten von Zentavo für Halvex abgelegt.",
    L"In diesem Verzeichnis werden Daten von Halvex für Zentavo abgelegt.",
    L"In diesem Verzeichnis werden die verarbeiteten Dateien abgelegt."};

// No band without controls: going down the dialog, every control starts
// at most `gap` pixels below the lowest one above it, and the dialog ends
// at most that far below its lowest control; nothing overlaps (the up-down
// control sits at the end of its box), and everything is inside.
void ExpectNoGapsAndNoOverlaps(const Layout& layout, const char* mode) {
  constexpr int kGap = 16;
  std::vector<Shown> by_top = layout.controls;
  std::sort(by_top.begin(), by_top.end(),
            [](const Shown& a, const Shown& b) { return a.place.top < b.place.top; });
  ASSERT_FALSE(by_top.empty());
  int lowest = 0;
  for (const Shown& shown : by_top) {
    EXPECT_LE(shown.place.top - lowest, kGap) << mode << ": a band above " << shown.id;
    lowest = std::max(lowest, static_cast<int>(shown.place.bottom));
    EXPECT_GE(shown.place.left, 0) << mode << ": " << shown.id;
    EXPECT_LE(shown.place.right, layout.client.right) << mode << ": " << shown.id;
    EXPECT_LE(shown.place.bottom, layout.client.bottom) << mode << ": " << shown.id;
  }
  EXPECT_LE(layout.client.bottom - lowest, kGap) << mode << ": a band at the bottom";
  for (size_t i = 0; i < layout.controls.size(); ++i) {
    for (size_t j = i + 1; j < layout.controls.size(); ++j) {
      const Shown& a = layout.controls[i];
      const Shown& b = layout.controls[j];
      if ((a.id == 1121 && b.id == 1122) || (a.id == 1122 && b.id == 1121)) continue;
      RECT both;
      // The combo box's own rectangle includes its closed list.
      if (a.id == 1141 || b.id == 1141) {
        const Shown& combo = a.id == 1141 ? a : b;
        const Shown& other = a.id == 1141 ? b : a;
        RECT closed = combo.place;
        closed.bottom = closed.top + 24;
        EXPECT_FALSE(::IntersectRect(&both, &closed, &other.place))
            << mode << ": " << combo.id << " overlaps " << other.id;
        continue;
      }
      EXPECT_FALSE(::IntersectRect(&both, &a.place, &b.place))
          << mode << ": " << a.id << " overlaps " << b.id;
    }
  }
}

// The focus after each Tab, from the first field round to it again.
struct TabWalk {
  std::vector<int> ids;
  std::vector<RECT> places;
};

// Walks the dialog with Tab (one key per tick) until the focus is back on
// the first stop, then leaves it with `last_key` (Esc or Enter on Abbruch).
void AddTabWalk(Script& script, TabWalk& walk, Layout& layout) {
  script.steps.push_back([&](HWND dialog) {
    layout = LayoutOf(dialog);
    walk.ids.push_back(FocusedId());
    PressKey(VK_TAB);
  });
  for (int i = 0; i < 14; ++i) {
    script.steps.push_back([&](HWND dialog) {
      if (walk.ids.size() > 1 && walk.ids.back() == walk.ids.front()) return;
      walk.ids.push_back(FocusedId());
      RECT place;
      ::GetWindowRect(::GetFocus(), &place);
      ::MapWindowPoints(nullptr, dialog, reinterpret_cast<POINT*>(&place), 2);
      walk.places.push_back(place);
      PressKey(VK_TAB);
    });
  }
}

// Reading order: each stop is lower than the one before, or on the same row
// and further right.
void ExpectReadingOrder(const TabWalk& walk, const char* mode) {
  for (size_t i = 1; i + 1 < walk.places.size(); ++i) {
    const RECT& before = walk.places[i - 1];
    const RECT& now = walk.places[i];
    const bool same_row = std::abs(now.top - before.top) < 10;
    EXPECT_TRUE(same_row ? now.left > before.left : now.top > before.top)
        << mode << ": " << walk.ids[i + 1] << " after " << walk.ids[i];
  }
}

TEST(ComSettingsDialog, EachModeShowsOnlyItsControlsTopToBottomAndTabsInThatOrder) {
  const Obj zv = NewInterfaceWithFolders(L"C:\\zv\\down");
  MessageBoxAnswerer boxes;
  Layout normal, service;
  TabWalk normal_walk, service_walk;
  LONG_PTR icons = -1;
  bool modal_frame = false;
  Script normal_script;
  normal_script.steps.push_back([&](HWND dialog) {
    // A dialog's frame, without a caption icon.
    icons = ::GetClassLongPtrW(dialog, GCLP_HICON) | ::GetClassLongPtrW(dialog, GCLP_HICONSM) |
            ::SendMessageW(dialog, WM_GETICON, ICON_SMALL, 0) |
            ::SendMessageW(dialog, WM_GETICON, ICON_BIG, 0);
    modal_frame = (::GetWindowLongPtrW(dialog, GWL_EXSTYLE) & WS_EX_DLGMODALFRAME) != 0;
  });
  AddTabWalk(normal_script, normal_walk, normal);
  normal_script.steps.push_back([](HWND) { PressKey(VK_ESCAPE); });
  {
    Watchdog watchdog(20000);
    ASSERT_EQ(ShowSettings(zv, false, normal_script, 80).hr, S_OK);
    EXPECT_FALSE(watchdog.Fired()) << "Esc did not close the dialog";
  }
  EXPECT_EQ(normal_script.next, normal_script.steps.size());
  EXPECT_EQ(icons, 0);
  EXPECT_TRUE(modal_frame);

  Script service_script;
  AddTabWalk(service_script, service_walk, service);
  // On round to Abbruch, one Tab per tick, and Enter there.
  int focus_before_enter = 0;
  for (int i = 0; i < 14; ++i) {
    service_script.steps.push_back([&](HWND) {
      if (focus_before_enter != 0) return;
      if (FocusedId() == IDCANCEL) {
        focus_before_enter = IDCANCEL;
        PressKey(VK_RETURN);
      } else {
        PressKey(VK_TAB);
      }
    });
  }
  service_script.steps.push_back([](HWND) { PressKey(VK_ESCAPE); });  // if Enter did nothing
  {
    Watchdog watchdog(20000);
    ASSERT_EQ(ShowSettings(zv, true, service_script, 80).hr, S_OK);
    EXPECT_FALSE(watchdog.Fired());
  }
  EXPECT_EQ(focus_before_enter, IDCANCEL);
  EXPECT_EQ(zv.GetObj(L"Settings").Get(L"SystemName").Text(), L"");  // Abbruch: nothing kept
  EXPECT_TRUE(boxes.Texts().empty());

  // The tab stops, top to bottom, back to the first.
  EXPECT_EQ(normal_walk.ids, (std::vector<int>{1100, 1110, 1101, 1111, 1102, 1112, 1160, 1161,
                                               1170, IDOK, IDCANCEL, 1100}));
  EXPECT_EQ(service_walk.ids, (std::vector<int>{1100, 1101, 1102, 1151, 1131, 1141, 1121, 1161,
                                                1170, 1180, IDOK, IDCANCEL, 1100}));
  ExpectReadingOrder(normal_walk, "normal");
  ExpectReadingOrder(service_walk, "service-side");

  // The captions as quoted, once the access keys' "&" is taken out; each
  // label and check box has one.
  std::vector<std::wstring> normal_captions, service_captions;
  for (const std::wstring& caption : CaptionsOf(normal)) {
    normal_captions.push_back(WithoutAccessKeys(caption));
  }
  for (const std::wstring& caption : CaptionsOf(service)) {
    service_captions.push_back(WithoutAccessKeys(caption));
  }
  EXPECT_EQ(normal_captions,
            (std::vector<std::wstring>{L"Download-Verzeichnis:", L"Durchsuchen...", kHints[0],
                                       L"Upload-Verzeichnis:", L"Durchsuchen...", kHints[1],
                                       L"Ablage-Verzeichnis:", L"Durchsuchen...", kHints[2],
                                       L"'SlowSync' starten", L"Protokollierung", L"Session-ID:",
                                       L"OK", L"Abbruch"}));
  EXPECT_EQ(service_captions,
            (std::vector<std::wstring>{
                L"Download-Verzeichnis:", kHints[0], L"Upload-Verzeichnis:", kHints[1],
                L"Ablage-Verzeichnis:", kHints[2], L"Systemname: ", L"Session-Präfix: ",
                L"PatientenIdentifikation:", L"Timeout in Sekunden: ", L"Protokollierung",
                L"Session-ID:", L"Synchronisation testen", L"OK", L"Abbruch"}));
  // Every label and check box and "Synchronisation testen" has its key;
  // the three "Durchsuchen...", OK (Enter) and Abbruch (Esc) have none.
  for (const Layout* layout : {&normal, &service}) {
    for (const Shown& shown : layout->controls) {
      if (!IsCaption(shown)) continue;
      const bool hint =
          std::find(std::begin(kHints), std::end(kHints), shown.text) != std::end(kHints);
      const bool keyless = hint || shown.text == L"OK" || shown.text == L"Abbruch" ||
                           shown.text == L"Durchsuchen...";
      EXPECT_EQ(std::count(shown.text.begin(), shown.text.end(), L'&'), keyless ? 0 : 1)
          << shown.text;
    }
  }

  ExpectNoGapsAndNoOverlaps(normal, "normal");
  ExpectNoGapsAndNoOverlaps(service, "service-side");
  // The height follows the mode: four rows more in the server-side mode.
  EXPECT_GT(service.client.bottom - normal.client.bottom, 3 * 20);
}

TEST(ComSettingsDialog, AccessKeysMoveTheFocusAndEnterIsOK) {
  const Obj zv = NewInterfaceWithFolders(L"C:\\zv\\down");
  MessageBoxAnswerer boxes;
  std::vector<int> focus;
  bool log_before = false, log_after = false;
  Script script;
  script.steps.push_back([&](HWND) {
    focus.push_back(FocusedId());  // the first field on opening
    PressAltKey(L'u');
  });
  script.steps.push_back([&](HWND) {
    focus.push_back(FocusedId());
    PressAltKey(L'a');
  });
  script.steps.push_back([&](HWND) {
    focus.push_back(FocusedId());
    PressAltKey(L's');  // the server-side system name: hidden, no stop
  });
  script.steps.push_back([&](HWND dialog) {
    focus.push_back(FocusedId());
    PressAltKey(L'd');
    log_before = ::SendMessageW(::GetDlgItem(dialog, 1161), BM_GETCHECK, 0, 0) == BST_CHECKED;
  });
  script.steps.push_back([&](HWND dialog) {
    focus.push_back(FocusedId());
    SetText(dialog, kTxtFolder0, L"C:\\zv\\tastatur");
    PressAltKey(L'o');  // "Protokollierung" is checked by its key
  });
  script.steps.push_back([&](HWND dialog) {
    log_after = ::SendMessageW(::GetDlgItem(dialog, 1161), BM_GETCHECK, 0, 0) == BST_CHECKED;
    PressAltKey(L'i');
  });
  script.steps.push_back([&](HWND) {
    focus.push_back(FocusedId());
    PressAltKey(L'd');
  });
  script.steps.push_back([&](HWND) { PressKey(VK_RETURN); });  // Enter in a field: OK
  ASSERT_EQ(ShowSettings(zv, false, script, 120).hr, S_OK);
  EXPECT_EQ(script.next, script.steps.size());
  EXPECT_EQ(focus, (std::vector<int>{kTxtFolder0, kTxtFolder1, kTxtFolder2, kTxtFolder2,
                                     kTxtFolder0, kTxtSessionID}));
  EXPECT_NE(log_before, log_after);
  EXPECT_EQ(zv.GetObj(L"Settings").Get(L"DownloadPath").Text(), L"C:\\zv\\tastatur");
  EXPECT_EQ(zv.GetObj(L"Settings").Get(L"DoLog").Bool(), log_after);
  EXPECT_TRUE(boxes.Texts().empty());

  // The server-side mode: its own fields by their keys, "Synchronisation
  // testen" pressed by its key, and Esc leaves without keeping anything.
  int tests = 0;
  auto* sink = new EventSink(EventInterfaceOf(zv), [&](DISPID id, DISPPARAMS&) {
    if (id == 7) ++tests;  // ZentavoSyncTesten
    return S_OK;
  });
  ASSERT_NE(Connect(zv, sink), 0u);
  std::vector<int> service_focus;
  Script service;
  for (wchar_t key : {L's', L'f', L'p', L't', L'e'}) {
    service.steps.push_back([&, key](HWND) {
      service_focus.push_back(FocusedId());
      PressAltKey(key);
    });
  }
  service.steps.push_back([&](HWND dialog) {
    service_focus.push_back(FocusedId());
    SetText(dialog, kTxtSystemName, L"VERWORFEN");
    PressKey(VK_ESCAPE);
  });
  ASSERT_EQ(ShowSettings(zv, true, service, 120).hr, S_OK);
  EXPECT_EQ(service.next, service.steps.size());
  EXPECT_EQ(service_focus, (std::vector<int>{kTxtFolder0, kTxtSystemName, 1131, 1141, 1121,
                                             kCmdSyncTesten}));
  EXPECT_EQ(tests, 1);
  EXPECT_EQ(zv.GetObj(L"Settings").Get(L"SystemName").Text(), L"");
  sink->Release();
}

// Disabled while the dialog is open, enabled again after it: the host's
// other windows, with no owner given and with one that is no window.
TEST(ComSettingsDialog, WithoutAnOwnerTheDialogIsStillModalToTheHostsWindows) {
  const Obj zv = NewInterfaceWithFolders(L"C:\\zv\\down");
  MessageBoxAnswerer boxes;
  HWND main_form = ::CreateWindowExW(0, L"STATIC", L"Halvex", WS_OVERLAPPEDWINDOW | WS_VISIBLE,
                                     0, 0, 300, 200, nullptr, nullptr, nullptr, nullptr);
  HWND second_form = ::CreateWindowExW(0, L"STATIC", L"Termine", WS_OVERLAPPEDWINDOW | WS_VISIBLE,
                                       320, 0, 300, 200, nullptr, nullptr, nullptr, nullptr);
  HWND disabled_form = ::CreateWindowExW(0, L"STATIC", L"Gesperrt",
                                         WS_OVERLAPPEDWINDOW | WS_VISIBLE | WS_DISABLED, 0, 220,
                                         300, 200, nullptr, nullptr, nullptr, nullptr);
  HWND going_form = ::CreateWindowExW(0, L"STATIC", L"Geht", WS_OVERLAPPEDWINDOW | WS_VISIBLE,
                                      320, 220, 300, 200, nullptr, nullptr, nullptr, nullptr);
  ASSERT_TRUE(main_form && second_form && disabled_form && going_form);
  for (const bool owner_is_no_window : {false, true}) {
    bool main_enabled = true, second_enabled = true;
    HWND owner_seen = reinterpret_cast<HWND>(1);
    Script script;
    script.steps.push_back([&](HWND dialog) {
      main_enabled = ::IsWindowEnabled(main_form) != FALSE;
      second_enabled = ::IsWindowEnabled(second_form) != FALSE;
      owner_seen = ::GetWindow(dialog, GW_OWNER);
      // One of the disabled windows goes while the dialog is open.
      if (going_form != nullptr) ::DestroyWindow(going_form);
      going_form = nullptr;
      PressKey(VK_ESCAPE);
    });
    g_script = &script;
    const UINT_PTR timer = ::SetTimer(nullptr, 0, 200, Drive);
    const Result shown =
        owner_is_no_window
            ? zv.Call(L"ShowSettings", {Var(static_cast<long>(0x7FFF0001)), Var(false)})
            : zv.Call(L"ShowSettings", {Var::Missing(), Var(false)});
    ::KillTimer(nullptr, timer);
    g_script = nullptr;
    ASSERT_EQ(shown.hr, S_OK);
    EXPECT_EQ(script.next, 1u);
    EXPECT_EQ(owner_seen, nullptr);  // unowned
    EXPECT_FALSE(main_enabled);
    EXPECT_FALSE(second_enabled);
    EXPECT_TRUE(::IsWindowEnabled(main_form));
    EXPECT_TRUE(::IsWindowEnabled(second_form));
    EXPECT_FALSE(::IsWindowEnabled(disabled_form));  // was disabled before: stays so
  }
  for (HWND window : {main_form, second_form, disabled_form}) ::DestroyWindow(window);
}

HWND NewHostWindow() {
  return ::CreateWindowExW(0, L"STATIC", L"Halvex", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 0, 0, 400,
                           300, nullptr, nullptr, nullptr, nullptr);
}

TEST(ComSettingsDialog, TheOwnerDestroyedWhileTheDialogIsOpenEndsItAsCancelled) {
  const Obj zv = NewInterfaceWithFolders(L"C:\\zv\\bleibt");
  const Obj before = zv.GetObj(L"Settings");
  HWND owner = NewHostWindow();
  ASSERT_NE(owner, nullptr);
  MessageBoxAnswerer boxes;
  HWND owner_seen = nullptr;
  DWORD destroyed_at = 0;
  Script script;
  script.steps.push_back([&](HWND dialog) {
    owner_seen = ::GetWindow(dialog, GW_OWNER);
    SetText(dialog, kTxtFolder0, L"C:\\zv\\verworfen");
    // The host's form goes, from the host's own timer, while the dialog
    // is open: the dialog goes with it.
    destroyed_at = ::GetTickCount();
    ::DestroyWindow(owner);
  });
  Watchdog watchdog(8000);
  g_script = &script;
  const UINT_PTR timer = ::SetTimer(nullptr, 0, 200, Drive);
  const Result shown = zv.Call(L"ShowSettings", {Var(static_cast<long>(
                                                     reinterpret_cast<LONG_PTR>(owner))),
                                                 Var(false)});
  const DWORD returned_at = ::GetTickCount();
  ::KillTimer(nullptr, timer);
  g_script = nullptr;

  ASSERT_EQ(shown.hr, S_OK);
  EXPECT_EQ(script.next, 1u);
  EXPECT_EQ(owner_seen, owner);
  EXPECT_FALSE(watchdog.Fired()) << "ShowSettings did not return after its owner went";
  EXPECT_LT(returned_at - destroyed_at, 1000u);
  EXPECT_FALSE(::IsWindow(owner));
  EXPECT_EQ(kdzv::test::FindOwnWindow(L"kdZentavoSettingsDialog"), nullptr);
  // Cancelled: the settings are the same object, unchanged.
  EXPECT_EQ(zv.GetObj(L"Settings").get(), before.get());
  EXPECT_EQ(before.Get(L"DownloadPath").Text(), L"C:\\zv\\bleibt");
  EXPECT_TRUE(boxes.Texts().empty());

  // The dialog can be opened again and works as before.
  Script again;
  again.steps.push_back([](HWND dialog) {
    SetText(dialog, kTxtFolder0, L"C:\\zv\\danach");
    Click(dialog, IDOK);
  });
  ASSERT_EQ(ShowSettings(zv, false, again).hr, S_OK);
  EXPECT_EQ(zv.GetObj(L"Settings").Get(L"DownloadPath").Text(), L"C:\\zv\\danach");
}

TEST(ComSettingsDialog, TheOwnerDestroyedInsideTheValidationStoresNothingThoughItSaysOK) {
  const Obj zv = NewInterfaceWithFolders(L"C:\\zv\\bleibt");
  const Obj before = zv.GetObj(L"Settings");
  HWND owner = NewHostWindow();
  ASSERT_NE(owner, nullptr);
  MessageBoxAnswerer boxes;
  int validations = 0;
  auto* sink = new EventSink(EventInterfaceOf(zv), [&](DISPID id, DISPPARAMS& args) {
    if (id == 6) {  // EinstellungenAmServiceValidieren: the form goes, the answer is "OK"
      ++validations;
      ::DestroyWindow(owner);
      ::SysFreeString(*V_BSTRREF(&args.rgvarg[0]));
      *V_BSTRREF(&args.rgvarg[0]) = ::SysAllocString(L"OK");
    }
    return S_OK;
  });
  ASSERT_NE(Connect(zv, sink), 0u);
  Script script;
  script.steps.push_back([](HWND dialog) {
    SetText(dialog, kTxtFolder0, L"C:\\zv\\verworfen");
    SetText(dialog, kTxtSystemName, L"PRAXIS");
    Click(dialog, IDOK);
  });
  Watchdog watchdog(8000);
  g_script = &script;
  const UINT_PTR timer = ::SetTimer(nullptr, 0, 200, Drive);
  const Result shown = zv.Call(L"ShowSettings", {Var(static_cast<long>(
                                                     reinterpret_cast<LONG_PTR>(owner))),
                                                 Var(true)});
  ::KillTimer(nullptr, timer);
  g_script = nullptr;

  ASSERT_EQ(shown.hr, S_OK);
  EXPECT_EQ(validations, 1);
  EXPECT_FALSE(watchdog.Fired()) << "ShowSettings did not return after its owner went";
  EXPECT_EQ(kdzv::test::FindOwnWindow(L"kdZentavoSettingsDialog"), nullptr);
  EXPECT_EQ(zv.GetObj(L"Settings").get(), before.get());
  EXPECT_EQ(before.Get(L"DownloadPath").Text(), L"C:\\zv\\bleibt");
  EXPECT_EQ(before.Get(L"SystemName").Text(), L"");
  EXPECT_TRUE(boxes.Texts().empty());
  sink->Release();
}

TEST(ComSettingsDialog, ADialogWhoseOwnerWentLeavesNothingOfTheLibraryBehind) {
  // A copy of the library of its own, so that its answer to
  // DllCanUnloadNow is about this dialog only.
  const std::wstring library = CopyLibraryInto(
      WindowsPath((std::string(KDZV_HOST_WORK_DIR) + "/settings-owner-gone").c_str()));
  ASSERT_FALSE(library.empty());
  LibraryCopy copy(library, true);
  ASSERT_TRUE(copy.object());
  HWND owner = NewHostWindow();
  ASSERT_NE(owner, nullptr);
  MessageBoxAnswerer boxes;
  Script script;
  script.steps.push_back([&](HWND) { ::DestroyWindow(owner); });
  Watchdog watchdog(8000);
  g_script = &script;
  const UINT_PTR timer = ::SetTimer(nullptr, 0, 200, Drive);
  const Result shown = copy.object().Call(
      L"ShowSettings", {Var(static_cast<long>(reinterpret_cast<LONG_PTR>(owner))), Var(false)});
  ::KillTimer(nullptr, timer);
  g_script = nullptr;
  ASSERT_EQ(shown.hr, S_OK);
  EXPECT_EQ(script.next, 1u);
  EXPECT_FALSE(watchdog.Fired());
  copy.Release();
  // No window and no window class of the copy is left.
  EXPECT_EQ(copy.CanUnloadNow(), S_OK);
}

}  // namespace
}  // namespace kdzv::host
