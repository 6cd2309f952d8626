// The "huge" loops, number parsing on wide text and ZRUNI_memchr.
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>

#include "platform/file.h"
#include "text/wide_chars.h"
#include "zrstr.h"

using namespace zr::text;

namespace {

int digitOf(char16_t c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'z') return c - 'a' + 10;
  if (c >= 'A' && c <= 'Z') return c - 'A' + 10;
  return 99;
}

// The C runtime's wcstol and wcstoul on 32-bit longs: an overflow clamps to
// the limit, a leading minus negates an unsigned result.
uint64_t parseInteger(const char16_t* text, char16_t** end, int base, bool* negative, bool* overflow) {
  const char16_t* p = text;
  *negative = *overflow = false;
  while (isWideSpace(*p)) ++p;
  if (*p == u'-' || *p == u'+') *negative = *p++ == u'-';
  if ((base == 0 || base == 16) && p[0] == u'0' && (p[1] == u'x' || p[1] == u'X') && digitOf(p[2]) < 16) {
    p += 2;
    base = 16;
  } else if (base == 0) {
    base = p[0] == u'0' ? 8 : 10;
  }
  uint64_t value = 0;
  const char16_t* digits = p;
  if (base >= 2 && base <= 36) {
    for (int d; (d = digitOf(*p)) < base; ++p) {
      value = value * static_cast<unsigned>(base) + static_cast<unsigned>(d);
      if (value > 0xFFFFFFFFull) {
        *overflow = true;
        value = 0x100000000ull;
      }
    }
  }
  if (end) *end = const_cast<char16_t*>(p == digits ? text : p);
  return value;
}

uint32_t accumulateDigits(const char16_t* text) {
  while (isWideSpace(*text)) ++text;
  uint32_t value = 0;
  for (; isWideDigit(*text); ++text) value = value * 10 + static_cast<uint32_t>(*text - u'0');
  return value;
}

}  // namespace

ZRAPI int zrstg_huge_memcmp(const void* a, const void* b, size_t count) {
  auto* x = static_cast<const unsigned char*>(a);
  auto* y = static_cast<const unsigned char*>(b);
  for (size_t i = 0; i < count; ++i) {
    if (x[i] != y[i]) return x[i] - y[i];
  }
  return 0;
}

ZRAPI void* zrstg_huge_memcpy(void* dest, const void* source, size_t count) {
  auto* d = static_cast<unsigned char*>(dest);
  auto* s = static_cast<const unsigned char*>(source);
  for (size_t i = 0; i < count; ++i) d[i] = s[i];
  return dest;
}

ZRAPI void* zrstg_huge_memmove(void* dest, const void* source, size_t count) {
  auto* d = static_cast<unsigned char*>(dest);
  auto* s = static_cast<const unsigned char*>(source);
  if (s < d && s + count > d) {
    for (size_t i = count; i-- > 0;) d[i] = s[i];
    return dest;
  }
  return zrstg_huge_memcpy(dest, source, count);
}

ZRAPI void* zrstg_huge_memset(void* dest, int byte, size_t count) {
  auto* d = static_cast<unsigned char*>(dest);
  for (size_t i = 0; i < count; ++i) d[i] = static_cast<unsigned char>(byte);
  return dest;
}

ZRAPI char16_t* zrstg_huge_strchr(const char16_t* text, char16_t character) {
  for (; *text; ++text) {
    if (*text == character) return const_cast<char16_t*>(text);
  }
  return nullptr;
}

ZRAPI char16_t* zrstg_huge_strcpy(char16_t* dest, const char16_t* source) {
  size_t i = 0;
  for (; source[i]; ++i) dest[i] = source[i];
  dest[i] = 0;
  return dest;
}

ZRAPI size_t zrstg_huge_strlen(const char16_t* text) { return std::char_traits<char16_t>::length(text); }

ZRAPI char16_t* zrstg_huge_strncpy(char16_t* dest, const char16_t* source, size_t count) {
  size_t i = 0;
  for (; i < count && source[i]; ++i) dest[i] = source[i];
  dest[i] = 0;
  for (size_t k = i + 1; k < count; ++k) dest[k] = 0;
  return dest;
}

ZRAPI char16_t* zrstg_huge_strstr(const char16_t* text, const char16_t* sub) {
  if (!*sub) return const_cast<char16_t*>(text);
  for (; *text; ++text) {
    size_t k = 0;
    while (sub[k] && text[k] == sub[k]) ++k;
    if (!sub[k]) return const_cast<char16_t*>(text);
  }
  return nullptr;
}

ZRAPI int32_t zrstg_strtol_imp(const char16_t* text, char16_t** end, int base) {
  bool negative, overflow;
  uint64_t v = parseInteger(text, end, base, &negative, &overflow);
  if (negative) return v > 0x80000000ull ? std::numeric_limits<int32_t>::min() : static_cast<int32_t>(-static_cast<int64_t>(v));
  return v > 0x7FFFFFFFull ? std::numeric_limits<int32_t>::max() : static_cast<int32_t>(v);
}

ZRAPI uint32_t zrstg_strtoul_imp(const char16_t* text, char16_t** end, int base) {
  bool negative, overflow;
  uint64_t v = parseInteger(text, end, base, &negative, &overflow);
  if (overflow) return 0xFFFFFFFFu;
  return negative ? static_cast<uint32_t>(0u - static_cast<uint32_t>(v)) : static_cast<uint32_t>(v);
}

// The ASCII prefix goes to the runtime's strtod, so the locale's decimal
// point applies as it does for the C runtime.
ZRAPI double zrstg_strtod_imp(const char16_t* text, char16_t** end) {
  std::string narrow;
  for (const char16_t* p = text; *p && *p < 0x80; ++p) narrow += static_cast<char>(*p);
  char* stop = nullptr;
  double value = std::strtod(narrow.c_str(), &stop);
  if (end) *end = const_cast<char16_t*>(text + (stop - narrow.c_str()));
  return value;
}

ZRAPI double zrstg_atof_imp(const char16_t* text) { return zrstg_strtod_imp(text, nullptr); }

ZRAPI int32_t zrstg_atoi_imp(const char16_t* text) { return zrstg_strtol_imp(text, nullptr, 10); }

ZRAPI int32_t zrstg_atol_imp(const char16_t* text) { return zrstg_strtol_imp(text, nullptr, 10); }

ZRAPI uint32_t zrstg_atou_imp(const char16_t* text) { return accumulateDigits(text); }

ZRAPI uint32_t zrstg_atoul_imp(const char16_t* text) { return accumulateDigits(text); }

ZRAPI int zrstg_remove_imp(const char16_t* fileName) { return zr::platform::removeFile(fileName) ? 0 : -1; }

ZRAPI char16_t* ZRUNI_memchr(const char16_t* text, char16_t character, size_t count) {
  if (!text) return nullptr;
  for (size_t i = 0; i < count; ++i) {
    if (text[i] == character) return const_cast<char16_t*>(text + i);
  }
  return nullptr;
}
