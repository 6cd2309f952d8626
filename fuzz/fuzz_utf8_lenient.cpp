// zrstg_UTF8toUCS2: counting and writing passes must agree on any bytes.
#include <cstdlib>
#include <string>
#include <vector>

#include "zrstr.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string text(reinterpret_cast<const char*>(data), size);
  int32_t units = zrstg_UTF8toUCS2(nullptr, text.c_str(), 0);
  std::vector<char16_t> out(static_cast<size_t>(units) + 1, 0x5A5A);
  if (zrstg_UTF8toUCS2(out.data(), text.c_str(), 0) != units || out[units] != 0) std::abort();
  // Back out through the lenient encoder: it must count what it writes.
  int32_t bytes = zrstg_UCS2toUTF8(nullptr, out.data(), 0);
  std::vector<char> utf8(static_cast<size_t>(bytes) + 1);
  if (zrstg_UCS2toUTF8(utf8.data(), out.data(), 0) != bytes) std::abort();
  return 0;
}
