// Both date parsers and the canonical text, under the default settings.
#include <unicode/uloc.h>

#include <algorithm>
#include <ctime>
#include <string>
#include <thread>
#include <vector>

#include "shdt.h"
#include "tests/values/format_mask_test_util.h"
#include "values/intl_source.h"

namespace zr::testing {
namespace {

class ShdtParse : public DefaultSettings {};

struct Fields {
  int year, month, day, hour, minute, second, microsecond;
};

Fields fields(const SH_TIME& t) {
  return {t.year == SH_TIME_NO_DATE ? -1 : t.year + 1900, t.month + 1, t.day, t.hour, t.minute, t.second,
          t.microsecond};
}

bool operator==(const Fields& a, const Fields& b) {
  return a.year == b.year && a.month == b.month && a.day == b.day && a.hour == b.hour && a.minute == b.minute &&
         a.second == b.second && a.microsecond == b.microsecond;
}

std::ostream& operator<<(std::ostream& os, const Fields& f) {
  return os << f.year << "-" << f.month << "-" << f.day << " " << f.hour << ":" << f.minute << ":" << f.second
            << "." << f.microsecond;
}

// The fields after a successful parse into a record that starts as zeros.
Fields parsed(const char16_t* text, int mode, const char16_t* culture = nullptr) {
  SH_TIME t{};
  EXPECT_EQ(shdtParseEx(&t, text, mode, culture), 0) << std::string(text, text + std::char_traits<char16_t>::length(text));
  return fields(t);
}

int error(const char16_t* text, int mode, const char16_t* culture = nullptr) {
  SH_TIME t{};
  return shdtParseEx(&t, text, mode, culture);
}

TEST_F(ShdtParse, DateOrderAndTwoDigitYears) {
  EXPECT_EQ(parsed(u"1/2/03", 2), (Fields{2003, 1, 2, 255, 0, 0, 0}));
  EXPECT_EQ(parsed(u"1/2/50", 2), (Fields{1950, 1, 2, 255, 0, 0, 0}));
  EXPECT_EQ(parsed(u"1/2/49", 2), (Fields{2049, 1, 2, 255, 0, 0, 0}));
  EXPECT_EQ(parsed(u"1/2/03", 2, u"iDate=1"), (Fields{2003, 2, 1, 255, 0, 0, 0}));
  EXPECT_EQ(parsed(u"03.1.2", 2, u"iDate=2"), (Fields{2003, 1, 2, 255, 0, 0, 0}));
  // A four-digit first number is a year whatever the order says.
  EXPECT_EQ(parsed(u"2003-1-2", 2, u"iDate=1"), (Fields{2003, 1, 2, 255, 0, 0, 0}));
  EXPECT_EQ(parsed(u"Jan. 5 2001", 2), (Fields{2001, 1, 5, 255, 0, 0, 0}));
  EXPECT_EQ(parsed(u"May. 5 2001", 2), (Fields{2001, 5, 5, 255, 0, 0, 0}));
  EXPECT_EQ(parsed(u"september 30, 1999", 2), (Fields{1999, 9, 30, 255, 0, 0, 0}));
  EXPECT_EQ(error(u"5 Jan 2001", 2), 6);  // a name only in the month's place
  EXPECT_EQ(error(u"Janu 5 2001", 2), 6);
}

TEST_F(ShdtParse, FieldErrors) {
  EXPECT_EQ(error(u"2/30/2000", 2), 1);
  EXPECT_EQ(error(u"2/29/1900", 2), 1);
  EXPECT_EQ(parsed(u"2/29/2000", 2).day, 29);
  EXPECT_EQ(error(u"13/1/2000", 2), 2);
  EXPECT_EQ(error(u"1/32/2000", 2), 1);
  EXPECT_EQ(error(u"1/2/0000", 2), 7);
  EXPECT_EQ(error(u"1/2/200", 2), 7);
  EXPECT_EQ(error(u"1/2", 2), 6);
  EXPECT_EQ(error(u"/1/2/03", 2), 6);
  EXPECT_EQ(error(u"1/2/03 4", 2), 6);
  EXPECT_EQ(error(u"1/2/03 x", 1), 6);
  EXPECT_EQ(error(u"1234567890123456789012", 3), 6);
  EXPECT_EQ(error(u"24:00", 3), 5);
  EXPECT_EQ(error(u"1:60", 3), 4);
  EXPECT_EQ(error(u"1:2:60", 3), 3);
  EXPECT_EQ(error(u"1:2:3.1234567", 3), 8);
  EXPECT_EQ(error(u"", 3), 6);
}

TEST_F(ShdtParse, TimesAndDesignators) {
  EXPECT_EQ(parsed(u"1:2:3.5", 3), (Fields{-1, 1, 0, 1, 2, 3, 500000}));
  EXPECT_EQ(parsed(u"1:2:3.000042", 3).microsecond, 42);
  EXPECT_EQ(parsed(u"12 am", 3).hour, 0);
  EXPECT_EQ(parsed(u"12 pm", 3).hour, 12);
  EXPECT_EQ(parsed(u"1:15 PM", 3).hour, 13);
  EXPECT_EQ(parsed(u"00:30 am", 3).hour, 0);
  EXPECT_EQ(error(u"0 am", 3), 5);
  EXPECT_EQ(error(u"00:00 am", 3), 5);
  EXPECT_EQ(error(u"13 pm", 3), 5);
  EXPECT_EQ(error(u"pm", 3), 6);
  EXPECT_EQ(parsed(u"2003-01-02T10:20:30", 1), (Fields{2003, 1, 2, 10, 20, 30, 0}));
  EXPECT_EQ(parsed(u"1/2/2003", 1), (Fields{2003, 1, 2, 0, 0, 0, 0}));
}

TEST_F(ShdtParse, ModesWriteOnlyTheirFields) {
  SH_TIME t;
  shdtBuildTime(&t, 1999, 9, 9, 9, 9, 9, 9);
  ASSERT_EQ(shdtParse(&t, u"1/2/2003", 2), 0);
  EXPECT_EQ(fields(t), (Fields{2003, 1, 2, 255, 9, 9, 9}));
  shdtBuildTime(&t, 1999, 9, 9, 9, 9, 9, 9);
  ASSERT_EQ(shdtParse(&t, u"10:11", 3), 0);
  EXPECT_EQ(fields(t), (Fields{-1, 9, 9, 10, 11, 0, 0}));
  // A failure writes nothing.
  shdtBuildTime(&t, 1999, 9, 9, 9, 9, 9, 9);
  EXPECT_EQ(shdtParse(&t, u"2/30/2000 10:00", 1), 1);
  EXPECT_EQ(fields(t), (Fields{1999, 9, 9, 9, 9, 9, 9}));
}

TEST_F(ShdtParse, CanonicalText) {
  SH_TIME t;
  shdtBuildTime(&t, 2003, 1, 2, 4, 5, 6, 0);
  char16_t text[64];
  shdtParseToString(&t, text, 1);
  EXPECT_EQ(std::u16string(text), u"01-02-2003 04:05:06");
  shdtParseToString(&t, text, 2);
  EXPECT_EQ(std::u16string(text), u"01-02-2003");
  shdtParseToString(&t, text, 3);
  EXPECT_EQ(std::u16string(text), u"04:05:06");
  // No record is the null value, and the mask has no section for it.
  shdtParseToString(nullptr, text, 1);
  EXPECT_EQ(std::u16string(text), u"");
}

// The present moment, against the C library's clock at either end of the
// call; a longer date picture is cut to 10 characters and a terminator.
TEST_F(ShdtParse, PresentMomentAsText) {
  auto clock = [] {
    std::time_t now = std::time(nullptr);
    std::tm parts{};
    localtime_r(&now, &parts);
    char text[32];
    size_t n = std::strftime(text, sizeof text, "%d.%m.%Y %H:%M:%S", &parts);
    return std::u16string(text, text + n);
  };
  zr::intl::KeyTable profile;
  profile.set(u"sShortDate", u"dd.mm.yyyy");
  zr::intl::loadSettings(&profile, nullptr);
  std::u16string before = clock();
  char16_t date[16], time[16];
  shdtString(date, time);
  std::u16string after = clock();
  std::u16string both = std::u16string(date) + u" " + time;
  EXPECT_TRUE(both == before || both == after) << shown(both.c_str());

  profile.set(u"sShortDate", u"dddd, mmmm dd, yyyy");
  zr::intl::loadSettings(&profile, nullptr);
  std::fill(std::begin(date), std::end(date), u'#');
  shdtString(date, nullptr);
  EXPECT_EQ(std::u16string(date).size(), 10u);
  EXPECT_EQ(std::u16string(date + 11, 5), u"#####");
  shdtString(nullptr, nullptr);
}

// The picture parser with the pictures and names of English (United States).
constexpr uint32_t kEnglishUS = 0x409;

Fields pictured(const char16_t* text, int mode, int strict, uint32_t lcid = kEnglishUS) {
  SH_TIME t{};
  EXPECT_EQ(shdtParseStringExWithLcid(&t, text, mode, strict, lcid), 0)
      << std::string(text, text + std::char_traits<char16_t>::length(text));
  return fields(t);
}

int pictureError(const char16_t* text, int mode, int strict, uint32_t lcid = kEnglishUS) {
  SH_TIME t{};
  return shdtParseStringExWithLcid(&t, text, mode, strict, lcid);
}

TEST_F(ShdtParse, PicturesOfTheLocale) {
  EXPECT_EQ(pictured(u"1/2/2003", 2, 1), (Fields{2003, 1, 2, 0, 0, 0, 0}));
  EXPECT_EQ(pictured(u"12/31/99", 2, 1), (Fields{1999, 12, 31, 0, 0, 0, 0}));
  EXPECT_EQ(pictured(u"Jan 5, 2001", 2, 1), (Fields{2001, 1, 5, 0, 0, 0, 0}));
  EXPECT_EQ(pictured(u"Friday, January 5, 2001", 2, 1), (Fields{2001, 1, 5, 0, 0, 0, 0}));
  EXPECT_EQ(pictured(u"10:30:15 PM", 3, 1), (Fields{1900, 1, 1, 22, 30, 15, 0}));
  EXPECT_EQ(pictured(u"1/2/2003 9:08:07 am", 1, 1), (Fields{2003, 1, 2, 9, 8, 7, 0}));
  EXPECT_EQ(pictured(u"1/2/2003", 1, 1), (Fields{2003, 1, 2, 0, 0, 0, 0}));
  EXPECT_EQ(pictured(u"31.12.2003 13:05:09", 1, 1, 0x407), (Fields{2003, 12, 31, 13, 5, 9, 0}));
  EXPECT_EQ(pictureError(u"2/31/2003", 2, 0), 6);
  EXPECT_EQ(pictureError(u"1/2/2003 junk", 1, 1), 6);
  EXPECT_EQ(pictured(u"1/2/2003 junk", 1, 0).year, 2003);
  EXPECT_EQ(pictureError(u"10:30", 1, 0), 6);  // a time with no date
  EXPECT_EQ(pictureError(u"nothing", 3, 0), 6);
}

// Two-digit years fall in the hundred years that end in 2029.
TEST_F(ShdtParse, TwoDigitYearPivot) {
  EXPECT_EQ(pictured(u"1/2/29", 2, 1).year, 2029);
  EXPECT_EQ(pictured(u"1/2/30", 2, 1).year, 1930);
  EXPECT_EQ(pictured(u"1/2/00", 2, 1).year, 2000);
}

// The first parses of two locales race to read their data; every thread
// must still see complete pictures and names.
TEST_F(ShdtParse, LocaleDataFromManyThreads) {
  std::vector<std::thread> threads;
  std::vector<int> failures(4, 0);
  for (size_t k = 0; k < failures.size(); ++k)
    threads.emplace_back([k, &failures] {
      for (int i = 0; i < 50; ++i) {
        SH_TIME t{};
        const bool german = (k + size_t(i)) % 2 == 1;
        const int error = german ? shdtParseStringExWithLcid(&t, u"31.12.2003 13:05:09", 1, 1, 0x407)
                                 : shdtParseStringExWithLcid(&t, u"Friday, January 5, 2001", 2, 1, kEnglishUS);
        if (error != 0 || fields(t) != (german ? Fields{2003, 12, 31, 13, 5, 9, 0} : Fields{2001, 1, 5, 0, 0, 0, 0}))
          ++failures[k];
      }
    });
  for (std::thread& t : threads) t.join();
  EXPECT_EQ(failures, std::vector<int>(4, 0));
}

// Locale 0 follows the process locale, also after it changes.
TEST_F(ShdtParse, UserLocaleFollowsTheProcessLocale) {
  const std::string saved = uloc_getDefault();
  UErrorCode st = U_ZERO_ERROR;
  uloc_setDefault("de_DE", &st);
  EXPECT_EQ(pictured(u"31.12.2003", 2, 1, 0), (Fields{2003, 12, 31, 0, 0, 0, 0}));
  uloc_setDefault("en_US", &st);
  EXPECT_EQ(pictured(u"12/31/2003", 2, 1, 0), (Fields{2003, 12, 31, 0, 0, 0, 0}));
  EXPECT_EQ(pictureError(u"31.12.2003", 2, 1, 0), 6);
  uloc_setDefault(saved.c_str(), &st);
}

}  // namespace
}  // namespace zr::testing
