// A copy of the library that the host loads itself (LoadLibrary) and whose
// class objects it asks directly, as COM would after reading the registry:
// no registration of that file is needed, only the ProgIDs' CLSIDs, which
// are the same for every build of the library. A copy loaded from a folder
// of its own has its own process state (session number and log beside it,
// window classes, object count), so a test can see it start anew and ask it
// whether it may be unloaded.
#ifndef KDZV_TESTS_COM_HOST_LIBRARY_COPY_H_
#define KDZV_TESTS_COM_HOST_LIBRARY_COPY_H_

#include <windows.h>

#include <string>

#include "automation_client.h"

namespace kdzv::host {

class LibraryCopy {
 public:
  // Loads the library at `path`; with `make_object`, also makes an
  // interface object on this thread (object()).
  explicit LibraryCopy(const std::wstring& path, bool make_object = false);
  ~LibraryCopy();
  LibraryCopy(const LibraryCopy&) = delete;
  LibraryCopy& operator=(const LibraryCopy&) = delete;

  bool loaded() const { return module_ != nullptr; }
  HMODULE module() const { return module_; }
  const Obj& object() const { return object_; }

  // A new object of the class `prog_id` made by the library's class object,
  // on the calling thread (which must have entered COM); empty on failure,
  // with the HRESULT in `hr` when given.
  Obj Create(const wchar_t* prog_id, HRESULT* hr = nullptr) const;
  // A new interface object.
  Obj NewInterface() const { return Create(L"kdZentavo.kdZVInterface"); }

  // The library's answer to DllCanUnloadNow, which COM asks before it
  // unloads one: S_OK when nothing of it is alive.
  HRESULT CanUnloadNow() const;
  // Lets go of the object, as the host's last reference does.
  void Release() { object_ = Obj(); }

 private:
  HMODULE module_ = nullptr;
  Obj object_;
};

}  // namespace kdzv::host

#endif  // KDZV_TESTS_COM_HOST_LIBRARY_COPY_H_
