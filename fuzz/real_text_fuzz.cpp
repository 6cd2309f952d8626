// Any text with any decimal and thousands characters: the validity test
// answers 0 or 1, and normalising never writes past the source's length.
// Input: two UTF-16LE units for the characters, then the text.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "fuzz/fuzz_input.h"
#include "shintl.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 4) return 0;
  const std::u16string units = unitsOf(data, size);
  const char16_t decimal = units[0], thousands = units[1];
  const std::u16string text = splitAtZero(units.substr(2)).value;
  const int valid = shIsValidRealWeb(text.c_str(), decimal, thousands);
  if (valid != 0 && valid != 1) std::abort();
  // A guard unit behind the room the result may take.
  std::vector<char16_t> out(text.size() + 2, u'\xFFFF');
  shNormalizeRealWeb(out.data(), text.c_str(), decimal, thousands);
  if (out[text.size() + 1] != u'\xFFFF') std::abort();
  shNormalizeRealbyLocaleWeb(out.data(), text.c_str(), decimal, thousands);
  if (out[text.size() + 1] != u'\xFFFF') std::abort();
  std::u16string inPlace = text;
  shNormalizeRealWeb(inPlace.data(), inPlace.c_str(), decimal, thousands);
  shIsValidReal(text.c_str());
  shIsValidRealNoLocale(text.c_str());
  return 0;
}
