// The enumerators of the library (IEnumVARIANT of a collection's For Each,
// IEnumConnections, IEnumConnectionPoints): each walks a snapshot taken
// when it was made, and every item it hands out carries a reference of its
// own. `Give` fills one item from one element of the snapshot.
#ifndef KDZV_COM_SNAPSHOT_ENUMERATOR_H_
#define KDZV_COM_SNAPSHOT_ENUMERATOR_H_

#include <windows.h>

#include <new>
#include <utility>
#include <vector>

#include "com/com_module.h"

namespace kdzv::com {

template <class Enum, class Item, class Element, void (*Give)(const Element&, Item&)>
class SnapshotEnumerator final : public Enum {
 public:
  using Elements = std::vector<Element>;

  // A new enumerator over `elements` into *out; E_OUTOFMEMORY when it
  // cannot be made (the elements then go with the call).
  static HRESULT Make(Elements elements, Enum** out) noexcept {
    auto* made = new (std::nothrow) SnapshotEnumerator(std::move(elements));
    if (made == nullptr) return E_OUTOFMEMORY;
    *out = made;
    return S_OK;
  }

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** out) override {
    if (out == nullptr) return E_POINTER;
    *out = nullptr;
    if (riid != IID_IUnknown && riid != __uuidof(Enum)) return E_NOINTERFACE;
    *out = static_cast<Enum*>(this);
    AddRef();
    return S_OK;
  }
  ULONG STDMETHODCALLTYPE AddRef() override {
    return static_cast<ULONG>(::InterlockedIncrement(&references_));
  }
  ULONG STDMETHODCALLTYPE Release() override {
    const LONG left = ::InterlockedDecrement(&references_);
    if (left == 0) delete this;
    return static_cast<ULONG>(left);
  }

  HRESULT STDMETHODCALLTYPE Next(ULONG count, Item* items, ULONG* fetched) override {
    if (items == nullptr) return E_POINTER;
    if (fetched == nullptr && count > 1) return E_INVALIDARG;
    ULONG given = 0;
    while (given < count && next_ < elements_.size()) {
      Give(elements_[next_], items[given]);
      ++given;
      ++next_;
    }
    if (fetched != nullptr) *fetched = given;
    return given == count ? S_OK : S_FALSE;
  }
  HRESULT STDMETHODCALLTYPE Skip(ULONG count) override {
    const size_t left = elements_.size() - next_;
    next_ += count < left ? count : left;
    return count <= left ? S_OK : S_FALSE;
  }
  HRESULT STDMETHODCALLTYPE Reset() override {
    next_ = 0;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE Clone(Enum** copy) override {
    if (copy == nullptr) return E_POINTER;
    *copy = nullptr;
    Elements elements;
    try {
      elements = elements_;  // each copy takes its own references
    } catch (...) {
      return E_OUTOFMEMORY;  // what was copied went with `elements`
    }
    auto* made = new (std::nothrow) SnapshotEnumerator(std::move(elements));
    if (made == nullptr) return E_OUTOFMEMORY;
    made->next_ = next_;
    *copy = made;
    return S_OK;
  }

 private:
  explicit SnapshotEnumerator(Elements elements) noexcept : elements_(std::move(elements)) {
    ObjectCreated();
  }
  ~SnapshotEnumerator() { ObjectDestroyed(); }
  SnapshotEnumerator(const SnapshotEnumerator&) = delete;
  SnapshotEnumerator& operator=(const SnapshotEnumerator&) = delete;

  LONG references_ = 1;
  Elements elements_;
  size_t next_ = 0;
};

}  // namespace kdzv::com

#endif  // KDZV_COM_SNAPSHOT_ENUMERATOR_H_
