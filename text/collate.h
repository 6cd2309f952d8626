// collate.h - the platform's string order: collation of the process locale
// through ICU, case-sensitive and not.
#ifndef ZR_TEXT_COLLATE_H
#define ZR_TEXT_COLLATE_H

namespace zr::text {

// Below 0, 0 or above 0 as a sorts before, with or after b.
int collateCompare(const char16_t* a, const char16_t* b);
int collateCompareIgnoreCase(const char16_t* a, const char16_t* b);

}  // namespace zr::text

#endif
