// intl_dates.h - the date and time data ICU holds for a locale: its date and
// time patterns, month and day names and AM/PM designators. Opening ICU's
// formatters costs far more than a parse, so each locale is read once and
// kept for the life of the process.
#ifndef VALUES_INTL_DATES_H
#define VALUES_INTL_DATES_H

#include <string>

namespace zr::intl {

struct LocaleDates {
  // ICU patterns; empty when ICU has none.
  std::u16string shortDate, mediumDate, longDate, fullDate;
  std::u16string shortTime, mediumTime;
  // Names, empty when the locale has no formatter.
  std::u16string months[12], shortMonths[12];
  std::u16string days[7], shortDays[7];  // Sunday first
  std::u16string am, pm;
  bool hasNames = false;
};

// The data of an ICU locale name. The record never changes or moves, so the
// reference stays good without the lock; a change of the process locale only
// means that another name is asked for.
const LocaleDates& localeDates(const char* locale);

}  // namespace zr::intl

#endif
