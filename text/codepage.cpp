#include "text/codepage.h"

#include <unicode/ucnv.h>
#include <unicode/ucnv_err.h>
#include <unicode/utf16.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "frame/code_page.h"
#include "platform/dialog.h"
#include "platform/utf8.h"
#include "zrheap.h"

namespace zr::text {
namespace {

UConverter* openStrict(const char* name) {
  UErrorCode status = U_ZERO_ERROR;
  UConverter* cnv = ucnv_open(name, &status);
  if (U_FAILURE(status)) return nullptr;
  ucnv_setToUCallBack(cnv, UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
  ucnv_setFromUCallBack(cnv, UCNV_FROM_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
  return cnv;
}

struct ConverterCache {
  uint64_t generation = 0;
  UConverter* converter = nullptr;
  ~ConverterCache() {
    if (converter) ucnv_close(converter);
  }
};

// One converter per thread: ICU converters carry state and aren't shared.
UConverter* processConverter() {
  static thread_local ConverterCache cache;
  frame::CodePage page = frame::processCodePage();
  if (cache.converter && cache.generation == page.generation) return cache.converter;
  if (cache.converter) ucnv_close(cache.converter);
  cache.converter = openStrict(page.name.c_str());
  if (!cache.converter) cache.converter = openStrict("windows-1252");
  cache.generation = page.generation;
  ucnv_reset(cache.converter);
  return cache.converter;
}

// std::to_string would export its template helpers from the library.
std::string decimal(uint32_t value) {
  char digits[12];
  std::snprintf(digits, sizeof digits, "%u", value);
  return digits;
}

std::string codePageName(uint32_t codePage) {
  if (codePage == 65001) return "UTF-8";
  return "windows-" + decimal(codePage);
}

// Closed when the pointer goes.
icu::LocalUConverterPointer openCodePage(uint32_t codePage) {
  if (codePage == 0) return icu::LocalUConverterPointer();
  UConverter* cnv = openStrict(codePageName(codePage).c_str());
  if (!cnv) cnv = openStrict(("cp" + decimal(codePage)).c_str());
  return icu::LocalUConverterPointer(cnv);
}

size_t toUnits(UConverter* cnv, const char* source, size_t bytes, char16_t* dest, size_t destUnits) {
  UErrorCode status = U_ZERO_ERROR;
  ucnv_resetToUnicode(cnv);
  int32_t n;
  if (!dest) {
    n = ucnv_toUChars(cnv, nullptr, 0, source, static_cast<int32_t>(bytes), &status);
    if (status == U_BUFFER_OVERFLOW_ERROR) status = U_ZERO_ERROR;
  } else {
    n = ucnv_toUChars(cnv, reinterpret_cast<UChar*>(dest), static_cast<int32_t>(destUnits), source,
                      static_cast<int32_t>(bytes), &status);
    if (status == U_STRING_NOT_TERMINATED_WARNING) status = U_ZERO_ERROR;
  }
  return U_FAILURE(status) ? kConvertError : static_cast<size_t>(n);
}

size_t toBytes(UConverter* cnv, const char16_t* source, size_t units, char* dest, size_t destBytes) {
  UErrorCode status = U_ZERO_ERROR;
  ucnv_resetFromUnicode(cnv);
  int32_t n;
  if (!dest) {
    n = ucnv_fromUChars(cnv, nullptr, 0, reinterpret_cast<const UChar*>(source), static_cast<int32_t>(units),
                        &status);
    if (status == U_BUFFER_OVERFLOW_ERROR) status = U_ZERO_ERROR;
  } else {
    n = ucnv_fromUChars(cnv, dest, static_cast<int32_t>(destBytes), reinterpret_cast<const UChar*>(source),
                        static_cast<int32_t>(units), &status);
    if (status == U_STRING_NOT_TERMINATED_WARNING) status = U_ZERO_ERROR;
  }
  return U_FAILURE(status) ? kConvertError : static_cast<size_t>(n);
}

// The fill conversion of the C runtime: everything converts or nothing
// counts, and at most size outputs land in dest.
template <typename From, typename To, typename Convert>
size_t boundedFill(To* dest, const From* source, size_t size, Convert convert) {
  size_t length = std::char_traits<From>::length(source);
  size_t needed = convert(source, length, nullptr, 0);
  if (needed == kConvertError || !dest) return needed;
  std::vector<To> out(needed);
  convert(source, length, out.data(), needed);
  size_t n = needed < size ? needed : size;
  std::memcpy(dest, out.data(), n * sizeof(To));
  if (n < size) dest[n] = 0;
  return n;
}

}  // namespace

size_t bytesToUnits(const char* source, size_t bytes, char16_t* dest, size_t destUnits) {
  return toUnits(processConverter(), source, bytes, dest, destUnits);
}

size_t unitsToBytes(const char16_t* source, size_t units, char* dest, size_t destBytes) {
  return toBytes(processConverter(), source, units, dest, destBytes);
}

size_t bytesToUnitsPrefix(const char* source, size_t bytes, char16_t* dest, size_t destUnits, size_t* used) {
  UConverter* cnv = processConverter();
  ucnv_resetToUnicode(cnv);
  UErrorCode status = U_ZERO_ERROR;
  const char* s = source;
  UChar* d = reinterpret_cast<UChar*>(dest);
  ucnv_toUnicode(cnv, &d, d + destUnits, &s, source + bytes, nullptr, true, &status);
  size_t taken = static_cast<size_t>(s - source);
  if (U_FAILURE(status)) {
    char bad[32];
    int8_t badLength = sizeof bad;
    UErrorCode ignored = U_ZERO_ERROR;
    ucnv_getInvalidChars(cnv, bad, &badLength, &ignored);
    taken -= static_cast<size_t>(badLength) < taken ? static_cast<size_t>(badLength) : taken;
  }
  *used = taken;
  return static_cast<size_t>(d - reinterpret_cast<UChar*>(dest));
}

size_t unitsToBytesPrefix(const char16_t* source, size_t units, char* dest, size_t destBytes, size_t* used) {
  UConverter* cnv = processConverter();
  ucnv_resetFromUnicode(cnv);
  UErrorCode status = U_ZERO_ERROR;
  const UChar* s = reinterpret_cast<const UChar*>(source);
  char* d = dest;
  ucnv_fromUnicode(cnv, &d, dest + destBytes, &s, s + units, nullptr, true, &status);
  size_t taken = static_cast<size_t>(s - reinterpret_cast<const UChar*>(source));
  if (U_FAILURE(status)) {
    UChar bad[8];
    int8_t badLength = 8;
    UErrorCode ignored = U_ZERO_ERROR;
    ucnv_getInvalidUChars(cnv, bad, &badLength, &ignored);
    taken -= static_cast<size_t>(badLength) < taken ? static_cast<size_t>(badLength) : taken;
  }
  *used = taken;
  return static_cast<size_t>(d - dest);
}

size_t mbsToWcs(char16_t* dest, const char* source, size_t size) {
  return boundedFill(dest, source, size, bytesToUnits);
}

size_t wcsToMbs(char* dest, const char16_t* source, size_t size) {
  return boundedFill(dest, source, size, unitsToBytes);
}

int mbToWc(char16_t* dest, const char* source, size_t n) {
  if (!source || n == 0) return -1;
  if (*source == 0) {
    if (dest) *dest = 0;
    return 0;
  }
  UConverter* cnv = processConverter();
  ucnv_resetToUnicode(cnv);
  UErrorCode status = U_ZERO_ERROR;
  const char* p = source;
  UChar32 c = ucnv_getNextUChar(cnv, &p, source + n, &status);
  if (U_FAILURE(status)) return -1;
  if (dest) *dest = static_cast<char16_t>(c > 0xFFFF ? U16_LEAD(c) : c);
  return static_cast<int>(p - source);
}

bool isValidCodePage(uint32_t codePage) { return openCodePage(codePage).isValid(); }

size_t unitsToCodePage(uint32_t codePage, const char16_t* source, size_t units, char* dest, size_t destBytes) {
  if (codePage == 0) return unitsToBytes(source, units, dest, destBytes);
  const icu::LocalUConverterPointer cnv = openCodePage(codePage);
  return cnv.isValid() ? toBytes(cnv.getAlias(), source, units, dest, destBytes) : kConvertError;
}

size_t codePageToUnits(uint32_t codePage, const char* source, size_t bytes, char16_t* dest, size_t destUnits) {
  if (codePage == 0) return bytesToUnits(source, bytes, dest, destUnits);
  const icu::LocalUConverterPointer cnv = openCodePage(codePage);
  return cnv.isValid() ? toUnits(cnv.getAlias(), source, bytes, dest, destUnits) : kConvertError;
}

namespace {

void askToContinue(uint32_t codePage, bool fromUnicode) {
  std::string page = decimal(codePage);
  std::string caption = fromUnicode ? "Conversion from Unicode to [" + page + "]"
                                    : "Conversion from Code Page [" + page + "] to Unicode";
  std::string text = "Code page [" + page +
                     "] is not supported by the Operating System.Some characters will be lost if you "
                     "continue.\n\nDo you want to continue?";
  constexpr unsigned kYesNoWarning = 52;
  // The answer doesn't matter: the conversion goes on either way.
  platform::messageBox(nullptr, platform::fromUtf8(text.c_str()).c_str(),
                       platform::fromUtf8(caption.c_str()).c_str(), kYesNoWarning);
}

}  // namespace

int ConvertToCodePage(void*, const char16_t* source, uint32_t codePage, int ask) {
  if (!source) return 0;
  if (!isValidCodePage(codePage)) {
    if (!ask) return 0;
    askToContinue(codePage, true);
  }
  size_t units = std::char_traits<char16_t>::length(source) + 1;
  size_t n = unitsToCodePage(codePage, source, units, nullptr, 0);
  if (n == kConvertError || n < 1) return 0;
  // Nobody receives the converted text, so its block goes straight back.
  auto* block = static_cast<char*>(ZrHeap_malloc(n + 1));
  n = unitsToCodePage(codePage, source, units, block, n + 1);
  ZrHeap_free(block);
  return n == kConvertError ? 0 : static_cast<int>(n);
}

int ConvertFromCodePage(void*, const char* source, uint32_t codePage, int ask) {
  if (!source) return 0;
  if (!isValidCodePage(codePage)) {
    if (!ask) return 0;
    askToContinue(codePage, false);
  }
  size_t bytes = std::strlen(source) + 1;
  size_t n = codePageToUnits(codePage, source, bytes, nullptr, 0);
  if (n == kConvertError || n < 1) return 0;
  auto* block = static_cast<char16_t*>(ZrHeap_malloc((n + 1) * sizeof(char16_t)));
  n = codePageToUnits(codePage, source, bytes, block, n + 1);
  ZrHeap_free(block);
  return n == kConvertError ? 0 : static_cast<int>(n);
}

}  // namespace zr::text
