// wide_case.h - the runtime's wide string calls in UTF-16: comparison with
// and without case, case mapping in place, search, and long-to-text.
#ifndef ZR_TEXT_WIDE_CASE_H
#define ZR_TEXT_WIDE_CASE_H

#include <cstddef>
#include <cstdint>

namespace zr::text {

// -1, 0 or 1 by code units (wcscmp); a null text counts as empty.
int compareText(const char16_t* a, const char16_t* b);
// The same on lower-cased units (_wcsicmp).
int compareTextNoCase(const char16_t* a, const char16_t* b);
// _wcsupr and _wcslwr: each unit by itself, in place.
void upperInPlace(char16_t* text);
void lowerInPlace(char16_t* text);
char16_t lowerUnit(char16_t c);
// wcsstr: the first occurrence of sought in text, or null.
const char16_t* findText(const char16_t* text, const char16_t* sought);
// _ltow and _ultow in base 10 into at least 12 units; return the length.
size_t longToText(int32_t value, char16_t* buffer);
size_t unsignedToText(uint32_t value, char16_t* buffer);

}  // namespace zr::text

#endif
