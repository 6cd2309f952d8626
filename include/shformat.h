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

#include "shdec.h"
#include "shdt.h"
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

// Value flags of the formatting calls: which section applies. Add
// SHFORMAT_COMMAS_POS for masks from shformatCmplNumericMaskWebCommasPos.
#define SHFORMAT_VALUE 0
#define SHFORMAT_VALUE_FLAG1 1
#define SHFORMAT_VALUE_NULL 2
#define SHFORMAT_COMMAS_POS 4

// The formatting calls write up to capacity characters and a terminator
// (the buffer holds capacity + 1), truncating silently, and return the
// colour the mask names for the value (a COLORREF), or 0.
//
// Example:
//   uint16_t mask[64];
//   shformatCmplNumericMask(mask, u"#,##0.00;[RED](#,##0.00)", 64);
//   char16_t text[32];
//   uint32_t colour = shformatDouble(text, 31, mask, -1234.5, SHFORMAT_VALUE);
//   // text == u"(1,234.50)", colour == 255
ZRAPI uint32_t shformatDouble(char16_t* buffer, int capacity, const uint16_t* compiled, double value, int flag);
ZRAPI uint32_t shformatDoubleWeb(char16_t* buffer, int capacity, const uint16_t* compiled, double value, int flag,
                                 const char16_t* culture);
ZRAPI uint32_t shformatLonglong(char16_t* buffer, int capacity, const uint16_t* compiled, int64_t value, int flag);
ZRAPI uint32_t shformatLonglongWeb(char16_t* buffer, int capacity, const uint16_t* compiled, int64_t value,
                                   int flag, const char16_t* culture);
// A null value counts as 0.0.
ZRAPI uint32_t shformatReal(char16_t* buffer, int capacity, const uint16_t* compiled, const float* value, int flag);
ZRAPI uint32_t shformatRealWeb(char16_t* buffer, int capacity, const uint16_t* compiled, const float* value,
                               int flag, const char16_t* culture);
// A null value counts as 0.00.
ZRAPI uint32_t shformatDecimal(char16_t* buffer, int capacity, const uint16_t* compiled, const SH_DEC* value,
                               int flag);
ZRAPI uint32_t shformatDecimalWeb(char16_t* buffer, int capacity, const uint16_t* compiled, const SH_DEC* value,
                                  int flag, const char16_t* culture);

// Month and day names for shformatDateTimeWeb: arrays of 12 and 7 names,
// Sunday first. A null table or entry takes the process names.
typedef struct SH_DT_NAMES {
  const char16_t* const* shortMonths;
  const char16_t* const* months;
  const char16_t* const* shortDays;
  const char16_t* const* days;
} SH_DT_NAMES;

// A null value counts as a record with neither date nor time.
ZRAPI uint32_t shformatDateTime(char16_t* buffer, int capacity, const uint16_t* compiled, const SH_TIME* value,
                                int flag);
ZRAPI uint32_t shformatDateTimeWeb(char16_t* buffer, int capacity, const uint16_t* compiled, const SH_TIME* value,
                                   int flag, const SH_DT_NAMES* names);
// "@" takes the value's next character, a blank once it has run out. A
// null mask copies the value as it stands at flag 0.
ZRAPI uint32_t shformatString(char16_t* buffer, int capacity, const uint16_t* compiled, const char16_t* value,
                              int flag);

#endif
