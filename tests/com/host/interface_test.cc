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
