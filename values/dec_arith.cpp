// Comparison, sign, rounding, addition and multiplication of decimals.
#include <cstring>
#include <utility>

#include "values/dec_work.h"

using namespace zr::dec;

namespace {

// -1, 0 or 1 by bit 0; 0 for a zero magnitude whatever its sign bit.
int signOf(const DecWork& v) {
  if (isZero(v.w)) return 0;
  return v.sign ? -1 : 1;
}

PSH_DEC roundTo(PSH_DEC dst, const SH_DEC* src, int16_t places, bool round) {
  if (!dst || !src) return nullptr;
  int c = scaleOf(*src);
  if (c == places) {
    *dst = *src;
    return dst;
  }
  if (isZero(*src)) {
    *dst = *src;
    shSetDecFractions(dst, places);
    return dst;
  }
  DecWork v = load(*src);
  if (c < places) {
    int grow = places - c;
    // Over 30 digits: the source stands unchanged, without a flag.
    if (digitCount(v.w) + grow > kMaxDigits) {
      *dst = *src;
      return dst;
    }
    mulPow10(v.w, grow);
  } else {
    divPow10(v.w, c - places, round);
  }
  v.scale = places;
  plainStore(*dst, v);
  return dst;
}

}  // namespace

int16_t shCompareDec(const SH_DEC* a, const SH_DEC* b) {
  if (!a || !b) return 0;
  if (std::memcmp(a, b, sizeof *a) == 0) return 0;
  DecWork x = load(*a), y = load(*b);
  int sx = signOf(x), sy = signOf(y);
  if (sx != sy) return sx < sy ? -1 : 1;
  if (sx == 0) return 0;
  int ix = digitCount(x.w) - x.scale, iy = digitCount(y.w) - y.scale;
  if (ix != iy) return int16_t(ix < iy ? -sx : sx);
  if (x.scale < y.scale)
    mulPow10(x.w, y.scale - x.scale);
  else
    mulPow10(y.w, x.scale - y.scale);
  return int16_t(compareWords(x.w, y.w) * sx);
}

PSH_DEC shMaxDec(PSH_DEC dst, const SH_DEC* a, const SH_DEC* b) {
  if (!dst || !a || !b) return nullptr;
  *dst = shCompareDec(a, b) > 0 ? *a : *b;
  return dst;
}

PSH_DEC shMinDec(PSH_DEC dst, const SH_DEC* a, const SH_DEC* b) {
  if (!dst || !a || !b) return nullptr;
  *dst = shCompareDec(a, b) > 0 ? *b : *a;
  return dst;
}

PSH_DEC shAbsDec(PSH_DEC dst, const SH_DEC* src) {
  if (!dst || !src) return nullptr;
  *dst = *src;
  if (!isZero(*dst)) dst->flags &= uint8_t(~SH_DEC_NEGATIVE);
  return dst;
}

PSH_DEC shNegateDec(PSH_DEC dst, const SH_DEC* src) {
  if (!dst || !src) return nullptr;
  *dst = *src;
  if (!isZero(*dst)) dst->flags ^= SH_DEC_NEGATIVE;
  return dst;
}

PSH_DEC shRoundDec(PSH_DEC dst, const SH_DEC* src, int16_t places) { return roundTo(dst, src, places, true); }

PSH_DEC shTruncDec(PSH_DEC dst, const SH_DEC* src, int16_t places) { return roundTo(dst, src, places, false); }

PSH_DEC shAddDec(PSH_DEC dst, const SH_DEC* a, const SH_DEC* b) {
  if (!dst || !a || !b) return nullptr;
  if (isZero(*a)) {
    *dst = *b;
    return dst;
  }
  if (isZero(*b)) {
    *dst = *a;
    return dst;
  }
  DecWork x = load(*a), y = load(*b);
  if (x.scale < y.scale) {
    mulPow10(x.w, y.scale - x.scale);
    x.scale = y.scale;
  } else if (y.scale < x.scale) {
    mulPow10(y.w, x.scale - y.scale);
  }
  if (x.sign == y.sign) {
    uint64_t carry = 0;
    for (int i = 0; i < kWords; ++i) {
      uint64_t t = uint64_t(x.w[i]) + y.w[i] + carry;
      x.w[i] = uint32_t(t);
      carry = t >> 32;
    }
  } else {
    int c = compareWords(x.w, y.w);
    if (c == 0) {
      setArithmeticZero(*dst);
      return dst;
    }
    // Subtract the smaller magnitude from the larger, keeping the larger's sign.
    if (c < 0) {
      std::swap(x.w, y.w);
      x.sign = y.sign;
    }
    uint64_t borrow = 0;
    for (int i = 0; i < kWords; ++i) {
      uint64_t t = uint64_t(x.w[i]) - y.w[i] - borrow;
      x.w[i] = uint32_t(t);
      borrow = (t >> 32) & 1;
    }
  }
  checkedStore(*dst, x);
  return dst;
}

PSH_DEC shSubDec(PSH_DEC dst, const SH_DEC* a, const SH_DEC* b) {
  if (!dst || !a || !b) return nullptr;
  SH_DEC negated = *b;
  if (!isZero(negated)) negated.flags ^= SH_DEC_NEGATIVE;
  return shAddDec(dst, a, &negated);
}

PSH_DEC shMultDec(PSH_DEC dst, const SH_DEC* a, const SH_DEC* b) {
  if (!dst || !a || !b) return nullptr;
  if (isZero(*a) || isZero(*b)) {
    setArithmeticZero(*dst);
    return dst;
  }
  DecWork x = load(*a), y = load(*b);
  DecWork r{};
  mulWords(r.w, x.w, y.w);
  r.scale = int16_t(x.scale + y.scale);
  r.sign = int16_t(x.sign ^ y.sign);
  checkedStore(*dst, r);
  return dst;
}

int shSetDecFractions(PSH_DEC dec, int16_t places) {
  if (!dec || places < 0 || places > SH_DEC_MAX_SCALE) return -1;
  dec->scale = uint8_t((dec->scale & ~0x1F) | places);
  return places;
}

int shSetDecNegative(PSH_DEC dec, int negative) {
  if (!dec || isZero(*dec)) return 0;
  dec->flags = uint8_t(negative ? dec->flags | SH_DEC_NEGATIVE : dec->flags & ~SH_DEC_NEGATIVE);
  return 1;
}

PSH_DEC shDecSetOverflow(PSH_DEC dec, int overflow) {
  if (!dec) return nullptr;
  dec->flags = uint8_t(overflow ? dec->flags | SH_DEC_OVERFLOW : dec->flags & ~SH_DEC_OVERFLOW);
  return dec;
}

const SH_DEC* sh_MAX_DEC(void) {
  // 10^30 - 1 in 16-bit words.
  static const SH_DEC kMax = {{0xFFFF, 0x3FFF, 0xEDEA, 0x4674, 0x9CD0, 0x9F2C, 0x000C}, 0, 0};
  return &kMax;
}
