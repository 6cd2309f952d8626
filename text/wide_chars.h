// wide_chars.h - the small UTF-16 character and string helpers the text and
// value layers share, inline because they sit in parsing loops.
#ifndef ZR_TEXT_WIDE_CHARS_H
#define ZR_TEXT_WIDE_CHARS_H

#include <cstddef>
#include <string>

namespace zr::text {

// iswspace of the platform: the C0 blanks and Unicode's space separators,
// but not the zero-width ones.
inline bool isWideSpace(char16_t c) {
  return (c >= 0x09 && c <= 0x0D) || c == 0x20 || c == 0x85 || c == 0xA0 || c == 0x1680 ||
         (c >= 0x2000 && c <= 0x200A) || c == 0x2028 || c == 0x2029 || c == 0x202F || c == 0x205F ||
         c == 0x3000;
}

// iswdigit of the platform: only ASCII digits carry a value.
inline bool isWideDigit(char16_t c) { return c >= u'0' && c <= u'9'; }

inline bool isAsciiLetter(char16_t c) { return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z'); }

// Only ASCII letters change: mask letters are ASCII, and other scripts'
// case pairs must not turn into mask letters.
inline char16_t asciiUpper(char16_t c) { return (c >= u'a' && c <= u'z') ? char16_t(c - 32) : c; }

inline size_t unitLength(const char16_t* text) { return std::char_traits<char16_t>::length(text); }

// Copies at most capacity - 1 units and a terminator; returns the length.
inline size_t copyBounded(char16_t* dest, size_t capacity, const char16_t* source) {
  if (capacity == 0) return 0;
  size_t n = 0;
  while (source[n] && n + 1 < capacity) {
    dest[n] = source[n];
    ++n;
  }
  dest[n] = 0;
  return n;
}

// The n units at a against the terminated b, ASCII letters in either case.
inline bool equalsIgnoreCase(const char16_t* a, size_t n, const char16_t* b) {
  for (size_t i = 0; i < n; ++i)
    if (!b[i] || asciiUpper(a[i]) != asciiUpper(b[i])) return false;
  return b[n] == 0;
}

}  // namespace zr::text

#endif
