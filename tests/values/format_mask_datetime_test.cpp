// Date-time and string mask compilers, and the culture text reader.
#include "tests/values/format_mask_test_util.h"

namespace zr::testing {
namespace {

class DateTimeMask : public DefaultSettings {};

Units web(const char16_t* mask, const char16_t* culture, int* error = nullptr) {
  return compiled([culture](uint16_t* b, const char16_t* m, int c) { return shformatCmplDateTimeMaskWeb(b, m, c, culture); },
                  mask, error);
}

TEST_F(DateTimeMask, MinutesOrMonthsByContext) {
  EXPECT_EQ(dateTime(u"mm:ss"), (Units{29, 16, u':', 18, 28, 0}));
  EXPECT_EQ(dateTime(u"m:ss"), (Units{29, 15, u':', 18, 28, 0}));
  EXPECT_EQ(dateTime(u"mm/dd"), (Units{29, 2, u'/', 6, 28, 0}));
  EXPECT_EQ(dateTime(u"hh:mm"), (Units{29, 12, u':', 16, 28, 0}));
  EXPECT_EQ(dateTime(u"hh:mm mm"), (Units{29, 12, u':', 16, u' ', 2, 28, 0}));
  EXPECT_EQ(dateTime(u"mmm d, yyyy"), (Units{29, 3, u' ', 5, u',', u' ', 10, 28, 0}));
  EXPECT_EQ(dateTime(u"dddd, MMMM dd yy"), (Units{29, 8, u',', u' ', 4, u' ', 6, u' ', 9, 28, 0}));
}

TEST_F(DateTimeMask, TwelveHourClockAndFractions) {
  EXPECT_EQ(dateTime(u"h:mm am/pm"), (Units{29, 13, u':', 16, u' ', 20, 28, 0}));
  EXPECT_EQ(dateTime(u"hh:mm AM/PM"), (Units{29, 14, u':', 16, u' ', 19, 28, 0}));
  EXPECT_EQ(dateTime(u"A/P h;a/p hh"), (Units{29, 21, u' ', 13, 28, 30, 22, u' ', 14, 28, 0}));
  EXPECT_EQ(dateTime(u"ss.ffffff"), (Units{29, 18, u'.', 26, 6, 28, 0}));
  EXPECT_EQ(dateTime(u"s.f"), (Units{29, 17, u'.', 26, 1, 28, 0}));
}

TEST_F(DateTimeMask, LiteralsColoursAndKeywords) {
  EXPECT_EQ(dateTime(u"\"at\" 'o''c'\\h"), (Units{29, u'a', u't', u' ', u'o', u'\'', u'c', u'h', 28, 0}));
  EXPECT_EQ(dateTime(u"[red]hh"), (Units{29, 23, u'2', u'5', u'5', 24, 12, 28, 0}));
  EXPECT_EQ(dateTime(u"[12]d"), (Units{29, 23, u'1', u'2', 24, 5, 28, 0}));
  EXPECT_EQ(dateTime(u"[purple]"), (Units{29, 0xFFFF, 28, 0}));
  EXPECT_EQ(dateTime(u"[Current]"), (Units{29, 25, 28, 0}));
  EXPECT_EQ(dateTime(u"d;dd;ddd"), (Units{29, 5, 28, 30, 6, 28, 31, 7, 28, 0}));
}

TEST_F(DateTimeMask, KeywordsExpandTheSettingsPictures) {
  EXPECT_EQ(dateTime(u"[SHORTDATE]"), (Units{29, 1, u'/', 5, u'/', 9, 28, 0}));
  EXPECT_EQ(dateTime(u"[general]"), dateTime(u"[shortdate]"));
  EXPECT_EQ(dateTime(u"[LONGDATE]"), (Units{29, 4, u' ', 5, u',', u' ', 10, 28, 0}));
  EXPECT_EQ(dateTime(u"[TIME]"), (Units{29, 12, u':', 16, u':', 18, 28, 0}));
  EXPECT_EQ(dateTime(u"[shortdate] h AM/PM"), (Units{29, 1, u'/', 5, u'/', 9, u' ', 13, u' ', 19, 28, 0}));
}

TEST_F(DateTimeMask, CultureTextReplacesThePictures) {
  EXPECT_EQ(web(u"[shortdate] [time]", u"sShortDate=dd.mm.yyyy\tsTime=."),
            (Units{29, 6, u'.', 2, u'.', 10, u' ', 12, u'.', 16, u'.', 18, 28, 0}));
  EXPECT_EQ(web(u"[shortdate]", u"sShortDate=m'd'yy\tsDate='"), (Units{29, 1, u'\'', 5, u'\'', 9, 28, 0}));
  EXPECT_EQ(web(u"[time]", u"sTime='"), (Units{29, 12, u'\'', 16, u'\'', 18, 28, 0}));
  EXPECT_EQ(web(u"[longdate]", u"sShortDate=yyyy"), (Units{29, 4, u' ', 5, u',', u' ', 10, 28, 0}));
  int error = -1;
  web(u"[shortdate]", u"sShortDate=yyy", &error);
  EXPECT_EQ(error, 11);
  web(u"[shortdate]", u"sShortDate=[shortdate]", &error);
  EXPECT_EQ(error, 8);
}

TEST_F(DateTimeMask, ErrorsOfInvalidMasks) {
  struct Case {
    const char16_t* mask;
    int error;
  } cases[] = {
      {u"", 7},        {u"yyy", 11},    {u"y", 11},        {u"mmmmm", 9},    {u"hh:mmm", 14},  {u"ddddd", 10},
      {u"hhh", 12},    {u"sss", 13},    {u"fffffff", 16},  {u"h:mm Am/Pm", 15}, {u"a", 15},   {u"[12345", 7},
      {u"[12a]", 2},   {u"d;d;d;d", 3}, {u"'open", 7},     {u"\"open", 7},   {u"d\\", 7},
      {u"[abcdefghijklmnopqrstu]", 5},  {u"d\td", 4},
  };
  for (const Case& c : cases) {
    Units buf(64);
    EXPECT_EQ(shformatCmplDateTimeMask(buf.data(), c.mask, 64), c.error) << c.error;
  }
}

TEST_F(DateTimeMask, ExpansionsRespectTheCapacity) {
  int error = -1;
  compiled(shformatCmplDateTimeMask, u"[shortdate]", &error, 5);
  EXPECT_EQ(error, 1);
  compiled(shformatCmplDateTimeMask, u"[shortdate]", &error, 8);
  EXPECT_EQ(error, 0);
  // A picture that grows beyond its 99-unit buffer does not fit either.
  std::u16string colours;
  for (int i = 0; i < 11; ++i) colours += u"[white]";
  web(u"[longdate]", (u"sLongDate=" + colours).c_str(), &error);
  EXPECT_EQ(error, 1);
}

TEST(StringMask, TokensSectionsAndErrors) {
  EXPECT_EQ(string(u"@@@-@@"), (Units{29, 1, 1, 1, u'-', 1, 1, 5, 0}));
  EXPECT_EQ(string(u""), (Units{5, 0}));
  EXPECT_EQ(string(u"[general]"), (Units{29, 2, 5, 0}));
  EXPECT_EQ(string(u"[blue]@;[12]\\@'@'"),
            (Units{29, 3, u'1', u'6', u'7', u'1', u'1', u'6', u'8', u'0', 4, 1, 5, 30, 3, u'1', u'2', 4, u'@', u'@', 5,
                   0}));
  for (auto [mask, error] : {std::pair{u"[purple]", 5}, {u"@;@;@;@", 3}, {u"[1x]", 2}, {u"'@", 7}, {u"@\\", 7},
                             {u"[gen", 7}, {u"@\x1f", 4}}) {
    Units buf(32);
    EXPECT_EQ(shformatCmplStringMask(buf.data(), mask, 32), error);
  }
  int error = -1;
  compiled(shformatCmplStringMask, u"@@", &error, 4);
  EXPECT_EQ(error, 1);
  compiled(shformatCmplStringMask, u"", &error, 0);
  EXPECT_EQ(error, 1);
}

TEST(CultureText, ValuesKeysAndEscapes) {
  char16_t buf[16];
  EXPECT_EQ(getCultureValueStr(nullptr, u"sDecimal", u"d", buf, 16), -2);
  EXPECT_EQ(std::u16string(buf), u"d");
  const char16_t* culture = u"sDecimal=,\tsThousand=.\txsCurrency=EUR\tsDate\tsTime=a!!b!tc\tsOdd=p!qr!!\tsNone=";
  EXPECT_EQ(getCultureValueStr(culture, u"sThousand", u"", buf, 16), 0);
  EXPECT_EQ(std::u16string(buf), u".");
  EXPECT_EQ(getCultureValueStr(culture, u"sCurrency", u"", buf, 16), 0);  // found inside "xsCurrency"
  EXPECT_EQ(std::u16string(buf), u"EUR");
  EXPECT_EQ(getCultureValueStr(culture, u"sDate", u"/", buf, 16), -2);
  EXPECT_EQ(std::u16string(buf), u"/");
  EXPECT_EQ(getCultureValueStr(culture, u"sLongDate", u"x", buf, 16), -1);
  EXPECT_EQ(getCultureValueStr(culture, u"sTime", u"", buf, 16), 0);
  EXPECT_EQ(std::u16string(buf), u"a!b\tc");
  EXPECT_EQ(getCultureValueStr(culture, u"sOdd", u"", buf, 16), 0);
  EXPECT_EQ(std::u16string(buf), u"p!qr!!");
  EXPECT_EQ(getCultureValueStr(culture, u"sNone", u"x", buf, 16), 0);
  EXPECT_EQ(std::u16string(buf), u"");
  EXPECT_EQ(getCultureValueStr(culture, u"sCurrency", u"$", buf, 3), -3);
  EXPECT_EQ(std::u16string(buf), u"$");

  int value = 0;
  EXPECT_EQ(getCultureValueInt(u"iDate=2\tiNeg= -12x\tiBad=x", u"iDate", 7, &value), 0);
  EXPECT_EQ(value, 2);
  EXPECT_EQ(getCultureValueInt(u"iDate=2\tiNeg= -12x\tiBad=x", u"iNeg", 7, &value), 0);
  EXPECT_EQ(value, -12);
  EXPECT_EQ(getCultureValueInt(u"iDate=2\tiNeg= -12x\tiBad=x", u"iBad", 7, &value), -2);
  EXPECT_EQ(value, 7);
  EXPECT_EQ(getCultureValueInt(u"iDate=2", u"iCurrency", 5, &value), -1);
  EXPECT_EQ(value, 5);
  EXPECT_EQ(getCultureValueInt(u"iDate=1234567890", u"iDate", 5, &value), -1);
}

}  // namespace
}  // namespace zr::testing
