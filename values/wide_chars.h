// wide_chars.h - the few UTF-16 character tests the decimal text forms need.
#ifndef VALUES_WIDE_CHARS_H
#define VALUES_WIDE_CHARS_H

#include <cstddef>

namespace zr::dec {

// Unicode white space, as the C runtime's iswspace knows it.
inline bool isWideSpace(char16_t c) {
  return (c >= 0x09 && c <= 0x0D) || c == 0x20 || c == 0x85 || c == 0xA0 || c == 0x1680 ||
         (c >= 0x2000 && c <= 0x200A) || c == 0x2028 || c == 0x2029 || c == 0x202F || c == 0x205F ||
         c == 0x3000;
}

// Only ASCII digits carry a value here.
inline bool isWideDigit(char16_t c) { return c >= u'0' && c <= u'9'; }

inline size_t wideLength(const char16_t* s) {
  size_t n = 0;
  while (s[n]) ++n;
  return n;
}

}  // namespace zr::dec

#endif
