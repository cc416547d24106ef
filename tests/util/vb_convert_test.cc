#include "util/vb_convert.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <string>

#include "util/error.h"

namespace kdzv {
namespace {

// The number of the error raised by `action`, 0 when none.
int32_t RaisedNumber(const std::function<void()>& action) {
  try {
    action();
  } catch (const Error& e) {
    return e.number();
  }
  return 0;
}

std::string RaisedDescription(const std::function<void()>& action) {
  try {
    action();
  } catch (const Error& e) {
    return e.description();
  }
  return {};
}

TEST(VbConvertTest, ToIntegerReadsPlainAndLenientNumbers) {
  EXPECT_EQ(ToInteger("7"), 7);
  EXPECT_EQ(ToInteger("07"), 7);
  EXPECT_EQ(ToInteger(" 7"), 7);
  EXPECT_EQ(ToInteger("7 "), 7);
  EXPECT_EQ(ToInteger("\t7"), 7);
  EXPECT_EQ(ToInteger("+7"), 7);
  EXPECT_EQ(ToInteger("-7"), -7);
  EXPECT_EQ(ToInteger("2024"), 2024);
  EXPECT_EQ(ToInteger("0000"), 0);
  EXPECT_EQ(ToInteger("1e3"), 1000);
  EXPECT_EQ(ToInteger("1E+2"), 100);
  EXPECT_EQ(ToInteger("1500e-1"), 150);
  EXPECT_EQ(ToInteger(".5"), 0);
  EXPECT_EQ(ToInteger("7."), 7);
}

TEST(VbConvertTest, ToIntegerRoundsHalvesToEven) {
  EXPECT_EQ(ToInteger("12.5"), 12);
  EXPECT_EQ(ToInteger("13.5"), 14);
  EXPECT_EQ(ToInteger("2.5"), 2);
  EXPECT_EQ(ToInteger("3.5"), 4);
  EXPECT_EQ(ToInteger("-2.5"), -2);
  EXPECT_EQ(ToInteger("-3.5"), -4);
  EXPECT_EQ(ToInteger("2.51"), 3);
  EXPECT_EQ(ToInteger("2.49"), 2);
}

TEST(VbConvertTest, ToIntegerRaisesTypeMismatchForNonNumbers) {
  for (const char* text : {"", " ", "abc", "0X", "X0", "1a", "1 2", "1e", "1e+", ".", "-", "+",
                           "--1", "1.2.3", "T"}) {
    SCOPED_TRACE(text);
    EXPECT_EQ(RaisedNumber([&] { ToInteger(text); }), 13);
  }
  EXPECT_EQ(RaisedDescription([] { ToInteger("0X"); }), "Type mismatch");
}

TEST(VbConvertTest, ToIntegerRaisesOverflowOutside16Bits) {
  EXPECT_EQ(ToInteger("32767"), 32767);
  EXPECT_EQ(ToInteger("-32768"), -32768);
  EXPECT_EQ(ToInteger("32766.5"), 32766);
  EXPECT_EQ(RaisedNumber([] { ToInteger("32768"); }), 6);
  EXPECT_EQ(RaisedNumber([] { ToInteger("32767.5"); }), 6);
  EXPECT_EQ(RaisedNumber([] { ToInteger("-32769"); }), 6);
  EXPECT_EQ(RaisedNumber([] { ToInteger("1e400"); }), 6);
  EXPECT_EQ(RaisedDescription([] { ToInteger("99999"); }), "Overflow");
  EXPECT_EQ(ToInteger("1e-400"), 0);
}

TEST(VbConvertTest, ToLongUses32Bits) {
  EXPECT_EQ(ToLong("70000"), 70000);
  EXPECT_EQ(ToLong(" -70000 "), -70000);
  EXPECT_EQ(ToLong("2147483647"), 2147483647);
  EXPECT_EQ(ToLong("-2147483648"), std::numeric_limits<int32_t>::min());
  EXPECT_EQ(ToLong("4.5"), 4);
  EXPECT_EQ(ToLong("5.5"), 6);
  EXPECT_EQ(RaisedNumber([] { ToLong("2147483648"); }), 6);
  EXPECT_EQ(RaisedNumber([] { ToLong("-2147483649"); }), 6);
  EXPECT_EQ(RaisedNumber([] { ToLong("x"); }), 13);
  EXPECT_EQ(RaisedNumber([] { ToLong(""); }), 13);
}

TEST(VbConvertTest, LeadingNumberReadsUpToTheFirstForeignCharacter) {
  EXPECT_EQ(LeadingNumber("12abc"), 12.0);
  EXPECT_EQ(LeadingNumber("  7"), 7.0);
  EXPECT_EQ(LeadingNumber(""), 0.0);
  EXPECT_EQ(LeadingNumber("abc"), 0.0);
  EXPECT_EQ(LeadingNumber("-3x"), -3.0);
  EXPECT_EQ(LeadingNumber("1.5"), 1.5);
  EXPECT_EQ(LeadingNumber("+5"), 5.0);
  EXPECT_EQ(LeadingNumber(".5"), 0.5);
  EXPECT_EQ(LeadingNumber("1.5e2x"), 150.0);
  EXPECT_EQ(LeadingNumber("1e"), 1.0);
  EXPECT_EQ(LeadingNumber("2e+"), 2.0);
  EXPECT_EQ(LeadingNumber("-"), 0.0);
  EXPECT_EQ(LeadingNumber("."), 0.0);
  EXPECT_EQ(LeadingNumber("\t\r\n 42 17"), 42.0);
  EXPECT_EQ(LeadingNumber("x12"), 0.0);
  EXPECT_EQ(LeadingNumber("1.2.3"), 1.2);
  EXPECT_EQ(LeadingNumber("1e-999"), 0.0);
  const double huge = LeadingNumber("1e999");
  EXPECT_TRUE(std::isinf(huge) && huge > 0);
  const double negative_huge = LeadingNumber("-1e999");
  EXPECT_TRUE(std::isinf(negative_huge) && negative_huge < 0);
}

TEST(VbConvertTest, RoundToLongHalvesToEven) {
  EXPECT_EQ(RoundToLong(2.5), 2);
  EXPECT_EQ(RoundToLong(3.5), 4);
  EXPECT_EQ(RoundToLong(-2.5), -2);
  EXPECT_EQ(RoundToLong(-3.5), -4);
  EXPECT_EQ(RoundToLong(0.4), 0);
  EXPECT_EQ(RoundToLong(0.6), 1);
  EXPECT_EQ(RoundToLong(-0.6), -1);
  EXPECT_EQ(RoundToLong(0.5), 0);
  EXPECT_EQ(RoundToLong(1.5), 2);
  EXPECT_EQ(RoundToLong(2147483647.4), 2147483647);
  EXPECT_EQ(RoundToLong(-2147483648.5), std::numeric_limits<int32_t>::min());
}

TEST(VbConvertTest, RoundToLongRaisesOverflowOutsideTheRange) {
  EXPECT_EQ(RaisedNumber([] { RoundToLong(2147483647.5); }), 6);
  EXPECT_EQ(RaisedNumber([] { RoundToLong(-2147483649.0); }), 6);
  EXPECT_EQ(RaisedNumber([] { RoundToLong(1e300); }), 6);
  EXPECT_EQ(RaisedNumber([] { RoundToLong(std::numeric_limits<double>::infinity()); }), 6);
  EXPECT_EQ(RaisedNumber([] { RoundToLong(std::numeric_limits<double>::quiet_NaN()); }), 6);
  EXPECT_EQ(RaisedDescription([] { RoundToLong(3e9); }), "Overflow");
}

TEST(VbConvertTest, AddLongAddsInsideTheRange) {
  EXPECT_EQ(AddLong(2147483646, 1), 2147483647);
  EXPECT_EQ(AddLong(-2147483647, -1), -2147483647 - 1);
  EXPECT_EQ(AddLong(17, -20), -3);
}

TEST(VbConvertTest, AddLongRaisesOverflowInsteadOfWrapping) {
  EXPECT_EQ(RaisedNumber([] { AddLong(2147483647, 1); }), 6);
  EXPECT_EQ(RaisedNumber([] { AddLong(-2147483647 - 1, -1); }), 6);
}

}  // namespace
}  // namespace kdzv
