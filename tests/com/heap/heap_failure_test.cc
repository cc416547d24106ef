// Every allocation of the library made to fail in turn. The instrumented
// build (kdZentavo_testheap.dll) fails the Nth allocation from the moment it
// is armed; a walk over part of the automation surface runs with N = 1, 2,
// ... until a walk ends without reaching its Nth allocation. Each run:
//   - nothing crashes and no C++ exception leaves the library (a crash is
//     reported with the run and the call, and ends the program);
//   - the call in which the allocation failed answers E_OUTOFMEMORY (also as
//     the automation exception of error 7), or answers as it does when
//     nothing fails, or answers S_OK having written the error report (the
//     log's "--> ERROR:" line, the report's message box when no interface
//     object is active, or the member's own error text, as CheckLogAccess
//     gives it); every later call answers as it does when nothing fails, or
//     with one of the keyed lists' errors when an element is missing for
//     the failure; values are compared until the failure comes;
//   - after the host has let go of everything the library says it can be
//     unloaded, and its live heap (count and bytes) is what it was before.
// The answers "as when nothing fails" are those of a run with nothing armed.
// Each walk is one test: the interface object (where the walk needs one)
// is made before the failure is armed; the first object of a freshly loaded
// library has a test of its own.
// Where a failing allocation came from is printed as offsets into the DLL:
//   x86_64-w64-mingw32-addr2line -f -C -i -e kdZentavo_testheap.dll ADDRESS
// with ADDRESS = the offset + the DLL's ImageBase (objdump -p).
#include <objbase.h>
#include <ocidl.h>
#include <windows.h>

#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "com/host/automation_client.h"
#include "com/host/event_sink.h"
#include "com/host/host_files.h"
#include "com/host/library_copy.h"
#include "com/host/message_boxes.h"
#include "heap_client.h"

namespace kdzv::host {
namespace {

constexpr SCODE kErrorOutOfMemory = static_cast<SCODE>(0x800A0007);  // the host's error 7

// --- Where the walk is, for the report of a crash ---

long g_run = 0;
const char* g_walk = "";
std::string g_step;
const TestHeap* g_heap = nullptr;

void PrintWhere(const char* what) {
  std::fprintf(stderr, "\n%s in the walk \"%s\", run %ld (allocation %ld failing), at \"%s\"\n",
               what, g_walk, g_run, g_run, g_step.c_str());
  if (g_heap != nullptr) {
    std::fprintf(stderr, "the failing allocation came from:%s\n", g_heap->FailureFrames().c_str());
  }
  std::fflush(stderr);
}

LONG WINAPI ReportCrash(EXCEPTION_POINTERS* info) {
  char what[64];
  std::snprintf(what, sizeof(what), "Crash (exception 0x%08lX)",
                static_cast<unsigned long>(info->ExceptionRecord->ExceptionCode));
  PrintWhere(what);
  ::TerminateProcess(::GetCurrentProcess(), 3);
  return EXCEPTION_EXECUTE_HANDLER;
}

void ReportAbort(int) {
  PrintWhere("abort() (std::terminate)");
  ::TerminateProcess(::GetCurrentProcess(), 3);
}

std::string Hex(long value) {
  char text[16];
  std::snprintf(text, sizeof(text), "0x%08lX", static_cast<unsigned long>(value));
  return text;
}

// The value of an answer as compared between runs: objects by presence.
std::string ValueOf(const Result& result) {
  if (result.hr == DISP_E_EXCEPTION) return "exception " + Hex(result.scode);
  const VARTYPE type = result.value.type();
  if (type == VT_DISPATCH || type == VT_UNKNOWN) {
    return V_UNKNOWN(result.value.get()) != nullptr ? "<object>" : "<nothing>";
  }
  if (type == VT_EMPTY) return "<empty>";
  return std::to_string(type) + ":" + Narrow(result.value.Text());
}

// The answers the library documents for its members: success, out of
// memory, and the keyed lists' errors 5, 9 and 457 (which a call may get
// after an earlier one failed, an element then missing).
bool IsDocumented(const Result& result) {
  if (result.hr == S_OK || result.hr == S_FALSE) return true;
  if (result.hr == E_OUTOFMEMORY) return true;
  return result.hr == DISP_E_EXCEPTION &&
         (result.scode == E_OUTOFMEMORY || result.scode == kErrorOutOfMemory ||
          result.scode == static_cast<SCODE>(0x800A0005) ||
          result.scode == static_cast<SCODE>(0x800A0009) ||
          result.scode == static_cast<SCODE>(0x800A01C9));
}

bool IsOutOfMemory(const Result& result) {
  return result.hr == E_OUTOFMEMORY ||
         (result.hr == DISP_E_EXCEPTION &&
          (result.scode == E_OUTOFMEMORY || result.scode == kErrorOutOfMemory));
}

// A fresh work folder with a copy of the instrumented library; its log
// lies beside it.
std::wstring FreshCopy(const std::string& name, std::wstring* log) {
  const std::wstring root = WindowsPath(KDZV_HOST_WORK_DIR);
  const std::wstring folder = root + L"\\heap-" + std::wstring(name.begin(), name.end());
  ::CreateDirectoryW(root.c_str(), nullptr);
  ::CreateDirectoryW(folder.c_str(), nullptr);
  const std::wstring library = folder + L"\\kdZentavo_testheap.dll";
  ::DeleteFileW((folder + L"\\kdZentavo_testheap.log").c_str());
  ::DeleteFileW((folder + L"\\kdZentavo_testheap.cfg").c_str());
  ::CopyFileW(WindowsPath(KDZV_TESTHEAP_DLL_PATH).c_str(), library.c_str(), FALSE);
  if (log != nullptr) *log = folder + L"\\kdZentavo_testheap.log";
  return library;
}

// How the call in which the allocation failed ended.
enum class Outcome { kNone, kOutOfMemory, kReported, kAsUsual };

// One run of a walk. Every call of the library goes through Step.
class WalkRun {
 public:
  // `reference`: the answers of the run with nothing armed (null for that
  // run itself, which records them into `record`).
  WalkRun(const TestHeap& heap, std::wstring log, const MessageBoxAnswerer& boxes,
      const std::map<std::string, std::pair<HRESULT, std::string>>* reference,
      std::map<std::string, std::pair<HRESULT, std::string>>* record)
      : heap_(heap), log_(std::move(log)), boxes_(boxes), reference_(reference),
        record_(record) {}

  // Runs `call`; answers whether it answered as usual (so that the walk
  // may go on with what it made). `refused`: the call is one that the
  // library refuses (a keyed list's error) when nothing fails.
  bool Step(const std::string& name, const std::function<Result()>& call, Result* out = nullptr,
            bool refused = false) {
    g_step = name;
    const int32_t failures_before = heap_.State().failures;
    const ULONGLONG log_before = LogSize();
    const size_t boxes_before = boxes_.Texts().size();
    Result result;
    bool escaped = false;
    try {
      result = call();
    } catch (...) {
      escaped = true;
    }
    g_step.clear();
    const bool failed_here = heap_.State().failures > failures_before;
    if (escaped) {
      if (failed_here) failed_step_ = name;
      problems_.push_back(name + ": a C++ exception left the library" + Frames(failed_here));
      return false;
    }
    if (record_ != nullptr) {
      if (!record_->emplace(name, std::make_pair(result.hr, ValueOf(result))).second) {
        problems_.push_back(name + ": named twice in the walk");
      }
      const bool succeeded = SUCCEEDED(result.hr);
      if (succeeded == refused) {
        problems_.push_back(name + ": answered " + Hex(result.hr) + " (" + Hex(result.scode) + ")");
      }
      if (out != nullptr) *out = result;
      return succeeded != refused;
    }
    const auto usual = reference_->find(name);
    if (usual == reference_->end()) {
      problems_.push_back(name + ": not in the run with nothing armed");
      return false;
    }
    const bool as_usual = result.hr == usual->second.first;
    const bool same_value = as_usual && ValueOf(result) == usual->second.second;
    bool goes_on = as_usual;
    if (failed_here) {
      failed_step_ = name;
      if (IsOutOfMemory(result)) {
        outcome_ = Outcome::kOutOfMemory;
        goes_on = false;
      } else if (same_value) {
        outcome_ = Outcome::kAsUsual;
      } else if (result.hr == S_OK &&
                 (NewErrorLine(log_before) || boxes_.Texts().size() > boxes_before ||
                  !result.description.empty())) {
        outcome_ = Outcome::kReported;
      } else {
        problems_.push_back(name + ": answered " + Hex(result.hr) + " (" + Hex(result.scode) +
                            ") value " + ValueOf(result) + ", where " +
                            Hex(usual->second.first) + " value " + usual->second.second +
                            " is usual, with no error report" + Frames(true));
      }
    } else if (!as_usual && (failed_step_.empty() || !IsDocumented(result))) {
      problems_.push_back(name + ": answered " + Hex(result.hr) + " (" + Hex(result.scode) +
                          "), where " + Hex(usual->second.first) + " is usual" +
                          (failed_step_.empty() ? "" : ", after \"" + failed_step_ + "\" failed"));
    } else if (failed_step_.empty() && !same_value) {
      problems_.push_back(name + ": value " + ValueOf(result) + " where " + usual->second.second +
                          " is usual");
    }
    if (out != nullptr) *out = result;
    return goes_on;
  }

  // A call that makes an object: the object into `made`.
  bool Make(const std::string& name, const std::function<Result()>& call, Obj& made) {
    Result result;
    const bool ok = Step(name, call, &result);
    made = ok ? Obj(result.value.Object()) : Obj();
    return static_cast<bool>(made);
  }

  void Problem(const std::string& text) { problems_.push_back(text); }
  const std::vector<std::string>& problems() const { return problems_; }
  const std::string& failed_step() const { return failed_step_; }
  Outcome outcome() const { return outcome_; }

 private:
  ULONGLONG LogSize() const {
    WIN32_FILE_ATTRIBUTE_DATA data;
    if (!::GetFileAttributesExW(log_.c_str(), GetFileExInfoStandard, &data)) return 0;
    return (static_cast<ULONGLONG>(data.nFileSizeHigh) << 32) | data.nFileSizeLow;
  }
  std::string Frames(bool failed_here) const {
    return failed_here ? " (the failing allocation came from:" + heap_.FailureFrames() + ")" : "";
  }
  bool NewErrorLine(ULONGLONG from) const {
    std::ifstream in(log_.c_str(), std::ios::binary);
    in.seekg(static_cast<std::streamoff>(from));
    const std::string added((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    return added.find("--> ERROR: ") != std::string::npos;
  }

  const TestHeap& heap_;
  std::wstring log_;
  const MessageBoxAnswerer& boxes_;
  const std::map<std::string, std::pair<HRESULT, std::string>>* reference_;
  std::map<std::string, std::pair<HRESULT, std::string>>* record_;
  std::vector<std::string> problems_;
  std::string failed_step_;
  Outcome outcome_ = Outcome::kNone;
};

// --- Calls as a late-binding host makes them, as Results ---

// One reference to an interface of the library, released at the end of the
// scope (also when an exception passes).
template <class T>
class Held {
 public:
  Held() = default;
  ~Held() {
    if (pointer_ != nullptr) pointer_->Release();
  }
  Held(const Held&) = delete;
  Held& operator=(const Held&) = delete;
  T** Put() { return &pointer_; }
  void** PutVoid() { return reinterpret_cast<void**>(&pointer_); }
  T* operator->() const { return pointer_; }
  T* get() const { return pointer_; }

 private:
  T* pointer_ = nullptr;
};

Result Made(const LibraryCopy& library, const wchar_t* prog_id) {
  Result result;
  const Obj made = library.Create(prog_id, &result.hr);
  result.value = Var(made.get());
  return result;
}
Result Get(const Obj& object, const wchar_t* name, std::initializer_list<Var> args = {}) {
  return object.Invoke(name, DISPATCH_PROPERTYGET | DISPATCH_METHOD, args);
}
Result Put(const Obj& object, const wchar_t* name, Var value) {
  return object.Invoke(name, DISPATCH_PROPERTYPUT, {std::move(value)});
}
Result PutRef(const Obj& object, const wchar_t* name, const Obj& value) {
  return object.Invoke(name, DISPATCH_PROPERTYPUTREF, {Var(value.get())});
}
Result Answer(HRESULT hr) {
  Result result;
  result.hr = hr;
  return result;
}
std::string W(const wchar_t* text) { return Narrow(text); }

// What a walk has: the library, and the interface object made before the
// failure is armed (for the walks that need one, so that reports go to its
// log).
struct Walked {
  const LibraryCopy& library;
  Obj zv;
};
using Walk = std::function<void(WalkRun&, Walked&)>;

// --- The walks ---

void MakeTheInterfaceObject(WalkRun& run, Walked& walked) {
  Obj zv, settings;
  if (!run.Make("create kdZVInterface", [&] { return Made(walked.library, L"kdZentavo.kdZVInterface"); }, zv)) {
    return;
  }
  run.Step("kdZVInterface.GetTypeInfoCount", [&] {
    UINT count = 0;
    Result result = Answer(zv.get()->GetTypeInfoCount(&count));
    result.value = Var(static_cast<int>(count));
    return result;
  });
  if (run.Make("kdZVInterface.Settings", [&] { return Get(zv, L"Settings"); }, settings)) {
    run.Step("clZVSettings.DoLog", [&] { return Get(settings, L"DoLog"); });
  }
  run.Step("kdZVInterface.ShowSettingsStatusMsg", [&] {
    return zv.Call(L"ShowSettingsStatusMsg", {Var(L"Kein Dialog offen"), Var(64)});
  });
  settings = Obj();
  run.Step("release kdZVInterface", [&] {
    zv = Obj();
    return Answer(S_OK);
  });
}

void UseTheSettings(WalkRun& run, Walked& walked) {
  Obj settings, stored, again;
  if (!run.Make("kdZVInterface.Settings", [&] { return Get(walked.zv, L"Settings"); }, settings)) {
    return;
  }
  const std::pair<const wchar_t*, Var> values[] = {
      {L"DownloadPath", Var(L"C:\\zv\\down")}, {L"UploadPath", Var(L"C:\\zv\\up")},
      {L"AblagePath", Var(L"C:\\zv\\ablage")},  {L"FilePraefix", Var(L"HX")},
      {L"SystemName", Var(L"PRAXIS-Süd")},       {L"SlowSync", Var(false)},
      {L"TimeoutSeconds", Var(short{60})},      {L"PatIdentKriterium", Var(short{1})},
      {L"DoLog", Var(true)}};
  for (const auto& [name, value] : values) {
    run.Step("put clZVSettings." + W(name), [&] { return Put(settings, name, value); });
    run.Step("get clZVSettings." + W(name), [&] { return Get(settings, name); });
  }
  if (run.Make("create clZVSettings", [&] { return Made(walked.library, L"kdZentavo.clZVSettings"); },
               stored)) {
    run.Step("stored clZVSettings.SystemName", [&] { return Get(stored, L"SystemName"); });
    run.Step("putref kdZVInterface.Settings", [&] { return PutRef(walked.zv, L"Settings", stored); });
    run.Make("kdZVInterface.Settings again", [&] { return Get(walked.zv, L"Settings"); }, again);
  }
}

void UseTheRecords(WalkRun& run, Walked& walked) {
  Obj termin;
  if (run.Make("kdZVInterface.CreateKdZVTermin", [&] { return walked.zv.Call(L"CreateKdZVTermin"); },
               termin)) {
    run.Step("put kdZVTermin.PatientName", [&] { return Put(termin, L"PatientName", Var(L"Müller")); });
    run.Step("get kdZVTermin.PatientName", [&] { return Get(termin, L"PatientName"); });
    run.Step("put kdZVTermin.TerminStart", [&] { return Put(termin, L"TerminStart", Var::Date(45474.25)); });
    run.Step("get kdZVTermin.TerminStart", [&] { return Get(termin, L"TerminStart"); });
    run.Step("put kdZVTermin.PatientNeu", [&] { return Put(termin, L"PatientNeu", Var(true)); });
    run.Step("put kdZVTermin.TerminCommand", [&] { return Put(termin, L"TerminCommand", Var(2)); });
    run.Step("get kdZVTermin.TerminCommand", [&] { return Get(termin, L"TerminCommand"); });
  }
  struct Record {
    const wchar_t* prog_id;
    const wchar_t* property;
    Var value;
  };
  const Record records[] = {
      {L"kdZentavo.kdZVTermin", L"TerminKommentar", Var(L"Bitte nüchtern kommen")},
      {L"kdZentavo.kdZVCalendar", L"Title", Var(L"Dr. Weiß")},
      {L"kdZentavo.kdZVCalendar", L"BehandlerIDHX", Var(7)},
      {L"kdZentavo.kdZVBelegungsZeit", L"Dauer", Var(30)},
      {L"kdZentavo.kdZVBelegung", L"BehandlerIDext", Var(L"B-1")},
  };
  for (const Record& record : records) {
    Obj made;
    const std::string name = W(record.prog_id) + "." + W(record.property);
    if (!run.Make("create " + name, [&] { return Made(walked.library, record.prog_id); }, made)) {
      continue;
    }
    run.Step("put " + name, [&] { return Put(made, record.property, record.value); });
    run.Step("get " + name, [&] { return Get(made, record.property); });
    run.Step("release " + name, [&] {
      made = Obj();
      return Answer(S_OK);
    });
  }
}

// The elements of an enumerator, one by one.
Result Drain(IEnumVARIANT* walk) {
  int count = 0;
  HRESULT hr = S_OK;
  for (;;) {
    Var item;
    ULONG fetched = 0;
    hr = walk->Next(1, item.get(), &fetched);
    if (hr != S_OK || fetched != 1) break;
    ++count;
  }
  Result result = Answer(hr == S_FALSE ? S_OK : hr);
  result.value = Var(count);
  return result;
}

// NewEnum as For Each asks for it: the answer, and the enumerator (if any)
// into `walk`.
Result NewEnum(const Obj& collection, Held<IEnumVARIANT>& walk) {
  Result got = collection.InvokeId(DISPID_NEWENUM, DISPATCH_PROPERTYGET | DISPATCH_METHOD);
  IUnknown* unknown = got.value.type() == VT_UNKNOWN ? V_UNKNOWN(got.value.get()) : nullptr;
  if (unknown != nullptr && FAILED(unknown->QueryInterface(IID_IEnumVARIANT, walk.PutVoid()))) {
    got.hr = E_NOINTERFACE;
  }
  return got;
}

void UseTheCollections(WalkRun& run, Walked& walked) {
  Obj belegungen, first, zeiten, other;
  if (!run.Make("create kdZVBelegungen", [&] { return Made(walked.library, L"kdZentavo.kdZVBelegungen"); },
                belegungen)) {
    return;
  }
  run.Make("kdZVBelegungen.Add a", [&] {
    return belegungen.Call(L"Add", {Var(1), Var(2), Var::Date(45474), Var(L"a")});
  }, first);
  run.Step("kdZVBelegungen.Add", [&] {
    return belegungen.Call(L"Add", {Var(3), Var(4), Var::Date(45475), Var::Missing()});
  });
  run.Step("kdZVBelegungen.Add c", [&] {
    return belegungen.Call(L"Add", {Var(5), Var(6), Var::Date(45476), Var(L"c")});
  });
  run.Step("kdZVBelegungen.Count", [&] { return Get(belegungen, L"Count"); });
  run.Step("kdZVBelegungen.Item 2", [&] { return Get(belegungen, L"Item", {Var(2)}); });
  run.Step("kdZVBelegungen.Item c", [&] { return Get(belegungen, L"Item", {Var(L"c")}); });
  run.Step("kdZVBelegungen.Remove a", [&] { return belegungen.Call(L"Remove", {Var(L"a")}); });
  // The keyed list's three errors, as automation exceptions with their
  // texts.
  run.Step("kdZVBelegungen.Item of a missing key", [&] {
    return Get(belegungen, L"Item", {Var(L"fehlt")});
  }, nullptr, true);
  run.Step("kdZVBelegungen.Add of a key given before", [&] {
    return belegungen.Call(L"Add", {Var(7), Var(8), Var::Date(45477), Var(L"c")});
  }, nullptr, true);
  run.Step("kdZVBelegungen.Remove outside", [&] { return belegungen.Call(L"Remove", {Var(9)}); },
           nullptr, true);
  run.Step("kdZVBelegungen.Count after Remove", [&] { return Get(belegungen, L"Count"); });

  Held<IEnumVARIANT> walk;
  run.Step("kdZVBelegungen.NewEnum", [&] { return NewEnum(belegungen, walk); });
  if (walk.get() != nullptr) {
    run.Step("IEnumVARIANT.Next", [&] { return Drain(walk.get()); });
    run.Step("IEnumVARIANT.Reset", [&] { return Answer(walk->Reset()); });
    Held<IEnumVARIANT> copy;
    if (run.Step("IEnumVARIANT.Clone", [&] { return Answer(walk->Clone(copy.Put())); }) &&
        copy.get() != nullptr) {
      run.Step("IEnumVARIANT.Next of the clone", [&] { return Drain(copy.get()); });
    }
  }

  if (first) {
    if (run.Make("kdZVBelegung.Zeiten", [&] { return Get(first, L"Zeiten"); }, zeiten)) {
      run.Step("kdZVBelegungsZeiten.Add", [&] {
        return zeiten.Call(L"Add", {Var(15), Var::Date(0.375), Var(L"früh")});
      });
      run.Step("kdZVBelegungsZeiten.Item", [&] { return Get(zeiten, L"Item", {Var(L"früh")}); });
      Held<IEnumVARIANT> slots;
      if (run.Step("kdZVBelegungsZeiten.NewEnum", [&] { return NewEnum(zeiten, slots); }) &&
          slots.get() != nullptr) {
        run.Step("kdZVBelegungsZeiten IEnumVARIANT.Next", [&] { return Drain(slots.get()); });
      }
      run.Step("kdZVBelegungsZeiten.Remove", [&] { return zeiten.Call(L"Remove", {Var(1)}); });
    }
    if (run.Make("create kdZVBelegungsZeiten",
                 [&] { return Made(walked.library, L"kdZentavo.kdZVBelegungsZeiten"); }, other)) {
      run.Step("putref kdZVBelegung.Zeiten", [&] { return PutRef(first, L"Zeiten", other); });
    }
  }
  run.Step("release the collections", [&] {
    first = zeiten = other = Obj();
    belegungen = Obj();
    return Answer(S_OK);
  });
}

void RaiseAnEvent(WalkRun& run, Walked& walked) {
  const Obj& zv = walked.zv;
  run.Step("kdZVInterface.GetTypeInfo", [&] {
    Held<ITypeInfo> info;
    Result result = Answer(zv.get()->GetTypeInfo(0, LOCALE_USER_DEFAULT, info.Put()));
    result.value = Var(info.get() != nullptr);
    return result;
  });
  IID events = IID_NULL;
  run.Step("IProvideClassInfo2.GetClassInfo and GetGUID", [&] {
    Held<IProvideClassInfo2> provide;
    Result result = Answer(zv.get()->QueryInterface(IID_IProvideClassInfo2, provide.PutVoid()));
    if (FAILED(result.hr)) return result;
    Held<ITypeInfo> coclass;
    result.hr = provide->GetClassInfo(coclass.Put());
    if (SUCCEEDED(result.hr)) result.hr = provide->GetGUID(GUIDKIND_DEFAULT_SOURCE_DISP_IID, &events);
    return result;
  });
  if (events == IID_NULL) return;
  auto* sink = new EventSink(events, [&](DISPID id, DISPPARAMS& args) {
    if (id != 5) return S_OK;
    const Obj belegungen(*V_DISPATCHREF(&args.rgvarg[1]));
    belegungen.Call(L"Add", {Var(3), Var(1), Var::Date(45474), Var(L"x")});
    *V_I4REF(&args.rgvarg[0]) = -1;
    return S_OK;
  });
  Held<IConnectionPoint> point;
  DWORD cookie = 0;
  run.Step("IConnectionPointContainer.FindConnectionPoint", [&] {
    Held<IConnectionPointContainer> container;
    Result result = Answer(zv.get()->QueryInterface(IID_IConnectionPointContainer,
                                                    container.PutVoid()));
    if (SUCCEEDED(result.hr)) result.hr = container->FindConnectionPoint(events, point.Put());
    return result;
  });
  if (point.get() != nullptr &&
      run.Step("IConnectionPoint.Advise", [&] { return Answer(point->Advise(sink, &cookie)); })) {
    run.Step("kdZVInterface.TestFireOpeningTimes", [&] { return zv.Call(L"TestFireOpeningTimes"); });
    run.Step("IConnectionPoint.Unadvise", [&] { return Answer(point->Unadvise(cookie)); });
  }
  sink->Release();
}

void ConvertAndReadFiles(WalkRun& run, Walked& walked) {
  const Obj& zv = walked.zv;
  run.Step("kdZVInterface.ConvertLocalToZentavoDateTime", [&] {
    return zv.Call(L"ConvertLocalToZentavoDateTime", {Var::Date(45474.5)});
  });
  run.Step("kdZVInterface.ConvertZentavoToLocalDateTime", [&] {
    return zv.Call(L"ConvertZentavoToLocalDateTime", {Var(L"20240701T100000Z")});
  });
  run.Step("kdZVInterface.TestDownFile", [&] {
    return zv.Call(L"TestDownFile",
                   {Var(WindowsPath((std::string(KDZV_TEST_DATA_DIR) + "/messages/HX17_2.xml").c_str()))});
  });
  run.Step("kdZVInterface.CheckLogAccess", [&] {
    BSTR error = nullptr;
    VARIANTARG args[2];
    ::VariantInit(&args[0]);
    V_VT(&args[0]) = VT_BYREF | VT_BSTR;
    V_BSTRREF(&args[0]) = &error;
    const std::wstring log = WindowsPath(KDZV_HOST_WORK_DIR) + L"\\heap-files\\access.log";
    ::VariantInit(&args[1]);
    V_VT(&args[1]) = VT_BSTR;
    V_BSTR(&args[1]) = ::SysAllocString(log.c_str());
    Result result = zv.InvokeRaw(zv.Id(L"CheckLogAccess"), DISPATCH_METHOD, args, 2);
    ::SysFreeString(V_BSTR(&args[1]));
    // A failure is reported through sErr, the member's own way.
    if (error != nullptr) result.description = error;
    ::SysFreeString(error);
    return result;
  });
}

// --- Running a walk with every allocation failing in turn ---

// The first exception thrown on a thread sets up the C++ runtime's state for
// that thread (kept until the thread ends): one error of a collection,
// caught inside the library, does that before anything is counted.
void FirstException(const LibraryCopy& library) {
  const Obj zeiten = library.Create(L"kdZentavo.kdZVBelegungsZeiten");
  ASSERT_TRUE(zeiten);
  ASSERT_EQ(zeiten.Invoke(L"Item", DISPATCH_PROPERTYGET, {Var(L"fehlt")}).ErrorNumber(), 5);
}

using Answers = std::map<std::string, std::pair<HRESULT, std::string>>;

// The instrumented library loaded from a work folder, with what every run
// needs set up: the stored DoLog on (every new settings object logs), the
// thread's first exception thrown, and the process state made by one walk.
struct Loaded {
  explicit Loaded(const std::wstring& path) : library(path), heap(library.module()) {}
  LibraryCopy library;
  TestHeap heap;
};

class HeapFailure : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    ::SetUnhandledExceptionFilter(ReportCrash);
    std::signal(SIGABRT, ReportAbort);
  }
  void TearDown() override {
    g_heap = nullptr;
    g_walk = "";
  }

  // Runs `walk` with nothing armed, then with allocation 1, 2, ... failing,
  // until a run ends before its nth allocation. `with_interface`: the
  // interface object is made (unarmed) before each run and let go after it.
  void EveryAllocation(const char* walk_name, const Walk& walk, bool with_interface) {
    g_walk = walk_name;
    std::wstring log;
    const std::wstring path = FreshCopy(walk_name, &log);
    MessageBoxAnswerer boxes(IDNO);
    Answers usual;
    std::unique_ptr<Loaded> loaded = Load(path, log, boxes, walk, with_interface, &usual);
    if (HasFailure()) return;
    std::printf("%s: a run with nothing armed makes %lld allocations of the library\n", walk_name,
                static_cast<long long>(allocations_per_run_));

    long runs = 0, out_of_memory = 0, reported = 0, as_usual = 0, reloads = 0;
    int runs_with_problems = 0;
    std::set<std::string> shown;
    for (long n = 1;; ++n) {
      bool objects_left = false;
      const Outcome outcome = RunOnce(*loaded, log, boxes, walk, with_interface, &usual, nullptr,
                                      n, false, &shown, &runs_with_problems, &objects_left);
      ++runs;
      if (outcome == Outcome::kNone) break;  // the walk ended before its nth allocation
      if (outcome == Outcome::kOutOfMemory) ++out_of_memory;
      if (outcome == Outcome::kReported) ++reported;
      if (outcome == Outcome::kAsUsual) ++as_usual;
      if (objects_left) {
        // What was left alive would spoil the next runs' counts: a fresh
        // library goes on.
        loaded.reset();
        loaded = Load(path, log, boxes, walk, with_interface, nullptr);
        ++reloads;
        if (HasFatalFailure()) return;
      }
      if (n > 100000) {
        ADD_FAILURE() << "no end after " << n << " runs";
        break;
      }
    }
    EXPECT_EQ(loaded->heap.State().untracked, 0) << "the heap table was full: the counts are short";
    EXPECT_EQ(runs_with_problems, 0);
    std::printf("%s: %ld runs; the failing call answered out of memory %ld times, wrote the "
                "error report %ld times and answered as usual %ld times%s\n",
                walk_name, runs, out_of_memory, reported, as_usual,
                reloads > 0 ? (", library loaded anew " + std::to_string(reloads) + " times").c_str()
                            : "");
  }

  // The library loaded and set up; the usual answers into `usual` when
  // given.
  std::unique_ptr<Loaded> Load(const std::wstring& path, const std::wstring& log,
                               const MessageBoxAnswerer& boxes, const Walk& walk,
                               bool with_interface, Answers* usual) {
    auto loaded = std::make_unique<Loaded>(path);
    g_heap = &loaded->heap;
    EXPECT_TRUE(loaded->library.loaded());
    EXPECT_TRUE(loaded->heap.ok());
    if (!loaded->library.loaded() || !loaded->heap.ok()) return loaded;
    StoreDoLog(loaded->library);
    FirstException(loaded->library);
    // Twice with nothing armed: the first sets up what the library keeps
    // for the process, the second records the usual answers.
    Answers first;
    RunOnce(*loaded, log, boxes, walk, with_interface, nullptr, &first, 0, true);
    if (usual != nullptr) {
      const int64_t before = loaded->heap.State().allocations;
      RunOnce(*loaded, log, boxes, walk, with_interface, nullptr, usual, 0, false);
      allocations_per_run_ = loaded->heap.State().allocations - before;
    }
    return loaded;
  }

  // Every new settings object logs: the stored DoLog is on.
  static void StoreDoLog(const LibraryCopy& library) {
    const Obj settings = library.Create(L"kdZentavo.clZVSettings");
    ASSERT_TRUE(settings);
    ASSERT_EQ(settings.Put(L"DoLog", true), S_OK);
  }

  // One run with allocation `n` failing (none for 0); the outcome of the
  // failing call (kNone when the walk ended before its nth allocation).
  Outcome RunOnce(const Loaded& loaded, const std::wstring& log, const MessageBoxAnswerer& boxes,
                  const Walk& walk, bool with_interface, const Answers* usual, Answers* record,
                  long n, bool first_use, std::set<std::string>* shown = nullptr,
                  int* runs_with_problems = nullptr, bool* objects_left = nullptr) {
    const LibraryCopy& library = loaded.library;
    const TestHeap& heap = loaded.heap;
    g_run = n;
    const HeapState before = heap.State();
    Walked walked{library, Obj()};
    if (with_interface) {
      HRESULT hr = E_FAIL;
      walked.zv = library.Create(L"kdZentavo.kdZVInterface", &hr);
      EXPECT_EQ(hr, S_OK);
      if (!walked.zv) return Outcome::kNone;
    }
    WalkRun run(heap, log, boxes, usual, record);
    heap.FailAfter(n);
    walk(run, walked);
    const bool failed = n > 0 && heap.State().failure_pending == 0;
    heap.FailAfter(0);
    walked.zv = Obj();
    g_step = "DllCanUnloadNow";
    if (library.CanUnloadNow() != S_OK) {
      run.Problem("objects of the library are left alive after the host let go of all");
      if (objects_left != nullptr) *objects_left = true;
    }
    g_step.clear();
    const HeapState after = heap.State();
    if (!first_use &&
        (after.live_count != before.live_count || after.live_bytes != before.live_bytes)) {
      run.Problem("leak: " + std::to_string(after.live_count - before.live_count) + " blocks, " +
                  std::to_string(after.live_bytes - before.live_bytes) + " bytes" +
                  (failed ? " (the failing allocation came from:" + heap.FailureFrames() + ")" : ""));
    }
    if (!run.problems().empty()) {
      if (runs_with_problems != nullptr) ++*runs_with_problems;
      // Each kind of problem once, with the first run that showed it.
      for (const std::string& problem : run.problems()) {
        const std::string kind =
            problem + (run.failed_step().empty() ? "" : " [failing: " + run.failed_step() + "]");
        if (shown == nullptr || shown->insert(kind).second) {
          ADD_FAILURE() << g_walk << ", run " << n << " (allocation " << n
                        << " failing): " << kind;
        }
      }
    }
    if (!failed) return Outcome::kNone;
    // Failed outside the calls: in a release by the host.
    return run.outcome() == Outcome::kNone ? Outcome::kAsUsual : run.outcome();
  }

  int64_t allocations_per_run_ = 0;
};

TEST_F(HeapFailure, MakingTheInterfaceObject) {
  EveryAllocation("interface", MakeTheInterfaceObject, false);
}

TEST_F(HeapFailure, TheSettings) { EveryAllocation("settings", UseTheSettings, true); }

TEST_F(HeapFailure, TheRecords) { EveryAllocation("records", UseTheRecords, true); }

TEST_F(HeapFailure, TheCollectionsAndTheirEnumerators) {
  EveryAllocation("collections", UseTheCollections, true);
}

TEST_F(HeapFailure, AnEventWithTheTypeInformation) {
  EveryAllocation("event", RaiseAnEvent, true);
}

TEST_F(HeapFailure, TheConversionsAndAMessageFile) {
  ::CreateDirectoryW((WindowsPath(KDZV_HOST_WORK_DIR) + L"\\heap-files").c_str(), nullptr);
  EveryAllocation("files", ConvertAndReadFiles, true);
}

// The first object of a freshly loaded library sets up the process (message
// boxes, time zone, file paths): each run loads the library anew, with the
// failure armed before that first object. What the library keeps after a
// whole first use must then be what a first use with nothing failing keeps.
TEST_F(HeapFailure, TheFirstObjectOfAFreshlyLoadedLibrary) {
  g_walk = "first object";
  const std::wstring path = FreshCopy("first", nullptr);
  {
    LibraryCopy library(path);
    ASSERT_TRUE(library.loaded());
    StoreDoLog(library);
  }
  MessageBoxAnswerer boxes(IDNO);
  // The blocks a first use leaves in the library; the first object's answer
  // into `first`, and whether the allocation failed.
  auto first_use = [&](long n, HRESULT* first, bool* failed, std::string* frames) -> int64_t {
    Loaded loaded(path);
    g_heap = &loaded.heap;
    EXPECT_TRUE(loaded.heap.ok());
    const HeapState start = loaded.heap.State();
    g_run = n;
    g_step = "the first kdZVInterface";
    loaded.heap.FailAfter(n);
    Result made;
    try {
      made = Made(loaded.library, L"kdZentavo.kdZVInterface");
    } catch (...) {
      // (Caught here: the exception's code goes with the library.)
      ADD_FAILURE() << "run " << n << ": a C++ exception left the library (the failing "
                    << "allocation came from:" << loaded.heap.FailureFrames() << ")";
      made.hr = E_UNEXPECTED;
    }
    *failed = n > 0 && loaded.heap.State().failure_pending == 0;
    loaded.heap.FailAfter(0);
    *frames = loaded.heap.FailureFrames();
    *first = made.hr;
    made.value = Var();
    // Once more with nothing failing, and the thread's first exception
    // (after the failure, which may have thrown the first one): the process
    // is then set up as after any first use.
    g_step = "the second kdZVInterface";
    EXPECT_EQ(Made(loaded.library, L"kdZentavo.kdZVInterface").hr, S_OK) << "run " << n;
    FirstException(loaded.library);
    g_step = "DllCanUnloadNow";
    EXPECT_EQ(loaded.library.CanUnloadNow(), S_OK) << "run " << n;
    g_step.clear();
    g_heap = nullptr;
    return loaded.heap.State().live_count - start.live_count;
  };
  HRESULT first = E_FAIL;
  bool failed = false;
  std::string frames;
  const int64_t usual = first_use(0, &first, &failed, &frames);
  ASSERT_EQ(first, S_OK);
  long n = 1;
  for (;; ++n) {
    const int64_t left = first_use(n, &first, &failed, &frames);
    if (!failed) break;
    EXPECT_TRUE(first == S_OK || first == E_OUTOFMEMORY)
        << "run " << n << ": the first kdZVInterface answered " << Hex(first)
        << " (the failing allocation came from:" << frames << ")";
    EXPECT_EQ(left, usual) << "run " << n << ": blocks left behind (the failing allocation "
                           << "came from:" << frames << ")";
    if (n > 20000) break;
  }
  std::printf("first object: %ld runs, each in a freshly loaded library\n", n);
}

}  // namespace
}  // namespace kdzv::host
