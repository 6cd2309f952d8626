// Conversions between decimals and integers, floats and doubles.
#include <cmath>
#include <cstring>

#include "values/dec_work.h"

using namespace zr::dec;

namespace {

PSH_DEC fromMagnitude(PSH_DEC dst, uint64_t magnitude, bool negative) {
  if (!dst) return nullptr;
  std::memset(dst, 0, sizeof *dst);
  for (int i = 0; i < 4; ++i) dst->digits[i] = uint16_t(magnitude >> (16 * i));
  if (negative) dst->flags = SH_DEC_NEGATIVE;
  return dst;
}

// The source rounded to 0 places, read from its low 16-bit words; false when
// a higher word is set and the value can't fit.
bool integerPart(const SH_DEC& src, int words, uint64_t& magnitude, bool& negative) {
  SH_DEC r = src;
  if (scaleOf(r) != 0) shRoundDec(&r, &r, 0);
  for (int i = words; i < 7; ++i)
    if (r.digits[i]) return false;
  magnitude = 0;
  for (int i = 0; i < words; ++i) magnitude |= uint64_t(r.digits[i]) << (16 * i);
  negative = r.flags & SH_DEC_NEGATIVE;
  return true;
}

// A signed target of `bits` keeps magnitudes below 2^(bits-1), and exactly
// 2^(bits-1) when negative.
template <typename T>
T* toSigned(T* target, const SH_DEC* src, int words) {
  if (!target || !src) return nullptr;
  uint64_t m;
  bool neg;
  const uint64_t limit = uint64_t(1) << (16 * words - 1);
  *target = 0;
  if (integerPart(*src, words, m, neg) && (m < limit || (m == limit && neg)))
    *target = neg ? T(0 - m) : T(m);
  return target;
}

template <typename T>
T* toUnsigned(T* target, const SH_DEC* src, int words) {
  if (!target || !src) return nullptr;
  uint64_t m;
  bool neg;
  *target = 0;
  if (integerPart(*src, words, m, neg) && !neg) *target = T(m);
  return target;
}

// 10^n by binary exponentiation in double arithmetic.
double powerOfTen(int n) {
  double result = 1.0, base = 10.0;
  for (; n > 0; n >>= 1) {
    if (n & 1) result *= base;
    base *= base;
  }
  return result;
}

}  // namespace

PSH_DEC shIntToDec(PSH_DEC dst, int16_t value) { return fromMagnitude(dst, uint64_t(value < 0 ? -int32_t(value) : value), value < 0); }

PSH_DEC shUintToDec(PSH_DEC dst, uint16_t value) { return fromMagnitude(dst, value, false); }

PSH_DEC shByteToDec(PSH_DEC dst, uint8_t value) { return fromMagnitude(dst, value, false); }

PSH_DEC shLongToDec(PSH_DEC dst, int32_t value) {
  return fromMagnitude(dst, value < 0 ? 0 - uint64_t(int64_t(value)) : uint64_t(value), value < 0);
}

PSH_DEC shUlongToDec(PSH_DEC dst, uint32_t value) { return fromMagnitude(dst, value, false); }

PSH_DEC shLonglongToDec(PSH_DEC dst, const int64_t* value) {
  if (!value) return nullptr;
  int64_t v = *value;
  return fromMagnitude(dst, v < 0 ? 0 - uint64_t(v) : uint64_t(v), v < 0);
}

int16_t* shDecToInt(int16_t* target, const SH_DEC* src) { return toSigned(target, src, 1); }

int32_t* shDecToLong(int32_t* target, const SH_DEC* src) { return toSigned(target, src, 2); }

int64_t* shDecToLonglong(int64_t* target, const SH_DEC* src) { return toSigned(target, src, 4); }

uint16_t* shDecToUint(uint16_t* target, const SH_DEC* src) { return toUnsigned(target, src, 1); }

uint8_t* shDecToByte(uint8_t* target, const SH_DEC* src) {
  if (!target || !src) return nullptr;
  uint16_t word;
  shDecToUint(&word, src);
  *target = uint8_t(word);
  return target;
}

uint32_t* shDecToUlong(uint32_t* target, const SH_DEC* src) {
  if (!target || !src) return nullptr;
  // The sign counts before rounding here: -0.4 gives 0 like -1 does.
  if (src->flags & SH_DEC_NEGATIVE) {
    *target = 0;
    return target;
  }
  return toUnsigned(target, src, 2);
}

double* shDecToDouble(double* target, const SH_DEC* src) {
  if (!target || !src) return nullptr;
  double r = 0.0;
  if (!isZero(*src)) {
    for (int i = 6; i >= 0; --i) r = r * 65536.0 + src->digits[i];
    if (int s = scaleOf(*src)) r /= powerOfTen(s);
    if (src->flags & SH_DEC_NEGATIVE) r = -r;
  }
  *target = r;
  return target;
}

float* shDecToFloat(float* target, const SH_DEC* src) {
  double d;
  if (!target || !shDecToDouble(&d, src)) return nullptr;
  *target = float(d);
  return target;
}

PSH_DEC shDoubleToDec(PSH_DEC dst, const double* src) {
  if (!dst || !src) return nullptr;
  setArithmeticZero(*dst);
  double x = *src;
  if (x == 0.0) return dst;
  if (std::isnan(x)) {
    dst->flags = SH_DEC_INDETERMINATE;
    return dst;
  }
  bool negative = x < 0;
  x = std::fabs(x);
  double l = std::log10(x);
  if (flagOutOfRange(*dst, l)) return dst;
  // Take about 18 significant digits as a 64-bit integer.
  int k = int(std::ceil(l)) - 18;
  if (k < 0)
    x *= powerOfTen(-k);
  else if (k > 0)
    x /= powerOfTen(k);
  int64_t digits = int64_t(x);
  shLonglongToDec(dst, &digits);
  if (negative) dst->flags |= SH_DEC_NEGATIVE;
  if (k == 0) return dst;
  DecWork v = load(*dst);
  if (k > 0)
    mulPow10(v.w, k);
  else
    v.scale = int16_t(-k);
  normalisingStore(*dst, v);
  return dst;
}

PSH_DEC shFloatToDec(PSH_DEC dst, const float* src) {
  if (!src) return nullptr;
  double d = *src;
  return shDoubleToDec(dst, &d);
}
