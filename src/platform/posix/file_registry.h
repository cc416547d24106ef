// The registry of Linux: the key tree of each root kept in INI files below a
// root folder.
//
// Key to file: the key path is split at "\"; the last part is the section,
// the parts before it name the file:
//   c1\c2\...\cN    ->  <root>/c1/c2/.../c(N-1).ini, section [cN]
//   c1              ->  <root>/.ini, section [c1]  (top-level keys; no part
//                       can be empty, so no other key maps to this name)
// e.g. HKCU "Software\HAL+VEX\Halvex\Zentavo" ->
//   <current user root>/Software/HAL+VEX/Halvex.ini, section [Zentavo].
// The sub-keys of cN are the sections of <...>/cN.ini and everything in the
// folder <...>/cN/. A key exists when its section exists or when it has
// sub-keys (as on Windows, the parents of a created key exist).
//
// Names: key parts are matched without regard to case, also against the
// names of existing folders and files (a missing one is created with the
// spelling given). A part that is empty, ".", "..", begins or ends with a
// blank or tab, or contains "/", NUL, CR or LF is refused with 123.
//
// Values: one line per value, `name="value"`, where value and name are
// escaped with %XX (two upper-case hex digits):
//   value: "%" -> %25, CR -> %0D, LF -> %0A, NUL -> %00; the quotes keep
//          leading and trailing blanks and quotes of the value itself.
//   name:  as the value, plus "=" -> %3D, a leading ";", "[", "@" -> %3B,
//          %5B, %40, leading and trailing blanks and tabs -> %20, %09; the
//          unnamed value is written "@".
// Reading takes away one pair of quotes and turns every %XX back into its
// byte (a "%" not followed by two hex digits stays as it is), so hand-written
// lines such as `Path=C:\Daten` read as they are. Value names are matched
// without regard to case.
//
// Roots (DefaultRoots):
//   HKEY_CURRENT_USER   ${XDG_CONFIG_HOME:-$HOME/.config}/kdzentavo/registry
//   HKEY_LOCAL_MACHINE  /etc/kdzentavo/registry
//   HKEY_CLASSES_ROOT   /etc/kdzentavo/classes
//
// Results are Windows system error codes: 2 missing key or value, 3 a path
// that cannot be a folder (ENOTDIR, ENOENT), 5 access denied (no write
// rights to the folder of the file, EACCES, EPERM, EROFS; a value query on a
// key opened without read rights, a set without write rights; deleting a key
// that has sub-keys), 6 unknown handle, 123 invalid key part, 234 value
// longer than the buffer, 112 disk full, 206 name too long, 8 out of memory,
// 1018 a read or set on a key deleted meanwhile, 1016 other I/O failures.
//
// Every change rewrites its file atomically (a temporary file beside it,
// renamed over it). An emptied file is removed, and so are the folders
// emptied by that, up to the root folder.
#ifndef KDZV_PLATFORM_POSIX_FILE_REGISTRY_H_
#define KDZV_PLATFORM_POSIX_FILE_REGISTRY_H_

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "settings/registry_backend.h"

namespace kdzv::posix {

class FileRegistry : public RegistryBackend {
 public:
  struct Roots {
    std::string classes;
    std::string current_user;
    std::string machine;
  };

  FileRegistry(std::string classes_root, std::string current_user_root, std::string machine_root);
  explicit FileRegistry(Roots roots);

  // The root folders of the current user, see above.
  static Roots DefaultRoots();
  static FileRegistry WithDefaultRoots() { return FileRegistry(DefaultRoots()); }

  int32_t CreateKey(RegistryRoot root, std::string_view path, uint32_t access,
                    Handle* key) override;
  int32_t OpenKey(RegistryRoot root, std::string_view path, uint32_t access,
                  Handle* key) override;
  int32_t QueryMaxValueLength(Handle key, size_t* bytes) override;
  int32_t QueryValue(Handle key, std::string_view name, size_t buffer_bytes,
                     std::string* data) override;
  int32_t SetValue(Handle key, std::string_view name, std::string_view data) override;
  int32_t CloseKey(Handle key) override;
  int32_t DeleteKey(RegistryRoot root, std::string_view path) override;

  const std::string& RootFolder(RegistryRoot root) const;
  size_t OpenHandleCount() const { return handles_.size(); }

  // The line texts of the encoding described above (exposed for tests).
  static std::string EncodeValue(std::string_view value);
  static std::string EncodeName(std::string_view name);
  static std::string Decode(std::string_view text);

 private:
  struct OpenKeyInfo {
    RegistryRoot root;
    std::string path;
    uint32_t access;
  };

  int32_t Open(RegistryRoot root, std::string_view path, uint32_t access, bool create,
               Handle* key);
  // The open key behind `key` when it was opened with `right`; otherwise
  // nullptr and the result to answer in `code`.
  const OpenKeyInfo* Lookup(Handle key, uint32_t right, int32_t* code) const;

  Roots roots_;
  std::map<Handle, OpenKeyInfo> handles_;
  Handle next_handle_ = 1;
};

}  // namespace kdzv::posix

#endif  // KDZV_PLATFORM_POSIX_FILE_REGISTRY_H_
