// Division and modulo on 64-bit limbs: the dividend, scaled so that the
// quotient carries about 30 digits, has at most 64 digits (four limbs) and
// the divisor at most two, so the quotient always fits 128 bits.
#include <bit>
#include <cassert>
#include <cstring>

#include "values/dec_wide.h"
#include "values/dec_work.h"

namespace zr::dec {
namespace {

// (hi:lo) / d for hi < d; the remainder goes to rem.
inline uint64_t divide2by1(uint64_t hi, uint64_t lo, uint64_t d, uint64_t& rem) {
#if defined(__x86_64__)
  uint64_t q, r;
  asm("divq %4" : "=a"(q), "=d"(r) : "a"(lo), "d"(hi), "rm"(d));
  rem = r;
  return q;
#else
  u128 n = u128(hi) << 64 | lo;
  rem = uint64_t(n % d);
  return uint64_t(n / d);
#endif
}

int topLimb(const uint64_t* w, int n) {
  while (n > 0 && w[n - 1] == 0) --n;
  return n - 1;
}

// num / d rounded half up, for a divisor below 2^64. A divisor of one
// 32-bit word doubles the remainder in 32 bits, wrapping for divisors from
// 2^31 up; longer divisors compare exactly.
u128 divideByLimb(const Wide& num, uint64_t d) {
  uint64_t q[4] = {}, rem = 0;
  for (int i = topLimb(num.w, 4); i >= 0; --i) q[i] = divide2by1(rem, num.w[i], d, rem);
  bool up = d >> 32 ? 2 * u128(rem) >= d : uint32_t(rem * 2u) >= uint32_t(d);
  return (u128(q[1]) << 64 | q[0]) + up;
}

// num / d rounded half up, for a divisor of two limbs: Knuth's long
// division on the normalised divisor, one quotient limb per step from the
// top three limbs of the running remainder.
u128 divideByTwoLimbs(const Wide& num, u128 d) {
  int s = std::countl_zero(uint64_t(d >> 64));
  u128 v = d << s;
  uint64_t v1 = uint64_t(v >> 64), v0 = uint64_t(v);
  uint64_t u[5];
  u[4] = s ? num.w[3] >> (64 - s) : 0;
  for (int i = 3; i > 0; --i) u[i] = num.w[i] << s | (s ? num.w[i - 1] >> (64 - s) : 0);
  u[0] = num.w[0] << s;
  int top = topLimb(u, 5);
  // The dividend exceeds the divisor, so top >= 1; a top limb below v1
  // makes the highest quotient limb zero.
  int j = u[top] < v1 ? top - 2 : top - 1;
  uint64_t q[3] = {};
  for (; j >= 0; --j) {
    uint64_t u2 = u[j + 2], u1 = u[j + 1], u0 = u[j];
    uint64_t qhat, rhat;
    bool exact = true;  // rhat fits a limb, so the estimate can be refined
    if (u2 >= v1) {
      qhat = ~uint64_t(0);
      u128 r = (u128(u2) << 64 | u1) - u128(qhat) * v1;
      exact = !(r >> 64);
      rhat = uint64_t(r);
    } else {
      qhat = divide2by1(u2, u1, v1, rhat);
    }
    while (exact && u128(qhat) * v0 > (u128(rhat) << 64 | u0)) {
      --qhat;
      rhat += v1;
      exact = rhat >= v1;
    }
    u128 p0 = u128(qhat) * v0;
    u128 p1 = u128(qhat) * v1 + uint64_t(p0 >> 64);
    uint64_t borrow = u0 < uint64_t(p0);
    u128 high = u128(u2) << 64 | u1;
    bool negative = high < p1 + borrow;
    u128 r = high - p1 - borrow;
    uint64_t r0 = u0 - uint64_t(p0);
    if (negative) {
      --qhat;
      u128 low = (r << 64 | r0) + v;
      r = low >> 64;
      r0 = uint64_t(low);
    }
    u[j + 2] = 0;
    u[j + 1] = uint64_t(r);
    u[j] = r0;
    q[j] = qhat;
  }
  assert(q[2] == 0 && "a quotient of a 30-digit scaled division fits 128 bits");
  u128 rem = u128(u[1]) << 64 | u[0];
  return (u128(q[1]) << 64 | q[0]) + (rem >= v - rem);
}

}  // namespace

Quotient divideMagnitudes(u128 a, int sa, u128 b, int sb) {
  int da = digitCount(a), db = digitCount(b);
  int n = da - db;
  // Scale the dividend so that the quotient carries about 30 digits; it
  // then has db + 30 digits, at most 64.
  Wide num = widen(a);
  if (n < kMaxDigits) {
    int k = kMaxDigits - n;
    if (k > 38) {
      a *= pow10(k - 38);
      k = 38;
    }
    num = multiply(a, pow10(k));
  }
  u128 q = b >> 64 ? divideByTwoLimbs(num, b) : divideByLimb(num, uint64_t(b));
  return {q, (db - sb) - (da - sa) + kMaxDigits};
}

DecWork divideWork(const DecWork& a, const DecWork& b) {
  assert(topWord(a.w) < 4 && topWord(b.w) < 4 && "division operands fit 128 bits");
  auto wide = [](const uint32_t* w) { return u128(w[3]) << 96 | u128(w[2]) << 64 | u128(w[1]) << 32 | w[0]; };
  Quotient q = divideMagnitudes(wide(a.w), a.scale, wide(b.w), b.scale);
  DecWork r{};
  for (int i = 0; i < 4; ++i) r.w[i] = uint32_t(q.magnitude >> (32 * i));
  r.sign = int16_t(a.sign ^ b.sign);
  r.scale = int16_t(q.scale);
  return r;
}

}  // namespace zr::dec

using namespace zr::dec;

namespace {

// Shared opening of division and modulo: dst becomes zero of scale 2, and the
// zero cases are flagged. Returns true when there is a quotient to compute.
bool openDivision(PSH_DEC dst, u128 a, u128 b) {
  setArithmeticZero(*dst);
  if (a == 0 && b == 0)
    dst->flags = SH_DEC_INDETERMINATE;
  else if (b == 0)
    dst->flags = SH_DEC_DIVIDE_BY_ZERO;
  return a != 0 && b != 0;
}

}  // namespace

PSH_DEC shDivDec(PSH_DEC dst, const SH_DEC* a, const SH_DEC* b) {
  if (!dst || !a || !b) return nullptr;
  u128 x = magnitude(*a), y = magnitude(*b);
  int sa = scaleOf(*a), sb = scaleOf(*b);
  int sign = (a->flags ^ b->flags) & SH_DEC_NEGATIVE;
  if (!openDivision(dst, x, y)) return dst;
  Quotient q = divideMagnitudes(x, sa, y, sb);
  checkedStore(*dst, widen(q.magnitude), q.scale, sign);
  return dst;
}

PSH_DEC shModDec(PSH_DEC dst, const SH_DEC* a, const SH_DEC* b) {
  if (!dst || !a || !b) return nullptr;
  SH_DEC ca = *a, cb = *b;
  if (!openDivision(dst, magnitude(ca), magnitude(cb))) return dst;
  SH_DEC q, p;
  shDivDec(&q, &ca, &cb);
  shTruncDec(&q, &q, 0);
  shMultDec(&p, &q, &cb);
  return shSubDec(dst, &ca, &p);
}
