// bstr.h - the length-prefixed strings of the component interface.
#ifndef ZR_TEXT_BSTR_H
#define ZR_TEXT_BSTR_H

#include <cstddef>
#include <cstdint>

#include "zrstr.h"

namespace zr::text {

// Null gives null. The byte count stands in the 4 bytes before the text.
BSTR allocBstr(const char16_t* text);
uint32_t bstrByteLength(BSTR text);
void freeBstr(BSTR text);

}  // namespace zr::text

#endif
