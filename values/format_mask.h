// format_mask.h - what the three mask compilers share: token numbers, the
// bounded writer, bracket reading, and the settings a culture text overrides.
#ifndef VALUES_FORMAT_MASK_H
#define VALUES_FORMAT_MASK_H

#include <cstddef>
#include <cstdint>

#include "shformat.h"
#include "values/intl_settings.h"

namespace zr::mask {

// Numeric tokens. Counts that follow a token are stored as count + 1.
enum : uint16_t {
  kNumExpSignAlways = 2,
  kNumExpSignMinus = 3,
  kNumGrouped = 5,
  kNumInteger = 6,
  kNumFraction = 7,
  kNumPoint = 9,
  kNumColorBegin = 10,
  kNumColorEnd = 11,
  kNumEnglish = 12,
  kNumGeneral = 13,
  kNumTemplateHead = 14,
  kNumPercentHead = 15,
  kNumExponentHead = 16,
  kNumPlainHead = 17,
  kNumSectionEnd = 18,
  kNumExpGrouped = 19,
  kNumExpInteger = 20,
  kNumExpFraction = 21,
  kNumExponentDigits = 22,
  kNumTemplateDigits = 23,
  kNumFirstSection = 27,  // positive, negative, zero, flag 1, flag 2
};

// Date-time tokens.
enum : uint16_t {
  kDtMonth = 1,         // 1-4: m, mm, mmm, mmmm
  kDtDay = 5,           // 5-8: d, dd, ddd, dddd
  kDtYear2 = 9,
  kDtYear4 = 10,
  kDtHour24 = 11,       // 11, 12: h, hh
  kDtHour12 = 13,       // 13, 14
  kDtMinute = 15,       // 15, 16
  kDtSecond = 17,       // 17, 18
  kDtAmPmUpper = 19,    // 19-22: AM/PM, am/pm, A/P, a/p
  kDtColorBegin = 23,
  kDtColorEnd = 24,
  kDtCurrent = 25,
  kDtFraction = 26,     // followed by its digit count 1-6
  kDtSectionEnd = 28,
  kDtFirstSection = 29,
  kDtUnknownKeyword = 0xFFFF,
};

// String tokens.
enum : uint16_t {
  kStrChar = 1,
  kStrWhole = 2,
  kStrColorBegin = 3,
  kStrColorEnd = 4,
  kStrSectionEnd = 5,
  kStrFirstSection = 29,
};

constexpr uint16_t kFirstLiteral = 32;

// Every emission is checked against the caller's capacity; the first unit
// that does not fit sets SHFORMAT_TOO_LARGE and later ones are dropped.
class Writer {
 public:
  Writer(uint16_t* out, int capacity) : out_(out), capacity_(out && capacity > 0 ? size_t(capacity) : 0) {}

  void put(uint16_t unit) {
    if (count_ >= capacity_) {
      full_ = true;
      return;
    }
    out_[count_++] = unit;
  }
  void set(size_t index, uint16_t unit) {
    if (index < count_) out_[index] = unit;
  }
  uint16_t at(size_t index) const { return index < count_ ? out_[index] : 0; }
  size_t size() const { return count_; }
  bool full() const { return full_; }

 private:
  uint16_t* out_;
  size_t capacity_;
  size_t count_ = 0;
  bool full_ = false;
};

// What the numeric and date-time compilers share: the writer and the first
// error, which is the one reported.
class MaskCompiler {
 protected:
  MaskCompiler(uint16_t* compiled, int capacity) : out_(compiled, capacity) {}

  bool failed() const { return error_ != 0 || out_.full(); }
  void fail(int error) {
    if (!error_) error_ = error;
  }
  // Units below 32 are tokens: a control character in a mask cannot be shown.
  void literal(char16_t c) {
    if (c < kFirstLiteral) fail(SHFORMAT_BAD_CHARACTER);
    else out_.put(c);
  }
  int result() const {
    if (error_) return error_;
    return out_.full() ? SHFORMAT_TOO_LARGE : SHFORMAT_OK;
  }

  Writer out_;

 private:
  int error_ = 0;
};

// A "[...]" group at mask[i] == '['.
struct Bracket {
  enum Kind { Color, Keyword, Error } kind;
  const char16_t* text;  // the digits of a colour, or the keyword
  size_t length;
  int error;
  size_t next;  // index after the "]"
};
Bracket readBracket(const char16_t* mask, size_t length, size_t i);

bool isKeyword(const char16_t* word, size_t length, const char16_t* keyword);
// A colour bracket, by number or by name, goes out as its decimal digits
// between begin and end; false when the bracket is some other keyword.
bool putColor(Writer& out, const Bracket& b, uint16_t begin, uint16_t end);

// The settings the numeric compiler folds into a mask.
struct NumericCulture {
  char16_t currency[32];
  char16_t thousand;
  int currencyPosition;
  int currencyDigits;
  int negativeCurrency;
  int country;
};
void numericCulture(const char16_t* culture, NumericCulture& out);

// The pictures behind the date keywords.
struct DateCulture {
  char16_t shortDate[intl::kPictureUnits];
  char16_t longDate[intl::kPictureUnits];
  char16_t dateSeparator[intl::kSymbolUnits];
  char16_t timeSeparator[intl::kSymbolUnits];
};
void dateCulture(const char16_t* culture, DateCulture& out);

int compileNumeric(uint16_t* compiled, const char16_t* mask, int capacity, const char16_t* culture,
                   bool commaPositions);
int compileDateTime(uint16_t* compiled, const char16_t* mask, int capacity, const DateCulture& culture, int depth);

}  // namespace zr::mask

#endif
