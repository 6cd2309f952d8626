// zrstg.h - storage handles: a pool per handle with a ring of named
// sub-pools, all given back at once by zrstg_end; plus the DDE-shareable
// memory calls and a temporary-file store.
//
// Example:
//   zrstg_handle* h = zrstg_begin(0);
//   zrstg_subpool* rows = zrstg_new_pool(h);
//   char* row = (char*)zrstg_alc(h, 200, rows);
//   zrstg_end(h);                 // row and the sub-pool are gone too
#ifndef ZRSTG_H
#define ZRSTG_H

#include "zrdefs.h"
#include "zrheap.h"

// Control record of one pool over a heap memory pool.
typedef struct MEM_POOL {
  MemoryPool* heapPool;     // its user data points back here
  uint32_t lock;            // spin lock over the setting fields
  struct MEM_POOL* self;
  uint32_t reserved1;
  uint16_t fixedBlockSize;  // size served by the fixed-size path
  uint16_t smallBlockSize;  // written by the nofast entries, read by nobody
  uint32_t pageSize;        // kept and inherited; shapes no allocation
  uint32_t freeBytes;
  int32_t ceiling;
  uint32_t flags;
  uint32_t reserved2;
  uint32_t userValue;
} MEM_POOL;

// One node of the circular ring of sub-pools.
typedef struct zrstg_subpool {
  struct zrstg_subpool* next;
  struct zrstg_subpool* previous;
  MEM_POOL* pool;
  char16_t* name;  // up to 64 characters, always starting with "@SP@"
} zrstg_subpool;

typedef struct zrstg_handle {
  MEM_POOL* pool;     // the handle's default pool, which also holds this record
  uint32_t pageSize;  // inherited by sub-pools
  uint32_t poolFlags;
  uint32_t reserved;
  zrstg_subpool* ring;  // the default node
} zrstg_handle;

typedef struct zrstg_stat_info {
  uint32_t subPoolBlocks;
  uint32_t totalBytes;
  uint32_t poolBytes;
  uint32_t totalBytes2;
  uint32_t usedBytes;
  uint32_t freeBytes;
} zrstg_stat_info;

typedef struct zrfstg_store {
  zrstg_handle* handle;
  zrstg_subpool* subpool;  // where zrfstg_get allocates
  char16_t* path;
  uint32_t nextOffset;
} zrfstg_store;

typedef void* ZR_HGLOBAL;

#define ZRSTG_POOL_NAME_UNITS 64

// Null when memory runs out; nothing is then left allocated.
ZRAPI zrstg_handle* zrstg_begin(uint16_t pageSize);
ZRAPI zrstg_handle* zrstg_begin_allocflags(uint16_t pageSize, uint32_t flags);
ZRAPI zrstg_handle* zrstg_begin_nofast(uint16_t pageSize);
ZRAPI void zrstg_end(zrstg_handle* handle);

// Null when memory runs out; the ring is then unchanged.
ZRAPI zrstg_subpool* zrstg_new_pool(zrstg_handle* handle);
ZRAPI zrstg_subpool* zrstg_new_pool_nofast(zrstg_handle* handle);
ZRAPI zrstg_subpool* zrstg_new_pool_with_size_nofast(zrstg_handle* handle, uint16_t pageSize);
// Null or the default node: nothing happens.
ZRAPI void zrstg_free_pool(zrstg_handle* handle, zrstg_subpool* subpool);
// A null sub-pool names the default node; at most 60 characters are kept.
ZRAPI void zrstg_set_pool_name(zrstg_handle* handle, zrstg_subpool* subpool, const char16_t* name);
ZRAPI int zrstg_set_poolpagesize(zrstg_handle* handle, uint32_t size);
ZRAPI uint32_t MemPoolSetPageSize(MEM_POOL* pool, uint32_t size);
ZRAPI void zrstg_stat(zrstg_handle* handle, zrstg_stat_info* info);
ZRAPI uint32_t zrstg_nextGeneration(void);

// A null sub-pool means the handle's default pool. A block stays in the pool
// it came from, so zrstg_fee and zrstg_realc work with any handle.
ZRAPI void* zrstg_alc(zrstg_handle* handle, size_t size, zrstg_subpool* subpool);
ZRAPI void* zrstg_realc(zrstg_handle* handle, void* block, size_t size, zrstg_subpool* subpool);
ZRAPI void zrstg_fee(zrstg_handle* handle, void* block);
ZRAPI size_t zrstg_sz(zrstg_handle* handle, void* block);
// Only for a string that fills its own pool block: anything else crashes.
ZRAPI size_t zrstg_fast_strlen(const char16_t* text);

// Kept so that older callers link; they do nothing.
ZRAPI void zrstg_alloc_align(void);
ZRAPI void zrstg_dballoc(void);
ZRAPI void zrstg_dbbegin(void);
ZRAPI void zrstg_dbbegin_allocflags(void);
ZRAPI void zrstg_dbrealloc(void);
ZRAPI void zrstg_dbstrdup(void);
ZRAPI void zrstg_get_pointer_subpool(void);
ZRAPI void zrstg_realloc_align(void);
ZRAPI void zrstg_set_next_pool(void);
ZRAPI void zrstg_validate(void);
ZRAPI void zrstg_dumpHeap(void);
ZRAPI void zrstg_dumpLeaks(void* unused);
ZRAPI int zrstg_write_debug(void* a, void* b, void* c);
ZRAPI int zrfstg_free(void* a, void* b);

// Shareable memory: plain heap memory here, behind a handle word.
ZRAPI void* zrstg_dde_alloc(uint16_t size);
ZRAPI void zrstg_dde_free(void* block);
ZRAPI ZR_HGLOBAL zrstg_dde_get_handle(void* block);
ZRAPI void* zrstg_dde_lock(ZR_HGLOBAL handle);
ZRAPI void zrstg_dde_unlock(ZR_HGLOBAL handle);

// Temporary-file store. Every record is written from the file's start, so
// only one record at a time is sound, and its offset 0 is also the failure
// result.
ZRAPI zrfstg_store* zrfstg_begin(zrstg_handle* handle, zrstg_subpool* subpool);
ZRAPI uint32_t zrfstg_alloc(zrfstg_store* store, const void* data, uint32_t size);
ZRAPI void* zrfstg_get(zrfstg_store* store, uint32_t offset);
ZRAPI int zrfstg_end(zrfstg_store* store);

ZR_STATIC_ASSERT(sizeof(zrstg_stat_info) == 24, "six counts");

#endif
