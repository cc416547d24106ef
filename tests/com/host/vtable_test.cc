// The library called through its vtables, as a host compiled against the
// type library calls it: each member at the vtable offset the type library
// gives (DispCallFunc), its HRESULT and out-values taken directly, and the
// error object read for the keyed list's failures.
#include <oaidl.h>
#include <oleauto.h>
#include <windows.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "automation_client.h"

namespace kdzv::host {
namespace {

// One argument of a vtable call: its type and value (for a VARIANT passed
// by value, the variant itself).
struct Param {
  VARTYPE type;
  VARIANTARG value;
};

// The dual interface behind an object's IDispatch, as its vtable type
// description (TKIND_INTERFACE).
class Vtable {
 public:
  explicit Vtable(const Obj& object) : object_(object) {
    ITypeInfo* dispatch_info = nullptr;
    if (FAILED(object.get()->GetTypeInfo(0, LOCALE_USER_DEFAULT, &dispatch_info))) return;
    HREFTYPE interface_ref = 0;
    // For a dual interface, -1 gives the vtable side of it.
    if (SUCCEEDED(dispatch_info->GetRefTypeOfImplType(static_cast<UINT>(-1), &interface_ref))) {
      dispatch_info->GetRefTypeInfo(interface_ref, &info_);
    }
    dispatch_info->Release();
  }
  ~Vtable() {
    if (info_ != nullptr) info_->Release();
  }
  bool ok() const { return info_ != nullptr; }

  // The vtable offset of member `name` of kind `kind`; -1 when there is none.
  long Offset(const wchar_t* name, INVOKEKIND kind) const {
    TYPEATTR* attributes = nullptr;
    info_->GetTypeAttr(&attributes);
    long offset = -1;
    for (UINT i = 0; i < attributes->cFuncs && offset < 0; ++i) {
      FUNCDESC* function = nullptr;
      info_->GetFuncDesc(i, &function);
      BSTR function_name = nullptr;
      info_->GetDocumentation(function->memid, &function_name, nullptr, nullptr, nullptr);
      if (function->invkind == kind && std::wstring(function_name) == name) offset = function->oVft;
      ::SysFreeString(function_name);
      info_->ReleaseFuncDesc(function);
    }
    info_->ReleaseTypeAttr(attributes);
    return offset;
  }

  // Calls the member at `offset` with `args` (in their written order); the
  // member's HRESULT.
  HRESULT Call(long offset, std::vector<Param> args) const {
    std::vector<VARTYPE> types;
    std::vector<VARIANTARG*> pointers;
    for (Param& arg : args) {
      types.push_back(arg.type);
      pointers.push_back(&arg.value);
    }
    VARIANT result;
    ::VariantInit(&result);
    // The interface pointer is the object's IDispatch: for a dual interface
    // the same vtable.
    const HRESULT called = ::DispCallFunc(object_.get(), static_cast<ULONG_PTR>(offset), CC_STDCALL,
                                          VT_ERROR, static_cast<UINT>(args.size()), types.data(),
                                          pointers.data(), &result);
    if (FAILED(called)) return called;
    return V_ERROR(&result);
  }

 private:
  const Obj& object_;
  ITypeInfo* info_ = nullptr;
};

Param Arg(VARTYPE type, void* pointer) {
  Param arg{type, {}};
  ::VariantInit(&arg.value);
  V_VT(&arg.value) = type;
  V_BYREF(&arg.value) = pointer;
  return arg;
}
Param LongArg(LONG value) {
  Param arg{VT_I4, {}};
  ::VariantInit(&arg.value);
  V_VT(&arg.value) = VT_I4;
  V_I4(&arg.value) = value;
  return arg;
}
Param DateArg(DATE value) {
  Param arg{VT_DATE, {}};
  ::VariantInit(&arg.value);
  V_VT(&arg.value) = VT_DATE;
  V_DATE(&arg.value) = value;
  return arg;
}
Param BstrArg(BSTR value) {
  Param arg{VT_BSTR, {}};
  ::VariantInit(&arg.value);
  V_VT(&arg.value) = VT_BSTR;
  V_BSTR(&arg.value) = value;
  return arg;
}
// A VARIANT passed by value (a shallow copy: `value` keeps owning it).
Param VariantArg(VARIANT* value) { return Param{VT_VARIANT, *value}; }

TEST(ComVtable, RecordPropertiesThroughTheVtable) {
  const Obj termin = Obj::Create(L"kdZentavo.kdZVTermin");
  ASSERT_TRUE(termin);
  const Vtable vtable(termin);
  ASSERT_TRUE(vtable.ok());
  const long put_name = vtable.Offset(L"PatientName", INVOKE_PROPERTYPUT);
  const long get_name = vtable.Offset(L"PatientName", INVOKE_PROPERTYGET);
  const long get_start = vtable.Offset(L"TerminStart", INVOKE_PROPERTYGET);
  const long put_start = vtable.Offset(L"TerminStart", INVOKE_PROPERTYPUT);
  // IUnknown and IDispatch take the first seven slots; the properties
  // follow in the type library's order, getter before setter.
  EXPECT_EQ(get_name, static_cast<long>((7 + 2 * 2) * sizeof(void*)));
  EXPECT_EQ(put_name, get_name + static_cast<long>(sizeof(void*)));

  BSTR name = ::SysAllocString(L"Jäger");
  EXPECT_EQ(vtable.Call(put_name, {BstrArg(name)}), S_OK);
  ::SysFreeString(name);
  BSTR read = nullptr;
  EXPECT_EQ(vtable.Call(get_name, {Arg(VT_BSTR | VT_BYREF, &read)}), S_OK);
  EXPECT_EQ(std::wstring(read), L"Jäger");
  ::SysFreeString(read);

  EXPECT_EQ(vtable.Call(put_start, {DateArg(45000.25)}), S_OK);
  DATE start = 0;
  EXPECT_EQ(vtable.Call(get_start, {Arg(VT_DATE | VT_BYREF, &start)}), S_OK);
  EXPECT_DOUBLE_EQ(start, 45000.25);
  // The same value through late binding.
  EXPECT_DOUBLE_EQ(termin.Get(L"TerminStart").Double(), 45000.25);
}

TEST(ComVtable, CollectionMembersAndTheirErrorsThroughTheVtable) {
  const Obj zeiten = Obj::Create(L"kdZentavo.kdZVBelegungsZeiten");
  ASSERT_TRUE(zeiten);
  const Vtable vtable(zeiten);
  ASSERT_TRUE(vtable.ok());
  const long add = vtable.Offset(L"Add", INVOKE_FUNC);
  const long count = vtable.Offset(L"Count", INVOKE_PROPERTYGET);
  const long item = vtable.Offset(L"Item", INVOKE_PROPERTYGET);
  // Item, Add, Count, Remove, NewEnum in this order after IDispatch.
  EXPECT_EQ(item, static_cast<long>(7 * sizeof(void*)));
  EXPECT_EQ(add, static_cast<long>(8 * sizeof(void*)));
  EXPECT_EQ(count, static_cast<long>(9 * sizeof(void*)));

  VARIANT key;
  ::VariantInit(&key);
  V_VT(&key) = VT_BSTR;
  V_BSTR(&key) = ::SysAllocString(L"morgens");
  IDispatch* added = nullptr;
  EXPECT_EQ(vtable.Call(add, {LongArg(20), DateArg(0.4), VariantArg(&key),
                              Arg(VT_DISPATCH | VT_BYREF, &added)}),
            S_OK);
  ASSERT_NE(added, nullptr);
  EXPECT_EQ(Obj(added).Get(L"Dauer").Long(), 20);
  added->Release();

  LONG counted = 0;
  EXPECT_EQ(vtable.Call(count, {Arg(VT_I4 | VT_BYREF, &counted)}), S_OK);
  EXPECT_EQ(counted, 1);

  // The same key again: 457 as an HRESULT, with the error object's text.
  IDispatch* again = nullptr;
  const HRESULT twice = vtable.Call(add, {LongArg(5), DateArg(0.5), VariantArg(&key),
                                          Arg(VT_DISPATCH | VT_BYREF, &again)});
  EXPECT_EQ(twice, static_cast<HRESULT>(0x800A01C9));
  EXPECT_EQ(again, nullptr);
  IErrorInfo* error = nullptr;
  ASSERT_EQ(::GetErrorInfo(0, &error), S_OK);
  BSTR text = nullptr;
  error->GetDescription(&text);
  EXPECT_EQ(std::wstring(text), L"This key is already associated with an element of this collection");
  ::SysFreeString(text);
  error->Release();

  VARIANT position;
  ::VariantInit(&position);
  V_VT(&position) = VT_I4;
  V_I4(&position) = 2;
  IDispatch* outside = nullptr;
  EXPECT_EQ(vtable.Call(item, {VariantArg(&position), Arg(VT_DISPATCH | VT_BYREF, &outside)}),
            static_cast<HRESULT>(0x800A0009));
  ::VariantClear(&key);
}

TEST(ComVtable, TheInterfaceObjectsMembersInTheirOrder) {
  const Obj object = Obj::Create(L"kdZentavo.kdZVInterface");
  ASSERT_TRUE(object);
  const Vtable vtable(object);
  ASSERT_TRUE(vtable.ok());
  const struct {
    const wchar_t* name;
    INVOKEKIND kind;
  } kMembers[] = {
      {L"CheckLogAccess", INVOKE_FUNC},
      {L"ShowSettings", INVOKE_FUNC},
      {L"ShowSettingsStatusMsg", INVOKE_FUNC},
      {L"Settings", INVOKE_PROPERTYGET},
      {L"Settings", INVOKE_PROPERTYPUTREF},
      {L"StartSync", INVOKE_FUNC},
      {L"CreateKdZVTermin", INVOKE_FUNC},
      {L"TestDownFile", INVOKE_FUNC},
      {L"ConvertLocalToZentavoDateTime", INVOKE_FUNC},
      {L"ConvertZentavoToLocalDateTime", INVOKE_FUNC},
      {L"TestFireOpeningTimes", INVOKE_FUNC},
  };
  long slot = 7;
  for (const auto& member : kMembers) {
    EXPECT_EQ(vtable.Offset(member.name, member.kind), static_cast<long>(slot * sizeof(void*)))
        << static_cast<int>(slot);
    ++slot;
  }
  // CreateKdZVTermin hands out a record through its out-argument.
  IDispatch* termin = nullptr;
  EXPECT_EQ(vtable.Call(vtable.Offset(L"CreateKdZVTermin", INVOKE_FUNC),
                        {Arg(VT_DISPATCH | VT_BYREF, &termin)}),
            S_OK);
  ASSERT_NE(termin, nullptr);
  EXPECT_EQ(Obj(termin).Get(L"PatientName").Text(), L"");
  termin->Release();
}

}  // namespace
}  // namespace kdzv::host
