// The process code page, checked against glibc's iconv as an independent
// converter, and the calls built on it.
#include <gtest/gtest.h>
#include <iconv.h>

#include <cstring>
#include <string>

#include "frame/code_page.h"
#include "platform/dialog.h"
#include "text/codepage.h"
#include "zrframe.h"
#include "zrstr.h"

namespace {

// Decodes bytes with iconv; false when iconv refuses them.
bool iconvDecode(iconv_t cd, const std::string& bytes, std::u16string* out) {
  char16_t buf[8];
  char* in = const_cast<char*>(bytes.data());
  size_t inLeft = bytes.size();
  char* o = reinterpret_cast<char*>(buf);
  size_t outLeft = sizeof buf;
  iconv(cd, nullptr, nullptr, nullptr, nullptr);
  if (iconv(cd, &in, &inLeft, &o, &outLeft) == static_cast<size_t>(-1) || inLeft) return false;
  out->assign(buf, (sizeof buf - outLeft) / 2);
  return true;
}

bool iconvEncode(iconv_t cd, char16_t c, std::string* out) {
  char buf[8];
  char* in = reinterpret_cast<char*>(&c);
  size_t inLeft = 2;
  char* o = buf;
  size_t outLeft = sizeof buf;
  iconv(cd, nullptr, nullptr, nullptr, nullptr);
  if (iconv(cd, &in, &inLeft, &o, &outLeft) == static_cast<size_t>(-1) || inLeft) return false;
  out->assign(buf, sizeof buf - outLeft);
  return true;
}

class CodePage : public ::testing::Test {
 protected:
  void SetUp() override { h = zrstg_begin(0); }
  void TearDown() override {
    zr::frame::setProcessCodePage("");
    zrstg_end(h);
  }

  // Every one- and two-byte sequence that both converters accept decodes
  // alike, and every unit that both can write encodes alike.
  void compareWithIconv(const char* iconvName, int* agreed) {
    iconv_t toUnicode = iconv_open("UTF-16LE", iconvName);
    iconv_t fromUnicode = iconv_open(iconvName, "UTF-16LE");
    ASSERT_NE(toUnicode, reinterpret_cast<iconv_t>(-1));
    for (int lead = 1; lead < 256; ++lead) {
      for (int trail = -1; trail < 256; ++trail) {
        if (trail == 0) continue;
        std::string bytes(1, static_cast<char>(lead));
        if (trail > 0) bytes += static_cast<char>(trail);
        std::u16string expected;
        if (!iconvDecode(toUnicode, bytes, &expected) || expected.size() != 1) continue;
        char16_t* ours = zrstg_ansitostrdup(h, bytes.c_str(), nullptr);
        ASSERT_NE(ours, nullptr);
        EXPECT_EQ(std::u16string(ours), expected) << std::hex << lead << " " << trail;
        zrstg_fee(h, ours);
        ++*agreed;
      }
    }
    for (uint32_t c = 1; c < 0x10000; ++c) {
      if (c >= 0xD800 && c <= 0xDFFF) continue;
      std::string expected;
      if (!iconvEncode(fromUnicode, static_cast<char16_t>(c), &expected)) continue;
      char16_t text[2] = {static_cast<char16_t>(c), 0};
      char* ours = zrstg_strtoansidup(h, text, nullptr);
      ASSERT_NE(ours, nullptr) << std::hex << c;
      EXPECT_EQ(std::string(ours), expected) << std::hex << c;
      zrstg_fee(h, ours);
    }
    iconv_close(toUnicode);
    iconv_close(fromUnicode);
  }

  zrstg_handle* h = nullptr;
};

TEST_F(CodePage, Windows1252AgreesWithIconvAndKeepsItsGaps) {
  int agreed = 0;
  compareWithIconv("CP1252", &agreed);
  EXPECT_EQ(agreed, 250);
  // iconv refuses the five gaps; the process code page passes them through.
  for (char16_t gap : {0x81, 0x8D, 0x8F, 0x90, 0x9D}) {
    char bytes[2] = {static_cast<char>(gap), 0};
    EXPECT_EQ(std::u16string(zrstg_ansitostrdup(h, bytes, nullptr)), std::u16string(1, gap));
  }
}

TEST_F(CodePage, DoubleByteCodePageAgreesWithIconv) {
  zr::frame::setProcessCodePage("windows-936");
  int agreed = 0;
  compareWithIconv("CP936", &agreed);
  EXPECT_GT(agreed, 20000);
}

TEST_F(CodePage, SetLocaleChangesTheCodePage) {
  ASSERT_NE(ZR_RT_SetLocale(u"C.UTF-8"), nullptr);
  EXPECT_EQ(std::u16string(zrstg_ansitostrdup(h, "\xC3\xA9", nullptr)), u"\x00E9");
  ASSERT_NE(ZR_RT_SetLocale(u"C"), nullptr);
  EXPECT_EQ(std::u16string(zrstg_ansitostrdup(h, "\xC3\xA9", nullptr)), u"\x00C3\x00A9");
  EXPECT_EQ(zr::frame::codePageOfLocale("Japanese_Japan.932"), "windows-932");
  EXPECT_EQ(zr::frame::codePageOfLocale("de_DE.ISO-8859-15@euro"), "ISO-8859-15");
  EXPECT_EQ(zr::frame::codePageOfLocale("POSIX"), "windows-1252");
}

TEST_F(CodePage, ForcedConversionMarksBadBytes) {
  char16_t out[8];
  int forced = -1;
  EXPECT_EQ(mbstowcs_force(out, "ok", 8, &forced), 2u);
  EXPECT_EQ(forced, 0);
  zr::frame::setProcessCodePage("UTF-8");
  EXPECT_EQ(mbstowcs_force(out, "a\xFF" "b\xC3\xA9", 8, &forced), 4u);
  EXPECT_EQ(forced, 1);
  EXPECT_EQ(std::u16string(out), u"a?b\x00E9");
  // No terminator when the count reaches the size.
  out[2] = u'#';
  EXPECT_EQ(mbstowcs_force(out, "\xFF\xFF\xFF\xFF", 2, &forced), 2u);
  EXPECT_EQ(out[2], u'#');
}

TEST_F(CodePage, EmbeddedZerosSurvive) {
  char16_t out[8];
  EXPECT_EQ(zrstg_ansitostr_with_zero(nullptr, "ab\0\x80", 4), 4);
  EXPECT_EQ(zrstg_ansitostr_with_zero(out, "ab\0\x80", 4), 4);
  EXPECT_EQ(std::u16string(out, 4), std::u16string(u"ab\0\x20AC", 4));
  char bytes[8];
  EXPECT_EQ(zrstg_strtoansi_with_zero(bytes, u"\0x\x20AC", 3), 3);
  EXPECT_EQ(std::string(bytes, 3), std::string("\0x\x80", 3));
  EXPECT_EQ(zrstg_strtoansi_with_zero(bytes, u"\x0416", 1), -1);
  zr::frame::setProcessCodePage("UTF-8");
  EXPECT_EQ(zrstg_ansitostr_with_zero(out, "a\0\xFF", 3), -1);
}

std::u16string g_caption;
int recordBox(void*, const char16_t*, const char16_t* caption, unsigned) {
  g_caption = caption ? caption : u"";
  return 7;
}

TEST_F(CodePage, NamedCodePagesCountAndAskAboutUnknownOnes) {
  EXPECT_EQ(zr::text::ConvertToCodePage(nullptr, u"abc", 1252, 0), 4);
  EXPECT_EQ(zr::text::ConvertFromCodePage(nullptr, "\xC4\xE3", 936, 0), 2);
  EXPECT_EQ(zr::text::ConvertToCodePage(nullptr, u"abc", 12345, 0), 0);
  auto previous = zr::platform::setMessageBoxHandler(recordBox);
  EXPECT_EQ(zr::text::ConvertFromCodePage(nullptr, "abc", 12345, 1), 0);
  EXPECT_EQ(g_caption, u"Conversion from Code Page [12345] to Unicode");
  zr::platform::setMessageBoxHandler(previous);
}

}  // namespace
