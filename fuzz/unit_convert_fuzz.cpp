// Any length text converts or fails with ZR_UNIT_FAILED, and the result
// stays inside the room given. Input: one byte of source unit and
// direction, one byte of room, then UTF-16LE text.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "fuzz/fuzz_input.h"
#include "shintl.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 2) return 0;
  static const int units[] = {ZR_UNIT_CENTIMETRES, ZR_UNIT_INCHES, ZR_UNIT_LAYOUT, 5};
  const int source = units[data[0] & 3];
  const int horizontal = (data[0] >> 2) & 1;
  const int room = data[1] % 40;
  const std::u16string text = splitAtZero(unitsOf(data + 2, size - 2)).value;
  std::vector<char16_t> out(static_cast<size_t>(room) + 1, u'\xFFFF');
  const int result = shZRUnitConvert(text.c_str(), out.data(), room, source, horizontal, nullptr);
  if (result != ZR_UNIT_FAILED && result != ZR_UNIT_CENTIMETRES && result != ZR_UNIT_INCHES &&
      result != ZR_UNIT_LAYOUT)
    std::abort();
  if (out[static_cast<size_t>(room)] != u'\xFFFF') std::abort();
  return 0;
}
