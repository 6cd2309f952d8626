// The right-to-left character test of text layout.
#include <unicode/uchar.h>

#include "shintl.h"

ZRAPI int shIsCharRTL(uint32_t character) {
  if (character > 0x10FFFF) return 0;
  switch (u_charDirection(static_cast<UChar32>(character))) {
    case U_RIGHT_TO_LEFT:
    case U_RIGHT_TO_LEFT_ARABIC:
    case U_ARABIC_NUMBER:
    case U_BLOCK_SEPARATOR:
    case U_SEGMENT_SEPARATOR:
    case U_WHITE_SPACE_NEUTRAL:
    // Neutrals count as right-to-left, so a run keeps its direction across them.
    case U_OTHER_NEUTRAL:
      return 1;
    default:
      return 0;
  }
}

ZRAPI int shIsCharHebrew(uint32_t character) { return shIsCharRTL(character); }

ZRAPI int shIsCharArabic(uint32_t character) { return shIsCharRTL(character); }
