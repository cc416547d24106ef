#include "com/collection_objects.h"

#include <new>
#include <utility>

#include "com/record_objects.h"

namespace kdzv::com {

void GiveElement(const win32::ComPtr<IDispatch>& element, VARIANT& item) {
  ::VariantInit(&item);
  V_VT(&item) = VT_DISPATCH;
  element.CopyTo(&V_DISPATCH(&item));
}

namespace {

// An enumerator over the automation objects of `collection`'s elements.
template <class ElementObject, class Collection>
HRESULT EnumerateElements(const Collection& collection, IUnknown** enumerator) noexcept {
  if (enumerator == nullptr) return E_POINTER;
  *enumerator = nullptr;
  ElementEnumerator::Elements elements;
  try {
    elements.reserve(static_cast<size_t>(collection.Count()));
    for (const auto& element : collection) {
      typename ElementObject::Interface* object = nullptr;
      const HRESULT hr = ElementObject::Wrap(element, &object);
      if (FAILED(hr)) return hr;
      // Room was reserved: adding cannot fail.
      elements.push_back(win32::ComPtr<IDispatch>::Adopt(object));
    }
  } catch (...) {
    return E_OUTOFMEMORY;
  }
  IEnumVARIANT* made = nullptr;
  const HRESULT hr = ElementEnumerator::Make(std::move(elements), &made);
  *enumerator = made;
  return hr;
}

}  // namespace

// --- kdZVBelegungsZeiten ---

HRESULT BelegungsZeitenObject::get_Item(VARIANT vntIndexKey, _kdZVBelegungsZeit** item) {
  if (item == nullptr) return E_POINTER;
  *item = nullptr;
  return GuardedCollection(kModule, "Item", [&] {
    return BelegungsZeitObject::Wrap(core_->Item(IndexOrKeyOf(vntIndexKey)), item);
  });
}

HRESULT BelegungsZeitenObject::Add(LONG Dauer, DATE StartZeit, VARIANT sKey,
                                   _kdZVBelegungsZeit** item) {
  if (item == nullptr) return E_POINTER;
  *item = nullptr;
  return GuardedCollection(kModule, "Add", [&] {
    const std::optional<std::string> key = OptionalKeyOf(sKey);
    if (!key) return DISP_E_TYPEMISMATCH;
    return BelegungsZeitObject::Wrap(
        core_->Add(static_cast<int32_t>(Dauer), DateOf(StartZeit), *key), item);
  });
}

HRESULT BelegungsZeitenObject::get_Count(LONG* count) {
  if (count == nullptr) return E_POINTER;
  *count = core_->Count();
  return S_OK;
}

HRESULT BelegungsZeitenObject::Remove(VARIANT vntIndexKey) {
  return GuardedCollection(kModule, "Remove", [&] {
    core_->Remove(IndexOrKeyOf(vntIndexKey));
    return S_OK;
  });
}

HRESULT BelegungsZeitenObject::get_NewEnum(IUnknown** enumerator) {
  return GuardedCollection(kModule, "NewEnum", [&] {
    return EnumerateElements<BelegungsZeitObject>(*core_, enumerator);
  });
}

// --- kdZVBelegungen ---

HRESULT BelegungenObject::get_Item(VARIANT vntIndexKey, _kdZVBelegung** item) {
  if (item == nullptr) return E_POINTER;
  *item = nullptr;
  return GuardedCollection(kModule, "Item", [&] {
    return BelegungObject::Wrap(core_->Item(IndexOrKeyOf(vntIndexKey)), item);
  });
}

HRESULT BelegungenObject::Add(LONG MethodeID, LONG BehandlerID, DATE Datum, VARIANT sKey,
                              _kdZVBelegung** item) {
  if (item == nullptr) return E_POINTER;
  *item = nullptr;
  return GuardedCollection(kModule, "Add", [&] {
    const std::optional<std::string> key = OptionalKeyOf(sKey);
    if (!key) return DISP_E_TYPEMISMATCH;
    return BelegungObject::Wrap(core_->Add(static_cast<int32_t>(MethodeID),
                                           static_cast<int32_t>(BehandlerID), DateOf(Datum),
                                           *key),
                                item);
  });
}

HRESULT BelegungenObject::get_Count(LONG* count) {
  if (count == nullptr) return E_POINTER;
  *count = core_->Count();
  return S_OK;
}

HRESULT BelegungenObject::Remove(VARIANT vntIndexKey) {
  return GuardedCollection(kModule, "Remove", [&] {
    core_->Remove(IndexOrKeyOf(vntIndexKey));
    return S_OK;
  });
}

HRESULT BelegungenObject::get_NewEnum(IUnknown** enumerator) {
  return GuardedCollection(kModule, "NewEnum", [&] {
    return EnumerateElements<BelegungObject>(*core_, enumerator);
  });
}

}  // namespace kdzv::com
