#include "frame/wide_format.h"

#include <cstdint>
#include <type_traits>

namespace zr::frame {
namespace {

struct Sink {
  char16_t* out;
  size_t capacity;
  size_t length = 0;
  void put(char16_t c) {
    if (length + 1 < capacity) out[length++] = c;
  }
  void repeat(char16_t c, int n) {
    for (int i = 0; i < n; ++i) put(c);
  }
};

struct Spec {
  bool left = false, zero = false, alternate = false;
  int width = 0, precision = -1;
};

template <typename Unit>
void putText(Sink& sink, const Spec& spec, const Unit* text) {
  static const Unit nullText[] = {'(', 'n', 'u', 'l', 'l', ')', 0};
  if (!text) text = nullText;
  int n = 0;
  while (text[n] && (spec.precision < 0 || n < spec.precision)) ++n;
  if (!spec.left) sink.repeat(u' ', spec.width - n);
  for (int i = 0; i < n; ++i) sink.put(static_cast<char16_t>(static_cast<std::make_unsigned_t<Unit>>(text[i])));
  if (spec.left) sink.repeat(u' ', spec.width - n);
}

void putNumber(Sink& sink, const Spec& spec, uint64_t magnitude, bool negative, unsigned base, bool upper,
               const char* prefix) {
  char digits[24];
  int n = 0;
  const char* set = upper ? "0123456789ABCDEF" : "0123456789abcdef";
  do {
    digits[n++] = set[magnitude % base];
    magnitude /= base;
  } while (magnitude);
  int precisionZeros = spec.precision > n ? spec.precision - n : 0;
  int prefixLength = negative ? 1 : 0;
  for (const char* p = prefix; *p; ++p) ++prefixLength;
  int body = prefixLength + precisionZeros + n;
  int pad = spec.width > body ? spec.width - body : 0;
  bool zeroPad = spec.zero && !spec.left && spec.precision < 0;
  if (!spec.left && !zeroPad) sink.repeat(u' ', pad);
  if (negative) sink.put(u'-');
  for (const char* p = prefix; *p; ++p) sink.put(static_cast<char16_t>(*p));
  if (zeroPad) sink.repeat(u'0', pad);
  sink.repeat(u'0', precisionZeros);
  while (n) sink.put(static_cast<char16_t>(digits[--n]));
  if (spec.left) sink.repeat(u' ', pad);
}

}  // namespace

size_t formatWide(char16_t* out, size_t capacity, const char16_t* format, va_list args) {
  if (capacity == 0) return 0;
  Sink sink{out, capacity};
  for (const char16_t* f = format; f && *f; ++f) {
    if (*f != u'%') {
      sink.put(*f);
      continue;
    }
    ++f;
    Spec spec;
    for (;; ++f) {
      if (*f == u'-') spec.left = true;
      else if (*f == u'0') spec.zero = true;
      else if (*f == u'#') spec.alternate = true;
      else break;
    }
    if (*f == u'*') {
      spec.width = va_arg(args, int);
      if (spec.width < 0) spec.left = true, spec.width = -spec.width;
      ++f;
    }
    while (*f >= u'0' && *f <= u'9') spec.width = spec.width * 10 + (*f++ - u'0');
    if (*f == u'.') {
      spec.precision = 0;
      ++f;
      if (*f == u'*') {
        spec.precision = va_arg(args, int);
        ++f;
      }
      while (*f >= u'0' && *f <= u'9') spec.precision = spec.precision * 10 + (*f++ - u'0');
    }
    int longs = 0;
    bool sizeT = false;
    for (;; ++f) {
      if (*f == u'l') ++longs;
      else if (*f == u'h') longs = -1;
      else if (*f == u'z') sizeT = true;
      else break;
    }
    auto signedArg = [&]() -> int64_t {
      if (sizeT) return static_cast<int64_t>(va_arg(args, ptrdiff_t));
      if (longs >= 2) return va_arg(args, long long);
      if (longs == 1) return va_arg(args, long);
      int v = va_arg(args, int);
      return longs < 0 ? static_cast<short>(v) : v;
    };
    auto unsignedArg = [&]() -> uint64_t {
      if (sizeT) return va_arg(args, size_t);
      if (longs >= 2) return va_arg(args, unsigned long long);
      if (longs == 1) return va_arg(args, unsigned long);
      unsigned v = va_arg(args, unsigned);
      return longs < 0 ? static_cast<unsigned short>(v) : v;
    };
    switch (*f) {
      case u'd':
      case u'i': {
        int64_t v = signedArg();
        putNumber(sink, spec, v < 0 ? 0 - static_cast<uint64_t>(v) : static_cast<uint64_t>(v), v < 0, 10, false, "");
        break;
      }
      case u'u':
        putNumber(sink, spec, unsignedArg(), false, 10, false, "");
        break;
      case u'x':
      case u'X': {
        uint64_t v = unsignedArg();
        bool upper = *f == u'X';
        putNumber(sink, spec, v, false, 16, upper, spec.alternate && v ? (upper ? "0X" : "0x") : "");
        break;
      }
      case u'p': {
        spec.precision = static_cast<int>(2 * sizeof(void*));
        putNumber(sink, spec, reinterpret_cast<uintptr_t>(va_arg(args, void*)), false, 16, true, "");
        break;
      }
      case u'c': {
        char16_t c[2] = {static_cast<char16_t>(va_arg(args, int)), 0};
        spec.precision = 1;
        putText(sink, spec, c);
        break;
      }
      case u'C': {
        char c[2] = {static_cast<char>(va_arg(args, int)), 0};
        spec.precision = 1;
        putText(sink, spec, c);
        break;
      }
      case u's':
        putText(sink, spec, va_arg(args, const char16_t*));
        break;
      case u'S':
        putText(sink, spec, va_arg(args, const char*));
        break;
      case u'%':
        sink.put(u'%');
        break;
      case 0:
        --f;  // a lone '%' at the end
        break;
      default:
        sink.put(*f);
        break;
    }
  }
  out[sink.length] = 0;
  return sink.length;
}

}  // namespace zr::frame
