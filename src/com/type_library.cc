#include "com/type_library.h"

#include <map>
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

Cache& TheCache() {
  static Cache* cache = new Cache;  // never destroyed: released explicitly
  return *cache;
}

}  // namespace

ITypeLib* OwnTypeLibrary(HRESULT* hr) {
  Cache& cache = TheCache();
  if (!cache.library) {
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
  }
  if (hr != nullptr) *hr = S_OK;
  return cache.library.get();
}

ITypeInfo* TypeInfoOf(REFGUID guid, HRESULT* hr) {
  Cache& cache = TheCache();
  auto found = cache.infos.find(guid);
  if (found != cache.infos.end()) return found->second.get();
  ITypeLib* library = OwnTypeLibrary(hr);
  if (library == nullptr) return nullptr;
  win32::ComPtr<ITypeInfo> info;
  const HRESULT got = library->GetTypeInfoOfGuid(guid, info.Put());
  if (hr != nullptr) *hr = got;
  if (FAILED(got)) return nullptr;
  ITypeInfo* raw = info.get();
  cache.infos.emplace(guid, std::move(info));
  return raw;
}

void ReleaseTypeInformation() {
  Cache& cache = TheCache();
  cache.infos.clear();
  cache.library.reset();
}

}  // namespace kdzv::com
