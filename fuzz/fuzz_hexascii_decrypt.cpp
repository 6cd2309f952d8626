// HexAscii_Decrypt on any bytes, then the encoder on what came out. Hex runs
// can decode to ASCII such as "$$HEX", so no round trip is asked for.
#include <cstdlib>

#include "ostextfile.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  int32_t units = -1, undone = -1;
  zrstg_handle* h = zrstg_begin(0);
  char16_t* text = HexAscii_Decrypt(reinterpret_cast<const char*>(data), static_cast<int32_t>(size), &units, &undone,
                                    h->pool);
  if (undone < 0 || static_cast<size_t>(undone) > size || units < 0 || static_cast<size_t>(units) > size) std::abort();
  if ((units > 0) != (text != nullptr)) std::abort();
  if (text) {
    int32_t length = 0;
    if (!HexAscii_Encrypt(text, units, &length, h->pool) || length < units) std::abort();
  }
  zrstg_end(h);
  return 0;
}
