#include "platform/win32/com_ptr.h"

#include <gtest/gtest.h>

#include <utility>

namespace kdzv::win32 {
namespace {

// Counts its references; never deletes itself.
class CountedObject : public IUnknown {
 public:
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void** out) override {
    *out = nullptr;
    return E_NOINTERFACE;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return ++references; }
  ULONG STDMETHODCALLTYPE Release() override { return --references; }
  ULONG references = 0;
};

// What a COM call returning a new reference does.
void HandOut(CountedObject& object, IUnknown** out) {
  object.AddRef();
  *out = &object;
}

TEST(ComPtrTest, ReleasesTheReferenceItReceived) {
  CountedObject object;
  {
    ComPtr<IUnknown> pointer;
    EXPECT_FALSE(pointer);
    HandOut(object, pointer.Put());
    EXPECT_TRUE(pointer);
    EXPECT_EQ(pointer.get(), &object);
    EXPECT_EQ(object.references, 1u);
  }
  EXPECT_EQ(object.references, 0u);
}

TEST(ComPtrTest, PutReleasesTheOldReference) {
  CountedObject first;
  CountedObject second;
  ComPtr<IUnknown> pointer;
  HandOut(first, pointer.Put());
  HandOut(second, pointer.Put());
  EXPECT_EQ(first.references, 0u);
  EXPECT_EQ(second.references, 1u);
  pointer.reset();
  EXPECT_EQ(second.references, 0u);
  EXPECT_FALSE(pointer);
}

TEST(ComPtrTest, MovingKeepsOneReference) {
  CountedObject object;
  ComPtr<IUnknown> from;
  HandOut(object, from.Put());
  ComPtr<IUnknown> to(std::move(from));
  EXPECT_EQ(object.references, 1u);
  ComPtr<IUnknown> again;
  again = std::move(to);
  EXPECT_EQ(object.references, 1u);
  EXPECT_EQ(again.get(), &object);
  again = ComPtr<IUnknown>();
  EXPECT_EQ(object.references, 0u);
}

TEST(ComPtrTest, CopiesHoldAReferenceEach) {
  CountedObject object;
  ComPtr<IUnknown> first = ComPtr<IUnknown>::Retain(&object);
  EXPECT_EQ(object.references, 1u);
  {
    ComPtr<IUnknown> second(first);
    EXPECT_EQ(object.references, 2u);
    ComPtr<IUnknown> third;
    third = second;
    EXPECT_EQ(object.references, 3u);
    const ComPtr<IUnknown>& same = third;
    third = same;  // a copy onto itself keeps its reference
    EXPECT_EQ(object.references, 3u);
  }
  EXPECT_EQ(object.references, 1u);
  first.reset();
  EXPECT_EQ(object.references, 0u);
}

TEST(ComPtrTest, AdoptTakesOverAndDetachHandsBack) {
  CountedObject object;
  IUnknown* raw = nullptr;
  HandOut(object, &raw);
  ComPtr<IUnknown> held = ComPtr<IUnknown>::Adopt(raw);
  EXPECT_EQ(object.references, 1u);
  IUnknown* out = held.Detach();
  EXPECT_FALSE(held);
  EXPECT_EQ(out, &object);
  EXPECT_EQ(object.references, 1u);
  ComPtr<IUnknown>::Adopt(out).reset();
  EXPECT_EQ(object.references, 0u);
}

TEST(ComPtrTest, CopyToGivesTheCallerAReferenceOfItsOwn) {
  CountedObject object;
  ComPtr<IUnknown> held = ComPtr<IUnknown>::Retain(&object);
  IUnknown* out = nullptr;
  held.CopyTo(&out);
  EXPECT_EQ(out, &object);
  EXPECT_EQ(object.references, 2u);
  ComPtr<IUnknown>::Adopt(out);
  EXPECT_EQ(object.references, 1u);
  ComPtr<IUnknown> empty;
  out = &object;
  empty.CopyTo(&out);
  EXPECT_EQ(out, nullptr);
}

TEST(ComPtrTest, RetainOfNullHoldsNothing) {
  ComPtr<IUnknown> held = ComPtr<IUnknown>::Retain(nullptr);
  EXPECT_FALSE(held);
  ComPtr<IUnknown> none = nullptr;
  EXPECT_FALSE(none);
  EXPECT_FALSE(held.Query<IUnknown>(IID_IUnknown));
}

}  // namespace
}  // namespace kdzv::win32
