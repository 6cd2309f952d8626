// Text, packed BCD and old-layout forms of decimals, and their round trips.
#include <gtest/gtest.h>

#include <cstring>
#include <random>

#include "tests/values/dec_test_util.h"

namespace zr::dec::test {
namespace {

bool parses(const std::string& text) {
  SH_DEC d;
  std::u16string w = widen(text);
  return shAsciiToDec(&d, w.c_str()) != nullptr;
}

TEST(DecText, Printing) {
  EXPECT_EQ(str(dec("0.00")), "0.00");
  EXPECT_EQ(str(dec("-0.5")), "-0.5");
  EXPECT_EQ(str(dec("-123.456")), "-123.456");
  EXPECT_EQ(str(dec("0.000000000000000000000000000001")), "0.000000000000000000000000000001");
  SH_DEC negZero = dec("0.0");
  negZero.flags = SH_DEC_NEGATIVE;
  EXPECT_EQ(str(negZero), "0.0");
  char16_t buffer[40];
  EXPECT_EQ(shDecToAscii(buffer, nullptr), nullptr);
  SH_DEC longest = dec("-0.123456789012345678901234567890");
  EXPECT_EQ(std::u16string(shDecToAscii(buffer, &longest)).size(), 33u);
}

TEST(DecText, AcceptedSyntax) {
  EXPECT_EQ(str(dec("1,2,3.4")), "123.4");
  EXPECT_EQ(str(dec("1e3")), "1000");
  EXPECT_EQ(str(dec("1.5E-2")), "0.015");
  EXPECT_EQ(str(dec(".5")), "0.5");
  EXPECT_EQ(str(dec("5.")), "5");
  EXPECT_EQ(str(dec(" \t- 12 ")), "-12");
  EXPECT_EQ(str(dec("+007.50")), "7.50");
  EXPECT_EQ(flagWord(dec("0.00")), 0x0200);
  EXPECT_EQ(flagWord(dec("-0")), 0);
  EXPECT_EQ(flagWord(dec("000")), 0);
}

TEST(DecText, RejectedSyntaxLeavesZero) {
  for (const char* bad : {"", "   ", "-", "1e", "e5", ".", "1.2.3", "1 2", "12a", "1e+", "1e5x", "--1", "0x10"}) {
    EXPECT_FALSE(parses(bad)) << bad;
  }
  SH_DEC d = dec("5");
  EXPECT_EQ(shAsciiToDec(&d, u"abc"), nullptr);
  EXPECT_EQ(str(d), "0");
  EXPECT_EQ(flagWord(d), 0);
  EXPECT_EQ(shAsciiToDec(nullptr, u"1"), nullptr);
}

TEST(DecText, RangeAndRoundingOfLongDigitStrings) {
  EXPECT_EQ(flagWord(dec("1e30")), SH_DEC_OVERFLOW);
  EXPECT_EQ(flagWord(dec("1e-32")), SH_DEC_UNDERFLOW);
  // Within range by its digit count, but all its digits round away.
  EXPECT_EQ(flagWord(dec("1e-31")), 0x1E00);
  EXPECT_EQ(str(dec("1e-30")), "0.000000000000000000000000000001");
  // 31 digits round at the 31st, half up.
  EXPECT_EQ(str(dec("123456789012345678901234567890.4")), "123456789012345678901234567890");
  EXPECT_EQ(str(dec("123456789012345678901234567890.5")), "123456789012345678901234567891");
  EXPECT_EQ(flagWord(dec("1234567890123456789012345678904")), SH_DEC_OVERFLOW);
  EXPECT_EQ(str(dec("1.234567890123456789012345678905")), "1.23456789012345678901234567891");
  EXPECT_EQ(str(dec("0.1234567890123456789012345678905")), "0.123456789012345678901234567891");
  // The range test comes before rounding: thirty-one nines with one
  // fraction digit become 10^30, unflagged.
  SH_DEC big = dec("999999999999999999999999999999.9");
  EXPECT_EQ(str(big), "1000000000000000000000000000000");
  EXPECT_EQ(big.flags, 0);
  EXPECT_EQ(str(dec("0.9999999999999999999999999999999")), "1.00000000000000000000000000000");
  // Trailing fraction zeros past 30 digits are dropped without rounding.
  EXPECT_EQ(str(dec("1.000000000000000000000000000000000")), "1.00000000000000000000000000000");
  EXPECT_EQ(str(dec("25e-31")), "0.000000000000000000000000000003");
}

TEST(DecText, ParseAndRound) {
  SH_DEC d;
  EXPECT_EQ(str(*shAsciiToDecRnd(&d, u"2.345", 2)), "2.35");
  EXPECT_EQ(shAsciiToDecRnd(&d, u"x", 2), nullptr);
}

TEST(DecText, RoundTripThroughText) {
  std::mt19937 rng(11);
  for (int i = 0; i < 2000; ++i) {
    SH_DEC d{};
    int digits = int(rng() % 30) + 1;
    std::string s;
    for (int k = 0; k < digits; ++k) s += char('0' + rng() % 10);
    int scale = int(rng() % 31);
    if (scale >= digits) s.insert(0, size_t(scale - digits + 1), '0');
    if (scale) s.insert(s.size() - size_t(scale), ".");
    if (rng() % 2) s.insert(0, "-");
    d = dec(s);
    SH_DEC back = dec(str(d));
    EXPECT_EQ(std::memcmp(&d, &back, sizeof d), 0) << s;
  }
}

TEST(DecBcd, PackingAndBack) {
  uint8_t bcd[40];
  uint32_t length = 0;
  SH_DEC d = dec("-12.5");
  shDecToBCD(bcd, &length, &d);
  ASSERT_EQ(length, 3u);
  EXPECT_EQ(bcd[0], 0xCD);
  EXPECT_EQ(bcd[1], 0x12);
  EXPECT_EQ(bcd[2], 0xA5);
  SH_DEC back;
  ASSERT_NE(shBCDToDec(bcd, length, &back), nullptr);
  EXPECT_EQ(std::memcmp(&d, &back, sizeof d), 0);

  for (const char* text : {"0", "0.00", "999999999999999999999999999999", "-0.000000000000000000000000000001"}) {
    d = dec(text);
    shDecToBCD(bcd, &length, &d);
    EXPECT_EQ(length, (str(d).size() + 1) / 2);
    ASSERT_NE(shBCDToDec(bcd, length, &back), nullptr) << text;
    EXPECT_EQ(str(back), text);
  }
}

TEST(DecBcd, BadNibbles) {
  SH_DEC d = dec("3");
  const uint8_t badLow[] = {0x12, 0x3B};
  EXPECT_EQ(shBCDToDec(badLow, 2, &d), nullptr);
  EXPECT_EQ(flagWord(d), 0);
  const uint8_t badHigh[] = {0xB1};
  EXPECT_EQ(shBCDToDec(badHigh, 1, &d), nullptr);
  const uint8_t padded[] = {0xC1, 0xC2};
  EXPECT_EQ(str(*shBCDToDec(padded, 2, &d)), "12");
  uint8_t tooLong[37] = {};
  EXPECT_EQ(shBCDToDec(tooLong, 37, &d), nullptr);
}

TEST(DecOldLayout, Text) {
  char16_t buffer[48];
  SH_OLDDEC old{};
  old.flags = 1;
  old.scale = 3;
  old.digits[0] = 12345 % 65536;
  EXPECT_EQ(std::u16string(ConvertOldDecToString(buffer, &old)), u"-12.345");
  old.digits[0] = 5;
  EXPECT_EQ(std::u16string(ConvertOldDecToString(buffer, &old)), u"-0.005");
  old.digits[0] = 0;
  EXPECT_EQ(std::u16string(ConvertOldDecToString(buffer, &old)), u"0.000");
  // 2^80 - 1 with 28 places.
  for (uint16_t& w : old.digits) w = 0xFFFF;
  old.flags = 0;
  old.scale = 28;
  EXPECT_EQ(std::u16string(ConvertOldDecToString(buffer, &old)), u"0.0001208925819614629174706175");
  old.scale = 29;
  EXPECT_EQ(ConvertOldDecToString(buffer, &old), nullptr);
}

}  // namespace
}  // namespace zr::dec::test
