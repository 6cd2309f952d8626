// The reference for the differential tests: decNumber's exact results turned
// into records by the library's own result rules (30-digit quotient, cut to
// 30 digits with half-up rounding, trailing zeros stripped only after a cut).
#ifndef TESTS_VALUES_DEC_REFERENCE_H
#define TESTS_VALUES_DEC_REFERENCE_H

#define DECNUMDIGITS 160
#include <decNumber.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>

#include "shdec.h"

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
inline int digitCount(const SH_DEC& d) { return isZero(d) ? 0 : int(digitsOf(magnitude(d)).size()); }

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

  // The digits of |n| x 10^shift, which must be a whole number.
  std::string integerDigits(decNumber n, int shift) {
    decNumberAbs(&n, &n, &ctx_);
    n.exponent += shift;
    decNumber zero = fromString("0");
    decNumberQuantize(&n, &n, &zero, &ctx_);
    char text[DECNUMDIGITS + 16];
    decNumberToString(&n, text);
    return text;
  }

  // The store of an arithmetic result: range tests, then a half-up cut to 30
  // digits, after which trailing fraction zeros go.
  static SH_DEC checkedStore(std::string w, int s, bool neg) {
    int d = w == "0" ? 0 : int(w.size());
    if (s - d >= 30) return make("0", 0, false, SH_DEC_UNDERFLOW);
    if (d - s > 30) return make("0", 0, false, SH_DEC_OVERFLOW);
    int cut = s < d ? (d < 31 ? 0 : std::min(s, d - 30)) : (s < 31 ? 0 : s - 30);
    if (cut > 0) {
      bool up = w[size_t(d - cut)] >= '5';
      w.resize(size_t(d - cut));
      if (w.empty()) w = "0";
      if (up) w = digitsOf(parseDigits(w) + 1);
      s -= cut;
      while (s > 0 && w.size() > 1 && w.back() == '0') {
        w.pop_back();
        --s;
      }
      if (w == "0") s = 0;
    }
    return make(w, s, neg);
  }

  SH_DEC add(const SH_DEC& a, const SH_DEC& b) {
    if (isZero(a)) return b;
    if (isZero(b)) return a;
    decNumber x = number(a), y = number(b), r;
    decNumberAdd(&r, &x, &y, &ctx_);
    if (decNumberIsZero(&r)) return arithmeticZero();
    int s = std::max(scaleOf(a), scaleOf(b));
    return checkedStore(integerDigits(r, s), s, decNumberIsNegative(&r));
  }

  SH_DEC sub(const SH_DEC& a, SH_DEC b) {
    if (!isZero(b)) b.flags ^= SH_DEC_NEGATIVE;
    return add(a, b);
  }

  SH_DEC mul(const SH_DEC& a, const SH_DEC& b) {
    if (isZero(a) || isZero(b)) return arithmeticZero();
    decNumber x = number(a), y = number(b), r;
    decNumberMultiply(&r, &x, &y, &ctx_);
    int s = scaleOf(a) + scaleOf(b);
    return checkedStore(integerDigits(r, s), s, negative(a) != negative(b));
  }

  SH_DEC div(const SH_DEC& a, const SH_DEC& b) {
    if (isZero(a) && isZero(b)) return arithmeticZero(SH_DEC_INDETERMINATE);
    if (isZero(b)) return arithmeticZero(SH_DEC_DIVIDE_BY_ZERO);
    if (isZero(a)) return arithmeticZero();
    return divide(digitsOf(magnitude(a)), scaleOf(a), digitsOf(magnitude(b)), scaleOf(b), negative(a) != negative(b));
  }

  // The quotient of two non-zero values given as digits and scale, up to 38
  // digits each. The dividend is widened so that the quotient has about 30
  // digits; a one-word divisor doubles its remainder in 32 bits.
  SH_DEC divide(const std::string& wa, int sa, const std::string& wb, int sb, bool neg) {
    int da = int(wa.size()), db = int(wb.size()), n = da - db;
    std::string num = wa + std::string(n < 30 ? size_t(30 - n) : 0, '0');
    decNumber x = fromString(num), y = fromString(wb), q, r;
    decNumberDivideInteger(&q, &x, &y, &ctx_);
    decNumberRemainder(&r, &x, &y, &ctx_);
    u128 rem = parseDigits(integerDigits(r, 0)), divisor = parseDigits(wb);
    std::string qd = integerDigits(q, 0);
    bool up = divisor >> 32 == 0 ? uint32_t(uint32_t(rem) * 2u) >= uint32_t(divisor) : 2 * rem >= divisor;
    if (up) qd = increment(qd);
    int s = (db - sb) - (da - sa) + 30;
    return checkedStore(qd, s, neg);
  }

  std::string multiply(const std::string& a, const std::string& b) {
    decNumber x = fromString(a), y = fromString(b), r;
    decNumberMultiply(&r, &x, &y, &ctx_);
    return integerDigits(r, 0);
  }

  std::string increment(const std::string& digits) {
    decNumber x = fromString(digits), one = fromString("1");
    decNumberAdd(&x, &x, &one, &ctx_);
    return integerDigits(x, 0);
  }

  SH_DEC mod(const SH_DEC& a, const SH_DEC& b) {
    if (isZero(a) && isZero(b)) return arithmeticZero(SH_DEC_INDETERMINATE);
    if (isZero(b)) return arithmeticZero(SH_DEC_DIVIDE_BY_ZERO);
    if (isZero(a)) return arithmeticZero();
    SH_DEC q = div(a, b);
    if (scaleOf(q) != 0 && !isZero(q)) {
      u128 whole = magnitude(q);
      for (int i = 0; i < scaleOf(q); ++i) whole /= 10;
      q = make(digitsOf(whole), 0, negative(q), q.flags & ~SH_DEC_NEGATIVE);
      if (!whole) q.flags |= SH_DEC_NEGATIVE;
    } else if (scaleOf(q) != 0) {
      q.scale = 0;
    }
    return sub(a, mul(q, b));
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
  char16_t text[64];
  shDecToAscii(text, &d);
  std::string s;
  for (const char16_t* p = text; *p; ++p) s += char(*p);
  char flags[16];
  snprintf(flags, sizeof flags, " [%02x %02x]", d.flags, d.scale);
  return s + flags;
}

}  // namespace zr::dec::test

#endif
