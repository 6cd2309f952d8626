// pool_block.h - blocks from a MEM_POOL, or from the heap when there is none.
#ifndef ZR_TEXT_POOL_BLOCK_H
#define ZR_TEXT_POOL_BLOCK_H

#include <cstddef>

#include "frame/mem_pool.h"

namespace zr::text {

inline void* poolAlloc(MEM_POOL* pool, size_t bytes, uint32_t flags = 0) {
  if (pool) return frame::MemAllocPtr(pool, bytes, flags);
  return flags & frame::kMemZeroInit ? ZrHeap_calloc(1, bytes) : ZrHeap_malloc(bytes);
}

}  // namespace zr::text

#endif
