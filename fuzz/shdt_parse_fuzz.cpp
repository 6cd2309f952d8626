// Any text parses to a documented result code, and a failure leaves the
// record as it was. Input: one byte of mode, then UTF-16LE text; what
// follows a 0 unit is a culture text.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "fuzz/fuzz_input.h"
#include "shdt.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 1) return 0;
  const int mode = 1 + data[0] % 3;
  const SplitText input = splitAtZero(unitsOf(data + 1, size - 1));
  const std::u16string& value = input.value;
  const char16_t* culture = input.restOrNull();

  SH_TIME before, t;
  shdtBuildTime(&before, 1234, 5, 6, 7, 8, 9, 10);
  t = before;
  const int error = shdtParseEx(&t, value.c_str(), mode, culture);
  if (error < 0 || error > SHDT_BAD_FRACTION) std::abort();
  if (error == SHDT_OK) {
    if (mode != SHDT_MODE_TIME && (t.month > 11 || t.day < 1 || t.day > 31 || t.year + 1900 > 9999)) std::abort();
    if (mode != SHDT_MODE_DATE && (t.hour > 23 || t.minute > 59 || t.second > 59 || t.microsecond > 999999))
      std::abort();
    char16_t canonical[51];
    shdtParseToString(&t, canonical, mode);
  } else if (error != SHDT_BAD_YEAR && std::memcmp(&t, &before, sizeof t) != 0) {
    std::abort();
  }
  return 0;
}
