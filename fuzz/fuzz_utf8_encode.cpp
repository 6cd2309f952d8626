// Both UTF-16 to UTF-8 encoders against plain one-unit-at-a-time encoders,
// with the text at every alignment, so that the block paths and their
// edges meet every mix of units.
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "fuzz/fuzz_input.h"
#include "zrstr.h"

namespace {

void put(std::string& out, uint32_t c) {
  if (c < 0x80) {
    out += char(c);
  } else if (c < 0x800) {
    out += char(0xC0 | (c >> 6));
    out += char(0x80 | (c & 0x3F));
  } else if (c < 0x10000) {
    out += char(0xE0 | (c >> 12));
    out += char(0x80 | ((c >> 6) & 0x3F));
    out += char(0x80 | (c & 0x3F));
  } else {
    out += char(0xF0 | (c >> 18));
    out += char(0x80 | ((c >> 12) & 0x3F));
    out += char(0x80 | ((c >> 6) & 0x3F));
    out += char(0x80 | (c & 0x3F));
  }
}

// Every unit on its own, surrogates included.
std::string plainLenient(const std::u16string& text) {
  std::string out;
  for (char16_t c : text) put(out, c);
  return out;
}

// Pairs joined, lone surrogates replaced.
std::string plainStrict(const std::u16string& text) {
  std::string out;
  for (size_t i = 0; i < text.size(); ++i) {
    uint32_t c = text[i];
    bool high = c >= 0xD800 && c < 0xDC00;
    if (high && i + 1 < text.size() && text[i + 1] >= 0xDC00 && text[i + 1] < 0xE000) {
      c = 0x10000 + ((c - 0xD800) << 10) + (text[++i] - 0xDC00u);
    } else if (c >= 0xD800 && c < 0xE000) {
      c = 0xFFFD;
    }
    put(out, c);
  }
  return out;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::u16string text = splitAtZero(unitsOf(data, size)).value;
  std::string lenient = plainLenient(text), strict = plainStrict(text);
  for (size_t shift = 0; shift < 8; ++shift) {
    std::vector<char16_t> source(shift + text.size() + 1, u'A');
    std::memcpy(source.data() + shift, text.data(), text.size() * sizeof(char16_t));
    source.back() = 0;
    const char16_t* at = source.data() + shift;
    if (zrstg_UCS2toUTF8(nullptr, at, 0) != int32_t(lenient.size())) std::abort();
    std::vector<char> out(lenient.size() + 1);
    if (zrstg_UCS2toUTF8(out.data(), at, 0) != int32_t(lenient.size())) std::abort();
    if (std::memcmp(out.data(), lenient.c_str(), lenient.size() + 1) != 0) std::abort();
    char* back = unistr2UTF8(at, nullptr);
    if (strict != back) std::abort();
    ZrHeap_free(back);
  }
  return 0;
}
