// codepage.h - the process code page through ICU converters, in the shapes
// of the C runtime calls the library was written against, and the
// platform's character tables.
#ifndef ZR_TEXT_CODEPAGE_H
#define ZR_TEXT_CODEPAGE_H

#include <cstddef>
#include <cstdint>
#include <string>

namespace zr::text {

constexpr size_t kConvertError = static_cast<size_t>(-1);

// Bounded conversions of the process code page. Both return the units or
// bytes produced, or kConvertError for a sequence that is bad, cut short or
// has no mapping; a null dest only counts. No terminator is written.
size_t bytesToUnits(const char* source, size_t bytes, char16_t* dest, size_t destUnits);
size_t unitsToBytes(const char16_t* source, size_t units, char* dest, size_t destBytes);

// The longest leading part that converts: its units (or bytes) go to dest,
// which must hold the whole conversion, and *used tells how much of the
// source they took.
size_t bytesToUnitsPrefix(const char* source, size_t bytes, char16_t* dest, size_t destUnits, size_t* used);
size_t unitsToBytesPrefix(const char16_t* source, size_t units, char* dest, size_t destBytes, size_t* used);

// mbstowcs and wcstombs: up to the source's terminator, at most size outputs,
// a terminator only when there is room for it.
size_t mbsToWcs(char16_t* dest, const char* source, size_t size);
size_t wcsToMbs(char* dest, const char16_t* source, size_t size);
// mbtowc: bytes taken for one character from at most n, 0 for a NUL, -1.
int mbToWc(char16_t* dest, const char* source, size_t n);

// Any code page by number, for the conversion calls that name one.
bool isValidCodePage(uint32_t codePage);
size_t unitsToCodePage(uint32_t codePage, const char16_t* source, size_t units, char* dest, size_t destBytes);
size_t codePageToUnits(uint32_t codePage, const char* source, size_t bytes, char16_t* dest, size_t destUnits);

// Counts and fills like the platform's ConvertToCodePage pair; the converted
// text stays behind in a heap block, as callers have always had it.
int ConvertToCodePage(void* dest, const char16_t* source, uint32_t codePage, int ask);
int ConvertFromCodePage(void* dest, const char* source, uint32_t codePage, int ask);

}  // namespace zr::text

#endif
