// A copy of the library that the host loads itself (LoadLibrary) and whose
// class objects it asks directly, as COM would after reading the registry:
// no registration of that file is needed, only the ProgIDs' CLSIDs, which
// are the same for every build of the library.
#ifndef KDZV_TESTS_COM_HOST_LIBRARY_COPY_H_
#define KDZV_TESTS_COM_HOST_LIBRARY_COPY_H_

#include <windows.h>

#include <string>

#include "automation_client.h"

namespace kdzv::host {

class LibraryCopy {
 public:
  explicit LibraryCopy(const std::wstring& path);
  ~LibraryCopy();
  LibraryCopy(const LibraryCopy&) = delete;
  LibraryCopy& operator=(const LibraryCopy&) = delete;

  bool loaded() const { return module_ != nullptr; }
  HMODULE module() const { return module_; }

  // A new object of the class `prog_id` made by the library's class object;
  // empty on failure, with the HRESULT in `hr` when given.
  Obj Create(const wchar_t* prog_id, HRESULT* hr = nullptr) const;

  // The library's answer to DllCanUnloadNow, which COM asks before it
  // unloads one: S_OK when nothing of it is alive.
  HRESULT CanUnloadNow() const;

 private:
  HMODULE module_ = nullptr;
};

}  // namespace kdzv::host

#endif  // KDZV_TESTS_COM_HOST_LIBRARY_COPY_H_
