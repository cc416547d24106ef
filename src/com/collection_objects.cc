#include "com/collection_objects.h"

#include <new>
#include <utility>

#include "com/record_objects.h"

namespace kdzv::com {

ElementEnumerator::ElementEnumerator(std::vector<IDispatch*> elements)
    : elements_(std::move(elements)) {
  ObjectCreated();
}

ElementEnumerator::~ElementEnumerator() {
  for (IDispatch* element : elements_) element->Release();
  ObjectDestroyed();
}

HRESULT ElementEnumerator::QueryInterface(REFIID riid, void** out) {
  if (out == nullptr) return E_POINTER;
  *out = nullptr;
  if (riid != IID_IUnknown && riid != IID_IEnumVARIANT) return E_NOINTERFACE;
  *out = static_cast<IEnumVARIANT*>(this);
  AddRef();
  return S_OK;
}

ULONG ElementEnumerator::AddRef() { return static_cast<ULONG>(::InterlockedIncrement(&references_)); }

ULONG ElementEnumerator::Release() {
  const LONG left = ::InterlockedDecrement(&references_);
  if (left == 0) delete this;
  return static_cast<ULONG>(left);
}

HRESULT ElementEnumerator::Next(ULONG count, VARIANT* items, ULONG* fetched) {
  if (items == nullptr) return E_POINTER;
  if (fetched == nullptr && count > 1) return E_INVALIDARG;
  ULONG given = 0;
  while (given < count && next_ < elements_.size()) {
    ::VariantInit(&items[given]);
    V_VT(&items[given]) = VT_DISPATCH;
    V_DISPATCH(&items[given]) = elements_[next_];
    elements_[next_]->AddRef();
    ++given;
    ++next_;
  }
  if (fetched != nullptr) *fetched = given;
  return given == count ? S_OK : S_FALSE;
}

HRESULT ElementEnumerator::Skip(ULONG count) {
  const size_t left = elements_.size() - next_;
  next_ += count < left ? count : left;
  return count <= left ? S_OK : S_FALSE;
}

HRESULT ElementEnumerator::Reset() {
  next_ = 0;
  return S_OK;
}

HRESULT ElementEnumerator::Clone(IEnumVARIANT** copy) {
  if (copy == nullptr) return E_POINTER;
  *copy = nullptr;
  try {
    for (IDispatch* element : elements_) element->AddRef();
    auto* made = new (std::nothrow) ElementEnumerator(elements_);
    if (made == nullptr) {
      for (IDispatch* element : elements_) element->Release();
      return E_OUTOFMEMORY;
    }
    made->next_ = next_;
    *copy = made;
    return S_OK;
  } catch (...) {
    return E_OUTOFMEMORY;
  }
}

namespace {

// An enumerator over the automation objects of `collection`'s elements.
template <class ElementObject, class Collection>
HRESULT EnumerateElements(const Collection& collection, IUnknown** enumerator) {
  if (enumerator == nullptr) return E_POINTER;
  *enumerator = nullptr;
  std::vector<IDispatch*> elements;
  elements.reserve(static_cast<size_t>(collection.Count()));
  HRESULT hr = S_OK;
  for (const auto& element : collection) {
    typename ElementObject::Interface* object = nullptr;
    hr = ElementObject::Wrap(element, &object);
    if (FAILED(hr)) break;
    elements.push_back(object);
  }
  if (SUCCEEDED(hr)) {
    auto* made = new (std::nothrow) ElementEnumerator(std::move(elements));
    if (made != nullptr) {
      *enumerator = made;
      return S_OK;
    }
    hr = E_OUTOFMEMORY;
  }
  for (IDispatch* element : elements) element->Release();
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
