// Dates, times and strings through compiled masks.
#include <string>

#include "shdt.h"
#include "tests/values/format_mask_test_util.h"

namespace zr::testing {
namespace {

class FormatText : public DefaultSettings {};

struct DateRow {
  const char16_t* mask;
  const char16_t* expected;
  uint32_t color = 0;
  int flag = 0;
};

void checkDates(const SH_TIME* t, std::initializer_list<DateRow> rows, const SH_DT_NAMES* names = nullptr) {
  for (const DateRow& r : rows) {
    Units mask = dateTime(r.mask);
    ASSERT_FALSE(mask.empty()) << shown(r.mask);
    char16_t text[64];
    const uint32_t color = shformatDateTimeWeb(text, 63, mask.data(), t, r.flag, names);
    EXPECT_EQ(std::u16string(text), r.expected) << "mask " << shown(r.mask);
    EXPECT_EQ(color, r.color) << "mask " << shown(r.mask);
  }
}

SH_TIME at(int y, int mo, int d, int h, int mi, int s, int us) {
  SH_TIME t;
  shdtBuildTime(&t, y, mo, d, h, mi, s, us);
  return t;
}

TEST_F(FormatText, DateFieldsAndNames) {
  const SH_TIME t = at(2003, 1, 2, 13, 5, 7, 123456);
  checkDates(&t, {
                     {u"mmm d, yyyy", u"Jan 2, 2003"},
                     {u"dddd, mmmm dd, yyyy", u"Thursday, January 02, 2003"},
                     {u"ddd yy/m/d h:m:s", u"Thu 03/1/2 13:5:7"},
                     {u"hh:mm:ss.fff", u"13:05:07.123"},
                     {u"ss.ffffff", u"07.123456"},
                     {u"[RED]d", u"2", 255},
                     {u"[purple]d", u"\uFFFF2"},
                     {u"d;dd;ddd", u"02", 0, 1},
                     {u"'day' d \"of\" m", u"day 2 of 1"},
                 });
  const SH_TIME early = at(1, 12, 31, 0, 0, 0, 0);
  checkDates(&early, {{u"yyyy-mm-dd", u"0001-12-31"}, {u"yy", u"01"}});
}

TEST_F(FormatText, TwelveHourClock) {
  const SH_TIME pm = at(2003, 1, 2, 13, 5, 0, 0), midnight = at(2003, 1, 2, 0, 5, 0, 0),
                noon = at(2003, 1, 2, 12, 0, 0, 0);
  checkDates(&pm, {{u"hh:mm AM/PM", u"01:05 PM"}, {u"h a/p", u"1 p"}, {u"h A/P", u"1 P"}, {u"h am/pm", u"1 pm"}});
  checkDates(&midnight, {{u"hh:mm AM/PM", u"12:05 AM"}, {u"h:mm a/p", u"12:05 a"}});
  checkDates(&noon, {{u"h AM/PM", u"12 PM"}});
}

TEST_F(FormatText, MissingFields) {
  checkDates(nullptr, {{u"mmm d, yyyy", u"?? ??, ????"}, {u"mmm d, yyyy", u"", 0, 2}, {u"ddd;ddd;ddd", u"??", 0, 2}});
  SH_TIME dateOnly = at(2003, 1, 2, 0, 0, 0, 0);
  dateOnly.hour = SH_TIME_NO_TIME;
  checkDates(&dateOnly, {{u"yyyy-mm-dd hh:mm:ss.ff AM/PM", u"2003-01-02 ??:??:??.?? ??"}, {u"h a/p", u"?? ?"}});
  SH_TIME timeOnly = at(2003, 1, 2, 9, 8, 7, 0);
  timeOnly.year = SH_TIME_NO_DATE;
  checkDates(&timeOnly, {{u"mmmm d yy dddd h", u"??? ?? ?? ?? 9"}});
}

TEST_F(FormatText, NameTablesOfTheCaller) {
  static const char16_t* const shortMonths[12] = {u"janv.", u"f\u00e9vr.", u"mars", u"avr.", u"mai",  u"juin",
                                                  u"juil.", u"ao\u00fbt", u"sept.", u"oct.", u"nov.", u"d\u00e9c."};
  const SH_DT_NAMES names = {shortMonths, nullptr, nullptr, nullptr};
  const SH_TIME t = at(2003, 1, 2, 0, 0, 0, 0);
  checkDates(&t, {{u"d mmm yyyy", u"2 janv. 2003"}, {u"mmmm", u"January"}}, &names);
}

TEST_F(FormatText, CurrentMoment) {
  Units mask = dateTime(u"[current]yyyy");
  char16_t text[16];
  shformatDateTime(text, 15, mask.data(), nullptr, 0);
  const std::u16string year(text);
  ASSERT_EQ(year.size(), 4u);
  EXPECT_GE(year, u"2024");
}

struct StringRow {
  const char16_t* mask;
  const char16_t* value;
  const char16_t* expected;
  uint32_t color = 0;
  int flag = 0;
  int capacity = 63;
};

TEST_F(FormatText, Strings) {
  for (const StringRow& r : std::initializer_list<StringRow>{
           {u"@@-@@", u"abc", u"ab-c "},
           {u"@@-@@", u"abc", u"ab-", 0, 0, 3},
           {u"(@@@) @@@-@@@@", u"5551234567", u"(555) 123-4567"},
           {u"[general]", u"hello", u"hello"},
           {u"'<'[general]'>'", u"hello", u"<hello>"},
           {u"@@", nullptr, u"  "},
           {u"[RED]@;'none'", u"x", u"x", 255},
           {u"[RED]@;'none'", u"x", u"none", 0, 1},
           {u"@", u"x", u"", 0, 2},
       }) {
    Units mask = string(r.mask);
    ASSERT_FALSE(mask.empty()) << shown(r.mask);
    char16_t text[64];
    EXPECT_EQ(shformatString(text, r.capacity, mask.data(), r.value, r.flag), r.color) << shown(r.mask);
    EXPECT_EQ(std::u16string(text), r.expected) << shown(r.mask);
  }
  char16_t text[8];
  shformatString(text, 4, nullptr, u"abcdef", 0);
  EXPECT_EQ(std::u16string(text), u"abcd");
  shformatString(text, 4, nullptr, u"abcdef", 2);
  EXPECT_EQ(std::u16string(text), u"");
}

}  // namespace
}  // namespace zr::testing
