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

}  // namespace
}  // namespace kdzv::win32
