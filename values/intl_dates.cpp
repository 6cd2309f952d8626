// The per-locale record of ICU's date data, built on first use.
#include "values/intl_dates.h"

#include <unicode/udat.h>

#include <map>
#include <memory>
#include <mutex>
#include <string_view>

namespace zr::intl {
namespace {

constexpr int kCap = 256;

std::u16string pattern(const char* locale, UDateFormatStyle time, UDateFormatStyle date) {
  UErrorCode st = U_ZERO_ERROR;
  UDateFormat* f = udat_open(time, date, locale, nullptr, 0, nullptr, 0, &st);
  if (U_FAILURE(st)) return {};
  UChar buf[kCap];
  const int n = udat_toPattern(f, false, buf, kCap, &st);
  udat_close(f);
  return U_SUCCESS(st) && n > 0 && n < kCap ? std::u16string(buf, size_t(n)) : std::u16string();
}

std::u16string symbol(UDateFormat* f, UDateFormatSymbolType type, int index) {
  UErrorCode st = U_ZERO_ERROR;
  UChar buf[kCap];
  const int n = udat_getSymbols(f, type, index, buf, kCap, &st);
  return U_SUCCESS(st) && n > 0 && n < kCap ? std::u16string(buf, size_t(n)) : std::u16string();
}

void readNames(const char* locale, LocaleDates& d) {
  UErrorCode st = U_ZERO_ERROR;
  UDateFormat* f = udat_open(UDAT_DEFAULT, UDAT_DEFAULT, locale, nullptr, 0, nullptr, 0, &st);
  if (U_FAILURE(st)) return;
  for (int i = 0; i < 12; ++i) {
    d.months[i] = symbol(f, UDAT_MONTHS, i);
    d.shortMonths[i] = symbol(f, UDAT_SHORT_MONTHS, i);
  }
  // ICU counts weekdays from 1, Sunday.
  for (int i = 0; i < 7; ++i) {
    d.days[i] = symbol(f, UDAT_WEEKDAYS, i + 1);
    d.shortDays[i] = symbol(f, UDAT_SHORT_WEEKDAYS, i + 1);
  }
  d.am = symbol(f, UDAT_AM_PMS, 0);
  d.pm = symbol(f, UDAT_AM_PMS, 1);
  udat_close(f);
  d.hasNames = true;
}

std::unique_ptr<LocaleDates> read(const char* locale) {
  auto d = std::make_unique<LocaleDates>();
  d->shortDate = pattern(locale, UDAT_NONE, UDAT_SHORT);
  d->mediumDate = pattern(locale, UDAT_NONE, UDAT_MEDIUM);
  d->longDate = pattern(locale, UDAT_NONE, UDAT_LONG);
  d->fullDate = pattern(locale, UDAT_NONE, UDAT_FULL);
  d->shortTime = pattern(locale, UDAT_SHORT, UDAT_NONE);
  d->mediumTime = pattern(locale, UDAT_MEDIUM, UDAT_NONE);
  readNames(locale, *d);
  return d;
}

}  // namespace

const LocaleDates& localeDates(const char* locale) {
  static std::mutex lock;
  static std::map<std::string, std::unique_ptr<LocaleDates>, std::less<>> cache;
  const std::lock_guard<std::mutex> hold(lock);
  auto it = cache.find(std::string_view(locale));
  if (it == cache.end()) it = cache.emplace(locale, read(locale)).first;
  return *it->second;
}

}  // namespace zr::intl
