#include "platform/posix/file_registry.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "settings/registry_tools.h"
#include "support/fakes.h"
#include "util/error.h"

namespace kdzv::posix {
namespace {

namespace fs = std::filesystem;

constexpr RegistryRoot kUser = RegistryRoot::kCurrentUser;
constexpr RegistryRoot kMachine = RegistryRoot::kLocalMachine;
constexpr RegistryRoot kClasses = RegistryRoot::kClassesRoot;

// Every file below `folder`, relative to it, sorted.
std::vector<std::string> FilesBelow(const std::string& folder) {
  std::vector<std::string> files;
  std::error_code error;
  for (fs::recursive_directory_iterator it(folder, error), end; !error && it != end;
       it.increment(error)) {
    if (it->is_regular_file()) files.push_back(fs::relative(it->path(), folder).string());
  }
  std::sort(files.begin(), files.end());
  return files;
}

class FileRegistryTest : public ::testing::Test {
 protected:
  FileRegistryTest()
      : classes(dir.File("classes")),
        user(dir.File("user")),
        machine(dir.File("machine")),
        registry(classes, user, machine) {}

  int32_t Set(RegistryRoot root, const std::string& path, const std::string& name,
              const std::string& value) {
    RegistryBackend::Handle key = 0;
    if (const int32_t result = registry.CreateKey(root, path, reg::kKeyWrite, &key)) return result;
    const int32_t result = registry.SetValue(key, name, value);
    EXPECT_EQ(registry.CloseKey(key), 0);
    return result;
  }

  // The value, or the failing result code as text ("#2").
  std::string Get(RegistryRoot root, const std::string& path, const std::string& name) {
    RegistryBackend::Handle key = 0;
    int32_t result = registry.OpenKey(root, path, reg::kKeyRead, &key);
    if (result != 0) return "#" + std::to_string(result);
    size_t longest = 0;
    std::string value;
    result = registry.QueryMaxValueLength(key, &longest);
    if (result == 0) result = registry.QueryValue(key, name, longest, &value);
    EXPECT_EQ(registry.CloseKey(key), 0);
    return result == 0 ? value : "#" + std::to_string(result);
  }

  test::TempDir dir;
  std::string classes;
  std::string user;
  std::string machine;
  FileRegistry registry;
};

TEST_F(FileRegistryTest, KeyLivesInTheFileOfItsParentAsASection) {
  ASSERT_EQ(Set(kUser, "Software\\HAL+VEX\\Halvex\\Zentavo", "DoLog", "True"), 0);
  const std::string file = user + "/Software/HAL+VEX/Halvex.ini";
  EXPECT_EQ(test::ReadFileBytes(file), "[Zentavo]\r\nDoLog=\"True\"\r\n");
  EXPECT_EQ(FilesBelow(user), (std::vector<std::string>{"Software/HAL+VEX/Halvex.ini"}));
  EXPECT_EQ(Get(kUser, "Software\\HAL+VEX\\Halvex\\Zentavo", "DoLog"), "True");
  EXPECT_TRUE(FilesBelow(machine).empty());
  EXPECT_TRUE(FilesBelow(classes).empty());
}

TEST_F(FileRegistryTest, EachRootHasItsOwnFolder) {
  ASSERT_EQ(Set(kMachine, "A\\B", "v", "machine"), 0);
  ASSERT_EQ(Set(kClasses, "A\\B", "v", "classes"), 0);
  ASSERT_EQ(Set(kUser, "A\\B", "v", "user"), 0);
  EXPECT_EQ(Get(kMachine, "A\\B", "v"), "machine");
  EXPECT_EQ(Get(kClasses, "A\\B", "v"), "classes");
  EXPECT_EQ(Get(kUser, "A\\B", "v"), "user");
  EXPECT_EQ(FilesBelow(machine), (std::vector<std::string>{"A.ini"}));
  EXPECT_EQ(registry.RootFolder(kMachine), machine);
  EXPECT_EQ(registry.RootFolder(kClasses), classes);
  EXPECT_EQ(registry.RootFolder(kUser), user);
}

TEST_F(FileRegistryTest, TopLevelKeysLiveInTheDotIniFileOfTheRoot) {
  ASSERT_EQ(Set(kUser, "Software", "v", "1"), 0);
  EXPECT_EQ(test::ReadFileBytes(user + "/.ini"), "[Software]\r\nv=\"1\"\r\n");
  EXPECT_EQ(Get(kUser, "Software", "v"), "1");
}

TEST_F(FileRegistryTest, CreateKeyMakesAnEmptySectionAndOpensAnExistingOne) {
  RegistryBackend::Handle key = 0;
  ASSERT_EQ(registry.CreateKey(kUser, "Software\\C\\P\\S", reg::kKeyRead, &key), 0);
  EXPECT_NE(key, 0u);
  EXPECT_EQ(test::ReadFileBytes(user + "/Software/C/P.ini"), "[S]\r\n");
  size_t longest = 99;
  EXPECT_EQ(registry.QueryMaxValueLength(key, &longest), 0);
  EXPECT_EQ(longest, 0u);
  std::string value;
  EXPECT_EQ(registry.QueryValue(key, "x", longest, &value), reg::kFileNotFound);
  EXPECT_EQ(registry.CloseKey(key), 0);

  RegistryBackend::Handle again = 0;
  ASSERT_EQ(registry.CreateKey(kUser, "Software\\C\\P\\S", reg::kKeyRead, &again), 0);
  EXPECT_NE(again, key);
  EXPECT_EQ(test::ReadFileBytes(user + "/Software/C/P.ini"), "[S]\r\n");
  EXPECT_EQ(registry.CloseKey(again), 0);
  EXPECT_EQ(registry.OpenHandleCount(), 0u);
}

TEST_F(FileRegistryTest, OpeningAMissingKeyWritesNothing) {
  RegistryBackend::Handle key = 7;
  EXPECT_EQ(registry.OpenKey(kUser, "Software\\Nothing", reg::kKeyRead, &key), 2);
  EXPECT_EQ(key, 0u);
  EXPECT_TRUE(FilesBelow(user).empty());
}

TEST_F(FileRegistryTest, NamesInOtherCaseKeepTheSpellingFirstWritten) {
  ASSERT_EQ(Set(kUser, "Software\\Acme\\Prod\\Main", "DownloadPath", "C:\\in"), 0);
  ASSERT_EQ(Set(kUser, "software\\ACME\\prod\\MAIN", "DOWNLOADPATH", "C:\\out"), 0);
  // One file, in the spelling first written, with one line for the value.
  EXPECT_EQ(FilesBelow(user), (std::vector<std::string>{"Software/Acme/Prod.ini"}));
  EXPECT_EQ(test::ReadFileBytes(user + "/Software/Acme/Prod.ini"),
            "[Main]\r\nDownloadPath=\"C:\\out\"\r\n");
}

TEST_F(FileRegistryTest, ValuesAreWrittenOneLineEachWithEscapes) {
  const std::vector<std::string> values = {
      "",          " lead",     "trail ",       "  both  ",     "\"quoted\"", "\"",
      "'single'",  "'",         "a=b=c",        "=",            ";not a comment",
      "[no section]", "50%",    "%41%",         "%zz",          "C:\\Daten\\neu",
      "line1\r\nline2\n",        "tab\tinside",  "\ttab",        "Grüße, Zoë",
      std::string("nul\0byte", 8)};
  for (size_t i = 0; i < values.size(); ++i) {
    ASSERT_EQ(Set(kUser, "Software\\C\\P\\Values", "v" + std::to_string(i), values[i]), 0) << i;
  }
  // One header line and one line per value: line breaks in values are escaped.
  const std::string text = test::ReadFileBytes(user + "/Software/C/P.ini");
  EXPECT_EQ(static_cast<size_t>(std::count(text.begin(), text.end(), '\n')), values.size() + 1);
  EXPECT_NE(text.find("v16=\"line1%0D%0Aline2%0A\"\r\n"), std::string::npos);
  EXPECT_NE(text.find("v15=\"C:\\Daten\\neu\"\r\n"), std::string::npos);
  EXPECT_NE(text.find("v12=\"50%25\"\r\n"), std::string::npos);
}

TEST_F(FileRegistryTest, OddValueNamesAreEscaped) {
  const std::vector<std::string> names = {"",   "@",   " lead", "trail ", "a=b", ";semi",
                                          "[br", "50%", "%41",   "\tx",    "Ä"};
  for (size_t i = 0; i < names.size(); ++i) {
    ASSERT_EQ(Set(kUser, "K\\Names", names[i], "value" + std::to_string(i)), 0) << i;
  }
  const std::string text = test::ReadFileBytes(user + "/K.ini");
  EXPECT_NE(text.find("\r\n@=\"value0\"\r\n"), std::string::npos);
  EXPECT_NE(text.find("\r\n%40=\"value1\"\r\n"), std::string::npos);
}

TEST_F(FileRegistryTest, HandWrittenLinesReadAsTheyAre) {
  fs::create_directories(user + "/Software");
  test::WriteFileBytes(user + "/Software/Hand.ini",
                       "; written by hand\n[Made]\nPath = C:\\Daten\\%USERNAME%\nQ='x y'\n");
  EXPECT_EQ(Get(kUser, "Software\\Hand\\Made", "Path"), "C:\\Daten\\%USERNAME%");
  EXPECT_EQ(Get(kUser, "Software\\Hand\\Made", "q"), "x y");
  // A change keeps the other lines of the file.
  ASSERT_EQ(Set(kUser, "Software\\Hand\\Made", "New", "1"), 0);
  EXPECT_EQ(test::ReadFileBytes(user + "/Software/Hand.ini"),
            "; written by hand\n[Made]\nPath = C:\\Daten\\%USERNAME%\nQ='x y'\nNew=\"1\"\n");
}

TEST_F(FileRegistryTest, LongestValueIsTheDecodedLengthWithItsTerminatingZero) {
  ASSERT_EQ(Set(kUser, "K\\S", "short", "ab"), 0);
  ASSERT_EQ(Set(kUser, "K\\S", "long", "0123456789"), 0);
  ASSERT_EQ(Set(kUser, "K\\S", "escaped", "%%%%"), 0);
  RegistryBackend::Handle key = 0;
  ASSERT_EQ(registry.OpenKey(kUser, "K\\S", reg::kKeyRead, &key), 0);
  size_t longest = 0;
  ASSERT_EQ(registry.QueryMaxValueLength(key, &longest), 0);
  EXPECT_EQ(longest, 11u);
  std::string value;
  EXPECT_EQ(registry.QueryValue(key, "escaped", 5, &value), 0);
  EXPECT_EQ(value, "%%%%");
  EXPECT_EQ(registry.CloseKey(key), 0);
}

// Windows wants the query right for the size query as well (Wine does not
// check it there).
TEST_F(FileRegistryTest, TheLongestValueIsNotToldWithoutReadRights) {
  ASSERT_EQ(Set(kUser, "K\\S", "v", "1"), 0);
  RegistryBackend::Handle writer = 0;
  ASSERT_EQ(registry.OpenKey(kUser, "K\\S", reg::kKeyWrite, &writer), 0);
  size_t longest = 0;
  EXPECT_EQ(registry.QueryMaxValueLength(writer, &longest), reg::kAccessDenied);
  EXPECT_EQ(registry.CloseKey(writer), 0);
}

TEST_F(FileRegistryTest, InvalidKeyPartsAreRefused) {
  const std::vector<std::string> paths = {"",         "\\A",     "A\\",     "A\\\\B",
                                          "A\\.",     "A\\..\\B", "..",      "A/B",
                                          " A",       "A\\B ",   "A\\\tB",  "A\r\\B",
                                          "A\\B\nC",  std::string("A\0B", 3)};
  for (const std::string& path : paths) {
    RegistryBackend::Handle key = 0;
    EXPECT_EQ(registry.CreateKey(kUser, path, reg::kKeyWrite, &key), reg::kInvalidName) << path;
    EXPECT_EQ(registry.OpenKey(kUser, path, reg::kKeyRead, &key), reg::kInvalidName) << path;
    EXPECT_EQ(registry.DeleteKey(kUser, path), reg::kInvalidName) << path;
  }
  EXPECT_TRUE(FilesBelow(dir.path()).empty());
  EXPECT_EQ(registry.OpenHandleCount(), 0u);
}

TEST_F(FileRegistryTest, ParentsOfAKeyExistAndCannotBeDeletedBeforeIt) {
  ASSERT_EQ(Set(kUser, "A\\B\\C\\D", "v", "1"), 0);
  for (const char* parent : {"A", "A\\B", "A\\B\\C", "a\\b"}) {
    RegistryBackend::Handle key = 0;
    EXPECT_EQ(registry.OpenKey(kUser, parent, reg::kKeyRead, &key), 0) << parent;
    EXPECT_EQ(registry.CloseKey(key), 0);
    EXPECT_EQ(registry.DeleteKey(kUser, parent), reg::kAccessDenied) << parent;
  }
  // A parent created explicitly has sub-keys too.
  RegistryBackend::Handle key = 0;
  ASSERT_EQ(registry.CreateKey(kUser, "A\\B\\C", reg::kKeyWrite, &key), 0);
  EXPECT_EQ(registry.CloseKey(key), 0);
  EXPECT_EQ(registry.DeleteKey(kUser, "A\\B\\C"), reg::kAccessDenied);

  EXPECT_EQ(registry.DeleteKey(kUser, "A\\B\\C\\D"), 0);
  EXPECT_EQ(registry.DeleteKey(kUser, "A\\B\\C"), 0);
  EXPECT_EQ(registry.OpenKey(kUser, "A", reg::kKeyRead, &key), reg::kFileNotFound);
  // Nothing is left, not even the emptied folders; the root stays.
  EXPECT_TRUE(fs::is_directory(user));
  EXPECT_TRUE(fs::is_empty(user));
}

TEST_F(FileRegistryTest, DeleteKeyRemovesItsSectionOnly) {
  ASSERT_EQ(Set(kUser, "A\\B\\C", "v", "c"), 0);
  ASSERT_EQ(Set(kUser, "A\\B\\D", "v", "d"), 0);
  EXPECT_EQ(registry.DeleteKey(kUser, "A\\B\\c"), 0);
  EXPECT_EQ(test::ReadFileBytes(user + "/A/B.ini"), "[D]\r\nv=\"d\"\r\n");
}

TEST_F(FileRegistryTest, SettingAValueOfADeletedKeyWritesNothing) {
  RegistryBackend::Handle key = 0;
  ASSERT_EQ(registry.CreateKey(kUser, "A\\B", reg::kKeyWrite, &key), 0);
  ASSERT_EQ(registry.DeleteKey(kUser, "A\\B"), 0);
  EXPECT_EQ(registry.SetValue(key, "v", "1"), 1018);
  EXPECT_TRUE(FilesBelow(user).empty());
  EXPECT_EQ(registry.CloseKey(key), 0);
}

TEST_F(FileRegistryTest, NoTemporaryFilesAreLeftBehind) {
  for (int i = 0; i < 20; ++i) {
    ASSERT_EQ(Set(kUser, "Software\\C\\P\\S", "v" + std::to_string(i % 3), std::to_string(i)), 0);
  }
  ASSERT_EQ(Set(kUser, "Software\\C\\P\\T", "v", "t"), 0);
  ASSERT_EQ(registry.DeleteKey(kUser, "Software\\C\\P\\T"), 0);
  EXPECT_EQ(FilesBelow(user), (std::vector<std::string>{"Software/C/P.ini"}));
  EXPECT_EQ(Get(kUser, "Software\\C\\P\\S", "v1"), "19");
}

TEST_F(FileRegistryTest, WorksBehindTheSettingsStore) {
  clsRegistryTools tools(registry);
  tools.SetMyCompanyName("HAL+VEX");
  tools.SetMyProductName("Halvex");
  tools.LocalSaveSetting("Zentavo", "FilePraefix", " HX ");
  EXPECT_EQ(tools.LocalGetSetting("Zentavo", "FilePraefix"), " HX ");
  EXPECT_EQ(tools.LocalGetSetting("Zentavo", "Missing", std::string("dflt")), "dflt");
  EXPECT_EQ(tools.LocalGetSetting("Other", "Missing", std::string("dflt")), "dflt");
  // The read left the empty section behind.
  EXPECT_EQ(test::ReadFileBytes(user + "/Software/HAL+VEX/Halvex.ini"),
            "[Zentavo]\r\nFilePraefix=\" HX \"\r\n[Other]\r\n");
  try {
    tools.LocalGetSetting("Zentavo", "Missing");
    ADD_FAILURE() << "no error";
  } catch (const Error& e) {
    EXPECT_EQ(e.description(), "Key not found and no default specified (2)");
  }
  tools.GlobalSaveSetting("Zentavo", "Shared", "yes");
  EXPECT_EQ(tools.GlobalGetSetting("Zentavo", "Shared"), "yes");
  EXPECT_EQ(FilesBelow(machine), (std::vector<std::string>{"Software/HAL+VEX/Halvex.ini"}));
  EXPECT_TRUE(tools.CanOpenGlobalRegKey());
  EXPECT_EQ(registry.OpenHandleCount(), 0u);
}

TEST_F(FileRegistryTest, ProbeOfAWritableMachineRootLeavesNothingBehind) {
  clsRegistryTools tools(registry);
  tools.SetMyCompanyName("HAL+VEX");
  tools.SetMyProductName("Halvex");
  EXPECT_TRUE(tools.CanOpenGlobalRegKey());
  EXPECT_TRUE(FilesBelow(machine).empty());
  EXPECT_FALSE(fs::exists(machine + "/Software"));
}

TEST_F(FileRegistryTest, UnwritableMachineRootAnswersFalseWithoutError) {
  // A regular file where a folder would have to be: creating fails (ENOTDIR),
  // also for root, for whom permission bits do not count.
  test::WriteFileBytes(dir.File("blocker"), "not a folder");
  FileRegistry blocked(classes, user, dir.File("blocker") + "/machine");
  clsRegistryTools tools(blocked);
  tools.SetMyCompanyName("HAL+VEX");
  tools.SetMyProductName("Halvex");
  bool answer = true;
  EXPECT_NO_THROW(answer = tools.CanOpenGlobalRegKey());
  EXPECT_FALSE(answer);

  RegistryBackend::Handle key = 0;
  EXPECT_EQ(blocked.CreateKey(kMachine, "Software\\HAL+VEX\\Halvex\\X", reg::kKeyWrite, &key), 3);
  try {
    tools.GlobalSaveSetting("Zentavo", "A", "b");
    ADD_FAILURE() << "no error";
  } catch (const Error& e) {
    EXPECT_EQ(e.description(), "RegCreateKeyEx failed (3)");
    EXPECT_EQ(e.source(), "DoOpenRegistryKey");
  }
  // Reading a missing setting there fails as well: the key cannot be created.
  EXPECT_THROW(tools.GlobalGetSetting("Zentavo", "A", std::string("d")), Error);
  EXPECT_EQ(blocked.OpenHandleCount(), 0u);
  EXPECT_EQ(test::ReadFileBytes(dir.File("blocker")), "not a folder");
}

TEST_F(FileRegistryTest, ReadOnlyFolderDeniesWritesToOrdinaryUsers) {
  if (::geteuid() == 0) GTEST_SKIP() << "permission bits do not bind root";
  ASSERT_EQ(Set(kMachine, "Software\\C\\P\\S", "v", "1"), 0);
  fs::permissions(machine + "/Software/C", fs::perms::owner_write, fs::perm_options::remove);
  RegistryBackend::Handle key = 0;
  EXPECT_EQ(registry.OpenKey(kMachine, "Software\\C\\P\\S", reg::kKeyWrite, &key),
            reg::kAccessDenied);
  EXPECT_EQ(registry.CreateKey(kMachine, "Software\\C\\P\\T", reg::kKeyWrite, &key),
            reg::kAccessDenied);
  EXPECT_EQ(Get(kMachine, "Software\\C\\P\\S", "v"), "1");
  fs::permissions(machine + "/Software/C", fs::perms::owner_write, fs::perm_options::add);
}

TEST(FileRegistryEncoding, NamesAndValues) {
  EXPECT_EQ(FileRegistry::EncodeName(""), "@");
  EXPECT_EQ(FileRegistry::EncodeName("@"), "%40");
  EXPECT_EQ(FileRegistry::EncodeName("a@b"), "a@b");
  EXPECT_EQ(FileRegistry::EncodeName(" a b\t"), "%20a b%09");
  EXPECT_EQ(FileRegistry::EncodeName(";x=y%"), "%3Bx%3Dy%25");
  EXPECT_EQ(FileRegistry::EncodeName("[x"), "%5Bx");
  EXPECT_EQ(FileRegistry::EncodeValue(" \"50%\"\r\n "), " \"50%25\"%0D%0A ");
  EXPECT_EQ(FileRegistry::EncodeValue("a=b;c"), "a=b;c");
  EXPECT_EQ(FileRegistry::Decode("%25%0d%0A%zz%4"), "%\r\n%zz%4");
  EXPECT_EQ(FileRegistry::Decode("%"), "%");
}

TEST(FileRegistryRoots, DefaultsFollowTheUsersConfigFolder) {
  const char* old_xdg = std::getenv("XDG_CONFIG_HOME");
  const char* old_home = std::getenv("HOME");
  const std::optional<std::string> saved_xdg =
      old_xdg ? std::optional<std::string>(old_xdg) : std::nullopt;
  const std::optional<std::string> saved_home =
      old_home ? std::optional<std::string>(old_home) : std::nullopt;

  ::setenv("XDG_CONFIG_HOME", "/cfg/home/", 1);
  FileRegistry::Roots roots = FileRegistry::DefaultRoots();
  EXPECT_EQ(roots.current_user, "/cfg/home/kdzentavo/registry");
  EXPECT_EQ(roots.machine, "/etc/kdzentavo/registry");
  EXPECT_EQ(roots.classes, "/etc/kdzentavo/classes");

  ::setenv("HOME", "/home/praxis", 1);
  ::setenv("XDG_CONFIG_HOME", "relative/ignored", 1);
  EXPECT_EQ(FileRegistry::DefaultRoots().current_user, "/home/praxis/.config/kdzentavo/registry");
  ::unsetenv("XDG_CONFIG_HOME");
  EXPECT_EQ(FileRegistry::DefaultRoots().current_user, "/home/praxis/.config/kdzentavo/registry");
  EXPECT_EQ(FileRegistry::WithDefaultRoots().RootFolder(kUser),
            "/home/praxis/.config/kdzentavo/registry");

  if (saved_xdg) ::setenv("XDG_CONFIG_HOME", saved_xdg->c_str(), 1);
  if (saved_home) {
    ::setenv("HOME", saved_home->c_str(), 1);
  } else {
    ::unsetenv("HOME");
  }
}

TEST(FileRegistryRoots, TrailingSlashesOfRootsAreIgnored) {
  test::TempDir dir;
  FileRegistry registry(dir.File("c") + "/", dir.File("u") + "//", dir.File("m"));
  EXPECT_EQ(registry.RootFolder(kUser), dir.File("u"));
  EXPECT_EQ(registry.RootFolder(kClasses), dir.File("c"));
  RegistryBackend::Handle key = 0;
  ASSERT_EQ(registry.CreateKey(kUser, "A\\B", reg::kKeyWrite, &key), 0);
  EXPECT_EQ(registry.SetValue(key, "v", "x"), 0);
  EXPECT_EQ(registry.CloseKey(key), 0);
  EXPECT_EQ(FilesBelow(dir.File("u")), (std::vector<std::string>{"A.ini"}));
}

TEST(FileRegistryRoots, RelativeRootsAreBelowTheWorkingFolder) {
  test::TempDir dir;
  const fs::path saved = fs::current_path();
  fs::current_path(dir.path());
  {
    FileRegistry registry("c", "u", "m");
    RegistryBackend::Handle key = 0;
    EXPECT_EQ(registry.CreateKey(kUser, "A\\B\\C", reg::kKeyWrite, &key), 0);
    EXPECT_EQ(registry.SetValue(key, "v", "x"), 0);
    EXPECT_EQ(registry.CloseKey(key), 0);
  }
  fs::current_path(saved);
  EXPECT_EQ(test::ReadFileBytes(dir.File("u/A/B.ini")), "[C]\r\nv=\"x\"\r\n");
}

}  // namespace
}  // namespace kdzv::posix
