// Culture texts: "key=value" pairs separated by tabs that stand in for the
// process settings in the Web forms of the compilers.
#include "values/format_mask.h"
#include "text/wide_chars.h"

namespace {

using zr::text::copyBounded;
using zr::text::unitLength;

// Plain substring search: a key that ends another key matches there.
const char16_t* findKey(const char16_t* text, const char16_t* key, size_t keyLength) {
  for (const char16_t* p = text; *p; ++p) {
    size_t k = 0;
    while (k < keyLength && p[k] == key[k]) ++k;
    if (k == keyLength) return p;
  }
  return nullptr;
}

}  // namespace

ZRAPI int getCultureValueStr(const char16_t* culture, const char16_t* key, const char16_t* defaultValue,
                             char16_t* buffer, int bufferLength) {
  const size_t capacity = buffer && bufferLength > 0 ? size_t(bufferLength) : 0;
  copyBounded(buffer, capacity, defaultValue ? defaultValue : u"");
  if (!culture) return -2;
  if (!key || !*key) return -1;
  const size_t keyLength = unitLength(key);
  const char16_t* at = findKey(culture, key, keyLength);
  if (!at) return -1;
  const char16_t* value = at + keyLength;
  if (*value != u'=') return -2;
  ++value;
  size_t n = 0;
  while (value[n] && value[n] != u'\t') ++n;
  if (n >= capacity) return -3;
  // "!!" is "!" and "!t" a tab; at any other "!" the rest stands as it is.
  size_t out = 0, i = 0;
  for (; i < n; ++i) {
    if (value[i] != u'!') {
      buffer[out++] = value[i];
      continue;
    }
    if (i + 1 < n && value[i + 1] == u'!') buffer[out++] = u'!';
    else if (i + 1 < n && value[i + 1] == u't') buffer[out++] = u'\t';
    else break;
    ++i;
  }
  for (; i < n; ++i) buffer[out++] = value[i];
  buffer[out] = 0;
  return 0;
}

ZRAPI int getCultureValueInt(const char16_t* culture, const char16_t* key, int defaultValue, int* result) {
  if (result) *result = defaultValue;
  char16_t text[10];
  if (getCultureValueStr(culture, key, u"", text, 10) != 0) return -1;
  // As wcstol in base 10: blanks, a sign, then at least one digit.
  size_t i = 0;
  while (zr::text::isWideSpace(text[i])) ++i;
  bool negative = text[i] == u'-';
  if (text[i] == u'-' || text[i] == u'+') ++i;
  if (!zr::text::isWideDigit(text[i])) return -2;
  int value = 0;
  for (; zr::text::isWideDigit(text[i]); ++i) value = value * 10 + (text[i] - u'0');
  if (result) *result = negative ? -value : value;
  return 0;
}

namespace zr::mask {

void numericCulture(const char16_t* culture, NumericCulture& out) {
  const intl::IntlSettings& s = intl::settings();
  out.country = s.country;
  if (!culture) {
    copyBounded(out.currency, sizeof out.currency / sizeof(char16_t), s.currency);
    out.thousand = s.thousand;
    out.currencyPosition = s.currencyPosition;
    out.currencyDigits = s.currencyDigits;
    out.negativeCurrency = s.negativeCurrency;
    return;
  }
  getCultureValueStr(culture, u"sCurrency", s.currency, out.currency, sizeof out.currency / sizeof(char16_t));
  char16_t thousand[2] = {s.thousand, 0};
  char16_t text[intl::kSymbolUnits];
  getCultureValueStr(culture, u"sThousand", thousand, text, intl::kSymbolUnits);
  out.thousand = text[0];
  getCultureValueInt(culture, u"iCurrency", s.currencyPosition, &out.currencyPosition);
  getCultureValueInt(culture, u"iCurrDigits", s.currencyDigits, &out.currencyDigits);
  getCultureValueInt(culture, u"iNegCurr", s.negativeCurrency, &out.negativeCurrency);
}

void dateCulture(const char16_t* culture, DateCulture& out) {
  if (!culture) {
    const intl::IntlSettings& s = intl::settings();
    copyBounded(out.shortDate, intl::kPictureUnits, s.shortDate);
    copyBounded(out.longDate, intl::kPictureUnits, s.longDate);
    copyBounded(out.dateSeparator, intl::kSymbolUnits, s.dateSeparator);
    copyBounded(out.timeSeparator, intl::kSymbolUnits, s.timeSeparator);
    return;
  }
  getCultureValueStr(culture, u"sShortDate", u"m/d/yy", out.shortDate, intl::kPictureUnits);
  getCultureValueStr(culture, u"sLongDate", u"mmmm d, yyyy", out.longDate, intl::kPictureUnits);
  getCultureValueStr(culture, u"sDate", u"/", out.dateSeparator, intl::kSymbolUnits);
  getCultureValueStr(culture, u"sTime", u":", out.timeSeparator, intl::kSymbolUnits);
}

}  // namespace zr::mask
