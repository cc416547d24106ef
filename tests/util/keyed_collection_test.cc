#include "util/keyed_collection.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace kdzv {
namespace {

struct Thing {
  int value = 0;
};

std::shared_ptr<Thing> Make(int value) { return std::make_shared<Thing>(Thing{value}); }

// Runs `action` and answers the number of the error it raised (0: none).
template <class F>
int32_t ErrorNumberOf(F&& action) {
  try {
    action();
  } catch (const Error& e) {
    return e.number();
  }
  return 0;
}

TEST(KeyedCollection, NewCollectionIsEmpty) {
  KeyedCollection<Thing> c;
  EXPECT_EQ(c.Count(), 0);
  EXPECT_EQ(c.begin(), c.end());
}

TEST(KeyedCollection, PositionsStartAtOneInInsertionOrder) {
  KeyedCollection<Thing> c;
  c.Add(Make(10));
  c.Add(Make(20), "b");
  c.Add(Make(30));
  ASSERT_EQ(c.Count(), 3);
  EXPECT_EQ(c.Item(1)->value, 10);
  EXPECT_EQ(c.Item(2)->value, 20);
  EXPECT_EQ(c.Item(3)->value, 30);
  std::vector<int> seen;
  for (const auto& item : c) seen.push_back(item->value);
  EXPECT_EQ(seen, (std::vector<int>{10, 20, 30}));
}

TEST(KeyedCollection, DrainHandsOverInOrderAndLetsGoOfEachAtOnce) {
  KeyedCollection<Thing> c;
  c.Add(Make(10));
  c.Add(Make(20), "b");
  c.Add(Make(30), "c");
  std::weak_ptr<Thing> first = c.Item(1);
  std::weak_ptr<Thing> keyed = c.Item("b");
  std::vector<int> seen;
  std::vector<bool> first_alive;
  std::shared_ptr<Thing> kept;
  c.Drain([&](const std::shared_ptr<Thing>& item) {
    seen.push_back(item->value);
    first_alive.push_back(!first.expired());
    if (item->value == 30) kept = item;
  });
  EXPECT_EQ(seen, (std::vector<int>{10, 20, 30}));
  // The first one is gone before the second is handed over.
  EXPECT_EQ(first_alive, (std::vector<bool>{true, false, false}));
  EXPECT_TRUE(keyed.expired());  // the key held it no longer
  ASSERT_NE(kept, nullptr);       // what the caller kept stays
  EXPECT_EQ(kept->value, 30);
  EXPECT_EQ(c.Count(), 0);
  EXPECT_FALSE(c.Contains("c"));
  c.Add(Make(40), "c");  // the keys are free again
  EXPECT_EQ(c.Item("c")->value, 40);
}

TEST(KeyedCollection, PositionOutsideRangeIsSubscriptOutOfRange) {
  KeyedCollection<Thing> c;
  EXPECT_EQ(ErrorNumberOf([&] { c.Item(1); }), 9);
  c.Add(Make(1));
  EXPECT_EQ(ErrorNumberOf([&] { c.Item(0); }), 9);
  EXPECT_EQ(ErrorNumberOf([&] { c.Item(2); }), 9);
  EXPECT_EQ(ErrorNumberOf([&] { c.Item(-1); }), 9);
  EXPECT_EQ(ErrorNumberOf([&] { c.Remove(2); }), 9);
  try {
    c.Item(5);
    FAIL();
  } catch (const Error& e) {
    EXPECT_EQ(e.description(), "Subscript out of range");
  }
}

TEST(KeyedCollection, UnknownKeyIsInvalidProcedureCall) {
  KeyedCollection<Thing> c;
  c.Add(Make(1), "known");
  EXPECT_EQ(ErrorNumberOf([&] { c.Item("unknown"); }), 5);
  EXPECT_EQ(ErrorNumberOf([&] { c.Remove("unknown"); }), 5);
  try {
    c.Item(IndexOrKey(std::string("nope")));
    FAIL();
  } catch (const Error& e) {
    EXPECT_EQ(e.number(), 5);
    EXPECT_EQ(e.description(), "Invalid procedure call or argument");
  }
}

TEST(KeyedCollection, KeysAreComparedWithoutRegardToCase) {
  KeyedCollection<Thing> c;
  auto added = c.Add(Make(7), "Müller");
  EXPECT_EQ(c.Item("MÜLLER").get(), added.get());
  EXPECT_EQ(c.Item("müller").get(), added.get());
  EXPECT_TRUE(c.Contains("mÜller"));
}

TEST(KeyedCollection, DuplicateKeyRaises457AndKeepsTheCollection) {
  KeyedCollection<Thing> c;
  c.Add(Make(1), "key");
  try {
    c.Add(Make(2), "KEY");
    FAIL();
  } catch (const Error& e) {
    EXPECT_EQ(e.number(), 457);
    EXPECT_EQ(e.description(),
              "This key is already associated with an element of this collection");
  }
  EXPECT_EQ(c.Count(), 1);
  EXPECT_EQ(c.Item("key")->value, 1);
}

// A few keys are found by going through the elements, many through an
// index; both answer alike, also after removals and with the index built
// while elements without a key stand between.
TEST(KeyedCollection, FewAndManyKeysAnswerAlike) {
  for (int count : {1, 8, 9, 200}) {
    KeyedCollection<Thing> c;
    for (int i = 0; i < count; ++i) {
      c.Add(Make(-i));
      c.Add(Make(i), "k" + std::to_string(i));
    }
    for (int i = 0; i < count; ++i) {
      EXPECT_EQ(c.Item("K" + std::to_string(i))->value, i) << count;
    }
    EXPECT_EQ(ErrorNumberOf([&] { c.Add(Make(0), "K0"); }), 457) << count;
    EXPECT_EQ(ErrorNumberOf([&] { c.Item("k" + std::to_string(count)); }), 5) << count;
    c.Remove("k0");
    EXPECT_FALSE(c.Contains("k0")) << count;
    EXPECT_EQ(ErrorNumberOf([&] { c.Remove("k0"); }), 5) << count;
    c.Add(Make(100), "k0");
    EXPECT_EQ(c.Item("k0")->value, 100) << count;
    EXPECT_EQ(c.Item(c.Count())->value, 100) << count;
    EXPECT_EQ(c.Count(), 2 * count) << count;
  }
}

TEST(KeyedCollection, ForgetKeysKeepsTheElementsWithoutTheirKeys) {
  for (int count : {3, 20}) {
    KeyedCollection<Thing> c;
    for (int i = 0; i < count; ++i) c.Add(Make(i), "k" + std::to_string(i));
    c.ForgetKeys();
    ASSERT_EQ(c.Count(), count);
    EXPECT_EQ(c.Item(2)->value, 1);
    EXPECT_FALSE(c.Contains("k1"));
    EXPECT_EQ(ErrorNumberOf([&] { c.Item("k1"); }), 5);
    c.Add(Make(7), "k1");  // free again
    EXPECT_EQ(c.Item("k1")->value, 7);
  }
}

TEST(KeyedCollection, EmptyKeyNeverFailsAndEqualRecordsAreKept) {
  KeyedCollection<Thing> c;
  c.Add(Make(1));
  c.Add(Make(1), "");
  c.Add(Make(1));
  EXPECT_EQ(c.Count(), 3);
}

TEST(KeyedCollection, ItemByIndexOrKeyVariant) {
  KeyedCollection<Thing> c;
  c.Add(Make(1), "a");
  c.Add(Make(2), "b");
  EXPECT_EQ(c.Item(IndexOrKey(2))->value, 2);
  EXPECT_EQ(c.Item(IndexOrKey(std::string("A")))->value, 1);
}

TEST(KeyedCollection, RemoveByPositionAndKeyRenumbers) {
  KeyedCollection<Thing> c;
  c.Add(Make(1), "a");
  c.Add(Make(2), "b");
  c.Add(Make(3), "c");
  c.Remove("B");
  ASSERT_EQ(c.Count(), 2);
  EXPECT_EQ(c.Item(2)->value, 3);
  EXPECT_FALSE(c.Contains("b"));
  c.Add(Make(4), "b");  // the key is free again
  c.Remove(1);
  EXPECT_EQ(c.Item(1)->value, 3);
  EXPECT_EQ(c.Item("b")->value, 4);
  EXPECT_EQ(ErrorNumberOf([&] { c.Item("a"); }), 5);
}

TEST(KeyedCollection, TheSameObjectComesBack) {
  KeyedCollection<Thing> c;
  auto thing = Make(5);
  c.Add(thing, "x");
  thing->value = 6;
  EXPECT_EQ(c.Item("x")->value, 6);
  EXPECT_EQ(c.Item(1).get(), thing.get());
}

TEST(KeyedCollection, NullItemIsRefused) {
  KeyedCollection<Thing> c;
  EXPECT_EQ(ErrorNumberOf([&] { c.Add(nullptr); }), 5);
  EXPECT_EQ(c.Count(), 0);
}

}  // namespace
}  // namespace kdzv
