// The date-time formatter: fields of an SH_TIME laid out by a compiled mask,
// with "??" for fields the record lacks.
#include "shformat.h"
#include "values/format_engine.h"
#include "values/intl_settings.h"

namespace zr::fmt {
namespace {

using namespace zr::mask;

const char16_t* nameOf(const char16_t* const* table, int index, const char16_t (*fallback)[intl::kNameUnits]) {
  if (table && table[index]) return table[index];
  return fallback[index];
}

class DateFormatter {
 public:
  DateFormatter(Out& out, const SH_TIME& t, const SH_DT_NAMES* names) : out_(out), t_(t), names_(names) {}

  uint32_t run(const uint16_t* mask, size_t section);

 private:
  bool hasDate() const { return t_.year != SH_TIME_NO_DATE && t_.month <= 11; }
  bool hasTime() const { return t_.hour != SH_TIME_NO_TIME; }
  void number(bool present, int64_t n, int width) {
    if (present) putNumber(out_, n, width);
    else out_.put(u"??");
  }
  void name(bool present, const char16_t* text, const char16_t* missing) { out_.put(present ? text : missing); }
  const char16_t* month(bool full) const {
    const intl::IntlNames& n = intl::names();
    return full ? nameOf(names_ ? names_->months : nullptr, t_.month, n.fullMonths)
                : nameOf(names_ ? names_->shortMonths : nullptr, t_.month, n.shortMonths);
  }
  const char16_t* day(bool full) const {
    const intl::IntlNames& n = intl::names();
    const int d = shdtDayOfWeek(&t_);
    return full ? nameOf(names_ ? names_->days : nullptr, d, n.fullDays)
                : nameOf(names_ ? names_->shortDays : nullptr, d, n.shortDays);
  }
  int twelveHour() const { return t_.hour == 0 ? 12 : t_.hour > 12 ? t_.hour - 12 : t_.hour; }
  void fraction(int n);

  Out& out_;
  SH_TIME t_;
  const SH_DT_NAMES* names_;
};

uint32_t DateFormatter::run(const uint16_t* mask, size_t section) {
  uint32_t color = 0;
  Units u(mask, section + 1);
  for (uint16_t t = u.next(); t && t != kDtSectionEnd; t = u.next()) {
    const bool dayValid = hasDate() && t_.day >= 1 && t_.day <= 31;
    switch (t) {
      case kDtMonth: number(hasDate(), t_.month + 1, 1); break;
      case kDtMonth + 1: number(hasDate(), t_.month + 1, 2); break;
      case kDtMonth + 2: name(hasDate(), hasDate() ? month(false) : nullptr, u"??"); break;
      case kDtMonth + 3: name(hasDate(), hasDate() ? month(true) : nullptr, u"???"); break;
      case kDtDay: number(dayValid, t_.day, 1); break;
      case kDtDay + 1: number(dayValid, t_.day, 2); break;
      case kDtDay + 2: name(hasDate(), hasDate() ? day(false) : nullptr, u"??"); break;
      case kDtDay + 3: name(hasDate(), hasDate() ? day(true) : nullptr, u"??"); break;
      case kDtYear2: {
        const int y = (t_.year + 1900) % 100;
        number(hasDate(), y < 0 ? -y : y, 2);
        break;
      }
      case kDtYear4: {
        const int y = t_.year + 1900;
        if (hasDate()) putNumber(out_, y, y < 0 ? 3 : 4);  // "%4.4d" counts the sign
        else out_.put(u"????");
        break;
      }
      case kDtHour24: number(hasTime(), t_.hour, 1); break;
      case kDtHour24 + 1: number(hasTime(), t_.hour, 2); break;
      case kDtHour12: number(hasTime(), twelveHour(), 1); break;
      case kDtHour12 + 1: number(hasTime(), twelveHour(), 2); break;
      case kDtMinute: number(hasTime(), t_.minute, 1); break;
      case kDtMinute + 1: number(hasTime(), t_.minute, 2); break;
      case kDtSecond: number(hasTime(), t_.second, 1); break;
      case kDtSecond + 1: number(hasTime(), t_.second, 2); break;
      case kDtAmPmUpper: name(hasTime(), t_.hour >= 12 ? u"PM" : u"AM", u"??"); break;
      case kDtAmPmUpper + 1: name(hasTime(), t_.hour >= 12 ? u"pm" : u"am", u"??"); break;
      case kDtAmPmUpper + 2: name(hasTime(), t_.hour >= 12 ? u"P" : u"A", u"?"); break;
      case kDtAmPmUpper + 3: name(hasTime(), t_.hour >= 12 ? u"p" : u"a", u"?"); break;
      case kDtColorBegin: color = readColor(u, kDtColorEnd); break;
      case kDtCurrent: shdtNow(&t_); break;
      case kDtFraction: fraction(u.next()); break;
      default: out_.put(char16_t(t));
    }
  }
  return color;
}

// The first n characters of the microseconds written with six digits.
void DateFormatter::fraction(int n) {
  if (!hasTime()) return out_.repeat(u'?', size_t(n));
  char16_t text[16];
  Out digits(text, 15);
  putNumber(digits, t_.microsecond, 6);
  for (int i = 0; i < n && text[i]; ++i) out_.put(text[i]);
}

}  // namespace
}  // namespace zr::fmt

ZRAPI uint32_t shformatDateTimeWeb(char16_t* buffer, int capacity, const uint16_t* compiled, const SH_TIME* value,
                                   int flag, const SH_DT_NAMES* names) {
  if (!buffer) return 0;
  zr::fmt::Out out(buffer, capacity);
  if (!compiled) return 0;
  const uint16_t wanted = uint16_t(zr::mask::kDtFirstSection + (flag & 3));
  size_t section = 0;
  while (compiled[section] && compiled[section] != wanted) ++section;
  if (!compiled[section]) return 0;
  SH_TIME t{};
  if (value) t = *value;
  else {
    t.year = SH_TIME_NO_DATE;
    t.hour = SH_TIME_NO_TIME;
  }
  zr::fmt::DateFormatter f(out, t, names);
  return f.run(compiled, section);
}

ZRAPI uint32_t shformatDateTime(char16_t* buffer, int capacity, const uint16_t* compiled, const SH_TIME* value,
                                int flag) {
  return shformatDateTimeWeb(buffer, capacity, compiled, value, flag, nullptr);
}
