// Powers: exact repeated squaring for whole exponents and bases below 2^32,
// the logarithm for the rest.
#include <cmath>
#include <cstring>

#include "values/dec_work.h"

using namespace zr::dec;

namespace {

// Drops a scale that only holds zeros: 2.00 becomes 2.
void dropZeroScale(SH_DEC& d) {
  SH_DEC rounded = d;
  shRoundDec(&rounded, &rounded, 0);
  if (shCompareDec(&rounded, &d) == 0) d = rounded;
}

void setOne(SH_DEC& d) {
  std::memset(&d, 0, sizeof d);
  d.digits[0] = 1;
}

void multiplyReduced(DecWork& into, const DecWork& by) {
  mulWords(into.w, into.w, by.w);
  into.scale = int16_t(into.scale + by.scale);
  stripZeros(into, kMaxDigits);
}

void repeatedSquaring(SH_DEC& dst, const SH_DEC& base, uint32_t count, bool reciprocal) {
  DecWork result{};
  result.w[0] = 1;
  DecWork square = load(base);
  square.sign = 0;
  for (int round = 0; round < 32 && (uint64_t(1) << round) <= count; ++round) {
    if (count & (uint32_t(1) << round)) multiplyReduced(result, square);
    multiplyReduced(square, square);
  }
  if (reciprocal) {
    if (isZero(result.w)) {
      dst.flags = SH_DEC_DIVIDE_BY_ZERO;
      return;
    }
    DecWork one{};
    one.w[0] = 1;
    result = divideWork(one, result);
  }
  checkedStore(dst, result);
}

}  // namespace

PSH_DEC shExpDec(PSH_DEC dst, const SH_DEC* base, const SH_DEC* exponent) {
  if (!dst || !base || !exponent) return nullptr;
  SH_DEC b = *base, e = *exponent;
  std::memset(dst, 0, sizeof *dst);
  bool negativeBase = (b.flags & SH_DEC_NEGATIVE) && !isZero(b);
  // Tested before the scale is canonicalised, so 2.00 counts as fractional.
  if (negativeBase && scaleOf(e) != 0) {
    dst->flags = SH_DEC_INDETERMINATE;
    return dst;
  }
  if (isZero(e)) {
    setOne(*dst);
    return dst;
  }
  if (isZero(b)) return dst;
  dropZeroScale(b);
  dropZeroScale(e);
  int64_t bi, ei;
  shDecToLonglong(&bi, &b);
  shDecToLonglong(&ei, &e);
  if (bi == 1 && scaleOf(b) == 0) {
    setOne(*dst);
    return dst;
  }
  if (ei == 1 && scaleOf(e) == 0) {
    *dst = b;
    return dst;
  }
  double bd, ed;
  shDecToDouble(&bd, &b);
  shDecToDouble(&ed, &e);
  double l = std::log10(std::fabs(bd)) * ed;
  if (flagOutOfRange(*dst, l)) return dst;
  if (scaleOf(e) == 0 && int32_t(bi >> 32) < 1) {
    uint64_t magnitude = ei < 0 ? 0 - uint64_t(ei) : uint64_t(ei);
    repeatedSquaring(*dst, b, uint32_t(magnitude), ed < 0);
  } else {
    double p = std::pow(10.0, l);
    shDoubleToDec(dst, &p);
  }
  // An odd exponent keeps a negative base's sign.
  if (negativeBase && !isZero(*dst))
    dst->flags = uint8_t((dst->flags & ~SH_DEC_NEGATIVE) | (e.digits[0] & 1 ? SH_DEC_NEGATIVE : 0));
  return dst;
}
