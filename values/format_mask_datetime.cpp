// The date-time mask compiler. Letter runs become field tokens; "m" is a
// minute or a month by what stands around it.
#include <string>

#include "values/format_mask.h"
#include "text/wide_chars.h"

namespace zr::mask {
namespace {

constexpr int kMaxSections = 3;
// Keyword pictures are compiled into a buffer of this size before splicing.
constexpr int kPictureCapacity = 99;
// A picture may name another keyword; a cycle stops here.
constexpr int kMaxDepth = 4;

class DateTimeCompiler : private MaskCompiler {
 public:
  DateTimeCompiler(uint16_t* compiled, int capacity, const DateCulture& culture, int depth)
      : MaskCompiler(compiled, capacity), culture_(culture), depth_(depth) {}

  int run(const char16_t* mask, size_t length);

 private:
  size_t runLength(char16_t letter) const {
    size_t n = 0;
    while (pos_ + n < length_ && zr::text::asciiUpper(mask_[pos_ + n]) == letter) ++n;
    return n;
  }
  void step();
  void field(char16_t letter);
  void amPm();
  void bracket();
  void quotedLiteral(char16_t close, bool doubledQuote);
  void expand(const std::u16string& picture);

  const DateCulture& culture_;
  int depth_;
  const char16_t* mask_ = nullptr;
  size_t length_ = 0;
  size_t pos_ = 0;
  int sections_ = 1;
  bool hourOpen_ = false;  // an hour run with no minute or AM/PM since
  bool twelveHour_ = false;
};

int DateTimeCompiler::run(const char16_t* mask, size_t length) {
  if (length == 0) return SHFORMAT_UNEXPECTED_END;
  mask_ = mask;
  length_ = length;
  out_.put(kDtFirstSection);
  while (!failed() && pos_ < length_) step();
  if (!failed()) {
    out_.put(kDtSectionEnd);
    out_.put(0);
  }
  return result();
}

void DateTimeCompiler::step() {
  const char16_t c = mask_[pos_];
  const char16_t upper = zr::text::asciiUpper(c);
  switch (upper) {
    case u'M':
    case u'D':
    case u'Y':
    case u'H':
    case u'S':
    case u'F':
      return field(upper);
    case u'A':
      return amPm();
    case u'[':
      return bracket();
    case u';':
      ++pos_;
      out_.put(kDtSectionEnd);
      if (sections_ == kMaxSections) return fail(SHFORMAT_TOO_MANY_SECTIONS);
      return out_.put(uint16_t(kDtFirstSection + sections_++));
    case u'\\':
      if (++pos_ == length_) return fail(SHFORMAT_UNEXPECTED_END);
      return literal(mask_[pos_++]);
    case u'\'':
      return quotedLiteral(u'\'', true);
    case u'"':
      return quotedLiteral(u'"', false);
    default:
      ++pos_;
      return literal(c);
  }
}

void DateTimeCompiler::field(char16_t letter) {
  const size_t start = pos_;
  const size_t n = runLength(letter);
  pos_ += n;
  switch (letter) {
    case u'M': {
      const bool minutes =
          hourOpen_ || (start + 3 < length_ && zr::text::asciiUpper(mask_[start + 3]) == u'S');
      if (minutes) {
        if (n > 2) return fail(SHFORMAT_BAD_MINUTES);
        hourOpen_ = false;
        return out_.put(uint16_t(kDtMinute + n - 1));
      }
      if (n > 4) return fail(SHFORMAT_BAD_MONTH);
      return out_.put(uint16_t(kDtMonth + n - 1));
    }
    case u'D':
      if (n > 4) return fail(SHFORMAT_BAD_DAY);
      return out_.put(uint16_t(kDtDay + n - 1));
    case u'Y':
      if (n != 2 && n != 4) return fail(SHFORMAT_BAD_YEAR);
      return out_.put(n == 2 ? kDtYear2 : kDtYear4);
    case u'H':
      if (n > 2) return fail(SHFORMAT_BAD_HOUR);
      hourOpen_ = true;
      return out_.put(uint16_t((twelveHour_ ? kDtHour12 : kDtHour24) + n - 1));
    case u'S':
      if (n > 2) return fail(SHFORMAT_BAD_SECONDS);
      return out_.put(uint16_t(kDtSecond + n - 1));
    default:  // F
      if (n > 6) return fail(SHFORMAT_BAD_FRACTION);
      out_.put(kDtFraction);
      return out_.put(uint16_t(n));
  }
}

void DateTimeCompiler::amPm() {
  struct Form {
    const char16_t* text;
    size_t length;
    uint16_t token;
  };
  static constexpr Form kForms[] = {{u"AM/PM", 5, kDtAmPmUpper},
                                    {u"am/pm", 5, kDtAmPmUpper + 1},
                                    {u"A/P", 3, kDtAmPmUpper + 2},
                                    {u"a/p", 3, kDtAmPmUpper + 3}};
  for (const Form& f : kForms) {
    if (pos_ + f.length > length_) continue;
    size_t k = 0;
    while (k < f.length && mask_[pos_ + k] == f.text[k]) ++k;
    if (k < f.length) continue;
    pos_ += f.length;
    out_.put(f.token);
    // Hours already written switch to the 12-hour clock.
    for (size_t i = 0; i < out_.size(); ++i) {
      const uint16_t t = out_.at(i);
      if (t == kDtHour24 || t == kDtHour24 + 1) out_.set(i, uint16_t(t + 2));
      else if (t == kDtFraction) ++i;
      else if (t == kDtColorBegin)
        while (i + 1 < out_.size() && out_.at(i + 1) != kDtColorEnd) ++i;
    }
    twelveHour_ = true;
    hourOpen_ = false;
    return;
  }
  fail(SHFORMAT_BAD_AMPM);
}

void DateTimeCompiler::bracket() {
  const Bracket b = readBracket(mask_, length_, pos_);
  if (b.kind == Bracket::Error) return fail(b.error);
  pos_ = b.next;
  if (putColor(out_, b, kDtColorBegin, kDtColorEnd)) return;
  if (isKeyword(b.text, b.length, u"CURRENT")) return out_.put(kDtCurrent);
  if (isKeyword(b.text, b.length, u"SHORTDATE") || isKeyword(b.text, b.length, u"GENERAL")) {
    // A "'" separator must survive the picture's own quoting.
    std::u16string picture;
    const bool quoteSeparator = zr::text::equalsIgnoreCase(u"'", 1, culture_.dateSeparator);
    for (const char16_t* p = culture_.shortDate; *p; ++p) {
      if (*p == u'\'' && quoteSeparator) picture += u"''''";
      else picture += *p;
    }
    return expand(picture);
  }
  if (isKeyword(b.text, b.length, u"LONGDATE")) return expand(culture_.longDate);
  if (isKeyword(b.text, b.length, u"TIME")) {
    const std::u16string sep(culture_.timeSeparator);
    const std::u16string open = sep == u"'" ? u"''" : u"'";
    std::u16string picture = u"hh";
    for (const char16_t* field : {u"mm", u"ss"}) picture.append(open).append(sep).append(u"'").append(field);
    return expand(picture);
  }
  // Deliberately no error: the engine copies this unit like a character.
  out_.put(kDtUnknownKeyword);
}

void DateTimeCompiler::quotedLiteral(char16_t close, bool doubledQuote) {
  ++pos_;
  while (pos_ < length_) {
    const char16_t c = mask_[pos_++];
    if (c != close) {
      literal(c);
    } else if (doubledQuote && pos_ < length_ && mask_[pos_] == close) {
      literal(c);
      ++pos_;
    } else {
      return;
    }
  }
  fail(SHFORMAT_UNEXPECTED_END);
}

// Compiles a keyword's picture on its own and splices it in without its
// first section token and its last section end.
void DateTimeCompiler::expand(const std::u16string& picture) {
  if (picture.empty()) return;
  if (depth_ >= kMaxDepth) return fail(SHFORMAT_INVALID);
  uint16_t units[kPictureCapacity];
  DateTimeCompiler inner(units, kPictureCapacity, culture_, depth_ + 1);
  const int error = inner.run(picture.c_str(), picture.size());
  if (error) return fail(error);
  const size_t n = inner.out_.size();  // ends in section end, 0
  for (size_t i = 1; i + 2 < n; ++i) out_.put(units[i]);
}

}  // namespace

int compileDateTime(uint16_t* compiled, const char16_t* mask, int capacity, const DateCulture& culture, int depth) {
  try {
    DateTimeCompiler compiler(compiled, capacity, culture, depth);
    return compiler.run(mask ? mask : u"", mask ? zr::text::unitLength(mask) : 0);
  } catch (...) {
    return SHFORMAT_INVALID;
  }
}

}  // namespace zr::mask

ZRAPI int shformatCmplDateTimeMaskWeb(uint16_t* compiled, const char16_t* mask, int capacity,
                                      const char16_t* culture) {
  zr::mask::DateCulture settings;
  zr::mask::dateCulture(culture, settings);
  return zr::mask::compileDateTime(compiled, mask, capacity, settings, 0);
}

ZRAPI int shformatCmplDateTimeMask(uint16_t* compiled, const char16_t* mask, int capacity) {
  return shformatCmplDateTimeMaskWeb(compiled, mask, capacity, nullptr);
}
