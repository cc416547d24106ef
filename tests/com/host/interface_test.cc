// The interface object through late binding: its event interface found
// through IProvideClassInfo2 and sunk, by-reference answers read back after
// each sink, a failing sink followed by the next, the settings object and
// the registry behind it, the date conversions, and the thread that owns
// the library's objects.
#include <windows.h>

#include <gtest/gtest.h>

#include <string>
#include <thread>

#include "automation_client.h"
#include "event_sink.h"
#include "host_environment.h"

namespace kdzv::host {
namespace {

const IID kEvents = {0x37105e71, 0x01bf, 0x45bc, {0xbb, 0x07, 0xf2, 0xc4, 0x41, 0x4e, 0x23, 0x17}};

Obj NewInterface() {
  HRESULT hr = E_FAIL;
  Obj made = Obj::Create(L"kdZentavo.kdZVInterface", &hr);
  EXPECT_EQ(hr, S_OK);
  return made;
}

// The by-reference Long of argument `index` (counted as the object passed
// them: the last argument first).
LONG& LongRef(DISPPARAMS& args, UINT index) { return *V_I4REF(&args.rgvarg[index]); }
IDispatch*& ObjectRef(DISPPARAMS& args, UINT index) { return *V_DISPATCHREF(&args.rgvarg[index]); }

TEST(ComInterface, TheEventInterfaceIsNamedByTheClassAndItsEventsAreNumberedFromOne) {
  const Obj object = NewInterface();
  ASSERT_TRUE(object);
  EXPECT_EQ(EventInterfaceOf(object), kEvents);

  IProvideClassInfo2* provide = nullptr;
  ASSERT_EQ(object.get()->QueryInterface(IID_IProvideClassInfo2,
                                         reinterpret_cast<void**>(&provide)), S_OK);
  ITypeInfo* coclass = nullptr;
  ASSERT_EQ(provide->GetClassInfo(&coclass), S_OK);
  provide->Release();
  TYPEATTR* attributes = nullptr;
  ASSERT_EQ(coclass->GetTypeAttr(&attributes), S_OK);
  ITypeInfo* source = nullptr;
  for (UINT i = 0; i < attributes->cImplTypes; ++i) {
    INT flags = 0;
    coclass->GetImplTypeFlags(i, &flags);
    if ((flags & IMPLTYPEFLAG_FSOURCE) != 0 && (flags & IMPLTYPEFLAG_FDEFAULT) != 0) {
      HREFTYPE reference = 0;
      coclass->GetRefTypeOfImplType(i, &reference);
      coclass->GetRefTypeInfo(reference, &source);
    }
  }
  coclass->ReleaseTypeAttr(attributes);
  coclass->Release();
  ASSERT_NE(source, nullptr);
  const wchar_t* kNames[] = {L"OnTermin", L"OnSyncLog", L"OnCalendar", L"OnAttribute",
                             L"OnQueryOpeningTime", L"EinstellungenAmServiceValidieren",
                             L"ZentavoSyncTesten"};
  const UINT kArguments[] = {2, 1, 2, 2, 2, 4, 1};
  for (UINT i = 0; i < 7; ++i) {
    FUNCDESC* function = nullptr;
    ASSERT_EQ(source->GetFuncDesc(i, &function), S_OK);
    BSTR name = nullptr;
    source->GetDocumentation(function->memid, &name, nullptr, nullptr, nullptr);
    EXPECT_EQ(std::wstring(name), kNames[i]);
    EXPECT_EQ(function->memid, static_cast<MEMBERID>(i + 1)) << i;
    EXPECT_EQ(function->cParams, static_cast<SHORT>(kArguments[i])) << i;
    for (SHORT p = 0; p < function->cParams; ++p) {
      // Every argument is by reference.
      EXPECT_NE(function->lprgelemdescParam[p].paramdesc.wParamFlags & PARAMFLAG_FOUT, 0) << i;
    }
    ::SysFreeString(name);
    source->ReleaseFuncDesc(function);
  }
  source->Release();
}

TEST(ComInterface, EverySinkSeesWhatTheOneBeforeAnsweredAndAFailingSinkIsPassed) {
  const Obj object = NewInterface();
  ASSERT_TRUE(object);
  // The first sink adds opening times and answers 5; the second fails; the
  // third sees both answers and accepts with -1.
  long count_seen_by_third = -1;
  LONG answer_seen_by_third = 0;
  auto* first = new EventSink(kEvents, [](DISPID id, DISPPARAMS& args) {
    if (id != 5) return S_OK;
    const Obj belegungen(ObjectRef(args, 1));
    belegungen.Call(L"Add", {Var(3), Var(1), Var::Date(46000), Var(L"x")});
    LongRef(args, 0) = 5;
    return S_OK;
  });
  auto* failing = new EventSink(kEvents, [](DISPID, DISPPARAMS&) { return E_FAIL; });
  auto* third = new EventSink(kEvents, [&](DISPID id, DISPPARAMS& args) {
    if (id != 5) return S_OK;
    count_seen_by_third = Obj(ObjectRef(args, 1)).Get(L"Count").Long();
    answer_seen_by_third = LongRef(args, 0);
    LongRef(args, 0) = -1;
    return S_OK;
  });
  const DWORD c1 = Connect(object, first);
  const DWORD c2 = Connect(object, failing);
  const DWORD c3 = Connect(object, third);
  ASSERT_NE(c1, 0u);
  ASSERT_NE(c2, 0u);
  ASSERT_NE(c3, 0u);

  const Result fired = object.Call(L"TestFireOpeningTimes");
  ASSERT_EQ(fired.hr, S_OK);
  EXPECT_EQ(fired.value.type(), VT_I4);
  EXPECT_EQ(fired.value.Long(), -1);
  EXPECT_EQ(count_seen_by_third, 1);
  EXPECT_EQ(answer_seen_by_third, 5);
  EXPECT_EQ(first->Received(), std::vector<DISPID>{5});
  EXPECT_EQ(failing->Received(), std::vector<DISPID>{5});
  EXPECT_EQ(third->Received(), std::vector<DISPID>{5});

  // A sink that went away hears nothing more.
  Disconnect(object, c3);
  ASSERT_EQ(object.Call(L"TestFireOpeningTimes").value.Long(), 5);
  EXPECT_EQ(third->Received().size(), 1u);
  Disconnect(object, c1);
  Disconnect(object, c2);
  first->Release();
  failing->Release();
  third->Release();
}

TEST(ComInterface, AHostThatLetsGoInsideAnEventDoesNotPullTheObjectAway) {
  auto* holder = new Obj(NewInterface());
  ASSERT_TRUE(*holder);
  IDispatch* raw = holder->get();
  const DISPID fire = holder->Id(L"TestFireOpeningTimes");
  // The sink drops the host's only reference while the event runs.
  auto* sink = new EventSink(kEvents, [&](DISPID, DISPPARAMS& args) {
    delete holder;
    holder = nullptr;
    LongRef(args, 0) = -1;
    return S_OK;
  });
  ASSERT_NE(Connect(*holder, sink), 0u);
  DISPPARAMS none = {nullptr, nullptr, 0, 0};
  VARIANT result;
  ::VariantInit(&result);
  EXPECT_EQ(raw->Invoke(fire, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &none, &result,
                        nullptr, nullptr),
            S_OK);
  EXPECT_EQ(holder, nullptr);
  EXPECT_EQ(V_VT(&result), VT_I4);
  EXPECT_EQ(V_I4(&result), -1);
  sink->Release();
}

TEST(ComInterface, SettingsIsOneObjectAndIsSetByReference) {
  const Obj object = NewInterface();
  ASSERT_TRUE(object);
  const Obj settings = object.GetObj(L"Settings");
  ASSERT_TRUE(settings);
  EXPECT_EQ(object.GetObj(L"Settings").get(), settings.get());

  const Obj other = Obj::Create(L"kdZentavo.clZVSettings");
  ASSERT_TRUE(other);
  EXPECT_EQ(object.PutRef(L"Settings", Var(other.get())), S_OK);
  EXPECT_EQ(object.GetObj(L"Settings").get(), other.get());

  // Only a settings object of the library can be set.
  const Obj termin = Obj::Create(L"kdZentavo.kdZVTermin");
  EXPECT_NE(object.PutRef(L"Settings", Var(termin.get())), S_OK);
  EXPECT_EQ(object.GetObj(L"Settings").get(), other.get());
}

TEST(ComInterface, SettingsAreWrittenToTheRegistry) {
  const Obj settings = Obj::Create(L"kdZentavo.clZVSettings");
  ASSERT_TRUE(settings);
  ASSERT_EQ(settings.Put(L"SystemName", L"Praxis Döbeln"), S_OK);
  ASSERT_EQ(settings.Put(L"TimeoutSeconds", 45), S_OK);
  wchar_t value[256] = {};
  DWORD size = sizeof(value);
  ASSERT_EQ(::RegGetValueW(HKEY_CURRENT_USER, L"Software\\HAL+VEX\\Halvex\\Zentavo",
                           L"SystemName", RRF_RT_REG_SZ, nullptr, value, &size),
            ERROR_SUCCESS);
  EXPECT_EQ(std::wstring(value), L"Praxis Döbeln");
  // A new object reads what is stored.
  const Obj again = Obj::Create(L"kdZentavo.clZVSettings");
  EXPECT_EQ(again.Get(L"SystemName").Text(), L"Praxis Döbeln");
  EXPECT_EQ(again.Get(L"TimeoutSeconds").type(), VT_I2);
  EXPECT_EQ(again.Get(L"TimeoutSeconds").Long(), 45);
}

// The text the automation runtime makes of a date for the user.
std::wstring UserText(double date) {
  BSTR text = nullptr;
  ::VarBstrFromDate(date, LOCALE_USER_DEFAULT, 0, &text);
  std::wstring copy(text, ::SysStringLen(text));
  ::SysFreeString(text);
  return copy;
}

double Serial(WORD year, WORD month, WORD day, WORD hour, WORD minute) {
  SYSTEMTIME time = {};
  time.wYear = year;
  time.wMonth = month;
  time.wDay = day;
  time.wHour = hour;
  time.wMinute = minute;
  double serial = 0;
  ::SystemTimeToVariantTime(&time, &serial);
  return serial;
}

TEST(ComInterface, ServiceTimesBecomeTheUsersTextOfTheLocalTime) {
  // The test run's zone is Europe/Berlin.
  const Obj object = NewInterface();
  ASSERT_TRUE(object);
  const Result summer = object.Call(L"ConvertZentavoToLocalDateTime", {Var(L"20240701T100000Z")});
  ASSERT_EQ(summer.hr, S_OK);
  EXPECT_EQ(summer.value.type(), VT_BSTR);
  EXPECT_EQ(summer.value.Text(), UserText(Serial(2024, 7, 1, 12, 0)));
  // Midnight gives the date alone.
  const Result midnight =
      object.Call(L"ConvertZentavoToLocalDateTime", {Var(L"20241130T230000Z")});
  EXPECT_EQ(midnight.value.Text(), UserText(Serial(2024, 12, 1, 0, 0)));
  EXPECT_EQ(midnight.value.Text().find(L':'), std::wstring::npos);
  // A text that is no service time gives the zero date: the time alone.
  const Result zero = object.Call(L"ConvertZentavoToLocalDateTime", {Var(L"kein Datum")});
  EXPECT_EQ(zero.value.Text(), UserText(0.0));
  EXPECT_NE(zero.value.Text().find(L':'), std::wstring::npos);
  const Result local = object.Call(L"ConvertLocalToZentavoDateTime", {Var::Date(Serial(2024, 7, 1, 12, 0))});
  EXPECT_EQ(local.value.Text(), L"20240701T100000Z");
}

TEST(ComInterface, CheckLogAccessAnswersThroughItsByReferenceText) {
  const Obj object = NewInterface();
  ASSERT_TRUE(object);
  BSTR error = ::SysAllocString(L"vorher");
  VARIANTARG args[2];
  ::VariantInit(&args[0]);
  V_VT(&args[0]) = VT_BYREF | VT_BSTR;
  V_BSTRREF(&args[0]) = &error;
  ::VariantInit(&args[1]);
  V_VT(&args[1]) = VT_BSTR;
  V_BSTR(&args[1]) = ::SysAllocString(L"Zugriffsprüfung");
  const Result checked = object.InvokeRaw(object.Id(L"CheckLogAccess"), DISPATCH_METHOD, args, 2);
  ::VariantClear(&args[1]);
  ASSERT_EQ(checked.hr, S_OK);
  EXPECT_TRUE(checked.value.Bool());
  EXPECT_EQ(std::wstring(error, ::SysStringLen(error)), L"");
  ::SysFreeString(error);
}

TEST(ComInterface, OptionalArgumentsMayBeLeftOut) {
  const Obj object = NewInterface();
  ASSERT_TRUE(object);
  // Without an open dialog the status message is refused with a log line.
  EXPECT_EQ(object.Call(L"ShowSettingsStatusMsg", {Var(L"Hallo"), Var(64)}).hr, S_OK);
  // A mode that is no truth value cannot be coerced.
  const Result no_mode = object.Call(L"ShowSettings", {Var::Missing(), Var(L"kein Wahrheitswert")});
  EXPECT_EQ(no_mode.hr, DISP_E_EXCEPTION);
  EXPECT_EQ(no_mode.scode, DISP_E_TYPEMISMATCH);
  EXPECT_EQ(object.Call(L"ShowSettingsStatusMsg").hr, DISP_E_BADPARAMCOUNT);
}

// The library's answer to DllCanUnloadNow: S_OK once nothing of it lives.
HRESULT LibraryCanUnloadNow() {
  HMODULE library = ::GetModuleHandleW(LibraryPath().c_str());
  if (library == nullptr) return E_FAIL;
  using CanUnload = HRESULT(STDAPICALLTYPE*)();
  auto can_unload = reinterpret_cast<CanUnload>(
      reinterpret_cast<void*>(::GetProcAddress(library, "DllCanUnloadNow")));
  return can_unload == nullptr ? E_FAIL : can_unload();
}

// A sink puts another object into the by-reference record, as a handler of
// a host does that assigns to it: the one before is released, the new one
// held. Neither a host's own object nor a record of another class is taken:
// the record before stays (though its argument no longer held it), the next
// sink sees it, and nothing is left alive afterwards.
TEST(ComInterface, ARecordHandedBackThatIsNotTheEventsOwnLeavesTheOneBefore) {
  for (int kind = 0; kind < 2; ++kind) {
    {
      const Obj object = NewInterface();
      ASSERT_TRUE(object);
      // A host's own object (a class of its that implements some interface)
      // or a record of the library of another class than the event's.
      auto* host_object = new EventSink(IID_IDispatch, nullptr);
      const Obj other_record = Obj::Create(L"kdZentavo.kdZVTermin");
      IDispatch* replacement = kind == 0 ? static_cast<IDispatch*>(host_object)
                                         : other_record.get();
      ASSERT_NE(replacement, nullptr);
      auto* swapping = new EventSink(kEvents, [&](DISPID id, DISPPARAMS& args) {
        if (id != 5) return S_OK;
        IDispatch*& record = ObjectRef(args, 1);
        Obj(record).Call(L"Add", {Var(3), Var(1), Var::Date(46000), Var(L"x")});
        record->Release();
        record = replacement;
        record->AddRef();
        LongRef(args, 0) = 5;
        return S_OK;
      });
      long count_seen_next = -1;
      auto* next = new EventSink(kEvents, [&](DISPID id, DISPPARAMS& args) {
        if (id != 5) return S_OK;
        count_seen_next = Obj(ObjectRef(args, 1)).Get(L"Count").Long();
        return S_OK;
      });
      const DWORD c1 = Connect(object, swapping);
      const DWORD c2 = Connect(object, next);
      ASSERT_NE(c1, 0u);
      ASSERT_NE(c2, 0u);
      const Result fired = object.Call(L"TestFireOpeningTimes");
      EXPECT_EQ(fired.hr, S_OK) << kind;
      EXPECT_EQ(fired.value.Long(), 5) << kind;
      EXPECT_EQ(count_seen_next, 1) << kind;
      // Fired again: the same as the first time.
      count_seen_next = -1;
      EXPECT_EQ(object.Call(L"TestFireOpeningTimes").value.Long(), 5) << kind;
      EXPECT_EQ(count_seen_next, 1) << kind;
      Disconnect(object, c1);
      Disconnect(object, c2);
      swapping->Release();
      next->Release();
      host_object->Release();
    }
    EXPECT_EQ(LibraryCanUnloadNow(), S_OK) << kind;
  }
}

// A host that finds the event interface by enumerating the connection
// points, and lists the connections of the point.
TEST(ComInterface, ConnectionPointsAndConnectionsCanBeEnumerated) {
  {
    const Obj object = NewInterface();
    ASSERT_TRUE(object);
    IConnectionPointContainer* container = nullptr;
    ASSERT_EQ(object.get()->QueryInterface(IID_IConnectionPointContainer,
                                           reinterpret_cast<void**>(&container)),
              S_OK);
    IEnumConnectionPoints* points = nullptr;
    ASSERT_EQ(container->EnumConnectionPoints(&points), S_OK);
    ASSERT_NE(points, nullptr);
    IConnectionPoint* found[2] = {nullptr, nullptr};
    ULONG fetched = 0;
    EXPECT_EQ(points->Next(2, found, &fetched), S_FALSE);
    ASSERT_EQ(fetched, 1u);
    IID events = IID_NULL;
    EXPECT_EQ(found[0]->GetConnectionInterface(&events), S_OK);
    EXPECT_EQ(events, kEvents);
    // The same point as FindConnectionPoint's.
    IConnectionPoint* by_interface = nullptr;
    ASSERT_EQ(container->FindConnectionPoint(kEvents, &by_interface), S_OK);
    EXPECT_EQ(by_interface, found[0]);
    by_interface->Release();
    // A clone starts where the original stands; Reset starts again.
    IEnumConnectionPoints* clone = nullptr;
    ASSERT_EQ(points->Clone(&clone), S_OK);
    IConnectionPoint* more = nullptr;
    EXPECT_EQ(clone->Next(1, &more, nullptr), S_FALSE);
    EXPECT_EQ(more, nullptr);
    clone->Release();
    EXPECT_EQ(points->Reset(), S_OK);
    EXPECT_EQ(points->Skip(1), S_OK);
    EXPECT_EQ(points->Skip(1), S_FALSE);
    points->Release();

    // Connected through the enumerated point, a sink hears the events.
    auto* first = new EventSink(kEvents, [](DISPID id, DISPPARAMS& args) {
      if (id == 5) LongRef(args, 0) = 7;
      return S_OK;
    });
    auto* second = new EventSink(kEvents, nullptr);
    DWORD cookies[2] = {0, 0};
    ASSERT_EQ(found[0]->Advise(first, &cookies[0]), S_OK);
    ASSERT_EQ(found[0]->Advise(second, &cookies[1]), S_OK);
    EXPECT_EQ(object.Call(L"TestFireOpeningTimes").value.Long(), 7);
    EXPECT_EQ(first->Received(), std::vector<DISPID>{5});

    IEnumConnections* connections = nullptr;
    ASSERT_EQ(found[0]->EnumConnections(&connections), S_OK);
    CONNECTDATA data[3] = {};
    fetched = 0;
    EXPECT_EQ(connections->Next(3, data, &fetched), S_FALSE);
    ASSERT_EQ(fetched, 2u);
    EXPECT_EQ(data[0].dwCookie, cookies[0]);
    EXPECT_EQ(data[1].dwCookie, cookies[1]);
    IUnknown* first_unknown = nullptr;
    first->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(&first_unknown));
    EXPECT_EQ(data[0].pUnk, first_unknown);
    first_unknown->Release();
    for (ULONG i = 0; i < fetched; ++i) data[i].pUnk->Release();
    connections->Release();

    // After Unadvise the list has one connection less.
    ASSERT_EQ(found[0]->Unadvise(cookies[0]), S_OK);
    ASSERT_EQ(found[0]->EnumConnections(&connections), S_OK);
    fetched = 0;
    EXPECT_EQ(connections->Next(3, data, &fetched), S_FALSE);
    ASSERT_EQ(fetched, 1u);
    EXPECT_EQ(data[0].dwCookie, cookies[1]);
    data[0].pUnk->Release();
    connections->Release();
    ASSERT_EQ(found[0]->Unadvise(cookies[1]), S_OK);
    found[0]->Release();
    container->Release();
    // The sinks were let go by the object: only the test's references are left.
    EXPECT_EQ(first->Release(), 0u);
    EXPECT_EQ(second->Release(), 0u);
  }
  EXPECT_EQ(LibraryCanUnloadNow(), S_OK);
}

// Two threads that make their first object of the library at the same
// moment: only one of them may own the library's objects.
TEST(ComInterface, TwoThreadsMakingTheFirstObjectAtOnceAreNotBothLetThrough) {
  for (int trial = 0; trial < 100; ++trial) {
    HANDLE go = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
    HANDLE tried = ::CreateSemaphoreW(nullptr, 0, 2, nullptr);
    HANDLE done = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
    HRESULT results[2] = {E_FAIL, E_FAIL};
    auto maker = [&](int index) {
      ::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
      ::WaitForSingleObject(go, INFINITE);
      {
        HRESULT hr = E_FAIL;
        const Obj made = Obj::Create(L"kdZentavo.kdZVTermin", &hr);
        results[index] = hr;
        // Held until both have tried.
        ::ReleaseSemaphore(tried, 1, nullptr);
        ::WaitForSingleObject(done, INFINITE);
      }
      ::CoUninitialize();
    };
    std::thread first(maker, 0);
    std::thread second(maker, 1);
    ::Sleep(1);
    ::SetEvent(go);
    ::WaitForSingleObject(tried, INFINITE);
    ::WaitForSingleObject(tried, INFINITE);
    ::SetEvent(done);
    first.join();
    second.join();
    ::CloseHandle(go);
    ::CloseHandle(tried);
    ::CloseHandle(done);
    const int made = (results[0] == S_OK) + (results[1] == S_OK);
    ASSERT_EQ(made, 1) << "trial " << trial << ": " << std::hex << results[0] << " "
                       << results[1];
    EXPECT_TRUE(results[0] == RPC_E_WRONG_THREAD || results[1] == RPC_E_WRONG_THREAD);
  }
}

TEST(ComInterface, TheObjectsBelongToTheThreadThatMadeTheFirst) {
  const Obj object = NewInterface();
  ASSERT_TRUE(object);
  HRESULT elsewhere = S_OK;
  std::thread other([&] {
    ::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    HRESULT hr = S_OK;
    { const Obj made = Obj::Create(L"kdZentavo.kdZVTermin", &hr); }
    elsewhere = hr;
    ::CoUninitialize();
  });
  other.join();
  EXPECT_EQ(elsewhere, RPC_E_WRONG_THREAD);
}

}  // namespace
}  // namespace kdzv::host
