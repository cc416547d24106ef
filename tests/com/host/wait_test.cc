// StartSync's wait as the host sees it: the sync window owned by the host's
// window (found through its hWnd property), the host's own timer firing
// during the wait, the cancel question answered no and then yes through
// the window's cancel button, and the error box of a missing folder.
#include <windows.h>

#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

#include "automation_client.h"
#include "event_sink.h"
#include "host_environment.h"
#include "library_calls.h"
#include "keyboard.h"
#include "message_boxes.h"
#include "support/own_window.h"

namespace kdzv::host {
namespace {

// A host's form as an automation object: it answers its window handle
// through the property hWnd, as a form of a Visual Basic style host does.
class FormObject final : public IDispatch {
 public:
  explicit FormObject(HWND window) : window_(window) {}
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** out) override {
    if (riid != IID_IUnknown && riid != IID_IDispatch) {
      *out = nullptr;
      return E_NOINTERFACE;
    }
    *out = static_cast<IDispatch*>(this);
    AddRef();
    return S_OK;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return ++references_; }
  ULONG STDMETHODCALLTYPE Release() override {
    const ULONG left = --references_;
    if (left == 0) delete this;
    return left;
  }
  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override {
    *count = 0;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID,
                                          DISPID* ids) override {
    if (count == 1 && ::lstrcmpiW(names[0], L"hWnd") == 0) {
      ids[0] = 1;
      return S_OK;
    }
    return DISP_E_UNKNOWNNAME;
  }
  HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS*,
                                   VARIANT* result, EXCEPINFO*, UINT*) override {
    if (id != 1 || (flags & DISPATCH_PROPERTYGET) == 0 || result == nullptr) {
      return DISP_E_MEMBERNOTFOUND;
    }
    ::VariantInit(result);
    V_VT(result) = VT_I4;
    V_I4(result) = static_cast<LONG>(reinterpret_cast<LONG_PTR>(window_));
    return S_OK;
  }

 private:
  ULONG references_ = 1;
  HWND window_;
};

std::wstring NewFolder(const std::string& name) {
  const std::wstring folder = WindowsPath((std::string(KDZV_HOST_WORK_DIR) + "/" + name).c_str());
  ::CreateDirectoryW(WindowsPath(KDZV_HOST_WORK_DIR).c_str(), nullptr);
  ::CreateDirectoryW(folder.c_str(), nullptr);
  return folder;
}

// What the host's timer sees and does during the wait.
struct WaitProbe {
  HWND host_window = nullptr;
  MessageBoxAnswerer* boxes = nullptr;
  int ticks = 0;
  HWND owner_seen = nullptr;
  bool running_after_no = false;
  const Obj* zv = nullptr;
  long nested_result = -1;
  std::wstring nested_error;
};
WaitProbe* g_probe = nullptr;

void CALLBACK HostTimer(HWND, UINT, UINT_PTR, DWORD) {
  WaitProbe& probe = *g_probe;
  ++probe.ticks;
  HWND sync = kdzv::test::FindOwnWindow(L"kdZentavoSyncWindow");
  if (sync == nullptr) return;
  HWND cancel = ::FindWindowExW(sync, nullptr, L"Button", L"Abbruch");
  if (probe.nested_result == -1) {
    // A host that calls StartSync again from inside the running one (its
    // timer runs within the wait) is refused; the exchange goes on.
    probe.nested_result =
        CallStartSync(*probe.zv, MissingArgument(), &probe.nested_error).value.Long();
  }
  if (probe.ticks == 2) {
    probe.owner_seen = ::GetWindow(sync, GW_OWNER);
    ::PostMessageW(cancel, BM_CLICK, 0, 0);  // answered no
  } else if (probe.ticks == 4) {
    probe.running_after_no = true;
    probe.boxes->SetYesNoAnswer(IDYES);
    ::PostMessageW(cancel, BM_CLICK, 0, 0);  // answered yes
  }
}

// An interface object on fresh, empty folders; nobody answers its message.
Obj NewSilentExchange(const std::string& name) {
  const std::wstring dir = NewFolder(name);
  for (const wchar_t* sub : {L"\\up", L"\\down", L"\\depot"}) {
    ::CreateDirectoryW((dir + sub).c_str(), nullptr);
  }
  HRESULT hr = E_FAIL;
  Obj zv = Obj::Create(L"kdZentavo.kdZVInterface", &hr);
  EXPECT_EQ(hr, S_OK);
  const Obj settings = zv.GetObj(L"Settings");
  EXPECT_EQ(settings.Put(L"DownloadPath", dir + L"\\down"), S_OK);
  EXPECT_EQ(settings.Put(L"UploadPath", dir + L"\\up"), S_OK);
  EXPECT_EQ(settings.Put(L"AblagePath", dir + L"\\depot"), S_OK);
  EXPECT_EQ(settings.Put(L"FilePraefix", L"HX"), S_OK);
  EXPECT_EQ(settings.Put(L"DoLog", true), S_OK);
  return zv;
}

TEST(ComWait, TheCancelQuestionAnsweredNoThenYesWhileTheHostsTimerFires) {
  const Obj zv = NewSilentExchange("wait-cancel");
  ASSERT_TRUE(zv);

  HWND host_window = ::CreateWindowExW(0, L"STATIC", L"Halvex", WS_OVERLAPPEDWINDOW, 0, 0, 300,
                                       200, nullptr, nullptr, nullptr, nullptr);
  ASSERT_NE(host_window, nullptr);
  MessageBoxAnswerer boxes(IDNO);
  WaitProbe probe;
  probe.host_window = host_window;
  probe.boxes = &boxes;
  probe.zv = &zv;
  g_probe = &probe;
  const UINT_PTR timer = ::SetTimer(nullptr, 0, 300, HostTimer);

  auto* form = new FormObject(host_window);
  VARIANTARG owner;
  ::VariantInit(&owner);
  V_VT(&owner) = VT_DISPATCH;
  V_DISPATCH(&owner) = form;
  const Result synced = CallStartSync(zv, owner);
  ::KillTimer(nullptr, timer);
  g_probe = nullptr;
  form->Release();

  ASSERT_EQ(synced.hr, S_OK);
  EXPECT_EQ(synced.value.Long(), 4);  // ZV_Error_Cancel
  EXPECT_GE(probe.ticks, 4);          // the host's timer fired during the wait
  EXPECT_EQ(probe.owner_seen, host_window);
  EXPECT_TRUE(probe.running_after_no);
  EXPECT_EQ(probe.nested_result, 5);  // ZV_Error_General
  EXPECT_FALSE(probe.nested_error.empty());
  const std::wstring question = L"Soll der Syncronisation-Prozess wirklich abgebrochen werden?";
  EXPECT_EQ(boxes.Texts(), (std::vector<std::wstring>{question, question}));
  EXPECT_EQ(kdzv::test::FindOwnWindow(L"kdZentavoSyncWindow"), nullptr);  // closed at the end
  ::DestroyWindow(host_window);
}

TEST(ComWait, AMissingDownloadFolderIsReportedInABox) {
  const std::wstring dir = NewFolder("wait-missing");
  HRESULT hr = E_FAIL;
  const Obj zv = Obj::Create(L"kdZentavo.kdZVInterface", &hr);
  ASSERT_EQ(hr, S_OK);
  const Obj settings = zv.GetObj(L"Settings");
  const std::wstring missing = dir + L"\\gibt-es-nicht";
  ASSERT_EQ(settings.Put(L"DownloadPath", missing), S_OK);
  MessageBoxAnswerer boxes;
  // sErr left out as well: both optional arguments are missing.
  const Result synced = zv.Call(L"StartSync");
  ASSERT_EQ(synced.hr, S_OK);
  EXPECT_EQ(synced.value.Long(), 1);  // ZV_Error_PathNotExist
  ASSERT_EQ(boxes.Texts().size(), 1u);
  EXPECT_EQ(boxes.Texts()[0].rfind(L"Fehler: Der eingestellte Downloadpfad existiert nicht: " +
                                       missing, 0),
            0u);
}

// The keyboard in the sync window, one step per tick of the host's timer
// while no question is open.
struct KeyWalk {
  std::vector<std::function<void(HWND sync)>> steps;
  size_t next = 0;
};
KeyWalk* g_walk = nullptr;

void CALLBACK KeyTimer(HWND, UINT, UINT_PTR, DWORD) {
  KeyWalk& walk = *g_walk;
  HWND sync = kdzv::test::FindOwnWindow(L"kdZentavoSyncWindow");
  if (sync == nullptr || !::IsWindowEnabled(sync) || walk.next >= walk.steps.size()) return;
  walk.steps[walk.next++](sync);
}

std::wstring ClipboardText() {
  std::wstring text;
  if (!::OpenClipboard(nullptr)) return L"(no clipboard)";
  if (HANDLE data = ::GetClipboardData(CF_UNICODETEXT)) {
    if (const auto* chars = static_cast<const wchar_t*>(::GlobalLock(data))) {
      text = chars;
      ::GlobalUnlock(data);
    }
  }
  ::CloseClipboard();
  return text;
}

std::wstring WindowText(HWND window) {
  std::wstring text(static_cast<size_t>(::GetWindowTextLengthW(window)) + 1, L'\0');
  text.resize(static_cast<size_t>(::GetWindowTextW(window, text.data(),
                                                   static_cast<int>(text.size()))));
  return text;
}

TEST(ComWait, TheSyncWindowIsCancelledFromTheKeyboardThroughTheQuestion) {
  const Obj zv = NewSilentExchange("wait-keyboard");
  ASSERT_TRUE(zv);
  MessageBoxAnswerer boxes(IDNO);
  std::vector<int> focus;
  std::wstring pane_before, pane_after, copied;
  HICON big = nullptr, small = nullptr;
  KeyWalk walk;
  walk.steps.push_back([&](HWND sync) {
    // The emblem in the caption.
    big = reinterpret_cast<HICON>(::GetClassLongPtrW(sync, GCLP_HICON));
    small = reinterpret_cast<HICON>(::GetClassLongPtrW(sync, GCLP_HICONSM));
    focus.push_back(FocusedId());  // on opening
    PressKey(VK_ESCAPE);           // asked, answered no
  });
  walk.steps.push_back([&](HWND) {
    focus.push_back(FocusedId());  // back on the button after the question
    PressKey(VK_TAB);
  });
  walk.steps.push_back([&](HWND sync) {
    focus.push_back(FocusedId());  // the log pane
    HWND pane = ::GetDlgItem(sync, 1001);
    pane_before = WindowText(pane);
    ::SendMessageW(pane, EM_SETSEL, 0, -1);
    PressKey('X');  // read-only: no typing into the pane
    ::PostMessageW(pane, WM_CHAR, 'x', 1);
    ::PostMessageW(pane, WM_CHAR, 0x03, 1);  // Ctrl+C
  });
  walk.steps.push_back([&](HWND sync) {
    pane_after = WindowText(::GetDlgItem(sync, 1001));
    copied = ClipboardText();
    PressKey(VK_ESCAPE);  // Esc in the pane: asked, answered no
  });
  walk.steps.push_back([&](HWND) {
    focus.push_back(FocusedId());
    PressKey(VK_TAB);  // out of the pane, to the button
  });
  walk.steps.push_back([&](HWND) {
    focus.push_back(FocusedId());
    PressKey(VK_SPACE);  // asked, answered no
  });
  walk.steps.push_back([&](HWND) {
    focus.push_back(FocusedId());
    boxes.SetYesNoAnswer(IDYES);
    PressKey(VK_RETURN);  // asked, answered yes: cancelled
  });
  g_walk = &walk;
  const UINT_PTR timer = ::SetTimer(nullptr, 0, 250, KeyTimer);
  const Result synced = CallStartSync(zv, MissingArgument());
  ::KillTimer(nullptr, timer);
  g_walk = nullptr;

  ASSERT_EQ(synced.hr, S_OK);
  EXPECT_EQ(synced.value.Long(), 4);  // ZV_Error_Cancel
  EXPECT_EQ(walk.next, walk.steps.size());
  constexpr int kPane = 1001, kButton = 1002;
  EXPECT_EQ(focus, (std::vector<int>{kButton, kButton, kPane, kPane, kButton, kButton}));
  const std::wstring question = L"Soll der Syncronisation-Prozess wirklich abgebrochen werden?";
  EXPECT_EQ(boxes.Texts(), (std::vector<std::wstring>(4, question)));
  EXPECT_NE(big, nullptr);
  EXPECT_NE(small, nullptr);
  EXPECT_FALSE(pane_before.empty());
  EXPECT_EQ(pane_after, pane_before);
  EXPECT_EQ(copied, pane_before);
  EXPECT_EQ(kdzv::test::FindOwnWindow(L"kdZentavoSyncWindow"), nullptr);
}

// The window went: the exchange is cancelled without the question, with
// this line in the log pane, OnSyncLog and the log.
constexpr const wchar_t kWindowGoneLine[] =
    L"Abbruch: Das Synchronisationsfenster wurde geschlossen.";

// What the host sees of an exchange whose owner window it destroys.
struct OwnerGone {
  HWND host_window = nullptr;
  bool destroy_from_timer = true;  // or inside OnSyncLog
  int ticks = 0;
  DWORD destroyed_at = 0;
  bool quit_posted = false;  // the watchdog had to end the wait
  std::vector<std::wstring> lines;
  int depth = 0;              // OnSyncLog handlers running
  bool nested_line = false;   // a line arrived inside another's handler
  size_t lines_at_destroy = 0;
};
OwnerGone* g_gone = nullptr;

void DestroyOwner(OwnerGone& gone) {
  if (gone.destroyed_at != 0 || kdzv::test::FindOwnWindow(L"kdZentavoSyncWindow") == nullptr) return;
  gone.destroyed_at = ::GetTickCount();
  gone.lines_at_destroy = gone.lines.size();
  ::DestroyWindow(gone.host_window);
}

void CALLBACK OwnerGoneTimer(HWND, UINT, UINT_PTR, DWORD) {
  OwnerGone& gone = *g_gone;
  ++gone.ticks;
  if (gone.destroy_from_timer && gone.ticks == 3) DestroyOwner(gone);
  // A watchdog: a wait that goes on after its window went is ended as the
  // end of the host's program ends it.
  if (gone.destroyed_at != 0 && !gone.quit_posted && ::GetTickCount() - gone.destroyed_at > 8000) {
    gone.quit_posted = true;
    ::PostQuitMessage(0);
  }
}

// Runs StartSync owned by a new host window that goes during the wait;
// StartSync's answer.
long RunWithOwnerGone(const Obj& zv, OwnerGone& gone) {
  gone.host_window = ::CreateWindowExW(0, L"STATIC", L"Halvex", WS_OVERLAPPEDWINDOW | WS_VISIBLE,
                                       0, 0, 300, 200, nullptr, nullptr, nullptr, nullptr);
  EXPECT_NE(gone.host_window, nullptr);
  auto* sink = new EventSink(EventInterfaceOf(zv), [&gone](DISPID id, DISPPARAMS& args) {
    if (id != 2) return S_OK;  // OnSyncLog
    if (gone.depth > 0) gone.nested_line = true;
    ++gone.depth;
    gone.lines.emplace_back(*V_BSTRREF(&args.rgvarg[0]),
                            ::SysStringLen(*V_BSTRREF(&args.rgvarg[0])));
    if (!gone.destroy_from_timer && gone.lines.back() == L"Warten auf Antwort ...") {
      DestroyOwner(gone);
    }
    --gone.depth;
    return S_OK;
  });
  EXPECT_NE(Connect(zv, sink), 0u);
  g_gone = &gone;
  const UINT_PTR timer = ::SetTimer(nullptr, 0, 300, OwnerGoneTimer);
  auto* form = new FormObject(gone.host_window);
  VARIANTARG owner;
  ::VariantInit(&owner);
  V_VT(&owner) = VT_DISPATCH;
  V_DISPATCH(&owner) = form;
  const Result synced = CallStartSync(zv, owner);
  const DWORD returned_at = ::GetTickCount();
  ::KillTimer(nullptr, timer);
  g_gone = nullptr;
  form->Release();
  sink->Release();
  // A quit the watchdog posted went back to the host's loop at the end.
  MSG message;
  while (::PeekMessageW(&message, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE)) {
  }
  EXPECT_EQ(synced.hr, S_OK);
  EXPECT_NE(gone.destroyed_at, 0u) << "the owner was never destroyed";
  EXPECT_FALSE(gone.quit_posted) << "StartSync went on waiting after its window went";
  EXPECT_LT(returned_at - gone.destroyed_at, 2000u);
  EXPECT_FALSE(::IsWindow(gone.host_window));
  EXPECT_EQ(kdzv::test::FindOwnWindow(L"kdZentavoSyncWindow"), nullptr);
  return synced.value.Long();
}

std::string LibraryLog() {
  std::wstring path = LibraryPath();
  path = path.substr(0, path.find_last_of(L'.')) + L".log";
  std::ifstream in(path.c_str(), std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

TEST(ComWait, TheOwnerDestroyedDuringTheWaitCancelsWithoutTheQuestion) {
  const Obj zv = NewSilentExchange("wait-owner-gone");
  MessageBoxAnswerer boxes(IDNO);  // a question would keep the exchange going
  OwnerGone gone;
  EXPECT_EQ(RunWithOwnerGone(zv, gone), 4);  // ZV_Error_Cancel
  EXPECT_TRUE(boxes.Texts().empty());
  // The line, then the end of a cancelled exchange, and nothing else.
  ASSERT_GE(gone.lines.size(), gone.lines_at_destroy + 2);
  EXPECT_EQ(gone.lines[gone.lines_at_destroy], kWindowGoneLine);
  EXPECT_EQ(gone.lines[gone.lines_at_destroy + 1], L"Synchronisation abgebrochen.");
  EXPECT_EQ(gone.lines.size(), gone.lines_at_destroy + 2);
  EXPECT_FALSE(gone.nested_line);
  EXPECT_NE(LibraryLog().find("[SyncForm_OnLog] Abbruch: Das Synchronisationsfenster wurde "
                              "geschlossen."),
            std::string::npos);
}

TEST(ComWait, TheOwnerDestroyedInsideAnEventCancelsWhenTheEventHasReturned) {
  const Obj zv = NewSilentExchange("wait-owner-gone-in-event");
  MessageBoxAnswerer boxes(IDNO);
  OwnerGone gone;
  gone.destroy_from_timer = false;
  EXPECT_EQ(RunWithOwnerGone(zv, gone), 4);  // ZV_Error_Cancel
  EXPECT_TRUE(boxes.Texts().empty());
  // The line of the handler that destroyed the window came first; the
  // cancel's line only after that handler had returned.
  ASSERT_GE(gone.lines_at_destroy, 1u);
  EXPECT_EQ(gone.lines[gone.lines_at_destroy - 1], L"Warten auf Antwort ...");
  ASSERT_GE(gone.lines.size(), gone.lines_at_destroy + 2);
  EXPECT_EQ(gone.lines[gone.lines_at_destroy], kWindowGoneLine);
  EXPECT_EQ(gone.lines[gone.lines_at_destroy + 1], L"Synchronisation abgebrochen.");
  EXPECT_FALSE(gone.nested_line);
}

}  // namespace
}  // namespace kdzv::host
