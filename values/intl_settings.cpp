// zrshr_intl and the settings block it fills.
#include "values/intl_settings.h"

#include <atomic>
#include <string>

#include "shintl.h"
#include "text/wide_chars.h"
#include "values/intl_source.h"
#include "values/intl_strings.h"

namespace zr::intl {
namespace {

using text::copyBounded;

IntlSettings g_settings;
IntlNames g_names;
std::atomic<int> g_dpi{96};
// Set once a load has filled the block; the library's load step normally
// does so before any caller can ask.
std::atomic<bool> g_loaded{false};

class Reader {
 public:
  Reader(const IntlSource* profile, const IntlSource* locale) : profile_(profile), locale_(locale) {}

  // An empty value counts as absent, so the next source is asked.
  bool text(const char16_t* key, std::u16string& value) const {
    std::u16string k(key);
    if (profile_ && profile_->lookup(k, value) && !value.empty()) return true;
    if (locale_ && locale_->lookup(k, value) && !value.empty()) return true;
    return false;
  }

  void text(const char16_t* key, const char16_t* fallback, char16_t* out, size_t capacity) const {
    std::u16string value;
    copyBounded(out, capacity, text(key, value) ? value.c_str() : fallback);
  }

  char16_t character(const char16_t* key, char16_t fallback) const {
    std::u16string value;
    return text(key, value) ? value[0] : fallback;
  }

  // As the profile's integer reader: the leading number, 0 when there is none.
  int32_t integer(const char16_t* key, int32_t fallback) const {
    std::u16string value;
    if (!text(key, value)) return fallback;
    size_t i = 0;
    while (i < value.size() && text::isWideSpace(value[i])) ++i;
    bool negative = i < value.size() && value[i] == u'-';
    if (i < value.size() && (value[i] == u'-' || value[i] == u'+')) ++i;
    int64_t n = 0;
    for (; i < value.size() && text::isWideDigit(value[i]) && n < INT32_MAX; ++i) n = n * 10 + (value[i] - u'0');
    if (n > INT32_MAX) n = INT32_MAX;
    return static_cast<int32_t>(negative ? -n : n);
  }

 private:
  const IntlSource* profile_;
  const IntlSource* locale_;
};

// Any grouping other than none is treated as groups of three.
int32_t groupingOf(int32_t value) { return value == 0 ? 0 : 3; }

void loadNames() {
  auto load = [](unsigned id, char16_t* out) {
    const char16_t* text = stringTableText(id);
    copyBounded(out, kNameUnits, text ? text : u"");
  };
  for (unsigned i = 0; i < 24; ++i) load(i < 10 ? 700 + i : 710 + i, g_names.monthKeywords[i]);
  for (unsigned i = 0; i < 12; ++i) {
    load(734 + i, g_names.shortMonths[i]);
    load(746 + i, g_names.fullMonths[i]);
  }
  for (unsigned i = 0; i < 7; ++i) {
    load(758 + i, g_names.shortDays[i]);
    load(765 + i, g_names.fullDays[i]);
  }
}

void ensureNames() {
  static const bool loaded = (loadNames(), true);
  (void)loaded;
}

}  // namespace

void loadSettings(const IntlSource* profile, const IntlSource* locale) {
  Reader r(profile, locale);
  IntlSettings& s = g_settings;
  s.decimal = r.character(u"sDecimal", u'.');
  s.thousand = r.character(u"sThousand", u',');
  r.text(u"sCurrency", u"$", s.currency, kSymbolUnits);
  s.currencyPosition = r.integer(u"iCurrency", 0);
  s.currencyDigits = r.integer(u"iCurrDigits", 2);
  s.negativeCurrency = r.integer(u"iNegCurr", 0);
  s.monetaryGrouping = groupingOf(r.integer(u"sMonGrouping", 3));
  s.grouping = groupingOf(r.integer(u"sGrouping", 3));
  s.dateOrder = r.integer(u"iDate", 0);
  s.measure = r.integer(u"iMeasure", 1);
  s.country = r.integer(u"iCountry", 1);
  r.text(u"sShortDate", u"m/d/yy", s.shortDate, kPictureUnits);
  r.text(u"sLongDate", u"mmmm d, yyyy", s.longDate, kPictureUnits);
  r.text(u"sDate", u"/", s.dateSeparator, kSymbolUnits);
  r.text(u"sTime", u":", s.timeSeparator, kSymbolUnits);
  g_loaded.store(true, std::memory_order_release);
}

const IntlSettings& settings() {
  if (!g_loaded.load(std::memory_order_acquire)) zrshr_intl();
  return g_settings;
}

const IntlNames& names() {
  ensureNames();
  return g_names;
}

int screenDpi() { return g_dpi.load(std::memory_order_relaxed); }

// Beyond this the conversions would leave 64-bit arithmetic.
void setScreenDpi(int dpi) { g_dpi.store(dpi > 0 && dpi <= 10000 ? dpi : 96, std::memory_order_relaxed); }

}  // namespace zr::intl

ZRAPI void zrshr_intl(void) {
  zr::intl::ensureNames();
  try {
    auto profile = zr::intl::readProfileSource();
    auto locale = zr::intl::readLocaleSource(nullptr);
    zr::intl::loadSettings(profile.get(), locale.get());
  } catch (...) {
    // Out of memory while reading: the defaults are better than a half block.
    zr::intl::loadSettings(nullptr, nullptr);
  }
}
