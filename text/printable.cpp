// The printable form: narrow text in which characters above 255 are written
// U+XXXX, and a literal "U+" is doubled so that it survives the way back.
#include <cstring>
#include <string>

#include "zrstr.h"

namespace {

const char kHexDigits[] = "0123456789ABCDEF";

// Upper-case digits only: lower-case ones come out wrong, as they always have.
unsigned digitValue(unsigned char d) { return d < 'A' ? d - '0' : d - '7'; }

size_t printableLength(const char* source) { return std::strlen(source); }

}  // namespace

ZRAPI char* zrstg_strtoprintable(char* dest, const char16_t* source) {
  char* out = dest;
  for (size_t i = 0; source[i]; ++i) {
    char16_t c = source[i];
    if (c > 255) {
      *out++ = 'U';
      *out++ = '+';
      for (int shift = 12; shift >= 0; shift -= 4) *out++ = kHexDigits[(c >> shift) & 0xF];
    } else if (c == 'U' && source[i + 1] == '+') {
      std::memcpy(out, "U+U+", 4);
      out += 4;
      ++i;
    } else {
      *out++ = static_cast<char>(c);
    }
  }
  *out = 0;
  return dest;
}

ZRAPI char16_t* zrstg_printabletostr(char16_t* dest, const char* source) {
  auto* s = reinterpret_cast<const unsigned char*>(source);
  char16_t* out = dest;
  size_t i = 0;
  while (s[i]) {
    if (s[i] == 'U' && s[i + 1] == '+') {
      if (s[i + 2] == 'U' && s[i + 3] == '+') {
        *out++ = u'U';
        *out++ = u'+';
        i += 4;
        continue;
      }
      // Four digits, unchecked; a text that ends early ends the value too.
      unsigned value = 0;
      size_t k = i + 2;
      for (; k < i + 6 && s[k]; ++k) value = (value << 4) + digitValue(s[k]);
      *out++ = static_cast<char16_t>(value);
      i = k;
      continue;
    }
    *out++ = s[i++];
  }
  *out = 0;
  return dest;
}

ZRAPI char* zrstg_strtoprintabledup(zrstg_handle* handle, const char16_t* text, zrstg_subpool* subpool) {
  if (!text) return nullptr;
  size_t units = std::char_traits<char16_t>::length(text);
  auto* out = static_cast<char*>(zrstg_alc(handle, units * 6 + 1, subpool));
  zrstg_strtoprintable(out, text);
  return static_cast<char*>(zrstg_realc(handle, out, printableLength(out) + 1, subpool));
}

// The block is sized for the widest result (one character a byte) and then
// fitted to the characters found.
ZRAPI char16_t* zrstg_printabletostrdup(zrstg_handle* handle, const char* text, zrstg_subpool* subpool) {
  if (!text) return nullptr;
  size_t bytes = printableLength(text);
  auto* out = static_cast<char16_t*>(zrstg_alc(handle, (bytes + 1) * sizeof(char16_t), subpool));
  zrstg_printabletostr(out, text);
  size_t units = std::char_traits<char16_t>::length(out);
  return static_cast<char16_t*>(zrstg_realc(handle, out, (units + 1) * sizeof(char16_t), subpool));
}
