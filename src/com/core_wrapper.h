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
#include "platform/win32/com_ptr.h"

namespace kdzv::com {

template <class Derived, class Itf, class Core>
class CoreWrapper : public AutomationObject<Itf> {
 public:
  using CoreType = Core;
  using Interface = Itf;

  // The automation object for `core` into *out (AddRef'd); null for a null
  // core (the host sees Nothing).
  static HRESULT Wrap(const std::shared_ptr<Core>& core, Itf** out) noexcept {
    if (out == nullptr) return E_POINTER;
    *out = nullptr;
    if (!core) return S_OK;
    auto& live = Live();
    const auto found = live.find(core.get());
    if (found != live.end()) {
      win32::ComPtr<Itf>::Retain(found->second).CopyTo(out);
      return S_OK;
    }
    win32::ComPtr<Itf> made = win32::ComPtr<Itf>::Adopt(new (std::nothrow) Derived(core));
    if (!made) return E_OUTOFMEMORY;
    *out = made.Detach();
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
  explicit CoreWrapper(std::shared_ptr<Core> core) noexcept : core_(std::move(core)) {
    try {
      Live().emplace(core_.get(), static_cast<Derived*>(this));
    } catch (...) {
      // Not found again while it lives: the next Wrap makes a second object
      // for the same core, which is harmless.
    }
  }
  ~CoreWrapper() override {
    auto& live = Live();
    const auto found = live.find(core_.get());
    if (found != live.end() && found->second == static_cast<Derived*>(this)) live.erase(found);
  }

  std::shared_ptr<Core> core_;

 private:
  static std::unordered_map<const Core*, Derived*>& Live() noexcept {
    // Never destroyed (objects may outlive the runtime's exit); made in
    // place, so that asking for it cannot fail.
    using Map = std::unordered_map<const Core*, Derived*>;
    alignas(Map) static unsigned char storage[sizeof(Map)];
    static Map* live = new (storage) Map;
    return *live;
  }
};

}  // namespace kdzv::com

#endif  // KDZV_COM_CORE_WRAPPER_H_
