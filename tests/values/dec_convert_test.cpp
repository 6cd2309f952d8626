// Integer, floating-point and power conversions of decimals.
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

#include "tests/values/dec_test_util.h"

namespace zr::dec::test {
namespace {

TEST(DecInt, BoundariesOfEachWidthRoundTrip) {
  SH_DEC d;
  for (int v16 : {0, 1, -1, INT16_MAX, INT16_MIN}) {
    int16_t v = int16_t(v16), back = 7;
    shDecToInt(&back, shIntToDec(&d, v));
    EXPECT_EQ(back, v);
  }
  for (int32_t v : {0, 1, -1, INT32_MAX, INT32_MIN}) {
    int32_t back = 7;
    shDecToLong(&back, shLongToDec(&d, v));
    EXPECT_EQ(back, v);
  }
  for (int64_t v : {int64_t(0), int64_t(-1), INT64_MAX, INT64_MIN}) {
    int64_t back = 7;
    shDecToLonglong(&back, shLonglongToDec(&d, &v));
    EXPECT_EQ(back, v);
    EXPECT_EQ(d.scale, 0);
  }
  for (int u16 : {0, UINT16_MAX}) {
    uint16_t v = uint16_t(u16), back = 7;
    shDecToUint(&back, shUintToDec(&d, v));
    EXPECT_EQ(back, v);
  }
  for (uint32_t v : {0u, UINT32_MAX}) {
    uint32_t back = 7;
    shDecToUlong(&back, shUlongToDec(&d, v));
    EXPECT_EQ(back, v);
  }
  uint8_t byte = 0;
  shDecToByte(&byte, shByteToDec(&d, 255));
  EXPECT_EQ(byte, 255);
  EXPECT_EQ(str(*shIntToDec(&d, INT16_MIN)), "-32768");
}

TEST(DecInt, OutOfRangeGivesZero) {
  int16_t i = 1;
  SH_DEC d = dec("32768");
  EXPECT_EQ(*shDecToInt(&i, &d), 0);
  d = dec("-32768");
  EXPECT_EQ(*shDecToInt(&i, &d), -32768);
  d = dec("2.5");
  EXPECT_EQ(*shDecToInt(&i, &d), 3);
  d = dec("-2.5");
  EXPECT_EQ(*shDecToInt(&i, &d), -3);
  int32_t l = 1;
  d = dec("2147483648");
  EXPECT_EQ(*shDecToLong(&l, &d), 0);
  d = dec("-2147483648");
  EXPECT_EQ(*shDecToLong(&l, &d), INT32_MIN);
  int64_t ll = 1;
  d = dec("9223372036854775808");
  EXPECT_EQ(*shDecToLonglong(&ll, &d), 0);
  d = dec("-9223372036854775808");
  EXPECT_EQ(*shDecToLonglong(&ll, &d), INT64_MIN);
  uint8_t b = 1;
  d = dec("300");
  EXPECT_EQ(*shDecToByte(&b, &d), 44);
  d = dec("65536");
  EXPECT_EQ(*shDecToByte(&b, &d), 0);
  uint16_t u = 1;
  d = dec("-1");
  EXPECT_EQ(*shDecToUint(&u, &d), 0);
  d = dec("65535.4");
  EXPECT_EQ(*shDecToUint(&u, &d), 65535);
  uint32_t ul = 1;
  d = dec("-0.4");
  EXPECT_EQ(*shDecToUlong(&ul, &d), 0u);
  d = dec("4294967295.5");
  EXPECT_EQ(*shDecToUlong(&ul, &d), 0u);
  EXPECT_EQ(shDecToInt(nullptr, &d), nullptr);
}

TEST(DecFloat, Conversions) {
  SH_DEC d;
  double x = 0.1;
  EXPECT_EQ(str(*shDoubleToDec(&d, &x)), "0.1");
  x = -1234.5;
  EXPECT_EQ(str(*shDoubleToDec(&d, &x)), "-1234.5");
  x = 1e20;
  EXPECT_EQ(str(*shDoubleToDec(&d, &x)), "100000000000000000000");
  x = 0.0;
  EXPECT_EQ(flagWord(*shDoubleToDec(&d, &x)), 0x0200);
  x = 1e30;
  EXPECT_EQ(flagWord(*shDoubleToDec(&d, &x)), SH_DEC_OVERFLOW | 0x0200);
  x = 1e-31;
  EXPECT_EQ(flagWord(*shDoubleToDec(&d, &x)), SH_DEC_UNDERFLOW | 0x0200);
  float f = 0.5f;
  EXPECT_EQ(str(*shFloatToDec(&d, &f)), "0.5");

  double back = 0;
  d = dec("-12.25");
  EXPECT_EQ(*shDecToDouble(&back, &d), -12.25);
  d = dec("0.000000000000000000000000000001");
  EXPECT_DOUBLE_EQ(*shDecToDouble(&back, &d), 1e-30);
  EXPECT_FLOAT_EQ(*shDecToFloat(&f, sh_MAX_DEC()), 1e30f);
}

std::string power(const std::string& base, const std::string& exponent) {
  SH_DEC b = dec(base), e = dec(exponent), r;
  return str(*shExpDec(&r, &b, &e));
}

TEST(DecPower, ExactForWholeExponents) {
  EXPECT_EQ(power("2", "10"), "1024");
  EXPECT_EQ(power("-2", "3"), "-8");
  EXPECT_EQ(power("-2", "4"), "16");
  EXPECT_EQ(power("1.5", "2"), "2.25");
  // A negative exponent divides, and the quotient keeps its 30 places.
  EXPECT_EQ(power("2", "-2"), "0.250000000000000000000000000000");
  EXPECT_EQ(power("3", "62"), "381520424476945831628649898809");
  EXPECT_EQ(power("0", "0"), "1");
  EXPECT_EQ(power("0", "5"), "0");
  EXPECT_EQ(power("7.00", "1"), "7");
  EXPECT_EQ(power("1", "123456789"), "1");
}

// Each square and product is rounded before the next step, not the result
// alone.
TEST(DecPower, RoundsInsideTheSquaring) {
  // (1 + 10^-15)^2 = 1.000000000000002000000000000001 has 31 digits and
  // loses the last; squared again, the 4 x 10^-30 is lost the same way, where
  // the power itself is 1.000000000000004000000000000006.
  EXPECT_EQ(power("1.000000000000001", "4"), "1.000000000000004");
  // 1 / 49 = 0.0204081632653061224489795918367 34..., cut at 30 places.
  EXPECT_EQ(power("7", "-2"), "0.020408163265306122448979591837");
  // 0.05^23 = 1.19 x 10^-30 keeps 30 places, 0.000...001, whose reciprocal
  // 10^30 overflows, though 20^23 = 8.4 x 10^29 would fit.
  SH_DEC b = dec("0.05"), e = dec("-23"), r;
  EXPECT_EQ(shExpDec(&r, &b, &e)->flags, SH_DEC_OVERFLOW);
}

TEST(DecPower, FlagsAndTheLogarithmPath) {
  SH_DEC b = dec("-2"), e = dec("2.00"), r;
  EXPECT_EQ(shExpDec(&r, &b, &e)->flags, SH_DEC_INDETERMINATE);
  b = dec("10");
  e = dec("30");
  EXPECT_EQ(shExpDec(&r, &b, &e)->flags, SH_DEC_OVERFLOW);
  e = dec("-31");
  EXPECT_EQ(shExpDec(&r, &b, &e)->flags, SH_DEC_UNDERFLOW);
  double x = 0;
  b = dec("2");
  e = dec("0.5");
  EXPECT_NEAR(*shDecToDouble(&x, shExpDec(&r, &b, &e)), 1.4142135623730951, 1e-12);
  b = dec("10000000000");
  e = dec("2");
  EXPECT_NEAR(*shDecToDouble(&x, shExpDec(&r, &b, &e)), 1e20, 1e6);
}

}  // namespace
}  // namespace zr::dec::test
