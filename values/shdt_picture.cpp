// The picture-directed parser: the text is matched against the locale's own
// date pictures, then its time pictures, and the first match wins.
#include <string>

#include "platform/system.h"
#include "shdt.h"
#include "text/wide_chars.h"
#include "values/shdt_calendar.h"
#include "values/shdt_culture.h"

namespace zr::dt {
namespace {

enum class Kind { Year, Month, Day, Hour, Minute, Second, Designator, Blank, Separator, Literal, Bad };

struct Token {
  Kind kind;
  int count;
  std::u16string text;  // of a literal or separator
};

bool isBlank(char16_t c) { return c == u' ' || c == u'\t'; }
using text::isWideDigit;

// The next token of the picture at p; false at its end.
bool nextToken(const std::u16string& p, size_t& i, Token& t) {
  if (i >= p.size()) return false;
  const char16_t c = p[i];
  t.text.clear();
  if (c == u'\'') {
    t.kind = Kind::Literal;
    for (++i; i < p.size(); ++i) {
      if (p[i] != u'\'') t.text += p[i];
      else if (i + 1 < p.size() && p[i + 1] == u'\'') t.text += p[++i];
      else break;
    }
    ++i;
    return true;
  }
  if (c == u'-' || c == u'.' || c == u'/' || c == u':' || c == u';' || c == u'T' || c == u'\\') {
    t.kind = Kind::Separator;
    t.text = c;
    ++i;
    return true;
  }
  size_t n = 1;
  while (i + n < p.size() && p[i + n] == c) ++n;
  i += n;
  t.count = int(n);
  switch (c) {
    case u'y':
    case u'Y': t.kind = Kind::Year; break;
    case u'M': t.kind = Kind::Month; break;
    case u'd':
    case u'D': t.kind = Kind::Day; break;
    case u'h':
      t.kind = Kind::Hour;
      if (t.count > 2) t.count = 2;
      break;
    case u'H':
      t.kind = Kind::Hour;
      t.count = t.count == 2 ? 2 : 4;
      break;
    case u'm': t.kind = Kind::Minute; break;
    case u's':
    case u'S': t.kind = Kind::Second; break;
    case u't': t.kind = Kind::Designator; break;
    case u' ':
    case u'\t': t.kind = Kind::Blank; break;
    default: t.kind = Kind::Bad;
  }
  return true;
}

bool startsWithIgnoreCase(const char16_t* text, const std::u16string& name) {
  if (name.empty()) return false;
  for (size_t k = 0; k < name.size(); ++k) {
    char16_t a = text[k], b = name[k];
    if (!a) return false;
    if (a < 128 && a >= u'A' && a <= u'Z') a = char16_t(a + 32);
    if (b < 128 && b >= u'A' && b <= u'Z') b = char16_t(b + 32);
    if (a != b) return false;
  }
  return true;
}

struct Match {
  int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
  bool hasYear = false, hasMonth = false, hasDay = false, hasHour = false, hasMinute = false, hasSecond = false;
  bool dateComplete() const { return hasYear && hasMonth && hasDay; }
  bool timeComplete() const { return hasHour && hasMinute && hasSecond; }
};

class PictureMatcher {
 public:
  PictureMatcher(const Culture& c, const char16_t* text, bool strict) : c_(c), p_(text), strict_(strict) {}

  // On a match fills out and returns where the text was left.
  const char16_t* run(const std::u16string& picture, SH_SYSTEMTIME& out);

 private:
  void skipBlanks() {
    while (isBlank(*p_)) ++p_;
  }
  // One or two digits: the pair when it stays within limit.
  bool oneOrTwo(int limit, int& value) {
    if (!isWideDigit(p_[0])) return false;
    value = p_[0] - u'0';
    ++p_;
    if (isWideDigit(p_[0]) && value * 10 + (p_[0] - u'0') <= limit) value = value * 10 + (*p_++ - u'0');
    return true;
  }
  bool exactly(int n, int& value) {
    value = 0;
    for (int k = 0; k < n; ++k)
      if (!isWideDigit(p_[k])) return false;
    for (int k = 0; k < n; ++k) value = value * 10 + (*p_++ - u'0');
    return true;
  }
  int name(const std::u16string* names, int count) {
    for (int i = 0; i < count; ++i)
      if (startsWithIgnoreCase(p_, names[i])) {
        p_ += names[i].size();
        return i + 1;
      }
    return 0;
  }
  bool field(const Token& t);
  bool hour(int count);
  bool literal(const std::u16string& text);

  const Culture& c_;
  const char16_t* p_;
  bool strict_;
  Match m_;
  bool clock24_ = true;
  int designator_ = 0;  // 1 AM, 2 PM
};

bool PictureMatcher::hour(int count) {
  clock24_ = count > 2;
  if (clock24_) count -= 2;
  int v = 0;
  if (count == 1) {
    if (!isWideDigit(p_[0])) return false;
    v = *p_++ - u'0';
    if (isWideDigit(p_[0])) {
      v = v * 10 + (*p_++ - u'0');
      if (clock24_ ? v > 23 : (v < 10 || v > 12)) return false;
    } else if (!clock24_ && v == 0) {
      return false;
    }
  } else if (count == 2) {
    if (!exactly(2, v)) return false;
    if (clock24_ ? v > 23 : (v < 1 || v > 12)) return false;
  } else {
    return false;
  }
  m_.hour = v;
  m_.hasHour = true;
  return v <= 23;
}

bool PictureMatcher::field(const Token& t) {
  skipBlanks();
  int v = 0;
  switch (t.kind) {
    case Kind::Year:
      if (t.count == 1 || !exactly(t.count == 2 ? 2 : 4, v)) return false;
      if (t.count == 2) {
        int century = c_.twoDigitYearMax / 100;
        if (century * 100 + v > c_.twoDigitYearMax) --century;
        v += century * 100;
      }
      if (v < 1 || v > 9999) return false;
      m_.year = v;
      m_.hasYear = true;
      return true;
    case Kind::Month:
      if (t.count == 1 && !oneOrTwo(13, v)) return false;
      if (t.count == 2 && (!exactly(2, v) || v >= 14)) return false;
      if (t.count == 3) v = name(c_.shortMonths, 13);
      if (t.count > 3) v = name(c_.months, 13);
      if (v < 1 || v > 13) return false;
      m_.month = v;
      m_.hasMonth = true;
      return true;
    case Kind::Day:
      if (t.count >= 3) return name(t.count == 3 ? c_.shortDays : c_.days, 7) != 0;
      if (t.count == 1 && !oneOrTwo(31, v)) return false;
      if (t.count == 2 && !exactly(2, v)) return false;
      if (v < 1 || v > 31) return false;
      m_.day = v;
      m_.hasDay = true;
      return true;
    case Kind::Hour: return hour(t.count);
    case Kind::Minute:
    case Kind::Second:
      if (t.count == 1 && !oneOrTwo(59, v)) return false;
      if (t.count == 2 && (!exactly(2, v) || v >= 60)) return false;
      if (t.count > 2) return false;
      if (t.kind == Kind::Minute) m_.minute = v, m_.hasMinute = true;
      else m_.second = v, m_.hasSecond = true;
      return true;
    case Kind::Designator:
      if (startsWithIgnoreCase(p_, c_.am)) {
        p_ += c_.am.size();
        designator_ = 1;
      } else if (startsWithIgnoreCase(p_, c_.pm)) {
        p_ += c_.pm.size();
        designator_ = 2;
      } else {
        return false;
      }
      return true;
    default: return false;
  }
}

bool PictureMatcher::literal(const std::u16string& text) {
  size_t b = 0, e = text.size();
  if (b < e && isBlank(text[0]) && !isBlank(*p_)) return false;
  while (b < e && isBlank(text[b])) ++b;
  while (e > b && isBlank(text[e - 1])) --e;
  skipBlanks();
  for (size_t k = b; k < e; ++k)
    if (p_[k - b] != text[k]) return false;
  p_ += e - b;
  if (e < text.size()) {
    if (!isBlank(*p_)) return false;
    ++p_;
  }
  return true;
}

const char16_t* PictureMatcher::run(const std::u16string& picture, SH_SYSTEMTIME& out) {
  size_t i = 0;
  Token t;
  Kind previous = Kind::Bad;
  while (nextToken(picture, i, t)) {
    if (t.kind == Kind::Bad) return nullptr;
    const char16_t* start = p_;
    bool ok;
    if (t.kind == Kind::Blank) {
      ok = isBlank(*p_) || !*p_;
      skipBlanks();
    } else if (!*p_) {
      // The text ended before the picture did.
      if (strict_) return nullptr;
      break;
    } else if (t.kind == Kind::Separator) {
      skipBlanks();
      ok = *p_ == t.text[0];
      if (ok) ++p_;
    } else if (t.kind == Kind::Literal) {
      ok = literal(t.text);
    } else if (!field(t)) {
      return nullptr;
    } else {
      ok = true;
    }
    if (!ok) {
      const bool forgiven = (t.kind == Kind::Blank && previous == Kind::Separator) || m_.dateComplete() ||
                            m_.timeComplete();
      if (!forgiven) return nullptr;
      p_ = start;
    }
    previous = t.kind;
  }
  if (designator_ && !clock24_ && m_.hour >= 1 && m_.hour <= 11 && designator_ != 1) m_.hour += 12;
  const bool anyDate = m_.hasYear || m_.hasMonth || m_.hasDay;
  const bool anyTime = m_.hasHour || m_.hasMinute || m_.hasSecond;
  if (!anyDate && !anyTime) return nullptr;
  // What the text does not give shows today's values.
  const platform::LocalTime now = platform::localTime();
  out = SH_SYSTEMTIME{uint16_t(now.year), uint16_t(now.month), 0, uint16_t(now.day),
                      uint16_t(now.hour), uint16_t(now.minute), uint16_t(now.second), 0};
  if (strict_) {
    if ((anyDate && !m_.dateComplete()) || (anyTime && !m_.timeComplete())) return nullptr;
    if (anyDate) out.year = uint16_t(m_.year), out.month = uint16_t(m_.month), out.day = uint16_t(m_.day);
    if (anyTime) out.hour = uint16_t(m_.hour), out.minute = uint16_t(m_.minute), out.second = uint16_t(m_.second);
    else out.hour = out.minute = out.second = 0;
  } else {
    if (m_.hasYear && m_.year >= 1 && m_.year <= 9998) out.year = uint16_t(m_.year);
    if (m_.hasMonth && m_.month >= 1 && m_.month <= 13) out.month = uint16_t(m_.month);
    if (m_.hasDay && m_.day >= 1 && m_.day <= 31) out.day = uint16_t(m_.day);
    if (m_.hasHour && m_.hour <= 23) out.hour = uint16_t(m_.hour);
    if (m_.hasMinute && m_.minute <= 59) out.minute = uint16_t(m_.minute);
    if (m_.hasSecond && m_.second <= 59) out.second = uint16_t(m_.second);
  }
  if (!m_.dateComplete() && !m_.timeComplete()) return nullptr;
  if (strict_) {
    const char16_t* rest = p_;
    while (isBlank(*rest)) ++rest;
    if (*rest) return nullptr;
  }
  return p_;
}

// The first picture of the list that matches, default first.
const char16_t* matchAny(const Culture& c, const std::vector<std::u16string>& pictures, const char16_t* text,
                         bool strict, SH_SYSTEMTIME& out) {
  for (const std::u16string& picture : pictures) {
    PictureMatcher m(c, text, strict);
    if (const char16_t* rest = m.run(picture, out)) return rest;
  }
  return nullptr;
}

bool tryLocale(const Culture& c, const char16_t* text, int mode, bool strict, PSH_TIME t) {
  SH_SYSTEMTIME date{}, time{};
  const char16_t* rest = text;
  bool dateFound = false, timeFound = false;
  if (mode == SHDT_MODE_DATE || mode == SHDT_MODE_DATETIME) {
    const bool dateStrict = mode == SHDT_MODE_DATETIME ? false : strict;
    const char16_t* r = matchAny(c, c.shortDates, text, dateStrict, date);
    if (!r) r = matchAny(c, c.longDates, text, dateStrict, date);
    if (r) {
      dateFound = true;
      rest = r;
    } else if (mode == SHDT_MODE_DATE) {
      return false;
    }
  }
  if (mode == SHDT_MODE_TIME || mode == SHDT_MODE_DATETIME) {
    timeFound = matchAny(c, c.times, rest, strict, time) != nullptr;
    if (!timeFound) {
      if (mode == SHDT_MODE_TIME) return false;
      if (strict)
        for (const char16_t* p = rest; *p; ++p)
          if (*p != u' ' && *p != u'\t' && *p != u'\r' && *p != u'\n') return false;
    }
    if (mode == SHDT_MODE_DATETIME && !dateFound) return false;
  }
  SH_SYSTEMTIME st{};
  if (mode == SHDT_MODE_TIME) {
    st = time;
    st.year = 1900, st.month = 1, st.day = 1;
  } else {
    st = date;
    st.hour = st.minute = st.second = 0;
    if (mode == SHDT_MODE_DATETIME && timeFound) st.hour = time.hour, st.minute = time.minute, st.second = time.second;
  }
  st.milliseconds = 0;
  if (!systemTimeValid(st)) return false;
  t->year = int16_t(st.year - 1900);
  t->month = uint8_t(st.month - 1);
  t->day = uint8_t(st.day);
  t->hour = uint8_t(st.hour);
  t->minute = uint8_t(st.minute);
  t->second = uint8_t(st.second);
  return true;
}

}  // namespace
}  // namespace zr::dt

ZRAPI int shdtParseStringExWithLcid(PSH_TIME t, const char16_t* text, int mode, int strict, uint32_t lcid) {
  if (!t || !text) return SHDT_BAD_SYNTAX;
  try {
    // The system's locale is the user's here, so there is one try.
    zr::dt::Culture culture;
    if (!zr::dt::buildCulture(lcid, culture)) return SHDT_BAD_SYNTAX;
    return zr::dt::tryLocale(culture, text, mode, strict != 0, t) ? SHDT_OK : SHDT_BAD_SYNTAX;
  } catch (...) {
    return SHDT_BAD_SYNTAX;
  }
}

ZRAPI int shdtParseStringEx(PSH_TIME t, const char16_t* text, int mode, int strict) {
  return shdtParseStringExWithLcid(t, text, mode, strict, 0);
}
