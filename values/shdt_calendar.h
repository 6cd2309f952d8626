// shdt_calendar.h - the proleptic Gregorian calendar behind SH_TIME, for the
// parsers and the formatter.
#ifndef VALUES_SHDT_CALENDAR_H
#define VALUES_SHDT_CALENDAR_H

#include <cstdint>

#include "shdt.h"

namespace zr::dt {

inline bool isLeap(int64_t year) { return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0; }

// Indexed by leap flag, then by month 1-12 (entry 0 is 0).
extern const int kDaysInMonth[2][13];
// Days before month 1-12, and the year's length as the last entry.
extern const int kDaysBefore[2][13];

inline int daysInMonth(int64_t year, int month) { return kDaysInMonth[isLeap(year) ? 1 : 0][month]; }

// Days since 1 January of year 1 (day 0); month 1-12, any day.
int64_t dayNumber(int64_t year, int month, int64_t day);
struct Civil {
  int64_t year;
  int month;  // 1-12
  int day;
};
Civil fromDayNumber(int64_t days);

// The record's date as a day number; a month byte beyond 11 carries into
// later years rather than reading outside the tables.
int64_t dayNumberOf(const SH_TIME& t);

// What the system's file time accepts: years 1601-30827, real days.
bool systemTimeValid(const SH_SYSTEMTIME& st);

}  // namespace zr::dt

#endif
