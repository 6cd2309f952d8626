// The checked store on 64-bit words, dividing by powers of ten with
// precomputed reciprocals (two-by-one division by an invariant divisor).
#include "values/dec_wide.h"

#include <algorithm>
#include <cstring>

#include "values/dec_work.h"

namespace zr::dec {
namespace {

// 10^k shifted up to its top bit, and floor((2^128 - 1) / norm) - 2^64.
struct Reciprocal {
  uint64_t norm;
  uint64_t inverse;
  int shift;
};

struct ReciprocalTable {
  Reciprocal r[20];
  constexpr ReciprocalTable() : r() {
    uint64_t d = 1;
    for (int k = 0; k < 20; ++k, d *= 10) {
      int s = std::countl_zero(d);
      r[k] = {d << s, uint64_t(~u128(0) / (d << s)), s};
    }
  }
};

constexpr ReciprocalTable kReciprocals;

// 10^0 .. 10^60 in 256 bits, for digit counts of intermediate results.
struct Pow10Table256 {
  Wide p[61];
  constexpr Pow10Table256() : p() {
    p[0].w[0] = 1;
    for (int i = 1; i <= 60; ++i) {
      u128 carry = 0;
      for (int j = 0; j < 4; ++j) {
        u128 t = u128(p[i - 1].w[j]) * 10 + carry;
        p[i].w[j] = uint64_t(t);
        carry = t >> 64;
      }
    }
  }
};

constexpr Pow10Table256 kPow10Table256;

// (u1:u0) / norm for u1 < norm; the remainder goes to rem.
inline uint64_t divide2by1(uint64_t u1, uint64_t u0, const Reciprocal& d, uint64_t& rem) {
  u128 p = u128(d.inverse) * u1 + (u128(u1) << 64 | u0);
  uint64_t q = uint64_t(p >> 64) + 1;
  uint64_t r = u0 - q * d.norm;
  if (r > uint64_t(p)) {
    --q;
    r += d.norm;
  }
  if (r >= d.norm) [[unlikely]] {
    ++q;
    r -= d.norm;
  }
  rem = r;
  return q;
}

// w[0..n) /= 10^k for 1 <= k <= 19; returns the remainder.
uint64_t divRemPow10(uint64_t* w, int n, int k) {
  const Reciprocal& d = kReciprocals.r[k];
  int s = d.shift;
  uint64_t rem = 0;  // kept shifted by s
  for (int i = n - 1; i >= 0; --i) {
    // Two shifts, as s may be 0.
    uint64_t u1 = rem | (w[i] >> 1 >> (63 - s));
    w[i] = divide2by1(u1, w[i] << s, d, rem);
  }
  return rem >> s;
}

int wordCount(const Wide& v) {
  int n = 4;
  while (n > 0 && v.w[n - 1] == 0) --n;
  return n;
}

int compareWide(const Wide& a, const Wide& b) {
  for (int i = 3; i >= 0; --i)
    if (a.w[i] != b.w[i]) return a.w[i] < b.w[i] ? -1 : 1;
  return 0;
}

// Same result as digitCount on the 32-bit form, 61 included.
int wideDigitCount(const Wide& v) {
  int n = wordCount(v);
  if (n <= 2) return digitCount(u128(v.w[1]) << 64 | v.w[0]);
  int bits = 64 * n - std::countl_zero(v.w[n - 1]);
  int t = (bits * 1233) >> 12;
  if (t > 60) return 61;
  return t + (compareWide(v, kPow10Table256.p[t]) >= 0 ? 1 : 0);
}

// v / 10^cut, half up on the magnitude: only the highest removed digit
// decides, so the lower chunks are dropped first.
u128 cutDigits(Wide v, int cut) {
  int n = wordCount(v);
  for (; cut > 19; cut -= 19) {
    divRemPow10(v.w, n, 19);
    n = wordCount(v);
  }
  uint64_t rem = divRemPow10(v.w, n, cut);
  u128 q = u128(v.w[1]) << 64 | v.w[0];
  return q + (2 * u128(rem) >= pow10(cut) ? 1 : 0);
}

// Exact division by 5^k is multiplication by its inverse modulo 2^128, and
// m is a multiple of 5^k exactly when that product is at most
// (2^128 - 1) / 5^k; the power of two shows in the low bits.
struct FivePower {
  u128 inverse;
  u128 limit;
};

constexpr FivePower fivePower(int k) {
  u128 p = 1;
  for (int i = 0; i < k; ++i) p *= 5;
  u128 x = p;  // correct to 3 bits; each Newton step doubles that
  for (int i = 0; i < 6; ++i) x *= 2 - p * x;
  return {x, ~u128(0) / p};
}

constexpr FivePower kFivePowers[5] = {fivePower(1), fivePower(2), fivePower(4), fivePower(8), fivePower(16)};

// m / 10^(2^i) when it divides exactly.
inline bool divideExactly(u128& m, int i) {
  int k = 1 << i;
  if (uint64_t(m) & ((uint64_t(1) << k) - 1)) return false;
  u128 q = m * kFivePowers[i].inverse;
  if (q > kFivePowers[i].limit) return false;
  m = q >> k;
  return true;
}

}  // namespace

u128 divRemPow10(u128 m, int n, u128& rem) {
  uint64_t w[2] = {uint64_t(m), uint64_t(m >> 64)};
  if (n <= 19) {
    rem = divRemPow10(w, 2, n);
  } else {
    uint64_t low = divRemPow10(w, 2, 19);
    rem = divRemPow10(w, 2, n - 19) * pow10(19) + low;
  }
  return u128(w[1]) << 64 | w[0];
}

void stripTrailingZeros(u128& m, int& scale) {
  if (scale == 0 || !divideExactly(m, 0)) return;
  --scale;
  // At most 29 more zeros: one try per bit of their count.
  for (int i = 4; i >= 0; --i) {
    if ((1 << i) <= scale && divideExactly(m, i)) scale -= 1 << i;
  }
}

void checkedStore(SH_DEC& dst, const Wide& v, int scale, int sign) {
  std::memset(&dst, 0, sizeof dst);
  int s = scale, d = wideDigitCount(v);
  if (s - d >= kMaxDigits) {
    dst.flags = SH_DEC_UNDERFLOW;
    return;
  }
  if (d - s > kMaxDigits) {
    dst.flags = SH_DEC_OVERFLOW;
    return;
  }
  int cut;
  if (s < d)
    cut = d <= kMaxDigits ? 0 : std::min(s, d - kMaxDigits);
  else
    cut = s <= kMaxDigits ? 0 : s - kMaxDigits;
  u128 m = u128(v.w[1]) << 64 | v.w[0];
  if (cut > 0) {
    m = cutDigits(v, cut);
    s -= cut;
    if (m == 0)
      s = 0;
    else
      stripTrailingZeros(m, s);
  }
  writeMagnitude(dst, m);
  dst.scale = uint8_t(s & 0x1F);
  if (sign && m) dst.flags = SH_DEC_NEGATIVE;
}

}  // namespace zr::dec
