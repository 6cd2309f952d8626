// Comparison, sign, rounding, addition and multiplication of decimals.
#include <algorithm>
#include <cstring>
#include <utility>

#include "values/dec_wide.h"
#include "values/dec_work.h"

using namespace zr::dec;

namespace {

// -1, 0 or 1 by bit 0; 0 for a zero magnitude whatever its sign bit.
int signOf(const SH_DEC& d, u128 magnitude) {
  if (magnitude == 0) return 0;
  return d.flags & SH_DEC_NEGATIVE ? -1 : 1;
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

// x ± y x 10^shift straight to 30 digits, when y x 10^shift is beyond
// 10^38 and so sets the digit count: dividing by 10^cut then only touches x,
// on 128 bits. False, with dst untouched, when a carry or borrow changes the
// count or the result overflows; the full sum handles those.
bool alignedSumCut(SH_DEC& dst, u128 x, u128 y, int scale, int shift, bool opposite, int sign) {
  int cut = digitCount(y) + shift - kMaxDigits;
  if (cut > scale || cut > shift) return false;
  u128 rem, q = divRemPow10(x, cut, rem), top = y * pow10(shift - cut);
  if (!opposite) {
    q += top;
  } else {
    // Borrow from the kept digits when x leaves a remainder.
    q = top - q - (rem != 0);
    if (rem != 0) rem = pow10(cut) - rem;
  }
  if (q < pow10(kMaxDigits - 1) || q >= pow10(kMaxDigits)) return false;
  if (2 * rem >= pow10(cut)) ++q;
  scale -= cut;
  stripTrailingZeros(q, scale);
  storeFitting(dst, q, scale, sign);
  return true;
}

}  // namespace

int16_t shCompareDec(const SH_DEC* a, const SH_DEC* b) {
  if (!a || !b) return 0;
  if (std::memcmp(a, b, sizeof *a) == 0) return 0;
  u128 x = magnitude(*a), y = magnitude(*b);
  int sx = signOf(*a, x), sy = signOf(*b, y);
  if (sx != sy) return sx < sy ? -1 : 1;
  if (sx == 0) return 0;
  int cx = scaleOf(*a), cy = scaleOf(*b);
  if (cx != cy) {
    int ix = digitCount(x) - cx, iy = digitCount(y) - cy;
    if (ix != iy) return int16_t(ix < iy ? -sx : sx);
    // With equal integer digits the aligned operand has no more digits than
    // the other, so it stays within 128 bits.
    if (cx < cy)
      x *= pow10(cy - cx);
    else
      y *= pow10(cx - cy);
  }
  if (x == y) return 0;
  return int16_t(x < y ? -sx : sx);
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
  u128 x = magnitude(*a), y = magnitude(*b);
  if (x == 0) {
    *dst = *b;
    return dst;
  }
  if (y == 0) {
    *dst = *a;
    return dst;
  }
  int sx = scaleOf(*a), sy = scaleOf(*b);
  int signX = a->flags & SH_DEC_NEGATIVE, signY = b->flags & SH_DEC_NEGATIVE;
  bool opposite = signX != signY;
  // The sum is symmetric, so let y be the operand aligned to x's scale.
  if (sx < sy) {
    std::swap(x, y);
    std::swap(sx, sy);
    std::swap(signX, signY);
  }
  int shift = sx - sy;
  if (y < pow10(38 - shift)) {
    // Aligned below 10^38: everything stays within 128 bits.
    y *= pow10(shift);
    if (opposite) {
      if (x == y) {
        setArithmeticZero(*dst);
        return dst;
      }
      // The larger magnitude keeps its sign.
      if (x < y) {
        std::swap(x, y);
        signX = signY;
      }
      x -= y;
    } else {
      x += y;
    }
    if (x < pow10(kMaxDigits))
      storeFitting(*dst, x, sx, signX);
    else
      checkedStore(*dst, widen(x), sx, signX);
    return dst;
  }
  // Aligned beyond 10^38, y outweighs x and gives the sign.
  if (alignedSumCut(*dst, x, y, sx, shift, opposite, signY)) return dst;
  Wide sum = multiply(y, pow10(shift));
  if (opposite)
    subtract(sum, x);
  else
    add(sum, x);
  checkedStore(*dst, sum, sx, signY);
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
  u128 x = magnitude(*a), y = magnitude(*b);
  if (x == 0 || y == 0) {
    setArithmeticZero(*dst);
    return dst;
  }
  int scale = scaleOf(*a) + scaleOf(*b);
  int sign = (a->flags ^ b->flags) & SH_DEC_NEGATIVE;
  if ((x >> 64) == 0 && (y >> 64) == 0) {
    u128 p = x * y;
    if (p < pow10(kMaxDigits) && scale <= kMaxDigits)
      storeFitting(*dst, p, scale, sign);
    else
      checkedStore(*dst, widen(p), scale, sign);
    return dst;
  }
  checkedStore(*dst, multiply(x, y), scale, sign);
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
