// Arithmetic on decimals: result scales, the zero of scale 2, range flags
// and half-up rounding on the magnitude.
#include <gtest/gtest.h>

#include "tests/values/dec_test_util.h"

namespace zr::dec::test {
namespace {

template <PSH_DEC (*Op)(PSH_DEC, const SH_DEC*, const SH_DEC*)>
std::string apply(const std::string& a, const std::string& b) {
  SH_DEC x = dec(a), y = dec(b), r;
  return str(*Op(&r, &x, &y));
}
const auto add = apply<shAddDec>;
const auto sub = apply<shSubDec>;
const auto mul = apply<shMultDec>;
const auto div = apply<shDivDec>;
const auto mod = apply<shModDec>;
std::string round(const std::string& a, int places, bool trunc = false) {
  SH_DEC x = dec(a), r = x;
  return str(trunc ? *shTruncDec(&r, &x, int16_t(places)) : *shRoundDec(&r, &x, int16_t(places)));
}

const std::string kThirtyNines = "999999999999999999999999999999";

TEST(DecCompare, IgnoresScaleAndZeroSign) {
  SH_DEC a = dec("1.0"), b = dec("1.00"), c = dec("-2"), zero = dec("0"), r;
  EXPECT_EQ(shCompareDec(&a, &b), 0);
  EXPECT_EQ(shCompareDec(&c, &a), -1);
  EXPECT_EQ(shCompareDec(&a, &c), 1);
  SH_DEC negZero = zero;
  negZero.flags = SH_DEC_NEGATIVE;
  EXPECT_EQ(shCompareDec(&zero, &negZero), 0);
  SH_DEC small = dec("-0.001"), big = dec("-1000");
  EXPECT_EQ(shCompareDec(&small, &big), 1);
  EXPECT_EQ(shCompareDec(nullptr, &a), 0);
  // Ties: max gives the second, min the first.
  EXPECT_EQ(str(*shMaxDec(&r, &a, &b)), "1.00");
  EXPECT_EQ(str(*shMinDec(&r, &a, &b)), "1.0");
  EXPECT_EQ(str(*shMaxDec(&r, &c, &a)), "1.0");
  EXPECT_EQ(shMaxDec(nullptr, &a, &b), nullptr);
}

TEST(DecSign, AbsAndNegateLeaveZeroAlone) {
  SH_DEC a = dec("-1.5"), zero = dec("0.0"), r;
  EXPECT_EQ(str(*shAbsDec(&r, &a)), "1.5");
  EXPECT_EQ(str(*shNegateDec(&r, &a)), "1.5");
  EXPECT_EQ(str(*shNegateDec(&r, &r)), "-1.5");
  EXPECT_EQ(shNegateDec(&r, &zero)->flags, 0);
  EXPECT_EQ(shSetDecNegative(&zero, 1), 0);
  EXPECT_EQ(zero.flags, 0);
  EXPECT_EQ(shSetDecNegative(&a, 0), 1);
  EXPECT_EQ(str(a), "1.5");
  EXPECT_EQ(shSetDecFractions(&a, 31), -1);
  EXPECT_EQ(shSetDecFractions(&a, 3), 3);
  EXPECT_EQ(str(a), "0.015");
  EXPECT_EQ(shDecSetOverflow(&a, 1)->flags, SH_DEC_OVERFLOW);
  EXPECT_EQ(str(*sh_MAX_DEC()), kThirtyNines);
}

TEST(DecRound, HalfUpOnMagnitude) {
  EXPECT_EQ(round("0.5", 0), "1");
  EXPECT_EQ(round("-0.5", 0), "-1");
  EXPECT_EQ(round("0.49", 0), "0");
  EXPECT_EQ(round("1.99", 0, true), "1");
  EXPECT_EQ(round("-2.345", 2), "-2.35");
  EXPECT_EQ(round("1.5", 3), "1.500");
  EXPECT_EQ(round("0", 3), "0.000");
  EXPECT_EQ(round("123456789.123456789123456789", 21), "123456789.123456789123456789000");
  EXPECT_EQ(round("123456789.123456789123456789", 22), "123456789.123456789123456789");
  // Growing past 30 digits returns the source unchanged.
  EXPECT_EQ(round("1", 30), "1");
  EXPECT_EQ(round("12345678901234567890", 11), "12345678901234567890");
}

TEST(DecRound, PlainStoreKeepsSignOfZeroAndOldScale) {
  SH_DEC d = dec("-0.4");
  shRoundDec(&d, &d, 0);
  EXPECT_EQ(flagWord(d), SH_DEC_NEGATIVE);
  EXPECT_EQ(str(d), "0");
  // A negative place count divides but cannot write its scale.
  d = dec("1234.5");
  shRoundDec(&d, &d, -2);
  EXPECT_EQ(d.digits[0], 12);
  EXPECT_EQ(d.scale, 1);
}

TEST(DecAdd, ScalesAndZeros) {
  EXPECT_EQ(add("1.5", "0.00"), "1.5");
  EXPECT_EQ(add("0.00", "1.5"), "1.5");
  EXPECT_EQ(add("1.50", "-1.50"), "0.00");
  EXPECT_EQ(add("1.25", "2.5"), "3.75");
  EXPECT_EQ(add("-1.25", "0.5"), "-0.75");
  EXPECT_EQ(add("0.5", "-1.25"), "-0.75");
  EXPECT_EQ(sub("1", "3.000"), "-2.000");
  EXPECT_EQ(sub("0", "3"), "-3");
  // Thirty integer digits plus fraction digits are cut to 30 digits.
  EXPECT_EQ(add("100000000000000000000000000000", "0.5"), "100000000000000000000000000001");
  EXPECT_EQ(add("99999999999999999999999999999", "0.5"), "99999999999999999999999999999.5");
}

TEST(DecAdd, CarryOrBorrowAcrossAPowerOfTenWhileCutting) {
  // Far apart in scale: a carry adds a digit, a borrow takes one away, and
  // the cut moves with the count.
  EXPECT_EQ(add("9999999999999999999999999999.99", "0.010000000000000000000000000001"),
            "10000000000000000000000000000");
  EXPECT_EQ(sub("1000000000000000000000000000.00", "0.000000000000000000000000000001"),
            "1000000000000000000000000000");
  EXPECT_EQ(sub("1000000000000000000000000000.00", "0.600000000000000000000000000000"),
            "999999999999999999999999999.4");
  EXPECT_EQ(sub("1000000000000000000000000000.00", "0.000000000000000000000000000600"),
            "1000000000000000000000000000");
  EXPECT_EQ(add("-9999999999999999999999999999.99", "-0.004999999999999999999999999999"),
            "-9999999999999999999999999999.99");
  EXPECT_EQ(add("99999999999999999999999999999.9", "0.060000000000000000000000000000"), "100000000000000000000000000000");
}

TEST(DecAdd, OverflowAndUnderflowLeaveZeroDigits) {
  SH_DEC a = dec(kThirtyNines), one = dec("1"), r;
  shAddDec(&r, &a, &one);
  EXPECT_EQ(flagWord(r), SH_DEC_OVERFLOW);
  EXPECT_EQ(str(r), "0");
  SH_DEC tiny = dec("0.000000000000000000000000000001");
  shMultDec(&r, &tiny, &tiny);
  EXPECT_EQ(flagWord(r), SH_DEC_UNDERFLOW);
  // A flagged record is an ordinary zero to the next operation.
  shAddDec(&r, &r, &one);
  EXPECT_EQ(str(r), "1");
}

TEST(DecMult, KeepsTrailingZerosUnlessCut) {
  EXPECT_EQ(mul("1.50", "2.00"), "3.0000");
  EXPECT_EQ(mul("5", "0"), "0.00");
  EXPECT_EQ(mul("-0.5", "0.5"), "-0.25");
  EXPECT_EQ(mul("123456789012345", "1000000000000000"), "123456789012345000000000000000");
  EXPECT_EQ(mul("0.000000000000001", "0.0000000000000015"), "0.000000000000000000000000000002");
  EXPECT_EQ(mul("1.00000000000000000000000000001", "1.00000000000000000000000000001"),
            "1.00000000000000000000000000002");
}

TEST(DecDiv, ThirtyDigitQuotients) {
  EXPECT_EQ(div("1", "3"), "0.333333333333333333333333333333");
  EXPECT_EQ(div("2", "3"), "0.666666666666666666666666666667");
  EXPECT_EQ(div("-2", "3"), "-0.666666666666666666666666666667");
  EXPECT_EQ(div("6", "3"), "2");
  EXPECT_EQ(div("1", "4"), "0.250000000000000000000000000000");
  EXPECT_EQ(div("0", "4"), "0.00");
  EXPECT_EQ(div("10", "0.001"), "10000");
  // Divisors of several words take the long division.
  EXPECT_EQ(div("1", "12345678901234567890"), "0.000000000000000000081000000729");
  EXPECT_EQ(div("98765432109876543210", "12345678901234567890"), "8.00000007290000066339000603685");
  // 3 / 3.5 = 0.857142 857142... A one-word divisor from 2^31 up doubles
  // its remainder in 32 bits: 3 x 10^39 = 3500000000 x
  // 857142857142857142857142857142 + 3000000000, and 2 x 3000000000 wraps
  // to 1705032704, below the divisor, so the last digit is not rounded up.
  EXPECT_EQ(div("3", "3.5"), "0.857142857142857142857142857143");
  EXPECT_EQ(div("3", "3.500000000"), "0.857142857142857142857142857142");
}

TEST(DecDiv, ConditionFlags) {
  SH_DEC zero = dec("0"), one = dec("1"), r;
  shDivDec(&r, &zero, &zero);
  EXPECT_EQ(flagWord(r), 0x0200 | SH_DEC_INDETERMINATE);
  shDivDec(&r, &one, &zero);
  EXPECT_EQ(flagWord(r), 0x0200 | SH_DEC_DIVIDE_BY_ZERO);
  shModDec(&r, &one, &zero);
  EXPECT_EQ(flagWord(r), 0x0200 | SH_DEC_DIVIDE_BY_ZERO);
  shModDec(&r, &zero, &zero);
  EXPECT_EQ(flagWord(r), 0x0200 | SH_DEC_INDETERMINATE);
  EXPECT_EQ(shDivDec(&r, nullptr, &one), nullptr);
}

TEST(DecMod, SignOfDividend) {
  EXPECT_EQ(mod("7", "3"), "1");
  EXPECT_EQ(mod("-7", "3"), "-1");
  EXPECT_EQ(mod("7", "-3"), "1");
  EXPECT_EQ(mod("7.5", "2"), "1.5");
  EXPECT_EQ(mod("6", "3"), "0.00");
  EXPECT_EQ(mod("0", "3"), "0.00");
}

TEST(DecArith, DestinationMayBeASource) {
  SH_DEC a = dec("7"), b = dec("2");
  shDivDec(&a, &a, &b);
  EXPECT_EQ(str(a), "3.5");
  shModDec(&b, &a, &b);
  EXPECT_EQ(str(b), "1.5");
  shMultDec(&a, &a, &a);
  EXPECT_EQ(str(a), "12.25");
}

}  // namespace
}  // namespace zr::dec::test
