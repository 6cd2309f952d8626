// Pool duplication, the growing buffers, trimming, the printable form and
// the plain loops.
#include <gtest/gtest.h>
#include <unicode/uchar.h>

#include <cstring>
#include <string>

#include "text/bstr.h"
#include "text/wide_chars.h"
#include "zrstr.h"

namespace {

class Strings : public ::testing::Test {
 protected:
  void SetUp() override { h = zrstg_begin(0); }
  void TearDown() override { zrstg_end(h); }
  zrstg_handle* h = nullptr;
};

TEST_F(Strings, BuildGrowsByAQuarterOrAtLeast512) {
  char16_t* buf = nullptr;
  int32_t cap = 0, len = 0;
  zrstg_str_build(h, nullptr, &buf, &cap, &len, u"hello");
  EXPECT_EQ(cap, 5 + 512);
  EXPECT_EQ(len, 5);
  // Room is short when what is left equals the text's length.
  std::u16string fill(cap - len - 5, u'x');
  zrstg_str_build(h, nullptr, &buf, &cap, &len, fill.c_str());
  EXPECT_EQ(cap, 517);
  zrstg_str_build(h, nullptr, &buf, &cap, &len, u"12345");
  EXPECT_EQ(cap, 517 + 5 + 512);
  std::u16string big(4000, u'y');
  zrstg_str_build(h, nullptr, &buf, &cap, &len, big.c_str());
  EXPECT_EQ(cap, 1034 + 4000 + 512);
  // From here a quarter of the capacity is more than 512: 5546 + 1029 + 1386.
  zrstg_str_build(h, nullptr, &buf, &cap, &len, std::u16string(cap - len, u'z').c_str());
  EXPECT_EQ(cap, 7961);
  EXPECT_EQ(std::char_traits<char16_t>::length(buf), static_cast<size_t>(len));
  EXPECT_EQ(buf[0], u'h');
  EXPECT_EQ(buf[len - 1], u'z');
}

TEST_F(Strings, BuildCharAddsFiveHundredOne) {
  char16_t* buf = nullptr;
  int32_t cap = 0, len = 0;
  zrstg_str_build_char(h, nullptr, &buf, &cap, &len, u'a');
  EXPECT_EQ(cap, 501);
  for (int i = 0; i < 498; ++i) zrstg_str_build_char(h, nullptr, &buf, &cap, &len, u'b');
  EXPECT_EQ(cap, 501);
  zrstg_str_build_char(h, nullptr, &buf, &cap, &len, u'c');
  EXPECT_EQ(cap, 501);
  EXPECT_EQ(len, 500);
  EXPECT_EQ(buf[499], u'c');
  EXPECT_EQ(buf[500], 0);
  zrstg_str_build_char(h, nullptr, &buf, &cap, &len, u'd');
  EXPECT_EQ(cap, 1002);
}

TEST_F(Strings, TrimFlagDecidesWhatIsBlank) {
  char16_t a[] = u" \tx\t \x3000\xFEFF";
  EXPECT_EQ(std::u16string(zrstg_str_trim_right(a, 0)), u" \tx\t \x3000\xFEFF");
  EXPECT_EQ(std::u16string(zrstg_str_trim_right(a, 1)), u" \tx");
  EXPECT_EQ(std::u16string(zrstg_str_trim_left(a, 0)), u"\tx");
  char16_t b[] = u"\x00A0\x2003\x200B y \x2000";
  EXPECT_EQ(std::u16string(zrstg_str_trim(b, 1)), u"y");
  char16_t empty[] = u"   ";
  EXPECT_EQ(std::u16string(zrstg_str_trim(empty, 0)), u"");
}

TEST_F(Strings, WordCapAndRemoveChar) {
  char16_t t[] = u"hello-big_WORLD\tnew\nline";
  EXPECT_EQ(std::u16string(zrstg_str_wordcap(t)), u"Hello Big World\tNew\nLine");
  char16_t u[] = u"\x0444\x0418x";
  EXPECT_EQ(std::u16string(zrstg_str_wordcap(u)), u"\x0424\x0438x");
  char16_t r[] = u"a,b,,c,";
  EXPECT_EQ(std::u16string(zrstg_str_remove_char(r, u',')), u"abc");
}

TEST_F(Strings, CaseAndCollation) {
  EXPECT_EQ(zrstg_ansitoupper(u'\x00E4'), u'\x00C4');
  EXPECT_EQ(zrstg_ansitolower(u'Z'), u'z');
  EXPECT_EQ(zrstg_ansitoupper(u'\xD800'), u'\xD800');
  // Collation order puts "a" before "B", unlike code order.
  EXPECT_LT(zrstg_lchrcmp(u'a', u'B'), 0);
  EXPECT_NE(zrstg_lchrcmp(u'a', u'A'), 0);
  EXPECT_EQ(zrstg_lchrcmpi(u'a', u'A'), 0);
}

TEST_F(Strings, DuplicatesLiveInTheirPool) {
  zrstg_subpool* sp = zrstg_new_pool(h);
  char16_t* d = zrstg_strdup(h, u"pooled", sp);
  EXPECT_EQ(std::u16string(d), u"pooled");
  EXPECT_EQ(std::u16string(zrstg_unicodetostrdup(h, u"x", nullptr)), u"x");
  char16_t* m = zrstg_strdup_malloc(u"heap");
  EXPECT_EQ(std::u16string(m), u"heap");
  ZrHeap_free(m);
  EXPECT_EQ(zrstg_strdup_malloc(nullptr), nullptr);
  EXPECT_STREQ(zrstg_strtoansidup(h, u"caf\x00E9", sp), "caf\xE9");
  EXPECT_EQ(std::u16string(zrstg_ansitostrdup(h, "\x80uro", sp)), u"\x20ACuro");
}

TEST_F(Strings, PrintableQuirks) {
  char out[64];
  EXPECT_STREQ(zrstg_strtoprintable(out, u"U+"), "U+U+");
  EXPECT_STREQ(zrstg_strtoprintable(out, u"Ux U"), "Ux U");
  EXPECT_STREQ(zrstg_strtoprintable(out, u"a\x0416\x00E9"), "aU+0416\xE9");
  char16_t back[64];
  // Lower-case digits are read with the upper-case rule, 'a' - '7' = 42:
  // 42 * 16 + 43 = 0x2CB.
  zrstg_printabletostr(back, "U+00ab");
  EXPECT_EQ(back[0], u'\x02CB');
  EXPECT_EQ(zrstg_strtoprintabledup(h, nullptr, nullptr), nullptr);
  EXPECT_EQ(zrstg_printabletostrdup(h, nullptr, nullptr), nullptr);
}

TEST_F(Strings, PrintableRoundTripOfEveryUnit) {
  std::u16string all;
  for (uint32_t c = 1; c <= 0xFFFF; ++c) {
    all += static_cast<char16_t>(c);
    if (c % 7 == 0) all += u"U+";
  }
  char* printable = zrstg_strtoprintabledup(h, all.c_str(), nullptr);
  char16_t* back = zrstg_printabletostrdup(h, printable, nullptr);
  EXPECT_EQ(std::u16string(back), all);
}

TEST_F(Strings, HugeLoops) {
  char16_t dest[8];
  std::fill(dest, dest + 8, u'#');
  zrstg_huge_strncpy(dest, u"ab", 5);
  EXPECT_EQ(std::u16string(dest, 6), std::u16string(u"ab\0\0\0#", 6));
  std::fill(dest, dest + 8, u'#');
  // A full count still puts its terminator behind the count.
  zrstg_huge_strncpy(dest, u"abcdef", 3);
  EXPECT_EQ(std::u16string(dest, 5), std::u16string(u"abc\0#", 5));
  const char16_t* text = u"find the needle";
  EXPECT_EQ(zrstg_huge_strstr(text, u""), text);
  EXPECT_EQ(zrstg_huge_strstr(text, u"needle"), text + 9);
  EXPECT_EQ(zrstg_huge_strstr(text, u"pin"), nullptr);
  EXPECT_EQ(zrstg_huge_strchr(text, 0), nullptr);
  EXPECT_EQ(zrstg_huge_strchr(text, u'n'), text + 2);
  char bytes[] = "abcdef";
  zrstg_huge_memmove(bytes + 1, bytes, 4);
  EXPECT_STREQ(bytes, "aabcdf");
  zrstg_huge_memmove(bytes, bytes + 1, 4);
  EXPECT_STREQ(bytes, "abcddf");
  EXPECT_EQ(zrstg_huge_memcmp("ab\xF0", "ab\x10", 3), 0xF0 - 0x10);
  const char16_t raw[] = {u'a', 0, u'b', u'c'};
  EXPECT_EQ(ZRUNI_memchr(raw, u'c', 4), raw + 3);
  EXPECT_EQ(ZRUNI_memchr(raw, u'c', 3), nullptr);
  EXPECT_EQ(ZRUNI_memchr(nullptr, u'c', 3), nullptr);
}

TEST_F(Strings, Numbers) {
  char16_t* end = nullptr;
  EXPECT_EQ(zrstg_strtol_imp(u"  -0x1F rest", &end, 0), -31);
  EXPECT_EQ(std::u16string(end), u" rest");
  EXPECT_EQ(zrstg_strtol_imp(u"99999999999", nullptr, 10), INT32_MAX);
  EXPECT_EQ(zrstg_strtol_imp(u"-99999999999", nullptr, 10), INT32_MIN);
  EXPECT_EQ(zrstg_strtoul_imp(u"-1", nullptr, 10), 0xFFFFFFFFu);
  EXPECT_EQ(zrstg_strtol_imp(u"xyz", &end, 10), 0);
  EXPECT_EQ(std::u16string(end), u"xyz");
  EXPECT_EQ(zrstg_atoi_imp(u"\t42abc"), 42);
  EXPECT_DOUBLE_EQ(zrstg_strtod_imp(u" 2.5e3\x0416", &end), 2500.0);
  EXPECT_EQ(end[0], u'\x0416');
  EXPECT_DOUBLE_EQ(zrstg_atof_imp(u"-0.125"), -0.125);
  // No sign and no overflow test: the value wraps.
  EXPECT_EQ(zrstg_atou_imp(u"  4294967297"), 1u);
  EXPECT_EQ(zrstg_atoul_imp(u"-5"), 0u);
}

// The blank table is the platform's iswspace, which above ASCII is ICU's
// u_isspace: no separator may be missing and no zero-width space added.
TEST(WideChars, SpaceTableAgreesWithIcu) {
  for (char32_t c = 0; c < 0x10000; ++c) {
    const bool expected = (c >= 9 && c <= 13) || c == 32 || (c > 127 && u_isspace(UChar32(c)));
    ASSERT_EQ(zr::text::isWideSpace(char16_t(c)), expected) << std::hex << uint32_t(c);
  }
}

TEST_F(Strings, BstrCarriesItsByteCount) {
  BSTR b = zrstg_strtobstr(u"wide");
  EXPECT_EQ(std::u16string(b), u"wide");
  EXPECT_EQ(zr::text::bstrByteLength(b), 8u);
  zr::text::freeBstr(b);
  BSTR a = zrstg_ansitobstr("\x80");
  EXPECT_EQ(std::u16string(a), u"\x20AC");
  EXPECT_EQ(zr::text::bstrByteLength(a), 2u);
  zr::text::freeBstr(a);
  EXPECT_EQ(zrstg_unicodetobstr(nullptr), nullptr);
}

}  // namespace
