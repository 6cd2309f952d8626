// The text file writers: a mark at the start of the file, line ends in the
// file's form, then the text in the chosen encoding.
#include <cstring>
#include <string>
#include <vector>

#include "ostextfile.h"
#include "platform/file.h"
#include "text/codepage.h"
#include "text/utf8_codec.h"

using namespace zr::text;
namespace platform = zr::platform;

namespace {

constexpr uint32_t kByteForms = OSTF_ANSI | OSTF_UTF8_MARK | OSTF_UTF8_U8 | OSTF_HEXASCII;

bool writeAll(int fd, const void* data, size_t bytes) {
  return platform::writeFile(fd, data, bytes) == static_cast<std::ptrdiff_t>(bytes);
}

bool atStart(int fd) { return platform::seekFile(fd, 0, platform::SeekFrom::Current) == 0; }

bool writeMark(int fd, uint32_t encoding) {
  if (!atStart(fd)) return true;
  if (encoding & OSTF_UTF8_MARK) return writeAll(fd, "\xEF\xBB\xBF", 3);
  if (encoding & OSTF_UTF8_U8) return writeAll(fd, "U8", 2);
  if (encoding & OSTF_HEXASCII) return writeAll(fd, "HA", 2);
  if (encoding & OSTF_ANSI) return true;
  return writeAll(fd, encoding & OSTF_SWAPPED ? "\xFE\xFF" : "\xFF\xFE", 2);
}

bool writeUtf8(int fd, const char16_t* text, size_t units, int32_t* written) {
  std::string bytes(lenientUtf8Length(text, units), '\0');
  lenientEncodeUtf8(text, units, bytes.data());
  if (!writeAll(fd, bytes.data(), bytes.size())) return false;
  *written = static_cast<int32_t>(bytes.size());
  return true;
}

bool writeHexAscii(MEM_POOL* pool, int fd, const char16_t* text, size_t units, int32_t* written) {
  int32_t length = 0;
  char* bytes = HexAscii_Encrypt(text, static_cast<int32_t>(units), &length, pool);
  bool ok = !bytes || writeAll(fd, bytes, static_cast<size_t>(length));
  ZrHeap_free(bytes);
  if (ok) *written = length;
  return ok;
}

// What converts of the text goes out; nothing convertible is a failure.
bool writeAnsi(int fd, const char16_t* text, size_t units, int32_t* written) {
  if (units == 0) return true;
  std::vector<char> bytes(units * 2);
  size_t used = 0;
  size_t n = unitsToBytesPrefix(text, units, bytes.data(), bytes.size(), &used);
  if (n == 0 || !writeAll(fd, bytes.data(), n)) return false;
  *written = static_cast<int32_t>(n);
  return true;
}

// Written through a fixed buffer: the string buffer spills through here when
// memory has run out, so this path must not need a copy of the text.
bool writeUtf16(int fd, const char16_t* text, size_t units, bool swapped, int32_t* written) {
  unsigned char bytes[16384];
  for (size_t done = 0; done < units;) {
    size_t n = units - done < sizeof bytes / 2 ? units - done : sizeof bytes / 2;
    for (size_t i = 0; i < n; ++i) {
      char16_t c = text[done + i];
      // A mark in the text is taken as already in the file's order.
      bool big = swapped && c != 0xFEFF && c != 0xFFFE;
      bytes[2 * i] = static_cast<unsigned char>(big ? c >> 8 : c & 0xFF);
      bytes[2 * i + 1] = static_cast<unsigned char>(big ? c & 0xFF : c >> 8);
    }
    if (!writeAll(fd, bytes, 2 * n)) return false;
    done += n;
  }
  *written = static_cast<int32_t>(units);
  return true;
}

// The text with one line-end character removed, for modes 2 and 3.
std::u16string withoutLineEnd(const char16_t* text, int32_t units, int mode) {
  std::u16string out(static_cast<size_t>(osConvTextLen(text, units, 1, mode, 0)), u'\0');
  osConvText(text, units, out.data(), static_cast<int32_t>(out.size()), 1, mode, 0);
  return out;
}

}  // namespace

ZRAPI int osTextFileWrite32(MEM_POOL* pool, int handle, const char16_t* text, int32_t units, int32_t* written,
                            int mode, uint32_t encoding) {
  int32_t count = 0;
  if (written) *written = 0;
  if (!(encoding & kByteForms)) encoding = OSTF_UTF16 | (encoding & OSTF_SWAPPED);
  if (!writeMark(handle, encoding)) return 0;
  if (mode == 0) mode = OSTF_CRLF;
  if (mode == OSTF_CR) return 1;
  if (mode != OSTF_CRLF && mode != OSTF_LF) return 0;
  if (!text || units < 0) return 0;
  std::u16string stripped;
  if (mode == OSTF_LF) {
    stripped = withoutLineEnd(text, units, OSTF_LF);
    text = stripped.c_str();
    units = static_cast<int32_t>(stripped.size());
  }
  size_t n = static_cast<size_t>(units);
  bool ok;
  if (encoding & (OSTF_UTF8_MARK | OSTF_UTF8_U8)) ok = writeUtf8(handle, text, n, &count);
  else if (encoding & OSTF_HEXASCII) ok = writeHexAscii(pool, handle, text, n, &count);
  else if (encoding & OSTF_ANSI) ok = writeAnsi(handle, text, n, &count);
  else ok = writeUtf16(handle, text, n, encoding & OSTF_SWAPPED, &count);
  if (written) *written = count;
  return ok ? 1 : 0;
}

ZRAPI int osTextFileWrite(MEM_POOL*, int file, const char16_t* text, int32_t units, int32_t* written, int mode,
                          uint32_t encoding) {
  int32_t count = 0;
  if (written) *written = 0;
  bool utf8 = (encoding & (OSTF_UTF8_MARK | OSTF_UTF8_U8)) == (OSTF_UTF8_MARK | OSTF_UTF8_U8);
  if (!writeMark(file, utf8 ? OSTF_UTF8_MARK : OSTF_UTF16)) return -1;
  if (!text || units < 0) return -1;
  if (mode == 0) mode = OSTF_CRLF;
  std::u16string stripped;
  if (mode == OSTF_CR || mode == OSTF_LF) {
    stripped = withoutLineEnd(text, units, mode);
    text = stripped.c_str();
    units = static_cast<int32_t>(stripped.size());
  }
  size_t n = static_cast<size_t>(units);
  bool ok = utf8 ? writeUtf8(file, text, n, &count) : writeUtf16(file, text, n, false, &count);
  if (written) *written = count;
  return ok ? file : -1;
}
