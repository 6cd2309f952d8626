// Numeric mask compiler: token arrays of display formats, every error path,
// capacity limits, culture texts and comma positions.
#include <algorithm>

#include "tests/values/format_mask_test_util.h"
#include "platform/utf8.h"
#include "values/intl_source.h"

namespace zr::testing {
namespace {

class NumericMask : public DefaultSettings {};

TEST_F(NumericMask, PlainSectionsWithGroupsPointsAndLiterals) {
  EXPECT_EQ(numeric(u"#,##0.00;(#,##0.00)"),
            (Units{27, 17, 7, 5, 2, 4, 9, 7, 3, 1, 18, 28, 17, 7, u'(', 5, 2, 4, 9, 7, 3, 1, u')', 18, 0}));
  EXPECT_EQ(numeric(u"0"), (Units{27, 17, 2, 6, 2, 1, 18, 0}));
  EXPECT_EQ(numeric(u"$#,##0"), (Units{27, 17, 5, u'$', 5, 2, 4, 18, 0}));
  EXPECT_EQ(numeric(u"0;-0"), (Units{27, 17, 2, 6, 2, 1, 18, 28, 17, 2, u'-', 6, 2, 1, 18, 0}));
  EXPECT_EQ(numeric(u"\\#0 'units'"),
            (Units{27, 17, 2, u'#', 6, 2, 1, u' ', u'u', u'n', u'i', u't', u's', 18, 0}));
}

TEST_F(NumericMask, PercentExponentColourAndKeywords) {
  EXPECT_EQ(numeric(u"0%"), (Units{27, 15, 2, 6, 2, 1, u'%', 18, 0}));
  EXPECT_EQ(numeric(u"0.00E+00"), (Units{27, 16, 6, 20, 2, 1, 9, 21, 3, 1, u'E', 2, 22, 3, 1, 18, 0}));
  EXPECT_EQ(numeric(u"#,##0e-0"), (Units{27, 16, 6, 19, 2, 4, u'e', 3, 22, 2, 1, 18, 0}));
  EXPECT_EQ(numeric(u"[RED]0"), (Units{27, 17, 2, 10, u'2', u'5', u'5', 11, 6, 2, 1, 18, 0}));
  EXPECT_EQ(numeric(u"[blue]0;[255]0"),
            (Units{27, 17, 2, 10, u'1', u'6', u'7', u'1', u'1', u'6', u'8', u'0', 11, 6, 2, 1, 18,
                   28, 17, 2, 10, u'2', u'5', u'5', 11, 6, 2, 1, 18, 0}));
  EXPECT_EQ(numeric(u"[General]"), (Units{27, 17, 1, 13, 18, 0}));
  EXPECT_EQ(numeric(u"[english]0"), (Units{27, 17, 2, 12, 6, 2, 1, 18, 0}));
}

TEST_F(NumericMask, TemplatesFromThePreScanOrASecondIntegerGroup) {
  Units ssn{27, 14, 10};
  for (int run : {3, 2, 4}) {
    for (int i = 0; i < run; ++i) ssn.insert(ssn.end(), {23, 2, 1});
    ssn.push_back(u'-');
  }
  ssn.back() = 18;
  ssn.push_back(0);
  EXPECT_EQ(numeric(u"###-##-####"), ssn);
  EXPECT_EQ(numeric(u"### ###"), (Units{27, 14, 7, 23, 1, 4, u' ', 23, 2, 1, 23, 2, 1, 23, 2, 1, 18, 0}));
  EXPECT_EQ(numeric(u"1.2.3"), (Units{27, 14, 1, u'1', 9, u'2', 9, u'3', 18, 0}));
  EXPECT_EQ(numeric(u"0;(0);zero"),
            (Units{27, 17, 2, 6, 2, 1, 18, 28, 17, 2, u'(', 6, 2, 1, u')', 18, 29, 14, 1, u'z', u'e', u'r', u'o', 18,
                   0}));
  // In a template a comma is the thousands character of the culture.
  Units units(64);
  ASSERT_EQ(shformatCmplNumericMaskWeb(units.data(), u"0,0-", 64, u"sThousand=."), 0);
  EXPECT_EQ(Units(units.begin(), units.begin() + 13), (Units{27, 14, 3, 23, 2, 1, u'.', 23, 2, 1, u'-', 18, 0}));
}

TEST_F(NumericMask, StrayCharactersFollowTheCountry) {
  EXPECT_EQ(numeric(u",#0"), (Units{27, 14, 3, u',', 23, 2, 1, 23, 2, 1, 18, 0}));
  zr::intl::KeyTable elsewhere;
  elsewhere.set(u"iCountry", u"44");
  zr::intl::loadSettings(&elsewhere, nullptr);
  EXPECT_EQ(numeric(u",#0"), (Units{27, 17, 3, u',', 6, 2, 2, 18, 0}));
}

TEST_F(NumericMask, CurrencyKeywordExpandsByPositionAndNegativeForm) {
  EXPECT_EQ(numeric(u"[currency]"), (Units{27, 17, 7, u'$', 5, 2, 4, 9, 7, 3, 1, 18, 28, 17, 7, u'(', u'$', 5, 2,
                                           4, 9, 7, 3, 1, u')', 18, 0}));
  EXPECT_EQ(numeric(u"[Currency];x"), (Units{27, 17, 7, u'$', 5, 2, 4, 9, 7, 3, 1, 18, 28, 14, 1, u'x', 18, 0}));
  EXPECT_EQ(numeric(u"0;[CURRENCY]"),
            (Units{27, 17, 2, 6, 2, 1, 18, 28, 17, 7, u'(', u'$', 5, 2, 4, 9, 7, 3, 1, u')', 18, 0}));
  Units units(128);
  ASSERT_EQ(shformatCmplNumericMaskWeb(units.data(), u"[currency]", 128,
                                       u"sCurrency=EUR\tiCurrency=3\tiCurrDigits=0\tiNegCurr=8"),
            0);
  EXPECT_EQ(Units(units.begin(), units.begin() + 23),
            (Units{27, 17, 5, 5, 2, 4, u' ', u'E', u'U', u'R', 18, 28, 17, 5, u'-', 5, 2, 4, u' ', u'E', u'U', u'R',
                   18}));
  EXPECT_EQ(units[23], 0);
  // A culture's symbol is a literal wherever it stands in the mask.
  ASSERT_EQ(shformatCmplNumericMaskWeb(units.data(), u"0 kr", 128, u"sCurrency=kr"), 0);
  EXPECT_EQ(Units(units.begin(), units.begin() + 9), (Units{27, 17, 2, 6, 2, 1, u' ', u'k', u'r'}));
}

TEST_F(NumericMask, AccountingFormatWithFourSections) {
  int error = -1;
  Units u = numeric(u"_($* #,##0.00_);_($* (#,##0.00);_($* \"-\"??_);_(@_)", &error);
  EXPECT_EQ(error, 0);
  ASSERT_FALSE(u.empty());
  EXPECT_EQ(u[1], 14);  // "_" and "*" make every section a template
  EXPECT_EQ(std::count(u.begin(), u.end(), uint16_t(18)), 4);
  EXPECT_EQ(numeric(u"0;0;0;0;0").size(), 5u * 7 + 1);
}

TEST_F(NumericMask, ErrorsOfInvalidMasks) {
  struct Case {
    const char16_t* mask;
    int error;
  } cases[] = {
      {u"", 7},           {u"#.#.#", 6},       {u"[purple]0", 5},      {u"[12345", 7},
      {u"[12a]0", 2},     {u"[red", 7},        {u"[]", 5},             {u"0;0;0;0;0;0", 3},
      {u"0%%", 4},        {u"0.0E+0%", 4},     {u"'open", 7},          {u"0\\", 7},
      {u"[abcdefghijklmnopqrstu]", 5},         {u"0;0;0;[currency]", 5}, {u"0\x01", 4},
  };
  for (const Case& c : cases) {
    Units buf(64);
    EXPECT_EQ(shformatCmplNumericMask(buf.data(), c.mask, 64), c.error) << zr::platform::toUtf8(c.mask);
  }
}

TEST_F(NumericMask, CapacityIsNeverExceeded) {
  const Units full = numeric(u"#,##0.00;(#,##0.00)");
  for (int cap = 0; cap <= int(full.size()); ++cap) {
    int error = -1;
    Units got = compiled(shformatCmplNumericMask, u"#,##0.00;(#,##0.00)", &error, cap);
    EXPECT_EQ(error, cap == int(full.size()) ? 0 : 1) << cap;
  }
  EXPECT_EQ(shformatCmplNumericMask(nullptr, u"0", 10), 1);
  // Expansions that outgrow the work area are too large, however they grow.
  Units units(64);
  EXPECT_EQ(shformatCmplNumericMaskWeb(units.data(), u"[currency]", 64, u"iCurrDigits=999999999"), 1);
  EXPECT_EQ(shformatCmplNumericMaskWeb(units.data(), u"[currency]", 64, u"iCurrDigits=4000"), 1);
}

TEST_F(NumericMask, CommaPositionsOnlyForIrregularGroups) {
  Units units(64);
  ASSERT_EQ(shformatCmplNumericMaskWebCommasPos(units.data(), u"#,##,##0", 64, nullptr), 0);
  EXPECT_EQ(Units(units.begin(), units.begin() + 12), (Units{27, 17, 7, 5, 3, 2, 4, 3, 2, 6, 18, 0}));
  ASSERT_EQ(shformatCmplNumericMaskWebCommasPos(units.data(), u"#,###,##0.0E+0", 64, nullptr), 0);
  EXPECT_EQ(Units(units.begin(), units.begin() + 19),
            (Units{27, 16, 10, 19, 1, 4, 2, 7, 9, 21, 2, 1, u'E', 2, 22, 2, 1, 18, 0}));
  // One comma: no list, and the group size is its distance to the end.
  ASSERT_EQ(shformatCmplNumericMaskWebCommasPos(units.data(), u"#,#0", 64, nullptr), 0);
  EXPECT_EQ(Units(units.begin(), units.begin() + 9), (Units{27, 17, 4, 5, 1, 3, 2, 3, 18}));
}

TEST(MaskErrorText, NumbersMapToMessages) {
  char16_t text[255];
  EXPECT_EQ(std::u16string(shformatErrorString(text, 0)), u"Format is valid.");
  EXPECT_EQ(std::u16string(shformatErrorString(text, 9)), u"Month should be specified using m, mm, mmm or mmmm.");
  EXPECT_EQ(std::u16string(shformatErrorString(text, 15)),
            u"Time should be specified using AM/PM, am/pm, a/p or A/P.");
  EXPECT_EQ(std::u16string(shformatErrorString(text, 16)), std::u16string(shformatErrorString(text, 13)));
  EXPECT_EQ(std::u16string(shformatErrorString(text, 8)), u"Invalid format.");
  EXPECT_EQ(std::u16string(shformatErrorString(text, -3)), u"Invalid format.");
  EXPECT_EQ(std::u16string(shformatErrorString(text, 77)), u"Invalid format.");
  EXPECT_EQ(shformatErrorString(nullptr, 1), nullptr);
}

}  // namespace
}  // namespace zr::testing
