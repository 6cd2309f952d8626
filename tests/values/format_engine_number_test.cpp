// Numbers through compiled masks: (mask, value, expected text, colour)
// tables grouped by feature. Expected texts are worked out from the rules.
#include <string>
#include <variant>

#include "tests/values/format_mask_test_util.h"

namespace zr::testing {
namespace {

class FormatNumber : public DefaultSettings {};

struct Dec {
  const char16_t* text;
};
using Number = std::variant<double, float, int64_t, Dec>;

struct Row {
  const char16_t* mask;
  Number value;
  const char16_t* expected;
  uint32_t color = 0;
  int flag = 0;
};

std::u16string format(const Row& r, uint32_t* color, const char16_t* culture = nullptr, int capacity = 63) {
  Units mask = (r.flag & SHFORMAT_COMMAS_POS)
                   ? compiled([](uint16_t* b, const char16_t* m, int c) {
                       return shformatCmplNumericMaskWebCommasPos(b, m, c, nullptr);
                     }, r.mask)
                   : numeric(r.mask);
  EXPECT_FALSE(mask.empty()) << shown(r.mask);
  char16_t text[128];
  std::fill(std::begin(text), std::end(text), u'#');
  if (const double* d = std::get_if<double>(&r.value))
    *color = shformatDoubleWeb(text, capacity, mask.data(), *d, r.flag, culture);
  else if (const float* f = std::get_if<float>(&r.value))
    *color = shformatRealWeb(text, capacity, mask.data(), f, r.flag, culture);
  else if (const int64_t* n = std::get_if<int64_t>(&r.value))
    *color = shformatLonglongWeb(text, capacity, mask.data(), *n, r.flag, culture);
  else {
    SH_DEC dec;
    shAsciiToDec(&dec, std::get<Dec>(r.value).text);
    *color = shformatDecimalWeb(text, capacity, mask.data(), &dec, r.flag, culture);
  }
  EXPECT_EQ(text[capacity + 1], u'#') << "write past the capacity";
  return text;
}

void check(std::initializer_list<Row> rows, const char16_t* culture = nullptr) {
  for (const Row& r : rows) {
    uint32_t color = 99;
    EXPECT_EQ(format(r, &color, culture), r.expected) << "mask " << shown(r.mask);
    EXPECT_EQ(color, r.color) << "mask " << shown(r.mask);
  }
}

TEST_F(FormatNumber, SectionsAndFlags) {
  check({
      {u"#,##0.00;(#,##0.00)", -1234.5, u"(1,234.50)"},
      {u"#,##0.00", -1234.5, u"-1,234.50"},
      {u"#,##0.00", 1234567.891, u"1,234,567.89"},
      {u"#,##0.00", 0.0, u"0.00"},
      {u"0;(0);zero", 0.0, u"zero"},
      {u"0;(0);zero", -3.0, u"(3)"},
      {u"0;(0);zero", int64_t{0}, u"zero"},
      {u"0;(0);zero", Dec{u"-0.00"}, u"zero"},
      {u"[RED]0;[BLUE](0)", -5.0, u"(5)", 16711680},
      {u"[RED]0", 5.0, u"5", 255},
      {u"[12345]0", 5.0, u"5", 12345},
      {u"0;0;0;'flagged';'null'", 7.0, u"flagged", 0, 1},
      {u"0;0;0;'flagged';'null'", 7.0, u"null", 0, 2},
      {u"0.00", 7.0, u"", 0, 2},
      {u"#", 0.0, u""},
      {u"#", int64_t{0}, u""},
      {u"0", 0.0, u"0"},
      {u"0.###", 1.5, u"1.5"},
      {u"0.000", 1.5, u"1.500"},
      {u"#.##", 0.05, u".05"},
      {u"0.0##", 0.0001, u"0.0"},
  });
}

// Half up, away from zero, in both signs and every type.
TEST_F(FormatNumber, RoundingAtHalf) {
  check({
      {u"0", 0.5, u"1"},
      {u"0", -0.5, u"-1"},
      {u"0", 2.5, u"3"},
      {u"0", -2.5, u"-3"},
      {u"0.00", 1.005, u"1.01"},
      {u"0.00", -1.005, u"-1.01"},
      {u"0.00", 2.675, u"2.68"},
      {u"0.0", 0.25f, u"0.3"},
      {u"0.0", -0.25f, u"-0.3"},
      {u"0.0", Dec{u"0.25"}, u"0.3"},
      {u"0.0", Dec{u"-0.25"}, u"-0.3"},
      {u"0.0", Dec{u"-0.24"}, u"-0.2"},
      {u"#,##0", 999.5, u"1,000"},
      {u"0", int64_t{-7}, u"-7"},
  });
}

TEST_F(FormatNumber, PercentAndScientific) {
  check({
      {u"0%", 0.125, u"13%"},
      {u"0.0%", -0.0125, u"-1.3%"},
      {u"%0", 0.5, u"%50"},
      {u"0%", Dec{u"0.125"}, u"13%"},
      {u"0%", int64_t{3}, u"300%"},
      {u"0.00E+00", 1234.0, u"1.23E+03"},
      {u"0.00E-00", 1234.0, u"1.23E03"},
      {u"0.00E+00", 0.001234, u"1.23E-03"},
      {u"0.00E-00", 0.001234, u"1.23E-03"},
      {u"0.00E+00", 0.0, u"0.00E+00"},
      {u"0.0E+00", 9.96, u"1.0E+01"},
      {u"##0.0E+0", 12345.0, u"123.5E+2"},
      {u"0.00E+00", Dec{u"-1234"}, u"-1.23E+03"},
  });
}

// The widest values each type holds keep every digit.
TEST_F(FormatNumber, ThirtyDigitDecimalsAndInt64Limits) {
  check({
      {u"#,##0.00", Dec{u"-123456789012345678901234567890"}, u"-123,456,789,012,345,678,901,234,567,890.00"},
      {u"0.000", Dec{u"0.123456789012345678901234567890"}, u"0.123"},
      {u"[General]", Dec{u"1.23456789012345678901234567891"}, u"1.23456789012345678901234567891"},
      {u"0.00%", Dec{u"9999999999999999999999999999.99"}, u"999999999999999999999999999999.00%"},
      {u"0", int64_t{INT64_MIN}, u"-9223372036854775808"},
      {u"[General]", int64_t{INT64_MIN}, u"-9223372036854775808"},
      {u"#,##0", int64_t{INT64_MAX}, u"9,223,372,036,854,775,807"},
      // Beyond 9.2e16 the percentage no longer fits 64 bits.
      {u"0%", int64_t{100000000000000000}, u"10000000000000000000%"},
      {u"#,##0%", int64_t{INT64_MIN}, u"-922,337,203,685,477,580,800%"},
      {u"[General]%", int64_t{-92233720368547759}, u"-9223372036854775900%"},
  });
}

TEST_F(FormatNumber, LiteralsTemplatesAndGeneral) {
  check({
      {u"'Total: '#,##0", 1234.0, u"Total: 1,234"},
      {u"$#,##0.00", 5.0, u"$5.00"},
      {u"#,##0 'kg'", 1500.0, u"1,500 kg"},
      {u"\\#0", 5.0, u"#5"},
      {u"###-##-####", 123456789.0, u"123-45-6789"},
      {u"###-##-####", int64_t{12345}, u"000-01-2345"},
      {u"(###) ###-####", 5551234567.0, u"(555) 123-4567"},
      {u"[General]", 1234.5, u"1234.5"},
      {u"[General]", 0.1 + 0.2, u"0.3"},
      {u"[General]", 1e20, u"1.0E+20"},
      {u"[General]", -0.00001234, u"-0.00001234"},
      {u"[General]", -0.000001234, u"-1.234E-6"},
      {u"[General]", 0.0, u"0"},
      {u"[General]", Dec{u"1.50"}, u"1.5"},
      {u"[General]", int64_t{1000}, u"1000"},
      {u"[General]", int64_t{-42}, u"-42"},
  });
}

TEST_F(FormatNumber, CultureCharactersAndGroups) {
  check({{u"#,##0.00", 1234567.891, u"1.234.567,89"}, {u"0.0", Dec{u"-2.25"}, u"-2,3"}},
        u"sThousand=.\tsDecimal=,");
  check({{u"#,##0", 1234567.0, u"1234567"}}, u"sGrouping=0");
  check({
      {u"#,##,##0", int64_t{123456789}, u"12,34,56,789", 0, SHFORMAT_COMMAS_POS},
      {u"#,##,##0", int64_t{1234}, u"1,234", 0, SHFORMAT_COMMAS_POS},
      {u"#,##0", 1234567.0, u"1,234,567", 0, SHFORMAT_COMMAS_POS},
  });
}

TEST_F(FormatNumber, NullValuesMasksAndCapacity) {
  Units mask = numeric(u"#,##0.00");
  char16_t text[16];
  EXPECT_EQ(shformatDecimal(text, 15, mask.data(), nullptr, 0), 0u);
  EXPECT_EQ(std::u16string(text), u"0.00");
  EXPECT_EQ(shformatReal(text, 15, mask.data(), nullptr, 0), 0u);
  EXPECT_EQ(std::u16string(text), u"0.00");
  text[0] = u'x';
  EXPECT_EQ(shformatDouble(text, 15, nullptr, 1.0, 0), 0u);
  EXPECT_EQ(std::u16string(text), u"");
  uint32_t color = 0;
  EXPECT_EQ((format({u"#,##0.00", 1234567.891, u""}, &color, nullptr, 5)), u"1,234");
  EXPECT_EQ((format({u"[RED]#,##0.00", 1234567.891, u""}, &color, nullptr, 0)), u"");
  EXPECT_EQ(color, 255u);
}

}  // namespace
}  // namespace zr::testing
