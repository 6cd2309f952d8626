// Calendar arithmetic checked against the standard library's calendar.
#include <gtest/gtest.h>

#include <chrono>

#include "shdt.h"

namespace {

using namespace std::chrono;

SH_TIME date(int y, int m, int d) {
  SH_TIME t;
  shdtBuildTime(&t, y, m, d, 0, 0, 0, 0);
  return t;
}

// Every day of years 1 to 9999: the modified Julian day, the way back from
// it, and the day of the week.
TEST(ShdtCalendar, EveryDayRoundTripsThroughJulianDays) {
  const sys_days mjdEpoch = year{1858} / November / 17;
  int failures = 0;
  for (sys_days day = year{1} / January / 1; day <= sys_days(year{9999} / December / 31) && failures < 5;
       day += days{1}) {
    const year_month_day ymd(day);
    const SH_TIME t = date(int(ymd.year()), int(unsigned(ymd.month())), int(unsigned(ymd.day())));
    double mjd = -1;
    shdtToMJDDate(&t, &mjd);
    const double expected = double((day - mjdEpoch).count());
    SH_TIME back;
    shdtBuildTime(&back, 1, 1, 1, 7, 8, 9, 10);
    shMJDDateTodt(&back, mjd);
    const bool ok = mjd == expected && back.year == t.year && back.month == t.month && back.day == t.day &&
                    back.hour == 7 && shdtDayOfWeek(&t) == int(weekday(day).c_encoding());
    if (!ok) {
      ++failures;
      ADD_FAILURE() << int(ymd.year()) << "-" << unsigned(ymd.month()) << "-" << unsigned(ymd.day()) << " mjd "
                    << mjd << " expected " << expected;
    }
  }
}

TEST(ShdtCalendar, DifferencesAndRelativeDates) {
  const SH_TIME a = date(2000, 3, 1), b = date(1900, 2, 28);
  EXPECT_EQ(shdtDiffDate(&a, &b), 36526);
  EXPECT_EQ(shdtDiffDate(&b, &a), -36526);
  SH_TIME r;
  const SH_TIME jan31 = date(2000, 1, 31);
  shdtRelativeDate(&r, &jan31, 30);
  EXPECT_EQ(r.month, 2);
  EXPECT_EQ(r.day, 1);
  shdtRelativeDate(&r, &jan31, -366);
  EXPECT_EQ(r.year, 99);
  EXPECT_EQ(r.month, 0);
  EXPECT_EQ(r.day, 30);
  // Leap days: 1900 has none, 2000 has one.
  const SH_TIME feb28_1900 = date(1900, 2, 28), feb28_2000 = date(2000, 2, 28);
  shdtRelativeDate(&r, &feb28_1900, 1);
  EXPECT_EQ(r.month, 2);
  shdtRelativeDate(&r, &feb28_2000, 1);
  EXPECT_EQ(r.day, 29);
  // In place, with the time left alone.
  SH_TIME t;
  shdtBuildTime(&t, 1999, 12, 31, 23, 59, 58, 5);
  shdtRelativeDate(&t, &t, 1);
  EXPECT_EQ(t.year, 100);
  EXPECT_EQ(t.hour, 23);
  EXPECT_EQ(t.microsecond, 5);
}

TEST(ShdtCalendar, TimesAndSentinels) {
  SH_TIME a, b;
  shdtBuildTime(&a, 2000, 1, 1, 10, 0, 5, 750000);
  shdtBuildTime(&b, 1990, 6, 6, 9, 59, 0, 250000);
  EXPECT_EQ(shdtDiffTime(&a, &b), 65);
  EXPECT_EQ(shdtDiffMSec(&a, &b), 500000);
  EXPECT_EQ(shdtDayOfWeek(&b), 3);
  const SH_TIME monday = date(1900, 1, 1);
  EXPECT_EQ(shdtDayOfWeek(&monday), 1);

  double d = -1, t = -1;
  shdtToMJDTimestamp(&a, &d, &t);
  EXPECT_EQ(d, 51544.0);
  EXPECT_DOUBLE_EQ(t, (36005 + 0.75) / 86400.0);
  SH_TIME back = date(1, 1, 1);
  shMJDTimestampTodt(&back, d, t);
  EXPECT_EQ(back.year, 100);
  EXPECT_EQ(back.hour, 10);
  EXPECT_EQ(back.second, 5);
  EXPECT_EQ(back.microsecond, 750000);
  // Negative and whole-day times keep their fraction of the day.
  shMJDTimeTodt(&back, -0.25);
  EXPECT_EQ(back.hour, 18);
  shMJDTimeTodt(&back, 3.0);
  EXPECT_EQ(back.hour, 0);

  shdtBuildTime(&b, 1990, 6, 6, 18, 0, 0, 0);
  shdtToMJDTime(&b, &t);
  EXPECT_EQ(t, 0.75);

  SH_TIME none = a;
  none.year = SH_TIME_NO_DATE;
  none.hour = SH_TIME_NO_TIME;
  shdtToMJDTimestamp(&none, &d, &t);
  EXPECT_EQ(d, 0.0);
  EXPECT_EQ(t, 0.0);
  t = -1;
  shdtToMJDTime(&none, &t);
  EXPECT_EQ(t, 0.0);
}

TEST(ShdtCalendar, SystemTimeRecord) {
  SH_TIME t;
  shdtBuildTime(&t, 2024, 2, 29, 13, 14, 15, 16999);
  SH_SYSTEMTIME st;
  shdtBuildSystemTimeFromSHTime(&st, &t);
  EXPECT_EQ(st.year, 2024);
  EXPECT_EQ(st.month, 2);
  EXPECT_EQ(st.day, 29);
  EXPECT_EQ(st.hour, 13);
  EXPECT_EQ(st.milliseconds, 16);
  SH_TIME back;
  shdtBuildTimeFromSystemTime(&st, &back);
  EXPECT_EQ(back.microsecond, 16000);
  EXPECT_EQ(back.year, t.year);

  t.hour = SH_TIME_NO_TIME;
  shdtBuildSystemTimeFromSHTime(&st, &t);
  EXPECT_EQ(st.hour, 0);
  EXPECT_EQ(st.year, 2024);
  t.year = SH_TIME_NO_DATE;
  shdtBuildSystemTimeFromSHTime(&st, &t);
  EXPECT_EQ(st.year, 0);

  char16_t name[16];
  EXPECT_EQ(shdtDayName(3, name), 1);
  EXPECT_EQ(std::u16string(name), u"Wednesday");
  EXPECT_EQ(shdtDayName(7, name), 0);
  EXPECT_EQ(shdtDayName(0, nullptr), 0);
}

}  // namespace
