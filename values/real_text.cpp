// Real numbers written in the locale's form: the validity test and the
// normalisations that prepare them for a plain number parser.
#include "shintl.h"
#include "text/wide_chars.h"
#include "values/intl_settings.h"

namespace {

using zr::text::isWideDigit;
using zr::text::isWideSpace;

enum class State { Start, Integer, Fraction, Exponent, Tail, Error };

// At s[i] == 'e' or 'E': the index of the exponent's first digit, or 0 if no
// digit follows.
size_t exponentStart(const char16_t* s, size_t i) {
  size_t j = i + 1;
  if (s[j] == u'-' || s[j] == u'+') ++j;
  return isWideDigit(s[j]) ? j : 0;
}

char16_t orSetting(char16_t c, char16_t setting) { return c ? c : setting; }

}  // namespace

ZRAPI int shIsValidRealWeb(const char16_t* text, char16_t decimal, char16_t thousands) {
  if (!text || !*text) return 0;
  const auto& settings = zr::intl::settings();
  const char16_t d = orSetting(decimal, settings.decimal);
  const char16_t t = orSetting(thousands, settings.thousand);
  State state = State::Start;
  int digits = 0, exponentDigits = 0, exponent = 0;
  bool negativeExponent = false;
  for (size_t i = 0; text[i] && state != State::Error;) {
    const char16_t c = text[i];
    switch (state) {
      case State::Start:
        // The thousands character counts as a digit everywhere, so "," alone is a number.
        if ((c == u'-' || c == u'+') && (isWideDigit(text[i + 1]) || text[i + 1] == d)) {
          state = State::Integer;
        } else if (isWideDigit(c) || c == t) {
          ++digits;
          state = State::Integer;
        } else if (c == d) {
          state = State::Fraction;
        } else if (!isWideSpace(c)) {
          state = State::Error;
        }
        ++i;
        break;
      case State::Integer:
      case State::Fraction:
        if (isWideDigit(c) || (state == State::Integer && c == t)) {
          ++digits;
        } else if (c == u'e' || c == u'E') {
          size_t j = exponentStart(text, i);
          if (!j) return 0;
          negativeExponent = text[j - 1] == u'-';
          state = State::Exponent;
          i = j;
          continue;
        } else if (state == State::Integer && c == d) {
          state = State::Fraction;
        } else {
          state = isWideSpace(c) ? State::Tail : State::Error;
        }
        ++i;
        break;
      case State::Exponent:
        if (isWideDigit(c)) {
          if (++exponentDigits > 3) return 0;
          exponent = exponent * 10 + (c - u'0');
        } else {
          state = isWideSpace(c) ? State::Tail : State::Error;
        }
        ++i;
        break;
      case State::Tail:
        if (!isWideSpace(c)) state = State::Error;
        ++i;
        break;
      case State::Error:
        break;
    }
  }
  if (state == State::Error || digits == 0) return 0;
  // Only the size of the power is limited; a negative power is never too big.
  return exponentDigits == 0 || negativeExponent || exponent < 309 ? 1 : 0;
}

ZRAPI int shIsValidReal(const char16_t* text) { return shIsValidRealWeb(text, 0, 0); }

// The test with "." and "," for this call only, so that other threads keep
// seeing the process characters.
ZRAPI int shIsValidRealNoLocale(const char16_t* text) { return shIsValidRealWeb(text, u'.', u','); }

namespace {

void normalize(char16_t* dst, const char16_t* src, char16_t decimal, char16_t thousands, bool pointToDot) {
  if (!dst) return;
  if (!src) {
    *dst = 0;
    return;
  }
  const auto& settings = zr::intl::settings();
  const char16_t d = orSetting(decimal, settings.decimal);
  const char16_t t = orSetting(thousands, settings.thousand);
  size_t out = 0;
  for (size_t i = 0; src[i]; ++i) {
    char16_t c = src[i];
    if (c == t) continue;
    dst[out++] = (pointToDot && c == d) ? u'.' : c;
  }
  dst[out] = 0;
}

}  // namespace

ZRAPI void shNormalizeRealWeb(char16_t* dst, const char16_t* src, char16_t decimal, char16_t thousands) {
  normalize(dst, src, decimal, thousands, true);
}

ZRAPI void shNormalizeReal(char16_t* dst, const char16_t* src) { normalize(dst, src, 0, 0, true); }

ZRAPI void shNormalizeRealbyLocaleWeb(char16_t* dst, const char16_t* src, char16_t decimal, char16_t thousands) {
  normalize(dst, src, decimal, thousands, false);
}

ZRAPI void shNormalizeRealbyLocale(char16_t* dst, const char16_t* src) { normalize(dst, src, 0, 0, false); }
