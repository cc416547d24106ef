// What FindFirstChangeNotificationW (file names and last write) tells about
// the download folder for the ways an agent delivers an answer. The folder
// lies in the build tree, which Wine shows as drive Z:. The wait for an
// answer relies on the first three facts; the last ones say why a held
// answer is probed again (nothing is told when its writer closes it).
#include <gtest/gtest.h>
#include <windows.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>

namespace kdzv {
namespace {

constexpr DWORD kFilter = FILE_NOTIFY_CHANGE_FILE_NAME | FILE_NOTIFY_CHANGE_LAST_WRITE;

bool UnderWine() {
  HMODULE ntdll = ::GetModuleHandleW(L"ntdll.dll");
  return ntdll != nullptr && ::GetProcAddress(ntdll, "wine_get_version") != nullptr;
}

// A fresh folder beside the test program (in the build tree), removed at the
// end.
class ProbeFolder {
 public:
  ProbeFolder() {
    wchar_t module[MAX_PATH] = {};
    ::GetModuleFileNameW(nullptr, module, MAX_PATH);
    static int counter = 0;
    root_ = std::filesystem::path(module).parent_path() /
            (L"folder-change-probe-" + std::to_wstring(::GetCurrentProcessId()) + L"-" +
             std::to_wstring(counter++));
    std::filesystem::remove_all(root_);
    std::filesystem::create_directories(root_ / L"watched");
  }
  ~ProbeFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(root_, ignored);
  }
  std::wstring Root() const { return root_.wstring(); }
  std::wstring Watched() const { return (root_ / L"watched").wstring(); }

 private:
  std::filesystem::path root_;
};

class ChangeHandle {
 public:
  explicit ChangeHandle(const std::wstring& folder)
      : handle_(::FindFirstChangeNotificationW(folder.c_str(), FALSE, kFilter)) {}
  ~ChangeHandle() {
    if (valid()) ::FindCloseChangeNotification(handle_);
  }
  ChangeHandle(const ChangeHandle&) = delete;
  ChangeHandle& operator=(const ChangeHandle&) = delete;
  bool valid() const { return handle_ != INVALID_HANDLE_VALUE; }

  // How often the handle was signalled within `window_ms` (re-armed after
  // each time).
  int Signals(DWORD window_ms = 150) {
    int signals = 0;
    const ULONGLONG end = ::GetTickCount64() + window_ms;
    for (;;) {
      const ULONGLONG now = ::GetTickCount64();
      if (now >= end) break;
      if (::WaitForSingleObject(handle_, static_cast<DWORD>(end - now)) != WAIT_OBJECT_0) break;
      ++signals;
      ::FindNextChangeNotification(handle_);
    }
    return signals;
  }

 private:
  HANDLE handle_;
};

void WriteWhole(const std::wstring& path, const char* text) {
  HANDLE file = ::CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                              FILE_ATTRIBUTE_NORMAL, nullptr);
  ASSERT_NE(file, INVALID_HANDLE_VALUE);
  DWORD written = 0;
  ::WriteFile(file, text, static_cast<DWORD>(std::strlen(text)), &written, nullptr);
  ::CloseHandle(file);
}

TEST(FolderChangeProbe, ARenameIntoTheFolderIsTold) {
  ProbeFolder folder;
  ChangeHandle changes(folder.Watched());
  ASSERT_TRUE(changes.valid());
  WriteWhole(folder.Root() + L"\\HX1_2.tmp", "<SyncML/>");
  EXPECT_EQ(changes.Signals(), 0);  // written outside: nothing
  ASSERT_TRUE(::MoveFileExW((folder.Root() + L"\\HX1_2.tmp").c_str(),
                            (folder.Watched() + L"\\HX1_2.xml").c_str(), 0));
  EXPECT_EQ(changes.Signals(), 1);
}

TEST(FolderChangeProbe, AFileWrittenInPlaceIsToldPieceByPieceButNotWhenClosed) {
  ProbeFolder folder;
  ChangeHandle changes(folder.Watched());
  ASSERT_TRUE(changes.valid());
  // Shared with nobody, as an agent that writes in place holds it.
  HANDLE file = ::CreateFileW((folder.Watched() + L"\\HX1_2.xml").c_str(), GENERIC_WRITE, 0,
                              nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  ASSERT_NE(file, INVALID_HANDLE_VALUE);
  EXPECT_EQ(changes.Signals(), 1);  // the new name
  DWORD written = 0;
  for (int piece = 0; piece < 3; ++piece) {
    ::WriteFile(file, "0123456789", 10, &written, nullptr);
    EXPECT_EQ(changes.Signals(), 1) << "piece " << piece;
  }
  // Many pieces at once: the handle is signalled, once until re-armed.
  for (int piece = 0; piece < 100; ++piece) ::WriteFile(file, "0123456789", 10, &written, nullptr);
  EXPECT_GE(changes.Signals(), 1);
  ::CloseHandle(file);
  const int on_close = changes.Signals(300);
  // Wine reports nothing when the writer closes the file; Windows itself
  // may tell it (a last write put into the folder's entry on close).
  if (UnderWine()) {
    EXPECT_EQ(on_close, 0);
  }
  std::printf("[probe] signals on close: %d (%s)\n", on_close, UnderWine() ? "Wine" : "Windows");
}

TEST(FolderChangeProbe, ReadingAFileOrMakingASubfolderIsNotTold) {
  ProbeFolder folder;
  WriteWhole(folder.Watched() + L"\\seen.xml", "x");
  ChangeHandle changes(folder.Watched());
  ASSERT_TRUE(changes.valid());
  HANDLE file = ::CreateFileW((folder.Watched() + L"\\seen.xml").c_str(), GENERIC_READ, 0,
                              nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  ASSERT_NE(file, INVALID_HANDLE_VALUE);
  ::CloseHandle(file);
  ASSERT_TRUE(::CreateDirectoryW((folder.Watched() + L"\\sub").c_str(), nullptr));
  EXPECT_EQ(changes.Signals(), 0);
  ASSERT_TRUE(::DeleteFileW((folder.Watched() + L"\\seen.xml").c_str()));
  EXPECT_EQ(changes.Signals(), 1);  // a name gone is a file-name change
}

TEST(FolderChangeProbe, AMissingFolderCannotBeWatched) {
  ProbeFolder folder;
  const HANDLE handle = ::FindFirstChangeNotificationW((folder.Root() + L"\\missing").c_str(),
                                                       FALSE, kFilter);
  const DWORD error = ::GetLastError();
  EXPECT_EQ(handle, INVALID_HANDLE_VALUE);
  EXPECT_EQ(error, static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
  if (handle != INVALID_HANDLE_VALUE) ::FindCloseChangeNotification(handle);
}

}  // namespace
}  // namespace kdzv
