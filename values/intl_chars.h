// intl_chars.h - the few UTF-16 helpers the locale and mask code needs.
#ifndef VALUES_INTL_CHARS_H
#define VALUES_INTL_CHARS_H

#include <cstddef>

namespace zr::intl {

// White space as the C runtime's iswspace knows it.
inline bool isSpace(char16_t c) {
  return (c >= 0x09 && c <= 0x0D) || c == 0x20 || c == 0x85 || c == 0xA0 || c == 0x1680 ||
         (c >= 0x2000 && c <= 0x200A) || c == 0x2028 || c == 0x2029 || c == 0x202F || c == 0x205F ||
         c == 0x3000;
}

inline bool isDigit(char16_t c) { return c >= u'0' && c <= u'9'; }

// Only ASCII letters change: mask letters are ASCII, and other scripts'
// case pairs must not turn into mask letters.
inline char16_t asciiUpper(char16_t c) { return (c >= u'a' && c <= u'z') ? char16_t(c - 32) : c; }

inline size_t length(const char16_t* s) {
  size_t n = 0;
  while (s[n]) ++n;
  return n;
}

// Copies at most capacity - 1 units and a terminator; returns the length.
inline size_t copyBounded(char16_t* dst, size_t capacity, const char16_t* src) {
  if (capacity == 0) return 0;
  size_t n = 0;
  while (src[n] && n + 1 < capacity) {
    dst[n] = src[n];
    ++n;
  }
  dst[n] = 0;
  return n;
}

inline bool equalsIgnoreCase(const char16_t* a, size_t n, const char16_t* b) {
  for (size_t i = 0; i < n; ++i)
    if (!b[i] || asciiUpper(a[i]) != asciiUpper(b[i])) return false;
  return b[n] == 0;
}

}  // namespace zr::intl

#endif
