// Trimming: after chains were freed, the file is cut behind its highest
// block in use. Map blocks without any bit set leave the chain. Holes inside
// the file stay for the next allocation.
#include <cstring>
#include <vector>

#include "library/lib_engine.h"

namespace zr::library {
namespace {

struct MapCopy {
  uint32_t offset;
  bool save;
  uint8_t bytes[kBlock];
};

int highestBit(const uint8_t* map) {
  for (int byte = int(kMapBits / 8) - 1; byte >= 0; --byte) {
    const uint8_t bits = map[kBitsAt + byte];
    if (!bits) continue;
    int bit = 7;
    while (!(bits & (0x80u >> bit))) --bit;
    return byte * 8 + bit;
  }
  return -1;
}

}  // namespace

int trim(LMI_LIBRARY* lib) {
  if (!lib->needsTrim) return 0;
  lib->needsTrim = 0;
  int rc = saveDirtyMap(lib);
  if (rc < 0) return rc;
  const uint64_t size = physicalSize(lib);
  const uint64_t chainLimit = size / kGroupBytes + 2;
  std::vector<MapCopy> chain;
  for (uint32_t next = mapNext(lib->rootMap); next; next = mapNext(chain.back().bytes)) {
    if (chain.size() > chainLimit || badBlockOffset(lib, next, kBlock)) return LMI_ERR_DAMAGED;
    MapCopy& copy = chain.emplace_back();
    copy.offset = next;
    copy.save = false;
    size_t got = 0;
    if ((rc = readAt(lib, next, copy.bytes, kBlock, &got)) < 0) return rc;
    if (got < kBlock) return LMI_ERR_DAMAGED;
  }
  // Our copies replace whatever the second map buffer held, and the chain
  // may get shorter.
  lib->mapOffset = 0;
  lib->currentMap = lib->rootMap;
  state(lib).clearHint = 0;
  std::memset(state(lib).mapGroups, 0, sizeof state(lib).mapGroups);

  uint64_t end = 0;
  bool rootChanged = false, kept = false;
  for (size_t k = chain.size(); k-- > 0;) {
    const int bit = highestBit(chain[k].bytes);
    if (bit >= 0) {
      end = lib->baseOffset + uint64_t(k + 1) * kGroupBytes + uint64_t(bit + 1) * kBlock;
      kept = true;
      break;
    }
    uint8_t* previous = k ? chain[k - 1].bytes : lib->rootMap;
    setMapNext(previous, 0);
    const uint32_t position = (chain[k].offset - lib->baseOffset) / kBlock % kMapBits;
    previous[kBitsAt + position / 8] ^= uint8_t(0x80u >> (position % 8));
    if (k) chain[k - 1].save = true;
    else rootChanged = true;
    chain.pop_back();
  }
  if (!kept) end = lib->baseOffset + uint64_t(highestBit(lib->rootMap) + 1) * kBlock;
  // A root map that lost its own bits must not cut into the header.
  if (end < uint64_t(lib->baseOffset) + uint64_t(lib->firstData)) end = uint64_t(lib->baseOffset) + uint64_t(lib->firstData);

  for (const MapCopy& copy : chain) {
    if (copy.save && (rc = writeAt(lib, copy.offset, copy.bytes, kBlock)) < 0) return rc;
  }
  if (rootChanged && (rc = writeAt(lib, lib->baseOffset + kMapAt, lib->rootMap, kBlock)) < 0) return rc;
  if (size > end) rc = truncateFile(lib, end);
  return rc;
}

}  // namespace zr::library
