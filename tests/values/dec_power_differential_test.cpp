// Powers of random operands against decNumber's powers to 160 digits. Whole
// exponents of bases below 2^32 are multiplied out, each step rounded to 30
// digits or, below 1, to 30 places: the result agrees to 26 digits, and to
// 1e-28 in absolute terms, which a negative exponent scales by the square of
// the result; a quotient of 1 by a power below 10^-26 is left to the
// hand-worked cases. The other powers come from a logarithm in double precision and
// agree to 12 digits. Flags and signs agree exactly, except where the range
// test, taken in doubles, sits too near its limit to predict.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>

#include "tests/values/dec_reference.h"

namespace {

using namespace zr::dec::test;

constexpr int kPairs = 20000;

// Half up to a whole number; 0 outside the signed 64-bit range.
int64_t toInteger(const SH_DEC& d) {
  u128 m = magnitude(d), p = 1;
  for (int i = 0; i < scaleOf(d); ++i) p *= 10;
  m = m / p + (2 * (m % p) >= p ? 1 : 0);
  if (m > u128(1) << 63 || (m == u128(1) << 63 && !negative(d))) return 0;
  return negative(d) ? int64_t(0 - uint64_t(m)) : int64_t(m);
}

long double valueOf(const SH_DEC& d) {
  std::string text = (negative(d) ? "-" : "") + digitsOf(magnitude(d)) + "e-" + std::to_string(scaleOf(d));
  return std::strtold(text.c_str(), nullptr);
}

bool wholeValue(const SH_DEC& d) {
  u128 p = 1;
  for (int i = 0; i < scaleOf(d); ++i) p *= 10;
  return magnitude(d) % p == 0;
}

// Bases mostly short, with a few long or beyond 2^32; exponents mostly small
// whole numbers, some with a zero fraction, some fractional.
class PowerOperands {
 public:
  explicit PowerOperands(uint32_t seed) : rng_(seed) {}

  SH_DEC base() {
    int kind = pick(0, 9);
    int digits = kind < 6 ? pick(1, 4) : kind == 6 ? pick(11, 15) : kind == 7 ? 1 : pick(1, 30);
    int scale = kind < 6 ? pick(0, 3) : kind < 8 ? 0 : pick(0, 30);
    std::string s = number(digits);
    if (kind == 9) {
      s += "00";
      scale = std::min(30, scale + 2);
    }
    if (pick(0, 49) == 0) s = "0";
    return make(s, std::min(scale, 30), pick(0, 9) < 3);
  }

  SH_DEC exponent() {
    int kind = pick(0, 9);
    if (pick(0, 32) == 0) return make("0", pick(0, 2), false);
    if (kind < 7) return make(std::to_string(pick(0, 40)), 0, pick(0, 1));
    if (kind == 7) return make(std::to_string(pick(0, 40)) + "00", 2, pick(0, 1));
    if (kind == 8) return make(number(pick(1, 3)), pick(1, 2), pick(0, 1));
    return make(std::to_string(pick(41, 200)), 0, pick(0, 1));
  }

 private:
  std::string number(int digits) {
    std::string s;
    for (int i = 0; i < digits; ++i) s += char('0' + pick(i == 0 ? 1 : 0, 9));
    return s;
  }
  int pick(int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng_); }
  std::mt19937 rng_;
};

TEST(DecDifferential, Power) {
  PowerOperands gen(8);
  Reference reference;
  int mismatches = 0, exactCases = 0, compared = 0;
  const decNumber huge = reference.fromString("1E26"), zero = reference.fromString("0");
  for (int i = 0; i < kPairs; ++i) {
    SH_DEC b = gen.base(), e = gen.exponent(), got;
    shExpDec(&got, &b, &e);
    uint8_t flags = 0;
    bool byValue = false, exact = false;
    if (negative(b) && !isZero(b) && scaleOf(e) != 0) {
      flags = SH_DEC_INDETERMINATE;
    } else if (!isZero(e) && !isZero(b)) {
      long double l = std::log10(std::fabs(valueOf(b))) * valueOf(e);
      if (std::fabs(std::fabs(l) - 30) < 1e-9) continue;
      if (l < -30) flags = SH_DEC_UNDERFLOW;
      else if (l >= 30) flags = SH_DEC_OVERFLOW;
      else byValue = true;
      int64_t bi = toInteger(b);
      exact = wholeValue(e) && bi < int64_t(1) << 32;
    }
    bool same;
    if (byValue) {
      decNumber x = reference.number(b), y = reference.number(e), g = reference.number(got), want, diff, bound;
      reference.power(want, x, y);
      // A quotient of 1 by a power below 10^-26, which has kept fewer than
      // five digits, bounds nothing worth testing.
      reference.absoluteDifference(diff, want, zero);
      if (exact && negative(e) && !reference.atMost(diff, huge)) continue;
      reference.absoluteDifference(diff, g, want);
      if (exact)
        reference.tolerance(bound, want, "1E-26", "1E-28");
      else
        reference.tolerance(bound, want, "1E-12", "1E-30");
      ++compared;
      exactCases += exact;
      same = reference.atMost(diff, bound) && (got.flags & ~SH_DEC_NEGATIVE) == 0 &&
             negative(got) == decNumberIsNegative(&want);
    } else {
      SH_DEC want = make(isZero(e) && flags == 0 ? "1" : "0", 0, false, flags);
      same = std::memcmp(&got, &want, sizeof got) == 0;
    }
    if (!same && ++mismatches <= 5) ADD_FAILURE() << describe(b) << " ^ " << describe(e) << " gave " << describe(got);
  }
  EXPECT_EQ(mismatches, 0);
  EXPECT_GT(exactCases, kPairs / 4);
  EXPECT_GT(compared, kPairs / 3);
}

}  // namespace
