// The runtime's wide string calls over UTF-16, with ICU's simple case maps.
#include "text/wide_case.h"

#include <unicode/uchar.h>

namespace zr::text {

namespace {

int sign(int difference) { return (difference > 0) - (difference < 0); }

const char16_t* orEmpty(const char16_t* text) { return text ? text : u""; }

}  // namespace

char16_t lowerUnit(char16_t c) { return static_cast<char16_t>(u_tolower(c)); }

int compareText(const char16_t* a, const char16_t* b) {
  a = orEmpty(a);
  b = orEmpty(b);
  while (*a && *a == *b) ++a, ++b;
  return sign(int(*a) - int(*b));
}

int compareTextNoCase(const char16_t* a, const char16_t* b) {
  a = orEmpty(a);
  b = orEmpty(b);
  for (;; ++a, ++b) {
    int la = lowerUnit(*a), lb = lowerUnit(*b);
    if (la != lb || !la) return sign(la - lb);
  }
}

void upperInPlace(char16_t* text) {
  for (; text && *text; ++text) *text = static_cast<char16_t>(u_toupper(*text));
}

void lowerInPlace(char16_t* text) {
  for (; text && *text; ++text) *text = lowerUnit(*text);
}

const char16_t* findText(const char16_t* text, const char16_t* sought) {
  text = orEmpty(text);
  sought = orEmpty(sought);
  for (;; ++text) {
    size_t i = 0;
    while (sought[i] && text[i] == sought[i]) ++i;
    if (!sought[i]) return text;
    if (!*text) return nullptr;
  }
}

size_t unsignedToText(uint32_t value, char16_t* buffer) {
  char16_t digits[10];
  size_t n = 0;
  do {
    digits[n++] = static_cast<char16_t>(u'0' + value % 10);
    value /= 10;
  } while (value);
  for (size_t i = 0; i < n; ++i) buffer[i] = digits[n - 1 - i];
  buffer[n] = 0;
  return n;
}

size_t longToText(int32_t value, char16_t* buffer) {
  if (value >= 0) return unsignedToText(uint32_t(value), buffer);
  // The magnitude of INT32_MIN fits the unsigned form.
  buffer[0] = u'-';
  return 1 + unsignedToText(0u - uint32_t(value), buffer + 1);
}

}  // namespace zr::text
