// Helpers for the decimal tests: records from text and text from records.
#ifndef TESTS_VALUES_DEC_TEST_UTIL_H
#define TESTS_VALUES_DEC_TEST_UTIL_H

#include <gtest/gtest.h>

#include <string>

#include "shdec.h"

namespace zr::dec::test {

inline std::u16string widen(const std::string& s) { return std::u16string(s.begin(), s.end()); }

inline SH_DEC dec(const std::string& text) {
  SH_DEC d;
  std::u16string w = widen(text);
  EXPECT_NE(shAsciiToDec(&d, w.c_str()), nullptr) << text;
  return d;
}

inline std::string str(const SH_DEC& d) {
  char16_t buffer[64];
  shDecToAscii(buffer, &d);
  std::string out;
  for (const char16_t* p = buffer; *p; ++p) out += char(*p);
  return out;
}

inline uint16_t flagWord(const SH_DEC& d) { return uint16_t(d.flags | d.scale << 8); }

}  // namespace zr::dec::test

#endif
