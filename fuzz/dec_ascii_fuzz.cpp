// Arbitrary UTF-16 text into the decimal parser; whatever parses must print
// within the 34-character bound and parse back to the same record.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "shdec.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::vector<char16_t> text(size / 2 + 1);
  std::memcpy(text.data(), data, size / 2 * 2);
  text[size / 2] = 0;
  SH_DEC d;
  if (!shAsciiToDec(&d, text.data())) return 0;
  // Exactly 34 characters, so that ASan sees a longer text.
  char16_t* printed = new char16_t[34];
  shDecToAscii(printed, &d);
  SH_DEC back;
  if (!shAsciiToDec(&back, printed)) abort();
  // A zero keeps its scale but not its flags or a sign bit.
  if (d.flags == 0 && std::memcmp(&d, &back, sizeof d) != 0) abort();
  delete[] printed;
  return 0;
}
