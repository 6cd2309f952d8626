// The keys of section "intl" derived from ICU's data for a locale, for when
// the settings store has no value.
#include <unicode/uloc.h>
#include <unicode/ulocdata.h>
#include <unicode/unum.h>

#include <cstring>
#include <string>

#include "text/wide_chars.h"
#include "values/intl_dates.h"
#include "values/intl_source.h"

namespace zr::intl {
namespace {

constexpr int kCap = 128;

std::u16string number(int n) {
  std::u16string s;
  std::string a = std::to_string(n);
  s.assign(a.begin(), a.end());
  return s;
}

// Reduces a currency pattern to a shape such as "-S #": S the symbol, # the
// number, and only the signs, blanks and parentheses that matter.
std::u16string currencyShape(const std::u16string& pattern) {
  std::u16string shape;
  bool quoted = false;
  for (char16_t c : pattern) {
    if (c == u'\'') {
      quoted = !quoted;
      continue;
    }
    if (c == 0xA4) shape += u'S';
    else if (c == u'#' || c == u'0' || c == u',' || c == u'.' || (c >= u'1' && c <= u'9')) {
      if (shape.empty() || shape.back() != u'#') shape += u'#';
    } else if (c == u' ' || c == 0xA0 || c == 0x202F) shape += u' ';
    else if (c == u'-' || c == u'(' || c == u')') shape += c;
    else if (quoted) shape += u'S';
  }
  return shape;
}

int shapeIndex(const std::u16string& shape, const char16_t* const* forms, int count) {
  for (int i = 0; i < count; ++i)
    if (shape == forms[i]) return i;
  return -1;
}

void readNumbers(const char* loc, KeyTable& t) {
  UErrorCode st = U_ZERO_ERROR;
  UChar buf[kCap];
  UNumberFormat* f = unum_open(UNUM_DECIMAL, nullptr, 0, loc, nullptr, &st);
  if (U_FAILURE(st)) return;
  int n = unum_getSymbol(f, UNUM_DECIMAL_SEPARATOR_SYMBOL, buf, kCap, &st);
  if (U_SUCCESS(st) && n > 0) t.set(u"sDecimal", std::u16string(buf, n));
  st = U_ZERO_ERROR;
  n = unum_getSymbol(f, UNUM_GROUPING_SEPARATOR_SYMBOL, buf, kCap, &st);
  if (U_SUCCESS(st) && n > 0) t.set(u"sThousand", std::u16string(buf, n));
  bool grouped = unum_getAttribute(f, UNUM_GROUPING_USED) != 0;
  t.set(u"sGrouping", grouped ? number(unum_getAttribute(f, UNUM_GROUPING_SIZE)) + u";0" : u"0");
  unum_close(f);

  st = U_ZERO_ERROR;
  f = unum_open(UNUM_CURRENCY, nullptr, 0, loc, nullptr, &st);
  if (U_FAILURE(st)) return;
  n = unum_getSymbol(f, UNUM_CURRENCY_SYMBOL, buf, kCap, &st);
  if (U_SUCCESS(st) && n > 0) t.set(u"sCurrency", std::u16string(buf, n));
  t.set(u"iCurrDigits", number(unum_getAttribute(f, UNUM_MAX_FRACTION_DIGITS)));
  grouped = unum_getAttribute(f, UNUM_GROUPING_USED) != 0;
  t.set(u"sMonGrouping", grouped ? number(unum_getAttribute(f, UNUM_GROUPING_SIZE)) + u";0" : u"0");
  st = U_ZERO_ERROR;
  n = unum_toPattern(f, false, buf, kCap, &st);
  unum_close(f);
  if (U_FAILURE(st) || n <= 0 || n >= kCap) return;
  std::u16string pattern(buf, n);
  size_t semi = pattern.find(u';');
  std::u16string positive = pattern.substr(0, semi);
  std::u16string negative = semi == std::u16string::npos ? u"-" + positive : pattern.substr(semi + 1);
  static const char16_t* const kPositive[] = {u"S#", u"#S", u"S #", u"# S"};
  static const char16_t* const kNegative[] = {u"(S#)", u"-S#",  u"S-#",  u"S#-",  u"(#S)",  u"-#S",
                                              u"#-S",  u"#S-",  u"-# S", u"-S #", u"# S-", u"S #-",
                                              u"S -#", u"# -S", u"(S #)", u"(# S)"};
  int pos = shapeIndex(currencyShape(positive), kPositive, 4);
  if (pos >= 0) t.set(u"iCurrency", number(pos));
  int neg = shapeIndex(currencyShape(negative), kNegative, 16);
  if (neg >= 0) t.set(u"iNegCurr", number(neg));
}

using text::isAsciiLetter;

// Rewrites an ICU date pattern in the mask language; eras and other fields
// the masks lack are dropped.
std::u16string toPicture(const std::u16string& p) {
  std::u16string out;
  for (size_t i = 0; i < p.size();) {
    char16_t c = p[i];
    if (c == u'\'') {
      size_t end = p.find(u'\'', i + 1);
      end = end == std::u16string::npos ? p.size() : end + 1;
      out += p.substr(i, end - i);
      i = end;
      continue;
    }
    size_t run = 1;
    while (i + run < p.size() && p[i + run] == c) ++run;
    i += run;
    switch (c) {
      case u'y': out += run == 2 ? u"yy" : u"yyyy"; break;
      case u'M':
      case u'L': out += std::u16string(run > 4 ? 3 : run, u'm'); break;
      case u'd': out += std::u16string(run > 2 ? 2 : run, u'd'); break;
      case u'E':
      case u'c':
      case u'e': out += run >= 4 ? u"dddd" : u"ddd"; break;
      default:
        if (!isAsciiLetter(c)) out += std::u16string(run, c);
    }
  }
  size_t b = out.find_first_not_of(u" ,");
  size_t e = out.find_last_not_of(u" ,");
  return b == std::u16string::npos ? std::u16string() : out.substr(b, e - b + 1);
}

// The first character after the first field that separates fields.
std::u16string separatorOf(const std::u16string& p) {
  size_t i = 0;
  while (i < p.size() && !isAsciiLetter(p[i])) ++i;
  while (i < p.size() && isAsciiLetter(p[i])) ++i;
  if (i < p.size() && p[i] != u' ' && p[i] != u'\'') return p.substr(i, 1);
  return {};
}

void readDates(const char* loc, KeyTable& t) {
  const LocaleDates& dates = localeDates(loc);
  const std::u16string& shortDate = dates.shortDate;
  if (!shortDate.empty()) {
    t.set(u"sShortDate", toPicture(shortDate));
    std::u16string sep = separatorOf(shortDate);
    if (!sep.empty()) t.set(u"sDate", sep);
    size_t y = shortDate.find(u'y'), m = shortDate.find(u'M'), d = shortDate.find(u'd');
    if (y != std::u16string::npos && m != std::u16string::npos && d != std::u16string::npos)
      t.set(u"iDate", (d < m && m < y) ? u"1" : (y < m && m < d) ? u"2" : u"0");
  }
  if (!dates.longDate.empty()) t.set(u"sLongDate", toPicture(dates.longDate));
  std::u16string sep = separatorOf(dates.shortTime);
  if (!sep.empty()) t.set(u"sTime", sep);
}

}  // namespace

std::unique_ptr<KeyTable> readLocaleSource(const char* locale) {
  auto table = std::make_unique<KeyTable>();
  const char* loc = locale ? locale : uloc_getDefault();
  // The neutral locale states no preference: the documented defaults stand.
  if (!loc || !*loc || std::strcmp(loc, "en_US_POSIX") == 0 || std::strcmp(loc, "c") == 0 ||
      std::strcmp(loc, "root") == 0)
    return table;
  readNumbers(loc, *table);
  readDates(loc, *table);
  UErrorCode st = U_ZERO_ERROR;
  UMeasurementSystem ms = ulocdata_getMeasurementSystem(loc, &st);
  if (U_SUCCESS(st)) table->set(u"iMeasure", ms == UMS_US ? u"1" : u"0");
  char region[8] = {};
  st = U_ZERO_ERROR;
  uloc_getCountry(loc, region, sizeof region, &st);
  // Only the value 1 (the United States) changes how masks compile.
  if (U_SUCCESS(st) && region[0]) table->set(u"iCountry", std::strcmp(region, "US") == 0 ? u"1" : u"0");
  return table;
}

}  // namespace zr::intl
