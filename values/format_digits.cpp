// Digit records of decimals, doubles, floats and integers, and the helpers
// the formatters share.
#include <charconv>
#include <cmath>
#include <cstring>
#include <type_traits>

#include "values/format_engine.h"

namespace zr::fmt {

uint32_t readColor(Units& units, uint16_t close) {
  uint64_t value = 0;
  int n = 0;
  bool digits = true;
  for (uint16_t u = units.next(); u && u != close; u = units.next()) {
    // At most 19 characters count, as in the record the colour is read into.
    if (++n > 19 || u < u'0' || u > u'9') digits = false;
    if (digits) value = value * 10 + (u - u'0');
  }
  return uint32_t(value);
}

void putNumber(Out& out, int64_t n, int width) {
  char text[24];
  const bool negative = n < 0;
  uint64_t v = negative ? 0 - uint64_t(n) : uint64_t(n);
  int k = 0;
  do {
    text[k++] = char('0' + v % 10);
    v /= 10;
  } while (v);
  if (negative) out.put(u'-');
  for (int i = k; i < width; ++i) out.put(u'0');
  while (k) out.put(char16_t(text[--k]));
}

void Digits::roundTo(int n) {
  if (n < 0 || n >= count) return;
  const bool up = digit[n] >= '5';
  count = n;
  if (up) {
    int i = n - 1;
    while (i >= 0 && digit[i] == '9') digit[i--] = '0';
    if (i >= 0) {
      ++digit[i];
    } else {
      // 999 became 1000: one more integer digit.
      std::memmove(digit + 1, digit, size_t(count));
      digit[0] = '1';
      ++count;
      ++point;
    }
  }
  if (count == 0) zero();
  else trimZeros();
}

namespace {

// Reads "d.ddddde[+-]x" as printed by to_chars in scientific form.
void fromScientific(const char* p, const char* end, Digits& d) {
  d.negative = *p == '-';
  if (d.negative) ++p;
  d.count = 0;
  for (; p < end && *p != 'e'; ++p)
    if (*p != '.') d.digit[d.count++] = *p;
  int exponent = 0;
  std::from_chars(p + 1 + (p[1] == '+'), end, exponent);
  d.point = exponent + 1;
  d.trimZeros();
}

// Binary fractions print as ...99 or ...01 in their last digit pair.
bool noisy(const Digits& d, bool single) {
  const char a = d.digit[d.count - 2], b = d.digit[d.count - 1];
  if ((a == '9' && b == '9') || (a == '0' && b == '1')) return true;
  return single && ((a == '9' && b == '8') || (a == '0' && b == '2'));
}

// One digit more than the type is good for, dropped again when it is only
// the noise of the binary fraction.
template <typename Real>
void realDigits(Real x, int precision, Digits& d) {
  d.negative = false;
  if (!std::isfinite(x) || x == Real(0)) return d.zero();
  char text[40];
  const auto r = std::to_chars(text, text + sizeof text, x, std::chars_format::scientific, precision);
  fromScientific(text, r.ptr, d);
  if (d.count == precision + 1 && noisy(d, std::is_same_v<Real, float>)) d.roundTo(precision);
}

}  // namespace

void digitsOf(double x, Digits& d) { realDigits(x, 15, d); }

void digitsOf(float x, Digits& d) { realDigits(x, 7, d); }

void digitsOf(int64_t x, Digits& d) {
  d.negative = x < 0;
  if (x == 0) return d.zero();
  uint64_t v = d.negative ? 0 - uint64_t(x) : uint64_t(x);
  char text[24];
  int k = 0;
  for (; v; v /= 10) text[k++] = char('0' + v % 10);
  d.count = k;
  d.point = k;
  for (int i = 0; i < k; ++i) d.digit[i] = text[k - 1 - i];
}

void digitsOf(const SH_DEC& x, Digits& d) {
  char16_t text[48];
  shDecToAscii(text, &x);
  const char16_t* p = text;
  d.negative = *p == u'-';
  if (d.negative) ++p;
  d.count = 0;
  int integer = 0, leading = 0;
  bool fraction = false;
  for (; *p; ++p) {
    if (*p == u'.') {
      fraction = true;
      continue;
    }
    if (d.count == 0 && *p == u'0') {
      if (fraction) ++leading;
      continue;
    }
    if (d.count < int(sizeof d.digit)) d.digit[d.count++] = char(*p);
    if (!fraction) ++integer;
  }
  if (d.count == 0) {
    d.negative = false;
    return d.zero();
  }
  d.point = integer > 0 ? integer : -leading;
  d.trimZeros();
}

}  // namespace zr::fmt
