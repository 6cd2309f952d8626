// Up to 36 bytes of packed BCD into a decimal; what decodes must pack back
// into the same number of bytes or fewer.
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "shdec.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size > 36) return 0;
  uint8_t* bytes = new uint8_t[size];
  std::memcpy(bytes, data, size);
  SH_DEC d;
  if (shBCDToDec(bytes, uint32_t(size), &d)) {
    uint8_t packed[17];
    uint32_t length = 0;
    shDecToBCD(packed, &length, &d);
    if (length > sizeof packed) abort();
  }
  delete[] bytes;
  return 0;
}
