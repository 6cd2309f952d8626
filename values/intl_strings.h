// intl_strings.h - the library's string table entries for mask messages and
// for month and day names (English, as shipped).
#ifndef VALUES_INTL_STRINGS_H
#define VALUES_INTL_STRINGS_H

namespace zr::intl {

// The text of a string table identifier, or null when there is none.
const char16_t* stringTableText(unsigned id);

}  // namespace zr::intl

#endif
