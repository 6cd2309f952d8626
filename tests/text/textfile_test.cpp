// Text files written and read back in every encoding and line-end mode,
// detection of the marks, and the "HA" form cut at every buffer offset.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "frame/code_page.h"
#include "ostextfile.h"
#include "zrstg.h"

namespace {

class TextFile : public ::testing::Test {
 protected:
  void SetUp() override {
    h = zrstg_begin(0);
    char name[] = "/tmp/zrtextXXXXXX";
    fd = mkstemp(name);
    path = name;
  }
  void TearDown() override {
    close(fd);
    unlink(path.c_str());
    zr::frame::setProcessCodePage("");
    zrstg_end(h);
  }

  void writeBytes(const std::string& bytes) {
    ASSERT_EQ(ftruncate(fd, 0), 0);
    lseek(fd, 0, SEEK_SET);
    ASSERT_EQ(write(fd, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    lseek(fd, 0, SEEK_SET);
  }

  std::string fileBytes() {
    std::string bytes(lseek(fd, 0, SEEK_END), '\0');
    EXPECT_EQ(pread(fd, bytes.data(), bytes.size(), 0), static_cast<ssize_t>(bytes.size()));
    return bytes;
  }

  void writeText(const std::u16string& text, int mode, uint32_t encoding) {
    ASSERT_EQ(ftruncate(fd, 0), 0);
    lseek(fd, 0, SEEK_SET);
    int32_t written = 0;
    ASSERT_NE(osTextFileWrite32(h->pool, fd, text.data(), static_cast<int32_t>(text.size()), &written, mode,
                                encoding), 0);
    lseek(fd, 0, SEEK_SET);
  }

  // Reads the whole file with a buffer of the given units.
  std::u16string readAll(int32_t units, uint32_t* encoding, bool oldForm = false, int flag = 0) {
    std::u16string all;
    auto* buf = static_cast<char16_t*>(zrstg_alc(h, (units + 1) * 2, nullptr));
    for (int guard = 0; guard < 100000; ++guard) {
      int32_t n = oldForm ? osTextFileRead(h->pool, 0, fd, &buf, units, 1, encoding, flag)
                          : osTextFileRead32(h->pool, 0, fd, &buf, units, 1, encoding, flag);
      EXPECT_GE(n, 0);
      if (n <= 0) break;
      all.append(buf, n);
    }
    zrstg_fee(h, buf);
    return all;
  }

  zrstg_handle* h = nullptr;
  int fd = -1;
  std::string path;
};

const std::u16string kCrLfText = u"first line\r\nsecond \x00E9t\x00E9\r\n\r\nthird \x20AC end\r\n";
const std::u16string kWideText =
    u"Latin \x00E9\r\n\x041F\x0440\x0438\x0432\x0435\x0442 \x043C\x0438\x0440\r\n\x4E2D\x6587 and \xD83D\xDE00 "
    u"emoji\r\nlast";

const std::u16string kExportText = u"$zrexportheader$\r\n" + kWideText;

TEST_F(TextFile, EveryEncodingRoundTripsThroughAnyBufferSize) {
  struct Case {
    uint32_t encoding;
    const std::u16string* text;
    std::string mark;
  } cases[] = {{OSTF_ANSI, &kCrLfText, ""},
               {OSTF_UTF8_MARK, &kWideText, "\xEF\xBB\xBF"},
               {OSTF_UTF16, &kWideText, "\xFF\xFE"},
               {OSTF_UTF16 | OSTF_SWAPPED, &kWideText, "\xFE\xFF"},
               {0, &kWideText, "\xFF\xFE"},
               {OSTF_UTF8_U8, &kExportText, "U8"},
               {OSTF_HEXASCII, &kExportText, "HA"}};
  for (const Case& c : cases) {
    // LF-only files come back with CR LF at any cut.
    writeText(*c.text, OSTF_LF, c.encoding);
    EXPECT_EQ(fileBytes().substr(0, c.mark.size()), c.mark);
    EXPECT_EQ(fileBytes().find('\r'), std::string::npos);
    // Three units at least: a buffer must hold the longest UTF-8 sequence.
    // An "HA" run must fit in six buffers.
    for (int32_t units : {3, 4, 5, 7, 16, 64, 4096}) {
      if (c.encoding == OSTF_HEXASCII && units < 16) continue;
      uint32_t encoding = 0xFF;
      lseek(fd, 0, SEEK_SET);
      EXPECT_EQ(readAll(units, &encoding), *c.text) << c.encoding << " / " << units;
      EXPECT_EQ(encoding, c.encoding ? c.encoding : OSTF_UTF16);
    }
    // CR LF files as they stand, read whole.
    writeText(*c.text, OSTF_CRLF, c.encoding);
    uint32_t encoding = OSTF_KEEP_LINE_ENDS;
    EXPECT_EQ(readAll(4096, &encoding), *c.text);
    EXPECT_TRUE(encoding & OSTF_KEEP_LINE_ENDS);
  }
}

TEST_F(TextFile, LineEndModesOfTheWriter) {
  writeText(u"a\r\nb", OSTF_CR, OSTF_UTF8_MARK);
  EXPECT_EQ(fileBytes(), "\xEF\xBB\xBF");
  int32_t written = -1;
  EXPECT_EQ(osTextFileWrite32(h->pool, fd, u"a", 1, &written, 4, OSTF_ANSI), 0);
  ASSERT_EQ(ftruncate(fd, 0), 0);
  lseek(fd, 0, SEEK_SET);
  // The old form: modes 2 and 3 remove their line-end character.
  EXPECT_EQ(osTextFileWrite(h->pool, fd, u"a\r\nb", 4, &written, OSTF_CR, OSTF_UTF8_MARK | OSTF_UTF8_U8), fd);
  EXPECT_EQ(fileBytes(), "\xEF\xBB\xBF" "a\rb");
  EXPECT_EQ(written, 3);
  ASSERT_EQ(ftruncate(fd, 0), 0);
  lseek(fd, 0, SEEK_SET);
  // Its UTF-8 needs both flags; anything else is UTF-16.
  EXPECT_EQ(osTextFileWrite(h->pool, fd, u"a\r\nb", 4, &written, OSTF_LF, OSTF_UTF8_MARK), fd);
  EXPECT_EQ(fileBytes(), std::string("\xFF\xFE" "a\0\n\0b\0", 8));
}

TEST_F(TextFile, AnsiWritesWhatConverts) {
  int32_t written = 0;
  EXPECT_EQ(osTextFileWrite32(h->pool, fd, u"ab\x0416" "cd", 5, &written, 1, OSTF_ANSI), 1);
  EXPECT_EQ(written, 2);
  EXPECT_EQ(fileBytes(), "ab");
  EXPECT_EQ(osTextFileWrite32(h->pool, fd, u"\x0416", 1, &written, 1, OSTF_ANSI), 0);
}

TEST_F(TextFile, SplitDoubleByteCharactersWaitForTheNextRead) {
  zr::frame::setProcessCodePage("windows-936");
  std::u16string text = u"\x4E2D\x6587 text \x4E2D\x6587\x4E2D\x6587 more";
  writeText(text, OSTF_CRLF, OSTF_ANSI);
  for (int32_t units : {2, 3, 5, 7}) {
    lseek(fd, 0, SEEK_SET);
    uint32_t encoding = 0;
    EXPECT_EQ(readAll(units, &encoding), text) << units;
  }
}

TEST_F(TextFile, DetectionOfMarks) {
  uint32_t encoding = 0;
  writeBytes("U8 not an export");
  EXPECT_EQ(readAll(100, &encoding), u"U8 not an export");
  EXPECT_EQ(encoding, static_cast<uint32_t>(OSTF_ANSI));
  // The old reader takes "U8" alone as the mark.
  writeBytes("U8\xC3\xA9");
  EXPECT_EQ(readAll(100, &encoding, true), u"\x00E9");
  EXPECT_EQ(encoding, static_cast<uint32_t>(OSTF_UTF8_U8));

  writeBytes("U8$ZRExportHeader$\xC3\xA9");
  EXPECT_EQ(readAll(100, &encoding), u"$ZRExportHeader$\x00E9");
  EXPECT_EQ(encoding, static_cast<uint32_t>(OSTF_UTF8_U8));
  writeBytes("HA$zrexportheader$x$$HEX1$$1604$$ENDHEX$$");
  EXPECT_EQ(readAll(100, &encoding), u"$zrexportheader$x\x0416");
  EXPECT_EQ(encoding, static_cast<uint32_t>(OSTF_HEXASCII));
  writeBytes("HA$zrexportheader$x");
  EXPECT_EQ(readAll(100, &encoding, true), u"HA$zrexportheader$x");

  writeBytes("\xEF\xBBx");
  EXPECT_EQ(readAll(100, &encoding), u"\x00EF\x00BBx");
  // 00 41: ANSI with swapped units, here with NULs made blanks.
  writeBytes(std::string("\0A\0B", 4));
  EXPECT_EQ(readAll(100, &encoding, false, 1), u"\x2000\x4100\x2000\x4200");
  EXPECT_EQ(encoding, static_cast<uint32_t>(OSTF_ANSI | OSTF_SWAPPED));
  // The old reader keeps the NULs.
  writeBytes(std::string("a\0b", 3));
  EXPECT_EQ(readAll(100, &encoding, true), std::u16string(u"a\0b", 3));

  char16_t* buf = nullptr;
  EXPECT_EQ(osTextFileRead32(h->pool, 0, fd, &buf, 10, 2, &encoding, 0), 0);
}

TEST_F(TextFile, LoneCarriageReturnsOnRequest) {
  writeBytes("a\rb\nc\r\nd");
  uint32_t encoding = 0;
  EXPECT_EQ(readAll(100, &encoding, true, 1), u"a\r\nb\r\nc\r\nd");
  lseek(fd, 0, SEEK_SET);
  EXPECT_EQ(readAll(100, &encoding, true, 0), u"a\rb\r\nc\r\nd");
  const char16_t* text = u"a\r\nb\nc\r";
  EXPECT_EQ(osConvTextLen(text, 7, 1, OSTF_CR, 0), 5);
  EXPECT_EQ(osConvTextLen(text, 7, 1, OSTF_LF, 0), 5);
  EXPECT_EQ(osConvTextLen(text, 7, 1, OSTF_CRLF, 0), 7);
  EXPECT_EQ(osConvTextLen(text, 7, 0, OSTF_LF, 1), 7);
  char16_t out[16];
  EXPECT_EQ(osConvText(text, 7, out, 16, 0, 0, 0), 1);
  EXPECT_EQ(std::u16string(out), u"a\r\nb\r\nc\r");
  EXPECT_EQ(osConvText(text, 7, out, 8, 0, OSTF_CRLF, 1), 0);
}

TEST(HexAscii, RunsAndTheirDigits) {
  int32_t length = 0;
  // A unit below 0x1000 at the very end keeps a blank among its digits.
  EXPECT_STREQ(HexAscii_Encrypt(u"\x0416", 1, &length, nullptr), "$$HEX1$$16 4$$ENDHEX$$");
  EXPECT_EQ(length, 22);
  EXPECT_STREQ(HexAscii_Encrypt(u"\x0416\x0417", 2, &length, nullptr), "$$HEX2$$16041704$$ENDHEX$$");
  EXPECT_STREQ(HexAscii_Encrypt(u"\x0416z", 2, &length, nullptr), "$$HEX1$$1604$$ENDHEX$$z");
  // Blanks stay in a run; the run ends at the next ASCII letter.
  EXPECT_STREQ(HexAscii_Encrypt(u"\x0416 \x0417", 3, &length, nullptr), "$$HEX3$$1604200017 4$$ENDHEX$$");
  EXPECT_STREQ(HexAscii_Encrypt(u"ab \x0416 z", 6, &length, nullptr), "ab $$HEX2$$16042000$$ENDHEX$$z");
  EXPECT_STREQ(HexAscii_Encrypt(u"\x0416\r\n\x0417\r\nz", 7, &length, nullptr),
               "$$HEX4$$16040d000a001704$$ENDHEX$$\r\nz");
  EXPECT_EQ(HexAscii_Encrypt(u"", 0, &length, nullptr), nullptr);
  EXPECT_EQ(length, 0);
}

TEST(HexAscii, DecryptLeavesAPossibleRunStartUndone) {
  int32_t units = 0, undone = 0;
  char16_t* text = HexAscii_Decrypt("abc$$HE", 7, &units, &undone, nullptr);
  EXPECT_EQ(std::u16string(text, units), u"abc");
  EXPECT_EQ(undone, 4);
  ZrHeap_free(text);
  text = HexAscii_Decrypt("x$$HEX9$$1604$$ENDHEX$$", 23, &units, &undone, nullptr);
  EXPECT_EQ(units, 1);
  EXPECT_EQ(undone, 22);
  ZrHeap_free(text);
  text = HexAscii_Decrypt("$$HEX1$$16 4$$ENDHEX$$!", 23, &units, &undone, nullptr);
  EXPECT_EQ(std::u16string(text, units), u"\x0416!");
  EXPECT_EQ(undone, 0);
  ZrHeap_free(text);
  EXPECT_EQ(HexAscii_Decrypt("", 0, &units, &undone, nullptr), nullptr);
}

TEST_F(TextFile, HexAsciiReadThroughEveryBufferSize) {
  // The reader knows the form by the export keyword behind the mark.
  std::u16string text = u"$zrexportheader$";
  const char16_t* words[] = {u"plain", u"\x0416", u"\x0416\x0417", u"$", u"\x4E2D\x6587\x4E2D", u"end\r\n"};
  for (int i = 0; i < 60; ++i) {
    text += words[i % 6];
    text += i % 4 ? u"," : u"\r\n";
  }
  writeText(text, OSTF_LF, OSTF_HEXASCII);
  EXPECT_EQ(fileBytes().substr(0, 2), "HA");
  for (int32_t units = 5; units <= 90; ++units) {
    lseek(fd, 0, SEEK_SET);
    uint32_t encoding = 0;
    EXPECT_EQ(readAll(units, &encoding), text) << units;
    EXPECT_EQ(encoding, static_cast<uint32_t>(OSTF_HEXASCII));
  }
}

TEST_F(TextFile, HexAsciiRunLongerThanTheBufferIsReadWithALargerOne) {
  std::u16string text = u"$ZREXPORTHEADER$ab" + std::u16string(40, u'\x0416') + u"cd";
  writeText(text, OSTF_CRLF, OSTF_HEXASCII);
  uint32_t encoding = 0;
  // 40 units take 17 + 2 + 160 bytes: more than 6 buffers of 20 would hold.
  EXPECT_EQ(readAll(32, &encoding), text);
}

constexpr uint32_t kEveryForm[] = {OSTF_ANSI, OSTF_UTF8_MARK, OSTF_UTF8_U8, OSTF_HEXASCII, OSTF_UTF16,
                                   OSTF_UTF16 | OSTF_SWAPPED};

// A descriptor that cannot be read fails while the mark is detected and,
// past the start, in each encoding's own read; the caller's block survives.
TEST_F(TextFile, FailedReadsGiveMinusOne) {
  writeBytes("HA$zrexportheader$ and some text behind the mark");
  int writeOnly = open(path.c_str(), O_WRONLY);
  ASSERT_GE(writeOnly, 0);
  auto* buf = static_cast<char16_t*>(zrstg_alc(h, 64, nullptr));
  for (bool oldForm : {false, true}) {
    auto read = [&](int fd, uint32_t encoding) {
      return oldForm ? osTextFileRead(h->pool, 0, fd, &buf, 16, 1, &encoding, 0)
                     : osTextFileRead32(h->pool, 0, fd, &buf, 16, 1, &encoding, 0);
    };
    EXPECT_EQ(read(-1, 0), -1);
    lseek(writeOnly, 0, SEEK_SET);
    EXPECT_EQ(read(writeOnly, 0), -1);
    lseek(writeOnly, 4, SEEK_SET);
    for (uint32_t encoding : kEveryForm) EXPECT_EQ(read(writeOnly, encoding), -1) << oldForm << " " << encoding;
  }
  close(writeOnly);
  EXPECT_GE(ZrHeap_size(buf), 64u);
  zrstg_fee(h, buf);
}

// A full device refuses the mark (or, for ANSI, the text); a bad descriptor
// skips the mark and refuses the text.
TEST_F(TextFile, FailedWritesAreReported) {
  int full = open("/dev/full", O_WRONLY);
  ASSERT_GE(full, 0);
  for (int target : {full, -1}) {
    int32_t written = -1;
    for (uint32_t encoding : kEveryForm) {
      EXPECT_EQ(osTextFileWrite32(h->pool, target, u"ab\x0416", 3, &written, OSTF_CRLF, encoding), 0)
          << target << " " << encoding;
      EXPECT_EQ(written, 0);
    }
    EXPECT_EQ(osTextFileWrite(h->pool, target, u"ab\x0416", 3, &written, OSTF_CRLF, 0), -1) << target;
    EXPECT_EQ(osTextFileWrite(h->pool, target, u"ab\x0416", 3, &written, OSTF_LF, OSTF_UTF8_MARK | OSTF_UTF8_U8),
              -1);
  }
  // CR-only mode writes the mark alone and reports how that went.
  EXPECT_EQ(osTextFileWrite32(h->pool, full, u"a\r\nb", 4, nullptr, OSTF_CR, OSTF_UTF16), 0);
  EXPECT_EQ(osTextFileWrite32(h->pool, fd, u"a\r\nb", 4, nullptr, OSTF_CR, OSTF_UTF16), 1);
  close(full);
}

// Under a 3-byte file size limit every mark fits and the text goes out in
// part before the system refuses the rest: still a failure of the call.
void writeUnderFileSizeLimit() {
  std::signal(SIGXFSZ, SIG_IGN);
  rlimit limit{};
  if (getrlimit(RLIMIT_FSIZE, &limit) != 0) _exit(4);
  rlim_t unlimited = limit.rlim_cur;
  limit.rlim_cur = 3;
  if (setrlimit(RLIMIT_FSIZE, &limit) != 0) _exit(4);
  std::string results;
  auto write = [&](bool oldForm, uint32_t encoding) {
    char name[] = "/tmp/zrtextXXXXXX";
    int fd = mkstemp(name);
    if (fd < 0) _exit(5);
    int32_t written = 0;
    int r = oldForm ? osTextFileWrite(nullptr, fd, u"abcdef", 6, &written, OSTF_CRLF, encoding)
                    : osTextFileWrite32(nullptr, fd, u"abcdef", 6, &written, OSTF_CRLF, encoding);
    results += std::to_string(r) + " ";
    close(fd);
    unlink(name);
  };
  for (uint32_t encoding : kEveryForm) write(false, encoding);
  write(true, 0);
  write(true, OSTF_UTF8_MARK | OSTF_UTF8_U8);
  // The report goes to a file as well.
  limit.rlim_cur = unlimited;
  if (setrlimit(RLIMIT_FSIZE, &limit) != 0) _exit(4);
  std::fprintf(stderr, "results: %s\n", results.c_str());
  _exit(0);
}

TEST(TextFileLimit, PartialWritesFail) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(writeUnderFileSizeLimit(), ::testing::ExitedWithCode(0), "results: 0 0 0 0 0 0 -1 -1 \n");
}

}  // namespace
