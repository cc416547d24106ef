// The tests of the registry contract; instantiated per implementation.
#include "support/registry_conformance.h"

#include <string>
#include <vector>

namespace kdzv::test {

namespace {

constexpr RegistryRoot kUser = RegistryRoot::kCurrentUser;

using Handle = RegistryBackend::Handle;

}  // namespace

int32_t RegistryConformance::Set(const std::string& relative, const std::string& name,
                                 const std::string& value) {
  Handle key = 0;
  if (const int32_t result = registry.CreateKey(kUser, Path(relative), reg::kKeyWrite, &key)) {
    return result;
  }
  const int32_t result = registry.SetValue(key, name, value);
  EXPECT_EQ(registry.CloseKey(key), 0);
  return result;
}

std::string RegistryConformance::Get(const std::string& relative, const std::string& name) {
  Handle key = 0;
  int32_t result = registry.OpenKey(kUser, Path(relative), reg::kKeyRead, &key);
  if (result != 0) return "#" + std::to_string(result);
  size_t longest = 0;
  std::string value;
  result = registry.QueryMaxValueLength(key, &longest);
  if (result == 0) result = registry.QueryValue(key, name, longest, &value);
  EXPECT_EQ(registry.CloseKey(key), 0);
  return result == 0 ? value : "#" + std::to_string(result);
}

bool RegistryConformance::Exists(const std::string& relative) {
  Handle key = 0;
  const int32_t result = registry.OpenKey(kUser, Path(relative), reg::kKeyRead, &key);
  if (result != 0) return false;
  EXPECT_EQ(registry.CloseKey(key), 0);
  return true;
}

namespace {

TEST_P(RegistryConformance, CreateKeyMakesTheKeyAndItsParents) {
  Handle key = 0;
  EXPECT_EQ(registry.OpenKey(kUser, base, reg::kKeyRead, &key), reg::kFileNotFound);
  ASSERT_EQ(registry.CreateKey(kUser, Path("A\\B\\C"), reg::kKeyWrite, &key), 0);
  EXPECT_NE(key, 0u);
  EXPECT_EQ(registry.CloseKey(key), 0);
  EXPECT_TRUE(Exists("A"));
  EXPECT_TRUE(Exists("A\\B"));
  EXPECT_TRUE(Exists("A\\B\\C"));
  EXPECT_FALSE(Exists("A\\B\\C\\D"));
}

TEST_P(RegistryConformance, CreateKeyOpensAnExistingKey) {
  ASSERT_EQ(Set("S", "v", "kept"), 0);
  Handle first = 0;
  Handle second = 0;
  ASSERT_EQ(registry.CreateKey(kUser, Path("S"), reg::kKeyRead, &first), 0);
  ASSERT_EQ(registry.CreateKey(kUser, Path("S"), reg::kKeyRead, &second), 0);
  EXPECT_NE(first, 0u);
  EXPECT_NE(second, first);
  EXPECT_EQ(registry.CloseKey(first), 0);
  EXPECT_EQ(registry.CloseKey(second), 0);
  EXPECT_EQ(Get("S", "v"), "kept");
}

TEST_P(RegistryConformance, OpeningAMissingKeyIsNotFoundAndCreatesNothing) {
  Handle key = 7;
  EXPECT_EQ(registry.OpenKey(kUser, Path("Nothing"), reg::kKeyRead, &key), reg::kFileNotFound);
  EXPECT_EQ(key, 0u);
  key = 7;
  EXPECT_EQ(registry.OpenKey(kUser, Path("Nothing"), reg::kKeyWrite, &key), reg::kFileNotFound);
  EXPECT_EQ(key, 0u);
  EXPECT_EQ(registry.OpenKey(kUser, base, reg::kKeyRead, &key), reg::kFileNotFound);
  ASSERT_EQ(Set("X\\Y", "present", "1"), 0);
  EXPECT_FALSE(Exists("X\\Z"));
  EXPECT_FALSE(Exists("X\\Y\\Z"));
  EXPECT_EQ(Get("X\\Z", "present"), "#2");
  EXPECT_EQ(Get("Z\\Y", "present"), "#2");
}

TEST_P(RegistryConformance, ValuesRoundTripExactly) {
  const std::vector<std::string> values = {"",
                                           " lead",
                                           "trail ",
                                           "  both  ",
                                           "\"quoted\"",
                                           "\"",
                                           "'single'",
                                           "'",
                                           "a=b=c",
                                           "=",
                                           ";not a comment",
                                           "[no section]",
                                           "50%",
                                           "%41%",
                                           "%zz",
                                           "C:\\Daten\\neu",
                                           "line1\r\nline2\n",
                                           "tab\tinside",
                                           "\ttab",
                                           "Grüße, Zoë",
                                           "\xE2\x82\xAC \xE2\x9C\x93 \xF0\x9F\x98\x80",
                                           std::string("nul\0byte", 8)};
  for (size_t i = 0; i < values.size(); ++i) {
    ASSERT_EQ(Set("Values", "v" + std::to_string(i), values[i]), 0) << i;
  }
  for (size_t i = 0; i < values.size(); ++i) {
    EXPECT_EQ(Get("Values", "v" + std::to_string(i)), values[i]) << i;
  }
}

TEST_P(RegistryConformance, OddValueNamesRoundTripAndStayApart) {
  const std::vector<std::string> names = {"",   "@",   " lead", "trail ", "a=b", ";semi",
                                          "[br", "50%", "%41",   "\tx",    "Grüße", "Ä"};
  for (size_t i = 0; i < names.size(); ++i) {
    ASSERT_EQ(Set("Names", names[i], "value" + std::to_string(i)), 0) << i;
  }
  for (size_t i = 0; i < names.size(); ++i) {
    EXPECT_EQ(Get("Names", names[i]), "value" + std::to_string(i)) << i;
  }
  EXPECT_EQ(Get("Names", "ä"), "value11");
  EXPECT_EQ(Get("Names", "lead"), "#2");
  EXPECT_EQ(Get("Names", "trail"), "#2");
}

TEST_P(RegistryConformance, NamesAreMatchedWithoutRegardToCase) {
  ASSERT_EQ(Set("Prod\\Main", "DownloadPath", "C:\\in"), 0);
  EXPECT_EQ(Get("PROD\\main", "downloadpath"), "C:\\in");
  ASSERT_EQ(Set("prod\\MAIN", "DOWNLOADPATH", "C:\\out"), 0);
  EXPECT_EQ(Get("Prod\\Main", "DownloadPath"), "C:\\out");
  // Letters beyond ASCII fold as well.
  ASSERT_EQ(Set("Prod\\Ärzte", "Übung", "1"), 0);
  EXPECT_EQ(Get("prod\\ärzte", "übung"), "1");
  ASSERT_EQ(Set("PROD\\ÄRZTE", "ÜBUNG", "2"), 0);
  EXPECT_EQ(Get("Prod\\Ärzte", "Übung"), "2");
  // One value each: the longest value is that of the one value.
  Handle key = 0;
  ASSERT_EQ(registry.OpenKey(kUser, Path("Prod\\Main"), reg::kKeyRead, &key), 0);
  std::string value;
  EXPECT_EQ(registry.QueryValue(key, "downloadPATH", 6, &value), reg::kMoreData);
  EXPECT_EQ(registry.QueryValue(key, "downloadPATH", 7, &value), 0);
  EXPECT_EQ(value, "C:\\out");
  EXPECT_EQ(registry.CloseKey(key), 0);
}

TEST_P(RegistryConformance, MissingValuesAreNotFound) {
  Handle key = 0;
  ASSERT_EQ(registry.CreateKey(kUser, Path("Empty"), reg::kKeyRead, &key), 0);
  size_t longest = 99;
  EXPECT_EQ(registry.QueryMaxValueLength(key, &longest), 0);
  EXPECT_LT(longest, 99u);
  std::string value = "untouched";
  EXPECT_EQ(registry.QueryValue(key, "x", 100, &value), reg::kFileNotFound);
  EXPECT_EQ(registry.QueryValue(key, "", 100, &value), reg::kFileNotFound);
  EXPECT_EQ(value, "untouched");
  EXPECT_EQ(registry.CloseKey(key), 0);
  ASSERT_EQ(Set("Full", "present", "1"), 0);
  EXPECT_EQ(Get("Full", "absent"), "#2");
  EXPECT_EQ(Get("Full", "presen"), "#2");
}

TEST_P(RegistryConformance, LongestValueLeavesRoomForEveryValueWithItsZero) {
  const std::vector<std::string> values = {"ab", "0123456789", "", "%%%%", "Grüße",
                                           "\xE2\x82\xAC\xE2\x82\xAC\xE2\x82\xAC",
                                           "\xF0\x9F\x98\x80\xF0\x9F\x98\x80"};
  for (size_t i = 0; i < values.size(); ++i) {
    ASSERT_EQ(Set("S", "v" + std::to_string(i), values[i]), 0) << i;
  }
  Handle key = 0;
  ASSERT_EQ(registry.OpenKey(kUser, Path("S"), reg::kKeyRead, &key), 0);
  size_t longest = 0;
  ASSERT_EQ(registry.QueryMaxValueLength(key, &longest), 0);
  for (size_t i = 0; i < values.size(); ++i) {
    EXPECT_GE(longest, values[i].size() + 1) << i;
    std::string value;
    EXPECT_EQ(registry.QueryValue(key, "v" + std::to_string(i), longest, &value), 0) << i;
    EXPECT_EQ(value, values[i]) << i;
  }
  EXPECT_EQ(registry.CloseKey(key), 0);
}

TEST_P(RegistryConformance, ABufferWithoutRoomForTheZeroIsMoreData) {
  const std::string text = "Grüße \xE2\x9C\x93 \xF0\x9F\x98\x80 C:\\Daten";
  ASSERT_EQ(Set("S", "Name", text), 0);
  ASSERT_EQ(Set("S", "Long", "0123456789"), 0);
  ASSERT_EQ(Set("S", "Empty", ""), 0);
  Handle key = 0;
  ASSERT_EQ(registry.OpenKey(kUser, Path("S"), reg::kKeyRead, &key), 0);
  std::string value = "untouched";
  EXPECT_EQ(registry.QueryValue(key, "Long", 10, &value), reg::kMoreData);
  EXPECT_EQ(registry.QueryValue(key, "Name", text.size(), &value), reg::kMoreData);
  EXPECT_EQ(registry.QueryValue(key, "Empty", 0, &value), reg::kMoreData);
  EXPECT_EQ(value, "untouched");
  EXPECT_EQ(registry.QueryValue(key, "Long", 11, &value), 0);
  EXPECT_EQ(value, "0123456789");
  EXPECT_EQ(registry.QueryValue(key, "Name", text.size() + 1, &value), 0);
  EXPECT_EQ(value, text);
  EXPECT_EQ(registry.QueryValue(key, "Empty", 1, &value), 0);
  EXPECT_EQ(value, "");
  EXPECT_EQ(registry.CloseKey(key), 0);
}

TEST_P(RegistryConformance, HandlesOfOneKeySeeEachOthersChanges) {
  Handle writer = 0;
  Handle reader = 0;
  ASSERT_EQ(registry.CreateKey(kUser, Path("S"), reg::kKeyWrite, &writer), 0);
  ASSERT_EQ(registry.OpenKey(kUser, Path("S"), reg::kKeyRead, &reader), 0);
  EXPECT_EQ(registry.SetValue(writer, "v", "1"), 0);
  std::string value;
  EXPECT_EQ(registry.QueryValue(reader, "v", 100, &value), 0);
  EXPECT_EQ(value, "1");
  EXPECT_EQ(registry.CloseKey(writer), 0);
  EXPECT_EQ(registry.QueryValue(reader, "v", 100, &value), 0);
  EXPECT_EQ(registry.CloseKey(reader), 0);
}

TEST_P(RegistryConformance, HandlesCarryTheirAccessRights) {
  ASSERT_EQ(Set("S", "v", "1"), 0);
  Handle reader = 0;
  Handle writer = 0;
  ASSERT_EQ(registry.OpenKey(kUser, Path("S"), reg::kKeyRead, &reader), 0);
  ASSERT_EQ(registry.OpenKey(kUser, Path("S"), reg::kKeyWrite, &writer), 0);
  EXPECT_EQ(registry.SetValue(reader, "v", "2"), reg::kAccessDenied);
  std::string value;
  EXPECT_EQ(registry.QueryValue(writer, "v", 100, &value), reg::kAccessDenied);
  EXPECT_EQ(registry.SetValue(writer, "v", "3"), 0);
  EXPECT_EQ(registry.QueryValue(reader, "v", 100, &value), 0);
  EXPECT_EQ(value, "3");
  EXPECT_EQ(registry.CloseKey(reader), 0);
  EXPECT_EQ(registry.CloseKey(writer), 0);
}

TEST_P(RegistryConformance, UnknownAndClosedHandlesAreInvalid) {
  std::string value;
  size_t longest = 0;
  for (const Handle unknown : {Handle{0}, Handle{4242}}) {
    EXPECT_EQ(registry.QueryValue(unknown, "v", 10, &value), reg::kInvalidHandle);
    EXPECT_EQ(registry.QueryMaxValueLength(unknown, &longest), reg::kInvalidHandle);
    EXPECT_EQ(registry.SetValue(unknown, "v", "x"), reg::kInvalidHandle);
    EXPECT_EQ(registry.CloseKey(unknown), reg::kInvalidHandle);
  }
  Handle key = 0;
  ASSERT_EQ(registry.CreateKey(kUser, Path("S"), reg::kKeyRead | reg::kKeyWrite, &key), 0);
  EXPECT_EQ(registry.CloseKey(key), 0);
  EXPECT_EQ(registry.QueryValue(key, "v", 10, &value), reg::kInvalidHandle);
  EXPECT_EQ(registry.QueryMaxValueLength(key, &longest), reg::kInvalidHandle);
  EXPECT_EQ(registry.SetValue(key, "v", "x"), reg::kInvalidHandle);
  EXPECT_EQ(registry.CloseKey(key), reg::kInvalidHandle);
}

TEST_P(RegistryConformance, DeleteKeyKeepsSiblingsAndIsNotFoundForMissingKeys) {
  ASSERT_EQ(Set("A\\B\\C", "v", "c"), 0);
  ASSERT_EQ(Set("A\\B\\D", "v", "d"), 0);
  EXPECT_EQ(registry.DeleteKey(kUser, Path("A\\b\\c")), 0);
  EXPECT_FALSE(Exists("A\\B\\C"));
  EXPECT_EQ(Get("A\\B\\C", "v"), "#2");
  EXPECT_EQ(Get("A\\B\\D", "v"), "d");
  EXPECT_EQ(registry.DeleteKey(kUser, Path("A\\B\\C")), reg::kFileNotFound);
  EXPECT_EQ(registry.DeleteKey(kUser, Path("X\\Y")), reg::kFileNotFound);
  EXPECT_EQ(registry.DeleteKey(kUser, Path("X")), reg::kFileNotFound);
}

TEST_P(RegistryConformance, AKeyWithSubKeysIsNotDeleted) {
  // Every key created on its own: how long parents made on the way live
  // differs between the implementations.
  for (const char* path : {"A", "A\\B", "A\\B\\C"}) ASSERT_EQ(Set(path, "v", path), 0);
  EXPECT_EQ(registry.DeleteKey(kUser, Path("A")), reg::kAccessDenied);
  EXPECT_EQ(registry.DeleteKey(kUser, Path("a\\b")), reg::kAccessDenied);
  EXPECT_EQ(Get("A\\B\\C", "v"), "A\\B\\C");
  EXPECT_EQ(Get("A\\B", "v"), "A\\B");
  EXPECT_EQ(registry.DeleteKey(kUser, Path("A\\B\\C")), 0);
  EXPECT_EQ(Get("A\\B", "v"), "A\\B");
  EXPECT_EQ(registry.DeleteKey(kUser, Path("A\\B")), 0);
  EXPECT_EQ(Get("A", "v"), "A");
  EXPECT_EQ(registry.DeleteKey(kUser, Path("A")), 0);
  EXPECT_FALSE(Exists("A"));
}

TEST_P(RegistryConformance, SettingAValueOfADeletedKeyFails) {
  Handle key = 0;
  ASSERT_EQ(registry.CreateKey(kUser, Path("A\\B"), reg::kKeyWrite, &key), 0);
  ASSERT_EQ(registry.DeleteKey(kUser, Path("A\\B")), 0);
  EXPECT_EQ(registry.SetValue(key, "v", "1"), 1018);
  EXPECT_FALSE(Exists("A\\B"));
  EXPECT_EQ(registry.CloseKey(key), 0);
}

// Reads of a key deleted while it is open fail like the set does, so the
// settings store reports them instead of falling back to a default.
TEST_P(RegistryConformance, ReadingAKeyDeletedMeanwhileFails) {
  Handle writer = 0;
  ASSERT_EQ(registry.CreateKey(kUser, Path("Gone"), reg::kKeyWrite, &writer), 0);
  ASSERT_EQ(registry.SetValue(writer, "v", "1"), 0);
  EXPECT_EQ(registry.CloseKey(writer), 0);
  Handle key = 0;
  ASSERT_EQ(registry.OpenKey(kUser, Path("Gone"), reg::kKeyRead, &key), 0);
  ASSERT_EQ(registry.DeleteKey(kUser, Path("Gone")), 0);
  std::string value;
  size_t longest = 0;
  EXPECT_EQ(registry.QueryValue(key, "v", 100, &value), 1018);
  EXPECT_EQ(registry.QueryMaxValueLength(key, &longest), 1018);
  EXPECT_EQ(registry.CloseKey(key), 0);
}

}  // namespace
}  // namespace kdzv::test
