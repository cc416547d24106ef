// The x86_64 installer package under Wine: installed with msiexec it puts the
// DLL into its folder and registers it exactly as the DLL's own registration
// does (the VBScript client works through that registration alone);
// uninstalled it takes away the file and every key it added but the ProgIDs
// (which both registry views share, and which the other architecture's
// package may still need), and leaves the library's configuration and log
// beside it in place. The build's own DLL is
// unregistered first and registered again at the end, so the tests around
// this one find the registry as they expect.
#include <objbase.h>
#include <shlobj.h>
#include <windows.h>
#include <msi.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "../host/host_environment.h"
#include "../registration/registry_snapshot.h"

namespace kdzv::host {
namespace {

std::wstring WindowsPath(const char* unix_path) {
  std::wstring wide;
  for (const char* c = unix_path; *c != '\0'; ++c) {
    wide.push_back(*c == '/' ? L'\\' : static_cast<wchar_t>(*c));
  }
  wchar_t full[4 * MAX_PATH];
  const DWORD length = ::GetFullPathNameW(wide.c_str(), 4 * MAX_PATH, full, nullptr);
  return length == 0 ? wide : std::wstring(full, length);
}

std::wstring PackagePath() { return WindowsPath(KDZV_MSI_PATH); }
// The same package one version later, made for the upgrade test.
std::wstring NextPackagePath() { return WindowsPath(KDZV_MSI_NEXT_PATH); }

// The installed products of the package's upgrade code, with their versions.
std::vector<std::wstring> InstalledVersions() {
  std::vector<std::wstring> versions;
  for (DWORD i = 0;; ++i) {
    wchar_t product[39] = {};
    if (::MsiEnumRelatedProductsW(KDZV_MSI_UPGRADE_CODE, 0, i, product) != ERROR_SUCCESS) break;
    wchar_t version[64] = {};
    DWORD length = 64;
    ::MsiGetProductInfoW(product, INSTALLPROPERTY_VERSIONSTRING, version, &length);
    versions.push_back(version);
  }
  return versions;
}

// C:\ProgramData\Halvex\<folder>, where the package installs.
std::wstring InstallFolder() {
  wchar_t common[MAX_PATH] = {};
  ::SHGetFolderPathW(nullptr, CSIDL_COMMON_APPDATA, nullptr, SHGFP_TYPE_CURRENT, common);
  return std::wstring(common) + L"\\Halvex\\" + KDZV_MSI_FOLDER;
}

bool FileExists(const std::wstring& path) {
  return ::GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

std::string ReadFile(const std::wstring& path) {
  std::ifstream in(std::filesystem::path(path), std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

void WriteFile(const std::wstring& path, const std::string& text) {
  std::ofstream out(std::filesystem::path(path), std::ios::binary | std::ios::app);
  out << text;
}

// The script, kept in UTF-8, converted to Windows-1252 (the code page in
// which the script host reads it), run with Wine's cscript; its output.
std::string RunScript(const std::wstring& work) {
  const std::string utf8 = ReadFile(WindowsPath(KDZV_SCRIPT_PATH));
  const int wide_length = ::MultiByteToWideChar(CP_UTF8, 0, utf8.data(),
                                                static_cast<int>(utf8.size()), nullptr, 0);
  std::wstring wide(static_cast<size_t>(wide_length), L'\0');
  ::MultiByteToWideChar(CP_UTF8, 0, utf8.data(), static_cast<int>(utf8.size()), wide.data(),
                        wide_length);
  const int ansi_length = ::WideCharToMultiByte(1252, 0, wide.data(), wide_length, nullptr, 0,
                                                nullptr, nullptr);
  std::string ansi(static_cast<size_t>(ansi_length), '\0');
  ::WideCharToMultiByte(1252, 0, wide.data(), wide_length, ansi.data(), ansi_length, nullptr,
                        nullptr);
  const std::wstring script = work + L"\\library_walk.vbs";
  const std::wstring output = work + L"\\library_walk.out";
  ::DeleteFileW(script.c_str());
  ::DeleteFileW(output.c_str());
  WriteFile(script, ansi);
  const int status =
      RunProgram(L"cmd.exe /c cscript.exe //nologo " + script + L" > " + output, 120000);
  EXPECT_EQ(status, 0) << "cscript";
  std::string text;
  for (char c : ReadFile(output)) {
    if (c != '\r') text.push_back(c);
  }
  return text;
}

// The library's keys among the changes (what Windows Installer keeps of its
// own products under HKCR\Installer is left aside).
std::set<std::wstring> LibraryKeys(const std::set<std::wstring>& changed) {
  std::set<std::wstring> ours;
  for (const std::wstring& path : changed) {
    if (BelongsToTheLibrary(path)) ours.insert(path);
  }
  return ours;
}

// The ProgID keys of the eight classes, "kdZentavo.<class>" and its CLSID
// key, as a snapshot names them.
std::set<std::wstring> ProgIdKeys() {
  std::set<std::wstring> keys;
  for (const wchar_t* name : {L"KDZVTERMIN", L"KDZVCALENDAR", L"KDZVBELEGUNGSZEIT",
                              L"KDZVBELEGUNGSZEITEN", L"KDZVBELEGUNG", L"KDZVBELEGUNGEN",
                              L"CLZVSETTINGS", L"KDZVINTERFACE"}) {
    keys.insert(std::wstring(L"HKCR\\KDZENTAVO.") + name);
    keys.insert(std::wstring(L"HKCR\\KDZENTAVO.") + name + L"\\CLSID");
  }
  return keys;
}

// Removes the ProgIDs that an uninstallation leaves.
void RemoveProgIds() {
  for (const wchar_t* name : {L"kdZVTermin", L"kdZVCalendar", L"kdZVBelegungsZeit",
                              L"kdZVBelegungsZeiten", L"kdZVBelegung", L"kdZVBelegungen",
                              L"clZVSettings", L"kdZVInterface"}) {
    const std::wstring key = std::wstring(L"kdZentavo.") + name;
    ::RegDeleteTreeW(HKEY_CLASSES_ROOT, key.c_str());
    ::RegDeleteKeyW(HKEY_CLASSES_ROOT, key.c_str());
  }
}

std::string Listing(const std::set<std::wstring>& paths) {
  std::string listing;
  for (const std::wstring& path : paths) listing += Narrow(path) + "\n";
  return listing;
}

constexpr char kConfigMarker[] = "; written by the installer test\r\n";
constexpr char kLogMarker[] = "installer test: a line of the log\r\n";

class InstallerPackage : public ::testing::Test {
 protected:
  void TearDown() override {
    // Whatever happened: no package left installed, none of the test's
    // files left behind, and the build's library registered again.
    RunProgram(L"msiexec.exe /x \"" + PackagePath() + L"\" /qn", 120000);
    RunProgram(L"msiexec.exe /x \"" + NextPackagePath() + L"\" /qn", 120000);
    const std::wstring folder = InstallFolder();
    ::DeleteFileW((folder + L"\\kdZentavo.cfg").c_str());
    ::DeleteFileW((folder + L"\\kdZentavo.log").c_str());
    ::RemoveDirectoryW(folder.c_str());
    ::RemoveDirectoryW(folder.substr(0, folder.find_last_of(L'\\')).c_str());
    RemoveProgIds();
    EXPECT_EQ(Register(), 0) << "the build's library could not be registered again";
  }
};

TEST_F(InstallerPackage, InstallsRegistersLikeTheLibraryAndUninstallsKeepingConfigAndLog) {
  ASSERT_EQ(Unregister(), 0);
  const std::wstring folder = InstallFolder();
  const std::wstring dll = folder + L"\\kdZentavo.dll";
  ASSERT_FALSE(FileExists(dll)) << "left over from an earlier run: " << Narrow(dll);
  const Snapshot before = TakeSnapshot();

  // Installation.
  ASSERT_EQ(RunProgram(L"msiexec.exe /i \"" + PackagePath() + L"\" /qn", 120000), 0);
  ASSERT_TRUE(FileExists(dll)) << Narrow(dll);
  const Snapshot installed = TakeSnapshot();
  const std::set<std::wstring> added = Changed(before, installed);
  const std::set<std::wstring> library_keys = LibraryKeys(added);
  // 8 classes x (2 ProgID keys + 5 CLSID keys), 6 type-library keys,
  // 9 interfaces x 4 keys.
  EXPECT_EQ(library_keys.size(), 8u * 7u + 6u + 9u * 4u) << Listing(library_keys);
  for (const std::wstring& path : added) {
    const bool installer_own = path.rfind(L"HKCR\\INSTALLER\\", 0) == 0;
    EXPECT_TRUE(BelongsToTheLibrary(path) || installer_own)
        << "installation touched " << Narrow(path);
  }

  // A client none of us wrote creates the objects through the package's
  // registration only.
  const std::string output = RunScript(WindowsPath(KDZV_WORK_DIR));
  EXPECT_EQ(output, ReadFile(WindowsPath(KDZV_SCRIPT_EXPECTED_PATH)));

  // The library's own removal takes away exactly what the package added to
  // the library's keys, and its own registration of the installed file
  // writes exactly the same keys and values back.
  ASSERT_EQ(RunProgram(L"regsvr32.exe /s /u \"" + dll + L"\""), 0);
  const std::set<std::wstring> left = LibraryKeys(Changed(before, TakeSnapshot()));
  EXPECT_TRUE(left.empty()) << "the library's removal left:\n" << Listing(left);
  ASSERT_EQ(RunProgram(L"regsvr32.exe /s \"" + dll + L"\""), 0);
  const std::set<std::wstring> differing = Changed(installed, TakeSnapshot());
  EXPECT_TRUE(differing.empty())
      << "the library's registration differs from the package's in:\n" << Listing(differing);

  // The library's configuration and log beside it (written by the library
  // in use; here one line each is added so that their content can be
  // checked).
  const std::wstring config = folder + L"\\kdZentavo.cfg";
  const std::wstring log = folder + L"\\kdZentavo.log";
  WriteFile(config, kConfigMarker);
  WriteFile(log, kLogMarker);
  const std::string config_text = ReadFile(config);
  const std::string log_text = ReadFile(log);

  // Uninstallation: everything is taken away but the ProgIDs, which point
  // at the classes as before (the other architecture's package, if any,
  // registers them in its view of the registry).
  ASSERT_EQ(RunProgram(L"msiexec.exe /x \"" + PackagePath() + L"\" /qn", 120000), 0);
  EXPECT_FALSE(FileExists(dll));
  const Snapshot uninstalled = TakeSnapshot();
  const std::set<std::wstring> not_restored = Changed(before, uninstalled);
  EXPECT_EQ(not_restored, ProgIdKeys()) << "not restored:\n" << Listing(not_restored);
  for (const std::wstring& key : ProgIdKeys()) {
    const auto kept = uninstalled.find(key);
    ASSERT_NE(kept, uninstalled.end()) << Narrow(key);
    EXPECT_EQ(kept->second, installed.at(key)) << Narrow(key);
  }
  EXPECT_EQ(ReadFile(config), config_text);
  EXPECT_EQ(ReadFile(log), log_text);
  EXPECT_NE(config_text.find(kConfigMarker), std::string::npos);
  EXPECT_NE(log_text.find(kLogMarker), std::string::npos);
}

// A package of a newer version installed over the older one replaces it:
// one product of the upgrade code is left, the newer one, with the DLL and
// the library's keys in place, and the configuration written beside the DLL
// survives; uninstalling the newer one leaves the registry as it was before
// but for the ProgIDs.
TEST_F(InstallerPackage, ANewerPackageReplacesTheOlderOne) {
  ASSERT_EQ(Unregister(), 0);
  const std::wstring folder = InstallFolder();
  const std::wstring dll = folder + L"\\kdZentavo.dll";
  ASSERT_TRUE(InstalledVersions().empty());
  const Snapshot before = TakeSnapshot();

  ASSERT_EQ(RunProgram(L"msiexec.exe /i \"" + PackagePath() + L"\" /qn", 120000), 0);
  ASSERT_EQ(InstalledVersions().size(), 1u);
  const Snapshot installed = TakeSnapshot();
  const std::wstring config = folder + L"\\kdZentavo.cfg";
  WriteFile(config, kConfigMarker);

  ASSERT_EQ(RunProgram(L"msiexec.exe /i \"" + NextPackagePath() + L"\" /qn", 120000), 0);
  const std::vector<std::wstring> versions = InstalledVersions();
  ASSERT_EQ(versions.size(), 1u);
  EXPECT_EQ(versions[0], KDZV_MSI_NEXT_VERSION);
  EXPECT_TRUE(FileExists(dll));
  EXPECT_EQ(ReadFile(config), kConfigMarker);
  const std::set<std::wstring> library_changes = LibraryKeys(Changed(installed, TakeSnapshot()));
  EXPECT_TRUE(library_changes.empty())
      << "the newer package's keys differ from the older one's:\n" << Listing(library_changes);

  ASSERT_EQ(RunProgram(L"msiexec.exe /x \"" + NextPackagePath() + L"\" /qn", 120000), 0);
  EXPECT_TRUE(InstalledVersions().empty());
  EXPECT_FALSE(FileExists(dll));
  const std::set<std::wstring> not_restored = Changed(before, TakeSnapshot());
  EXPECT_EQ(not_restored, ProgIdKeys()) << "not restored:\n" << Listing(not_restored);
  EXPECT_EQ(ReadFile(config), kConfigMarker);
}

}  // namespace
}  // namespace kdzv::host
