// Text and packed BCD forms of a decimal, and the text of the old layout.
#include <cstring>

#include "values/dec_wide.h"
#include "values/dec_work.h"
#include "text/wide_chars.h"

using namespace zr::dec;
using zr::text::unitLength;

namespace {

// Writes digits (most significant last in `digits`) with the point ahead of
// the last `scale` of them, padding so that one integer digit exists.
char16_t* writeNumber(char16_t* out, uint8_t* digits, int count, int scale, bool negative) {
  while (count > scale + 1 && digits[count - 1] == 0) --count;
  while (count < scale + 1) digits[count++] = 0;
  if (negative) *out++ = u'-';
  for (int i = count - 1; i >= 0; --i) {
    if (i + 1 == scale) *out++ = u'.';
    *out++ = char16_t(u'0' + digits[i]);
  }
  *out = 0;
  return out;
}

uint8_t toNibble(char16_t c) {
  if (c == u'.') return 0xA;
  if (c == u'-') return 0xD;
  return uint8_t(c - u'0');
}

char16_t fromNibble(unsigned n) {
  if (n <= 9) return char16_t(u'0' + n);
  if (n == 0xA) return u'.';
  if (n == 0xD) return u'-';
  return u'#';
}

constexpr uint32_t kMaxBcdBytes = 36;

// A 112-bit magnitude has at most 34 digits, and a scale of up to 31
// pads to 32.
constexpr int kMaxTextDigits = 36;

constexpr char kDigitPairs[] =
    "00010203040506070809101112131415161718192021222324252627282930313233343536373839"
    "40414243444546474849505152535455565758596061626364656667686970717273747576777879"
    "8081828384858687888990919293949596979899";

// Writes the digits of v, none for zero, ending before end; returns their
// start.
char16_t* writeLowDigits(char16_t* end, uint64_t v) {
  while (v >= 100) {
    const char* pair = kDigitPairs + 2 * (v % 100);
    v /= 100;
    *--end = char16_t(pair[1]);
    *--end = char16_t(pair[0]);
  }
  if (v >= 10) {
    *--end = char16_t(kDigitPairs[2 * v + 1]);
    *--end = char16_t(kDigitPairs[2 * v]);
  } else if (v) {
    *--end = char16_t(u'0' + v);
  }
  return end;
}

// Zeros from down to p, when p lies above down.
char16_t* fillZeros(char16_t* p, char16_t* down) {
  while (p > down) *--p = u'0';
  return p;
}

}  // namespace

char16_t* shDecToAscii(char16_t* buffer, const SH_DEC* src) {
  if (!buffer || !src) return nullptr;
  int scale = scaleOf(*src);
  u128 m = magnitude(*src);
  // Digits are written from the low end into the tail of digits[]; the
  // room ahead of them takes the zeros that pad to scale + 1 digits.
  char16_t digits[kMaxTextDigits];
  char16_t* end = digits + kMaxTextDigits;
  char16_t* p = end;
  if (m >> 64) {
    u128 low;
    m = divRemPow10(m, 19, low);
    p = writeLowDigits(p, uint64_t(low));
    p = fillZeros(p, end - 19);
  }
  if (m) p = writeLowDigits(p, uint64_t(m));
  bool negative = p != end && (src->flags & SH_DEC_NEGATIVE);
  p = fillZeros(p, end - scale - 1);
  char16_t* out = buffer;
  if (negative) *out++ = u'-';
  size_t whole = size_t(end - p - scale);
  std::memcpy(out, p, whole * sizeof *out);
  out += whole;
  if (scale) {
    *out++ = u'.';
    std::memcpy(out, end - scale, size_t(scale) * sizeof *out);
    out += scale;
  }
  *out = 0;
  return buffer;
}

uint8_t* shDecToBCD(uint8_t* buffer, uint32_t* length, const SH_DEC* src) {
  if (!buffer || !length || !src) return nullptr;
  char16_t text[48];
  shDecToAscii(text, src);
  size_t n = unitLength(text), i = 0;
  uint8_t* out = buffer;
  if (n % 2) *out++ = uint8_t(0xC0 | toNibble(text[i++]));
  for (; i < n; i += 2) *out++ = uint8_t(toNibble(text[i]) << 4 | toNibble(text[i + 1]));
  *length = uint32_t((n + 1) / 2);
  return buffer;
}

PSH_DEC shBCDToDec(const uint8_t* bytes, uint32_t length, PSH_DEC dst) {
  if (!bytes || !dst) return nullptr;
  if (length > kMaxBcdBytes) {
    std::memset(dst, 0, sizeof *dst);
    return nullptr;
  }
  char16_t text[2 * kMaxBcdBytes + 1] = {};
  int n = 0;
  for (uint32_t i = 0; i < length; ++i) {
    unsigned high = bytes[i] >> 4, low = bytes[i] & 0xF;
    if (high != 0xC) text[n++] = fromNibble(high);
    char16_t c = fromNibble(low);
    if (c == u'#') {
      std::memset(text, 0, sizeof text);
      break;
    }
    text[n++] = c;
  }
  return shAsciiToDec(dst, text);
}

char16_t* ConvertOldDecToString(char16_t* buffer, const SH_OLDDEC* old) {
  if (!buffer || !old || old->scale < 0 || old->scale > 28) return nullptr;
  uint16_t w[5];
  std::memcpy(w, old->digits, sizeof w);
  uint8_t digits[40];
  int count = 0;
  for (;;) {
    uint32_t rem = 0;
    bool any = false;
    for (int i = 4; i >= 0; --i) {
      uint32_t cur = (rem << 16) | w[i];
      w[i] = uint16_t(cur / 10);
      rem = cur % 10;
      any |= w[i] != 0;
    }
    digits[count++] = uint8_t(rem);
    if (!any) break;
  }
  bool nonZero = count > 1 || digits[0] != 0;
  if (!nonZero) count = 0;
  writeNumber(buffer, digits, count, old->scale, nonZero && (old->flags & 1));
  return buffer;
}
