// intl_settings.h - the process settings block that zrshr_intl fills, and the
// month and day names. The block is read and written without a lock: it
// changes only when zrshr_intl runs again.
#ifndef VALUES_INTL_SETTINGS_H
#define VALUES_INTL_SETTINGS_H

#include <cstdint>

namespace zr::intl {

class IntlSource;

constexpr int kNameUnits = 60;
constexpr int kSymbolUnits = 16;
constexpr int kPictureUnits = 80;

struct IntlSettings {
  char16_t decimal;   // sDecimal
  char16_t thousand;  // sThousand
  char16_t currency[kSymbolUnits];
  int32_t currencyPosition;  // iCurrency
  int32_t currencyDigits;    // iCurrDigits
  int32_t negativeCurrency;  // iNegCurr
  int32_t monetaryGrouping;  // sMonGrouping: 0 or 3
  int32_t grouping;          // sGrouping: 0 or 3
  int32_t dateOrder;         // iDate
  int32_t measure;           // iMeasure: 0 metric, 1 inches
  int32_t country;           // iCountry
  char16_t shortDate[kPictureUnits];
  char16_t longDate[kPictureUnits];
  char16_t dateSeparator[kSymbolUnits];
  char16_t timeSeparator[kSymbolUnits];
};

struct IntlNames {
  char16_t monthKeywords[24][kNameUnits];
  char16_t shortMonths[12][kNameUnits];
  char16_t fullMonths[12][kNameUnits];
  char16_t shortDays[7][kNameUnits];  // Sunday first
  char16_t fullDays[7][kNameUnits];
};

// Filled on first use if the library's load step has not run yet.
const IntlSettings& settings();
const IntlNames& names();

// Refills the block from the given sources (either may be null), then the
// defaults. zrshr_intl passes the profile and the process locale.
void loadSettings(const IntlSource* profile, const IntlSource* locale);

// Screen resolution used for layout units, in dots per inch (default 96).
int screenDpi();
void setScreenDpi(int dpi);

}  // namespace zr::intl

#endif
