// The settings dialog through the DLL, driven by the test host through the
// dialog's controls (found by their fixed ids) as a user would: fields
// filled and confirmed, cancelled, the close box, a cancelled folder
// browser, both warnings, both events answered by the host, and a status
// message from inside an event handler. Pictures of both modes are left in
// the build folder.
#include <windows.h>

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "automation_client.h"
#include "event_sink.h"
#include "host_environment.h"
#include "library_copy.h"
#include "message_boxes.h"
#include "screenshot.h"

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
  HWND dialog = ::FindWindowW(L"kdZentavoSettingsDialog", nullptr);
  if (dialog == nullptr || !::IsWindowVisible(dialog) || script.next >= script.steps.size()) {
    return;
  }
  script.steps[script.next++](dialog);
}

// Calls ShowSettings(owner form or none, mode) while the timer plays the
// script; answers message boxes with `boxes`.
Result ShowSettings(const Obj& zv, bool service_side, Script& script) {
  g_script = &script;
  const UINT_PTR timer = ::SetTimer(nullptr, 0, 200, Drive);
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
  settings.Put(L"UploadPath", L"C:\\zv\\up");
  settings.Put(L"AblagePath", L"C:\\zv\\ablage");
  settings.Put(L"SystemName", L"");
  return zv;
}

std::wstring PicturePath(const wchar_t* name) {
  ::CreateDirectoryW(WindowsPath(KDZV_SCREENSHOT_DIR).c_str(), nullptr);
  return WindowsPath(KDZV_SCREENSHOT_DIR) + L"\\" + name;
}

TEST(ComSettingsDialog, FieldsFilledAndConfirmedBecomeTheSettings) {
  const Obj zv = NewInterfaceWithFolders(L"C:\\zv\\down");
  const Obj before = zv.GetObj(L"Settings");
  MessageBoxAnswerer boxes;
  std::wstring shown_down, shown_caption, session_id;
  size_t colours = 0;
  Script script;
  script.steps.push_back([&](HWND dialog) {
    wchar_t caption[256] = {};
    ::GetWindowTextW(dialog, caption, 256);
    shown_caption = caption;
    shown_down = TextOf(dialog, kTxtFolder0);
    session_id = TextOf(dialog, kTxtSessionID);
    SaveWindowPicture(dialog, PicturePath(L"settings-dialog.png"), &colours);
    SetText(dialog, kTxtFolder0, L"C:\\zv\\neu");
    Click(dialog, IDOK);
  });
  ASSERT_EQ(ShowSettings(zv, false, script).hr, S_OK);
  EXPECT_EQ(shown_caption, kCaption);
  EXPECT_EQ(shown_down, L"C:\\zv\\down");
  EXPECT_FALSE(session_id.empty());
  EXPECT_GT(colours, 8u);
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
  const Obj zv = NewInterfaceWithFolders(L"C:\\zv\\down");
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
  size_t colours = 0;
  Script script;
  script.steps.push_back([&](HWND dialog) {
    SaveWindowPicture(dialog, PicturePath(L"settings-dialog-service.png"), &colours);
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
  EXPECT_GT(colours, 8u);
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
  EXPECT_EQ(folders, (std::vector<std::wstring>{L"C:\\zv\\up", L"C:\\zv\\down",
                                                L"C:\\zv\\ablage", L"C:\\zv\\up",
                                                L"C:\\zv\\down", L"C:\\zv\\ablage"}));
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
  EXPECT_EQ(::FindWindowW(L"kdZentavoSettingsDialog", nullptr), nullptr);
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
  EXPECT_EQ(::FindWindowW(L"kdZentavoSettingsDialog", nullptr), nullptr);
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
  EXPECT_EQ(::FindWindowW(L"kdZentavoSettingsDialog", nullptr), nullptr);
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
