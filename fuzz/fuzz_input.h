// fuzz_input.h - how the text targets read their bytes: UTF-16LE units, and
// a split at the first 0 unit into the value and an optional culture text.
#ifndef FUZZ_FUZZ_INPUT_H
#define FUZZ_FUZZ_INPUT_H

#include <cstddef>
#include <cstdint>
#include <string>

// Little-endian unit pairs; an odd last byte is dropped.
inline std::u16string unitsOf(const uint8_t* data, size_t size) {
  std::u16string text;
  for (size_t i = 0; i + 1 < size; i += 2) text += char16_t(data[i] | (data[i + 1] << 8));
  return text;
}

struct SplitText {
  std::u16string value;  // up to the first 0 unit
  std::u16string rest;   // after it
  bool split = false;

  // The culture argument: null when the text had no 0 unit.
  const char16_t* restOrNull() const { return split ? rest.c_str() : nullptr; }
};

inline SplitText splitAtZero(const std::u16string& text) {
  const size_t zero = text.find(u'\0');
  if (zero == std::u16string::npos) return {text, {}, false};
  return {text.substr(0, zero), text.substr(zero + 1), true};
}

#endif
