// In-place byte order swaps of plain values and of the decimal and
// date-time records.
#include <atomic>
#include <cstring>

#include "shmi.h"

namespace {

template <size_t N>
void swapBytes(unsigned char* p) {
  for (size_t i = 0; i < N / 2; ++i) {
    unsigned char t = p[i];
    p[i] = p[N - 1 - i];
    p[N - 1 - i] = t;
  }
}

unsigned char* bytes(void* address) { return static_cast<unsigned char*>(address); }

std::atomic<int> nativeOrder{0};

}  // namespace

ZRAPI void* shFlipShort(void* address) {
  swapBytes<2>(bytes(address));
  return bytes(address) + 2;
}

ZRAPI void* shFlipLong(void* address) {
  swapBytes<4>(bytes(address));
  return bytes(address) + 4;
}

ZRAPI void* shFlipLonglong(void* address) {
  swapBytes<8>(bytes(address));
  return bytes(address) + 8;
}

ZRAPI void* shFlipDouble(void* address) { return shFlipLonglong(address); }

ZRAPI void* shFlipTimeT(void* address) {
  swapBytes<4>(bytes(address));
  return bytes(address) + 8;
}

ZRAPI void* shFlipSHDEC(void* address) {
  unsigned char* p = bytes(address);
  for (int i = 0; i < 8; ++i) swapBytes<2>(p + 2 * i);
  return p + sizeof(SH_DEC);
}

ZRAPI void* shFlipSHTime(void* address) {
  unsigned char* p = bytes(address);
  swapBytes<4>(p);
  swapBytes<2>(p + 4);
  return p + sizeof(SH_TIME);
}

ZRAPI void* shFlipDataLoop(void* address, SH_FLIP_FN flip, uint32_t count, void*) {
  if (!address || !flip) return address;
  for (uint32_t i = 0; i < count; ++i) address = flip(address);
  return address;
}

ZRAPI void* shFlipDataLoopNative(void* address, SH_FLIP_FN, uint32_t, void*) { return address; }

ZRAPI void shSetFlipDataNative(int native) { nativeOrder.store(native, std::memory_order_relaxed); }

ZRAPI int shGetFlipDataNative(void) { return nativeOrder.load(std::memory_order_relaxed); }
