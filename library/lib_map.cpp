// The free-block map: a chain of map blocks, one bit per block, and the
// allocation of blocks from it. Bits are flipped, never set or cleared, so
// allocating and freeing are one routine.
#include <algorithm>
#include <cstring>

#include "frame/mem_pool.h"
#include "library/lib_engine.h"

namespace zr::library {
namespace {

int loadMap(LMI_LIBRARY* lib, uint32_t offset) {
  if (offset == lib->mapOffset && lib->secondMap) {
    lib->currentMap = lib->secondMap;
    return 0;
  }
  if (offset >= kOffsetLimit) return LMI_ERR_DISK_FULL;
  int rc = saveDirtyMap(lib);
  if (rc < 0) return rc;
  if (badBlockOffset(lib, offset, kBlock)) return LMI_ERR_DAMAGED;
  if (!lib->secondMap) {
    lib->secondMap = static_cast<uint8_t*>(frame::MemAllocPtr(lib->pool, kBlock, 0));
    if (!lib->secondMap) return LMI_ERR_FILE;
  }
  lib->mapOffset = 0;
  lib->currentMap = lib->rootMap;
  size_t got = 0;
  if ((rc = readAt(lib, offset, lib->secondMap, kBlock, &got)) < 0) return rc;
  if (got < kBlock) return LMI_ERR_DAMAGED;
  lib->mapOffset = offset;
  lib->currentMap = lib->secondMap;
  return 0;
}

int selectRoot(LMI_LIBRARY* lib) {
  if (lib->currentMap == lib->rootMap) return 0;
  int rc = saveDirtyMap(lib);
  lib->currentMap = lib->rootMap;
  return rc;
}

// Makes the map block of group g current. Returns 1 with the group at
// which the chain ended instead, or 0 when g was reached.
int selectGroup(LMI_LIBRARY* lib, uint32_t group, uint32_t* endedAt) {
  uint32_t* known = state(lib).mapGroups;
  if (group > 0 && group < kKnownMapGroups && known[group]) return loadMap(lib, known[group]);
  int rc = selectRoot(lib);
  if (rc < 0) return rc;
  for (uint32_t k = 1; k <= group; ++k) {
    const uint32_t next = mapNext(lib->currentMap);
    if (!next) {
      *endedAt = k;
      return 1;
    }
    if ((rc = loadMap(lib, next)) < 0) return rc;
    if (k < kKnownMapGroups) known[k] = next;
  }
  return 0;
}

// Puts a fresh map block for a new group at `offset`, the group's first
// block, and links the chain's last block to it. The new block goes to disk
// before the link.
int growMapChain(LMI_LIBRARY* lib, uint32_t offset) {
  uint8_t fresh[kBlock] = {};
  putMark(fresh, "FRE*");
  fresh[kBitsAt] = 0x80;
  int rc = writeAt(lib, offset, fresh, kBlock);
  if (rc < 0) return rc;
  setMapNext(lib->currentMap, offset);
  if ((rc = saveMap(lib)) < 0) return rc;
  if (!lib->secondMap) {
    lib->secondMap = static_cast<uint8_t*>(frame::MemAllocPtr(lib->pool, kBlock, 0));
    if (!lib->secondMap) return LMI_ERR_FILE;
  }
  std::memcpy(lib->secondMap, fresh, kBlock);
  const uint32_t group = (offset - lib->baseOffset) / kBlock / kMapBits;
  if (group < kKnownMapGroups) state(lib).mapGroups[group] = offset;
  lib->mapOffset = offset;
  lib->currentMap = lib->secondMap;
  return 0;
}

bool bitAt(const uint8_t* map, uint32_t position) {
  return map[kBitsAt + position / 8] & (0x80u >> (position % 8));
}

}  // namespace

int saveMap(LMI_LIBRARY* lib) {
  const uint32_t offset = lib->currentMap == lib->rootMap ? lib->baseOffset + kMapAt : lib->mapOffset;
  if (!offset) return LMI_ERR_DAMAGED;
  int rc = writeAt(lib, offset, lib->currentMap, kBlock);
  if (rc == 0) lib->mapDirty = 0;
  return rc;
}

int saveDirtyMap(LMI_LIBRARY* lib) { return lib->mapDirty ? saveMap(lib) : 0; }

int toggleBits(LMI_LIBRARY* lib, uint32_t* list, uint32_t count) {
  for (uint32_t i = 0; i < count; ++i) {
    uint32_t block = (list[i] - lib->baseOffset) / kBlock;
    uint32_t endedAt = 0;
    int rc = selectGroup(lib, block / kMapBits, &endedAt);
    if (rc < 0) return rc;
    if (rc > 0) {
      // Only the group right after the chain's end can start here, at its
      // first block, which the new map block takes for itself.
      if (endedAt != block / kMapBits || block % kMapBits != 0) return LMI_ERR_DAMAGED;
      if ((rc = growMapChain(lib, list[i])) < 0) return rc;
      for (uint32_t j = i; j + 1 < count; ++j) list[j] = list[j + 1];
      list[count - 1] += kBlock;
      block = (list[i] - lib->baseOffset) / kBlock;
    }
    const uint32_t position = block % kMapBits;
    lib->currentMap[kBitsAt + position / 8] ^= uint8_t(0x80u >> (position % 8));
    lib->mapDirty = 1;
    if (!bitAt(lib->currentMap, position) && block < state(lib).clearHint) state(lib).clearHint = block;
  }
  return 0;
}

int allocateBlocks(LMI_LIBRARY* lib, uint32_t* list, uint32_t count, bool contiguous, bool retry) {
  const uint64_t size = physicalSize(lib);
  const uint64_t blocks = size > lib->baseOffset ? (size - lib->baseOffset) / kBlock : 0;
  uint32_t found = 0;
  if (!lib->extendOnly) {
    // Blocks below the hint are known to be in use: the scan finds the same
    // blocks starting there as from block 0.
    const uint64_t start = std::min<uint64_t>(state(lib).clearHint, blocks);
    uint32_t endedAt = 0;
    int rc = saveDirtyMap(lib);
    if (rc == 0 && start < blocks) rc = selectGroup(lib, uint32_t(start / kMapBits), &endedAt);
    if (rc < 0) return rc;
    if (rc > 0) return LMI_ERR_ALLOCATION;
    uint64_t clearSeen = 0, firstClear = blocks, block = start;
    for (; block < blocks && found < count; ++block) {
      const uint32_t position = uint32_t(block % kMapBits);
      if (position == 0 && block > start) {
        const uint32_t next = mapNext(lib->currentMap);
        if (!next) break;
        if ((rc = loadMap(lib, next)) < 0) return rc;
        const uint64_t group = block / kMapBits;
        if (group < kKnownMapGroups) state(lib).mapGroups[group] = next;
      }
      if (bitAt(lib->currentMap, position)) {
        if (contiguous) found = 0;
        continue;
      }
      const uint64_t offset = lib->baseOffset + block * kBlock;
      if (offset >= kOffsetLimit) return LMI_ERR_DISK_FULL;
      if (!clearSeen) firstClear = block;
      list[found++] = uint32_t(offset);
      ++clearSeen;
    }
    state(lib).clearHint = std::max(state(lib).clearHint, firstClear);
    if (found == count) return toggleBits(lib, list, count);
    if (contiguous && retry && clearSeen >= count) return allocateBlocks(lib, list, count, false, false);
    if (block < blocks) return LMI_ERR_ALLOCATION;
  }
  lib->extendOnly = 1;
  for (uint32_t i = 0; i < count; ++i) {
    // The last block may move one up if a map block joins the chain.
    const uint64_t offset = lib->baseOffset + (blocks + i) * kBlock;
    if (offset + kBlock >= kOffsetLimit) return LMI_ERR_DISK_FULL;
    list[i] = uint32_t(offset);
  }
  return toggleBits(lib, list, count);
}

}  // namespace zr::library
