// The image of a new library: header, first map with its nine blocks in use,
// and an empty root node.
#include <cstring>

#include "library/lib_engine.h"

namespace zr::library {

const char16_t kProduct[13] = u"Zarvanecraft";

void buildHeader(uint8_t* image, const char16_t* comment, uint16_t type, int64_t created) {
  std::memset(image, 0, kRootAt);
  putMark(image, "HDR*");
  std::memcpy(image + offsetof(HeaderBlock, product), kProduct, sizeof kProduct);
  std::memcpy(image + offsetof(HeaderBlock, version), kFormatVersion, sizeof kFormatVersion);
  // The time goes in as eight bytes; comment and type then cover its high half.
  const uint64_t time = static_cast<uint64_t>(created);
  std::memcpy(image + offsetof(HeaderBlock, created), &time, sizeof time);
  char16_t* text = reinterpret_cast<char16_t*>(image + offsetof(HeaderBlock, comment));
  size_t units = 0;
  for (; comment && comment[units] && units < 255; ++units) text[units] = comment[units];
  if (units < 255) text[units] = 0;
  store16(image + offsetof(HeaderBlock, type), type);
  uint8_t* map = image + kMapAt;
  putMark(map, "FRE*");
  map[kBitsAt] = 0xFF;
  map[kBitsAt + 1] = 0x80;
}

void buildRootNode(uint8_t* node) {
  std::memset(node, 0, kLargeNode);
  putMark(node, "NOD*");
  setNodeFreeBytes(node, kLargeNode - kNodeHead);
}

}  // namespace zr::library
