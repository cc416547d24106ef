#include "com/type_library.h"

#include <map>
#include <new>
#include <string>

#include "com/com_module.h"
#include "platform/win32/com_ptr.h"

namespace kdzv::com {
namespace {

struct GuidLess {
  bool operator()(const GUID& a, const GUID& b) const { return ::memcmp(&a, &b, sizeof(GUID)) < 0; }
};

struct Cache {
  win32::ComPtr<ITypeLib> library;
  std::map<GUID, win32::ComPtr<ITypeInfo>, GuidLess> infos;
};

Cache& TheCache() noexcept {
  // Never destroyed (released explicitly, never under the loader's lock);
  // made in place, so that asking for it allocates nothing and cannot fail.
  alignas(Cache) static unsigned char storage[sizeof(Cache)];
  static Cache* cache = new (storage) Cache;
  return *cache;
}

}  // namespace

ITypeLib* OwnTypeLibrary(HRESULT* hr) noexcept {
  Cache& cache = TheCache();
  if (!cache.library) {
    try {
      std::wstring path(MAX_PATH, L'\0');
      for (;;) {
        const DWORD length = ::GetModuleFileNameW(ModuleHandle(), path.data(),
                                                  static_cast<DWORD>(path.size()));
        if (length == 0) {
          if (hr != nullptr) *hr = HRESULT_FROM_WIN32(::GetLastError());
          return nullptr;
        }
        if (length < path.size()) {
          path.resize(length);
          break;
        }
        path.resize(path.size() * 2);
      }
      const HRESULT loaded = ::LoadTypeLibEx(path.c_str(), REGKIND_NONE, cache.library.Put());
      if (FAILED(loaded)) {
        if (hr != nullptr) *hr = loaded;
        return nullptr;
      }
    } catch (...) {
      if (hr != nullptr) *hr = E_OUTOFMEMORY;
      return nullptr;
    }
  }
  if (hr != nullptr) *hr = S_OK;
  return cache.library.get();
}

ITypeInfo* TypeInfoOf(REFGUID guid, HRESULT* hr) noexcept {
  Cache& cache = TheCache();
  auto found = cache.infos.find(guid);
  if (found != cache.infos.end()) {
    if (hr != nullptr) *hr = S_OK;
    return found->second.get();
  }
  ITypeLib* library = OwnTypeLibrary(hr);
  if (library == nullptr) return nullptr;
  win32::ComPtr<ITypeInfo> info;
  const HRESULT got = library->GetTypeInfoOfGuid(guid, info.Put());
  if (hr != nullptr) *hr = got;
  if (FAILED(got)) return nullptr;
  ITypeInfo* raw = info.get();
  try {
    cache.infos.emplace(guid, std::move(info));
  } catch (...) {
    // Not kept: the next call asks the type library again.
    if (hr != nullptr) *hr = E_OUTOFMEMORY;
    return nullptr;
  }
  return raw;
}

void ReleaseTypeInformation() {
  Cache& cache = TheCache();
  cache.infos.clear();
  cache.library.reset();
}

}  // namespace kdzv::com
