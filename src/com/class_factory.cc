#include "com/class_factory.h"

#include <memory>
#include <new>
#include <system_error>

#include "com/collection_objects.h"
#include "com/com_module.h"
#include "com/interface_object.h"
#include "com/kdZentavo_h.h"
#include "com/record_objects.h"
#include "com/settings_object.h"
#include "platform/platform.h"
#include "platform/win32/com_ptr.h"

namespace kdzv::com {
namespace {

// Hands interface `riid` of a freshly made object (holding one reference)
// to the caller and drops the maker's reference.
HRESULT Hand(IUnknown* made, REFIID riid, void** out) {
  const win32::ComPtr<IUnknown> held = win32::ComPtr<IUnknown>::Adopt(made);
  return held->QueryInterface(riid, out);
}

template <class Wrapper, class Core>
HRESULT CreateRecord(REFIID riid, void** out) {
  typename Wrapper::Interface* made = nullptr;
  HRESULT hr = E_OUTOFMEMORY;
  try {
    hr = Wrapper::Wrap(std::make_shared<Core>(), &made);
  } catch (...) {
    return E_OUTOFMEMORY;
  }
  if (FAILED(hr)) return hr;
  return Hand(made, riid, out);
}

HRESULT CreateSettings(REFIID riid, void** out) {
  _clZVSettings* made = nullptr;
  HRESULT hr = E_OUTOFMEMORY;
  try {
    // A new settings object reads the stored values.
    hr = SettingsObject::Wrap(std::make_shared<clZVSettings>(System().registry), &made);
  } catch (...) {
    return E_OUTOFMEMORY;
  }
  if (FAILED(hr)) return hr;
  return Hand(made, riid, out);
}

HRESULT CreateInterface(REFIID riid, void** out) {
  HRESULT hr = S_OK;
  InterfaceObject* made = InterfaceObject::Create(hr);
  if (made == nullptr) return hr;
  return Hand(static_cast<_kdZVInterface*>(made), riid, out);
}

struct Creatable {
  const CLSID* clsid;
  CreateFunction create;
};

const Creatable kCreatable[] = {
    {&CLSID_kdZVTermin, CreateRecord<TerminObject, kdZVTermin>},
    {&CLSID_kdZVCalendar, CreateRecord<CalendarObject, kdZVCalendar>},
    {&CLSID_kdZVBelegungsZeit, CreateRecord<BelegungsZeitObject, kdZVBelegungsZeit>},
    {&CLSID_kdZVBelegungsZeiten, CreateRecord<BelegungsZeitenObject, kdZVBelegungsZeiten>},
    {&CLSID_kdZVBelegung, CreateRecord<BelegungObject, kdZVBelegung>},
    {&CLSID_kdZVBelegungen, CreateRecord<BelegungenObject, kdZVBelegungen>},
    {&CLSID_clZVSettings, CreateSettings},
    {&CLSID_kdZVInterface, CreateInterface},
};

}  // namespace

HRESULT ClassFactory::QueryInterface(REFIID riid, void** out) {
  if (out == nullptr) return E_POINTER;
  *out = nullptr;
  if (riid != IID_IUnknown && riid != IID_IClassFactory) return E_NOINTERFACE;
  *out = static_cast<IClassFactory*>(this);
  AddRef();
  return S_OK;
}

// The class objects live as long as the library; only locks keep it loaded.
ULONG ClassFactory::AddRef() { return 2; }
ULONG ClassFactory::Release() { return 1; }

HRESULT ClassFactory::CreateInstance(IUnknown* outer, REFIID riid, void** out) {
  if (out == nullptr) return E_POINTER;
  *out = nullptr;
  if (outer != nullptr) return CLASS_E_NOAGGREGATION;
  const OwnerThreadEntry entry;
  if (FAILED(entry.result())) return entry.result();
  try {
    return create_(riid, out);
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  } catch (const std::system_error& error) {
    // A lock that cannot be made on first use (the threads library
    // allocates it then) is memory that ran out too.
    return error.code() == std::errc::not_enough_memory ? E_OUTOFMEMORY : E_UNEXPECTED;
  } catch (...) {
    return E_UNEXPECTED;
  }
}

HRESULT ClassFactory::LockServer(BOOL lock) {
  com::LockServer(lock != FALSE);
  return S_OK;
}

HRESULT GetClassObject(REFCLSID clsid, REFIID riid, void** out) {
  if (out == nullptr) return E_POINTER;
  *out = nullptr;
  static ClassFactory factories[] = {
      ClassFactory(kCreatable[0].create), ClassFactory(kCreatable[1].create),
      ClassFactory(kCreatable[2].create), ClassFactory(kCreatable[3].create),
      ClassFactory(kCreatable[4].create), ClassFactory(kCreatable[5].create),
      ClassFactory(kCreatable[6].create), ClassFactory(kCreatable[7].create)};
  static_assert(sizeof(factories) / sizeof(factories[0]) ==
                sizeof(kCreatable) / sizeof(kCreatable[0]));
  for (size_t i = 0; i < sizeof(kCreatable) / sizeof(kCreatable[0]); ++i) {
    if (*kCreatable[i].clsid == clsid) return factories[i].QueryInterface(riid, out);
  }
  return CLASS_E_CLASSNOTAVAILABLE;
}

}  // namespace kdzv::com
