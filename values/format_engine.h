// format_engine.h - what the formatters share: the bounded output, colour
// digits, count fields, and the digit record numbers are reduced to.
#ifndef VALUES_FORMAT_ENGINE_H
#define VALUES_FORMAT_ENGINE_H

#include <cstddef>
#include <cstdint>

#include "shdec.h"
#include "values/format_mask.h"

namespace zr::fmt {

// Up to capacity characters, then a terminator; a full buffer silently
// drops the rest.
class Out {
 public:
  Out(char16_t* buffer, int capacity) : buffer_(buffer), capacity_(capacity > 0 ? size_t(capacity) : 0) {}
  ~Out() {
    if (buffer_) buffer_[count_] = 0;
  }
  void put(char16_t c) {
    if (count_ < capacity_) buffer_[count_++] = c;
  }
  void put(const char16_t* s) {
    while (*s && count_ < capacity_) buffer_[count_++] = *s++;
  }
  void ascii(const char* s) {
    while (*s && count_ < capacity_) buffer_[count_++] = char16_t(*s++);
  }
  void repeat(char16_t c, size_t n) {
    while (n-- && count_ < capacity_) buffer_[count_++] = c;
  }
  bool full() const { return count_ >= capacity_; }

 private:
  char16_t* buffer_;
  size_t capacity_;
  size_t count_ = 0;
};

// A compiled mask read one unit at a time; reading stops at its terminator.
class Units {
 public:
  explicit Units(const uint16_t* mask, size_t at = 0) : mask_(mask), at_(at) {}
  uint16_t next() {
    const uint16_t u = mask_[at_];
    if (u) ++at_;
    return u;
  }
  // A count stored as count + 1.
  int count() {
    const uint16_t u = next();
    return u ? u - 1 : 0;
  }
  size_t at() const { return at_; }

 private:
  const uint16_t* mask_;
  size_t at_;
};

// The colour digits up to the closing token, as a COLORREF.
uint32_t readColor(Units& units, uint16_t close);

// Writes n as decimal digits, at least width of them.
void putNumber(Out& out, int64_t n, int width);

// A number reduced to its significant digits: value = 0.d1d2... x 10^point.
struct Digits {
  bool negative = false;
  int32_t point = 0;
  int count = 1;
  char digit[40] = {'0'};

  char at(int64_t i) const { return i >= 0 && i < count ? digit[i] : '0'; }
  void zero() {
    point = 0;
    count = 1;
    digit[0] = '0';
  }
  void trimZeros() {
    while (count > 1 && digit[count - 1] == '0') --count;
  }
  // Half up at n digits; a carry out of the top moves the point.
  void roundTo(int n);
};

void digitsOf(double x, Digits& d);
void digitsOf(float x, Digits& d);
void digitsOf(int64_t x, Digits& d);
void digitsOf(const SH_DEC& x, Digits& d);

}  // namespace zr::fmt

#endif
