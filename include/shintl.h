// shintl.h - the process-wide international settings, locale-formatted real
// numbers, the right-to-left character test and layout unit conversion.
//
// Example:
//   char16_t out[16];
//   int unit = shZRUnitConvert(u"1", out, 16, ZR_UNIT_INCHES, 1, NULL);
//   // unit == ZR_UNIT_LAYOUT, out == u"439" at 96 dots per inch
#ifndef SHINTL_H
#define SHINTL_H

#include "zrdefs.h"

// Units of shZRUnitConvert.
#define ZR_UNIT_CENTIMETRES 0
#define ZR_UNIT_INCHES 1
#define ZR_UNIT_LAYOUT 8
#define ZR_UNIT_FAILED 999

// Re-reads section "intl" into the settings block; the first call also loads
// the month and day names. Runs at library load.
ZRAPI void zrshr_intl(void);

// 1 if the text is a real number in the locale's form, else 0. In the Web
// forms a decimal or thousands character of 0 means the process setting.
ZRAPI int shIsValidReal(const char16_t* text);
ZRAPI int shIsValidRealWeb(const char16_t* text, char16_t decimal, char16_t thousands);
ZRAPI int shIsValidRealNoLocale(const char16_t* text);

// dst receives src without thousands characters and with "." as the decimal
// character; dst may be src. The byLocale forms keep the decimal character.
ZRAPI void shNormalizeReal(char16_t* dst, const char16_t* src);
ZRAPI void shNormalizeRealWeb(char16_t* dst, const char16_t* src, char16_t decimal, char16_t thousands);
ZRAPI void shNormalizeRealbyLocale(char16_t* dst, const char16_t* src);
ZRAPI void shNormalizeRealbyLocaleWeb(char16_t* dst, const char16_t* src, char16_t decimal, char16_t thousands);

// 1 for right-to-left characters, Arabic digits and the separating and
// neutral characters that take the direction of their neighbours.
ZRAPI int shIsCharRTL(uint32_t character);
ZRAPI int shIsCharHebrew(uint32_t character);
ZRAPI int shIsCharArabic(uint32_t character);

// Converts a length between centimetres or inches and layout units. Returns
// the unit written to out, or ZR_UNIT_FAILED. The window picks the screen;
// here every window shares the process's screen resolution.
ZRAPI int shZRUnitConvert(const char16_t* text, char16_t* out, int outLength, int sourceUnit, int horizontal,
                          void* window);

#endif
