// The string mask compiler: "@" takes one character of the value.
#include "values/format_mask.h"
#include "text/wide_chars.h"

namespace {

using namespace zr::mask;

constexpr int kMaxSections = 3;

int compileString(Writer& out, const char16_t* mask) {
  const size_t length = mask ? zr::text::unitLength(mask) : 0;
  auto literal = [&](char16_t c) {
    if (c < kFirstLiteral) return SHFORMAT_BAD_CHARACTER;
    out.put(c);
    return SHFORMAT_OK;
  };
  if (length > 0) out.put(kStrFirstSection);
  int sections = 1;
  for (size_t i = 0; i < length && !out.full();) {
    const char16_t c = mask[i++];
    int error = SHFORMAT_OK;
    switch (c) {
      case u'@':
        out.put(kStrChar);
        break;
      case u';':
        out.put(kStrSectionEnd);
        if (sections == kMaxSections) return SHFORMAT_TOO_MANY_SECTIONS;
        out.put(uint16_t(kStrFirstSection + sections++));
        break;
      case u'\\':
        if (i == length) return SHFORMAT_UNEXPECTED_END;
        error = literal(mask[i++]);
        break;
      case u'\'':
        while (i < length && mask[i] != u'\'' && !error) error = literal(mask[i++]);
        if (i == length) return SHFORMAT_UNEXPECTED_END;
        ++i;
        break;
      case u'[': {
        const Bracket b = readBracket(mask, length, i - 1);
        if (b.kind == Bracket::Error) return b.error;
        i = b.next;
        if (putColor(out, b, kStrColorBegin, kStrColorEnd)) break;
        if (!isKeyword(b.text, b.length, u"GENERAL")) return SHFORMAT_UNKNOWN_KEY;
        out.put(kStrWhole);
        break;
      }
      default:
        error = literal(c);
    }
    if (error) return error;
  }
  out.put(kStrSectionEnd);
  out.put(0);
  return out.full() ? SHFORMAT_TOO_LARGE : SHFORMAT_OK;
}

}  // namespace

ZRAPI int shformatCmplStringMask(uint16_t* compiled, const char16_t* mask, int capacity) {
  Writer out(compiled, capacity);
  return compileString(out, mask);
}
