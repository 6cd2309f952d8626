// shdec.h - the 30-digit fixed-point decimal: arithmetic and conversions to
// and from integers, floating point, text and packed BCD.
//
// Example:
//   SH_DEC a, b, q;
//   shAsciiToDec(&a, u"1");
//   shLongToDec(&b, 3);
//   shDivDec(&q, &a, &b);   // 0.333333333333333333333333333333
//
// Every function taking records accepts the destination as one of the
// sources. Out-of-range results come back as a zero record with a condition
// flag set; null pointers give a null result and write nothing.
#ifndef SHDEC_H
#define SHDEC_H

#include "zrdefs.h"

// Condition flags, byte 14 of the record.
#define SH_DEC_NEGATIVE 0x01
#define SH_DEC_OVERFLOW 0x02
#define SH_DEC_UNDERFLOW 0x04
#define SH_DEC_DIVIDE_BY_ZERO 0x08
#define SH_DEC_INDETERMINATE 0x10
// The scale field in the 16-bit word at bytes 14-15.
#define SH_DEC_SCALE_MASK 0x1F00
#define SH_DEC_MAX_SCALE 30

// magnitude x 10^-scale, little-endian, exactly 16 bytes on every build.
typedef struct SH_DEC {
  uint16_t digits[7];  // 112-bit unsigned magnitude, least significant first
  uint8_t flags;       // SH_DEC_NEGATIVE ... SH_DEC_INDETERMINATE
  uint8_t scale;       // bits 0-4: decimal places, 0 to 30
} SH_DEC, *PSH_DEC;

ZR_STATIC_ASSERT(sizeof(SH_DEC) == 16, "SH_DEC is 16 bytes");
ZR_STATIC_ASSERT(offsetof(SH_DEC, flags) == 14, "flags at byte 14");
ZR_STATIC_ASSERT(offsetof(SH_DEC, scale) == 15, "scale at byte 15");

// The earlier record layout, read by ConvertOldDecToString only.
typedef struct SH_OLDDEC {
  uint16_t flags;      // bit 0: sign
  int16_t scale;       // 0 to 28
  uint16_t digits[5];  // 80-bit magnitude, least significant first
  uint16_t unused;
} SH_OLDDEC;

ZR_STATIC_ASSERT(sizeof(SH_OLDDEC) == 16, "SH_OLDDEC is 16 bytes");
ZR_STATIC_ASSERT(offsetof(SH_OLDDEC, digits) == 4, "old digits at byte 4");

// -1, 0 or 1; 0 when either pointer is null. 1.50 equals 1.5.
ZRAPI int16_t shCompareDec(const SH_DEC* a, const SH_DEC* b);
// On ties max gives b and min gives a.
ZRAPI PSH_DEC shMaxDec(PSH_DEC dst, const SH_DEC* a, const SH_DEC* b);
ZRAPI PSH_DEC shMinDec(PSH_DEC dst, const SH_DEC* a, const SH_DEC* b);
ZRAPI PSH_DEC shAbsDec(PSH_DEC dst, const SH_DEC* src);
ZRAPI PSH_DEC shNegateDec(PSH_DEC dst, const SH_DEC* src);
// Half up on the magnitude (round), or cut (trunc), to places decimals.
ZRAPI PSH_DEC shRoundDec(PSH_DEC dst, const SH_DEC* src, int16_t places);
ZRAPI PSH_DEC shTruncDec(PSH_DEC dst, const SH_DEC* src, int16_t places);

ZRAPI PSH_DEC shAddDec(PSH_DEC dst, const SH_DEC* a, const SH_DEC* b);
ZRAPI PSH_DEC shSubDec(PSH_DEC dst, const SH_DEC* a, const SH_DEC* b);
ZRAPI PSH_DEC shMultDec(PSH_DEC dst, const SH_DEC* a, const SH_DEC* b);
ZRAPI PSH_DEC shDivDec(PSH_DEC dst, const SH_DEC* a, const SH_DEC* b);
// a - trunc(a / b) x b, with the sign of a.
ZRAPI PSH_DEC shModDec(PSH_DEC dst, const SH_DEC* a, const SH_DEC* b);
ZRAPI PSH_DEC shExpDec(PSH_DEC dst, const SH_DEC* base, const SH_DEC* exponent);

ZRAPI PSH_DEC shIntToDec(PSH_DEC dst, int16_t value);
ZRAPI PSH_DEC shUintToDec(PSH_DEC dst, uint16_t value);
ZRAPI PSH_DEC shByteToDec(PSH_DEC dst, uint8_t value);
ZRAPI PSH_DEC shLongToDec(PSH_DEC dst, int32_t value);
ZRAPI PSH_DEC shUlongToDec(PSH_DEC dst, uint32_t value);
ZRAPI PSH_DEC shLonglongToDec(PSH_DEC dst, const int64_t* value);

// Round to 0 places, then keep the value if it fits the target, else 0.
ZRAPI int16_t* shDecToInt(int16_t* target, const SH_DEC* src);
ZRAPI uint16_t* shDecToUint(uint16_t* target, const SH_DEC* src);
// The low eight bits of a value up to 65535: 300 gives 44.
ZRAPI uint8_t* shDecToByte(uint8_t* target, const SH_DEC* src);
ZRAPI int32_t* shDecToLong(int32_t* target, const SH_DEC* src);
ZRAPI uint32_t* shDecToUlong(uint32_t* target, const SH_DEC* src);
ZRAPI int64_t* shDecToLonglong(int64_t* target, const SH_DEC* src);

ZRAPI float* shDecToFloat(float* target, const SH_DEC* src);
ZRAPI double* shDecToDouble(double* target, const SH_DEC* src);
ZRAPI PSH_DEC shFloatToDec(PSH_DEC dst, const float* src);
ZRAPI PSH_DEC shDoubleToDec(PSH_DEC dst, const double* src);

// Writes at most 34 characters with the terminator for a well-formed record.
ZRAPI char16_t* shDecToAscii(char16_t* buffer, const SH_DEC* src);
// Null when the text isn't a number; dst is then zero.
ZRAPI PSH_DEC shAsciiToDec(PSH_DEC dst, const char16_t* text);
ZRAPI PSH_DEC shAsciiToDecRnd(PSH_DEC dst, const char16_t* text, int16_t places);

// Packed BCD of the text form: digits, 0xA point, 0xD minus, 0xC pad.
ZRAPI uint8_t* shDecToBCD(uint8_t* buffer, uint32_t* length, const SH_DEC* src);
// Accepts at most 36 bytes.
ZRAPI PSH_DEC shBCDToDec(const uint8_t* bytes, uint32_t length, PSH_DEC dst);

// Sets the scale alone; -1 and no change for places outside 0-30.
ZRAPI int shSetDecFractions(PSH_DEC dec, int16_t places);
// Returns 0 without a change when the magnitude is zero, else 1.
ZRAPI int shSetDecNegative(PSH_DEC dec, int negative);
ZRAPI PSH_DEC shDecSetOverflow(PSH_DEC dec, int overflow);
// Thirty nines, scale 0.
ZRAPI const SH_DEC* sh_MAX_DEC(void);

ZRAPI char16_t* ConvertOldDecToString(char16_t* buffer, const SH_OLDDEC* old);

#endif
