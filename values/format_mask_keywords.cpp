// Bracketed colours and keywords, and the messages of the compiler results.
#include <algorithm>
#include <iterator>

#include "values/format_mask.h"
#include "text/wide_chars.h"
#include "values/intl_strings.h"

namespace zr::mask {
namespace {

constexpr size_t kMaxKeyword = 19;

struct NamedColor {
  const char16_t* name;
  const char16_t* digits;  // the COLORREF value, blue-green-red
};

constexpr NamedColor kColors[] = {
    {u"BLACK", u"0"},       {u"BLUE", u"16711680"}, {u"CYAN", u"16776960"},      {u"GREEN", u"65280"},
    {u"MAGENTA", u"16711935"}, {u"RED", u"255"},    {u"WHITE", u"16777215"}, {u"YELLOW", u"65535"},
};

}  // namespace

bool isKeyword(const char16_t* word, size_t length, const char16_t* keyword) {
  return zr::text::equalsIgnoreCase(word, length, keyword);
}

bool putColor(Writer& out, const Bracket& b, uint16_t begin, uint16_t end) {
  const char16_t* digits = b.text;
  size_t length = b.length;
  if (b.kind != Bracket::Color) {
    const auto named = std::find_if(std::begin(kColors), std::end(kColors),
                                    [&](const NamedColor& c) { return isKeyword(b.text, b.length, c.name); });
    if (named == std::end(kColors)) return false;
    digits = named->digits;
    length = text::unitLength(digits);
  }
  out.put(begin);
  for (size_t k = 0; k < length; ++k) out.put(digits[k]);
  out.put(end);
  return true;
}

Bracket readBracket(const char16_t* mask, size_t length, size_t i) {
  size_t start = i + 1;
  if (start < length && zr::text::isWideDigit(mask[start])) {
    size_t j = start;
    while (j < length && zr::text::isWideDigit(mask[j])) ++j;
    if (j == length) return {Bracket::Error, nullptr, 0, SHFORMAT_UNEXPECTED_END, j};
    if (mask[j] != u']') return {Bracket::Error, nullptr, 0, SHFORMAT_BAD_COLOR, j};
    return {Bracket::Color, mask + start, j - start, 0, j + 1};
  }
  size_t j = start;
  while (j < length && mask[j] != u']') {
    if (j - start == kMaxKeyword) return {Bracket::Error, nullptr, 0, SHFORMAT_UNKNOWN_KEY, j};
    ++j;
  }
  if (j == length) return {Bracket::Error, nullptr, 0, SHFORMAT_UNEXPECTED_END, j};
  return {Bracket::Keyword, mask + start, j - start, 0, j + 1};
}

}  // namespace zr::mask

ZRAPI char16_t* shformatErrorString(char16_t* buffer, int error) {
  if (!buffer) return nullptr;
  unsigned id = 18;
  if (error >= 0 && error <= 9) id = 10 + unsigned(error);
  else if (error >= 10 && error <= 15) id = 100 + unsigned(error - 10);
  else if (error == SHFORMAT_BAD_FRACTION) id = 103;  // shares the text of the seconds
  const char16_t* text = zr::intl::stringTableText(id);
  zr::text::copyBounded(buffer, 255, text ? text : u"Invalid format.");
  return buffer;
}
