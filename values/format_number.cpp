// The numeric formatter: section choice, rounding to what the mask shows,
// and the walk that lays out digits, separators and literals.
#include <cmath>

#include "shformat.h"
#include "values/format_engine.h"
#include "values/intl_settings.h"

namespace zr::fmt {
namespace {

using namespace zr::mask;

enum class Kind { Decimal, Double, Float, Longlong };

struct Value {
  Kind kind;
  SH_DEC dec;
  double real;  // doubles, and floats held exactly
  int64_t integer;
};

struct Culture {
  char16_t decimal;
  char16_t thousand;
  int grouping;
};

Culture cultureOf(const char16_t* culture) {
  const intl::IntlSettings& s = intl::settings();
  Culture c{s.decimal, s.thousand, s.grouping};
  if (!culture) return c;
  char16_t text[intl::kSymbolUnits];
  const char16_t decimal[2] = {s.decimal, 0}, thousand[2] = {s.thousand, 0};
  if (getCultureValueStr(culture, u"sDecimal", decimal, text, intl::kSymbolUnits) == 0) c.decimal = text[0];
  if (getCultureValueStr(culture, u"sThousand", thousand, text, intl::kSymbolUnits) == 0) c.thousand = text[0];
  getCultureValueInt(culture, u"sGrouping", s.grouping, &c.grouping);
  return c;
}

// The index just past a token and its fields.
size_t skipToken(const uint16_t* mask, size_t i, bool commaPositions) {
  Units u(mask, i);
  switch (u.next()) {
    case kNumGrouped:
    case kNumExpGrouped:
      if (commaPositions) {
        for (int n = u.count(); n > 0; --n) u.next();
        u.next();
      }
      [[fallthrough]];
    case kNumInteger:
    case kNumFraction:
    case kNumExpInteger:
    case kNumExpFraction:
    case kNumExponentDigits:
    case kNumTemplateDigits:
      u.next();
      [[fallthrough]];
    case kNumTemplateHead:
    case kNumPercentHead:
    case kNumExponentHead:
    case kNumPlainHead:
      u.next();
      break;
    case kNumColorBegin:
      for (uint16_t c = u.next(); c && c != kNumColorEnd; c = u.next()) {
      }
      break;
    default:
      break;
  }
  return u.at();
}

constexpr size_t kNone = size_t(-1);

size_t findSection(const uint16_t* mask, uint16_t section, bool commaPositions) {
  for (size_t i = 0; mask[i]; i = skipToken(mask, i, commaPositions))
    if (mask[i] == section) return i;
  return kNone;
}

const SH_DEC kZeroDec = {{0, 0, 0, 0, 0, 0, 0}, 0, 2};

class NumberFormatter {
 public:
  NumberFormatter(Out& out, const uint16_t* mask, Value& v, int flag, const Culture& c)
      : out_(out), mask_(mask), v_(v), culture_(c), commaPositions_((flag & 4) != 0), flag_(flag & 3) {}

  uint32_t run();

 private:
  int sign() const;
  void prepare(size_t section);
  void round();
  void makeDigits();
  void layout(size_t section);
  void putDigit(int64_t i) { out_.put(char16_t(d_.at(i))); }
  void minus() {
    if (minus_) out_.put(u'-');
    minus_ = false;
  }
  void integerDigits(Units& u, bool grouped);
  void fraction(Units& u);
  void exponentInteger(Units& u, bool grouped);
  void exponentFraction(Units& u);
  void general();
  char templateDigit(int64_t k) const;

  Out& out_;
  const uint16_t* mask_;
  Value& v_;
  const Culture& culture_;
  bool commaPositions_;
  int flag_;

  Digits d_;
  uint32_t color_ = 0;
  bool minus_ = false;
  bool zeroSection_ = false;
  bool preRound_ = true;
  int places_ = 0;       // P: the places the value is rounded to
  int shown_ = 0;        // digits shown by an exponent form's integer token
  int64_t templateCount_ = 0;
  double whole_ = 0;  // a pre-rounded double as its integer of scaled units
  bool wholeKnown_ = false;
  bool percentInteger_ = false;  // an integer shown times 100
};

int NumberFormatter::sign() const {
  switch (v_.kind) {
    case Kind::Decimal: return shCompareDec(&v_.dec, &kZeroDec);
    case Kind::Longlong: return v_.integer < 0 ? -1 : v_.integer > 0;
    default: return v_.real < 0 ? -1 : v_.real > 0;  // NaN counts as zero
  }
}

uint32_t NumberFormatter::run() {
  uint16_t wanted;
  if (flag_ == 1 || flag_ == 2) wanted = uint16_t(kNumFirstSection + 2 + flag_);
  else wanted = uint16_t(sign() < 0 ? kNumFirstSection + 1 : sign() == 0 ? kNumFirstSection + 2 : kNumFirstSection);
  size_t section = findSection(mask_, wanted, commaPositions_);
  if (section == kNone) {
    if (flag_ == 1 || flag_ == 2) return 0;
    section = findSection(mask_, kNumFirstSection, commaPositions_);
    if (section == kNone) return 0;
    // The positive section shows a negative value with a leading minus.
    minus_ = wanted == kNumFirstSection + 1;
  }
  zeroSection_ = wanted == kNumFirstSection + 2;
  prepare(section);
  // Nothing of a zero may survive as rounding noise.
  if (zeroSection_ && v_.kind != Kind::Decimal) {
    v_.real = 0;
    v_.integer = 0;
  }
  round();
  makeDigits();
  layout(section);
  return color_;
}

void NumberFormatter::prepare(size_t section) {
  bool percentDone = false, templateSection = false, afterPoint = false;
  for (size_t i = section + 1; mask_[i] && mask_[i] != kNumSectionEnd; i = skipToken(mask_, i, commaPositions_)) {
    Units u(mask_, i + 1);
    const uint16_t t = mask_[i];
    if (t == kNumPercentHead && !percentDone) {
      percentDone = true;
      switch (v_.kind) {
        case Kind::Decimal: {
          SH_DEC hundred;
          shIntToDec(&hundred, 100);
          shMultDec(&v_.dec, &v_.dec, &hundred);
          break;
        }
        case Kind::Double: v_.real *= 100.0; break;
        case Kind::Float: v_.real = double(float(v_.real) * 100.0f); break;
        // Two zeros on the digits rather than a multiply that would wrap
        // beyond 9.2e16.
        case Kind::Longlong: percentInteger_ = true; break;
      }
    } else if (t == kNumFraction || t == kNumExpFraction) {
      places_ = u.count();
      places_ += u.count();
      if (t == kNumExpFraction) preRound_ = false;
      return;
    } else if (t == kNumExponentHead || t == kNumExpGrouped || t == kNumExpInteger) {
      preRound_ = false;
    } else if (t == kNumGeneral) {
      if (v_.kind == Kind::Double || v_.kind == Kind::Float) preRound_ = false;
      else if (v_.kind == Kind::Decimal) places_ = v_.dec.scale & 0x1F;
      else places_ = 6;
    } else if (t == kNumTemplateHead) {
      templateSection = true;
    } else if (t == kNumPoint) {
      afterPoint = true;
    } else if (t == kNumTemplateDigits && templateSection && afterPoint) {
      places_ += u.count();
      places_ += u.count();
    }
  }
}

void NumberFormatter::round() {
  if (v_.kind == Kind::Decimal) {
    const int16_t places = int16_t(preRound_ ? places_ : v_.dec.scale & 0x1F);
    if (places <= SH_DEC_MAX_SCALE) shRoundDec(&v_.dec, &v_.dec, places);
    return;
  }
  if (!preRound_ || v_.kind == Kind::Longlong) return;
  // The bias lets 1.005 at two places round up, as a person reading the
  // decimal text expects, where its binary value lies just below.
  if (v_.kind == Kind::Double) {
    static constexpr double kPowers[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                                         1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
    const double scale = places_ <= 22 ? kPowers[places_] : std::pow(10.0, places_);
    const double x = v_.real * scale;
    if (!std::isfinite(x)) return;
    double whole = 0;
    const double part = std::modf(x >= 0 ? x + 1e-13 : x - 1e-13, &whole);
    if (part >= 0.5) whole += 1;
    else if (part <= -0.5) whole -= 1;
    v_.real = whole / scale;
    whole_ = whole;
    wholeKnown_ = places_ <= 22;
  } else {
    const float scale = std::pow(10.0f, float(places_));
    const float x = float(v_.real) * scale;
    if (!std::isfinite(x)) return;
    float whole = 0;
    const float part = std::modf(x >= 0 ? x + 1e-6f : x - 1e-6f, &whole);
    if (part >= 0.5f) whole += 1;
    else if (part <= -0.5f) whole -= 1;
    v_.real = double(whole / scale);
  }
}

void NumberFormatter::makeDigits() {
  switch (v_.kind) {
    case Kind::Decimal: return digitsOf(v_.dec, d_);
    case Kind::Double:
      // With at most 15 digits, the printed quotient whole / 10^P, once its
      // last-digit noise is removed, is exactly the digits of whole: take
      // them from the integer without printing.
      if (wholeKnown_ && whole_ > -1e15 && whole_ < 1e15 && v_.real != 0) {
        digitsOf(int64_t(whole_), d_);
        d_.point -= places_;
        d_.trimZeros();
        return;
      }
      return digitsOf(v_.real, d_);
    case Kind::Float: return digitsOf(float(v_.real), d_);
    case Kind::Longlong:
      digitsOf(v_.integer, d_);
      if (percentInteger_ && v_.integer != 0) {
        d_.digit[d_.count++] = '0';
        d_.digit[d_.count++] = '0';
        d_.point += 2;
      }
      return;
  }
}

// A full buffer ends the output but not the walk, so that the colour is
// still found.
void NumberFormatter::layout(size_t section) {
  Units u(mask_, section + 1);
  for (uint16_t t = u.next(); t && t != kNumSectionEnd; t = u.next()) {
    switch (t) {
      case kNumInteger: integerDigits(u, false); break;
      case kNumGrouped: integerDigits(u, true); break;
      case kNumFraction: fraction(u); break;
      case kNumPoint:
        if (culture_.decimal) out_.put(culture_.decimal);
        break;
      case kNumColorBegin: color_ = readColor(u, kNumColorEnd); break;
      case kNumExpSignAlways: out_.put(d_.point >= 0 ? u'+' : u'-'); break;
      case kNumExpSignMinus:
        if (d_.point < 0) out_.put(u'-');
        break;
      case kNumExpGrouped: exponentInteger(u, true); break;
      case kNumExpInteger: exponentInteger(u, false); break;
      case kNumExpFraction: exponentFraction(u); break;
      case kNumExponentDigits: {
        const int zeros = u.count();
        u.count();
        putNumber(out_, std::abs(int64_t(d_.point)), zeros);
        break;
      }
      case kNumGeneral: general(); break;
      case kNumTemplateHead:
        templateCount_ = u.count();
        shown_ = 0;
        break;
      case kNumTemplateDigits: {
        int64_t n = u.count();
        n += u.count();
        for (; n > 0 && !out_.full(); --n) out_.put(char16_t(templateDigit(shown_++)));
        break;
      }
      case kNumPercentHead:
      case kNumExponentHead:
      case kNumPlainHead: u.count(); break;
      case kNumEnglish:
      case kNumFirstSection:
      case kNumFirstSection + 1:
      case kNumFirstSection + 2:
      case kNumFirstSection + 3:
      case kNumFirstSection + 4: break;
      default: out_.put(char16_t(t));
    }
  }
}

// Separators at these distances from the right end of the digits shown.
class Grouping {
 public:
  Grouping(Units& u, bool commaPositions, int defaultSize) : size_(defaultSize) {
    if (!commaPositions) return;
    const int listed = u.count();
    for (int i = 0; i < listed; ++i) {
      const int p = u.count();
      if (count_ < kMax) positions_[count_++] = p;
    }
    const int stored = u.count();
    if (stored > 0) size_ = stored;
    own_ = true;
  }
  // Called once the group's placeholder total is known.
  void place(int total) {
    start_ = 0;
    for (int i = 0; i < count_; ++i) {
      positions_[i] = total - positions_[i];
      if (positions_[i] > start_) start_ = positions_[i];
    }
  }
  bool before(int64_t fromRight) const {
    if (fromRight <= 0) return false;
    if (own_) {
      for (int i = 0; i < count_; ++i)
        if (positions_[i] == fromRight) return true;
      return size_ > 0 && fromRight > start_ && (fromRight - start_) % size_ == 0;
    }
    return size_ > 0 && fromRight % size_ == 0;
  }

 private:
  static constexpr int kMax = 64;
  int positions_[kMax];
  int count_ = 0;
  int size_;
  int start_ = 0;
  bool own_ = false;
};

void NumberFormatter::integerDigits(Units& u, bool grouped) {
  Grouping groups(u, grouped && commaPositions_, grouped ? culture_.grouping : 0);
  const int zeros = u.count();
  const int hashes = u.count();
  groups.place(zeros + hashes);
  minus();
  const int64_t point = d_.point;
  const int64_t pad = point > 0 ? (zeros > point ? zeros - point : 0) : zeros;
  const int64_t total = pad + (point > 0 ? point : 0);
  for (int64_t k = 0; k < total && !out_.full(); ++k) {
    out_.put(k < pad ? u'0' : char16_t(d_.at(k - pad)));
    if (grouped && culture_.thousand && groups.before(total - 1 - k)) out_.put(culture_.thousand);
  }
}

void NumberFormatter::fraction(Units& u) {
  int64_t zeros = u.count();
  int64_t hashes = u.count();
  int64_t i = d_.point > 0 ? d_.point : 0;
  if (d_.point < 0) {
    int64_t gap = -int64_t(d_.point);
    for (; gap > 0 && zeros > 0; --gap, --zeros) out_.put(u'0');
    for (; gap > 0 && hashes > 0; --gap, --hashes) out_.put(u'0');
    // Digits beyond the places shown stay hidden.
    if (gap > 0) return;
    i = 0;
  }
  for (; zeros > 0 && !out_.full(); --zeros) putDigit(i++);
  int64_t end = d_.count;
  while (end > i && d_.at(end - 1) == '0') --end;
  for (; hashes > 0 && i < end && !out_.full(); --hashes) putDigit(i++);
}

void NumberFormatter::exponentInteger(Units& u, bool grouped) {
  Grouping groups(u, grouped && commaPositions_, 0);
  const int zeros = u.count();
  const int hashes = u.count();
  const int n = zeros + hashes;
  d_.roundTo(n + places_);
  if (!zeroSection_) d_.point -= n;
  minus();
  shown_ = n;
  for (int k = 0; k < n && !out_.full(); ++k) {
    putDigit(k);
    if (grouped && culture_.thousand && culture_.grouping > 0 && n - 1 - k > 0 &&
        (n - 1 - k) % culture_.grouping == 0)
      out_.put(culture_.thousand);
  }
}

void NumberFormatter::exponentFraction(Units& u) {
  int zeros = u.count();
  int hashes = u.count();
  int64_t i = shown_;
  for (; zeros > 0 && !out_.full(); --zeros) putDigit(i++);
  for (; hashes > 0 && i < d_.count && !out_.full(); --hashes) putDigit(i++);
}

void NumberFormatter::general() {
  if (d_.negative) out_.put(u'-');
  if (zeroSection_) return out_.put(u'0');
  const bool real = v_.kind == Kind::Double || v_.kind == Kind::Float;
  if (v_.kind == Kind::Longlong) {
    for (int i = 0; i < d_.count; ++i) putDigit(i);
    return;
  }
  if (real && (d_.point < -4 || d_.point > 16)) {
    putDigit(0);
    if (culture_.decimal) out_.put(culture_.decimal);
    if (d_.count > 1)
      for (int i = 1; i < d_.count; ++i) putDigit(i);
    else
      out_.put(u'0');
    out_.put(u'E');
    const int64_t e = int64_t(d_.point) - 1;
    out_.put(e >= 0 ? u'+' : u'-');
    putNumber(out_, e >= 0 ? e : -e, 0);
    return;
  }
  if (d_.point <= 0) {
    out_.put(u'0');
    if (culture_.decimal) out_.put(culture_.decimal);
    out_.repeat(u'0', size_t(-int64_t(d_.point)));
    for (int i = 0; i < d_.count; ++i) putDigit(i);
    return;
  }
  for (int64_t i = 0; i < d_.point; ++i) putDigit(i);
  if (d_.count > d_.point) {
    if (culture_.decimal) out_.put(culture_.decimal);
    for (int64_t i = d_.point; i < d_.count; ++i) putDigit(i);
  }
}

// Digit k of the template: the integer digits and the rounded places,
// padded with zeros on the left to the head's count.
char NumberFormatter::templateDigit(int64_t k) const {
  if (places_ == 0 && d_.point <= 0) return '0';
  const int64_t integer = d_.point > 0 ? d_.point : 0;
  const int64_t natural = integer + places_;
  if (natural < templateCount_) {
    k -= templateCount_ - natural;
    if (k < 0) return '0';
  }
  if (k >= natural) return '0';
  return d_.at(k + (d_.point < 0 ? d_.point : 0));
}

uint32_t format(char16_t* buffer, int capacity, const uint16_t* mask, Value v, int flag, const char16_t* culture) {
  if (!buffer) return 0;
  Out out(buffer, capacity);
  if (!mask) return 0;
  try {
    const Culture c = cultureOf(culture);
    NumberFormatter f(out, mask, v, flag, c);
    return f.run();
  } catch (...) {
    return 0;
  }
}

Value decimal(const SH_DEC* x) {
  Value v{Kind::Decimal, kZeroDec, 0, 0};
  if (x) v.dec = *x;
  return v;
}

}  // namespace
}  // namespace zr::fmt

using zr::fmt::Kind;
using zr::fmt::Value;

ZRAPI uint32_t shformatDoubleWeb(char16_t* buffer, int capacity, const uint16_t* mask, double value, int flag,
                                 const char16_t* culture) {
  return zr::fmt::format(buffer, capacity, mask, Value{Kind::Double, {}, value, 0}, flag, culture);
}

ZRAPI uint32_t shformatDouble(char16_t* buffer, int capacity, const uint16_t* mask, double value, int flag) {
  return shformatDoubleWeb(buffer, capacity, mask, value, flag, nullptr);
}

ZRAPI uint32_t shformatRealWeb(char16_t* buffer, int capacity, const uint16_t* mask, const float* value, int flag,
                               const char16_t* culture) {
  return zr::fmt::format(buffer, capacity, mask, Value{Kind::Float, {}, value ? double(*value) : 0.0, 0}, flag,
                         culture);
}

ZRAPI uint32_t shformatReal(char16_t* buffer, int capacity, const uint16_t* mask, const float* value, int flag) {
  return shformatRealWeb(buffer, capacity, mask, value, flag, nullptr);
}

ZRAPI uint32_t shformatLonglongWeb(char16_t* buffer, int capacity, const uint16_t* mask, int64_t value, int flag,
                                   const char16_t* culture) {
  return zr::fmt::format(buffer, capacity, mask, Value{Kind::Longlong, {}, 0, value}, flag, culture);
}

ZRAPI uint32_t shformatLonglong(char16_t* buffer, int capacity, const uint16_t* mask, int64_t value, int flag) {
  return shformatLonglongWeb(buffer, capacity, mask, value, flag, nullptr);
}

ZRAPI uint32_t shformatDecimalWeb(char16_t* buffer, int capacity, const uint16_t* mask, const SH_DEC* value,
                                  int flag, const char16_t* culture) {
  return zr::fmt::format(buffer, capacity, mask, zr::fmt::decimal(value), flag, culture);
}

ZRAPI uint32_t shformatDecimal(char16_t* buffer, int capacity, const uint16_t* mask, const SH_DEC* value,
                               int flag) {
  return shformatDecimalWeb(buffer, capacity, mask, value, flag, nullptr);
}
