// The string formatter: "@" places take the value's characters in order.
#include "shformat.h"
#include "values/format_engine.h"

namespace {

using namespace zr::mask;

void copy(zr::fmt::Out& out, const char16_t* value) {
  if (value) out.put(value);
}

}  // namespace

ZRAPI uint32_t shformatString(char16_t* buffer, int capacity, const uint16_t* compiled, const char16_t* value,
                              int flag) {
  if (!buffer) return 0;
  zr::fmt::Out out(buffer, capacity);
  if (!compiled) {
    if ((flag & 3) == 0) copy(out, value);
    return 0;
  }
  const uint16_t wanted = uint16_t(kStrFirstSection + (flag & 3));
  size_t section = 0;
  while (compiled[section] && compiled[section] != wanted) ++section;
  if (!compiled[section]) {
    // Without a section the value shows as it stands.
    if ((flag & 3) == 0) copy(out, value);
    return 0;
  }
  const char16_t* next = value ? value : u"";
  uint32_t color = 0;
  zr::fmt::Units u(compiled, section + 1);
  for (uint16_t t = u.next(); t && t != kStrSectionEnd; t = u.next()) {
    switch (t) {
      case kStrChar: out.put(*next ? *next++ : u' '); break;
      case kStrWhole: copy(out, value); break;
      case kStrColorBegin: color = zr::fmt::readColor(u, kStrColorEnd); break;
      default: out.put(char16_t(t));
    }
  }
  return color;
}
