// lib_engine.h - the storage engine under the library calls. Every operation
// works on one LMI_LIBRARY and returns 0 (or a positive search class) or a
// negative status code.
#ifndef ZR_LIBRARY_LIB_ENGINE_H
#define ZR_LIBRARY_LIB_ENGINE_H

#include <cstddef>
#include <cstdint>

#include "library/lib_format.h"
#include "lmi.h"

namespace zr::library {

// Search classes.
constexpr int kFound = 1;
constexpr int kNotHere = 2;
constexpr int kAbove = 3;
constexpr int kBelow = 4;

constexpr uint32_t kKnownMapGroups = 64;

// State the public record has no field for. It lives in the same pool
// allocation, right behind the record.
struct EngineState {
  uint64_t fileSize;      // physical size as last seen or written
  uint64_t readLeft;      // bytes the chain being read may still yield
  uint32_t windowFilled;  // bytes of ioBuffer the last window fetch filled
  uint8_t standIn[kRecordHead];  // record that a version-area chain is written through
  // Every block below this one is marked in use, so scans may start here.
  uint64_t clearHint;
  // A read-only view of the file that serves reads without system calls.
  const uint8_t* view;
  uint64_t viewBytes;
  // Offsets of the first map blocks of the chain, 0 where not yet known.
  uint32_t mapGroups[kKnownMapGroups];
};

inline EngineState& state(LMI_LIBRARY* lib) { return *reinterpret_cast<EngineState*>(lib + 1); }
constexpr size_t kHandleBytes = sizeof(LMI_LIBRARY) + sizeof(EngineState);
static_assert(sizeof(LMI_LIBRARY) % alignof(EngineState) == 0, "the engine state follows the record");

inline uint32_t rootOffset(const LMI_LIBRARY* lib) { return lib->baseOffset + kRootAt; }
inline uint32_t nodeBlocks(const LMI_LIBRARY* lib) { return uint32_t(lib->nodeSize) / kBlock; }
inline uint32_t windowBytes(const LMI_LIBRARY* lib) {
  return uint32_t(lib->bufferSize) < kMaxWindow ? uint32_t(lib->bufferSize) : kMaxWindow;
}
// Length of a UTF-16 name in units, without its terminator.
size_t nameUnits(const char16_t* name);
int compareNames(const char16_t* a, const char16_t* b);
int64_t timeNow();

// --- file access (lib_io.cpp); disk errors ask the user to retry ---
int readAt(LMI_LIBRARY* lib, uint64_t offset, void* data, size_t size, size_t* got);
int writeAt(LMI_LIBRARY* lib, uint64_t offset, const void* data, size_t size);
int truncateFile(LMI_LIBRARY* lib, uint64_t size);
uint64_t physicalSize(LMI_LIBRARY* lib);
void syncFile(LMI_LIBRARY* lib);
// Gives the read view back; reads after it map the file anew.
void dropView(LMI_LIBRARY* lib);
// Turns the syncs at the end of operations off, for measurements.
void setSyncEnabled(bool on);

// A node or chain offset that can't be right in this file.
bool badBlockOffset(LMI_LIBRARY* lib, uint32_t offset, uint32_t bytes);

// --- nodes (lib_node.cpp) ---
int loadNode(LMI_LIBRARY* lib, uint32_t offset);
int saveNode(LMI_LIBRARY* lib);
uint32_t currentNodeOffset(const LMI_LIBRARY* lib);
// Records, name offsets and free bytes stay inside the node.
bool nodeIsSound(const LMI_LIBRARY* lib, const uint8_t* node);
int classify(LMI_LIBRARY* lib, const char16_t* name);
int search(LMI_LIBRARY* lib, const char16_t* name);
int searchSequential(LMI_LIBRARY* lib, const char16_t* name);
// Pre-order walk, records in stored order. The visitor sees each record
// while its node is current and returns non-zero to stop the walk.
using RecordVisitor = int (*)(LMI_LIBRARY* lib, uint8_t* record, void* user);
int walkRecords(LMI_LIBRARY* lib, RecordVisitor visit, void* user);
inline const char16_t* recName(const uint8_t* record) {
  return reinterpret_cast<const char16_t*>(record + kRecordHead);
}

// --- records inside a node (lib_record.cpp) ---
void appendRecord(LMI_LIBRARY* lib, uint8_t* node, const uint8_t* record);
void removeRecord(LMI_LIBRARY* lib, uint8_t* node, uint32_t recordAt);
uint8_t* findRecord(uint8_t* node, const char16_t* name);
uint8_t* leastRecord(uint8_t* node);
uint8_t* greatestRecord(uint8_t* node);
void buildEmptyNode(LMI_LIBRARY* lib, uint8_t* node, uint32_t parent);

// --- map blocks and allocation (lib_map.cpp, lib_trim.cpp) ---
int saveMap(LMI_LIBRARY* lib);
int saveDirtyMap(LMI_LIBRARY* lib);
int allocateBlocks(LMI_LIBRARY* lib, uint32_t* list, uint32_t count, bool contiguous, bool retry);
int toggleBits(LMI_LIBRARY* lib, uint32_t* list, uint32_t count);
int trim(LMI_LIBRARY* lib);

// --- directory changes (lib_insert.cpp, lib_delete.cpp) ---
void resetOperation(LMI_LIBRARY* lib);
// After a search that did not find the name; the record starts with the
// given chain.
int insertEntry(LMI_LIBRARY* lib, const char16_t* name, uint32_t first, uint32_t size);
// The rename form frees the chain but keeps the record, with no first block.
int deleteEntry(LMI_LIBRARY* lib, const char16_t* name, bool renameForm);
int renameEntry(LMI_LIBRARY* lib, const char16_t* oldName, const char16_t* newName);

// --- chains (lib_chain_write.cpp, lib_chain_read.cpp) ---
int pushBytes(LMI_LIBRARY* lib, const uint8_t* data, uint32_t size);
int flushChain(LMI_LIBRARY* lib);
void startRead(LMI_LIBRARY* lib, uint32_t first, uint32_t size);
// Bytes delivered or a negative code.
int64_t pullBytes(LMI_LIBRARY* lib, uint8_t* data, uint64_t size);
int freeChain(LMI_LIBRARY* lib, uint32_t size, uint32_t first);

// --- entries (lib_entry.cpp) ---
int openEntryForWrite(LMI_LIBRARY* lib, const char16_t* name);
int openEntryForRead(LMI_LIBRARY* lib, const char16_t* name);
int closeEntry(LMI_LIBRARY* lib);

// --- version area (lib_version.cpp) ---
int setVersion(LMI_LIBRARY* lib, const char16_t* name, const char16_t* version);
// Copies the version into out; -12 when the name has none.
int getVersion(LMI_LIBRARY* lib, const char16_t* name, char16_t* out);
int writeHeader(LMI_LIBRARY* lib);
// Points the header at no version area.
int forgetArea(LMI_LIBRARY* lib);

// --- a new file (lib_create.cpp) ---
// The 1536 bytes of header and first map, and an empty root node.
void buildHeader(uint8_t* image, const char16_t* comment, uint16_t type, int64_t created);
void buildRootNode(uint8_t* node);

}  // namespace zr::library

#endif
