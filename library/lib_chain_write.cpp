// Writing a chain: bytes gather in 502-byte pieces in the buffer, and a
// flush gives the pending blocks their places, writes runs of adjacent
// blocks in one call each, and only then patches the link of the block
// written before, so the chain on disk is whole at every moment.
#include <algorithm>
#include <cstring>

#include "library/lib_engine.h"

namespace zr::library {

void resetOperation(LMI_LIBRARY* lib) {
  lib->mapDirty = 0;
  lib->extendOnly = 0;
  lib->pendingBlocks = 0;
  lib->tailRoom = 0;
  lib->mapOffset = 0;
  lib->nextRead = 0;
  lib->readBlock = nullptr;
  lib->currentMap = lib->rootMap;
}

int pushBytes(LMI_LIBRARY* lib, const uint8_t* data, uint32_t size) {
  uint8_t* record = lib->entry;
  if (lib->tailRoom > 0 && lib->pendingBlocks > 0 && size > 0) {
    uint8_t* block = lib->ioBuffer + size_t(lib->pendingBlocks - 1) * kBlock;
    const uint32_t take = std::min(size, uint32_t(lib->tailRoom));
    std::memcpy(block + kPayloadAt + (kPayload - uint32_t(lib->tailRoom)), data, take);
    setBlockUsed(block, blockUsed(block) + take);
    setRecSize(record, recSize(record) + take);
    lib->tailRoom -= int32_t(take);
    data += take;
    size -= take;
  }
  while (size > 0) {
    if (lib->pendingBlocks >= lib->bufferBlocks) {
      int rc = flushChain(lib);
      if (rc < 0) return rc;
    }
    uint8_t* block = lib->ioBuffer + size_t(lib->pendingBlocks) * kBlock;
    const uint32_t piece = std::min(size, kPayload);
    std::memset(block, 0, kBlock);
    putMark(block, "DAT*");
    setBlockUsed(block, piece);
    std::memcpy(block + kPayloadAt, data, piece);
    ++lib->pendingBlocks;
    lib->tailRoom = int32_t(kPayload - piece);
    setRecSize(record, recSize(record) + piece);
    data += piece;
    size -= piece;
  }
  return 0;
}

int flushChain(LMI_LIBRARY* lib) {
  const uint32_t count = uint32_t(lib->pendingBlocks);
  if (!count) return 0;
  uint32_t* list = lib->blockList;
  int rc = allocateBlocks(lib, list, count, false, false);
  if (rc < 0) return rc;
  for (uint32_t i = 0; i < count; ++i)
    setBlockNext(lib->ioBuffer + size_t(i) * kBlock, i + 1 < count ? list[i + 1] : 0);
  for (uint32_t i = 0; i < count;) {
    uint32_t j = i;
    while (j + 1 < count && list[j + 1] == list[j] + kBlock) ++j;
    if (list[i] < uint32_t(lib->firstData)) return LMI_ERR_DAMAGED;
    const size_t bytes = size_t(j - i + 1) * kBlock;
    for (size_t done = 0; done < bytes;) {
      const size_t piece = std::min<size_t>(bytes - done, kMaxWindow);
      rc = writeAt(lib, uint64_t(list[i]) + done, lib->ioBuffer + size_t(i) * kBlock + done, piece);
      if (rc < 0) return rc;
      done += piece;
    }
    i = j + 1;
  }
  if (lib->lastWritten) {
    if (lib->lastWritten < uint32_t(lib->firstData)) return LMI_ERR_DAMAGED;
    setBlockNext(lib->lastBlock, list[0]);
    if ((rc = writeAt(lib, lib->lastWritten, lib->lastBlock, kBlock)) < 0) return rc;
  }
  std::memcpy(lib->lastBlock, lib->ioBuffer + size_t(count - 1) * kBlock, kBlock);
  lib->lastWritten = list[count - 1];
  lib->pendingBlocks = 0;
  if (!recFirst(lib->entry)) setRecFirst(lib->entry, list[0]);
  return 0;
}

}  // namespace zr::library
