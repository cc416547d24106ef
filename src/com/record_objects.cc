#include "com/record_objects.h"

#include "com/collection_objects.h"

namespace kdzv::com {

HRESULT BelegungObject::get_Zeiten(_kdZVBelegungsZeiten** value) {
  return BelegungsZeitenObject::Wrap(core_->Zeiten, value);
}

HRESULT BelegungObject::putref_Zeiten(_kdZVBelegungsZeiten* value) {
  bool ours = false;
  std::shared_ptr<kdZVBelegungsZeiten> zeiten = BelegungsZeitenObject::Unwrap(value, ours);
  if (!ours) return DISP_E_TYPEMISMATCH;
  core_->Zeiten = std::move(zeiten);
  return S_OK;
}

}  // namespace kdzv::com
