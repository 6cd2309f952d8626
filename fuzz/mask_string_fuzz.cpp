// Any mask text compiles to tokens or to a documented error number, and
// nothing is written past the capacity. Input: one byte of capacity, then
// UTF-16LE mask text up to a 0 unit.
#include <cstddef>
#include <cstdint>
#include <string>

#include "fuzz/fuzz_input.h"
#include "fuzz/mask_guard.h"
#include "shformat.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 1) return 0;
  const int capacity = data[0];
  const std::u16string mask = splitAtZero(unitsOf(data + 1, size - 1)).value;

  GuardedMask out(capacity);
  out.check(shformatCmplStringMask(out.data(), mask.c_str(), capacity));
  return 0;
}
