// dec_wide.h - the fast form of arithmetic results: magnitudes as 128-bit
// integers, intermediate values of up to 256 bits in 64-bit words, and
// division by powers of ten through precomputed reciprocals, so that the cut
// to 30 digits costs a few multiplications instead of hardware divisions.
#ifndef VALUES_DEC_WIDE_H
#define VALUES_DEC_WIDE_H

#include <bit>
#include <cstdint>
#include <cstring>

#include "shdec.h"

namespace zr::dec {

using u128 = unsigned __int128;

// 256 bits, least significant word first.
struct Wide {
  uint64_t w[4];
};

// 10^0 .. 10^38, the powers that fit 128 bits.
struct Pow10Table128 {
  u128 p[39];
  constexpr Pow10Table128() : p() {
    p[0] = 1;
    for (int i = 1; i < 39; ++i) p[i] = p[i - 1] * 10;
  }
};
inline constexpr Pow10Table128 kPow10Wide;

inline u128 pow10(int n) { return kPow10Wide.p[n]; }

// The record's digits are little-endian words, so on a little-endian host
// its first 14 bytes are the magnitude as it stands.
static_assert(std::endian::native == std::endian::little);

inline u128 magnitude(const SH_DEC& d) {
  uint64_t lo, hi;
  std::memcpy(&lo, &d, 8);
  std::memcpy(&hi, reinterpret_cast<const char*>(&d) + 8, 8);
  return u128(hi & 0xFFFFFFFFFFFF) << 64 | lo;
}

// The low 112 bits of m.
inline void writeMagnitude(SH_DEC& d, u128 m) {
  uint64_t lo = uint64_t(m), hi = uint64_t(m >> 64);
  std::memcpy(&d, &lo, 8);
  std::memcpy(reinterpret_cast<char*>(&d) + 8, &hi, 6);
}

inline int bitLength(u128 m) {
  uint64_t hi = uint64_t(m >> 64);
  return hi ? 128 - std::countl_zero(hi) : 64 - std::countl_zero(uint64_t(m));
}

// Decimal digits of m, 0 for zero; the bit length brackets the count within
// one, as in digitCount.
inline int digitCount(u128 m) {
  int t = (bitLength(m) * 1233) >> 12;
  return t + (m >= pow10(t) ? 1 : 0);
}

inline Wide widen(u128 m) { return {{uint64_t(m), uint64_t(m >> 64), 0, 0}}; }

// The full 256-bit product.
inline Wide multiply(u128 a, u128 b) {
  uint64_t a0 = uint64_t(a), a1 = uint64_t(a >> 64), b0 = uint64_t(b), b1 = uint64_t(b >> 64);
  u128 p00 = u128(a0) * b0, p01 = u128(a0) * b1, p10 = u128(a1) * b0, p11 = u128(a1) * b1;
  u128 mid = (p00 >> 64) + uint64_t(p01) + uint64_t(p10);
  u128 high = p11 + (p01 >> 64) + (p10 >> 64) + (mid >> 64);
  return {{uint64_t(p00), uint64_t(mid), uint64_t(high), uint64_t(high >> 64)}};
}

inline void add(Wide& v, u128 m) {
  u128 low = (u128(v.w[1]) << 64 | v.w[0]) + m;
  uint64_t carry = low < m;
  v.w[0] = uint64_t(low);
  v.w[1] = uint64_t(low >> 64);
  for (int i = 2; i < 4; ++i) {
    v.w[i] += carry;
    carry = carry && v.w[i] == 0;
  }
}

// v -= m for v >= m.
inline void subtract(Wide& v, u128 m) {
  u128 low = u128(v.w[1]) << 64 | v.w[0];
  uint64_t borrow = low < m;
  low -= m;
  v.w[0] = uint64_t(low);
  v.w[1] = uint64_t(low >> 64);
  for (int i = 2; i < 4; ++i) {
    uint64_t before = v.w[i];
    v.w[i] -= borrow;
    borrow = borrow && before == 0;
  }
}

// m / 10^n and its remainder, for 1 <= n <= 38.
u128 divRemPow10(u128 m, int n, u128& rem);

// Removes trailing zeros of a non-zero m while scale remains.
void stripTrailingZeros(u128& m, int& scale);

// The quotient a x 10^-sa / b x 10^-sb of two non-zero magnitudes to about
// 30 digits, rounded half up, with its scale, before its store.
struct Quotient {
  u128 magnitude;
  int scale;
};
Quotient divideMagnitudes(u128 a, int sa, u128 b, int sb);

// Stores a non-negative result of up to 256 bits with the range tests and the
// half-up cut to 30 digits of the checked store.
void checkedStore(SH_DEC& dst, const Wide& v, int scale, int sign);

// The same for a non-zero value of at most 30 digits (or 10^30 from a
// rounding) with a scale of 0 to 30, where no test can fire and nothing is
// cut.
inline void storeFitting(SH_DEC& dst, u128 m, int scale, int sign) {
  writeMagnitude(dst, m);
  dst.flags = uint8_t(sign && m ? SH_DEC_NEGATIVE : 0);
  dst.scale = uint8_t(scale);
}

}  // namespace zr::dec

#endif
