// The lenient zrstg_ codec with its old lead-byte masks, and the strict one
// for outside input.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "zrstr.h"

namespace {

std::u16string allUnits() {
  std::u16string all;
  for (uint32_t c = 1; c <= 0xFFFF; ++c) all += static_cast<char16_t>(c);
  return all;
}

TEST(Utf8Lenient, EveryUnitRoundTripsAlone) {
  std::u16string all = allUnits();
  int32_t bytes = zrstg_UCS2toUTF8(nullptr, all.c_str(), 0);
  // 127 one-byte, 1920 two-byte and the rest, surrogates included, three.
  EXPECT_EQ(bytes, 127 + 1920 * 2 + (0xFFFF - 0x7FF) * 3);
  std::vector<char> utf8(bytes + 1, '\x7F');
  EXPECT_EQ(zrstg_UCS2toUTF8(utf8.data(), all.c_str(), 0), bytes);
  EXPECT_EQ(utf8[bytes], 0);
  std::vector<char16_t> back(all.size() + 1);
  EXPECT_EQ(zrstg_UTF8toUCS2(back.data(), utf8.data(), 0), static_cast<int32_t>(all.size()));
  EXPECT_EQ(std::u16string(back.data()), all);
  EXPECT_EQ(zrstg_UTF8toUCS2(nullptr, nullptr, 0), 0);
  EXPECT_EQ(zrstg_UCS2toUTF8(nullptr, nullptr, 0), 0);
}

TEST(Utf8Lenient, LeadBytesFromF0) {
  // Even leads take four bytes, 0xFD six, the other odd ones fail; left-over
  // continuation bytes then fail one by one. Units of lead, 81 82 83 84 85,
  // 'Z' for each lead from 0xF0 to 0xFF:
  const int32_t units[16] = {4, 7, 4, 7, 4, 7, 4, 7, 4, 7, 4, 7, 4, 2, 4, 7};
  for (int lead = 0xF0; lead <= 0xFF; ++lead) {
    char text[] = {static_cast<char>(lead), '\x81', '\x82', '\x83', '\x84', '\x85', 'Z', 0};
    EXPECT_EQ(zrstg_UTF8toUCS2(nullptr, text, 0), units[lead - 0xF0]) << std::hex << lead;
  }
  char16_t out[8];
  zrstg_UTF8toUCS2(out, "\xF4\x8F\xBF\xBF", 0);
  EXPECT_EQ(out[0], 0xFFFF);  // values keep their low 16 bits
  zrstg_UTF8toUCS2(out, "\xFD\x81\x82\x83\x84\x85", 0);
  EXPECT_EQ(out[0], 0x3105);
  // No continuation test: a two-byte lead takes whatever follows, 00011
  // from C3 and 101000 from '('.
  zrstg_UTF8toUCS2(out, "\xC3(", 0);
  EXPECT_EQ(out[0], 0xE8);
}

// The encoders move ASCII in blocks; one other unit at each place of a
// text, itself at each alignment, must come out where it stands.
TEST(Utf8Lenient, OneNonAsciiUnitAtEveryPlace) {
  const struct {
    char16_t unit;
    const char* bytes;
  } cases[] = {{u'\u00E9', "\xC3\xA9"}, {u'\u4E2D', "\xE4\xB8\xAD"}};
  for (const auto& c : cases) {
    for (size_t at = 0; at < 40; ++at) {
      std::string expected = std::string(at, 'a') + c.bytes + std::string(39 - at, 'a');
      for (size_t shift = 0; shift < 8; ++shift) {
        std::u16string buffer(shift, u'x');
        buffer += std::u16string(40, u'a');
        buffer[shift + at] = c.unit;
        const char16_t* text = buffer.c_str() + shift;
        std::vector<char> out(expected.size() + 1, '#');
        ASSERT_EQ(zrstg_UCS2toUTF8(out.data(), text, 0), int32_t(expected.size())) << at << " " << shift;
        EXPECT_EQ(std::string(out.data()), expected) << at << " " << shift;
        zrstg_handle* h = zrstg_begin(0);
        EXPECT_EQ(std::string(unistr2UTF8(text, h)), expected) << at << " " << shift;
        zrstg_end(h);
      }
    }
  }
}

TEST(Utf8Lenient, FailedByteKeepsWhatThePositionHeld) {
  char16_t out[4] = {0x1234, 0x1234, 0x1234, 0x1234};
  EXPECT_EQ(zrstg_UTF8toUCS2(out, "a\x80" "b", 0), 3);
  EXPECT_EQ(out[0], u'a');
  EXPECT_EQ(out[1], 0x1234);
  EXPECT_EQ(out[2], u'b');
  EXPECT_EQ(out[3], 0);
}

TEST(Utf8Single, OneCharacterEachWay) {
  char b[4];
  EXPECT_EQ(unicode2UTF8(b, 0xFFFD), 3);
  EXPECT_EQ(std::memcmp(b, "\xEF\xBF\xBD", 3), 0);
  std::memset(b, 0, sizeof b);
  EXPECT_EQ(unicode2UTF8(b, 0xFFFE), -1);
  EXPECT_EQ(b[0], 0);
  EXPECT_EQ(unicode2UTF8(b, 0xFFFF), -1);
  EXPECT_EQ(unicode2UTF8(b, u'A'), 1);
  char16_t c = 0;
  EXPECT_EQ(UTF82unicode(&c, "\xC3\xA9"), 2);
  EXPECT_EQ(c, 0xE9);
  EXPECT_EQ(UTF82unicode(&c, "\xE2\x82\xAC"), 3);
  EXPECT_EQ(c, 0x20AC);
  EXPECT_EQ(UTF82unicode(&c, "\xC3("), -1);
  EXPECT_EQ(UTF82unicode(&c, "\xF0\x9F\x98\x80"), -1);
  EXPECT_EQ(UTF82unicode(&c, "\x80"), -1);
}

class Utf8Strict : public ::testing::Test {
 protected:
  void SetUp() override { h = zrstg_begin(0); }
  void TearDown() override { zrstg_end(h); }
  zrstg_handle* h = nullptr;
};

TEST_F(Utf8Strict, EveryNonSurrogateUnitRoundTrips) {
  std::u16string all;
  for (uint32_t c = 1; c <= 0xFFFF; ++c) {
    if (c < 0xD800 || c > 0xDFFF) all += static_cast<char16_t>(c);
  }
  char* utf8 = unistr2UTF8(all.c_str(), h);
  char16_t* back = UTF82unistr(utf8, h, nullptr, 0, 0);
  EXPECT_EQ(std::u16string(back), all);
  char* heapUtf8 = unistr2UTF8(u"", nullptr);
  EXPECT_EQ(heapUtf8[0], 0);
  ZrHeap_free(heapUtf8);
  EXPECT_EQ(unistr2UTF8(nullptr, h), nullptr);
}

TEST_F(Utf8Strict, PairsAndLoneSurrogatesGoingOut) {
  EXPECT_STREQ(unistr2UTF8(u"\xD83D\xDE00", h), "\xF0\x9F\x98\x80");
  EXPECT_STREQ(unistr2UTF8(u"a\xD800" "b", h), "a\xEF\xBF\xBD" "b");
}

TEST_F(Utf8Strict, FourByteSequencesKeepThePlaneBits) {
  EXPECT_EQ(std::u16string(UTF82unistr("\xF0\x90\x80\x80", h, nullptr, 0, 0)), u"\xD840\xDC00");
  EXPECT_EQ(std::u16string(UTF82unistr("\xF0\x9F\x98\x80", h, nullptr, 0, 0)), u"\xD87D\xDE00");
}

TEST_F(Utf8Strict, StopsAtTheFirstBadOrCutSequence) {
  EXPECT_EQ(std::u16string(UTF82unistr("ab\xE4\xB8", h, nullptr, 0, 0)), u"ab");
  EXPECT_EQ(std::u16string(UTF82unistr("ab\xC3(cd", h, nullptr, 0, 0)), u"ab");
  EXPECT_EQ(std::u16string(UTF82unistr("ab\xF8\x80\x80\x80\x80", h, nullptr, 0, 0)), u"ab");
  EXPECT_EQ(std::u16string(UTF82unistr("ab\x80", nullptr, nullptr, 0, 0)), u"ab");
  EXPECT_EQ(std::u16string(UTF82unistr("abcdef", h, nullptr, 0, 3)), u"abc");
  // A pair that would not fit whole is left out.
  EXPECT_EQ(std::u16string(UTF82unistr("a\xF0\x90\x80\x80", h, nullptr, 0, 2)), u"a");
}

TEST_F(Utf8Strict, LengthPrefixCountsBytes) {
  zrstg_subpool* sp = zrstg_new_pool(h);
  auto* block = reinterpret_cast<char*>(UTF82unistr("h\xC3\xA9llo", h, sp, 1, 0));
  uint32_t count;
  std::memcpy(&count, block, 4);
  EXPECT_EQ(count, 10u);
  EXPECT_EQ(std::u16string(reinterpret_cast<char16_t*>(block + 4)), u"h\x00E9llo");
  char16_t* heapBlock = UTF82unistr("x", nullptr, nullptr, 1, 0);
  std::memcpy(&count, heapBlock, 4);
  EXPECT_EQ(count, 2u);
  ZrHeap_free(heapBlock);
}

}  // namespace
