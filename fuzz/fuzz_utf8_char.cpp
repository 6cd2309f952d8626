// UTF82unicode on one character, and unicode2UTF8 back for what it accepts.
#include <cstdlib>
#include <string>

#include "zrstr.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string text(reinterpret_cast<const char*>(data), size);
  size_t at = 0;
  while (at < text.size()) {
    char16_t c = 0;
    int used = UTF82unicode(&c, text.c_str() + at);
    if (used < 0) {
      ++at;
      continue;
    }
    if (used < 1 || used > 3) std::abort();
    char back[4];
    int written = unicode2UTF8(back, c);
    if (written != -1 && (written < 1 || written > 3)) std::abort();
    at += static_cast<size_t>(used);
  }
  return 0;
}
