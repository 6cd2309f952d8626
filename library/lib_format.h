// lib_format.h - the bytes of a library file: geometry and the little-endian
// layouts of the header, map block, node header, entry record, data block
// and trailer. Records inside nodes sit at any even offset, so fields are
// reached through the offsets below with byte copies, never through casts.
#ifndef ZR_LIBRARY_LIB_FORMAT_H
#define ZR_LIBRARY_LIB_FORMAT_H

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace zr::library {

static_assert(std::endian::native == std::endian::little, "the file's numbers are read in place");

constexpr uint32_t kBlock = 512;
constexpr uint32_t kPayload = 502;
constexpr uint32_t kMapBits = 4032;
constexpr uint32_t kGroupBytes = kMapBits * kBlock;  // file bytes one map block covers
constexpr uint32_t kHeaderBytes = 1024;
constexpr uint32_t kMapAt = 1024;   // first map block, from the base
constexpr uint32_t kRootAt = 1536;  // root node, from the base
constexpr uint32_t kImageBytes = 4608;
constexpr uint64_t kOffsetLimit = 0x7fffffff;
constexpr uint32_t kLargeNode = 3072;
constexpr uint32_t kSmallNode = 1024;
constexpr uint32_t kNodeHead = 32;
constexpr uint32_t kRecordHead = 40;
constexpr int32_t kDefaultBuffer = 16384;
constexpr int32_t kMaxBuffer = 64000;
constexpr uint32_t kMaxWindow = 65535;

// Header block, 1024 bytes at the base.
struct HeaderBlock {
  char mark[4];           // "HDR*"
  char16_t product[13];   // "Zarvanecraft" and its terminator
  uint16_t zero30;
  char16_t version[4];    // four digits, no terminator
  uint32_t created;       // low half of the creation time
  uint16_t type;          // bits 0-1: library type
  char16_t comment[255];
  uint32_t zero556;
  uint32_t versionFirst;  // first block of the version area
  uint32_t versionSize;   // bytes in the version area
  uint8_t zero568[456];
};
static_assert(sizeof(HeaderBlock) == 1024);
static_assert(offsetof(HeaderBlock, product) == 4);
static_assert(offsetof(HeaderBlock, version) == 32);
static_assert(offsetof(HeaderBlock, created) == 40);
static_assert(offsetof(HeaderBlock, type) == 44);
static_assert(offsetof(HeaderBlock, comment) == 46);
static_assert(offsetof(HeaderBlock, versionFirst) == 560);
static_assert(offsetof(HeaderBlock, versionSize) == 564);

struct MapBlock {
  char mark[4];  // "FRE*"
  uint32_t next;
  uint8_t bits[504];  // most significant bit first
};
static_assert(sizeof(MapBlock) == kBlock);
static_assert(offsetof(MapBlock, next) == 4);
static_assert(offsetof(MapBlock, bits) == 8);

struct NodeHeader {
  char mark[4];  // "NOD*"
  uint32_t left;
  uint32_t parent;
  uint32_t right;
  uint16_t freeBytes;
  uint16_t greatest;  // offset of the greatest name within the node
  uint16_t count;
  uint16_t least;
  uint8_t zero[8];
};
static_assert(sizeof(NodeHeader) == kNodeHead);
static_assert(offsetof(NodeHeader, left) == 4);
static_assert(offsetof(NodeHeader, parent) == 8);
static_assert(offsetof(NodeHeader, right) == 12);
static_assert(offsetof(NodeHeader, freeBytes) == 16);
static_assert(offsetof(NodeHeader, greatest) == 18);
static_assert(offsetof(NodeHeader, count) == 20);
static_assert(offsetof(NodeHeader, least) == 22);

struct EntryRecord {
  char mark[4];  // "ENT*"
  char16_t version[4];
  uint32_t first;  // first data block
  uint32_t size;   // bytes in the chain, comment included
  uint32_t zero20;
  uint32_t timeLow;
  uint32_t timeHigh;
  uint16_t commentUnits;
  uint16_t nameBytes;  // terminator included
  uint32_t zero36;
};
static_assert(sizeof(EntryRecord) == kRecordHead);
static_assert(offsetof(EntryRecord, first) == 12);
static_assert(offsetof(EntryRecord, size) == 16);
static_assert(offsetof(EntryRecord, timeLow) == 24);
static_assert(offsetof(EntryRecord, commentUnits) == 32);
static_assert(offsetof(EntryRecord, nameBytes) == 34);

struct DataBlock {
  char mark[4];  // "DAT*"
  uint32_t next;
  uint16_t used;
  uint8_t payload[kPayload];
};
static_assert(sizeof(DataBlock) == kBlock);
static_assert(offsetof(DataBlock, next) == 4);
static_assert(offsetof(DataBlock, used) == 8);
static_assert(offsetof(DataBlock, payload) == 10);

struct TrailerBlock {
  char mark[4];  // "TRL*"
  uint32_t baseOffset;
  uint8_t zero[504];
};
static_assert(sizeof(TrailerBlock) == kBlock);

inline uint16_t load16(const uint8_t* p) {
  uint16_t v;
  std::memcpy(&v, p, 2);
  return v;
}
inline uint32_t load32(const uint8_t* p) {
  uint32_t v;
  std::memcpy(&v, p, 4);
  return v;
}
inline void store16(uint8_t* p, uint16_t v) { std::memcpy(p, &v, 2); }
inline void store32(uint8_t* p, uint32_t v) { std::memcpy(p, &v, 4); }

// Node header fields.
inline uint32_t nodeLeft(const uint8_t* n) { return load32(n + offsetof(NodeHeader, left)); }
inline uint32_t nodeParent(const uint8_t* n) { return load32(n + offsetof(NodeHeader, parent)); }
inline uint32_t nodeRight(const uint8_t* n) { return load32(n + offsetof(NodeHeader, right)); }
inline uint16_t nodeFreeBytes(const uint8_t* n) { return load16(n + offsetof(NodeHeader, freeBytes)); }
inline uint16_t nodeGreatest(const uint8_t* n) { return load16(n + offsetof(NodeHeader, greatest)); }
inline uint16_t nodeCount(const uint8_t* n) { return load16(n + offsetof(NodeHeader, count)); }
inline uint16_t nodeLeast(const uint8_t* n) { return load16(n + offsetof(NodeHeader, least)); }
inline void setNodeLeft(uint8_t* n, uint32_t v) { store32(n + offsetof(NodeHeader, left), v); }
inline void setNodeParent(uint8_t* n, uint32_t v) { store32(n + offsetof(NodeHeader, parent), v); }
inline void setNodeRight(uint8_t* n, uint32_t v) { store32(n + offsetof(NodeHeader, right), v); }
inline void setNodeFreeBytes(uint8_t* n, uint32_t v) { store16(n + offsetof(NodeHeader, freeBytes), uint16_t(v)); }
inline void setNodeGreatest(uint8_t* n, uint32_t v) { store16(n + offsetof(NodeHeader, greatest), uint16_t(v)); }
inline void setNodeCount(uint8_t* n, uint32_t v) { store16(n + offsetof(NodeHeader, count), uint16_t(v)); }
inline void setNodeLeast(uint8_t* n, uint32_t v) { store16(n + offsetof(NodeHeader, least), uint16_t(v)); }

// Entry record fields; r points at the record's mark.
inline uint32_t recFirst(const uint8_t* r) { return load32(r + offsetof(EntryRecord, first)); }
inline uint32_t recSize(const uint8_t* r) { return load32(r + offsetof(EntryRecord, size)); }
inline uint32_t recTimeLow(const uint8_t* r) { return load32(r + offsetof(EntryRecord, timeLow)); }
inline uint16_t recCommentUnits(const uint8_t* r) { return load16(r + offsetof(EntryRecord, commentUnits)); }
inline uint16_t recNameBytes(const uint8_t* r) { return load16(r + offsetof(EntryRecord, nameBytes)); }
inline uint32_t recBytes(const uint8_t* r) { return kRecordHead + recNameBytes(r); }
inline void setRecFirst(uint8_t* r, uint32_t v) { store32(r + offsetof(EntryRecord, first), v); }
inline void setRecSize(uint8_t* r, uint32_t v) { store32(r + offsetof(EntryRecord, size), v); }
inline void setRecCommentUnits(uint8_t* r, uint32_t v) {
  store16(r + offsetof(EntryRecord, commentUnits), uint16_t(v));
}
void setRecTime(uint8_t* r, int64_t seconds);

// Data block fields.
inline uint32_t blockNext(const uint8_t* b) { return load32(b + offsetof(DataBlock, next)); }
inline uint16_t blockUsed(const uint8_t* b) { return load16(b + offsetof(DataBlock, used)); }
inline void setBlockNext(uint8_t* b, uint32_t v) { store32(b + offsetof(DataBlock, next), v); }
inline void setBlockUsed(uint8_t* b, uint32_t v) { store16(b + offsetof(DataBlock, used), uint16_t(v)); }
constexpr size_t kPayloadAt = offsetof(DataBlock, payload);

inline uint32_t mapNext(const uint8_t* m) { return load32(m + offsetof(MapBlock, next)); }
inline void setMapNext(uint8_t* m, uint32_t v) { store32(m + offsetof(MapBlock, next), v); }
constexpr size_t kBitsAt = offsetof(MapBlock, bits);

inline void putMark(uint8_t* p, const char* mark) { std::memcpy(p, mark, 4); }

// The version every new record and header is written with.
extern const char16_t kFormatVersion[4];

}  // namespace zr::library

#endif
