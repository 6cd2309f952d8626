// Any mask text compiles to tokens or to a documented error number, and
// nothing is written past the capacity. Input: one byte of capacity, then
// UTF-16LE mask text; what follows a 0 unit is a culture text.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "shformat.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 1) return 0;
  const int capacity = data[0];
  std::u16string text;
  for (size_t i = 1; i + 1 < size; i += 2) text += char16_t(data[i] | (data[i + 1] << 8));
  const size_t split = text.find(u'\0');
  const std::u16string mask = text.substr(0, split);
  const std::u16string cultureText = split == std::u16string::npos ? std::u16string() : text.substr(split + 1);
  const char16_t* culture = split == std::u16string::npos ? nullptr : cultureText.c_str();

  constexpr uint16_t kGuard = 0xA5A5;
  std::vector<uint16_t> units(size_t(capacity) + 8, kGuard);
  for (int pass = 0; pass < 2; ++pass) {
    const int error = pass == 0 ? shformatCmplNumericMaskWebCommasPos(units.data(), mask.c_str(), capacity, culture)
                                : shformatCmplNumericMaskWeb(units.data(), mask.c_str(), capacity, culture);
    if (error < 0 || error > SHFORMAT_BAD_FRACTION) std::abort();
    for (size_t i = size_t(capacity); i < units.size(); ++i)
      if (units[i] != kGuard) std::abort();
    if (error == SHFORMAT_OK) {
      size_t n = 0;
      while (n < size_t(capacity) && units[n]) ++n;
      if (n == size_t(capacity)) std::abort();  // a valid result is terminated inside the buffer
    }
  }
  return 0;
}
