#include "text/utf8_codec.h"

#include <cstring>

namespace zr::text {
namespace {

constexpr uint64_t kHighBits = 0x8080808080808080ull;

inline uint64_t load8(const void* p) {
  uint64_t v;
  std::memcpy(&v, p, sizeof v);
  return v;
}

// Widens ASCII bytes while 8 of them in a row are ASCII; returns how many.
inline size_t widenAscii(const unsigned char* s, size_t n, char16_t* d) {
  size_t i = 0;
  while (i + 8 <= n && !(load8(s + i) & kHighBits)) {
    for (int k = 0; k < 8; ++k) d[i + k] = s[i + k];
    i += 8;
  }
  return i;
}

inline size_t asciiRun(const unsigned char* s, size_t n) {
  size_t i = 0;
  while (i + 8 <= n && !(load8(s + i) & kHighBits)) i += 8;
  return i;
}

inline bool allAscii4(const char16_t* s) {
  uint64_t v = load8(s);
  return !(v & 0xFF80FF80FF80FF80ull);
}

// Length of a lenient sequence from its lead byte; 0 when the lead fails.
inline int lenientLength(unsigned char b) {
  if (b < 0x80) return 1;
  if ((b & 0xE0) == 0xC0) return 2;
  if ((b & 0xF0) == 0xE0) return 3;
  if ((b & 0xF1) == 0xF0) return 4;
  if ((b & 0xFD) == 0xF8) return 5;
  if ((b & 0xFE) == 0xFC) return 6;
  return 0;
}

}  // namespace

size_t lenientUtf8Length(const char16_t* source, size_t units) {
  size_t n = units;
  for (size_t i = 0; i < units; ++i) {
    char16_t c = source[i];
    if (c >= 0x80) n += c < 0x800 ? 1 : 2;
  }
  return n;
}

void lenientEncodeUtf8(const char16_t* source, size_t units, char* dest) {
  size_t i = 0;
  while (i < units) {
    if (i + 4 <= units && allAscii4(source + i)) {
      for (int k = 0; k < 4; ++k) *dest++ = static_cast<char>(source[i + k]);
      i += 4;
      continue;
    }
    char16_t c = source[i++];
    if (c < 0x80) {
      *dest++ = static_cast<char>(c);
    } else if (c < 0x800) {
      *dest++ = static_cast<char>(0xC0 | (c >> 6));
      *dest++ = static_cast<char>(0x80 | (c & 0x3F));
    } else {
      *dest++ = static_cast<char>(0xE0 | (c >> 12));
      *dest++ = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
      *dest++ = static_cast<char>(0x80 | (c & 0x3F));
    }
  }
}

size_t lenientDecodeUtf8(const unsigned char* s, size_t bytes, char16_t* dest, size_t* tail) {
  size_t i = 0, out = 0;
  if (tail) *tail = 0;
  while (i < bytes) {
    size_t run = dest ? widenAscii(s + i, bytes - i, dest + out) : asciiRun(s + i, bytes - i);
    i += run;
    out += run;
    if (i >= bytes) break;
    unsigned char b = s[i];
    int length = lenientLength(b);
    if (length == 0) {
      ++i;
      ++out;  // the position keeps what it held
      continue;
    }
    if (tail && i + static_cast<size_t>(length) > bytes) {
      *tail = bytes - i;
      break;
    }
    uint32_t v;
    int next = 1;  // bytes of the sequence read so far
    switch (length) {
      case 1: v = b; break;
      case 2: v = b & 0x1Fu; break;
      case 3: v = b & 0x0Fu; break;
      case 4: v = (b & 0x0Fu) << 18; break;
      case 5:
        v = (b & 0x0Fu) << 24;
        if (i + 1 < bytes && s[i + 1]) v |= (s[i + 1] & 0x0Fu) << 18, next = 2;
        break;
      default:
        v = (b & 0x0Fu) << 30;
        if (i + 1 < bytes && s[i + 1]) v |= (s[i + 1] & 0x0Fu) << 24, next = 2;
        if (next == 2 && i + 2 < bytes && s[i + 2]) v |= (s[i + 2] & 0x0Fu) << 18, next = 3;
        break;
    }
    if (length <= 3) {
      for (; next < length && i + next < bytes && s[i + next]; ++next) v = (v << 6) | (s[i + next] & 0x3Fu);
    } else if (next == length - 3) {
      for (int shift = 12; next < length && i + next < bytes && s[i + next]; ++next, shift -= 6) {
        v |= (s[i + next] & 0x3Fu) << shift;
      }
    }
    if (dest) dest[out] = static_cast<char16_t>(v);
    ++out;
    i += static_cast<size_t>(next);
  }
  return out;
}

size_t strictDecodeUtf8(const unsigned char* s, size_t bytes, char16_t* dest, size_t destUnits, size_t* consumed) {
  size_t i = 0, out = 0;
  while (i < bytes && out < destUnits) {
    size_t run = widenAscii(s + i, bytes - i < destUnits - out ? bytes - i : destUnits - out, dest + out);
    i += run;
    out += run;
    if (i >= bytes || out >= destUnits) break;
    unsigned char b = s[i];
    if (b < 0x80) {
      dest[out++] = b;
      ++i;
      continue;
    }
    int length;
    uint32_t v;
    if ((b & 0xE0) == 0xC0) length = 2, v = b & 0x1Fu;
    else if ((b & 0xF0) == 0xE0) length = 3, v = b & 0x0Fu;
    else if ((b & 0xFC) == 0xF0) length = 4, v = b & 0x03u;
    else break;
    if (i + static_cast<size_t>(length) > bytes) break;
    bool good = true;
    for (int k = 1; k < length; ++k) {
      unsigned char c = s[i + k];
      if ((c & 0xC0) != 0x80) {
        good = false;
        break;
      }
      v = (v << 6) | (c & 0x3Fu);
    }
    if (!good) break;
    if (length == 4) {
      if (destUnits - out < 2) break;
      // No 0x10000 is taken off: the pair carries the plane as it stands.
      dest[out++] = static_cast<char16_t>(((v & 0xFFC00) >> 10) | 0xD800);
      dest[out++] = static_cast<char16_t>((v & 0x3FF) | 0xDC00);
    } else {
      dest[out++] = static_cast<char16_t>(v);
    }
    i += static_cast<size_t>(length);
  }
  if (consumed) *consumed = i;
  return out;
}

size_t strictEncodeUtf8(const char16_t* source, size_t units, char* dest) {
  char* start = dest;
  size_t i = 0;
  while (i < units) {
    if (i + 4 <= units && allAscii4(source + i)) {
      for (int k = 0; k < 4; ++k) *dest++ = static_cast<char>(source[i + k]);
      i += 4;
      continue;
    }
    uint32_t c = source[i++];
    if (c >= 0xD800 && c <= 0xDBFF && i < units && source[i] >= 0xDC00 && source[i] <= 0xDFFF) {
      c = 0x10000 + ((c - 0xD800) << 10) + (source[i++] - 0xDC00u);
    } else if (c >= 0xD800 && c <= 0xDFFF) {
      c = 0xFFFD;
    }
    if (c < 0x80) {
      *dest++ = static_cast<char>(c);
    } else if (c < 0x800) {
      *dest++ = static_cast<char>(0xC0 | (c >> 6));
      *dest++ = static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
      *dest++ = static_cast<char>(0xE0 | (c >> 12));
      *dest++ = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
      *dest++ = static_cast<char>(0x80 | (c & 0x3F));
    } else {
      *dest++ = static_cast<char>(0xF0 | (c >> 18));
      *dest++ = static_cast<char>(0x80 | ((c >> 12) & 0x3F));
      *dest++ = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
      *dest++ = static_cast<char>(0x80 | (c & 0x3F));
    }
  }
  return static_cast<size_t>(dest - start);
}

}  // namespace zr::text
