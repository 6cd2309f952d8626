// Reading and freeing chains. A damaged chain never yields more than its
// record's size and never leaves the file.
#include <algorithm>
#include <cstring>
#include <vector>

#include "library/lib_engine.h"

namespace zr::library {
namespace {

// Reads the window at `offset`, no more of it than `blocks` blocks; a chain
// laid out contiguously then costs one read per window.
int fetchWindow(LMI_LIBRARY* lib, uint32_t offset, uint64_t blocks) {
  if (badBlockOffset(lib, offset, kBlock)) return LMI_ERR_DAMAGED;
  const size_t wanted = size_t(std::min<uint64_t>(windowBytes(lib), std::max<uint64_t>(blocks, 1) * kBlock));
  size_t got = 0;
  int rc = readAt(lib, offset, lib->ioBuffer, wanted, &got);
  if (rc < 0) return rc;
  if (got < kBlock) return LMI_ERR_DAMAGED;
  state(lib).windowFilled = uint32_t(got);
  return 0;
}

bool inWindow(LMI_LIBRARY* lib, uint32_t start, uint32_t offset) {
  return start && offset >= start && uint64_t(offset) + kBlock <= uint64_t(start) + state(lib).windowFilled;
}

uint64_t blocksFor(uint64_t bytes) { return (bytes + kPayload - 1) / kPayload; }

}  // namespace

void startRead(LMI_LIBRARY* lib, uint32_t first, uint32_t size) {
  lib->nextRead = first;
  lib->readBlock = nullptr;
  lib->tailRoom = 0;
  state(lib).readLeft = size;
}

int64_t pullBytes(LMI_LIBRARY* lib, uint8_t* data, uint64_t size) {
  uint64_t delivered = 0;
  uint64_t& left = state(lib).readLeft;
  while (delivered < size && left > 0) {
    if (lib->readBlock && lib->tailRoom > 0) {
      const uint32_t used = blockUsed(lib->readBlock);
      const uint64_t take = std::min<uint64_t>({uint64_t(lib->tailRoom), size - delivered, left});
      std::memcpy(data + delivered, lib->readBlock + kPayloadAt + used - uint32_t(lib->tailRoom), take);
      lib->tailRoom -= int32_t(take);
      delivered += take;
      left -= take;
      continue;
    }
    if (lib->readBlock) {
      const uint32_t next = blockNext(lib->readBlock);
      if (!next) break;
      if (badBlockOffset(lib, next, kBlock)) return LMI_ERR_DAMAGED;
      if (inWindow(lib, lib->nextRead, next)) {
        lib->readBlock = lib->ioBuffer + (next - lib->nextRead);
      } else {
        lib->nextRead = next;
        lib->readBlock = nullptr;
      }
    }
    if (!lib->readBlock) {
      if (!lib->nextRead) break;
      int rc = fetchWindow(lib, lib->nextRead, blocksFor(left));
      if (rc < 0) return rc;
      lib->readBlock = lib->ioBuffer;
    }
    const uint32_t used = blockUsed(lib->readBlock);
    if (used == 0 || used > kPayload) return LMI_ERR_DAMAGED;
    lib->tailRoom = int32_t(used);
  }
  return int64_t(delivered);
}

int freeChain(LMI_LIBRARY* lib, uint32_t size, uint32_t first) {
  lib->needsTrim = 1;
  if (!size) return 0;
  const uint64_t count = blocksFor(size);
  if (count > physicalSize(lib) / kBlock) return LMI_ERR_DAMAGED;
  std::vector<uint32_t> list;
  list.reserve(count);
  uint32_t start = 0;
  lib->readBlock = nullptr;
  for (uint32_t offset = first; offset && list.size() < count;) {
    if (!inWindow(lib, start, offset)) {
      int rc = fetchWindow(lib, offset, count - list.size());
      if (rc < 0) return rc;
      start = offset;
    }
    list.push_back(offset);
    offset = blockNext(lib->ioBuffer + (offset - start));
    if (offset && badBlockOffset(lib, offset, kBlock)) return LMI_ERR_DAMAGED;
  }
  return toggleBits(lib, list.data(), uint32_t(list.size()));
}

}  // namespace zr::library
