// dec_work.h - the working form of a decimal: a 224-bit unsigned integer with
// scale and sign, large enough for the full product of two magnitudes and for
// a magnitude aligned by 10^30. Every operation loads, computes on the stack
// and stores through one of the three stores below, or, for the fast paths of
// add and multiply, through the 64-bit checked store of dec_wide.h.
#ifndef VALUES_DEC_WORK_H
#define VALUES_DEC_WORK_H

#include <cstdint>

#include "shdec.h"

namespace zr::dec {

constexpr int kWords = 7;
constexpr int kMaxDigits = 30;
constexpr uint32_t kBillion = 1000000000u;

struct DecWork {
  uint32_t w[kWords];  // least significant first
  int16_t scale;
  int16_t sign;  // 0 or 1
};

// 10^0 .. 10^9 in 32 bits, for the last step of a power-of-ten division.
extern const uint32_t kPow10Small[10];

inline bool isZero(const uint32_t* w) {
  uint32_t any = 0;
  for (int i = 0; i < kWords; ++i) any |= w[i];
  return any == 0;
}

inline bool isZero(const SH_DEC& d) {
  uint16_t any = 0;
  for (uint16_t v : d.digits) any |= v;
  return any == 0;
}

// Index of the highest non-zero word, -1 for zero.
inline int topWord(const uint32_t* w) {
  for (int i = kWords - 1; i >= 0; --i)
    if (w[i]) return i;
  return -1;
}

inline int scaleOf(const SH_DEC& d) { return d.scale & 0x1F; }

DecWork load(const SH_DEC& d);
// Zero with scale 2, the zero that arithmetic produces.
void setArithmeticZero(SH_DEC& d);
// For a result of magnitude 10^magnitudeLog: flags dst as an underflow or overflow
// and returns true when no decimal holds it.
bool flagOutOfRange(SH_DEC& dst, double magnitudeLog);

// Decimal digits of w: 0 for zero, 61 beyond 10^61.
int digitCount(const uint32_t* w);
// -1, 0, 1 over all seven words.
int compareWords(const uint32_t* a, const uint32_t* b);

// w = w * m + add, truncated to 224 bits.
void mulAdd32(uint32_t* w, uint32_t m, uint32_t add = 0);
// w /= d; returns the remainder.
uint32_t divRem32(uint32_t* w, uint32_t d);
uint32_t divRemBillion(uint32_t* w);
// Multiplies in steps of at most 10^9.
void mulPow10(uint32_t* w, int n);
// Divides in steps of 10^9; with round, half up on the last remainder.
void divPow10(uint32_t* w, int n, bool round);
void increment(uint32_t* w);
// Product truncated to 224 bits.
void mulWords(uint32_t* out, const uint32_t* a, const uint32_t* b);

// The quotient of two non-zero values to about 30 digits, before its store.
DecWork divideWork(const DecWork& a, const DecWork& b);

// Removes trailing fraction zeros; with target >= 0 also rounds to that many
// significant digits, never cutting integer digits.
void stripZeros(DecWork& v, int target = -1);

// Digits, scale (when 0-30) and, for a non-zero magnitude, the sign; other
// flags of dst stay.
void plainStore(SH_DEC& dst, const DecWork& v);
// Range-tested store of arithmetic results, rounding to 30 digits; goes
// through the 64-bit store.
void checkedStore(SH_DEC& dst, DecWork v);
// Like the checked store, after stripping trailing zeros first.
void normalisingStore(SH_DEC& dst, DecWork v);

}  // namespace zr::dec

#endif
