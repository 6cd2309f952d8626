// Any text against the locale's pictures: success or SHDT_BAD_SYNTAX, a
// valid date when it succeeds, and nothing written when it fails. Input: one
// byte of mode and strictness, then UTF-16LE text.
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
  const int strict = (data[0] >> 2) & 1;
  // English (United States) or German (Germany): dots, 24-hour times.
  const uint32_t lcid = (data[0] >> 3) & 1 ? 0x407 : 0x409;
  const std::u16string text = unitsOf(data + 1, size - 1);

  SH_TIME before, t;
  shdtBuildTime(&before, 1234, 5, 6, 7, 8, 9, 10);
  t = before;
  const int error = shdtParseStringExWithLcid(&t, text.c_str(), mode, strict, lcid);
  if (error == SHDT_OK) {
    if (t.month > 11 || t.day < 1 || t.day > 31 || t.hour > 23 || t.minute > 59 || t.second > 59) std::abort();
  } else if (error != SHDT_BAD_SYNTAX || std::memcmp(&t, &before, sizeof t) != 0) {
    std::abort();
  }
  return 0;
}
