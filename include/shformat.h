// shformat.h - the display mask compilers. A mask text is compiled once into
// a zero-terminated array of 16-bit units in a buffer of the caller's, and
// the formatting calls apply that array to any number of values.
//
// Example:
//   uint16_t compiled[128];
//   int err = shformatCmplNumericMask(compiled, u"#,##0.00;(#,##0.00)", 128);
//   if (err) { char16_t text[255]; shformatErrorString(text, err); }
//
// A culture text overrides the process settings in the Web forms: pairs
// "key=value" separated by tabs, with "!!" for "!" and "!t" for a tab in a
// value. Keys: sCurrency sThousand sDecimal iCurrency iCurrDigits iNegCurr
// sGrouping iDate sShortDate sLongDate sDate sTime.
#ifndef SHFORMAT_H
#define SHFORMAT_H

#include "zrdefs.h"

// Compiler results; anything else reads as SHFORMAT_INVALID.
#define SHFORMAT_OK 0
#define SHFORMAT_TOO_LARGE 1
#define SHFORMAT_BAD_COLOR 2
#define SHFORMAT_TOO_MANY_SECTIONS 3
#define SHFORMAT_BAD_CHARACTER 4
#define SHFORMAT_UNKNOWN_KEY 5
#define SHFORMAT_TOO_MANY_PERIODS 6
#define SHFORMAT_UNEXPECTED_END 7
#define SHFORMAT_INVALID 8
#define SHFORMAT_BAD_MONTH 9
#define SHFORMAT_BAD_DAY 10
#define SHFORMAT_BAD_YEAR 11
#define SHFORMAT_BAD_HOUR 12
#define SHFORMAT_BAD_SECONDS 13
#define SHFORMAT_BAD_MINUTES 14
#define SHFORMAT_BAD_AMPM 15
#define SHFORMAT_BAD_FRACTION 16

// Capacity counts 16-bit units including the terminating 0.
ZRAPI int shformatCmplNumericMask(uint16_t* compiled, const char16_t* mask, int capacity);
ZRAPI int shformatCmplNumericMaskWeb(uint16_t* compiled, const char16_t* mask, int capacity,
                                     const char16_t* culture);
// As the Web form, and each grouped digit run also records where its commas
// stand, for masks with irregular groups such as "#,##,##0".
ZRAPI int shformatCmplNumericMaskWebCommasPos(uint16_t* compiled, const char16_t* mask, int capacity,
                                              const char16_t* culture);
ZRAPI int shformatCmplDateTimeMask(uint16_t* compiled, const char16_t* mask, int capacity);
ZRAPI int shformatCmplDateTimeMaskWeb(uint16_t* compiled, const char16_t* mask, int capacity,
                                      const char16_t* culture);
ZRAPI int shformatCmplStringMask(uint16_t* compiled, const char16_t* mask, int capacity);

// Writes the message of a compiler result into a buffer of 255 characters
// and returns the buffer.
ZRAPI char16_t* shformatErrorString(char16_t* buffer, int error);

// Reads one value of a culture text. Returns 0; -1 when the key is missing;
// -2 without a culture or without "=" after the key; -3 when the value does
// not fit. The buffer holds the default unless 0 is returned.
ZRAPI int getCultureValueStr(const char16_t* culture, const char16_t* key, const char16_t* defaultValue,
                             char16_t* buffer, int bufferLength);
// Returns 0; -1 when the text lookup failed; -2 when the value is not a
// number. The result is the default unless 0 is returned.
ZRAPI int getCultureValueInt(const char16_t* culture, const char16_t* key, int defaultValue, int* result);

#endif
