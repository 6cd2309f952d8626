// The fixed-order parser: numbers fill the date slots in the locale's date
// order, then hour, minute, second and microseconds.
#include <unicode/uchar.h>
#include <unicode/ustring.h>

#include "shdt.h"
#include "shformat.h"
#include "text/wide_chars.h"
#include "values/intl_settings.h"
#include "values/shdt_calendar.h"

namespace {

using zr::text::isWideDigit;
using zr::text::isWideSpace;

enum Slot { kFirst = 0, kHour = 3, kMinute = 4, kSecond = 5, kFraction = 6 };
enum Field { kMonth, kDay, kYear };

constexpr size_t kMaxToken = 19;
constexpr int64_t kLargest = 100000000000000000;
// Months of the keyword pairs, which stand in alphabetical order.
constexpr int kKeywordMonth[12] = {4, 8, 12, 2, 1, 7, 6, 3, 5, 11, 10, 9};
constexpr int kMay = 5;

bool isLetter(char16_t c) { return u_isUAlphabetic(c); }

class FixedOrderParser {
 public:
  FixedOrderParser(int mode, int dateOrder) : mode_(mode) {
    if (dateOrder == 1) setOrder(kDay, kMonth, kYear);
    else if (dateOrder == 2) setOrder(kYear, kMonth, kDay);
    else setOrder(kMonth, kDay, kYear);
    current_ = mode == SHDT_MODE_TIME ? kHour : kFirst;
    last_ = mode == SHDT_MODE_DATE ? 2 : kFraction;
  }

  int run(const char16_t* p);
  int write(PSH_TIME t);

 private:
  void setOrder(Field a, Field b, Field c) {
    order_[0] = a;
    order_[1] = b;
    order_[2] = c;
  }
  int slotOf(Field f) const {
    for (int i = 0; i < 3; ++i)
      if (order_[i] == f) return i;
    return 0;
  }
  int64_t& field(Field f) { return slots_[slotOf(f)]; }
  int designator(bool pm);
  int number(const char16_t*& p);
  int name(const char16_t*& p);

  int mode_;
  Field order_[3];
  int64_t slots_[7] = {-1, -1, -1, -1, -1, -1, -1};
  int current_;
  int last_;
};

int FixedOrderParser::designator(bool pm) {
  int64_t& hour = slots_[kHour];
  if (hour == -1) return SHDT_BAD_SYNTAX;
  if (!pm) {
    // "00:30 am" passes while "0 am" and "00:00 am" do not.
    if (hour == 0 && slots_[kMinute] <= 0) return SHDT_BAD_HOUR;
    if (hour == 12) hour = 0;
  } else if (hour != 12) {
    hour += 12;
    if (hour > 23) return SHDT_BAD_HOUR;
  }
  current_ = last_;
  return SHDT_OK;
}

int FixedOrderParser::run(const char16_t* p) {
  while (*p) {
    const char16_t c = *p;
    if (isWideSpace(c)) {
      ++p;
      continue;
    }
    const char16_t next = zr::text::asciiUpper(p[1]);
    const char16_t upper = zr::text::asciiUpper(c);
    if ((upper == u'A' || upper == u'P') && next == u'M') {
      p += 2;
      if (int e = designator(upper == u'P')) return e;
      continue;
    }
    if (current_ > last_) return SHDT_BAD_SYNTAX;
    int error = SHDT_OK;
    if (c == u'-' || c == u'/' || c == u',' || c == u'.' || c == u':' || c == u'T') {
      if (current_ == 0 || slots_[current_ - 1] == -1) return SHDT_BAD_SYNTAX;
      ++p;
    } else if (isWideDigit(c)) {
      error = number(p);
    } else if (isLetter(c) && current_ <= 2 && order_[current_] == kMonth) {
      error = name(p);
    } else {
      return SHDT_BAD_SYNTAX;
    }
    if (error) return error;
  }
  return SHDT_OK;
}

int FixedOrderParser::number(const char16_t*& p) {
  size_t k = 0;
  int64_t n = 0;
  while (isWideDigit(p[k])) {
    if (k == kMaxToken - 1 && p[k + 1]) return SHDT_BAD_SYNTAX;
    // Past 18 digits no slot can accept the number: stop growing it.
    if (n < kLargest) n = n * 10 + (p[k] - u'0');
    ++k;
  }
  p += k;
  // A four-digit first number is a year: the order becomes year, month, day.
  if (current_ == kFirst && k == 4) {
    setOrder(kYear, kMonth, kDay);
    if (last_ < 2) last_ = 2;
  }
  const int slot = current_;
  auto check = [&](bool ok, int error) { return ok ? SHDT_OK : error; };
  int error = SHDT_OK;
  if (slot <= 2) {
    switch (order_[slot]) {
      case kMonth: error = check(n >= 1 && n <= 12, SHDT_BAD_MONTH); break;
      case kDay: error = check(n >= 1 && n <= 31, SHDT_BAD_DAY); break;
      case kYear:
        error = check((k == 2) || (k == 4 && n != 0), SHDT_BAD_YEAR);
        if (k == 2) n += n >= 50 ? 1900 : 2000;
        break;
    }
  } else if (slot == kHour) {
    error = check(n <= 23, SHDT_BAD_HOUR);
  } else if (slot == kMinute) {
    error = check(n <= 59, SHDT_BAD_MINUTE);
  } else if (slot == kSecond) {
    error = check(n <= 59, SHDT_BAD_SECOND);
  } else {
    static constexpr int64_t kScale[] = {1, 100000, 10000, 1000, 100, 10};
    if (k <= 5) n *= kScale[k];
    error = check(n <= 999999, SHDT_BAD_FRACTION);
  }
  if (error) return error;
  slots_[slot] = n;
  ++current_;
  return SHDT_OK;
}

int FixedOrderParser::name(const char16_t*& p) {
  char16_t token[kMaxToken + 1];
  size_t k = 0;
  while (isLetter(p[k])) {
    if (k == kMaxToken - 1 && p[k + 1]) return SHDT_BAD_SYNTAX;
    token[k] = p[k];
    ++k;
  }
  token[k] = 0;
  p += k;
  const auto& keywords = zr::intl::names().monthKeywords;
  int month = 0;
  for (int i = 0; i < 24 && !month; ++i)
    if (u_strcasecmp(token, keywords[i], U_FOLD_CASE_DEFAULT) == 0) month = kKeywordMonth[i / 2];
  if (!month) return SHDT_BAD_SYNTAX;
  slots_[current_++] = month;
  // "Jan." is an abbreviation; "May." ends a whole word, so its point
  // separates.
  if (k == 3 && month != kMay && *p == u'.') ++p;
  return SHDT_OK;
}

int FixedOrderParser::write(PSH_TIME t) {
  if (mode_ != SHDT_MODE_TIME) {
    if (field(kMonth) == -1 || field(kYear) == -1 || field(kDay) == -1) return SHDT_BAD_SYNTAX;
  } else if (slots_[kHour] == -1) {
    return SHDT_BAD_SYNTAX;
  }
  for (int64_t& s : slots_)
    if (s == -1) s = 0;
  const int64_t year = field(kYear), month = field(kMonth), day = field(kDay);
  if (mode_ != SHDT_MODE_TIME && day > zr::dt::daysInMonth(year, int(month))) return SHDT_BAD_DAY;
  if (mode_ != SHDT_MODE_DATE) {
    t->hour = uint8_t(slots_[kHour]);
    t->minute = uint8_t(slots_[kMinute]);
    t->second = uint8_t(slots_[kSecond]);
    t->microsecond = int32_t(slots_[kFraction]);
  }
  if (mode_ == SHDT_MODE_TIME) {
    t->year = SH_TIME_NO_DATE;
    return SHDT_OK;
  }
  if (mode_ == SHDT_MODE_DATE) t->hour = SH_TIME_NO_TIME;
  t->day = uint8_t(day);
  t->month = uint8_t(month - 1);
  if (year > 9999) return SHDT_BAD_YEAR;
  t->year = int16_t(year - 1900);
  return SHDT_OK;
}

}  // namespace

ZRAPI int shdtParseEx(PSH_TIME t, const char16_t* text, int mode, const char16_t* culture) {
  if (!t || !text) return SHDT_BAD_SYNTAX;
  int order = zr::intl::settings().dateOrder;
  if (culture) getCultureValueInt(culture, u"iDate", order, &order);
  FixedOrderParser parser(mode, order);
  if (int error = parser.run(text)) return error;
  return parser.write(t);
}

ZRAPI int shdtParse(PSH_TIME t, const char16_t* text, int mode) { return shdtParseEx(t, text, mode, nullptr); }
