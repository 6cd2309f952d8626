// Powers of random operands against decNumber. Whole exponents of bases
// below 2^32 take the exact path, so the reference repeats its rules: every
// product and square cut half up to 30 significant digits, a negative
// exponent applied as the 30-digit quotient of 1 by the power, then the
// checked store; those results must match byte for byte. The other powers
// come from a logarithm in double precision and are compared within a
// tolerance.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <random>
#include <string>

#include "tests/values/dec_reference.h"

namespace {

using namespace zr::dec::test;

constexpr int kPairs = 20000;

// A non-negative working value: digits without leading zeros ("0" for zero)
// and a scale.
struct Work {
  std::string w;
  int s;
};

void stripZeros(Work& v) {
  if (v.w == "0") v.s = 0;
  while (v.s > 0 && v.w.back() == '0') {
    v.w.pop_back();
    --v.s;
  }
}

// At most 30 significant digits, half up, never cutting integer digits.
void reduce(Reference& ref, Work& v) {
  stripZeros(v);
  int d = v.w == "0" ? 0 : int(v.w.size());
  int cut = v.s >= d ? v.s - 30 : std::min(v.s, d - 30);
  if (cut <= 0) return;
  bool up = cut <= d && v.w[size_t(d - cut)] >= '5';
  v.w = cut < d ? v.w.substr(0, size_t(d - cut)) : "0";
  if (up) v.w = ref.increment(v.w);
  v.s -= cut;
  stripZeros(v);
}

// 2.00 becomes 2; other values stay.
SH_DEC dropZeroScale(const SH_DEC& d) {
  std::string w = digitsOf(magnitude(d));
  int s = scaleOf(d);
  if (s == 0 || int(w.size()) <= s || w.find_first_not_of('0', w.size() - size_t(s)) != std::string::npos) return d;
  return make(w.substr(0, w.size() - size_t(s)), 0, negative(d));
}

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

// The exact record shExpDec gives, or for the logarithm path the value it
// approximates (record left zero). Nothing when the range test, done in
// doubles, sits too near its limits to predict.
struct Expected {
  bool exact;
  SH_DEC record;
  long double value;
};

std::optional<Expected> expectedPower(Reference& ref, SH_DEC b, SH_DEC e) {
  auto exact = [](const SH_DEC& r) { return Expected{true, r, 0}; };
  bool negativeBase = negative(b) && !isZero(b);
  if (negativeBase && scaleOf(e) != 0) return exact(make("0", 0, false, SH_DEC_INDETERMINATE));
  if (isZero(e)) return exact(make("1", 0, false));
  if (isZero(b)) return exact(make("0", 0, false));
  b = dropZeroScale(b);
  e = dropZeroScale(e);
  int64_t bi = toInteger(b), ei = toInteger(e);
  if (bi == 1 && scaleOf(b) == 0) return exact(make("1", 0, false));
  if (ei == 1 && scaleOf(e) == 0) return exact(b);
  long double l = std::log10(std::fabs(valueOf(b))) * valueOf(e);
  if (std::fabs(std::fabs(l) - 30) < 1e-9) return std::nullopt;
  if (l < -30) return exact(make("0", 0, false, SH_DEC_UNDERFLOW));
  if (l >= 30) return exact(make("0", 0, false, SH_DEC_OVERFLOW));
  Expected out{false, {}, std::pow(std::fabs(valueOf(b)), valueOf(e))};
  if (scaleOf(e) == 0 && bi < int64_t(1) << 32) {
    uint32_t count = uint32_t(ei < 0 ? 0 - uint64_t(ei) : uint64_t(ei));
    Work result{"1", 0}, square{digitsOf(magnitude(b)), scaleOf(b)};
    for (int round = 0; round < 32 && uint64_t(1) << round <= count; ++round) {
      if (count >> round & 1) {
        result = {ref.multiply(result.w, square.w), result.s + square.s};
        reduce(ref, result);
      }
      square = {ref.multiply(square.w, square.w), 2 * square.s};
      reduce(ref, square);
    }
    out.exact = true;
    if (ei > 0)
      out.record = Reference::checkedStore(result.w, result.s, false);
    else if (result.w == "0")
      out.record = make("0", 0, false, SH_DEC_DIVIDE_BY_ZERO);
    else if (result.w.size() <= 38)
      out.record = ref.divide("1", 0, result.w, result.s, false);
    else
      return std::nullopt;
  }
  // An odd exponent keeps a negative base's sign.
  if (negativeBase && (e.digits[0] & 1) && !isZero(out.record)) out.record.flags |= SH_DEC_NEGATIVE;
  if (negativeBase && (e.digits[0] & 1)) out.value = -out.value;
  return out;
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
  int mismatches = 0, exactCases = 0, skipped = 0;
  for (int i = 0; i < kPairs; ++i) {
    SH_DEC b = gen.base(), e = gen.exponent(), got;
    shExpDec(&got, &b, &e);
    std::optional<Expected> want = expectedPower(reference, b, e);
    if (!want) {
      ++skipped;
      continue;
    }
    bool same;
    if (want->exact) {
      ++exactCases;
      same = std::memcmp(&got, &want->record, sizeof got) == 0;
    } else {
      double value = 0;
      shDecToDouble(&value, &got);
      // pow(10, L) loses about L x 1e-16 relative; 30 places bound tiny values.
      same = got.flags == (want->value < 0 ? SH_DEC_NEGATIVE : 0) &&
             std::fabs(value - double(want->value)) <= 1e-12 * std::fabs(double(want->value)) + 1e-29;
    }
    if (!same && ++mismatches <= 5)
      ADD_FAILURE() << describe(b) << " ^ " << describe(e) << " gave " << describe(got) << " want "
                    << (want->exact ? describe(want->record) : std::to_string(double(want->value)));
  }
  EXPECT_EQ(mismatches, 0);
  EXPECT_GT(exactCases, kPairs / 2);
  EXPECT_LT(skipped, kPairs / 100);
}

}  // namespace
