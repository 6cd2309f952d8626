// The version area: a chain reached from the header holding "SCC*" and then
// pairs of NUL-terminated names and version texts. It has no directory
// record; a zeroed record in memory stands in while it is written.
#include <cstring>
#include <vector>

#include "library/lib_engine.h"

namespace zr::library {
namespace {

constexpr size_t kVersionFirstAt = offsetof(HeaderBlock, versionFirst);
constexpr size_t kVersionSizeAt = offsetof(HeaderBlock, versionSize);

using Units = std::vector<char16_t>;

// One pair in the area's units, both texts with their terminators.
struct Pair {
  size_t name, version, end;
};

bool pairAt(const Units& units, size_t at, Pair* pair) {
  size_t i = at;
  while (i < units.size() && units[i]) ++i;
  if (i >= units.size()) return false;
  size_t j = i + 1;
  while (j < units.size() && units[j]) ++j;
  if (j >= units.size()) return false;
  *pair = {at, i + 1, j + 1};
  return true;
}

char16_t foldAscii(char16_t c) { return c >= u'A' && c <= u'Z' ? char16_t(c + 32) : c; }

bool sameIgnoringCase(const char16_t* a, const char16_t* b) {
  while (*a && foldAscii(*a) == foldAscii(*b)) ++a, ++b;
  return foldAscii(*a) == foldAscii(*b);
}

// Reads the area after its mark into `units`: 0, -3 if the chain holds less
// than the header says, -4 without the mark (a writable handle then forgets
// the area).
int readArea(LMI_LIBRARY* lib, Units* units) {
  const uint32_t first = load32(lib->header + kVersionFirstAt);
  const uint32_t size = load32(lib->header + kVersionSizeAt);
  units->clear();
  if (!size) return 0;
  if (size > physicalSize(lib)) return LMI_ERR_DAMAGED;
  std::vector<uint8_t> bytes(size);
  startRead(lib, first, size);
  const int64_t got = pullBytes(lib, bytes.data(), size);
  if (got < 0) return int(got);
  if (got < 4 || std::memcmp(bytes.data(), "SCC*", 4) != 0) {
    const int rc = lib->openMode == LMI_LIBRARY_READ ? 0 : forgetArea(lib);
    return rc ? rc : LMI_ERR_BUFFER;
  }
  if (uint64_t(got) < size) return LMI_ERR_FILE;
  units->resize((size - 4) / 2);
  std::memcpy(units->data(), bytes.data() + 4, units->size() * 2);
  return 0;
}

}  // namespace

int forgetArea(LMI_LIBRARY* lib) {
  store32(lib->header + kVersionFirstAt, 0);
  store32(lib->header + kVersionSizeAt, 0);
  return writeHeader(lib);
}

int writeHeader(LMI_LIBRARY* lib) {
  int rc = writeAt(lib, lib->baseOffset, lib->header, kHeaderBytes);
  if (rc == 0) syncFile(lib);
  return rc;
}

int setVersion(LMI_LIBRARY* lib, const char16_t* name, const char16_t* version) {
  Units units;
  int rc = readArea(lib, &units);
  if (rc < 0) return rc;
  const uint32_t oldSize = load32(lib->header + kVersionSizeAt);
  if (oldSize && (rc = freeChain(lib, oldSize, load32(lib->header + kVersionFirstAt))) < 0) return rc;

  // Every pair of the name goes; the scan stays where a removal left it.
  Pair pair;
  for (size_t at = 0; pairAt(units, at, &pair);) {
    if (sameIgnoringCase(&units[pair.name], name)) units.erase(units.begin() + long(at), units.begin() + long(pair.end));
    else at = pair.end;
  }
  units.insert(units.end(), name, name + nameUnits(name) + 1);
  units.insert(units.end(), version, version + nameUnits(version) + 1);

  std::vector<uint8_t> bytes(4 + units.size() * 2);
  std::memcpy(bytes.data(), "SCC*", 4);
  std::memcpy(bytes.data() + 4, units.data(), units.size() * 2);
  uint8_t* standIn = state(lib).standIn;
  std::memset(standIn, 0, kRecordHead);
  uint8_t* opened = lib->entry;
  lib->entry = standIn;
  resetOperation(lib);
  lib->lastWritten = 0;
  rc = pushBytes(lib, bytes.data(), uint32_t(bytes.size()));
  if (rc == 0) rc = flushChain(lib);
  if (rc == 0) rc = saveDirtyMap(lib);
  lib->entry = opened;
  lib->lastWritten = 0;
  if (rc < 0) return rc;
  if (recSize(standIn) != bytes.size()) return LMI_ERR_DAMAGED;
  store32(lib->header + kVersionFirstAt, recFirst(standIn));
  store32(lib->header + kVersionSizeAt, uint32_t(bytes.size()));
  return writeHeader(lib);
}

int getVersion(LMI_LIBRARY* lib, const char16_t* name, char16_t* out) {
  Units units;
  int rc = readArea(lib, &units);
  if (rc < 0) return rc;
  Pair pair;
  for (size_t at = 0; pairAt(units, at, &pair); at = pair.end) {
    if (compareNames(&units[pair.name], name) == 0) {
      std::memcpy(out, &units[pair.version], (pair.end - pair.version) * sizeof(char16_t));
      return 0;
    }
  }
  return LMI_ERR_NOT_FOUND;
}

}  // namespace zr::library
