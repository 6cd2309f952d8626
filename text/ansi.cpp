// Text in the process code page: stretches between embedded zeros, the
// forgiving mbstowcs and the BSTR forms.
#include <cstring>
#include <string>

#include "text/bstr.h"
#include "text/codepage.h"
#include "zrstr.h"

using namespace zr::text;

namespace zr::text {

BSTR allocBstr(const char16_t* text) {
  if (!text) return nullptr;
  uint32_t bytes = static_cast<uint32_t>(std::char_traits<char16_t>::length(text) * sizeof(char16_t));
  auto* block = static_cast<char*>(ZrHeap_malloc(sizeof bytes + bytes + sizeof(char16_t)));
  std::memcpy(block, &bytes, sizeof bytes);
  std::memcpy(block + sizeof bytes, text, bytes + sizeof(char16_t));
  return reinterpret_cast<BSTR>(block + sizeof bytes);
}

uint32_t bstrByteLength(BSTR text) {
  uint32_t bytes = 0;
  if (text) std::memcpy(&bytes, reinterpret_cast<char*>(text) - sizeof bytes, sizeof bytes);
  return bytes;
}

void freeBstr(BSTR text) {
  if (text) ZrHeap_free(reinterpret_cast<char*>(text) - sizeof(uint32_t));
}

}  // namespace zr::text

namespace {

// Converts runs between embedded zeros, which pass through as zeros; -1 when
// a run does not convert. A null dest only counts.
template <typename Source, typename Dest, typename Convert>
int32_t convertWithZeros(Dest* dest, const Source* source, int32_t count, size_t outPerIn, Convert convert) {
  int32_t out = 0;
  int32_t i = 0;
  while (i < count) {
    if (source[i] == 0) {
      if (dest) dest[out] = 0;
      ++out;
      ++i;
      continue;
    }
    int32_t start = i;
    while (i < count && source[i]) ++i;
    size_t run = static_cast<size_t>(i - start);
    size_t n = convert(source + start, run, dest ? dest + out : nullptr, run * outPerIn);
    if (n == kConvertError) return -1;
    out += static_cast<int32_t>(n);
  }
  return out;
}

}  // namespace

ZRAPI int32_t zrstg_ansitostr_with_zero(char16_t* dest, const char* source, int32_t count) {
  return convertWithZeros(dest, source, count, 2, bytesToUnits);
}

ZRAPI int32_t zrstg_strtoansi_with_zero(char* dest, const char16_t* source, int32_t count) {
  return convertWithZeros(dest, source, count, 4, unitsToBytes);
}

ZRAPI size_t mbstowcs_force(char16_t* dest, const char* source, size_t size, int* forced) {
  size_t n = mbsToWcs(dest, source, size);
  if (n != kConvertError) {
    if (forced) *forced = 0;
    return n;
  }
  if (forced) *forced = 1;
  if (dest) std::memset(dest, 0, size * sizeof(char16_t));
  size_t count = 0;
  size_t left = std::strlen(source);
  while (left > 0 && count < size) {
    char16_t c;
    int used = mbToWc(&c, source, left < 4 ? left : 4);
    if (used <= 0) {
      c = u'?';
      used = 1;
    }
    if (dest) dest[count] = c;
    ++count;
    source += used;
    left -= static_cast<size_t>(used);
  }
  if (dest && count < size) dest[count] = 0;
  return count;
}

ZRAPI BSTR zrstg_ansitobstr(const char* text) {
  if (!text) return nullptr;
  size_t n = mbsToWcs(nullptr, text, 0);
  if (n == kConvertError) return nullptr;
  auto* wide = static_cast<char16_t*>(ZrHeap_malloc((n + 1) * sizeof(char16_t)));
  mbsToWcs(wide, text, n + 1);
  BSTR result = allocBstr(wide);
  ZrHeap_free(wide);
  return result;
}

ZRAPI BSTR zrstg_unicodetobstr(const char16_t* text) { return allocBstr(text); }

ZRAPI BSTR zrstg_strtobstr(const char16_t* text) { return allocBstr(text); }
