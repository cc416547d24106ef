#include "com/interface_object.h"

#include <olectl.h>

#include <new>
#include <string>
#include <utility>

#include "com/automation_values.h"
#include "com/collection_objects.h"
#include "com/record_objects.h"
#include "com/settings_object.h"
#include "com/snapshot_enumerator.h"
#include "exchange/log_writer.h"
#include "interface/error_report.h"
#include "platform/platform.h"
#include "platform/win32/com_ptr.h"
#include "platform/win32/com_values.h"
#include "platform/win32/wide_text.h"
#include "syncwindow/window_ports.h"

namespace kdzv::com {
namespace {

constexpr std::string_view kModule = kInterfaceModuleName;

// Holds one reference for the length of a call: a host may let go of the
// object inside an event handler while the call still runs.
class CallHold {
 public:
  explicit CallHold(IUnknown* object) : held_(win32::ComPtr<IUnknown>::Retain(object)) {}

 private:
  win32::ComPtr<IUnknown> held_;
};

// The one connection point of the object, as IEnumConnectionPoints hands it
// out.
void GivePoint(const win32::ComPtr<IConnectionPoint>& point, IConnectionPoint*& item) {
  point.CopyTo(&item);
}
using PointEnumerator = SnapshotEnumerator<IEnumConnectionPoints, IConnectionPoint*,
                                           win32::ComPtr<IConnectionPoint>, GivePoint>;

// The window handle of `mOwner`: a window object answers its hWnd
// property; a number is taken as the handle itself; a missing argument,
// Nothing or an object without hWnd is no owner.
intptr_t OwnerWindowOf(const VARIANT& owner) {
  VARIANT plain;
  ::VariantInit(&plain);
  if (IsMissing(owner) || FAILED(::VariantCopyInd(&plain, const_cast<VARIANT*>(&owner)))) return 0;
  intptr_t handle = 0;
  if (V_VT(&plain) == VT_DISPATCH && V_DISPATCH(&plain) != nullptr) {
    IDispatch* window = V_DISPATCH(&plain);
    OLECHAR name[] = L"hWnd";
    LPOLESTR names[] = {name};
    DISPID id = DISPID_UNKNOWN;
    if (SUCCEEDED(window->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &id))) {
      DISPPARAMS none = {nullptr, nullptr, 0, 0};
      VARIANT value;
      ::VariantInit(&value);
      if (SUCCEEDED(window->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_PROPERTYGET,
                                   &none, &value, nullptr, nullptr)) &&
          SUCCEEDED(::VariantChangeType(&value, &value, 0, VT_I8))) {
        handle = static_cast<intptr_t>(V_I8(&value));
      }
      ::VariantClear(&value);
    }
  } else if (V_VT(&plain) != VT_EMPTY && V_VT(&plain) != VT_NULL &&
             V_VT(&plain) != VT_UNKNOWN && V_VT(&plain) != VT_DISPATCH &&
             SUCCEEDED(::VariantChangeType(&plain, &plain, 0, VT_I8))) {
    handle = static_cast<intptr_t>(V_I8(&plain));
  }
  ::VariantClear(&plain);
  // Only a window that exists can own ours.
  if (handle != 0 && !::IsWindow(reinterpret_cast<HWND>(handle))) handle = 0;
  return handle;
}

// Writes `text` into the optional by-reference argument `sErr`, whatever
// the caller passed there (a text by reference, a variant by reference, or
// a variant of its own).
void PutOptionalText(VARIANT* target, const std::string& text) {
  if (target == nullptr || IsMissing(*target)) return;
  BSTR value = nullptr;
  if (FAILED(PutText(text, &value))) return;
  if (V_VT(target) == (VT_BYREF | VT_BSTR) && V_BSTRREF(target) != nullptr) {
    ::SysFreeString(*V_BSTRREF(target));
    *V_BSTRREF(target) = value;
  } else if (V_VT(target) == (VT_BYREF | VT_VARIANT) && V_VARIANTREF(target) != nullptr) {
    ::VariantClear(V_VARIANTREF(target));
    V_VT(V_VARIANTREF(target)) = VT_BSTR;
    V_BSTR(V_VARIANTREF(target)) = value;
  } else if ((V_VT(target) & VT_BYREF) == 0) {
    ::VariantClear(target);
    V_VT(target) = VT_BSTR;
    V_BSTR(target) = value;
  } else {
    ::SysFreeString(value);  // a reference to something that cannot hold text
  }
}

// The exception a sink's Invoke filled in; its texts are freed with it.
class SinkException {
 public:
  SinkException() = default;
  ~SinkException() {
    ::SysFreeString(value.bstrDescription);
    ::SysFreeString(value.bstrSource);
    ::SysFreeString(value.bstrHelpFile);
  }
  SinkException(const SinkException&) = delete;
  SinkException& operator=(const SinkException&) = delete;
  EXCEPINFO value = {};
};

// The report of a sink that failed: the number and text of its exception
// when it gave one, the failure code otherwise.
void ReportFailedSink(const char* event, size_t position, HRESULT hr, SinkException& failure) {
  EXCEPINFO& exception = failure.value;
  if (exception.pfnDeferredFillIn != nullptr) exception.pfnDeferredFillIn(&exception);
  ErrorInfo error;
  error.number = exception.scode != 0 ? exception.scode
                 : exception.wCode != 0 ? exception.wCode
                                        : hr;
  if (HRESULT_FACILITY(error.number) == FACILITY_CONTROL) error.number = HRESULT_CODE(error.number);
  error.description = exception.bstrDescription != nullptr ? TextOf(exception.bstrDescription)
                                                           : "Automation error";
  ReportError(error, kModule, event, "Sink=" + std::to_string(position));
}

}  // namespace

InterfaceObject::InterfaceObject() : events_(*this, DIID___kdZVInterface) {}

InterfaceObject* InterfaceObject::Create(HRESULT& hr) {
  SyncWindowPlatform* window = HeadlessWindowPlatform();
  MessagePump* pump = HeadlessMessagePump();
  if (window == nullptr || pump == nullptr) {
    hr = E_FAIL;
    return nullptr;
  }
  // Held until it is handed over: a failure below lets go of it.
  win32::ComPtr<InterfaceObject> object =
      win32::ComPtr<InterfaceObject>::Adopt(new (std::nothrow) InterfaceObject());
  if (!object) {
    hr = E_OUTOFMEMORY;
    return nullptr;
  }
  try {
    SystemPorts& system = System();
    const InterfacePorts ports{system.file_system, system.clock,       system.time_zone,
                               system.profile_file, system.registry,   system.user_interface,
                               system.xml_parser,  *window,            *pump};
    object->core_ = std::make_unique<kdZVInterface>(ports, *object.get());
    object->core_->SetSettingsDialog(SettingsDialogs());
    object->core_->SetFolderChanges(HeadlessFolderChanges());
  } catch (...) {
    hr = E_OUTOFMEMORY;
    return nullptr;
  }
  hr = S_OK;
  return object.Detach();
}

InterfaceObject::~InterfaceObject() {
  events_.DisconnectAll();
  try {
    core_.reset();
  } catch (...) {
  }
}

void* InterfaceObject::QueryOwn(REFIID riid) {
  if (riid == IID_IConnectionPointContainer) return static_cast<IConnectionPointContainer*>(this);
  if (riid == IID_IProvideClassInfo || riid == IID_IProvideClassInfo2) {
    return static_cast<IProvideClassInfo2*>(this);
  }
  return AutomationObject::QueryOwn(riid);
}

// --- _kdZVInterface ---

HRESULT InterfaceObject::CheckLogAccess(BSTR strLog, BSTR* sErr, VARIANT_BOOL* ok) {
  if (ok == nullptr) return E_POINTER;
  *ok = VARIANT_FALSE;
  CallHold hold(static_cast<_kdZVInterface*>(this));
  return Guarded(kModule, "CheckLogAccess", [&] {
    std::string error;
    *ok = BoolOf(core_->CheckLogAccess(TextOf(strLog), error));
    if (sErr != nullptr) {
      BSTR text = nullptr;
      const HRESULT hr = PutText(error, &text);
      if (FAILED(hr)) return hr;
      ::SysFreeString(*sErr);
      *sErr = text;
    }
    return S_OK;
  });
}

HRESULT InterfaceObject::ShowSettings(VARIANT mOwner, VARIANT bServiceSeitigerSync) {
  CallHold hold(static_cast<_kdZVInterface*>(this));
  bool service_side = false;
  if (!IsMissing(bServiceSeitigerSync)) {
    VARIANT flag;
    ::VariantInit(&flag);
    if (FAILED(::VariantChangeType(&flag, &bServiceSeitigerSync, 0, VT_BOOL))) {
      return DISP_E_TYPEMISMATCH;
    }
    service_side = V_BOOL(&flag) != VARIANT_FALSE;
  }
  return Guarded(kModule, "ShowSettings", [&] {
    core_->ShowSettings(OwnerWindowOf(mOwner), service_side);
    return S_OK;
  });
}

HRESULT InterfaceObject::ShowSettingsStatusMsg(BSTR sMsg, LONG nStyle) {
  CallHold hold(static_cast<_kdZVInterface*>(this));
  return Guarded(kModule, "ShowSettingsStatusMsg", [&] {
    core_->ShowSettingsStatusMsg(TextOf(sMsg), static_cast<int32_t>(nStyle));
    return S_OK;
  });
}

HRESULT InterfaceObject::get_Settings(_clZVSettings** settings) {
  if (settings == nullptr) return E_POINTER;
  *settings = nullptr;
  CallHold hold(static_cast<_kdZVInterface*>(this));
  return Guarded(kModule, "Settings", [&] { return SettingsObject::Wrap(core_->Settings(), settings); });
}

HRESULT InterfaceObject::putref_Settings(_clZVSettings* settings) {
  CallHold hold(static_cast<_kdZVInterface*>(this));
  bool ours = false;
  std::shared_ptr<clZVSettings> core = SettingsObject::Unwrap(settings, ours);
  if (!ours) return DISP_E_TYPEMISMATCH;
  return Guarded(kModule, "Settings", [&] {
    core_->SetSettings(std::move(core));
    return S_OK;
  });
}

HRESULT InterfaceObject::StartSync(VARIANT mOwner, VARIANT* sErr, ::enmZVRetValues* result) {
  if (result == nullptr) return E_POINTER;
  *result = ::ZV_Error_General;
  CallHold hold(static_cast<_kdZVInterface*>(this));
  return Guarded(kModule, "StartSync", [&] {
    std::string error;
    *result = static_cast<::enmZVRetValues>(core_->StartSync(OwnerWindowOf(mOwner), error));
    PutOptionalText(sErr, error);
    return S_OK;
  });
}

HRESULT InterfaceObject::CreateKdZVTermin(_kdZVTermin** termin) {
  if (termin == nullptr) return E_POINTER;
  *termin = nullptr;
  return Guarded(kModule, "CreateKdZVTermin",
                 [&] { return TerminObject::Wrap(core_->CreateKdZVTermin(), termin); });
}

HRESULT InterfaceObject::TestDownFile(BSTR strFile) {
  CallHold hold(static_cast<_kdZVInterface*>(this));
  return Guarded(kModule, "TestDownFile", [&] {
    core_->TestDownFile(TextOf(strFile));
    return S_OK;
  });
}

HRESULT InterfaceObject::ConvertLocalToZentavoDateTime(DATE dLocalDate, BSTR* text) {
  if (text == nullptr) return E_POINTER;
  *text = nullptr;
  return Guarded(kModule, "ConvertLocalToZentavoDateTime", [&] {
    return PutText(core_->ConvertLocalToZentavoDateTime(DateOf(dLocalDate)), text);
  });
}

HRESULT InterfaceObject::ConvertZentavoToLocalDateTime(BSTR strDTString, BSTR* text) {
  if (text == nullptr) return E_POINTER;
  *text = nullptr;
  return Guarded(kModule, "ConvertZentavoToLocalDateTime", [&] {
    const DateTime local = core_->ConvertZentavoToLocalDateTime(TextOf(strDTString));
    // As the automation runtime shows a date to the user: midnight gives the
    // date alone, the zero date the time alone.
    return ::VarBstrFromDate(DateOf(local), LOCALE_USER_DEFAULT, 0, text);
  });
}

HRESULT InterfaceObject::TestFireOpeningTimes(VARIANT* result) {
  if (result == nullptr) return E_POINTER;
  ::VariantInit(result);
  CallHold hold(static_cast<_kdZVInterface*>(this));
  return Guarded(kModule, "TestFireOpeningTimes", [&] {
    const int32_t answer = core_->TestFireOpeningTimes();
    V_VT(result) = VT_I4;
    V_I4(result) = answer;
    return S_OK;
  });
}

// --- IConnectionPointContainer ---

HRESULT InterfaceObject::EnumConnectionPoints(IEnumConnectionPoints** out) {
  if (out == nullptr) return E_POINTER;
  *out = nullptr;
  PointEnumerator::Elements points;
  try {
    points.push_back(win32::ComPtr<IConnectionPoint>::Retain(&events_));
  } catch (...) {
    return E_OUTOFMEMORY;
  }
  return PointEnumerator::Make(std::move(points), out);
}

HRESULT InterfaceObject::FindConnectionPoint(REFIID riid, IConnectionPoint** out) {
  if (out == nullptr) return E_POINTER;
  *out = nullptr;
  if (riid != DIID___kdZVInterface) return CONNECT_E_NOCONNECTION;
  win32::ComPtr<IConnectionPoint>::Retain(&events_).CopyTo(out);
  return S_OK;
}

// --- IProvideClassInfo2 ---

HRESULT InterfaceObject::GetClassInfo(ITypeInfo** info) {
  if (info == nullptr) return E_POINTER;
  *info = nullptr;
  HRESULT hr = S_OK;
  ITypeInfo* own = TypeInfoOf(CLSID_kdZVInterface, &hr);
  if (own == nullptr) return hr;
  win32::ComPtr<ITypeInfo>::Retain(own).CopyTo(info);
  return S_OK;
}

HRESULT InterfaceObject::GetGUID(DWORD kind, GUID* guid) {
  if (guid == nullptr) return E_POINTER;
  if (kind != GUIDKIND_DEFAULT_SOURCE_DISP_IID) {
    *guid = GUID_NULL;
    return E_INVALIDARG;
  }
  *guid = DIID___kdZVInterface;
  return S_OK;
}

// --- Events ---

template <class AfterSink>
void InterfaceObject::Raise(DISPID id, const char* name, VARIANTARG* args, UINT count,
                            AfterSink&& after_sink) {
  CallHold hold(static_cast<_kdZVInterface*>(this));
  const EventPoint::Sinks sinks = events_.SinksNow();
  size_t position = 0;
  for (const win32::ComPtr<IDispatch>& sink : sinks) {
    ++position;
    DISPPARAMS params = {args, nullptr, count, 0};
    SinkException exception;
    UINT bad_argument = 0;
    const HRESULT hr = sink->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &params,
                                    nullptr, &exception.value, &bad_argument);
    // A sink that failed is reported; the next one is still called.
    if (FAILED(hr)) ReportFailedSink(name, position, hr, exception);
    after_sink(position);
  }
}

template <class Wrapper>
void InterfaceObject::RaiseRecordEvent(DISPID id, const char* name,
                                       std::shared_ptr<typename Wrapper::CoreType>& record,
                                       int32_t* retVal) {
  typename Wrapper::Interface* object = nullptr;
  const HRESULT wrapped = Wrapper::Wrap(record, &object);
  if (FAILED(wrapped)) RaiseStandard(err::kOutOfMemory);
  // `taken` holds the record in force with a reference of its own. The
  // by-reference argument holds another one, on whatever object it holds:
  // a sink that puts another object there releases the one before (which
  // `taken` keeps alive) and gives the argument a reference on the new one.
  win32::ComPtr<IDispatch> taken = win32::ComPtr<IDispatch>::Adopt(object);
  win32::ComPtr<IDispatch> argument;
  LONG answer = retVal != nullptr ? *retVal : 0;
  VARIANTARG args[2];
  UINT count = 0;
  if (retVal != nullptr) {
    ::VariantInit(&args[count]);
    V_VT(&args[count]) = VT_BYREF | VT_I4;
    V_I4REF(&args[count]) = &answer;
    ++count;
  }
  // The argument's reference is the one in `argument`; the sinks change it
  // in place through the address handed to them.
  IDispatch** slot = argument.Put();
  taken.CopyTo(slot);
  ::VariantInit(&args[count]);
  V_VT(&args[count]) = VT_BYREF | VT_DISPATCH;
  V_DISPATCHREF(&args[count]) = slot;
  ++count;
  Raise(id, name, args, count, [&](size_t position) {
    if (*slot == taken.get()) return;
    bool ours = false;
    std::shared_ptr<typename Wrapper::CoreType> other = Wrapper::Unwrap(*slot, ours);
    if (ours) {
      record = std::move(other);
      taken = win32::ComPtr<IDispatch>::Retain(*slot);
      return;
    }
    // Only records of this library of the event's own class can be handed
    // back: the one before stays, and the next sink sees it again.
    ErrorInfo error{err::kTypeMismatch, StandardDescription(err::kTypeMismatch), {}};
    ReportError(error, kModule, name, "Sink=" + std::to_string(position));
    taken.CopyTo(argument.Put());
  });
  if (retVal != nullptr) *retVal = static_cast<int32_t>(answer);
}

void InterfaceObject::RaiseTextEvent(DISPID id, const char* name, std::string* const* texts,
                                     UINT count) {
  // Arguments go in reverse order: the last one first. Each holds its text
  // by reference; a sink may free it and put another one there.
  std::vector<win32::UniqueBstr> values(count);
  std::vector<VARIANTARG> args(count);
  for (UINT i = 0; i < count; ++i) {
    if (FAILED(PutText(*texts[i], values[i].Put()))) RaiseStandard(err::kOutOfMemory);
    VARIANTARG& arg = args[count - 1 - i];
    ::VariantInit(&arg);
    V_VT(&arg) = VT_BYREF | VT_BSTR;
    V_BSTRREF(&arg) = values[i].Address();
  }
  Raise(id, name, args.data(), count, [](size_t) {});
  for (UINT i = 0; i < count; ++i) *texts[i] = TextOf(values[i].get());
}

void InterfaceObject::OnTermin(std::shared_ptr<kdZVTermin>& mZVTermin, int32_t& retVal) {
  RaiseRecordEvent<TerminObject>(1, "OnTermin", mZVTermin, &retVal);
}

void InterfaceObject::OnSyncLog(std::string& strInfo) {
  std::string* texts[] = {&strInfo};
  RaiseTextEvent(2, "OnSyncLog", texts, 1);
}

void InterfaceObject::OnCalendar(std::shared_ptr<kdZVCalendar>& mZVCalendar, int32_t& retVal) {
  RaiseRecordEvent<CalendarObject>(3, "OnCalendar", mZVCalendar, &retVal);
}

void InterfaceObject::OnAttribute(std::shared_ptr<kdZVCalendar>& mZVCalendar, int32_t& retVal) {
  RaiseRecordEvent<CalendarObject>(4, "OnAttribute", mZVCalendar, &retVal);
}

void InterfaceObject::OnQueryOpeningTime(std::shared_ptr<kdZVBelegungen>& retZVBelegungen,
                                         int32_t& retVal) {
  RaiseRecordEvent<BelegungenObject>(5, "OnQueryOpeningTime", retZVBelegungen, &retVal);
}

void InterfaceObject::EinstellungenAmServiceValidieren(std::string& s01UploadDir,
                                                       std::string& s02DownloadDir,
                                                       std::string& s03AblageDir,
                                                       std::string& sErrMsg) {
  std::string* texts[] = {&s01UploadDir, &s02DownloadDir, &s03AblageDir, &sErrMsg};
  RaiseTextEvent(6, "EinstellungenAmServiceValidieren", texts, 4);
}

void InterfaceObject::ZentavoSyncTesten(std::shared_ptr<clZVSettings>& sSettings) {
  RaiseRecordEvent<SettingsObject>(7, "ZentavoSyncTesten", sSettings, nullptr);
}

}  // namespace kdzv::com
