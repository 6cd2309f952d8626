// zrheap.h - the process-wide heap: small blocks per size class and thread
// slot, large blocks from a Fibonacci buddy system, parent/child ownership,
// memory pools, debug headers with guards, and fatal corruption reports.
//
// Example:
//   void* parent = ZrHeap_malloc(100);
//   void* child = ZrHeap__alloc(40, "Row", "alloc", "free", __FILE__, __LINE__, parent);
//   ZrHeap_free(parent);          // frees child as well
//
// Block headers sit below the pointer U that a caller holds. On a 32-bit
// build every header field is 32 bits wide; a 64-bit build widens each field
// to a pointer, so every fixed size (the 8-byte word header, the 16-byte
// child header, 32-byte large header, 64-byte debug header and 8-byte guard
// suffix) doubles.
#ifndef ZRHEAP_H
#define ZRHEAP_H

#include <stdio.h>

#include "zrdefs.h"

// The five-word allocation descriptor every allocation names.
typedef struct HeapTypeInfo {
  const char* typeName;   // "void*", "MemoryPool", ...
  const char* allocName;  // "malloc", "allocPool", ...
  const char* freeName;   // "free"
  const char* file;       // source file
  uintptr_t line;         // source line, 0 when not known
} HeapTypeInfo;

// Every header a block can carry, ending at U. A block holds the tail of this
// record that its block word announces: word only (last 2 fields), child
// header (last 4), large header (last 8) or debug header (all 16).
typedef struct ZrHeapBlockHeader {
  uintptr_t guardPrefix;   // U-64: serial of a debug block
  const char* typeName;    // U-60
  const char* allocName;   // U-56
  const char* freeName;    // U-52
  const char* file;        // U-48
  uintptr_t line;          // U-44
  void* debugPrevious;     // U-40: header of the next newer debug block
  void* debugNext;         // U-36: header of the next older debug block
  void* buddyBlock;        // U-32: BuddyBlock of a large block
  uintptr_t currentSize;   // U-28: bytes asked for
  uintptr_t maximumSize;   // U-24: room in the block
  uintptr_t reserved;      // U-20
  void* previousLink;      // U-16: child header of previous sibling or parent
  void* nextLink;          // U-12: next sibling, or first child of a parent
  uintptr_t blockWord;     // U-8: slot, size index and header flags
  void* parentLink;        // U-4: parent's block word, or next free block word
} ZrHeapBlockHeader;

// Block word bits.
#define ZRHEAP_SLOT_MASK 0x000000FFu
#define ZRHEAP_INDEX_MASK 0x0000FF00u
#define ZRHEAP_FLAG_CHILD 0x10000000u
#define ZRHEAP_FLAG_LARGE 0x20000000u
#define ZRHEAP_FLAG_DEBUG 0x40000000u
#define ZRHEAP_FLAG_POOL 0x80000000u
// The whole block word of a freed block.
#define ZRHEAP_FREED_WORD 0xFFBBFFBBu

// Global flags word bits.
#define ZRHEAP_DEBUG 1
#define ZRHEAP_CHECK 2
#define ZRHEAP_TRACE 4
#define ZRHEAP_SHOW_FULL_PATH 16
#define ZRHEAP_CHECK_GUARD_SUFFIX 32

// One node of the buddy tree (from the C runtime's malloc, never freed).
typedef struct BuddyBlock {
  uint32_t inUse;
  uint32_t size;
  uint32_t committed;
  int32_t sizeIndex;
  char* address;
  struct BuddyBlock* buddy;
  struct BuddyBlock* parent;
  struct BuddyBlock* left;
  struct BuddyBlock* right;
  struct BuddyBlock* freePrevious;
  struct BuddyBlock* freeNext;
} BuddyBlock;

// A buffer that a memory pool cuts its sub-blocks from.
typedef struct PoolBuffer {
  BuddyBlock* block;
  char* base;
  uintptr_t used;
  uintptr_t capacity;
  uintptr_t reserved;
  struct PoolBuffer* next;
} PoolBuffer;

#define ZRHEAP_POOL_CLASSES 31

// The user area of a memory pool block (96 words).
typedef struct MemoryPool {
  uintptr_t size;  // bytes charged to the pool
  void* userData;
  PoolBuffer* fullBuffers;
  PoolBuffer* activeBuffers[ZRHEAP_POOL_CLASSES];
  void* freeSubBlocks[ZRHEAP_POOL_CLASSES];  // block words of freed sub-blocks
  uintptr_t locks[ZRHEAP_POOL_CLASSES];
} MemoryPool;

ZR_STATIC_ASSERT(sizeof(ZrHeapBlockHeader) == 16 * sizeof(void*), "block header is 16 words");
ZR_STATIC_ASSERT(sizeof(MemoryPool) == 96 * sizeof(void*), "memory pool is 96 words");
ZR_STATIC_ASSERT(sizeof(HeapTypeInfo) == 5 * sizeof(void*), "type info is 5 words");

typedef void (*ZrHeapLogCallback)(const char* line);

ZRAPI void ZrHeap_init(void);
ZRAPI void* ZrHeap_alloc(size_t size, const HeapTypeInfo* info, void* parent);
ZRAPI void* ZrHeap__alloc(size_t size, const char* typeName, const char* allocName,
                          const char* freeName, const char* file, unsigned line, void* parent);
ZRAPI void* ZrHeap_malloc(size_t size);
ZRAPI void* ZrHeap_calloc(size_t count, size_t size);
ZRAPI void* ZrHeap_realloc(void* block, size_t size);
ZRAPI void ZrHeap_free(void* block);
ZRAPI void ZrHeap_freeIfParent(void* block);
ZRAPI void ZrHeap_adopt(void* child, void* parent);
ZRAPI void* ZrHeap_parent(void* block);
ZRAPI size_t ZrHeap_size(void* block);
ZRAPI void ZrHeap_sizeEx(void* block, size_t* current, size_t* minimum, size_t* maximum);
ZRAPI void* ZrHeap_resize(void* block, size_t oldSize, size_t newSize, size_t minimum,
                          size_t maximum);

ZRAPI MemoryPool* ZrHeap_allocPool(void* userData);
ZRAPI void ZrHeap_freePool(MemoryPool* pool);
ZRAPI void* ZrHeap_allocFromPool(size_t size, const HeapTypeInfo* info, MemoryPool* pool);
ZRAPI size_t ZrHeap_poolSize(MemoryPool* pool);
ZRAPI void* ZrHeap_userData(MemoryPool* pool);

ZRAPI size_t ZrHeap_totalSizeVM(void);
ZRAPI void ZrHeap_debugOn(void);
ZRAPI void ZrHeap_debugOff(void);
ZRAPI void ZrHeap_checkOn(void);
ZRAPI void ZrHeap_checkOff(void);
ZRAPI void ZrHeap_traceOn(void);
ZRAPI void ZrHeap_traceOff(void);
ZRAPI void ZrHeap_check(void* block);
ZRAPI void ZrHeap_checkAll(void);
// mode 1 adds a hexadecimal dump of each debug block; bit 2 gives the summary only.
ZRAPI void ZrHeap_dump(int mode);
ZRAPI void ZrHeap_log(FILE* file, ZrHeapLogCallback callback);
ZRAPI void ZrHeap_error(const char* format, ...) __attribute__((format(printf, 1, 2)));
ZRAPI void ZrHeap_exception(const char* format, ...) __attribute__((format(printf, 1, 2)));
ZRAPI void ZrHeap_setCheckInterval(int count);
ZRAPI void ZrHeap_showFullPath(int on);
ZRAPI void ZrHeap_showBufferMaximumBytes(size_t count);

#endif
