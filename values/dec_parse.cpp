// Text to decimal. The mantissa and the exponent are read by two small
// parsers, each over its own heap copy of its slice of the text.
#include <cstring>

#include "zrheap.h"
#include "values/dec_work.h"
#include "text/wide_chars.h"

using namespace zr::dec;
using zr::text::isWideDigit;
using zr::text::isWideSpace;
using zr::text::unitLength;

namespace {

// A heap copy of a slice with room to spare: one leading character for a
// rounding carry and the terminator.
class SliceCopy {
 public:
  SliceCopy() = default;
  SliceCopy(const SliceCopy&) = delete;
  SliceCopy& operator=(const SliceCopy&) = delete;
  ~SliceCopy() {
    if (buffer_) ZrHeap_free(buffer_);
  }

  // The copy starts at text(); text()[-1] is the spare '0'.
  bool assign(const char16_t* s, size_t n) {
    buffer_ = static_cast<char16_t*>(ZrHeap_malloc((n + 6) * sizeof(char16_t)));
    if (!buffer_) return false;
    buffer_[0] = u'0';
    std::memcpy(buffer_ + 1, s, n * sizeof(char16_t));
    buffer_[n + 1] = 0;
    return true;
  }
  char16_t* text() const { return buffer_ ? buffer_ + 1 : nullptr; }

 private:
  char16_t* buffer_ = nullptr;
};

class DecimalNumberParser {
 public:
  // An empty slice leaves the parser without text, and valid.
  bool parse(const char16_t* s, size_t n) {
    if (n == 0) return true;
    if (!copy_.assign(s, n)) return false;
    char16_t* t = copy_.text();
    size_t len = 0, points = 0;
    for (size_t i = 0; i < n; ++i)
      if (t[i] != u',') t[len++] = t[i];
    t[len] = 0;
    size_t pointAt = len;
    for (size_t i = 0; i < len; ++i) {
      if (t[i] == u'.') {
        ++points;
        pointAt = i;
      } else if (!isWideDigit(t[i])) {
        return false;
      }
    }
    if (points > 1 || (len == 1 && points == 1)) return false;
    fraction_ = points ? int(len - pointAt - 1) : 0;
    size_t start = 0;
    while (start < len && t[start] == u'0') ++start;
    digits_ = t + start;
    int count = 0;
    for (char16_t* p = digits_; *p; ++p)
      if (*p != u'.') digits_[count++] = *p;
    // Trailing fraction zeros beyond 30 digits carry nothing.
    while (count >= 31 && digits_[count - 1] == u'0' && fraction_ > 0) {
      --count;
      --fraction_;
    }
    digits_[count] = 0;
    count_ = count;
    hasText_ = true;
    return true;
  }

  bool hasText() const { return hasText_; }
  char16_t* digits() const { return digits_; }
  int count() const { return count_; }
  int fraction() const { return fraction_; }

 private:
  SliceCopy copy_;
  bool hasText_ = false;
  char16_t* digits_ = nullptr;
  int count_ = 0;
  int fraction_ = 0;
};

class ExponentNumberParser {
 public:
  // The slice starts at the letter "e" or "E".
  bool parse(const char16_t* s, size_t n) {
    if (n == 0) return true;
    if (!copy_.assign(s, n)) return false;
    const char16_t* p = copy_.text() + 1;
    bool negative = false;
    if (*p == u'-' || *p == u'+') negative = *p++ == u'-';
    if (!*p) return false;
    uint32_t value = 0;
    for (; *p; ++p) {
      if (!isWideDigit(*p)) return false;
      value = value * 10 + uint32_t(*p - u'0');
    }
    value_ = int32_t(negative ? 0 - value : value);
    return true;
  }

  int32_t value() const { return value_; }

 private:
  SliceCopy copy_;
  int32_t value_ = 0;
};

// Rounds the digit string to `keep` characters, half up on the next digit.
// A carry out of the top lands in the spare '0' before the string, and the
// string, now "1" and zeros, loses its last character to keep its length.
void roundDigits(char16_t*& s, int& count, int keep, int64_t& fraction) {
  bool up = s[keep] >= u'5';
  fraction += keep - count;
  count = keep;
  if (up) {
    int i = keep - 1;
    for (; i >= 0 && s[i] == u'9'; --i) s[i] = u'0';
    if (i >= 0) {
      ++s[i];
    } else {
      s[-1] = u'1';
      --s;
      --fraction;
    }
  }
  s[count] = 0;
}

}  // namespace

PSH_DEC shAsciiToDec(PSH_DEC dst, const char16_t* text) {
  if (!dst || !text) return nullptr;
  std::memset(dst, 0, sizeof *dst);
  const char16_t* p = text;
  while (*p && isWideSpace(*p)) ++p;
  if (!*p) return nullptr;
  bool negative = false;
  if (*p == u'-' || *p == u'+') {
    negative = *p++ == u'-';
    while (*p && isWideSpace(*p)) ++p;
  }
  if (!*p) return nullptr;
  const char16_t* end = p + unitLength(p);
  while (isWideSpace(end[-1])) --end;
  const char16_t* e = end;
  for (const char16_t* q = p; q < end; ++q) {
    if (isWideSpace(*q)) return nullptr;
    if (e == end && (*q == u'e' || *q == u'E')) e = q;
  }

  DecimalNumberParser mantissa;
  ExponentNumberParser exponent;
  if (!mantissa.parse(p, size_t(e - p)) || !exponent.parse(e, size_t(end - e)) || !mantissa.hasText())
    return nullptr;
  int count = mantissa.count();
  if (count == 0) return dst;

  int64_t integerDigits = int64_t(count) - mantissa.fraction() + exponent.value();
  if (integerDigits > kMaxDigits) {
    dst->flags = SH_DEC_OVERFLOW;
    return dst;
  }
  if (integerDigits < -kMaxDigits) {
    dst->flags = SH_DEC_UNDERFLOW;
    return dst;
  }
  int64_t fraction = int64_t(mantissa.fraction()) - exponent.value();
  char16_t* s = mantissa.digits();
  if (count > kMaxDigits) roundDigits(s, count, kMaxDigits, fraction);
  if (fraction > kMaxDigits) roundDigits(s, count, int(count - fraction + kMaxDigits), fraction);

  DecWork v{};
  for (int i = 0; i < count; i += 9) {
    int n = count - i < 9 ? count - i : 9;
    uint32_t chunk = 0;
    for (int j = 0; j < n; ++j) chunk = chunk * 10 + uint32_t(s[i + j] - u'0');
    mulAdd32(v.w, kPow10Small[n], chunk);
  }
  if (fraction < 0)
    mulPow10(v.w, int(-fraction));
  else
    v.scale = int16_t(fraction);
  v.sign = negative;
  plainStore(*dst, v);
  return dst;
}

PSH_DEC shAsciiToDecRnd(PSH_DEC dst, const char16_t* text, int16_t places) {
  if (!shAsciiToDec(dst, text)) return nullptr;
  return shRoundDec(dst, dst, places);
}
