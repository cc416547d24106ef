// The type library of the automation surface, both architectures, against
// the records of the core: the names, dispatch ids and order of every
// record's properties, the enumerations, the interface object's members and
// its events. A 32-bit type library loads as data in a 64-bit process.
#include <windows.h>
#include <oleauto.h>

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "automation_doc/idl_surface.h"
#include "com/registration_table.h"
#include "interface/records.h"
#include "platform/win32/com_ptr.h"
#include "platform/win32/com_values.h"
#include "platform/win32/wide_text.h"
#include "settings/zv_settings.h"
#include "support/fakes.h"

namespace kdzv {
namespace {

using win32::ComPtr;
using win32::UniqueBstr;

// One function of an interface: its name, dispatch id and kind.
using Member = std::tuple<std::string, MEMBERID, INVOKEKIND>;

// 32 and 64: the type library files widl made; 132 and 164: the ones
// embedded in the built DLLs (the i686 DLL of the 32-bit build tree, which
// the test command builds first).
std::string TypeLibraryPath(int which) {
  if (which == 164) return KDZV_DLL_PATH;
  if (which == 132) return KDZV_I686_DLL_PATH;
  return std::string(KDZV_TYPELIB_DIR) + "/kdZentavo" + std::to_string(which) + ".tlb";
}

// The properties of a record as its getter and setter, numbered from 0 in
// the record's order.
template <class Record>
std::vector<Member> RecordMembers() {
  std::vector<Member> members;
  Record record;
  MEMBERID id = 0;
  record.VisitProperties([&](std::string_view name, const auto&) {
    members.emplace_back(std::string(name), id, INVOKE_PROPERTYGET);
    members.emplace_back(std::string(name), id, INVOKE_PROPERTYPUT);
    ++id;
  });
  return members;
}

class TypeLibraryTest : public ::testing::TestWithParam<int> {
 protected:
  void SetUp() override {
    const HRESULT loaded = ::LoadTypeLibEx(win32::Widen(TypeLibraryPath(GetParam())).c_str(),
                                           REGKIND_NONE, library.Put());
    ASSERT_EQ(loaded, S_OK) << TypeLibraryPath(GetParam());
  }

  // The type description named `name`.
  ComPtr<ITypeInfo> TypeNamed(const std::string& name) {
    const UINT count = library->GetTypeInfoCount();
    for (UINT i = 0; i < count; ++i) {
      UniqueBstr found;
      if (SUCCEEDED(library->GetDocumentation(static_cast<INT>(i), found.Put(), nullptr,
                                              nullptr, nullptr)) &&
          found.Utf8() == name) {
        ComPtr<ITypeInfo> info;
        EXPECT_EQ(library->GetTypeInfo(i, info.Put()), S_OK);
        return info;
      }
    }
    ADD_FAILURE() << "no type " << name;
    return {};
  }

  // The functions of a dual interface in vtable order, without those of
  // IDispatch and IUnknown.
  std::vector<Member> MembersOf(const std::string& interface_name) {
    std::vector<Member> members;
    ComPtr<ITypeInfo> info = TypeNamed(interface_name);
    if (!info) return members;
    TYPEATTR* attributes = nullptr;
    if (FAILED(info->GetTypeAttr(&attributes))) return members;
    const TYPEKIND kind = attributes->typekind;
    info->ReleaseTypeAttr(attributes);
    if (kind == TKIND_DISPATCH) {
      // The interface behind a dual dispatch description.
      HREFTYPE reference = 0;
      ComPtr<ITypeInfo> vtable;
      if (FAILED(info->GetRefTypeOfImplType(-1, &reference)) ||
          FAILED(info->GetRefTypeInfo(reference, vtable.Put()))) {
        ADD_FAILURE() << interface_name << " is not dual";
        return members;
      }
      info = std::move(vtable);
    }
    if (FAILED(info->GetTypeAttr(&attributes))) return members;
    const WORD functions = attributes->cFuncs;
    info->ReleaseTypeAttr(attributes);
    for (WORD i = 0; i < functions; ++i) {
      FUNCDESC* function = nullptr;
      if (FAILED(info->GetFuncDesc(i, &function))) continue;
      UniqueBstr name;
      UINT got = 0;
      info->GetNames(function->memid, name.Put(), 1, &got);
      members.emplace_back(name.Utf8(), function->memid, function->invkind);
      info->ReleaseFuncDesc(function);
    }
    return members;
  }

  // The members of a dispinterface (the events), as name and id.
  std::vector<std::pair<std::string, MEMBERID>> EventsOf(const std::string& name) {
    std::vector<std::pair<std::string, MEMBERID>> events;
    ComPtr<ITypeInfo> info = TypeNamed(name);
    if (!info) return events;
    TYPEATTR* attributes = nullptr;
    if (FAILED(info->GetTypeAttr(&attributes))) return events;
    const WORD functions = attributes->cFuncs;
    info->ReleaseTypeAttr(attributes);
    for (WORD i = 0; i < functions; ++i) {
      FUNCDESC* function = nullptr;
      if (FAILED(info->GetFuncDesc(i, &function))) continue;
      UniqueBstr member;
      UINT got = 0;
      info->GetNames(function->memid, member.Put(), 1, &got);
      events.emplace_back(member.Utf8(), function->memid);
      info->ReleaseFuncDesc(function);
    }
    return events;
  }

  // The values of an enumeration, by name.
  std::map<std::string, long> EnumerationNamed(const std::string& name) {
    std::map<std::string, long> values;
    ComPtr<ITypeInfo> info = TypeNamed(name);
    if (!info) return values;
    TYPEATTR* attributes = nullptr;
    if (FAILED(info->GetTypeAttr(&attributes))) return values;
    const WORD count = attributes->cVars;
    info->ReleaseTypeAttr(attributes);
    for (WORD i = 0; i < count; ++i) {
      VARDESC* variable = nullptr;
      if (FAILED(info->GetVarDesc(i, &variable))) continue;
      UniqueBstr member;
      UINT got = 0;
      info->GetNames(variable->memid, member.Put(), 1, &got);
      values[member.Utf8()] = variable->lpvarValue->lVal;
      info->ReleaseVarDesc(variable);
    }
    return values;
  }

  ComPtr<ITypeLib> library;
};

TEST_P(TypeLibraryTest, TheLibraryAndTheInterfaceObjectCarryTheHelpString) {
  UniqueBstr name;
  UniqueBstr help;
  ASSERT_EQ(library->GetDocumentation(-1, name.Put(), help.Put(), nullptr, nullptr), S_OK);
  EXPECT_EQ(name.Utf8(), "kdZentavo");
  EXPECT_EQ(help.Utf8(), "Halvex-Interface f\xC3\xBCr Zentavo");
  ComPtr<ITypeInfo> coclass = TypeNamed("kdZVInterface");
  ASSERT_TRUE(coclass);
  UniqueBstr coclass_help;
  ASSERT_EQ(coclass->GetDocumentation(MEMBERID_NIL, nullptr, coclass_help.Put(), nullptr, nullptr),
            S_OK);
  EXPECT_EQ(coclass_help.Utf8(), "Halvex-Interface f\xC3\xBCr Zentavo");
  ComPtr<ITypeInfo> interface_info = TypeNamed("_kdZVInterface");
  ASSERT_TRUE(interface_info);
  UniqueBstr interface_help;
  ASSERT_EQ(interface_info->GetDocumentation(MEMBERID_NIL, nullptr, interface_help.Put(), nullptr,
                                             nullptr),
            S_OK);
  EXPECT_EQ(interface_help.Utf8(), "Halvex-Interface f\xC3\xBCr Zentavo");
}

TEST_P(TypeLibraryTest, RecordPropertiesAreNumberedFromZeroInTheRecordsOrder) {
  EXPECT_EQ(MembersOf("_kdZVTermin"), RecordMembers<kdZVTermin>());
  EXPECT_EQ(MembersOf("_kdZVCalendar"), RecordMembers<kdZVCalendar>());
  EXPECT_EQ(MembersOf("_kdZVBelegungsZeit"), RecordMembers<kdZVBelegungsZeit>());
  std::vector<Member> belegung = RecordMembers<kdZVBelegung>();
  // Zeiten, the object property, after the values.
  belegung.emplace_back("Zeiten", 5, INVOKE_PROPERTYGET);
  belegung.emplace_back("Zeiten", 5, INVOKE_PROPERTYPUTREF);
  EXPECT_EQ(MembersOf("_kdZVBelegung"), belegung);
}

TEST_P(TypeLibraryTest, SettingsPropertiesFollowTheSettingsRecord) {
  std::vector<Member> expected;
  MEMBERID id = 0;
  for (const std::string_view name : clZVSettings::PropertyNames()) {
    expected.emplace_back(std::string(name), id, INVOKE_PROPERTYGET);
    expected.emplace_back(std::string(name), id, INVOKE_PROPERTYPUT);
    ++id;
  }
  EXPECT_EQ(MembersOf("_clZVSettings"), expected);
}

TEST_P(TypeLibraryTest, CollectionsHaveItemAsTheirDefaultMemberAndAHiddenEnumerator) {
  for (const char* collection : {"_kdZVBelegungen", "_kdZVBelegungsZeiten"}) {
    const std::vector<Member> expected = {{"Item", DISPID_VALUE, INVOKE_PROPERTYGET},
                                          {"Add", 1, INVOKE_FUNC},
                                          {"Count", 2, INVOKE_PROPERTYGET},
                                          {"Remove", 3, INVOKE_FUNC},
                                          {"NewEnum", DISPID_NEWENUM, INVOKE_PROPERTYGET}};
    EXPECT_EQ(MembersOf(collection), expected) << collection;
  }
}

TEST_P(TypeLibraryTest, TheInterfaceObjectsMembersInTheirOrder) {
  const std::vector<Member> expected = {
      {"CheckLogAccess", 1, INVOKE_FUNC},
      {"ShowSettings", 2, INVOKE_FUNC},
      {"ShowSettingsStatusMsg", 3, INVOKE_FUNC},
      {"Settings", 4, INVOKE_PROPERTYGET},
      {"Settings", 4, INVOKE_PROPERTYPUTREF},
      {"StartSync", 5, INVOKE_FUNC},
      {"CreateKdZVTermin", 6, INVOKE_FUNC},
      {"TestDownFile", 7, INVOKE_FUNC},
      {"ConvertLocalToZentavoDateTime", 8, INVOKE_FUNC},
      {"ConvertZentavoToLocalDateTime", 9, INVOKE_FUNC},
      {"TestFireOpeningTimes", 10, INVOKE_FUNC}};
  EXPECT_EQ(MembersOf("_kdZVInterface"), expected);
}

TEST_P(TypeLibraryTest, TheEventsAreNumberedFromOne) {
  const std::vector<std::pair<std::string, MEMBERID>> expected = {
      {"OnTermin", 1},
      {"OnSyncLog", 2},
      {"OnCalendar", 3},
      {"OnAttribute", 4},
      {"OnQueryOpeningTime", 5},
      {"EinstellungenAmServiceValidieren", 6},
      {"ZentavoSyncTesten", 7}};
  EXPECT_EQ(EventsOf("__kdZVInterface"), expected);
}

TEST_P(TypeLibraryTest, TheEnumerationsHaveTheCoresValues) {
  EXPECT_EQ(EnumerationNamed("enmZVRetValues"),
            (std::map<std::string, long>{{"ZV_Success", ZV_Success},
                                         {"ZV_Error_PathNotExist", ZV_Error_PathNotExist},
                                         {"ZV_Error_TimeOut", ZV_Error_TimeOut},
                                         {"ZV_Error_PathNotEmpty", ZV_Error_PathNotEmpty},
                                         {"ZV_Error_Cancel", ZV_Error_Cancel},
                                         {"ZV_Error_General", ZV_Error_General},
                                         {"ZV_Error_LogFileAccess", ZV_Error_LogFileAccess}}));
  EXPECT_EQ(EnumerationNamed("enmZVTerminCommand"),
            (std::map<std::string, long>{{"Termin_Add", Termin_Add},
                                         {"Termin_Delete", Termin_Delete},
                                         {"Termin_Replace", Termin_Replace}}));
  EXPECT_EQ(EnumerationNamed("enmZVTerminStatus"),
            (std::map<std::string, long>{
                {"TerminStatus_Booked", TerminStatus_Booked},
                {"TerminStatus_Requested", TerminStatus_Requested},
                {"TerminStatus_ClientCanceled", TerminStatus_ClientCanceled},
                {"TerminStatus_ProviderCanceled", TerminStatus_ProviderCanceled}}));
  EXPECT_EQ(EnumerationNamed("enmZVCalendarCommand"),
            (std::map<std::string, long>{{"Object_Add", Object_Add},
                                         {"Object_Delete", Object_Delete},
                                         {"Object_Replace", Object_Replace}}));
}

// The help string of every type, and of every property, method and event,
// read back through ITypeInfo::GetDocumentation as a host's object browser
// reads it: none is empty, and each is the text of the IDL, umlauts
// included (the IDL is Windows-1252, which widl copies byte for byte and
// the automation runtime reads back as UTF-16).
TEST_P(TypeLibraryTest, EveryTypeAndMemberHasTheHelpStringOfTheIdl) {
  const surface::Library idl = surface::ReadIdl(test::ReadFileBytes(KDZV_IDL_PATH));
  UniqueBstr library_help;
  ASSERT_EQ(library->GetDocumentation(-1, nullptr, library_help.Put(), nullptr, nullptr), S_OK);
  EXPECT_EQ(std::wstring(library_help.get()), win32::Widen(idl.help));

  // Compares the documentation of `member` of `info` with `expected`.
  auto check = [](ITypeInfo* info, MEMBERID member, const std::string& what,
                  const std::string& expected) {
    UniqueBstr help;
    ASSERT_EQ(info->GetDocumentation(member, nullptr, help.Put(), nullptr, nullptr), S_OK) << what;
    const std::wstring text = help.get() != nullptr ? std::wstring(help.get()) : std::wstring();
    EXPECT_FALSE(text.empty()) << what << " has no help string";
    EXPECT_EQ(text, win32::Widen(expected)) << what;
  };
  // The functions of `info` that the IDL declares for `type`: every one of
  // them found, each with its help string. (The dispatch view of a dual
  // interface also lists those of IDispatch, which are not ours.)
  auto check_functions = [&](ITypeInfo* info, const surface::Type& type, const char* view) {
    TYPEATTR* attributes = nullptr;
    ASSERT_EQ(info->GetTypeAttr(&attributes), S_OK);
    const WORD functions = attributes->cFuncs;
    info->ReleaseTypeAttr(attributes);
    size_t found = 0;
    for (WORD i = 0; i < functions; ++i) {
      FUNCDESC* function = nullptr;
      ASSERT_EQ(info->GetFuncDesc(i, &function), S_OK);
      const MEMBERID id = function->memid;
      info->ReleaseFuncDesc(function);
      UniqueBstr name;
      UINT got = 0;
      ASSERT_EQ(info->GetNames(id, name.Put(), 1, &got), S_OK);
      const std::string member = name.Utf8();
      for (const surface::Function& declared : type.functions) {
        if (declared.name != member) continue;
        check(info, id, type.name + "." + member + " (" + view + ")", declared.help);
        ++found;
        break;
      }
    }
    EXPECT_EQ(found, type.functions.size()) << type.name << " (" << view << ")";
  };

  const UINT count = library->GetTypeInfoCount();
  EXPECT_EQ(static_cast<size_t>(count), idl.types.size());
  for (UINT i = 0; i < count; ++i) {
    UniqueBstr name;
    ASSERT_EQ(library->GetDocumentation(static_cast<INT>(i), name.Put(), nullptr, nullptr, nullptr),
              S_OK);
    const surface::Type* type = idl.Find(name.Utf8());
    ASSERT_NE(type, nullptr) << name.Utf8() << " is not in the IDL";
    ComPtr<ITypeInfo> info;
    ASSERT_EQ(library->GetTypeInfo(i, info.Put()), S_OK);
    check(info.get(), MEMBERID_NIL, type->name, type->help);
    if (type->kind != surface::Type::Kind::kInterface &&
        type->kind != surface::Type::Kind::kDispInterface) {
      continue;
    }
    check_functions(info.get(), *type, "dispatch");
    if (type->kind == surface::Type::Kind::kInterface) {
      // The vtable interface behind the dual dispatch description.
      HREFTYPE reference = 0;
      ComPtr<ITypeInfo> vtable;
      ASSERT_EQ(info->GetRefTypeOfImplType(-1, &reference), S_OK) << type->name;
      ASSERT_EQ(info->GetRefTypeInfo(reference, vtable.Put()), S_OK) << type->name;
      check(vtable.get(), MEMBERID_NIL, type->name + " (vtable)", type->help);
      check_functions(vtable.get(), *type, "vtable");
    }
  }
}

// The registration table (which the library's registration and the
// installer package are made from) names every class and interface with the
// GUID the type library gives it.
TEST_P(TypeLibraryTest, TheRegistrationTableHasTheTypeLibrarysGuids) {
  auto guid_of = [](const char* text) {
    GUID guid = {};
    EXPECT_EQ(::CLSIDFromString(win32::Widen(text).c_str(), &guid), S_OK) << text;
    return guid;
  };
  TLIBATTR* attributes = nullptr;
  ASSERT_EQ(library->GetLibAttr(&attributes), S_OK);
  EXPECT_TRUE(::IsEqualGUID(attributes->guid, guid_of(com::table::kLibraryId)));
  EXPECT_EQ(std::to_string(attributes->wMajorVerNum) + "." +
                std::to_string(attributes->wMinorVerNum),
            com::table::kLibraryVersion);
  library->ReleaseTLibAttr(attributes);
  UniqueBstr help;
  ASSERT_EQ(library->GetDocumentation(-1, nullptr, help.Put(), nullptr, nullptr), S_OK);
  EXPECT_EQ(std::wstring(help.get()), win32::Widen(com::table::kLibraryName));

  auto check = [&](const char* name, const char* text, TYPEKIND kind, bool dual) {
    ComPtr<ITypeInfo> info;
    ASSERT_EQ(library->GetTypeInfoOfGuid(guid_of(text), info.Put()), S_OK) << name;
    UniqueBstr found;
    ASSERT_EQ(info->GetDocumentation(MEMBERID_NIL, found.Put(), nullptr, nullptr, nullptr), S_OK);
    EXPECT_EQ(std::wstring(found.get()), win32::Widen(name));
    TYPEATTR* type = nullptr;
    ASSERT_EQ(info->GetTypeAttr(&type), S_OK);
    EXPECT_EQ(type->typekind, kind) << name;
    EXPECT_EQ((type->wTypeFlags & TYPEFLAG_FDUAL) != 0, dual) << name;
    info->ReleaseTypeAttr(type);
  };
  for (const auto& entry : com::table::kClasses) {
    check(entry.name, entry.clsid, TKIND_COCLASS, false);
  }
  for (const auto& entry : com::table::kInterfaces) {
    check(entry.name, entry.iid, TKIND_DISPATCH, !entry.dispinterface);
  }
  EXPECT_EQ(std::size(com::table::kClasses) + std::size(com::table::kInterfaces) + 4u,
            static_cast<size_t>(library->GetTypeInfoCount()))
      << "the type library has classes or interfaces the table does not name "
         "(besides its four enumerations)";
}

INSTANTIATE_TEST_SUITE_P(BothArchitectures, TypeLibraryTest, ::testing::Values(32, 64),
                         [](const ::testing::TestParamInfo<int>& param_info) {
                           return "Win" + std::to_string(param_info.param);
                         });
INSTANTIATE_TEST_SUITE_P(EmbeddedInBothDlls, TypeLibraryTest, ::testing::Values(132, 164),
                         [](const ::testing::TestParamInfo<int>& param_info) {
                           return param_info.param == 132 ? std::string("I686Dll")
                                                          : std::string("X64Dll");
                         });

}  // namespace
}  // namespace kdzv
