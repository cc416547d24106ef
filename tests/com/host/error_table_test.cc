// Rows of the table of run-time errors (src/com/automation_errors.tsv, from
// which docs/automation.md is made) that the other tests of the host do not
// show, seen as a late-binding host sees them.
#include <gtest/gtest.h>

#include "automation_client.h"

namespace kdzv::host {
namespace {

// A failure that a member answered itself reaches the late-binding caller
// as an exception carrying its code.
void ExpectRaised(const Result& result, HRESULT code) {
  EXPECT_EQ(result.hr, DISP_E_EXCEPTION);
  EXPECT_EQ(result.scode, code);
}

TEST(ComErrorTable, NumbersAndDatesOutsideTheirTypeOverflow) {
  const Obj termin = Obj::Create(L"kdZentavo.kdZVTermin");
  ASSERT_TRUE(termin);
  EXPECT_EQ(termin.Put(L"TerminStart", 1e12), DISP_E_OVERFLOW);
  EXPECT_EQ(termin.Put(L"TerminStatus", 1e12), DISP_E_OVERFLOW);
  const Obj zeit = Obj::Create(L"kdZentavo.kdZVBelegungsZeit");
  ASSERT_TRUE(zeit);
  EXPECT_EQ(zeit.Put(L"Dauer", 1e12), DISP_E_OVERFLOW);
  // An Integer property: refused before anything is stored.
  const Obj settings = Obj::Create(L"kdZentavo.clZVSettings");
  ASSERT_TRUE(settings);
  EXPECT_EQ(settings.Put(L"TimeoutSeconds", 70000), DISP_E_OVERFLOW);
}

TEST(ComErrorTable, AnEnumerationPropertyTakesAnyLong) {
  const Obj termin = Obj::Create(L"kdZentavo.kdZVTermin");
  ASSERT_TRUE(termin);
  EXPECT_EQ(termin.Put(L"TerminStatus", 77), S_OK);
  EXPECT_EQ(termin.Get(L"TerminStatus").Long(), 77);
}

// A host's own object that claims to be a given interface of the library
// (it answers QueryInterface for its IID) but is none of the library's.
class Impostor : public IDispatch {
 public:
  explicit Impostor(const IID& claimed) : claimed_(claimed) {}
  virtual ~Impostor() = default;
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** out) override {
    if (out == nullptr) return E_POINTER;
    *out = nullptr;
    if (riid != IID_IUnknown && riid != IID_IDispatch && riid != claimed_) return E_NOINTERFACE;
    *out = static_cast<IDispatch*>(this);
    AddRef();
    return S_OK;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return ++references_; }
  ULONG STDMETHODCALLTYPE Release() override { return --references_; }  // on the stack
  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*,
                                   UINT*) override {
    return E_NOTIMPL;
  }
  ULONG references() const { return references_; }

 private:
  IID claimed_;
  ULONG references_ = 1;
};

// {9497BB3F-4A2E-4C98-A2F8-1C3581B1D1E5} and {73DCF64D-64CA-4456-BF01-732913933310}
constexpr IID kSettingsInterface = {
    0x9497bb3f, 0x4a2e, 0x4c98, {0xa2, 0xf8, 0x1c, 0x35, 0x81, 0xb1, 0xd1, 0xe5}};
constexpr IID kZeitenInterface = {
    0x73dcf64d, 0x64ca, 0x4456, {0xbf, 0x01, 0x73, 0x29, 0x13, 0x93, 0x33, 0x10}};

TEST(ComErrorTable, OnlyTheLibrarysOwnObjectOfTheClassCanBeSetByReference) {
  const Obj termin = Obj::Create(L"kdZentavo.kdZVTermin");
  const Obj interface_object = Obj::Create(L"kdZentavo.kdZVInterface");
  const Obj belegung = Obj::Create(L"kdZentavo.kdZVBelegung");
  ASSERT_TRUE(termin && interface_object && belegung);
  // An object without the interface: the runtime's question for it fails.
  EXPECT_EQ(interface_object.Invoke(L"Settings", DISPATCH_PROPERTYPUTREF, {Var(termin.get())}).hr,
            E_NOINTERFACE);
  EXPECT_EQ(belegung.Invoke(L"Zeiten", DISPATCH_PROPERTYPUTREF, {Var(termin.get())}).hr,
            E_NOINTERFACE);
  // An object with the interface that is not the library's: refused by the
  // member.
  Impostor settings(kSettingsInterface);
  Impostor zeiten(kZeitenInterface);
  ExpectRaised(interface_object.Invoke(L"Settings", DISPATCH_PROPERTYPUTREF, {Var(&settings)}),
               DISP_E_TYPEMISMATCH);
  ExpectRaised(belegung.Invoke(L"Zeiten", DISPATCH_PROPERTYPUTREF, {Var(&zeiten)}),
               DISP_E_TYPEMISMATCH);
  // Nothing of them is kept.
  EXPECT_EQ(settings.references(), 1u);
  EXPECT_EQ(zeiten.references(), 1u);
}

TEST(ComErrorTable, AKeyThatCannotBeTextIsATypeMismatch) {
  const Obj zeiten = Obj::Create(L"kdZentavo.kdZVBelegungsZeiten");
  ASSERT_TRUE(zeiten);
  Var null;
  V_VT(null.get()) = VT_NULL;
  ExpectRaised(zeiten.Call(L"Add", {Var(30), Var::Date(0.5), null}), DISP_E_TYPEMISMATCH);
  EXPECT_EQ(zeiten.Get(L"Count").Long(), 0);
}

TEST(ComErrorTable, AnIndexThatIsNeitherNumberNorKeyIsError5) {
  const Obj zeiten = Obj::Create(L"kdZentavo.kdZVBelegungsZeiten");
  ASSERT_TRUE(zeiten);
  ASSERT_EQ(zeiten.Call(L"Add", {Var(30), Var::Date(0.5), Var(L"Vormittag")}).hr, S_OK);
  for (const Var& index : {Var(), Var(L""), Var(zeiten.get())}) {
    const Result item = zeiten.Invoke(L"Item", DISPATCH_PROPERTYGET | DISPATCH_METHOD, {index});
    EXPECT_EQ(item.hr, DISP_E_EXCEPTION);
    EXPECT_EQ(item.ErrorNumber(), 5);
    const Result remove = zeiten.Call(L"Remove", {index});
    EXPECT_EQ(remove.ErrorNumber(), 5);
  }
  EXPECT_EQ(zeiten.Get(L"Count").Long(), 1);
}

// Arguments that cannot be converted to the declared type are refused by
// the automation runtime itself, before the member runs.
TEST(ComErrorTable, AStyleThatIsNoLongIsRefusedBeforeTheCall) {
  const Obj interface_object = Obj::Create(L"kdZentavo.kdZVInterface");
  ASSERT_TRUE(interface_object);
  EXPECT_EQ(interface_object.Call(L"ShowSettingsStatusMsg", {Var(L"Text"), Var(L"kein Stil")}).hr,
            DISP_E_TYPEMISMATCH);
  EXPECT_EQ(interface_object.Call(L"ShowSettingsStatusMsg", {Var(L"Text"), Var(1e12)}).hr,
            DISP_E_OVERFLOW);
}

}  // namespace
}  // namespace kdzv::host
