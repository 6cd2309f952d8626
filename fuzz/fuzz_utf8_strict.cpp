// UTF82unistr on outside input, with and without the length prefix and
// with any expected length.
#include <cstdlib>
#include <cstring>
#include <string>

#include "zrstr.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 2) return 0;
  int prefix = data[0] & 1;
  int32_t expected = static_cast<int8_t>(data[1]);
  std::string text(reinterpret_cast<const char*>(data + 2), size - 2);
  zrstg_handle* h = zrstg_begin(0);
  char16_t* out = UTF82unistr(text.c_str(), data[0] & 2 ? h : nullptr, nullptr, prefix, expected);
  const char16_t* chars = out;
  uint32_t byteCount = 0;
  if (prefix) {
    std::memcpy(&byteCount, out, 4);
    chars = reinterpret_cast<const char16_t*>(reinterpret_cast<const char*>(out) + 4);
    if (std::char_traits<char16_t>::length(chars) * 2 > byteCount) std::abort();
  }
  size_t limit = expected < 1 ? text.size() : static_cast<size_t>(expected);
  if (std::char_traits<char16_t>::length(chars) > limit) std::abort();
  char* back = unistr2UTF8(chars, h);
  if (!back) std::abort();
  if (!(data[0] & 2)) ZrHeap_free(out);
  zrstg_end(h);
  return 0;
}
