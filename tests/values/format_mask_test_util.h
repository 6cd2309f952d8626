// Helpers for the mask compiler tests: compile into a vector, and pin the
// process settings to their defaults for the duration of a test.
#ifndef TESTS_VALUES_FORMAT_MASK_TEST_UTIL_H
#define TESTS_VALUES_FORMAT_MASK_TEST_UTIL_H

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "shformat.h"
#include "shintl.h"
#include "values/intl_settings.h"

namespace zr::testing {

using Units = std::vector<uint16_t>;

// The compiled units up to and including the terminating 0.
template <typename Compile>
Units compiled(Compile compile, const char16_t* mask, int* error = nullptr, int capacity = 512) {
  Units buf(size_t(capacity) + 1, 0xABCD);
  int e = compile(buf.data(), mask, capacity);
  if (error) *error = e;
  EXPECT_EQ(buf[size_t(capacity)], 0xABCD) << "write past the capacity";
  if (e != 0) return {};
  size_t n = 0;
  while (buf[n]) ++n;
  buf.resize(n + 1);
  return buf;
}

inline Units numeric(const char16_t* mask, int* error = nullptr) {
  return compiled(shformatCmplNumericMask, mask, error);
}
inline Units dateTime(const char16_t* mask, int* error = nullptr) {
  return compiled(shformatCmplDateTimeMask, mask, error);
}
inline Units string(const char16_t* mask, int* error = nullptr) {
  return compiled(shformatCmplStringMask, mask, error);
}

// A mask or text as an escaped literal, for failure messages.
inline std::string shown(const char16_t* text) { return ::testing::PrintToString(std::u16string(text)); }

// The documented defaults, whatever the machine's locale and profile.
class DefaultSettings : public ::testing::Test {
 protected:
  void SetUp() override { zr::intl::loadSettings(nullptr, nullptr); }
  void TearDown() override { zrshr_intl(); }
};

}  // namespace zr::testing

#endif
