// An automation object that stands for one object of the core. While the
// host holds the automation object, asking again for the same core object
// (a property, a collection's Item, a record handed to an event) answers
// the very same automation object, so that `Is` compares as the host
// expects; once the host lets go, the next request makes a new one.
#ifndef KDZV_COM_CORE_WRAPPER_H_
#define KDZV_COM_CORE_WRAPPER_H_

#include <memory>
#include <new>
#include <unordered_map>
#include <utility>

#include "com/automation_object.h"

namespace kdzv::com {

template <class Derived, class Itf, class Core>
class CoreWrapper : public AutomationObject<Itf> {
 public:
  using CoreType = Core;
  using Interface = Itf;

  // The automation object for `core` into *out (AddRef'd); null for a null
  // core (the host sees Nothing).
  static HRESULT Wrap(const std::shared_ptr<Core>& core, Itf** out) {
    if (out == nullptr) return E_POINTER;
    *out = nullptr;
    if (!core) return S_OK;
    auto& live = Live();
    const auto found = live.find(core.get());
    if (found != live.end()) {
      found->second->AddRef();
      *out = found->second;
      return S_OK;
    }
    Derived* made = new (std::nothrow) Derived(core);
    if (made == nullptr) return E_OUTOFMEMORY;
    *out = made;
    return S_OK;
  }

  // The core object of one of our automation objects of this class; null
  // for Nothing. `ours` tells whether `unknown` was null or ours.
  static std::shared_ptr<Core> Unwrap(IUnknown* unknown, bool& ours) {
    ours = true;
    if (unknown == nullptr) return nullptr;
    Derived* object = OwnObject<Derived>(unknown);
    if (object == nullptr) {
      ours = false;
      return nullptr;
    }
    return object->core_;
  }

  const std::shared_ptr<Core>& core() const { return core_; }

 protected:
  explicit CoreWrapper(std::shared_ptr<Core> core) : core_(std::move(core)) {
    Live()[core_.get()] = static_cast<Derived*>(this);
  }
  ~CoreWrapper() override { Live().erase(core_.get()); }

  std::shared_ptr<Core> core_;

 private:
  static std::unordered_map<const Core*, Derived*>& Live() {
    static auto* live = new std::unordered_map<const Core*, Derived*>;
    return *live;
  }
};

}  // namespace kdzv::com

#endif  // KDZV_COM_CORE_WRAPPER_H_
