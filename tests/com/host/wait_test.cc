// StartSync's wait as the host sees it: the sync window owned by the host's
// window (found through its hWnd property), the host's own timer firing
// during the wait, the cancel question answered no and then yes through
// the window's cancel button, and the error box of a missing folder.
#include <windows.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "automation_client.h"
#include "host_environment.h"
#include "library_calls.h"
#include "message_boxes.h"

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
  HWND sync = ::FindWindowW(L"kdZentavoSyncWindow", nullptr);
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

TEST(ComWait, TheCancelQuestionAnsweredNoThenYesWhileTheHostsTimerFires) {
  const std::wstring dir = NewFolder("wait-cancel");
  for (const wchar_t* sub : {L"\\up", L"\\down", L"\\depot"}) {
    ::CreateDirectoryW((dir + sub).c_str(), nullptr);
  }
  HRESULT hr = E_FAIL;
  const Obj zv = Obj::Create(L"kdZentavo.kdZVInterface", &hr);
  ASSERT_EQ(hr, S_OK);
  const Obj settings = zv.GetObj(L"Settings");
  ASSERT_EQ(settings.Put(L"DownloadPath", dir + L"\\down"), S_OK);
  ASSERT_EQ(settings.Put(L"UploadPath", dir + L"\\up"), S_OK);
  ASSERT_EQ(settings.Put(L"AblagePath", dir + L"\\depot"), S_OK);
  ASSERT_EQ(settings.Put(L"FilePraefix", L"HX"), S_OK);

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
  EXPECT_EQ(::FindWindowW(L"kdZentavoSyncWindow", nullptr), nullptr);  // closed at the end
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

}  // namespace
}  // namespace kdzv::host
