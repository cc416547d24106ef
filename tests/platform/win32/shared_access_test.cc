#include "platform/win32/shared_access.h"

#include <windows.h>
#include <aclapi.h>
#include <sddl.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "platform/win32/wide_text.h"
#include "platform/win32/win32_file_system.h"
#include "platform/win32/win32_profile_file.h"
#include "support/fakes.h"

namespace kdzv::win32 {
namespace {

struct Entry {
  BYTE type;
  DWORD mask;
  std::vector<BYTE> sid;
};

std::vector<BYTE> Sid(WELL_KNOWN_SID_TYPE type) {
  std::vector<BYTE> sid(SECURITY_MAX_SID_SIZE);
  DWORD size = static_cast<DWORD>(sid.size());
  EXPECT_TRUE(::CreateWellKnownSid(type, nullptr, sid.data(), &size));
  sid.resize(size);
  return sid;
}

std::string SidText(const std::vector<BYTE>& sid) {
  LPWSTR text = nullptr;
  if (!::ConvertSidToStringSidW(const_cast<BYTE*>(sid.data()), &text)) return "?";
  const std::string narrow = Narrow(text);
  ::LocalFree(text);
  return narrow;
}

// The entries of a DACL, in order.
std::vector<Entry> EntriesOf(PACL acl) {
  std::vector<Entry> entries;
  if (acl == nullptr) return entries;
  for (DWORD i = 0; i < acl->AceCount; ++i) {
    void* ace = nullptr;
    if (!::GetAce(acl, i, &ace)) break;
    const auto* header = static_cast<ACE_HEADER*>(ace);
    Entry entry{header->AceType, 0, {}};
    if (header->AceType == ACCESS_ALLOWED_ACE_TYPE || header->AceType == ACCESS_DENIED_ACE_TYPE) {
      auto* allowed = static_cast<ACCESS_ALLOWED_ACE*>(ace);
      entry.mask = allowed->Mask;
      PSID sid = &allowed->SidStart;
      const BYTE* bytes = static_cast<const BYTE*>(sid);
      entry.sid.assign(bytes, bytes + ::GetLengthSid(sid));
    }
    entries.push_back(entry);
  }
  return entries;
}

// The entry that allows something to `sid`, or null.
const Entry* AllowedTo(const std::vector<Entry>& entries, const std::vector<BYTE>& sid) {
  for (const Entry& entry : entries) {
    if (entry.type == ACCESS_ALLOWED_ACE_TYPE && entry.sid == sid) return &entry;
  }
  return nullptr;
}

PACL DaclOf(SharedSecurity& security) {
  BOOL present = FALSE, defaulted = FALSE;
  PACL acl = nullptr;
  EXPECT_TRUE(::GetSecurityDescriptorDacl(security.Descriptor(), &present, &acl, &defaulted));
  EXPECT_TRUE(present);
  return acl;
}

TEST(SharedSecurity, FilesMayBeModifiedByUsersAndAreFullyAdministrators) {
  SharedSecurity security = SharedSecurity::ForFiles();
  const std::vector<Entry> entries = EntriesOf(DaclOf(security));
  ASSERT_EQ(entries.size(), 3u);
  // S-1-5-32-545, the local Users group: modify (0x1301BF), nothing more.
  EXPECT_EQ(SidText(entries[0].sid), "S-1-5-32-545");
  EXPECT_EQ(entries[0].type, ACCESS_ALLOWED_ACE_TYPE);
  EXPECT_EQ(entries[0].mask, 0x1301BFu);
  EXPECT_EQ(entries[0].mask & (WRITE_DAC | WRITE_OWNER), 0u);
  EXPECT_EQ(entries[0].mask & (FILE_WRITE_DATA | FILE_APPEND_DATA | DELETE),
            DWORD{FILE_WRITE_DATA | FILE_APPEND_DATA | DELETE});
  EXPECT_EQ(SidText(entries[1].sid), "S-1-5-32-544");
  EXPECT_EQ(entries[1].mask, DWORD{FILE_ALL_ACCESS});
  EXPECT_EQ(SidText(entries[2].sid), "S-1-5-18");
  EXPECT_EQ(entries[2].mask, DWORD{FILE_ALL_ACCESS});
  for (const Entry& entry : entries) EXPECT_EQ(entry.type, ACCESS_ALLOWED_ACE_TYPE);

  // Not protected: the folder's inheritable entries are still added.
  SECURITY_DESCRIPTOR_CONTROL control = 0;
  DWORD revision = 0;
  ASSERT_TRUE(::GetSecurityDescriptorControl(security.Descriptor(), &control, &revision));
  EXPECT_EQ(control & SE_DACL_PROTECTED, 0);
  EXPECT_TRUE(::IsValidSecurityDescriptor(security.Descriptor()));
  EXPECT_EQ(security.Attributes()->lpSecurityDescriptor, security.Descriptor());
  EXPECT_FALSE(security.Attributes()->bInheritHandle);
}

TEST(SharedSecurity, MutexesMayBeWaitedOnAndReleasedByUsers) {
  SharedSecurity security = SharedSecurity::ForMutexes();
  const std::vector<Entry> entries = EntriesOf(DaclOf(security));
  ASSERT_EQ(entries.size(), 3u);
  EXPECT_EQ(SidText(entries[0].sid), "S-1-5-32-545");
  EXPECT_EQ(entries[0].mask, DWORD{SYNCHRONIZE | MUTEX_MODIFY_STATE});
  EXPECT_EQ(entries[1].mask, DWORD{MUTEX_ALL_ACCESS});
  EXPECT_EQ(entries[2].mask, DWORD{MUTEX_ALL_ACCESS});
}

// The log and the configuration file are created with those entries (an
// existing file keeps its own). Wine does not keep a descriptor given at
// creation (it reads back SYSTEM and the owner only), so here it is checked
// that both files are made and written with it; that Windows keeps the
// entries can only be seen there.
TEST(SharedSecurity, TheLogAndTheConfigurationAreCreatedWithTheEntries) {
  test::TempDir dir;
  const std::string log = dir.File("kdZentavo.log");
  const std::string cfg = dir.File("kdZentavo.cfg");
  Win32FileSystem files;
  files.AppendToFile(log, "eine Zeile\r\n");
  files.AppendToFile(log, "noch eine\r\n");
  Win32ProfileFile profile;
  profile.WriteString("SESSION", "LastSessionID", "1", cfg);
  profile.Flush(cfg);
  profile.WriteString("SESSION", "LastSessionID", "2", cfg);
  profile.Flush(cfg);
  EXPECT_EQ(test::ReadFileBytes(log), "eine Zeile\r\nnoch eine\r\n");
  EXPECT_EQ(profile.GetString("SESSION", "LastSessionID", "0", 255, cfg), "2");
  EXPECT_EQ(test::ReadFileBytes(cfg), "[SESSION]\r\nLastSessionID=2\r\n");
}

TEST(Win32ProfileFileLock, TheNameIsTheFullPathsWithoutRegardToCase) {
  test::TempDir dir;
  const std::wstring name = Win32ProfileFile::LockName(dir.File("kdZentavo.cfg"));
  EXPECT_EQ(name.rfind(L"kdZentavo.Profile.", 0), 0u);
  EXPECT_EQ(name.size(), std::wstring(L"kdZentavo.Profile.").size() + 16);
  EXPECT_EQ(name.find(L'\\'), std::wstring::npos);
  EXPECT_EQ(Win32ProfileFile::LockName(dir.File("KDZENTAVO.CFG")), name);
  EXPECT_NE(Win32ProfileFile::LockName(dir.File("other.cfg")), name);
  // A relative name is the full path's.
  wchar_t current[MAX_PATH];
  ::GetCurrentDirectoryW(MAX_PATH, current);
  ASSERT_TRUE(::SetCurrentDirectoryW(Widen(dir.path()).c_str()));
  EXPECT_EQ(Win32ProfileFile::LockName("kdZentavo.cfg"), name);
  ::SetCurrentDirectoryW(current);
}

// The lock is a mutex in the machine's namespace, with the shared entries:
// another user's process opens it with the rights to wait and release.
TEST(Win32ProfileFileLock, IsAGlobalMutexThatUsersMayWaitOn) {
  test::TempDir dir;
  const std::string cfg = dir.File("kdZentavo.cfg");
  const std::wstring global = L"Global\\" + Win32ProfileFile::LockName(cfg);
  EXPECT_EQ(::OpenMutexW(SYNCHRONIZE, FALSE, global.c_str()), nullptr);
  Win32ProfileFile profile;
  {
    const auto lock = profile.Lock(cfg);
    HANDLE seen =
        ::OpenMutexW(SYNCHRONIZE | MUTEX_MODIFY_STATE | READ_CONTROL, FALSE, global.c_str());
    ASSERT_NE(seen, nullptr);
    PACL acl = nullptr;
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    const DWORD status = ::GetSecurityInfo(seen, SE_KERNEL_OBJECT, DACL_SECURITY_INFORMATION,
                                           nullptr, nullptr, &acl, nullptr, &descriptor);
    ASSERT_EQ(status, ERROR_SUCCESS);
    const std::vector<Entry> read_back = EntriesOf(acl);
    const Entry* allowed = AllowedTo(read_back, Sid(WinBuiltinUsersSid));
    ASSERT_NE(allowed, nullptr);
    EXPECT_EQ(allowed->mask, SharedSecurity::kMutexUse);
    ::LocalFree(descriptor);
    ::CloseHandle(seen);
  }
  // Given back and closed: no process holds it any more.
  EXPECT_EQ(::OpenMutexW(SYNCHRONIZE, FALSE, global.c_str()), nullptr);
}

// A holder that ended without giving the lock back does not block it.
TEST(Win32ProfileFileLock, ALockLeftByAHolderThatEndedIsTakenOver) {
  test::TempDir dir;
  const std::string cfg = dir.File("kdZentavo.cfg");
  Win32ProfileFile profile;
  // Taken and never given back (its handle stays open): the thread ends as
  // its holder.
  std::thread([&] { static_cast<void>(profile.Lock(cfg).release()); }).join();
  const DWORD start = ::GetTickCount();
  const auto lock = profile.Lock(cfg);
  EXPECT_TRUE(lock);
  EXPECT_LT(::GetTickCount() - start, 5000u);
}

}  // namespace
}  // namespace kdzv::win32
