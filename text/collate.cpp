#include "text/collate.h"

#include <unicode/ucol.h>
#include <unicode/uloc.h>

#include <cstring>

namespace zr::text {
namespace {

// One collator per strength for the process's default locale; ICU allows
// concurrent comparisons on a collator that is no longer changed.
UCollator* openCollator(UColAttributeValue strength) {
  UErrorCode status = U_ZERO_ERROR;
  // The neutral C locale maps to a tailoring in code point order; the
  // language-neutral root order is what text sorting expects there.
  const char* locale = uloc_getDefault();
  if (std::strcmp(locale, "en_US_POSIX") == 0) locale = "";
  UCollator* c = ucol_open(locale, &status);
  if (U_FAILURE(status)) {
    status = U_ZERO_ERROR;
    c = ucol_open("", &status);
  }
  if (c) ucol_setStrength(c, strength);
  return c;
}

int compareWith(UCollator* collator, const char16_t* a, const char16_t* b) {
  if (!a) a = u"";
  if (!b) b = u"";
  if (!collator) {
    while (*a && *a == *b) ++a, ++b;
    return *a - *b;
  }
  switch (ucol_strcoll(collator, a, -1, b, -1)) {
    case UCOL_LESS: return -1;
    case UCOL_GREATER: return 1;
    default: return 0;
  }
}

}  // namespace

int collateCompare(const char16_t* a, const char16_t* b) {
  static UCollator* collator = openCollator(UCOL_TERTIARY);
  return compareWith(collator, a, b);
}

int collateCompareIgnoreCase(const char16_t* a, const char16_t* b) {
  static UCollator* collator = openCollator(UCOL_SECONDARY);
  return compareWith(collator, a, b);
}

}  // namespace zr::text
