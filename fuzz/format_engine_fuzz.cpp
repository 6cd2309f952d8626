// Arbitrary compiled masks, as compiled from any mask text or as raw units,
// applied to values of every kind: nothing is written past the capacity and
// the text is terminated. Input: a byte of capacity, a byte choosing the
// compiler and the value flag, 16 bytes of value, then UTF-16LE units.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "fuzz/fuzz_input.h"
#include "shformat.h"

namespace {

constexpr char16_t kGuard = 0x5A5A;

void checkOutput(const std::vector<char16_t>& out, int capacity) {
  for (size_t i = size_t(capacity) + 1; i < out.size(); ++i)
    if (out[i] != kGuard) std::abort();
  size_t n = 0;
  while (n <= size_t(capacity) && out[n]) ++n;
  if (n > size_t(capacity)) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 18) return 0;
  const int capacity = data[0] % 80;
  const int choice = data[1];
  const int flag = (choice >> 2) & 7;
  uint8_t raw[16];
  std::memcpy(raw, data + 2, 16);
  const std::u16string text = unitsOf(data + 18, size - 18);

  std::vector<uint16_t> mask(text.size() * 8 + 600, 0);
  const int kind = choice & 3;
  if (kind == 3) {
    // Units straight from the input: what a caller's damaged buffer holds.
    for (size_t i = 0; i < text.size(); ++i) mask[i] = text[i];
  } else {
    const int units = int(mask.size()) - 1;
    const int error = kind == 0   ? ((flag & 4) ? shformatCmplNumericMaskWebCommasPos(mask.data(), text.c_str(), units, nullptr)
                                                : shformatCmplNumericMask(mask.data(), text.c_str(), units))
                      : kind == 1 ? shformatCmplDateTimeMask(mask.data(), text.c_str(), units)
                                  : shformatCmplStringMask(mask.data(), text.c_str(), units);
    if (error != SHFORMAT_OK) return 0;
  }

  std::vector<char16_t> out(size_t(capacity) + 16, kGuard);
  double d;
  float f;
  int64_t n;
  SH_DEC dec;
  SH_TIME t;
  std::memcpy(&d, raw, 8);
  std::memcpy(&f, raw + 8, 4);
  std::memcpy(&n, raw + 8, 8);
  std::memcpy(&dec, raw, 16);
  dec.scale &= 0x1F;
  if (dec.scale > SH_DEC_MAX_SCALE) dec.scale = SH_DEC_MAX_SCALE;
  std::memcpy(&t, raw, 12);

  shformatDouble(out.data(), capacity, mask.data(), d, flag);
  checkOutput(out, capacity);
  shformatRealWeb(out.data(), capacity, mask.data(), &f, flag, u"sDecimal=,\tsThousand=.\tsGrouping=2");
  checkOutput(out, capacity);
  shformatLonglong(out.data(), capacity, mask.data(), n, flag);
  checkOutput(out, capacity);
  shformatDecimal(out.data(), capacity, mask.data(), &dec, flag);
  checkOutput(out, capacity);
  shformatDateTime(out.data(), capacity, mask.data(), (choice & 0x80) ? nullptr : &t, flag & 3);
  checkOutput(out, capacity);
  shformatString(out.data(), capacity, mask.data(), text.c_str(), flag & 3);
  checkOutput(out, capacity);
  return 0;
}
