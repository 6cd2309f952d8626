// Division and modulo: short division by one word, else long division over
// 32-bit words with a normalised divisor.
#include <bit>
#include <cstring>

#include "values/dec_work.h"

namespace zr::dec {
namespace {

// True when 2 x rem >= div; both n words.
bool atLeastHalf(const uint32_t* rem, const uint32_t* div, int n) {
  if (rem[n - 1] >> 31) return true;
  for (int i = n - 1; i >= 0; --i) {
    uint32_t twice = (rem[i] << 1) | (i > 0 ? rem[i - 1] >> 31 : 0);
    if (twice != div[i]) return twice > div[i];
  }
  return true;
}

// q = a / b rounded half up; b has at least two significant words.
void longDivide(uint32_t* q, const uint32_t* a, const uint32_t* b) {
  int n = topWord(b) + 1, m = topWord(a) + 1;
  std::memset(q, 0, kWords * sizeof *q);
  int shift = std::countl_zero(b[n - 1]);
  uint32_t vn[kWords] = {}, un[kWords + 1] = {};
  for (int i = n - 1; i >= 0; --i)
    vn[i] = (b[i] << shift) | (shift && i > 0 ? b[i - 1] >> (32 - shift) : 0);
  un[m] = shift ? a[m - 1] >> (32 - shift) : 0;
  for (int i = m - 1; i >= 0; --i)
    un[i] = (a[i] << shift) | (shift && i > 0 ? a[i - 1] >> (32 - shift) : 0);

  for (int j = m - n; j >= 0; --j) {
    uint64_t num = (uint64_t(un[j + n]) << 32) | un[j + n - 1];
    uint64_t qhat = num / vn[n - 1], rhat = num % vn[n - 1];
    while (qhat >> 32 || qhat * vn[n - 2] > ((rhat << 32) | un[j + n - 2])) {
      --qhat;
      rhat += vn[n - 1];
      if (rhat >> 32) break;
    }
    int64_t t = 0;
    uint64_t borrow = 0;
    for (int i = 0; i < n; ++i) {
      uint64_t p = qhat * vn[i];
      t = int64_t(un[i + j]) - int64_t(borrow) - int64_t(p & 0xFFFFFFFFu);
      un[i + j] = uint32_t(t);
      borrow = (p >> 32) - uint64_t(t >> 32);
    }
    t = int64_t(un[j + n]) - int64_t(borrow);
    un[j + n] = uint32_t(t);
    if (t < 0) {
      --qhat;
      uint64_t carry = 0;
      for (int i = 0; i < n; ++i) {
        uint64_t s = uint64_t(un[i + j]) + vn[i] + carry;
        un[i + j] = uint32_t(s);
        carry = s >> 32;
      }
      un[j + n] += uint32_t(carry);
    }
    q[j] = uint32_t(qhat);
  }
  if (atLeastHalf(un, vn, n)) increment(q);
}

}  // namespace

DecWork divideWork(const DecWork& a, const DecWork& b) {
  int da = digitCount(a.w), db = digitCount(b.w);
  int n = da - db;
  DecWork r{};
  uint32_t num[kWords];
  std::memcpy(num, a.w, sizeof num);
  // Scale the dividend so that the quotient carries about 30 digits.
  if (n < kMaxDigits) mulPow10(num, kMaxDigits - n);
  if (topWord(b.w) == 0) {
    uint32_t div = b.w[0];
    uint32_t rem = divRem32(num, div);
    std::memcpy(r.w, num, sizeof num);
    // Twice the remainder is taken in 32 bits, wrapping for large divisors.
    if (uint32_t(rem * 2u) >= div) increment(r.w);
  } else {
    longDivide(r.w, num, b.w);
  }
  r.sign = int16_t(a.sign ^ b.sign);
  r.scale = int16_t((db - b.scale) - (da - a.scale) + kMaxDigits);
  return r;
}

}  // namespace zr::dec

using namespace zr::dec;

namespace {

// Shared opening of division and modulo: dst becomes zero of scale 2, and the
// zero cases are flagged. Returns true when there is a quotient to compute.
bool openDivision(PSH_DEC dst, const DecWork& a, const DecWork& b) {
  setArithmeticZero(*dst);
  bool za = isZero(a.w), zb = isZero(b.w);
  if (za && zb)
    dst->flags = SH_DEC_INDETERMINATE;
  else if (zb)
    dst->flags = SH_DEC_DIVIDE_BY_ZERO;
  return !za && !zb;
}

}  // namespace

PSH_DEC shDivDec(PSH_DEC dst, const SH_DEC* a, const SH_DEC* b) {
  if (!dst || !a || !b) return nullptr;
  DecWork wa = load(*a), wb = load(*b);
  if (openDivision(dst, wa, wb)) checkedStore(*dst, divideWork(wa, wb));
  return dst;
}

PSH_DEC shModDec(PSH_DEC dst, const SH_DEC* a, const SH_DEC* b) {
  if (!dst || !a || !b) return nullptr;
  SH_DEC ca = *a, cb = *b;
  if (!openDivision(dst, load(ca), load(cb))) return dst;
  SH_DEC q, p;
  shDivDec(&q, &ca, &cb);
  shTruncDec(&q, &q, 0);
  shMultDec(&p, &q, &cb);
  return shSubDec(dst, &ca, &p);
}
