// The exported UTF-8 conversions.
#include <cstring>
#include <string>

#include "text/utf8_codec.h"
#include "text/wide_chars.h"
#include "zrstr.h"

using namespace zr::text;

namespace {

void* allocFrom(zrstg_handle* handle, zrstg_subpool* subpool, size_t bytes) {
  return handle ? zrstg_alc(handle, bytes, subpool) : ZrHeap_malloc(bytes);
}

void freeFrom(zrstg_handle* handle, void* block) {
  if (handle) zrstg_fee(handle, block);
  else ZrHeap_free(block);
}

}  // namespace

ZRAPI int32_t zrstg_UCS2toUTF8(char* dest, const char16_t* source, int32_t) {
  if (!source) return 0;
  size_t units = terminatedLength(source);
  if (!dest) return static_cast<int32_t>(lenientUtf8Length(source, units));
  size_t bytes = lenientEncodeUtf8(source, units, dest);
  dest[bytes] = 0;
  return static_cast<int32_t>(bytes);
}

ZRAPI int32_t zrstg_UTF8toUCS2(char16_t* dest, const char* source, int32_t) {
  if (!source) return 0;
  auto* s = reinterpret_cast<const unsigned char*>(source);
  size_t bytes = std::strlen(source);
  size_t units = lenientDecodeUtf8(s, bytes, dest, nullptr);
  if (dest) dest[units] = 0;
  return static_cast<int32_t>(units);
}

ZRAPI int unicode2UTF8(char* dest, char16_t c) {
  if (c == 0xFFFE || c == 0xFFFF) return -1;
  size_t n = lenientUtf8Length(&c, 1);
  lenientEncodeUtf8(&c, 1, dest);
  return static_cast<int>(n);
}

ZRAPI int UTF82unicode(char16_t* dest, const char* source) {
  auto* s = reinterpret_cast<const unsigned char*>(source);
  int length;
  uint32_t v;
  if (s[0] < 0x80) length = 1, v = s[0];
  else if ((s[0] & 0xE0) == 0xC0) length = 2, v = s[0] & 0x1Fu;
  else if ((s[0] & 0xF0) == 0xE0) length = 3, v = s[0] & 0x0Fu;
  else return -1;
  for (int k = 1; k < length; ++k) {
    if ((s[k] & 0xC0) != 0x80) return -1;
    v = (v << 6) | (s[k] & 0x3Fu);
  }
  *dest = static_cast<char16_t>(v);
  return length;
}

ZRAPI char* unistr2UTF8(const char16_t* text, zrstg_handle* handle) {
  if (!text) return nullptr;
  size_t units = terminatedLength(text);
  size_t size = units * 3 + 1 < 2 ? 2 : units * 3 + 1;
  auto* out = static_cast<char*>(allocFrom(handle, nullptr, size));
  out[strictEncodeUtf8(text, units, out)] = 0;
  return out;
}

ZRAPI char16_t* UTF82unistr(const char* source, zrstg_handle* handle, zrstg_subpool* subpool, int lengthPrefix,
                            int32_t expected) {
  if (!source) return nullptr;
  size_t bytes = std::strlen(source);
  size_t capacity = expected < 1 ? bytes + 1 : static_cast<size_t>(expected) + 1;
  auto* text = static_cast<char16_t*>(allocFrom(handle, subpool, capacity * sizeof(char16_t)));
  // One unit stays for the terminator.
  size_t units = strictDecodeUtf8(reinterpret_cast<const unsigned char*>(source), bytes, text, capacity - 1, nullptr);
  text[units] = 0;
  if (!lengthPrefix) {
    size_t fit = (units + 1) * sizeof(char16_t);
    return static_cast<char16_t*>(handle ? zrstg_realc(handle, text, fit, subpool) : ZrHeap_realloc(text, fit));
  }
  uint32_t byteCount = static_cast<uint32_t>(units * sizeof(char16_t));
  auto* prefixed = static_cast<char*>(allocFrom(handle, subpool, byteCount + 6));
  std::memcpy(prefixed, &byteCount, sizeof byteCount);
  std::memcpy(prefixed + sizeof byteCount, text, byteCount + sizeof(char16_t));
  freeFrom(handle, text);
  return reinterpret_cast<char16_t*>(prefixed);
}
