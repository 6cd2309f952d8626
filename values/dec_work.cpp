// The working integer and the three ways of storing it.
#include "values/dec_work.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <type_traits>

#include "values/dec_wide.h"

namespace zr::dec {
namespace {

using Row = uint32_t[kWords];

struct PowerTable {
  Row rows[61];
  constexpr PowerTable() : rows() {
    rows[0][0] = 1;
    for (int p = 1; p <= 60; ++p) {
      uint64_t carry = 0;
      for (int i = 0; i < kWords; ++i) {
        uint64_t t = uint64_t(rows[p - 1][i]) * 10 + carry;
        rows[p][i] = uint32_t(t);
        carry = t >> 32;
      }
    }
  }
};

constexpr PowerTable kPow10;

}  // namespace

const uint32_t kPow10Small[10] = {1,      10,      100,      1000,      10000,
                                  100000, 1000000, 10000000, 100000000, 1000000000};

DecWork load(const SH_DEC& d) {
  DecWork v{};
  for (int i = 0; i < 7; ++i) v.w[i / 2] |= uint32_t(d.digits[i]) << (16 * (i % 2));
  v.scale = int16_t(scaleOf(d));
  v.sign = d.flags & SH_DEC_NEGATIVE;
  return v;
}

void setArithmeticZero(SH_DEC& d) {
  std::memset(&d, 0, sizeof d);
  d.scale = 2;
}

bool flagOutOfRange(SH_DEC& dst, double magnitudeLog) {
  if (magnitudeLog < -kMaxDigits) dst.flags = SH_DEC_UNDERFLOW;
  else if (magnitudeLog >= kMaxDigits) dst.flags = SH_DEC_OVERFLOW;
  else return false;
  return true;
}

int compareWords(const uint32_t* a, const uint32_t* b) {
  for (int i = kWords - 1; i >= 0; --i)
    if (a[i] != b[i]) return a[i] < b[i] ? -1 : 1;
  return 0;
}

int digitCount(const uint32_t* w) {
  int top = topWord(w);
  if (top < 0) return 0;
  // With b significant bits the count is floor(b log10 2) or one more;
  // 1233 / 4096 gives that floor exactly for every b up to 224.
  int bits = 32 * top + 32 - std::countl_zero(w[top]);
  int t = (bits * 1233) >> 12;
  if (t > 60) return 61;
  return t + (compareWords(w, kPow10.rows[t]) >= 0 ? 1 : 0);
}

void mulAdd32(uint32_t* w, uint32_t m, uint32_t add) {
  uint64_t carry = add;
  int end = std::min(kWords, topWord(w) + 2);
  for (int i = 0; i < end; ++i) {
    uint64_t t = uint64_t(w[i]) * m + carry;
    w[i] = uint32_t(t);
    carry = t >> 32;
  }
}

namespace {

// A divisor passed as a Const is known at compile time and becomes a
// multiplication by its reciprocal.
template <uint32_t D>
using Const = std::integral_constant<uint32_t, D>;

template <typename Divisor>
uint32_t divRemBy(uint32_t* w, Divisor d) {
  uint64_t rem = 0;
  for (int i = topWord(w); i >= 0; --i) {
    uint64_t cur = (rem << 32) | w[i];
    w[i] = uint32_t(cur / d);
    rem = cur % d;
  }
  return uint32_t(rem);
}

uint32_t divRemPow10(uint32_t* w, int n) {
  switch (n) {
    case 1: return divRemBy(w, Const<10>());
    case 2: return divRemBy(w, Const<100>());
    case 3: return divRemBy(w, Const<1000>());
    case 4: return divRemBy(w, Const<10000>());
    case 5: return divRemBy(w, Const<100000>());
    case 6: return divRemBy(w, Const<1000000>());
    case 7: return divRemBy(w, Const<10000000>());
    case 8: return divRemBy(w, Const<100000000>());
    default: return divRemBy(w, Const<kBillion>());
  }
}

}  // namespace

uint32_t divRem32(uint32_t* w, uint32_t d) { return divRemBy(w, d); }

uint32_t divRemBillion(uint32_t* w) { return divRemBy(w, Const<kBillion>()); }

void mulPow10(uint32_t* w, int n) {
  for (; n > 9; n -= 9) mulAdd32(w, kBillion);
  if (n > 0) mulAdd32(w, kPow10Small[n]);
}

void increment(uint32_t* w) {
  for (int i = 0; i < kWords && ++w[i] == 0; ++i) {
  }
}

void divPow10(uint32_t* w, int n, bool round) {
  for (; n > 9; n -= 9) {
    divRemPow10(w, 9);
    if (isZero(w)) return;
  }
  if (n <= 0) return;
  uint32_t rem = divRemPow10(w, n);
  if (round && 2 * uint64_t(rem) >= kPow10Small[n]) increment(w);
}

void mulWords(uint32_t* out, const uint32_t* a, const uint32_t* b) {
  int na = topWord(a) + 1, nb = topWord(b) + 1;
  if (nb > na) {
    std::swap(a, b);
    std::swap(na, nb);
  }
  uint32_t r[kWords] = {};
  for (int j = 0; j < nb; ++j) {
    uint64_t carry = 0;
    for (int i = 0; i + j < kWords; ++i) {
      uint64_t t = uint64_t(a[i]) * b[j] + r[i + j] + carry;
      r[i + j] = uint32_t(t);
      carry = t >> 32;
    }
  }
  std::memcpy(out, r, sizeof r);
}

void stripZeros(DecWork& v, int target) {
  if (isZero(v.w)) {
    v.sign = 0;
    v.scale = 0;
    return;
  }
  while (v.scale > 0) {
    int chunk = std::min<int>(9, v.scale);
    uint32_t q[kWords];
    std::memcpy(q, v.w, sizeof q);
    uint32_t rem = divRemPow10(q, chunk);
    if (rem == 0) {
      std::memcpy(v.w, q, sizeof q);
      v.scale = int16_t(v.scale - chunk);
      continue;
    }
    int zeros = 0;
    for (; rem % 10 == 0; rem /= 10) ++zeros;
    divPow10(v.w, zeros, false);
    v.scale = int16_t(v.scale - zeros);
    break;
  }
  if (target < 0) return;
  int d = digitCount(v.w), s = v.scale, cut = 0;
  if (s >= d) {
    if (s > target) cut = s - target;
  } else if (d > target) {
    cut = std::min(s, d - target);
  }
  if (cut > 0) {
    divPow10(v.w, cut, true);
    v.scale = int16_t(v.scale - cut);
    stripZeros(v);
  }
}

namespace {

void writeDigits(SH_DEC& dst, const uint32_t* w) {
  for (int i = 0; i < 7; ++i) dst.digits[i] = uint16_t(w[i / 2] >> (16 * (i % 2)));
}

}  // namespace

void plainStore(SH_DEC& dst, const DecWork& v) {
  writeDigits(dst, v.w);
  if (v.scale >= 0 && v.scale <= SH_DEC_MAX_SCALE) dst.scale = uint8_t((dst.scale & ~0x1F) | v.scale);
  if (!isZero(dst)) dst.flags = uint8_t((dst.flags & ~SH_DEC_NEGATIVE) | (v.sign ? SH_DEC_NEGATIVE : 0));
}

void checkedStore(SH_DEC& dst, DecWork v) {
  Wide wide{};
  for (int i = 0; i < kWords; ++i) wide.w[i / 2] |= uint64_t(v.w[i]) << (32 * (i % 2));
  checkedStore(dst, wide, v.scale, v.sign);
}

void normalisingStore(SH_DEC& dst, DecWork v) {
  stripZeros(v);
  if (isZero(v.w))
    std::memset(&dst, 0, sizeof dst);
  else
    checkedStore(dst, v);
}

}  // namespace zr::dec
