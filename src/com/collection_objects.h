// The automation objects of the two collections, kdZVBelegungsZeiten and
// kdZVBelegungen, over the core's keyed collection: Item (the default
// member; a number is a position, a text a key), Add with an optional key,
// Count, Remove, and a hidden NewEnum for For Each. The keyed list's errors
// 5, 9 and 457 reach the caller as automation exceptions.
#ifndef KDZV_COM_COLLECTION_OBJECTS_H_
#define KDZV_COM_COLLECTION_OBJECTS_H_

#include <vector>

#include "com/automation_values.h"
#include "com/core_wrapper.h"
#include "com/kdZentavo_h.h"
#include "com/snapshot_enumerator.h"
#include "interface/records.h"
#include "platform/win32/com_ptr.h"

namespace kdzv::com {

// Walks a snapshot of a collection's elements, taken when NewEnum was
// called, as VT_DISPATCH variants.
void GiveElement(const win32::ComPtr<IDispatch>& element, VARIANT& item);
using ElementEnumerator =
    SnapshotEnumerator<IEnumVARIANT, VARIANT, win32::ComPtr<IDispatch>, GiveElement>;

class BelegungsZeitenObject
    : public CoreWrapper<BelegungsZeitenObject, _kdZVBelegungsZeiten, kdZVBelegungsZeiten> {
 public:
  static constexpr const char* kModule = "kdZVBelegungsZeiten";
  explicit BelegungsZeitenObject(std::shared_ptr<kdZVBelegungsZeiten> core)
      : CoreWrapper(std::move(core)) {}

  HRESULT STDMETHODCALLTYPE get_Item(VARIANT vntIndexKey, _kdZVBelegungsZeit** item) override;
  HRESULT STDMETHODCALLTYPE Add(LONG Dauer, DATE StartZeit, VARIANT sKey,
                                _kdZVBelegungsZeit** item) override;
  HRESULT STDMETHODCALLTYPE get_Count(LONG* count) override;
  HRESULT STDMETHODCALLTYPE Remove(VARIANT vntIndexKey) override;
  HRESULT STDMETHODCALLTYPE get_NewEnum(IUnknown** enumerator) override;
};

class BelegungenObject
    : public CoreWrapper<BelegungenObject, _kdZVBelegungen, kdZVBelegungen> {
 public:
  static constexpr const char* kModule = "kdZVBelegungen";
  explicit BelegungenObject(std::shared_ptr<kdZVBelegungen> core)
      : CoreWrapper(std::move(core)) {}

  HRESULT STDMETHODCALLTYPE get_Item(VARIANT vntIndexKey, _kdZVBelegung** item) override;
  HRESULT STDMETHODCALLTYPE Add(LONG MethodeID, LONG BehandlerID, DATE Datum, VARIANT sKey,
                                _kdZVBelegung** item) override;
  HRESULT STDMETHODCALLTYPE get_Count(LONG* count) override;
  HRESULT STDMETHODCALLTYPE Remove(VARIANT vntIndexKey) override;
  HRESULT STDMETHODCALLTYPE get_NewEnum(IUnknown** enumerator) override;
};

}  // namespace kdzv::com

#endif  // KDZV_COM_COLLECTION_OBJECTS_H_
