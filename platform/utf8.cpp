#include "platform/utf8.h"

namespace zr::platform {

std::string toUtf8(const char16_t* text) {
  if (!text) return {};
  size_t n = 0;
  while (text[n]) ++n;
  return toUtf8(text, n);
}

std::string toUtf8(const char16_t* text, size_t length) {
  std::string out;
  out.reserve(length);
  for (size_t i = 0; i < length; ++i) {
    char32_t c = text[i];
    if (c >= 0xD800 && c <= 0xDBFF && i + 1 < length && text[i + 1] >= 0xDC00 && text[i + 1] <= 0xDFFF) {
      c = 0x10000 + ((c - 0xD800) << 10) + (text[++i] - 0xDC00);
    } else if (c >= 0xD800 && c <= 0xDFFF) {
      c = 0xFFFD;
    }
    if (c < 0x80) {
      out += static_cast<char>(c);
    } else if (c < 0x800) {
      out += static_cast<char>(0xC0 | (c >> 6));
      out += static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
      out += static_cast<char>(0xE0 | (c >> 12));
      out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
      out += static_cast<char>(0x80 | (c & 0x3F));
    } else {
      out += static_cast<char>(0xF0 | (c >> 18));
      out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
      out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
      out += static_cast<char>(0x80 | (c & 0x3F));
    }
  }
  return out;
}

std::u16string fromUtf8(const char* text) {
  std::u16string out;
  if (!text) return out;
  const unsigned char* p = reinterpret_cast<const unsigned char*>(text);
  while (*p) {
    char32_t c = *p;
    int extra = c < 0x80 ? 0 : c < 0xE0 ? 1 : c < 0xF0 ? 2 : 3;
    if (extra) c &= (0x3F >> extra);
    ++p;
    for (int k = 0; k < extra; ++k, ++p) {
      if ((*p & 0xC0) != 0x80) {
        c = 0xFFFD;
        break;
      }
      c = (c << 6) | (*p & 0x3F);
    }
    if (c >= 0x10000) {
      c -= 0x10000;
      out += static_cast<char16_t>(0xD800 + (c >> 10));
      out += static_cast<char16_t>(0xDC00 + (c & 0x3FF));
    } else {
      out += static_cast<char16_t>(c);
    }
  }
  return out;
}

}  // namespace zr::platform
