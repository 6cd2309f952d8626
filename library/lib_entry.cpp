// Opening and closing one entry. A rewrite frees the old chain at once; the
// record gets its new chain at close.
#include <algorithm>
#include <cstring>

#include "library/lib_engine.h"

namespace zr::library {

constexpr uint32_t kCommentUnits = 255;

int openEntryForWrite(LMI_LIBRARY* lib, const char16_t* name) {
  int rc = search(lib, name);
  if (rc < 0) return rc;
  lib->comment[0] = 0;
  if (rc == kFound) {
    uint8_t* record = lib->entry;
    const uint32_t units = recCommentUnits(record);
    // The old comment survives a rewrite that brings none, as far as the
    // first block holds it.
    if (units > 0 && recFirst(record)) {
      if (badBlockOffset(lib, recFirst(record), kBlock)) return LMI_ERR_DAMAGED;
      uint8_t block[kBlock];
      size_t got = 0;
      if ((rc = readAt(lib, recFirst(record), block, kBlock, &got)) < 0) return rc;
      if (got < kBlock) return LMI_ERR_DAMAGED;
      const uint32_t keep = std::min({units, uint32_t(std::min<uint16_t>(blockUsed(block), kPayload)) / 2u,
                                      kCommentUnits});
      std::memcpy(lib->comment, block + kPayloadAt, keep * sizeof(char16_t));
      lib->comment[keep] = 0;
    }
    // The record lets go of the old chain on disk before the chain's blocks
    // are free to be taken: a crash in between leaves orphans, never a
    // record pointing into another entry's blocks.
    const uint32_t size = recSize(record), first = recFirst(record);
    setRecFirst(record, 0);
    setRecSize(record, 0);
    setRecCommentUnits(record, 0);
    setRecTime(record, timeNow());
    if ((rc = saveNode(lib)) < 0) return rc;
    if ((rc = freeChain(lib, size, first)) < 0) return rc;
    if ((rc = saveDirtyMap(lib)) < 0) return rc;
  } else if ((rc = insertEntry(lib, name, 0, 0)) < 0) {
    return rc;
  }
  resetOperation(lib);
  lib->lastWritten = 0;
  lib->entryMode = LMI_ENTRY_WRITE;
  return 0;
}

int openEntryForRead(LMI_LIBRARY* lib, const char16_t* name) {
  int rc = search(lib, name);
  if (rc < 0) return rc;
  if (rc != kFound) return LMI_ERR_NOT_FOUND;
  uint8_t* record = lib->entry;
  startRead(lib, recFirst(record), recSize(record));
  // The comment heads the chain; the caller's first read gets the payload.
  const uint32_t units = recCommentUnits(record);
  const uint32_t keep = std::min(units, kCommentUnits);
  int64_t got = pullBytes(lib, reinterpret_cast<uint8_t*>(lib->comment), keep * sizeof(char16_t));
  if (got < 0) return int(got);
  lib->comment[got / 2] = 0;
  for (uint32_t rest = (units - keep) * 2; rest > 0;) {
    uint8_t skip[64];
    got = pullBytes(lib, skip, std::min<uint32_t>(rest, sizeof skip));
    if (got <= 0) break;
    rest -= uint32_t(got);
  }
  if (got < 0) return int(got);
  lib->entryMode = LMI_ENTRY_READ;
  return 0;
}

int closeEntry(LMI_LIBRARY* lib) {
  int rc = 0;
  if (lib->entryMode == LMI_ENTRY_WRITE) {
    rc = flushChain(lib);
    if (rc == 0) rc = saveDirtyMap(lib);
    if (rc == 0) rc = saveNode(lib);
    if (rc == 0) rc = trim(lib);
    if (rc == 0) syncFile(lib);
  }
  lib->entry = nullptr;
  lib->entryMode = 0;
  lib->lastWritten = 0;
  return rc;
}

}  // namespace zr::library
