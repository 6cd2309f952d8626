// Duplication into pools, the growing buffers, in-place edits and the
// one-character case and collation calls.
#include <unicode/uchar.h>
#include <unicode/ucol.h>

#include <cstring>
#include <string>
#include <mutex>

#include "text/codepage.h"
#include "text/wide_chars.h"
#include "zrstr.h"

using namespace zr::text;

namespace {

char16_t* copyInto(zrstg_handle* handle, const char16_t* text, size_t units, zrstg_subpool* subpool) {
  auto* out = static_cast<char16_t*>(zrstg_alc(handle, (units + 1) * sizeof(char16_t), subpool));
  std::memcpy(out, text, units * sizeof(char16_t));
  out[units] = 0;
  return out;
}

char16_t* buildText(zrstg_handle* handle, zrstg_subpool* subpool, char16_t** buffer, int32_t* capacity,
                    int32_t* length, const char16_t* text) {
  int32_t n = static_cast<int32_t>(unitLength(text));
  if (*capacity - *length <= n) {
    int32_t quarter = *capacity * 25 / 100;
    *capacity += n + (quarter > 512 ? quarter : 512);
    *buffer = static_cast<char16_t*>(
        zrstg_realc(handle, *buffer, static_cast<size_t>(*capacity) * sizeof(char16_t), subpool));
  }
  std::memcpy(*buffer + *length, text, (static_cast<size_t>(n) + 1) * sizeof(char16_t));
  *length += n;
  return *buffer;
}

bool isBlank(char16_t c, int wideBlanks) {
  if (!wideBlanks) return c == u' ';
  return isWideSpace(c) || c == 160 || (c >= 0x2000 && c <= 0x200B) || c == 0x3000 || c == 0xFEFF;
}

UCollator* collator(bool ignoreCase) {
  static UCollator* exact = nullptr;
  static UCollator* caseless = nullptr;
  static std::once_flag opened;
  std::call_once(opened, [] {
    UErrorCode status = U_ZERO_ERROR;
    exact = ucol_open("", &status);
    status = U_ZERO_ERROR;
    caseless = ucol_open("", &status);
    if (caseless) ucol_setStrength(caseless, UCOL_SECONDARY);
  });
  return ignoreCase ? caseless : exact;
}

int compareOne(char16_t a, char16_t b, bool ignoreCase) {
  UCollator* c = collator(ignoreCase);
  if (!c) return a < b ? -1 : a > b;
  UCollationResult r = ucol_strcoll(c, reinterpret_cast<const UChar*>(&a), 1, reinterpret_cast<const UChar*>(&b), 1);
  return r == UCOL_LESS ? -1 : r == UCOL_GREATER ? 1 : 0;
}

}  // namespace

ZRAPI char16_t* zrstg_strdup(zrstg_handle* handle, const char16_t* text, zrstg_subpool* subpool) {
  return copyInto(handle, text, unitLength(text), subpool);
}

ZRAPI char16_t* zrstg_unicodestrdup(zrstg_handle* handle, const char16_t* text, zrstg_subpool* subpool) {
  return zrstg_strdup(handle, text, subpool);
}

ZRAPI char16_t* zrstg_strtounicodedup(zrstg_handle* handle, const char16_t* text, zrstg_subpool* subpool) {
  return zrstg_strdup(handle, text, subpool);
}

ZRAPI char16_t* zrstg_unicodetostrdup(zrstg_handle* handle, const char16_t* text, zrstg_subpool* subpool) {
  return zrstg_strdup(handle, text, subpool);
}

ZRAPI char* zrstg_strtoansidup(zrstg_handle* handle, const char16_t* text, zrstg_subpool* subpool) {
  size_t n = wcsToMbs(nullptr, text, 0);
  auto* out = static_cast<char*>(zrstg_alc(handle, n + 1, subpool));
  if (out) wcsToMbs(out, text, n + 1);
  return out;
}

ZRAPI char16_t* zrstg_ansitostrdup(zrstg_handle* handle, const char* text, zrstg_subpool* subpool) {
  size_t n = mbsToWcs(nullptr, text, 0);
  auto* out = static_cast<char16_t*>(zrstg_alc(handle, (n + 1) * sizeof(char16_t), subpool));
  if (out) mbsToWcs(out, text, n + 1);
  return out;
}

ZRAPI char16_t* zrstg_strdup_malloc(const char16_t* text) {
  if (!text) return nullptr;
  size_t units = unitLength(text);
  auto* out = static_cast<char16_t*>(ZrHeap_malloc((units + 1) * sizeof(char16_t)));
  std::memcpy(out, text, (units + 1) * sizeof(char16_t));
  return out;
}

ZRAPI char16_t* zrstg_str_build(zrstg_handle* handle, zrstg_subpool* subpool, char16_t** buffer,
                                int32_t* capacity, int32_t* length, const char16_t* text) {
  return buildText(handle, subpool, buffer, capacity, length, text);
}

ZRAPI char16_t* zrstg_unicodestr_build(zrstg_handle* handle, zrstg_subpool* subpool, char16_t** buffer,
                                       int32_t* capacity, int32_t* length, const char16_t* text) {
  return buildText(handle, subpool, buffer, capacity, length, text);
}

ZRAPI char16_t* zrstg_str_build_huge(zrstg_handle* handle, zrstg_subpool* subpool, char16_t** buffer,
                                     int32_t* capacity, int32_t* length, const char16_t* text) {
  return buildText(handle, subpool, buffer, capacity, length, text);
}

ZRAPI char16_t* zrstg_str_build_char(zrstg_handle* handle, zrstg_subpool* subpool, char16_t** buffer,
                                     int32_t* capacity, int32_t* length, char16_t character) {
  if (*capacity - *length < 2) {
    *capacity += 501;
    *buffer = static_cast<char16_t*>(
        zrstg_realc(handle, *buffer, static_cast<size_t>(*capacity) * sizeof(char16_t), subpool));
  }
  (*buffer)[*length] = character;
  (*buffer)[*length + 1] = 0;
  ++*length;
  return *buffer;
}

ZRAPI char16_t* zrstg_str_remove_char(char16_t* text, char16_t character) {
  char16_t* out = text;
  for (const char16_t* p = text; *p; ++p) {
    if (*p != character) *out++ = *p;
  }
  *out = 0;
  return text;
}

ZRAPI char16_t* zrstg_str_trim_right(char16_t* text, int wideBlanks) {
  size_t n = unitLength(text);
  while (n > 0 && isBlank(text[n - 1], wideBlanks)) --n;
  text[n] = 0;
  return text;
}

ZRAPI char16_t* zrstg_str_trim_left(char16_t* text, int wideBlanks) {
  size_t skip = 0;
  while (text[skip] && isBlank(text[skip], wideBlanks)) ++skip;
  if (skip) std::memmove(text, text + skip, (unitLength(text + skip) + 1) * sizeof(char16_t));
  return text;
}

ZRAPI char16_t* zrstg_str_trim(char16_t* text, int wideBlanks) {
  return zrstg_str_trim_left(zrstg_str_trim_right(text, wideBlanks), wideBlanks);
}

ZRAPI char16_t* zrstg_str_wordcap(char16_t* text) {
  bool wordStart = true;
  for (char16_t* p = text; *p; ++p) {
    char16_t c = *p;
    if (c == u'-' || c == u'_') {
      *p = u' ';
      wordStart = true;
    } else if (c == u' ' || c == u'\n' || c == u'\r' || c == u'\t') {
      wordStart = true;
    } else if (wordStart) {
      *p = zrstg_ansitoupper(c);
      wordStart = false;
    } else {
      *p = zrstg_ansitolower(c);
    }
  }
  return text;
}

// Surrogate units have no case of their own and stay as they are.
ZRAPI char16_t zrstg_ansitolower(char16_t c) { return static_cast<char16_t>(u_tolower(c)); }

ZRAPI char16_t zrstg_ansitoupper(char16_t c) { return static_cast<char16_t>(u_toupper(c)); }

ZRAPI int zrstg_lchrcmp(char16_t a, char16_t b) { return compareOne(a, b, false); }

ZRAPI int zrstg_lchrcmpi(char16_t a, char16_t b) { return compareOne(a, b, true); }
