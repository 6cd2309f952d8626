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

struct Field {
  bool left = false, zero = false, alternate = false;
  int width = 0, precision = -1;
};

template <typename Unit>
void putText(Sink& sink, const Field& field, const Unit* text) {
  static const Unit nullText[] = {'(', 'n', 'u', 'l', 'l', ')', 0};
  if (!text) text = nullText;
  int n = 0;
  while (text[n] && (field.precision < 0 || n < field.precision)) ++n;
  if (!field.left) sink.repeat(u' ', field.width - n);
  for (int i = 0; i < n; ++i) sink.put(static_cast<char16_t>(static_cast<std::make_unsigned_t<Unit>>(text[i])));
  if (field.left) sink.repeat(u' ', field.width - n);
}

void putNumber(Sink& sink, const Field& field, uint64_t magnitude, bool negative, unsigned base, bool upper,
               const char* prefix) {
  char digits[24];
  int n = 0;
  const char* set = upper ? "0123456789ABCDEF" : "0123456789abcdef";
  do {
    digits[n++] = set[magnitude % base];
    magnitude /= base;
  } while (magnitude);
  int precisionZeros = field.precision > n ? field.precision - n : 0;
  int prefixLength = negative ? 1 : 0;
  for (const char* p = prefix; *p; ++p) ++prefixLength;
  int body = prefixLength + precisionZeros + n;
  int pad = field.width > body ? field.width - body : 0;
  bool zeroPad = field.zero && !field.left && field.precision < 0;
  if (!field.left && !zeroPad) sink.repeat(u' ', pad);
  if (negative) sink.put(u'-');
  for (const char* p = prefix; *p; ++p) sink.put(static_cast<char16_t>(*p));
  if (zeroPad) sink.repeat(u'0', pad);
  sink.repeat(u'0', precisionZeros);
  while (n) sink.put(static_cast<char16_t>(digits[--n]));
  if (field.left) sink.repeat(u' ', pad);
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
    Field field;
    for (;; ++f) {
      if (*f == u'-') field.left = true;
      else if (*f == u'0') field.zero = true;
      else if (*f == u'#') field.alternate = true;
      else break;
    }
    if (*f == u'*') {
      field.width = va_arg(args, int);
      if (field.width < 0) field.left = true, field.width = -field.width;
      ++f;
    }
    while (*f >= u'0' && *f <= u'9') field.width = field.width * 10 + (*f++ - u'0');
    if (*f == u'.') {
      field.precision = 0;
      ++f;
      if (*f == u'*') {
        field.precision = va_arg(args, int);
        ++f;
      }
      while (*f >= u'0' && *f <= u'9') field.precision = field.precision * 10 + (*f++ - u'0');
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
        putNumber(sink, field, v < 0 ? 0 - static_cast<uint64_t>(v) : static_cast<uint64_t>(v), v < 0, 10, false, "");
        break;
      }
      case u'u':
        putNumber(sink, field, unsignedArg(), false, 10, false, "");
        break;
      case u'x':
      case u'X': {
        uint64_t v = unsignedArg();
        bool upper = *f == u'X';
        putNumber(sink, field, v, false, 16, upper, field.alternate && v ? (upper ? "0X" : "0x") : "");
        break;
      }
      case u'p': {
        field.precision = static_cast<int>(2 * sizeof(void*));
        putNumber(sink, field, reinterpret_cast<uintptr_t>(va_arg(args, void*)), false, 16, true, "");
        break;
      }
      case u'c': {
        char16_t c[2] = {static_cast<char16_t>(va_arg(args, int)), 0};
        field.precision = 1;
        putText(sink, field, c);
        break;
      }
      case u'C': {
        char c[2] = {static_cast<char>(va_arg(args, int)), 0};
        field.precision = 1;
        putText(sink, field, c);
        break;
      }
      case u's':
        putText(sink, field, va_arg(args, const char16_t*));
        break;
      case u'S':
        putText(sink, field, va_arg(args, const char*));
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
