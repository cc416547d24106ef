#include "library_copy.h"

#include <objbase.h>

#include "host_environment.h"

namespace kdzv::host {

LibraryCopy::LibraryCopy(const std::wstring& path, bool make_object) {
  module_ = ::LoadLibraryW(path.c_str());
  if (module_ != nullptr && make_object) object_ = NewInterface();
}

LibraryCopy::~LibraryCopy() {
  object_ = Obj();
  if (module_ != nullptr) ::FreeLibrary(module_);
}

Obj LibraryCopy::NewInterface() const {
  if (module_ == nullptr) return Obj();
  using GetClassObject = HRESULT(STDAPICALLTYPE*)(REFCLSID, REFIID, void**);
  auto get = reinterpret_cast<GetClassObject>(
      reinterpret_cast<void*>(::GetProcAddress(module_, "DllGetClassObject")));
  CLSID clsid;
  if (get == nullptr || FAILED(::CLSIDFromProgID(L"kdZentavo.kdZVInterface", &clsid))) {
    return Obj();
  }
  IClassFactory* factory = nullptr;
  if (FAILED(get(clsid, IID_IClassFactory, reinterpret_cast<void**>(&factory)))) return Obj();
  IDispatch* made = nullptr;
  factory->CreateInstance(nullptr, IID_IDispatch, reinterpret_cast<void**>(&made));
  factory->Release();
  Obj object(made);
  if (made != nullptr) made->Release();
  return object;
}

HRESULT LibraryCopy::CanUnloadNow() const {
  using CanUnload = HRESULT(STDAPICALLTYPE*)();
  auto can_unload = reinterpret_cast<CanUnload>(
      reinterpret_cast<void*>(::GetProcAddress(module_, "DllCanUnloadNow")));
  return can_unload == nullptr ? E_FAIL : can_unload();
}

std::wstring CopyLibraryInto(const std::wstring& folder) {
  RemoveTree(folder);
  ::CreateDirectoryW(WindowsPath(KDZV_HOST_WORK_DIR).c_str(), nullptr);
  if (!::CreateDirectoryW(folder.c_str(), nullptr)) return {};
  const std::wstring library = folder + L"\\kdZentavo.dll";
  if (!::CopyFileW(LibraryPath().c_str(), library.c_str(), TRUE)) return {};
  return library;
}

void RemoveTree(const std::wstring& folder) {
  WIN32_FIND_DATAW found;
  HANDLE search = ::FindFirstFileW((folder + L"\\*").c_str(), &found);
  if (search != INVALID_HANDLE_VALUE) {
    do {
      const std::wstring name = found.cFileName;
      if (name == L"." || name == L"..") continue;
      const std::wstring path = folder + L"\\" + name;
      if ((found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
        RemoveTree(path);
      } else {
        ::DeleteFileW(path.c_str());
      }
    } while (::FindNextFileW(search, &found));
    ::FindClose(search);
  }
  ::RemoveDirectoryW(folder.c_str());
}

}  // namespace kdzv::host
