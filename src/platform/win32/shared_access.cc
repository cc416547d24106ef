#include "platform/win32/shared_access.h"

#include "platform/win32/win32_error.h"

namespace kdzv::win32 {
namespace {

constexpr const char* kSource = "SharedSecurity";

// A well-known SID in a buffer of its own.
std::vector<BYTE> WellKnownSid(WELL_KNOWN_SID_TYPE type) {
  std::vector<BYTE> sid(SECURITY_MAX_SID_SIZE);
  DWORD size = static_cast<DWORD>(sid.size());
  if (!::CreateWellKnownSid(type, nullptr, sid.data(), &size)) {
    RaiseFileError(::GetLastError(), kSource);
  }
  sid.resize(size);
  return sid;
}

}  // namespace

SharedSecurity::SharedSecurity(DWORD users_rights, DWORD full_rights) {
  // Copied into the ACL; the SIDs need not outlive it.
  const struct {
    std::vector<BYTE> sid;
    DWORD rights;
  } entries[] = {
      {WellKnownSid(WinBuiltinUsersSid), users_rights},
      {WellKnownSid(WinBuiltinAdministratorsSid), full_rights},
      {WellKnownSid(WinLocalSystemSid), full_rights},
  };
  DWORD size = sizeof(ACL);
  for (const auto& entry : entries) {
    size += static_cast<DWORD>(sizeof(ACCESS_ALLOWED_ACE) - sizeof(DWORD) + entry.sid.size());
  }
  // ACLs are DWORD-aligned.
  size = (size + 3) & ~DWORD{3};
  acl_.assign(size, 0);
  PACL acl = reinterpret_cast<PACL>(acl_.data());
  if (!::InitializeAcl(acl, size, ACL_REVISION)) RaiseFileError(::GetLastError(), kSource);
  for (const auto& entry : entries) {
    if (!::AddAccessAllowedAce(acl, ACL_REVISION, entry.rights,
                               const_cast<BYTE*>(entry.sid.data()))) {
      RaiseFileError(::GetLastError(), kSource);
    }
  }
  if (!::InitializeSecurityDescriptor(&descriptor_, SECURITY_DESCRIPTOR_REVISION) ||
      !::SetSecurityDescriptorDacl(&descriptor_, TRUE, acl, FALSE)) {
    RaiseFileError(::GetLastError(), kSource);
  }
  attributes_.nLength = sizeof(attributes_);
  attributes_.lpSecurityDescriptor = &descriptor_;
  attributes_.bInheritHandle = FALSE;
}

}  // namespace kdzv::win32
