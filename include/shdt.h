// shdt.h - the date-time value: a 12-byte record for dates, times and
// timestamps, its proleptic Gregorian arithmetic, modified Julian day
// numbers, the system time record, and two text parsers.
//
// Example:
//   SH_TIME t;
//   if (shdtParseEx(&t, u"2003-1-2 10:30", SHDT_MODE_DATETIME, NULL) == SHDT_OK) {
//     double mjd;
//     shdtToMJDDate(&t, &mjd);   // 52641.0
//   }
#ifndef SHDT_H
#define SHDT_H

#include "zrdefs.h"

// Year field of a record without a date, hour field of one without a time.
#define SH_TIME_NO_DATE (-32767)
#define SH_TIME_NO_TIME 255

typedef struct SH_TIME {
  int32_t microsecond;  // 0-999999
  int16_t year;         // year - 1900, or SH_TIME_NO_DATE
  uint8_t month;        // month - 1, 0-11
  uint8_t day;          // 1-31
  uint8_t hour;         // 0-23, or SH_TIME_NO_TIME
  uint8_t minute;
  uint8_t second;
  uint8_t reserved;  // carried along in copies
} SH_TIME, *PSH_TIME;

ZR_STATIC_ASSERT(sizeof(SH_TIME) == 12, "SH_TIME is 12 bytes");
ZR_STATIC_ASSERT(offsetof(SH_TIME, year) == 4, "year at byte 4");
ZR_STATIC_ASSERT(offsetof(SH_TIME, hour) == 8, "hour at byte 8");
ZR_STATIC_ASSERT(offsetof(SH_TIME, reserved) == 11, "reserved at byte 11");

// The operating system's time record, field for field.
typedef struct SH_SYSTEMTIME {
  uint16_t year;
  uint16_t month;      // 1-12
  uint16_t dayOfWeek;  // 0 Sunday; not filled from an SH_TIME
  uint16_t day;
  uint16_t hour;
  uint16_t minute;
  uint16_t second;
  uint16_t milliseconds;
} SH_SYSTEMTIME;

ZR_STATIC_ASSERT(sizeof(SH_SYSTEMTIME) == 16, "SH_SYSTEMTIME is 16 bytes");
ZR_STATIC_ASSERT(offsetof(SH_SYSTEMTIME, milliseconds) == 14, "milliseconds at byte 14");

// Parse modes.
#define SHDT_MODE_DATETIME 1
#define SHDT_MODE_DATE 2
#define SHDT_MODE_TIME 3

// Parse results.
#define SHDT_OK 0
#define SHDT_BAD_DAY 1
#define SHDT_BAD_MONTH 2
#define SHDT_BAD_SECOND 3
#define SHDT_BAD_MINUTE 4
#define SHDT_BAD_HOUR 5
#define SHDT_BAD_SYNTAX 6
#define SHDT_BAD_YEAR 7
#define SHDT_BAD_FRACTION 8

// Fills every field from plain numbers (month 1-12); nothing is checked.
ZRAPI void shdtBuildTime(PSH_TIME t, int year, int month, int day, int hour, int minute, int second,
                         int32_t microsecond);
// The local time now, to the millisecond.
ZRAPI void shdtNow(PSH_TIME t);
ZRAPI void shdtBuildTimeFromSystemTime(const SH_SYSTEMTIME* st, PSH_TIME t);
// Zeroes st, then copies the time fields if t has a time and the date fields
// if it has a date. Returns st.
ZRAPI SH_SYSTEMTIME* shdtBuildSystemTimeFromSHTime(SH_SYSTEMTIME* st, const SH_TIME* t);

// Days from b to a; seconds of the day from b to a (microseconds ignored);
// and a's microseconds less b's.
ZRAPI int32_t shdtDiffDate(const SH_TIME* a, const SH_TIME* b);
ZRAPI int32_t shdtDiffTime(const SH_TIME* a, const SH_TIME* b);
ZRAPI int32_t shdtDiffMSec(const SH_TIME* a, const SH_TIME* b);
// 0 Sunday to 6 Saturday.
ZRAPI int shdtDayOfWeek(const SH_TIME* t);
// Copies the full name of day 0-6 (Sunday first); 0 for a bad index or buffer.
ZRAPI int shdtDayName(int16_t day, char16_t* buffer);
// dst is src moved by days; only the date fields change. dst may be src.
ZRAPI void shdtRelativeDate(PSH_TIME dst, const SH_TIME* src, int32_t days);
// Today by "[SHORTDATE]" and now by "hh:mm:ss", each into at most 11
// characters with the terminator; either buffer may be null.
ZRAPI void shdtString(char16_t* date, char16_t* time);

// Modified Julian day numbers: the date as whole days (17 November 1858 is
// day 0), the time as a fraction of a day. A record without the date or the
// time gives 0.0 for it.
ZRAPI void shdtToMJDDate(const SH_TIME* t, double* date);
ZRAPI void shdtToMJDTime(const SH_TIME* t, double* time);
ZRAPI void shdtToMJDTimestamp(const SH_TIME* t, double* date, double* time);
// Back again: the date sets only the date fields, the time only the time
// fields.
ZRAPI void shMJDDateTodt(PSH_TIME t, double date);
ZRAPI void shMJDTimeTodt(PSH_TIME t, double time);
ZRAPI void shMJDTimestampTodt(PSH_TIME t, double date, double time);

// Numbers in the locale's date order, separated by any of "-/,.:T", with
// month names, "am" and "pm". Returns SHDT_OK or an error; the record is
// written only on success. The culture text may give "iDate".
ZRAPI int shdtParse(PSH_TIME t, const char16_t* text, int mode);
ZRAPI int shdtParseEx(PSH_TIME t, const char16_t* text, int mode, const char16_t* culture);
// Text in one of the locale's own date and time pictures. Strict asks for
// complete dates and times and nothing but blanks after them. Returns
// SHDT_OK or SHDT_BAD_SYNTAX. Locale 0 is the user's locale.
ZRAPI int shdtParseStringEx(PSH_TIME t, const char16_t* text, int mode, int strict);
ZRAPI int shdtParseStringExWithLcid(PSH_TIME t, const char16_t* text, int mode, int strict, uint32_t lcid);
// The record in the canonical order of the locale ("mm-dd-yyyy hh:mm:ss"
// and its variants); at most 50 characters and the terminator.
ZRAPI void shdtParseToString(const SH_TIME* t, char16_t* buffer, int mode);

#endif
