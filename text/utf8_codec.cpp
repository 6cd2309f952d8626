#include "text/utf8_codec.h"

#include <cstring>

#include "text/wide_chars.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace zr::text {
namespace {

constexpr uint64_t kHighBits = 0x8080808080808080ull;

inline uint64_t load8(const void* p) {
  uint64_t v;
  std::memcpy(&v, p, sizeof v);
  return v;
}

// The ASCII paths move 16 bytes or 8 units at a time; they return how many
// they took, stopping before the first block with a non-ASCII element.
inline size_t asciiRun(const unsigned char* s, size_t n) {
  size_t i = 0;
  while (i + 8 <= n && !(load8(s + i) & kHighBits)) i += 8;
  return i;
}

// Widens the ASCII bytes at the start of s (up to n), at least one byte
// when s[0] is ASCII. Block moves need 16 bytes ahead; a block that is not
// all ASCII tells by its mask how many of its bytes are.
inline size_t widenLeadingAscii(const unsigned char* s, size_t n, char16_t* d) {
  size_t i = 0;
#if defined(__SSE2__)
  const __m128i zero = _mm_setzero_si128();
  while (i + 16 <= n) {
    __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + i));
    unsigned mask = static_cast<unsigned>(_mm_movemask_epi8(v));
    if (mask) {
      size_t ascii = static_cast<size_t>(__builtin_ctz(mask));
      for (size_t k = 0; k < ascii; ++k) d[i + k] = s[i + k];
      return i + ascii;
    }
    _mm_storeu_si128(reinterpret_cast<__m128i*>(d + i), _mm_unpacklo_epi8(v, zero));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(d + i + 8), _mm_unpackhi_epi8(v, zero));
    i += 16;
  }
#endif
  while (i < n && s[i] < 0x80) {
    d[i] = s[i];
    ++i;
  }
  return i;
}

// Narrows the ASCII units at the start of s (up to n). A block is stored
// whole even when only its first units are ASCII: each unit yields at least
// one byte, so those bytes lie inside the output.
inline size_t narrowLeadingAscii(const char16_t* s, size_t n, char* d) {
  size_t i = 0;
#if defined(__SSE2__)
  const __m128i high = _mm_set1_epi16(static_cast<short>(0xFF80));
  const __m128i zero = _mm_setzero_si128();
  // Sixteen units a round while both halves are ASCII.
  while (i + 16 <= n) {
    __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + i));
    __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + i + 8));
    if (_mm_movemask_epi8(_mm_cmpeq_epi16(_mm_and_si128(_mm_or_si128(a, b), high), zero)) != 0xFFFF) break;
    _mm_storeu_si128(reinterpret_cast<__m128i*>(d + i), _mm_packus_epi16(a, b));
    i += 16;
  }
  while (i + 8 <= n) {
    __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + i));
    unsigned ascii = static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi16(_mm_and_si128(v, high), zero)));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(d + i), _mm_packus_epi16(v, v));
    if (ascii != 0xFFFF) return i + static_cast<size_t>(__builtin_ctz(~ascii)) / 2;
    i += 8;
  }
#endif
  while (i < n && s[i] < 0x80) {
    d[i] = static_cast<char>(s[i]);
    ++i;
  }
  return i;
}

inline void store16(char* d, uint32_t v) {
  uint16_t w = static_cast<uint16_t>(v);
  std::memcpy(d, &w, sizeof w);
}

// One unit from 0x80 up as two or three bytes; returns the end.
inline char* encodeBmp(char* d, uint32_t c) {
  if (c < 0x800) {
    store16(d, 0x80C0u | (c >> 6) | (c & 0x3Fu) << 8);
    return d + 2;
  }
  store16(d, 0x80E0u | (c >> 12) | ((c >> 6) & 0x3Fu) << 8);
  d[2] = static_cast<char>(0x80 | (c & 0x3F));
  return d + 3;
}

// Copies the ASCII run at source[i], moving i and dest past it; false when
// there is none, and the unit at i still waits.
inline bool copyAsciiRun(const char16_t* source, size_t units, size_t& i, char*& dest) {
  if (source[i] >= 0x80) return false;
  const size_t run = narrowLeadingAscii(source + i, units - i, dest);
  i += run;
  dest += run;
  return run != 0;
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

// Aligned blocks never reach into a page the text does not touch, but the
// last one may read past the terminator, which the address sanitizer would
// take for an overflow.
__attribute__((no_sanitize_address)) size_t terminatedLength(const char16_t* text) {
#if defined(__SSE2__)
  const auto address = reinterpret_cast<uintptr_t>(text);
  if (address % sizeof(char16_t) == 0) {
    const __m128i zero = _mm_setzero_si128();
    const auto* block = reinterpret_cast<const __m128i*>(address & ~uintptr_t(15));
    // Bytes of the first block that lie before the text are masked off.
    unsigned before = static_cast<unsigned>(address & 15);
    unsigned mask = static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi16(_mm_load_si128(block), zero))) >> before;
    if (mask) return static_cast<size_t>(__builtin_ctz(mask)) / 2;
    for (;;) {
      ++block;
      mask = static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi16(_mm_load_si128(block), zero)));
      if (mask) {
        size_t bytes = static_cast<size_t>(reinterpret_cast<uintptr_t>(block) - address) + __builtin_ctz(mask);
        return bytes / sizeof(char16_t);
      }
    }
  }
#endif
  return unitLength(text);
}

size_t lenientUtf8Length(const char16_t* source, size_t units) {
  size_t n = units;
  for (size_t i = 0; i < units; ++i) n += (source[i] >= 0x80) + (source[i] >= 0x800);
  return n;
}

size_t lenientEncodeUtf8(const char16_t* source, size_t units, char* dest) {
  char* start = dest;
  size_t i = 0;
  while (i < units) {
    if (copyAsciiRun(source, units, i, dest)) continue;
    // Units from 0x80 up, surrogates among them, run by run.
    for (; i < units && source[i] >= 0x80; ++i) dest = encodeBmp(dest, source[i]);
  }
  return static_cast<size_t>(dest - start);
}

size_t lenientDecodeUtf8(const unsigned char* s, size_t bytes, char16_t* dest, size_t* tail) {
  size_t i = 0, out = 0;
  if (tail) *tail = 0;
  while (i < bytes) {
    unsigned char b = s[i];
    if (b < 0x80) {
      size_t run = dest ? widenLeadingAscii(s + i, bytes - i, dest + out) : asciiRun(s + i, bytes - i);
      if (!run) run = 1;
      i += run;
      out += run;
      continue;
    }
    // The common two- and three-byte forms, whole and NUL-free.
    if ((b & 0xE0) == 0xC0 && i + 1 < bytes && s[i + 1]) {
      if (dest) dest[out] = static_cast<char16_t>(((b & 0x1Fu) << 6) | (s[i + 1] & 0x3Fu));
      ++out;
      i += 2;
      continue;
    }
    if ((b & 0xF0) == 0xE0 && i + 2 < bytes && s[i + 1] && s[i + 2]) {
      if (dest) dest[out] = static_cast<char16_t>(((b & 0x0Fu) << 12) | ((s[i + 1] & 0x3Fu) << 6) | (s[i + 2] & 0x3Fu));
      ++out;
      i += 3;
      continue;
    }
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
    unsigned char b = s[i];
    if (b < 0x80) {
      size_t room = destUnits - out;
      size_t run = widenLeadingAscii(s + i, bytes - i < room ? bytes - i : room, dest + out);
      i += run;
      out += run;
      continue;
    }
    if ((b & 0xE0) == 0xC0) {
      if (i + 2 > bytes || (s[i + 1] & 0xC0) != 0x80) break;
      dest[out++] = static_cast<char16_t>(((b & 0x1Fu) << 6) | (s[i + 1] & 0x3Fu));
      i += 2;
    } else if ((b & 0xF0) == 0xE0) {
      if (i + 3 > bytes || (s[i + 1] & 0xC0) != 0x80 || (s[i + 2] & 0xC0) != 0x80) break;
      dest[out++] = static_cast<char16_t>(((b & 0x0Fu) << 12) | ((s[i + 1] & 0x3Fu) << 6) | (s[i + 2] & 0x3Fu));
      i += 3;
    } else if ((b & 0xFC) == 0xF0) {
      if (i + 4 > bytes || (s[i + 1] & 0xC0) != 0x80 || (s[i + 2] & 0xC0) != 0x80 || (s[i + 3] & 0xC0) != 0x80) break;
      if (destUnits - out < 2) break;
      uint32_t v = ((b & 0x03u) << 18) | ((s[i + 1] & 0x3Fu) << 12) | ((s[i + 2] & 0x3Fu) << 6) | (s[i + 3] & 0x3Fu);
      // No 0x10000 is taken off: the pair carries the plane as it stands.
      dest[out++] = static_cast<char16_t>(((v & 0xFFC00) >> 10) | 0xD800);
      dest[out++] = static_cast<char16_t>((v & 0x3FF) | 0xDC00);
      i += 4;
    } else {
      break;
    }
  }
  if (consumed) *consumed = i;
  return out;
}

size_t strictEncodeUtf8(const char16_t* source, size_t units, char* dest) {
  char* start = dest;
  size_t i = 0;
  while (i < units) {
    if (copyAsciiRun(source, units, i, dest)) continue;
    uint32_t c = source[i++];
    if (c >= 0xD800 && c <= 0xDBFF && i < units && source[i] >= 0xDC00 && source[i] <= 0xDFFF) {
      c = 0x10000 + ((c - 0xD800) << 10) + (source[i++] - 0xDC00u);
    } else if (c >= 0xD800 && c <= 0xDFFF) {
      c = 0xFFFD;
    }
    if (c < 0x80) {
      *dest++ = static_cast<char>(c);
    } else if (c < 0x10000) {
      dest = encodeBmp(dest, c);
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
