// Compiled with -m32 only: the public records keep their documented layout.
#include <cstddef>

#include "shdec.h"
#include "shformat.h"
#include "shintl.h"
#include "zrheap.h"

static_assert(sizeof(void*) == 4, "compile this check with -m32");

static_assert(sizeof(HeapTypeInfo) == 20);
static_assert(sizeof(ZrHeapBlockHeader) == 64);
static_assert(offsetof(ZrHeapBlockHeader, guardPrefix) == 64 - 64);
static_assert(offsetof(ZrHeapBlockHeader, typeName) == 64 - 60);
static_assert(offsetof(ZrHeapBlockHeader, line) == 64 - 44);
static_assert(offsetof(ZrHeapBlockHeader, debugPrevious) == 64 - 40);
static_assert(offsetof(ZrHeapBlockHeader, buddyBlock) == 64 - 32);
static_assert(offsetof(ZrHeapBlockHeader, currentSize) == 64 - 28);
static_assert(offsetof(ZrHeapBlockHeader, maximumSize) == 64 - 24);
static_assert(offsetof(ZrHeapBlockHeader, previousLink) == 64 - 16);
static_assert(offsetof(ZrHeapBlockHeader, nextLink) == 64 - 12);
static_assert(offsetof(ZrHeapBlockHeader, blockWord) == 64 - 8);
static_assert(offsetof(ZrHeapBlockHeader, parentLink) == 64 - 4);
static_assert(sizeof(BuddyBlock) == 44);
static_assert(offsetof(BuddyBlock, address) == 16);
static_assert(offsetof(BuddyBlock, freeNext) == 40);
static_assert(sizeof(PoolBuffer) == 24);
static_assert(sizeof(MemoryPool) == 384);
static_assert(offsetof(MemoryPool, activeBuffers) == 12);
static_assert(offsetof(MemoryPool, freeSubBlocks) == 12 + 31 * 4);
static_assert(offsetof(MemoryPool, locks) == 12 + 62 * 4);

static_assert(sizeof(SH_DEC) == 16);
static_assert(offsetof(SH_DEC, digits) == 0);
static_assert(offsetof(SH_DEC, flags) == 14);
static_assert(offsetof(SH_DEC, scale) == 15);
static_assert(sizeof(SH_OLDDEC) == 16);
static_assert(offsetof(SH_OLDDEC, scale) == 2);
static_assert(offsetof(SH_OLDDEC, digits) == 4);
