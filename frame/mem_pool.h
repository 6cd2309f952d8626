// mem_pool.h - the control-record layer between storage handles and the
// heap's memory pools. Settings are stored and returned; none of them shapes
// an allocation.
#ifndef ZR_FRAME_MEM_POOL_H
#define ZR_FRAME_MEM_POOL_H

#include <cstddef>
#include <cstdint>

#include "zrstg.h"

namespace zr::frame {

// MemAllocPtr and MemReAllocPtr flags.
constexpr uint32_t kMemZeroInit = 0x1;
constexpr uint32_t kMemInPlaceOnly = 0x8;

MEM_POOL* MemPoolInit(uint32_t flags);
int MemPoolFree(MEM_POOL* pool);
void* MemAllocPtr(MEM_POOL* pool, size_t size, uint32_t flags);
void* MemAllocFS(MEM_POOL* pool);
int MemFreePtr(void* block);
void* MemReAllocPtr(void* block, size_t size, uint32_t flags);
// Copies the 32 bytes from the self field onward (pointer fields widen).
int MemPoolInfo(MEM_POOL* pool, void* block, void* info);
int MemPoolSetFixedSize(MEM_POOL* pool, uint16_t size);
uint16_t MemPoolSetSmallSize(MEM_POOL* pool, uint16_t size);
uint32_t MemPoolSetFreeBytes(MEM_POOL* pool, uint32_t bytes);
int MemPoolLock(MEM_POOL* pool);
int MemPoolUnlock(MEM_POOL* pool);
size_t MemPoolSize(MEM_POOL* pool);

// Out-of-memory handler slot. The record's first word is the error code.
using MemErrorHandler = int (*)(void* record);
MemErrorHandler MemSetErrorHandler(MemErrorHandler handler);

}  // namespace zr::frame

#endif
