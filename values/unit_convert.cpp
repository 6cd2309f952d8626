// Conversion between centimetres or inches and the layout unit, which is
// tied to the screen: a pixel is 3072 / (7 * dpi) units across and 384 / dpi
// units down.
#include <cstdint>
#include <cstdio>

#include "shintl.h"
#include "text/wide_chars.h"
#include "values/intl_settings.h"

namespace {

using zr::text::isWideDigit;
using zr::text::isWideSpace;

constexpr size_t kMaxText = 30;
// Keeps every product below in 64 bits.
constexpr int64_t kMaxValue = 2000000000;

int64_t saturatedAppend(int64_t v, char16_t digit) {
  v = v * 10 + (digit - u'0');
  return v > kMaxValue ? kMaxValue : v;
}

// A decimal text as thousandths; the first digit cut rounds half up.
int64_t readThousandths(const char16_t* s, size_t n, char16_t decimal) {
  size_t i = 0;
  bool negative = false;
  if (i < n && (s[i] == u'-' || s[i] == u'+')) negative = s[i++] == u'-';
  int64_t v = 0;
  while (i < n && isWideDigit(s[i])) v = saturatedAppend(v, s[i++]);
  int places = 0;
  bool roundUp = false;
  if (i < n && s[i] == decimal) {
    for (++i; i < n && isWideDigit(s[i]); ++i) {
      if (places < 3) v = saturatedAppend(v, s[i]), ++places;
      else if (places++ == 3) roundUp = s[i] >= u'5';
    }
  }
  for (; places < 3; ++places) v = v > kMaxValue / 10 ? kMaxValue : v * 10;
  if (roundUp && v < kMaxValue) ++v;
  return negative ? -v : v;
}

// The runtime's string-to-long: blanks, a sign, digits.
int64_t readLong(const char16_t* s, size_t n) {
  size_t i = 0;
  while (i < n && isWideSpace(s[i])) ++i;
  bool negative = false;
  if (i < n && (s[i] == u'-' || s[i] == u'+')) negative = s[i++] == u'-';
  int64_t v = 0;
  while (i < n && isWideDigit(s[i])) v = saturatedAppend(v, s[i++]);
  return negative ? -v : v;
}

// Integer division with a rounding term whose sign follows the dividend.
int64_t roundedDiv(int64_t value, int64_t half, int64_t divisor) {
  return (value + (value < 0 ? -half : half)) / divisor;
}

// Writes the digits, with the decimal character before the last three when
// pointed and something stands ahead of them; false when out is too short.
bool writeDigits(char16_t* out, int outLength, const char* digits, bool pointed, char16_t decimal) {
  size_t n = 0;
  while (digits[n]) ++n;
  const bool point = pointed && n > 3;
  if (n + (point ? 1 : 0) + 1 > static_cast<size_t>(outLength)) return false;
  size_t o = 0;
  for (size_t i = 0; i < n; ++i) {
    if (point && i == n - 3) out[o++] = decimal;
    out[o++] = static_cast<char16_t>(digits[i]);
  }
  out[o] = 0;
  return true;
}

}  // namespace

ZRAPI int shZRUnitConvert(const char16_t* text, char16_t* out, int outLength, int sourceUnit, int horizontal,
                          void* /*window*/) {
  if (!text || !out || outLength < 5) return ZR_UNIT_FAILED;
  if (sourceUnit != ZR_UNIT_CENTIMETRES && sourceUnit != ZR_UNIT_INCHES && sourceUnit != ZR_UNIT_LAYOUT)
    return ZR_UNIT_FAILED;
  const auto& settings = zr::intl::settings();
  const int64_t dpi = zr::intl::screenDpi();
  const int measure = settings.measure == 0 ? ZR_UNIT_CENTIMETRES : ZR_UNIT_INCHES;
  out[0] = 0;

  size_t begin = 0, end = zr::text::unitLength(text);
  while (begin < end && isWideSpace(text[begin])) ++begin;
  while (end > begin && isWideSpace(text[end - 1])) --end;
  const size_t n = end - begin;
  const char16_t* s = text + begin;

  char digits[32];
  if (sourceUnit != ZR_UNIT_LAYOUT) {
    int64_t v = n > kMaxText ? 0 : readThousandths(s, n, settings.decimal);
    int64_t result = 0;
    if (v != 0) {
      int64_t p = sourceUnit == ZR_UNIT_CENTIMETRES ? (v * dpi + 1269) / 2540 : (v * dpi + 499) / 1000;
      result = horizontal ? roundedDiv(p * 6144, dpi * 7, dpi * 14) : roundedDiv(p * 768, dpi, dpi * 2);
    }
    std::snprintf(digits, sizeof digits, "%lld", static_cast<long long>(result));
    return writeDigits(out, outLength, digits, false, 0) ? ZR_UNIT_LAYOUT : ZR_UNIT_FAILED;
  }

  int64_t v = n > kMaxText ? 0 : readLong(s, n);
  int64_t p = horizontal ? roundedDiv(v * dpi * 7, 1536, 3072) : roundedDiv(v * dpi, 192, 384);
  int64_t result = p * (measure == ZR_UNIT_CENTIMETRES ? 2540 : 1000) / dpi;
  std::snprintf(digits, sizeof digits, "%04lld", static_cast<long long>(result));
  if (!writeDigits(out, outLength, digits, true, settings.decimal)) return ZR_UNIT_FAILED;
  return measure;
}
