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
