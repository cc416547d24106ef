#include "platform/win32/com_values.h"

#include <gtest/gtest.h>

#include <string>

namespace kdzv::win32 {
namespace {

TEST(UniqueBstrTest, HoldsACopyAndGivesUtf8) {
  UniqueBstr text(L"Gr\u00fc\u00dfe \u20ac");
  ASSERT_NE(text.get(), nullptr);
  EXPECT_EQ(::SysStringLen(text.get()), 7u);
  EXPECT_EQ(text.Utf8(),
            "Gr\xC3\xBC\xC3\x9F"
            "e \xE2\x82\xAC");
}

TEST(UniqueBstrTest, NullIsEmpty) {
  UniqueBstr text;
  EXPECT_EQ(text.get(), nullptr);
  EXPECT_EQ(text.Utf8(), "");
  // An out-parameter that receives a string.
  *text.Put() = ::SysAllocString(L"x");
  EXPECT_EQ(text.Utf8(), "x");
  text.reset();
  EXPECT_EQ(text.get(), nullptr);
}

TEST(UniqueBstrTest, KeepsEmbeddedNul) {
  UniqueBstr text(std::wstring_view(L"a\0b", 3));
  EXPECT_EQ(text.Utf8(), std::string("a\0b", 3));
}

TEST(SetByteArrayTest, HoldsTheBytes) {
  UniqueVariant variant;
  const std::string bytes("<a>\0\xFF</a>", 9);
  SetByteArray(variant, bytes);
  ASSERT_EQ(variant.get().vt, VT_ARRAY | VT_UI1);
  SAFEARRAY* array = variant.get().parray;
  ASSERT_NE(array, nullptr);
  EXPECT_EQ(::SafeArrayGetDim(array), 1u);
  LONG lower = -1;
  LONG upper = -1;
  ::SafeArrayGetLBound(array, 1, &lower);
  ::SafeArrayGetUBound(array, 1, &upper);
  EXPECT_EQ(lower, 0);
  EXPECT_EQ(upper, 8);
  void* data = nullptr;
  ASSERT_EQ(::SafeArrayAccessData(array, &data), S_OK);
  EXPECT_EQ(std::string(static_cast<const char*>(data), 9), bytes);
  ::SafeArrayUnaccessData(array);
}

TEST(SetByteArrayTest, EmptyBytesGiveAnEmptyArray) {
  UniqueVariant variant;
  SetByteArray(variant, "");
  ASSERT_EQ(variant.get().vt, VT_ARRAY | VT_UI1);
  LONG upper = 0;
  ::SafeArrayGetUBound(variant.get().parray, 1, &upper);
  EXPECT_EQ(upper, -1);
}

TEST(UniqueVariantTest, PutClearsTheOldValue) {
  UniqueVariant variant;
  EXPECT_EQ(variant.get().vt, VT_EMPTY);
  VARIANT* raw = variant.Put();
  raw->vt = VT_BSTR;
  raw->bstrVal = ::SysAllocString(L"x");
  raw = variant.Put();
  EXPECT_EQ(raw->vt, VT_EMPTY);
}

}  // namespace
}  // namespace kdzv::win32
