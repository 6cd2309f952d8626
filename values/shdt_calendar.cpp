// Calendar arithmetic, modified Julian days and the system time record.
#include "values/shdt_calendar.h"

#include <cmath>

#include "platform/system.h"
#include "values/intl_settings.h"

namespace zr::dt {

const int kDaysInMonth[2][13] = {{0, 31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31},
                                 {0, 31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31}};
const int kDaysBefore[2][13] = {{0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334, 365},
                                {0, 31, 60, 91, 121, 152, 182, 213, 244, 274, 305, 335, 366}};

namespace {

int64_t floorDiv(int64_t a, int64_t b) { return a / b - ((a % b != 0) && ((a < 0) != (b < 0))); }

constexpr int64_t kDaysPer400Years = 146097;
// Day number of 1 January 1900, and its modified Julian day.
constexpr int64_t kDay1900 = 693595;
constexpr double kMjd1900 = 15020.0;
// 1 January 1899 was a Sunday.
constexpr int64_t kSunday1899 = 693230;

}  // namespace

int64_t dayNumber(int64_t year, int month, int64_t day) {
  // Years counted from 1 March, so that the leap day ends a year.
  const int64_t y = year - (month <= 2 ? 1 : 0);
  const int64_t era = floorDiv(y, 400);
  const int64_t yoe = y - era * 400;
  const int64_t mp = (month + 9) % 12;
  const int64_t doy = (153 * mp + 2) / 5 + day - 1;
  const int64_t doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
  return era * kDaysPer400Years + doe - 306;
}

Civil fromDayNumber(int64_t days) {
  const int64_t z = days + 306;
  const int64_t era = floorDiv(z, kDaysPer400Years);
  const int64_t doe = z - era * kDaysPer400Years;
  const int64_t yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
  const int64_t doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
  const int64_t mp = (5 * doy + 2) / 153;
  const int day = int(doy - (153 * mp + 2) / 5 + 1);
  const int month = int(mp < 10 ? mp + 3 : mp - 9);
  return {yoe + era * 400 + (month <= 2 ? 1 : 0), month, day};
}

int64_t dayNumberOf(const SH_TIME& t) {
  return dayNumber(int64_t(t.year) + 1900 + t.month / 12, t.month % 12 + 1, t.day);
}

bool systemTimeValid(const SH_SYSTEMTIME& st) {
  return st.year >= 1601 && st.year <= 30827 && st.month >= 1 && st.month <= 12 && st.day >= 1 &&
         st.day <= daysInMonth(st.year, st.month) && st.hour < 24 && st.minute < 60 && st.second < 60 &&
         st.milliseconds < 1000;
}

namespace {

// Seconds of the day; the time fields are read as they stand.
int32_t secondsOf(const SH_TIME& t) { return t.hour * 3600 + t.minute * 60 + t.second; }

// Whole days of a double, as the 32-bit truncation would give them, kept
// inside the range where that conversion is defined.
int32_t wholeDays(double x) {
  if (!(x == x)) return 0;
  const double f = std::floor(x) - kMjd1900;
  if (f >= 2147483647.0) return INT32_MAX;
  if (f <= -2147483648.0) return INT32_MIN;
  return int32_t(f);
}

}  // namespace
}  // namespace zr::dt

using namespace zr::dt;

ZRAPI void shdtBuildTime(PSH_TIME t, int year, int month, int day, int hour, int minute, int second,
                         int32_t microsecond) {
  if (!t) return;
  t->microsecond = microsecond;
  t->year = int16_t(year - 1900);
  t->month = uint8_t(month - 1);
  t->day = uint8_t(day);
  t->hour = uint8_t(hour);
  t->minute = uint8_t(minute);
  t->second = uint8_t(second);
  t->reserved = 0;
}

ZRAPI void shdtNow(PSH_TIME t) {
  const zr::platform::LocalTime now = zr::platform::localTime();
  shdtBuildTime(t, now.year, now.month, now.day, now.hour, now.minute, now.second, now.microsecond);
}

ZRAPI void shdtBuildTimeFromSystemTime(const SH_SYSTEMTIME* st, PSH_TIME t) {
  if (!st || !t) return;
  shdtBuildTime(t, st->year, st->month, st->day, st->hour, st->minute, st->second,
                int32_t(st->milliseconds) * 1000);
}

ZRAPI SH_SYSTEMTIME* shdtBuildSystemTimeFromSHTime(SH_SYSTEMTIME* st, const SH_TIME* t) {
  if (!st) return st;
  *st = SH_SYSTEMTIME{};
  if (!t) return st;
  if (t->hour < SH_TIME_NO_TIME) {
    st->hour = t->hour;
    st->minute = t->minute;
    st->second = t->second;
    st->milliseconds = uint16_t(t->microsecond / 1000);
  }
  if (t->year != SH_TIME_NO_DATE) {
    st->year = uint16_t(t->year + 1900);
    st->month = uint16_t(t->month + 1);
    st->day = t->day;
  }
  return st;
}

ZRAPI int32_t shdtDiffDate(const SH_TIME* a, const SH_TIME* b) {
  if (!a || !b) return 0;
  return int32_t(dayNumberOf(*a) - dayNumberOf(*b));
}

ZRAPI int32_t shdtDiffTime(const SH_TIME* a, const SH_TIME* b) {
  if (!a || !b) return 0;
  return secondsOf(*a) - secondsOf(*b);
}

ZRAPI int32_t shdtDiffMSec(const SH_TIME* a, const SH_TIME* b) {
  if (!a || !b) return 0;
  return int32_t(int64_t(a->microsecond) - b->microsecond);
}

ZRAPI int shdtDayOfWeek(const SH_TIME* t) {
  if (!t) return 0;
  const int64_t r = (dayNumberOf(*t) - kSunday1899) % 7;
  return int(r < 0 ? r + 7 : r);
}

ZRAPI int shdtDayName(int16_t day, char16_t* buffer) {
  if (day < 0 || day > 6 || !buffer) return 0;
  const char16_t* name = zr::intl::names().fullDays[day];
  while ((*buffer++ = *name++)) {
  }
  return 1;
}

ZRAPI void shdtRelativeDate(PSH_TIME dst, const SH_TIME* src, int32_t days) {
  if (!dst || !src) return;
  const SH_TIME from = *src;
  *dst = from;
  if (days == 0) return;
  const Civil c = fromDayNumber(dayNumberOf(from) + days);
  dst->year = int16_t(c.year - 1900);
  dst->month = uint8_t(c.month - 1);
  dst->day = uint8_t(c.day);
}

ZRAPI void shdtToMJDDate(const SH_TIME* t, double* date) {
  if (!t || !date) return;
  *date = t->year == SH_TIME_NO_DATE ? 0.0 : double(dayNumberOf(*t) - kDay1900) + kMjd1900;
}

ZRAPI void shdtToMJDTime(const SH_TIME* t, double* time) {
  if (!t || !time) return;
  *time = t->hour == SH_TIME_NO_TIME ? 0.0 : (secondsOf(*t) + t->microsecond / 1e6) / 86400.0;
}

ZRAPI void shdtToMJDTimestamp(const SH_TIME* t, double* date, double* time) {
  shdtToMJDDate(t, date);
  shdtToMJDTime(t, time);
}

ZRAPI void shMJDDateTodt(PSH_TIME t, double date) {
  if (!t) return;
  SH_TIME base = *t;
  base.year = 0;
  base.month = 0;
  base.day = 1;
  shdtRelativeDate(t, &base, wholeDays(date));
}

ZRAPI void shMJDTimeTodt(PSH_TIME t, double time) {
  if (!t) return;
  const double f = std::isfinite(time) ? time - std::floor(time) : 0.0;
  // The small bias keeps a whole second that binary fractions land just
  // below from losing that second.
  const double s = f * 86400.0 + 5e-10;
  double whole = 0;
  const double part = std::modf(s, &whole);
  const int32_t w = int32_t(whole);
  t->microsecond = int32_t(part * 1e6);
  t->hour = uint8_t(w / 3600);
  t->minute = uint8_t(w % 3600 / 60);
  t->second = uint8_t(w % 60);
}

ZRAPI void shMJDTimestampTodt(PSH_TIME t, double date, double time) {
  shMJDDateTodt(t, date);
  shMJDTimeTodt(t, time);
}
