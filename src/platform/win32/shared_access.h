// Security for what every Windows user of the PC shares: the log and the
// configuration file beside the library, and the lock around the session
// number. Without it, the first user who creates such a file or lock is the
// only one (besides administrators) who may change it later, and every
// other user's exchange fails.
#ifndef KDZV_PLATFORM_WIN32_SHARED_ACCESS_H_
#define KDZV_PLATFORM_WIN32_SHARED_ACCESS_H_

#include <windows.h>

#include <vector>

namespace kdzv::win32 {

// A security descriptor whose DACL allows, in this order: the local Users
// group (S-1-5-32-545) `users_rights`, Administrators (S-1-5-32-544) and
// SYSTEM (S-1-5-18) `full_rights`. The DACL is not protected, so the system
// still adds what the parent folder passes on to its children. Not copied
// or moved: the attributes point into the object itself.
class SharedSecurity {
 public:
  // For a file: Users may modify it (read, write, append, delete, and read
  // its attributes and permissions; not change the permissions).
  static constexpr DWORD kFileModify =
      FILE_GENERIC_READ | FILE_GENERIC_WRITE | FILE_GENERIC_EXECUTE | DELETE;
  // For a mutex: Users may wait on it and release it.
  static constexpr DWORD kMutexUse = SYNCHRONIZE | MUTEX_MODIFY_STATE;

  static SharedSecurity ForFiles() { return SharedSecurity(kFileModify, FILE_ALL_ACCESS); }
  static SharedSecurity ForMutexes() { return SharedSecurity(kMutexUse, MUTEX_ALL_ACCESS); }

  // Raises kdzv::Error when the system cannot build it.
  SharedSecurity(DWORD users_rights, DWORD full_rights);
  SharedSecurity(const SharedSecurity&) = delete;
  SharedSecurity& operator=(const SharedSecurity&) = delete;

  // For CreateFileW, CreateMutexExW and the like (not inheritable).
  SECURITY_ATTRIBUTES* Attributes() { return &attributes_; }
  PSECURITY_DESCRIPTOR Descriptor() { return &descriptor_; }

 private:
  std::vector<BYTE> acl_;
  SECURITY_DESCRIPTOR descriptor_{};
  SECURITY_ATTRIBUTES attributes_{};
};

}  // namespace kdzv::win32

#endif  // KDZV_PLATFORM_WIN32_SHARED_ACCESS_H_
