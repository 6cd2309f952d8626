// Text to decimal in one pass over the text, on the stack. Only the first
// 31 digits of the mantissa can reach the result: 30 are kept and the 31st
// rounds them; of the rest only their count and trailing zeros matter.
#include <algorithm>
#include <cstring>

#include "values/dec_wide.h"
#include "values/dec_work.h"
#include "text/wide_chars.h"

using namespace zr::dec;
using zr::text::isWideDigit;
using zr::text::isWideSpace;

namespace {

// The mantissa with its leading integer zeros dropped: those digits are
// counted, and the digits after the point, including zeros that follow the
// point, count as fraction.
struct Mantissa {
  u128 kept = 0;         // the first 30 digits, less those in chunk
  uint64_t chunk = 0;    // the latest kept digits, at most 19
  int chunkDigits = 0;
  int next = 0;          // digit 31
  int64_t count = 0;     // digits, as a string with leading fraction zeros
  int64_t fraction = 0;  // of them after the point
  int64_t trailingZeros = 0;

  void flush() {
    kept = kept * pow10(chunkDigits) + chunk;
    chunk = 0;
    chunkDigits = 0;
  }
};

// The value of four ASCII digits, two pairs at a time across the 16-bit
// lanes of one word.
inline uint64_t fourDigits(const char16_t* s) {
  uint64_t v;
  std::memcpy(&v, s, sizeof v);
  v -= 0x0030003000300030ull;
  v = (v * 10 + (v >> 16)) & 0x0000FFFF0000FFFFull;
  return (v & 0xFFFF) * 100 + (v >> 32);
}

// Adds the run of ASCII digits [s, e) to the mantissa.
void appendDigits(const char16_t* s, const char16_t* e, bool point, Mantissa& m) {
  if (!point && m.count == 0)
    while (s < e && *s == u'0') ++s;
  if (s == e) return;
  const char16_t* zeros = e;
  while (zeros > s && zeros[-1] == u'0') --zeros;
  m.trailingZeros = zeros == s ? m.trailingZeros + (e - s) : e - zeros;
  int64_t n = e - s;
  if (m.count <= kMaxDigits && m.count + n > kMaxDigits) m.next = s[kMaxDigits - m.count] - u'0';
  int64_t take = std::min<int64_t>(n, std::max<int64_t>(0, kMaxDigits - m.count));
  m.count += n;
  if (point) m.fraction += n;
  for (; take >= 4; take -= 4, s += 4) {
    if (m.chunkDigits > 15) m.flush();
    m.chunk = m.chunk * 10000 + fourDigits(s);
    m.chunkDigits += 4;
  }
  for (; take > 0; --take, ++s) {
    if (m.chunkDigits == 19) m.flush();
    m.chunk = m.chunk * 10 + uint64_t(*s - u'0');
    ++m.chunkDigits;
  }
}

// Reads runs of digits, points and commas (which are ignored) from p;
// false for a second point, or a point without any digit.
bool readMantissa(const char16_t*& p, Mantissa& m) {
  bool point = false, anyDigit = false;
  for (;; ++p) {
    const char16_t* run = p;
    while (isWideDigit(*p)) ++p;
    if (p != run) {
      anyDigit = true;
      appendDigits(run, p, point, m);
    }
    if (*p == u'.') {
      if (point) return false;
      point = true;
    } else if (*p != u',') {
      break;
    }
  }
  m.flush();
  return anyDigit || !point;
}

// The exponent after its letter: an optional sign and at least one digit,
// accumulated in 32 bits.
bool readExponent(const char16_t*& p, int32_t& value) {
  bool negative = *p == u'-';
  if (*p == u'-' || *p == u'+') ++p;
  if (!isWideDigit(*p)) return false;
  uint32_t v = 0;
  for (; isWideDigit(*p); ++p) v = v * 10 + uint32_t(*p - u'0');
  value = int32_t(negative ? 0 - v : v);
  return true;
}

// Applies a half-up rounding to m, which holds the first keep characters
// of a digit string. A carry out of the top gives "1" and zeros, which loses
// its last character to keep the length: with keep 0 nothing remains.
u128 roundUp(u128 m, int keep, bool up, int64_t& fraction) {
  if (up && ++m == pow10(keep)) {
    m = keep ? pow10(keep - 1) : 0;
    --fraction;
  }
  return m;
}

}  // namespace

PSH_DEC shAsciiToDec(PSH_DEC dst, const char16_t* text) {
  if (!dst || !text) return nullptr;
  std::memset(dst, 0, sizeof *dst);
  const char16_t* p = text;
  while (isWideSpace(*p)) ++p;
  bool negative = false;
  if (*p == u'-' || *p == u'+') {
    negative = *p++ == u'-';
    while (isWideSpace(*p)) ++p;
  }
  const char16_t* start = p;
  Mantissa m;
  if (!readMantissa(p, m) || p == start) return nullptr;
  int32_t exponent = 0;
  if (*p == u'e' || *p == u'E') {
    if (!readExponent(++p, exponent)) return nullptr;
  }
  while (isWideSpace(*p)) ++p;
  if (*p) return nullptr;

  // Trailing fraction zeros beyond 30 digits carry nothing.
  if (m.count > kMaxDigits) {
    int64_t drop = std::min({m.trailingZeros, m.fraction, m.count - kMaxDigits});
    m.count -= drop;
    m.fraction -= drop;
  }
  if (m.count == 0) return dst;
  int64_t integerDigits = m.count - m.fraction + exponent;
  if (integerDigits > kMaxDigits) {
    dst->flags = SH_DEC_OVERFLOW;
    return dst;
  }
  if (integerDigits < -kMaxDigits) {
    dst->flags = SH_DEC_UNDERFLOW;
    return dst;
  }
  int64_t fraction = m.fraction - exponent;
  int64_t count = m.count;
  u128 kept = m.kept;
  if (count > kMaxDigits) {
    fraction -= count - kMaxDigits;
    count = kMaxDigits;
    kept = roundUp(kept, kMaxDigits, m.next >= 5, fraction);
  }
  if (fraction > kMaxDigits) {
    int cut = int(fraction - kMaxDigits);
    u128 rem;
    kept = divRemPow10(kept, cut, rem);
    fraction -= cut;
    kept = roundUp(kept, int(count - cut), 2 * rem >= pow10(cut), fraction);
  }
  if (fraction < 0) {
    kept *= pow10(int(-fraction));
    fraction = 0;
  }
  writeMagnitude(*dst, kept);
  dst->scale = uint8_t(fraction);
  if (kept && negative) dst->flags = SH_DEC_NEGATIVE;
  return dst;
}

PSH_DEC shAsciiToDecRnd(PSH_DEC dst, const char16_t* text, int16_t places) {
  if (!shAsciiToDec(dst, text)) return nullptr;
  return shRoundDec(dst, dst, places);
}
