// International settings: defaults, the profile store, locale data and
// culture texts over both; real number texts; direction; layout units.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

#include "shformat.h"
#include "shintl.h"
#include "values/intl_settings.h"
#include "values/intl_source.h"

namespace {

using zr::intl::loadSettings;
using zr::intl::settings;

class IntlSettings : public ::testing::Test {
 protected:
  void TearDown() override {
    unsetenv("ZR_INTL_PROFILE");
    zr::intl::setScreenDpi(96);
    zrshr_intl();
  }

  void useProfile(const std::string& text) {
    path_ = ::testing::TempDir() + "intl_profile.ini";
    std::ofstream(path_) << text;
    setenv("ZR_INTL_PROFILE", path_.c_str(), 1);
  }

  std::string path_;
};

TEST_F(IntlSettings, DefaultsWithAnEmptyStore) {
  setenv("ZR_INTL_PROFILE", "/nonexistent/intl.ini", 1);
  auto profile = zr::intl::readProfileSource();
  EXPECT_TRUE(profile->empty());
  loadSettings(profile.get(), nullptr);
  const auto& s = settings();
  EXPECT_EQ(s.decimal, u'.');
  EXPECT_EQ(s.thousand, u',');
  EXPECT_EQ(std::u16string(s.currency), u"$");
  EXPECT_EQ(s.currencyPosition, 0);
  EXPECT_EQ(s.currencyDigits, 2);
  EXPECT_EQ(s.negativeCurrency, 0);
  EXPECT_EQ(s.grouping, 3);
  EXPECT_EQ(s.monetaryGrouping, 3);
  EXPECT_EQ(s.measure, 1);
  EXPECT_EQ(std::u16string(s.shortDate), u"m/d/yy");
  EXPECT_EQ(std::u16string(s.longDate), u"mmmm d, yyyy");
}

TEST_F(IntlSettings, ProfileKeysWinOverLocaleData) {
  useProfile(
      "; settings\n[other]\nsDecimal=#\n[Intl]\nsDecimal = ,\nsThousand=.\nsCurrency=\xc2\xa3\niCurrency=2\n"
      "iCurrDigits=3\niNegCurr=5\nsMonGrouping=0\nsGrouping=4;0\niDate=1\niMeasure=0\niCountry=44\n"
      "sShortDate=dd/mm/yyyy\nsLongDate=d mmmm yyyy\nsDate=-\nsTime=.\n");
  auto profile = zr::intl::readProfileSource();
  auto locale = zr::intl::readLocaleSource("ja_JP");
  loadSettings(profile.get(), locale.get());
  const auto& s = settings();
  EXPECT_EQ(s.decimal, u',');
  EXPECT_EQ(s.thousand, u'.');
  EXPECT_EQ(std::u16string(s.currency), u"\u00a3");
  EXPECT_EQ(s.currencyPosition, 2);
  EXPECT_EQ(s.currencyDigits, 3);
  EXPECT_EQ(s.negativeCurrency, 5);
  EXPECT_EQ(s.monetaryGrouping, 0);
  EXPECT_EQ(s.grouping, 3);  // any grouping counts as threes
  EXPECT_EQ(s.dateOrder, 1);
  EXPECT_EQ(s.measure, 0);
  EXPECT_EQ(s.country, 44);
  EXPECT_EQ(std::u16string(s.shortDate), u"dd/mm/yyyy");
  EXPECT_EQ(std::u16string(s.longDate), u"d mmmm yyyy");
  EXPECT_EQ(std::u16string(s.dateSeparator), u"-");
  EXPECT_EQ(std::u16string(s.timeSeparator), u".");

  // zrshr_intl reads the same store; a culture text overrides it again.
  zrshr_intl();
  uint16_t units[64];
  ASSERT_EQ(shformatCmplNumericMask(units, u"[currency]", 64), 0);
  EXPECT_EQ(units[3], u'\u00a3');
  ASSERT_EQ(shformatCmplNumericMaskWeb(units, u"[currency]", 64, u"sCurrency=EUR\tiCurrency=0"), 0);
  EXPECT_EQ(std::u16string(units + 3, units + 8), u"EUR\x05\x02");
  ASSERT_EQ(shformatCmplDateTimeMask(units, u"[shortdate]", 64), 0);
  EXPECT_EQ(units[1], 6);
}

TEST_F(IntlSettings, LocaleDataFillsAbsentKeys) {
  auto locale = zr::intl::readLocaleSource("de_DE");
  loadSettings(nullptr, locale.get());
  const auto& s = settings();
  EXPECT_EQ(s.decimal, u',');
  EXPECT_EQ(s.thousand, u'.');
  EXPECT_EQ(std::u16string(s.currency), u"\u20ac");
  EXPECT_EQ(s.currencyPosition, 3);
  EXPECT_EQ(s.negativeCurrency, 8);
  EXPECT_EQ(s.dateOrder, 1);
  EXPECT_EQ(s.measure, 0);
  EXPECT_NE(s.country, 1);
  EXPECT_EQ(std::u16string(s.shortDate), u"dd.mm.yy");
  EXPECT_EQ(std::u16string(s.dateSeparator), u".");
  EXPECT_EQ(std::u16string(s.timeSeparator), u":");
  uint16_t units[64];
  EXPECT_EQ(shformatCmplDateTimeMask(units, u"[longdate]", 64), 0);

  locale = zr::intl::readLocaleSource("en_US");
  loadSettings(nullptr, locale.get());
  EXPECT_EQ(std::u16string(settings().shortDate), u"m/d/yy");
  EXPECT_EQ(std::u16string(settings().longDate), u"mmmm d, yyyy");
  EXPECT_EQ(settings().country, 1);
  EXPECT_EQ(settings().measure, 1);
  EXPECT_TRUE(zr::intl::readLocaleSource("en_US_POSIX")->empty());
}

TEST_F(IntlSettings, NamesComeFromTheStringTable) {
  const auto& n = zr::intl::names();
  EXPECT_EQ(std::u16string(n.monthKeywords[0]), u"APR");
  EXPECT_EQ(std::u16string(n.monthKeywords[10]), u"JUL");
  EXPECT_EQ(std::u16string(n.monthKeywords[23]), u"SEPTEMBER");
  EXPECT_EQ(std::u16string(n.shortMonths[0]), u"Jan");
  EXPECT_EQ(std::u16string(n.fullMonths[11]), u"December");
  EXPECT_EQ(std::u16string(n.shortDays[0]), u"Sun");
  EXPECT_EQ(std::u16string(n.fullDays[6]), u"Saturday");
}

class RealText : public IntlSettings {
 protected:
  void SetUp() override { loadSettings(nullptr, nullptr); }
};

TEST_F(RealText, ValidityOfLocaleNumbers) {
  for (const char16_t* good : {u"1,234.5e10", u"1e308", u"+.5", u" 12 ", u"-1", u"1.", u".5E-3", u",", u"1e-400",
                               u"12e+3  ", u"1,2,3"})
    EXPECT_EQ(shIsValidReal(good), 1) << std::u16string(good).size();
  for (const char16_t* bad : {u"1e", u"1e999", u"1e309", u"1e0001", u"", u"-", u"+e5", u".", u"1 2", u"1.2.3",
                              u"1e5.", u"x", u"1.5,0", u"--1"})
    EXPECT_EQ(shIsValidReal(bad), 0) << std::u16string(bad).size();
  EXPECT_EQ(shIsValidReal(nullptr), 0);
  EXPECT_EQ(shIsValidRealWeb(u"1.234,5", u',', u'.'), 1);
  EXPECT_EQ(shIsValidRealWeb(u"1,234.5", u',', u'.'), 0);
  EXPECT_EQ(shIsValidRealWeb(u"1 234,5", u',', u' '), 1);  // a blank thousands character is a digit
  EXPECT_EQ(shIsValidRealWeb(u"1 234,5", u',', u'.'), 0);
  zr::intl::KeyTable german;
  german.set(u"sDecimal", u",");
  german.set(u"sThousand", u".");
  loadSettings(&german, nullptr);
  EXPECT_EQ(shIsValidReal(u"1.234,5"), 1);
  EXPECT_EQ(shIsValidRealNoLocale(u"1,234.5"), 1);
  EXPECT_EQ(shIsValidRealNoLocale(u"1.234,5"), 0);
  EXPECT_EQ(settings().decimal, u',');
}

TEST_F(RealText, Normalisation) {
  char16_t out[32];
  shNormalizeRealWeb(out, u"1.234,5", u',', u'.');
  EXPECT_EQ(std::u16string(out), u"1234.5");
  shNormalizeRealbyLocaleWeb(out, u"1.234,5", u',', u'.');
  EXPECT_EQ(std::u16string(out), u"1234,5");
  shNormalizeReal(out, u"-1,234,567.25");
  EXPECT_EQ(std::u16string(out), u"-1234567.25");
  char16_t inPlace[] = u"9,999.5";
  shNormalizeRealbyLocale(inPlace, inPlace);
  EXPECT_EQ(std::u16string(inPlace), u"9999.5");
  shNormalizeReal(out, nullptr);
  EXPECT_EQ(out[0], 0);
  shNormalizeReal(nullptr, u"1");
}

TEST(CharDirection, RightToLeftAndNeutrals) {
  for (uint32_t c : {0x05D0u, 0x0627u, 0x0661u, 0x20u, 0x21u, 0x09u, 0x2029u, 0x10800u}) EXPECT_EQ(shIsCharRTL(c), 1) << c;
  for (uint32_t c : {0x41u, 0x31u, 0x4E00u, 0x0300u, 0x110000u}) EXPECT_EQ(shIsCharRTL(c), 0) << c;
  EXPECT_EQ(shIsCharHebrew(0x05D0), 1);
  EXPECT_EQ(shIsCharArabic(0x41), 0);
}

class UnitConvert : public RealText {};

std::u16string convert(const char16_t* text, int unit, int horizontal, int* result = nullptr) {
  char16_t out[16];
  int r = shZRUnitConvert(text, out, 16, unit, horizontal, nullptr);
  if (result) *result = r;
  return r == ZR_UNIT_FAILED ? u"<failed>" : std::u16string(out);
}

TEST_F(UnitConvert, ToLayoutUnits) {
  int r = 0;
  EXPECT_EQ(convert(u"1", ZR_UNIT_INCHES, 1, &r), u"439");
  EXPECT_EQ(r, ZR_UNIT_LAYOUT);
  EXPECT_EQ(convert(u"1", ZR_UNIT_INCHES, 0), u"384");
  EXPECT_EQ(convert(u" 2.54 ", ZR_UNIT_CENTIMETRES, 1), u"439");
  // Pixels round towards plus: a negative length comes out a little shorter.
  EXPECT_EQ(convert(u"-1", ZR_UNIT_INCHES, 1), u"-434");
  EXPECT_EQ(convert(u"0", ZR_UNIT_INCHES, 1), u"0");
  EXPECT_EQ(convert(u"0.0004", ZR_UNIT_INCHES, 1), u"0");
  // Thousandths: the fourth fraction digit alone rounds up. 0.0055 reads as
  // 6, (6 * 96 + 499) / 1000 = 1 pixel, (768 + 96) / 192 = 4; 0.00549 as 5,
  // no pixel.
  EXPECT_EQ(convert(u"0.0055", ZR_UNIT_INCHES, 0), u"4");
  EXPECT_EQ(convert(u"0.00549", ZR_UNIT_INCHES, 0), u"0");
  EXPECT_EQ(convert(u"1234567890123456789012345678901", ZR_UNIT_INCHES, 1), u"0");
  zr::intl::setScreenDpi(120);
  EXPECT_EQ(convert(u"1", ZR_UNIT_INCHES, 1), u"439");
  EXPECT_EQ(convert(u"1", ZR_UNIT_INCHES, 0), u"384");
}

TEST_F(UnitConvert, FromLayoutUnitsInTheUsersMeasure) {
  int r = 0;
  EXPECT_EQ(convert(u"439", ZR_UNIT_LAYOUT, 1, &r), u"1.000");
  EXPECT_EQ(r, ZR_UNIT_INCHES);
  EXPECT_EQ(convert(u"384", ZR_UNIT_LAYOUT, 0), u"1.000");
  EXPECT_EQ(convert(u"5", ZR_UNIT_LAYOUT, 0), u"0.010");
  EXPECT_EQ(convert(u"0", ZR_UNIT_LAYOUT, 0), u"0.000");
  zr::intl::KeyTable metric;
  metric.set(u"iMeasure", u"0");
  metric.set(u"sDecimal", u",");
  loadSettings(&metric, nullptr);
  EXPECT_EQ(convert(u"439", ZR_UNIT_LAYOUT, 1, &r), u"2,540");
  EXPECT_EQ(r, ZR_UNIT_CENTIMETRES);
  EXPECT_EQ(convert(u"2,54", ZR_UNIT_CENTIMETRES, 1), u"439");
}

TEST_F(UnitConvert, Failures) {
  char16_t out[8];
  EXPECT_EQ(shZRUnitConvert(nullptr, out, 8, 1, 1, nullptr), ZR_UNIT_FAILED);
  EXPECT_EQ(shZRUnitConvert(u"1", nullptr, 8, 1, 1, nullptr), ZR_UNIT_FAILED);
  EXPECT_EQ(shZRUnitConvert(u"1", out, 4, 1, 1, nullptr), ZR_UNIT_FAILED);
  EXPECT_EQ(shZRUnitConvert(u"1", out, 8, 2, 1, nullptr), ZR_UNIT_FAILED);
  EXPECT_EQ(shZRUnitConvert(u"-2000000000", out, 5, 1, 1, nullptr), ZR_UNIT_FAILED);
}

}  // namespace
