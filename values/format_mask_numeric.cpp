// The numeric mask compiler: one pass over the mask, plain number sections
// as digit groups, everything else as digit-by-digit templates.
#include <string>
#include <vector>

#include "values/format_mask.h"
#include "text/wide_chars.h"

namespace zr::mask {
namespace {

constexpr size_t kMaskCopy = 1000;
// Room for the copied mask and the "[currency]" expansions behind it.
constexpr size_t kWorkUnits = 4096;
constexpr int kMaxSections = 5;

bool isPlaceholder(char16_t c) { return c == u'#' || c == u'0'; }

// Currency forms: S stands for the symbol, D for the point and its zeros.
constexpr const char16_t* kPositiveForms[] = {u"'S'#,##0D", u"#,##0D'S'", u"'S' #,##0D", u"#,##0D 'S'"};
constexpr const char16_t* kNegativeForms[] = {
    u"('S'#,##0D)", u"'-S'#,##0D", u"'S-'#,##0D",  u"'S'#,##0D'-'",  u"(#,##0D'S')",  u"'-'#,##0D'S'",
    u"#,##0D'-S'",  u"#,##0D'S-'", u"'-'#,##0D 'S'", u"'-S' #,##0D", u"#,##0D 'S-'", u"'S' #,##0D'-'",
    u"'S -'#,##0D", u"#,##0D '-S'", u"('S' #,##0D)", u"(#,##0D 'S')"};

class NumericCompiler : private MaskCompiler {
 public:
  NumericCompiler(uint16_t* compiled, int capacity, const NumericCulture& culture, bool commaPositions)
      : MaskCompiler(compiled, capacity), culture_(culture), commaPositions_(commaPositions) {
    symbolLength_ = zr::text::unitLength(culture_.currency);
  }

  int run(const char16_t* mask);

 private:
  enum class Mode { Plain, Template };

  bool symbolAt(size_t i) const {
    if (!symbolLength_ || i + symbolLength_ > length_) return false;
    for (size_t k = 0; k < symbolLength_; ++k)
      if (work_[i + k] != culture_.currency[k]) return false;
    return true;
  }

  void startSection();
  void endSection();
  bool preScan(size_t i) const;
  void toTemplate();
  size_t tokenWidth(size_t i) const;
  void plainStep();
  void templateStep();
  void digitGroup();
  void exponent();
  void bracket();
  bool quoted();
  void expandCurrency();
  bool insert(const std::u16string& text);

  const NumericCulture& culture_;
  bool commaPositions_;
  size_t symbolLength_ = 0;
  char16_t work_[kWorkUnits];
  size_t length_ = 0;
  size_t pos_ = 0;
  bool wholeCurrency_ = false;

  // Per section.
  int section_ = 0;
  Mode mode_ = Mode::Plain;
  size_t head_ = 0;  // index of the head token; its count slot follows
  int digits_ = 0;
  bool beforePoint_ = true;
  bool afterExponent_ = false;
  bool integerSeen_ = false;
  bool pointSeen_ = false;
};

int NumericCompiler::run(const char16_t* mask) {
  size_t n = mask ? zr::text::unitLength(mask) : 0;
  if (n == 0) return SHFORMAT_UNEXPECTED_END;
  length_ = n < kMaskCopy ? n : kMaskCopy;
  for (size_t i = 0; i < length_; ++i) work_[i] = mask[i];
  wholeCurrency_ = zr::text::equalsIgnoreCase(mask, n, u"[currency]");

  startSection();
  while (!failed() && pos_ < length_) {
    if (mode_ == Mode::Plain) plainStep();
    else templateStep();
  }
  if (!failed()) {
    endSection();
    out_.put(0);
  }
  return result();
}

void NumericCompiler::startSection() {
  if (section_ == kMaxSections) return fail(SHFORMAT_TOO_MANY_SECTIONS);
  out_.put(uint16_t(kNumFirstSection + section_));
  head_ = out_.size();
  out_.put(kNumPlainHead);
  out_.put(1);
  digits_ = 0;
  beforePoint_ = true;
  afterExponent_ = integerSeen_ = pointSeen_ = false;
  mode_ = Mode::Plain;
  if (!preScan(pos_)) toTemplate();
}

void NumericCompiler::endSection() {
  out_.set(head_ + 1, uint16_t(digits_ + 1));
  out_.put(kNumSectionEnd);
  ++section_;
}

// Whether the section from i can be a plain number.
bool NumericCompiler::preScan(size_t i) const {
  const size_t start = i;
  auto skipTo = [&](size_t from, char16_t close) {
    while (from < length_ && work_[from] != close) ++from;
    return from < length_ ? from + 1 : length_;
  };
  while (i < length_ && work_[i] != u';') {
    const char16_t c = work_[i];
    const char16_t next = i + 1 < length_ ? work_[i + 1] : 0;
    if (c == u'\\') {
      i += 2;
    } else if (isPlaceholder(c) || c == u'.' || c == u'%' || c == u':' || c == u'+' || c == u'(' || c == u')' ||
               c == u' ' || c == u'$') {
      ++i;
    } else if (c == u'\'') {
      i = skipTo(i + 1, u'\'');
    } else if (c == u'[') {
      i = skipTo(i + 1, u']');
    } else if (c == u',' && isPlaceholder(next)) {
      ++i;
    } else if ((c == u'E' || c == u'e') && (next == u'+' || next == u'-') && i + 2 < length_ &&
               isPlaceholder(work_[i + 2])) {
      i += 2;
    } else if (symbolAt(i)) {
      i += symbolLength_;
    } else if (c == u'-' && section_ == 1 && i == start) {
      ++i;
    } else {
      return false;
    }
  }
  return true;
}

// The width of the compiled token at i, with its count fields.
size_t NumericCompiler::tokenWidth(size_t i) const {
  const uint16_t t = out_.at(i);
  switch (t) {
    case kNumGrouped:
    case kNumExpGrouped:
      return commaPositions_ ? 1 + out_.at(i + 1) + 1 + 2 : 3;
    case kNumInteger:
    case kNumFraction:
    case kNumExpInteger:
    case kNumExpFraction:
    case kNumExponentDigits:
    case kNumTemplateDigits:
      return 3;
    case kNumColorBegin: {
      size_t j = i + 1;
      while (j < out_.size() && out_.at(j) != kNumColorEnd) ++j;
      return j - i + 1;
    }
    default:
      return 1;
  }
}

// Rewrites the section so far digit by digit; only plain digit runs and
// literals can be rewritten.
void NumericCompiler::toTemplate() {
  for (size_t i = head_ + 2; i < out_.size(); i += tokenWidth(i)) {
    const uint16_t t = out_.at(i);
    if (t == kNumInteger) out_.set(i, kNumTemplateDigits);
    else if (t < kFirstLiteral) return fail(SHFORMAT_BAD_CHARACTER);
  }
  out_.set(head_, kNumTemplateHead);
  mode_ = Mode::Template;
}

void NumericCompiler::templateStep() {
  const char16_t c = work_[pos_++];
  if (isPlaceholder(c)) {
    out_.put(kNumTemplateDigits);
    out_.put(2);
    out_.put(1);
    ++digits_;
  } else if (c == u'.') {
    out_.put(kNumPoint);
  } else if (c == u',') {
    if (culture_.thousand) literal(culture_.thousand);
  } else if (c == u'\\') {
    if (pos_ == length_) return fail(SHFORMAT_UNEXPECTED_END);
    literal(work_[pos_++]);
  } else if (c == u';') {
    endSection();
    startSection();
  } else {
    literal(c);
  }
}

void NumericCompiler::plainStep() {
  const char16_t c = work_[pos_];
  const char16_t next = pos_ + 1 < length_ ? work_[pos_ + 1] : 0;
  if (isPlaceholder(c)) return digitGroup();
  if ((c == u'E' || c == u'e') && (next == u'+' || next == u'-') && pos_ + 2 < length_ &&
      isPlaceholder(work_[pos_ + 2]))
    return exponent();
  if (c == u'[') return bracket();
  if (symbolAt(pos_)) {
    for (size_t k = 0; k < symbolLength_; ++k) literal(work_[pos_ + k]);
    pos_ += symbolLength_;
    return;
  }
  ++pos_;
  switch (c) {
    case u'.':
      if (pointSeen_) return fail(SHFORMAT_TOO_MANY_PERIODS);
      pointSeen_ = true;
      beforePoint_ = false;
      out_.put(kNumPoint);
      return;
    case u';':
      endSection();
      return startSection();
    case u'%':
      literal(c);
      if (out_.at(head_) != kNumPlainHead) return fail(SHFORMAT_BAD_CHARACTER);
      return out_.set(head_, kNumPercentHead);
    case u'\\':
      if (pos_ == length_) return fail(SHFORMAT_UNEXPECTED_END);
      return literal(work_[pos_++]);
    case u'\'':
      while (pos_ < length_ && work_[pos_] != u'\'') literal(work_[pos_++]);
      if (pos_ == length_) return fail(SHFORMAT_UNEXPECTED_END);
      ++pos_;
      return;
    case u':':
    case u'+':
    case u'(':
    case u')':
    case u' ':
    case u'$':
      return literal(c);
    default:
      if (culture_.country == 1 && c != u'-') {
        --pos_;
        return toTemplate();
      }
      return literal(c);
  }
}

void NumericCompiler::digitGroup() {
  enum { Integer, Fraction, Exponent } kind;
  if (afterExponent_) kind = Exponent;
  else if (!beforePoint_) kind = Fraction;
  else if (integerSeen_) return toTemplate();
  else kind = Integer;

  int zeros = 0, hashes = 0;
  bool grouped = false;
  std::vector<int> commas;
  while (pos_ < length_) {
    const char16_t c = work_[pos_];
    if (isPlaceholder(c)) {
      (c == u'0' ? zeros : hashes)++;
    } else if (kind == Integer && c == u',' && pos_ + 1 < length_ && isPlaceholder(work_[pos_ + 1])) {
      grouped = true;
      if (commaPositions_) commas.push_back(zeros + hashes);
    } else {
      break;
    }
    ++pos_;
  }
  const int total = zeros + hashes;
  digits_ += total;
  if (kind == Integer) {
    integerSeen_ = true;
    out_.put(grouped ? kNumGrouped : kNumInteger);
    if (grouped && commaPositions_) {
      // Groups other than threes keep their comma positions; the first
      // distance is the group size beyond the mask's placeholders.
      bool irregular = false;
      for (size_t k = 0; k < commas.size(); ++k) {
        const int to = k + 1 < commas.size() ? commas[k + 1] : total;
        if (to - commas[k] != 3) irregular = true;
      }
      const int size = commas.size() > 1 ? commas[1] - commas[0] : total - commas[0];
      if (commas.size() == 1 || !irregular) commas.clear();
      out_.put(uint16_t(commas.size() + 1));
      for (int p : commas) out_.put(uint16_t(p + 1));
      out_.put(uint16_t(size + 1));
    }
  } else {
    out_.put(kind == Fraction ? kNumFraction : kNumExponentDigits);
  }
  out_.put(uint16_t(zeros + 1));
  out_.put(uint16_t(hashes + 1));
}

void NumericCompiler::exponent() {
  literal(work_[pos_]);
  out_.put(work_[pos_ + 1] == u'+' ? kNumExpSignAlways : kNumExpSignMinus);
  pos_ += 2;
  if (out_.at(head_) != kNumPlainHead) return fail(SHFORMAT_BAD_CHARACTER);
  out_.set(head_, kNumExponentHead);
  beforePoint_ = false;
  afterExponent_ = true;
  for (size_t i = head_ + 2; i < out_.size(); i += tokenWidth(i)) {
    const uint16_t t = out_.at(i);
    if (t == kNumGrouped || t == kNumInteger || t == kNumFraction)
      out_.set(i, uint16_t(t - kNumGrouped + kNumExpGrouped));
  }
}

void NumericCompiler::bracket() {
  const Bracket b = readBracket(work_, length_, pos_);
  if (b.kind == Bracket::Error) return fail(b.error);
  pos_ = b.next;
  if (putColor(out_, b, kNumColorBegin, kNumColorEnd)) return;
  if (isKeyword(b.text, b.length, u"CURRENCY")) return expandCurrency();
  if (isKeyword(b.text, b.length, u"ENGLISH")) return out_.put(kNumEnglish);
  if (isKeyword(b.text, b.length, u"GENERAL")) return out_.put(kNumGeneral);
  fail(SHFORMAT_UNKNOWN_KEY);
}

void NumericCompiler::expandCurrency() {
  if (culture_.currencyDigits > int(kWorkUnits)) return fail(SHFORMAT_TOO_LARGE);
  const std::u16string symbol(culture_.currency);
  std::u16string fraction;
  if (culture_.currencyDigits > 0) {
    fraction += u'.';
    fraction.append(size_t(culture_.currencyDigits), u'0');
  }
  auto build = [&](const char16_t* form) {
    std::u16string s;
    for (const char16_t* p = form; *p; ++p) {
      if (*p == u'S') s += symbol;
      else if (*p == u'D') s += fraction;
      else s += *p;
    }
    return s;
  };
  const int pos = culture_.currencyPosition >= 0 && culture_.currencyPosition <= 3 ? culture_.currencyPosition : 0;
  const int neg = culture_.negativeCurrency >= 0 && culture_.negativeCurrency <= 15 ? culture_.negativeCurrency : 0;
  const std::u16string positive = build(kPositiveForms[pos]);
  const std::u16string negative = build(kNegativeForms[neg]);
  if (section_ == 0 && wholeCurrency_) {
    std::u16string both = positive;
    both += u';';
    both += negative;
    insert(both);
  }
  else if (section_ == 0 || section_ == 2) insert(positive);
  else if (section_ == 1) insert(negative);
  else fail(SHFORMAT_UNKNOWN_KEY);
}

// Inserts text at the read position, shifting the rest of the mask.
bool NumericCompiler::insert(const std::u16string& text) {
  if (length_ + text.size() > kWorkUnits) {
    fail(SHFORMAT_TOO_LARGE);
    return false;
  }
  for (size_t i = length_; i > pos_; --i) work_[i - 1 + text.size()] = work_[i - 1];
  for (size_t k = 0; k < text.size(); ++k) work_[pos_ + k] = text[k];
  length_ += text.size();
  return true;
}

}  // namespace

int compileNumeric(uint16_t* compiled, const char16_t* mask, int capacity, const char16_t* culture,
                   bool commaPositions) {
  try {
    NumericCulture settings;
    numericCulture(culture, settings);
    NumericCompiler compiler(compiled, capacity, settings, commaPositions);
    return compiler.run(mask);
  } catch (...) {
    return SHFORMAT_INVALID;
  }
}

}  // namespace zr::mask

ZRAPI int shformatCmplNumericMask(uint16_t* compiled, const char16_t* mask, int capacity) {
  return zr::mask::compileNumeric(compiled, mask, capacity, nullptr, false);
}

ZRAPI int shformatCmplNumericMaskWeb(uint16_t* compiled, const char16_t* mask, int capacity,
                                     const char16_t* culture) {
  return zr::mask::compileNumeric(compiled, mask, capacity, culture, false);
}

ZRAPI int shformatCmplNumericMaskWebCommasPos(uint16_t* compiled, const char16_t* mask, int capacity,
                                              const char16_t* culture) {
  return zr::mask::compileNumeric(compiled, mask, capacity, culture, true);
}
