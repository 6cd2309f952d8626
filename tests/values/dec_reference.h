// The reference for the differential tests: decNumber's exact results turned
// into records by what a result may hold, stated on the value: its range, at
// most 30 places and 30 significant digits, and the working scale of each
// operation.
#ifndef TESTS_VALUES_DEC_REFERENCE_H
#define TESTS_VALUES_DEC_REFERENCE_H

#define DECNUMDIGITS 160
#include <decNumber.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>

#include "tests/values/dec_test_util.h"

namespace zr::dec::test {

using u128 = unsigned __int128;
inline u128 magnitude(const SH_DEC& d) {
  u128 m = 0;
  for (int i = 6; i >= 0; --i) m = m << 16 | d.digits[i];
  return m;
}

inline std::string digitsOf(u128 m) {
  std::string s;
  do {
    s.insert(s.begin(), char('0' + int(m % 10)));
    m /= 10;
  } while (m);
  return s;
}

inline u128 parseDigits(const std::string& s) {
  u128 m = 0;
  for (char c : s) m = m * 10 + u128(c - '0');
  return m;
}

inline SH_DEC make(const std::string& digits, int scale, bool negative, uint8_t flags = 0) {
  SH_DEC d{};
  u128 m = parseDigits(digits);
  for (int i = 0; i < 7; ++i) d.digits[i] = uint16_t(m >> (16 * i));
  d.scale = uint8_t(scale);
  d.flags = uint8_t(flags | (negative && m ? SH_DEC_NEGATIVE : 0));
  return d;
}

inline SH_DEC arithmeticZero(uint8_t flags = 0) {
  SH_DEC d{};
  d.scale = 2;
  d.flags = flags;
  return d;
}

inline bool isZero(const SH_DEC& d) { return magnitude(d) == 0; }
inline int scaleOf(const SH_DEC& d) { return d.scale & 0x1F; }
inline bool negative(const SH_DEC& d) { return d.flags & SH_DEC_NEGATIVE; }

class Reference {
 public:
  Reference() {
    decContextDefault(&ctx_, DEC_INIT_BASE);
    ctx_.digits = DECNUMDIGITS;
    ctx_.emax = 999;
    ctx_.emin = -999;
    ctx_.round = DEC_ROUND_HALF_UP;
    ctx_.traps = 0;
  }

  decNumber number(const SH_DEC& d) {
    std::string text = (negative(d) ? "-" : "") + digitsOf(magnitude(d)) + "E-" + std::to_string(scaleOf(d));
    return fromString(text);
  }

  decNumber fromString(const std::string& text) {
    decNumber n;
    decNumberFromString(&n, text.c_str(), &ctx_);
    return n;
  }

  // The digits of |n| x 10^shift, rounded half up to a whole number.
  std::string integerDigits(decNumber n, int shift) {
    decNumberAbs(&n, &n, &ctx_);
    n.exponent += shift;
    decNumber zero = fromString("0");
    decNumberQuantize(&n, &n, &zero, &ctx_);
    char text[DECNUMDIGITS + 16];
    decNumberToString(&n, text);
    return text;
  }

  // Digits left of the point: 3 for 123.4, 0 for 0.5, -2 for 0.004.
  static int integerPlaces(const decNumber& n) { return n.exponent + n.digits; }

  // An arithmetic result by its value: from 10^30 up it overflows, below
  // 10^-30 it underflows. Otherwise it keeps at most 30 places and, past
  // its integer digits, at most 30 significant digits, rounded half up;
  // trailing zeros go only when something was rounded off, so an exact
  // result keeps its working scale.
  SH_DEC store(const decNumber& exact, int scale, bool neg) {
    int whole = integerPlaces(exact);
    if (whole > 30) return make("0", 0, false, SH_DEC_OVERFLOW);
    if (whole <= -30) return make("0", 0, false, SH_DEC_UNDERFLOW);
    int places = std::min(scale, 30 - std::max(whole, 0));
    std::string w = integerDigits(exact, places);
    if (places < scale) {
      while (places > 0 && w.size() > 1 && w.back() == '0') {
        w.pop_back();
        --places;
      }
      if (w == "0") places = 0;
    }
    return make(w, places, neg);
  }

  SH_DEC add(const SH_DEC& a, const SH_DEC& b) {
    if (isZero(a)) return b;
    if (isZero(b)) return a;
    decNumber x = number(a), y = number(b), r;
    decNumberAdd(&r, &x, &y, &ctx_);
    if (decNumberIsZero(&r)) return arithmeticZero();
    return store(r, std::max(scaleOf(a), scaleOf(b)), decNumberIsNegative(&r));
  }

  SH_DEC sub(const SH_DEC& a, SH_DEC b) {
    if (!isZero(b)) b.flags ^= SH_DEC_NEGATIVE;
    return add(a, b);
  }

  SH_DEC mul(const SH_DEC& a, const SH_DEC& b) {
    if (isZero(a) || isZero(b)) return arithmeticZero();
    decNumber x = number(a), y = number(b), r;
    decNumberMultiply(&r, &x, &y, &ctx_);
    return store(r, scaleOf(a) + scaleOf(b), negative(a) != negative(b));
  }

  // The quotient is first rounded half up to 30 places more than the
  // dividend has integer digits beyond the divisor's, which gives it about
  // 30 digits, and is then stored. Divisors from 2^31 to 2^32 round with a
  // 32-bit wrap that the hand-worked cases cover; they are not asked for.
  SH_DEC div(const SH_DEC& a, const SH_DEC& b) {
    if (isZero(a) && isZero(b)) return arithmeticZero(SH_DEC_INDETERMINATE);
    if (isZero(b)) return arithmeticZero(SH_DEC_DIVIDE_BY_ZERO);
    if (isZero(a)) return arithmeticZero();
    decNumber x = number(a), y = number(b), q;
    decNumberDivide(&q, &x, &y, &ctx_);
    int scale = integerPlaces(y) - integerPlaces(x) + 30;
    decNumber rounded = fromString(integerDigits(q, scale) + "E" + std::to_string(-scale));
    return store(rounded, scale, negative(a) != negative(b));
  }

  static bool wrapsInDivision(const SH_DEC& divisor) {
    u128 m = magnitude(divisor);
    return m >= u128(1) << 31 && m < u128(1) << 32;
  }

  // a - trunc(a / b) x b, each step as the library takes it.
  SH_DEC mod(const SH_DEC& a, const SH_DEC& b) {
    if (isZero(a) && isZero(b)) return arithmeticZero(SH_DEC_INDETERMINATE);
    if (isZero(b)) return arithmeticZero(SH_DEC_DIVIDE_BY_ZERO);
    if (isZero(a)) return arithmeticZero();
    SH_DEC q = div(a, b);
    u128 whole = magnitude(q);
    for (int i = 0; i < scaleOf(q); ++i) whole /= 10;
    return sub(a, mul(make(digitsOf(whole), 0, negative(q)), b));
  }

  void power(decNumber& r, const decNumber& x, const decNumber& y) { decNumberPower(&r, &x, &y, &ctx_); }

  void absoluteDifference(decNumber& r, const decNumber& x, const decNumber& y) {
    decNumberSubtract(&r, &x, &y, &ctx_);
    decNumberAbs(&r, &r, &ctx_);
  }

  // |x| x relative + absolute x max(1, x^2).
  void tolerance(decNumber& r, const decNumber& x, const char* relative, const char* absolute) {
    decNumber rel = fromString(relative), abs = fromString(absolute), one = fromString("1"), square;
    decNumberMultiply(&square, &x, &x, &ctx_);
    decNumberMax(&square, &square, &one, &ctx_);
    decNumberMultiply(&square, &square, &abs, &ctx_);
    decNumberAbs(&r, &x, &ctx_);
    decNumberMultiply(&r, &r, &rel, &ctx_);
    decNumberAdd(&r, &r, &square, &ctx_);
  }

  bool atMost(const decNumber& x, const decNumber& y) {
    decNumber r;
    decNumberCompare(&r, &x, &y, &ctx_);
    return decNumberIsNegative(&r) || decNumberIsZero(&r);
  }

  int compare(const SH_DEC& a, const SH_DEC& b) {
    decNumber x = number(a), y = number(b), r;
    decNumberCompare(&r, &x, &y, &ctx_);
    return decNumberIsZero(&r) ? 0 : decNumberIsNegative(&r) ? -1 : 1;
  }

  // Half up on the magnitude to `places`, or the source when that would
  // need more than 30 digits.
  SH_DEC round(const SH_DEC& a, int places) {
    int c = scaleOf(a);
    if (c == places) return a;
    if (isZero(a)) return make("0", places, false, a.flags & ~SH_DEC_NEGATIVE) ;
    std::string w = digitsOf(magnitude(a));
    if (c < places) {
      w += std::string(size_t(places - c), '0');
      if (w.size() > 30) return a;
      return make(w, places, negative(a));
    }
    decNumber n = number(a);
    n.exponent += places;
    decNumber zero = fromString("0");
    decNumberQuantize(&n, &n, &zero, &ctx_);
    std::string r = integerDigits(n, 0);
    SH_DEC out = make(r, places, negative(a));
    if (r == "0") out.flags = a.flags;
    return out;
  }

 private:
  decContext ctx_;
};

// Operands with 1 to 30 digits and scales 0 to 30, weighted toward the
// edges: 29 and 30 digits, values just below 10^30 and just above 10^-30.
class Operands {
 public:
  explicit Operands(uint32_t seed) : rng_(seed) {}

  SH_DEC next() {
    int kind = pick(0, 9);
    int digits = kind < 4 ? pick(1, 30) : kind < 7 ? pick(29, 30) : kind == 7 ? 30 : pick(1, 3);
    int scale = kind == 7 ? pick(0, 1) : kind == 8 ? 30 : pick(0, 30);
    std::string s;
    for (int i = 0; i < digits; ++i) s += char('0' + pick(i == 0 ? 1 : 0, 9));
    if (kind == 7) s.replace(0, 25, std::string(25, '9'));
    if (pick(0, 49) == 0) s = "0";
    return make(s, scale, pick(0, 1));
  }

 private:
  int pick(int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng_); }
  std::mt19937 rng_;
};

inline std::string describe(const SH_DEC& d) {
  char flags[16];
  snprintf(flags, sizeof flags, " [%02x %02x]", d.flags, d.scale);
  return str(d) + flags;
}

}  // namespace zr::dec::test

#endif
