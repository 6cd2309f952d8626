// Any ini text gives a key table: no crash, and every key it kept can be
// looked up again under another case.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>

#include "values/intl_source.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::istringstream in(std::string(reinterpret_cast<const char*>(data), size));
  auto table = zr::intl::readProfileText(in);
  std::u16string value;
  for (const char16_t* key : {u"sDecimal", u"SDECIMAL", u"sThousand", u"iDate", u"sShortDate"}) {
    bool lower = table->lookup(key, value);
    std::u16string folded(key);
    for (char16_t& c : folded)
      if (c >= u'a' && c <= u'z') c = static_cast<char16_t>(c - 32);
    if (lower != table->lookup(folded, value)) std::abort();
  }
  return 0;
}
