#include "settings/registry_tools.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "support/fake_registry.h"
#include "util/error.h"

namespace kdzv {
namespace {

using test::FakeRegistry;
using Op = FakeRegistry::Op;

constexpr RegistryRoot kUser = RegistryRoot::kCurrentUser;
constexpr RegistryRoot kMachine = RegistryRoot::kLocalMachine;
constexpr RegistryRoot kClasses = RegistryRoot::kClassesRoot;

// The error raised by `action`; a test failure when nothing is raised.
ErrorInfo Raised(const std::function<void()>& action) {
  try {
    action();
  } catch (const Error& e) {
    return e.info();
  }
  ADD_FAILURE() << "no error raised";
  return {};
}

class RegistryToolsTest : public ::testing::Test {
 protected:
  RegistryToolsTest() : tools(registry) {
    tools.SetMyCompanyName("Acme");
    tools.SetMyProductName("Widget");
  }
  FakeRegistry registry;
  clsRegistryTools tools;
};

TEST(RegistryToolsNames, StartEmpty) {
  FakeRegistry registry;
  clsRegistryTools tools(registry);
  EXPECT_EQ(tools.MyCompanyName(), "");
  EXPECT_EQ(tools.MyProductName(), "");
  tools.SetMyCompanyName("C");
  tools.SetMyProductName("P");
  EXPECT_EQ(tools.MyCompanyName(), "C");
  EXPECT_EQ(tools.MyProductName(), "P");
}

TEST_F(RegistryToolsTest, SectionPathJoinsCompanyProductAndSection) {
  EXPECT_EQ(tools.SectionPath("Zentavo"), "Software\\Acme\\Widget\\Zentavo");
}

TEST_F(RegistryToolsTest, LocalSaveWritesAStringUnderTheUserRoot) {
  tools.LocalSaveSetting("Main", "Folder", "C:\\Daten");
  EXPECT_EQ(registry.Value(kUser, "Software\\Acme\\Widget\\Main", "Folder"), "C:\\Daten");
  EXPECT_FALSE(registry.HasKey(kMachine, "Software\\Acme\\Widget\\Main"));
  ASSERT_EQ(registry.Ops(), (std::vector<Op>{Op::kCreateKey, Op::kSetValue, Op::kCloseKey}));
  const auto& create = registry.calls[0];
  EXPECT_EQ(create.root, kUser);
  EXPECT_EQ(create.path, "Software\\Acme\\Widget\\Main");
  EXPECT_EQ(create.access, 0x20006u);
  EXPECT_EQ(registry.calls[1].handle, create.handle);
  EXPECT_EQ(registry.calls[1].name, "Folder");
  EXPECT_EQ(registry.calls[1].data, "C:\\Daten");
  EXPECT_EQ(registry.calls[2].handle, create.handle);
  EXPECT_EQ(registry.OpenHandleCount(), 0u);
}

TEST_F(RegistryToolsTest, GlobalSaveWritesUnderTheMachineRoot) {
  tools.GlobalSaveSetting("Main", "Folder", "x");
  EXPECT_EQ(registry.Value(kMachine, "Software\\Acme\\Widget\\Main", "Folder"), "x");
  EXPECT_FALSE(registry.HasKey(kUser, "Software\\Acme\\Widget\\Main"));
  EXPECT_EQ(tools.GlobalGetSetting("Main", "Folder"), "x");
  EXPECT_EQ(tools.LocalGetSetting("Main", "Folder", std::string("none")), "none");
}

TEST_F(RegistryToolsTest, LocalGetReadsWithReadAccessAndTheLongestValueAsBuffer) {
  registry.PutValue(kUser, "Software\\Acme\\Widget\\Main", "Short", "ab");
  registry.PutValue(kUser, "Software\\Acme\\Widget\\Main", "Long", "0123456789");
  EXPECT_EQ(tools.LocalGetSetting("Main", "Short"), "ab");
  ASSERT_EQ(registry.Ops(), (std::vector<Op>{Op::kCreateKey, Op::kQueryMaxValueLength,
                                             Op::kQueryValue, Op::kCloseKey}));
  EXPECT_EQ(registry.calls[0].root, kUser);
  EXPECT_EQ(registry.calls[0].path, "Software\\Acme\\Widget\\Main");
  EXPECT_EQ(registry.calls[0].access, 0x20019u);
  // The buffer holds the longest value with its terminating zero; the
  // result is cut to the value's own length.
  EXPECT_EQ(registry.calls[2].buffer_bytes, 11u);
  EXPECT_EQ(registry.calls[2].name, "Short");
  EXPECT_EQ(registry.OpenHandleCount(), 0u);
  EXPECT_EQ(tools.LocalGetSetting("Main", "Long"), "0123456789");
}

TEST_F(RegistryToolsTest, ValuesKeepBlanksAndAnEmptyValueIsNotMissing) {
  tools.LocalSaveSetting("Main", "Padded", "  x  ");
  tools.LocalSaveSetting("Main", "Empty", "");
  EXPECT_EQ(tools.LocalGetSetting("Main", "Padded"), "  x  ");
  EXPECT_EQ(tools.LocalGetSetting("Main", "Empty", std::string("default")), "");
}

TEST_F(RegistryToolsTest, MissingValueWithDefaultGivesDefaultAndLeavesEmptyKey) {
  EXPECT_FALSE(registry.HasKey(kUser, "Software\\Acme\\Widget\\Fresh"));
  EXPECT_EQ(tools.LocalGetSetting("Fresh", "Anything", std::string("fallback")), "fallback");
  EXPECT_TRUE(registry.HasKey(kUser, "Software\\Acme\\Widget\\Fresh"));
  EXPECT_TRUE(registry.ValueNames(kUser, "Software\\Acme\\Widget\\Fresh").empty());
  EXPECT_EQ(registry.OpenHandleCount(), 0u);
  // An empty default is a default too.
  EXPECT_EQ(tools.LocalGetSetting("Fresh", "Anything", std::string()), "");
}

TEST_F(RegistryToolsTest, MissingValueWithoutDefaultRaises) {
  const ErrorInfo error = Raised([&] { tools.LocalGetSetting("Fresh", "Anything"); });
  EXPECT_EQ(error.number, registry_error::kNoDefault);
  EXPECT_EQ(error.description, "Key not found and no default specified (2)");
  EXPECT_EQ(error.source, "MyGetSetting");
  EXPECT_TRUE(registry.HasKey(kUser, "Software\\Acme\\Widget\\Fresh"));
  EXPECT_EQ(registry.OpenHandleCount(), 0u);
  EXPECT_EQ(registry.CountOf(Op::kCloseKey), 1u);
}

TEST_F(RegistryToolsTest, ErrorNumbersAreDistinctObjectErrors) {
  const std::vector<int32_t> numbers = {registry_error::kCreateKey, registry_error::kSetValue,
                                        registry_error::kCloseKey,  registry_error::kQueryInfo,
                                        registry_error::kNoDefault, registry_error::kQueryValue};
  for (size_t i = 0; i < numbers.size(); ++i) {
    EXPECT_EQ(numbers[i], err::kObjectError + static_cast<int32_t>(i) + 1);
  }
}

TEST_F(RegistryToolsTest, CreateKeyFailureRaisesFromDoOpenRegistryKey) {
  registry.FailOn(Op::kCreateKey, 5);
  ErrorInfo error = Raised([&] { tools.LocalSaveSetting("Main", "A", "b"); });
  EXPECT_EQ(error.number, registry_error::kCreateKey);
  EXPECT_EQ(error.description, "RegCreateKeyEx failed (5)");
  EXPECT_EQ(error.source, "DoOpenRegistryKey");
  EXPECT_EQ(registry.CountOf(Op::kSetValue), 0u);
  EXPECT_EQ(registry.CountOf(Op::kCloseKey), 0u);

  error = Raised([&] { tools.LocalGetSetting("Main", "A", std::string("d")); });
  EXPECT_EQ(error.description, "RegCreateKeyEx failed (5)");
  EXPECT_EQ(error.source, "DoOpenRegistryKey");
}

TEST_F(RegistryToolsTest, DoOpenRegistryKeyHandsTheOpenKeyToTheCaller) {
  const RegistryBackend::Handle key = tools.DoOpenRegistryKey(kMachine, "S", 0x20019);
  EXPECT_NE(key, 0u);
  EXPECT_TRUE(registry.HasKey(kMachine, "Software\\Acme\\Widget\\S"));
  EXPECT_EQ(registry.OpenHandleCount(), 1u);
  EXPECT_EQ(registry.CloseKey(key), 0);

  registry.FailOn(Op::kCreateKey, 1016);
  const ErrorInfo error = Raised([&] { tools.DoOpenRegistryKey(kMachine, "S", 0x20019); });
  EXPECT_EQ(error.description, "RegCreateKeyEx failed (1016)");
  EXPECT_EQ(error.source, "DoOpenRegistryKey");
}

TEST_F(RegistryToolsTest, WriteDeniedUnderMachineRootRaisesCreateKeyFailure) {
  registry.DenyWrites(kMachine);
  const ErrorInfo error = Raised([&] { tools.GlobalSaveSetting("Main", "A", "b"); });
  EXPECT_EQ(error.description, "RegCreateKeyEx failed (5)");
  EXPECT_EQ(error.source, "DoOpenRegistryKey");
}

TEST_F(RegistryToolsTest, SetValueFailureRaisesAndStillClosesTheKey) {
  registry.FailOn(Op::kSetValue, 5);
  const ErrorInfo error = Raised([&] { tools.LocalSaveSetting("Main", "A", "b"); });
  EXPECT_EQ(error.number, registry_error::kSetValue);
  EXPECT_EQ(error.description, "RegSetValueEx failed (5)");
  EXPECT_EQ(error.source, "MySaveSetting");
  EXPECT_EQ(registry.Ops(), (std::vector<Op>{Op::kCreateKey, Op::kSetValue, Op::kCloseKey}));
  EXPECT_EQ(registry.OpenHandleCount(), 0u);
}

TEST_F(RegistryToolsTest, SetValueFailureIsRaisedEvenWhenTheCloseFailsToo) {
  registry.FailOn(Op::kSetValue, 5);
  registry.FailOn(Op::kCloseKey, 6);
  const ErrorInfo error = Raised([&] { tools.LocalSaveSetting("Main", "A", "b"); });
  EXPECT_EQ(error.description, "RegSetValueEx failed (5)");
  EXPECT_EQ(registry.CountOf(Op::kCloseKey), 1u);
}

TEST_F(RegistryToolsTest, CloseFailureAfterSaveRaises) {
  registry.FailOn(Op::kCloseKey, 6);
  const ErrorInfo error = Raised([&] { tools.LocalSaveSetting("Main", "A", "b"); });
  EXPECT_EQ(error.number, registry_error::kCloseKey);
  EXPECT_EQ(error.description, "RegCloseKey failed (6)");
  EXPECT_EQ(error.source, "MySaveSetting");
  // The value was written before the close failed.
  EXPECT_EQ(registry.Value(kUser, "Software\\Acme\\Widget\\Main", "A"), "b");
  // Closed once, not again by the guard.
  EXPECT_EQ(registry.CountOf(Op::kCloseKey), 1u);
}

TEST_F(RegistryToolsTest, CloseFailureAfterReadRaises) {
  registry.PutValue(kUser, "Software\\Acme\\Widget\\Main", "A", "b");
  registry.FailOn(Op::kCloseKey, 6);
  ErrorInfo error = Raised([&] { tools.LocalGetSetting("Main", "A"); });
  EXPECT_EQ(error.number, registry_error::kCloseKey);
  EXPECT_EQ(error.description, "RegCloseKey failed (6)");
  EXPECT_EQ(error.source, "MyGetSetting");
  // Also when the default was taken.
  error = Raised([&] { tools.LocalGetSetting("Main", "Missing", std::string("d")); });
  EXPECT_EQ(error.description, "RegCloseKey failed (6)");
  EXPECT_EQ(registry.CountOf(Op::kCloseKey), 2u);
}

TEST_F(RegistryToolsTest, InfoQueryFailureHasTwoBlanksAndClosesTheKey) {
  registry.FailOn(Op::kQueryMaxValueLength, 1016);
  const ErrorInfo error = Raised([&] { tools.LocalGetSetting("Main", "A", std::string("d")); });
  EXPECT_EQ(error.number, registry_error::kQueryInfo);
  EXPECT_EQ(error.description, "RegQueryValueEx failed  (1016)");
  EXPECT_EQ(error.source, "MyGetSetting");
  EXPECT_EQ(registry.CountOf(Op::kQueryValue), 0u);
  EXPECT_EQ(registry.CountOf(Op::kCloseKey), 1u);
  EXPECT_EQ(registry.OpenHandleCount(), 0u);
}

TEST_F(RegistryToolsTest, ValueQueryFailureHasOneBlankAndClosesTheKey) {
  registry.FailOn(Op::kQueryValue, 234);
  const ErrorInfo error = Raised([&] { tools.LocalGetSetting("Main", "A", std::string("d")); });
  EXPECT_EQ(error.number, registry_error::kQueryValue);
  EXPECT_EQ(error.description, "RegQueryValueEx failed (234)");
  EXPECT_EQ(error.source, "MyGetSetting");
  EXPECT_EQ(registry.OpenHandleCount(), 0u);
}

TEST_F(RegistryToolsTest, AccessDeniedOnTheValueIsNotTakenForMissing) {
  registry.FailOn(Op::kQueryValue, 5);
  const ErrorInfo error = Raised([&] { tools.LocalGetSetting("Main", "A", std::string("d")); });
  EXPECT_EQ(error.description, "RegQueryValueEx failed (5)");
}

TEST_F(RegistryToolsTest, CanOpenGlobalRegKeyCreatesAndDeletesTheProbeKey) {
  EXPECT_TRUE(tools.CanOpenGlobalRegKey());
  ASSERT_EQ(registry.Ops(), (std::vector<Op>{Op::kCreateKey, Op::kCloseKey, Op::kDeleteKey}));
  EXPECT_EQ(registry.calls[0].root, kMachine);
  EXPECT_EQ(registry.calls[0].path, "Software\\Acme\\Widget\\__DUMMMY__");
  EXPECT_EQ(registry.calls[0].access, 0x20006u);
  EXPECT_EQ(registry.calls[1].handle, registry.calls[0].handle);
  EXPECT_EQ(registry.calls[2].root, kMachine);
  EXPECT_EQ(registry.calls[2].path, "Software\\Acme\\Widget\\__DUMMMY__");
  EXPECT_EQ(registry.calls[2].result, 0);
  EXPECT_FALSE(registry.HasKey(kMachine, "Software\\Acme\\Widget\\__DUMMMY__"));
  EXPECT_EQ(registry.OpenHandleCount(), 0u);
}

TEST_F(RegistryToolsTest, CanOpenGlobalRegKeyIsFalseWithoutWriteRights) {
  registry.DenyWrites(kMachine);
  bool answer = true;
  EXPECT_NO_THROW(answer = tools.CanOpenGlobalRegKey());
  EXPECT_FALSE(answer);
  EXPECT_EQ(registry.Ops(), (std::vector<Op>{Op::kCreateKey}));
  EXPECT_EQ(registry.KeyCount(), 0u);
}

TEST_F(RegistryToolsTest, CanOpenGlobalRegKeyIgnoresCloseAndDeleteFailures) {
  registry.FailOn(Op::kCloseKey, 6);
  registry.FailOn(Op::kDeleteKey, 5);
  bool answer = false;
  EXPECT_NO_THROW(answer = tools.CanOpenGlobalRegKey());
  EXPECT_TRUE(answer);
}

// A backend that throws where a result code was expected.
class ThrowingRegistry : public FakeRegistry {
 public:
  int32_t CreateKey(RegistryRoot, std::string_view, uint32_t, Handle*) override {
    Raise(7, "Out of memory", "backend");
  }
};

TEST(RegistryToolsProbe, CanOpenGlobalRegKeySwallowsRaisedErrors) {
  ThrowingRegistry registry;
  clsRegistryTools tools(registry);
  bool answer = true;
  EXPECT_NO_THROW(answer = tools.CanOpenGlobalRegKey());
  EXPECT_FALSE(answer);
}

class ClassLookupTest : public RegistryToolsTest {
 protected:
  ClassLookupTest() {
    registry.PutValue(kClasses, "Acme.Widget\\Clsid", "", "{1234}");
    registry.PutValue(kClasses, "CLSID\\{1234}", "", "Acme Widget");
    registry.PutValue(kClasses, "CLSID\\{1234}", "AppID", "{5678}");
  }
};

TEST_F(ClassLookupTest, ReadsTheClassIdThenTheRequestedValue) {
  EXPECT_EQ(tools.GetValueOfAClass("Acme.Widget", "AppID"), "{5678}");
  EXPECT_EQ(tools.GetValueOfAClass("Acme.Widget"), "Acme Widget");
  EXPECT_EQ(registry.CountOf(Op::kCreateKey), 0u);
  std::vector<std::string> opened;
  for (const auto& call : registry.calls) {
    if (call.op == Op::kOpenKey) {
      EXPECT_EQ(call.root, kClasses);
      EXPECT_EQ(call.access, 0x20019u);
      opened.push_back(call.path);
    }
  }
  EXPECT_EQ(opened, (std::vector<std::string>{"Acme.Widget\\Clsid", "CLSID\\{1234}",
                                              "Acme.Widget\\Clsid", "CLSID\\{1234}"}));
  EXPECT_EQ(registry.OpenHandleCount(), 0u);
}

TEST_F(ClassLookupTest, AMissingKeyIsToldWithTheCreateTextAndNothingIsCreated) {
  const size_t keys = registry.KeyCount();
  const ErrorInfo error = Raised([&] { tools.GetValueOfAClass("No.Such.Class", "AppID"); });
  EXPECT_EQ(error.number, registry_error::kCreateKey);
  EXPECT_EQ(error.description, "RegCreateKeyEx failed (2)");
  EXPECT_EQ(error.source, "GetValueOfAClass");
  EXPECT_EQ(registry.KeyCount(), keys);
  EXPECT_FALSE(registry.HasKey(kClasses, "No.Such.Class\\Clsid"));
}

TEST_F(ClassLookupTest, AMissingClassIdKeyFailsInTheSecondLookup) {
  registry.PutValue(kClasses, "Orphan\\Clsid", "", "{9999}");
  const ErrorInfo error = Raised([&] { tools.GetValueOfAClass("Orphan", "AppID"); });
  EXPECT_EQ(error.description, "RegCreateKeyEx failed (2)");
  EXPECT_EQ(error.source, "GetValueOfAClass");
  EXPECT_EQ(registry.OpenHandleCount(), 0u);
}

TEST_F(ClassLookupTest, AMissingValueRaisesTheNoDefaultText) {
  const ErrorInfo error = Raised([&] { tools.GetValueOfAClass("Acme.Widget", "Nope"); });
  EXPECT_EQ(error.number, registry_error::kNoDefault);
  EXPECT_EQ(error.description, "Key not found and no default specified (2)");
  EXPECT_EQ(error.source, "GetValueOfAClass");
  EXPECT_EQ(registry.OpenHandleCount(), 0u);
}

TEST_F(ClassLookupTest, QueryFailuresCarryTheLookupSource) {
  registry.FailOn(Op::kQueryMaxValueLength, 1016);
  ErrorInfo error = Raised([&] { tools.GetValueOfAClass("Acme.Widget", "AppID"); });
  EXPECT_EQ(error.description, "RegQueryValueEx failed  (1016)");
  EXPECT_EQ(error.source, "GetValueOfAClass");
  registry.FailOn(Op::kQueryMaxValueLength, 0);
  registry.FailOn(Op::kQueryValue, 5);
  error = Raised([&] { tools.GetValueOfAClass("Acme.Widget", "AppID"); });
  EXPECT_EQ(error.description, "RegQueryValueEx failed (5)");
  EXPECT_EQ(error.source, "GetValueOfAClass");
  registry.FailOn(Op::kQueryValue, 0);
  registry.FailOn(Op::kCloseKey, 6);
  error = Raised([&] { tools.GetValueOfAClass("Acme.Widget", "AppID"); });
  EXPECT_EQ(error.description, "RegCloseKey failed (6)");
  EXPECT_EQ(error.source, "GetValueOfAClass");
}

}  // namespace
}  // namespace kdzv
