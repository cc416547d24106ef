// The collections through late binding: Item as the default member (a
// number is a position, a text a key), Add with and without a key, Count,
// Remove, For Each, the errors 5, 9 and 457 as the host language reports
// them, and the identity of the objects handed out.
#include <gtest/gtest.h>

#include "automation_client.h"

namespace kdzv::host {
namespace {

constexpr SCODE kInvalidCall = static_cast<SCODE>(0x800A0005);
constexpr SCODE kSubscriptOutOfRange = static_cast<SCODE>(0x800A0009);
constexpr SCODE kDuplicateKey = static_cast<SCODE>(0x800A01C9);

class ComCollections : public ::testing::Test {
 protected:
  void SetUp() override {
    zeiten = Obj::Create(L"kdZentavo.kdZVBelegungsZeiten");
    ASSERT_TRUE(zeiten);
    ASSERT_EQ(zeiten.Call(L"Add", {Var(15), Var::Date(0.375), Var(L"früh")}).hr, S_OK);
    ASSERT_EQ(zeiten.Call(L"Add", {Var(30), Var::Date(0.5)}).hr, S_OK);
    ASSERT_EQ(zeiten.Call(L"Add", {Var(45), Var::Date(0.75), Var(L"spät")}).hr, S_OK);
  }
  Obj zeiten;
};

TEST_F(ComCollections, CountAndItemByPositionAndByKey) {
  EXPECT_EQ(zeiten.Get(L"Count").Long(), 3);
  EXPECT_EQ(zeiten.GetObj(L"Item", {Var(2)}).Get(L"Dauer").Long(), 30);
  EXPECT_EQ(zeiten.GetObj(L"Item", {Var(L"SPÄT")}).Get(L"Dauer").Long(), 45);
  // A position given as text of a number is a key, as in the keyed list.
  EXPECT_EQ(zeiten.Invoke(L"Item", DISPATCH_PROPERTYGET, {Var(L"2")}).ErrorNumber(), 5);
}

TEST_F(ComCollections, ItemIsTheDefaultMember) {
  const Result got = zeiten.InvokeId(DISPID_VALUE, DISPATCH_PROPERTYGET | DISPATCH_METHOD, {Var(1)});
  ASSERT_EQ(got.hr, S_OK);
  EXPECT_EQ(Obj(got.value.Object()).Get(L"Dauer").Long(), 15);
}

TEST_F(ComCollections, ForEachWalksTheElementsInOrder) {
  HRESULT hr = E_FAIL;
  const std::vector<Obj> elements = ForEach(zeiten, &hr);
  ASSERT_EQ(hr, S_OK);
  ASSERT_EQ(elements.size(), 3u);
  EXPECT_EQ(elements[0].Get(L"Dauer").Long(), 15);
  EXPECT_EQ(elements[1].Get(L"Dauer").Long(), 30);
  EXPECT_EQ(elements[2].Get(L"Dauer").Long(), 45);
}

TEST_F(ComCollections, TheKeyedListsErrorsArriveWithTheirNumbersAndTexts) {
  const Result unknown_key = zeiten.Invoke(L"Item", DISPATCH_PROPERTYGET, {Var(L"mittag")});
  EXPECT_EQ(unknown_key.hr, DISP_E_EXCEPTION);
  EXPECT_EQ(unknown_key.scode, kInvalidCall);
  EXPECT_EQ(unknown_key.description, L"Invalid procedure call or argument");

  const Result outside = zeiten.Invoke(L"Item", DISPATCH_PROPERTYGET, {Var(4)});
  EXPECT_EQ(outside.hr, DISP_E_EXCEPTION);
  EXPECT_EQ(outside.scode, kSubscriptOutOfRange);
  EXPECT_EQ(outside.description, L"Subscript out of range");

  const Result twice = zeiten.Call(L"Add", {Var(5), Var::Date(0.25), Var(L"FRÜH")});
  EXPECT_EQ(twice.hr, DISP_E_EXCEPTION);
  EXPECT_EQ(twice.scode, kDuplicateKey);
  EXPECT_EQ(twice.description, L"This key is already associated with an element of this collection");
  EXPECT_EQ(zeiten.Get(L"Count").Long(), 3);

  const Result remove_outside = zeiten.Call(L"Remove", {Var(0)});
  EXPECT_EQ(remove_outside.scode, kSubscriptOutOfRange);
}

TEST_F(ComCollections, RemoveByPositionAndByKey) {
  EXPECT_EQ(zeiten.Call(L"Remove", {Var(L"früh")}).hr, S_OK);
  EXPECT_EQ(zeiten.Call(L"Remove", {Var(1)}).hr, S_OK);
  EXPECT_EQ(zeiten.Get(L"Count").Long(), 1);
  EXPECT_EQ(zeiten.GetObj(L"Item", {Var(1)}).Get(L"Dauer").Long(), 45);
}

TEST_F(ComCollections, TheSameElementIsTheSameObject) {
  const Obj first = zeiten.GetObj(L"Item", {Var(1)});
  const Obj again = zeiten.GetObj(L"Item", {Var(L"früh")});
  EXPECT_EQ(first.get(), again.get());
  const std::vector<Obj> walked = ForEach(zeiten);
  ASSERT_FALSE(walked.empty());
  EXPECT_EQ(walked[0].get(), first.get());
  // A change through one reference is seen through the other.
  EXPECT_EQ(first.Put(L"Dauer", 20), S_OK);
  EXPECT_EQ(again.Get(L"Dauer").Long(), 20);
}

TEST(ComBelegung, ZeitenIsTheSameObjectAndCanBeSetByReference) {
  const Obj belegungen = Obj::Create(L"kdZentavo.kdZVBelegungen");
  ASSERT_TRUE(belegungen);
  const Result added = belegungen.Call(L"Add", {Var(7), Var(3), Var::Date(46000), Var(L"a")});
  ASSERT_EQ(added.hr, S_OK);
  const Obj belegung(added.value.Object());
  EXPECT_EQ(belegung.Get(L"MethodeID").Long(), 7);
  EXPECT_EQ(belegung.Get(L"BehandlerID").Long(), 3);
  const Obj zeiten = belegung.GetObj(L"Zeiten");
  ASSERT_TRUE(zeiten);
  EXPECT_EQ(belegung.GetObj(L"Zeiten").get(), zeiten.get());  // b.Zeiten Is b.Zeiten
  EXPECT_EQ(belegungen.GetObj(L"Item", {Var(L"A")}).get(), belegung.get());

  const Obj other = Obj::Create(L"kdZentavo.kdZVBelegungsZeiten");
  ASSERT_EQ(other.Call(L"Add", {Var(60), Var::Date(0.5)}).hr, S_OK);
  EXPECT_EQ(belegung.PutRef(L"Zeiten", Var(other.get())), S_OK);
  EXPECT_EQ(belegung.GetObj(L"Zeiten").get(), other.get());
  EXPECT_EQ(belegung.GetObj(L"Zeiten").Get(L"Count").Long(), 1);

  // Only a collection of the library can be set.
  const Obj foreign = Obj::Create(L"kdZentavo.kdZVTermin");
  EXPECT_NE(belegung.PutRef(L"Zeiten", Var(foreign.get())), S_OK);
  EXPECT_EQ(belegung.GetObj(L"Zeiten").get(), other.get());
}

}  // namespace
}  // namespace kdzv::host
